#pragma once

#include "optimizers/NetAdapters.h"
#include "ui/pages/WorkPage.h"

#include <optional>

class QPushButton;

namespace torvelane {

class GlassCard;
class NetworkOptimizer;
class TextLabel;

/// The settings of all network adapters at once, and the way back. Looks for adapters when it is first shown and after
/// each change.
class NetworkPage : public WorkPage {
    Q_OBJECT

public:
    explicit NetworkPage(QWidget* parent = nullptr);

protected:
    void build() override;
    void refreshControls() override;
    void showEvent(QShowEvent* event) override;

private:
    void buildCard();
    void detect();
    void toggleAll(bool optimize);
    void showNote(const QString& text);
    void showAdapters();

    std::shared_ptr<NetworkOptimizer> m_optimizer;
    std::optional<QList<NetAdapter>> m_adapters; ///< Nothing until the first look has ended.
    TextLabel* m_note = nullptr;                 ///< In place of the card.
    GlassCard* m_card = nullptr;
    TextLabel* m_names = nullptr;
    TextLabel* m_state = nullptr;
    QPushButton* m_restore = nullptr;
    QPushButton* m_optimize = nullptr;
    bool m_lendsFocus = false; ///< The keyboard was on the card when it was hidden.
    QPointer<QWidget> m_focusMeanwhile;
};

} // namespace torvelane
