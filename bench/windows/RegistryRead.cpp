// Reading a value through readValue against the bare system calls that it makes: open the key, ask for the size, read,
// close. Both take turns in one run; printed is the median of the ratios of neighbours.

#include "system/RegistryAccess.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <windows.h>

namespace {

using namespace torvelane;

constexpr int rounds = 101;
constexpr int readsPerRound = 500;
constexpr wchar_t path[] = L"Software\\Torvelane\\Benchmark";

void require(bool condition)
{
    if (!condition)
        std::abort();
}

void readThroughTorvelane(const QString& key, const QString& name)
{
    RegistryValue value;
    require(readValue(RegistryHive::CurrentUser, key, name, value) && value.exists);
}

void readBare(const wchar_t* name)
{
    HKEY key = nullptr;
    DWORD type = REG_NONE;
    DWORD sizeBytes = 0;
    std::array<BYTE, 256> buffer;
    require(RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_READ, &key) == ERROR_SUCCESS);
    require(RegQueryValueExW(key, name, nullptr, &type, nullptr, &sizeBytes) == ERROR_SUCCESS);
    require(sizeBytes <= buffer.size());
    require(RegQueryValueExW(key, name, nullptr, &type, buffer.data(), &sizeBytes) == ERROR_SUCCESS);
    RegCloseKey(key);
}

template <typename Read>
double roundUs(Read read)
{
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < readsPerRound; ++i)
        read();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count() / readsPerRound;
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

void compare(const char* what, const wchar_t* wideName)
{
    const QString key = QString::fromWCharArray(path);
    const QString name = QString::fromWCharArray(wideName);
    std::vector<double> ratios;
    std::vector<double> torvelaneUs;
    std::vector<double> bareUs;
    for (int i = 0; i < rounds; ++i) {
        double subject = 0;
        if (i % 2 == 0)
            subject = roundUs([&] { readThroughTorvelane(key, name); });
        const double bare = roundUs([&] { readBare(wideName); });
        if (i % 2 != 0)
            subject = roundUs([&] { readThroughTorvelane(key, name); });
        torvelaneUs.push_back(subject);
        bareUs.push_back(bare);
        ratios.push_back(subject / bare);
    }
    std::printf("%-6s  readValue %.2f us, bare calls %.2f us, ratio %.3f\n", what, median(torvelaneUs), median(bareUs),
                median(ratios));
}

} // namespace

int main()
{
    const QString key = QString::fromWCharArray(path);
    require(writeDword(RegistryHive::CurrentUser, key, QStringLiteral("Number"), 42)
            && writeString(RegistryHive::CurrentUser, key, QStringLiteral("Text"),
                           QStringLiteral("C:\\Windows\\System32\\drivers\\etc"), false));
    compare("dword", L"Number");
    compare("text", L"Text");
    RegDeleteKeyW(HKEY_CURRENT_USER, path);
    return 0;
}
