#pragma once

#include "common/common.h"

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QSize>
#include <QString>
#include <QWidget>

#include <cstdlib>

// Helpers shared by the widget-kit tests.
namespace WidgetTest {

// Renders the widget (and its children) into a transparent premultiplied
// image, through a painter scaled by the given factor. The window background
// is left out, as on the board's translucent windows.
inline QImage render(QWidget& widget, int scale = 1)
{
    QImage image(widget.size() * scale, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    if (image.isNull()) {
        return image;
    }
    QPainter painter(&image);
    painter.scale(scale, scale);
    widget.render(&painter, QPoint(), QRegion(), QWidget::DrawChildren);
    painter.end();
    return image;
}

// The raw premultiplied pixel as a string, for failure messages.
inline QString describe(const QImage& image, int x, int y)
{
    const QRgb p = image.pixel(x, y);
    return QStringLiteral("(%1, %2): premultiplied r %3 g %4 b %5 a %6")
        .arg(x)
        .arg(y)
        .arg(qRed(p))
        .arg(qGreen(p))
        .arg(qBlue(p))
        .arg(qAlpha(p));
}

// Whether the premultiplied pixel matches r, g, b, a within tolerance.
inline bool near(const QImage& image, int x, int y, int r, int g, int b, int a, int tolerance = 0)
{
    const QRgb p = image.pixel(x, y);
    return std::abs(qRed(p) - r) <= tolerance && std::abs(qGreen(p) - g) <= tolerance &&
           std::abs(qBlue(p) - b) <= tolerance && std::abs(qAlpha(p) - a) <= tolerance;
}

// Puts the shared scale back to the design screen when a test ends, also on
// failure.
class ScaleGuard
{
public:
    explicit ScaleGuard(const QSize& desk) { Common::getInstance()->InitSize(desk); }
    ~ScaleGuard() { Common::getInstance()->InitSize(QSize(1920, 1080)); }
    ScaleGuard(const ScaleGuard&) = delete;
    ScaleGuard& operator=(const ScaleGuard&) = delete;
};

} // namespace WidgetTest

// Fails the test unless the premultiplied pixel matches within tolerance; the
// message is only built on failure.
#define VERIFY_PIXEL(image, x, y, r, g, b, a, tolerance)                                           \
    do {                                                                                           \
        if (!WidgetTest::near(image, x, y, r, g, b, a, tolerance)) {                               \
            QFAIL(qPrintable(WidgetTest::describe(image, x, y) +                                   \
                             QStringLiteral(", expected r %1 g %2 b %3 a %4 within %5")            \
                                 .arg(r)                                                           \
                                 .arg(g)                                                           \
                                 .arg(b)                                                           \
                                 .arg(a)                                                           \
                                 .arg(tolerance)));                                                \
        }                                                                                          \
    } while (false)
