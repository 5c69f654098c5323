#include "shell/mainwindow.h"

#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "common/common.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QScreen>

MainWindow::MainWindow(QWidget* parent)
    : QWidget(parent)
{
    QSize deskSize;
    if (QScreen* screen = QGuiApplication::primaryScreen())
        deskSize = screen->geometry().size();
    else
        qWarning("MainWindow: there is no screen; the board has no size until one appears");
    Common::getInstance()->InitSize(deskSize);

    m_layout = new QHBoxLayout(this);
    m_layout->setMargin(0);
    m_layout->setContentsMargins(0, 0, 0, 0);

    m_view = new MyMiniGraphicsView(this);
    m_layout->addWidget(m_view);

    setWindowFlags(windowFlags() | Qt::FramelessWindowHint);
    m_view->setStyleSheet(
        QStringLiteral("QGraphicsView{background-color: transparent; border: none;}"));
    setAttribute(Qt::WA_TranslucentBackground);
}

MainWindow::~MainWindow() = default;

void MainWindow::initUI()
{
    if (m_scene) {
        qWarning("MainWindow::initUI() called again; the board is already set up");
        return;
    }
    const QSize deskSize = Common::getInstance()->getDeskSize();
    setFixedSize(deskSize);
    m_view->resize(deskSize);

    m_scene = new MyMiniGraphicsScene(m_view);
    m_scene->setSceneRect(0, 0, deskSize.width(), deskSize.height());
    m_view->setSceneData(m_scene);
    m_view->setScene(m_scene);
    m_view->toggleOperation(PenOperation);
}

void MainWindow::showSkeda()
{
    show();
}

void MainWindow::hideTool() {}
