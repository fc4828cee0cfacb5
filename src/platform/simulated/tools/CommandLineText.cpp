#include "platform/simulated/tools/CommandLineText.h"

#include "platform/Elevation.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {
namespace {

/// Empty if the variable isn't one that Torvelane's commands name.
QString variable(const QString& name)
{
    const QString profile = "C:\\Users\\"_L1 + currentUserName();
    const std::array variables = {
        std::pair{"windir"_L1, u"C:\\Windows"_s},
        std::pair{"localappdata"_L1, QString(profile % "\\AppData\\Local"_L1)},
        std::pair{"temp"_L1, QString(profile % "\\AppData\\Local\\Temp"_L1)},
    };
    const auto found = std::ranges::find_if(
        variables, [&name](const auto& known) { return name.compare(known.first, Qt::CaseInsensitive) == 0; });
    return found == variables.end() ? QString() : found->second;
}

} // namespace

QStringList splitCommandLine(const QString& line)
{
    QStringList commands{QString()};
    bool isQuoted = false;
    for (const QChar c : line) {
        isQuoted = isQuoted != (c == u'"');
        if (c == u'&' && !isQuoted)
            commands << QString();
        else
            commands.last() += c;
    }
    for (QString& command : commands)
        command = command.trimmed();
    return commands;
}

QString expandVariables(const QString& line)
{
    QString expanded;
    qsizetype at = 0;
    for (;;) {
        const qsizetype begin = line.indexOf(u'%', at);
        const qsizetype end = begin < 0 ? -1 : line.indexOf(u'%', begin + 1);
        if (end < 0)
            return expanded + line.sliced(at);
        const QString value = variable(line.sliced(begin + 1, end - begin - 1));
        expanded += line.sliced(at, begin - at);
        // The second sign of an unknown name can be the first one of a known name.
        if (value.isEmpty()) {
            expanded += line.sliced(begin, end - begin);
            at = end;
        } else {
            expanded += value;
            at = end + 1;
        }
    }
}

QStringList splitWords(const QString& command)
{
    QStringList words;
    QString word;
    bool isQuoted = false;
    bool hasWord = false;
    for (qsizetype i = 0; i < command.size(); ++i) {
        const QChar c = command[i];
        if (c == u'\\' && i + 1 < command.size() && command[i + 1] == u'"') {
            word += command[++i];
            hasWord = true;
        } else if (c == u'"') {
            isQuoted = !isQuoted;
            hasWord = true;
        } else if (c.isSpace() && !isQuoted) {
            if (hasWord)
                words << word;
            word.clear();
            hasWord = false;
        } else {
            word += c;
            hasWord = true;
        }
    }
    if (hasWord)
        words << word;
    return words;
}

} // namespace torvelane::platform::simulated
