#pragma once

#include <QByteArray>
#include <QString>

// The board's language. The board's own texts are Chinese; in any other
// language the board speaks English, from a message catalogue compiled into
// the library. The choice follows the system locale: a Chinese locale, and
// the C/POSIX locale where no language is chosen, keep the Chinese texts;
// any other shows English. The environment variable SKEDA_LANGUAGE ("zh" or
// "en") overrides the locale.
class Translation
{
public:
    enum Language { Chinese, English };

    // The language for a locale name ("zh_CN", "C", "de_DE.UTF-8") and a
    // SKEDA_LANGUAGE value (empty when unset).
    static Language languageFor(const QString& localeName, const QByteArray& override);
    // This process's language: SKEDA_LANGUAGE, else the system locale.
    static Language language();
    static bool isChinese() { return language() == Chinese; }

    // Installs the English catalogue into the application, once, when the
    // language is English; needs the application object. A host that has
    // installed a translator of its own for the board's texts keeps it.
    static void install();
};
