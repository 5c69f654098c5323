#pragma once

#include <QPoint>
#include <QProcess>
#include <QProcessEnvironment>
#include <QSize>
#include <QStringList>

// Real pointer input on a Wayland compositor: one virtual pointer device
// (the skeda-virtual-pointer client), kept open from start() to the end, so
// that presses and moves all come from the same device. The including test
// is built with SKEDA_VIRTUAL_POINTER_FILE, the client's path.
class VirtualPointer
{
public:
    VirtualPointer() = default;
    ~VirtualPointer() { finish(); }

    VirtualPointer(const VirtualPointer&) = delete;
    VirtualPointer& operator=(const VirtualPointer&) = delete;

    bool start(const QProcessEnvironment& session, const QSize& output)
    {
        m_client.setProcessEnvironment(session);
        m_client.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_client.start(QStringLiteral(SKEDA_VIRTUAL_POINTER_FILE),
                       {QString::number(output.width()), QString::number(output.height())});
        return m_client.waitForStarted() && sync();
    }

    void move(const QPoint& to) { send(QStringLiteral("move %1 %2").arg(to.x()).arg(to.y())); }
    void press() { send(QStringLiteral("down")); }
    void release() { send(QStringLiteral("up")); }

    // A press at `from`, moves in steps of about `step` pixels to `to`, a
    // release there; true once the compositor has handled all of it.
    bool drag(const QPoint& from, const QPoint& to, int step = 10)
    {
        move(from);
        press();
        const QPoint delta = to - from;
        const int steps = qMax(1, qMax(qAbs(delta.x()), qAbs(delta.y())) / step);
        for (int i = 1; i <= steps; ++i)
            move(from + delta * i / steps);
        release();
        return sync();
    }

    // Waits until the compositor has handled everything sent so far.
    bool sync()
    {
        send(QStringLiteral("sync"));
        while (!m_client.canReadLine()) {
            if (m_client.state() != QProcess::Running || !m_client.waitForReadyRead(10000))
                return false;
        }
        return m_client.readLine().trimmed() == "ok";
    }

    // Closes the device and waits for the client to end: true when it
    // ended well.
    bool finish()
    {
        if (m_client.state() == QProcess::NotRunning)
            return m_client.exitStatus() == QProcess::NormalExit && m_client.exitCode() == 0;
        m_client.closeWriteChannel();
        if (!m_client.waitForFinished(10000)) {
            m_client.kill();
            m_client.waitForFinished();
            return false;
        }
        return m_client.exitStatus() == QProcess::NormalExit && m_client.exitCode() == 0;
    }

private:
    void send(const QString& line)
    {
        m_client.write(line.toLatin1() + '\n');
        m_client.waitForBytesWritten();
    }

    QProcess m_client;
};
