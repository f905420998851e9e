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

std::string Extension(const char* path)
{
    return ToUtf8(GetFileExtensionName(path));
}

using Parts = std::pair<std::string, std::string>;

// ---------------------------------------------------------------------------------------------
// Joining

TEST(ZALMakePath, PutsOneSeparatorBetween)
{
    EXPECT_EQ(Joined("/tmp", "a"), "/tmp/a");
    EXPECT_EQ(Joined("/tmp/", "a"), "/tmp/a");
    EXPECT_EQ(Joined("/tmp//", "a"), "/tmp/a");
    EXPECT_EQ(Joined("c:\\tmp\\", "a"), "c:\\tmp/a");
}

TEST(ZALMakePath, KeepsANameWithALeadingSeparatorBelowTheFolder)
{
    EXPECT_EQ(Joined("/tmp", "/etc/passwd"), "/tmp/etc/passwd");
    EXPECT_EQ(Joined("/tmp", "\\etc"), "/tmp/etc");
    EXPECT_EQ(Joined("/tmp/", "//\\/a"), "/tmp/a");
    EXPECT_EQ(Joined("", "/etc"), "etc");
}

TEST(ZALMakePath, KeepsTheSeparatorsInsideTheName)
{
    EXPECT_EQ(Joined("/tmp", "sub\\a"), "/tmp/sub\\a");
    EXPECT_EQ(Joined("/tmp", "sub/"), "/tmp/sub/");
}

TEST(ZALMakePath, JoinsToTheRootAndToNoFolder)
{
    EXPECT_EQ(Joined("/", "a"), "/a");
    EXPECT_EQ(Joined("\\", "a"), "/a");
    EXPECT_EQ(Joined("", "a"), "a");
}

TEST(ZALMakePath, LeavesTheFolderAloneForAnEmptyName)
{
    EXPECT_EQ(Joined("/tmp", ""), "/tmp");
    EXPECT_EQ(Joined("/", ""), "/");
    EXPECT_EQ(Joined("/tmp", "/"), "/tmp");
    EXPECT_EQ(Joined("", ""), "");
}

TEST(ZALMakePath, TakesThePathItselfForTheName)
{
    ZALUnicodeString path("a");
    ZALMakePath(path, path);
    EXPECT_EQ(path, ZALUnicodeString("a/a"));
}

// ---------------------------------------------------------------------------------------------
// Splitting

TEST(ZALSplitPath, SplitsAtTheLastSeparatorOfEitherKind)
{
    EXPECT_EQ(Split("/a/b/c.txt"), Parts("/a/b", "c.txt"));
    EXPECT_EQ(Split("c:\\a\\c.txt"), Parts("c:\\a", "c.txt"));
    EXPECT_EQ(Split("/a\\b"), Parts("/a", "b"));
    EXPECT_EQ(Split("\\a/b"), Parts("\\a", "b"));
}

TEST(ZALSplitPath, HasNoFolderWithoutASeparator)
{
    EXPECT_EQ(Split("a.txt"), Parts("", "a.txt"));
    EXPECT_EQ(Split(""), Parts("", ""));
}

TEST(ZALSplitPath, HasNoNameBehindTheLastSeparator)
{
    EXPECT_EQ(Split("/a/b/"), Parts("/a/b", ""));
}

TEST(ZALSplitPath, KeepsTheRoot)
{
    EXPECT_EQ(Split("/a"), Parts("/", "a"));
    EXPECT_EQ(Split("/"), Parts("/", ""));
}

TEST(ZALSplitPath, MayWriteIntoItsInput)
{
    ZALUnicodeString path("/a/b");
    ZALUnicodeString name;
    ZALSplitPath(path, path, name);
    EXPECT_EQ(path, ZALUnicodeString("/a"));
    EXPECT_EQ(name, ZALUnicodeString("b"));

    path = "/a/b";
    ZALUnicodeString folder;
    ZALSplitPath(path, folder, path);
    EXPECT_EQ(folder, ZALUnicodeString("/a"));
    EXPECT_EQ(path, ZALUnicodeString("b"));
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

TEST(GetFileExtensionName, GivesWhatFollowsTheLastDot)
{
    EXPECT_EQ(Extension("bolt.ZALPart"), "ZALPart");
    EXPECT_EQ(Extension("/a/b.c/bolt.tar.gz"), "gz");
    EXPECT_EQ(Extension("c:\\a\\bolt.zip"), "zip");
}

TEST(GetFileExtensionName, TakesNoDotOfAFolder)
{
    EXPECT_EQ(Extension("/a.b/bolt"), "");
    EXPECT_EQ(Extension("a.b\\bolt"), "");
    EXPECT_EQ(Extension("/a.b/"), "");
}

TEST(GetFileExtensionName, IsEmptyBehindADotAtTheEnd)
{
    EXPECT_EQ(Extension("bolt."), "");
    EXPECT_EQ(Extension("."), "");
    EXPECT_EQ(Extension(".."), "");
    EXPECT_EQ(Extension(""), "");
}

TEST(GetFileExtensionName, TakesTheNameOfAHiddenFileForNoExtension)
{
    EXPECT_EQ(Extension(".hidden"), "");
    EXPECT_EQ(Extension("/a/.hidden"), "");
    EXPECT_EQ(Extension("/a/.hidden.txt"), "txt");
}

TEST(GetFileExtensionName, IsWhatTheServicesOfTheDialogsGiveToo)
{
    for (const char* path : {"bolt.ZALPart", "/a.b\\bolt.tar.gz", "/a.b/bolt", "bolt.", "/a/.hidden", ""})
        EXPECT_EQ(ToUtf8(ZALDlgServices::GetFileExtensionName(path)), Extension(path)) << path;
}

// ---------------------------------------------------------------------------------------------
// Towards the system

TEST(SystemPath, SeparatesBySlashesInUtf8)
{
    EXPECT_EQ(openhost::SystemPath(u"\\tmp/\u00E4\\b"), "/tmp/\xC3\xA4/b");
}

TEST(SystemPath, IsEmptyForAPathWithAZeroCharacter)
{
    EXPECT_EQ(openhost::SystemPath(ZALUnicodeString(u"/tmp\0/a", 7)), "");
}

TEST(HasParentComponent, FindsItAnywhere)
{
    for (const char* path : {"..", "../a", "a/..", "a/../b", "a\\..\\b", "/..", "a/..\\b", "a//../"})
        EXPECT_TRUE(openhost::HasParentComponent(path)) << path;
}

TEST(HasParentComponent, TakesNoNameWithDotsForOne)
{
    for (const char* path : {"", ".", "a", "...", "a..", "..a", "a/..b/c", "/a/.../b", "a. ./b"})
        EXPECT_FALSE(openhost::HasParentComponent(path)) << path;
}

} // namespace
