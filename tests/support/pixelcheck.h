#pragma once

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QString>
#include <QWidget>

#include <cstdlib>

// Reading what a widget paints, pixel by pixel, for the tests that check
// drawing against exact colours.
namespace PixelCheck {

// Renders the widget (and its children) into a transparent premultiplied
// image, through a painter scaled by the given factor. The window background
// is left out, as on the board's translucent windows.
inline QImage render(QWidget& widget, int scale = 1)
{
    QImage image(widget.size() * scale, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    if (image.isNull())
        return image;
    QPainter painter(&image);
    painter.scale(scale, scale);
    widget.render(&painter, QPoint(), QRegion(), QWidget::DrawChildren);
    painter.end();
    return image;
}

// The pixel as a string, for failure messages; says whether the channels
// are premultiplied.
inline QString describe(const QImage& image, int x, int y)
{
    const QRgb p = image.pixel(x, y);
    const bool premultiplied = image.format() == QImage::Format_ARGB32_Premultiplied;
    return QStringLiteral("(%1, %2): %3r %4 g %5 b %6 a %7")
        .arg(x)
        .arg(y)
        .arg(premultiplied ? QStringLiteral("premultiplied ") : QString())
        .arg(qRed(p))
        .arg(qGreen(p))
        .arg(qBlue(p))
        .arg(qAlpha(p));
}

// Whether the pixel's channels, as the image stores them, are r, g, b within
// colourTolerance and a within alphaTolerance.
inline bool near(const QImage& image, int x, int y, int r, int g, int b, int a, int colourTolerance,
                 int alphaTolerance)
{
    const QRgb p = image.pixel(x, y);
    return std::abs(qRed(p) - r) <= colourTolerance && std::abs(qGreen(p) - g) <= colourTolerance &&
           std::abs(qBlue(p) - b) <= colourTolerance && std::abs(qAlpha(p) - a) <= alphaTolerance;
}

} // namespace PixelCheck
