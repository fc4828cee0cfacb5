#pragma once

#include "ui/pages/Page.h"

namespace torvelane {

class LiveChart;
class LoadWatch;
class ScrollColumn;
class StatTile;
struct LoadSample;

/// The first page: the load of the processor, the graphics and the memory, the game that runs, a chart of the last
/// minute, and the way to three other pages. From its first show on it samples for as long as it lives, so that the
/// chart is whole whenever somebody comes back.
class HomePage : public Page {
    Q_OBJECT

public:
    explicit HomePage(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QLayout* makeTiles(QWidget* parent);
    QWidget* makeChartCard(QWidget* parent);
    QWidget* makeQuickstartCard(QWidget* parent);
    void giveChartItsGround();
    void seedChart(const LoadSample& now);
    void showSample(const LoadSample& sample);

    ScrollColumn* m_scroll;
    StatTile* m_cpu = nullptr;
    StatTile* m_gpu = nullptr;
    StatTile* m_memory = nullptr;
    StatTile* m_game = nullptr;
    LiveChart* m_chart = nullptr;
    LoadWatch* m_watch;
    bool m_wasPainted = false;
    bool m_isSeeded = false;
};

} // namespace torvelane
