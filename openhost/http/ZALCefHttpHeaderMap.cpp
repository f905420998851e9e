#include "host/http.h"

#include "openhost/text/Utf.h"

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
    return std::ranges::lexicographical_compare(openhost::View(left), openhost::View(right), {}, Lower, Lower);
}

void ZALCefHttpHeaderMap::AddValue(const ZALUnicodeString& name, const ZALUnicodeString& value)
{
    headers_.emplace(name, value);
}

void ZALCefHttpHeaderMap::GetRawMap(ZALHttpRawHeaderMap& map) const
{
    map = headers_;
}
