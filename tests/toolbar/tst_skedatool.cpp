// The floating toolbar on a board window: its layout at the screen's scale,
// the commands it emits, its two pop-ups and dragging by the logo, all driven
// by mouse input through the window system (and, on X11, by the real
// pointer through xdotool).

#include "toolbartestutil.h"

#include "tests/support/x11desktop.h"

#include <QApplication>
#include <QButtonGroup>
#include <QMetaMethod>
#include <QMouseEvent>
#include <QQuickWindow>

using namespace ToolbarTest;

namespace {

QPixmap icon(const char* name)
{
    if (!name) {
        return QPixmap();
    }
    return QPixmap(QStringLiteral(":/images/minimize/") + QLatin1String(name));
}

// The widget alone, over transparency.
QImage renderAlone(QWidget* widget)
{
    QImage image(widget->size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    widget->render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}

void sendPlain(QWidget* widget, QEvent::Type type)
{
    QEvent event(type);
    QCoreApplication::sendEvent(widget, &event);
}

void sendMouse(QWidget* target, QEvent::Type type, const QPointF& local, const QPointF& global,
               Qt::MouseButton button, Qt::MouseButtons buttons)
{
    QMouseEvent event(type, local, global, button, buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &event);
}

// The parentless pop-ups that appeared since the list was taken.
template<typename T> QList<T*> newTopLevels(const QWidgetList& before)
{
    QList<T*> found;
    const QWidgetList now = QApplication::topLevelWidgets();
    for (QWidget* widget : now) {
        if (!before.contains(widget)) {
            if (T* typed = qobject_cast<T*>(widget)) {
                found << typed;
            }
        }
    }
    return found;
}

// Counts hide and show events of a widget.
class VisibilityCounter : public QObject
{
public:
    explicit VisibilityCounter(QWidget* widget) { widget->installEventFilter(this); }
    int hides = 0;
    int shows = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        hides += event->type() == QEvent::Hide ? 1 : 0;
        shows += event->type() == QEvent::Show ? 1 : 0;
        return false;
    }
};

// Records the frame's geometries as the animation changes it.
class ResizeRecorder : public QObject
{
public:
    explicit ResizeRecorder(QWidget* widget) { widget->installEventFilter(this); }
    QList<QRect> geometries;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Resize || event->type() == QEvent::Move)
            geometries << static_cast<QWidget*>(watched)->geometry();
        return false;
    }
};

} // namespace

class TestSkedaTool : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    // Independent of the screen's scale.
    void metaObject();
    void windowFlagsAndAttributes();
    void buttonsMatchTheirTable();
    void buttonGroupIsExclusive();
    void popupHosting();
    void popupsBelongToTheToolbarUntilSetMainWidget();
    void setMainWidgetNull();
    void mainWidgetGoneFirst();
    void hideToolIsCheapAndHarmless();
    void selectThenPen();
    void penChoosesThenOpensThenCloses();
    void eraserChoosesThenOpensThenCloses();
    void switchingPenAndEraserClosesTheOther();
    void commandsCloseBothPopups_data();
    void commandsCloseBothPopups();
    void logoClickTogglesAndAnimates();
    void dragKeepsExpandedOrCollapsed_data();
    void dragKeepsExpandedOrCollapsed();
    void dragWithTheRealPointer();
    void oddLogoEventsAreHarmless();
    void slideToClearEmitsOneOfEach();
    void penSlotsChangeTheSharedPen();

    // Values of one screen size each; the data tags name the screen width.
    void layout_data();
    void layout();
    void popupPlacement_data();
    void popupPlacement();
    void collapsedAndExpandedFrame_data();
    void collapsedAndExpandedFrame();
};

void TestSkedaTool::initTestCase()
{
    initScaleFromScreen();
    for (const char* name :
         {"logo@2x.png", "logo2@2x.png", "xuanze@2x.png", "xuanze2@2x.png", "bichu@2x.png",
          "bichu2@2x.png", "cachu@2x.png", "cachu2@2x.png", "jietu@2x.png", "quanping@2x.png"}) {
        QVERIFY2(!icon(name).isNull(), name);
    }
    QCOMPARE(icon("bichu@2x.png").size(), QSize(104, 104));
    QCOMPARE(icon("logo@2x.png").size(), QSize(136, 136));
    QCOMPARE(icon("logo2@2x.png").size(), QSize(132, 132));
}

void TestSkedaTool::cleanup()
{
    restoreDefaultPen();
}

void TestSkedaTool::metaObject()
{
    const QMetaObject& meta = SkedaTool::staticMetaObject;
    QStringList methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        if (method.methodType() == QMetaMethod::Signal ||
            method.methodType() == QMetaMethod::Slot) {
            methods << QString::fromLatin1(method.methodSignature());
        }
    }
    QCOMPARE(methods, QStringList({"sigClose()", "sigPen()", "sigEraseBtn()", "sigSelectDesktop()",
                                   "sigClear()", "sigScreenShot()", "onPenColor(QVariant)",
                                   "onPenSize(QVariant)"}));
    QCOMPARE(QString::fromLatin1(meta.superClass()->className()), QStringLiteral("QWidget"));
    QVERIFY(SliderWidget::staticMetaObject.indexOfSignal("clearSignal()") >= 0);
    QVERIFY(EarsePanel::staticMetaObject.indexOfSignal("clearSignal()") >= 0);
    QCOMPARE(QString::fromLatin1(EarsePanel::staticMetaObject.superClass()->className()),
             QStringLiteral("BaseShadowWidget"));
}

void TestSkedaTool::windowFlagsAndAttributes()
{
    QWidget parent;
    SkedaTool tool(&parent);
    const Qt::WindowFlags flags = Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint;
    QCOMPARE(tool.windowFlags(), flags);
    QVERIFY(tool.isWindow());
    QCOMPARE(tool.parentWidget(), &parent);
    QVERIFY(tool.testAttribute(Qt::WA_TranslucentBackground));
    QVERIFY(tool.autoFillBackground());
    QCOMPARE(tool.size(), Common::getInstance()->getNewSize(370, 68));
    QCOMPARE(tool.getMainWidget(), nullptr);

    QFrame* frame = tool.findChild<QFrame*>(QStringLiteral("frame"));
    QVERIFY(frame);
    QCOMPARE(frame->parentWidget(), &tool);
    QCOMPARE(frame->pos(), QPoint(0, 0));
    QCOMPARE(frame->frameShape(), QFrame::NoFrame);
    QVERIFY(!frame->autoFillBackground());
    QVERIFY(frame->styleSheet().isEmpty());
    const QList<PushButton_7*> buttons = frame->findChildren<PushButton_7*>();
    QCOMPARE(buttons.size(), 6);
    for (PushButton_7* button : buttons) {
        QCOMPARE(button->parentWidget(), frame);
    }

    tool.resizeWidget();
    tool.show();
    QVERIFY(QTest::qWaitForWindowExposed(&tool));
    QCOMPARE(tool.windowFlags(), flags);
}

void TestSkedaTool::buttonsMatchTheirTable()
{
    struct Row
    {
        const char* name;
        const char* normal;
        const char* checked;
        const char* hover;
        bool checkable;
        bool checkedAtStart;
        bool hoverStyle;
        int side;
    };
    const Row rows[] = {
        {"logoButton", "logo@2x.png", nullptr, "logo2@2x.png", true, true, false, 68},
        {"selectButton", "xuanze@2x.png", "xuanze2@2x.png", nullptr, true, false, true, 54},
        {"penButton", "bichu@2x.png", "bichu2@2x.png", nullptr, true, true, true, 54},
        {"eraserButton", "cachu@2x.png", "cachu2@2x.png", nullptr, true, false, true, 54},
        {"screenShotButton", "jietu@2x.png", nullptr, nullptr, false, false, true, 54},
        {"closeButton", "quanping@2x.png", nullptr, nullptr, false, false, true, 54},
    };

    Rig rig(false);
    // In the frame's child order, which is the order of creation.
    QStringList order;
    for (PushButton_7* button : rig.frame()->findChildren<PushButton_7*>()) {
        order << button->objectName();
    }
    QCOMPARE(order, QStringList({"logoButton", "selectButton", "penButton", "eraserButton",
                                 "screenShotButton", "closeButton"}));

    for (const Row& row : rows) {
        PushButton_7* actual = rig.button(row.name);
        QVERIFY2(actual, row.name);
        QCOMPARE(actual->isCheckable(), row.checkable);
        QCOMPARE(actual->isChecked(), row.checkedAtStart);
        QCOMPARE(actual->size(), QSize(S(row.side), S(row.side)));
        QCOMPARE(actual->minimumSize(), actual->maximumSize());
    }

    for (const Row& row : rows) {
        PushButton_7* actual = rig.button(row.name);

        // A button built from the table paints the same in every state.
        PushButton_7 reference(icon(row.normal), icon(row.checked), icon(row.hover));
        reference.setCheckable(row.checkable);
        reference.setHoverStyle(row.hoverStyle);
        reference.setFixedSize(actual->size());
        const QList<bool> checkedStates =
            row.checkable ? QList<bool>{false, true} : QList<bool>{false};
        for (bool checked : checkedStates) {
            if (checked) {
                actual->setChecked(true);
            } else if (actual == rig.logo()) {
                actual->setChecked(false);
            } else if (actual->isCheckable()) {
                (actual == rig.pen() ? rig.eraser() : rig.pen())->setChecked(true);
            }
            QCOMPARE(actual->isChecked(), checked);
            reference.setChecked(checked);
            for (bool hovered : {false, true}) {
                sendPlain(actual, hovered ? QEvent::Enter : QEvent::Leave);
                sendPlain(&reference, hovered ? QEvent::Enter : QEvent::Leave);
                QVERIFY2(renderAlone(actual) == renderAlone(&reference),
                         qPrintable(QStringLiteral("%1 checked %2 hovered %3")
                                        .arg(QLatin1String(row.name))
                                        .arg(checked)
                                        .arg(hovered)));
            }
        }
    }
}

void TestSkedaTool::buttonGroupIsExclusive()
{
    Rig rig(false);
    const QList<QButtonGroup*> groups = rig.tool->findChildren<QButtonGroup*>();
    QCOMPARE(groups.size(), 1);
    QButtonGroup* group = groups.first();
    QCOMPARE(group->parent(), rig.tool);
    QVERIFY(group->exclusive());
    QCOMPARE(group->buttons(), (QList<QAbstractButton*>{rig.select(), rig.pen(), rig.eraser()}));
    QCOMPARE(group->checkedButton(), rig.pen());
    // One of the three is chosen at a time.
    rig.eraser()->click();
    QVERIFY(rig.eraser()->isChecked());
    QVERIFY(!rig.pen()->isChecked());
    QVERIFY(!rig.select()->isChecked());
    rig.select()->click();
    QVERIFY(rig.select()->isChecked());
    QVERIFY(!rig.eraser()->isChecked());
    QVERIFY(!rig.pen()->isChecked());
}

void TestSkedaTool::popupHosting()
{
    Rig rig;
    QVERIFY(rig.exposed());
    QQuickWidget* popup = rig.popup();
    QVERIFY(popup);
    QCOMPARE(popup->parentWidget(), &rig.board);
    QVERIFY(!popup->isWindow());
    QVERIFY(popup->windowFlags().testFlag(Qt::FramelessWindowHint));
    QCOMPARE(popup->source(), QUrl(QStringLiteral("qrc:/penSet.qml")));
    QCOMPARE(popup->status(), QQuickWidget::Ready);
    QCOMPARE(popup->resizeMode(), QQuickWidget::SizeViewToRootObject);
    QVERIFY(popup->testAttribute(Qt::WA_TranslucentBackground));
    QVERIFY(popup->testAttribute(Qt::WA_AlwaysStackOnTop));
    QCOMPARE(popup->quickWindow()->color(), QColor(Qt::transparent));
    QVERIFY(popup->isHidden());
    QQuickItem* root = popup->rootObject();
    QVERIFY(root);
    QCOMPARE(popup->size(), QSize(int(root->width()), int(root->height())));

    EarsePanel* panel = rig.panel();
    QVERIFY(panel);
    QCOMPARE(panel->parentWidget(), &rig.board);
    QVERIFY(panel->isHidden());
    QCOMPARE(rig.tool->getMainWidget(), &rig.board);
}

void TestSkedaTool::popupsBelongToTheToolbarUntilSetMainWidget()
{
    const QWidgetList before = QApplication::topLevelWidgets();
    auto* tool = new SkedaTool(nullptr);
    const QList<QQuickWidget*> popups = newTopLevels<QQuickWidget>(before);
    const QList<EarsePanel*> panels = newTopLevels<EarsePanel>(before);
    QCOMPARE(popups.size(), 1);
    QCOMPARE(panels.size(), 1);
    QPointer<QQuickWidget> popup = popups.first();
    QPointer<EarsePanel> panel = panels.first();
    QCOMPARE(popup->objectName(), QStringLiteral("penPopup"));
    QVERIFY(!popup->parent());
    QVERIFY(!panel->parent());
    QVERIFY(popup->isHidden());
    QVERIFY(panel->isHidden());
    QCOMPARE(popup->windowFlags() & ~Qt::WindowType_Mask, Qt::WindowFlags(Qt::FramelessWindowHint));

    // The provisional place: above the pen button by 18 design pixels.
    tool->resizeWidget();
    PushButton_7* pen = tool->findChild<PushButton_7*>(QStringLiteral("penButton"));
    QCOMPARE(popup->pos(), pen->pos() - QPoint(0, S(18)));

    delete tool;
    QVERIFY(popup.isNull());
    QVERIFY(panel.isNull());

    // Handed to a board and then taken back: the toolbar owns them again.
    QWidget board;
    const QWidgetList before2 = QApplication::topLevelWidgets();
    tool = new SkedaTool(nullptr);
    popup = newTopLevels<QQuickWidget>(before2).value(0);
    panel = newTopLevels<EarsePanel>(before2).value(0);
    QVERIFY(popup && panel);
    tool->setMainWidget(&board);
    QCOMPARE(popup->parentWidget(), &board);
    QCOMPARE(panel->parentWidget(), &board);
    tool->setMainWidget(nullptr);
    QVERIFY(!popup->parent());
    QVERIFY(!panel->parent());
    delete tool;
    QVERIFY(popup.isNull());
    QVERIFY(panel.isNull());

    // Owned by the board, they outlive the toolbar and die with the board.
    auto* board2 = new QWidget;
    tool = new SkedaTool(board2);
    tool->setMainWidget(board2);
    popup = board2->findChild<QQuickWidget*>();
    panel = board2->findChild<EarsePanel*>();
    QVERIFY(popup && panel);
    delete tool;
    QVERIFY(popup && panel);
    delete board2;
    QVERIFY(popup.isNull());
    QVERIFY(panel.isNull());
}

void TestSkedaTool::setMainWidgetNull()
{
    const QWidgetList before = QApplication::topLevelWidgets();
    SkedaTool tool(nullptr);
    tool.move(S(80), screenSize().height() - S(80) - tool.height());
    tool.resizeWidget();
    tool.setMainWidget(nullptr);
    QCOMPARE(tool.getMainWidget(), nullptr);
    QQuickWidget* popup = newTopLevels<QQuickWidget>(before).value(0);
    EarsePanel* panel = newTopLevels<EarsePanel>(before).value(0);
    QVERIFY(popup && panel);
    QVERIFY(popup->isWindow());
    tool.show();
    QVERIFY(QTest::qWaitForWindowExposed(&tool));
    QVERIFY(QTest::qWaitFor([&] { return tool.windowHandle()->position() == tool.pos(); }));

    // The pop-ups open as windows of their own, placed on the screen.
    PushButton_7* pen = tool.findChild<PushButton_7*>(QStringLiteral("penButton"));
    QTest::mouseClick(pen, Qt::LeftButton);
    QVERIFY(popup->isVisible());
    const QPoint g = pen->mapToGlobal(QPoint(0, 0));
    QCOMPARE(popup->pos(), QPoint(int(g.x() - popup->width() * 0.5 + pen->width() * 0.5),
                                  g.y() - popup->height() - S(10)));
    QTest::mouseClick(pen, Qt::LeftButton);
    QVERIFY(!popup->isVisible());
    tool.hideTool();
}

void TestSkedaTool::mainWidgetGoneFirst()
{
    auto* board = new QWidget;
    board->setGeometry(QRect(QPoint(0, 0), screenSize()));
    SkedaTool tool(nullptr);
    tool.move(S(80), screenSize().height() - S(80) - tool.height());
    tool.resizeWidget();
    tool.setMainWidget(board);
    board->show();
    tool.show();
    QVERIFY(QTest::qWaitForWindowExposed(&tool));
    QVERIFY(QTest::qWaitFor([&] { return tool.windowHandle()->position() == tool.pos(); }));
    delete board;
    QCOMPARE(tool.getMainWidget(), nullptr);

    SignalLog log(&tool);
    PushButton_7* pen = tool.findChild<PushButton_7*>(QStringLiteral("penButton"));
    PushButton_7* eraser = tool.findChild<PushButton_7*>(QStringLiteral("eraserButton"));
    QTest::mouseClick(pen, Qt::LeftButton);
    QTest::mouseClick(eraser, Qt::LeftButton);
    QTest::mouseClick(eraser, Qt::LeftButton);
    tool.hideTool();
    tool.setMainWidget(nullptr);
    QCOMPARE(log.names, QStringList({"pen", "eraser", "eraser"}));
}

void TestSkedaTool::hideToolIsCheapAndHarmless()
{
    // Right after construction, before any placing or showing.
    {
        SkedaTool bare(nullptr);
        bare.hideTool();
        bare.hideTool();
    }

    Rig rig;
    QVERIFY(rig.exposed());
    SignalLog log(rig.tool);
    VisibilityCounter popupEvents(rig.popup());
    VisibilityCounter panelEvents(rig.panel());
    for (int i = 0; i < 10000; ++i) {
        rig.tool->hideTool();
    }
    // A hidden widget is not hidden again: no hide or show ever happens.
    QCOMPARE(popupEvents.hides, 0);
    QCOMPARE(panelEvents.hides, 0);
    QCOMPARE(popupEvents.shows, 0);
    QCOMPARE(panelEvents.shows, 0);
    QVERIFY(log.names.isEmpty());
    QVERIFY(rig.popup()->isHidden());
    QVERIFY(rig.panel()->isHidden());
    QVERIFY(rig.pen()->isChecked());
    QVERIFY(rig.logo()->isChecked());

    // With a pop-up open it closes it, once.
    rig.click(rig.pen());
    QVERIFY(rig.popup()->isVisible());
    rig.tool->hideTool();
    rig.tool->hideTool();
    QVERIFY(!rig.popup()->isVisible());
    QCOMPARE(popupEvents.hides, 1);
}

void TestSkedaTool::selectThenPen()
{
    Rig rig;
    QVERIFY(rig.exposed());
    SignalLog log(rig.tool);

    rig.click(rig.pen());
    QVERIFY(rig.popup()->isVisible());
    log.names.clear();

    rig.click(rig.select());
    QCOMPARE(log.names, QStringList{"select"});
    QVERIFY(rig.select()->isChecked());
    QVERIFY(!rig.pen()->isChecked());
    QVERIFY(!rig.popup()->isVisible());
    QVERIFY(!rig.panel()->isVisible());

    // Select switched off (a second "select"), then the pen command.
    rig.click(rig.pen());
    QCOMPARE(log.names, QStringList({"select", "select", "pen"}));
    QVERIFY(rig.pen()->isChecked());
    QVERIFY(!rig.popup()->isVisible());

    // The same with the eraser: select on, then off before the eraser.
    log.names.clear();
    rig.click(rig.select());
    rig.click(rig.eraser());
    QCOMPARE(log.names, QStringList({"select", "select", "eraser"}));
    QVERIFY(!rig.panel()->isVisible());

    // Clicking the chosen select button again changes nothing and says
    // nothing.
    log.names.clear();
    rig.click(rig.select());
    rig.click(rig.select());
    QCOMPARE(log.names, QStringList{"select"});
    QVERIFY(rig.select()->isChecked());
}

void TestSkedaTool::penChoosesThenOpensThenCloses()
{
    Rig rig;
    QVERIFY(rig.exposed());
    rig.click(rig.eraser());
    SignalLog log(rig.tool);

    // Another tool is active: the click only chooses the pen.
    rig.click(rig.pen());
    QCOMPARE(log.names, QStringList{"pen"});
    QVERIFY(rig.pen()->isChecked());
    QVERIFY(!rig.popup()->isVisible());
    // Again: the popup opens (and the pen command comes again).
    rig.click(rig.pen());
    QCOMPARE(log.names, QStringList({"pen", "pen"}));
    QVERIFY(rig.popup()->isVisible());
    QVERIFY(!rig.panel()->isVisible());
    QVERIFY(rig.pen()->isChecked());
    // Once more: it closes.
    rig.click(rig.pen());
    QVERIFY(!rig.popup()->isVisible());
    QVERIFY(rig.pen()->isChecked());
    rig.click(rig.pen());
    QVERIFY(rig.popup()->isVisible());
    QCOMPARE(log.names, QStringList({"pen", "pen", "pen", "pen"}));

    // A press on the checked pen button released outside it is no click.
    QTest::mousePress(rig.pen(), Qt::LeftButton);
    QTest::mouseRelease(rig.pen(), Qt::LeftButton, Qt::NoModifier,
                        QPoint(rig.pen()->width() + 2, rig.pen()->height() / 2));
    QVERIFY(rig.popup()->isVisible());
    QCOMPARE(log.names.size(), 4);
}

void TestSkedaTool::eraserChoosesThenOpensThenCloses()
{
    Rig rig;
    QVERIFY(rig.exposed());
    SignalLog log(rig.tool);

    rig.click(rig.eraser());
    QCOMPARE(log.names, QStringList{"eraser"});
    QVERIFY(rig.eraser()->isChecked());
    QVERIFY(!rig.panel()->isVisible());
    rig.click(rig.eraser());
    QVERIFY(rig.panel()->isVisible());
    QVERIFY(!rig.popup()->isVisible());
    rig.click(rig.eraser());
    QVERIFY(!rig.panel()->isVisible());
    rig.click(rig.eraser());
    QVERIFY(rig.panel()->isVisible());
    QCOMPARE(log.names, QStringList({"eraser", "eraser", "eraser", "eraser"}));
    QVERIFY(rig.eraser()->isChecked());
}

void TestSkedaTool::switchingPenAndEraserClosesTheOther()
{
    Rig rig;
    QVERIFY(rig.exposed());
    SignalLog log(rig.tool);

    rig.click(rig.pen());
    QVERIFY(rig.popup()->isVisible());
    // Eraser chosen: the pen popup closes, the panel does not open yet.
    rig.click(rig.eraser());
    QVERIFY(!rig.popup()->isVisible());
    QVERIFY(!rig.panel()->isVisible());
    rig.click(rig.eraser());
    QVERIFY(rig.panel()->isVisible());
    // Pen chosen: the panel closes, the popup does not open yet.
    rig.click(rig.pen());
    QVERIFY(!rig.panel()->isVisible());
    QVERIFY(!rig.popup()->isVisible());
    rig.click(rig.pen());
    QVERIFY(rig.popup()->isVisible());
    QVERIFY(!rig.panel()->isVisible());
    QCOMPARE(log.names, QStringList({"pen", "eraser", "eraser", "pen", "pen"}));
}

void TestSkedaTool::commandsCloseBothPopups_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("command");
    QTest::newRow("select") << "selectButton"
                            << "select";
    QTest::newRow("screenshot") << "screenShotButton"
                                << "screenshot";
    QTest::newRow("close") << "closeButton"
                           << "close";
}

void TestSkedaTool::commandsCloseBothPopups()
{
    QFETCH(QString, button);
    QFETCH(QString, command);
    Rig rig;
    QVERIFY(rig.exposed());
    SignalLog log(rig.tool);

    // Each one opened the toolbar's way...
    rig.click(rig.pen());
    QVERIFY(rig.popup()->isVisible());
    log.names.clear();
    rig.click(rig.button(qPrintable(button)));
    QVERIFY(!rig.popup()->isVisible());
    QCOMPARE(log.names, QStringList{command});

    // ...and both at once, which the toolbar itself never does.
    if (command == QLatin1String("select")) {
        rig.click(rig.pen());
    }
    log.names.clear();
    rig.popup()->show();
    rig.panel()->show();
    QVERIFY(rig.popup()->isVisible() && rig.panel()->isVisible());
    rig.click(rig.button(qPrintable(button)));
    QVERIFY(!rig.popup()->isVisible());
    QVERIFY(!rig.panel()->isVisible());
    QCOMPARE(log.names, QStringList{command});
    QVERIFY(rig.logo()->isChecked());
}

void TestSkedaTool::logoClickTogglesAndAnimates()
{
    Rig rig;
    QVERIFY(rig.exposed());
    SignalLog log(rig.tool);
    const QRect expanded = rig.frame()->geometry();
    const QRect collapsed(QPoint(0, 0), QSize(rig.logo()->width(), expanded.height()));

    // The fold and unfold: the frame's geometry over the designed 20 ms.
    QPropertyAnimation* animation = rig.animation();
    QVERIFY(animation);
    QCOMPARE(animation->targetObject(), static_cast<QObject*>(rig.frame()));
    QCOMPARE(animation->propertyName(), QByteArray("geometry"));
    QCOMPARE(animation->duration(), 20);
    QSignalSpy finished(animation, &QAbstractAnimation::finished);

    for (int round = 0; round < 2; ++round) {
        rig.click(rig.pen());
        QVERIFY(rig.popup()->isVisible());
        ResizeRecorder recorder(rig.frame());
        rig.click(rig.logo());
        QCOMPARE(animation->state(), QAbstractAnimation::Running);
        QCOMPARE(animation->startValue().toRect(), expanded);
        QCOMPARE(animation->endValue().toRect(), collapsed);
        QVERIFY(!rig.logo()->isChecked());
        QVERIFY(!rig.popup()->isVisible());
        // Not set at once: the animation takes the frame there.
        QCOMPARE(rig.frame()->geometry(), expanded);
        QTRY_COMPARE(rig.frame()->geometry(), collapsed);
        QTRY_COMPARE(finished.count(), 2 * round + 1);
        QVERIFY(!recorder.geometries.isEmpty());
        for (const QRect& r : recorder.geometries) {
            QCOMPARE(r.topLeft(), QPoint(0, 0));
            QCOMPARE(r.height(), expanded.height());
            QVERIFY(r.width() >= collapsed.width() && r.width() <= expanded.width());
        }
        // The toolbar window keeps its size.
        QCOMPARE(rig.tool->size(), Common::getInstance()->getNewSize(370, 68));

        ResizeRecorder back(rig.frame());
        rig.click(rig.logo());
        QVERIFY(rig.logo()->isChecked());
        QCOMPARE(rig.frame()->geometry(), collapsed);
        QCOMPARE(animation->state(), QAbstractAnimation::Running);
        QTRY_COMPARE(rig.frame()->geometry(), expanded);
        QTRY_COMPARE(finished.count(), 2 * round + 2);
        QVERIFY(!back.geometries.isEmpty());
    }
    QCOMPARE(log.names, QStringList({"pen", "pen"}));

    // Two clicks in quick succession end where the second one points.
    rig.click(rig.logo());
    rig.click(rig.logo());
    QTRY_COMPARE(rig.animation()->state(), QAbstractAnimation::Stopped);
    QVERIFY(rig.logo()->isChecked());
    QCOMPARE(rig.frame()->geometry(), expanded);
}

void TestSkedaTool::dragKeepsExpandedOrCollapsed_data()
{
    QTest::addColumn<bool>("collapsed");
    QTest::addColumn<QPoint>("travel");
    QTest::addColumn<int>("steps");
    QTest::newRow("expanded, 1 pixel") << false << QPoint(1, 0) << 1;
    QTest::newRow("expanded, 5 pixels up") << false << QPoint(0, -5) << 1;
    QTest::newRow("expanded, 150 pixels") << false << QPoint(150, -120) << 5;
    QTest::newRow("collapsed, 1 pixel") << true << QPoint(0, 1) << 1;
    QTest::newRow("collapsed, 5 pixels") << true << QPoint(-5, 0) << 1;
    QTest::newRow("collapsed, 150 pixels") << true << QPoint(150, -120) << 5;
}

void TestSkedaTool::dragKeepsExpandedOrCollapsed()
{
    QFETCH(bool, collapsed);
    QFETCH(QPoint, travel);
    QFETCH(int, steps);
    Rig rig;
    QVERIFY(rig.exposed());
    if (collapsed) {
        rig.click(rig.logo());
        QTRY_COMPARE(rig.frame()->width(), rig.logo()->width());
    }
    const int frameWidth = rig.frame()->width();
    SignalLog log(rig.tool);
    // Open as if by the pen button, which a collapsed bar hides.
    rig.popup()->show();

    const QPoint start = rig.tool->pos();
    const QPoint grip = rig.logo()->rect().center() + QPoint(3, -2);
    const QPoint pressGlobal = rig.logo()->mapToGlobal(grip);
    QTest::mousePress(rig.logo(), Qt::LeftButton, Qt::NoModifier, grip);
    for (int i = 1; i <= steps; ++i) {
        const QPoint global = pressGlobal + travel * i / steps;
        QTest::mouseMove(rig.tool->windowHandle(), global - rig.tool->windowHandle()->position());
        // The bar follows the pointer, keeping the grip under it.
        QCOMPARE(rig.tool->pos(), start + travel * i / steps);
        QVERIFY(rig.waitForToolbarPosition());
        QVERIFY(!rig.popup()->isVisible());
    }
    QTest::mouseRelease(rig.logo(), Qt::LeftButton, Qt::NoModifier, grip);
    QCOMPARE(rig.tool->pos(), start + travel);
    QCOMPARE(rig.logo()->isChecked(), !collapsed);
    // Whatever the bar's animation does now ends as wide as the bar is.
    QVERIFY(rig.keepsWidth(frameWidth));
    QVERIFY(log.names.isEmpty());

    // A click afterwards still toggles.
    rig.click(rig.logo());
    QCOMPARE(rig.logo()->isChecked(), collapsed);
}

void TestSkedaTool::dragWithTheRealPointer()
{
    if (!onX11()) {
        QSKIP("needs an X server to move the real pointer");
    }
    Rig rig;
    QVERIFY(rig.exposed());
    const QPoint grip = rig.logo()->mapToGlobal(rig.logo()->rect().center());

    for (bool collapse : {false, true}) {
        if (collapse) {
            QVERIFY(X11Desktop::xdotool(
                {"mousemove", QString::number(grip.x()), QString::number(grip.y()), "click", "1"}));
            QTRY_VERIFY(!rig.logo()->isChecked());
            QTRY_COMPARE(rig.frame()->width(), rig.logo()->width());
        }
        const int frameWidth = rig.frame()->width();
        for (const QPoint travel : {QPoint(1, 0), QPoint(0, 4), QPoint(170, -90)}) {
            const QPoint from = rig.logo()->mapToGlobal(rig.logo()->rect().center());
            const QPoint start = rig.tool->pos();
            QVector<QPoint> path{from};
            for (int i = 1; i <= 4; ++i) {
                path << from + travel * i / 4;
            }
            QVERIFY(X11Desktop::drag(path));
            QTRY_COMPARE(rig.tool->pos(), start + travel);
            QVERIFY(rig.keepsWidth(frameWidth));
            QCOMPARE(rig.logo()->isChecked(), !collapse);
            // Back to where it was, also by dragging.
            const QPoint from2 = rig.logo()->mapToGlobal(rig.logo()->rect().center());
            QVERIFY(X11Desktop::drag({from2, from2 - travel / 2, from2 - travel}));
            QTRY_COMPARE(rig.tool->pos(), start);
            QVERIFY(rig.keepsWidth(frameWidth));
            QCOMPARE(rig.logo()->isChecked(), !collapse);
        }
    }
}

void TestSkedaTool::oddLogoEventsAreHarmless()
{
    Rig rig;
    QVERIFY(rig.exposed());
    PushButton_7* logo = rig.logo();
    const QPoint start = rig.tool->pos();
    const int frameWidth = rig.frame()->width();
    const QPointF centre = logo->rect().center();
    const QPointF far = QPointF(logo->mapToGlobal(QPoint(0, 0))) + QPointF(300, -200);

    // Moves without a press: nothing moves.
    sendMouse(logo, QEvent::MouseMove, centre, far, Qt::NoButton, Qt::NoButton);
    QCOMPARE(rig.tool->pos(), start);
    QTest::mouseMove(logo, logo->rect().center() + QPoint(5, 5));
    QCOMPARE(rig.tool->pos(), start);
    // Releases without a press: nothing toggles.
    sendMouse(logo, QEvent::MouseButtonRelease, centre, far, Qt::LeftButton, Qt::NoButton);
    QTest::mouseRelease(logo, Qt::LeftButton);
    QVERIFY(logo->isChecked());
    QVERIFY(rig.keepsWidth(frameWidth));
    // A right-button drag is no drag and no click.
    QTest::mousePress(logo, Qt::RightButton);
    QTest::mouseMove(rig.tool->windowHandle(),
                     logo->mapTo(rig.tool, logo->rect().center()) + QPoint(40, 0));
    QTest::mouseRelease(rig.tool->windowHandle(), Qt::RightButton, Qt::NoModifier,
                        logo->mapTo(rig.tool, logo->rect().center()) + QPoint(40, 0));
    QCOMPARE(rig.tool->pos(), start);
    QVERIFY(logo->isChecked());
    // A drag released off the button (the button does not toggle then):
    // the state stays as it was.
    const QPoint grip = logo->rect().center();
    sendMouse(logo, QEvent::MouseButtonPress, grip, logo->mapToGlobal(grip), Qt::LeftButton,
              Qt::LeftButton);
    sendMouse(logo, QEvent::MouseMove, grip + QPoint(2, 0), logo->mapToGlobal(grip) + QPoint(2, 0),
              Qt::NoButton, Qt::LeftButton);
    QCOMPARE(rig.tool->pos(), start + QPoint(2, 0));
    QVERIFY(rig.waitForToolbarPosition());
    sendMouse(logo, QEvent::MouseButtonRelease, QPointF(-200, -200), QPointF(0, 0), Qt::LeftButton,
              Qt::NoButton);
    QVERIFY(logo->isChecked());
    QVERIFY(rig.keepsWidth(frameWidth));

    // A second press that comes as a double click also sets the grip.
    QTest::mouseDClick(logo, Qt::LeftButton, Qt::NoModifier, grip);
    QTRY_VERIFY(logo->isChecked());
}

void TestSkedaTool::slideToClearEmitsOneOfEach()
{
    Rig rig;
    QVERIFY(rig.exposed());
    rig.click(rig.eraser());
    rig.click(rig.eraser());
    QVERIFY(rig.panel()->isVisible());
    SliderWidget* slider = rig.slider();
    QVERIFY(slider);
    QLabel* handle = slider->findChild<QLabel*>();
    SignalLog log(rig.tool);
    QSignalSpy sliderClears(slider, SIGNAL(clearSignal()));
    QSignalSpy panelClears(rig.panel(), SIGNAL(clearSignal()));
    const int endX = slider->width() - handle->width();
    const QPoint grip = handle->geometry().center() - QPoint(0, handle->y());

    // Short of the end: nothing.
    QTest::mousePress(slider, Qt::LeftButton, Qt::NoModifier, grip);
    QTest::mouseMove(slider, grip + QPoint(endX - 1, 0));
    QTest::mouseRelease(slider, Qt::LeftButton, Qt::NoModifier, grip + QPoint(endX - 1, 0));
    QCOMPARE(sliderClears.count(), 0);
    QVERIFY(log.names.isEmpty());

    for (int round = 1; round <= 2; ++round) {
        QTest::mousePress(slider, Qt::LeftButton, Qt::NoModifier, grip);
        QTest::mouseMove(slider, grip + QPoint(endX / 2, 0));
        QTest::mouseMove(slider, grip + QPoint(endX, 0));
        QTest::mouseRelease(slider, Qt::LeftButton, Qt::NoModifier, grip + QPoint(endX, 0));
        QCOMPARE(sliderClears.count(), round);
        QCOMPARE(panelClears.count(), round);
        QStringList expected;
        for (int i = 0; i < round; ++i) {
            expected << QStringLiteral("clear");
        }
        QCOMPARE(log.names, expected);
        // The panel stays open after a clear.
        QVERIFY(rig.panel()->isVisible());
    }
}

void TestSkedaTool::penSlotsChangeTheSharedPen()
{
    SkedaTool tool(nullptr);
    MessageLog messages;
    tool.onPenColor(QVariant(QStringLiteral("#AC73FF")));
    QCOMPARE(UIManager::getInstance()->pen().color(), QColor(QStringLiteral("#AC73FF")));
    tool.onPenSize(QVariant(8.0));
    QCOMPARE(UIManager::getInstance()->pen().width(), 8);
    // Fractions round to the nearest integer.
    tool.onPenSize(QVariant(2.13));
    QCOMPARE(UIManager::getInstance()->pen().width(), 2);
    tool.onPenSize(QVariant(8.54));
    QCOMPARE(UIManager::getInstance()->pen().width(), 9);
    QCOMPARE(messages.lines(), QStringList({"color \"#AC73FF\"", "size 8", "size 2", "size 9"}));

    // Nonsense leaves the pen as it is.
    messages.clear();
    tool.onPenColor(QVariant(QStringLiteral("not a colour")));
    tool.onPenColor(QVariant());
    tool.onPenSize(QVariant(QStringLiteral("wide")));
    tool.onPenSize(QVariant(0));
    tool.onPenSize(QVariant(-4));
    QCOMPARE(UIManager::getInstance()->pen().color(), QColor(QStringLiteral("#AC73FF")));
    QCOMPARE(UIManager::getInstance()->pen().width(), 9);
    QVERIFY(messages.lines().contains(QStringLiteral("size 0")));
}

void TestSkedaTool::layout_data()
{
    QTest::addColumn<int>("screenWidth");
    QTest::addColumn<QSize>("toolSize");
    QTest::addColumn<QRect>("frame");
    QTest::addColumn<int>("logoSide");
    QTest::addColumn<int>("buttonSide");
    QTest::addColumn<QList<int>>("xs");
    QTest::addColumn<int>("y");
    QTest::newRow("1920") << 1920 << QSize(370, 68) << QRect(0, 0, 448, 78) << 68 << 54
                          << QList<int>{74, 134, 194, 254, 314} << 7;
    QTest::newRow("3840") << 3840 << QSize(740, 136) << QRect(0, 0, 896, 156) << 136 << 108
                          << QList<int>{148, 268, 388, 508, 628} << 14;
}

void TestSkedaTool::layout()
{
    QFETCH(int, screenWidth);
    QFETCH(QSize, toolSize);
    QFETCH(QRect, frame);
    QFETCH(int, logoSide);
    QFETCH(int, buttonSide);
    QFETCH(QList<int>, xs);
    QFETCH(int, y);
    SKIP_UNLESS_SCREEN_WIDTH(screenWidth);

    Rig rig;
    QVERIFY(rig.exposed());
    QCOMPARE(rig.tool->size(), toolSize);
    QCOMPARE(rig.frame()->geometry(), frame);
    QCOMPARE(rig.logo()->geometry(), QRect(0, 0, logoSide, logoSide));
    const QList<PushButton_7*> row = {rig.select(), rig.pen(), rig.eraser(), rig.screenShot(),
                                      rig.close()};
    for (int i = 0; i < row.size(); ++i) {
        QCOMPARE(row[i]->geometry(), QRect(xs[i], y, buttonSide, buttonSide));
    }
    // The close button fits in the window; the frame reaches past it.
    QVERIFY(rig.close()->geometry().right() < toolSize.width());
    QVERIFY(frame.width() > toolSize.width());
}

void TestSkedaTool::popupPlacement_data()
{
    QTest::addColumn<int>("screenWidth");
    QTest::addColumn<QPoint>("toolPos");
    QTest::addColumn<QPoint>("penGlobal");
    QTest::addColumn<QRect>("popup");
    QTest::addColumn<QPoint>("eraserGlobal");
    QTest::addColumn<QRect>("panel");
    // Pop-ups centred over their buttons, 10 design pixels above them.
    QTest::newRow("1920") << 1920 << QPoint(80, 932) << QPoint(214, 939)
                          << QRect(126, 726, 230, 203) << QPoint(274, 939)
                          << QRect(177, 857, 248, 72);
    QTest::newRow("3840") << 3840 << QPoint(160, 1864) << QPoint(428, 1878)
                          << QRect(252, 1452, 460, 406) << QPoint(548, 1878)
                          << QRect(354, 1714, 496, 144);
}

void TestSkedaTool::popupPlacement()
{
    QFETCH(int, screenWidth);
    QFETCH(QPoint, toolPos);
    QFETCH(QPoint, penGlobal);
    QFETCH(QRect, popup);
    QFETCH(QPoint, eraserGlobal);
    QFETCH(QRect, panel);
    SKIP_UNLESS_SCREEN_WIDTH(screenWidth);

    Rig rig;
    QVERIFY(rig.exposed());
    QCOMPARE(rig.board.geometry(), QRect(QPoint(0, 0), screenSize()));
    QCOMPARE(rig.tool->pos(), toolPos);
    QCOMPARE(rig.pen()->mapToGlobal(QPoint(0, 0)), penGlobal);
    QCOMPARE(rig.eraser()->mapToGlobal(QPoint(0, 0)), eraserGlobal);

    rig.click(rig.pen());
    QVERIFY(rig.popup()->isVisible());
    QCOMPARE(rig.popup()->geometry(), popup);
    QCOMPARE(QRect(rig.popup()->mapToGlobal(QPoint(0, 0)), rig.popup()->size()), popup);

    rig.click(rig.eraser());
    rig.click(rig.eraser());
    QVERIFY(rig.panel()->isVisible());
    QCOMPARE(rig.panel()->geometry(), panel);

    // Placed again at each opening: after a drag they open over the
    // buttons' new places.
    rig.click(rig.pen());
    const QPoint grip = rig.logo()->rect().center();
    QTest::mousePress(rig.logo(), Qt::LeftButton, Qt::NoModifier, grip);
    QTest::mouseMove(rig.tool->windowHandle(), grip + QPoint(40, -30));
    QCOMPARE(rig.tool->pos(), toolPos + QPoint(40, -30));
    QVERIFY(rig.waitForToolbarPosition());
    QTest::mouseRelease(rig.logo(), Qt::LeftButton, Qt::NoModifier, grip);
    rig.click(rig.pen());
    QVERIFY(rig.popup()->isVisible());
    QCOMPARE(rig.popup()->geometry(), popup.translated(40, -30));
}

void TestSkedaTool::collapsedAndExpandedFrame_data()
{
    QTest::addColumn<int>("screenWidth");
    QTest::addColumn<QSize>("expanded");
    QTest::addColumn<QSize>("collapsed");
    QTest::newRow("1920") << 1920 << QSize(448, 78) << QSize(68, 78);
    QTest::newRow("3840") << 3840 << QSize(896, 156) << QSize(136, 156);
}

void TestSkedaTool::collapsedAndExpandedFrame()
{
    QFETCH(int, screenWidth);
    QFETCH(QSize, expanded);
    QFETCH(QSize, collapsed);
    SKIP_UNLESS_SCREEN_WIDTH(screenWidth);

    Rig rig;
    QVERIFY(rig.exposed());
    QCOMPARE(rig.frame()->size(), expanded);
    rig.click(rig.logo());
    QTRY_COMPARE(rig.frame()->size(), collapsed);
    QCOMPARE(rig.frame()->pos(), QPoint(0, 0));
    // The command buttons are out of the frame's reach now.
    QVERIFY(rig.select()->x() >= collapsed.width());
    rig.click(rig.logo());
    QTRY_COMPARE(rig.frame()->size(), expanded);

    // resizeWidget() on a collapsed bar gives it the collapsed frame.
    rig.click(rig.logo());
    QTRY_COMPARE(rig.frame()->size(), collapsed);
    rig.tool->resizeWidget();
    QCOMPARE(rig.frame()->size(), collapsed);
}

QTEST_MAIN(TestSkedaTool)
#include "tst_skedatool.moc"
