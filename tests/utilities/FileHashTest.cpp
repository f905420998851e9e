// The MD5 of files, with the host's own services.

#include "openhost/files/TemporaryFolder.h"
#include "openhost/text/Utf.h"
#include "tests/support/FailingMemory.h"
#include "utilities/ZALVelmartIntegrationUtilities.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace {

class FileHash : public ::testing::Test {
protected:
    std::filesystem::path File() const { return folder_.Path() / "a b'\xC3\xA9"; }
    void Put(const std::string& content) const { std::ofstream(File(), std::ios::binary) << content; }
    std::string Hash() const
    {
        return openhost::ToUtf8(ZALVelmartIntegrationUtilities::GetFileStreamMD5Hash(File().c_str()));
    }
    std::string HashOf(const std::string& content) const
    {
        Put(content);
        return Hash();
    }
    /// What the program md5sum says.
    std::string Md5sum() const
    {
        std::FILE* pipe = popen(("md5sum <\"" + File().string() + "\"").c_str(), "r");
        char digits[33] = {};
        if (!pipe || std::fread(digits, 1, 32, pipe) != 32)
            throw std::runtime_error("md5sum says nothing");
        pclose(pipe);
        return digits;
    }

    const openhost::TemporaryFolder folder_;
};

TEST_F(FileHash, IsTheSumOfTheStandard)
{
    EXPECT_EQ("0cc175b9c0f1b6a831c399e269772661", HashOf("a"));
    EXPECT_EQ("f96b697d7cb7938d525a2f31aaf161d0", HashOf("message digest"));
    EXPECT_EQ("7707d6ae4e027c70eea2a935c2296f21", HashOf(std::string(1'000'000, 'a')));
}

TEST_F(FileHash, IsWhatMd5sumSaysForSizesAroundTheBuffers)
{
    std::string content;
    for (std::uint32_t value = 1; content.size() < 100'000; value = value * 1664525 + 1013904223)
        content += static_cast<char>(value >> 24);
    for (const std::size_t size : {1, 2, 55, 56, 63, 64, 65, 16383, 16384, 16385, 32767, 32768, 32769, 65536, 99999}) {
        const std::string hash = HashOf(content.substr(0, size));
        EXPECT_EQ(hash, Md5sum()) << size;
        EXPECT_EQ(hash.find_first_not_of("0123456789abcdef"), std::string::npos) << hash;
    }
}

TEST_F(FileHash, IsWhatMd5sumSaysForAFileOf1GiB)
{
    constexpr std::uintmax_t size = std::uintmax_t{1} << 30;
    Put("start");
    std::filesystem::resize_file(File(), size);
    std::fstream file(File(), std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(size / 2) << "middle";
    file.seekp(size - 3) << "end";
    ASSERT_TRUE(file.flush());
    ASSERT_EQ(std::filesystem::file_size(File()), size);
    EXPECT_EQ(Hash(), Md5sum());
}

TEST_F(FileHash, OfAnEmptyFileIsEmpty)
{
    EXPECT_EQ("", HashOf(""));
}

TEST_F(FileHash, OfWhatIsNoFileIsEmpty)
{
    using ZALVelmartIntegrationUtilities::GetFileStreamMD5Hash;
    EXPECT_EQ("", Hash()) << "missing";
    EXPECT_EQ("", GetFileStreamMD5Hash(""));
    EXPECT_EQ("", GetFileStreamMD5Hash(folder_.Path().c_str()));
    std::filesystem::create_symlink(folder_.Path() / "nowhere", File());
    EXPECT_EQ("", Hash());
}

TEST_F(FileHash, OfAFileOf4GiBIsEmpty)
{
    Put("");
    std::filesystem::resize_file(File(), std::uintmax_t{1} << 32);
    EXPECT_EQ("", Hash());
}

TEST_F(FileHash, WithoutMemoryIsEmptyAndLeavesNoFileOpen)
{
    Put("abc");
    const ZALUnicodeString path(File().c_str());
    const auto openFiles = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                             std::filesystem::directory_iterator());
    };
    Hash(); // the services of the host are there from here on
    const auto before = openFiles();
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        ZALUnicodeString hash;
        memory.During([&] { hash = ZALVelmartIntegrationUtilities::GetFileStreamMD5Hash(path); });
        EXPECT_EQ(openhost::ToUtf8(hash), memory.HasRunOut() ? "" : "900150983cd24fb0d6963f7d28e17f72");
        EXPECT_EQ(openFiles(), before);
    });
    EXPECT_GT(failures, 2);
}

TEST_F(FileHash, LeavesTheFileAlone)
{
    Put("content");
    std::filesystem::permissions(File(), std::filesystem::perms::owner_read);
    const auto time = std::filesystem::last_write_time(File());
    EXPECT_EQ("9a0364b9e99bb480dd25e1f0284c8555", Hash());
    EXPECT_EQ(std::filesystem::last_write_time(File()), time);
    EXPECT_EQ(7u, std::filesystem::file_size(File()));
}

} // namespace
