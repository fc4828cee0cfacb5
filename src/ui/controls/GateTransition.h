#pragma once

#include <QPixmap>

class QStackedLayout;
class QWidget;

/// How a page that the subscription doesn't cover looks, and how it gets there and back.
namespace torvelane::GateTransition {

/// Blur radius of a locked page, in pixels.
inline constexpr double blurRadius = 16.0;

/// Shows `page` locked, blurred and disabled with `panel` over it, or as it is. `stack` is the wrapper's layout that
/// holds both, on top of each other. With `animate`, on a real change of a visible page, the old look fades into the new
/// one; a transition that begins while another runs takes its place. The children are owned by the wrapper.
void apply(QWidget* wrapper, QStackedLayout* stack, QWidget* page, QWidget* panel, bool locked, bool animate);

/// A blurred copy of the same size and device pixel ratio.
[[nodiscard]] QPixmap blurPixmap(const QPixmap& pixmap, double radius);

} // namespace torvelane::GateTransition
