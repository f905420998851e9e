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
    for (const char16_t* url :
         {u"file:///a/b.txt", u"file://localhost/a/b.txt", u"file://LocalHost/a/b.txt", u"file:/a/b.txt",
          u"FILE:///a/b.txt", u"file:///a/b.txt?query", u"file:///a/b.txt#fragment"})
        EXPECT_EQ(Path("/a/b.txt"), Converted(url)) << openhost::ToUtf8(url);
    EXPECT_EQ(Path("\\a\\b.txt"), Converted(u"file:\\\\\\a\\b.txt"));
    EXPECT_EQ(Path("/"), Converted(u"file:///"));
}

TEST(PathCreateFromUrlW, DecodesPercentSequencesAndKeepsWhatIsNone)
{
    EXPECT_EQ(Path("/a b\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"), Converted(u"file:///a%20b%C3%A4%e2%82%ac%F0%9F%98%80"));
    EXPECT_EQ(Path("/%23"), Converted(u"file:///%2523"));
    EXPECT_EQ(Path("/a#b?c"), Converted(u"file:///a%23b%3Fc"));
    EXPECT_EQ(Path("/a b+\xC3\xA4\xF0\x9F\x98\x80"), Converted(u"file:///a b+\u00E4\U0001F600"));
    EXPECT_EQ(Path("/100%"), Converted(u"file:///100%"));
    EXPECT_EQ(Path("/a%2"), Converted(u"file:///a%2"));
    EXPECT_EQ(Path("/a%zzb%4g%"), Converted(u"file:///a%zzb%4g%"));
}

TEST(PathCreateFromUrlW, RefusesAnotherSchemeOrMachineAndWhatIsNoPath)
{
    for (const char16_t* url : {u"http:///a",
                                u"files:///a",
                                u" file:///a",
                                u"file",
                                u"/a/b",
                                u"",
                                u"file://server/a",
                                u"file://localhos/a",
                                u"file://localhost1/a",
                                u"file://localhost:80/a",
                                u"file://user@localhost/a",
                                u"file:\\\\server\\a",
                                u"file:////server/a",
                                u"file:///%5C%5Cserver/a",
                                u"file:///%2Fserver/a",
                                u"file:",
                                u"file://",
                                u"file://localhost",
                                u"file:///a%00.txt",
                                u"file:///a%E4",
                                u"file:///a%ED%A0%80"})
        EXPECT_EQ(Refused, Converted(url)) << openhost::ToUtf8(url);
    EXPECT_EQ(Refused, Converted(nullptr));
}

TEST(PathCreateFromUrlW, GivesADriveWithoutTheSeparatorInFront)
{
    EXPECT_EQ(Path("c:/a/b"), Converted(u"file:///c:/a/b"));
    EXPECT_EQ(Path("C:"), Converted(u"file:///C:"));
    EXPECT_EQ(Path("c:/a"), Converted(u"file://localhost/c:/a"));
    EXPECT_EQ(Path("c:/a"), Converted(u"file:c:/a"));
    EXPECT_EQ(Path("/ab:/c"), Converted(u"file:///ab:/c"));
    EXPECT_EQ(Path("/1:/c"), Converted(u"file:///1:/c"));
}

TEST(PathCreateFromUrlW, FillsTheRoomToTheLastUnit)
{
    char16_t path[] = {u'#', u'#', u'#', u'#'};
    std::uint32_t size = 3;
    EXPECT_EQ(S_OK, PathCreateFromUrlW(u"file:///a", path, &size, 0));
    EXPECT_EQ(u"/a", std::u16string(path));
    EXPECT_EQ(2U, size);
    EXPECT_EQ(u'#', path[3]);
}

TEST(PathCreateFromUrlW, RefusesAPathThatDoesNotFit)
{
    char16_t path[] = {u'#', u'#', u'#', u'#'};
    std::uint32_t size = 3;
    EXPECT_EQ(E_INVALIDARG, PathCreateFromUrlW(u"file:///ab", path, &size, 0));
    EXPECT_EQ(u'\0', path[0]);
    EXPECT_EQ(0U, size);
    EXPECT_EQ(u'#', path[3]);

    EXPECT_EQ(Refused, Converted((u"file:///" + std::u16string(100'000, u'a')).c_str()));
}

TEST(PathCreateFromUrlW, WritesNothingWithoutRoom)
{
    char16_t path[] = {u'#'};
    std::uint32_t size = 0;
    EXPECT_EQ(E_INVALIDARG, PathCreateFromUrlW(u"file:///a", path, &size, 0));
    EXPECT_EQ(u'#', path[0]);
    EXPECT_EQ(E_INVALIDARG, PathCreateFromUrlW(u"file:///a", nullptr, &size, 0));
    EXPECT_EQ(E_INVALIDARG, PathCreateFromUrlW(u"file:///a", path, nullptr, 0));
    EXPECT_EQ(u'#', path[0]);
}

} // namespace
