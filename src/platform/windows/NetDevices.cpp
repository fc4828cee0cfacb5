#include "platform/NetDevices.h"

#include "platform/windows/Owners.h"

#include <setupapi.h>

#include <array>

namespace torvelane::platform {

namespace {

/// GUID_DEVCLASS_NET, by value: its header would define every other class along with it.
/// https://learn.microsoft.com/windows-hardware/drivers/install/system-defined-device-setup-classes-available-to-vendors
constexpr GUID netDeviceClass{0x4d36e972, 0xe325, 0x11ce, {0xbf, 0xc1, 0x08, 0x00, 0x2b, 0xe1, 0x03, 0x18}};

constexpr std::size_t instanceIdLength = 256;

struct DeviceListTraits : ResourceOf<HDEVINFO> {
    static Value none() { return INVALID_HANDLE_VALUE; }
    static bool isNone(const Value& value) { return value == none(); }
    static void close(HDEVINFO list) { SetupDiDestroyDeviceInfoList(list); }
};

Win32Error lastError()
{
    return static_cast<Win32Error>(GetLastError());
}

} // namespace

struct NetDeviceList::Private {
    Owner<DeviceListTraits> list;
    SP_DEVINFO_DATA current{};
};

NetDeviceList::NetDeviceList() : d(std::make_unique<Private>()) { }

NetDeviceList::~NetDeviceList() = default;

Win32Error NetDeviceList::open()
{
    d->list.reset(SetupDiGetClassDevsW(&netDeviceClass, nullptr, nullptr, DIGCF_PRESENT));
    return d->list ? Win32Error::Success : lastError();
}

bool NetDeviceList::select(quint32 index)
{
    d->current = {};
    d->current.cbSize = sizeof d->current;
    return SetupDiEnumDeviceInfo(d->list.get(), index, &d->current);
}

std::optional<QString> NetDeviceList::instanceId() const
{
    std::array<wchar_t, instanceIdLength> id{};
    if (!SetupDiGetDeviceInstanceIdW(d->list.get(), &d->current, id.data(), static_cast<DWORD>(id.size()), nullptr))
        return std::nullopt;
    return QString::fromWCharArray(id.data());
}

Win32Error NetDeviceList::restart()
{
    SP_PROPCHANGE_PARAMS change{};
    change.ClassInstallHeader.cbSize = sizeof change.ClassInstallHeader;
    change.ClassInstallHeader.InstallFunction = DIF_PROPERTYCHANGE;
    change.StateChange = DICS_PROPCHANGE;
    change.Scope = DICS_FLAG_CONFIGSPECIFIC;
    change.HwProfile = 0;
    const bool done =
        SetupDiSetClassInstallParamsW(d->list.get(), &d->current, &change.ClassInstallHeader, sizeof change)
        && SetupDiCallClassInstaller(DIF_PROPERTYCHANGE, d->list.get(), &d->current);
    return done ? Win32Error::Success : lastError();
}

} // namespace torvelane::platform
