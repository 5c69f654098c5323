// The toolbar when the pen popup's QML cannot be loaded: here a QtQuick
// module on the import path whose plugin does not exist. The toolbar says
// so and works on without the popup.

#include "toolbartestutil.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace ToolbarTest;

class TestToolbarNoQml : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { initScaleFromScreen(); }
    void brokenQmlModule();
};

void TestToolbarNoQml::brokenQmlModule()
{
    // A module directory found before Qt's own: its plugin is missing.
    QTemporaryDir imports;
    QVERIFY(imports.isValid());
    QVERIFY(QDir(imports.path()).mkpath(QStringLiteral("QtQuick/Layouts")));
    QFile qmldir(imports.path() + QStringLiteral("/QtQuick/Layouts/qmldir"));
    QVERIFY(qmldir.open(QIODevice::WriteOnly));
    qmldir.write("module QtQuick.Layouts\nplugin skedamissingplugin\n");
    qmldir.close();
    qputenv("QML2_IMPORT_PATH", QFile::encodeName(imports.path()));

    MessageLog messages;
    Rig rig;
    qunsetenv("QML2_IMPORT_PATH");

    QVERIFY(!rig.popup());
    const QString warning = QStringLiteral(
        "SkedaTool: the pen settings popup (qrc:/penSet.qml) could not be loaded, so the pen "
        "button opens nothing; the rest of the toolbar works as usual.");
    bool warned = false;
    for (const QString& line : messages.lines()) {
        if (line.startsWith(warning)) {
            warned = true;
            QVERIFY2(line.contains(QStringLiteral("QtQuick.Layouts")), qPrintable(line));
        }
    }
    QVERIFY2(warned, qPrintable(messages.lines().join(QStringLiteral(" | "))));

    // Everything else works.
    QVERIFY(rig.exposed());
    SignalLog log(rig.tool);
    rig.tool->hideTool();
    rig.click(rig.pen());
    rig.click(rig.pen());
    QVERIFY(!rig.board.findChild<QQuickWidget*>());
    rig.click(rig.eraser());
    rig.click(rig.eraser());
    QVERIFY(rig.panel()->isVisible());
    rig.click(rig.pen());
    QVERIFY(!rig.panel()->isVisible());
    rig.click(rig.select());
    rig.click(rig.screenShot());
    rig.click(rig.close());
    QCOMPARE(log.names, QStringList({"pen", "pen", "eraser", "eraser", "pen", "select",
                                     "screenshot", "close"}));
    rig.click(rig.logo());
    QTRY_COMPARE(rig.frame()->width(), rig.logo()->width());
    rig.tool->setMainWidget(nullptr);
    rig.tool->setMainWidget(&rig.board);
}

QTEST_MAIN(TestToolbarNoQml)
#include "tst_toolbarnoqml.moc"
