#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

namespace torvelane {

/// The file behind the log, open for as long as the object lives. Several processes write one file at the same time and
/// agree on when it is rotated, which takes more than Qt's files can do: platform/SharedLogFile.h has the one that the
/// program uses. Not for several threads at once.
class LogFile {
public:
    LogFile() = default;
    virtual ~LogFile() = default;
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    /// Appends one line, without its end, as a whole and to the disk's cache. A file that has reached its limit is
    /// rotated before that, by one of the processes. A line that can't be written is lost without a word.
    virtual void append(const QByteArray& line) = 0;
};

/// Opens the file at `path`, which is renamed to `path`.1 when it has reached the limit; null if it can't be opened.
using LogFileOpener = std::unique_ptr<LogFile> (*)(const QString& path, qint64 limitBytes);

} // namespace torvelane
