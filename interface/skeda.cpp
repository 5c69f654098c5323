#include "interface/skeda.h"

#include "common/logging.h"
#include "shell/mainwindow.h"

Skeda::Skeda(QObject* parent)
    : SkedaInterFace(parent)
{
}

Skeda::~Skeda() = default;

QWidget* Skeda::createWidget(QWidget* parent)
{
    // The board is always a top-level window over the whole screen, whatever
    // the host passes.
    Q_UNUSED(parent)
    if (m_mainWindow)
        return m_mainWindow;

    m_mainWindow = new MainWindow(nullptr);
    m_mainWindow->initUI();
    connect(m_mainWindow, &MainWindow::sigSkedaClose, this, &SkedaInterFace::sigSkedaClose);
    connect(m_mainWindow, &MainWindow::sigScreenShotPixmap, this,
            &SkedaInterFace::sigScreenShotPixmap);
    return m_mainWindow;
}

void Skeda::showSkeda()
{
    if (!m_mainWindow) {
        qCWarning(lcSkedaInterface,
                  "Skeda::showSkeda(): there is no board to show; call createWidget() first");
        return;
    }
    m_mainWindow->showSkeda();
}
