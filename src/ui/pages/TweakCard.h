#pragma once

#include "ui/theme/Icons.h"
#include "ui/theme/OutsideStyleSheet.h"

#include <QPixmapCache>
#include <QWidget>

#include <functional>

class QHelpEvent;

namespace torvelane {

/// The tile of one tweak. It paints its glass, its accent and its texts; the only widget in it is its switch, or its
/// pill when the tweak is locked. A window holds some 160 cards from its first moment on: labels in them would take most
/// of its start and of its memory, and a style sheet rule for hovering would have the whole window's style worked out
/// anew at each crossing of an edge.
///
/// Fonts and colors are those that the style sheet gives to labels named TweakTitle, TweakDesc, WarnTag and OkTag. To
/// assistive technology each text is a label, too. GUI thread.
class TweakCard : public OutsideStyleSheet<QWidget> {
    Q_OBJECT

public:
    /// Plain texts in the user's language.
    struct Content {
        IconId icon = IconId::Unnamed;
        QString title;
        QString description;             ///< Shortened to two lines, with all of it in the tooltip, unless `isWarning`.
        bool isWarning = false;          ///< The description is the warning, which is shown whole.
        QString warning;                 ///< For the tag's tooltip. Empty for a tweak that costs nothing.
        bool locked = false;             ///< Blurred, without a tag, and with a pill in place of the switch.
        std::function<QString()> effect; ///< Says what it does to the machine, when the tooltip is shown.
    };

    /// In reading order.
    enum class Text : int { Title, Description, Tag };

    explicit TweakCard(Content content, QWidget* parent = nullptr);

    /// The foot of the card: the switch beside the tag, or the pill all across. A child of the card; given once,
    /// before the card is laid out.
    void setControl(QWidget* control) { m_control = control; }

    /// What the tooltip says besides; empty for nothing.
    void setNote(const QString& note) { m_note = note; }

    [[nodiscard]] const Content& content() const { return m_content; }

    /// The words of a text; empty where the card has none, such as the tag of a locked one.
    [[nodiscard]] QString text(Text which) const;

    /// Where it stands, in the card's coordinates.
    [[nodiscard]] QRect textArea(Text which) const;

    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override { return heightWith(measuresFor(width)); }
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool event(QEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    /// The measures that depend on the width alone.
    struct Measures {
        int width = -1;
        int titleHeight = 0;
        int descriptionHeight = 0;
        QString description; ///< As shortened.
    };

    [[nodiscard]] const Measures& measuresFor(int width) const;
    [[nodiscard]] int heightWith(const Measures& measures) const;
    [[nodiscard]] int headHeight(const Measures& measures) const;
    [[nodiscard]] int footHeight() const;
    [[nodiscard]] QRect footArea() const;
    [[nodiscard]] QRect mirrored(const QRect& area) const;
    void paintHead(QPainter& painter) const;
    void paintTag(QPainter& painter) const;
    void paintBlurredHead(QPainter& painter);
    void setHovered(bool hovered);
    void showTooltip(const QHelpEvent& event);
    [[nodiscard]] bool isUnderCursor() const;

    Content m_content;
    QString m_note;
    QWidget* m_control = nullptr;
    mutable Measures m_measures;
    QPixmapCache::Key m_blurred; ///< The blurred part of a locked card, if it is still kept.
    bool m_hovered = false;
};

} // namespace torvelane
