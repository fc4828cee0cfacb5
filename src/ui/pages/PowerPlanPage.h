#pragma once

#include "ui/pages/WorkPage.h"

class QPushButton;

namespace torvelane {

/// The best power plan, and two bundles of settings of the active plan that are switched on and off. Failures stay in the
/// status row.
class PowerPlanPage : public WorkPage {
    Q_OBJECT

public:
    explicit PowerPlanPage(QWidget* parent = nullptr);

protected:
    void build() override;
    void refreshControls() override;
    void showEvent(QShowEvent* event) override;

private:
    template <typename Change>
    void work(const QString& status, Change change);

    QPushButton* m_best = nullptr;
    QPushButton* m_cpu = nullptr;
    QPushButton* m_disk = nullptr;
};

} // namespace torvelane
