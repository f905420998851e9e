// The sessions of docs/sessions.md, played as they stand there.

#include "catalogue/service/CatalogueService.h"
#include "openhost/files/TemporaryFolder.h"
#include "tests/support/Files.h"
#include "tests/support/Places.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <sys/wait.h>

namespace openhost::testing {

namespace {

/// The blocks of docs/sessions.md that begin with `opening`, such as "```json".
std::vector<std::string> Blocks(const std::string& opening)
{
    const std::string guide = ReadFile(SourceDir() + "/docs/sessions.md");
    const std::string fence = "```";
    std::vector<std::string> blocks;
    for (std::size_t begin = guide.find(fence); begin != std::string::npos;) {
        const std::size_t content = guide.find('\n', begin) + 1;
        const std::size_t end = guide.find(fence, content);
        if (guide.substr(begin, content - begin - 1) == opening)
            blocks.push_back(guide.substr(content, end - content));
        begin = guide.find(fence, end + fence.size());
    }
    return blocks;
}

std::vector<std::string> Sessions()
{
    std::vector<std::string> sessions = Blocks("```json");
    std::erase_if(sessions, [](const std::string& block) { return block.find("\"steps\"") == std::string::npos; });
    return sessions;
}

std::string Replaced(std::string text, const std::string& old, const std::string& replacement)
{
    for (std::size_t place = 0; (place = text.find(old, place)) != std::string::npos; place += replacement.size())
        text.replace(place, old.size(), replacement);
    return text;
}

class SessionsGuide : public ::testing::Test {
protected:
    SessionsGuide() : service_(ItemsDir())
    {
        service_.Start();
        std::filesystem::create_directory(Parts());
    }

    std::filesystem::path Parts() const { return folder_.Path() / "parts"; }
    std::string Base() const { return service_.GetAddress(); }
    std::string Journal() const { return ReadFile(folder_.Path() / "journal"); }

    /// The exit status of the session `text`.
    int Play(const std::string& text) const
    {
        WriteBytes(folder_.Path() / "session.json", text);
        const std::string command = "'" + BuildDir() + "/bin/openhost' play '" + folder_.Path().string() +
                                    "/session.json' --journal '" + folder_.Path().string() +
                                    "/journal' --set BASE=" + Base() + " --set PARTS='" + Parts().string() + "'";
        return WEXITSTATUS(std::system(command.c_str()));
    }

private:
    TemporaryFolder folder_;
    catalogue::CatalogueService service_;
};

TEST_F(SessionsGuide, ShowsTheJournalThatItsFirstSessionGives)
{
    const std::vector<std::string> journals = Blocks("```");
    ASSERT_EQ(1U, journals.size());
    WriteBytes(Parts() / "part-000001.ZALPart", "an older copy");
    ASSERT_EQ(0, Play(Sessions().front())) << Journal();

    // Some lines are left out.
    std::istringstream written(Journal());
    std::istringstream shown(
        Replaced(Replaced(journals.front(), "http://127.0.0.1:8080", Base()), "/home/jo/parts", Parts().string()));
    for (std::string expected; std::getline(shown, expected);) {
        std::string line;
        while (std::getline(written, line) && line != expected) {
        }
        EXPECT_EQ(expected, line) << "or it stands elsewhere in\n" << Journal();
    }
}

TEST_F(SessionsGuide, HasSessionsThatComeToTheirEnd)
{
    const std::vector<std::string> sessions = Sessions();
    ASSERT_EQ(3U, sessions.size());
    EXPECT_EQ(0, Play(sessions[1])) << Journal();
    EXPECT_TRUE(std::filesystem::exists(Parts() / "ISO4032_M6.ZALPart"));
    std::filesystem::remove_all(Parts());
    std::filesystem::create_directory(Parts());
    EXPECT_EQ(0, Play(sessions[2])) << Journal();
    EXPECT_NE(std::string::npos, Journal().find("\"name\":\"ISO4032_M6.1\"")) << Journal();
}

} // namespace

} // namespace openhost::testing
