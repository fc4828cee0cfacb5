#pragma once

#include "platform/simulated/registry/RegistryTables.h"

#include <QJsonObject>
#include <QMap>
#include <QString>

#include <optional>

namespace torvelane::platform::simulated {

/// A machine as it comes out of its box. resources/simulated-pc.json describes the document's format in its head.
struct Seed {
    RegistrySeed registry;
    QMap<QString, QJsonObject> documents; ///< Of each other facility, by its name.
};

/// Reads a seed file, or the one compiled in if `path` is empty. Absent, with `error` naming the offending key, if it
/// can't be read or isn't well-formed.
[[nodiscard]] std::optional<Seed> readSeed(const QString& path, QString* error);

} // namespace torvelane::platform::simulated
