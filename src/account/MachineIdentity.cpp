#include "account/MachineIdentity.h"

#include "platform/MachineId.h"

#include <QCryptographicHash>
#include <QStringList>

namespace torvelane {

QString machineIdentity()
{
    const QString guid = platform::machineGuid().trimmed().toLower();
    if (guid.isEmpty())
        return QStringLiteral("unavailable");
    // The prefix keeps this apart from whatever else may be derived from the same identifier by others.
    const QByteArray material = "Torvelane machine identity 1\n" + guid.toUtf8();
    const QByteArray digest = QCryptographicHash::hash(material, QCryptographicHash::Sha256).toHex();
    QStringList groups;
    for (qsizetype i = 0; i < 4; ++i)
        groups.append(QString::fromLatin1(digest.mid(i * 8, 8)));
    return groups.join(QLatin1Char('-')).toUpper();
}

} // namespace torvelane
