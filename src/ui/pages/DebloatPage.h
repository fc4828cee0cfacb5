#pragma once

#include "optimizers/DebloatCleaner.h"
#include "ui/pages/WorkPage.h"

#include <QHash>

class QProgressBar;
class QPushButton;

namespace torvelane {

class ListRow;

/// Kinds of files that can go, each with its size and a button, and one button for all of them. Looks at the sizes when
/// it is first shown, and again after each cleaning.
class DebloatPage : public WorkPage {
    Q_OBJECT

public:
    explicit DebloatPage(QWidget* parent = nullptr);

protected:
    void build() override;
    void refreshControls() override;
    void showEvent(QShowEvent* event) override;

private:
    using Sizes = QHash<QString, qint64>;

    [[nodiscard]] ListRow* addRow(const CleanCategory& category);
    void scanAll(const QString& freed = {}, const QStringList& refused = {});
    void showSizes(const Sizes& sizes, const QString& freed, const QStringList& refused);
    [[nodiscard]] QStringList refusedBy(const CleanCategory& category, const CleanResult& result) const;
    void cleanOne(const CleanCategory& category);
    void cleanAll();
    void cleanAllStep(int index, const CleanResult& sum, const QStringList& refused);

    QList<CleanCategory> m_categories;
    QHash<QString, ListRow*> m_rows;
    Sizes m_sizes; ///< As they were when somebody last looked.
    QList<QPushButton*> m_buttons;
    QProgressBar* m_progress = nullptr;
    bool m_scanned = false;
};

} // namespace torvelane
