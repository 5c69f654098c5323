#include "toolbar/skedatool.h"

#include "common/common.h"
#include "common/desktopsession.h"
#include "common/logging.h"
#include "common/translation.h"
#include "common/uimanager.h"
#include "toolbar/earsepanel.h"
#include "widgets/pushbutton_7.h"

#include <QButtonGroup>
#include <QColor>
#include <QCoreApplication>
#include <QDebug>
#include <QEvent>
#include <QFrame>
#include <QMouseEvent>
#include <QPixmap>
#include <QPropertyAnimation>
#include <QQmlError>
#include <QQuickItem>
#include <QQuickWidget>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QStringList>
#include <QUrl>

#if QT_CONFIG(opengl)
#include <QOpenGLContext>
#endif

#include <cmath>

namespace {

const QString kImageDir = QStringLiteral(":/images/minimize/");

QPixmap image(const char* name)
{
    return QPixmap(kImageDir + QLatin1String(name));
}

// Event positions are fractional; halves round away from zero.
QPoint roundedPoint(const QPointF& point)
{
    return QPoint(static_cast<int>(std::lround(point.x())),
                  static_cast<int>(std::lround(point.y())));
}

// Qt Quick's default renderer needs OpenGL and aborts the process when no
// context can be made (the offscreen platform, an X server without GLX).
// Unless the user picked a scene-graph backend, try a context once before the
// first Qt Quick window exists and fall back to the software renderer.
void chooseQuickBackend()
{
    static bool decided = false;
    if (decided) {
        return;
    }
    decided = true;
    if (!QQuickWindow::sceneGraphBackend().isEmpty() ||
        !qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND") ||
        !qEnvironmentVariableIsEmpty("QMLSCENE_DEVICE")) {
        return;
    }
#if QT_CONFIG(opengl)
    QOpenGLContext probe;
    if (probe.create()) {
        return;
    }
#endif
    QQuickWindow::setSceneGraphBackend(QSGRendererInterface::Software);
    qCInfo(lcSkedaToolbar,
           "SkedaTool: no OpenGL context can be created; the pen popup uses Qt Quick's software "
           "renderer");
}

} // namespace

SkedaTool::SkedaTool(QWidget* parent)
    : QWidget(parent)
{
    // Made on its own too (by a host or a test), it speaks the board's
    // language.
    Translation::install();
    setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    setAttribute(Qt::WA_TranslucentBackground);
    setAutoFillBackground(true);
    resize(Common::getInstance()->getNewSize(370, 68));
    initUI();
}

SkedaTool::~SkedaTool()
{
    delete m_animation;
    // Until setMainWidget() hands them to the board window, the pop-ups
    // belong to the toolbar.
    if (m_penPopup && !m_penPopup->parent()) {
        delete m_penPopup.data();
    }
    if (m_earsePanel && !m_earsePanel->parent()) {
        delete m_earsePanel.data();
    }
}

void SkedaTool::initUI()
{
    m_frame = new QFrame(this);
    m_frame->setObjectName(QStringLiteral("frame"));

    m_logoBtn = new PushButton_7(image("logo@2x.png"), QPixmap(), image("logo2@2x.png"), m_frame);
    m_logoBtn->setObjectName(QStringLiteral("logoButton"));
    m_logoBtn->mSetIconSize(Common::getInstance()->getNewSize(68, 68));
    m_logoBtn->setCheckable(true);
    m_logoBtn->setChecked(true);

    m_selectBtn =
        new PushButton_7(image("xuanze@2x.png"), image("xuanze2@2x.png"), QPixmap(), m_frame);
    m_selectBtn->setObjectName(QStringLiteral("selectButton"));
    m_selectBtn->setCheckable(true);
    m_selectBtn->setHoverStyle(true);

    m_penBtn = new PushButton_7(image("bichu@2x.png"), image("bichu2@2x.png"), QPixmap(), m_frame);
    m_penBtn->setObjectName(QStringLiteral("penButton"));
    m_penBtn->setCheckable(true);
    m_penBtn->setHoverStyle(true);
    m_penBtn->setChecked(true);

    m_eraserBtn =
        new PushButton_7(image("cachu@2x.png"), image("cachu2@2x.png"), QPixmap(), m_frame);
    m_eraserBtn->setObjectName(QStringLiteral("eraserButton"));
    m_eraserBtn->setCheckable(true);
    m_eraserBtn->setHoverStyle(true);

    m_screenShotBtn = new PushButton_7(image("jietu@2x.png"), QPixmap(), QPixmap(), m_frame);
    m_screenShotBtn->setObjectName(QStringLiteral("screenShotButton"));
    m_screenShotBtn->setHoverStyle(true);

    m_closeBtn = new PushButton_7(image("quanping@2x.png"), QPixmap(), QPixmap(), m_frame);
    m_closeBtn->setObjectName(QStringLiteral("closeButton"));
    m_closeBtn->setHoverStyle(true);

    // What each button does, and what a second click does, for whoever
    // meets the toolbar for the first time.
    m_logoBtn->setToolTip(tr("折叠或展开工具栏；拖动可移动工具栏"));
    m_selectBtn->setToolTip(tr("选择桌面：点击穿过白板"));
    m_penBtn->setToolTip(tr("画笔——再点一次选择颜色和粗细"));
    m_eraserBtn->setToolTip(tr("橡皮擦——再点一次清空白板"));
    m_screenShotBtn->setToolTip(tr("区域截图"));
    m_closeBtn->setToolTip(tr("关闭白板"));

    m_logoBtn->installEventFilter(this);

    m_buttonGroup = new QButtonGroup(this);
    m_buttonGroup->setExclusive(true);
    m_buttonGroup->addButton(m_selectBtn);
    m_buttonGroup->addButton(m_penBtn);
    m_buttonGroup->addButton(m_eraserBtn);

    m_animation = new QPropertyAnimation(m_frame, "geometry");
    m_animation->setDuration(20);

    // Any change of the select button's state counts, also being switched off
    // because pen or eraser was chosen: the board then enters desktop mode
    // and leaves it again through the pen or eraser command of the same click.
    connect(m_selectBtn, &QAbstractButton::toggled, this, [this](bool) {
        hideTool();
        emit sigSelectDesktop();
    });
    connect(m_logoBtn, &QAbstractButton::clicked, this, [this] { expandOrCollapse(); });
    connect(m_closeBtn, &QAbstractButton::clicked, this, [this] {
        hideTool();
        emit sigClose();
    });
    connect(m_penBtn, &QAbstractButton::clicked, this, [this] {
        if (m_earsePanel) {
            m_earsePanel->hide();
        }
        emit sigPen();
    });

    createPenPopup();

    connect(m_penBtn, &PushButton_7::checkedClicked, this,
            [this] { togglePopup(m_penPopup, m_penBtn); });
    connect(m_eraserBtn, &QAbstractButton::clicked, this, [this] {
        if (m_penPopup) {
            m_penPopup->hide();
        }
        emit sigEraseBtn();
    });

    m_earsePanel = new EarsePanel(nullptr);
    m_earsePanel->hide();
    connect(m_eraserBtn, &PushButton_7::checkedClicked, this,
            [this] { togglePopup(m_earsePanel, m_eraserBtn); });
    connect(m_earsePanel, SIGNAL(clearSignal()), this, SIGNAL(sigClear()));

    connect(m_screenShotBtn, &QAbstractButton::clicked, this, [this] {
        hideTool();
        emit sigScreenShot();
    });
}

PushButton_7* SkedaTool::buttonOf(Button button) const
{
    switch (button) {
    case SelectButton:
        return m_selectBtn;
    case PenButton:
        return m_penBtn;
    case EraserButton:
        return m_eraserBtn;
    case ScreenShotButton:
        return m_screenShotBtn;
    case CloseButton:
        return m_closeBtn;
    }
    return nullptr;
}

bool SkedaTool::isButtonChecked(Button button) const
{
    PushButton_7* target = buttonOf(button);
    return target && target->isChecked();
}

void SkedaTool::clickButton(Button button)
{
    PushButton_7* target = buttonOf(button);
    if (!target || !target->isEnabled())
        return;
    const QPoint centre = target->rect().center();
    const QPoint global = target->mapToGlobal(centre);
    // The press may already end the toolbar's world (a host reacting to a
    // signal); the release goes only to a button that is still there.
    QPointer<PushButton_7> alive(target);
    QMouseEvent press(QEvent::MouseButtonPress, centre, global, Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QCoreApplication::sendEvent(target, &press);
    QMouseEvent release(QEvent::MouseButtonRelease, centre, global, Qt::LeftButton, Qt::NoButton,
                        Qt::NoModifier);
    if (alive)
        QCoreApplication::sendEvent(alive, &release);
}

void SkedaTool::createPenPopup()
{
    chooseQuickBackend();

    // The board window is not known yet, so the popup starts without a
    // parent; setMainWidget() moves it into the board.
    auto* popup = new QQuickWidget(m_mainWidget);
    popup->setObjectName(QStringLiteral("penPopup"));
    popup->setWindowFlags(Qt::FramelessWindowHint);
    popup->setSource(QUrl(QStringLiteral("qrc:/penSet.qml")));
    popup->hide();

    QObject* root = popup->rootObject();
    if (popup->status() != QQuickWidget::Ready || !root) {
        QStringList errors;
        const QList<QQmlError> popupErrors = popup->errors();
        for (const QQmlError& error : popupErrors) {
            errors << error.toString();
        }
        qCWarning(lcSkedaToolbar,
                  "SkedaTool: the pen settings popup (qrc:/penSet.qml) could not be loaded, so the "
                  "pen button opens nothing; the rest of the toolbar works as usual. %s",
                  qPrintable(errors.join(QStringLiteral("; "))));
        delete popup;
        return;
    }

    m_penPopup = popup;
    connect(root, SIGNAL(signalPenColor(QVariant)), this, SLOT(onPenColor(QVariant)));
    connect(root, SIGNAL(signalPenSize(QVariant)), this, SLOT(onPenSize(QVariant)));
}

void SkedaTool::resizeWidget()
{
    const Common* common = Common::getInstance();
    const QList<PushButton_7*> row = {m_selectBtn, m_penBtn, m_eraserBtn, m_screenShotBtn,
                                      m_closeBtn};

    m_logoBtn->setFixedSize(common->getNewSize(68, 68));
    for (PushButton_7* button : row) {
        button->setFixedSize(common->getNewSize(54, 54));
    }

    const int gap = common->getNewSize(6);
    const int logoWidth = m_logoBtn->width();
    const int smallWidth = m_selectBtn->width();
    // Room for six small buttons although five follow the logo: the frame
    // is wider than the window, which simply cuts its right part off.
    m_expandedWidth = logoWidth + 6 * smallWidth + 6 * gap + common->getNewSize(20);

    m_frame->resize(m_logoBtn->isChecked() ? m_expandedWidth : logoWidth,
                    m_logoBtn->height() + common->getNewSize(10));

    const int y = (m_logoBtn->height() - m_selectBtn->height()) / 2;
    int x = logoWidth + gap;
    for (PushButton_7* button : row) {
        button->move(x, y);
        x += button->width() + gap;
    }

    // A provisional place; the popup is placed again each time it opens.
    if (m_penPopup) {
        m_penPopup->move(m_penBtn->x(), m_penBtn->y() - common->getNewSize(18));
        m_penPopup->setAttribute(Qt::WA_TranslucentBackground);
        m_penPopup->setAttribute(Qt::WA_AlwaysStackOnTop);
        m_penPopup->setClearColor(Qt::transparent);
    }
}

void SkedaTool::setMainWidget(QWidget* w)
{
    m_mainWidget = w;
    if (m_penPopup) {
        m_penPopup->setParent(w);
    }
    if (m_earsePanel) {
        m_earsePanel->setParent(w);
    }
}

QWidget* SkedaTool::getMainWidget() const
{
    return m_mainWidget;
}

void SkedaTool::hideTool()
{
    if (m_penPopup) {
        m_penPopup->hide();
    }
    if (m_earsePanel) {
        m_earsePanel->hide();
    }
}

void SkedaTool::expandOrCollapse()
{
    hideTool();
    // The logo has already toggled: checked now means expand.
    const QRect start = m_frame->geometry();
    const int width = m_logoBtn->isChecked() ? m_expandedWidth : m_logoBtn->width();
    const QRect end(start.topLeft(), QSize(width, start.height()));
    // A click during the short run restarts from where the frame is now.
    m_animation->stop();
    m_animation->setStartValue(start);
    m_animation->setEndValue(end);
    m_animation->start(QAbstractAnimation::KeepWhenStopped);
}

void SkedaTool::togglePopup(QWidget* popup, QWidget* button)
{
    if (!popup) {
        return;
    }
    if (popup->isVisible()) {
        popup->hide();
        return;
    }
    // The toolbar's own record of where it lies, not mapToGlobal(): a
    // Wayland compositor places a layer surface itself and tells Qt only
    // that it lies at the output's corner. On X11 both are the same, the
    // toolbar having no frame.
    const QPoint global = geometry().topLeft() + button->pos();
    const double x = global.x() - popup->width() * 0.5 + button->width() * 0.5;
    const double y = global.y() - popup->height() - Common::getInstance()->getNewSize(10);
    // The board window covers the screen from its origin, so global
    // coordinates are also the board's.
    popup->move(static_cast<int>(x), static_cast<int>(y));
    popup->show();
}

bool SkedaTool::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_logoBtn && watched != this) {
        switch (event->type()) {
        // The second press of a double click arrives as a double-click
        // event; it is a press all the same.
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick:
            m_pressPos = roundedPoint(static_cast<QMouseEvent*>(event)->localPos());
            break;
        case QEvent::MouseMove: {
            // A drag is a move with the left button held; there is no
            // distance threshold.
            const auto* mouse = static_cast<QMouseEvent*>(event);
            if (mouse->buttons() & Qt::LeftButton) {
                m_dragging = true;
                hideTool();
                if (DesktopSession::onWaylandPlatform()) {
                    // A Wayland client learns the pointer's place only
                    // relative to its surface, and never where the
                    // compositor shows that surface while it moves: the bar
                    // stays where it is until the release, which puts it
                    // where the pointer is then, from the place it had.
                    m_dropPos = geometry().topLeft() +
                                m_logoBtn->mapTo(this, roundedPoint(mouse->localPos())) -
                                m_pressPos;
                } else {
                    move(roundedPoint(mouse->screenPos()) - m_pressPos);
                }
            }
            break;
        }
        case QEvent::MouseButtonRelease: {
            const auto* mouse = static_cast<QMouseEvent*>(event);
            if (mouse->button() == Qt::LeftButton) {
                // The button toggles itself on this release when it is down
                // and the release falls on it. After a drag that toggle is
                // undone in advance, so dragging never expands or collapses
                // the bar.
                if (m_dragging && m_logoBtn->isDown() && m_logoBtn->rect().contains(mouse->pos())) {
                    m_logoBtn->setChecked(!m_logoBtn->isChecked());
                }
                if (m_dragging && DesktopSession::onWaylandPlatform())
                    move(m_dropPos);
                m_dragging = false;
            }
            break;
        }
        default:
            break;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void SkedaTool::onPenColor(QVariant color)
{
    qCDebug(lcSkedaToolbar) << "color" << color.toString();
    QColor penColor;
    penColor.setNamedColor(color.toString());
    if (!penColor.isValid()) {
        qCWarning(lcSkedaToolbar,
                  "SkedaTool: ignoring the pen colour \"%s\", which is not a colour",
                  qPrintable(color.toString()));
        return;
    }
    UIManager::getInstance()->setPenColor(penColor);
}

void SkedaTool::onPenSize(QVariant size)
{
    qCDebug(lcSkedaToolbar) << "size" << size.toInt();
    bool ok = false;
    const int width = size.toInt(&ok);
    if (!ok || width < 1) {
        qCWarning(lcSkedaToolbar,
                  "SkedaTool: ignoring the pen width \"%s\", which is not a positive number",
                  qPrintable(size.toString()));
        return;
    }
    UIManager::getInstance()->setPenWidth(width);
}
