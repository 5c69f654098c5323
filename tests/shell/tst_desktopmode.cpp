// Desktop mode: the board's X11 input shape emptied and restored, and real
// clicks falling through to the window below while the drawing stays.

#include "canvas/minipathopermodel.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "shell/mainwindow.h"
#include "tests/support/desktopwindow.h"
#include "tests/support/heapusage.h"
#include "tests/support/x11desktop.h"

#include <QX11Info>
#include <QtTest>

#include <X11/Xlib.h>
#include <X11/extensions/shape.h>

namespace {

QStringList messages;
void collect(QtMsgType, const QMessageLogContext&, const QString& message)
{
    messages.append(message);
}

} // namespace

class TestDesktopMode : public QObject
{
    Q_OBJECT

private slots:
    void init() { messages.clear(); }

    // Run on an X server with the SHAPE extension.
    void inputShapeIsEmptiedAndRestored()
    {
        MainWindow board;
        board.initUI();
        board.showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(&board));
        QCOMPARE(X11Desktop::inputShape(QX11Info::display(), board.winId()),
                 QVector<QRect>{QRect(0, 0, 1920, 1080)});

        const QtMessageHandler previous = qInstallMessageHandler(collect);
        board.selectDesktop(true);
        qInstallMessageHandler(previous);
        QCOMPARE(messages, QStringList{QStringLiteral("qx====")});
        QCOMPARE(X11Desktop::inputShape(QX11Info::display(), board.winId()), QVector<QRect>());

        // Entering again changes nothing.
        board.selectDesktop(true);
        QCOMPARE(X11Desktop::inputShape(QX11Info::display(), board.winId()), QVector<QRect>());

        messages.clear();
        qInstallMessageHandler(collect);
        board.selectDesktop(false);
        qInstallMessageHandler(previous);
        QVERIFY(messages.isEmpty());
        QCOMPARE(X11Desktop::inputShape(QX11Info::display(), board.winId()),
                 QVector<QRect>{QRect(0, 0, 1920, 1080)});
        board.selectDesktop(false);
        QCOMPARE(X11Desktop::inputShape(QX11Info::display(), board.winId()),
                 QVector<QRect>{QRect(0, 0, 1920, 1080)});
    }

    // Real clicks (XTEST): in desktop mode a click over a drawn stroke
    // reaches the window below; after leaving it, dragging draws again.
    void clicksFallThroughAndDrawingComesBack()
    {
        DesktopWindow desktop;
        desktop.show();
        QVERIFY(QTest::qWaitForWindowExposed(&desktop));
        MainWindow board;
        board.initUI();
        board.showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(&board));
        MyMiniGraphicsScene* scene = board.scene();

        QVERIFY(X11Desktop::drag({{400, 500}, {450, 500}, {500, 500}, {550, 500}, {600, 500}}));
        QTRY_VERIFY(scene->items().size() > 1);
        const int drawn = scene->items().size();
        QCOMPARE(desktop.presses.size(), 0);

        board.selectDesktop(true);
        QVERIFY(X11Desktop::click(QPoint(500, 500)));
        QTRY_COMPARE(desktop.presses, QVector<QPoint>{QPoint(500, 500)});
        QCOMPARE(scene->items().size(), drawn); // the drawing stays, untouched
        QVERIFY(board.isVisible());

        board.selectDesktop(false);
        QVERIFY(X11Desktop::drag({{400, 800}, {500, 800}, {600, 800}, {700, 800}}));
        QTRY_VERIFY(scene->items().size() > drawn);
        QCOMPARE(desktop.presses.size(), 1);
        QCOMPARE(board.view()->pathOperation()->pointMap().value(101).first(), QPointF(400, 800));
    }

    // Found by the soak test (tests/soak): every switch of the mode left some
    // 30 bytes in Xlib for good (its record of the request sent, kept while
    // xcb owns the event queue and Xlib never reads), 0.6 MB per 20,000
    // switches. Run on an X server with the SHAPE extension.
    void switchingKeepsNoMemory()
    {
        MainWindow board;
        board.initUI();
        board.showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(&board));
        // The mode's debug line, 10,000 times, is not wanted here.
        const QtMessageHandler previous =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
        const auto switchMode = [&board](int times) {
            for (int i = 0; i < times; ++i) {
                board.selectDesktop(i % 2 == 0);
                if (i % 50 == 0)
                    QCoreApplication::processEvents();
            }
            QVERIFY(X11Desktop::syncEvents());
        };
        switchMode(200);
        const qint64 before = HeapUsage::bytesInUse();
        switchMode(20000);
        const qint64 after = HeapUsage::bytesInUse();
        qInstallMessageHandler(previous);
        QVERIFY2(after - before < 100 * 1024,
                 qPrintable(QStringLiteral("%1 bytes more").arg(after - before)));
        QCOMPARE(X11Desktop::inputShape(QX11Info::display(), board.winId()),
                 QVector<QRect>{QRect(0, 0, 1920, 1080)});
    }

    // Run on an X server without SHAPE: the board falls back to a window that
    // is transparent for input, says so once, and keeps working.
    void withoutShapeExtension()
    {
        QVERIFY(QX11Info::isPlatformX11());
        int eventBase = 0;
        int errorBase = 0;
        QVERIFY(!XShapeQueryExtension(QX11Info::display(), &eventBase, &errorBase));
        fallbackWarnsOnceAndKeepsTheBoard(
            QStringLiteral("MainWindow: the X server has no SHAPE extension; desktop mode makes "
                           "the whole board window transparent for input instead of emptying "
                           "its input shape"));
    }

    // Run on the offscreen platform.
    void withoutX11()
    {
        QVERIFY(!QX11Info::isPlatformX11());
        fallbackWarnsOnceAndKeepsTheBoard(
            QStringLiteral("MainWindow: this is not an X11 session; desktop mode makes the whole "
                           "board window transparent for input instead of emptying its input "
                           "shape"));
    }

private:
    void fallbackWarnsOnceAndKeepsTheBoard(const QString& warning)
    {
        MainWindow board;
        board.initUI();
        board.showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(&board));
        QWidget* viewport = board.view()->viewport();
        QTest::mousePress(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
        QTest::mouseMove(viewport, QPoint(130, 100));
        QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(130, 100));
        const QList<QGraphicsItem*> items = board.scene()->items();
        QVERIFY(!items.isEmpty());

        const QtMessageHandler previous = qInstallMessageHandler(collect);
        board.selectDesktop(true);
        board.selectDesktop(false);
        board.selectDesktop(true);
        qInstallMessageHandler(previous);
        QCOMPARE(messages.count(warning), 1);
        QCOMPARE(messages.count(QStringLiteral("qx====")), 2);
        QVERIFY(board.windowFlags().testFlag(Qt::WindowTransparentForInput));
        QVERIFY(board.isVisible());
        QCOMPARE(board.scene()->items(), items);

        board.selectDesktop(false);
        QVERIFY(!board.windowFlags().testFlag(Qt::WindowTransparentForInput));
        QVERIFY(board.windowFlags().testFlag(Qt::FramelessWindowHint));
        QVERIFY(board.isVisible());
        QVERIFY(QTest::qWaitForWindowExposed(&board));
        QTest::mousePress(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(100, 300));
        QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(100, 300));
        QCOMPARE(board.scene()->items().size(), items.size() + 1);
    }
};

QTEST_MAIN(TestDesktopMode)
#include "tst_desktopmode.moc"
