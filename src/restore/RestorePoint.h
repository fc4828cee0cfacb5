#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

namespace torvelane {

/// One point that System Restore holds. A number that the system doesn't give is 0.
struct RestorePointInfo {
    quint32 sequenceNumber = 0;
    QString description;
    QDateTime creationTime; ///< With its offset from UTC; invalid if the system gives no usable time.
    quint32 restorePointType = 0;
    quint32 eventType = 0;
};

/// Windows System Restore. Free functions without a state between calls; every one but isProtectionEnabled blocks for
/// as long as the system needs and belongs on a worker thread. All of them need administrator rights, which nothing
/// here tests: what the system answers without them is the error. `error` may be null; log category "restore".
namespace RestorePoint {

/// Creates a point. If that fails because the service is disabled, lifts what blocks System Protection, enables it and
/// tries once more. True if a point exists afterwards. The registry values that allow this are left as written, the
/// one for the frequency of points after every attempt.
[[nodiscard]] bool createWithFallback(const QString& description, QString* error);

/// Lets Windows create a point however young the last one is (it allows one a day by itself).
void bypassCreationFrequency();

/// Lifts what blocks System Protection and enables it for drive C:. A PowerShell that hasn't ended after 30 s counts as
/// a success, and is ended.
[[nodiscard]] bool enableProtection(QString* error);

/// Whether System Protection seems to be on. Reads two registry values, cheap enough for the GUI thread; policies
/// aren't asked.
[[nodiscard]] bool isProtectionEnabled();

/// All points, newest first. Empty with `error` untouched if there are none.
[[nodiscard]] QList<RestorePointInfo> listPoints(QString* error);

/// Deletes the shadow copy that a point consists of: the one whose time of installation is closest to
/// `creationTime`, and at most two minutes off. `sequenceNumber` is for the log.
[[nodiscard]] bool deletePoint(quint32 sequenceNumber, const QDateTime& creationTime, QString* error);

/// Has Windows roll back to a point at its next start; with `reboot` that is in ten seconds. A restart that can't be
/// scheduled is only logged: the roll back is armed, and happens whenever the user restarts.
[[nodiscard]] bool restoreTo(quint32 sequenceNumber, bool reboot, QString* error);

} // namespace RestorePoint

} // namespace torvelane
