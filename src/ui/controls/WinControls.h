#pragma once

#include <QWidget>

namespace torvelane {

/// The minimise and close buttons of a ChromeWindow, on their own plate. Object name "WinControls".
class WinControls : public QWidget {
    Q_OBJECT

public:
    explicit WinControls(QWidget* parent = nullptr);

Q_SIGNALS:
    void minimizeRequested();
    void closeRequested();
};

} // namespace torvelane
