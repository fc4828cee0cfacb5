#pragma once

#include "core/Paths.h"
#include "platform/Registry.h"
#include "support/TestMachine.h"
#include "system/RegistryAccess.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

namespace torvelane::test {

/// The optimisers' snapshot files.
[[nodiscard]] inline QString snapshotPath(const QString& fileName)
{
    return QDir(Paths::dataDir()).filePath(fileName);
}

[[nodiscard]] inline QJsonObject snapshot(const QString& fileName)
{
    QFile file(snapshotPath(fileName));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object();
}

inline void putSnapshot(const QString& fileName, const QByteArray& bytes)
{
    QFile file(snapshotPath(fileName));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("A snapshot could not be written");
}

} // namespace torvelane::test
