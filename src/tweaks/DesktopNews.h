#pragma once

#include "platform/DesktopChange.h"
#include "system/RegistryTypes.h"

#include <QSet>
#include <QString>

namespace torvelane {

/// Collects what the desktop has to be told about the values that a tweak has written, and tells it, once each, when it
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
