// Letter case of UTF-16 code units, by Unicode and not by the locale of the process.
#pragma once

namespace openhost {

/// Simple case folding of one unit: two units that differ only in letter case fold to the same one.
/// Surrogates fold to themselves.
char16_t FoldCase(char16_t unit);

/// The small form of a letter; any other unit itself.
char16_t ToSmallLetter(char16_t unit);

} // namespace openhost
