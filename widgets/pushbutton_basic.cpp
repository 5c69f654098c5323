#include "widgets/pushbutton_basic.h"

#include <QEvent>

PushButton_Basic::PushButton_Basic(QWidget* parent)
    : QPushButton(parent)
{
    installEventFilter(this);
}

PushButton_Basic::~PushButton_Basic() = default;

bool PushButton_Basic::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == this) {
        if (event->type() == QEvent::Enter) {
            m_cursor = cursor();
            setCursor(Qt::PointingHandCursor);
        } else if (event->type() == QEvent::Leave) {
            setCursor(m_cursor);
        }
    }
    return QObject::eventFilter(watched, event);
}
