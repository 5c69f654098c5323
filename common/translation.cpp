#include "common/translation.h"

#include "common/logging.h"

#include <QCoreApplication>
#include <QLocale>
#include <QPointer>
#include <QTranslator>

Translation::Language Translation::languageFor(const QString& localeName,
                                               const QByteArray& override)
{
    const QByteArray chosen = override.trimmed().toLower();
    if (chosen == "zh")
        return Chinese;
    if (chosen == "en")
        return English;
    if (!chosen.isEmpty()) {
        static bool warned = false;
        if (!warned) {
            warned = true;
            qCWarning(lcSkedaCommon,
                      "Skeda: SKEDA_LANGUAGE=\"%s\" is neither \"zh\" nor \"en\"; the board "
                      "follows the locale",
                      override.constData());
        }
    }
    // "de_DE.UTF-8" and "zh_CN@variant": the language and territory only.
    QString name = localeName;
    name.truncate(name.indexOf(QLatin1Char('.')) >= 0 ? name.indexOf(QLatin1Char('.'))
                                                      : name.size());
    name.truncate(name.indexOf(QLatin1Char('@')) >= 0 ? name.indexOf(QLatin1Char('@'))
                                                      : name.size());
    if (name.isEmpty() || name == QLatin1String("C") || name == QLatin1String("POSIX"))
        return Chinese;
    return QLocale(name).language() == QLocale::Chinese ? Chinese : English;
}

Translation::Language Translation::language()
{
    return languageFor(QLocale::system().name(), qgetenv("SKEDA_LANGUAGE"));
}

void Translation::install()
{
    QCoreApplication* app = QCoreApplication::instance();
    if (!app || language() == Chinese)
        return;
    // One catalogue per application object (tests make several in turn).
    static QPointer<QTranslator> installed;
    if (installed)
        return;
    // A host's own translation of the board's texts comes first.
    const char* const probe = ">>> 右滑清屏";
    if (QCoreApplication::translate("EarsePanel", probe) != QString::fromUtf8(probe))
        return;
    auto* translator = new QTranslator(app);
    if (!translator->load(QStringLiteral(":/translations/skeda_en.qm"))) {
        qCWarning(lcSkedaCommon,
                  "Skeda: the English catalogue is missing from the library; the board keeps "
                  "its Chinese texts");
        delete translator;
        return;
    }
    QCoreApplication::installTranslator(translator);
    installed = translator;
}
