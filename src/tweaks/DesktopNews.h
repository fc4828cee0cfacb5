#pragma once

#include "platform/DesktopChange.h"
#include "system/RegistryTypes.h"

#include <QSet>
#include <QString>

namespace torvelane {

/// Collects the announcements that the values of a tweak need, and makes each of them once when it
/// goes out of scope: after the last value, and whether or not all could be written.
class DesktopNews {
public:
    DesktopNews() = default;
    ~DesktopNews();
    DesktopNews(const DesktopNews&) = delete;
    DesktopNews& operator=(const DesktopNews&) = delete;

    /// A value in this key has been written or deleted.
    void valueChanged(RegistryHive hive, const QString& path);

private:
    QSet<platform::DesktopChange> m_changes;
};

} // namespace torvelane
