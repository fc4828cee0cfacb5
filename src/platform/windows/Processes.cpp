#include "platform/Processes.h"

#include "platform/windows/Owners.h"

#include <tlhelp32.h>

#include <array>

namespace torvelane::platform {

namespace {

/// MAX_PATH, which leaves room for 259 characters and the NUL.
constexpr std::size_t pathBufferLength = 260;

} // namespace

Win32Error listProcesses(QList<RunningProcess>& out)
{
    out.clear();
    const OwnedHandle snapshot = ownFile(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    if (!snapshot)
        return static_cast<Win32Error>(GetLastError());
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Process32FirstW(snapshot.get(), &entry); more; more = Process32NextW(snapshot.get(), &entry))
        out.append({entry.th32ProcessID, QString::fromWCharArray(entry.szExeFile)});
    return Win32Error::Success;
}

QString processImagePath(quint32 processId)
{
    const OwnedHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    if (!process)
        return {};
    std::array<wchar_t, pathBufferLength> path{};
    DWORD length = static_cast<DWORD>(path.size());
    if (!QueryFullProcessImageNameW(process.get(), 0, path.data(), &length))
        return {};
    return QString::fromWCharArray(path.data(), static_cast<qsizetype>(length));
}

} // namespace torvelane::platform
