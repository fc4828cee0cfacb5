#pragma once

#include "platform/DirectoryProtection.h"

#include <QString>
#include <QStringList>

namespace torvelane {

/// The per-user data directory, made fit to be believed: what lies in it decides what recovery and reverts write into
/// the system, while it lies in a folder of the user's, whose programs may rename it away and put another in its place.
///
/// Once, on the main thread, before any file in it is opened. The object keeps the directory where it is for as long as
/// it lives, so it lives as long as the program.
class DataDirectory {
public:
    /// Makes the directory if it is missing, holds it, restricts it, and sets aside what isn't ours: renamed, never
    /// deleted. False if it can't be made, or if something that isn't ours can't be set aside. Logs nothing, since the
    /// log lies in there: report says later what was found.
    [[nodiscard]] bool prepare();

    /// Writes a Warn line for everything that prepare met.
    void report() const;

    /// Names of all that this start and earlier ones have set aside, in the directory and beside it.
    [[nodiscard]] static QStringList setAsideNames();

private:
    void warn(const QString& message) { m_warnings.append(message); }
    [[nodiscard]] bool takePossession(bool isKnownUser);
    [[nodiscard]] bool setAsideForeignEntries();
    [[nodiscard]] bool setAside(const QString& path);

    platform::DirectoryHold m_hold;
    QStringList m_warnings;
};

} // namespace torvelane
