#include "openhost/play/JournalWriter.h"

#include "openhost/files/TemporaryFolder.h"
#include "tests/support/Files.h"

#include <gtest/gtest.h>

#include <sstream>

namespace openhost {

TEST(JournalWriter, WritesOneLineAnEventAtOnce)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.Path() / "journal";
    JournalWriter writer(path);
    writer.Write({{"event", "a"}, {"text", "two\nlines"}});
    writer.Write({{"event", "b"}});
    EXPECT_EQ("{\"event\":\"a\",\"text\":\"two\\nlines\"}\n{\"event\":\"b\"}\n", testing::ReadFile(path));
    EXPECT_TRUE(writer.IsComplete());
}

TEST(JournalWriter, AnOldJournalIsReplaced)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.Path() / "journal";
    std::ofstream(path) << "old";
    JournalWriter writer(path);
    EXPECT_EQ(0U, std::filesystem::file_size(path));
}

TEST(JournalWriter, BytesThatAreNoTextDoNotEndTheJournal)
{
    std::ostringstream output;
    JournalWriter writer(output);
    writer.Write({{"event", "\xff"}});
    EXPECT_EQ("{\"event\":\"\xef\xbf\xbd\"}\n", output.str());
}

TEST(JournalWriter, AFileThatCannotBeMadeIsAnError)
{
    const TemporaryFolder folder;
    EXPECT_THROW(JournalWriter(folder.Path() / "missing" / "journal"), std::runtime_error);
}

TEST(JournalWriter, ALineThatWasNotWrittenIsNoticed)
{
    JournalWriter writer(std::filesystem::path("/dev/full"));
    writer.Write({{"event", "a"}});
    EXPECT_FALSE(writer.IsComplete());
}

} // namespace openhost
