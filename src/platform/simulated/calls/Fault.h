#pragma once

#include "platform/simulated/calls/Call.h"

#include <QList>
#include <QString>

#include <optional>

namespace torvelane::platform::simulated {

class Store;

/// Whether a call changes the machine or only looks at it.
enum class CallKind { Change, Look };

/// One row of the fault table.
struct Fault {
    enum class Effect { Fail, Hang, KillBefore, KillAfter };

    qint64 id = 0;
    Effect effect = Effect::Fail;
    QString call;      ///< A call's name; a facility, for each change of it; empty for each change of the machine.
    QString part;      ///< Has to occur in the arguments, without regard to case.
    int n = 1;         ///< The first match that is struck, counted from 1 since the fault was set.
    bool once = false; ///< Whether later matches are left alone.
    qint64 code = 0;   ///< Fail: the answer. Hang: milliseconds.

    [[nodiscard]] bool matches(const Call& struck, CallKind kind) const;

    /// As a person reads it: "registry.setValue, from the 3rd on: answers 29".
    [[nodiscard]] QString describe() const;
};

/// What the faults do to one call.
struct Strike {
    bool killBefore = false;
    bool killAfter = false;
    int hangMs = 0;
    std::optional<qint64> answer; ///< Instead of the work.
};

[[nodiscard]] bool anyMatches(const QList<Fault>& faults, const Call& call, CallKind kind);

/// Counts the call for each fault that matches it. To be called inside a transaction, whose commit keeps the count: a
/// fault that kills must not strike again after the next start.
[[nodiscard]] Strike countStrikes(Store& store, const Call& call, CallKind kind);

/// All faults, as they stand in the file.
[[nodiscard]] QList<Fault> readFaults(Store& store);
[[nodiscard]] bool addFault(Store& store, const Fault& fault);
[[nodiscard]] bool clearFaults(Store& store);

} // namespace torvelane::platform::simulated
