#pragma once

#include "core/Tier.h"
#include "ui/theme/OutsideStyleSheet.h"

class QPushButton;
class QStackedLayout;

namespace torvelane {

/// A page that a tier may lock: it is then blurred and disabled, under a panel with a pill. Puts itself together when it
/// is first shown or laid out, and the panel when it first locks; until then it costs next to nothing. GUI thread.
class Gate : public OutsideStyleSheet<QWidget> {
    Q_OBJECT

public:
    /// Takes the page over. Open until setUserTier() says otherwise.
    Gate(QWidget* page, Tier required, const QString& webBase, QWidget* parent = nullptr);

    /// Locks or opens, by a cross-fade if the page is seen.
    void setUserTier(Tier tier);

protected:
    bool event(QEvent* event) override;

private:
    void refresh(bool animate);
    void buildPanel();
    [[nodiscard]] QString pillText() const;

    QWidget* m_page;
    Tier m_required;
    Tier m_userTier;
    QString m_webBase;
    // Null until needed.
    QStackedLayout* m_stack = nullptr;
    QWidget* m_panel = nullptr;
    QPushButton* m_pill = nullptr;
};

} // namespace torvelane
