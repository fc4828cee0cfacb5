#include "support/TestMachine.h"

#include "platform/Registry.h"

#include <QDir>
#include <QRegularExpression>
#include <QStandardPaths>

#include <span>

#include <windows.h>

using namespace Qt::StringLiterals;

namespace torvelane::test {

using namespace platform;

namespace {

/// Keys that Wine itself changes while it runs: the desktop windows, adapters and devices of the session.
bool isVolatile(const QString& shownAs)
{
    static const QRegularExpression pattern(
        uR"(^(HKCU\\(Volatile Environment|Software\\Wine\\)|)"
        uR"(HKLM\\SYSTEM\\CurrentControlSet\\(Control\\(Video|DeviceClasses)|Enum|Hardware Profiles)))"_s,
        QRegularExpression::CaseInsensitiveOption);
    return pattern.match(shownAs).hasMatch();
}

void collect(RootKey root, const QString& path, const QString& shownAs, MachineImage& image)
{
    RegistryKey key;
    if (isVolatile(shownAs) || RegistryKey::open(root, path, KeyAccess::Read, key) != Win32Error::Success)
        return;
    QStringList names;
    std::ignore = key.valueNames(names);
    for (const QString& name : std::as_const(names)) {
        MachineValue value{shownAs, name, 0, {}};
        quint32 sizeBytes = 0;
        if (key.querySize(name, value.type, sizeBytes) != Win32Error::Success)
            continue;
        value.data.resize(sizeBytes);
        const auto buffer = std::as_writable_bytes(std::span(value.data.data(), sizeBytes));
        if (key.query(name, buffer, value.type, sizeBytes) == Win32Error::Success)
            image.values.append(value);
    }
    names.clear();
    std::ignore = key.subkeyNames(names);
    for (const QString& name : std::as_const(names))
        collect(root, path.isEmpty() ? name : path + u'\\' + name, shownAs + u'\\' + name, image);
}

} // namespace

void TestMachine::enter()
{
    RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Torvelane");
    _wputenv(L"QT_ENABLE_REGEXP_JIT=0"); // as prepareProcess does, which would take more away than a test can spare
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
    collect(RootKey::LocalMachine, u"SOFTWARE"_s, u"HKLM\\SOFTWARE"_s, image);
    collect(RootKey::LocalMachine, u"SYSTEM\\CurrentControlSet"_s, u"HKLM\\SYSTEM\\CurrentControlSet"_s, image);
    collect(RootKey::Users, u".DEFAULT"_s, u"HKU\\.DEFAULT"_s, image);
    collect(RootKey::CurrentUser, {}, u"HKCU"_s, image);
    return image;
}

} // namespace torvelane::test
