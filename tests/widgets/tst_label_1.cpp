#include "widgets/label_1.h"

#include "widgettestutil.h"

#include <QBoxLayout>
#include <QTouchDevice>
#include <QtTest>

namespace {

QPixmap solid(const QColor& colour)
{
    QPixmap pixmap(10, 10);
    pixmap.fill(colour);
    return pixmap;
}

// The picture label is the 52-wide square child, the caption the other one.
QLabel* pictureOf(Label_1& label)
{
    const int side = Common::getInstance()->getNewSize(52);
    for (QLabel* child : label.findChildren<QLabel*>(QString(), Qt::FindDirectChildrenOnly)) {
        if (child->maximumSize() == QSize(side, side)) {
            return child;
        }
    }
    return nullptr;
}

QLabel* captionOf(Label_1& label)
{
    const QSize size = Common::getInstance()->getNewSize(52, 16);
    for (QLabel* child : label.findChildren<QLabel*>(QString(), Qt::FindDirectChildrenOnly)) {
        if (child->maximumSize() == size) {
            return child;
        }
    }
    return nullptr;
}

// Counts what reaches the label's own event handling, after its filters.
class CountingLabel : public Label_1
{
public:
    using Label_1::Label_1;
    int presses = 0;
    int releases = 0;
    int touchBegins = 0;
    int touchUpdates = 0;

protected:
    bool event(QEvent* event) override
    {
        switch (event->type()) {
        case QEvent::MouseButtonPress:
            ++presses;
            break;
        case QEvent::MouseButtonRelease:
            ++releases;
            break;
        case QEvent::TouchBegin:
            ++touchBegins;
            break;
        case QEvent::TouchUpdate:
            ++touchUpdates;
            break;
        default:
            break;
        }
        return Label_1::event(event);
    }
};

// Records the events delivered to the object it watches; consumes nothing.
class EventLog : public QObject
{
public:
    QVector<QEvent::Type> types;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::TouchBegin) {
            types << event->type();
        }
        return QObject::eventFilter(watched, event);
    }
};

QTouchEvent touchEvent(QEvent::Type type, QTouchDevice* device, const QPointF& pos)
{
    QTouchEvent::TouchPoint point(1);
    point.setState(type == QEvent::TouchBegin ? Qt::TouchPointPressed : Qt::TouchPointMoved);
    point.setPos(pos);
    point.setScreenPos(pos);
    return QTouchEvent(type, device, Qt::NoModifier, point.state(), {point});
}

} // namespace

class TestLabel1 : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void sizesScale_data();
    void sizesScale();
    void layoutStacksPictureOverCaption();
    void picturePaintsScaledPixmap();
    void changePixmapAndText();
    void setLocalTextChangesCaptionOnly();
    void filterDecisions();
    void swallowsPressAimedAtItself();
    void swallowsTouchBeginAimedAtItself();
    void pressOnChildReachesChild();
    void dragOnCaptionIsHandledByCaption();
    void touchOnChildReachesChild();
    void nullPixmapDoesNotCrash();

private:
    QTouchDevice* m_touch = nullptr;
};

void TestLabel1::initTestCase()
{
    m_touch = QTest::createTouchDevice();
}

void TestLabel1::cleanup()
{
    Common::getInstance()->InitSize(QSize(1920, 1080));
}

void TestLabel1::sizesScale_data()
{
    QTest::addColumn<int>("f");
    QTest::newRow("scale 1") << 1;
    QTest::newRow("scale 2") << 2;
}

void TestLabel1::sizesScale()
{
    QFETCH(int, f);
    WidgetTest::ScaleGuard guard(QSize(1920 * f, 1080 * f));
    Label_1 label(solid(Qt::blue), QStringLiteral("Pen"));

    // Fixed sizes: 52 x 68, picture 52 x 52, caption 52 x 16 design pixels.
    QCOMPARE(label.minimumSize(), QSize(52 * f, 68 * f));
    QCOMPARE(label.maximumSize(), QSize(52 * f, 68 * f));
    QCOMPARE(label.size(), QSize(52 * f, 68 * f));
    QLabel* picture = pictureOf(label);
    QLabel* caption = captionOf(label);
    QVERIFY(picture);
    QVERIFY(caption);
    QCOMPARE(picture->minimumSize(), QSize(52 * f, 52 * f));
    QCOMPARE(caption->minimumSize(), QSize(52 * f, 16 * f));
    // Caption font: a default font of 12 design pixels.
    QCOMPARE(caption->font().pixelSize(), 12 * f);
    QCOMPARE(caption->font().family(), QFont().family());
}

void TestLabel1::layoutStacksPictureOverCaption()
{
    for (const int f : {1, 2}) {
        WidgetTest::ScaleGuard guard(QSize(1920 * f, 1080 * f));
        Label_1 label(solid(Qt::blue), QStringLiteral("Pen"));
        auto* layout = qobject_cast<QVBoxLayout*>(label.layout());
        QVERIFY(layout);
        QCOMPARE(layout->count(), 2);
        QCOMPARE(layout->spacing(), 0);
        QCOMPARE(layout->contentsMargins(), QMargins(0, 0, 0, 0));
        QLabel* picture = pictureOf(label);
        QLabel* caption = captionOf(label);
        QCOMPARE(layout->itemAt(0)->widget(), picture);
        QCOMPARE(layout->itemAt(1)->widget(), caption);
        QCOMPARE(layout->stretch(0), 0);
        QCOMPARE(layout->stretch(1), 0);
        QCOMPARE(layout->itemAt(0)->alignment(), Qt::Alignment());
        QCOMPARE(layout->itemAt(1)->alignment(), Qt::Alignment());

        layout->activate();
        QCOMPARE(picture->geometry(), QRect(0, 0, 52 * f, 52 * f));
        QCOMPARE(caption->geometry(), QRect(0, 52 * f, 52 * f, 16 * f));
    }
}

void TestLabel1::picturePaintsScaledPixmap()
{
    // The 10 x 10 pixmap is stretched over the whole 52 x 52 picture.
    Label_1 label(solid(Qt::blue), QString());
    label.layout()->activate();
    QLabel* picture = pictureOf(label);
    QVERIFY(picture->hasScaledContents());
    const QImage image = WidgetTest::render(label);
    const QRgb blue = qRgba(0, 0, 255, 255);
    QCOMPARE(image.pixel(0, 0), blue);
    QCOMPARE(image.pixel(51, 0), blue);
    QCOMPARE(image.pixel(0, 51), blue);
    QCOMPARE(image.pixel(51, 51), blue);
    QCOMPARE(image.pixel(26, 26), blue);
    // Below the picture: the empty caption, no pixmap.
    QVERIFY(image.pixel(26, 60) != blue);
}

void TestLabel1::changePixmapAndText()
{
    Label_1 label(solid(Qt::blue), QStringLiteral("Pen"));
    QCOMPARE(captionOf(label)->text(), QStringLiteral("Pen"));
    QCOMPARE(pictureOf(label)->pixmap(Qt::ReturnByValue).toImage().pixel(5, 5),
             qRgba(0, 0, 255, 255));

    label.changePixmapAndText(solid(Qt::green), QStringLiteral("Eraser"));
    QCOMPARE(captionOf(label)->text(), QStringLiteral("Eraser"));
    QCOMPARE(pictureOf(label)->pixmap(Qt::ReturnByValue).toImage().pixel(5, 5),
             qRgba(0, 255, 0, 255));
    label.layout()->activate();
    QCOMPARE(WidgetTest::render(label).pixel(26, 26), qRgba(0, 255, 0, 255));
}

void TestLabel1::setLocalTextChangesCaptionOnly()
{
    Label_1 label(solid(Qt::blue), QStringLiteral("Pen"));
    label.setLocalText(QStringLiteral("Stift"));
    QCOMPARE(captionOf(label)->text(), QStringLiteral("Stift"));
    QCOMPARE(pictureOf(label)->pixmap(Qt::ReturnByValue).toImage().pixel(5, 5),
             qRgba(0, 0, 255, 255));
    // The tile itself holds no text.
    QCOMPARE(label.text(), QString());
}

void TestLabel1::filterDecisions()
{
    Label_1 label(solid(Qt::blue), QStringLiteral("Pen"));
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 5), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QMouseEvent release(QEvent::MouseButtonRelease, QPointF(5, 5), Qt::LeftButton, Qt::NoButton,
                        Qt::NoModifier);
    QMouseEvent doubleClick(QEvent::MouseButtonDblClick, QPointF(5, 5), Qt::LeftButton,
                            Qt::LeftButton, Qt::NoModifier);
    QTouchEvent begin = touchEvent(QEvent::TouchBegin, m_touch, QPointF(5, 5));
    QTouchEvent update = touchEvent(QEvent::TouchUpdate, m_touch, QPointF(6, 6));

    QVERIFY(label.eventFilter(&label, &press));
    QVERIFY(label.eventFilter(&label, &begin));
    QVERIFY(!label.eventFilter(&label, &release));
    QVERIFY(!label.eventFilter(&label, &doubleClick));
    QVERIFY(!label.eventFilter(&label, &update));
    // Events of the child labels are theirs.
    QVERIFY(!label.eventFilter(pictureOf(label), &press));
    QVERIFY(!label.eventFilter(captionOf(label), &begin));
}

void TestLabel1::swallowsPressAimedAtItself()
{
    CountingLabel label(solid(Qt::blue), QStringLiteral("Pen"));
    label.show();
    QVERIFY(QTest::qWaitForWindowExposed(&label));
    QTest::mousePress(&label, Qt::LeftButton, Qt::NoModifier, QPoint(26, 30));
    QCOMPARE(label.presses, 0);
    // Releases are not filtered.
    QTest::mouseRelease(&label, Qt::LeftButton, Qt::NoModifier, QPoint(26, 30));
    QCOMPARE(label.releases, 1);
}

void TestLabel1::swallowsTouchBeginAimedAtItself()
{
    CountingLabel label(solid(Qt::blue), QStringLiteral("Pen"));
    label.setAttribute(Qt::WA_AcceptTouchEvents);
    QTouchEvent begin = touchEvent(QEvent::TouchBegin, m_touch, QPointF(26, 30));
    QVERIFY(QCoreApplication::sendEvent(&label, &begin));
    QCOMPARE(label.touchBegins, 0);
    // The swallowed begin counts as accepted, so the rest of the touch
    // sequence is delivered, unfiltered.
    QTouchEvent update = touchEvent(QEvent::TouchUpdate, m_touch, QPointF(27, 31));
    QCoreApplication::sendEvent(&label, &update);
    QCOMPARE(label.touchUpdates, 1);
}

void TestLabel1::pressOnChildReachesChild()
{
    // A press on the picture goes to the picture label itself. A plain label
    // ignores it, so it travels up to the tile, which swallows it there.
    CountingLabel label(solid(Qt::blue), QStringLiteral("Pen"));
    label.show();
    QVERIFY(QTest::qWaitForWindowExposed(&label));
    QLabel* picture = pictureOf(label);
    EventLog pictureLog;
    EventLog tileLog;
    picture->installEventFilter(&pictureLog);
    label.installEventFilter(&tileLog);

    QTest::mousePress(picture, Qt::LeftButton, Qt::NoModifier, QPoint(10, 10));
    QCOMPARE(pictureLog.types, QVector<QEvent::Type>{QEvent::MouseButtonPress});
    // Reaching the tile shows that nothing swallowed it at the picture.
    QCOMPARE(tileLog.types, QVector<QEvent::Type>{QEvent::MouseButtonPress});
    QCOMPARE(label.presses, 0);
    QTest::mouseRelease(picture, Qt::LeftButton, Qt::NoModifier, QPoint(10, 10));
}

void TestLabel1::dragOnCaptionIsHandledByCaption()
{
    // With selectable text, pressing on the caption and dragging selects:
    // the caption saw its own press, which the tile did not swallow.
    Label_1 label(solid(Qt::blue), QStringLiteral("MMMMMMMM"));
    label.show();
    QVERIFY(QTest::qWaitForWindowExposed(&label));
    QLabel* caption = captionOf(label);
    caption->setTextInteractionFlags(Qt::TextSelectableByMouse);
    const int middle = caption->height() / 2;

    QTest::mousePress(caption, Qt::LeftButton, Qt::NoModifier, QPoint(1, middle));
    QMouseEvent drag(QEvent::MouseMove, QPointF(40, middle),
                     caption->mapToGlobal(QPoint(40, middle)), Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QCoreApplication::sendEvent(caption, &drag);
    QTest::mouseRelease(caption, Qt::LeftButton, Qt::NoModifier, QPoint(40, middle));
    QVERIFY(caption->hasSelectedText());
    QVERIFY(caption->selectedText().startsWith(QStringLiteral("MM")));
}

void TestLabel1::touchOnChildReachesChild()
{
    // A touch begin aimed at the picture reaches it; the plain label does
    // not accept it, so it is offered to the tile, which swallows it.
    CountingLabel label(solid(Qt::blue), QStringLiteral("Pen"));
    label.setAttribute(Qt::WA_AcceptTouchEvents);
    QLabel* picture = pictureOf(label);
    picture->setAttribute(Qt::WA_AcceptTouchEvents);
    EventLog pictureLog;
    EventLog tileLog;
    picture->installEventFilter(&pictureLog);
    label.installEventFilter(&tileLog);

    QTouchEvent begin = touchEvent(QEvent::TouchBegin, m_touch, QPointF(10, 10));
    QCoreApplication::sendEvent(picture, &begin);
    QCOMPARE(pictureLog.types, QVector<QEvent::Type>{QEvent::TouchBegin});
    QCOMPARE(tileLog.types, QVector<QEvent::Type>{QEvent::TouchBegin});
    QCOMPARE(label.touchBegins, 0);
}

void TestLabel1::nullPixmapDoesNotCrash()
{
    Label_1 label{QPixmap(), QString()};
    label.layout()->activate();
    const QImage image = WidgetTest::render(label);
    QCOMPARE(image.size(), QSize(52, 68));
    QVERIFY(pictureOf(label)->pixmap(Qt::ReturnByValue).isNull());
    label.changePixmapAndText(QPixmap(), QString());
    label.setLocalText(QString());
    QCOMPARE(captionOf(label)->text(), QString());
}

QTEST_MAIN(TestLabel1)
#include "tst_label_1.moc"
