#pragma once

#include <QString>
#include <QStringList>

namespace torvelane {

class AppContext;

/// Whether `lowerCasedArgument` is one of the command-line verbs.
[[nodiscard]] bool isCliVerb(const QString& lowerCasedArgument);

/// Runs one verb against a context that is up and returns the exit code. `arguments` is the full list, the verb at
/// index 1. Writes to standard output, in English; main thread, blocking.
[[nodiscard]] int runCli(AppContext& context, const QStringList& arguments);

} // namespace torvelane
