#pragma once

#include <QObject>
#include <QPen>

// Holds the one pen that new strokes are drawn with. The pen popup writes it;
// the pen operation reads it whenever a stroke starts or an item is created.
class UIManager : public QObject
{
    Q_OBJECT

public:
    static UIManager* getInstance();

    QPen pen() const;
    void setPen(const QPen& pen);
    void setPenColor(const QColor& color);
    void setPenWidth(int width);

private:
    UIManager();

    QPen m_pen;
};
