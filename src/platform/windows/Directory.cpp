#include "platform/Directory.h"

#include "platform/windows/Owners.h"

#include <QDir>

#include <winternl.h>

#include <array>
#include <limits>
#include <vector>

namespace torvelane::platform {

namespace {

// The options and the access of a documented system call (winternl.h), which takes a name relative to an open folder as
// no Win32 call does: https://learn.microsoft.com/windows/win32/api/winternl/nf-winternl-ntopenfile
constexpr ULONG shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr ULONG openDirectoryFile = 0x00000001;      ///< FILE_DIRECTORY_FILE
constexpr ULONG openSynchronously = 0x00000020;      ///< FILE_SYNCHRONOUS_IO_NONALERT
constexpr ULONG openNonDirectoryFile = 0x00000040;   ///< FILE_NON_DIRECTORY_FILE
constexpr ULONG openForBackupIntent = 0x00004000;    ///< FILE_OPEN_FOR_BACKUP_INTENT
constexpr ULONG openReparsePointItself = 0x00200000; ///< FILE_OPEN_REPARSE_POINT

constexpr ACCESS_MASK listAccess = FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES | SYNCHRONIZE;
constexpr std::size_t listBufferBytes = 64 * 1024;

// FILE_DISPOSITION_INFO_EX, from Windows 10 1607; ignoring the read-only attribute from 1809.
// https://learn.microsoft.com/windows-hardware/drivers/ddi/ntddk/ns-ntddk-_file_disposition_information_ex
struct DispositionEx {
    ULONG flags;
};
constexpr ULONG dispositionDelete = 0x01;
constexpr ULONG dispositionPosix = 0x02;
constexpr ULONG dispositionIgnoreReadOnly = 0x10;
constexpr auto dispositionInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(21); ///< FileDispositionInfoEx

Win32Error lastError()
{
    return static_cast<Win32Error>(GetLastError());
}

/// Opens what lies in `parent` under exactly this name, and never what a link there points to.
Win32Error openIn(HANDLE parent, const QString& name, ACCESS_MASK access, ULONG options, OwnedHandle& out)
{
    const qsizetype nameBytes = name.size() * qsizetype(sizeof(wchar_t));
    if (name.isEmpty() || nameBytes > std::numeric_limits<USHORT>::max())
        return Win32Error::InvalidParameter;
    UNICODE_STRING systemName{};
    systemName.Buffer = const_cast<wchar_t*>(wide(name));
    systemName.Length = static_cast<USHORT>(nameBytes);
    systemName.MaximumLength = systemName.Length;
    OBJECT_ATTRIBUTES attributes{};
    InitializeObjectAttributes(&attributes, &systemName, 0, parent, nullptr);
    IO_STATUS_BLOCK status{};
    const NTSTATUS result = NtOpenFile(out.put(), access, &attributes, &status, shareAll,
                                       options | openSynchronously | openForBackupIntent | openReparsePointItself);
    return result >= 0 ? Win32Error::Success : static_cast<Win32Error>(RtlNtStatusToDosError(result));
}

/// Whether an open file or folder is itself a link.
Win32Error refuseLink(HANDLE file)
{
    FILE_ATTRIBUTE_TAG_INFO tag{};
    if (!GetFileInformationByHandleEx(file, FileAttributeTagInfo, &tag, sizeof tag))
        return lastError();
    return tag.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT ? Win32Error::StoppedOnSymlink : Win32Error::Success;
}

DirectoryEntry entryOf(const FILE_ID_BOTH_DIR_INFO& found)
{
    return {QString::fromWCharArray(found.FileName, static_cast<qsizetype>(found.FileNameLength / sizeof(wchar_t))),
            {},
            (found.FileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0,
            (found.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0,
            found.EndOfFile.QuadPart};
}

} // namespace

struct Directory::Private {
    OwnedHandle handle;
};

Directory::Directory() = default;
Directory::~Directory() = default;
Directory::Directory(Directory&& other) noexcept = default;
Directory& Directory::operator=(Directory&& other) noexcept = default;

bool Directory::isOpen() const
{
    return d != nullptr;
}

Win32Error Directory::open(const QString& path, Directory& out)
{
    out.d.reset();
    // With the prefix no limit of 260 characters holds, and no name is read as a device.
    const QString systemPath = QStringLiteral("\\\\?\\") + QDir::toNativeSeparators(QDir::cleanPath(path));
    auto opened = std::make_unique<Private>();
    opened->handle = ownFile(CreateFileW(wide(systemPath), listAccess, shareAll, nullptr, OPEN_EXISTING,
                                         FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (!opened->handle)
        return lastError();
    BY_HANDLE_FILE_INFORMATION information{};
    if (!GetFileInformationByHandle(opened->handle.get(), &information))
        return lastError();
    if (!(information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
        return Win32Error::Directory;
    if (const Win32Error link = refuseLink(opened->handle.get()); link != Win32Error::Success)
        return link;
    out.d = std::move(opened);
    return Win32Error::Success;
}

Win32Error Directory::openChild(const DirectoryEntry& entry, Directory& out) const
{
    out.d.reset();
    auto opened = std::make_unique<Private>();
    const Win32Error error = openIn(d->handle.get(), entry.name, listAccess, openDirectoryFile, opened->handle);
    if (error != Win32Error::Success)
        return error;
    if (const Win32Error link = refuseLink(opened->handle.get()); link != Win32Error::Success)
        return link;
    out.d = std::move(opened);
    return Win32Error::Success;
}

QString Directory::finalPath() const
{
    const HANDLE handle = d->handle.get();
    const DWORD length = GetFinalPathNameByHandleW(handle, nullptr, 0, FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
    std::vector<wchar_t> path(length);
    const DWORD written =
        GetFinalPathNameByHandleW(handle, path.data(), length, FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
    if (written == 0 || written >= length)
        return {};
    QString text = QString::fromWCharArray(path.data(), static_cast<qsizetype>(written));
    // "\\?\UNC\server\share" for what lies on another machine.
    if (text.startsWith(QLatin1String("\\\\?\\UNC\\")))
        return QLatin1Char('\\') + text.mid(7);
    return text.startsWith(QLatin1String("\\\\?\\")) ? text.mid(4) : text;
}

Win32Error Directory::entries(QList<DirectoryEntry>& out) const
{
    out.clear();
    alignas(FILE_ID_BOTH_DIR_INFO) std::array<std::byte, listBufferBytes> buffer;
    auto what = FileIdBothDirectoryRestartInfo;
    while (GetFileInformationByHandleEx(d->handle.get(), what, buffer.data(), static_cast<DWORD>(buffer.size()))) {
        what = FileIdBothDirectoryInfo;
        const std::byte* at = buffer.data();
        for (;;) {
            const auto& found = *reinterpret_cast<const FILE_ID_BOTH_DIR_INFO*>(at);
            DirectoryEntry entry = entryOf(found);
            if (entry.name != QLatin1String(".") && entry.name != QLatin1String(".."))
                out.append(std::move(entry));
            if (found.NextEntryOffset == 0)
                break;
            at += found.NextEntryOffset;
        }
    }
    const DWORD error = GetLastError();
    return error == ERROR_NO_MORE_FILES ? Win32Error::Success : static_cast<Win32Error>(error);
}

Win32Error Directory::remove(const DirectoryEntry& entry) const
{
    OwnedHandle file;
    const Win32Error error = openIn(d->handle.get(), entry.name, DELETE | FILE_READ_ATTRIBUTES | SYNCHRONIZE,
                                    entry.isDirectory ? openDirectoryFile : openNonDirectoryFile, file);
    if (error != Win32Error::Success)
        return error;
    DispositionEx disposition{dispositionDelete | dispositionPosix | dispositionIgnoreReadOnly};
    if (SetFileInformationByHandle(file.get(), dispositionInfoEx, &disposition, sizeof disposition))
        return Win32Error::Success;
    // Older systems and file systems other than NTFS know the plain form only, which leaves read-only files. Taking the
    // attribute off is no way out: a hard link would take it off a file that lies elsewhere.
    FILE_DISPOSITION_INFO plain{TRUE};
    return SetFileInformationByHandle(file.get(), FileDispositionInfo, &plain, sizeof plain) ? Win32Error::Success
                                                                                             : lastError();
}

} // namespace torvelane::platform
