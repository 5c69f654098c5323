#pragma once

#include "interface/skedainterface.h"

#include <QPointer>

class MainWindow;

// The plugin class that the host's QPluginLoader instantiates.
class Skeda : public SkedaInterFace
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "SkedaInterFace_IID")
    Q_INTERFACES(SkedaInterFace)

public:
    explicit Skeda(QObject* parent = nullptr);
    // Leaves the board window alone: once handed out it belongs to the host.
    ~Skeda() override;

    QWidget* createWidget(QWidget* parent) override;
    void showSkeda() override;

private:
    // Guarded, so that a host deleting the window leaves no dangling pointer.
    QPointer<MainWindow> m_mainWindow;
};
