#include "widgets/baseshadowwidget.h"

#include "widgets/commonuitool.h"

#include <QPainter>
#include <QPainterPath>
#include <QPen>

BaseShadowWidget::BaseShadowWidget(QWidget* parent)
    : QWidget(parent, Qt::WindowFlags())
{
}

BaseShadowWidget::~BaseShadowWidget() = default;

void BaseShadowWidget::setBorderWidth(int width)
{
    m_borderWidth = width;
}

void BaseShadowWidget::setRadius(int topLeft, int bottomLeft, int topRight, int bottomRight)
{
    m_topLeftRadius = topLeft;
    m_bottomLeftRadius = bottomLeft;
    m_topRightRadius = topRight;
    m_bottomRightRadius = bottomRight;
}

void BaseShadowWidget::setBackgroundColor(const QColor& color)
{
    m_backgroundColor = color;
}

void BaseShadowWidget::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.fillRect(rect(), Qt::transparent);

    const int n = m_borderWidth;
    if (n < 1) {
        return;
    }

    QPen pen(QColor(135, 135, 135), 1, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    const int w = width();
    const int h = height();
    const float step = 70.0f / n;

    const auto ringPath = [&](int inset) {
        QPainterPath path;
        CommonUITool::GetRadiusRectPath(path, m_topLeftRadius, m_bottomLeftRadius, m_topRightRadius,
                                        m_bottomRightRadius, inset, inset, w - inset, h - inset);
        path.setFillRule(Qt::WindingFill);
        return path;
    };
    const auto drawRing = [&](int i, const QPainterPath& path) {
        QColor color = pen.color();
        color.setAlpha(static_cast<int>(70.0f - static_cast<float>(i) * step));
        pen.setColor(color);
        painter.setPen(pen);
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(path);
    };

    // A ring whose inset exceeds both sides by more than a pixel lies wholly
    // outside the widget: its edges run beyond the far sides and each corner
    // curve stays on the outer side of them. Such outlines are skipped so that
    // an absurd border width does not loop over invisible rings; the innermost
    // path is always built because it carries the fill.
    const qint64 farthestVisibleInset = static_cast<qint64>(qMax(w, h)) + 1;

    const QPainterPath innermost = ringPath(n);
    painter.fillPath(innermost, QBrush(m_backgroundColor, Qt::SolidPattern));
    if (n <= farthestVisibleInset) {
        drawRing(0, innermost);
    }

    const int firstVisible = static_cast<int>(qMax<qint64>(1, n - farthestVisibleInset));
    for (int i = firstVisible; i < n; ++i) {
        drawRing(i, ringPath(n - i));
    }
}
