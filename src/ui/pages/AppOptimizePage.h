#pragma once

#include "optimizers/AppOptimizer.h"
#include "ui/pages/WorkPage.h"

class QPushButton;

namespace torvelane {

class RowList;

/// Programs with a high CPU priority: the user picks one from a file dialog, and each has a row with the way back. The
/// optimiser's calls are short enough for the GUI thread, so that nothing here is ever busy.
class AppOptimizePage : public WorkPage {
    Q_OBJECT

public:
    explicit AppOptimizePage(QWidget* parent = nullptr);

protected:
    void build() override;

private:
    void chooseProgram();
    void show(const AppOptimizeResult& result);
    void restore(const QString& name);
    void rebuildList();

    AppOptimizer m_optimizer;
    QPushButton* m_choose = nullptr;
    RowList* m_list = nullptr;
};

} // namespace torvelane
