#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

class MainWindow;
class QLocalServer;
class QLocalSocket;

// The running board's ear for the `skeda` launcher: one board per user and
// display, and a later `skeda` hands its command to it instead of opening a
// second board. A command is one line ("show", "pen", "undo", ...); the
// answer, "ok" or "error <why>", is sent once the board has carried it out,
// so that scripts can chain commands.
class CommandServer : public QObject
{
    Q_OBJECT

public:
    // The longest command line read, newline not counted; a connection
    // sending a longer one is closed.
    static constexpr int LongestLine = 64;

    explicit CommandServer(MainWindow* board);

    // The local socket name for this user and this X display.
    static QString serverName(const QString& display);
    // The commands the board understands.
    static QStringList commands();

    // Listens under the name; false (with a warning) when it cannot.
    bool listen(const QString& name);
    // Carries out one command and gives the answer line, without its
    // newline: "ok", or "error <why>" for a command it does not know or
    // cannot carry out here.
    QByteArray run(const QString& command);

private:
    void serve(QLocalSocket* socket);
    void dropTooLong(QLocalSocket* socket);

    MainWindow* m_board;
    QLocalServer* m_server;
};
