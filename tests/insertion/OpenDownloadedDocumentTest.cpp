// The opening of a downloaded file, and the warning of a part number that is in use.

#include "tests/insertion/OperationFixture.h"

#include "insertion/DocumentInsertion.h"

namespace openhost::testing {

namespace {

class OpenDownloaded : public OperationFixture {};

TEST_F(OpenDownloaded, AnEmptyListOpensNothingAndTellsNothing)
{
    EXPECT_EQ(E_FAIL, OpenDownloadedDocument({}, "UT5"));
    EXPECT_EQ(0, BusyCursorCount());
    EXPECT_TRUE(Cad().calls.empty());
    EXPECT_TRUE(Messages().empty());
}

TEST_F(OpenDownloaded, TheFirstFileIsOpenedAndAllAreTold)
{
    EXPECT_EQ(S_OK, OpenDownloadedDocument(List({"/p/a.ZALProduct", "/p/b.ZALPart", "/p/c.ZALPart"}), "UT5"));
    EXPECT_EQ(Texts{"Open /p/a.ZALProduct"}, Cad().calls);
    EXPECT_EQ(Texts{EndTransaction({"/p/a.ZALProduct", "/p/b.ZALPart", "/p/c.ZALPart"})}, Messages());
    EXPECT_EQ(2, BusyCursorCount());
    EXPECT_TRUE(Surface().Questions().empty());
}

TEST_F(OpenDownloaded, ThePathIsFreedBeforeAnybodyIsToldTheObjectsAfterwards)
{
    OpenDownloadedDocument(List({"/p/a.ZALPart"}), "UT5");
    ASSERT_EQ(1U, Messages().size());
    EXPECT_EQ(0, TextsAtMessage());
    EXPECT_EQ(3, ObjectsAtMessage()); // document, application and collection
}

TEST_F(OpenDownloaded, OtherEnvironmentsAreNotTold)
{
    for (const char* environment : {"File", "", "ut5", "UT5 "})
        EXPECT_EQ(S_OK, OpenDownloadedDocument(List({"/p/a.ZALPart"}), environment));
    EXPECT_EQ(4U, Cad().calls.size());
    EXPECT_TRUE(Messages().empty());
}

TEST_F(OpenDownloaded, TheResultIsThatOfTheHostAndARefusalIsToldAllTheSame)
{
    for (const HRESULT result : {E_FAIL, E_INVALIDARG, S_FALSE})
        for (const bool gives : {true, false}) { // what comes with a failure is released
            Cad().answers["Open"] = result;
            Cad().givesDocument = gives;
            EXPECT_EQ(result, OpenDownloadedDocument(List({"/p/a.ZALPart"}), "UT5"));
        }
    EXPECT_EQ(6U, Messages().size());
    EXPECT_TRUE(Surface().Questions().empty());
}

TEST_F(OpenDownloaded, WithoutFrameApplicationOrDocumentsFailsAndTellsNothing)
{
    const auto fails = [&](const char* without, int cursors) {
        const int before = BusyCursorCount();
        EXPECT_EQ(E_FAIL, OpenDownloadedDocument(List({"/p/a.ZALPart"}), "UT5")) << without;
        EXPECT_EQ(before + cursors, BusyCursorCount()) << without;
    };
    Cad().hasDocuments = false;
    fails("documents", 1);
    Cad().offersApplication = false;
    fails("application", 1);
    ResetFrame();
    fails("frame", 0);
    EXPECT_TRUE(Cad().calls.empty());
    EXPECT_TRUE(Messages().empty());
}

// ---------------------------------------------------------------------------------------------
// Part numbers

class PartNumberConflict : public OperationFixture {
protected:
    PartNumberConflict()
    {
        Root.texts[0] = "BOLT-12";
        Cad().loaded["/p/bolt.ZALPart"] = &Root;
    }

    HRESULT Check() { return CheckPartNumberConflict(&Target, "/p/bolt.ZALPart"); }

    ScriptedObject& Target = MakeProduct("Target");
    ScriptedObject& Root = MakeProduct("Root");
};

TEST_F(PartNumberConflict, IsToldWithThePartNumber)
{
    InstallCatalog("PartNumberConflict = \"/P1 is taken /P2\";\n");
    Target.names = {"NUT-4", "BOLT-12"};
    EXPECT_EQ(S_OK, Check());
    ASSERT_EQ(1U, Surface().Questions().size());
    const ScriptedSurface::Question& question = Surface().Questions()[0];
    EXPECT_EQ("FileOpenInsertReplaceErrorNotify", question.name);
    EXPECT_EQ(16384U, question.style);
    EXPECT_EQ("", question.title);
    EXPECT_EQ("BOLT-12 is taken /P2", question.text);
}

TEST_F(PartNumberConflict, HasADefaultText)
{
    Target.names = {"BOLT-12"};
    EXPECT_EQ(S_OK, Check());
    EXPECT_EQ(Texts{"Part Number conflict detected"}, QuestionTexts());
}

TEST_F(PartNumberConflict, IsForIdenticalTextsOnly)
{
    Target.names = {"bolt-12", "BOLT-1", "BOLT-123", "", "Bolt-12"};
    EXPECT_EQ(S_OK, Check());
    EXPECT_TRUE(Surface().Questions().empty());
}

TEST_F(PartNumberConflict, EndsTheLookingAtTheFirstHit)
{
    Target.names = {std::nullopt, "NUT-4", "BOLT-12", "BOLT-12", "OTHER"};
    EXPECT_EQ(S_OK, Check());
    EXPECT_EQ((Texts{"GetEntries of Target", "GetItem 1", "GetItem 2", "GetItem 3"}), Cad().calls);
    EXPECT_EQ(1U, Surface().Questions().size());
}

TEST_F(PartNumberConflict, PassesOverNullEntriesUpToTheLastOne)
{
    Target.names = {std::nullopt, "NUT-4", std::nullopt};
    EXPECT_EQ(S_OK, Check());
    EXPECT_EQ(4U, Cad().calls.size());
    EXPECT_TRUE(Surface().Questions().empty());
}

TEST_F(PartNumberConflict, OfAnEmptyPartNumberIsOneWithAnEmptyName)
{
    Root.texts[0] = "";
    Target.names = {""};
    EXPECT_EQ(S_OK, Check());
    EXPECT_EQ(1U, Surface().Questions().size());
}

TEST_F(PartNumberConflict, NeedsADocumentInTheWorkspaceWithARootThatIsAProduct)
{
    Target.names = {"BOLT-12"};
    Root.Offer("ZALIProduct", false);
    EXPECT_EQ(E_FAIL, Check());
    Cad().loaded["/p/bolt.ZALPart"] = nullptr;
    EXPECT_EQ(E_FAIL, Check());
    Cad().loaded.clear();
    EXPECT_EQ(E_FAIL, Check());
    EXPECT_TRUE(Cad().calls.empty());
}

TEST_F(PartNumberConflict, NeedsAccessToNamesAndANameServer)
{
    Target.Offer("ZALINameServerAccess", false);
    EXPECT_EQ(E_FAIL, Check());
    Target.Offer("ZALINameServerAccess");
    Target.hasNameServer = false;
    EXPECT_EQ(E_FAIL, Check());
    EXPECT_TRUE(Cad().calls.empty());
    EXPECT_TRUE(Surface().Questions().empty());
}

TEST_F(PartNumberConflict, IsNoneInAnEmptyListAndEndsWithOneWithoutAList)
{
    EXPECT_EQ(S_OK, Check());
    Target.hasEntries = false;
    EXPECT_EQ(1, Check());
    EXPECT_TRUE(Surface().Questions().empty());
}

} // namespace

} // namespace openhost::testing
