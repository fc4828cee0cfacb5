#pragma once

#include "platform/simulated/calls/Call.h"
#include "platform/simulated/calls/Codes.h"
#include "platform/simulated/calls/Fault.h"
#include "platform/simulated/store/Store.h"

#include <QJsonObject>

#include <functional>
#include <optional>
#include <type_traits>

/// The way of every call to the simulated machine: the observer hears of it, faults strike it, it does its work, and it
/// is recorded. docs/adding-a-facility.md shows how a facility uses it.
namespace torvelane::platform::simulated::Calls {

/// Whether a call that only looks leaves a record. One that is made every second or for every value doesn't.
enum class Recorded { Yes, No };

namespace detail {

struct CodeTraits {
    qint64 unusable;
    bool (*isSuccess)(qint64);
};

template <typename Code>
inline constexpr CodeTraits traitsOf{static_cast<qint64>(Codes<Code>::unusable),
                                     [](qint64 code) { return Codes<Code>::isSuccess(static_cast<Code>(code)); }};

using Work = std::function<qint64(Store&)>;
using DocumentWork = std::function<qint64(QJsonObject&)>;

[[nodiscard]] qint64 change(const Call& call, const CodeTraits& codes, const Work& work);
[[nodiscard]] qint64 changeDocument(const Call& call, const CodeTraits& codes, const DocumentWork& work);
[[nodiscard]] qint64 look(const Call& call, const CodeTraits& codes, Recorded recorded, const DocumentWork& work);

} // namespace detail

/// A call that changes the machine, in one transaction: a process that is killed leaves all of it or nothing. `work`
/// does it and returns the facility's code; unless that says success nothing is changed. It takes the facility's
/// document (`QJsonObject&`), which is stored when it has changed, or the `Store&` if the facility has tables of its
/// own. It must not make calls itself, since transactions don't nest.
template <typename Work>
[[nodiscard]] auto run(const Call& call, Work work)
{
    if constexpr (std::is_invocable_v<Work, QJsonObject&>) {
        using Code = std::invoke_result_t<Work, QJsonObject&>;
        return static_cast<Code>(detail::changeDocument(call, detail::traitsOf<Code>, [&work](QJsonObject& document) {
            return static_cast<qint64>(work(document));
        }));
    } else {
        using Code = std::invoke_result_t<Work, Store&>;
        return static_cast<Code>(detail::change(call, detail::traitsOf<Code>,
                                                [&work](Store& store) { return static_cast<qint64>(work(store)); }));
    }
}

/// A call that only looks at the facility's document. `work` takes it (`const QJsonObject&`) and returns the code.
template <typename Work>
[[nodiscard]] auto query(const Call& call, Work work, Recorded recorded = Recorded::Yes)
{
    using Code = std::invoke_result_t<Work, const QJsonObject&>;
    return static_cast<Code>(detail::look(call, detail::traitsOf<Code>, recorded, [&work](const QJsonObject& document) {
        return static_cast<qint64>(work(document));
    }));
}

/// For a frequent call that only looks and has no document, as the registry's reads: what a fault answers in place of the
/// work. Nothing is recorded. The caller sees to it that the store's conditions hold.
[[nodiscard]] std::optional<qint64> strikeLook(Store& store, const Call& call);

/// A call that takes its time and makes calls of its own, as a tool does. It is recorded when it begins and answered
/// when it ends, so that one that was killed leaves a record without an answer.
class Running {
public:
    /// Waits here if a fault says so.
    explicit Running(Call call);

    /// What a fault answers in place of the work.
    [[nodiscard]] std::optional<qint64> laidDown() const { return m_strike.answer; }

    void finish(qint64 answer);

    [[nodiscard]] qint64 recordId() const { return m_recordId; }

private:
    Call m_call;
    Strike m_strike;
    qint64 m_recordId = 0;
};

/// Called on the thread that makes a change, before it and, if it happened, after it.
using Observer = std::function<void(CallMoment, const Call&)>;
void setObserver(Observer observer);

[[nodiscard]] QList<CallRecord> records(Store& store);
void clearRecords(Store& store);

} // namespace torvelane::platform::simulated::Calls
