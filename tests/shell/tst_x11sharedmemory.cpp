// The launcher's choice of how Qt sends window updates to the X server, made
// in the environment before the application exists.

#include "shell/x11sharedmemory.h"

#include <QtTest>

namespace {

const char* const QtVariable = "QT_XCB_NO_MITSHM";

// Sets `name` to `value`, or unsets it for a null value.
void setVariable(const char* name, const char* value)
{
    if (value)
        qputenv(name, value);
    else
        qunsetenv(name);
}

} // namespace

class TestX11SharedMemory : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        qunsetenv(QtVariable);
        qunsetenv(X11SharedMemory::KeepVariable);
    }

    void cleanup() { init(); }

    void choiceFollowsTheEnvironment_data()
    {
        QTest::addColumn<QByteArray>("qtBefore");
        QTest::addColumn<QByteArray>("keep");
        QTest::addColumn<bool>("off");
        QTest::addColumn<QByteArray>("qtAfter");

        const QByteArray unset;
        QTest::newRow("nothing set: off") << unset << unset << true << QByteArray("1");
        QTest::newRow("kept by the user") << unset << QByteArray("1") << false << unset;
        QTest::newRow("keep set to 0: off") << unset << QByteArray("0") << true << QByteArray("1");
        QTest::newRow("keep set empty: off") << unset << QByteArray("") << true << QByteArray("1");
        // Qt turns shared memory off when its variable is set at all, to
        // whatever value: the user's value is left as it is.
        QTest::newRow("Qt's variable set to 0")
            << QByteArray("0") << unset << true << QByteArray("0");
        QTest::newRow("Qt's variable set empty")
            << QByteArray("") << unset << true << QByteArray("");
        QTest::newRow("Qt's variable wins over keep")
            << QByteArray("1") << QByteArray("1") << true << QByteArray("1");
    }

    void choiceFollowsTheEnvironment()
    {
        QFETCH(QByteArray, qtBefore);
        QFETCH(QByteArray, keep);
        QFETCH(bool, off);
        QFETCH(QByteArray, qtAfter);

        setVariable(QtVariable, qtBefore.isNull() ? nullptr : qtBefore.constData());
        setVariable(X11SharedMemory::KeepVariable, keep.isNull() ? nullptr : keep.constData());

        QCOMPARE(X11SharedMemory::turnOff(), off);
        QCOMPARE(qEnvironmentVariableIsSet(QtVariable), !qtAfter.isNull());
        if (!qtAfter.isNull())
            QCOMPARE(qgetenv(QtVariable), qtAfter);
        // The user's own variable is never touched.
        QCOMPARE(qEnvironmentVariableIsSet(X11SharedMemory::KeepVariable), !keep.isNull());
    }

    void aSecondCallChangesNothing()
    {
        QVERIFY(X11SharedMemory::turnOff());
        QVERIFY(X11SharedMemory::turnOff());
        QCOMPARE(qgetenv(QtVariable), QByteArray("1"));
    }
};

QTEST_APPLESS_MAIN(TestX11SharedMemory)
#include "tst_x11sharedmemory.moc"
