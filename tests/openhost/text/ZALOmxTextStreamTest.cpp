#include "openhost/text/Utf.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

TEST(ZALOmxTextStream, CollectsEachKindOfText)
{
    ZALOmxTextStream stream;
    stream << "a\xC3\xA4" << ZALString("b") << ZALUnicodeString(u"\u20AC") << ZALOmxUTF8String("\0c", 2);
    EXPECT_EQ(stream.ToUTF8String(), ZALOmxUTF8String("a\xC3\xA4"
                                                      "b\xE2\x82\xAC\0c",
                                                      9));
    EXPECT_EQ(stream.ToString(), ZALUnicodeString(u"a\u00E4b\u20AC\0c", 6));
}

TEST(ZALOmxTextStream, WritesTheExtremesOfEachNumber)
{
    ZALOmxTextStream stream;
    stream << std::numeric_limits<std::int32_t>::min() << " " << std::numeric_limits<std::uint32_t>::max() << " "
           << std::numeric_limits<std::int64_t>::min() << " " << std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(stream.ToString(), ZALUnicodeString("-2147483648 4294967295 -9223372036854775808 18446744073709551615"));
}

TEST(ZALOmxTextStream, TakesNothingFromANullPointer)
{
    ZALOmxTextStream stream;
    stream << "a" << static_cast<const char*>(nullptr) << "b";
    EXPECT_EQ(stream.ToString(), ZALUnicodeString("ab"));
    EXPECT_EQ(ZALOmxTextStream().ToUTF8String(), ZALOmxUTF8String());
}

TEST(ZALOmxTextStream, ReadsNarrowBytesThatAreNoUtf8AsLatin1)
{
    ZALOmxTextStream stream;
    stream << "\xE4";
    EXPECT_EQ(stream.ToString(), ZALUnicodeString(u"\u00E4"));
}

} // namespace
