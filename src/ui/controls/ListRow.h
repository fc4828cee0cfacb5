#pragma once

#include "ui/theme/OutsideStyleSheet.h"

#include <QList>

class QPushButton;

namespace torvelane {

/// An entry of a list on a pane of glass: a name, details below it, and at the end a figure and buttons. The texts are
/// painted; its buttons are the only widgets in it, for lists of some hundred entries. A name that is too long is
/// shortened, with all of it in the tooltip.
class ListRow : public OutsideStyleSheet<QWidget> {
    Q_OBJECT

public:
    /// What happens to details that are too long: paths are shortened, sentences go on in the next line.
    enum class Details { Shortened, Wrapped };

    /// `margins` as GlassCard has them.
    ListRow(const QString& name, const QString& details, QWidget* parent, Details kind = Details::Shortened,
            const QMargins& margins = {18, 14, 18, 14});

    /// In front of the buttons, such as a size. Changes at any time.
    void setFigure(const QString& figure);

    /// Appends a ghost button. To assistive technology it is "text, name".
    QPushButton* addButton(const QString& text);

    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] QSize buttonsSize() const;
    [[nodiscard]] int figureWidth() const;
    [[nodiscard]] QRect textArea(int width) const;
    [[nodiscard]] QString shortName(int width) const;
    [[nodiscard]] QString shortDetails(int width) const;
    [[nodiscard]] int detailsHeight(int width) const;
    void placeButtons();

    QString m_name;
    QString m_details;
    Details m_kind;
    QMargins m_margins;
    QString m_figure;
    QList<QPushButton*> m_buttons;
};

} // namespace torvelane
