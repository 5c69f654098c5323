#include "common/common.h"
#include "common/uimanager.h"

#include <QPen>
#include <QtTest>

class TestCommon : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { Common::getInstance()->InitSize(QSize(1920, 1080)); }

    // Runs first: the shared values as the process starts, and one change
    // seen by every later user.
    void sharedValuesAtStart()
    {
        Common* common = Common::getInstance();
        QVERIFY(!common->getDeskSize().isValid());
        QCOMPARE(common->getScale(), 1.0);
        QCOMPARE(common->getFont().family(), QStringLiteral("Microsoft YaHei"));
        QCOMPARE(common->getFont().pixelSize(), 14);
        QCOMPARE(UIManager::getInstance()->pen().width(), 6);
        QCOMPARE(UIManager::getInstance()->pen().color(), QColor("#F73859"));

        const QPen start = UIManager::getInstance()->pen();
        UIManager::getInstance()->setPen(QPen(QColor("#3498DB"), 12));
        QCOMPARE(UIManager::getInstance()->pen().color(), QColor("#3498DB"));
        QCOMPARE(UIManager::getInstance()->pen().width(), 12);
        UIManager::getInstance()->setPen(start);
        common->InitSize(QSize(2560, 1440));
        QCOMPARE(Common::getInstance()->getScale(), 2560 / 1920.0);
        QCOMPARE(Common::getInstance()->getDeskSize(), QSize(2560, 1440));
    }

    void factorAt1920()
    {
        Common* common = Common::getInstance();
        common->InitSize(QSize(1920, 1080));
        QCOMPARE(common->getScale(), 1.0);
        QCOMPARE(common->getDeskSize(), QSize(1920, 1080));
        QCOMPARE(common->getNewSize(80), 80);
        QCOMPARE(common->getNewSize(54, 54), QSize(54, 54));
        QCOMPARE(common->getNewSize(QSize(370, 68)), QSize(370, 68));
        QCOMPARE(common->getFont(64).pixelSize(), 64);
    }

    void factorAt3840()
    {
        Common* common = Common::getInstance();
        common->InitSize(QSize(3840, 2160));
        QCOMPARE(common->getScale(), 2.0);
        QCOMPARE(common->getDeskSize(), QSize(3840, 2160));
        QCOMPARE(common->getNewSize(80), 160);
        QCOMPARE(common->getNewSize(370, 68), QSize(740, 136));
        QCOMPARE(common->getNewSize(QSize(100, 150)), QSize(200, 300));
        QCOMPARE(common->getFont(12).pixelSize(), 24);
    }

    void narrowScreensAreNotScaledDown()
    {
        Common* common = Common::getInstance();
        common->InitSize(QSize(1366, 768));
        QCOMPARE(common->getScale(), 1.0);
        QCOMPARE(common->getDeskSize(), QSize(1366, 768));
        QCOMPARE(common->getNewSize(80), 80);
        QCOMPARE(common->getNewSize(100, 150), QSize(100, 150));
        QCOMPARE(common->getFont(64).pixelSize(), 64);
    }

    // 2880 / 1920 = 1.5: every odd value lands on a half.
    void getNewSizeRoundsHalfAwayFromZero()
    {
        Common* common = Common::getInstance();
        common->InitSize(QSize(2880, 1620));
        QCOMPARE(common->getScale(), 1.5);
        QCOMPARE(common->getNewSize(1), 2);   // 1.5
        QCOMPARE(common->getNewSize(3), 5);   // 4.5
        QCOMPARE(common->getNewSize(-1), -2); // -1.5
        QCOMPARE(common->getNewSize(-3), -5); // -4.5
        QCOMPARE(common->getNewSize(0), 0);
        QCOMPARE(common->getNewSize(5, -5), QSize(8, -8)); // 7.5, -7.5
    }

    // The font size truncates where getNewSize rounds.
    void getFontTruncates()
    {
        Common* common = Common::getInstance();
        common->InitSize(QSize(2880, 1620));
        QCOMPARE(common->getFont(3).pixelSize(), 4);   // 4.5
        QCOMPARE(common->getFont(13).pixelSize(), 19); // 19.5
        QCOMPARE(common->getNewSize(13), 20);
    }

    void getFontIsADefaultFont()
    {
        Common* common = Common::getInstance();
        QFont font = common->getFont(12);
        QCOMPARE(font.family(), QFont().family());
    }

    void defaultFont()
    {
        Common* common = Common::getInstance();
        QCOMPARE(common->getFont().family(), QStringLiteral("Microsoft YaHei"));
        QCOMPARE(common->getFont().pixelSize(), 14);
        const QFont saved = common->getFont();
        QFont other(QStringLiteral("DejaVu Sans"));
        other.setPixelSize(20);
        common->setFont(other);
        QCOMPARE(common->getFont().family(), QStringLiteral("DejaVu Sans"));
        QCOMPARE(common->getFont().pixelSize(), 20);
        common->setFont(saved);
        QCOMPARE(common->getFont().family(), QStringLiteral("Microsoft YaHei"));
    }

    void defaultPen()
    {
        const QPen pen = UIManager::getInstance()->pen();
        QCOMPARE(pen.width(), 6);
        QCOMPARE(pen.color(), QColor(0xF7, 0x38, 0x59));
        QCOMPARE(pen.color().name(), QStringLiteral("#f73859"));
    }

    void penChanges()
    {
        UIManager* manager = UIManager::getInstance();
        const QPen saved = manager->pen();
        manager->setPenColor(QColor(QStringLiteral("#00B8A9")));
        manager->setPenWidth(12);
        QCOMPARE(manager->pen().color(), QColor(0x00, 0xB8, 0xA9));
        QCOMPARE(manager->pen().width(), 12);
        manager->setPen(saved);
        QCOMPARE(manager->pen().width(), 6);
    }
};

QTEST_MAIN(TestCommon)
#include "tst_common.moc"
