#include "platform/SystemLoad.h"

#include "platform/windows/Owners.h"

#include <pdh.h>
#include <pdhmsg.h>

#include <vector>

namespace torvelane::platform {

namespace {

struct QueryTraits : ResourceOf<PDH_HQUERY> {
    static void close(PDH_HQUERY query) { PdhCloseQuery(query); }
};

quint64 ticks(const FILETIME& time)
{
    return (static_cast<quint64>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

} // namespace

std::optional<SystemTimes> systemTimes()
{
    FILETIME idle;
    FILETIME kernel;
    FILETIME user;
    if (!GetSystemTimes(&idle, &kernel, &user))
        return std::nullopt;
    return SystemTimes{ticks(idle), ticks(kernel), ticks(user)};
}

std::optional<quint32> memoryLoadPercent()
{
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    if (!GlobalMemoryStatusEx(&status))
        return std::nullopt;
    return status.dwMemoryLoad;
}

struct CounterQuery::Private {
    Owner<QueryTraits> query;
    PDH_HCOUNTER counter = nullptr;
};

CounterQuery::CounterQuery() : d(std::make_unique<Private>()) { }

CounterQuery::~CounterQuery() = default;

bool CounterQuery::open(const QString& englishPath)
{
    if (PdhOpenQueryW(nullptr, 0, d->query.put()) != ERROR_SUCCESS)
        return false;
    if (PdhAddEnglishCounterW(d->query.get(), wide(englishPath), 0, &d->counter) == ERROR_SUCCESS)
        return true;
    d->query.reset();
    return false;
}

bool CounterQuery::collect()
{
    return d->query && PdhCollectQueryData(d->query.get()) == ERROR_SUCCESS;
}

std::optional<QList<CounterItem>> CounterQuery::items() const
{
    if (!d->query)
        return std::nullopt;
    DWORD sizeBytes = 0;
    DWORD count = 0;
    const PDH_STATUS asked = PdhGetFormattedCounterArrayW(d->counter, PDH_FMT_DOUBLE, &sizeBytes, &count, nullptr);
    if (asked != static_cast<PDH_STATUS>(PDH_MORE_DATA) || sizeBytes == 0)
        return std::nullopt;
    // The items come with their names behind them, in one block that has to be aligned for the items.
    std::vector<PDH_FMT_COUNTERVALUE_ITEM_W> block(sizeBytes / sizeof(PDH_FMT_COUNTERVALUE_ITEM_W) + 1);
    if (PdhGetFormattedCounterArrayW(d->counter, PDH_FMT_DOUBLE, &sizeBytes, &count, block.data()) != ERROR_SUCCESS)
        return std::nullopt;
    QList<CounterItem> items;
    items.reserve(static_cast<qsizetype>(count));
    for (DWORD i = 0; i < count; ++i)
        items.append({block[i].FmtValue.CStatus, block[i].FmtValue.doubleValue});
    return items;
}

} // namespace torvelane::platform
