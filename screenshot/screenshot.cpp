#include "screenshot/screenshot.h"

#include "common/common.h"
#include "common/desktopsession.h"
#include "common/logging.h"
#include "common/translation.h"
#include "screenshot/screencopy.h"
#include "widgets/mpushbutton_1.h"

#include <QApplication>
#include <QDebug>
#include <QDesktopWidget>
#include <QEventLoop>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineF>
#include <QMouseEvent>
#include <QPainter>
#include <QPen>
#include <QPointer>
#include <QScreen>
#include <QTimer>

#include <algorithm>

namespace {

const QColor kMaskColor(115, 115, 115, 200);
const QColor kBorderColor(20, 134, 250);

// Positions are the event's position rounded to whole pixels per coordinate.
QPoint roundedPoint(const QPointF& point)
{
    return QPoint(qRound(point.x()), qRound(point.y()));
}

int scaled(int designPixels)
{
    return Common::getInstance()->getNewSize(designPixels);
}

QRect desktopGeometry()
{
    return QApplication::desktop()->geometry();
}

} // namespace

ScreenShot::ScreenShot(QPixmap* result, QWidget* parent)
    : QWidget(parent)
    , m_result(result)
{
    // Made on its own too (by a host or a test), it speaks the board's
    // language.
    Translation::install();
    setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    setAttribute(Qt::WA_TranslucentBackground);
    setFocusPolicy(Qt::StrongFocus);

    initLayout();
    resize();

    m_captureTimer = new QTimer(this);
    m_captureTimer->setSingleShot(true);
    m_captureLoop = new QEventLoop(this);
    connect(m_captureTimer, &QTimer::timeout, this, &ScreenShot::grabDesktop);

    // The captions and the prompt follow the board's language.
    if (!Translation::isChinese())
        updateLanguage(false);
    // Every overlay starts in rectangle mode.
    changeFreeShot(1);
}

ScreenShot::~ScreenShot()
{
    // Destroyed while captureScreen() waits in the loop: the loop must
    // outlive this object, because its exec() is still on the stack. Hand it
    // over to that frame, which deletes it once exec() has returned.
    if (m_captureLoop && m_captureLoop->isRunning()) {
        m_captureLoop->setParent(nullptr);
        m_captureLoop->quit();
    }
}

void ScreenShot::initLayout()
{
    // The window's geometry before it goes full screen; restored before the
    // desktop is grabbed.
    setGeometry(0, 0, scaled(301), scaled(156));

    m_promptLabel = new QLabel(tr("请拖拽一个区域"), this);
    m_promptLabel->setAttribute(Qt::WA_MouseTracking);
    m_promptLabel->setAlignment(Qt::AlignCenter);
    m_promptLabel->setStyleSheet(QStringLiteral("color:white;"));
    m_promptLabel->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_promptLabel->hide();

    m_buttonBar = new QWidget(this);
    m_buttonBar->setStyleSheet(
        QStringLiteral("background-color:white;border-radius:%1px;").arg(scaled(12)));
    m_buttonBar->hide();

    m_confirmButton = new mPushButton_1(m_buttonBar);
    m_confirmButton->setTextAndPixmap(tr("确定"),
                                      QPixmap(QStringLiteral(":/images/minimize/yuansu2@2x.png")));
    m_cancelButton = new mPushButton_1(m_buttonBar);
    m_cancelButton->setTextAndPixmap(tr("取消"),
                                     QPixmap(QStringLiteral(":/images/minimize/yuansu1@2x.png")));

    auto* layout = new QHBoxLayout(m_buttonBar);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addStretch();
    layout->addWidget(m_cancelButton);
    layout->addStretch();
    layout->addWidget(m_confirmButton);
    layout->addStretch();

    connect(m_cancelButton, &QPushButton::clicked, this, &QObject::deleteLater);
    connect(m_confirmButton, &QPushButton::clicked, this, &ScreenShot::captureScreen);
}

void ScreenShot::resize()
{
    const Common* common = Common::getInstance();
    const QRect desktop = desktopGeometry();

    m_promptLabel->setFont(common->getFont(64));
    m_promptLabel->setFixedSize(common->getNewSize(desktop.width(), 100));

    m_confirmButton->setFixedSize(common->getNewSize(60, 70));
    m_cancelButton->setFixedSize(common->getNewSize(60, 70));
    m_buttonBar->setFixedSize(common->getNewSize(136, 82));

    m_promptLabel->move((desktop.width() - m_promptLabel->width()) / 2,
                        (desktop.height() - m_promptLabel->height()) / 2);

    m_handleRadius = common->getNewSize(8);
    m_activeRadius = common->getNewSize(12);
}

void ScreenShot::changeFreeShot(int mode)
{
    hide();
    setShow(1);
    show();

    if (mode == 1) {
        // Hover feedback: the cursor follows the region under the mouse.
        setAttribute(Qt::WA_MouseTracking, true);
        m_promptLabel->setText(m_chinese ? tr("请拖拽一个区域") : tr("Please Drag An Rect Area"));
        m_state = 0;
        m_selectPhase = 0;
    } else if (mode == 2) {
        setAttribute(Qt::WA_MouseTracking, false);
        // The English text here does not go through tr().
        m_promptLabel->setText(m_chinese ? tr("请自由绘制一个区域截图")
                                         : QStringLiteral("Please Draw A Custom Area"));
        m_state = 1;
        m_freePath.clear();
        m_freePoints.clear(); // keeps the capacity
    }

    m_promptPhase = 1;
    m_selection = QRect();
    m_savedGeometry = geometry();
    m_promptLabel->show();
    const QRect desktop = desktopGeometry();
    setGeometry(0, 0, desktop.width(), desktop.height());
    update();
}

void ScreenShot::updateLanguage(bool chinese)
{
    m_chinese = chinese;
    if (chinese) {
        m_confirmButton->setLocalText(tr("确定"));
        m_cancelButton->setLocalText(tr("取消"));
    } else {
        m_confirmButton->setLocalText(QStringLiteral("Yes"));
        m_cancelButton->setLocalText(QStringLiteral("No"));
    }
}

void ScreenShot::setShow(int) {}

QPixmap ScreenShot::getShotPixmap(QPixmap screen)
{
    return screen.copy(m_selection);
}

QPoint ScreenShot::handlePoint(int region) const
{
    const QRect& s = m_selection;
    // Midpoints: QPoint division rounds each coordinate with qRound.
    switch (region) {
    case 1:
        return (s.topLeft() + s.topRight()) / 2;
    case 2:
        return s.topLeft();
    case 3:
        return s.topRight();
    case 4:
        return (s.topLeft() + s.bottomLeft()) / 2;
    case 5:
        return (s.topRight() + s.bottomRight()) / 2;
    case 6:
        return (s.bottomLeft() + s.bottomRight()) / 2;
    case 7:
        return s.bottomLeft();
    case 8:
        return s.bottomRight();
    default:
        return QPoint();
    }
}

int ScreenShot::getMousePos(QPoint pos)
{
    static const Qt::CursorShape cursors[] = {
        Qt::ArrowCursor,     Qt::SizeVerCursor, Qt::SizeFDiagCursor, Qt::SizeBDiagCursor,
        Qt::SizeHorCursor,   Qt::SizeHorCursor, Qt::SizeVerCursor,   Qt::SizeBDiagCursor,
        Qt::SizeFDiagCursor, Qt::SizeAllCursor, Qt::ArrowCursor};

    int region = 10;
    for (int handle = 1; handle <= 8; ++handle) {
        if (QLineF(handlePoint(handle), pos).length() < m_handleRadius) {
            region = handle;
            break;
        }
    }
    if (region == 10 && m_selection.contains(pos)) {
        region = 9;
    }
    setCursor(cursors[region]);
    return region;
}

bool ScreenShot::event(QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride) {
        event->accept();
        return true;
    }
    return QWidget::event(event);
}

void ScreenShot::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Escape:
        m_cancelButton->click();
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        // Only a selection that shows its confirm bar can be confirmed.
        if (m_buttonBar->isVisible())
            m_confirmButton->click();
        break;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    event->accept();
}

void ScreenShot::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    // The keyboard goes to the overlay while it is up.
    activateWindow();
    setFocus(Qt::ActiveWindowFocusReason);
}

void ScreenShot::mousePressEvent(QMouseEvent* event)
{
    const QPoint pos = roundedPoint(event->localPos());

    if (m_state > 3) {
        m_pressed = true;
        m_pressPoint = pos;
        return;
    }

    m_promptLabel->hide();
    if (!m_buttonBar->isHidden()) {
        m_buttonBar->hide();
    }
    m_pressed = true;

    if (m_state == 0) {
        m_promptPhase = 2;
        m_hitRegion = getMousePos(pos);
        if (m_selectPhase != 0) {
            // Offset of the press from the selection, kept while moving it.
            m_pressPoint = pos - m_selection.topLeft();
        } else {
            // The first drag pulls the bottom-right corner away from the press.
            m_selectPhase = 1;
            m_hitRegion = 8;
            m_pressPoint = pos;
        }
    } else if (m_state == 1) {
        m_promptPhase = 2;
        m_freePoints.append(pos);
    }
}

void ScreenShot::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint pos = roundedPoint(event->localPos());

    if (m_state > 3) {
        if (m_pressed) {
            move(roundedPoint(event->screenPos()) - m_pressPoint);
            update();
        }
        return;
    }

    if (m_state == 1) {
        // Tracking is off in this mode: moves arrive only with a button down.
        m_freePoints.append(pos);
    } else if (m_state == 0 && m_pressed) {
        if (m_selectPhase == 1) {
            m_selection.setTopLeft(m_pressPoint);
            m_selection.setBottomRight(pos);
        }
        switch (m_hitRegion) {
        case 1:
            m_selection.setTop(pos.y());
            break;
        case 2:
            m_selection.setTopLeft(pos);
            break;
        case 3:
            m_selection.setTopRight(pos);
            break;
        case 4:
            m_selection.setLeft(pos.x());
            break;
        case 5:
            m_selection.setRight(pos.x());
            break;
        case 6:
            m_selection.setBottom(pos.y());
            break;
        case 7:
            m_selection.setBottomLeft(pos);
            break;
        case 8:
            m_selection.setBottomRight(pos);
            break;
        case 9: {
            // Move, keeping the size, and keep the rectangle on the screen.
            const int spanX = m_selection.right() - m_selection.left();
            const int spanY = m_selection.bottom() - m_selection.top();
            int x = pos.x() - m_pressPoint.x();
            x = x <= 0 ? 0 : std::min(x, (width() - 1) - spanX);
            int y = pos.y() - m_pressPoint.y();
            y = y <= 0 ? 0 : std::min(y, (height() - 1) - spanY);
            m_selection.moveTo(x, y);
            break;
        }
        default:
            break;
        }
    } else if (m_state == 0) {
        m_hitRegion = getMousePos(pos);
    }

    update();
}

void ScreenShot::mouseReleaseEvent(QMouseEvent* event)
{
    const QPoint pos = roundedPoint(event->localPos());

    if (m_state > 3) {
        m_pressed = false;
        update();
        return;
    }

    if (m_state == 0) {
        m_pressed = false;
        if (m_selectPhase == 1) {
            m_selectPhase = 2;
            m_selection.setTopLeft(m_pressPoint);
            m_selection.setBottomRight(pos);
        }
        // Resizing may have crossed corners over; put them back in order.
        const int left = std::min(m_selection.left(), m_selection.right());
        const int right = std::max(m_selection.left(), m_selection.right());
        const int top = std::min(m_selection.top(), m_selection.bottom());
        const int bottom = std::max(m_selection.top(), m_selection.bottom());
        m_selection.setCoords(left, top, right, bottom);
        m_freeLeft = left;
        m_freeRight = right;
        m_freeTop = top;
        m_freeBottom = bottom;
    } else if (m_state == 1) {
        if (m_promptPhase == 1) {
            update();
            return;
        }
        m_freePoints.append(pos);
        // The bounds are those of the last paint, which has not seen the
        // release point yet.
        m_selection = QRect(QPoint(m_freeLeft, m_freeTop), QPoint(m_freeRight, m_freeBottom));
        qCDebug(lcSkedaScreenshot).nospace() << "mrect12 " << m_selection;
        m_state = 3;
        update();
    }

    if (m_buttonBar->isHidden() && m_promptPhase != 1) {
        placeButtonBar();
    }
    update();
}

void ScreenShot::placeButtonBar()
{
    const int barWidth = m_buttonBar->width();
    const int barHeight = m_buttonBar->height();
    // Centred under the selection.
    const int x =
        m_selection.left() + ((m_selection.right() - m_selection.left()) - (barWidth - 1)) / 2;
    int y = m_selection.bottom() + scaled(15);
    if (y + barHeight > height()) {
        // No room below: inside the selection, above its bottom edge.
        y = y - barHeight - scaled(30);
    }
    m_buttonBar->move(x, y);
    m_buttonBar->show();
}

void ScreenShot::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);

    if (m_state == 0) {
        QPainterPath mask;
        mask.addRect(QRectF(0, 0, width(), height()));
        const QRect& s = m_selection;
        mask.addRect(QRectF(s.left(), s.top(), s.right() - s.left() + 1, s.bottom() - s.top() + 1));
        mask.setFillRule(Qt::OddEvenFill);
        painter.fillPath(mask, kMaskColor);

        if (m_selectPhase == 0) {
            return;
        }

        QPen pen(kBorderColor, 1.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin);
        painter.setPen(pen);
        painter.setBrush(Qt::transparent);
        painter.drawRects(&m_selection, 1);
        painter.setBrush(Qt::white);

        const int a = m_activeRadius;
        if (m_pressed && m_hitRegion >= 1 && m_hitRegion <= 8) {
            const QPoint h = handlePoint(m_hitRegion);
            painter.drawEllipse(QRect(h.x() - a, h.y() - a, 2 * a, 2 * a));
        }

        const int r = m_handleRadius;
        painter.setBrush(QBrush(kBorderColor, Qt::SolidPattern));
        painter.setPen(pen);
        for (int handle = 1; handle <= 8; ++handle) {
            const QPoint h = handlePoint(handle);
            painter.drawEllipse(QRect(h.x() - r, h.y() - r, 2 * r, 2 * r));
        }
    } else if (m_state == 1 || m_state == 3) {
        QPainterPath mask;
        mask.addRect(QRectF(0, 0, width(), height()));
        mask.setFillRule(Qt::OddEvenFill);
        QPainterPath freePath;
        freePath.setFillRule(Qt::OddEvenFill);

        for (int i = 0; i < m_freePoints.size(); ++i) {
            const QPoint& p = m_freePoints.at(i);
            if (i == 0) {
                freePath.moveTo(p);
                m_freeLeft = m_freeRight = p.x();
                m_freeTop = m_freeBottom = p.y();
            } else {
                const QPoint& previous = m_freePoints.at(i - 1);
                freePath.quadTo(previous, (previous + p) / 2);
            }
            m_freeLeft = std::min(m_freeLeft, p.x());
            m_freeTop = std::min(m_freeTop, p.y());
            m_freeRight = std::max(m_freeRight, p.x());
            m_freeBottom = std::max(m_freeBottom, p.y());
        }

        painter.setPen(QPen(Qt::green, 2.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        mask.addPath(freePath);
        painter.setBrush(kMaskColor);
        painter.drawPath(mask);

        m_freePath.clear();
        m_freePath = freePath;
    }
    // States 2 and 4 draw nothing: while capturing the overlay is clear.
}

void ScreenShot::captureScreen()
{
    // One capture per overlay: ignore further clicks once it has started.
    if (m_state == 4 || m_captureLoop->isRunning()) {
        return;
    }

    m_state = 4;
    update();

    // The overlay may be destroyed while the loop runs (its parent goes away,
    // or cancel is clicked); then nothing below may touch it. Its destructor
    // hands the loop over to this frame.
    const QPointer<ScreenShot> alive(this);
    QEventLoop* loop = m_captureLoop;
    m_captureTimer->start(50);
    loop->exec();
    if (!alive) {
        delete loop;
        return;
    }
    if (m_captureTimer->isActive()) {
        // The loop was left before the timer fired (the application is
        // quitting); grab now rather than hand back nothing.
        grabDesktop();
    }

    const QPixmap shot = getShotPixmap(m_screenPixmap);
    if (m_result) {
        *m_result = shot;
    } else {
        qCWarning(lcSkedaScreenshot,
                  "ScreenShot: no pixmap to store the capture in; it is dropped");
    }

    emit newPixmap();
    // A receiver may already have deleted the overlay.
    if (alive) {
        deleteLater();
    }
}

bool ScreenShot::canCaptureScreen()
{
    if (DesktopSession::onWaylandPlatform())
        return ScreenCopy::isOffered();
    return DesktopSession::canCaptureScreen();
}

void ScreenShot::grabDesktop()
{
    m_captureTimer->stop();
    if (QScreen* screen = QGuiApplication::primaryScreen()) {
        // On Wayland only the compositor has the screen's picture.
        if (ScreenCopy::isOffered())
            m_screenPixmap = QPixmap::fromImage(ScreenCopy::grab(screen));
        else
            m_screenPixmap = screen->grabWindow(QApplication::desktop()->winId(), 0, 0, -1, -1);
    } else {
        qCWarning(lcSkedaScreenshot, "ScreenShot: no screen to grab; the capture is empty");
        m_screenPixmap = QPixmap();
    }
    setGeometry(m_savedGeometry);
    hide();
    m_captureLoop->quit();
}
