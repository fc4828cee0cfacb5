#pragma once

#include "ui/pages/WorkPage.h"

namespace torvelane {

class ElidedLabel;
class LoadWatch;
class StatTile;
class TextLabel;
class ToggleSwitch;
struct LoadSample;

/// One switch for Gaming Mode, and the machine's load, which is only watched while the page is to be seen and open to
/// the user.
class GamingModePage : public WorkPage {
    Q_OBJECT

public:
    explicit GamingModePage(QWidget* parent = nullptr);

protected:
    void build() override;
    void refreshControls() override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    QWidget* makeModeCard(QWidget* parent);
    QWidget* makeLoadCard(QWidget* parent);
    void switchTo(bool active);
    void showActive(bool active);
    void showSample(const LoadSample& sample);
    void adaptWatch();

    ToggleSwitch* m_switch = nullptr;
    TextLabel* m_state = nullptr;
    StatTile* m_cpu = nullptr;
    StatTile* m_gpu = nullptr;
    StatTile* m_memory = nullptr;
    ElidedLabel* m_game = nullptr;
    LoadWatch* m_watch;
};

} // namespace torvelane
