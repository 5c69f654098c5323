// A host that treats the board roughly: it deletes the board window from the
// handlers of the board's own signals, deletes the plugin object while the
// board is in use, unloads the plugin while it still holds the board, and
// calls showSkeda() far more often than needed. Built as a host is built: it
// sees the interface header only and loads libSkeda with QPluginLoader.

#include "interface/skedainterface.h"
#include "tests/support/mouseinput.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QGraphicsView>
#include <QPluginLoader>
#include <QPointer>
#include <QSignalSpy>
#include <QTouchDevice>
#include <QtTest>

namespace {

QWidget* childOfClass(QWidget* parent, const char* className)
{
    const QList<QWidget*> children = parent->findChildren<QWidget*>();
    for (QWidget* child : children) {
        if (qstrcmp(child->metaObject()->className(), className) == 0)
            return child;
    }
    return nullptr;
}

QList<QWidget*> childrenOfClass(QWidget* parent, const char* className)
{
    QList<QWidget*> found;
    const QList<QWidget*> children = parent->findChildren<QWidget*>();
    for (QWidget* child : children) {
        if (qstrcmp(child->metaObject()->className(), className) == 0)
            found.append(child);
    }
    return found;
}

QWidget* toolbarOf(QWidget* board)
{
    return childOfClass(board, "SkedaTool");
}

// Draws a stroke on the board through its canvas and reports whether the
// scene grew.
bool drawsOn(QWidget* board)
{
    auto* view = board->findChild<QGraphicsView*>();
    if (!view || !view->scene())
        return false;
    const int before = view->scene()->items().size();
    MouseInput::drag(view->viewport(), QPoint(500, 500), QPoint(700, 560));
    return view->scene()->items().size() > before;
}

// The screenshot overlay's two buttons: cancel on the left, confirm on the
// right.
QAbstractButton* overlayButton(QWidget* overlay, bool confirm)
{
    QList<QWidget*> buttons = childrenOfClass(overlay, "mPushButton_1");
    if (buttons.size() != 2)
        return nullptr;
    std::sort(buttons.begin(), buttons.end(),
              [](QWidget* a, QWidget* b) { return a->x() < b->x(); });
    return qobject_cast<QAbstractButton*>(buttons.at(confirm ? 1 : 0));
}

} // namespace

class TestHostFaults : public QObject
{
    Q_OBJECT

private:
    QPluginLoader m_loader;

    SkedaInterFace* plugin() { return qobject_cast<SkedaInterFace*>(m_loader.instance()); }

    // Whether libSkeda is mapped into this process.
    static bool libraryMapped()
    {
        QFile maps(QStringLiteral("/proc/self/maps"));
        return maps.open(QIODevice::ReadOnly) &&
               maps.readAll().contains(
                   QFileInfo(QStringLiteral(SKEDA_PLUGIN_FILE)).fileName().toLocal8Bit());
    }

private slots:
    void initTestCase()
    {
        QVERIFY(!libraryMapped());
        m_loader.setFileName(QStringLiteral(SKEDA_PLUGIN_FILE));
        QVERIFY(plugin());
        QVERIFY(libraryMapped());
    }

    // The host frees the board when the user closes it, from inside the
    // close signal that the toolbar's close button set off.
    void deleteWindowOnClose()
    {
        SkedaInterFace* board = plugin();
        QVERIFY(board);
        QPointer<QWidget> window = board->createWidget(nullptr);
        board->showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QWidget* toolbar = toolbarOf(window);
        QVERIFY(toolbar);
        auto* close = toolbar->findChild<QAbstractButton*>(QStringLiteral("closeButton"));
        QVERIFY(close);
        QObject scope;
        int closes = 0;
        connect(board, &SkedaInterFace::sigSkedaClose, &scope, [&] {
            ++closes;
            delete window.data();
        });
        QTest::mouseClick(close, Qt::LeftButton);
        QCOMPARE(closes, 1);
        QVERIFY(!window);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();

        // The plugin knows: it says so, then builds a new board.
        QTest::ignoreMessage(QtWarningMsg, "Skeda::showSkeda(): there is no board to show; call "
                                           "createWidget() first");
        board->showSkeda();
        QPointer<QWidget> fresh = board->createWidget(nullptr);
        QVERIFY(fresh);
        board->showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(fresh));
        QVERIFY(drawsOn(fresh));
        delete fresh.data();
    }

    // The host frees the board as soon as it has the screenshot, from inside
    // the signal that the overlay's confirm button set off.
    void deleteWindowOnScreenshot()
    {
        SkedaInterFace* board = plugin();
        QPointer<QWidget> window = board->createWidget(nullptr);
        board->showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QObject scope;
        QSize received(-1, -1);
        connect(board, &SkedaInterFace::sigScreenShotPixmap, &scope, [&](const QPixmap& pix) {
            received = pix.size();
            delete window.data();
        });
        QVERIFY(QMetaObject::invokeMethod(toolbarOf(window), "sigScreenShot"));
        QPointer<QWidget> overlay = childOfClass(window, "ScreenShot");
        QVERIFY(overlay);
        MouseInput::drag(overlay, QPoint(100, 100), QPoint(299, 199));
        QAbstractButton* confirm = overlayButton(overlay, true);
        QVERIFY(confirm);
        QTest::mouseClick(confirm, Qt::LeftButton);
        // The offscreen platform cannot grab its screen: an empty picture.
        const bool offscreen = QGuiApplication::platformName() == QLatin1String("offscreen");
        QCOMPARE(received, offscreen ? QSize(0, 0) : QSize(200, 100));
        QVERIFY(!window);
        QVERIFY(!overlay);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
    }

    // The host frees the board while a screenshot is being captured (inside
    // the overlay's short wait for the screen to be repainted).
    void deleteWindowWhileCapturing()
    {
        SkedaInterFace* board = plugin();
        QPointer<QWidget> window = board->createWidget(nullptr);
        board->showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QSignalSpy shots(board, &SkedaInterFace::sigScreenShotPixmap);
        QVERIFY(QMetaObject::invokeMethod(toolbarOf(window), "sigScreenShot"));
        QPointer<QWidget> overlay = childOfClass(window, "ScreenShot");
        QVERIFY(overlay);
        MouseInput::drag(overlay, QPoint(100, 100), QPoint(299, 199));
        QTimer::singleShot(10, this, [&] { delete window.data(); });
        overlayButton(overlay, true)->click();
        QVERIFY(!window);
        QVERIFY(!overlay);
        QCOMPARE(shots.count(), 0);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    // The plugin object goes while the board is open; the board stays usable
    // and its signals go nowhere.
    void deletePluginWhileBoardOpen()
    {
        QPointer<QObject> instance = m_loader.instance();
        auto* board = qobject_cast<SkedaInterFace*>(instance);
        QPointer<QWidget> window = board->createWidget(nullptr);
        board->showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        delete instance.data();
        QVERIFY(window);
        QVERIFY(drawsOn(window));
        QWidget* toolbar = toolbarOf(window);
        QVERIFY(QMetaObject::invokeMethod(toolbar, "sigScreenShot"));
        QPointer<QWidget> overlay = childOfClass(window, "ScreenShot");
        MouseInput::drag(overlay, QPoint(100, 100), QPoint(150, 150));
        QTest::mouseClick(overlayButton(overlay, true), Qt::LeftButton);
        QVERIFY(!window->isVisible());
        window->show();
        QTest::mouseClick(toolbar->findChild<QAbstractButton*>(QStringLiteral("closeButton")),
                          Qt::LeftButton);
        QVERIFY(!window->isVisible());
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QVERIFY(drawsOn(window));
        delete window.data();
    }

    // Unloading the plugin deletes the plugin object and closes the library,
    // while the host still holds the board it was given. The board's code
    // must stay where it is.
    void unloadWhileBoardAlive()
    {
        SkedaInterFace* board = plugin();
        QPointer<QWidget> window = board->createWidget(nullptr);
        board->showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QVERIFY(drawsOn(window));
        // The one loader lets go of the library: Qt deletes the plugin object
        // and closes the library.
        QVERIFY(m_loader.unload());
        QVERIFY(!m_loader.isLoaded());
        QVERIFY(window);
        QVERIFY(libraryMapped());
        window->hide();
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QVERIFY(drawsOn(window));
        QWidget* toolbar = toolbarOf(window);
        QVERIFY(QMetaObject::invokeMethod(toolbar, "sigEraseBtn"));
        QVERIFY(QMetaObject::invokeMethod(toolbar, "sigClear"));
        QVERIFY(QMetaObject::invokeMethod(toolbar, "sigPen"));
        QVERIFY(drawsOn(window));
        delete window.data();

        // Loaded again, the plugin hands out a fresh object and board.
        SkedaInterFace* again = plugin();
        QVERIFY(again);
        QPointer<QWidget> second = again->createWidget(nullptr);
        again->showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(second));
        QVERIFY(drawsOn(second));
        delete second.data();
    }

    // showSkeda() over and over, with the board shown, closed, and shown by
    // the host itself.
    void showSkedaOverAndOver()
    {
        SkedaInterFace* board = plugin();
        QPointer<QWidget> window = board->createWidget(nullptr);
        const int windows = QApplication::topLevelWidgets().size();
        for (int i = 0; i < 5000; ++i) {
            board->showSkeda();
            if (i % 500 == 250)
                window->close();
            if (i % 100 == 0)
                QCoreApplication::processEvents();
        }
        QVERIFY(window->isVisible());
        QVERIFY(toolbarOf(window)->isVisible());
        QCOMPARE(QApplication::topLevelWidgets().size(), windows);
        QCOMPARE(board->createWidget(nullptr), window.data());
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QVERIFY(drawsOn(window));
        delete window.data();
    }
};

QTEST_MAIN(TestHostFaults)
#include "tst_hostfaults.moc"
