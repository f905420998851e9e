// The texts that the project installs.

#include "TextFixture.h"

#include "tests/support/Places.h"

#include <map>

namespace openhost {
namespace {

class InstallationTexts : public TextFixture, public ::testing::WithParamInterface<const char*> {
protected:
    InstallationTexts()
    {
        SetPathVariable(InstallationVariable, SourceDir() + "/installation");
        SetLanguage(GetParam());
    }

    static std::string FolderOf(const std::string& kind, const std::string& language)
    {
        const std::string folder = SourceDir() + "/installation/resources/" + kind;
        return language == "English" ? folder : folder + "/" + language;
    }
};

TEST_P(InstallationTexts, HaveAMessageForEachKeyOfTheModule)
{
    const std::map<std::string, std::vector<std::string>> keys = {
        {"ZALVelmartMeridiaAccessAddinActionCmd",
         {"InitialStateInsert", "InitialStateReplace", "DownloadFailed", "DownloadCanceled",
          "InvalidContextForInsertReplace", "InsertFailed", "ReplaceFailed", "PartNumberConflict",
          "ReplaceAllPopUp.Title", "ReplaceAllPopUp.Message"}},
        {"ZALVelmartFileDownloader",
         {"OverwriteNotifyTitle", "OverwriteNotifyMessage", "OverwriteNotifyRemaining", "DownloadCanceled",
          "DownloadFailed", "WarnFileSameNameReused", "WarnNoTemplateMultiProduct"}},
        {"ZALVelmartFindSimilarCmd",
         {"FindSimilarAlreadyRunning", "UnableToRetrieveSelection", "UploadWarningTitle", "UploadWarningMessage",
          "CommandHasBeenCancelled", "SaveAsLVRFailure", "LVRFileisTooBig", "UnableToRetrieveVLAddin",
          "LVRUploadFailure", "SearchResultFailure", "UnableToRetrieveMeridiaAccessDialog"}},
        {"ZALVelmartDownloadLocationDlg", {"NotADirectoryNotifyTitle", "NotADirectoryNotifyMessage"}}};
    const ZALUnicodeString parameter = "BOLT-12";
    for (const auto& [catalog, names] : keys)
        for (const std::string& name : names) {
            const std::string message =
                ToUtf8(ZALMsgCatalog::BuildMessage(catalog.c_str(), name.c_str(), &parameter, 1, "(none)"));
            EXPECT_NE("(none)", message) << catalog << " " << name;
            EXPECT_FALSE(message.empty()) << catalog << " " << name;
            const bool takesParameter = name == "PartNumberConflict" || name == "OverwriteNotifyRemaining";
            EXPECT_EQ(message.find("BOLT-12") != std::string::npos, takesParameter) << catalog << " " << name;
            EXPECT_EQ(std::string::npos, message.find("/P")) << catalog << " " << name;
        }
}

TEST_P(InstallationTexts, TitleTheProgressDialogs)
{
    for (const char* name : {"ZALVelmartDownloadProgressDlg", "ZALVelmartFindSimilarUploadProgressDlg"})
        EXPECT_GT((new ZALDlgDialog(nullptr, name, 0))->GetTitle().GetLengthInChar(), 0) << name;
    auto* upload = new ZALDlgDialog(nullptr, "ZALVelmartFindSimilarUploadProgressDlg", 0);
    EXPECT_GT((new ZALDlgLabel(upload, "VLProgressLabel", 0))->GetTitle().GetLengthInChar(), 0);
}

TEST_P(InstallationTexts, NameTheControlsOfTheDialogsWithSettings)
{
    EXPECT_GT((new ZALDlgDialog(nullptr, "ZALVelmartDownloadLocationDlg", 0))->GetTitle().GetLengthInChar(), 0);
    for (const char* name : {"ZALVelmartDownloadLocationDlg", "ZALVelmartToolsOptionFrame"}) {
        auto* parent = new ZALDlgDialog(nullptr, name, 0);
        for (const char* control :
             {"VLDownloadLocationLabel", "VLDownloadLocationButton", "VLDoNotRemindDownloadLocationCheckButton"})
            EXPECT_GT((new ZALDlgLabel(parent, control, 0))->GetTitle().GetLengthInChar(), 0) << name << control;
    }
}

TEST_P(InstallationTexts, HaveTheSameKeysInEachLanguageAndNoMalformedLine)
{
    for (const char* kind : {"msgcatalog", "dialogs"}) {
        int files = 0;
        for (const auto& entry : std::filesystem::directory_iterator(FolderOf(kind, "English"))) {
            if (!entry.is_regular_file())
                continue;
            ++files;
            std::vector<std::vector<std::string>> keys;
            for (const std::string language : {"English", GetParam()}) {
                std::ifstream file(FolderOf(kind, language) + "/" + entry.path().filename().string());
                std::string bytes;
                std::size_t texts = 0;
                for (std::string line; std::getline(file, line); bytes += line + "\n")
                    texts += !line.empty() && !line.starts_with("//");
                keys.emplace_back();
                for (const auto& [key, text] : ParseTexts(bytes))
                    keys.back().push_back(key);
                EXPECT_EQ(texts, keys.back().size()) << language << " " << entry.path();
            }
            EXPECT_EQ(keys[0], keys[1]) << entry.path();
        }
        EXPECT_GT(files, 0) << kind;
    }
}

INSTANTIATE_TEST_SUITE_P(Languages, InstallationTexts, ::testing::Values("English", "German"));

TEST(InstallationTextsInEnglish, KeepTheWordingOfTheModuleInItsOverwriteQuestion)
{
    SetPathVariable(InstallationVariable, SourceDir() + "/installation");
    SetLanguage("English");
    const ZALUnicodeString count = "1";
    const auto message = [&](const char* key) {
        return ToUtf8(ZALMsgCatalog::BuildMessage("ZALVelmartFileDownloader", key, &count, 1, ""));
    };
    EXPECT_EQ("Overwrite confirmation", message("OverwriteNotifyTitle"));
    EXPECT_EQ("Do you want to overwrite listed files ?", message("OverwriteNotifyMessage"));
    EXPECT_EQ("and 1 other files not listed here", message("OverwriteNotifyRemaining"));
    SetLanguage("");
    UnsetPathVariable(InstallationVariable);
}

} // namespace
} // namespace openhost
