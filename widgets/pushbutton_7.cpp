#include "widgets/pushbutton_7.h"

#include "common/common.h"

#include <QEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPen>

namespace {

const QColor kAccent(QStringLiteral("#0D83FB"));
const QColor kDarkFace(QStringLiteral("#99000000"));

int scaled(int designPixels)
{
    return Common::getInstance()->getNewSize(designPixels);
}

// An integer rectangle of the given size whose centre sits on center.
QRect centredRect(int width, int height, const QPoint& center)
{
    QRect r(0, 0, width, height);
    r.moveCenter(center);
    return r;
}

QPainterPath ellipseOf(const QRect& r)
{
    QPainterPath path;
    path.addRoundedRect(r, r.width() * 0.5, r.height() * 0.5, Qt::AbsoluteSize);
    return path;
}

} // namespace

PushButton_7::PushButton_7(const QPixmap& normal, const QPixmap& checked, const QPixmap& hover,
                           QWidget* parent)
    : PushButton_Basic(parent)
    , m_normalPixmap(normal)
    , m_checkedPixmap(checked)
    , m_hoverPixmap(hover)
{
    installEventFilter(this);
}

PushButton_7::~PushButton_7() = default;

void PushButton_7::setHoverStyle(bool hoverStyle)
{
    m_hoverStyle = hoverStyle;
}

void PushButton_7::mSetIconSize(QSize size)
{
    m_iconSize = size;
}

bool PushButton_7::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == this) {
        switch (event->type()) {
        case QEvent::Enter:
            m_hovered = true;
            break;
        case QEvent::Leave:
            m_hovered = false;
            break;
        case QEvent::MouseButtonRelease: {
            const QPointF local = static_cast<QMouseEvent*>(event)->localPos();
            const QPoint point(qRound(local.x()), qRound(local.y()));
            if (rect().contains(point) && isChecked()) {
                emit checkedClicked();
            }
            break;
        }
        default:
            break;
        }
    }
    return PushButton_Basic::eventFilter(watched, event);
}

void PushButton_7::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.fillRect(rect(), Qt::transparent);

    const int margin = scaled(4);
    const QPoint center = rect().center();

    // A button smaller than the margin has no face to draw.
    const QRect face = centredRect(width() - margin, height() - margin, center);
    if (!face.isEmpty()) {
        QPainterPath path = ellipseOf(face);
        if (!m_hoverStyle) {
            // Without the hover style the ring is always drawn, in a transparent
            // pen while the pointer is away.
            painter.setPen(QPen(QBrush(m_hovered ? kAccent : QColor(Qt::transparent)), scaled(4)));
            painter.drawPath(path);
        } else if (isChecked()) {
            painter.fillPath(path, QBrush(kAccent));
        } else {
            painter.fillPath(path, QBrush(kDarkFace));
            if (m_hovered) {
                const int shrink = scaled(0);
                path = ellipseOf(face.adjusted(shrink, shrink, -shrink, -shrink));
                painter.setPen(QPen(QBrush(kAccent), scaled(2)));
                painter.drawPath(path);
            }
        }
    }

    const QPixmap* pixmap = &m_normalPixmap;
    if (isChecked() && !m_checkedPixmap.isNull()) {
        pixmap = &m_checkedPixmap;
    } else if (m_hovered && !m_hoverPixmap.isNull()) {
        pixmap = &m_hoverPixmap;
    }
    if (pixmap->isNull()) {
        return;
    }

    // The width sets both sides of the square, also on a button that is not
    // square.
    const int side = width() - margin;
    const QRect target = centredRect(side, side, center);
    if (target.isEmpty()) {
        return;
    }
    painter.drawPixmap(target, *pixmap, pixmap->rect());
}
