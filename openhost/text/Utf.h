// UTF-8 and UTF-16. Strict where the outside must be refused, lossy where a text has to be shown or named.
#pragma once

#include "host/text.h"

#include <optional>
#include <string>
#include <string_view>

namespace openhost {

/// Whether `bytes` are well-formed UTF-8: no overlong form, no surrogate, nothing above U+10FFFF, no cut end.
bool IsUtf8(std::string_view bytes);
/// The text of well-formed UTF-8, nothing for other bytes.
std::optional<std::u16string> DecodeUtf8(std::string_view bytes);
/// The text of `bytes`; each byte that belongs to no well-formed sequence is one character of ISO 8859-1.
std::u16string DecodeUtf8Lossy(std::string_view bytes);
/// `text` as UTF-8; a surrogate without its partner becomes U+FFFD.
std::string EncodeUtf8(std::u16string_view text);

std::string ToUtf8(const ZALUnicodeString& text);
/// Lossy as DecodeUtf8Lossy.
ZALUnicodeString FromUtf8(std::string_view bytes);
/// The units of `text`; valid as long as it is unchanged.
std::u16string_view View(const ZALUnicodeString& text);
std::string_view View(const ZALOmxUTF8String& text);

} // namespace openhost
