#include "openhost/files/TemporaryFolder.h"
#include "openhost/journal/Journal.h"
#include "openhost/settings/SettingsStore.h"
#include "openhost/text/Utf.h"
#include "tests/openhost/files/FileSizeLimit.h"

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
        EXPECT_EQ(Object().GetDownloadLocation(value), S_OK);
        return ToUtf8(value);
    }

    bool DoNotRemind()
    {
        bool value = false;
        EXPECT_EQ(Object().GetDoNotRemindDownloadLocation(value), S_OK);
        return value;
    }

    void Write(const std::string& bytes) const { std::ofstream(file, std::ios::binary) << bytes; }

    std::string Read() const
    {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

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
    EXPECT_EQ(Location(), "");
    EXPECT_FALSE(DoNotRemind());
    ZALSettingInfo info;
    info.SetLock('R');
    char lock = 'x';
    EXPECT_EQ(Object().GetDownloadLocationInfo(info), S_OK);
    EXPECT_EQ(info.GetLock(lock), S_OK);
    EXPECT_EQ(lock, '-');
    info.SetLock('R');
    EXPECT_EQ(Object().GetDoNotRemindDownloadLocationInfo(info), S_OK);
    EXPECT_EQ(info.GetLock(lock), S_OK);
    EXPECT_EQ(lock, '-');
}

TEST_F(Settings, CannotBeMadeWithoutAStoreOrWithoutAPlaceForThem)
{
    EXPECT_EQ(CreateZALIVelmartIntegrationSettingAtt(nullptr), E_INVALIDARG);
    ZALIVelmartIntegrationSettingAtt* settings = &Object();
    Store().SetAvailable(false);
    EXPECT_EQ(CreateZALIVelmartIntegrationSettingAtt(&settings), E_FAIL);
    EXPECT_EQ(settings, nullptr);
    Store().SetAvailable(true);
    EXPECT_EQ(CreateZALIVelmartIntegrationSettingAtt(&settings), S_OK);
    ASSERT_NE(settings, nullptr);
    EXPECT_EQ(settings->Release(), 0U);
}

TEST_F(Settings, AreSharedByAllObjectsOfASession)
{
    EXPECT_EQ(Object().SetDownloadLocation(u"/home/jo/Größe"), S_OK);
    EXPECT_EQ(Object().SetDoNotRemindDownloadLocation(true), S_OK);
    ZALIVelmartIntegrationSettingAtt* other = nullptr;
    ASSERT_EQ(CreateZALIVelmartIntegrationSettingAtt(&other), S_OK);
    ZALUnicodeString location;
    bool flag = false;
    other->GetDownloadLocation(location);
    other->GetDoNotRemindDownloadLocation(flag);
    EXPECT_EQ(ToUtf8(location), "/home/jo/Größe");
    EXPECT_TRUE(flag);
    other->Release();
}

TEST_F(Settings, ThatAreLockedCannotBeSet)
{
    Store().SetValues({false, "/locked"});
    for (const char lock : {'R', 'r'}) {
        Store().SetLock("DownloadLocation", lock);
        Store().SetLock("DoNotRemindDownloadLocation", lock);
        EXPECT_EQ(Object().SetDownloadLocation("/other"), E_FAIL);
        EXPECT_EQ(Object().SetDoNotRemindDownloadLocation(true), E_FAIL);
    }
    EXPECT_EQ(Location(), "/locked");
    EXPECT_FALSE(DoNotRemind());
}

TEST_F(Settings, AreLockedByNoOtherCharacter)
{
    ZALSettingInfo info;
    char lock = 0;
    for (const char other : {'-', 'L', 'x'}) {
        Store().SetLock("DownloadLocation", other);
        EXPECT_EQ(Object().SetDownloadLocation("/other"), S_OK) << other;
        Object().GetDownloadLocationInfo(info);
        info.GetLock(lock);
        EXPECT_EQ(lock, other);
    }
}

TEST_F(Settings, FlagIsLockedAndUnlockedByTheAdministrator)
{
    ZALSettingInfo info;
    char lock = 0;
    EXPECT_EQ(Object().SetDoNotRemindDownloadLocationLock(1), S_OK);
    Object().GetDoNotRemindDownloadLocationInfo(info);
    info.GetLock(lock);
    EXPECT_EQ(lock, 'R');
    EXPECT_EQ(Object().SetDoNotRemindDownloadLocation(true), E_FAIL);
    EXPECT_EQ(Object().SetDoNotRemindDownloadLocationLock(2), E_INVALIDARG);
    EXPECT_EQ(Object().SetDoNotRemindDownloadLocationLock(0), S_OK);
    EXPECT_EQ(Object().SetDoNotRemindDownloadLocation(true), S_OK);
    EXPECT_EQ(Object().SetDownloadLocation("/free"), S_OK);
}

TEST_F(Settings, GoBackToTheValuesKeptLast)
{
    Store().SetValues({true, "/kept"});
    EXPECT_EQ(Object().SettingsStepOne(0), S_OK);
    Object().SetDownloadLocation("/changed");
    Object().SetDoNotRemindDownloadLocation(false);
    EXPECT_EQ(Object().SettingsStepThree(), S_OK);
    EXPECT_EQ(Location(), "/kept");
    EXPECT_TRUE(DoNotRemind());
}

TEST_F(Settings, GoBackToTheFileWhenNothingWasKept)
{
    Write(R"({"DownloadLocation": "/loaded"})");
    Store().Load(file);
    Object().SetDownloadLocation("/changed");
    Object().SettingsStepThree();
    EXPECT_EQ(Location(), "/loaded");
}

TEST_F(Settings, AreResetToTheAdministratorsValues)
{
    Write(R"({"DownloadLocation": "/mine",
              "administrator": {"DownloadLocation": "/srv", "DoNotRemindDownloadLocation": true}})");
    Store().Load(file);
    EXPECT_EQ(Location(), "/mine");
    EXPECT_EQ(Object().SettingsStepTwo(0, 0), S_OK);
    EXPECT_EQ(Location(), "/srv");
    EXPECT_TRUE(DoNotRemind());
    Store().SetAdministratorValues({});
    Object().SettingsStepTwo(0, 0);
    EXPECT_EQ(Location(), "");
    EXPECT_FALSE(DoNotRemind());
}

TEST_F(Settings, ThatAreLockedStayAtAResetAndOnTheWayBack)
{
    Object().SettingsStepOne(0);
    Store().SetValues({true, "/locked"});
    Store().SetLock("DownloadLocation", 'R');
    Object().SettingsStepThree();
    EXPECT_EQ(Location(), "/locked");
    EXPECT_FALSE(DoNotRemind());
    Store().SetValues({true, "/locked"});
    Object().SettingsStepTwo(0, 0);
    EXPECT_EQ(Location(), "/locked");
    EXPECT_FALSE(DoNotRemind());
}

// ---------------------------------------------------------------------------------------------
// The file

TEST_F(Settings, StayInMemoryUntilTheyAreSaved)
{
    Store().Load(file);
    Object().SetDownloadLocation("/home/jo/parts");
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(Object().SaveSettings(0), S_OK);
    EXPECT_TRUE(std::filesystem::exists(file));

    Store().Reset();
    EXPECT_EQ(Location(), "");
    Store().Load(file);
    EXPECT_EQ(Location(), "/home/jo/parts");
}

TEST_F(Settings, SurviveTheFileWithLocksAndOddCharacters)
{
    Store().Load(file);
    Store().SetValues({true, u"C:\\Teile \"neu\"\\Größe 😀"});
    Store().SetLock("DoNotRemindDownloadLocation", 'R');
    Store().Save();
    Store().Load(file);
    EXPECT_EQ(Location(), "C:\\Teile \"neu\"\\Größe 😀");
    EXPECT_TRUE(DoNotRemind());
    EXPECT_EQ(Store().Lock("DoNotRemindDownloadLocation"), 'R');
    EXPECT_EQ(Store().Lock("DownloadLocation"), '-');
    Store().SetLock("DoNotRemindDownloadLocation", '-');
    Store().Save();
    EXPECT_THAT(Read(), ::testing::Not(HasSubstr("locks")));
}

TEST_F(Settings, AreSavedWithoutAFileForTheSessionOnly)
{
    Object().SetDownloadLocation("/home/jo/parts");
    EXPECT_EQ(Object().SaveSettings(0), S_OK);
    EXPECT_EQ(Location(), "/home/jo/parts");
}

TEST_F(Settings, LeaveInTheFileWhatElseStandsThere)
{
    Write(R"({"other": {"deep": [1, 2.0, null]}, "administrator": {"DownloadLocation": "/srv"},)"
          R"( "locks": {"Other": "R"}})");
    Store().Load(file);
    std::ofstream(file, std::ios::binary) << R"({"later": 1, "other": {"deep": [1, 2.0, null]},)"
                                             R"( "administrator": {"DownloadLocation": "/srv"},)"
                                             R"( "locks": {"Other": "R"}})";
    Store().SetValues({true, "/new"});
    Store().Save();
    EXPECT_EQ(nlohmann::ordered_json::parse(Read()).dump(),
              R"({"later":1,"other":{"deep":[1,2.0,null]},"administrator":{"DownloadLocation":"/srv"},)"
              R"("locks":{"Other":"R"},"DoNotRemindDownloadLocation":true,"DownloadLocation":"/new"})");
}

TEST_F(Settings, OfADamagedFileAreReportedAndNeverOverwritten)
{
    const std::string tooDeep = "{\"a\":" + std::string(100'000, '[') + std::string(100'000, ']') + "}";
    for (const std::string& bytes :
         {std::string(), std::string("{"), std::string("[]"), std::string("\"text\""), std::string("{\"a\": 1} x"),
          std::string("{\"DownloadLocation\": \"\xFF\"}"), std::string("{\"DownloadLocation\": 1}"),
          std::string("{\"DoNotRemindDownloadLocation\": \"true\"}"), std::string("{\"locks\": []}"),
          std::string("{\"locks\": {\"DownloadLocation\": \"RR\"}}"), std::string("{\"administrator\": 1}"),
          std::string("{\"administrator\": {\"DownloadLocation\": false}}"), tooDeep,
          "{\"a\": \"" + std::string(1 << 20, 'a') + "\"}"}) {
        Write(bytes);
        EXPECT_THAT(LoadError(), StartsWith("the settings file " + file.string() + " cannot be loaded: "))
            << bytes.substr(0, 60);
        ZALIVelmartIntegrationSettingAtt* settings = nullptr;
        EXPECT_EQ(CreateZALIVelmartIntegrationSettingAtt(&settings), E_FAIL);
        EXPECT_THROW(Store().Save(), std::runtime_error);
        EXPECT_EQ(Read(), bytes) << bytes.substr(0, 60);
    }
}

TEST_F(Settings, OfAFileThatIsCutOffAnywhereAreReportedAndStay)
{
    const std::string whole = R"({"DownloadLocation": "/parts", "DoNotRemindDownloadLocation": true, "locks": {}})";
    for (std::size_t size = 0; size < whole.size(); ++size) {
        Write(whole.substr(0, size));
        EXPECT_THAT(LoadError(), HasSubstr("settings.json cannot be loaded")) << size;
        EXPECT_THROW(Store().Save(), std::runtime_error) << size;
        EXPECT_EQ(Read(), whole.substr(0, size));
    }
    Write(whole);
    EXPECT_EQ(LoadError(), "");
}

TEST_F(Settings, AreThereAgainAfterADamagedFileWasRepaired)
{
    Write("{");
    EXPECT_NE(LoadError(), "");
    Write(R"({"DownloadLocation": "/repaired"})");
    EXPECT_EQ(LoadError(), "");
    EXPECT_EQ(Location(), "/repaired");
}

TEST_F(Settings, AreNotSavedOverAFileThatWasDamagedMeanwhile)
{
    Write("{}");
    Store().Load(file);
    Write("{ damaged");
    EXPECT_EQ(Object().SaveSettings(0), E_FAIL);
    EXPECT_EQ(Read(), "{ damaged");
}

TEST_F(Settings, CannotBeLoadedFromAFolder)
{
    std::filesystem::create_directory(file);
    EXPECT_THAT(LoadError(), HasSubstr("no regular file"));
    EXPECT_THROW(Store().Save(), std::runtime_error);
}

TEST_F(Settings, AreLoadedFromNoPipeNoDeviceAndNoCircleOfLinks)
{
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    EXPECT_THAT(LoadError(), HasSubstr("no regular file"));
    for (const char* target : {"/dev/zero", "settings.json"}) {
        std::filesystem::remove(file);
        std::filesystem::create_symlink(target, file);
        EXPECT_THAT(LoadError(), HasSubstr("settings.json cannot be loaded")) << target;
        EXPECT_THROW(Store().Save(), std::runtime_error) << target;
    }
}

TEST_F(Settings, AreNotSavedWhereAFolderHasTakenThePlaceOfTheFile)
{
    Write(R"({"DownloadLocation": "/old"})");
    Store().Load(file);
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_EQ(Object().SaveSettings(0), E_FAIL);
    EXPECT_TRUE(std::filesystem::is_directory(file));
    std::filesystem::remove(file);
    EXPECT_EQ(Object().SaveSettings(0), S_OK);
    EXPECT_THAT(Read(), HasSubstr("/old"));
}

TEST_F(Settings, OfTheFileStayWhenTheDiskIsFull)
{
    Write(R"({"DownloadLocation": "/old"})");
    const std::string before = Read();
    Store().Load(file);
    Object().SetDownloadLocation(FromUtf8("/" + std::string(2000, 'n')));
    {
        const testing::FileSizeLimit limit(1000);
        EXPECT_EQ(Object().SaveSettings(0), E_FAIL);
    }
    EXPECT_EQ(Read(), before);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1);
    EXPECT_EQ(Object().SaveSettings(0), S_OK);
}

TEST_F(Settings, AreNotSavedToAReadOnlyFile)
{
    Write(R"({"DownloadLocation": "/old"})");
    const std::string before = Read();
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    Store().Load(file);
    Object().SetDownloadLocation("/new");
    EXPECT_EQ(Object().SaveSettings(0), E_FAIL);
    EXPECT_EQ(Read(), before);
    EXPECT_EQ(Location(), "/new");
}

TEST_F(Settings, AreNotSavedToAFolderThatIsGoneAndSaySoInTheJournal)
{
    std::filesystem::path inner = folder.Path() / "inner";
    std::filesystem::create_directory(inner);
    Store().Load(inner / "settings.json");
    std::filesystem::remove(inner);
    std::vector<std::string> lines;
    journal::Redirect([&](const nlohmann::ordered_json& event) { lines.push_back(event.dump()); });
    EXPECT_EQ(Object().SaveSettings(0), E_FAIL);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_THAT(lines[0], StartsWith(R"({"event":"settings","action":"failed","error":"the settings file )"));
    std::filesystem::create_directory(inner);
    EXPECT_EQ(Object().SaveSettings(0), S_OK);
    EXPECT_EQ(lines.back(), R"({"event":"settings","action":"saved"})");
}

TEST_F(Settings, LeaveNoTraceBesideTheFile)
{
    Store().Load(file);
    Store().Save();
    Store().Save();
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1);
}

TEST_F(Settings, HaveNoLockUnderAnotherName)
{
    EXPECT_THROW(Store().Lock("Other"), std::invalid_argument);
    EXPECT_THROW(Store().SetLock("Other", 'R'), std::invalid_argument);
}

} // namespace
} // namespace openhost
