#pragma once

#include <QCursor>
#include <QPushButton>

// A push button that shows the pointing-hand cursor while the pointer is over
// it and gives back whatever cursor the button had before once it leaves.
// The button watches its own events through an event filter on itself.
class PushButton_Basic : public QPushButton
{
    Q_OBJECT

public:
    explicit PushButton_Basic(QWidget* parent = nullptr);
    ~PushButton_Basic() override;

    // Never consumes an event.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QCursor m_cursor;
};
