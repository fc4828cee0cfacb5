// What the update's script needs of Windows and Wine lacks, in one program: the name that it is started by says which
// tool it is. Only for the test prefix, never shipped. Each does what the script asks of it and fails at anything else.

#include <windows.h>

#include <wincrypt.h>

#include <cstdio>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Arguments = std::vector<std::wstring>;

int refuse(const wchar_t* tool)
{
    std::fwprintf(stderr, L"The stand-in for %ls doesn't know this\n", tool);
    return 99;
}

/// The number behind an option such as /R:10; -1 if it isn't there.
int numberOf(const Arguments& arguments, const std::wstring& option)
{
    for (const std::wstring& argument : arguments) {
        if (argument.rfind(option, 0) == 0)
            return std::stoi(argument.substr(option.size()));
    }
    return -1;
}

// Its exit codes are bits: https://learn.microsoft.com/windows-server/administration/windows-commands/robocopy
constexpr int copiedSome = 1;
constexpr int failedSome = 8;
constexpr int failedAll = 16;

bool isSame(const fs::path& one, const fs::path& other)
{
    std::error_code error;
    return fs::file_size(one, error) == fs::file_size(other, error) && !error
        && fs::last_write_time(one, error) == fs::last_write_time(other, error) && !error;
}

bool copyWithRetries(const fs::path& from, const fs::path& to, int retries, int waitS)
{
    for (int i = 0; !CopyFileW(from.c_str(), to.c_str(), FALSE); ++i) {
        std::wprintf(L"ERROR %lu copying %ls\n", GetLastError(), to.c_str());
        std::fflush(stdout); // for whoever reads along
        if (i == retries)
            return false;
        Sleep(static_cast<DWORD>(waitS) * 1000);
    }
    std::wprintf(L"New File %ls\n", to.c_str());
    return true;
}

/// robocopy SOURCE TARGET /E /R:n /W:n /NP
int robocopy(const Arguments& arguments)
{
    const int retries = numberOf(arguments, L"/R:");
    const int waitS = numberOf(arguments, L"/W:");
    if (arguments.size() != 6 || retries < 0 || waitS < 0)
        return refuse(L"robocopy");
    const fs::path source = arguments[0];
    const fs::path target = arguments[1];
    std::error_code error;
    if (!fs::is_directory(source, error))
        return failedAll;
    int code = 0;
    fs::create_directories(target, error);
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(source)) {
        const fs::path to = target / fs::relative(entry.path(), source);
        if (entry.is_directory())
            fs::create_directories(to, error);
        else if (!isSame(entry.path(), to))
            code |= copyWithRetries(entry.path(), to, retries, waitS) ? copiedSome : failedSome;
    }
    return code;
}

/// findstr /C:"TEXT": the lines of the standard input with a literal in them.
int findstr(const Arguments& arguments)
{
    if (arguments.size() != 1 || arguments[0].rfind(L"/C:", 0) != 0)
        return refuse(L"findstr");
    const std::wstring wanted = arguments[0].substr(3);
    const std::string text(wanted.begin(), wanted.end());
    bool found = false;
    for (std::string line; std::getline(std::cin, line);) {
        if (line.find(text) != std::string::npos) {
            std::cout << line << '\n';
            found = true;
        }
    }
    return found ? 0 : 1;
}

/// powershell -NoProfile -Command "Wait-Process -Id n -ErrorAction SilentlyContinue"
int powershell(const Arguments& arguments)
{
    DWORD id = 0;
    if (arguments.size() != 3 || arguments[0] != L"-NoProfile" || arguments[1] != L"-Command"
        || std::swscanf(arguments[2].c_str(), L"Wait-Process -Id %lu -ErrorAction SilentlyContinue", &id) != 1) {
        return refuse(L"powershell");
    }
    HANDLE const process = OpenProcess(SYNCHRONIZE, FALSE, id);
    if (!process)
        return 1;
    WaitForSingleObject(process, INFINITE);
    CloseHandle(process);
    return 0;
}

/// trust-authority FILE: has this machine trust the certificate authority in a DER file.
int trustAuthority(const Arguments& arguments)
{
    std::ifstream file(fs::path(arguments.at(0)), std::ios::binary);
    const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
    HCERTSTORE const store = CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_LOCAL_MACHINE, L"Root");
    const bool done = store
        && CertAddEncodedCertificateToStore(store, X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(bytes.data()),
                                            static_cast<DWORD>(bytes.size()), CERT_STORE_ADD_REPLACE_EXISTING, nullptr);
    if (store)
        CertCloseStore(store, 0);
    return done ? 0 : 1;
}

/// hold-file FILE MARKER: keeps others from writing a file for as long as the other one is there.
int holdFile(const Arguments& arguments)
{
    HANDLE const file =
        CreateFileW(arguments.at(0).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return 1;
    while (GetFileAttributesW(arguments.at(1).c_str()) != INVALID_FILE_ATTRIBUTES)
        Sleep(100);
    CloseHandle(file);
    return 0;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    const std::wstring tool = fs::path(argv[0]).stem().wstring();
    const Arguments arguments(argv + 1, argv + argc);
    const std::pair<const wchar_t*, int (*)(const Arguments&)> tools[] = {{L"robocopy", robocopy},
                                                                          {L"findstr", findstr},
                                                                          {L"powershell", powershell},
                                                                          {L"trust-authority", trustAuthority},
                                                                          {L"hold-file", holdFile}};
    for (const auto& [name, run] : tools) {
        if (_wcsicmp(tool.c_str(), name) == 0)
            return run(arguments);
    }
    return refuse(tool.c_str());
}
