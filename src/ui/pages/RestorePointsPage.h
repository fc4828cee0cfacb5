#pragma once

#include "ui/pages/WorkPage.h"

class QPushButton;

namespace torvelane {

class GlassCard;
class RowList;
struct RestorePointInfo;

/// Windows' restore points: creates one, and deletes or rolls back to those that there are. Reads them when it is first
/// shown.
class RestorePointsPage : public WorkPage {
    Q_OBJECT

public:
    explicit RestorePointsPage(QWidget* parent = nullptr);

protected:
    void build() override;
    void refreshControls() override;
    void showEvent(QShowEvent* event) override;

private:
    struct ListResult;
    struct OpResult;
    struct Wording;

    void addWarnings();
    void addCreateCard();
    void addListHeader();
    void refreshList();
    void showList(const ListResult& result);
    void addRow(const RestorePointInfo& point);
    void create();
    void remove(const RestorePointInfo& point);
    void rollBack(const RestorePointInfo& point);
    void enableProtection();
    template <typename Work>
    void work(const QString& status, const Wording& wording, Work work);
    void finish(const Wording& wording, const OpResult& result);

    GlassCard* m_elevationCard = nullptr;
    GlassCard* m_protectionCard = nullptr;
    QPushButton* m_create = nullptr;
    QPushButton* m_refresh = nullptr;
    RowList* m_list = nullptr;
    bool m_listed = false; ///< The list has been asked for.
};

} // namespace torvelane
