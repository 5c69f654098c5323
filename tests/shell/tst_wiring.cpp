// The board driven from its toolbar on a real X server: placement, the six
// commands, desktop mode with the toolbar still usable, and a screenshot
// taken with real clicks and drags from start to the host's pixmap.

#include "canvas/minipathopermodel.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "eraser/minieraseopermodel.h"
#include "screenshot/screenshot.h"
#include "shell/mainwindow.h"
#include "tests/support/desktopwindow.h"
#include "tests/support/x11desktop.h"
#include "toolbar/skedatool.h"
#include "widgets/mpushbutton_1.h"

#include <QQuickWidget>
#include <QX11Info>
#include <QtTest>

#include <X11/Xlib.h>

namespace {

// The board's input shape while it takes input: the whole 1920 x 1080 screen.
const QVector<QRect> kWholeBoard{QRect(0, 0, 1920, 1080)};

QPoint centreOf(QWidget* widget)
{
    return widget->mapToGlobal(widget->rect().center());
}

} // namespace

class TestWiring : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_desktop = new DesktopWindow;
        m_desktop->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_desktop));
        m_board = new MainWindow;
        m_board->initUI();
        m_board->showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(m_board));
        m_tool = m_board->tool();
        QVERIFY(m_tool);
        QVERIFY(QTest::qWaitForWindowExposed(m_tool));
    }

    void cleanup()
    {
        delete m_board;
        delete m_desktop;
    }

    // 80 design pixels from the left and from the bottom: (80, 1080 - 80 - 68).
    void toolbarPlacement()
    {
        QCOMPARE(m_tool->parent(), m_board);
        QVERIFY(m_tool->isWindow());
        QVERIFY(m_tool->isVisible());
        QCOMPARE(m_tool->pos(), QPoint(80, 932));
        QCOMPARE(m_tool->size(), QSize(370, 68));
        QCOMPARE(m_tool->getMainWidget(), static_cast<QWidget*>(m_board));
    }

    void closeCommand()
    {
        QSignalSpy closed(m_board, &MainWindow::sigSkedaClose);
        bool hiddenFirst = false;
        QObject scope; // the check lives as long as this test
        connect(m_board, &MainWindow::sigSkedaClose, &scope,
                [&] { hiddenFirst = !m_board->isVisible() && !m_tool->isVisible(); });
        QVERIFY(QMetaObject::invokeMethod(m_tool, "sigClose"));
        QCOMPARE(closed.count(), 1);
        QVERIFY(hiddenFirst);
        QVERIFY(!m_board->isVisible());
        QVERIFY(!m_tool->isVisible());

        // The host shows the board again: strokes, toolbar and all.
        m_board->showSkeda();
        QVERIFY(m_board->isVisible());
        QVERIFY(m_tool->isVisible());
        QCOMPARE(closed.count(), 1);
    }

    void penEraserAndSelectCommands()
    {
        MyMiniGraphicsView* view = m_board->view();
        QVERIFY(QMetaObject::invokeMethod(m_tool, "sigSelectDesktop"));
        QCOMPARE(X11Desktop::inputShape(QX11Info::display(), m_board->winId()), QVector<QRect>());
        QCOMPARE(view->operationType(), PenOperation); // select leaves the tool

        QVERIFY(QMetaObject::invokeMethod(m_tool, "sigEraseBtn"));
        QCOMPARE(X11Desktop::inputShape(QX11Info::display(), m_board->winId()), kWholeBoard);
        QCOMPARE(view->tool(), MyMiniGraphicsView::EraseTool);
        QCOMPARE(view->currentOperation(), static_cast<BaseOperation*>(view->eraseOperation()));

        QVERIFY(QMetaObject::invokeMethod(m_tool, "sigSelectDesktop"));
        QCOMPARE(X11Desktop::inputShape(QX11Info::display(), m_board->winId()), QVector<QRect>());
        QCOMPARE(view->operationType(), EraseOperation);

        QVERIFY(QMetaObject::invokeMethod(m_tool, "sigPen"));
        QCOMPARE(X11Desktop::inputShape(QX11Info::display(), m_board->winId()), kWholeBoard);
        QCOMPARE(view->tool(), MyMiniGraphicsView::PenTool);
        QCOMPARE(view->currentOperation(), static_cast<BaseOperation*>(view->pathOperation()));
    }

    void clearCommand()
    {
        QWidget* viewport = m_board->view()->viewport();
        QTest::mousePress(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(300, 300));
        QTest::mouseMove(viewport, QPoint(400, 300));
        QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(400, 300));
        QVERIFY(!m_board->scene()->items().isEmpty());
        QVERIFY(QMetaObject::invokeMethod(m_tool, "sigClear"));
        QVERIFY(m_board->scene()->items().isEmpty());
    }

    // Every press on the canvas folds the toolbar's pop-ups away first.
    void pressOnTheBoardHidesThePopups()
    {
        auto* popup = m_board->findChild<QQuickWidget*>();
        QVERIFY(popup);
        // The pen is the tool: a click on its button opens the popup.
        QVERIFY(X11Desktop::click(QPoint(80 + 134 + 27, 932 + 7 + 27)));
        QTRY_VERIFY(popup->isVisible());
        QVERIFY(X11Desktop::click(QPoint(900, 300)));
        QTRY_VERIFY(!popup->isVisible());
    }

    // A real click in desktop mode falls through the board onto the window
    // below; the toolbar still takes clicks and brings the pen back.
    void desktopModeFromTheToolbar()
    {
        const QPoint select(80 + 74 + 27, 932 + 7 + 27);
        const QPoint pen(80 + 134 + 27, 932 + 7 + 27);
        QSignalSpy selected(m_tool, &SkedaTool::sigSelectDesktop);
        QVERIFY(X11Desktop::click(select));
        QTRY_COMPARE(selected.count(), 1);
        QCOMPARE(X11Desktop::inputShape(QX11Info::display(), m_board->winId()), QVector<QRect>());

        QVERIFY(X11Desktop::click(QPoint(1000, 500)));
        QTRY_COMPARE(m_desktop->presses, QVector<QPoint>{QPoint(1000, 500)});
        QVERIFY(m_board->scene()->items().isEmpty());

        QSignalSpy penChosen(m_tool, &SkedaTool::sigPen);
        QVERIFY(X11Desktop::click(pen));
        QTRY_COMPARE(penChosen.count(), 1);
        QCOMPARE(X11Desktop::inputShape(QX11Info::display(), m_board->winId()), kWholeBoard);
        // The drag draws on the board (a busy machine may merge its moves
        // into fewer items) and nothing of it reaches the window below.
        QVERIFY(X11Desktop::drag({{900, 600}, {950, 600}, {1000, 600}, {1050, 600}}));
        QTRY_VERIFY(!m_board->scene()->items().isEmpty());
        QVERIFY(X11Desktop::syncEvents());
        QCOMPARE(m_desktop->presses, QVector<QPoint>{QPoint(1000, 500)});
    }

    // The screenshot button, a dragged rectangle moved past the left edge,
    // confirm: the board closes and hands over exactly that part of the
    // screen.
    void screenshotFromTheToolbar()
    {
        QSignalSpy shots(m_board, &MainWindow::sigScreenShotPixmap);
        QVERIFY(X11Desktop::click(QPoint(80 + 254 + 27, 932 + 7 + 27)));
        ScreenShot* overlay = nullptr;
        QTRY_VERIFY((overlay = m_board->findChild<ScreenShot*>()) != nullptr);
        QVERIFY(QTest::qWaitForWindowExposed(overlay));
        QVERIFY(X11Desktop::syncEvents());

        QVERIFY(X11Desktop::drag({{300, 200}, {400, 260}, {500, 320}, {600, 400}}));
        QTRY_COMPARE(overlay->selection(), QRect(QPoint(300, 200), QPoint(600, 400)));
        // Move it by its inside past the left edge: x1 stays at 0.
        QVERIFY(X11Desktop::drag({{450, 300}, {300, 300}, {100, 300}, {0, 300}}));
        QTRY_COMPARE(overlay->selection(), QRect(QPoint(0, 200), QPoint(300, 400)));

        QTRY_VERIFY(overlay->confirmButton()->isVisible());
        QVERIFY(X11Desktop::click(centreOf(overlay->confirmButton())));
        QTRY_COMPARE_WITH_TIMEOUT(shots.count(), 1, 10000);
        const QPixmap pixmap = shots.first().first().value<QPixmap>();
        QCOMPARE(pixmap.size(), QSize(301, 201));
        QCOMPARE(pixmap.toImage().convertToFormat(QImage::Format_RGB32),
                 DesktopWindow::pattern().copy(QRect(0, 200, 301, 201)));
        QVERIFY(!m_board->isVisible());
        QVERIFY(!m_tool->isVisible());
        QTRY_VERIFY(m_board->findChildren<ScreenShot*>().isEmpty());
    }

    // Each command makes an overlay of its own; each finished one hands over
    // its own picture.
    void twoScreenshotCommands()
    {
        QSignalSpy shots(m_board, &MainWindow::sigScreenShotPixmap);
        QVERIFY(QMetaObject::invokeMethod(m_tool, "sigScreenShot"));
        QVERIFY(QMetaObject::invokeMethod(m_tool, "sigScreenShot"));
        const QList<ScreenShot*> overlays = m_board->findChildren<ScreenShot*>();
        QCOMPARE(overlays.size(), 2);
        QVERIFY(overlays.at(0) != overlays.at(1));
        for (ScreenShot* overlay : overlays)
            QVERIFY(overlay->isVisible());

        const QList<QRect> rects{QRect(QPoint(100, 100), QPoint(199, 149)),
                                 QRect(QPoint(700, 500), QPoint(759, 539))};
        for (int i = 1; i >= 0; --i) {
            ScreenShot* overlay = overlays.at(i);
            overlay->raise();
            overlay->activateWindow();
            X11Desktop::syncApplication();
            QVERIFY(X11Desktop::drag(
                {rects.at(i).topLeft(), rects.at(i).center(), rects.at(i).bottomRight()}));
            QTRY_COMPARE(overlay->selection(), rects.at(i));
            QTRY_VERIFY(overlay->confirmButton()->isVisible());
            const int before = shots.count();
            QVERIFY(X11Desktop::click(centreOf(overlay->confirmButton())));
            QTRY_COMPARE_WITH_TIMEOUT(shots.count(), before + 1, 10000);
            const QPixmap pixmap = shots.last().first().value<QPixmap>();
            QCOMPARE(pixmap.size(), rects.at(i).size());
        }
        QCOMPARE(shots.count(), 2);
    }

private:
    DesktopWindow* m_desktop = nullptr;
    MainWindow* m_board = nullptr;
    SkedaTool* m_tool = nullptr;
};

QTEST_MAIN(TestWiring)
#include "tst_wiring.moc"
