#include "platform/PrivateFiles.h"

#include "platform/SystemTools.h"
#include "platform/windows/AccessRights.h"
#include "platform/windows/Owners.h"
#include "platform/windows/SystemDirectories.h"

#include <QDir>

#include <fcntl.h>
#include <io.h>

#include <sddl.h>

namespace torvelane::platform {

namespace {

class SecurityAttributes {
public:
    explicit SecurityAttributes(const QString& sddl)
    {
        if (ConvertStringSecurityDescriptorToSecurityDescriptorW(wide(sddl), SDDL_REVISION_1, m_descriptor.put(),
                                                                 nullptr)) {
            m_attributes.lpSecurityDescriptor = m_descriptor.get();
        }
    }

    /// Null if the text was refused, which would leave the usual access list.
    [[nodiscard]] SECURITY_ATTRIBUTES* get() { return m_attributes.lpSecurityDescriptor ? &m_attributes : nullptr; }

private:
    OwnedLocal<void> m_descriptor;
    SECURITY_ATTRIBUTES m_attributes{.nLength = sizeof(SECURITY_ATTRIBUTES),
                                     .lpSecurityDescriptor = nullptr,
                                     .bInheritHandle = FALSE};
};

Win32Error lastError()
{
    return static_cast<Win32Error>(GetLastError());
}

QString native(const QString& path)
{
    return QDir::toNativeSeparators(path);
}

/// A link itself is opened, not what it points to.
OwnedHandle openToRead(const QString& path, DWORD access, DWORD share)
{
    return ownFile(
        CreateFileW(wide(native(path)), access, share, nullptr, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
}

bool isLinkOrDirectory(HANDLE file, DWORD* links = nullptr)
{
    BY_HANDLE_FILE_INFORMATION information{};
    if (!GetFileInformationByHandle(file, &information))
        return true;
    if (links)
        *links = information.nNumberOfLinks;
    return (information.dwFileAttributes & (FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY)) != 0;
}

} // namespace

QString commonTemporaryDirectory()
{
    return QDir::fromNativeSeparators(windowsDirectory()) + QStringLiteral("/Temp");
}

Win32Error createPrivateDirectory(const QString& path)
{
    SecurityAttributes attributes(administratorsOnlyFolder);
    if (!attributes.get())
        return lastError();
    return CreateDirectoryW(wide(native(path)), attributes.get()) ? Win32Error::Success : lastError();
}

Win32Error createPrivateFile(const QString& path, QFile& out)
{
    SecurityAttributes attributes(administratorsOnly);
    if (!attributes.get())
        return lastError();
    OwnedHandle file = ownFile(CreateFileW(wide(native(path)), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ,
                                           attributes.get(), CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        const Win32Error error = lastError();
        return error == Win32Error::FileExists ? Win32Error::AlreadyExists : error;
    }
    const int descriptor = _open_osfhandle(reinterpret_cast<intptr_t>(file.get()), _O_BINARY);
    if (descriptor < 0)
        return Win32Error::InvalidHandle;
    std::ignore = file.release(); // the descriptor's from here on
    return out.open(descriptor, QIODevice::WriteOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle)
        ? Win32Error::Success
        : Win32Error::WriteFault;
}

FileHold holdFile(const QString& path)
{
    auto file = std::make_shared<OwnedHandle>(openToRead(path, GENERIC_READ, FILE_SHARE_READ));
    return *file && !isLinkOrDirectory(file->get()) ? file : nullptr;
}

bool isOrdinaryFile(const QString& path)
{
    const OwnedHandle file =
        openToRead(path, FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    DWORD links = 0;
    return file && !isLinkOrDirectory(file.get(), &links) && links == 1;
}

Win32Error startBatchFile(const QString& path, const QString& workingDirectory)
{
    const QString program = systemToolPath(QStringLiteral("cmd.exe"));
    // /d: the AutoRun commands below HKCU, which anyone without elevation can set, don't run elevated here.
    QString commandLine = QStringLiteral("\"%1\" /d /c \"\"%2\"\"").arg(native(program), native(path));
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    // The system writes into the command line.
    if (!CreateProcessW(wide(native(program)), reinterpret_cast<wchar_t*>(commandLine.data()), nullptr, nullptr, FALSE,
                        CREATE_NO_WINDOW, nullptr, wide(native(workingDirectory)), &startup, &process)) {
        return lastError();
    }
    const OwnedHandle thread(process.hThread);
    const OwnedHandle handle(process.hProcess);
    return Win32Error::Success;
}

} // namespace torvelane::platform
