#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace torvelane::platform::simulated {

/// How a command follows on the one before it.
enum class Joint {
    Always,   ///< `&`, `|` (nothing is passed through the pipe), and the first command
    IfOk,     ///< `&&`
    IfFailed, ///< `||`
};

struct SimpleCommand {
    Joint joint = Joint::Always;
    QString text;                ///< Quotes kept, carets resolved, redirections taken out.
    bool discardsOutput = false; ///< Standard output was redirected.
    bool discardsErrors = false;
};

/// Splits a cmd.exe command line at its operators outside of quotes.
[[nodiscard]] QList<SimpleCommand> splitCommandLine(const QString& line);

/// Replaces %NAME% by environment variables, without regard to case; where the environment has none of that name, by
/// the usual ones of Windows. What is unknown stays as it stands, as it does outside of batch files.
[[nodiscard]] QString expandVariables(const QString& line);

/// Splits a command into words the way Windows programs do: blanks separate outside of quotes, \" is a quote.
[[nodiscard]] QStringList splitWords(const QString& command);

} // namespace torvelane::platform::simulated
