#include "host/http.h"

#include <algorithm>

namespace {
// Header names are ASCII; other units count as they stand.
char16_t Lower(char16_t unit)
{
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit - u'A' + u'a') : unit;
}
} // namespace

bool ZALHeaderNameLess::operator()(const ZALUnicodeString& left, const ZALUnicodeString& right) const
{
    const char16_t* first = left.CastToUTF16Ptr();
    const char16_t* second = right.CastToUTF16Ptr();
    return std::lexicographical_compare(first, first + left.GetLengthInChar(), second,
                                        second + right.GetLengthInChar(),
                                        [](char16_t a, char16_t b) { return Lower(a) < Lower(b); });
}

void ZALCefHttpHeaderMap::AddValue(const ZALUnicodeString& name, const ZALUnicodeString& value)
{
    headers_.emplace(name, value);
}

void ZALCefHttpHeaderMap::GetRawMap(ZALHttpRawHeaderMap& map) const
{
    map = headers_;
}
