#include "openhost/files/TemporaryFolder.h"
#include "openhost/journal/Journal.h"
#include "openhost/settings/SettingsStore.h"
#include "openhost/text/Utf.h"
#include "tests/openhost/files/FileSizeLimit.h"
#include "tests/support/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

#include <sys/stat.h>

namespace openhost {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class Settings : public ::testing::Test {
protected:
    Settings() { Store().Reset(); }
    ~Settings() override
    {
        if (settings_)
            settings_->Release();
        Store().Reset();
        journal::Redirect({});
    }

    static SettingsStore& Store() { return SettingsStore::Current(); }

    /// The settings object of the test, made at first use.
    ZALIVelmartIntegrationSettingAtt& Object()
    {
        if (!settings_ && FAILED(CreateZALIVelmartIntegrationSettingAtt(&settings_)))
            throw std::runtime_error("no settings object");
        return *settings_;
    }

    std::string Location()
    {
        ZALUnicodeString value;
        EXPECT_EQ(S_OK, Object().GetDownloadLocation(value));
        return ToUtf8(value);
    }

    void Load(const std::string& bytes)
    {
        Write(bytes);
        Store().Load(file);
    }
    /// The locks of the two settings as the object tells them.
    std::string Locks()
    {
        ZALSettingInfo info[2];
        char lock[2] = {'x', 'x'};
        info[0].SetLock('x');
        info[1].SetLock('x');
        EXPECT_EQ(S_OK, Object().GetDownloadLocationInfo(info[0]));
        EXPECT_EQ(S_OK, Object().GetDoNotRemindDownloadLocationInfo(info[1]));
        for (int index = 0; index < 2; ++index)
            EXPECT_EQ(S_OK, info[index].GetLock(lock[index]));
        return std::string(lock, 2);
    }
    void ExpectSettings(const std::string& location, bool doNotRemind)
    {
        EXPECT_EQ(location, Location());
        EXPECT_EQ(doNotRemind, DoNotRemind());
    }
    std::ptrdiff_t FilesInFolder() const
    {
        return std::distance(std::filesystem::directory_iterator(folder.Path()), {});
    }

    bool DoNotRemind()
    {
        bool value = false;
        EXPECT_EQ(S_OK, Object().GetDoNotRemindDownloadLocation(value));
        return value;
    }

    void Write(const std::string& bytes) const { std::ofstream(file, std::ios::binary) << bytes; }

    std::string Read() const { return testing::ReadFile(file); }

    std::string LoadError()
    {
        try {
            Store().Load(file);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "";
    }

    TemporaryFolder folder;
    std::filesystem::path file = folder.Path() / "settings.json";

private:
    ZALIVelmartIntegrationSettingAtt* settings_ = nullptr;
};

// ---------------------------------------------------------------------------------------------
// The object

TEST_F(Settings, BeginEmptyAndUnlocked)
{
    ExpectSettings("", false);
    EXPECT_EQ("--", Locks());
}

TEST_F(Settings, CannotBeMadeWithoutAStoreOrWithoutAPlaceForThem)
{
    EXPECT_EQ(E_INVALIDARG, CreateZALIVelmartIntegrationSettingAtt(nullptr));
    ZALIVelmartIntegrationSettingAtt* settings = &Object();
    Store().SetAvailable(false);
    EXPECT_EQ(E_FAIL, CreateZALIVelmartIntegrationSettingAtt(&settings));
    EXPECT_EQ(nullptr, settings);
    Store().SetAvailable(true);
    EXPECT_EQ(S_OK, CreateZALIVelmartIntegrationSettingAtt(&settings));
    ASSERT_NE(nullptr, settings);
    EXPECT_EQ(0U, settings->Release());
}

TEST_F(Settings, AreSharedByAllObjectsOfASession)
{
    EXPECT_EQ(S_OK, Object().SetDownloadLocation(u"/home/jo/Größe"));
    EXPECT_EQ(S_OK, Object().SetDoNotRemindDownloadLocation(true));
    ZALIVelmartIntegrationSettingAtt* other = nullptr;
    ASSERT_EQ(S_OK, CreateZALIVelmartIntegrationSettingAtt(&other));
    ZALUnicodeString location;
    bool flag = false;
    other->GetDownloadLocation(location);
    other->GetDoNotRemindDownloadLocation(flag);
    EXPECT_EQ("/home/jo/Größe", ToUtf8(location));
    EXPECT_TRUE(flag);
    other->Release();
}

TEST_F(Settings, ThatAreLockedCannotBeSet)
{
    Store().SetValues({false, "/locked"});
    for (const char lock : {'R', 'r'}) {
        Store().SetLock("DownloadLocation", lock);
        Store().SetLock("DoNotRemindDownloadLocation", lock);
        EXPECT_EQ(E_FAIL, Object().SetDownloadLocation("/other"));
        EXPECT_EQ(E_FAIL, Object().SetDoNotRemindDownloadLocation(true));
    }
    ExpectSettings("/locked", false);
}

TEST_F(Settings, AreLockedByNoOtherCharacter)
{
    for (const char other : {'-', 'L', 'x'}) {
        Store().SetLock("DownloadLocation", other);
        EXPECT_EQ(S_OK, Object().SetDownloadLocation("/other")) << other;
        EXPECT_EQ(std::string(1, other) + "-", Locks());
    }
}

TEST_F(Settings, FlagIsLockedAndUnlockedByTheAdministrator)
{
    EXPECT_EQ(S_OK, Object().SetDoNotRemindDownloadLocationLock(1));
    EXPECT_EQ("-R", Locks());
    EXPECT_EQ(E_FAIL, Object().SetDoNotRemindDownloadLocation(true));
    EXPECT_EQ(E_INVALIDARG, Object().SetDoNotRemindDownloadLocationLock(2));
    EXPECT_EQ(S_OK, Object().SetDoNotRemindDownloadLocationLock(0));
    EXPECT_EQ(S_OK, Object().SetDoNotRemindDownloadLocation(true));
    EXPECT_EQ(S_OK, Object().SetDownloadLocation("/free"));
}

TEST_F(Settings, GoBackToTheValuesKeptLast)
{
    Store().SetValues({true, "/kept"});
    EXPECT_EQ(S_OK, Object().SettingsStepOne(0));
    Object().SetDownloadLocation("/changed");
    Object().SetDoNotRemindDownloadLocation(false);
    EXPECT_EQ(S_OK, Object().SettingsStepThree());
    ExpectSettings("/kept", true);
}

TEST_F(Settings, GoBackToTheFileWhenNothingWasKept)
{
    Load(R"({"DownloadLocation": "/loaded"})");
    Object().SetDownloadLocation("/changed");
    Object().SettingsStepThree();
    EXPECT_EQ("/loaded", Location());
}

TEST_F(Settings, AreResetToTheAdministratorsValues)
{
    Load(R"({"DownloadLocation": "/mine",
             "administrator": {"DownloadLocation": "/srv", "DoNotRemindDownloadLocation": true}})");
    EXPECT_EQ("/mine", Location());
    EXPECT_EQ(S_OK, Object().SettingsStepTwo(0, 0));
    ExpectSettings("/srv", true);
    Store().SetAdministratorValues({});
    Object().SettingsStepTwo(0, 0);
    ExpectSettings("", false);
}

TEST_F(Settings, ThatAreLockedStayAtAResetAndOnTheWayBack)
{
    Object().SettingsStepOne(0);
    Store().SetLock("DownloadLocation", 'R');
    Store().SetValues({true, "/locked"});
    Object().SettingsStepThree();
    ExpectSettings("/locked", false);
    Store().SetValues({true, "/locked"});
    Object().SettingsStepTwo(0, 0);
    ExpectSettings("/locked", false);
}

// ---------------------------------------------------------------------------------------------
// The file

TEST_F(Settings, StayInMemoryUntilTheyAreSaved)
{
    Store().Load(file);
    Object().SetDownloadLocation("/home/jo/parts");
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(S_OK, Object().SaveSettings(0));
    EXPECT_EQ(1, FilesInFolder());
    Store().Save();
    EXPECT_EQ(1, FilesInFolder()) << "nothing is left beside the file";

    Store().Reset();
    EXPECT_EQ("", Location());
    Store().Load(file);
    EXPECT_EQ("/home/jo/parts", Location());
}

TEST_F(Settings, SurviveTheFileWithLocksAndOddCharacters)
{
    Store().Load(file);
    Store().SetValues({true, u"C:\\Teile \"neu\"\\Größe 😀"});
    Store().SetLock("DoNotRemindDownloadLocation", 'R');
    Store().Save();
    Store().Load(file);
    ExpectSettings("C:\\Teile \"neu\"\\Größe 😀", true);
    EXPECT_EQ('R', Store().Lock("DoNotRemindDownloadLocation"));
    EXPECT_EQ('-', Store().Lock("DownloadLocation"));
    Store().SetLock("DoNotRemindDownloadLocation", '-');
    Store().Save();
    EXPECT_THAT(Read(), ::testing::Not(HasSubstr("locks")));
}

TEST_F(Settings, AreSavedWithoutAFileForTheSessionOnly)
{
    Object().SetDownloadLocation("/home/jo/parts");
    EXPECT_EQ(S_OK, Object().SaveSettings(0));
    EXPECT_EQ("/home/jo/parts", Location());
}

TEST_F(Settings, LeaveInTheFileWhatElseStandsThere)
{
    const std::string others = R"("other":{"deep":[1,2.0,null]},"administrator":{"DownloadLocation":"/srv"},)"
                               R"("locks":{"Other":"R"})";
    Load("{" + others + "}");
    Write("{\"later\": 1, " + others + "}");
    Store().SetValues({true, "/new"});
    Store().Save();
    EXPECT_EQ("{\"later\":1," + others + R"(,"DoNotRemindDownloadLocation":true,"DownloadLocation":"/new"})",
              nlohmann::ordered_json::parse(Read()).dump());
}

TEST_F(Settings, OfADamagedFileAreReportedAndNeverOverwritten)
{
    std::vector<std::string> damaged{"[]",
                                     "\"text\"",
                                     "{\"a\": 1} x",
                                     "{\"DownloadLocation\": \"\xFF\"}",
                                     "{\"DownloadLocation\": 1}",
                                     "{\"DoNotRemindDownloadLocation\": \"true\"}",
                                     "{\"locks\": []}",
                                     "{\"locks\": {\"DownloadLocation\": \"RR\"}}",
                                     "{\"administrator\": 1}",
                                     "{\"administrator\": {\"DownloadLocation\": false}}",
                                     "{\"a\":" + std::string(100'000, '[') + std::string(100'000, ']') + "}",
                                     "{\"a\": \"" + std::string(1 << 20, 'a') + "\"}"};
    const std::string whole = R"({"DownloadLocation": "/parts", "DoNotRemindDownloadLocation": true, "locks": {}})";
    for (std::size_t size = 0; size < whole.size(); ++size)
        damaged.push_back(whole.substr(0, size));
    for (const std::string& bytes : damaged) {
        SCOPED_TRACE(bytes.substr(0, 80));
        Write(bytes);
        EXPECT_THAT(LoadError(), StartsWith("the settings file " + file.string() + " cannot be loaded: "));
        ZALIVelmartIntegrationSettingAtt* settings = nullptr;
        EXPECT_EQ(E_FAIL, CreateZALIVelmartIntegrationSettingAtt(&settings));
        EXPECT_THROW(Store().Save(), std::runtime_error);
        EXPECT_EQ(bytes, Read());
    }
    Write(whole);
    EXPECT_EQ("", LoadError());
    EXPECT_EQ("/parts", Location()) << "the file has been repaired";
}

TEST_F(Settings, AreReadFromAFileOfAtMostAMebibyte)
{
    const std::string text = R"({"DownloadLocation": "/parts"})";
    Write(text + std::string((1 << 20) - text.size(), ' '));
    EXPECT_EQ("", LoadError());
    EXPECT_EQ("/parts", Location());
    Write(text + std::string((1 << 20) - text.size() + 1, ' '));
    EXPECT_THAT(LoadError(), HasSubstr("larger than 1048576 bytes"));
}

TEST_F(Settings, AreReadFromAFileOfAtMostSixtyFourLevels)
{
    const auto nested = [](std::size_t levels) {
        return "{\"other\": " + std::string(levels - 1, '[') + "1" + std::string(levels - 1, ']') + "}";
    };
    Write(nested(64));
    EXPECT_EQ("", LoadError());
    Write(nested(65));
    EXPECT_THAT(LoadError(), HasSubstr("nested too deeply"));
}

TEST_F(Settings, AreNotSavedOverAFileThatWasDamagedMeanwhile)
{
    Load("{}");
    Write("{ damaged");
    EXPECT_EQ(E_FAIL, Object().SaveSettings(0));
    EXPECT_EQ("{ damaged", Read());
}

TEST_F(Settings, AreLoadedFromNoFolderPipeDeviceOrCircleOfLinks)
{
    std::filesystem::create_directory(file);
    EXPECT_THAT(LoadError(), HasSubstr("not a regular file"));
    EXPECT_THROW(Store().Save(), std::runtime_error);
    std::filesystem::remove(file);
    ASSERT_EQ(0, mkfifo(file.c_str(), 0600));
    EXPECT_THAT(LoadError(), HasSubstr("not a regular file"));
    for (const char* target : {"/dev/zero", "settings.json"}) {
        std::filesystem::remove(file);
        std::filesystem::create_symlink(target, file);
        EXPECT_THAT(LoadError(), HasSubstr("settings.json cannot be loaded")) << target;
        EXPECT_THROW(Store().Save(), std::runtime_error) << target;
    }
}

TEST_F(Settings, AreNotSavedWhereAFolderHasTakenThePlaceOfTheFile)
{
    Load(R"({"DownloadLocation": "/old"})");
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_EQ(E_FAIL, Object().SaveSettings(0));
    EXPECT_TRUE(std::filesystem::is_directory(file));
    std::filesystem::remove(file);
    EXPECT_EQ(S_OK, Object().SaveSettings(0));
    EXPECT_THAT(Read(), HasSubstr("/old"));
}

TEST_F(Settings, OfTheFileStayWhenTheDiskIsFullOrTheFileIsReadOnly)
{
    const std::string before = R"({"DownloadLocation": "/old"})";
    Load(before);
    Object().SetDownloadLocation(FromUtf8("/" + std::string(2000, 'n')));
    {
        const testing::FileSizeLimit limit(1000);
        EXPECT_EQ(E_FAIL, Object().SaveSettings(0));
    }
    EXPECT_EQ(before, Read());
    EXPECT_EQ(1, FilesInFolder());
    EXPECT_EQ(S_OK, Object().SaveSettings(0));

    const std::string saved = Read();
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    Store().Load(file);
    Object().SetDownloadLocation("/new");
    EXPECT_EQ(E_FAIL, Object().SaveSettings(0));
    EXPECT_EQ(saved, Read());
    EXPECT_EQ("/new", Location());
}

TEST_F(Settings, AreNotSavedToAFolderThatIsGoneAndSaySoInTheJournal)
{
    std::filesystem::path inner = folder.Path() / "inner";
    std::filesystem::create_directory(inner);
    Store().Load(inner / "settings.json");
    std::filesystem::remove(inner);
    std::vector<std::string> lines;
    journal::Redirect([&](const nlohmann::ordered_json& event) { lines.push_back(event.dump()); });
    EXPECT_EQ(E_FAIL, Object().SaveSettings(0));
    ASSERT_EQ(1U, lines.size());
    EXPECT_THAT(lines[0], StartsWith(R"({"event":"settings","action":"failed","error":"the settings file )"));
    std::filesystem::create_directory(inner);
    EXPECT_EQ(S_OK, Object().SaveSettings(0));
    EXPECT_EQ(R"({"event":"settings","action":"saved"})", lines.back());
}

TEST_F(Settings, HaveNoLockUnderAnotherName)
{
    EXPECT_THROW(Store().Lock("Other"), std::invalid_argument);
    EXPECT_THROW(Store().SetLock("Other", 'R'), std::invalid_argument);
}

} // namespace
} // namespace openhost
