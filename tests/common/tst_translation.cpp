// The board's language: chosen from the locale or SKEDA_LANGUAGE, the
// English catalogue on the real widgets, the design's Chinese texts where no
// language is chosen, and every text fitting its control at 1366, 1920 and
// 3840 pixels wide in both languages.

#include "common/common.h"
#include "common/translation.h"
#include "screenshot/screenshot.h"
#include "shell/mainwindow.h"
#include "toolbar/earsepanel.h"
#include "toolbar/skedatool.h"
#include "toolbar/sliderwidget.h"
#include "widgets/mpushbutton_1.h"
#include "widgets/pushbutton_7.h"

#include <QLabel>
#include <QProcess>
#include <QtTest>

#include <cstdio>

namespace {

// The texts a user sees, one per line, as a child process prints them.
QStringList textsOnTheBoard()
{
    MainWindow board;
    board.initUI();
    QStringList texts;
    auto* panel = board.findChild<EarsePanel*>();
    texts << (panel ? panel->findChild<SliderWidget*>()->text() : QString());
    const QStringList buttons{QStringLiteral("logoButton"),       QStringLiteral("selectButton"),
                              QStringLiteral("penButton"),        QStringLiteral("eraserButton"),
                              QStringLiteral("screenShotButton"), QStringLiteral("closeButton")};
    for (const QString& name : buttons)
        texts << board.tool()->findChild<PushButton_7*>(name)->toolTip();
    QPixmap result;
    auto* shot = new ScreenShot(&result, &board);
    texts << shot->promptLabel()->text() << shot->confirmButton()->localText()
          << shot->cancelButton()->localText() << (shot->isChinese() ? "chinese" : "english");
    return texts;
}

// The hint's left end and the width it needs, with the slider's own font.
struct HintFit
{
    int left;
    int advance;
};

HintFit hintFit(SliderWidget* slider)
{
    const QFontMetrics metrics(slider->hintFont());
    const int advance = metrics.horizontalAdvance(slider->text());
    return {slider->hintRect().right() + 1 - advance, advance};
}

} // namespace

class TestTranslation : public QObject
{
    Q_OBJECT

private slots:
    void languageForLocales_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QByteArray>("override");
        QTest::addColumn<int>("expected");
        const int zh = Translation::Chinese;
        const int en = Translation::English;
        QTest::newRow("zh_CN.UTF-8") << "zh_CN.UTF-8" << QByteArray() << zh;
        QTest::newRow("zh_TW") << "zh_TW" << QByteArray() << zh;
        QTest::newRow("C") << "C" << QByteArray() << zh;
        QTest::newRow("POSIX") << "POSIX" << QByteArray() << zh;
        QTest::newRow("en_US.UTF-8") << "en_US.UTF-8" << QByteArray() << en;
        QTest::newRow("de_DE.UTF-8") << "de_DE.UTF-8" << QByteArray() << en;
        QTest::newRow("de_DE@euro") << "de_DE@euro" << QByteArray() << en;
        QTest::newRow("override zh") << "de_DE.UTF-8" << QByteArray("zh") << zh;
        QTest::newRow("override en") << "zh_CN.UTF-8" << QByteArray("en") << en;
        QTest::newRow("override EN in C") << "C" << QByteArray(" EN ") << en;
    }

    void languageForLocales()
    {
        QFETCH(QString, locale);
        QFETCH(QByteArray, override);
        QFETCH(int, expected);
        QCOMPARE(int(Translation::languageFor(locale, override)), expected);
    }

    void anUnknownOverrideFollowsTheLocale()
    {
        QTest::ignoreMessage(QtWarningMsg, "Skeda: SKEDA_LANGUAGE=\"fr\" is neither \"zh\" nor "
                                           "\"en\"; the board follows the locale");
        QCOMPARE(Translation::languageFor(QStringLiteral("C"), "fr"), Translation::Chinese);
        QCOMPARE(Translation::languageFor(QStringLiteral("de_DE"), "fr"), Translation::English);
    }

    // Each locale in a process of its own, as a user starts the board.
    void theBoardSpeaksTheLocalesLanguage_data()
    {
        QTest::addColumn<QString>("lang");
        QTest::addColumn<QString>("override");
        QTest::addColumn<QStringList>("expected");
        const QStringList chinese{QStringLiteral(">>> 右滑清屏"),
                                  QStringLiteral("折叠或展开工具栏；拖动可移动工具栏"),
                                  QStringLiteral("选择桌面：点击穿过白板"),
                                  QStringLiteral("画笔——再点一次选择颜色和粗细"),
                                  QStringLiteral("橡皮擦——再点一次清空白板"),
                                  QStringLiteral("区域截图"),
                                  QStringLiteral("关闭白板"),
                                  QStringLiteral("请拖拽一个区域"),
                                  QStringLiteral("确定"),
                                  QStringLiteral("取消"),
                                  QStringLiteral("chinese")};
        const QStringList english{QStringLiteral(">> Slide to clear"),
                                  QStringLiteral("Fold or unfold the toolbar; drag to move it"),
                                  QStringLiteral("Select desktop: clicks go through the board"),
                                  QStringLiteral("Pen — click again for colour and width"),
                                  QStringLiteral("Eraser — click again to clear the board"),
                                  QStringLiteral("Screenshot of a region"),
                                  QStringLiteral("Close the board"),
                                  QStringLiteral("Drag to select an area"),
                                  QStringLiteral("Yes"),
                                  QStringLiteral("No"),
                                  QStringLiteral("english")};
        QTest::newRow("zh_CN.UTF-8") << "zh_CN.UTF-8" << QString() << chinese;
        QTest::newRow("C") << "C" << QString() << chinese;
        QTest::newRow("en_US.UTF-8") << "en_US.UTF-8" << QString() << english;
        QTest::newRow("de_DE.UTF-8") << "de_DE.UTF-8" << QString() << english;
        QTest::newRow("de_DE.UTF-8, SKEDA_LANGUAGE=zh") << "de_DE.UTF-8"
                                                        << "zh" << chinese;
        QTest::newRow("C, SKEDA_LANGUAGE=en") << "C"
                                              << "en" << english;
    }

    void theBoardSpeaksTheLocalesLanguage()
    {
        QFETCH(QString, lang);
        QFETCH(QString, override);
        QFETCH(QStringList, expected);
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.remove(QStringLiteral("LC_ALL"));
        env.remove(QStringLiteral("LC_MESSAGES"));
        env.remove(QStringLiteral("LANGUAGE"));
        env.insert(QStringLiteral("LANG"), lang);
        if (override.isEmpty())
            env.remove(QStringLiteral("SKEDA_LANGUAGE"));
        else
            env.insert(QStringLiteral("SKEDA_LANGUAGE"), override);
        env.insert(QStringLiteral("SKEDA_PRINT_TEXTS"), QStringLiteral("1"));
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        QProcess child;
        child.setProcessEnvironment(env);
        child.start(QCoreApplication::applicationFilePath(), QStringList());
        QVERIFY(child.waitForFinished(30000));
        QCOMPARE(child.exitCode(), 0);
        const QStringList texts = QString::fromUtf8(child.readAllStandardOutput())
                                      .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QCOMPARE(texts, expected);
    }

    // A host that translates the board's texts itself keeps its own
    // translation, in English as in any language.
    void aHostsTranslatorIsKept()
    {
        class HostTranslator : public QTranslator
        {
        public:
            QString translate(const char* context, const char* source, const char*,
                              int) const override
            {
                if (qstrcmp(context, "EarsePanel") == 0 && qstrcmp(source, ">>> 右滑清屏") == 0)
                    return QStringLiteral(">>> Wischen zum Löschen");
                return QString();
            }
            bool isEmpty() const override { return false; }
        };
        HostTranslator host;
        QVERIFY(QCoreApplication::installTranslator(&host));
        qputenv("SKEDA_LANGUAGE", "en");
        Translation::install();
        EarsePanel panel;
        QCOMPARE(panel.findChild<SliderWidget*>()->text(),
                 QStringLiteral(">>> Wischen zum Löschen"));
        // The board's own catalogue stayed out: the other texts are Chinese.
        QCOMPARE(QCoreApplication::translate("SkedaTool", "区域截图"), QStringLiteral("区域截图"));
        QCoreApplication::removeTranslator(&host);
        qunsetenv("SKEDA_LANGUAGE");
    }

    // Both languages, three screen widths: the slider's hint ends before
    // the track's end and starts right of the handle at rest; the captions
    // fit their buttons; the prompt fits its label.
    void textsFit_data()
    {
        QTest::addColumn<QString>("language");
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        // Chinese first: once the English catalogue is installed, this
        // process speaks English.
        for (const char* language : {"zh", "en"}) {
            for (const QSize& screen : {QSize(1366, 768), QSize(1920, 1080), QSize(3840, 2160)}) {
                QTest::addRow("%s %dx%d", language, screen.width(), screen.height())
                    << QString::fromLatin1(language) << screen.width() << screen.height();
            }
        }
    }

    void textsFit()
    {
        QFETCH(QString, language);
        QFETCH(int, width);
        QFETCH(int, height);
        qputenv("SKEDA_LANGUAGE", language.toLatin1());
        Translation::install();
        Common::getInstance()->InitSize(QSize(width, height));
        const bool chinese = language == QLatin1String("zh");

        EarsePanel panel;
        auto* slider = panel.findChild<SliderWidget*>();
        QVERIFY(slider);
        QCOMPARE(slider->text(),
                 chinese ? QStringLiteral(">>> 右滑清屏") : QStringLiteral(">> Slide to clear"));
        const HintFit hint = hintFit(slider);
        QVERIFY2(hint.advance <= slider->hintRect().width(), "the hint overruns the track");
        QVERIFY(slider->hintRect().right() < slider->width());
        const int handleRight = slider->handle()->geometry().right();
        QVERIFY2(hint.left > handleRight,
                 qPrintable(QStringLiteral("the hint starts at %1, under the handle (to %2)")
                                .arg(hint.left)
                                .arg(handleRight)));

        QPixmap result;
        ScreenShot shot(&result, nullptr);
        QCOMPARE(shot.isChinese(), chinese);
        const QFont captionFont = Common::getInstance()->getFont(12);
        for (mPushButton_1* button : {shot.confirmButton(), shot.cancelButton()}) {
            const int advance = QFontMetrics(captionFont).horizontalAdvance(button->localText());
            // The caption is centred in a band as wide as the button.
            QVERIFY2(advance <= button->width(),
                     qPrintable(QStringLiteral("\"%1\" needs %2 px of %3")
                                    .arg(button->localText())
                                    .arg(advance)
                                    .arg(button->width())));
        }
        QLabel* prompt = shot.promptLabel();
        QVERIFY(QFontMetrics(prompt->font()).horizontalAdvance(prompt->text()) <= prompt->width());

        if (!chinese && width == 1920 && qEnvironmentVariableIsSet("SKEDA_DOC_PICTURES")) {
            const QString folder = qEnvironmentVariable("SKEDA_DOC_PICTURES");
            panel.grab().save(folder + QStringLiteral("/clearpanel-english.png"));
        }
    }
};

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsSet("SKEDA_PRINT_TEXTS")) {
        QApplication app(argc, argv);
        const QStringList texts = textsOnTheBoard();
        // UTF-8 whatever the locale, for the parent to read.
        std::fputs((texts.join(QLatin1Char('\n')) + QLatin1Char('\n')).toUtf8().constData(),
                   stdout);
        return 0;
    }
    QApplication app(argc, argv);
    TestTranslation test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_translation.moc"
