#include "canvas/myminigraphicsview.h"

#include "canvas/boardhistory.h"
#include "canvas/inklayer.h"
#include "canvas/minipathopermodel.h"
#include "canvas/myminigraphicsscene.h"
#include "common/logging.h"
#include "eraser/minieraseopermodel.h"
#include "shell/mainwindow.h"

#include <QGraphicsItem>
#include <QGuiApplication>
#include <QHash>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScreen>
#include <QSet>
#include <QTouchEvent>

MyMiniGraphicsView::MyMiniGraphicsView(QWidget* parent)
    : QGraphicsView(parent)
{
    setAlignment(Qt::AlignLeft | Qt::AlignTop);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setRenderHint(QPainter::Antialiasing, true);
    setRenderHint(QPainter::SmoothPixmapTransform, true);
    viewport()->setAttribute(Qt::WA_AcceptTouchEvents, true);
}

MyMiniGraphicsView::~MyMiniGraphicsView()
{
    // The operations go before the scene (a child created later), so that the
    // eraser can still tell which of its items the scene owns.
    delete m_pathOperation;
    delete m_eraseOperation;
}

void MyMiniGraphicsView::setSceneData(MyMiniGraphicsScene* scene)
{
    m_scene = scene;
}

void MyMiniGraphicsView::toggleOperation(UserOperationType type)
{
    m_operType = type;
    // A stroke in progress is finished when the other operation takes over:
    // its release goes there.
    BaseOperation* previous = m_curOperation;
    if (type == PenOperation) {
        if (!m_pathOperation) {
            m_pathOperation = new MiniPathOpermodel();
            m_pathOperation->m_scene = m_scene;
            m_pathOperation->m_view = this;
        }
        m_curOperation = m_pathOperation;
    } else if (type == EraseOperation) {
        if (!m_eraseOperation) {
            m_eraseOperation = new MiniEraseOperModel();
            m_eraseOperation->m_scene = m_scene;
            m_eraseOperation->m_view = this;
        }
        m_curOperation = m_eraseOperation;
    }
    if (m_scene && previous && m_curOperation != previous)
        m_scene->inkLayer()->dryAll();
}

void MyMiniGraphicsView::DrawPenPath()
{
    toggleOperation(PenOperation);
}

void MyMiniGraphicsView::StartErase()
{
    toggleOperation(EraseOperation);
}

void MyMiniGraphicsView::setTool(ViewTool tool)
{
    m_tool = tool;
    if (tool == PenTool)
        DrawPenPath();
    else
        StartErase();
}

void MyMiniGraphicsView::clearAllItem()
{
    if (!m_scene)
        return;
    const QList<QGraphicsItem*> items = m_scene->items(Qt::AscendingOrder);
    if (items.isEmpty())
        return;
    m_scene->history()->clearBoard(items);
}

bool MyMiniGraphicsView::isPointerDown() const
{
    return m_fingersDown || (m_mouseDown && QGuiApplication::mouseButtons() != Qt::NoButton);
}

bool MyMiniGraphicsView::prepareHistory()
{
    if (!m_scene || isPointerDown())
        return false;
    if (m_pathOperation)
        m_pathOperation->recordOpenStrokes();
    return true;
}

bool MyMiniGraphicsView::undo()
{
    return prepareHistory() && m_scene->history()->undo();
}

bool MyMiniGraphicsView::redo()
{
    return prepareHistory() && m_scene->history()->redo();
}

void MyMiniGraphicsView::deleteItems(const QList<QGraphicsItem*>& items)
{
    if (items.isEmpty())
        return;
    forgetItems(items);
    // A child item goes with its parent, and an item named twice is one
    // item: deleting either again would delete it twice.
    QList<QGraphicsItem*> topLevel;
    topLevel.reserve(items.size());
    QSet<QGraphicsItem*> seen;
    seen.reserve(items.size());
    for (QGraphicsItem* item : items) {
        if (item && !item->parentItem() && !seen.contains(item)) {
            seen.insert(item);
            topLevel.append(item);
        }
    }
    QHash<MyMiniGraphicsScene*, QList<QGraphicsItem*>> boards;
    for (QGraphicsItem* item : qAsConst(topLevel)) {
        if (auto* board = dynamic_cast<MyMiniGraphicsScene*>(item->scene()))
            boards[board].append(item);
        else if (QGraphicsScene* owner = item->scene())
            owner->removeItem(item);
    }
    for (auto it = boards.cbegin(); it != boards.cend(); ++it)
        it.key()->removeItemsKeepingOrder(it.value());
    qDeleteAll(topLevel);
}

void MyMiniGraphicsView::forgetItems(const QList<QGraphicsItem*>& items)
{
    if (m_pathOperation)
        m_pathOperation->forgetItems(items);
    if (m_eraseOperation)
        m_eraseOperation->forgetItems(items);
}

QPixmap MyMiniGraphicsView::getViewToPixmap()
{
    QScreen* screen = QGuiApplication::primaryScreen();
    QPixmap pixmap = screen ? screen->grabWindow(0, 0, 0, -1, -1) : QPixmap();
    if (pixmap.isNull()) {
        qCWarning(lcSkedaCanvas,
                  "MyMiniGraphicsView: the screen could not be grabbed; the picture holds the "
                  "drawing alone");
        pixmap = QPixmap(size());
        pixmap.fill(Qt::transparent);
    }
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    render(&painter, QRectF(0, 0, width(), height()), QRect(0, 0, width(), height()),
           Qt::IgnoreAspectRatio);
    painter.end();
    m_itemUpdatesOn = true;
    return pixmap;
}

void MyMiniGraphicsView::paintEvent(QPaintEvent* event)
{
    auto* board = dynamic_cast<MyMiniGraphicsScene*>(scene());
    if (!board) {
        QGraphicsView::paintEvent(event);
        return;
    }
    InkLayer* ink = board->inkLayer();
    if (!ink->canPaint(this)) {
        // Items the layer does not know of (added by a host), or a second
        // view: Qt finds and sorts the items under the exposed area, and the
        // scene draws the ink in its place among them.
        QPainter painter(viewport());
        painter.setRenderHints(renderHints());
        const QRect exposed = event->rect();
        // As the ink layer does: the region starts empty, so that nothing is
        // blended twice on a surface without alpha.
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.fillRect(exposed, Qt::transparent);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        render(&painter, QRectF(exposed), exposed, Qt::IgnoreAspectRatio);
        m_itemUpdatesOn = true;
        // Whatever Qt reports changed repaints the whole board while such
        // items are there: Qt only knows where it painted an item when it
        // paints the view itself.
        if (!m_sceneChanges)
            m_sceneChanges = connect(board, &QGraphicsScene::changed, viewport(),
                                     [this] { viewport()->update(); });
        return;
    }
    if (m_sceneChanges)
        disconnect(m_sceneChanges);
    if (m_itemUpdatesOn) {
        // Back to the ink alone: Qt's repaints item by item (a walk over
        // every item of the scene for every change) are switched off again
        // by asking for a repaint of everything, and the ink layer asks for
        // what it needs.
        m_itemUpdatesOn = false;
        board->update();
    }

    QPainter painter(viewport());
    painter.setRenderHints(renderHints());
    const QRectF exposedScene = mapToScene(event->rect()).boundingRect();
    const QTransform transform = viewportTransform();
    // The board's background is transparent: its ink replaces what the
    // region showed. A background brush is drawn beneath the ink instead.
    const bool noBackground = backgroundBrush().style() == Qt::NoBrush &&
                              scene()->backgroundBrush().style() == Qt::NoBrush;
    if (!noBackground) {
        painter.setWorldTransform(transform);
        drawBackground(&painter, exposedScene);
        painter.resetTransform();
    }
    ink->paint(this, &painter, event->region(), noBackground);
    painter.setWorldTransform(transform);
    drawForeground(&painter, exposedScene);
}

void MyMiniGraphicsView::hideParentTool()
{
    if (auto* window = dynamic_cast<MainWindow*>(parent()))
        window->hideTool();
}

bool MyMiniGraphicsView::viewportEvent(QEvent* event)
{
    if (!m_curOperation)
        return QGraphicsView::viewportEvent(event);

    switch (event->type()) {
    case QEvent::MouseButtonPress:
        if (!m_isTouching) {
            m_mouseDown = true;
            hideParentTool();
            m_isTouching = false;
            m_curOperation->mousePressEvent(static_cast<QMouseEvent*>(event));
        }
        break;
    case QEvent::MouseMove:
        if (!m_isTouching)
            m_curOperation->mouseMoveEvent(static_cast<QMouseEvent*>(event));
        break;
    case QEvent::MouseButtonRelease:
        m_mouseDown = static_cast<QMouseEvent*>(event)->buttons() != Qt::NoButton;
        if (!m_isTouching)
            m_curOperation->mouseReleaseEvent(static_cast<QMouseEvent*>(event));
        break;
    case QEvent::TouchBegin:
        m_fingersDown = true;
        hideParentTool();
        m_isTouching = true;
        m_curOperation->touchBegine(static_cast<QTouchEvent*>(event));
        return true;
    case QEvent::TouchUpdate:
        m_curOperation->touchUpdate(static_cast<QTouchEvent*>(event));
        return true;
    case QEvent::TouchEnd:
        m_fingersDown = false;
        m_curOperation->touchEnd(static_cast<QTouchEvent*>(event));
        m_isTouching = false;
        return true;
    case QEvent::TouchCancel:
        m_fingersDown = false;
        break;
    default:
        break;
    }
    return QGraphicsView::viewportEvent(event);
}
