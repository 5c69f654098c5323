#pragma once

#include <QPixmap>
#include <QPushButton>
#include <QString>

class QPaintEvent;

// A checkable button that draws a 40 by 40 pixmap with a caption centred
// below it on a transparent face. Checking it does not change its look.
class mPushButton_1 : public QPushButton
{
    Q_OBJECT

public:
    explicit mPushButton_1(QWidget* parent = nullptr);
    ~mPushButton_1() override;

    void setTextAndPixmap(QString text, QPixmap pixmap);
    void setLocalText(const QString& text);
    // The caption drawn under the pixmap.
    QString localText() const { return m_text; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_text;
    QPixmap m_pixmap;
};
