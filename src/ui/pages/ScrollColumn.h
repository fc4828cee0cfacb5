#pragma once

#include <QScrollArea>

class QVBoxLayout;

namespace torvelane {

/// A page's content: one column that scrolls where it doesn't fit, and lets the window's background through.
class ScrollColumn : public QScrollArea {
    Q_OBJECT

public:
    explicit ScrollColumn(QWidget* parent);

    /// Where the content goes.
    [[nodiscard]] QVBoxLayout* column() const { return m_column; }

    /// Has the viewport paint its part of the window's background by itself, so that scrolling moves one picture instead
    /// of composing the background under every card at each step. The background then stands still there.
    void carryBackdrop();

protected:
    void showEvent(QShowEvent* event) override;

private:
    void refreshBackdrop();

    QVBoxLayout* m_column;
    bool m_carriesBackdrop = false;
    bool m_backgroundHooked = false; ///< Done once, at the first show in a HeroWindow.
};

} // namespace torvelane
