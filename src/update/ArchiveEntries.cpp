#include "update/ArchiveEntries.h"

#include "platform/PrivateFiles.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>

#include <algorithm>

namespace torvelane {

namespace {

/// The parts between separators, without the empty ones.
QStringList partsOf(const QString& entry)
{
    return entry.split(QLatin1Char('/'), Qt::SkipEmptyParts);
}

/// Names that Windows takes for devices, whatever stands behind a dot:
/// https://learn.microsoft.com/windows/win32/fileio/naming-a-file
bool isDevice(const QString& part)
{
    static const QRegularExpression devices(
        QStringLiteral("^(CON|PRN|AUX|NUL|CLOCK\\$|CONIN\\$|CONOUT\\$|COM[0-9]|LPT[0-9]) *(\\.|$)"),
        QRegularExpression::CaseInsensitiveOption);
    return devices.match(part).hasMatch();
}

bool isPlain(QChar character)
{
    return character >= QLatin1Char(' ') && character <= QLatin1Char('~')
        && !QStringLiteral("\\:*?\"<>|").contains(character);
}

/// Why a part of a name isn't one that Windows keeps as it is; empty if it is.
QString oddityOf(const QString& part)
{
    if (!std::ranges::all_of(part, isPlain))
        return QStringLiteral("a character that release files don't have");
    if (part.startsWith(QLatin1Char(' ')) || part.endsWith(QLatin1Char(' ')) || part.endsWith(QLatin1Char('.')))
        return QStringLiteral("a blank or a dot at an end");
    return isDevice(part) ? QStringLiteral("the name of a device") : QString();
}

/// Everything that unpacking these entries makes, folders on the way to an entry included, by its name in lower case.
class Expectation {
public:
    /// @return why the entry can't be; empty if it can
    QString add(const QString& entry)
    {
        QString path;
        const QStringList parts = partsOf(entry);
        for (qsizetype i = 0; i < parts.size(); ++i) {
            path += (i > 0 ? QStringLiteral("/") : QString()) + parts[i];
            const bool isFolder = i + 1 < parts.size() || entry.endsWith(QLatin1Char('/'));
            const auto known = m_names.constFind(path.toLower());
            if (known == m_names.cend()) {
                m_names.insert(path.toLower(), {path, isFolder});
                continue;
            }
            if (known->path != path)
                return QStringLiteral("differs from %1 only in case").arg(known->path);
            if (!isFolder || !known->isFolder)
                return QStringLiteral("it stands there twice");
        }
        return {};
    }

    /// Strikes a name out. @return whether it was expected
    bool take(const QString& path, bool isFolder)
    {
        const auto found = m_names.constFind(path.toLower());
        if (found == m_names.cend() || found->path != path || found->isFolder != isFolder)
            return false;
        m_names.erase(found);
        return true;
    }

    [[nodiscard]] QString leftOver() const { return m_names.isEmpty() ? QString() : m_names.cbegin()->path; }

private:
    struct Name {
        QString path;
        bool isFolder = false;
    };

    QHash<QString, Name> m_names;
};

} // namespace

QStringList listedEntries(const QString& listing)
{
    static const QRegularExpression lineBreaks(QStringLiteral("[\r\n]+"));
    return listing.split(lineBreaks, Qt::SkipEmptyParts);
}

QString firstUnsafeEntry(const QStringList& entries)
{
    for (const QString& entry : entries) {
        const QString listed = entry.trimmed();
        const QString path = QString(listed).replace(QLatin1Char('\\'), QLatin1Char('/'));
        const bool isAbsolute = path.startsWith(QLatin1Char('/')) || (path.size() > 1 && path[1] == QLatin1Char(':'));
        if (isAbsolute || partsOf(path).contains(QLatin1String("..")))
            return listed;
    }
    return {};
}

QString firstOddEntry(const QStringList& entries)
{
    Expectation expected;
    for (const QString& entry : entries) {
        QString oddity;
        const QStringList parts = partsOf(entry);
        for (qsizetype i = 0; i < parts.size() && oddity.isEmpty(); ++i)
            oddity = oddityOf(parts[i]);
        if (oddity.isEmpty())
            oddity = expected.add(entry);
        if (!oddity.isEmpty())
            return QStringLiteral("%1 (%2)").arg(entry, oddity);
    }
    return {};
}

QString unpackedDifference(const QString& folder, const QStringList& entries)
{
    Expectation expected;
    for (const QString& entry : entries)
        std::ignore = expected.add(entry);
    const QDir root(folder);
    QStringList open{folder};
    while (!open.isEmpty()) {
        const QFileInfoList found =
            QDir(open.takeLast()).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
        for (const QFileInfo& entry : found) {
            const QString path = root.relativeFilePath(entry.filePath());
            const bool isLink = entry.isSymbolicLink() || entry.isJunction();
            const bool isFolder = !isLink && entry.isDir();
            if (isLink || (!isFolder && !platform::isOrdinaryFile(entry.filePath())))
                return path + QStringLiteral(" is a link");
            if (!expected.take(path, isFolder))
                return path + QStringLiteral(" isn't listed");
            if (isFolder)
                open.append(entry.filePath());
        }
    }
    const QString missing = expected.leftOver();
    return missing.isEmpty() ? QString() : missing + QStringLiteral(" is missing");
}

} // namespace torvelane
