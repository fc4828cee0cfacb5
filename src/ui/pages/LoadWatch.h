#pragma once

#include "optimizers/GameDetector.h"

#include <QFutureWatcher>
#include <QObject>
#include <QThreadPool>
#include <QTimer>

#include <memory>
#include <optional>

namespace torvelane {

class SystemMetricsSampler;

/// How busy the machine is at one moment, in percent.
struct LoadSample {
    int cpu = 0;
    int memory = 0;
    int gpu = -1;                     ///< -1 if it isn't known.
    std::optional<DetectedGame> game; ///< Asked for with every third sample.
};

/// Samples the machine once a second, on a thread of its own: what counts the load of graphics processors may take a
/// hundred milliseconds, and so may a look at every process. A second in which the last sample isn't there yet has none.
/// Belongs to the GUI thread; its end waits for the sample that is being taken.
class LoadWatch : public QObject {
    Q_OBJECT

public:
    explicit LoadWatch(QObject* parent);
    ~LoadWatch() override;

    /// Takes the baseline at once; the first sample follows a second later. Ignored while it runs.
    void start();
    void stop();

Q_SIGNALS:
    /// The load when the watch began. The processor's is always 0: it is about the time between two samples.
    void began(const LoadSample& baseline);
    void sampled(const LoadSample& sample);

private:
    enum class Kind { Baseline, Load, LoadAndGame };

    void tick();
    void take(Kind kind);

    QThreadPool m_pool;
    QTimer m_timer;
    QFutureWatcher<LoadSample> m_watcher;
    Kind m_kind = Kind::Baseline; ///< Of the sample that is being taken.
    bool m_isTaking = false;
    std::shared_ptr<std::unique_ptr<SystemMetricsSampler>> m_sampler; ///< Made and used by the thread alone.
    int m_ticks = 0;
};

} // namespace torvelane
