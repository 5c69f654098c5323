// Loads libSkeda the way a host application does: through QPluginLoader,
// knowing nothing of it but the public interface header.

#include "interface/skedainterface.h"

#include <QFile>
#include <QPluginLoader>
#include <QPointer>
#include <QResource>
#include <QWidget>
#include <QtTest>

#include <elf.h>

#include <cstring>

namespace {

// The bytes of the named ELF section of a 64-bit shared object.
QByteArray elfSection(const QString& fileName, const char* sectionName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray data = file.readAll();
    if (data.size() < int(sizeof(Elf64_Ehdr)) ||
        std::memcmp(data.constData(), ELFMAG, SELFMAG) != 0)
        return {};
    Elf64_Ehdr header;
    std::memcpy(&header, data.constData(), sizeof header);
    const auto sectionAt = [&data, &header](int index) {
        Elf64_Shdr section;
        std::memcpy(&section, data.constData() + header.e_shoff + index * header.e_shentsize,
                    sizeof section);
        return section;
    };
    const Elf64_Shdr names = sectionAt(header.e_shstrndx);
    for (int i = 0; i < header.e_shnum; ++i) {
        const Elf64_Shdr section = sectionAt(i);
        const char* name = data.constData() + names.sh_offset + section.sh_name;
        if (std::strcmp(name, sectionName) == 0)
            return data.mid(int(section.sh_offset), int(section.sh_size));
    }
    return {};
}

} // namespace

class TestPlugin : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_loader.setFileName(QStringLiteral(SKEDA_PLUGIN_FILE));
        QVERIFY2(m_loader.load(), qPrintable(m_loader.errorString()));
    }

    void cleanupTestCase() { qDeleteAll(m_windows); }

    void metaDataNamesTheInterfaceAndClass()
    {
        const QJsonObject meta = m_loader.metaData();
        QCOMPARE(meta.value(QStringLiteral("IID")).toString(),
                 QStringLiteral("SkedaInterFace_IID"));
        QCOMPARE(meta.value(QStringLiteral("className")).toString(), QStringLiteral("Skeda"));
        QCOMPARE(meta.value(QStringLiteral("debug")).toBool(), false);
        QCOMPARE(meta.value(QStringLiteral("version")).toInt(), 0x050F00);
        QVERIFY(!meta.contains(QStringLiteral("MetaData")));
    }

    // The record the loader reads before it loads anything: header, format
    // version 0, Qt 5.15, no architecture requirements (a release build
    // without AVX requirements), then a CBOR map {2: IID, 3: class name}.
    void metaDataRecordBytes()
    {
        QByteArray expected("QTMETADATA !");
        expected.append('\x00').append('\x05').append('\x0F').append('\x00');
        expected.append('\xBF');
        expected.append('\x02').append(char(0x60 + 18)).append("SkedaInterFace_IID");
        expected.append('\x03').append(char(0x60 + 5)).append("Skeda");
        expected.append('\xFF');
        const QByteArray section = elfSection(QStringLiteral(SKEDA_PLUGIN_FILE), ".qtmetadata");
        QCOMPARE(section.toHex(' '), expected.toHex(' '));
    }

    void instanceCastsToTheInterface()
    {
        QObject* instance = m_loader.instance();
        QVERIFY(instance);
        QCOMPARE(instance->metaObject()->className(), "Skeda");
        auto* board = qobject_cast<SkedaInterFace*>(instance);
        QVERIFY(board);
        QCOMPARE(m_loader.instance(), instance);
    }

    void metacastAnswers()
    {
        QObject* instance = m_loader.instance();
        QCOMPARE(instance->qt_metacast("Skeda"), static_cast<void*>(instance));
        QCOMPARE(instance->qt_metacast("SkedaInterFace_IID"),
                 static_cast<void*>(static_cast<SkedaInterFace*>(instance)));
        QCOMPARE(instance->qt_metacast("SkedaInterFace"),
                 static_cast<void*>(static_cast<SkedaInterFace*>(instance)));
        QCOMPARE(instance->qt_metacast("QObject"), static_cast<void*>(instance));
        QCOMPARE(instance->qt_metacast("QWidget"), nullptr);
    }

    void resourcesAreRegisteredAtLoad()
    {
        QVERIFY(QFile::exists(QStringLiteral(":/penSet.qml")));
        QResource qml(QStringLiteral(":/penSet.qml"));
        QVERIFY(qml.isValid());
        QCOMPARE(qml.compressionAlgorithm(), QResource::ZlibCompression);
        QFile file(QStringLiteral(":/penSet.qml"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().contains("signalPenColor"));
    }

    void createWidgetOnceAndForAll()
    {
        auto* board = qobject_cast<SkedaInterFace*>(m_loader.instance());
        QWidget host;
        QWidget* first = board->createWidget(nullptr);
        QVERIFY(first);
        m_windows.append(first);
        QCOMPARE(first->metaObject()->className(), "MainWindow");
        QCOMPARE(first->parent(), nullptr);
        QVERIFY(first->isWindow());
        QVERIFY(!first->isVisible());

        QWidget* second = board->createWidget(&host);
        QCOMPARE(second, first);
        QCOMPARE(second->parent(), nullptr);

        board->showSkeda();
        QVERIFY(first->isVisible());
        first->close();
        QVERIFY(!first->isVisible());
    }

    // Two createWidget() calls connect the window's signals once.
    void signalsAreForwardedOnce()
    {
        auto* board = qobject_cast<SkedaInterFace*>(m_loader.instance());
        QWidget* window = board->createWidget(nullptr);
        board->createWidget(window);
        QSignalSpy closed(board, &SkedaInterFace::sigSkedaClose);
        QSignalSpy shot(board, &SkedaInterFace::sigScreenShotPixmap);

        QVERIFY(QMetaObject::invokeMethod(window, "sigSkedaClose"));
        QCOMPARE(closed.count(), 1);

        QPixmap pixmap(31, 17);
        pixmap.fill(QColor(10, 200, 30));
        QVERIFY(QMetaObject::invokeMethod(window, "sigScreenShotPixmap", Q_ARG(QPixmap, pixmap)));
        QCOMPARE(shot.count(), 1);
        const QPixmap received = shot.first().first().value<QPixmap>();
        QCOMPARE(received.size(), QSize(31, 17));
        QCOMPARE(received.toImage().pixelColor(5, 5), QColor(10, 200, 30));
        QCOMPARE(closed.count(), 1);
    }

    // The user's close command, from the board's toolbar, reaches the host
    // once, with board and toolbar already hidden.
    void closeCommandReachesTheHostOnce()
    {
        auto* board = qobject_cast<SkedaInterFace*>(m_loader.instance());
        QWidget* window = board->createWidget(nullptr);
        board->createWidget(nullptr);
        board->showSkeda();
        QWidget* toolbar = nullptr;
        for (QWidget* child : window->findChildren<QWidget*>()) {
            if (qstrcmp(child->metaObject()->className(), "SkedaTool") == 0)
                toolbar = child;
        }
        QVERIFY(toolbar);
        QVERIFY(toolbar->isVisible());
        QSignalSpy closed(board, &SkedaInterFace::sigSkedaClose);
        bool hiddenFirst = false;
        QObject scope; // the check lives as long as this test
        connect(board, &SkedaInterFace::sigSkedaClose, &scope,
                [&] { hiddenFirst = !window->isVisible() && !toolbar->isVisible(); });
        QVERIFY(QMetaObject::invokeMethod(toolbar, "sigClose"));
        QCOMPARE(closed.count(), 1);
        QVERIFY(hiddenFirst);
    }

    void windowOutlivesThePluginObject()
    {
        QPointer<QObject> instance = m_loader.instance();
        auto* board = qobject_cast<SkedaInterFace*>(instance);
        QPointer<QWidget> window = board->createWidget(nullptr);
        QVERIFY(window);
        delete instance.data();
        QVERIFY(!instance);
        QVERIFY(window);
        window->show();
        QVERIFY(window->isVisible());
        window->close();

        // The loader hands out a fresh plugin object, which has no board yet.
        auto* fresh = qobject_cast<SkedaInterFace*>(m_loader.instance());
        QVERIFY(fresh);
        QTest::ignoreMessage(QtWarningMsg, "Skeda::showSkeda(): there is no board to show; call "
                                           "createWidget() first");
        fresh->showSkeda();
        QWidget* other = fresh->createWidget(nullptr);
        m_windows.append(other);
        QVERIFY(other != window.data());
    }

    // A host may delete the board it was given; the plugin then builds a new
    // one instead of handing out a dangling pointer.
    void hostDeletingTheWindow()
    {
        auto* board = qobject_cast<SkedaInterFace*>(m_loader.instance());
        QWidget* window = board->createWidget(nullptr);
        m_windows.removeAll(window);
        delete window;
        QWidget* replacement = board->createWidget(nullptr);
        QVERIFY(replacement);
        m_windows.append(replacement);
        board->showSkeda();
        QVERIFY(replacement->isVisible());
        replacement->close();
    }

private:
    QPluginLoader m_loader;
    QList<QPointer<QWidget>> m_windows;
};

QTEST_MAIN(TestPlugin)
#include "tst_plugin.moc"
