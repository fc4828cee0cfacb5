#pragma once

#include <QByteArray>
#include <QPoint>
#include <QString>

namespace torvelane::platform {

/// The meaning of a window system's message for a frameless window.
struct FrameMessage {
    enum class Kind {
        Other,
        HitTest,           ///< which part of the window lies at clientPosition? (WM_NCHITTEST)
        CaptionDoubleClick ///< a double click on the part that moves the window (WM_NCLBUTTONDBLCLK)
    };

    Kind kind = Kind::Other;
    QPoint clientPosition; ///< in the window's own coordinates, physical pixels; for HitTest
};

/// The answer to a hit test that lets the system move the window by this point (HTCAPTION).
inline constexpr qintptr captionHit = 2;

/// Takes the arguments of QWidget::nativeEvent.
[[nodiscard]] FrameMessage readFrameMessage(const QByteArray& eventType, const void* message);

/// Whether the system asks hit tests and moves windows by itself. Otherwise the program starts each move.
[[nodiscard]] bool movesWindowsByHitTest();

/// Asks the compositor for rounded corners (DWMWCP_ROUND, Windows 11) and the shadow of a one pixel frame around a
/// window (its WId) that has no frame. A system that can't do it leaves the window square; that is no error.
void dressFramelessWindow(quintptr window);

/// SetCurrentProcessExplicitAppUserModelID: the identity under which the taskbar groups the windows. Before the first
/// window.
void setAppUserModelId(const QString& id);

} // namespace torvelane::platform
