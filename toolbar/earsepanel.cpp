#include "toolbar/earsepanel.h"

#include "common/common.h"
#include "common/translation.h"
#include "toolbar/sliderwidget.h"

#include "ui_earsepanel.h"

#include <QPixmap>

EarsePanel::EarsePanel(QWidget* parent)
    : BaseShadowWidget(parent)
    , m_ui(new Ui::EarsePanel)
{
    // Made on its own too (by a host or a test), it speaks the board's
    // language.
    Translation::install();
    m_ui->setupUi(this);

    const Common* common = Common::getInstance();
    setBorderWidth(common->getNewSize(2));
    const int radius = common->getNewSize(8);
    setRadius(radius, radius, radius, radius);
    setBackgroundColor(Qt::white);

    initUI();
}

EarsePanel::~EarsePanel()
{
    delete m_ui;
}

void EarsePanel::initUI()
{
    const Common* common = Common::getInstance();
    setFixedSize(common->getNewSize(248, 72));

    const int inner = common->getNewSize(2);
    m_ui->verticalLayout->setContentsMargins(inner, inner, inner, inner);

    SliderWidget* slider = m_ui->slider;
    slider->setFixedSize(common->getNewSize(226, 48));
    // The image is drawn at twice the handle's size and scaled down.
    slider->mSetHandleIcon(QPixmap(QStringLiteral(":/images/minimize/huakuai@2x.png")));
    // In the board's language: the design's Chinese hint, or its English
    // translation.
    slider->mSetText(tr(">>> 右滑清屏"));
    slider->mSetHandleSize(common->getNewSize(88, 38));
    // The track would leave room for a small inset, but the handle starts
    // flush with the track's left edge and travels all the way to the right
    // edge: both margins are 0 and the inset stays unused.
    [[maybe_unused]] const int handleInset = common->getNewSize(5);
    slider->mSetMargin(0, 0);
    slider->mSetFont(common->getFont());
    slider->mSetRadius(common->getNewSize(4));

    connect(slider, SIGNAL(clearSignal()), this, SIGNAL(clearSignal()));
}
