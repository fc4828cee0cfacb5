#pragma once

#include <QString>

class QWidget;

/// The modal dialogs of the program. They cover the window of `parent` with a veil, and return once closed; meanwhile
/// an event loop of their own runs, so that the caller's object may be gone afterwards. Main thread.
namespace torvelane::AppDialog {

/// Whether the user accepts. Escape refuses. Empty texts of buttons stand for "Confirm" and "Cancel".
[[nodiscard]] bool confirm(QWidget* parent, const QString& title, const QString& text,
                           const QString& acceptText = QString(), const QString& cancelText = QString(),
                           bool destructive = false);

/// Tells something, with one button.
void info(QWidget* parent, const QString& title, const QString& text);

} // namespace torvelane::AppDialog
