#pragma once

#include "platform/Win32Error.h"

#include <QList>
#include <QString>

namespace torvelane::platform {

/// One running process.
struct RunningProcess {
    quint32 id = 0;
    QString executable; ///< File name, as the system spells it.
};

/// CreateToolhelp32Snapshot, Process32FirstW and Process32NextW: all processes, in the system's order. Replaces `out`,
/// which is empty on failure. Any thread; about a millisecond.
/// https://learn.microsoft.com/windows/win32/api/tlhelp32/nf-tlhelp32-createtoolhelp32snapshot
[[nodiscard]] Win32Error listProcesses(QList<RunningProcess>& out);

/// OpenProcess with PROCESS_QUERY_LIMITED_INFORMATION and QueryFullProcessImageNameW, for paths of up to 259 characters.
/// Empty if the process can't be opened, has ended, or lies deeper. Any thread.
[[nodiscard]] QString processImagePath(quint32 processId);

} // namespace torvelane::platform
