#pragma once

#include <QJsonObject>
#include <QString>

/// The one way in which small persistent JSON files are written and read.
namespace torvelane::JsonFile {

/// What went wrong with a write; the old file is whole in either case.
enum class WriteError { None, CannotOpen, CannotCommit };

/// Replaces the file at `path` by the object as indented JSON, atomically: a crash, a full disk or a refusal leaves the
/// old file as it was. Blocks on the disk.
[[nodiscard]] WriteError write(const QString& path, const QJsonObject& object);

} // namespace torvelane::JsonFile
