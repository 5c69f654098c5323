// Strokes drawn with real pointer input (xdotool, through XTEST) on the
// launcher's board, checked on the screen as a user sees it.

#include "tests/support/launcherprocess.h"
#include "tests/support/x11desktop.h"

#include <QDir>
#include <QProcess>
#include <QtMath>
#include <QtTest>

#include <X11/Xlib.h>

namespace {

constexpr unsigned long kDesktop = 0xE9EEF2;
const QColor kInk(0xF7, 0x38, 0x59);

// Pixels of the column x between y0 and y1 that show ink over the desktop.
int inkAcross(const QImage& screen, int x, int y0, int y1)
{
    const QColor desk(QRgb(0xFF000000u | kDesktop));
    int count = 0;
    for (int y = y0; y <= y1; ++y) {
        const QColor c = screen.pixelColor(x, y);
        if (qAbs(c.red() - desk.red()) + qAbs(c.green() - desk.green()) +
                qAbs(c.blue() - desk.blue()) >
            60)
            ++count;
    }
    return count;
}

} // namespace

class TestPenX11 : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_display = XOpenDisplay(nullptr);
        QVERIFY(m_display);
        X11Desktop::paintDesktop(m_display, kDesktop);
        m_launcher.setProcessChannelMode(QProcess::ForwardedChannels);
        QVERIFY(LauncherProcess::start(m_launcher));
        QVERIFY(LauncherProcess::waitForBoard(m_display, m_launcher));
        // The board shown and composited before anything is drawn on it.
        X11Desktop::grabSettled(m_display);
    }

    void cleanupTestCase()
    {
        m_launcher.terminate();
        m_launcher.waitForFinished(10000);
        if (m_display)
            XCloseDisplay(m_display);
    }

    // A straight stroke: full pen width along the body, tapering to a point
    // in its last five pieces while the pointer is lifted.
    void strokeHasABodyAndATaperedTail()
    {
        QVector<QPoint> line;
        for (int x = 300; x <= 900; x += 12)
            line.append(QPoint(x, 700));
        QVERIFY(X11Desktop::drag(line));
        // The board draws in its own process: its tail in the picture, then
        // the picture once it no longer changes.
        QTRY_VERIFY_WITH_TIMEOUT(inkAcross(X11Desktop::grabScreen(m_display), 860, 680, 720) >= 1,
                                 10000);
        const QImage screen = X11Desktop::grabSettled(m_display);

        QCOMPARE(screen.pixelColor(600, 700), kInk);
        // The body is 6 pixels wide (antialiased edges may add one).
        QVERIFY2(inkAcross(screen, 600, 680, 720) >= 6 && inkAcross(screen, 600, 680, 720) <= 8,
                 qPrintable(QString::number(inkAcross(screen, 600, 680, 720))));
        // Points every 12 pixels make pieces between their midpoints; the
        // tail is the last five, from 834 to 894, cut into 13 parts of
        // 60 / 12.5 = 4.8 pixels whose widths fall from 5 to 0.
        QList<int> profile;
        for (int j = 0; j < 13; ++j)
            profile.append(inkAcross(screen, int(834 + 4.8 * j + 2.4), 680, 720));
        QVERIFY2(profile.first() >= 5 && profile.last() <= 2,
                 qPrintable(QStringLiteral("%1 .. %2").arg(profile.first()).arg(profile.last())));
        for (int j = 1; j < profile.size(); ++j)
            QVERIFY2(profile.at(j) <= profile.at(j - 1), qPrintable(QString::number(j)));
        QCOMPARE(inkAcross(screen, 897, 680, 720), 0); // nothing past the tip
        QVERIFY(inkAcross(screen, 300, 680, 720) >= 1);
    }

    // A curve and a tap, kept as the picture of the pen in the docs.
    void curveAndTap()
    {
        QVector<QPoint> wave;
        for (int i = 0; i <= 90; ++i) {
            const qreal t = i / 90.0;
            wave.append(QPoint(300 + int(900 * t), 300 + int(110 * qSin(t * 2 * M_PI))));
        }
        QVERIFY(X11Desktop::drag(wave));
        QVERIFY(X11Desktop::click(QPoint(1300, 300)));
        // The tap's dot is the last thing drawn.
        QTRY_COMPARE_WITH_TIMEOUT(X11Desktop::grabScreen(m_display).pixelColor(1300, 300), kInk,
                                  10000);
        const QImage screen = X11Desktop::grabSettled(m_display);
        // Screen y grows downwards: the wave's lowest point is at (525, 410),
        // its highest at (975, 190).
        QVERIFY(inkAcross(screen, 525, 390, 430) >= 6);
        QVERIFY(inkAcross(screen, 975, 170, 210) >= 6);
        // The tap: a dot 6 pixels across.
        QCOMPARE(screen.pixelColor(1300, 300), kInk);
        QCOMPARE(inkAcross(screen, 1300, 290, 310), 6);

        const QString docs = qEnvironmentVariable("SKEDA_DOCS_DIR");
        if (!docs.isEmpty())
            QVERIFY(screen.copy(QRect(240, 150, 1120, 620))
                        .save(QDir(docs).filePath(QStringLiteral("pen-strokes.png"))));
    }

private:
    Display* m_display = nullptr;
    QProcess m_launcher;
};

QTEST_GUILESS_MAIN(TestPenX11)
#include "tst_pen_x11.moc"
