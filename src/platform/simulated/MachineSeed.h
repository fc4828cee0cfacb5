#pragma once

#include "platform/simulated/SimulatedPc.h"

#include <QList>
#include <QString>

#include <optional>

namespace torvelane::platform::simulated {

/// A machine as it comes out of its box. resources/simulated-pc.json describes the document's format in its head.
struct MachineSeed {
    QString userName;
    QString userSid;
    bool elevated = true;
    QStringList keys;             ///< Canonical paths; missing parents come with them.
    QList<SimulatedValue> values; ///< Under canonical paths.
};

/// Reads a seed file, or the one compiled in if `path` is empty. Absent, with `error` naming the offending key and
/// value, if it can't be read or isn't well-formed.
[[nodiscard]] std::optional<MachineSeed> readMachineSeed(const QString& path, QString* error);

} // namespace torvelane::platform::simulated
