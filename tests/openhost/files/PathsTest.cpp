#include "openhost/files/Paths.h"
#include "host/dialogs.h"
#include "openhost/text/Utf.h"

#include <gtest/gtest.h>

using openhost::ToUtf8;

namespace {

std::string Joined(const char* folder, const char* name)
{
    ZALUnicodeString path(folder);
    ZALMakePath(path, name);
    return ToUtf8(path);
}

std::pair<std::string, std::string> Split(const char* path)
{
    ZALUnicodeString folder("before");
    ZALUnicodeString name("before");
    ZALSplitPath(path, folder, name);
    return {ToUtf8(folder), ToUtf8(name)};
}

using Parts = std::pair<std::string, std::string>;

// ---------------------------------------------------------------------------------------------
// Joining

TEST(ZALMakePath, PutsOneSeparatorBetweenAndKeepsThoseInsideTheName)
{
    EXPECT_EQ("/tmp/a", Joined("/tmp", "a"));
    EXPECT_EQ("/tmp/a", Joined("/tmp/", "a"));
    EXPECT_EQ("/tmp/a", Joined("/tmp//", "a"));
    EXPECT_EQ("c:\\tmp/a", Joined("c:\\tmp\\", "a"));
    EXPECT_EQ("/tmp/sub\\a", Joined("/tmp", "sub\\a"));
    EXPECT_EQ("/tmp/sub/", Joined("/tmp", "sub/"));
}

TEST(ZALMakePath, JoinsToTheRootToNoFolderAndAnEmptyName)
{
    EXPECT_EQ("/a", Joined("/", "a"));
    EXPECT_EQ("/a", Joined("\\", "a"));
    EXPECT_EQ("a", Joined("", "a"));
    EXPECT_EQ("/tmp", Joined("/tmp", ""));
    EXPECT_EQ("/", Joined("/", ""));
    EXPECT_EQ("/tmp", Joined("/tmp", "/"));
    EXPECT_EQ("", Joined("", ""));
}

TEST(ZALMakePath, KeepsANameWithALeadingSeparatorBelowTheFolder)
{
    EXPECT_EQ("/tmp/etc/passwd", Joined("/tmp", "/etc/passwd"));
    EXPECT_EQ("/tmp/etc", Joined("/tmp", "\\etc"));
    EXPECT_EQ("/tmp/a", Joined("/tmp/", "//\\/a"));
    EXPECT_EQ("etc", Joined("", "/etc"));
}

TEST(ZALMakePath, TakesThePathItselfForTheName)
{
    ZALUnicodeString path("a");
    ZALMakePath(path, path);
    EXPECT_EQ(ZALUnicodeString("a/a"), path);
}

// ---------------------------------------------------------------------------------------------
// Splitting

TEST(ZALSplitPath, SplitsAtTheLastSeparatorOfEitherKind)
{
    EXPECT_EQ(Parts("/a/b", "c.txt"), Split("/a/b/c.txt"));
    EXPECT_EQ(Parts("c:\\a", "c.txt"), Split("c:\\a\\c.txt"));
    EXPECT_EQ(Parts("/a", "b"), Split("/a\\b"));
    EXPECT_EQ(Parts("\\a", "b"), Split("\\a/b"));
}

TEST(ZALSplitPath, HasNoFolderOrNoNameWhereThereIsNoneAndKeepsTheRoot)
{
    EXPECT_EQ(Parts("", "a.txt"), Split("a.txt"));
    EXPECT_EQ(Parts("", ""), Split(""));
    EXPECT_EQ(Parts("/a/b", ""), Split("/a/b/"));
    EXPECT_EQ(Parts("/", "a"), Split("/a"));
    EXPECT_EQ(Parts("/", ""), Split("/"));
}

TEST(ZALSplitPath, MayWriteIntoItsInput)
{
    ZALUnicodeString path("/a/b");
    ZALUnicodeString name;
    ZALSplitPath(path, path, name);
    EXPECT_EQ(ZALUnicodeString("/a"), path);
    EXPECT_EQ(ZALUnicodeString("b"), name);

    path = "/a/b";
    ZALUnicodeString folder;
    ZALSplitPath(path, folder, path);
    EXPECT_EQ(ZALUnicodeString("/a"), folder);
    EXPECT_EQ(ZALUnicodeString("b"), path);
}

TEST(ZALSplitPath, IsUndoneByJoining)
{
    for (const char* path : {"/a/b", "/a", "a/b", "a"}) {
        ZALUnicodeString folder;
        ZALUnicodeString name;
        ZALSplitPath(path, folder, name);
        ZALMakePath(folder, name);
        EXPECT_EQ(ToUtf8(folder), path);
    }
}

// ---------------------------------------------------------------------------------------------
// Extensions

TEST(GetFileExtensionName, GivesWhatFollowsTheLastDotOfTheName)
{
    const std::pair<const char*, const char*> rows[] = {{"bolt.ZALPart", "ZALPart"},
                                                        {"/a/b.c/bolt.tar.gz", "gz"},
                                                        {"c:\\a\\bolt.zip", "zip"},
                                                        {"/a.b/bolt", ""},
                                                        {"a.b\\bolt", ""},
                                                        {"/a.b/", ""},
                                                        {"bolt.", ""},
                                                        {".", ""},
                                                        {"..", ""},
                                                        {"", ""},
                                                        {".hidden", ""},
                                                        {"/a/.hidden", ""},
                                                        {"/a/.hidden.txt", "txt"}};
    for (const auto& [path, extension] : rows) {
        EXPECT_EQ(extension, ToUtf8(GetFileExtensionName(path))) << path;
        EXPECT_EQ(extension, ToUtf8(ZALDlgServices::GetFileExtensionName(path))) << path;
    }
}

// ---------------------------------------------------------------------------------------------
// Towards the system

TEST(SystemPath, SeparatesBySlashesInUtf8AndIsEmptyWithAZeroCharacter)
{
    EXPECT_EQ("/tmp/\xC3\xA4/b", openhost::SystemPath(u"\\tmp/\u00E4\\b"));
    EXPECT_EQ("", openhost::SystemPath(ZALUnicodeString(u"/tmp\0/a", 7)));
}

TEST(HasParentComponent, FindsItAnywhereAndTakesNoNameWithDotsForOne)
{
    for (const char* path : {"..", "../a", "a/..", "a/../b", "a\\..\\b", "/..", "a/..\\b", "a//../"})
        EXPECT_TRUE(openhost::HasParentComponent(path)) << path;
    for (const char* path : {"", ".", "a", "...", "a..", "..a", "a/..b/c", "/a/.../b", "a. ./b"})
        EXPECT_FALSE(openhost::HasParentComponent(path)) << path;
}

} // namespace
