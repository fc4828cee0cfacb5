#pragma once

#include "measure/HardwareScanner.h"
#include "ui/pages/WorkPage.h"

class QPushButton;

namespace torvelane {

/// What the machine is made of, as cards. The first scan runs when the page joins the window. Values can be selected; the
/// context menu and Ctrl+C without a selection copy all of it.
class ScanPage : public WorkPage {
    Q_OBJECT

public:
    explicit ScanPage(QWidget* parent = nullptr);

protected:
    void build() override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void refreshControls() override;

private:
    void startScan();
    void showReport(const HardwareReport& report);
    void copySelection();
    void copyAll();

    QPushButton* m_rescan = nullptr;
    QList<QWidget*> m_cards;
    QString m_text; ///< Of all cards.
};

} // namespace torvelane
