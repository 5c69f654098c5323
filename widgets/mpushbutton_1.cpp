#include "widgets/mpushbutton_1.h"

#include "common/common.h"
#include "widgets/commonuitool.h"

#include <QPainter>
#include <QPainterPath>

#include <utility>

mPushButton_1::mPushButton_1(QWidget* parent)
    : QPushButton(parent)
{
    setCheckable(true);
}

mPushButton_1::~mPushButton_1() = default;

void mPushButton_1::setTextAndPixmap(QString text, QPixmap pixmap)
{
    m_text = std::move(text);
    m_pixmap = std::move(pixmap);
    update();
}

void mPushButton_1::setLocalText(const QString& text)
{
    m_text = text;
    update();
}

void mPushButton_1::paintEvent(QPaintEvent* /*event*/)
{
    const Common* common = Common::getInstance();
    const auto s = [common](int designPixels) {
        return common->getNewSize(designPixels);
    };

    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.setPen(Qt::NoPen);

    // The face is drawn without pen and with the painter's empty brush, so it
    // leaves no mark and the button stays transparent behind its content.
    const QPainterPath face =
        CommonUITool::getRoundRectPath(QRectF(0, 0, width(), height()), s(10), s(10), s(10), s(10));
    painter.drawPath(face);

    if (!m_pixmap.isNull()) {
        painter.drawPixmap(QRectF(s(10), s(3), s(40), s(40)), m_pixmap, QRectF(m_pixmap.rect()));
    }

    painter.setPen(QColor(102, 102, 102));
    painter.setFont(common->getFont(12));
    painter.drawText(QRect(QPoint(s(0), s(50)), QPoint(s(60), s(65))), Qt::AlignCenter, m_text);
}
