// The opening of a downloaded file, and the warning of a part number that is in use.

#include "tests/insertion/OperationFixture.h"

#include "insertion/DocumentInsertion.h"

namespace openhost::testing {

namespace {

class OpenDownloaded : public OperationFixture {};

TEST_F(OpenDownloaded, AnEmptyListOpensNothingAndTellsNothing)
{
    EXPECT_EQ(OpenDownloadedDocument({}, "UT5"), E_FAIL);
    EXPECT_EQ(BusyCursorCount(), 0);
    EXPECT_TRUE(Cad().calls.empty());
    EXPECT_TRUE(Messages().empty());
}

TEST_F(OpenDownloaded, TheFirstFileIsOpenedAndAllAreTold)
{
    EXPECT_EQ(OpenDownloadedDocument(List({"/p/a.ZALProduct", "/p/b.ZALPart", "/p/c.ZALPart"}), "UT5"), S_OK);
    EXPECT_EQ(Cad().calls, Texts{"Open /p/a.ZALProduct"});
    EXPECT_EQ(Messages(), Texts{EndTransaction({"/p/a.ZALProduct", "/p/b.ZALPart", "/p/c.ZALPart"})});
    EXPECT_EQ(BusyCursorCount(), 2);
    EXPECT_TRUE(Surface().Questions().empty());
}

TEST_F(OpenDownloaded, ThePathIsFreedBeforeAnybodyIsToldAndTheObjectsAreReleasedAfterwards)
{
    OpenDownloadedDocument(List({"/p/a.ZALPart"}), "UT5");
    ASSERT_EQ(Messages().size(), 1U);
    EXPECT_EQ(TextsAtMessage(), 0);
    EXPECT_EQ(ObjectsAtMessage(), 3); // document, application and collection
}

TEST_F(OpenDownloaded, OtherEnvironmentsAreNotTold)
{
    for (const char* environment : {"File", "", "ut5", "UT5 "})
        EXPECT_EQ(OpenDownloadedDocument(List({"/p/a.ZALPart"}), environment), S_OK);
    EXPECT_EQ(Cad().calls.size(), 4U);
    EXPECT_TRUE(Messages().empty());
}

TEST_F(OpenDownloaded, TheResultIsThatOfTheHostAndARefusalIsToldAllTheSame)
{
    for (const HRESULT result : {E_FAIL, E_INVALIDARG, S_FALSE}) {
        Cad().openResult = result;
        Cad().givesDocument = result >= 0;
        EXPECT_EQ(OpenDownloadedDocument(List({"/p/a.ZALPart"}), "UT5"), result);
    }
    EXPECT_EQ(Messages().size(), 3U);
    EXPECT_TRUE(Surface().Questions().empty());
}

TEST_F(OpenDownloaded, ADocumentThatComesWithAFailureIsReleased)
{
    Cad().openResult = E_FAIL;
    EXPECT_EQ(OpenDownloadedDocument(List({"/p/a.ZALPart"}), "File"), E_FAIL);
}

TEST_F(OpenDownloaded, AnApplicationWithoutDocumentsFailsAndTellsNothing)
{
    Cad().hasDocuments = false;
    EXPECT_EQ(OpenDownloadedDocument(List({"/p/a.ZALPart"}), "UT5"), E_FAIL);
    EXPECT_EQ(BusyCursorCount(), 1);
    EXPECT_TRUE(Messages().empty());
}

TEST_F(OpenDownloaded, AFrameThatIsNoApplicationFailsAndTellsNothing)
{
    Cad().offersApplication = false;
    EXPECT_EQ(OpenDownloadedDocument(List({"/p/a.ZALPart"}), "UT5"), E_FAIL);
    EXPECT_EQ(BusyCursorCount(), 1);
    EXPECT_TRUE(Messages().empty());
}

TEST_F(OpenDownloaded, WithoutAFrameNothingIsOpened)
{
    ResetFrame();
    EXPECT_EQ(OpenDownloadedDocument(List({"/p/a.ZALPart"}), "UT5"), E_FAIL);
    EXPECT_TRUE(Cad().calls.empty());
    EXPECT_TRUE(Messages().empty());
}

// ---------------------------------------------------------------------------------------------
// Part numbers

class PartNumberConflict : public OperationFixture {
protected:
    PartNumberConflict() : target_(MakeProduct("Target")), root_(MakeProduct("Root"))
    {
        root_->partNumber = "BOLT-12";
        Cad().loaded["/p/bolt.ZALPart"] = root_.get();
    }

    HRESULT Check() { return CheckPartNumberConflict(target_.get(), "/p/bolt.ZALPart"); }
    ScriptedProduct& Target() { return *target_; }
    ScriptedProduct& Root() { return *root_; }

private:
    Owned<ScriptedProduct> target_;
    Owned<ScriptedProduct> root_;
};

TEST_F(PartNumberConflict, IsToldWithThePartNumber)
{
    InstallCatalog("PartNumberConflict = \"/P1 is taken /P2\";\n");
    Target().names = {"NUT-4", "BOLT-12"};
    EXPECT_EQ(Check(), S_OK);
    ASSERT_EQ(Surface().Questions().size(), 1U);
    const ScriptedSurface::Question& question = Surface().Questions()[0];
    EXPECT_EQ(question.name, "FileOpenInsertReplaceErrorNotify");
    EXPECT_EQ(question.style, 16384U);
    EXPECT_EQ(question.title, "");
    EXPECT_EQ(question.text, "BOLT-12 is taken /P2");
}

TEST_F(PartNumberConflict, HasADefaultText)
{
    Target().names = {"BOLT-12"};
    EXPECT_EQ(Check(), S_OK);
    EXPECT_EQ(QuestionTexts(), Texts{"Part Number conflict detected"});
}

TEST_F(PartNumberConflict, IsForIdenticalTextsOnly)
{
    Target().names = {"bolt-12", "BOLT-1", "BOLT-123", "", "Bolt-12"};
    EXPECT_EQ(Check(), S_OK);
    EXPECT_TRUE(Surface().Questions().empty());
}

TEST_F(PartNumberConflict, EndsTheLookingAtTheFirstHit)
{
    Target().names = {std::nullopt, "NUT-4", "BOLT-12", "BOLT-12", "OTHER"};
    EXPECT_EQ(Check(), S_OK);
    EXPECT_EQ(Cad().calls, (Texts{"GetEntries of Target", "GetItem 1", "GetItem 2", "GetItem 3"}));
    EXPECT_EQ(Surface().Questions().size(), 1U);
}

TEST_F(PartNumberConflict, PassesOverNullEntriesUpToTheLastOne)
{
    Target().names = {std::nullopt, "NUT-4", std::nullopt};
    EXPECT_EQ(Check(), S_OK);
    EXPECT_EQ(Cad().calls.size(), 4U);
    EXPECT_TRUE(Surface().Questions().empty());
}

TEST_F(PartNumberConflict, OfAnEmptyPartNumberIsOneWithAnEmptyName)
{
    Root().partNumber = "";
    Target().names = {""};
    EXPECT_EQ(Check(), S_OK);
    EXPECT_EQ(Surface().Questions().size(), 1U);
}

TEST_F(PartNumberConflict, NeedsADocumentInTheWorkspace)
{
    Cad().loaded.clear();
    Target().names = {"BOLT-12"};
    EXPECT_EQ(Check(), E_FAIL);
    EXPECT_TRUE(Cad().calls.empty());
}

TEST_F(PartNumberConflict, NeedsARootProduct)
{
    Cad().loaded["/p/bolt.ZALPart"] = nullptr;
    EXPECT_EQ(Check(), E_FAIL);
    EXPECT_TRUE(Cad().calls.empty());
}

TEST_F(PartNumberConflict, NeedsARootThatIsAProduct)
{
    Root().offersProduct = false;
    EXPECT_EQ(Check(), E_FAIL);
    EXPECT_TRUE(Cad().calls.empty());
}

TEST_F(PartNumberConflict, NeedsAccessToNamesAndANameServer)
{
    Target().offersNameServer = false;
    EXPECT_EQ(Check(), E_FAIL);
    Target().offersNameServer = true;
    Target().hasNameServer = false;
    EXPECT_EQ(Check(), E_FAIL);
    EXPECT_TRUE(Cad().calls.empty());
    EXPECT_TRUE(Surface().Questions().empty());
}

TEST_F(PartNumberConflict, WithoutAListEndsWithOne)
{
    Target().hasEntries = false;
    EXPECT_EQ(Check(), 1);
    EXPECT_TRUE(Surface().Questions().empty());
}

TEST_F(PartNumberConflict, IsNoneInAnEmptyList)
{
    EXPECT_EQ(Check(), S_OK);
    EXPECT_TRUE(Surface().Questions().empty());
}

} // namespace

} // namespace openhost::testing
