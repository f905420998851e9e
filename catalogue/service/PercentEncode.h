// Texts as parts of an address.
#pragma once

#include <string>

namespace catalogue {

/// `text` with every byte percent-encoded that is not a letter, a digit, one of "-._~" or in `kept`.
std::string PercentEncode(const std::string& text, const std::string& kept = "");

} // namespace catalogue
