#include "ui/pages/LoadWatch.h"

#include "measure/SystemMetricsSampler.h"

#include <QtConcurrent>

namespace torvelane {

namespace {

constexpr int intervalMs = 1000;
constexpr int ticksPerGame = 3;

LoadSample sampleWith(SystemMetricsSampler& sampler)
{
    LoadSample sample;
    sample.cpu = sampler.cpuPercent();
    sample.memory = sampler.memoryPercent();
    sample.gpu = sampler.gpuPercent();
    return sample;
}

} // namespace

LoadWatch::LoadWatch(QObject* parent)
    : QObject(parent)
    , m_sampler(std::make_shared<std::unique_ptr<SystemMetricsSampler>>())
{
    m_pool.setMaxThreadCount(1);
    m_pool.setExpiryTimeout(-1); // The sampler belongs to its thread.
    m_timer.setInterval(intervalMs);
    connect(&m_timer, &QTimer::timeout, this, &LoadWatch::tick);
    connect(&m_watcher, &QFutureWatcherBase::finished, this, [this] {
        m_isTaking = false;
        const LoadSample sample = m_watcher.result();
        if (m_kind == Kind::Baseline)
            Q_EMIT began(sample);
        else if (m_timer.isActive())
            Q_EMIT sampled(sample);
    });
}

LoadWatch::~LoadWatch()
{
    m_pool.waitForDone();
}

void LoadWatch::start()
{
    if (m_timer.isActive())
        return;
    m_ticks = 0;
    m_timer.start();
    if (!m_isTaking)
        take(Kind::Baseline);
}

void LoadWatch::stop()
{
    m_timer.stop();
}

void LoadWatch::tick()
{
    if (!m_isTaking)
        take(m_ticks++ % ticksPerGame == 0 ? Kind::LoadAndGame : Kind::Load);
}

void LoadWatch::take(Kind kind)
{
    m_kind = kind;
    m_isTaking = true;
    m_watcher.setFuture(QtConcurrent::run(&m_pool, [sampler = m_sampler, kind] {
        if (!*sampler)
            *sampler = std::make_unique<SystemMetricsSampler>();
        LoadSample sample = sampleWith(**sampler);
        if (kind == Kind::LoadAndGame)
            sample.game = detectRunningGame();
        return sample;
    }));
}

} // namespace torvelane
