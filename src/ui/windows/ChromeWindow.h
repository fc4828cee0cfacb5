#pragma once

#include <QWidget>

namespace torvelane {

class WinControls;

/// The native window around a content widget, usually a HeroWindow: frameless, of the content's size for good, with
/// rounded corners and a shadow from the system, two window buttons that float over the content, and a strip along the
/// top that moves it. Owns the content. Object name "ChromeWindow". Main thread.
class ChromeWindow : public QWidget {
    Q_OBJECT

public:
    /// Empty. A content that is born in it, and then set, is given its style once; one that moves in gets it twice.
    explicit ChromeWindow(const QString& title, QWidget* parent = nullptr);

    ChromeWindow(QWidget* content, const QString& title, QWidget* parent = nullptr);

    /// Takes the content's current size, at least 400 by 300. Called once, before the first show.
    void setContent(QWidget* content);

    /// Puts the window where `former` stands, centre on centre, or in the middle of the first screen if that is null, and
    /// inside of what the taskbar leaves: where that is too small, the window gets smaller, down to its content's minimum.
    /// Called before the first show.
    void takePlaceOf(const QWidget* former);

    /// Whether a press at this point of the window moves it: the top 36 rows, but not the window buttons.
    [[nodiscard]] bool dragsAt(const QPoint& point) const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    bool nativeEvent(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    WinControls* m_controls;
    bool m_frameApplied = false;
};

} // namespace torvelane
