#include "account/MachineIdentity.h"

#include "system/RegistryAccess.h"

#include <QCryptographicHash>
#include <QStringList>

namespace torvelane {

namespace {

/// The identifier that Windows draws at installation: stable across updates and restarts, and no serial number of a
/// part. Empty if it can't be read.
QString machineGuid()
{
    RegistryValue value;
    if (!readValue(RegistryHive::LocalMachine, QStringLiteral("SOFTWARE\\Microsoft\\Cryptography"),
                   QStringLiteral("MachineGuid"), value)
        || value.kind != RegistryValueKind::Sz) {
        return {};
    }
    return value.text.trimmed().toLower();
}

} // namespace

QString machineIdentity()
{
    const QString guid = machineGuid();
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
