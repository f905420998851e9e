#include "openhost/play/FreedMemory.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <fstream>
#include <iterator>
#include <string>

namespace openhost::testing {

namespace {

/// Pages that come from the system while the body of the largest upload stands in memory twice.
long PagesOfAnUpload()
{
    const auto count = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_minflt;
    };
    const long before = count();
    {
        const std::string body(10 << 20, 'b');
        const std::string request = body;
        EXPECT_EQ('b', request.back());
    }
    return count() - before;
}

TEST(FreedMemory, IsUsedAgainByTheNextUploadWhereTheAllocatorKeepsIt)
{
    const bool kept = KeepFreedMemory();
    PagesOfAnUpload();
    const long pages = PagesOfAnUpload();
    EXPECT_TRUE(!kept || pages < 100) << pages;
}

bool SystemHasLargePages()
{
    std::ifstream file("/sys/kernel/mm/transparent_hugepage/enabled");
    const std::string choice(std::istreambuf_iterator<char>(file), {});
    return choice.find("[madvise]") != std::string::npos || choice.find("[always]") != std::string::npos;
}

TEST(FreedMemory, ComesInLargePagesForTheFirstUpload)
{
    const bool hasLargePages = KeepFreedMemory() && SystemHasLargePages();
    const long pages = PagesOfAnUpload();
    EXPECT_TRUE(!hasLargePages || pages < 2000) << pages;
}

} // namespace

} // namespace openhost::testing
