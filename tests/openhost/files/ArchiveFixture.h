// An archive and a folder to extract it to.
#pragma once

#include "openhost/files/TemporaryFolder.h"
#include "openhost/text/Utf.h"
#include "tests/support/Files.h"
#include "tests/support/ZipBytes.h"

#include "host/archive.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

namespace openhost::testing {

class ArchiveFixture : public ::testing::Test {
protected:
    ArchiveFixture()
    {
        std::filesystem::create_directory(Outside());
        std::filesystem::create_directory(Folder());
    }

    std::filesystem::path ArchivePath() const { return temporary_.Path() / "archive.zip"; }
    std::filesystem::path Folder() const { return temporary_.Path() / "folder"; }
    /// A folder beside the one that is extracted to.
    std::filesystem::path Outside() const { return temporary_.Path() / "outside"; }

    static ZALUnicodeString Text(const std::filesystem::path& path) { return FromUtf8(path.string()); }

    HRESULT Open(const ZipBytes& archive)
    {
        archive.Write(ArchivePath());
        return zip_.OpenZip(Text(ArchivePath()), ZALZipRead);
    }
    HRESULT OpenBytes(const std::string& bytes)
    {
        Put(ArchivePath(), bytes);
        return zip_.OpenZip(Text(ArchivePath()), ZALZipRead);
    }

    /// Names in archive order, in UTF-8.
    std::vector<std::string> Browse()
    {
        ZALUnicodeString* names = nullptr;
        std::uint64_t* sizes = nullptr;
        unsigned int count = 0;
        EXPECT_EQ(S_OK, zip_.BrowseZip(names, sizes, count));
        std::vector<std::string> result;
        for (unsigned int entry = 0; entry < count; ++entry)
            result.push_back(ToUtf8(names[entry]));
        sizes_.assign(sizes, sizes + count);
        delete[] names;
        delete[] sizes;
        names_ = result;
        return result;
    }

    HRESULT Extract(const std::string& entry)
    {
        return zip_.ExtractFile(Text(Folder()), FromUtf8(entry), ZALZipExtractReplace);
    }
    /// Extracts the only entry of `archive`, and closes it.
    HRESULT ExtractOnly(const ZipBytes& archive)
    {
        EXPECT_EQ(S_OK, Open(archive));
        const std::vector<std::string> names = Browse();
        EXPECT_EQ(1U, names.size());
        const HRESULT extracted = Extract(names.at(0));
        EXPECT_EQ(S_OK, zip_.Close());
        return extracted;
    }

    /// Extracts all entries of `archive`. The result is that of closing it.
    HRESULT ExtractAndClose(const ZipBytes& archive)
    {
        EXPECT_EQ(S_OK, Open(archive));
        for (const std::string& name : Browse())
            EXPECT_EQ(S_OK, Extract(name)) << name;
        return zip_.Close();
    }
    void ExtractAll(const ZipBytes& archive) { EXPECT_EQ(S_OK, ExtractAndClose(archive)); }
    /// None of the entries can be extracted.
    void RefuseAll(const ZipBytes& archive)
    {
        ASSERT_EQ(S_OK, Open(archive));
        for (const std::string& name : Browse())
            EXPECT_TRUE(FAILED(Extract(name))) << name;
        EXPECT_EQ(S_OK, zip_.Close());
    }

    static void Put(const std::filesystem::path& path, std::string_view content)
    {
        std::ofstream(path, std::ios::binary) << content;
    }
    /// All that is below `folder`, as relative paths.
    static std::set<std::string> Listing(const std::filesystem::path& folder)
    {
        std::set<std::string> paths;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
            paths.insert(entry.path().lexically_relative(folder).string());
        return paths;
    }
    void ExpectNothingWritten() const
    {
        EXPECT_TRUE(Listing(Folder()).empty());
        EXPECT_TRUE(Listing(Outside()).empty());
    }

    TemporaryFolder temporary_;
    ZALSysZipFile zip_;
    std::vector<std::uint64_t> sizes_; ///< of the last Browse
    std::vector<std::string> names_;   ///< the same
};

/// `size` letters in no order, which pack to about half their size.
inline std::string LongContent(std::size_t size)
{
    std::string content(size, ' ');
    std::uint32_t state = 1;
    for (char& letter : content) {
        state = state * 1664525U + 1013904223U;
        letter = static_cast<char>('a' + (state >> 28));
    }
    return content;
}

} // namespace openhost::testing
