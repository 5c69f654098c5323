#pragma once

#include <QLoggingCategory>

// The board's logging categories, one per subsystem, under "skeda.": a host
// sees the board's warnings and trace lines under these names and can
// silence them with its own rules (for instance "skeda.*.debug=false").
// Every level is on by default, as for Qt's default category.
Q_DECLARE_LOGGING_CATEGORY(lcSkedaInterface)
Q_DECLARE_LOGGING_CATEGORY(lcSkedaShell)
Q_DECLARE_LOGGING_CATEGORY(lcSkedaCommon)
Q_DECLARE_LOGGING_CATEGORY(lcSkedaCanvas)
Q_DECLARE_LOGGING_CATEGORY(lcSkedaEraser)
Q_DECLARE_LOGGING_CATEGORY(lcSkedaToolbar)
Q_DECLARE_LOGGING_CATEGORY(lcSkedaScreenshot)
Q_DECLARE_LOGGING_CATEGORY(lcSkedaWidgets)
