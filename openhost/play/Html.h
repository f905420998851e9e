// Pieces of an HTML page.
#pragma once

#include <string>
#include <string_view>

namespace openhost {

/// `text` as content of an element or of an attribute in quotes, whatever it holds.
std::string Escaped(std::string_view text);
/// The escaped `text` in an element with the class `name`, or without one when that is empty.
std::string Element(const std::string& tag, const std::string& name, std::string_view text);
std::string Base64(std::string_view bytes);

/// What stands between the title and the body of the report on a session. With a filter for lists: an input with the
/// identifier "filter", which the page hides until the script shows it, hides the items of the list "lines".
extern const char* const ReportStyle;
extern const char* const ReportScript;

} // namespace openhost
