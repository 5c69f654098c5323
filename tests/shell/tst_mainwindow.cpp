// The board window on a real X server (a private Xvfb).

#include "canvas/minipathitem.h"
#include "canvas/minipathopermodel.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "common/common.h"
#include "shell/mainwindow.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QScreen>
#include <QtTest>

class TestMainWindow : public QObject
{
    Q_OBJECT

private slots:
    // Run on a 1920x1080 screen.
    void fullHdBoard()
    {
        QCOMPARE(QGuiApplication::primaryScreen()->geometry(), QRect(0, 0, 1920, 1080));
        MainWindow window;
        QCOMPARE(Common::getInstance()->getDeskSize(), QSize(1920, 1080));
        QCOMPARE(Common::getInstance()->getScale(), 1.0);
        QVERIFY(window.windowFlags().testFlag(Qt::FramelessWindowHint));
        QVERIFY(window.testAttribute(Qt::WA_TranslucentBackground));
        QCOMPARE(window.view()->styleSheet(),
                 QStringLiteral("QGraphicsView{background-color: transparent; border: none;}"));
        QCOMPARE(window.view()->parentWidget(), &window);
        auto* layout = qobject_cast<QHBoxLayout*>(window.layout());
        QVERIFY(layout);
        QCOMPARE(layout->contentsMargins(), QMargins(0, 0, 0, 0));
        QCOMPARE(layout->count(), 1);
        QCOMPARE(layout->itemAt(0)->widget(), window.view());
        QVERIFY(!window.scene());

        window.initUI();
        QCOMPARE(window.size(), QSize(1920, 1080));
        QCOMPARE(window.minimumSize(), QSize(1920, 1080));
        QCOMPARE(window.maximumSize(), QSize(1920, 1080));
        QCOMPARE(window.view()->size(), QSize(1920, 1080));
        QVERIFY(window.scene());
        QCOMPARE(window.scene()->sceneRect(), QRectF(0, 0, 1920, 1080));
        QCOMPARE(window.view()->scene(), window.scene());
        QCOMPARE(window.view()->sceneData(), window.scene());
        QCOMPARE(window.scene()->parent(), window.view());
        QCOMPARE(window.view()->operationType(), PenOperation);
        QVERIFY(window.view()->currentOperation());
        QCOMPARE(window.view()->currentOperation(),
                 static_cast<BaseOperation*>(window.view()->pathOperation()));
        QVERIFY(!window.isVisible());

        window.showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(window.geometry(), QRect(0, 0, 1920, 1080));
        QCOMPARE(window.view()->geometry(), QRect(0, 0, 1920, 1080));
    }

    // Run on a 1366x768 screen: nothing is scaled down.
    void narrowBoard()
    {
        QCOMPARE(QGuiApplication::primaryScreen()->geometry(), QRect(0, 0, 1366, 768));
        MainWindow window;
        window.initUI();
        QCOMPARE(Common::getInstance()->getScale(), 1.0);
        QCOMPARE(Common::getInstance()->getNewSize(80), 80);
        QCOMPARE(Common::getInstance()->getNewSize(100, 150), QSize(100, 150));
        QCOMPARE(window.size(), QSize(1366, 768));
        QCOMPARE(window.view()->size(), QSize(1366, 768));
        QCOMPARE(window.scene()->sceneRect(), QRectF(0, 0, 1366, 768));
    }

    // Closing only hides the board; the strokes are there when it comes back.
    void strokesSurviveCloseAndShow()
    {
        MainWindow window;
        window.initUI();
        window.showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(&window));

        QWidget* viewport = window.view()->viewport();
        QTest::mousePress(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(300, 300));
        for (int x = 310; x <= 600; x += 10)
            QTest::mouseMove(viewport, QPoint(x, 300));
        QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(600, 300));
        const QList<QGraphicsItem*> before = window.scene()->items();
        QVERIFY(before.size() > 1);

        window.close();
        QVERIFY(!window.isVisible());
        window.showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(window.scene()->items(), before);
        const QImage image = window.grab().toImage();
        QCOMPARE(image.pixelColor(450, 300), QColor(0xF7, 0x38, 0x59));
    }

    void viewPixmapCoversTheScreen()
    {
        MainWindow window;
        window.initUI();
        window.showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QWidget* viewport = window.view()->viewport();
        QTest::mousePress(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(100, 900));
        for (int y = 890; y >= 700; y -= 10)
            QTest::mouseMove(viewport, QPoint(100, y));
        QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(100, 700));

        const QPixmap pixmap = window.view()->getViewToPixmap();
        QCOMPARE(pixmap.size(), QSize(1920, 1080));
        const QImage image = pixmap.toImage();
        QCOMPARE(image.pixelColor(100, 800), QColor(0xF7, 0x38, 0x59));
    }
};

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
