#include "platform/SharedLogFile.h"

#include "platform/windows/Owners.h"

#include <QDir>

#include <cstring>
#include <vector>

namespace torvelane::platform {

namespace {

// Nobody is kept from reading, appending, renaming or deleting.
constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

OwnedHandle openFile(const QString& path, DWORD access, DWORD disposition, DWORD flags = FILE_ATTRIBUTE_NORMAL)
{
    return ownFile(CreateFileW(wide(path), access, shareAll, nullptr, disposition, flags, nullptr));
}

// With FILE_APPEND_DATA and without FILE_WRITE_DATA every write goes to where the end is at that moment:
// https://learn.microsoft.com/windows/win32/fileio/file-access-rights-constants
// Reading is for the lock.
OwnedHandle openForAppending(const QString& path)
{
    return openFile(path, FILE_APPEND_DATA | FILE_READ_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE, OPEN_ALWAYS);
}

qint64 sizeBytes(const OwnedHandle& file)
{
    LARGE_INTEGER size{};
    return GetFileSizeEx(file.get(), &size) ? size.QuadPart : 0;
}

bool areSame(const OwnedHandle& one, const OwnedHandle& other)
{
    BY_HANDLE_FILE_INFORMATION first{};
    BY_HANDLE_FILE_INFORMATION second{};
    return GetFileInformationByHandle(one.get(), &first) && GetFileInformationByHandle(other.get(), &second)
        && first.dwVolumeSerialNumber == second.dwVolumeSerialNumber && first.nFileIndexHigh == second.nFileIndexHigh
        && first.nFileIndexLow == second.nFileIndexLow;
}

// A lock of a byte far behind any content. Whoever may read the log can hold it too, so nothing waits for it for long.
class Lock {
public:
    Lock(HANDLE file, int tries) : m_file(file)
    {
        constexpr DWORD flags = LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY;
        for (int i = 0; i < tries && !m_isHeld; ++i) {
            if (i > 0)
                Sleep(1);
            OVERLAPPED place = behindAll();
            m_isHeld = LockFileEx(m_file, flags, 0, 1, 0, &place);
        }
    }
    ~Lock()
    {
        OVERLAPPED place = behindAll();
        if (m_isHeld)
            UnlockFileEx(m_file, 0, 1, 0, &place);
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    [[nodiscard]] bool isHeld() const { return m_isHeld; }

private:
    static OVERLAPPED behindAll()
    {
        OVERLAPPED place{};
        place.OffsetHigh = 0x40000000;
        return place;
    }

    HANDLE m_file;
    bool m_isHeld = false;
};

void rename(const OwnedHandle& file, const QString& path)
{
    const std::size_t nameBytes = static_cast<std::size_t>(path.size()) * sizeof(wchar_t);
    std::vector<std::byte> buffer(sizeof(FILE_RENAME_INFO) + nameBytes);
    auto* const info = reinterpret_cast<FILE_RENAME_INFO*>(buffer.data());
    info->FileNameLength = static_cast<DWORD>(nameBytes);
    std::memcpy(info->FileName, wide(path), nameBytes);
    SetFileInformationByHandle(file.get(), FileRenameInfo, info, static_cast<DWORD>(buffer.size()));
}

// A process that has had nothing to say since the last rotation still has the file open: then its name would stay taken
// for as long as that, were it deleted under its own name.
void removeOld(const QString& path)
{
    const OwnedHandle file = openFile(path, DELETE | SYNCHRONIZE, OPEN_EXISTING, FILE_FLAG_DELETE_ON_CLOSE);
    if (file)
        rename(file, QStringLiteral("%1.%2-%3").arg(path).arg(GetCurrentProcessId()).arg(GetTickCount64()));
}

class SharedLogFile final : public LogFile {
public:
    SharedLogFile(const QString& path, qint64 limitBytes)
        : m_path(QDir::toNativeSeparators(path))
        , m_limitBytes(limitBytes)
        , m_file(openForAppending(m_path))
    {
    }

    [[nodiscard]] bool isOpen() const { return static_cast<bool>(m_file); }

    void append(const QByteArray& line) override
    {
        if (sizeBytes(m_file) >= m_limitBytes)
            moveOn();
        const QByteArray bytes = line + "\r\n";
        // NTFS needs no lock for this; on other file systems finding the end and writing there may be two steps.
        const Lock lock(m_file.get(), m_lockTries);
        if (!lock.isHeld())
            m_lockTries = 0;
        DWORD writtenBytes = 0;
        WriteFile(m_file.get(), bytes.constData(), static_cast<DWORD>(bytes.size()), &writtenBytes, nullptr);
    }

private:
    // Leaves a file that has reached its limit, if there is another one to go to.
    void moveOn()
    {
        OwnedHandle current = openForAppending(m_path);
        if (!current)
            return;
        if (sizeBytes(current) >= m_limitBytes) {
            const Lock lock(current.get(), 1);
            if (!lock.isHeld())
                return;
            // Refused while somebody reads the log who doesn't share that. Another file than the one that is locked
            // means that it was rotated before the lock was had.
            const OwnedHandle renamable = openFile(m_path, DELETE | FILE_READ_ATTRIBUTES, OPEN_EXISTING);
            if (!renamable)
                return;
            if (areSame(renamable, current)) {
                const QString old = m_path + QStringLiteral(".1");
                removeOld(old);
                if (!MoveFileExW(wide(m_path), wide(old), 0))
                    return;
            }
        }
        if (OwnedHandle next = openForAppending(m_path)) {
            m_file = std::move(next);
            m_lockTries = lockTries;
        }
    }

    static constexpr int lockTries = 100;

    QString m_path;
    qint64 m_limitBytes;
    OwnedHandle m_file;
    int m_lockTries = lockTries; ///< 0 after they were in vain.
};

} // namespace

std::unique_ptr<LogFile> openSharedLogFile(const QString& path, qint64 limitBytes)
{
    auto file = std::make_unique<SharedLogFile>(path, limitBytes);
    return file->isOpen() ? std::move(file) : nullptr;
}

} // namespace torvelane::platform
