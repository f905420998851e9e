// Texts of the host view as UTF-8, and back.
#pragma once

#include "openhost/text/Utf8.h"

#include "host/text.h"

#include <string>
#include <string_view>

namespace openhost {

std::string ToUtf8(const ZALUnicodeString& text);
/// Lossy as DecodeUtf8Lossy.
ZALUnicodeString FromUtf8(std::string_view bytes);
/// The units of `text`; valid as long as it is unchanged.
std::u16string_view View(const ZALUnicodeString& text);
std::string_view View(const ZALOmxUTF8String& text);

} // namespace openhost
