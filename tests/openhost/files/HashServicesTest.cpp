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

TEST(Hash, GivesTheSumsOfTheStandard)
{
    EXPECT_EQ(Md5Of({}), "D41D8CD98F00B204E9800998ECF8427E");
    EXPECT_EQ(Md5Of({"abc"}), "900150983CD24FB0D6963F7D28E17F72");
}

TEST(Hash, TakesItsBytesInPieces)
{
    EXPECT_EQ(Md5Of({"", "a", "", "b", "c"}), Md5Of({"abc"}));
}

TEST(Hash, KnowsNoOtherAlgorithm)
{
    KRYSysHashContext context;
    for (const int algorithm : {-1, 1, 2, 256}) {
        EXPECT_EQ(KRYSysHash_Init(algorithm, context), E_FAIL) << algorithm;
        EXPECT_EQ(KRYSysHash_Update(context, "a", 1), E_FAIL);
    }
}

TEST(Hash, FailsOutsideAHash)
{
    KRYSysHashContext context;
    unsigned char digest[KRYSysHashMaximumLength];
    std::uint32_t length = 7;
    EXPECT_EQ(KRYSysHash_Update(context, "a", 1), E_FAIL);
    EXPECT_EQ(KRYSysHash_Final(context, digest, length), E_FAIL);

    ASSERT_EQ(KRYSysHash_Init(KRYSysHashMD5, context), S_OK);
    ASSERT_EQ(KRYSysHash_Final(context, digest, length), S_OK);
    EXPECT_EQ(length, 16u);
    EXPECT_EQ(KRYSysHash_Update(context, "a", 1), E_FAIL) << "the hash is at its end";
    EXPECT_EQ(KRYSysHash_Final(context, digest, length), E_FAIL);
}

TEST(Hash, BeginsAnew)
{
    KRYSysHashContext context;
    unsigned char digest[KRYSysHashMaximumLength];
    std::uint32_t length = 0;
    ASSERT_EQ(KRYSysHash_Init(KRYSysHashMD5, context), S_OK);
    ASSERT_EQ(KRYSysHash_Update(context, "left", 4), S_OK);
    ASSERT_EQ(KRYSysHash_Init(KRYSysHashMD5, context), S_OK);
    ASSERT_EQ(KRYSysHash_Final(context, digest, length), S_OK);
    EXPECT_EQ(digest[0], 0xD4);
}

TEST(Hash, TakesNoBytesFromNowhere)
{
    KRYSysHashContext context;
    std::uint32_t length = 0;
    ASSERT_EQ(KRYSysHash_Init(KRYSysHashMD5, context), S_OK);
    EXPECT_EQ(KRYSysHash_Update(context, nullptr, 1), E_FAIL);
    EXPECT_EQ(KRYSysHash_Update(context, nullptr, 0), S_OK);
    EXPECT_EQ(KRYSysHash_Final(context, nullptr, length), E_FAIL);
}

TEST(HexadecimalDigits, AreCapitalsWithoutAZeroAtTheEnd)
{
    const unsigned char bytes[] = {0x00, 0x9A, 0xFF};
    char text[8] = "xxxxxxx";
    EXPECT_EQ(ZALOmx::BytesToHex(bytes, 3, text, 6, 0), 6);
    EXPECT_STREQ(text, "009AFFx");
}

TEST(HexadecimalDigits, AreWrittenWholeOrNotAtAll)
{
    const unsigned char bytes[] = {1, 2};
    char text[5] = "xxxx";
    for (const int size : {3, 2, 0, -1})
        EXPECT_EQ(ZALOmx::BytesToHex(bytes, 2, text, size, 0), 0) << size;
    EXPECT_EQ(ZALOmx::BytesToHex(bytes, 0, text, 4, 0), 0);
    EXPECT_EQ(ZALOmx::BytesToHex(bytes, -1, text, 4, 0), 0);
    EXPECT_EQ(ZALOmx::BytesToHex(nullptr, 2, text, 4, 0), 0);
    EXPECT_EQ(ZALOmx::BytesToHex(bytes, 2, nullptr, 4, 0), 0);
    EXPECT_STREQ(text, "xxxx");
    EXPECT_EQ(ZALOmx::BytesToHex(bytes, 2, text, 4, 0), 4);
}

} // namespace
