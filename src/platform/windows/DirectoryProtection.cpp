#include "platform/DirectoryProtection.h"

#include "platform/windows/Owners.h"

#include <QDir>
#include <QFileInfo>

#include <tuple>
#include <vector>

#include <aclapi.h>
#include <sddl.h>

namespace torvelane::platform {

namespace {

OwnedHandle processToken(DWORD access)
{
    OwnedHandle token;
    std::ignore = OpenProcessToken(GetCurrentProcess(), access, token.put());
    return token;
}

// The current user as a string such as S-1-5-21-..., empty if it can't be told.
QString userSid()
{
    const OwnedHandle token = processToken(TOKEN_QUERY);
    DWORD sizeBytes = 0;
    GetTokenInformation(token.get(), TokenUser, nullptr, 0, &sizeBytes);
    std::vector<std::byte> buffer(sizeBytes);
    if (!token || !GetTokenInformation(token.get(), TokenUser, buffer.data(), sizeBytes, &sizeBytes))
        return {};
    OwnedLocal<wchar_t> text;
    ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(buffer.data())->User.Sid, text.put());
    return QString::fromWCharArray(text ? text.get() : L"");
}

// Administrators may give away and take over what others own, once the privilege that they have is switched on.
class RestorePrivilege {
public:
    RestorePrivilege() : m_token(processToken(TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY))
    {
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

// Opened without following links: someone may have put a junction to a directory of the system there, whose access
// rights would be changed instead.
OwnedHandle openForProtection(const QString& path)
{
    OwnedHandle file =
        ownFile(CreateFileW(wide(QDir::toNativeSeparators(path)), READ_CONTROL | WRITE_DAC | WRITE_OWNER,
                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                            FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    BY_HANDLE_FILE_INFORMATION information{};
    if (!file || !GetFileInformationByHandle(file.get(), &information)
        || (information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT)) {
        return {};
    }
    return file;
}

bool applyDescriptor(const QString& path, const QString& sddl)
{
    OwnedLocal<void> descriptor;
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(wide(sddl), SDDL_REVISION_1, descriptor.put(), nullptr))
        return false;
    PSID newOwner = nullptr;
    PACL accessList = nullptr;
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    const OwnedHandle file = openForProtection(path);
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
QString descriptorText(const QString& user, bool directory)
{
    return QStringLiteral("O:BAD:P(A;%1;FA;;;SY)(A;%1;FA;;;BA)(A;%1;FRFX;;;%2)")
        .arg(directory ? QStringLiteral("OICI") : QString(), user);
}

// The directory, and then what was put into it before, which would otherwise keep its owner and its own rights. A
// directory is entered only after it was found to be no link and nobody else can exchange what is in it any more.
bool protectTree(const QString& directory, const QString& user)
{
    if (!applyDescriptor(directory, descriptorText(user, true)))
        return false;
    bool all = true;
    const QFileInfoList entries =
        QDir(directory).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QFileInfo& entry : entries) {
        const QString path = entry.filePath();
        all = (entry.isDir() ? protectTree(path, user) : applyDescriptor(path, descriptorText(user, false))) && all;
    }
    return all;
}

} // namespace

bool protectDirectory(const QString& path)
{
    const QString user = userSid();
    if (user.isEmpty())
        return false;
    const RestorePrivilege privilege;
    return protectTree(path, user);
}

} // namespace torvelane::platform
