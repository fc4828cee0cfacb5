#pragma once

#include <QCoreApplication>
#include <QString>

namespace torvelane {

/// The text in the user's language. `context` is the class or module that shows it, without its namespace, which is why
/// QObject::tr isn't used. Both arguments are literals, so that lupdate finds them.
[[nodiscard]] inline QString translate(const char* context, const char* text)
{
    return QCoreApplication::translate(context, text);
}

/// The text for a number, which stands in it as %n. A language with plural forms has one for each; English, which loads no
/// catalogue, has the text itself. `comment` is null: lupdate takes a call for a plural by its fourth argument.
[[nodiscard]] inline QString translate(const char* context, const char* text, const char* comment, int n)
{
    return QCoreApplication::translate(context, text, comment, n);
}

/// Loads the French texts if the system's language is French. English needs none. Once, on the main thread, before any
/// window exists.
void installTranslator();

} // namespace torvelane
