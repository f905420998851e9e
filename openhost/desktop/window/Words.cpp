#include "openhost/desktop/window/Words.h"

#include "openhost/desktop/window/GermanWords.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

#include <string_view>
#include <unordered_map>

namespace openhost {

namespace {

/// The table as Qt asks for it, in whatever context.
class GermanTranslator final : public QTranslator {
public:
    GermanTranslator()
    {
        for (const auto& [english, german] : GermanWords())
            words_.emplace(english, german);
    }
    bool isEmpty() const override { return false; }
    QString translate(const char*, const char* text, const char*, int) const override
    {
        const auto found = words_.find(text);
        return found == words_.end() ? QString() : QString::fromUtf8(found->second);
    }

private:
    std::unordered_map<std::string_view, const char*> words_;
};

QString code = "en";

} // namespace

QString Words(const char* english, int plural)
{
    return QCoreApplication::translate("openhost", english, nullptr, plural);
}

void UseWords(const QString& language)
{
    static GermanTranslator words;
    static QTranslator qt; // of Qt's own dialogs, where its translations are installed
    QCoreApplication::removeTranslator(&words);
    QCoreApplication::removeTranslator(&qt);
    code = language == "German" ? "de" : "en";
    QLocale::setDefault(QLocale(code));
    if (code == "en")
        return;
    if (qt.load("qtbase_" + code, QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&qt);
    QCoreApplication::installTranslator(&words);
}

QString LanguageCode()
{
    return code;
}

} // namespace openhost
