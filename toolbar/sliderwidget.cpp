#include "toolbar/sliderwidget.h"

#include "common/common.h"
#include "common/logging.h"

#include <QDebug>
#include <QEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPen>
#include <QPixmap>

#include <cmath>

namespace {

const QColor kTrackFill(238, 238, 238);
const QColor kTrackOutline(224, 224, 224);
const QColor kHintColor(136, 136, 136);

// Event positions are fractional; halves round away from zero.
QPoint roundedPoint(const QPointF& point)
{
    return QPoint(static_cast<int>(std::lround(point.x())),
                  static_cast<int>(std::lround(point.y())));
}

} // namespace

SliderWidget::SliderWidget(QWidget* parent)
    : QWidget(parent)
{
    initWidget();
    installEventFilter(this);
}

SliderWidget::~SliderWidget() = default;

void SliderWidget::initWidget()
{
    m_handle = new QLabel(this);
    m_handle->installEventFilter(this);
    m_handle->setScaledContents(true);
}

void SliderWidget::mSetText(const QString& text)
{
    m_text = text;
    update();
}

void SliderWidget::mSetFont(const QFont& font)
{
    m_font = font;
}

void SliderWidget::mSetHandleIcon(const QPixmap& pixmap)
{
    m_handle->setPixmap(pixmap);
}

void SliderWidget::mSetHandleSize(const QSize& size)
{
    m_handle->setFixedSize(size);
    moveHandleHome();
}

void SliderWidget::mSetMargin(int left, int right)
{
    m_leftMargin = left;
    m_rightMargin = right;
    mSetHandleSize(m_handle->size());
}

void SliderWidget::mSetRadius(int radius)
{
    m_pRadius = radius;
    qCDebug(lcSkedaToolbar) << "qx====m_pRadius=" << radius;
}

int SliderWidget::rightEnd() const
{
    return width() - m_handle->width() - m_rightMargin;
}

void SliderWidget::moveHandleHome()
{
    // Integer division truncates toward zero, also for a handle taller than
    // the slider.
    m_handle->move(m_leftMargin, (height() - m_handle->height()) / 2);
}

bool SliderWidget::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == this) {
        switch (event->type()) {
        // The second press of a double click arrives as a double-click
        // event; it is a press all the same.
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick: {
            const auto* mouse = static_cast<QMouseEvent*>(event);
            m_pressPos = roundedPoint(mouse->localPos());
            // The grip is tested in the handle's resting column at the
            // slider's origin, not at the handle's vertically centred place.
            const QRect grip(QPoint(0, 0), m_handle->size());
            if (mouse->button() == Qt::LeftButton && grip.contains(m_pressPos)) {
                m_pressed = true;
            }
            break;
        }
        case QEvent::MouseMove:
            if (m_pressed) {
                const auto* mouse = static_cast<QMouseEvent*>(event);
                const int x = roundedPoint(mouse->localPos()).x() - m_pressPos.x() + m_leftMargin;
                if (x < m_leftMargin) {
                    m_handle->move(m_leftMargin, m_handle->y());
                } else {
                    m_handle->move(qMin(x, rightEnd()), m_handle->y());
                }
                update();
            }
            break;
        case QEvent::MouseButtonRelease:
            if (static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton && m_pressed) {
                m_pressed = false;
                // Only a release with the handle at the end stop clears.
                if (m_handle->x() == rightEnd()) {
                    emit clearSignal();
                }
                moveHandleHome();
                update();
            }
            break;
        default:
            break;
        }
    } else if (watched == m_handle) {
        if (event->type() == QEvent::Enter) {
            setCursor(Qt::PointingHandCursor);
        } else if (event->type() == QEvent::Leave) {
            setCursor(Qt::ArrowCursor);
        }
    }
    return QWidget::eventFilter(watched, event);
}

QRect SliderWidget::hintRect() const
{
    return QRect(m_leftMargin, 0,
                 width() - m_leftMargin - m_rightMargin - Common::getInstance()->getNewSize(16),
                 height());
}

void SliderWidget::paintEvent(QPaintEvent* event)
{
    QWidget::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing, true);

    const Common* common = Common::getInstance();
    painter.setPen(QPen(QBrush(kTrackOutline), common->getNewSize(1), Qt::SolidLine, Qt::SquareCap,
                        Qt::BevelJoin));
    painter.setBrush(QBrush(kTrackFill, Qt::SolidPattern));
    painter.drawRoundedRect(QRect(0, 0, width(), height()), m_pRadius, m_pRadius, Qt::AbsoluteSize);

    if (!m_text.isEmpty()) {
        painter.setFont(m_font);
        painter.setPen(kHintColor);
        painter.drawText(hintRect(), Qt::AlignRight | Qt::AlignVCenter, m_text);
    }

    // The track behind the handle's path is painted clean in its own colour,
    // so the hint disappears as the handle passes over it.
    painter.fillRect(QRect(m_leftMargin, m_handle->y(),
                           m_handle->x() + m_handle->width() - m_leftMargin, m_handle->height()),
                     kTrackFill);
}
