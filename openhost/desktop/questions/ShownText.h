// Texts of the host as Qt shows them: always plain, and never longer than somebody reads.
#pragma once

#include "host/text.h"

#include <QString>

namespace openhost {

/// Most characters that are shown of a question, of a label, and of a title or the text of a button.
inline constexpr int MaximumQuestionLength = 100000;
inline constexpr int MaximumLabelLength = 4000;
inline constexpr int MaximumTitleLength = 200;

/// `text`, cut off after `longest` characters with an ellipsis.
QString ToShownText(const ZALUnicodeString& text, int longest);
/// For buttons and titled frames, where "&" underlines a letter.
QString ToButtonText(const ZALUnicodeString& text);
/// For windows, where "[*]" stands for a mark.
QString ToWindowTitle(const ZALUnicodeString& text);

} // namespace openhost
