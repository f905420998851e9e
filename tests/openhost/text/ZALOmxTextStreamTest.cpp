#include "openhost/text/Utf.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

TEST(ZALOmxTextStream, CollectsEachKindOfText)
{
    EXPECT_EQ(ZALOmxUTF8String(), ZALOmxTextStream().ToUTF8String());
    ZALOmxTextStream stream;
    stream << "a\xC3\xA4" << ZALString("!") << static_cast<const char*>(nullptr) << ZALUnicodeString(u"\u20AC")
           << ZALOmxUTF8String("\0c", 2);
    EXPECT_EQ(ZALOmxUTF8String("a\xC3\xA4!\xE2\x82\xAC\0c", 9), stream.ToUTF8String());
    EXPECT_EQ(ZALUnicodeString(u"a\u00E4!\u20AC\0c", 6), stream.ToString());
    stream << "\xE4";
    EXPECT_EQ(ZALUnicodeString(u"a\u00E4!\u20AC\0c\u00E4", 7), stream.ToString());
}

TEST(ZALOmxTextStream, WritesTheExtremesOfEachNumber)
{
    ZALOmxTextStream stream;
    stream << std::numeric_limits<std::int32_t>::min() << " " << std::numeric_limits<std::uint32_t>::max() << " "
           << std::numeric_limits<std::int64_t>::min() << " " << std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(ZALUnicodeString("-2147483648 4294967295 -9223372036854775808 18446744073709551615"), stream.ToString());
}

} // namespace
