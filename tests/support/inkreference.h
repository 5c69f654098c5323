#pragma once

#include <QGraphicsItem>
#include <QGraphicsScene>
#include <QImage>
#include <QPainter>
#include <QString>
#include <QStyleOptionGraphicsItem>
#include <QWidget>

#include <cstdlib>
#include <cstring>

// What the board should show: the scene's items painted one by one by their
// own paint(), in Qt's stacking order (z value, then order of entry), into a
// transparent image. The board's own pixels, however it composes them, must
// equal this within antialiasing.
namespace InkReference {

inline QImage render(QGraphicsScene* scene, const QSize& size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    // Qt sorts what it finds lowest first, as a view paints it.
    const QList<QGraphicsItem*> items = scene->items(
        QRectF(QPointF(0, 0), QSizeF(size)), Qt::IntersectsItemBoundingRect, Qt::AscendingOrder);
    for (QGraphicsItem* item : items) {
        if (!item->isVisible())
            continue;
        painter.save();
        painter.setWorldTransform(item->sceneTransform());
        painter.setOpacity(item->effectiveOpacity());
        QStyleOptionGraphicsItem option;
        option.state = QStyle::State_Enabled;
        option.exposedRect = item->boundingRect();
        option.rect = item->boundingRect().toAlignedRect();
        item->paint(&painter, &option, nullptr);
        painter.restore();
    }
    return image;
}

// The image laid over an opaque colour, as a screen without translucency
// shows a translucent window.
inline QImage over(const QImage& image, const QColor& background)
{
    QImage result(image.size(), QImage::Format_ARGB32_Premultiplied);
    result.fill(background);
    QPainter painter(&result);
    painter.drawImage(0, 0, image);
    return result;
}

// What the widget shows, premultiplied.
inline QImage grab(QWidget* widget)
{
    return widget->grab().toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

struct Difference
{
    int pixels = 0;  // pixels off by more than the tolerance
    int largest = 0; // the largest difference of one channel
    QPoint first{-1, -1};
    QRgb firstA = 0;
    QRgb firstB = 0;

    QString describe() const
    {
        return QStringLiteral("%1 pixels differ, by up to %2, the first at (%3, %4): #%5 for #%6")
            .arg(pixels)
            .arg(largest)
            .arg(first.x())
            .arg(first.y())
            .arg(firstA, 8, 16, QLatin1Char('0'))
            .arg(firstB, 8, 16, QLatin1Char('0'));
    }
};

// Compares two images of the same size channel by channel. Composing the same
// antialiased ink in another order of steps rounds differently by a unit or
// two; `tolerance` allows that and nothing more.
inline Difference compare(const QImage& a, const QImage& b, int tolerance = 3)
{
    Difference result;
    if (a.size() != b.size()) {
        result.pixels = -1;
        return result;
    }
    for (int y = 0; y < a.height(); ++y) {
        const QRgb* lineA = reinterpret_cast<const QRgb*>(a.constScanLine(y));
        const QRgb* lineB = reinterpret_cast<const QRgb*>(b.constScanLine(y));
        // Most rows are alike: one library call each, whatever the build.
        if (std::memcmp(lineA, lineB, size_t(a.width()) * sizeof(QRgb)) == 0)
            continue;
        for (int x = 0; x < a.width(); ++x) {
            if (lineA[x] == lineB[x])
                continue;
            const int d = qMax(qMax(std::abs(qRed(lineA[x]) - qRed(lineB[x])),
                                    std::abs(qGreen(lineA[x]) - qGreen(lineB[x]))),
                               qMax(std::abs(qBlue(lineA[x]) - qBlue(lineB[x])),
                                    std::abs(qAlpha(lineA[x]) - qAlpha(lineB[x]))));
            result.largest = qMax(result.largest, d);
            if (d > tolerance) {
                if (result.pixels == 0) {
                    result.first = QPoint(x, y);
                    result.firstA = lineA[x];
                    result.firstB = lineB[x];
                }
                ++result.pixels;
            }
        }
    }
    return result;
}

} // namespace InkReference
