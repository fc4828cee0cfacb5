#include "optimizers/ServiceProfiles.h"

#include "core/Log.h"
#include "core/Translate.h"
#include "optimizers/OptimizerLock.h"
#include "system/RegistryAccess.h"
#include "system/RegistryJson.h"

#include <algorithm>
#include <array>
#include <limits>

namespace torvelane {

namespace {

const QString category = QStringLiteral("services");
const QString startValue = QStringLiteral("Start");
const QString keyProfile = QStringLiteral("profile");
const QString keyServices = QStringLiteral("services");
const QString keyStart = QStringLiteral("start");

// Start types of services: https://learn.microsoft.com/windows/win32/api/winsvc/nf-winsvc-createservicew
constexpr quint32 startAutomatic = 2; ///< SERVICE_AUTO_START, for a snapshot that doesn't say.
constexpr quint32 startDisabled = 4;  ///< SERVICE_DISABLED

struct ProfileName {
    ServiceProfileId id;
    QLatin1String stored; ///< In the snapshot and in the log.
    const char* shown;
};

constexpr std::array profileNames{
    ProfileName{ServiceProfileId::None, QLatin1String("none"), ""},
    ProfileName{ServiceProfileId::Basic, QLatin1String("basic"), QT_TRANSLATE_NOOP("ServiceProfiles", "Basic")},
    ProfileName{ServiceProfileId::Advanced, QLatin1String("advanced"),
                QT_TRANSLATE_NOOP("ServiceProfiles", "Advanced")},
};

const ProfileName& nameOf(ServiceProfileId id)
{
    const auto* const row = std::ranges::find(profileNames, id, &ProfileName::id);
    return row == profileNames.end() ? profileNames.front() : *row;
}

ServiceProfileId profileNamed(const QString& stored)
{
    const auto* const row = std::ranges::find(profileNames, stored, &ProfileName::stored);
    return row == profileNames.end() ? ServiceProfileId::None : row->id;
}

/// A start type as it was stored. What is missing, or no start type that a registry could hold, reads as automatic.
quint32 startFromJson(const QJsonValue& stored)
{
    const bool isStart = stored.isDouble() && stored.toDouble() >= 0.0;
    const quint64 start = isStart ? unsignedFromJson(stored) : startAutomatic;
    return start <= std::numeric_limits<quint32>::max() ? static_cast<quint32>(start) : startAutomatic;
}

ValuePlace placeOf(const QString& service)
{
    return {RegistryHive::LocalMachine, QStringLiteral("SYSTEM\\CurrentControlSet\\Services\\") + service, startValue};
}

RegistryValue valueOf(quint32 start)
{
    return {true, RegistryValueKind::Dword, start, {}, {}};
}

} // namespace

ServiceProfiles::ServiceProfiles() : m_file(snapshotName, category)
{
    take(m_file.read().value_or(QJsonObject()));
}

void ServiceProfiles::take(const QJsonObject& document)
{
    m_originals.clear();
    m_profile = profileNamed(document.value(keyProfile).toString());
    const QJsonObject services = document.value(keyServices).toObject();
    for (auto member = services.begin(); member != services.end(); ++member) {
        m_originals.insert(member.key(), startFromJson(member.value().toObject().value(keyStart)));
    }
}

QList<ValueHolder> ServiceProfiles::heldIn(const QJsonObject& document)
{
    ValueHolder holder{snapshotName, {}, {}};
    const QJsonObject services = document.value(keyServices).toObject();
    for (auto member = services.begin(); member != services.end(); ++member) {
        const quint32 start = startFromJson(member.value().toObject().value(keyStart));
        holder.values.append({placeOf(member.key()), valueOf(start), valueOf(startDisabled)});
    }
    return {holder};
}

/// Takes over what another process has written since.
void ServiceProfiles::refresh()
{
    if (!m_isSaved)
        return;
    if (const auto document = m_file.readAgain())
        take(*document);
}

void ServiceProfiles::save()
{
    QJsonObject services;
    for (auto original = m_originals.begin(); original != m_originals.end(); ++original)
        services.insert(original.key(), QJsonObject{{keyStart, static_cast<qint64>(original.value())}});
    const QJsonObject document{{keyProfile, nameOf(m_profile).stored}, {keyServices, services}};
    m_isSaved = m_file.keep(document);
}

QStringList ServiceProfiles::servicesFor(ServiceProfileId id)
{
    if (id != ServiceProfileId::Basic && id != ServiceProfileId::Advanced)
        return {};
    QStringList services{QStringLiteral("DiagTrack"),
                         QStringLiteral("dmwappushservice"),
                         QStringLiteral("diagnosticshub.standardcollector.service"),
                         QStringLiteral("lfsvc"),
                         QStringLiteral("MapsBroker"),
                         QStringLiteral("RetailDemo"),
                         QStringLiteral("WMPNetworkSvc"),
                         QStringLiteral("edgeupdate"),
                         QStringLiteral("edgeupdatem"),
                         QStringLiteral("MicrosoftEdgeElevationService")};
    if (id == ServiceProfileId::Advanced) {
        services += {QStringLiteral("wuauserv"),      QStringLiteral("UsoSvc"),
                     QStringLiteral("WaaSMedicSvc"),  QStringLiteral("BITS"),
                     QStringLiteral("WSearch"),       QStringLiteral("SysMain"),
                     QStringLiteral("wscsvc"),        QStringLiteral("SecurityHealthService"),
                     QStringLiteral("bthserv"),       QStringLiteral("XblAuthManager"),
                     QStringLiteral("XblGameSave"),   QStringLiteral("XboxGipSvc"),
                     QStringLiteral("XboxNetApiSvc"), QStringLiteral("LanmanServer"),
                     QStringLiteral("AppXSvc")};
    }
    return services;
}

ServiceResult ServiceProfiles::apply(ServiceProfileId id)
{
    const ValueLedger::Batch batch(ValueLedger::current());
    const OptimizerLock lock(category);
    if (lock.isRefused())
        return {false, OptimizerLock::refusal(), 0};
    const LedgerSession session(ValueLedger::current(), snapshotName);
    ServiceResult restored = restoreDefaults();
    if (id == ServiceProfileId::None)
        return restored;

    const QStringList services = servicesFor(id);
    for (const QString& service : services) {
        if (const std::optional<quint32> start = originalStart(session, service))
            m_originals.insert(service, *start);
    }
    m_profile = id;
    session.drawOrder();
    save();

    const int disabled = disableAll();
    const ProfileName& name = nameOf(id);
    logMessage(
        LogLevel::Info, category,
        QStringLiteral("Applied %1 profile: %2 service(s) disabled").arg(name.stored, QString::number(disabled)));
    return {true,
            translate("ServiceProfiles", "%1 profile applied — %2 service(s) disabled. A reboot finalizes the changes.")
                .arg(translate("ServiceProfiles", name.shown), QString::number(disabled)),
            disabled};
}

/// What is to be captured of a service; nothing if it is left alone.
std::optional<quint32> ServiceProfiles::originalStart(const LedgerSession& session, const QString& service)
{
    const ValuePlace place = placeOf(service);
    RegistryValue present;
    RegistryValue original;
    QString error;
    if (!readValue(place.hive, place.path, place.name, present) || !present.exists)
        return std::nullopt;
    if (!session.readOriginal(place, original, &error)) {
        logMessage(LogLevel::Warn, category, error);
        return std::nullopt;
    }
    // One that another holder has made is none of this machine; one that another holder has disabled wasn't so before.
    if (!original.exists || (original.number == startDisabled && present.number == startDisabled))
        return std::nullopt;
    return static_cast<quint32>(original.number);
}

int ServiceProfiles::disableAll() const
{
    int disabled = 0;
    for (auto original = m_originals.begin(); original != m_originals.end(); ++original) {
        const ValuePlace place = placeOf(original.key());
        if (writeDword(place.hive, place.path, place.name, startDisabled))
            ++disabled;
    }
    return disabled;
}

int ServiceProfiles::writeOriginals(const LedgerSession& session) const
{
    int restored = 0;
    for (auto original = m_originals.begin(); original != m_originals.end(); ++original) {
        if (session.putBack(placeOf(original.key()), valueOf(original.value())))
            ++restored;
    }
    return restored;
}

ServiceResult ServiceProfiles::restoreDefaults()
{
    const ValueLedger::Batch batch(ValueLedger::current());
    const OptimizerLock lock(category);
    if (lock.isRefused())
        return {false, OptimizerLock::refusal(), 0};
    refresh();
    if (m_originals.isEmpty()) {
        m_profile = ServiceProfileId::None;
        save();
        return {true, translate("ServiceProfiles", "Already on default services."), 0};
    }
    const LedgerSession session(ValueLedger::current(), snapshotName);
    const int restored = writeOriginals(session);
    logMessage(LogLevel::Info, category, QStringLiteral("Restored %1 service(s) to defaults").arg(restored));
    m_originals.clear();
    m_profile = ServiceProfileId::None;
    save();
    return {
        true,
        translate("ServiceProfiles", "Default services restored (%1). A reboot finalizes the changes.").arg(restored),
        restored};
}

} // namespace torvelane
