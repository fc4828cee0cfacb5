#include "platform/DirectoryProtection.h"

#include "platform/Elevation.h"
#include "platform/LockFile.h"
#include "platform/windows/AccessRights.h"
#include "platform/windows/Owners.h"

#include <QDir>
#include <QFileInfo>

#include <tuple>
#include <vector>

#include <aclapi.h>
#include <sddl.h>

namespace torvelane::platform {

namespace {

// Administrators may give away and take over what others own, once the privilege that they have is switched on.
class RestorePrivilege {
public:
    RestorePrivilege()
    {
        std::ignore = OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, m_token.put());
        TOKEN_PRIVILEGES wanted{.PrivilegeCount = 1, .Privileges = {{.Luid = {}, .Attributes = SE_PRIVILEGE_ENABLED}}};
        DWORD sizeBytes = 0;
        if (m_token && LookupPrivilegeValueW(nullptr, SE_RESTORE_NAME, &wanted.Privileges[0].Luid))
            AdjustTokenPrivileges(m_token.get(), FALSE, &wanted, sizeof(m_before), &m_before, &sizeBytes);
    }

    ~RestorePrivilege()
    {
        if (m_before.PrivilegeCount > 0)
            AdjustTokenPrivileges(m_token.get(), FALSE, &m_before, 0, nullptr, nullptr);
    }

    RestorePrivilege(const RestorePrivilege&) = delete;
    RestorePrivilege& operator=(const RestorePrivilege&) = delete;

private:
    OwnedHandle m_token;
    TOKEN_PRIVILEGES m_before{};
};

enum class Links { Refuse, Open };

// Opens a file or directory itself: someone may have put a junction to a directory of the system there, which would be
// read, changed or held instead. Null with Links::Refuse if there is one.
OwnedHandle openItself(const QString& path, DWORD access, DWORD share, Links links = Links::Refuse)
{
    OwnedHandle file = ownFile(CreateFileW(wide(QDir::toNativeSeparators(path)), access, share, nullptr, OPEN_EXISTING,
                                           FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    BY_HANDLE_FILE_INFORMATION information{};
    if (!file || !GetFileInformationByHandle(file.get(), &information))
        return {};
    if (links == Links::Refuse && (information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT))
        return {};
    return file;
}

constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

bool applyDescriptor(const QString& path, const QString& sddl)
{
    OwnedLocal<void> descriptor;
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(wide(sddl), SDDL_REVISION_1, descriptor.put(), nullptr))
        return false;
    PSID newOwner = nullptr;
    PACL accessList = nullptr;
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    const OwnedHandle file = openItself(path, READ_CONTROL | WRITE_DAC | WRITE_OWNER, shareAll);
    return file && GetSecurityDescriptorOwner(descriptor.get(), &newOwner, &defaulted)
        && GetSecurityDescriptorDacl(descriptor.get(), &present, &accessList, &defaulted) && present
        && SetSecurityInfo(file.get(), SE_FILE_OBJECT,
                           OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION,
                           newOwner, nullptr, accessList, nullptr)
        == ERROR_SUCCESS;
}

// Owner: Administrators, for an owner may change the access list whatever it says. Full access for the system and
// administrators, reading and entering for the user, nothing from the parent (P), and the same for what will be made
// inside a directory (OICI).
QString descriptorText(const QString& user, const QFileInfo& entry)
{
    // Whoever may read a lock file can lock it, and keep this program waiting.
    if (!entry.isDir() && entry.fileName().endsWith(lockFileSuffix, Qt::CaseInsensitive))
        return administratorsOnly;
    return QStringLiteral("O:BAD:P(A;%1;FA;;;SY)(A;%1;FA;;;BA)(A;%1;FRFX;;;%2)")
        .arg(entry.isDir() ? QStringLiteral("OICI") : QString(), user);
}

// What was put into the directory before, which would otherwise keep its owner and its own rights. A directory is
// entered only after it was found to be no link and nobody else can exchange what is in it any more.
bool protectEntries(const QString& directory, const QString& user)
{
    bool all = true;
    const QFileInfoList entries =
        QDir(directory).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QFileInfo& entry : entries) {
        const QString path = entry.filePath();
        const bool itself = applyDescriptor(path, descriptorText(user, entry));
        all = itself && (!entry.isDir() || protectEntries(path, user)) && all;
    }
    return all;
}

} // namespace

FileOwner fileOwner(const QString& path)
{
    const OwnedHandle file = openItself(path, READ_CONTROL, shareAll, Links::Open);
    if (!file)
        return FileOwner::Unknown;
    BY_HANDLE_FILE_INFORMATION information{};
    if (GetFileInformationByHandle(file.get(), &information)
        && (information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT)) {
        return FileOwner::Other;
    }
    PSID owner = nullptr;
    OwnedLocal<void> descriptor;
    if (GetSecurityInfo(file.get(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr, nullptr,
                        descriptor.put())
            != ERROR_SUCCESS
        || !owner) {
        return FileOwner::Unknown;
    }
    return IsWellKnownSid(owner, WinBuiltinAdministratorsSid) || IsWellKnownSid(owner, WinLocalSystemSid)
        ? FileOwner::Privileged
        : FileOwner::Other;
}

bool protectDirectory(const QString& path)
{
    const QString user = currentUserId();
    const RestorePrivilege privilege;
    return !user.isEmpty() && applyDescriptor(path, descriptorText(user, QFileInfo(path)));
}

bool protectContents(const QString& path)
{
    const QString user = currentUserId();
    const RestorePrivilege privilege;
    return !user.isEmpty() && protectEntries(path, user);
}

DirectoryHold holdDirectory(const QString& path)
{
    // Sharing counts only for a handle that may read, write or delete data: listing a directory is reading it.
    constexpr DWORD access = FILE_LIST_DIRECTORY | SYNCHRONIZE;
    constexpr DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE;
    auto handles = std::make_shared<std::vector<OwnedHandle>>();
    handles->push_back(openItself(path, access, share));
    if (!handles->front())
        return nullptr;
    QDir above(path);
    while (above.cdUp())
        handles->push_back(openItself(above.path(), access, share, Links::Open));
    return handles;
}

} // namespace torvelane::platform
