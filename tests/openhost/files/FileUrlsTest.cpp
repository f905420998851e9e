#include "openhost/text/Utf.h"

#include "host/system.h"

#include <gtest/gtest.h>

namespace {

struct Conversion {
    HRESULT result;
    std::string path;
    std::uint32_t size;
};

bool operator==(const Conversion& left, const Conversion& right)
{
    return left.result == right.result && left.path == right.path && left.size == right.size;
}

void PrintTo(const Conversion& conversion, std::ostream* stream)
{
    *stream << conversion.result << " \"" << conversion.path << "\" " << conversion.size;
}

Conversion Converted(const char16_t* url)
{
    std::vector<char16_t> path(4096, u'#');
    auto size = static_cast<std::uint32_t>(path.size());
    const HRESULT result = PathCreateFromUrlW(url, path.data(), &size, 0);
    return {result, openhost::ToUtf8(path.data()), size};
}

Conversion Path(const std::string& path)
{
    return {S_OK, path, static_cast<std::uint32_t>(openhost::FromUtf8(path).GetLengthInChar())};
}

const Conversion Refused{E_INVALIDARG, "", 0};

TEST(PathCreateFromUrlW, TakesEachFormOfALocalUrl)
{
    EXPECT_EQ(Converted(u"file:///a/b.txt"), Path("/a/b.txt"));
    EXPECT_EQ(Converted(u"file://localhost/a/b.txt"), Path("/a/b.txt"));
    EXPECT_EQ(Converted(u"file://LocalHost/a/b.txt"), Path("/a/b.txt"));
    EXPECT_EQ(Converted(u"file:/a/b.txt"), Path("/a/b.txt"));
    EXPECT_EQ(Converted(u"file:\\\\\\a\\b.txt"), Path("\\a\\b.txt"));
    EXPECT_EQ(Converted(u"file:///"), Path("/"));
}

TEST(PathCreateFromUrlW, TakesTheSchemeInAnyLetterCase)
{
    EXPECT_EQ(Converted(u"FILE:///a"), Path("/a"));
}

TEST(PathCreateFromUrlW, GivesADriveWithoutTheSeparatorInFront)
{
    EXPECT_EQ(Converted(u"file:///c:/a/b"), Path("c:/a/b"));
    EXPECT_EQ(Converted(u"file:///C:"), Path("C:"));
    EXPECT_EQ(Converted(u"file://localhost/c:/a"), Path("c:/a"));
    EXPECT_EQ(Converted(u"file:c:/a"), Path("c:/a"));
    EXPECT_EQ(Converted(u"file:///ab:/c"), Path("/ab:/c"));
    EXPECT_EQ(Converted(u"file:///1:/c"), Path("/1:/c"));
}

TEST(PathCreateFromUrlW, DecodesPercentSequencesAsUtf8)
{
    EXPECT_EQ(Converted(u"file:///a%20b%C3%A4%e2%82%ac%F0%9F%98%80"), Path("/a b\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"));
    EXPECT_EQ(Converted(u"file:///%2523"), Path("/%23"));
}

TEST(PathCreateFromUrlW, KeepsCharactersThatNeedNoSequence)
{
    EXPECT_EQ(Converted(u"file:///a b+\u00E4\U0001F600"), Path("/a b+\xC3\xA4\xF0\x9F\x98\x80"));
}

TEST(PathCreateFromUrlW, KeepsAPercentSignThatBeginsNoSequence)
{
    EXPECT_EQ(Converted(u"file:///100%"), Path("/100%"));
    EXPECT_EQ(Converted(u"file:///a%2"), Path("/a%2"));
    EXPECT_EQ(Converted(u"file:///a%zzb%4g%"), Path("/a%zzb%4g%"));
}

TEST(PathCreateFromUrlW, LeavesQueryAndFragmentAwayUnlessTheyAreEncoded)
{
    EXPECT_EQ(Converted(u"file:///a?query"), Path("/a"));
    EXPECT_EQ(Converted(u"file:///a#fragment"), Path("/a"));
    EXPECT_EQ(Converted(u"file:///a%23b%3Fc"), Path("/a#b?c"));
}

TEST(PathCreateFromUrlW, RefusesAnotherScheme)
{
    EXPECT_EQ(Converted(u"http:///a"), Refused);
    EXPECT_EQ(Converted(u"files:///a"), Refused);
    EXPECT_EQ(Converted(u" file:///a"), Refused);
    EXPECT_EQ(Converted(u"file"), Refused);
    EXPECT_EQ(Converted(u"/a/b"), Refused);
    EXPECT_EQ(Converted(u""), Refused);
}

TEST(PathCreateFromUrlW, RefusesAnotherMachine)
{
    EXPECT_EQ(Converted(u"file://server/a"), Refused);
    EXPECT_EQ(Converted(u"file://localhos/a"), Refused);
    EXPECT_EQ(Converted(u"file://localhost1/a"), Refused);
    EXPECT_EQ(Converted(u"file://localhost:80/a"), Refused);
    EXPECT_EQ(Converted(u"file://user@localhost/a"), Refused);
    EXPECT_EQ(Converted(u"file:\\\\server\\a"), Refused);
    EXPECT_EQ(Converted(u"file:////server/a"), Refused);
    EXPECT_EQ(Converted(u"file:///%5C%5Cserver/a"), Refused);
    EXPECT_EQ(Converted(u"file:///%2Fserver/a"), Refused);
}

TEST(PathCreateFromUrlW, RefusesAUrlWithoutAPath)
{
    EXPECT_EQ(Converted(u"file:"), Refused);
    EXPECT_EQ(Converted(u"file://"), Refused);
    EXPECT_EQ(Converted(u"file://localhost"), Refused);
    EXPECT_EQ(Converted(nullptr), Refused);
}

TEST(PathCreateFromUrlW, RefusesAZeroCharacterAndBytesThatAreNoUtf8)
{
    EXPECT_EQ(Converted(u"file:///a%00.txt"), Refused);
    EXPECT_EQ(Converted(u"file:///a%E4"), Refused);
    EXPECT_EQ(Converted(u"file:///a%ED%A0%80"), Refused);
}

TEST(PathCreateFromUrlW, FillsTheRoomToTheLastUnit)
{
    char16_t path[] = {u'#', u'#', u'#', u'#'};
    std::uint32_t size = 3;
    EXPECT_EQ(PathCreateFromUrlW(u"file:///a", path, &size, 0), S_OK);
    EXPECT_EQ(std::u16string(path), u"/a");
    EXPECT_EQ(size, 2U);
    EXPECT_EQ(path[3], u'#');
}

TEST(PathCreateFromUrlW, RefusesAPathThatDoesNotFit)
{
    char16_t path[] = {u'#', u'#', u'#', u'#'};
    std::uint32_t size = 3;
    EXPECT_EQ(PathCreateFromUrlW(u"file:///ab", path, &size, 0), E_INVALIDARG);
    EXPECT_EQ(path[0], u'\0');
    EXPECT_EQ(size, 0U);
    EXPECT_EQ(path[3], u'#');

    EXPECT_EQ(Converted((u"file:///" + std::u16string(100'000, u'a')).c_str()), Refused);
}

TEST(PathCreateFromUrlW, WritesNothingWithoutRoom)
{
    char16_t path[] = {u'#'};
    std::uint32_t size = 0;
    EXPECT_EQ(PathCreateFromUrlW(u"file:///a", path, &size, 0), E_INVALIDARG);
    EXPECT_EQ(path[0], u'#');
    EXPECT_EQ(PathCreateFromUrlW(u"file:///a", nullptr, &size, 0), E_INVALIDARG);
    EXPECT_EQ(PathCreateFromUrlW(u"file:///a", path, nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(path[0], u'#');
}

} // namespace
