// The eraser under real input on an X server: a drag made with xdotool (the
// XTEST extension, as a pointing device would) travels through the X server,
// the platform plugin and the board's event routing. The strokes crossed by
// the drag must be cut along the eraser's band. A picture of the board is
// kept in docs/eraser.png when SKEDA_DOCS_DIR names the docs folder.

#include "canvas/minipathitem.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "eraser/minieraseopermodel.h"
#include "shell/mainwindow.h"

#include <QDir>
#include <QGraphicsPixmapItem>
#include <QGuiApplication>
#include <QPainterPath>
#include <QProcess>
#include <QScreen>
#include <QStandardPaths>
#include <QtTest>

#include <algorithm>

namespace {

MiniPathItem* addLine(QGraphicsScene* scene, const QPointF& from, const QPointF& to,
                      const QColor& colour)
{
    auto* item = new MiniPathItem();
    QPainterPath path;
    path.moveTo(from);
    path.lineTo(to);
    item->setPen(QPen(colour, 6));
    item->setPath(path);
    scene->addItem(item);
    return item;
}

// The vertical spans [top, bottom] of the strokes that lie at x, zero-length
// leftovers left out.
QList<QPair<double, double>> spansAt(QGraphicsScene* scene, double x)
{
    QList<QPair<double, double>> spans;
    const QList<QGraphicsItem*> items = scene->items();
    for (QGraphicsItem* item : items) {
        auto* stroke = dynamic_cast<MiniPathItem*>(item);
        if (!stroke)
            continue;
        const QPolygonF points = stroke->getPolygon();
        if (points.size() < 2 || !qFuzzyCompare(points.first().x(), x))
            continue;
        double top = points.first().y();
        double bottom = top;
        for (const QPointF& p : points) {
            top = qMin(top, p.y());
            bottom = qMax(bottom, p.y());
        }
        if (bottom > top)
            spans.append({top, bottom});
    }
    std::sort(spans.begin(), spans.end());
    return spans;
}

} // namespace

class TestEraserInput : public QObject
{
    Q_OBJECT

private slots:
    void dragWithARealPointer()
    {
        const QString xdotool = QStandardPaths::findExecutable(QStringLiteral("xdotool"));
        if (xdotool.isEmpty())
            QSKIP("xdotool is not installed");
        QCOMPARE(QGuiApplication::platformName(), QStringLiteral("xcb"));
        QCOMPARE(QGuiApplication::primaryScreen()->geometry(), QRect(0, 0, 1920, 1080));

        MainWindow window;
        window.initUI();
        window.showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        MyMiniGraphicsView* view = window.view();
        MyMiniGraphicsScene* scene = window.scene();
        view->setTool(MyMiniGraphicsView::EraseTool);

        // Vertical strokes across the path of the drag, placed off the
        // 40-pixel grid of the pointer so that no step's corner meets them;
        // two that the drag does not reach; two horizontal strokes above and
        // below the band.
        const QColor colours[] = {QColor("#F73859"), QColor("#3A7BD5"), QColor("#2BB673"),
                                  QColor("#F5A623")};
        QList<double> cut;
        for (int i = 0; i < 13; ++i) {
            const double x = 317 + 100 * i;
            cut.append(x);
            addLine(scene, {x, 200}, {x, 800}, colours[i % 4]);
        }
        addLine(scene, {150, 200}, {150, 800}, QColor("#DDDDDD"));
        addLine(scene, {1700, 200}, {1700, 800}, QColor("#DDDDDD"));
        addLine(scene, {100, 300}, {1800, 300}, QColor("#8E44AD"));
        addLine(scene, {100, 700}, {1800, 700}, QColor("#8E44AD"));

        // Press at (250,500), drag right in 40-pixel steps to (1570,500),
        // release. The band is y 425..575 from x 200 to x 1620.
        const QPoint origin = view->viewport()->mapToGlobal(QPoint(0, 0));
        QStringList commands{QStringLiteral("mousemove"),
                             QString::number(origin.x() + 250),
                             QString::number(origin.y() + 500),
                             QStringLiteral("sleep"),
                             QStringLiteral("0.2"),
                             QStringLiteral("mousedown"),
                             QStringLiteral("1")};
        for (int x = 290; x <= 1570; x += 40) {
            commands << QStringLiteral("sleep") << QStringLiteral("0.02")
                     << QStringLiteral("mousemove") << QString::number(origin.x() + x)
                     << QString::number(origin.y() + 500);
        }
        commands << QStringLiteral("sleep") << QStringLiteral("0.1") << QStringLiteral("mouseup")
                 << QStringLiteral("1");

        QProcess process;
        process.start(xdotool, commands);
        QVERIFY(process.waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(process.state() == QProcess::NotRunning, 20000);
        QCOMPARE(process.exitCode(), 0);

        MiniEraseOperModel* eraser = view->eraseOperation();
        QTRY_VERIFY(eraser->earseItem() && !eraser->earseItem()->scene());
        QCOMPARE(eraser->lastPnt(), QPointF(1570, 500));

        for (double x : qAsConst(cut)) {
            const QList<QPair<double, double>> spans = spansAt(scene, x);
            QCOMPARE(spans.size(), 2);
            QCOMPARE(spans.at(0).first, 200.0);
            QCOMPARE(spans.at(0).second, 425.0);
            QCOMPARE(spans.at(1).first, 575.0);
            QCOMPARE(spans.at(1).second, 800.0);
        }
        for (double x : {150.0, 1700.0}) {
            const QList<QPair<double, double>> spans = spansAt(scene, x);
            QCOMPARE(spans.size(), 1);
            QCOMPARE(spans.first(), qMakePair(200.0, 800.0));
        }

        // For the docs: a picture with the eraser shown where the drag ended.
        const QString docs = qEnvironmentVariable("SKEDA_DOCS_DIR");
        if (docs.isEmpty())
            return;
        eraser->earseItem()->setOffset(1570 - eraser->halfWidth(), 500 - eraser->halfHeight());
        scene->addItem(eraser->earseItem());
        // The scene reports the change, then the viewport repaints: two
        // rounds of posted events.
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
        const QPixmap shot = QGuiApplication::primaryScreen()->grabWindow(window.winId());
        QVERIFY(!shot.isNull());
        QVERIFY(shot.save(QDir(docs).filePath(QStringLiteral("eraser.png"))));
        scene->removeItem(eraser->earseItem());
    }
};

QTEST_MAIN(TestEraserInput)
#include "tst_eraserinput.moc"
