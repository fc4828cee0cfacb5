#pragma once

#include "optimizers/BufferbloatOptimizer.h"
#include "ui/pages/WorkPage.h"

#include <memory>

class QPushButton;

namespace torvelane {

/// Chooses between the buffers that the network adapters had and the smallest that their drivers allow.
class BufferbloatPage : public WorkPage {
    Q_OBJECT

public:
    explicit BufferbloatPage(QWidget* parent = nullptr);

protected:
    void build() override;
    void refreshControls() override;

private:
    QWidget* makeCard(BufferbloatMode mode, QWidget* parent);
    void applyMode(BufferbloatMode mode);

    std::shared_ptr<BufferbloatOptimizer> m_optimizer;
    QPushButton* m_normal = nullptr;
    QPushButton* m_ultraLow = nullptr;
};

} // namespace torvelane
