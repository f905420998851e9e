#include "host/hash.h"
#include "host/text.h"
#include "openhost/text/Utf.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

/// The digits of the MD5 of `pieces`, one update each; a failure as such.
std::string Md5Of(std::initializer_list<std::string_view> pieces)
{
    KRYSysHashContext context;
    if (FAILED(KRYSysHash_Init(KRYSysHashMD5, context)))
        return "no hash";
    for (const std::string_view piece : pieces)
        if (FAILED(KRYSysHash_Update(context, piece.data(), static_cast<std::uint32_t>(piece.size()))))
            return "no update";
    unsigned char digest[KRYSysHashMaximumLength];
    std::uint32_t length = 0;
    if (FAILED(KRYSysHash_Final(context, digest, length)))
        return "no digest";
    char text[2 * KRYSysHashMaximumLength];
    const int digits = ZALOmx::BytesToHex(digest, static_cast<int>(length), text, sizeof text, 0);
    return {text, static_cast<std::size_t>(digits)};
}

TEST(Hash, GivesTheSumsOfTheStandardForBytesInAnyPieces)
{
    EXPECT_EQ("D41D8CD98F00B204E9800998ECF8427E", Md5Of({}));
    EXPECT_EQ("900150983CD24FB0D6963F7D28E17F72", Md5Of({"abc"}));
    EXPECT_EQ("900150983CD24FB0D6963F7D28E17F72", Md5Of({"", "a", "", "b", "c"}));
}

TEST(Hash, KnowsNoOtherAlgorithm)
{
    KRYSysHashContext context;
    for (const int algorithm : {-1, 1, 2, 256}) {
        EXPECT_EQ(E_FAIL, KRYSysHash_Init(algorithm, context)) << algorithm;
        EXPECT_EQ(E_FAIL, KRYSysHash_Update(context, "a", 1));
    }
}

TEST(Hash, FailsOutsideAHashAndBeginsAnew)
{
    KRYSysHashContext context;
    unsigned char digest[KRYSysHashMaximumLength];
    std::uint32_t length = 7;
    const auto expectOutside = [&] {
        EXPECT_EQ(E_FAIL, KRYSysHash_Update(context, "a", 1));
        EXPECT_EQ(E_FAIL, KRYSysHash_Final(context, digest, length));
    };
    expectOutside();
    ASSERT_EQ(S_OK, KRYSysHash_Init(KRYSysHashMD5, context));
    ASSERT_EQ(S_OK, KRYSysHash_Update(context, "left", 4));
    ASSERT_EQ(S_OK, KRYSysHash_Init(KRYSysHashMD5, context));
    ASSERT_EQ(S_OK, KRYSysHash_Final(context, digest, length));
    EXPECT_EQ(0xD4, digest[0]);
    EXPECT_EQ(16U, length);
    expectOutside();
}

TEST(Hash, TakesNoBytesFromNowhere)
{
    KRYSysHashContext context;
    std::uint32_t length = 0;
    ASSERT_EQ(S_OK, KRYSysHash_Init(KRYSysHashMD5, context));
    EXPECT_EQ(E_FAIL, KRYSysHash_Update(context, nullptr, 1));
    EXPECT_EQ(S_OK, KRYSysHash_Update(context, nullptr, 0));
    EXPECT_EQ(E_FAIL, KRYSysHash_Final(context, nullptr, length));
}

TEST(HexadecimalDigits, AreCapitalsWithoutAZeroAtTheEnd)
{
    const unsigned char bytes[] = {0x00, 0x9A, 0xFF};
    char text[8] = "xxxxxxx";
    EXPECT_EQ(6, ZALOmx::BytesToHex(bytes, 3, text, 6, 0));
    EXPECT_STREQ("009AFFx", text);
}

TEST(HexadecimalDigits, AreWrittenWholeOrNotAtAll)
{
    const unsigned char bytes[] = {1, 2};
    char text[5] = "xxxx";
    for (const int size : {3, 2, 0, -1})
        EXPECT_EQ(0, ZALOmx::BytesToHex(bytes, 2, text, size, 0)) << size;
    EXPECT_EQ(0, ZALOmx::BytesToHex(bytes, 0, text, 4, 0));
    EXPECT_EQ(0, ZALOmx::BytesToHex(bytes, -1, text, 4, 0));
    EXPECT_EQ(0, ZALOmx::BytesToHex(nullptr, 2, text, 4, 0));
    EXPECT_EQ(0, ZALOmx::BytesToHex(bytes, 2, nullptr, 4, 0));
    EXPECT_STREQ("xxxx", text);
    EXPECT_EQ(4, ZALOmx::BytesToHex(bytes, 2, text, 4, 0));
}

} // namespace
