#include "fuzzinput.h"

#include <QMessageLogContext>

namespace {

void dropMessage(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    if (type == QtFatalMsg) {
        std::fprintf(stderr, "%s\n", qPrintable(text));
        std::abort();
    }
}

} // namespace

void fuzz::quietQt()
{
    static const bool installed = [] {
        qInstallMessageHandler(dropMessage);
        return true;
    }();
    Q_UNUSED(installed)
}
