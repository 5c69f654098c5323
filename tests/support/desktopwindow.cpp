#include "tests/support/desktopwindow.h"

#include <QMouseEvent>
#include <QPainter>

DesktopWindow::DesktopWindow(const QRect& geometry)
{
    setWindowFlags(Qt::FramelessWindowHint);
    setGeometry(geometry);
}

QImage DesktopWindow::pattern()
{
    static const QImage image = [] {
        QImage result(1920, 1080, QImage::Format_RGB32);
        for (int y = 0; y < result.height(); ++y) {
            auto* line = reinterpret_cast<QRgb*>(result.scanLine(y));
            for (int x = 0; x < result.width(); ++x)
                line[x] = qRgb(x % 256, y % 256, (x / 256 + 8 * (y / 256)) * 4);
        }
        return result;
    }();
    return image;
}

void DesktopWindow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.drawImage(QPoint(0, 0), pattern(), geometry());
}

void DesktopWindow::mousePressEvent(QMouseEvent* event)
{
    presses.append(event->globalPos());
    update();
}
