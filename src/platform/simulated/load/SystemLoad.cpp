#include "platform/SystemLoad.h"

#include "platform/simulated/calls/Calls.h"

#include <QDateTime>
#include <QJsonArray>

#include <cmath>
#include <numbers>

using namespace Qt::StringLiterals;

/// The facility "load". "processors" and "memory" are {"percent", "swing"}: the figure moves around the first by the
/// second, once a minute. "times", if it is there, gives the three system times as they are instead. "counters" holds by
/// English path {"items": [{"status", "value", "swing"}]}; a path that isn't there is a counter that isn't.
namespace torvelane::platform {

using namespace simulated;

namespace {

constexpr double periodMs = 60000.0;
constexpr quint64 ticksPerMs = 10000;
constexpr int processors = 12;

/// Where in its minute the machine is, as an angle.
double phase(qint64 nowMs)
{
    return static_cast<double>(nowMs) / periodMs * 2.0 * std::numbers::pi;
}

double moving(const QJsonObject& figure, QLatin1String mean, qint64 nowMs)
{
    return figure.value(mean).toDouble() + figure.value("swing"_L1).toDouble() * std::sin(phase(nowMs));
}

/// The integral of the busy share, so that differences of two readings give what moving() says between them.
SystemTimes timesAt(const QJsonObject& figure, qint64 nowMs)
{
    const double mean = figure.value("percent"_L1).toDouble() / 100.0;
    const double swing = figure.value("swing"_L1).toDouble() / 100.0;
    const double busyMs = mean * static_cast<double>(nowMs)
        - swing * periodMs / (2.0 * std::numbers::pi) * (std::cos(phase(nowMs)) - 1.0);
    const quint64 all = static_cast<quint64>(nowMs) * ticksPerMs * processors;
    const quint64 busy = std::min(all, static_cast<quint64>(busyMs * static_cast<double>(ticksPerMs * processors)));
    // A third of the work is the kernel's, which idles as well.
    const quint64 idle = all - busy;
    return {idle, idle + busy / 3, busy - busy / 3};
}

quint64 ticksIn(const QJsonObject& times, QLatin1String key)
{
    return static_cast<quint64>(times.value(key).toInteger());
}

} // namespace

std::optional<SystemTimes> systemTimes()
{
    SystemTimes times;
    const Win32Error code = Calls::query(
        Call{u"load.times"_s, {}},
        [&times](const QJsonObject& document) {
            const QJsonObject fixed = document.value("times"_L1).toObject();
            times = fixed.isEmpty()
                ? timesAt(document.value("processors"_L1).toObject(), QDateTime::currentMSecsSinceEpoch())
                : SystemTimes{ticksIn(fixed, "idle"_L1), ticksIn(fixed, "kernel"_L1), ticksIn(fixed, "user"_L1)};
            return Win32Error::Success;
        },
        Calls::Recorded::No);
    return code == Win32Error::Success ? std::optional(times) : std::nullopt;
}

std::optional<quint32> memoryLoadPercent()
{
    double percent = 0.0;
    const Win32Error code = Calls::query(
        Call{u"load.memory"_s, {}},
        [&percent](const QJsonObject& document) {
            percent = moving(document.value("memory"_L1).toObject(), "percent"_L1, QDateTime::currentMSecsSinceEpoch());
            return Win32Error::Success;
        },
        Calls::Recorded::No);
    if (code != Win32Error::Success)
        return std::nullopt;
    return static_cast<quint32>(std::clamp(percent, 0.0, 100.0));
}

struct CounterQuery::Private {
    QString path;
    QList<CounterItem> items;
};

CounterQuery::CounterQuery() : d(std::make_unique<Private>()) { }

CounterQuery::~CounterQuery() = default;

bool CounterQuery::open(const QString& englishPath)
{
    bool exists = false;
    const Win32Error code = Calls::query(
        Call{u"load.openCounter"_s, {englishPath}},
        [&](const QJsonObject& document) {
            exists = document.value("counters"_L1).toObject().contains(englishPath);
            return Win32Error::Success;
        },
        Calls::Recorded::No);
    if (code == Win32Error::Success && exists)
        d->path = englishPath;
    return !d->path.isEmpty();
}

bool CounterQuery::collect()
{
    if (d->path.isEmpty())
        return false;
    const Win32Error code = Calls::query(
        Call{u"load.collectCounter"_s, {d->path}},
        [this](const QJsonObject& document) {
            const qint64 nowMs = QDateTime::currentMSecsSinceEpoch();
            const QJsonObject counter = document.value("counters"_L1).toObject().value(d->path).toObject();
            d->items.clear();
            for (const QJsonValue& element : counter.value("items"_L1).toArray()) {
                const QJsonObject item = element.toObject();
                d->items.append({static_cast<quint32>(item.value("status"_L1).toInteger()),
                                 std::max(0.0, moving(item, "value"_L1, nowMs))});
            }
            return Win32Error::Success;
        },
        Calls::Recorded::No);
    return code == Win32Error::Success;
}

std::optional<QList<CounterItem>> CounterQuery::items() const
{
    return d->items.isEmpty() ? std::nullopt : std::optional(d->items);
}

} // namespace torvelane::platform
