#include "platform/LockFile.h"

#include "platform/windows/AccessRights.h"
#include "platform/windows/Owners.h"

#include <QDir>

#include <sddl.h>

namespace torvelane::platform {

namespace {

HANDLE openOrCreate(const QString& path, SECURITY_ATTRIBUTES* security)
{
    return CreateFileW(wide(QDir::toNativeSeparators(path)), GENERIC_READ | GENERIC_WRITE,
                       FILE_SHARE_READ | FILE_SHARE_WRITE, security, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

OVERLAPPED at(quint32 slot)
{
    OVERLAPPED place{};
    place.Offset = slot;
    return place;
}

} // namespace

struct LockFile::Private {
    OwnedHandle file;
};

LockFile::LockFile() : d(std::make_unique<Private>()) { }

LockFile::~LockFile() = default;

Win32Error LockFile::open(const QString& path)
{
    OwnedLocal<void> descriptor;
    ConvertStringSecurityDescriptorToSecurityDescriptorW(wide(administratorsOnly), SDDL_REVISION_1, descriptor.put(),
                                                         nullptr);
    SECURITY_ATTRIBUTES security{sizeof(SECURITY_ATTRIBUTES), descriptor.get(), FALSE};
    d->file = ownFile(openOrCreate(path, descriptor ? &security : nullptr));
    // Who isn't an administrator can't make Administrators the owner.
    if (!d->file && GetLastError() == ERROR_INVALID_OWNER)
        d->file = ownFile(openOrCreate(path, nullptr));
    return d->file ? Win32Error::Success : static_cast<Win32Error>(GetLastError());
}

Win32Error LockFile::tryLock(quint32 slot)
{
    OVERLAPPED place = at(slot);
    constexpr DWORD flags = LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY;
    return LockFileEx(d->file.get(), flags, 0, 1, 0, &place) ? Win32Error::Success
                                                             : static_cast<Win32Error>(GetLastError());
}

void LockFile::unlock(quint32 slot)
{
    OVERLAPPED place = at(slot);
    UnlockFileEx(d->file.get(), 0, 1, 0, &place);
}

} // namespace torvelane::platform
