#include "shell/mainwindow.h"

#include "shell/waylandboard.h"

#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "common/common.h"
#include "common/logging.h"
#include "common/translation.h"
#include "screenshot/screenshot.h"
#include "toolbar/skedatool.h"

#include <QAction>
#include <QDebug>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QScreen>
#include <QX11Info>

#include <X11/Xlib.h>
#include <X11/extensions/shape.h>

namespace {

// Whether this session can shape a window's input region: an X11 platform
// whose server has the SHAPE extension. Asked once.
bool canShapeInput()
{
    static const bool supported = [] {
        if (!QX11Info::isPlatformX11() || !QX11Info::display())
            return false;
        int eventBase = 0;
        int errorBase = 0;
        return XShapeQueryExtension(QX11Info::display(), &eventBase, &errorBase) != 0;
    }();
    return supported;
}

} // namespace

MainWindow::MainWindow(QWidget* parent)
    : QWidget(parent)
{
    // Before any text of the board is made.
    Translation::install();
    QSize deskSize;
    if (QScreen* screen = QGuiApplication::primaryScreen())
        deskSize = screen->geometry().size();
    else
        qCWarning(lcSkedaShell,
                  "MainWindow: there is no screen; the board has no size until one appears");
    Common::getInstance()->InitSize(deskSize);

    m_layout = new QHBoxLayout(this);
    m_layout->setMargin(0);
    m_layout->setContentsMargins(0, 0, 0, 0);

    m_view = new MyMiniGraphicsView(this);
    m_layout->addWidget(m_view);

    setWindowFlags(windowFlags() | Qt::FramelessWindowHint);
    m_view->setStyleSheet(
        QStringLiteral("QGraphicsView{background-color: transparent; border: none;}"));
    setAttribute(Qt::WA_TranslucentBackground);

    createTool(deskSize.height());
    createShortcuts();
}

void MainWindow::createShortcuts()
{
    // One action per command, with all of its keys: the same key on two
    // shortcuts would make both ambiguous. Qt keeps a window's shortcuts
    // working while one of its tool windows (the toolbar) is active; the
    // actions are added to the toolbar as well all the same.
    auto add = [this](QList<QKeySequence> keys, auto&& slot) {
        QList<QKeySequence> unique;
        for (const QKeySequence& key : keys) {
            if (!key.isEmpty() && !unique.contains(key))
                unique.append(key);
        }
        auto* action = new QAction(this);
        action->setShortcuts(unique);
        action->setShortcutContext(Qt::WindowShortcut);
        connect(action, &QAction::triggered, this, slot);
        addAction(action);
        m_tool->addAction(action);
    };
    add(QKeySequence::keyBindings(QKeySequence::Undo) << QKeySequence(Qt::CTRL | Qt::Key_Z),
        [this] { undo(); });
    add(QKeySequence::keyBindings(QKeySequence::Redo)
            << QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z) << QKeySequence(Qt::CTRL | Qt::Key_Y),
        [this] { redo(); });
    add({QKeySequence(Qt::Key_P)}, [this] { m_tool->clickButton(SkedaTool::PenButton); });
    add({QKeySequence(Qt::Key_E)}, [this] { m_tool->clickButton(SkedaTool::EraserButton); });
    add({QKeySequence(Qt::Key_D)}, [this] { m_tool->clickButton(SkedaTool::SelectButton); });
    add({QKeySequence(Qt::Key_S)}, [this] { m_tool->clickButton(SkedaTool::ScreenShotButton); });
    add({QKeySequence(Qt::Key_Escape)}, [this] { m_tool->clickButton(SkedaTool::CloseButton); });
}

bool MainWindow::undo()
{
    return m_view->undo();
}

bool MainWindow::redo()
{
    return m_view->redo();
}

void MainWindow::createTool(int deskHeight)
{
    Common* common = Common::getInstance();
    // A tool window of its own: not clipped by the board and not affected by
    // the board's input shape.
    m_tool = new SkedaTool(this);
    m_tool->move(common->getNewSize(80), deskHeight - common->getNewSize(80) - m_tool->height());
    m_tool->resizeWidget();
    m_tool->setMainWidget(this);
    m_tool->show();

    connect(m_tool, &SkedaTool::sigClose, this, [this] {
        close();
        m_tool->hide();
        emit sigSkedaClose();
    });
    connect(m_tool, &SkedaTool::sigPen, this, [this] {
        selectDesktop(false);
        m_view->setTool(MyMiniGraphicsView::PenTool);
    });
    connect(m_tool, &SkedaTool::sigEraseBtn, this, [this] {
        selectDesktop(false);
        m_view->setTool(MyMiniGraphicsView::EraseTool);
    });
    connect(m_tool, &SkedaTool::sigSelectDesktop, this, [this] { selectDesktop(true); });
    connect(m_tool, &SkedaTool::sigClear, this, [this] { m_view->clearAllItem(); });
    connect(m_tool, &SkedaTool::sigScreenShot, this, [this] { startScreenShot(); });
}

void MainWindow::startScreenShot()
{
    if (!ScreenShot::canCaptureScreen()) {
        // Said once; the command then does nothing, and the board stays as
        // it is.
        static bool said = false;
        if (!said) {
            said = true;
            qCWarning(lcSkedaScreenshot,
                      "MainWindow: this session cannot capture the screen (on a Wayland "
                      "desktop, X programs get a black picture of it, and native ones one only "
                      "from a compositor with screencopy); the screenshot command does nothing "
                      "here");
        }
        return;
    }
    // A new overlay per command; it deletes itself when done or cancelled,
    // and dies with the board otherwise.
    auto* shot = new ScreenShot(&m_pixmap, this);
    connect(shot, &ScreenShot::newPixmap, this, [this] {
        close();
        m_tool->hide();
        emit sigScreenShotPixmap(m_pixmap);
    });
    shot->show();
}

MainWindow::~MainWindow() = default;

void MainWindow::initUI()
{
    if (m_scene) {
        qCWarning(lcSkedaShell, "MainWindow::initUI() called again; the board is already set up");
        return;
    }
    const QSize deskSize = Common::getInstance()->getDeskSize();
    setFixedSize(deskSize);
    m_view->resize(deskSize);

    m_scene = new MyMiniGraphicsScene(m_view);
    m_scene->setSceneRect(0, 0, deskSize.width(), deskSize.height());
    m_view->setSceneData(m_scene);
    m_view->setScene(m_scene);
    m_view->toggleOperation(PenOperation);
}

void MainWindow::showSkeda()
{
    show();
    if (m_tool)
        m_tool->show();
}

void MainWindow::hideTool()
{
    if (m_tool)
        m_tool->hideTool();
}

void MainWindow::selectDesktop(bool on)
{
    if (on)
        qCDebug(lcSkedaShell) << "qx====";
    if (WaylandBoard::isActive()) {
        WaylandBoard::passInputThrough(this, on);
        if (!on)
            update();
        return;
    }
    if (!canShapeInput()) {
        // Without X11 input shapes the window as a whole is made transparent
        // for input, which Qt does on the platforms that support it.
        static bool warned = false;
        if (!warned) {
            warned = true;
            qCWarning(lcSkedaShell,
                      "MainWindow: %s; desktop mode makes the whole board window transparent "
                      "for input instead of emptying its input shape",
                      QX11Info::isPlatformX11() ? "the X server has no SHAPE extension"
                                                : "this is not an X11 session");
        }
        if (windowFlags().testFlag(Qt::WindowTransparentForInput) == on)
            return;
        const bool visible = isVisible();
        setWindowFlag(Qt::WindowTransparentForInput, on);
        if (visible)
            show();
        if (!on)
            update();
        return;
    }

    // The input region is the whole window, or nothing: a count of zero
    // rectangles empties it.
    auto* rect = new XRectangle;
    rect->x = 0;
    rect->y = 0;
    rect->width = static_cast<unsigned short>(width());
    rect->height = static_cast<unsigned short>(height());
    XShapeCombineRectangles(QX11Info::display(), winId(), ShapeInput, 0, 0, rect, on ? 0 : 1,
                            ShapeSet, YXBanded);
    // Qt talks to the server through xcb; Xlib's own request buffer is sent
    // only when flushed. A sync, not a mere flush: with xcb owning the event
    // queue, Xlib keeps a record of every request it sent until it next reads
    // from the server, which Qt never has it do, so each call would leave
    // some 30 bytes behind for good.
    XSync(QX11Info::display(), False);
    if (!on)
        update();
    delete rect;
}
