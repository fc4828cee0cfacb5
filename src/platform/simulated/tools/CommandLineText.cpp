#include "platform/simulated/tools/CommandLineText.h"

#include "platform/Elevation.h"

#include <QProcessEnvironment>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {
namespace {

/// One pass over a command line, character by character.
class Splitter {
public:
    explicit Splitter(const QString& line) : m_line(line) { }

    QList<SimpleCommand> run()
    {
        for (m_at = 0; m_at < m_line.size(); ++m_at)
            take(m_line[m_at]);
        close(Joint::Always);
        return m_commands;
    }

private:
    [[nodiscard]] QChar peek() const { return m_at + 1 < m_line.size() ? m_line[m_at + 1] : QChar(); }

    void take(QChar c)
    {
        if (c == u'"')
            m_isQuoted = !m_isQuoted;
        if (m_isQuoted || c == u'"') {
            m_current.text += c;
        } else if (c == u'^') {
            if (++m_at < m_line.size())
                m_current.text += m_line[m_at];
        } else if (c == u'&' || c == u'|') {
            const bool isDouble = peek() == c;
            m_at += isDouble ? 1 : 0;
            close(!isDouble ? Joint::Always : c == u'&' ? Joint::IfOk : Joint::IfFailed);
        } else if (c == u'<' || c == u'>') {
            skipRedirection(c);
        } else {
            m_current.text += c;
        }
    }

    void close(Joint next)
    {
        m_current.text = m_current.text.trimmed();
        if (!m_current.text.isEmpty())
            m_commands << m_current;
        m_current = {next, {}, false, false};
    }

    /// ">nul", ">> file", "2>&1": the digit before and the target behind belong to it. What is redirected is thrown
    /// away, unless it joins the other stream.
    void skipRedirection(QChar c)
    {
        QString& text = m_current.text;
        const bool hasDigit =
            !text.isEmpty() && text.back().isDigit() && (text.size() == 1 || text[text.size() - 2].isSpace());
        const bool isErrors = hasDigit && text.back() == u'2';
        if (hasDigit)
            text.chop(1);
        if (peek() == u'>')
            ++m_at;
        const bool joins = peek() == u'&';
        if (joins)
            ++m_at;
        skipTarget();
        if (c == u'<')
            return;
        bool& discards = isErrors ? m_current.discardsErrors : m_current.discardsOutput;
        const bool other = isErrors ? m_current.discardsOutput : m_current.discardsErrors;
        discards = joins ? other : true;
    }

    void skipTarget()
    {
        while (peek().isSpace())
            ++m_at;
        bool isQuoted = false;
        while (m_at + 1 < m_line.size() && (isQuoted || !u" \t&|<>"_s.contains(peek()))) {
            ++m_at;
            isQuoted = isQuoted != (m_line[m_at] == u'"');
        }
    }

    const QString& m_line;
    qsizetype m_at = 0;
    bool m_isQuoted = false;
    SimpleCommand m_current;
    QList<SimpleCommand> m_commands;
};

QString windowsVariable(const QString& name)
{
    const QString profile = "C:\\Users\\"_L1 + currentUserName();
    const std::array variables = {
        std::pair{"systemdrive"_L1, u"C:"_s},
        std::pair{"systemroot"_L1, u"C:\\Windows"_s},
        std::pair{"windir"_L1, u"C:\\Windows"_s},
        std::pair{"programdata"_L1, u"C:\\ProgramData"_s},
        std::pair{"programfiles"_L1, u"C:\\Program Files"_s},
        std::pair{"username"_L1, currentUserName()},
        std::pair{"userprofile"_L1, profile},
        std::pair{"appdata"_L1, QString(profile % "\\AppData\\Roaming"_L1)},
        std::pair{"localappdata"_L1, QString(profile % "\\AppData\\Local"_L1)},
        std::pair{"temp"_L1, QString(profile % "\\AppData\\Local\\Temp"_L1)},
        std::pair{"tmp"_L1, QString(profile % "\\AppData\\Local\\Temp"_L1)},
    };
    for (const auto& [known, value] : variables) {
        if (name.compare(known, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

QString variable(const QString& name)
{
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const QStringList names = environment.keys();
    const auto found = std::ranges::find_if(
        names, [&name](const QString& candidate) { return candidate.compare(name, Qt::CaseInsensitive) == 0; });
    return found == names.end() ? windowsVariable(name) : environment.value(*found);
}

} // namespace

QList<SimpleCommand> splitCommandLine(const QString& line)
{
    return Splitter(line).run();
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
