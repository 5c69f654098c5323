#include "common/logging.h"

Q_LOGGING_CATEGORY(lcSkedaInterface, "skeda.interface")
Q_LOGGING_CATEGORY(lcSkedaShell, "skeda.shell")
Q_LOGGING_CATEGORY(lcSkedaCommon, "skeda.common")
Q_LOGGING_CATEGORY(lcSkedaCanvas, "skeda.canvas")
Q_LOGGING_CATEGORY(lcSkedaEraser, "skeda.eraser")
Q_LOGGING_CATEGORY(lcSkedaToolbar, "skeda.toolbar")
Q_LOGGING_CATEGORY(lcSkedaScreenshot, "skeda.screenshot")
Q_LOGGING_CATEGORY(lcSkedaWidgets, "skeda.widgets")
