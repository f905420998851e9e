// Texts from outside, which may hold anything, for a terminal.
#pragma once

#include <string>
#include <string_view>

namespace openhost {

/// `text` without control characters but line ends, and as well-formed UTF-8: each of the others, and each tab,
/// becomes a blank, each byte that belongs to no character U+FFFD.
std::string Printable(std::string_view text);
/// The same with blanks for line ends too.
std::string InOneLine(std::string_view text);

} // namespace openhost
