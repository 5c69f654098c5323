#include "shell/commandserver.h"

#include "canvas/myminigraphicsview.h"
#include "common/logging.h"
#include "screenshot/screenshot.h"
#include "shell/mainwindow.h"
#include "toolbar/skedatool.h"

#include <QCoreApplication>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPointer>
#include <QX11Info>

#include <xcb/xcb.h>

#include <unistd.h>

CommandServer::CommandServer(MainWindow* board)
    : QObject(board)
    , m_board(board)
    , m_server(new QLocalServer(this))
{
    // Only this user may talk to the board.
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = m_server->nextPendingConnection()) {
            socket->setParent(this);
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] { serve(socket); });
            serve(socket);
        }
    });
}

QString CommandServer::serverName(const QString& display)
{
    QString where = display.isEmpty() ? QStringLiteral("default") : display;
    where.replace(QLatin1Char('/'), QLatin1Char('_'));
    return QStringLiteral("skeda-%1-%2").arg(getuid()).arg(where);
}

QStringList CommandServer::commands()
{
    return {QStringLiteral("show"),       QStringLiteral("close"),  QStringLiteral("toggle"),
            QStringLiteral("pen"),        QStringLiteral("eraser"), QStringLiteral("desktop"),
            QStringLiteral("undo"),       QStringLiteral("redo"),   QStringLiteral("clear"),
            QStringLiteral("screenshot"), QStringLiteral("quit")};
}

bool CommandServer::listen(const QString& name)
{
    if (m_server->listen(name))
        return true;
    // A board that ended without closing its socket leaves the file behind;
    // nobody answers there (the launcher asked before starting this one).
    QLocalServer::removeServer(name);
    if (m_server->listen(name))
        return true;
    qCWarning(lcSkedaShell,
              "skeda: cannot listen for commands as \"%s\": %s; a second skeda will open a "
              "second board",
              qPrintable(name), qPrintable(m_server->errorString()));
    return false;
}

void CommandServer::serve(QLocalSocket* socket)
{
    while (socket->canReadLine()) {
        // readLine() stops one byte short of its size: a line of LongestLine
        // characters and its newline fit, anything longer comes cut.
        const QByteArray line = socket->readLine(LongestLine + 2);
        if (!line.endsWith('\n')) {
            dropTooLong(socket);
            return;
        }
        const QString command = QString::fromUtf8(line).trimmed();
        QPointer<QLocalSocket> alive(socket);
        const QByteArray answer = run(command);
        if (!alive)
            return;
        // What the command asked of the X server goes out before the answer.
        if (QX11Info::isPlatformX11() && QX11Info::connection())
            xcb_flush(QX11Info::connection());
        socket->write(answer + '\n');
        socket->flush();
    }
    // No line yet: a peer that sends more than a command without a newline
    // is not a launcher, and the board does not keep its bytes.
    if (socket->bytesAvailable() > LongestLine)
        dropTooLong(socket);
}

void CommandServer::dropTooLong(QLocalSocket* socket)
{
    qCWarning(lcSkedaShell,
              "skeda: a command line longer than %d bytes came in; that connection is closed",
              LongestLine);
    socket->abort();
    socket->deleteLater();
}

QByteArray CommandServer::run(const QString& command)
{
    SkedaTool* tool = m_board->tool();
    // A tool is chosen, not toggled: a second --pen does not open the pen
    // popup as a second click would.
    auto choose = [tool](SkedaTool::Button button) {
        if (!tool->isButtonChecked(button))
            tool->clickButton(button);
    };
    if (command == QLatin1String("show")) {
        m_board->showSkeda();
        m_board->raise();
        m_board->activateWindow();
    } else if (command == QLatin1String("close")) {
        if (m_board->isVisible())
            tool->clickButton(SkedaTool::CloseButton);
    } else if (command == QLatin1String("toggle")) {
        return run(m_board->isVisible() ? QStringLiteral("close") : QStringLiteral("show"));
    } else if (command == QLatin1String("pen")) {
        choose(SkedaTool::PenButton);
    } else if (command == QLatin1String("eraser")) {
        choose(SkedaTool::EraserButton);
    } else if (command == QLatin1String("desktop")) {
        choose(SkedaTool::SelectButton);
    } else if (command == QLatin1String("undo")) {
        m_board->undo();
    } else if (command == QLatin1String("redo")) {
        m_board->redo();
    } else if (command == QLatin1String("clear")) {
        m_board->view()->clearAllItem();
    } else if (command == QLatin1String("screenshot")) {
        // Refused in one line where the screen cannot be captured; nothing
        // opens and the board stays as it is.
        if (!ScreenShot::canCaptureScreen())
            return QByteArrayLiteral("error this session cannot capture the screen");
        if (!m_board->isVisible())
            m_board->showSkeda();
        tool->clickButton(SkedaTool::ScreenShotButton);
    } else if (command == QLatin1String("quit")) {
        // After the answer has gone out.
        QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit,
                                  Qt::QueuedConnection);
    } else {
        return QByteArrayLiteral("error unknown command ") + command.toUtf8();
    }
    return QByteArrayLiteral("ok");
}
