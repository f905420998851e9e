// UTF-8 and UTF-16. Strict where the outside must be refused, lossy where a text has to be shown or named.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace openhost {

/// One character in UTF-8.
struct Utf8Sequence {
    std::size_t length; ///< bytes, 0 when the bytes are ill-formed
    char32_t character;
};

/// The sequence at the start of `bytes`, which are not empty.
Utf8Sequence ReadUtf8Sequence(std::string_view bytes);
/// Whether `bytes` are well-formed UTF-8: no overlong form, no surrogate, nothing above U+10FFFF, no cut end.
bool IsUtf8(std::string_view bytes);
/// The text of well-formed UTF-8, nothing for other bytes.
std::optional<std::u16string> DecodeUtf8(std::string_view bytes);
/// The text of `bytes`; each byte that belongs to no well-formed sequence is one character of ISO 8859-1.
std::u16string DecodeUtf8Lossy(std::string_view bytes);
/// `text` as UTF-8; a surrogate without its partner becomes U+FFFD.
std::string EncodeUtf8(std::u16string_view text);

} // namespace openhost
