// The keyboard on the shown board and its toolbar, pressed for real
// (xdotool, XTEST): undo and redo, the tool keys acting as clicks on the
// toolbar's buttons, Esc closing the board, and Esc and Enter in the
// screenshot overlay.

#include "canvas/boardhistory.h"
#include "canvas/minipathitem.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "screenshot/screenshot.h"
#include "shell/mainwindow.h"
#include "tests/support/x11desktop.h"
#include "toolbar/earsepanel.h"
#include "toolbar/skedatool.h"

#include <QSignalSpy>
#include <QtTest>

namespace {

QList<QGraphicsItem*> strokesOf(QGraphicsScene* scene)
{
    QList<QGraphicsItem*> strokes;
    const QList<QGraphicsItem*> items = scene->items();
    for (QGraphicsItem* item : items) {
        if (dynamic_cast<MiniPathItem*>(item))
            strokes.append(item);
    }
    std::sort(strokes.begin(), strokes.end());
    return strokes;
}

ScreenShot* overlayOf(QWidget* board)
{
    const QList<ScreenShot*> overlays = board->findChildren<ScreenShot*>();
    for (ScreenShot* overlay : overlays) {
        if (overlay->isVisible())
            return overlay;
    }
    return nullptr;
}

} // namespace

class TestShortcuts : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_board = new MainWindow;
        m_board->initUI();
        m_board->showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(m_board));
        QVERIFY(QTest::qWaitForWindowExposed(m_board->tool()));
        m_scene = m_board->scene();
    }

    void cleanup()
    {
        delete m_board;
        m_board = nullptr;
    }

    void undoAndRedo()
    {
        QVERIFY(X11Desktop::drag({QPoint(400, 300), QPoint(440, 310), QPoint(480, 330),
                                  QPoint(520, 360), QPoint(560, 400)}));
        QTRY_COMPARE(m_scene->history()->count(), 1);
        const QList<QGraphicsItem*> drawn = strokesOf(m_scene);
        QVERIFY(!drawn.isEmpty());

        QVERIFY(press(m_board, "ctrl+z"));
        QTRY_VERIFY(strokesOf(m_scene).isEmpty());
        QVERIFY(press(m_board, "ctrl+shift+z"));
        QTRY_COMPARE(strokesOf(m_scene), drawn);
        QVERIFY(press(m_board, "ctrl+z"));
        QTRY_VERIFY(strokesOf(m_scene).isEmpty());
        QVERIFY(press(m_board, "ctrl+y"));
        QTRY_COMPARE(strokesOf(m_scene), drawn);

        // The same keys with the toolbar active.
        QVERIFY(press(m_board->tool(), "ctrl+z"));
        QTRY_VERIFY(strokesOf(m_scene).isEmpty());
        QVERIFY(press(m_board->tool(), "ctrl+y"));
        QTRY_COMPARE(strokesOf(m_scene), drawn);
    }

    // A tool key is a click on the toolbar's button: the signal, the tool,
    // and a second press on the chosen eraser opens slide-to-clear.
    void toolKeysClickTheButtons()
    {
        SkedaTool* tool = m_board->tool();
        QSignalSpy erase(tool, &SkedaTool::sigEraseBtn);
        QSignalSpy pen(tool, &SkedaTool::sigPen);
        QSignalSpy desktop(tool, &SkedaTool::sigSelectDesktop);
        MyMiniGraphicsView* view = m_board->view();
        auto* panel = m_board->findChild<EarsePanel*>();
        QVERIFY(panel);

        QVERIFY(press(m_board, "e"));
        QTRY_COMPARE(erase.count(), 1);
        QCOMPARE(view->tool(), MyMiniGraphicsView::EraseTool);
        QVERIFY(!panel->isVisible());
        QVERIFY(press(m_board, "e"));
        QTRY_VERIFY(panel->isVisible());
        QCOMPARE(erase.count(), 2);

        QVERIFY(press(tool, "p"));
        QTRY_COMPARE(pen.count(), 1);
        QCOMPARE(view->tool(), MyMiniGraphicsView::PenTool);
        QVERIFY(!panel->isVisible());

        QVERIFY(press(m_board, "d"));
        QTRY_COMPARE(desktop.count(), 1);
        QVERIFY(press(m_board, "p"));
        QTRY_COMPARE(pen.count(), 2);
        // Leaving desktop mode through the pen: the select button is
        // switched off, which the toolbar reports as well.
        QCOMPARE(desktop.count(), 2);
    }

    void escapeClosesTheBoard()
    {
        QSignalSpy closed(m_board, &MainWindow::sigSkedaClose);
        QVERIFY(press(m_board, "Escape"));
        QTRY_COMPARE(closed.count(), 1);
        QVERIFY(!m_board->isVisible());
        QVERIFY(!m_board->tool()->isVisible());
    }

    // In the screenshot overlay Esc cancels it (the board stays), Enter
    // confirms a selection.
    void screenshotKeys()
    {
        QSignalSpy closed(m_board, &MainWindow::sigSkedaClose);
        QSignalSpy shot(m_board, &MainWindow::sigScreenShotPixmap);
        QVERIFY(press(m_board, "s"));
        QTRY_VERIFY(overlayOf(m_board));
        QVERIFY(press(overlayOf(m_board), "Escape"));
        QTRY_VERIFY(!overlayOf(m_board));
        QVERIFY(m_board->isVisible());
        QCOMPARE(closed.count(), 0);

        QVERIFY(press(m_board, "s"));
        QTRY_VERIFY(overlayOf(m_board));
        ScreenShot* overlay = overlayOf(m_board);
        QVERIFY(QTest::qWaitForWindowExposed(overlay));
        // Enter without a selection confirms nothing.
        QVERIFY(press(overlay, "Return"));
        QVERIFY(X11Desktop::syncEvents());
        QCOMPARE(shot.count(), 0);
        QVERIFY(X11Desktop::drag({QPoint(300, 200), QPoint(400, 280), QPoint(500, 360)}));
        QVERIFY(press(overlay, "Return"));
        QTRY_COMPARE(shot.count(), 1);
        const QPixmap picture = shot.first().first().value<QPixmap>();
        // The selection runs from the press to the release, both included.
        QCOMPARE(picture.size(), QSize(201, 161));
        QVERIFY(!m_board->isVisible());
        QCOMPARE(closed.count(), 0);
    }

private:
    // Makes the window the active one, as a click on it would, and presses
    // the keys for real. The toolbar and the screenshot overlay are tool
    // windows of the board, which Qt counts as active as soon as the board
    // is; the keys go where the X server has put the focus, so this waits
    // until the focus has reached this very window.
    static bool press(QWidget* window, const char* keys)
    {
        window->activateWindow();
        if (!QTest::qWaitFor([window] {
                return window->windowHandle() &&
                       QGuiApplication::focusWindow() == window->windowHandle();
            })) {
            qWarning("the window did not get the keyboard focus");
            return false;
        }
        return X11Desktop::xdotool({QStringLiteral("key"), QString::fromLatin1(keys)});
    }

    MainWindow* m_board = nullptr;
    MyMiniGraphicsScene* m_scene = nullptr;
};

QTEST_MAIN(TestShortcuts)
#include "tst_shortcuts.moc"
