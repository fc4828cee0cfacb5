#pragma once

#include "platform/Win32Error.h"

#include <QString>

#include <memory>
#include <optional>

namespace torvelane::platform {

/// The network devices that are present, as SetupAPI lists them. The list is taken when it is opened; one object belongs
/// to one thread. Every call may block on the system.
/// https://learn.microsoft.com/windows/win32/api/setupapi/nf-setupapi-setupdigetclassdevsw
class NetDeviceList {
public:
    NetDeviceList();
    ~NetDeviceList();
    NetDeviceList(const NetDeviceList&) = delete;
    NetDeviceList& operator=(const NetDeviceList&) = delete;

    /// SetupDiGetClassDevsW for GUID_DEVCLASS_NET with DIGCF_PRESENT. Once per object.
    [[nodiscard]] Win32Error open();

    /// SetupDiEnumDeviceInfo: makes the device with this number, counted from 0, the current one. False at the end.
    [[nodiscard]] bool select(quint32 index);

    /// SetupDiGetDeviceInstanceIdW of the current device, up to 255 characters; nothing if the system refused.
    [[nodiscard]] std::optional<QString> instanceId() const;

    /// SetupDiSetClassInstallParamsW and SetupDiCallClassInstaller with DIF_PROPERTYCHANGE and DICS_PROPCHANGE for the
    /// current hardware profile: stops and starts the current device, which drops its connection for a moment. Needs
    /// administrator rights.
    [[nodiscard]] Win32Error restart();

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace torvelane::platform
