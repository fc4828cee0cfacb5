#pragma once

#include "core/LogFile.h"

#include <QString>

namespace torvelane {

/// Severity of a log line; anything outside prints as Debug.
enum class LogLevel { Debug = 0, Info = 1, Warn = 2, Error = 3 };

/// Size from which the log is rotated before its next line: 5 MiB. One old generation is kept, torvelane.log.1.
inline constexpr qint64 logRotationSizeBytes = 5242880;

/// Sets the threshold and, once in the process, opens torvelane.log for appending: `open` is the machine's way
/// (platform::openSharedLogFile). A log that can't be opened is no error: lines then go to standard error alone, as they
/// do before this call (with the threshold at Info).
void initLogging(LogLevel minimum, LogFileOpener open);

/// The one log writer. `category` is a short lower-case word for the component; `message` is English. The line goes to
/// standard error and to the file, flushed. Line breaks and other control characters in a message are written as \n,
/// \r and \uXXXX, so that text from outside can't pass for a line of its own or steer a terminal. Any thread; lines are
/// whole, whichever thread or process writes at the same time.
void logMessage(LogLevel level, const QString& category, const QString& message);

/// Closes the file and forgets the threshold, as before initLogging. For a run against another data directory.
void closeLogging();

} // namespace torvelane
