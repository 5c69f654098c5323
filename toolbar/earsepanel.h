#pragma once

#include "widgets/baseshadowwidget.h"

namespace Ui {
class EarsePanel;
}

// The white rounded card with the slide-to-clear slider. It passes the
// slider's clearSignal() on as its own; showing, placing and hiding it is the
// toolbar's business.
class EarsePanel : public BaseShadowWidget
{
    Q_OBJECT

public:
    explicit EarsePanel(QWidget* parent = nullptr);
    ~EarsePanel() override;

signals:
    void clearSignal();

private:
    void initUI();

    Ui::EarsePanel* m_ui = nullptr;
};
