#pragma once

#include <QPixmap>
#include <QPointer>
#include <QString>
#include <QWidget>

class QCloseEvent;
class QLabel;
class QPushButton;
class QSystemTrayIcon;
class SkedaInterFace;

// The host's small window: opens the board (again, after it was closed),
// shows where screenshots go and lets the user choose that folder. Where the
// desktop has a system tray, a tray icon offers the same. Every screenshot the
// board hands over is saved there as a PNG.
//
// The program's standard output gets one line per event, for scripts and
// tests: "opened", "closed" and "saved <file>".
class HostWindow : public QWidget
{
    Q_OBJECT

public:
    // board is null when no plugin could be loaded; loadError then says why
    // and the window shows it instead of offering the board.
    HostWindow(SkedaInterFace* board, const QString& pluginFile, const QString& loadError,
               QWidget* parent = nullptr);
    // Deletes the board window: once handed out, it belongs to the host.
    ~HostWindow() override;

    // Creates the board on first use, then shows it.
    void openBoard();

    QString saveDir() const { return m_saveDir; }
    void setSaveDir(const QString& dir);

    // Where screenshots go unless the user says otherwise.
    static QString defaultSaveDir();

protected:
    // With a tray icon the host keeps running there; without one, closing
    // the window ends the program (with status 1 when no board was loaded).
    void closeEvent(QCloseEvent* event) override;

private:
    void createTrayIcon();
    void chooseFolder();
    void boardClosed();
    void saveScreenshot(const QPixmap& pix);
    // A file name in the folder that is not taken yet.
    QString newShotFileName() const;
    void showStatus(const QString& text, bool error = false);
    void bringToFront();

    SkedaInterFace* m_board = nullptr;
    QPointer<QWidget> m_boardWindow;
    bool m_loadFailed = false;
    QString m_saveDir;
    QPushButton* m_openButton = nullptr;
    QLabel* m_folderLabel = nullptr;
    QLabel* m_statusLabel = nullptr;
    QSystemTrayIcon* m_tray = nullptr;
    bool m_trayHintShown = false;
};
