// The board logs under categories of its own, "skeda.<subsystem>": a host
// sees its warnings and trace lines there and silences them with rules of
// its own.

#include "canvas/myminigraphicsview.h"
#include "shell/mainwindow.h"

#include <QLoggingCategory>
#include <QtTest>

namespace {

struct Logged
{
    QtMsgType type;
    QString category;
    QString message;
};

QVector<Logged> logged;

void collect(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    logged.append({type, QString::fromLatin1(context.category), message});
}

} // namespace

class TestLogging : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { QLoggingCategory::setFilterRules(QString()); }

    void warningsAndTraceLinesHaveTheirCategories()
    {
        MainWindow board;
        board.initUI();
        logged.clear();
        const QtMessageHandler previous = qInstallMessageHandler(collect);
        board.initUI();
        board.selectDesktop(true);
        qInstallMessageHandler(previous);

        // Offscreen, desktop mode also warns once that this is no X11
        // session.
        QCOMPARE(logged.size(), 3);
        QCOMPARE(logged.at(0).type, QtWarningMsg);
        QCOMPARE(logged.at(0).category, QStringLiteral("skeda.shell"));
        QCOMPARE(logged.at(0).message,
                 QStringLiteral("MainWindow::initUI() called again; the board is already set up"));
        QCOMPARE(logged.at(1).type, QtDebugMsg);
        QCOMPARE(logged.at(1).category, QStringLiteral("skeda.shell"));
        QCOMPARE(logged.at(1).message, QStringLiteral("qx===="));
        QCOMPARE(logged.at(2).type, QtWarningMsg);
        QCOMPARE(logged.at(2).category, QStringLiteral("skeda.shell"));
        QVERIFY(logged.at(2).message.startsWith(
            QStringLiteral("MainWindow: this is not an X11 session")));
    }

    void aHostSilencesThem()
    {
        MainWindow board;
        board.initUI();
        QLoggingCategory::setFilterRules(QStringLiteral("skeda.*=false"));
        logged.clear();
        const QtMessageHandler previous = qInstallMessageHandler(collect);
        board.initUI();
        board.selectDesktop(true);
        qDebug("the host's own line");
        qInstallMessageHandler(previous);
        QCOMPARE(logged.size(), 1);
        QCOMPARE(logged.at(0).message, QStringLiteral("the host's own line"));
        QCOMPARE(logged.at(0).category, QStringLiteral("default"));
    }
};

QTEST_MAIN(TestLogging)
#include "tst_logging.moc"
