#include "canvas/minipathitem.h"
#include "tests/support/heapusage.h"

#include <QGraphicsScene>
#include <QPainter>
#include <QtTest>

#include <memory>
#include <vector>

Q_DECLARE_METATYPE(QPainterPath)

namespace {

QImage render(MiniPathItem& item, const QSize& size = QSize(200, 200))
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    item.paint(&painter, nullptr, nullptr);
    painter.end();
    return image;
}

// The item's ink in a 200x200 image, antialiased, clipped to `clip` unless
// that is empty: the whole stroke, or, when `areas` are given, only what it
// draws near them (`bounds` holds them all).
QImage inkImage(const MiniPathItem& item, const QRegion& clip, const QRectF& bounds = QRectF(),
                const QVector<QRectF>* areas = nullptr)
{
    QImage image(200, 200, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!clip.isEmpty())
        painter.setClipRegion(clip);
    if (areas)
        item.paintInkWithin(&painter, bounds, *areas);
    else
        item.paintInk(&painter);
    painter.end();
    return image;
}

// A move to the first point, then a line to each further one.
QPainterPath polylinePath(const QVector<QPointF>& points)
{
    QPainterPath path;
    path.addPolygon(QPolygonF(points));
    return path;
}

// A move and a line for each pair of points.
QPainterPath segmentsPath(const QVector<QPointF>& ends)
{
    QPainterPath path;
    for (int i = 0; i + 1 < ends.size(); i += 2) {
        path.moveTo(ends.at(i));
        path.lineTo(ends.at(i + 1));
    }
    return path;
}

bool allTransparent(const QImage& image)
{
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qAlpha(image.pixel(x, y)) != 0)
                return false;
    return true;
}

} // namespace

class TestMiniPathItem : public QObject
{
    Q_OBJECT

private slots:
    void construction()
    {
        MiniPathItem item;
        QCOMPARE(item.type(), 65537);
        QCOMPARE(item.type(), int(QGraphicsItem::UserType + 1));
        QCOMPARE(item.cacheMode(), QGraphicsItem::DeviceCoordinateCache);
        QVERIFY(!item.isSinglePnt());
        QVERIFY(item.path().isEmpty());
        QCOMPARE(item.pos(), QPointF(0, 0));
        QCOMPARE(item.pen(), QPen());
    }

    void emptyItem()
    {
        MiniPathItem item;
        item.setPen(QPen(Qt::red, 6));
        QVERIFY(allTransparent(render(item)));
        QVERIFY(item.boundingRect().isEmpty());
        QVERIFY(item.getPolygon().isEmpty());
    }

    void penIsForcedRound()
    {
        MiniPathItem item;
        QPen square(Qt::blue, 4, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin);
        item.setPen(square);
        QCOMPARE(item.pen().capStyle(), Qt::RoundCap);
        QCOMPARE(item.pen().joinStyle(), Qt::RoundJoin);
        QCOMPARE(item.pen().width(), 4);
        QCOMPARE(item.pen().color(), QColor(Qt::blue));

        item.setPenWidth(9);
        QCOMPARE(item.pen().width(), 9);
        QCOMPARE(item.pen().capStyle(), Qt::RoundCap);

        // setPenWidth alone leaves cap and join as the pen had them: a
        // default pen's square cap and bevel join.
        MiniPathItem fresh;
        fresh.setPenWidth(5);
        QCOMPARE(fresh.pen().width(), 5);
        QCOMPARE(fresh.pen().capStyle(), Qt::SquareCap);
        QCOMPARE(fresh.pen().joinStyle(), Qt::BevelJoin);
    }

    // The stroker has square caps: a 100-pixel line at width 6 is bounded
    // 3 pixels beyond each end and each side; the shape is half as wide.
    void boundsAndShape()
    {
        MiniPathItem item;
        item.setPen(QPen(Qt::red, 6));
        QPainterPath line;
        line.moveTo(10, 10);
        line.lineTo(110, 10);
        item.setPath(line);
        QCOMPARE(item.boundingRect(), QRectF(7, 7, 106, 6));
        QCOMPARE(item.shape().boundingRect(), QRectF(8.5, 8.5, 103, 3));
        QVERIFY(item.shape().contains(QPointF(60, 11.4)));
        QVERIFY(!item.shape().contains(QPointF(60, 11.6)));

        item.setPenWidth(10);
        QCOMPARE(item.boundingRect(), QRectF(5, 5, 110, 10));
        QCOMPARE(item.shape().boundingRect(), QRectF(7.5, 7.5, 105, 5));

        // The stroker takes a width of 0 (Qt's cosmetic pen) as 1 pixel.
        item.setPenWidth(0);
        QCOMPARE(item.boundingRect(), QRectF(9.5, 9.5, 101, 1));
    }

    void strokedPath()
    {
        MiniPathItem item;
        item.setPen(QPen(QColor(0, 0, 255), 6));
        QPainterPath line;
        line.moveTo(20, 50);
        line.lineTo(180, 50);
        item.setPath(line);
        const QImage image = render(item);
        QCOMPARE(image.pixelColor(100, 50), QColor(0, 0, 255));
        QCOMPARE(image.pixelColor(100, 52), QColor(0, 0, 255));
        QCOMPARE(qAlpha(image.pixel(100, 56)), 0);
        // Round cap: reaches 3 pixels past the end on the axis only.
        QCOMPARE(image.pixelColor(181, 50), QColor(0, 0, 255));
        QCOMPARE(qAlpha(image.pixel(184, 50)), 0);
        QCOMPARE(qAlpha(image.pixel(183, 47)), 0);
    }

    // A tap is filled in the pen's colour; the pen's width does not widen it.
    void singlePointIsFilled()
    {
        MiniPathItem item;
        item.setPen(QPen(QColor(0xF7, 0x38, 0x59), 20));
        item.setSinglePnt(true);
        QVERIFY(item.isSinglePnt());
        QPainterPath dot;
        dot.moveTo(95, 95);
        dot.addEllipse(QRectF(95, 95, 10, 10));
        dot.closeSubpath();
        item.setPath(dot);
        const QImage image = render(item);
        QCOMPARE(image.pixelColor(100, 100), QColor(0xF7, 0x38, 0x59));
        QCOMPARE(image.pixelColor(96, 100), QColor(0xF7, 0x38, 0x59));
        QCOMPARE(qAlpha(image.pixel(92, 100)), 0); // inside the pen's band, outside the dot
        QCOMPARE(qAlpha(image.pixel(100, 108)), 0);

        item.setSinglePnt(false);
        const QImage stroked = render(item);
        QCOMPARE(stroked.pixelColor(92, 100), QColor(0xF7, 0x38, 0x59));
    }

    void polygonDropsTheRepeatedClosingPoint()
    {
        MiniPathItem item;
        QPainterPath open;
        open.moveTo(0, 0);
        open.lineTo(10, 0);
        open.lineTo(10, 10);
        item.setPath(open);
        QCOMPARE(item.getPolygon(),
                 QPolygonF(QVector<QPointF>{QPointF(0, 0), QPointF(10, 0), QPointF(10, 10)}));

        // A loop drawn by hand back to its start loses exactly one point.
        QPainterPath loop;
        loop.moveTo(5, 5);
        loop.lineTo(20, 5);
        loop.lineTo(20, 20);
        loop.lineTo(5, 5);
        item.setPath(loop);
        QCOMPARE(item.getPolygon(),
                 QPolygonF(QVector<QPointF>{QPointF(5, 5), QPointF(20, 5), QPointF(20, 20)}));
    }

    void polygonOfACurveIsItsFlattening()
    {
        MiniPathItem item;
        QPainterPath curve;
        curve.moveTo(0, 0);
        curve.quadTo(50, 100, 100, 0);
        item.setPath(curve);
        // The curve is (100 t, 200 t (1 - t)): every vertex lies on it, from
        // one end to the other, left to right, and the closing point that
        // flattening repeats is not there.
        const QPolygonF polygon = item.getPolygon();
        QVERIFY(polygon.size() > 3);
        QCOMPARE(polygon.first(), QPointF(0, 0));
        QCOMPARE(polygon.last(), QPointF(100, 0));
        for (int i = 0; i < polygon.size(); ++i) {
            const qreal t = polygon.at(i).x() / 100.0;
            QVERIFY(qAbs(polygon.at(i).y() - 200.0 * t * (1.0 - t)) < 1e-6);
            if (i > 0)
                QVERIFY(polygon.at(i).x() > polygon.at(i - 1).x());
        }
    }

    // Drawing within areas gives the pixels of the whole stroke there, and
    // leaves out the segments that reach none of them.
    void paintWithinAreasDrawsOnlyNearThem()
    {
        MiniPathItem item;
        item.setPen(QPen(Qt::black, 8));
        QPainterPath line;
        line.moveTo(10, 100);
        for (int x = 20; x <= 190; x += 10)
            line.lineTo(x, x % 20 == 0 ? 96 : 104);
        item.setPath(line);
        const QVector<QRectF> areas{QRectF(20, 80, 20, 40), QRectF(150, 80, 20, 40)};
        const QRectF bounds = areas.first().united(areas.last());
        QRegion clip;
        for (const QRectF& area : areas)
            clip += area.toAlignedRect();

        auto paint = [&](bool within, bool clipped) {
            return inkImage(item, clipped ? clip : QRegion(), bounds, within ? &areas : nullptr);
        };
        const QImage whole = paint(false, true);
        QCOMPARE(paint(true, true), whole);
        QCOMPARE(qAlpha(whole.pixel(30, 100)), 255);
        QCOMPARE(qAlpha(whole.pixel(160, 100)), 255);

        // Segments from x = 50 to x = 140 lie farther than half the pen and
        // a pixel from both areas; the box around both holds them.
        const QImage free = paint(true, false);
        QCOMPARE(qAlpha(free.pixel(30, 100)), 255);
        QCOMPARE(qAlpha(free.pixel(160, 100)), 255);
        for (int x = 54; x <= 136; x += 2)
            QCOMPARE(qAlpha(free.pixel(x, 100)), 0);
        QCOMPARE(qAlpha(paint(false, false).pixel(100, 100)), 255);
    }

    // Many areas, as an eraser step's region gives them (in bands from top
    // to bottom, or in any other order): the same pixels within them as the
    // whole stroke, and nothing from segments that reach none of them.
    void paintWithinManyAreas()
    {
        MiniPathItem item;
        item.setPen(QPen(Qt::black, 6));
        QPainterPath wave;
        wave.moveTo(5, 100);
        for (int x = 10; x <= 195; x += 5)
            wave.lineTo(x, 100 + 80 * std::sin(x / 15.0));
        item.setPath(wave);
        QRegion region;
        for (int i = 0; i < 12; ++i)
            region += QRect(10 + 15 * i, 15 * i, 12, 12);
        region += QRect(150, 20, 30, 8);
        QVector<QRectF> banded;
        for (const QRect& rect : region)
            banded.append(QRectF(rect));
        QVERIFY(banded.size() > 10);
        QVector<QRectF> reversed(banded.crbegin(), banded.crend());
        const QRectF bounds = region.boundingRect();

        auto paint = [&](const QVector<QRectF>* areas, bool clipped) {
            return inkImage(item, clipped ? region : QRegion(), bounds, areas);
        };
        const QImage whole = paint(nullptr, true);
        QCOMPARE(paint(&banded, true), whole);
        QCOMPARE(paint(&reversed, true), whole);
        const QImage free = paint(&banded, false);
        QCOMPARE(paint(&reversed, false), free);
        // The wave runs through the area at x 55..66, rows 45..56 (at x = 57
        // it is at y = 51.1): drawn there. At x = 47 it crosses y = 100
        // (sin(pi)), more than 40 pixels from every area: left out.
        QCOMPARE(qAlpha(whole.pixel(57, 51)), 255);
        QCOMPARE(qAlpha(free.pixel(57, 51)), 255);
        QCOMPARE(qAlpha(free.pixel(47, 100)), 0);
        QCOMPARE(qAlpha(paint(nullptr, false).pixel(47, 100)), 255);
    }

    // A finished path keeps exactly its elements, and is the same path.
    void squeezedPathIsTheSamePath()
    {
        MiniPathItem item;
        QPainterPath path;
        path.moveTo(1, 2);
        path.lineTo(3, 4);
        path.moveTo(5, 6);
        path.lineTo(7, 8);
        path.cubicTo(9, 10, 11, 12, 13, 14);
        path.setFillRule(Qt::WindingFill);
        QCOMPARE(path.elementCount(), 7);
        QCOMPARE(path.capacity(), 16);
        item.setPath(path);
        item.squeezePath();
        QCOMPARE(item.path().capacity(), 7);
        QCOMPARE(item.path().elementCount(), 7);
        for (int i = 0; i < 7; ++i) {
            QCOMPARE(item.path().elementAt(i).type, path.elementAt(i).type);
            QCOMPARE(QPointF(item.path().elementAt(i)), QPointF(path.elementAt(i)));
        }
        QCOMPARE(item.path().fillRule(), Qt::WindingFill);

        // A point repeated (which lineTo() would drop) cannot be rebuilt:
        // the path stays as it was.
        QPainterPath repeated;
        repeated.moveTo(0, 0);
        repeated.lineTo(10, 0);
        repeated.lineTo(20, 0);
        repeated.setElementPositionAt(2, 10, 0);
        item.setPath(repeated);
        item.squeezePath();
        QCOMPARE(item.path().elementCount(), 3);
        QCOMPARE(item.path().capacity(), 16);
        QCOMPARE(QPointF(item.path().elementAt(2)), QPointF(10, 0));
    }

    // Finished polylines and runs of separate segments (the pen's tail parts)
    // are kept as their points; everything the item gives is as before.
    void finishedLinesAreTheSameItem_data()
    {
        QTest::addColumn<QPainterPath>("path");
        QTest::newRow("polyline") << polylinePath(
            {{0.25, 0.5}, {40.125, 10}, {80, 60.75}, {120.5, 20}});
        QTest::newRow("loop") << polylinePath({{5, 5}, {120, 5}, {120, 120}, {5, 5}});
        QTest::newRow("segments") << segmentsPath(
            {{10, 10}, {50, 30}, {50, 30}, {90, 20}, {90, 20}, {130.5, 60.25}});
        QTest::newRow("segments apart")
            << segmentsPath({{10, 150}, {60, 150}, {100, 100}, {150, 180}});
        QTest::newRow("one point") << polylinePath({{30, 30}});
    }

    void finishedLinesAreTheSameItem()
    {
        QFETCH(QPainterPath, path);
        MiniPathItem whole;
        whole.setPen(QPen(Qt::blue, 7));
        whole.setPath(path);
        MiniPathItem finished;
        finished.setPen(QPen(Qt::blue, 7));
        finished.setPath(path);
        finished.squeezePath();

        const QPainterPath kept = finished.path();
        QCOMPARE(kept, path);
        QCOMPARE(kept.elementCount(), path.elementCount());
        QCOMPARE(kept.capacity(), path.elementCount());
        for (int i = 0; i < path.elementCount(); ++i) {
            QCOMPARE(kept.elementAt(i).type, path.elementAt(i).type);
            QCOMPARE(kept.elementAt(i).x, path.elementAt(i).x);
            QCOMPARE(kept.elementAt(i).y, path.elementAt(i).y);
        }
        QCOMPARE(kept.fillRule(), path.fillRule());
        QCOMPARE(finished.getPolygon(), whole.getPolygon());
        QCOMPARE(finished.boundingRect(), whole.boundingRect());
        QCOMPARE(finished.shape(), whole.shape());
        QCOMPARE(render(finished), render(whole));
        const QVector<QRectF> areas{QRectF(30, 0, 20, 200)};
        QCOMPARE(inkImage(finished, QRegion(), areas.first(), &areas),
                 inkImage(whole, QRegion(), areas.first(), &areas));

        // A new path replaces the points.
        QPainterPath other;
        other.moveTo(1, 1);
        other.quadTo(20, 40, 60, 2);
        finished.setPath(other);
        QCOMPARE(finished.path(), other);
        finished.squeezePath();
        QCOMPARE(finished.path(), other);
    }

    // Whether the path is one polyline, and exactly a given one, or lines
    // only; whole or kept as points.
    void polylineQueries()
    {
        const QPolygonF points(QVector<QPointF>{QPointF(0, 0), QPointF(10, 0), QPointF(10, 10.5)});
        const QPainterPath polyline = polylinePath(points);
        const QPainterPath segments = segmentsPath({{0, 0}, {10, 0}, {10, 0}, {10, 10.5}});
        QPainterPath curve;
        curve.moveTo(0, 0);
        curve.quadTo(10, 0, 10, 10.5);
        for (bool finished : {false, true}) {
            MiniPathItem item;
            item.setPath(polyline);
            if (finished)
                item.squeezePath();
            QVERIFY(item.isPolyline());
            QVERIFY(item.hasOnlyLines());
            QVERIFY(item.isPolyline(points));
            QPolygonF off = points;
            off[2].ry() += 1e-9;
            QVERIFY(!item.isPolyline(off));
            QVERIFY(!item.isPolyline(points.mid(0, 2)));

            item.setPath(segments);
            if (finished)
                item.squeezePath();
            QVERIFY(!item.isPolyline());
            QVERIFY(item.hasOnlyLines());
            QVERIFY(!item.isPolyline(QPolygonF(QVector<QPointF>{
                QPointF(0, 0), QPointF(10, 0), QPointF(10, 0), QPointF(10, 10.5)})));

            item.setPath(curve);
            if (finished)
                item.squeezePath();
            QVERIFY(!item.isPolyline());
            QVERIFY(!item.hasOnlyLines());
        }
    }

    // The points of a finished tail part take 16 bytes each instead of a
    // path element's 24, and the path's own data is gone.
    void finishedSegmentsKeepOnlyTheirPoints()
    {
        constexpr int kItems = 500;
        std::vector<std::unique_ptr<MiniPathItem>> items;
        for (int i = 0; i < kItems; ++i) {
            QPainterPath tail;
            tail.reserve(6);
            for (int j = 0; j < 3; ++j) {
                tail.moveTo(i + 10 * j, j);
                tail.lineTo(i + 10 * j + 10, j + 1);
            }
            items.push_back(std::make_unique<MiniPathItem>());
            items.back()->setPath(tail);
        }
        const qint64 before = HeapUsage::bytesInUse();
        for (const auto& item : items)
            item->squeezePath();
        const qint64 freed = before - HeapUsage::bytesInUse();
        const qint64 perElement = qint64(sizeof(QPainterPath::Element) - sizeof(QPointF));
        const qint64 elements = qint64(kItems) * 6 * perElement;
        QVERIFY2(
            freed >= elements,
            qPrintable(QStringLiteral("%1 bytes freed, %2 expected").arg(freed).arg(elements)));
        QCOMPARE(items.front()->path().elementCount(), 6);
        QCOMPARE(items.front()->path().elementAt(4).type, QPainterPath::MoveToElement);
        QCOMPARE(QPointF(items.front()->path().elementAt(5)), QPointF(30, 3));
    }

    // A new path lets go of the outline worked out for the old one (the
    // eraser works out the shapes of the strokes it meets; a stroke it cut
    // kept a stale copy of its old outline until asked for a shape again).
    void aNewPathLetsGoOfTheOldShape()
    {
        MiniPathItem item;
        item.setPen(QPen(Qt::red, 8));
        QPainterPath zigzag;
        zigzag.moveTo(0, 0);
        for (int i = 1; i <= 1000; ++i)
            zigzag.lineTo(5 * i, 10 * (i % 2));
        item.setPath(zigzag);
        zigzag = QPainterPath();
        const int outline = item.shape().elementCount();
        QVERIFY(outline > 2000);
        QPainterPath dash;
        dash.moveTo(0, 0);
        dash.lineTo(1, 0);
        const qint64 before = HeapUsage::bytesInUse();
        item.setPath(dash);
        const qint64 freed = before - HeapUsage::bytesInUse();
        // At least the old path's elements and its outline's.
        const qint64 elements = qint64(1001 + outline) * qint64(sizeof(QPainterPath::Element));
        QVERIFY2(
            freed >= elements,
            qPrintable(QStringLiteral("%1 bytes freed, %2 expected").arg(freed).arg(elements)));
        QCOMPARE(item.shape().boundingRect(), QRectF(-2, -2, 5, 4));
    }

    void inAScene()
    {
        QGraphicsScene scene;
        auto* item = new MiniPathItem;
        QPainterPath line;
        line.moveTo(0, 0);
        line.lineTo(50, 0);
        item->setPen(QPen(Qt::black, 4));
        item->setPath(line);
        scene.addItem(item);
        QCOMPARE(scene.items().size(), 1);
        QCOMPARE(qgraphicsitem_cast<MiniPathItem*>(scene.items().first()), item);
        QCOMPARE(item->sceneBoundingRect(), QRectF(-2, -2, 54, 4));
    }
};

QTEST_MAIN(TestMiniPathItem)
#include "tst_minipathitem.moc"
