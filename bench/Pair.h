#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace torvelane::bench {

/// Of the values, which are left in another order.
[[nodiscard]] inline double median(std::vector<double>& values)
{
    if (values.empty())
        return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

/// Compares two things that take turns in one run, so that whatever else the machine does meets both alike, and reports
/// the median of the ratios of neighbours.
class Pair {
public:
    using Seconds = std::chrono::duration<double>;

    /// Takes the times of two that ran one after the other; the subject's counts as the iteration's.
    void add(benchmark::State& state, Seconds subjectTime, Seconds baselineTime)
    {
        state.SetIterationTime(subjectTime.count());
        m_subjectMs.push_back(subjectTime.count() * 1000);
        m_baselineMs.push_back(baselineTime.count() * 1000);
        m_ratios.push_back(subjectTime / baselineTime);
    }

    /// `goal` is what the ratio should stay below; it is shown beside it.
    void report(benchmark::State& state, double goal)
    {
        state.counters["ratio"] = median(m_ratios);
        state.counters["goal"] = goal;
        state.counters["subject_ms"] = median(m_subjectMs);
        state.counters["baseline_ms"] = median(m_baselineMs);
    }

private:
    std::vector<double> m_subjectMs;
    std::vector<double> m_baselineMs;
    std::vector<double> m_ratios;
};

/// How long `work` takes.
template <typename Work>
[[nodiscard]] Pair::Seconds timeOf(Work work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::steady_clock::now() - start;
}

} // namespace torvelane::bench
