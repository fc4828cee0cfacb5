#pragma once

#include "core/WholeFile.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QString>

#include <functional>

/// The one way in which small persistent JSON files are written and read.
namespace torvelane::JsonFile {

/// Parses JSON with every text as it was written. Qt's parser takes a byte order mark at the start of a text for none of
/// its own and drops it; here only the one before the document goes. `error` gets what the parser says.
[[nodiscard]] QJsonDocument parse(QByteArray bytes, QJsonParseError* error);

using WholeFile::WriteError;

/// Replaces the file at `path` by the object as indented JSON, as `WholeFile::write` does.
[[nodiscard]] WriteError write(const QString& path, const QJsonObject& object);

/// Deletes the file, if it is there, as `WholeFile::remove` does.
[[nodiscard]] bool remove(const QString& path);

/// Has `observer` called right before and right after a file is replaced or deleted, on the thread that does it; an empty
/// function takes it away. Tests stop a process there. Not while another thread writes.
void setCommitObserver(std::function<void(bool committed)> observer);

/// Why a file couldn't be read as a JSON object.
enum class ReadError {
    None,
    Absent,     ///< There is no such file, which is how things are before the first write.
    Unreadable, ///< It is there and can't be opened or read.
    TooLarge,   ///< It is longer than the limit, and nothing of it was parsed.
    Damaged,    ///< It isn't JSON, or its top level isn't an object.
};

struct ReadResult {
    ReadError error = ReadError::None;
    QString reason;     ///< English, for a log line; the parser's own text if the file is damaged.
    QJsonObject object; ///< Empty unless error is None.
};

/// Reads the object in the file at `path`. At most `maxSizeBytes` and one byte are read, so that a huge file doesn't
/// fill the memory. Blocks on the disk.
[[nodiscard]] ReadResult read(const QString& path, qint64 maxSizeBytes);

} // namespace torvelane::JsonFile
