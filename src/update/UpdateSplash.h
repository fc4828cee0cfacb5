#pragma once

#include <QPixmap>
#include <QWidget>

namespace torvelane {

/// The small window that says that a new version is being installed. Its text goes by the system's language alone. On top
/// of all others, without a frame, of a fixed size; deletes itself when it is closed. GUI thread.
class UpdateSplash : public QWidget {
    Q_OBJECT

public:
    explicit UpdateSplash(const QString& version, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    QPixmap m_background; ///< Made when it is first painted, for the screen's scale.
};

} // namespace torvelane
