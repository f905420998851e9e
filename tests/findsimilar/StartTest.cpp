// The start of the command: selection, warning, name, file and panel.

#include "tests/findsimilar/FindSimilarFixture.h"

#include <ostream>

namespace openhost::testing {

namespace {

class FindSimilarStart : public FindSimilarFixture {};

/// Lets a row of a table act on the fixture.
class EndFixture : public FindSimilarFixture {
public:
    using FindSimilarFixture::cad_;
    using FindSimilarFixture::Errors;
    using FindSimilarFixture::leaf_;
    using FindSimilarFixture::Loop;
    using FindSimilarFixture::OpenReadyPanel;
    using FindSimilarFixture::Page;
    using FindSimilarFixture::Reply;
    using FindSimilarFixture::ReportOver;
    using FindSimilarFixture::ReportReady;
    using FindSimilarFixture::Start;
    using FindSimilarFixture::StartUpload;
    using FindSimilarFixture::Surface;
    using FindSimilarFixture::Traced;
    using FindSimilarFixture::Transport;
    using FindSimilarFixture::Zip;
};

// ---------------------------------------------------------------------------------------------
// One at a time

TEST_F(FindSimilarStart, ThatMeetsARunningOneIsRefusedAndForgetsIt)
{
    StartUpload();
    const std::size_t requests = Transport().Count();

    Start();
    EXPECT_EQ(Texts{"FindSimilarAlreadyRunning"}, Errors());
    EXPECT_TRUE(Command::Running());
    Loop().RunUntilIdle();
    EXPECT_EQ(nullptr, Command::Running());
    EXPECT_EQ(1U, EndsAskedFor());
    EXPECT_EQ(Transport().Count(), requests);
    EXPECT_TRUE(Transport().Last().IsRunning());

    Start();
    EXPECT_EQ(1U, Errors().size());
    EXPECT_EQ(Transport().Count(), requests + 1);
    EXPECT_TRUE(Transport().At(0).IsRunning());
    EXPECT_TRUE(Transport().At(1).IsRunning());
}

TEST_F(FindSimilarStart, ThatIsRefusedDoesNotAskForTheSelection)
{
    StartUpload();
    const std::size_t calls = cad_.calls.size();
    Start();
    EXPECT_EQ(cad_.calls.size(), calls);
    EXPECT_EQ(1U, Asked("UploadWarningPopup"));
}

TEST_F(FindSimilarStart, ThatMeetsOneWhoseWarningIsUpIsRefusedToo)
{
    OpenReadyPanel();
    Loop().Post([] { Start(); });
    Start();
    EXPECT_EQ(Texts{"FindSimilarAlreadyRunning"}, Errors());
    EXPECT_EQ(1U, Asked("UploadWarningPopup"));
    ASSERT_EQ(1U, Transport().Count());
    EXPECT_TRUE(Command::Running());
    EXPECT_TRUE(HasEnded()) << "as far as it is known";
    EXPECT_TRUE(Transport().Last().IsRunning());
    Reply(R"({"data":{"query":"q"}})");
    EXPECT_EQ(1U, Page().Scripts().size());
}

TEST_F(FindSimilarStart, HasItsNameAndItsModeBesideTheRunningCommand)
{
    Start();
    ASSERT_TRUE(Command::Running());
    EXPECT_STREQ(CommandClass, Command::Running()->GetName().CastToCharPtr());
    EXPECT_EQ(3, Command::Running()->GetMode());
}

// ---------------------------------------------------------------------------------------------
// The selection

TEST_F(FindSimilarStart, HoldsTheObjectWhileTheUserIsWarned)
{
    OpenReadyPanel();
    auto* part = new ScriptedObject(cad_, nullptr, "Part", ScriptedObject::OfProduct);
    part->isReference = true;
    part->Offer("ZALIAlias");
    part->alias = "Bolt";
    Select(*part);
    const ZALBaseUnknown_WR weak(part);
    part->Release(); // the selection alone holds it
    Loop().Post([&] {
        ZALFrmEditor::GetCurrentEditor()->GetCSO()->Empty();
        ZALBaseUnknown* object = weak.GetComponent();
        ASSERT_TRUE(object);
        object->Release();
    });
    Start();
    EXPECT_EQ("Bolt.zip", UploadedName());
    EXPECT_EQ(nullptr, weak.GetComponent());
}

/// An object that does not say that it is one.
class Unasked : public ScriptedObject {
public:
    using ScriptedObject::ScriptedObject;
    int IsAKindOf(const char* className) const override
    {
        return std::string(className) == "ZALBaseUnknown" ? 0 : ScriptedObject::IsAKindOf(className);
    }
};

TEST_F(FindSimilarStart, TakesTheSelectedObjectForWhatItIs)
{
    OpenReadyPanel();
    auto* part = new Unasked(cad_, nullptr, "Part", ScriptedObject::OfProduct);
    Select(*part);
    Start();
    EXPECT_TRUE(Errors().empty());
    EXPECT_EQ(2U, ReferencesOf(part)) << "the selection's and this test's";
    part->Release();
}

TEST_F(FindSimilarStart, WithoutASelectionFails)
{
    OpenReadyPanel();
    ZALCSO& objects = *ZALFrmEditor::GetCurrentEditor()->GetCSO();
    objects.Empty();
    Start();
    EXPECT_EQ(Texts{"UnableToRetrieveSelection"}, Errors());
    EXPECT_TRUE(HasEnded());

    objects.AddElement(leaf_); // no path to it
    Start();
    EXPECT_EQ(2U, Errors().size());
    EXPECT_TRUE(HasEnded());

    objects.Empty();
    auto* empty = new ZALPathElement;
    objects.AddElement(empty);
    empty->Release();
    Start();
    EXPECT_EQ(3U, Errors().size());
    EXPECT_TRUE(HasEnded());

    EXPECT_EQ(0U, Asked("UploadWarningPopup"));
    EXPECT_TRUE(Transport().Requests().empty());
}

TEST_F(FindSimilarStart, WithoutAnEditorOrItsSetOfObjectsFails)
{
    OpenReadyPanel();
    ConfigureFrame({.editor = false});
    Start();
    EXPECT_EQ(Texts{"UnableToRetrieveSelection"}, Errors());
    EXPECT_TRUE(HasEnded());

    ConfigureFrame({.editor = true, .objectSet = false});
    Start();
    EXPECT_EQ(2U, Errors().size());
    EXPECT_TRUE(HasEnded());
}

TEST_F(FindSimilarStart, TakesTheFirstOfSeveralObjects)
{
    leaf_->Offer("ZALIAlias");
    root_->Offer("ZALIAlias");
    leaf_->alias = "First";
    leaf_->isReference = root_->isReference = true;
    root_->alias = "Second";
    ZALPathElement* second = PathTo(*root_);
    ZALFrmEditor::GetCurrentEditor()->GetCSO()->AddElement(second);
    second->Release();
    // Somebody else's walk through the set has got to the second one.
    ZALFrmEditor::GetCurrentEditor()->GetCSO()->InitElementList();
    ZALFrmEditor::GetCurrentEditor()->GetCSO()->NextElement();
    StartUpload();
    EXPECT_EQ("First.zip", UploadedName());
    EXPECT_TRUE(Errors().empty());
}

// ---------------------------------------------------------------------------------------------
// The warning

TEST_F(FindSimilarStart, WarnsBeforeTheUpload)
{
    InstallCatalog("UploadWarningTitle = \"T\";\nUploadWarningMessage = \"M\";\n");
    StartUpload();
    ASSERT_EQ(1U, Surface().Questions().size());
    const ScriptedSurface::Question& question = Surface().Questions().front();
    EXPECT_EQ("UploadWarningPopup", question.name);
    EXPECT_EQ(0x8800200U, question.style);
    EXPECT_EQ("T", question.title);
    EXPECT_EQ("M", question.text);
    EXPECT_EQ("ApplicationDocument", question.parent);
    Loop().RunUntilIdle();
    EXPECT_EQ(nullptr, Surface().Find("UploadWarningPopup"));
}

TEST_F(FindSimilarStart, WarnsWithEmptyTextsWhenTheCatalogHasNone)
{
    StartUpload();
    EXPECT_EQ("", Surface().Questions().front().title);
    EXPECT_EQ("", Surface().Questions().front().text);
}

TEST_F(FindSimilarStart, GoesOnAtAnyOtherAnswer)
{
    OpenReadyPanel();
    for (const int answer : {0, 1, 2, 3, 5}) {
        Surface().Answer("UploadWarningPopup", answer);
        Start();
        EXPECT_TRUE(Command::IsUploading()) << answer;
        Reply(R"({"data":{"query":"q"}})");
    }
    EXPECT_TRUE(Errors().empty());
}

TEST_F(FindSimilarStart, DoesNotWarnWithoutAFrameOrItsDocument)
{
    OpenReadyPanel();
    for (const FrameOptions& options :
         {FrameOptions{.applicationDocument = false, .editor = true}, FrameOptions{.exists = false, .editor = true}}) {
        ConfigureFrame(options);
        Select(*leaf_);
        Start();
        EXPECT_TRUE(Command::IsUploading()) << options.exists;
        EXPECT_TRUE(Surface().Questions().empty()) << options.exists;
        Reply(R"({"data":{"query":"q"}})");
    }
}

// ---------------------------------------------------------------------------------------------
// The name

TEST_F(FindSimilarStart, NamesTheUploadByTheAliasThatCounts)
{
    const struct {
        const char* object;
        bool isProduct, isReference, hasReference, offersAlias, referenceOffersAlias;
        const char* alias;
        const char* aliasOfReference;
        const char* name;
    } rows[] = {
        {"an instance", true, false, true, true, true, "Leaf.1", "Bolt", "Bolt.zip"},
        {"a reference product", true, true, true, true, true, "Self", "Bolt", "Self.zip"},
        {"an instance without a reference product", true, false, false, true, false, "Leaf.1", "", "PartLVR.zip"},
        {"no product", false, false, false, true, false, "Pad", "", "Pad.zip"},
        {"nothing with an alias", true, false, false, false, false, "", "", "PartLVR.zip"},
        {"a reference product without an alias", true, false, true, true, false, "Leaf.1", "", "PartLVR.zip"},
        {"a reference product of no name", true, false, true, true, true, "Leaf.1", "", "PartLVR.zip"}};
    OpenReadyPanel();
    for (const auto& row : rows) {
        leaf_->Offer("ZALIProduct", row.isProduct);
        leaf_->isReference = row.isReference;
        leaf_->reference = row.hasReference ? root_ : nullptr;
        leaf_->Offer("ZALIAlias", row.offersAlias);
        root_->Offer("ZALIAlias", row.referenceOffersAlias);
        leaf_->alias = row.alias;
        root_->alias = row.aliasOfReference;
        Start();
        EXPECT_EQ(row.name, UploadedName()) << row.object;
        Reply("");
    }
}

TEST_F(FindSimilarStart, LooksForNameAndDisplayOnceTheUserHasBeenWarned)
{
    OpenReadyPanel();
    leaf_->isReference = true;
    leaf_->Offer("ZALIAlias");
    leaf_->alias = "Before";
    Loop().Post([this] {
        EXPECT_TRUE(cad_.calls.empty());
        leaf_->alias = "After";
    });
    Start();
    EXPECT_EQ("After.zip", UploadedName());
    EXPECT_EQ(1U, cad_.calls.size());
}

// ---------------------------------------------------------------------------------------------
// The file

TEST_F(FindSimilarStart, LeavesThePathAloneWhenTheExportFails)
{
    StartUpload();
    const std::string trace = "ZALVelmartFindSimilarCmd::SaveAsTempLVR : E_FAIL : ";
    const auto pathAfterFailure = [this] {
        ZALUnicodeString path = "before";
        EXPECT_EQ(E_FAIL, Command::Save(leaf_, path));
        return ToUtf8(path);
    };
    cad_.lightFileResult = 1;
    EXPECT_EQ("before", pathAfterFailure());
    leaf_->hasRepresentation = false;
    EXPECT_EQ("before", pathAfterFailure());
    leaf_->Offer("ZALI3DGeoVisu", false);
    EXPECT_EQ("before", pathAfterFailure());
    EXPECT_EQ(3, std::ranges::count(Traces(), trace + "before\n"));
}

TEST_F(FindSimilarStart, LeavesTheZipFileAndNoLightFile)
{
    StartUpload();
    EXPECT_EQ(Texts{"Write light file " + LightFile().string()}, cad_.calls);
    EXPECT_TRUE(std::filesystem::exists(Zip()));
    EXPECT_FALSE(std::filesystem::exists(LightFile()));
    EXPECT_TRUE(Traced("ZALVelmartFindSimilarCmd::SaveAsTempLVR : S_OK : " + Zip().string()));
    Reply(R"({"data":{"query":"q"}})");
    EXPECT_TRUE(std::filesystem::exists(Zip()));
}

TEST_F(FindSimilarStart, ZipsTheLightFileUnderItsNameAlone)
{
    cad_.lightFileContent = std::string(100'000, 'x');
    StartUpload();
    EXPECT_LT(std::filesystem::file_size(Zip()), 10'000U);
    ZALSysZipFile zip;
    ASSERT_EQ(S_OK, zip.OpenZip(FromUtf8(Zip().string()), ZALZipRead));
    ASSERT_EQ(S_OK, zip.ExtractFile(FromUtf8(Parts().string()), "VLUploadedLVRFile.lvr", ZALZipExtractReplace));
    ASSERT_EQ(S_OK, zip.Close());
    EXPECT_EQ(ReadFile(Parts() / "VLUploadedLVRFile.lvr"), cad_.lightFileContent);
}

TEST_F(FindSimilarStart, ReplacesTheZipFileOfAnEarlierRun)
{
    std::ofstream(Zip()) << "of before";
    StartUpload();
    const std::string bytes = ReadFile(Zip());
    EXPECT_TRUE(bytes.starts_with("PK"));
    Reply("");
    cad_.lightFileContent = "other";
    Start();
    EXPECT_NE(ReadFile(Zip()), bytes);
}

// ---------------------------------------------------------------------------------------------
// The panel

constexpr const char* FirstPage = "categories?embeddedProfileId=ZALORQ7&connect&lockedapp=true";

TEST_F(FindSimilarStart, OpensThePanelAndPointsItAtTheCatalogue)
{
    Start();
    ASSERT_TRUE(Panel::Current());
    EXPECT_EQ(Texts{std::string(VelmartServiceUrl) + FirstPage}, Page().Urls());
    EXPECT_TRUE(Traced(std::string("ZALVelmartFindSimilarCmd::UsedVelmartURL : ") + VelmartServiceUrl + FirstPage));
    EXPECT_TRUE(Transport().Requests().empty());
    EXPECT_TRUE(Errors().empty());
    EXPECT_FALSE(HasEnded());
}

TEST_F(FindSimilarStart, TellsThePageOfAPanelThatWasOpen)
{
    Panel::Open();
    Start();
    EXPECT_EQ(Texts{std::string(VelmartServiceUrl) + FirstPage + "&addinmode=zalorq7"}, Page().Urls());
}

TEST_F(FindSimilarStart, TakesTheAddressOfTheServiceFromTheEnvironment)
{
    for (const char* address : {"http://127.0.0.1:8080/app", "http://127.0.0.1:8080/app/"}) {
        setenv("VL_Test_Url", address, 1);
        Start();
        EXPECT_EQ(Texts{std::string("http://127.0.0.1:8080/app/") + FirstPage}, Page().Urls());
        Panel::Close();
        EXPECT_TRUE(HasEnded());
    }
    setenv("VL_Test_Url", "", 1);
    Start();
    EXPECT_EQ(Texts{std::string(VelmartServiceUrl) + FirstPage}, Page().Urls());
}

TEST_F(FindSimilarStart, StaysIdleWithoutAPanelAndIsMetByTheNext)
{
    const std::unique_ptr<PanelPages> pages = PanelPages::Install(nullptr);
    Start();
    EXPECT_FALSE(HasEnded());
    EXPECT_TRUE(Errors().empty());

    Start();
    EXPECT_EQ(Texts{"FindSimilarAlreadyRunning"}, Errors());
    EXPECT_TRUE(HasEnded()); // as far as it is known

    Start();
    EXPECT_EQ(1U, Errors().size());
    EXPECT_FALSE(HasEnded());
}

TEST_F(FindSimilarStart, GoesOnWaitingWhenThePanelDoesNotTakeTheAddress)
{
    Panel::Open();
    Page().takesUrls = false;
    Start();
    EXPECT_FALSE(HasEnded());
    EXPECT_TRUE(Errors().empty());
    ReportReady();
    EXPECT_TRUE(Command::IsUploading());
}

TEST_F(FindSimilarStart, UploadsAtOnceWhenThePageIsReady)
{
    StartUpload();
    EXPECT_TRUE(Page().Urls().empty());
    EXPECT_EQ(Transport().Requests().at(0).url, UploadUrl);
}

TEST_F(FindSimilarStart, WaitsForThePageAndThenUploads)
{
    Start();
    Page().ReportUrl(std::string("https://") + VelmartProductionHost + "/");
    EXPECT_TRUE(Transport().Requests().empty());
    ReportReady();
    ASSERT_EQ(1U, Transport().Count());
    EXPECT_TRUE(Command::IsUploading());
}

TEST_F(FindSimilarStart, GoesOnWaitingWhenAnotherPageComes)
{
    Start();
    ReportOver();
    EXPECT_FALSE(HasEnded());
    ReportReady();
    EXPECT_TRUE(Command::IsUploading());
}

TEST_F(FindSimilarStart, EndsInSilenceWhenTheHostEndsItBeforeThePageIsReady)
{
    Start();
    EndStartedCommands();
    EXPECT_TRUE(HasEnded());
    ReportReady();
    EXPECT_TRUE(Errors().empty());
    EXPECT_TRUE(Transport().Requests().empty());
}

TEST_F(FindSimilarStart, HoldsNoAddinBehindItsEnd)
{
    StartUpload();
    ZALBaseUnknown* addin = nullptr;
    ASSERT_EQ(S_OK, Panel::Current()->GetAddin(AddinClass, &addin));
    const ZALBaseUnknown_WR weak(addin);
    addin->Release();
    Reply(R"({"data":{"query":"q"}})");
    EXPECT_TRUE(HasEnded());
    Panel::End();
    Loop().RunUntilIdle();
    EXPECT_EQ(nullptr, weak.GetComponent());
}

// ---------------------------------------------------------------------------------------------
// Messages

TEST_F(FindSimilarStart, ShowsAnErrorOnTheMainWindow)
{
    InstallCatalog("UnableToRetrieveSelection = \"Select something.\";\n");
    ZALFrmEditor::GetCurrentEditor()->GetCSO()->Empty();
    Start();
    ASSERT_EQ(1U, Surface().Questions().size());
    const ScriptedSurface::Question& question = Surface().Questions().front();
    EXPECT_EQ("FileDownloadErrorNotify", question.name);
    EXPECT_EQ(0x4000U, question.style);
    EXPECT_EQ("", question.title);
    EXPECT_EQ("Select something.", question.text);
    EXPECT_EQ("MainWindow", question.parent);
    Loop().RunUntilIdle();
    EXPECT_EQ(nullptr, Surface().Find("FileDownloadErrorNotify"));
}

TEST_F(FindSimilarStart, ShowsAnErrorWithoutAFrameAndWithoutACatalog)
{
    ResetFrame();
    Start();
    ASSERT_EQ(1U, Surface().Questions().size());
    EXPECT_EQ("Transaction has failed", Surface().Questions().front().text);
    EXPECT_EQ("", Surface().Questions().front().parent);
}

TEST_F(FindSimilarStart, ShowsNoEmptyError)
{
    InstallCatalog("UnableToRetrieveSelection = \"\";\n");
    ZALFrmEditor::GetCurrentEditor()->GetCSO()->Empty();
    Start();
    EXPECT_EQ(Texts{"UnableToRetrieveSelection"}, Errors());
    EXPECT_TRUE(Surface().Questions().empty());
    EXPECT_TRUE(HasEnded());
}

// ---------------------------------------------------------------------------------------------
// Ends

/// An end of the command.
struct WayToEnd {
    const char* name;
    void (*go)(EndFixture& on);
    Texts errors{};          ///< the keys of what the user is told
    std::size_t uploads = 0; ///< requests that were made; none of them goes on
    std::size_t ends = 1;    ///< how often the command asks for its end

    friend std::ostream& operator<<(std::ostream& stream, const WayToEnd& way) { return stream << way.name; }
};

class FindSimilarEnd : public EndFixture, public ::testing::WithParamInterface<WayToEnd> {};

TEST_P(FindSimilarEnd, IsAskedForByTheCommandItself)
{
    GetParam().go(*this);
    Loop().RunUntilIdle();
    EXPECT_EQ(GetParam().errors, Errors());
    EXPECT_EQ(GetParam().uploads, Transport().Requests().size());
    EXPECT_TRUE(Transport().Count() == 0 || !Transport().Last().IsRunning());
    EXPECT_EQ(GetParam().ends, EndsAskedFor());
    EXPECT_EQ(nullptr, Command::Running());
}

constexpr const char* Answer = R"({"data":{"query":"q"}})";

const WayToEnd Ways[] = {
    {"NoSelection",
     [](EndFixture& on) {
         ZALFrmEditor::GetCurrentEditor()->GetCSO()->Empty();
         on.Start();
     },
     {"UnableToRetrieveSelection"}},
    {"Declined",
     [](EndFixture& on) {
         on.Surface().Answer("UploadWarningPopup", 4);
         on.Start();
         EXPECT_TRUE(on.cad_.calls.empty());
     },
     {"CommandHasBeenCancelled"}},
    {"NoDisplay",
     [](EndFixture& on) {
         on.leaf_->Offer("ZALI3DGeoVisu", false);
         on.Start();
         EXPECT_FALSE(std::filesystem::exists(on.Zip()));
     },
     {"SaveAsLVRFailure"}},
    {"NoRepresentation",
     [](EndFixture& on) {
         on.leaf_->hasRepresentation = false;
         on.Start();
         EXPECT_TRUE(on.cad_.calls.empty());
     },
     {"SaveAsLVRFailure"}},
    {"NoZipFile",
     [](EndFixture& on) {
         std::filesystem::create_directory(on.Zip());
         on.Start();
         EXPECT_TRUE(on.Traced("ZALVelmartFindSimilarCmd::SaveAsTempLVR : S_OK : " + on.Zip().string()));
     },
     {"SaveAsLVRFailure"}},
    {"TooLarge",
     [](EndFixture& on) {
         std::string noise(11'000'000, '\0');
         std::uint32_t state = 1;
         for (char& byte : noise)
             byte = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
         on.cad_.lightFileContent = noise;
         on.Start();
     },
     {"LVRFileisTooBig"}},
    {"NoAddin",
     [](EndFixture& on) {
         ClassDictionary::Instance().RemoveCreation(AddinClass);
         on.Start();
         ClassDictionary::Instance().AddCreation(
             AddinClass, []() -> ZALBaseUnknown* { return new ZALVelmartMeridiaAccessAddin; }, "creation");
     },
     {"UnableToRetrieveVLAddin"}},
    {"NoUploadAddress",
     [](EndFixture& on) {
         on.OpenReadyPanel("");
         on.Start();
     }},
    {"NoUploadAddressLater",
     [](EndFixture& on) {
         on.Start();
         on.ReportReady("");
     }},
    {"NoUploadAddressAnyMore",
     [](EndFixture& on) {
         on.StartUpload();
         on.ReportOver();
         on.ReportReady("");
     },
     {},
     1},
    {"FileGone",
     [](EndFixture& on) {
         on.Start();
         std::filesystem::remove(on.Zip());
         on.ReportReady();
     },
     {"LVRUploadFailure"}},
    {"FileEmpty",
     [](EndFixture& on) {
         on.Start();
         std::ofstream(on.Zip(), std::ios::trunc).flush();
         on.ReportReady();
     },
     {"LVRUploadFailure"}},
    {"Refused",
     [](EndFixture& on) {
         on.OpenReadyPanel();
         on.Transport().RefuseNext();
         on.Start();
     },
     {"LVRUploadFailure"},
     1},
    {"ReadyOnceMore",
     [](EndFixture& on) {
         on.StartUpload();
         on.ReportOver();
         EXPECT_TRUE(on.Errors().empty());
         on.ReportReady();
     },
     {"FindSimilarAlreadyRunning"},
     1},
    {"PanelClosed",
     [](EndFixture& on) {
         on.Start();
         Panel::Close();
     }},
    {"PanelClosedInTheUpload",
     [](EndFixture& on) {
         on.StartUpload();
         Panel::Close();
     },
     {"LVRUploadFailure"},
     1,
     2},
    {"TransferFailed",
     [](EndFixture& on) {
         on.StartUpload();
         on.Transport().Last().End(TransferEnd::Failed);
     },
     {"LVRUploadFailure"},
     1},
    {"Answered",
     [](EndFixture& on) {
         on.StartUpload();
         on.Reply(Answer);
     },
     {},
     1},
    {"AnsweredBadly",
     [](EndFixture& on) {
         on.StartUpload();
         on.Reply("nonsense");
     },
     {"LVRUploadFailure"},
     1},
    {"AnsweredToAPageThatTakesNoScript",
     [](EndFixture& on) {
         on.StartUpload();
         on.Page().takesScripts = false;
         on.Reply(Answer);
     },
     {"SearchResultFailure"},
     1},
    {"AnsweredToAPanelThatTakesNoAddress",
     [](EndFixture& on) {
         on.StartUpload();
         on.ReportOver();
         on.Page().takesUrls = false;
         on.Reply(Answer);
     },
     {},
     1},
    {"AnsweredWithoutAPanel",
     [](EndFixture& on) {
         on.StartUpload();
         Panel::End(); // without a word to the command
         on.Reply(Answer);
     },
     {"UnableToRetrieveMeridiaAccessDialog"},
     1}};

INSTANTIATE_TEST_SUITE_P(Ways, FindSimilarEnd, ::testing::ValuesIn(Ways));

} // namespace

} // namespace openhost::testing
