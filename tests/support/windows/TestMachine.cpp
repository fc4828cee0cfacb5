#include "support/TestMachine.h"
#include "support/windows/Native.h"

#include <QDir>
#include <QRegularExpression>
#include <QStandardPaths>

#include <algorithm>
#include <string>
#include <vector>

using namespace Qt::StringLiterals;

namespace torvelane::test {

namespace {

/// Keys that Wine itself changes while it runs: the desktop windows, adapters and devices of the session. And the
/// registrations of COM for the whole machine, where nothing of the program's writes: four fifths of all keys.
bool isLeftOut(const QString& shownAs)
{
    static const QRegularExpression pattern(
        uR"(^(HKCU\\(Volatile Environment|Software\\Wine\\)|HKLM\\SOFTWARE\\(Wow6432Node\\)?Classes$|)"
        uR"(HKLM\\SYSTEM\\CurrentControlSet\\(Control\\(Video|DeviceClasses)|Enum|Hardware Profiles)))"_s,
        QRegularExpression::CaseInsensitiveOption);
    return pattern.match(shownAs).hasMatch();
}

/// By index and from key to key: the suites read this reach some hundred times, and a name that is looked up from the top
/// costs a call for each part of its path.
void collect(HKEY parent, const QString& name, const QString& shownAs, MachineImage& image)
{
    HKEY key = nullptr;
    if (isLeftOut(shownAs) || RegOpenKeyExW(parent, native(name), 0, KEY_READ | KEY_WOW64_64KEY, &key) != ERROR_SUCCESS)
        return;
    DWORD subkeys = 0;
    DWORD values = 0;
    DWORD longestName = 0;
    DWORD longestData = 0;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, &values, &longestName, &longestData,
                     nullptr, nullptr);
    std::wstring text(std::max<DWORD>(longestName, 255) + 1, L'\0');
    std::vector<BYTE> data(longestData);
    for (DWORD i = 0; i < values; ++i) {
        DWORD length = static_cast<DWORD>(text.size());
        DWORD sizeBytes = longestData;
        DWORD type = 0;
        if (RegEnumValueW(key, i, text.data(), &length, nullptr, &type, data.data(), &sizeBytes) == ERROR_SUCCESS) {
            image.values.append({shownAs, QString::fromWCharArray(text.data(), length), type,
                                 QByteArray(reinterpret_cast<const char*>(data.data()), sizeBytes)});
        }
    }
    for (DWORD i = 0; i < subkeys; ++i) {
        DWORD length = static_cast<DWORD>(text.size());
        if (RegEnumKeyExW(key, i, text.data(), &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS) {
            const auto subkey = QString::fromWCharArray(text.data(), length);
            collect(key, subkey, shownAs + u'\\' + subkey, image);
        }
    }
    RegCloseKey(key);
}

} // namespace

void TestMachine::enter()
{
    RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Torvelane");
}

void TestMachine::leave() const
{
    QDir(childDataDir()).removeRecursively();
    RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Torvelane");
}

QStringList TestMachine::childEnvironment() const
{
    return {};
}

QString TestMachine::childDataDir() const
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)).filePath(u"Torvelane"_s);
}

MachineImage TestMachine::image()
{
    MachineImage image;
    // The catalogue's reach. Below SYSTEM only the current control set, since the others alias it.
    collect(HKEY_LOCAL_MACHINE, u"SOFTWARE"_s, u"HKLM\\SOFTWARE"_s, image);
    collect(HKEY_LOCAL_MACHINE, u"SYSTEM\\CurrentControlSet"_s, u"HKLM\\SYSTEM\\CurrentControlSet"_s, image);
    collect(HKEY_USERS, u".DEFAULT"_s, u"HKU\\.DEFAULT"_s, image);
    collect(HKEY_CURRENT_USER, {}, u"HKCU"_s, image);
    return image;
}

} // namespace torvelane::test
