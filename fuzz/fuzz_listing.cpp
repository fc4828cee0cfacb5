#include "FuzzMachine.h"
#include "update/ArchiveEntries.h"

#include <QSet>

using namespace torvelane;

/// A listing in which nothing is found leads nowhere else: relative names without steps upwards, each of them once.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QStringList entries = listedEntries(QString::fromUtf8(fuzz::bytesOf(data, size)));
    if (!firstUnsafeEntry(entries).isEmpty() || !firstOddEntry(entries).isEmpty())
        return 0;
    QSet<QString> names;
    for (const QString& entry : entries) {
        fuzz::require(!entry.isEmpty() && !entry.startsWith(QLatin1Char('/')));
        fuzz::require(!entry.contains(QLatin1Char(':')) && !entry.contains(QLatin1Char('\\')));
        const QStringList parts = entry.toLower().split(QLatin1Char('/'), Qt::SkipEmptyParts);
        fuzz::require(!parts.contains(QLatin1String("..")));
        const QString name = parts.join(QLatin1Char('/'));
        fuzz::require(entry.endsWith(QLatin1Char('/')) || !names.contains(name));
        names.insert(name);
    }
    return 0;
}
