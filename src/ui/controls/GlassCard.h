#pragma once

#include "ui/controls/TextLabel.h"
#include "ui/theme/OutsideStyleSheet.h"

#include <QMargins>

class QPushButton;
class QVBoxLayout;

namespace torvelane {

/// A pane of glass with a column for what lies on it.
class GlassCard : public OutsideStyleSheet<QWidget> {
    Q_OBJECT

public:
    /// Around the content of a card, and of an entry of a list.
    static constexpr QMargins wide{24, 20, 24, 20};
    static constexpr QMargins narrow{18, 14, 18, 14};

    GlassCard(int spacing, QWidget* parent, const QMargins& margins = wide);

    [[nodiscard]] QVBoxLayout* column() const { return m_column; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QVBoxLayout* m_column;
};

/// A title in the display font and bold.
[[nodiscard]] TextLabel* makeTitle(const QString& text, int pixelSize, QWidget* parent);

/// A plain text that wraps, dressed as the style sheet says for this object name ("Muted", "Faint").
[[nodiscard]] TextLabel* makeText(const char16_t* objectName, const QString& text, QWidget* parent);

/// A button dressed as the style sheet says for this variant ("primary", "ghost").
[[nodiscard]] QPushButton* makeButton(const char16_t* variant, const QString& text, int minimumHeight, QWidget* parent);

} // namespace torvelane
