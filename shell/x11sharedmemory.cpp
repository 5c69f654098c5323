#include "shell/x11sharedmemory.h"

#include <QByteArray>
#include <QtGlobal>

namespace {

// Qt's own switch, read once when its xcb platform connects.
constexpr const char* QtVariable = "QT_XCB_NO_MITSHM";

} // namespace

bool X11SharedMemory::turnOff()
{
    if (qEnvironmentVariableIsSet(QtVariable))
        return true;
    if (qgetenv(KeepVariable) == "1")
        return false;
    qputenv(QtVariable, "1");
    return true;
}
