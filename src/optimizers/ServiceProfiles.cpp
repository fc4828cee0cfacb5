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

QString keyOf(const QString& service)
{
    return QStringLiteral("SYSTEM\\CurrentControlSet\\Services\\") + service;
}

} // namespace

ServiceProfiles::ServiceProfiles() : m_file(QStringLiteral("services_profile.json"), category)
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
    m_isSaved = m_file.write(document) == JsonFile::WriteError::None;
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
    const OptimizerLock lock(category);
    if (lock.isRefused())
        return {false, OptimizerLock::refusal(), 0};
    ServiceResult restored = restoreDefaults();
    if (id == ServiceProfileId::None)
        return restored;

    const QStringList services = servicesFor(id);
    for (const QString& service : services) {
        RegistryValue start;
        if (!readValue(RegistryHive::LocalMachine, keyOf(service), startValue, start) || !start.exists
            || start.number == startDisabled) {
            continue;
        }
        m_originals.insert(service, static_cast<quint32>(start.number));
    }
    m_profile = id;
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

int ServiceProfiles::disableAll() const
{
    int disabled = 0;
    for (auto original = m_originals.begin(); original != m_originals.end(); ++original) {
        if (writeDword(RegistryHive::LocalMachine, keyOf(original.key()), startValue, startDisabled))
            ++disabled;
    }
    return disabled;
}

int ServiceProfiles::writeOriginals() const
{
    int restored = 0;
    for (auto original = m_originals.begin(); original != m_originals.end(); ++original) {
        if (writeDword(RegistryHive::LocalMachine, keyOf(original.key()), startValue, original.value()))
            ++restored;
    }
    return restored;
}

ServiceResult ServiceProfiles::restoreDefaults()
{
    const OptimizerLock lock(category);
    if (lock.isRefused())
        return {false, OptimizerLock::refusal(), 0};
    refresh();
    if (m_originals.isEmpty()) {
        m_profile = ServiceProfileId::None;
        save();
        return {true, translate("ServiceProfiles", "Already on default services."), 0};
    }
    const int restored = writeOriginals();
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
