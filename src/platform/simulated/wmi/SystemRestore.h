#pragma once

#include "platform/Wmi.h"

#include <QJsonObject>
#include <QList>
#include <QString>

namespace torvelane::platform::simulated {

/// What the simulated System Restore goes by, beside its own rows.
struct RestoreConditions {
    bool isElevated = true;
    bool isEnabled = true;    ///< System Protection, its policies and the service of shadow copies.
    int frequencyMinutes = 0; ///< How old the last point has to be for a new one.
};

/// Read from the registry, so outside any call.
[[nodiscard]] RestoreConditions restoreConditions();

/// The methods of the class SystemRestore, on the document of the facility "wmi". `returnValue` is only set on success.
/// A point that is made consists of a row of SystemRestore and one of Win32_ShadowCopy, which names the other in a
/// property of the system's own; a roll back stands as "rollBackTo" in the document.
/// https://learn.microsoft.com/windows/win32/sr/systemrestore
[[nodiscard]] HResult callSystemRestore(QJsonObject& document, const RestoreConditions& conditions,
                                        const QString& method, const QList<WmiProperty>& arguments,
                                        qint32& returnValue);

/// How vssadmin's delete ends.
enum class ShadowDeletion { Deleted, NotFound, OutsideContext };

/// Removes the shadow copy with this id, and the restore point that consisted of it.
[[nodiscard]] ShadowDeletion deleteShadowCopy(QJsonObject& document, const QString& id);

} // namespace torvelane::platform::simulated
