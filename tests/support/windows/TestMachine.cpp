#include "support/TestMachine.h"

#include "core/Log.h"
#include "core/Paths.h"
#include "platform/Registry.h"

#include <QDir>
#include <QStandardPaths>

#include <vector>

namespace torvelane::test {

using platform::codeSuccess;
using platform::RegistryKey;
using platform::RootKey;

namespace {

struct Root {
    RootKey key;
    QString path;
    QString shownAs;
};

/// What the catalogue reaches. Below SYSTEM only the current control set, since the others alias it.
const QList<Root>& roots()
{
    static const QList<Root> list{
        {RootKey::LocalMachine, QStringLiteral("SOFTWARE"), QStringLiteral("HKLM\\SOFTWARE")},
        {RootKey::LocalMachine, QStringLiteral("SYSTEM\\CurrentControlSet"),
         QStringLiteral("HKLM\\SYSTEM\\CurrentControlSet")},
        {RootKey::LocalMachine, QStringLiteral("SYSTEM\\ControlSet001"), QStringLiteral("HKLM\\SYSTEM\\ControlSet001")},
        {RootKey::Users, QStringLiteral(".DEFAULT"), QStringLiteral("HKU\\.DEFAULT")},
        {RootKey::CurrentUser, QString(), QStringLiteral("HKCU")},
    };
    return list;
}

/// What Wine itself changes while it runs: the desktop windows, adapters and devices of the session.
bool isVolatile(const QString& shownAs)
{
    static const QStringList prefixes{
        QStringLiteral("HKCU\\Volatile Environment"),
        QStringLiteral("HKCU\\Software\\Wine\\"),
        QStringLiteral("HKLM\\SYSTEM\\CurrentControlSet\\Control\\Video"),
        QStringLiteral("HKLM\\SYSTEM\\CurrentControlSet\\Enum"),
        QStringLiteral("HKLM\\SYSTEM\\CurrentControlSet\\Control\\DeviceClasses"),
        QStringLiteral("HKLM\\SYSTEM\\CurrentControlSet\\Hardware Profiles"),
        QStringLiteral("HKLM\\SYSTEM\\ControlSet001\\Control\\Video"),
        QStringLiteral("HKLM\\SYSTEM\\ControlSet001\\Enum"),
        QStringLiteral("HKLM\\SYSTEM\\ControlSet001\\Control\\DeviceClasses"),
    };
    for (const QString& prefix : prefixes) {
        if (shownAs.startsWith(prefix, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

void collect(RootKey root, const QString& path, const QString& shownAs, MachineImage& image)
{
    RegistryKey key;
    if (isVolatile(shownAs) || RegistryKey::open(root, path, platform::RegistryAccess::Read, key) != codeSuccess)
        return;
    QStringList names;
    if (key.valueNames(names) == codeSuccess) {
        for (const QString& name : std::as_const(names)) {
            MachineValue value{shownAs, name, 0, {}};
            quint32 sizeBytes = 0;
            if (key.querySize(name, value.type, sizeBytes) != codeSuccess)
                continue;
            std::vector<std::byte> buffer(sizeBytes);
            if (key.query(name, buffer, value.type, sizeBytes) != codeSuccess)
                continue;
            value.data = QByteArray(reinterpret_cast<const char*>(buffer.data()), static_cast<qsizetype>(sizeBytes));
            image.append(value);
        }
    }
    QStringList subkeys;
    if (key.subkeyNames(subkeys) != codeSuccess)
        return;
    for (const QString& subkey : std::as_const(subkeys)) {
        const QString below = path.isEmpty() ? subkey : path + QLatin1Char('\\') + subkey;
        collect(root, below, shownAs + QLatin1Char('\\') + subkey, image);
    }
}

} // namespace

TestMachine::TestMachine()
{
    closeLogging();
    Paths::setDataDirOverride(m_dir.filePath(QStringLiteral("Torvelane")));
    if (!Paths::ensureDataDir())
        qFatal("The data directory could not be made");
    initLogging(LogLevel::Debug);
}

TestMachine::~TestMachine()
{
    closeLogging();
    Paths::setDataDirOverride({});
    QDir(childDataDir()).removeRecursively();
}

QString TestMachine::dataDir() const
{
    return Paths::dataDir();
}

QString TestMachine::scratchFile(const QString& name) const
{
    return m_dir.filePath(name);
}

QStringList TestMachine::childEnvironment() const
{
    return {};
}

QString TestMachine::childDataDir() const
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation))
        .filePath(QStringLiteral("Torvelane"));
}

MachineImage TestMachine::image()
{
    MachineImage image;
    for (const Root& root : roots())
        collect(root.key, root.path, root.shownAs, image);
    return image;
}

} // namespace torvelane::test
