#pragma once

#include "optimizers/SnapshotFile.h"
#include "system/ValueLedger.h"

#include <QHash>
#include <QString>
#include <QStringList>

namespace torvelane {

/// Which group of services is switched off.
enum class ServiceProfileId { None = 0, Basic = 1, Advanced = 2 };

/// What became of an operation on services.
struct ServiceResult {
    bool ok = false;
    QString message;  ///< For the user, in their language.
    qint32 count = 0; ///< How many services were written.
};

/// Keeps groups of Windows services from starting, by their start type in the registry, and gives every one its start
/// type back. Nothing is stopped or started: a change takes effect with the next start of Windows. What was there is in
/// services_profile.json (SnapshotFile says how snapshots work), read when the object is made. Unlike elsewhere, each
/// apply first restores what the snapshot holds and captures anew, so that profiles can follow each other.
///
/// One worker at a time. Everything but the plain questions blocks and changes HKLM, which needs administrator rights.
class ServiceProfiles {
public:
    static constexpr QLatin1String snapshotName{"services_profile.json"};

    ServiceProfiles();

    /// What the services of a snapshot hold.
    [[nodiscard]] static QList<ValueHolder> heldIn(const QJsonObject& document);

    [[nodiscard]] ServiceProfileId profile() const { return m_profile; }
    [[nodiscard]] bool hasSnapshot() const { return !m_originals.isEmpty(); }

    /// The services of a profile, in the order in which they are looked at.
    [[nodiscard]] static QStringList servicesFor(ServiceProfileId id);

    /// Switches a profile's services off; with None the same as restoreDefaults. A service that this machine lacks, or
    /// that was off before, is left alone.
    [[nodiscard]] ServiceResult apply(ServiceProfileId id);

    [[nodiscard]] ServiceResult restoreDefaults();

private:
    void take(const QJsonObject& document);
    void refresh();
    void save();
    [[nodiscard]] static std::optional<quint32> originalStart(const LedgerSession& session, const QString& service);
    [[nodiscard]] int writeOriginals(const LedgerSession& session) const;
    [[nodiscard]] int disableAll() const;

    SnapshotFile m_file;
    ServiceProfileId m_profile = ServiceProfileId::None;
    QHash<QString, quint32> m_originals; ///< Start types by service, of those that this module changed.
    bool m_isSaved = true;               ///< Otherwise the file is older than the two above.
};

} // namespace torvelane
