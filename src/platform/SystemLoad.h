#pragma once

#include <QList>
#include <QString>

#include <memory>
#include <optional>

namespace torvelane::platform {

/// What the processors have done since the start of the system, in units of 100 ns over all of them. Kernel time
/// includes idle time.
struct SystemTimes {
    quint64 idle = 0;
    quint64 kernel = 0;
    quint64 user = 0;
};

/// GetSystemTimes; nothing if the system refused.
[[nodiscard]] std::optional<SystemTimes> systemTimes();

/// GlobalMemoryStatusEx, dwMemoryLoad: physical memory in use, in percent; nothing if the system refused.
[[nodiscard]] std::optional<quint32> memoryLoadPercent();

/// One instance of a counter at the moment of the last collection.
struct CounterItem {
    quint32 status = 0; ///< PDH_CSTATUS, 0 for valid data.
    double value = 0.0;
};

/// A query of the performance counters with one counter that stands for many instances. Belongs to one thread; every
/// call takes a moment, the first ones up to some hundred milliseconds.
/// https://learn.microsoft.com/windows/win32/perfctrs/collecting-performance-data
class CounterQuery {
public:
    CounterQuery();
    ~CounterQuery();
    CounterQuery(const CounterQuery&) = delete;
    CounterQuery& operator=(const CounterQuery&) = delete;

    /// PdhOpenQueryW and PdhAddEnglishCounterW, whose path is the same in every language of the system. False, with the
    /// query closed, if the counter doesn't exist.
    [[nodiscard]] bool open(const QString& englishPath);

    /// PdhCollectQueryData. Counters of a rate need two.
    [[nodiscard]] bool collect();

    /// PdhGetFormattedCounterArrayW with PDH_FMT_DOUBLE: the instances at the last collection. Nothing on failure, and
    /// if there is no instance at all.
    [[nodiscard]] std::optional<QList<CounterItem>> items() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace torvelane::platform
