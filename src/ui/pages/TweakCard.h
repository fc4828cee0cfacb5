#pragma once

#include <QFrame>

class QHelpEvent;

namespace torvelane {

/// The tile of one tweak. It paints its own glass and accent: with some ninety cards in a window a style sheet rule for
/// hovering would have the whole window's style worked out anew at each crossing of an edge.
class TweakCard : public QFrame {
    Q_OBJECT

public:
    explicit TweakCard(QWidget* parent = nullptr);

protected:
    bool event(QEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void setHovered(bool hovered);
    [[nodiscard]] bool showLabelTooltip(const QHelpEvent& event);
    [[nodiscard]] bool isUnderCursor() const;

    bool m_hovered = false;
};

} // namespace torvelane
