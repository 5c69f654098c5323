#pragma once

#include "common/common.h"
#include "common/uimanager.h"
#include "toolbar/earsepanel.h"
#include "toolbar/skedatool.h"
#include "toolbar/sliderwidget.h"
#include "widgets/pushbutton_7.h"

#include <QFrame>
#include <QGuiApplication>
#include <QLabel>
#include <QPointer>
#include <QPropertyAnimation>
#include <QQuickItem>
#include <QQuickWidget>
#include <QScreen>
#include <QStringList>
#include <QtTest>

#include <memory>

// Helpers shared by the toolbar tests.
namespace ToolbarTest {

#if defined(__SANITIZE_ADDRESS__)
// Under AddressSanitizer with its slow unwinder (fast_unwind_on_malloc=0),
// Mesa's llvmpipe deadlocks as soon as its JIT registers the unwind tables
// of a compiled shader: the unwinder's lock is taken again from inside the
// allocation it makes. softpipe draws the same OpenGL without a JIT, so the
// pen popup still renders through OpenGL. Set before the application exists.
inline const bool kSoftpipeUnderSanitizer = [] {
    if (qEnvironmentVariableIsEmpty("GALLIUM_DRIVER")) {
        qputenv("GALLIUM_DRIVER", "softpipe");
    }
    return true;
}();
#endif

inline QSize screenSize()
{
    return QGuiApplication::primaryScreen()->geometry().size();
}

inline bool onX11()
{
    return QGuiApplication::platformName() == QLatin1String("xcb");
}

// What the board window does at start: the shared scale follows the screen.
inline void initScaleFromScreen()
{
    Common::getInstance()->InitSize(screenSize());
}

inline int S(int designPixels)
{
    return Common::getInstance()->getNewSize(designPixels);
}

// The pen new strokes get at start; every test leaves it like this.
inline void restoreDefaultPen()
{
    UIManager::getInstance()->setPenColor(QColor(QStringLiteral("#F73859")));
    UIManager::getInstance()->setPenWidth(6);
}

// Skips a data row written for another screen width. The test
// registrations select the matching rows by name; a run by hand without
// arguments skips the others.
#define SKIP_UNLESS_SCREEN_WIDTH(expectedWidth)                                                    \
    do {                                                                                           \
        if (ToolbarTest::screenSize().width() != (expectedWidth))                                  \
            QSKIP(qPrintable(QStringLiteral("needs a screen %1 pixels wide, this one is %2")       \
                                 .arg(expectedWidth)                                               \
                                 .arg(ToolbarTest::screenSize().width())));                        \
    } while (false)

// The board as the toolbar sees it: a frameless translucent top-level window
// covering the primary screen from its origin, with the toolbar made, placed
// and shown the way the board window does it.
class Rig
{
public:
    explicit Rig(bool show = true)
    {
        board.setWindowFlags(Qt::FramelessWindowHint);
        board.setAttribute(Qt::WA_TranslucentBackground);
        board.setGeometry(QRect(QPoint(0, 0), screenSize()));
        tool = new SkedaTool(&board);
        tool->move(S(80), screenSize().height() - S(80) - tool->height());
        tool->resizeWidget();
        tool->setMainWidget(&board);
        if (show) {
            board.show();
            tool->show();
        }
    }

    bool exposed()
    {
        return QTest::qWaitForWindowExposed(&board) && QTest::qWaitForWindowExposed(tool) &&
               waitForToolbarPosition();
    }

    // The window system reports a moved top-level window back a little
    // later; QTest maps positions through the reported place.
    bool waitForToolbarPosition()
    {
        return QTest::qWaitFor(
            [this] {
                return tool->windowHandle() && tool->windowHandle()->position() == tool->pos();
            },
            5000);
    }

    PushButton_7* button(const char* name) const
    {
        return tool->findChild<PushButton_7*>(QLatin1String(name));
    }
    PushButton_7* logo() const { return button("logoButton"); }
    PushButton_7* select() const { return button("selectButton"); }
    PushButton_7* pen() const { return button("penButton"); }
    PushButton_7* eraser() const { return button("eraserButton"); }
    PushButton_7* screenShot() const { return button("screenShotButton"); }
    PushButton_7* close() const { return button("closeButton"); }
    QFrame* frame() const { return tool->findChild<QFrame*>(QStringLiteral("frame")); }
    // The 20 ms fold and unfold of the bar.
    QPropertyAnimation* animation() const { return tool->geometryAnimation(); }
    // The bar is this wide, and so is where its animation, if one runs,
    // takes it: no fold or unfold is under way.
    bool keepsWidth(int width) const
    {
        QPropertyAnimation* running = animation();
        const bool idle = running->state() == QAbstractAnimation::Stopped ||
                          running->endValue().toRect().width() == width;
        return idle && frame()->width() == width;
    }
    QQuickWidget* popup() const { return board.findChild<QQuickWidget*>(); }
    EarsePanel* panel() const { return board.findChild<EarsePanel*>(); }
    SliderWidget* slider() const { return board.findChild<SliderWidget*>(); }

    void click(QWidget* widget) { QTest::mouseClick(widget, Qt::LeftButton); }

    QWidget board;
    SkedaTool* tool = nullptr;
};

// Records the toolbar's six command signals, in the order they come.
class SignalLog
{
public:
    explicit SignalLog(SkedaTool* tool)
    {
        const auto log = [this](const char* name) {
            return [this, name] {
                names << QLatin1String(name);
            };
        };
        QObject::connect(tool, &SkedaTool::sigClose, tool, log("close"));
        QObject::connect(tool, &SkedaTool::sigPen, tool, log("pen"));
        QObject::connect(tool, &SkedaTool::sigEraseBtn, tool, log("eraser"));
        QObject::connect(tool, &SkedaTool::sigSelectDesktop, tool, log("select"));
        QObject::connect(tool, &SkedaTool::sigClear, tool, log("clear"));
        QObject::connect(tool, &SkedaTool::sigScreenShot, tool, log("screenshot"));
    }

    QStringList names;
};

// Collects every message while alive and passes each one on, so QtTest still
// sees and prints them.
class MessageLog
{
public:
    MessageLog()
    {
        s_lines.clear();
        s_previous = qInstallMessageHandler(&MessageLog::handle);
    }
    ~MessageLog() { qInstallMessageHandler(s_previous); }
    MessageLog(const MessageLog&) = delete;
    MessageLog& operator=(const MessageLog&) = delete;

    QStringList lines() const { return s_lines; }
    void clear() { s_lines.clear(); }

private:
    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& message)
    {
        s_lines << message;
        if (s_previous) {
            s_previous(type, context, message);
        }
    }

    static inline QStringList s_lines;
    static inline QtMessageHandler s_previous = nullptr;
};

} // namespace ToolbarTest
