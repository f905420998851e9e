#include "catalogue/service/ItemRequest.h"

#include "openhost/files/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace catalogue::testing {

class ItemRequestTest : public ::testing::Test {
protected:
    void Write(const std::string& name, const std::string& text) const
    {
        std::filesystem::create_directories((folder_.Path() / name).parent_path());
        std::ofstream(folder_.Path() / name, std::ios::binary) << text;
    }

    openhost::TemporaryFolder folder_;
};

TEST_F(ItemRequestTest, TheMessageHasTheItemWithTheAddressInIt)
{
    Write("items/bolt.json", R"({"id": "bolt", "downloadUrl": "${BASE}/files/bolt.zip"})");
    EXPECT_EQ(R"({"event":"velmart_download","content":{"id":"bolt","downloadUrl":"http://a:1/files/bolt.zip"}})",
              ReadDownloadMessage(folder_.Path(), "bolt", "http://a:1"));
}

TEST_F(ItemRequestTest, AnItemThatIsMissingOrNoNameIsRefused)
{
    Write("secret.json", "{}");
    for (const std::string id : {"none", "", "../secret", ".", "a/b"})
        EXPECT_THROW(ReadDownloadMessage(folder_.Path(), id, ""), ItemError) << id;
}

TEST_F(ItemRequestTest, AnItemThatIsNoMapIsRefused)
{
    for (const char* text : {"[]", "{", ""}) {
        Write("items/bolt.json", text);
        EXPECT_THROW(ReadDownloadMessage(folder_.Path(), "bolt", ""), ItemError) << text;
    }
}

TEST_F(ItemRequestTest, TheLastQueryOfAJournalIsRead)
{
    Write("journal", R"({"event":"script","text":"OpApi.sendMessage('search', {query: 'first'});"}
{"event":"message","text":"{query: 'of the page'}"}
{"event":"script","text":"OpApi.sendMessage('search', {query: 'last'});"}
{"event":"script","text":"other();"}
{"event":"scr)");
    EXPECT_EQ("last", ReadLastQuery(folder_.Path() / "journal"));
}

TEST_F(ItemRequestTest, AJournalWithoutAQueryIsRefused)
{
    EXPECT_THROW(ReadLastQuery(folder_.Path() / "journal"), ItemError);
    Write("journal", R"({"event":"end","status":0})");
    EXPECT_THROW(ReadLastQuery(folder_.Path() / "journal"), ItemError);
}

} // namespace catalogue::testing
