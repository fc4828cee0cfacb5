#pragma once

#include <QString>
#include <QStringList>

namespace torvelane::platform::simulated {

/// The commands of a cmd.exe command line: separated by `&` outside of quotes, which stay.
[[nodiscard]] QStringList splitCommandLine(const QString& line);

/// Replaces %NAME% by the value that Windows gives the variable, without regard to case. An unknown name stays as
/// it stands, as it does outside of batch files.
[[nodiscard]] QString expandVariables(const QString& line);

/// Splits a command into words the way Windows programs do: blanks separate outside of quotes, \" is a quote.
[[nodiscard]] QStringList splitWords(const QString& command);

} // namespace torvelane::platform::simulated
