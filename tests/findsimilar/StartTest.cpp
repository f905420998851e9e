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
    using FindSimilarFixture::leaf_;
    using FindSimilarFixture::Loop;
    using FindSimilarFixture::OpenReadyPanel;
    using FindSimilarFixture::Reply;
    using FindSimilarFixture::ReportOver;
    using FindSimilarFixture::ReportReady;
    using FindSimilarFixture::Start;
    using FindSimilarFixture::StartUpload;
    using FindSimilarFixture::Surface;
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
    EXPECT_EQ(Errors(), Texts{"FindSimilarAlreadyRunning"});
    EXPECT_TRUE(Command::Running());
    Loop().RunUntilIdle();
    EXPECT_EQ(Command::Running(), nullptr);
    EXPECT_EQ(Transport().Count(), requests);
    EXPECT_TRUE(Transport().Last().IsRunning());

    Start();
    EXPECT_EQ(Errors().size(), 1U);
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
    EXPECT_EQ(Asked("UploadWarningPopup"), 1U);
}

TEST_F(FindSimilarStart, ThatMeetsOneWhoseWarningIsUpIsRefusedToo)
{
    OpenReadyPanel();
    Loop().Post([] { Start(); });
    Start();
    EXPECT_EQ(Errors(), Texts{"FindSimilarAlreadyRunning"});
    EXPECT_EQ(Asked("UploadWarningPopup"), 1U);
    ASSERT_EQ(Transport().Count(), 1U);
    EXPECT_TRUE(Command::Running());
    EXPECT_TRUE(HasEnded()) << "as far as it is known";
    EXPECT_TRUE(Transport().Last().IsRunning());
    Reply(R"({"data":{"query":"q"}})");
    EXPECT_EQ(Page().Scripts().size(), 1U);
}

TEST_F(FindSimilarStart, HasItsNameAndItsModeBesideTheRunningCommand)
{
    Start();
    ASSERT_TRUE(Command::Running());
    EXPECT_STREQ(Command::Running()->GetName().CastToCharPtr(), CommandClass);
    EXPECT_EQ(Command::Running()->GetMode(), 3);
}

// ---------------------------------------------------------------------------------------------
// The selection

TEST_F(FindSimilarStart, HoldsTheObjectWhileTheUserIsWarned)
{
    OpenReadyPanel();
    auto* part = new ScriptedProduct(cad_, "Part");
    part->isReference = part->offersAlias = true;
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
    EXPECT_EQ(Command::PartName(), "Bolt");
    EXPECT_EQ(weak.GetComponent(), nullptr);
}

/// An object that does not say that it is one.
class Unasked : public ScriptedProduct {
public:
    using ScriptedProduct::ScriptedProduct;
    int IsAKindOf(const char* className) const override
    {
        return std::string(className) == "ZALBaseUnknown" ? 0 : ScriptedProduct::IsAKindOf(className);
    }
};

TEST_F(FindSimilarStart, TakesTheSelectedObjectForWhatItIs)
{
    OpenReadyPanel();
    auto* part = new Unasked(cad_, "Part");
    Select(*part);
    Start();
    EXPECT_TRUE(Errors().empty());
    EXPECT_EQ(ReferencesOf(part), 2U) << "the selection's and this test's";
    part->Release();
}

TEST_F(FindSimilarStart, WithoutASelectionFails)
{
    OpenReadyPanel();
    ZALCSO& objects = *ZALFrmEditor::GetCurrentEditor()->GetCSO();
    objects.Empty();
    Start();
    EXPECT_EQ(Errors(), Texts{"UnableToRetrieveSelection"});
    EXPECT_TRUE(HasEnded());

    objects.AddElement(leaf_); // no path to it
    Start();
    EXPECT_EQ(Errors().size(), 2U);
    EXPECT_TRUE(HasEnded());

    objects.Empty();
    auto* empty = new ZALPathElement;
    objects.AddElement(empty);
    empty->Release();
    Start();
    EXPECT_EQ(Errors().size(), 3U);
    EXPECT_TRUE(HasEnded());

    EXPECT_EQ(Asked("UploadWarningPopup"), 0U);
    EXPECT_TRUE(Transport().Requests().empty());
}

TEST_F(FindSimilarStart, WithoutAnEditorOrItsSetOfObjectsFails)
{
    OpenReadyPanel();
    ConfigureFrame({.editor = false});
    Start();
    EXPECT_EQ(Errors(), Texts{"UnableToRetrieveSelection"});
    EXPECT_TRUE(HasEnded());

    ConfigureFrame({.editor = true, .objectSet = false});
    Start();
    EXPECT_EQ(Errors().size(), 2U);
    EXPECT_TRUE(HasEnded());
}

TEST_F(FindSimilarStart, TakesTheFirstOfSeveralObjects)
{
    leaf_->offersAlias = root_->offersAlias = true;
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
    EXPECT_EQ(Command::PartName(), "First");
    EXPECT_TRUE(Errors().empty());
}

// ---------------------------------------------------------------------------------------------
// The warning

TEST_F(FindSimilarStart, WarnsBeforeTheUpload)
{
    InstallCatalog("UploadWarningTitle = \"T\";\nUploadWarningMessage = \"M\";\n");
    StartUpload();
    ASSERT_EQ(Surface().Questions().size(), 1U);
    const ScriptedSurface::Question& question = Surface().Questions().front();
    EXPECT_EQ(question.name, "UploadWarningPopup");
    EXPECT_EQ(question.style, 0x8800200U);
    EXPECT_EQ(question.title, "T");
    EXPECT_EQ(question.text, "M");
    EXPECT_EQ(question.parent, "ApplicationDocument");
    Loop().RunUntilIdle();
    EXPECT_EQ(Surface().Find("UploadWarningPopup"), nullptr);
}

TEST_F(FindSimilarStart, WarnsWithEmptyTextsWhenTheCatalogHasNone)
{
    StartUpload();
    EXPECT_EQ(Surface().Questions().front().title, "");
    EXPECT_EQ(Surface().Questions().front().text, "");
}

TEST_F(FindSimilarStart, EndsWithAMessageWhenTheUserDeclines)
{
    OpenReadyPanel();
    Surface().Answer("UploadWarningPopup", 4);
    Start();
    EXPECT_EQ(Errors(), Texts{"CommandHasBeenCancelled"});
    EXPECT_TRUE(HasEnded());
    EXPECT_TRUE(cad_.calls.empty());
    EXPECT_TRUE(Transport().Requests().empty());
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

TEST_F(FindSimilarStart, DoesNotWarnWithoutAnApplicationDocument)
{
    ConfigureFrame({.applicationDocument = false, .editor = true});
    Select(*leaf_);
    StartUpload();
    EXPECT_TRUE(Surface().Questions().empty());
}

TEST_F(FindSimilarStart, DoesNotWarnWithoutAFrame)
{
    ConfigureFrame({.exists = false, .editor = true});
    Select(*leaf_);
    StartUpload();
    EXPECT_TRUE(Surface().Questions().empty());
}

// ---------------------------------------------------------------------------------------------
// The name

TEST_F(FindSimilarStart, NamesTheUploadByTheAliasOfTheReferenceProduct)
{
    leaf_->reference = root_;
    leaf_->offersAlias = root_->offersAlias = true;
    leaf_->alias = "Leaf.1";
    root_->alias = "Bolt";
    StartUpload();
    EXPECT_EQ(Command::PartName(), "Bolt");
}

TEST_F(FindSimilarStart, NamesTheUploadByTheAliasOfASelectedReferenceProduct)
{
    leaf_->isReference = true;
    leaf_->reference = root_;
    leaf_->offersAlias = root_->offersAlias = true;
    leaf_->alias = "Self";
    root_->alias = "Bolt";
    StartUpload();
    EXPECT_EQ(Command::PartName(), "Self");
}

TEST_F(FindSimilarStart, NamesTheUploadPartLVRWithoutAReferenceProduct)
{
    leaf_->offersAlias = true;
    leaf_->alias = "Leaf.1";
    StartUpload();
    EXPECT_EQ(Command::PartName(), "PartLVR");
}

TEST_F(FindSimilarStart, LooksForNameAndDisplayOnceTheUserHasBeenWarned)
{
    OpenReadyPanel();
    leaf_->isReference = leaf_->offersAlias = true;
    leaf_->alias = "Before";
    Loop().Post([this] {
        EXPECT_TRUE(cad_.calls.empty());
        leaf_->alias = "After";
    });
    Start();
    EXPECT_EQ(Command::PartName(), "After");
    EXPECT_EQ(cad_.calls.size(), 1U);
}

TEST_F(FindSimilarStart, NamesTheUploadByTheAliasOfAnObjectThatIsNoProduct)
{
    leaf_->offersProduct = false;
    leaf_->offersAlias = true;
    leaf_->alias = "Pad";
    StartUpload();
    EXPECT_EQ(Command::PartName(), "Pad");
}

TEST_F(FindSimilarStart, NamesTheUploadPartLVRWithoutAnAlias)
{
    StartUpload(); // an instance whose reference product is missing
    EXPECT_EQ(Command::PartName(), "PartLVR");
    Reply("");

    leaf_->reference = root_; // which offers none
    leaf_->offersAlias = true;
    leaf_->alias = "Leaf.1";
    Start();
    EXPECT_EQ(Command::PartName(), "PartLVR");
    Reply("");

    root_->offersAlias = true; // but has no text
    Start();
    EXPECT_EQ(Command::PartName(), "PartLVR");
}

// ---------------------------------------------------------------------------------------------
// The file

TEST_F(FindSimilarStart, FailsForAnObjectWithoutADisplay)
{
    OpenReadyPanel();
    leaf_->offersDisplay = false;
    Start();
    EXPECT_EQ(Errors(), Texts{"SaveAsLVRFailure"});
    EXPECT_TRUE(Traced("ZALVelmartFindSimilarCmd::SaveAsTempLVR : E_FAIL : "));
    EXPECT_TRUE(HasEnded());
    EXPECT_FALSE(std::filesystem::exists(Zip()));
}

TEST_F(FindSimilarStart, FailsForADisplayWithoutARepresentation)
{
    OpenReadyPanel();
    leaf_->hasRepresentation = false;
    Start();
    EXPECT_EQ(Errors(), Texts{"SaveAsLVRFailure"});
    EXPECT_TRUE(Traced("ZALVelmartFindSimilarCmd::SaveAsTempLVR : E_FAIL : "));
    EXPECT_TRUE(cad_.calls.empty());
}

TEST_F(FindSimilarStart, FailsWhenTheLightFileCannotBeWrittenAndLeavesWhatStandsThere)
{
    OpenReadyPanel();
    std::ofstream(LightFile()) << "of before";
    for (const int result : {1, -1}) {
        cad_.lightFileResult = result;
        Start();
        EXPECT_EQ(Errors().back(), "SaveAsLVRFailure");
        EXPECT_TRUE(HasEnded());
    }
    EXPECT_EQ(Errors().size(), 2U);
    EXPECT_TRUE(Traced("ZALVelmartFindSimilarCmd::SaveAsTempLVR : E_FAIL : "));
    EXPECT_EQ(Read(LightFile()), "of before");
    EXPECT_FALSE(std::filesystem::exists(Zip()));
}

TEST_F(FindSimilarStart, LeavesThePathAloneWhenTheExportFails)
{
    StartUpload();
    const std::string trace = "ZALVelmartFindSimilarCmd::SaveAsTempLVR : E_FAIL : ";
    const auto pathAfterFailure = [this] {
        ZALUnicodeString path = "before";
        EXPECT_EQ(Command::Save(leaf_, path), E_FAIL);
        return ToUtf8(path);
    };
    cad_.lightFileResult = 1;
    EXPECT_EQ(pathAfterFailure(), "before");
    leaf_->hasRepresentation = false;
    EXPECT_EQ(pathAfterFailure(), "before");
    leaf_->offersDisplay = false;
    EXPECT_EQ(pathAfterFailure(), "before");
    EXPECT_EQ(std::ranges::count(Traces(), trace + "before\n"), 3);
}

TEST_F(FindSimilarStart, LeavesTheZipFileAndNoLightFile)
{
    StartUpload();
    EXPECT_EQ(cad_.calls, Texts{"Write light file " + LightFile().string()});
    EXPECT_TRUE(std::filesystem::exists(Zip()));
    EXPECT_FALSE(std::filesystem::exists(LightFile()));
    EXPECT_EQ(Command::TempFilePath(), Zip().string());
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
    ASSERT_EQ(zip.OpenZip(FromUtf8(Zip().string()), ZALZipRead), S_OK);
    ASSERT_EQ(zip.ExtractFile(FromUtf8(Parts().string()), "VLUploadedLVRFile.lvr", ZALZipExtractReplace), S_OK);
    EXPECT_EQ(Read(Parts() / "VLUploadedLVRFile.lvr"), cad_.lightFileContent);
}

TEST_F(FindSimilarStart, ReplacesTheZipFileOfAnEarlierRun)
{
    std::ofstream(Zip()) << "of before";
    StartUpload();
    const std::string bytes = Read(Zip());
    EXPECT_TRUE(bytes.starts_with("PK"));
    Reply("");
    cad_.lightFileContent = "other";
    Start();
    EXPECT_NE(Read(Zip()), bytes);
}

TEST_F(FindSimilarStart, FailsWhenTheZipFileCannotBeWrittenThoughItsResultsAreNotLookedAt)
{
    OpenReadyPanel();
    std::filesystem::create_directory(Zip());
    Start();
    EXPECT_TRUE(Traced("ZALVelmartFindSimilarCmd::SaveAsTempLVR : S_OK : " + Zip().string()));
    EXPECT_EQ(Errors(), Texts{"SaveAsLVRFailure"});
    EXPECT_TRUE(HasEnded());
}

/// Lets the light file have a size with which the zip file has just `size` bytes.
void FillZip(ScriptedCad& cad, const std::filesystem::path& folder, std::uintmax_t size)
{
    std::uint32_t state = 1;
    std::string noise(size, '\0');
    for (char& byte : noise) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        byte = static_cast<char>(state);
    }
    std::uintmax_t length = size - 5'000;
    for (int attempt = 0; attempt < 10; ++attempt) {
        cad.lightFileContent = noise.substr(0, length);
        std::ofstream(folder / "VLUploadedLVRFile.lvr", std::ios::binary) << cad.lightFileContent;
        const ZALUnicodeString zipPath = FromUtf8((folder / "probe.zip").string());
        ZALSysZipFile zip;
        zip.OpenZip(zipPath, ZALZipWrite);
        zip.AddFile(FromUtf8((folder / "VLUploadedLVRFile.lvr").string()), 1, 1, FromUtf8(folder.string()), 0);
        zip.Close();
        const std::uintmax_t now = std::filesystem::file_size(folder / "probe.zip");
        if (now == size)
            return;
        length += size - now;
    }
    FAIL() << "no light file gives a zip file of " << size << " bytes";
}

TEST_F(FindSimilarStart, TakesAnUploadOfTenMebibytes)
{
    FillZip(cad_, Parts(), 10485760);
    StartUpload();
    EXPECT_EQ(std::filesystem::file_size(Zip()), 10485760U);
}

TEST_F(FindSimilarStart, RefusesAnUploadOfOneByteMoreAndLeavesTheFile)
{
    OpenReadyPanel();
    FillZip(cad_, Parts(), 10485761);
    Start();
    EXPECT_EQ(Errors(), Texts{"LVRFileisTooBig"});
    EXPECT_TRUE(HasEnded());
    EXPECT_EQ(std::filesystem::file_size(Zip()), 10485761U);
}

// ---------------------------------------------------------------------------------------------
// The panel

constexpr const char* Page1 = "categories?embeddedProfileId=ZALORQ7&connect&lockedapp=true";

TEST_F(FindSimilarStart, OpensThePanelAndPointsItAtTheCatalogue)
{
    Start();
    ASSERT_TRUE(Panel::Current());
    EXPECT_EQ(Page().Urls(), Texts{std::string(VelmartServiceUrl) + Page1});
    EXPECT_TRUE(Traced(std::string("ZALVelmartFindSimilarCmd::UsedVelmartURL : ") + VelmartServiceUrl + Page1));
    EXPECT_TRUE(Transport().Requests().empty());
    EXPECT_TRUE(Errors().empty());
    EXPECT_FALSE(HasEnded());
}

TEST_F(FindSimilarStart, TellsThePageOfAPanelThatWasOpen)
{
    Panel::Open();
    Start();
    EXPECT_EQ(Page().Urls(), Texts{std::string(VelmartServiceUrl) + Page1 + "&addinmode=zalorq7"});
}

TEST_F(FindSimilarStart, TakesTheAddressOfTheServiceFromTheEnvironment)
{
    for (const char* address : {"http://127.0.0.1:8080/app", "http://127.0.0.1:8080/app/"}) {
        setenv("VL_Test_Url", address, 1);
        Start();
        EXPECT_EQ(Page().Urls(), Texts{std::string("http://127.0.0.1:8080/app/") + Page1});
        Panel::Close();
        EXPECT_TRUE(HasEnded());
    }
    setenv("VL_Test_Url", "", 1);
    Start();
    EXPECT_EQ(Command::VelmartURL(), std::string(VelmartServiceUrl) + Page1);
}

TEST_F(FindSimilarStart, StaysIdleWithoutAPanelAndIsMetByTheNext)
{
    const std::unique_ptr<PanelPages> pages = PanelPages::Install(nullptr);
    Start();
    EXPECT_FALSE(HasEnded());
    EXPECT_TRUE(Errors().empty());

    Start();
    EXPECT_EQ(Errors(), Texts{"FindSimilarAlreadyRunning"});
    EXPECT_TRUE(HasEnded()); // as far as it is known

    Start();
    EXPECT_EQ(Errors().size(), 1U);
    EXPECT_FALSE(HasEnded());
}

TEST_F(FindSimilarStart, FailsInAPanelWithoutTheAddin)
{
    ClassDictionary::Instance().RemoveCreation(AddinClass);
    Start();
    EXPECT_EQ(Errors(), Texts{"UnableToRetrieveVLAddin"});
    EXPECT_TRUE(HasEnded());
    EXPECT_TRUE(Page().Urls().empty());
    ClassDictionary::Instance().AddCreation(
        AddinClass, []() -> ZALBaseUnknown* { return new ZALVelmartMeridiaAccessAddin; }, "creation");
}

/// What stands in for the addin under its name: another class, with the same interface.
class OtherAddin : public ZALIMeridiaAccessDialogAddin {
public:
    HRESULT SetAccessDialog(ZALIMeridiaAccessDialog*) override { return S_OK; }
    HRESULT OnPageUrl(const ZALUnicodeString&) override { return S_OK; }
    HRESULT OnJSMessage(const ZALUnicodeString&) override { return S_OK; }
};

TEST_F(FindSimilarStart, FailsInAPanelWhoseAddinIsOfAnotherClass)
{
    ClassDictionary& dictionary = ClassDictionary::Instance();
    dictionary.RemoveCreation(AddinClass);
    dictionary.AddCreation(
        AddinClass, []() -> ZALBaseUnknown* { return new OtherAddin; }, "creation");
    Start();
    EXPECT_EQ(Errors(), Texts{"UnableToRetrieveVLAddin"});
    EXPECT_TRUE(HasEnded());
    ZALBaseUnknown* addin = nullptr;
    ASSERT_EQ(Panel::Current()->GetAddin(AddinClass, &addin), S_OK);
    EXPECT_EQ(ReferencesOf(addin), 3U) << "two of the panel, one of this test";
    addin->Release();
    EXPECT_TRUE(SubscribersOf(ZALMeridiaAccessServices::GetMeridiaDialogEventPublisher(),
                              ZALDlgWindCloseNotification::ClassName())
                    .empty());
    dictionary.RemoveCreation(AddinClass);
    dictionary.AddCreation(
        AddinClass, []() -> ZALBaseUnknown* { return new ZALVelmartMeridiaAccessAddin; }, "creation");
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

TEST_F(FindSimilarStart, EndsInSilenceWhenThePageTakesNoUploads)
{
    OpenReadyPanel("");
    Start();
    EXPECT_TRUE(HasEnded());
    EXPECT_TRUE(Errors().empty());
    EXPECT_TRUE(Transport().Requests().empty());
}

TEST_F(FindSimilarStart, WaitsForThePageAndThenUploads)
{
    Start();
    Page().ReportUrl(std::string("https://") + VelmartProductionHost + "/");
    EXPECT_TRUE(Transport().Requests().empty());
    ReportReady();
    ASSERT_EQ(Transport().Count(), 1U);
    EXPECT_TRUE(Command::IsUploading());
}

TEST_F(FindSimilarStart, EndsInSilenceWhenThePageComesWithoutAnUploadAddress)
{
    Start();
    ReportReady("");
    EXPECT_TRUE(HasEnded());
    EXPECT_TRUE(Errors().empty());
}

TEST_F(FindSimilarStart, GoesOnWaitingWhenAnotherPageComes)
{
    Start();
    ReportOver();
    EXPECT_FALSE(HasEnded());
    ReportReady();
    EXPECT_TRUE(Command::IsUploading());
}

TEST_F(FindSimilarStart, EndsWithItsUploadWhenThePageIsReadyOnceMore)
{
    StartUpload();
    ReportOver();
    EXPECT_TRUE(Errors().empty());
    ReportReady();
    EXPECT_EQ(Errors(), Texts{"FindSimilarAlreadyRunning"});
    EXPECT_TRUE(HasEnded());
    EXPECT_FALSE(Transport().At(0).IsRunning());
    EXPECT_EQ(Transport().Count(), 1U);
    EXPECT_EQ(Errors().size(), 1U);
}

TEST_F(FindSimilarStart, EndsInSilenceWithItsUploadWhenThePageTakesNoMoreUploads)
{
    StartUpload();
    ReportOver();
    ReportReady("");
    EXPECT_EQ(EndsAskedFor(), 1U);
    EXPECT_TRUE(HasEnded());
    EXPECT_TRUE(Errors().empty());
    EXPECT_FALSE(Transport().Last().IsRunning());
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
    ASSERT_EQ(Panel::Current()->GetAddin(AddinClass, &addin), S_OK);
    const ZALBaseUnknown_WR weak(addin);
    addin->Release();
    Reply(R"({"data":{"query":"q"}})");
    EXPECT_TRUE(HasEnded());
    Panel::End();
    Loop().RunUntilIdle();
    EXPECT_EQ(weak.GetComponent(), nullptr);
}

TEST_F(FindSimilarStart, EndsInSilenceWhenThePanelIsClosedBeforeThePageIsReady)
{
    Start();
    Panel::Close();
    EXPECT_TRUE(HasEnded());
    EXPECT_TRUE(Errors().empty());
}

// ---------------------------------------------------------------------------------------------
// Messages

TEST_F(FindSimilarStart, ShowsAnErrorOnTheMainWindow)
{
    InstallCatalog("UnableToRetrieveSelection = \"Select something.\";\n");
    ZALFrmEditor::GetCurrentEditor()->GetCSO()->Empty();
    Start();
    ASSERT_EQ(Surface().Questions().size(), 1U);
    const ScriptedSurface::Question& question = Surface().Questions().front();
    EXPECT_EQ(question.name, "FileDownloadErrorNotify");
    EXPECT_EQ(question.style, 0x4000U);
    EXPECT_EQ(question.title, "");
    EXPECT_EQ(question.text, "Select something.");
    EXPECT_EQ(question.parent, "MainWindow");
    Loop().RunUntilIdle();
    EXPECT_EQ(Surface().Find("FileDownloadErrorNotify"), nullptr);
}

TEST_F(FindSimilarStart, ShowsAnErrorWithoutAFrameAndWithoutACatalog)
{
    ResetFrame();
    Start();
    ASSERT_EQ(Surface().Questions().size(), 1U);
    EXPECT_EQ(Surface().Questions().front().text, "Transaction has failed");
    EXPECT_EQ(Surface().Questions().front().parent, "");
}

TEST_F(FindSimilarStart, ShowsNoEmptyError)
{
    InstallCatalog("UnableToRetrieveSelection = \"\";\n");
    ZALFrmEditor::GetCurrentEditor()->GetCSO()->Empty();
    Start();
    EXPECT_EQ(Errors(), Texts{"UnableToRetrieveSelection"});
    EXPECT_TRUE(Surface().Questions().empty());
    EXPECT_TRUE(HasEnded());
}

/// An end of the command, and how often it asks for it.
struct WayToEnd {
    const char* name;
    void (*go)(EndFixture& on);
    std::size_t ends = 1;

    friend std::ostream& operator<<(std::ostream& stream, const WayToEnd& way) { return stream << way.name; }
};

class FindSimilarEnd : public EndFixture, public ::testing::WithParamInterface<WayToEnd> {};

TEST_P(FindSimilarEnd, IsAskedForByTheCommandItself)
{
    GetParam().go(*this);
    Loop().RunUntilIdle();
    EXPECT_EQ(EndsAskedFor(), GetParam().ends);
    EXPECT_EQ(Command::Running(), nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Ways, FindSimilarEnd,
    ::testing::Values(WayToEnd{"AlreadyRunning",
                               [](EndFixture& on) {
                                   on.StartUpload();
                                   on.Start();
                               }},
                      WayToEnd{"NoSelection",
                               [](EndFixture& on) {
                                   ZALFrmEditor::GetCurrentEditor()->GetCSO()->Empty();
                                   on.Start();
                               }},
                      WayToEnd{"Declined",
                               [](EndFixture& on) {
                                   on.Surface().Answer("UploadWarningPopup", 4);
                                   on.Start();
                               }},
                      WayToEnd{"NoDisplay",
                               [](EndFixture& on) {
                                   on.leaf_->offersDisplay = false;
                                   on.Start();
                               }},
                      WayToEnd{"NoZipFile",
                               [](EndFixture& on) {
                                   std::filesystem::create_directory(on.Zip());
                                   on.Start();
                               }},
                      WayToEnd{"TooLarge",
                               [](EndFixture& on) {
                                   std::string noise(11'000'000, '\0');
                                   std::uint32_t state = 1;
                                   for (char& byte : noise)
                                       byte = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
                                   on.cad_.lightFileContent = noise;
                                   on.Start();
                               }},
                      WayToEnd{"NoAddin",
                               [](EndFixture& on) {
                                   ClassDictionary::Instance().RemoveCreation(AddinClass);
                                   on.Start();
                                   ClassDictionary::Instance().AddCreation(
                                       AddinClass, []() -> ZALBaseUnknown* { return new ZALVelmartMeridiaAccessAddin; },
                                       "creation");
                               }},
                      WayToEnd{"NoUploadAddress",
                               [](EndFixture& on) {
                                   on.OpenReadyPanel("");
                                   on.Start();
                               }},
                      WayToEnd{"NoUploadAddressLater",
                               [](EndFixture& on) {
                                   on.Start();
                                   on.ReportReady("");
                               }},
                      WayToEnd{"Refused",
                               [](EndFixture& on) {
                                   on.OpenReadyPanel();
                                   on.Transport().RefuseNext();
                                   on.Start();
                               }},
                      WayToEnd{"ReadyOnceMore",
                               [](EndFixture& on) {
                                   on.StartUpload();
                                   on.ReportOver();
                                   on.ReportReady();
                                   on.Loop().RunUntilIdle();
                               }},
                      WayToEnd{"PanelClosed",
                               [](EndFixture& on) {
                                   on.Start();
                                   Panel::Close();
                               }},
                      WayToEnd{"PanelClosedInTheUpload",
                               [](EndFixture& on) {
                                   on.StartUpload();
                                   Panel::Close();
                               },
                               2},
                      WayToEnd{"Answered",
                               [](EndFixture& on) {
                                   on.StartUpload();
                                   on.Reply(R"({"data":{"query":"q"}})");
                               }},
                      WayToEnd{"AnsweredBadly",
                               [](EndFixture& on) {
                                   on.StartUpload();
                                   on.Reply("nonsense");
                               }},
                      WayToEnd{"AnsweredWithoutAPanel", [](EndFixture& on) {
                                   on.StartUpload();
                                   Panel::End();
                                   on.Reply(R"({"data":{"query":"q"}})");
                               }}));

} // namespace

} // namespace openhost::testing
