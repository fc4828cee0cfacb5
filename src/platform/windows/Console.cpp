#include "platform/Console.h"

#include <cstdio>
#include <cstdlib>

#include <io.h>
#include <windows.h>

namespace torvelane::platform {

namespace {

// Whether the stream was redirected by whoever started us. A console handle doesn't count: without a console of our own
// it leads nowhere until it is opened anew.
bool isRedirected(FILE* stream)
{
    const int descriptor = _fileno(stream);
    if (descriptor < 0)
        return false;
    auto* const handle = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
    switch (handle ? GetFileType(handle) : FILE_TYPE_UNKNOWN) {
    case FILE_TYPE_DISK:
    case FILE_TYPE_PIPE:
        return true;
    case FILE_TYPE_CHAR: {
        DWORD mode = 0;
        return !GetConsoleMode(handle, &mode); // NUL, or a serial line
    }
    default:
        return false;
    }
}

void reopenOnConsole(FILE* stream, const char* device, const char* mode)
{
    if (isRedirected(stream))
        return;
    FILE* reopened = nullptr;
    freopen_s(&reopened, device, mode, stream);
}

UINT parentOutputCodePage = 0;

// The console keeps a code page beyond our end. Ctrl+C, a closed window and a sign-out end the process without the exit
// handlers; false leaves them to do so.
BOOL WINAPI restoreCodePage(DWORD)
{
    SetConsoleOutputCP(parentOutputCodePage);
    return FALSE;
}

} // namespace

void prepareForCommandLine()
{
    // Windows needs no display to be chosen away: a verb makes no window.
}

void attachParentConsole()
{
    if (!AttachConsole(ATTACH_PARENT_PROCESS))
        return;
    // The console reads our bytes in its own code page.
    parentOutputCodePage = GetConsoleOutputCP();
    if (SetConsoleOutputCP(CP_UTF8)) {
        SetConsoleCtrlHandler(restoreCodePage, TRUE);
        std::atexit([] { restoreCodePage(CTRL_C_EVENT); });
    }
    reopenOnConsole(stdin, "CONIN$", "r");
    reopenOnConsole(stdout, "CONOUT$", "w");
    reopenOnConsole(stderr, "CONOUT$", "w");
}

} // namespace torvelane::platform
