#pragma once

#include <QObject>
#include <QPixmap>

class QWidget;

// What a host application sees of the board. Load libSkeda with
// QPluginLoader, qobject_cast the instance to SkedaInterFace, call
// createWidget() once and showSkeda() whenever the board is to appear.
class SkedaInterFace : public QObject
{
    Q_OBJECT

public:
    explicit SkedaInterFace(QObject* parent = nullptr)
        : QObject(parent)
    {
    }
    ~SkedaInterFace() override = default;

    // Creates the board window on the first call and returns the same window
    // on every later one. The window is always top-level: parent is ignored.
    virtual QWidget* createWidget(QWidget* parent) = 0;
    // Shows the board and its toolbar. createWidget() must come first.
    virtual void showSkeda() = 0;

signals:
    // The user closed the board.
    void sigSkedaClose();
    // The user took a screenshot; the board has closed itself.
    void sigScreenShotPixmap(QPixmap pix);
};

#define SkedaInterFace_iid "SkedaInterFace_IID"
Q_DECLARE_INTERFACE(SkedaInterFace, SkedaInterFace_iid)
