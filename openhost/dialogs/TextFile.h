// Texts for the user, kept in files of the installation.
//
// A file is UTF-8 and has one text a line, in the form
//
//     // A comment, up to the end of the line
//     Some.Key = "A \"quoted\" text\nof two lines";   // the escapes are \\ \n \t \"
//
// A key consists of letters, digits, "_", "-" and ".". Of two texts with the same key the first one counts. A line
// that is none of this is skipped. A file of more than MaximumTextFileSize bytes counts as absent.
//
// The English texts stand in the folder itself, those of another language in a folder named for it beside them:
//
//     <ZALInstallPath>/resources/msgcatalog/<Catalog>.ZALNls           message catalogs
//     <ZALInstallPath>/resources/msgcatalog/German/<Catalog>.ZALNls
//     <ZALInstallPath>/resources/dialogs/<ResourceFile>.ZALRsc         texts of dialogs
//     <ZALInstallPath>/resources/dialogs/German/<ResourceFile>.ZALRsc
//
// In the texts of a dialog the key "Title" is the title of the window, and "<Control>.Title" the text of a control.
#pragma once

#include "host/text.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace openhost {

inline constexpr std::size_t MaximumTextFileSize = 1 << 20;

/// Where a text belongs.
enum class TextKind { MessageCatalog, DialogResource };

/// The language of all texts, such as "German". Empty goes back to the environment variable ZALLanguage, and to
/// English without it.
void SetLanguage(const std::string& language);
/// The language in use; "English" by default.
std::string Language();

/// The texts of one file by their keys.
std::map<std::string, ZALUnicodeString> ParseTexts(std::string_view bytes);
/// The text of `key` in the file `name` in the language in use, otherwise in English, otherwise nothing. Files are
/// read anew each time. A `name` that is no plain file name finds nothing.
std::optional<ZALUnicodeString> FindText(TextKind kind, const std::string& name, const std::string& key);

} // namespace openhost
