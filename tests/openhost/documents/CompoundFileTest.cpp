#include "DocumentBytes.h"

#include "openhost/files/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fstream>

#include <sys/stat.h>

namespace openhost::testing {

namespace {

constexpr std::uint32_t Free = 0xFFFFFFFF;
constexpr std::uint32_t EndOfChain = 0xFFFFFFFE;

std::string Number(std::uint64_t number, int size)
{
    std::string bytes;
    for (int i = 0; i < size; ++i)
        bytes += static_cast<char>(number >> (8 * i) & 0xFF);
    return bytes;
}

/// A directory entry: type 1 is a storage, 2 a stream, 5 the root.
std::string DirectoryEntry(const std::string& name, int type, std::uint32_t next, std::uint32_t child)
{
    std::string bytes;
    for (const char unit : name)
        bytes += Number(static_cast<unsigned char>(unit), 2);
    bytes.resize(64);
    bytes += Number(2 * name.size() + 2, 2) + Number(static_cast<std::uint64_t>(type), 1) + Number(1, 1);
    bytes += Number(Free, 4) + Number(next, 4) + Number(child, 4);
    bytes.resize(116);
    bytes += Number(EndOfChain, 4) + Number(0, 8);
    return bytes;
}

/// A compound file of sectors of 512 bytes whose directory is `entries`, and goes on at the sector `afterLast` after
/// them. At most 109 sectors of table.
std::string FileWithDirectory(const std::string& entries, std::uint32_t afterLast = EndOfChain)
{
    const std::size_t sectors = entries.size() / 512;
    std::size_t tables = 1;
    while (tables * 128 < sectors + tables)
        ++tables;
    std::string header("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8);
    header.resize(24);
    header += Number(0x3E, 2) + Number(3, 2) + Number(0xFFFE, 2) + Number(9, 2) + Number(6, 2);
    header.resize(44);
    header += Number(tables, 4) + Number(0, 4) + Number(0, 4) + Number(4096, 4);
    header += Number(EndOfChain, 4) + Number(0, 4) + Number(EndOfChain, 4) + Number(0, 4);
    for (std::size_t i = 0; i < 109; ++i)
        header += Number(i < tables ? sectors + i : Free, 4);

    std::string table;
    for (std::size_t i = 0; i < tables * 128; ++i) {
        const std::size_t next = i + 1 == sectors ? afterLast : i + 1;
        table += Number(i < sectors ? next : i < sectors + tables ? 0xFFFFFFFD : Free, 4);
    }
    return header + entries + table;
}

std::string StreamName(std::uint32_t number)
{
    std::string name = std::to_string(number);
    name.insert(name.begin(), 's');
    return name;
}

std::string FileWithEntries(std::uint32_t count)
{
    std::string entries = DirectoryEntry("Root Entry", 5, Free, 1);
    for (std::uint32_t i = 1; i < count; ++i)
        entries += DirectoryEntry(StreamName(i), 2, i + 1 == count ? Free : i + 1, Free);
    return FileWithDirectory(entries);
}

std::string OpenRefusal(const std::string& bytes)
{
    try {
        CompoundStorage::OpenBytes(bytes, "file");
        return "";
    } catch (const CompoundFileError& error) {
        return error.what();
    }
}

} // namespace

TEST(CompoundFile, StreamsAndStoragesComeBack)
{
    CompoundContents root;
    root.streams = {{"Empty", ""}, {"Small", "abc"}, {"Large", std::string(70'000, 'x')}};
    root.storages = {{"Inner", {{"Small", "inner"}}, {{"Deep", {{"d", "deep"}}, {}}}}};
    const CompoundStorage file = CompoundStorage::OpenBytes(BuildCompoundFile(root), "file");
    EXPECT_EQ("", file.ReadStream("Empty", 100));
    EXPECT_EQ("abc", file.ReadStream("Small", 100));
    EXPECT_EQ(std::string(70'000, 'x'), file.ReadStream("Large", 100'000));
    EXPECT_EQ("inner", file.FindStorage("Inner")->ReadStream("Small", 100));
    EXPECT_EQ("deep", file.FindStorage("Inner")->FindStorage("Deep")->ReadStream("d", 100));
}

TEST(CompoundFile, StreamIsNoStorageAndStorageNoStream)
{
    CompoundContents root;
    root.streams = {{"Stream", "abc"}};
    root.storages = {{"Storage", {}, {}}};
    const CompoundStorage file = CompoundStorage::OpenBytes(BuildCompoundFile(root), "file");
    EXPECT_FALSE(file.FindStorage("Stream"));
    EXPECT_FALSE(file.ReadStream("Storage", 100));
    EXPECT_TRUE(file.FindStorage("Storage"));
    EXPECT_FALSE(file.FindStorage("Missing"));
    EXPECT_FALSE(file.ReadStream("Missing", 100));
}

TEST(CompoundFile, InnerStorageOutlivesItsFileObject)
{
    CompoundContents root;
    root.storages = {{"Inner", {{"Small", "inner"}}, {}}};
    const auto inner = CompoundStorage::OpenBytes(BuildCompoundFile(root), "file").FindStorage("Inner");
    EXPECT_EQ("inner", inner->ReadStream("Small", 100));
}

TEST(CompoundFile, StreamLongerThanTheCallerTakesIsRefused)
{
    CompoundContents root;
    root.streams = {{"Stream", "abc"}};
    const CompoundStorage file = CompoundStorage::OpenBytes(BuildCompoundFile(root), "file");
    EXPECT_EQ("abc", file.ReadStream("Stream", 3));
    EXPECT_THROW(file.ReadStream("Stream", 2), CompoundFileError);
}

TEST(CompoundFile, FilesOfAnySizeAreReadAndMayBeReplacedMeanwhile)
{
    const TemporaryFolder folder;
    for (const std::size_t size : {1U, 1U << 19, (1U << 20) - 4096, 1U << 20, 3U << 20}) {
        CompoundContents root;
        root.streams = {{"Stream", std::string(size, 'x') + "end"}};
        const auto path = folder.Path() / ("file" + std::to_string(size));
        std::ofstream(path, std::ios::binary) << BuildCompoundFile(root);
        const CompoundStorage file = CompoundStorage::OpenFile(path);
        std::filesystem::remove(path);
        EXPECT_EQ(std::string(size, 'x') + "end", file.ReadStream("Stream", 4U << 20)) << size;
    }
}

TEST(CompoundFile, WhatIsNoFileIsRefusedWithoutWaiting)
{
    const TemporaryFolder folder;
    const auto pipe = folder.Path() / "pipe";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    EXPECT_THROW(CompoundStorage::OpenFile(pipe), CompoundFileError);
    EXPECT_THROW(CompoundStorage::OpenFile(folder.Path()), CompoundFileError);
    EXPECT_THROW(CompoundStorage::OpenFile(folder.Path() / "missing"), CompoundFileError);
    EXPECT_THROW(CompoundStorage::OpenFile(""), CompoundFileError);
}

TEST(CompoundFile, OtherFilesAreRefused)
{
    EXPECT_EQ("file: no compound file", OpenRefusal(""));
    EXPECT_EQ("file: no compound file", OpenRefusal("PK\3\4 and so on"));
    EXPECT_EQ("file: damaged compound file: cut short", OpenRefusal("\xD0\xCF\x11\xE0"));
    EXPECT_EQ("file: no compound file", OpenRefusal("{\"error\": \"not found\"}"));
}

TEST(CompoundFile, SectorSizesThatNoneHasAreRefused)
{
    for (const int shift : {0, 6, 8, 13, 31, 255}) {
        std::string bytes = BuildCompoundFile({});
        bytes[30] = static_cast<char>(shift);
        EXPECT_EQ("file: damaged compound file: sector size", OpenRefusal(bytes)) << shift;
    }
}

TEST(CompoundFile, DirectoryUpToTheLimitIsRead)
{
    const CompoundStorage file = CompoundStorage::OpenBytes(FileWithEntries(CompoundStorage::MaximumEntries), "file");
    EXPECT_EQ("", file.ReadStream("s1023", 0));
}

TEST(CompoundFile, DirectoryThatWouldExhaustTheStackIsRefused)
{
    EXPECT_EQ("file: damaged compound file: too many directory entries",
              OpenRefusal(FileWithEntries(CompoundStorage::MaximumEntries + 4)));
    EXPECT_EQ("file: damaged compound file: too many directory entries", OpenRefusal(FileWithEntries(50'000)));
}

TEST(CompoundFile, DirectoryInACircleIsRefused)
{
    std::string entries = DirectoryEntry("Root Entry", 5, Free, 1);
    for (std::uint32_t i = 1; i < 8; ++i)
        entries += DirectoryEntry(StreamName(i), 2, Free, Free);
    EXPECT_EQ("file: damaged compound file: too many directory entries", OpenRefusal(FileWithDirectory(entries, 0)));
}

TEST(CompoundFile, RootWithSiblingsIsRefused)
{
    for (const std::size_t link : {68, 72}) {
        std::string root = DirectoryEntry("Root Entry", 5, Free, Free);
        root.replace(link, 4, Number(1, 4));
        const std::string others = DirectoryEntry("A", 1, Free, Free) + DirectoryEntry("B", 2, Free, Free) +
                                   DirectoryEntry("C", 2, Free, Free);
        EXPECT_EQ("file: damaged compound file: the root has siblings", OpenRefusal(FileWithDirectory(root + others)))
            << link;
    }
}

TEST(CompoundFile, EntriesThatNameEachOtherInACircleAreReadOnce)
{
    const std::string entries = DirectoryEntry("Root Entry", 5, Free, 1) + DirectoryEntry("A", 1, 2, 3) +
                                DirectoryEntry("B", 2, 1, Free) + DirectoryEntry("C", 1, 3, 1);
    const CompoundStorage file = CompoundStorage::OpenBytes(FileWithDirectory(entries), "file");
    EXPECT_TRUE(file.FindStorage("A"));
}

TEST(CompoundFile, StreamInACircleOfSectorsIsRefused)
{
    CompoundContents root;
    root.streams = {{"Large", std::string(8192, 'x')}};
    std::string bytes = BuildCompoundFile(root);
    // The table is a sector of its own; each link of the stream in it counts up, so that the first run of three
    // numbers with the distance one is found, and the second one turned back to the first.
    bool turned = false;
    for (std::size_t at = 512; at + 12 <= bytes.size() && !turned; at += 512)
        if (bytes.substr(at, 12) == Number(1, 4) + Number(2, 4) + Number(3, 4)) {
            Put(bytes, at + 8, 0);
            turned = true;
        }
    ASSERT_TRUE(turned);
    EXPECT_THROW(CompoundStorage::OpenBytes(bytes, "file").ReadStream("Large", 1 << 20), CompoundFileError);
}

TEST(CompoundFile, StreamThatClaimsMoreBytesThanItsSectorsHoldIsNotThere)
{
    CompoundContents root;
    root.streams = {{"Large", std::string(8192, 'x')}};
    std::string bytes = BuildCompoundFile(root);
    const std::size_t entry = bytes.find(std::string("L\0a\0r\0g\0e\0", 10));
    ASSERT_NE(entry, std::string::npos);
    ASSERT_EQ(bytes.substr(entry + 120, 4), Number(8192, 4));
    Put(bytes, entry + 120, 0x7FFFFFFF);
    const CompoundStorage file = CompoundStorage::OpenBytes(bytes, "file");
    EXPECT_EQ(file.ReadStream("Large", std::uint64_t{1} << 40), std::nullopt);
}

} // namespace openhost::testing
