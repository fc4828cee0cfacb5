#pragma once

#include "ui/theme/OutsideStyleSheet.h"

class QVBoxLayout;

namespace torvelane {

class QuietScrollArea;

/// A page's content: one column that scrolls where it doesn't fit, and lets the window's background through. The content
/// is put into its scroll area when the page is first laid out in the window or shown: areas that nobody has seen yet
/// would cost each start their scroll bars.
class ScrollColumn : public OutsideStyleSheet<QWidget> {
    Q_OBJECT

public:
    explicit ScrollColumn(QWidget* parent);

    /// Where the content goes.
    [[nodiscard]] QVBoxLayout* column() const { return m_column; }

    /// What the widgets in the column are born in.
    [[nodiscard]] QWidget* content() const { return m_content; }

    /// Width of what is seen of the content. For a page's resizeEvent().
    [[nodiscard]] int viewportWidth();

    /// Has the viewport paint its part of the window's background by itself, so that scrolling moves one picture instead
    /// of composing the background under every card at each step. The background then stands still there.
    void carryBackdrop();

protected:
    bool event(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void assemble();
    void refreshBackdrop();

    QWidget* m_content;
    QVBoxLayout* m_column;
    QuietScrollArea* m_area = nullptr; ///< Null until assembled.
    bool m_carriesBackdrop = false;
    bool m_backgroundHooked = false; ///< Done once, at the first show in a HeroWindow.
};

} // namespace torvelane
