#pragma once

#include <QLabel>
#include <QPixmap>
#include <QString>

// A fixed-size tile: a square picture above a one-line caption. The tile
// swallows mouse presses and touch begins aimed at itself; its two child
// labels receive their own events unfiltered.
class Label_1 : public QLabel
{
    Q_OBJECT

public:
    Label_1(QPixmap pixmap, QString text, QWidget* parent = nullptr);
    ~Label_1() override;

    void changePixmapAndText(QPixmap pixmap, QString text);
    void setLocalText(const QString& text);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QLabel* m_pictureLabel = nullptr;
    QLabel* m_textLabel = nullptr;
};
