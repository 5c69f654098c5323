// The running board's command socket, talked to as the launcher does: one
// line per command, one answer line each, and a connection that sends more
// than a command line is closed without the board keeping its bytes.

#include "canvas/myminigraphicsscene.h"
#include "shell/commandserver.h"
#include "shell/mainwindow.h"
#include "toolbar/skedatool.h"

#include <QLocalSocket>
#include <QtTest>

namespace {

const char kTooLong[] = "skeda: a command line longer than 64 bytes came in; that connection is "
                        "closed";

} // namespace

class TestCommandServer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_board = new MainWindow;
        m_board->initUI();
        m_server = new CommandServer(m_board);
        m_name = QStringLiteral("skeda-test-%1").arg(QCoreApplication::applicationPid());
        QVERIFY(m_server->listen(m_name));
    }

    void cleanupTestCase()
    {
        delete m_board;
        m_board = nullptr;
    }

    // Lines that come together are answered one by one, in order.
    void answersEveryLine()
    {
        QLocalSocket socket;
        QVERIFY(connectTo(socket));
        socket.write("eraser\nbogus\n  pen  \n");
        QCOMPARE(readLine(socket), QByteArray("ok\n"));
        QCOMPARE(readLine(socket), QByteArray("error unknown command bogus\n"));
        QCOMPARE(readLine(socket), QByteArray("ok\n"));
        QVERIFY(m_board->tool()->isButtonChecked(SkedaTool::PenButton));
    }

    // A command line of the longest length is read, its newline coming
    // later.
    void longestLineIsRead()
    {
        QLocalSocket socket;
        QVERIFY(connectTo(socket));
        const QByteArray longest(CommandServer::LongestLine, 'x');
        QCOMPARE(longest.size(), 64);
        socket.write(longest);
        socket.flush();
        QCoreApplication::processEvents();
        QCOMPARE(socket.bytesAvailable(), 0);
        QCOMPARE(socket.state(), QLocalSocket::ConnectedState);
        socket.write("\n");
        QCOMPARE(readLine(socket), QByteArray("error unknown command ") + longest + '\n');
    }

    void longerLineClosesTheConnection_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("65 characters and a newline") << QByteArray(65, 'x') + '\n';
        QTest::newRow("65 characters, no newline") << QByteArray(65, 'x');
        QTest::newRow("a command, then 1 MiB without a newline")
            << QByteArray("undo\n") + QByteArray(1 << 20, 'x');
    }

    void longerLineClosesTheConnection()
    {
        QFETCH(QByteArray, bytes);
        QLocalSocket socket;
        QVERIFY(connectTo(socket));
        QByteArray answers;
        connect(&socket, &QLocalSocket::readyRead, this,
                [&answers, &socket] { answers += socket.readAll(); });
        QTest::ignoreMessage(QtWarningMsg, kTooLong);
        socket.write(bytes);
        QTRY_COMPARE(socket.state(), QLocalSocket::UnconnectedState);
        // Only the command before the long line was answered.
        QCOMPARE(answers, bytes.startsWith("undo\n") ? QByteArray("ok\n") : QByteArray());

        // The board still takes commands.
        QLocalSocket next;
        QVERIFY(connectTo(next));
        next.write("redo\n");
        QCOMPARE(readLine(next), QByteArray("ok\n"));
    }

private:
    bool connectTo(QLocalSocket& socket)
    {
        socket.connectToServer(m_name);
        return socket.waitForConnected(5000);
    }

    // The next answer line (the server runs in this thread: wait serving
    // its events).
    static QByteArray readLine(QLocalSocket& socket)
    {
        socket.flush();
        if (!QTest::qWaitFor([&socket] { return socket.canReadLine(); }, 5000))
            return QByteArray("(no answer)");
        return socket.readLine();
    }

    MainWindow* m_board = nullptr;
    CommandServer* m_server = nullptr;
    QString m_name;
};

QTEST_MAIN(TestCommandServer)
#include "tst_commandserver.moc"
