// The words of the window in the language of the user.
#pragma once

#include <QString>

namespace openhost {

/// `english` in the language in use; as it stands where there is no translation. `plural` stands for "%n" in it.
QString Words(const char* english, int plural = -1);

/// Languages of the window, the dialogs and the page: as the host names them in the files of its texts, and as the web
/// does.
struct UserLanguage {
    const char* name; ///< such as "German"
    const char* code; ///< such as "de"
};
inline constexpr UserLanguage UserLanguages[] = {{"English", "en"}, {"German", "de"}};

/// Makes `language`, the name of one of them, that of Qt and of the words from now on.
void UseWords(const QString& language);
/// The code of the language in use.
QString LanguageCode();

} // namespace openhost
