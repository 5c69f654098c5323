#include "widgets/label_1.h"

#include "common/common.h"

#include <QEvent>
#include <QVBoxLayout>

Label_1::Label_1(QPixmap pixmap, QString text, QWidget* parent)
    : QLabel(parent)
{
    const Common* common = Common::getInstance();
    setFixedSize(common->getNewSize(52, 68));
    installEventFilter(this);

    auto* layout = new QVBoxLayout(this);

    m_pictureLabel = new QLabel(this);
    m_pictureLabel->setFixedSize(common->getNewSize(52, 52));
    m_pictureLabel->setScaledContents(true);
    m_pictureLabel->setPixmap(pixmap);

    m_textLabel = new QLabel(text, this);
    m_textLabel->setFixedSize(common->getNewSize(52, 16));
    m_textLabel->setFont(common->getFont(12));

    layout->addWidget(m_pictureLabel, 0);
    layout->addWidget(m_textLabel, 0);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
}

Label_1::~Label_1() = default;

void Label_1::changePixmapAndText(QPixmap pixmap, QString text)
{
    m_pictureLabel->setPixmap(pixmap);
    m_textLabel->setText(text);
}

void Label_1::setLocalText(const QString& text)
{
    m_textLabel->setText(text);
}

bool Label_1::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == this &&
        (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::TouchBegin)) {
        return true;
    }
    return QObject::eventFilter(watched, event);
}
