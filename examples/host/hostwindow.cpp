#include "hostwindow.h"

#include <skeda/skedainterface.h>

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QStandardPaths>
#include <QSystemTrayIcon>
#include <QVBoxLayout>

#include <cstdio>

namespace {

// One line on standard output, flushed at once so a reader sees it now.
void report(const QString& line)
{
    std::fprintf(stdout, "%s\n", qUtf8Printable(line));
    std::fflush(stdout);
}

} // namespace

HostWindow::HostWindow(SkedaInterFace* board, const QString& pluginFile, const QString& loadError,
                       QWidget* parent)
    : QWidget(parent)
    , m_board(board)
    , m_loadFailed(board == nullptr)
    , m_saveDir(defaultSaveDir())
{
    setWindowTitle(tr("Skeda Host"));
    setWindowIcon(QIcon(QStringLiteral(":/host/skeda.png")));
    setMinimumWidth(480);

    auto* title = new QLabel(tr("<b>Skeda</b> — a whiteboard over your whole desktop"), this);

    // The main action, large and in the middle of the window.
    m_openButton = new QPushButton(tr("Open the board"), this);
    m_openButton->setObjectName(QStringLiteral("openButton"));
    m_openButton->setMinimumHeight(96);
    m_openButton->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    m_openButton->setEnabled(!m_loadFailed);
    m_openButton->setDefault(true);

    m_folderLabel = new QLabel(this);
    m_folderLabel->setWordWrap(true);
    m_folderLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* chooseButton = new QPushButton(tr("Choose folder…"), this);
    auto* folderRow = new QHBoxLayout;
    folderRow->addWidget(m_folderLabel, 1);
    folderRow->addWidget(chooseButton);

    m_statusLabel = new QLabel(this);
    m_statusLabel->setWordWrap(true);
    m_statusLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);

    auto* pluginLabel = new QLabel(this);
    pluginLabel->setWordWrap(true);
    pluginLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    pluginLabel->setStyleSheet(QStringLiteral("color: gray;"));
    pluginLabel->setText(m_loadFailed ? tr("No board plugin loaded.")
                                      : tr("Board plugin: %1").arg(pluginFile));

    auto* quitButton = new QPushButton(tr("Quit"), this);
    auto* bottomRow = new QHBoxLayout;
    bottomRow->addWidget(pluginLabel, 1);
    bottomRow->addWidget(quitButton);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(title);
    layout->addWidget(m_openButton, 1);
    layout->addLayout(folderRow);
    layout->addWidget(m_statusLabel);
    layout->addLayout(bottomRow);

    connect(m_openButton, &QPushButton::clicked, this, &HostWindow::openBoard);
    connect(chooseButton, &QPushButton::clicked, this, &HostWindow::chooseFolder);
    connect(quitButton, &QPushButton::clicked, this,
            [this] { QApplication::exit(m_loadFailed ? 1 : 0); });

    setSaveDir(m_saveDir);
    if (m_loadFailed) {
        showStatus(loadError, true);
    } else {
        // The two things the board tells its host.
        connect(m_board, &SkedaInterFace::sigSkedaClose, this, &HostWindow::boardClosed);
        connect(m_board, &SkedaInterFace::sigScreenShotPixmap, this, &HostWindow::saveScreenshot);
        showStatus(tr("Ready."));
        createTrayIcon();
    }
}

HostWindow::~HostWindow()
{
    delete m_boardWindow.data();
}

QString HostWindow::defaultSaveDir()
{
    QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    if (pictures.isEmpty())
        pictures = QDir::homePath();
    return pictures + QStringLiteral("/Skeda");
}

void HostWindow::setSaveDir(const QString& dir)
{
    m_saveDir = QDir::cleanPath(QFileInfo(dir).absoluteFilePath());
    m_folderLabel->setText(tr("Screenshots are saved in %1").arg(m_saveDir));
}

void HostWindow::createTrayIcon()
{
    if (!QSystemTrayIcon::isSystemTrayAvailable())
        return;
    m_tray = new QSystemTrayIcon(windowIcon(), this);
    m_tray->setToolTip(tr("Skeda: click to open the board"));
    auto* menu = new QMenu(this);
    menu->addAction(tr("Open the board"), this, &HostWindow::openBoard);
    menu->addAction(tr("Show this window"), this, &HostWindow::bringToFront);
    menu->addSeparator();
    menu->addAction(tr("Quit"), this, [] { QApplication::exit(0); });
    m_tray->setContextMenu(menu);
    connect(m_tray, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger)
                    openBoard();
            });
    m_tray->show();
}

void HostWindow::openBoard()
{
    if (!m_board)
        return;
    // The board is made once; later it is shown again, drawing and all. It
    // is always a top-level window: the plugin ignores the parent argument.
    if (!m_boardWindow)
        m_boardWindow = m_board->createWidget(nullptr);
    hide();
    m_board->showSkeda();
    showStatus(tr("The board is open."));
    report(QStringLiteral("opened"));
}

void HostWindow::chooseFolder()
{
    const QString dir =
        QFileDialog::getExistingDirectory(this, tr("Folder for screenshots"), m_saveDir);
    if (!dir.isEmpty())
        setSaveDir(dir);
}

void HostWindow::boardClosed()
{
    report(QStringLiteral("closed"));
    showStatus(tr("The board is closed; its drawing is kept for the next time."));
    bringToFront();
}

void HostWindow::saveScreenshot(const QPixmap& pix)
{
    // The board has closed itself before handing the picture over.
    bringToFront();
    if (!QDir().mkpath(m_saveDir)) {
        const QString message = tr("Could not create the folder %1.").arg(m_saveDir);
        std::fprintf(stderr, "skeda-host: %s\n", qUtf8Printable(message));
        showStatus(message, true);
        return;
    }
    const QString fileName = newShotFileName();
    if (pix.isNull() || !pix.save(fileName, "PNG")) {
        const QString message = tr("Could not save the screenshot as %1.").arg(fileName);
        std::fprintf(stderr, "skeda-host: %s\n", qUtf8Printable(message));
        showStatus(message, true);
        return;
    }
    report(QStringLiteral("saved ") + fileName);
    showStatus(tr("Saved %1 (%2 × %3).").arg(fileName).arg(pix.width()).arg(pix.height()));
}

QString HostWindow::newShotFileName() const
{
    const QDir dir(m_saveDir);
    const QString stem = QStringLiteral("skeda-") +
                         QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString name = stem + QStringLiteral(".png");
    for (int n = 2; dir.exists(name); ++n)
        name = QStringLiteral("%1-%2.png").arg(stem).arg(n);
    return dir.filePath(name);
}

void HostWindow::showStatus(const QString& text, bool error)
{
    m_statusLabel->setStyleSheet(error ? QStringLiteral("color: #C62828;") : QString());
    m_statusLabel->setText(text);
}

void HostWindow::bringToFront()
{
    showNormal();
    raise();
    activateWindow();
}

void HostWindow::closeEvent(QCloseEvent* event)
{
    if (m_tray && m_tray->isVisible()) {
        hide();
        event->ignore();
        if (!m_trayHintShown) {
            m_trayHintShown = true;
            m_tray->showMessage(tr("Skeda Host"),
                                tr("Still running here: click the icon to open the board."));
        }
        return;
    }
    event->accept();
    QApplication::exit(m_loadFailed ? 1 : 0);
}
