#include "platform/Registry.h"

#include "platform/simulated/Machine.h"
#include "platform/simulated/RegistryDeletion.h"
#include "platform/simulated/RegistryPath.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace torvelane::platform {

using namespace simulated;

namespace {

/// What a handle points to. HKCR can show two keys at once; every other root has one.
struct OpenKey {
    quint64 epoch = 0;
    KeyAccess access = KeyAccess::Read;
    qint64 id = 0;
    qint64 mergedId = 0; ///< The machine's key behind the user's, 0 if there is none.
    QString path;
    QString mergedPath;
};

OpenKey* openKey(void* handle)
{
    return static_cast<OpenKey*>(handle);
}

bool isUserPath(const QString& foldedPath)
{
    return isSameOrBelow(foldedPath, u"HKCU");
}

/// An unelevated process may change nothing but its user's own part.
bool deniesWrites(const Conditions& conditions, const QString& foldedPath)
{
    return conditions.denies(FaultKind::DenyWrites, foldedPath) || (!conditions.elevated && !isUserPath(foldedPath));
}

struct FoundKey {
    qint64 id = 0;
    QString path;
};

/// The keys behind a name as they are now, together with conditions that hold now.
struct Lookup {
    StoredPaths paths;
    FoundKey first;
    FoundKey second;
};

Lookup lookUp(Machine& machine, RootKey root, const QString& path)
{
    for (;;) {
        Lookup result;
        result.paths = storedPaths(root, path, machine.conditions().userSid);
        bool isUpToDate = true;
        const auto find = [&](const QString& storedPath) -> FoundKey {
            if (storedPath.isEmpty())
                return {};
            Execution found(machine.prepared(Statement::FindKey), {folded(storedPath)});
            if (!found.next())
                return {};
            const FoundKey key{found.value(0).toLongLong(), found.value(1).toString()};
            isUpToDate = isUpToDate && found.value(2).toLongLong() == machine.conditions().generation;
            return key;
        };
        result.first = find(result.paths.first);
        result.second = find(result.paths.second);
        if (isUpToDate)
            return result;
        machine.refreshConditions();
    }
}

/// Direct children of HKLM and HKU are hives, which no program can make:
/// https://learn.microsoft.com/windows/win32/api/winreg/nf-winreg-regcreatekeyexw
bool wouldCreateHive(Machine& machine, const QString& path)
{
    const QList<QStringView> parts = QStringView(path).split(u'\\');
    const bool isBelowHives = parts[0] == u"HKLM" || parts[0] == u"HKU";
    return isBelowHives && parts.size() >= 2 && machine.findKey(QString(parts[0] % u'\\' % parts[1])) == 0;
}

struct FoundValue {
    Win32Error code = Win32Error::FileNotFound;
    quint32 type = 0;
    QByteArray data;
};

FoundValue findValue(Machine& machine, qint64 keyId, const QString& path, const QString& name, QueryStage stage)
{
    const QString foldedName = folded(name);
    FoundValue value;
    {
        Execution found(machine.prepared(Statement::FindValue), {keyId, foldedName});
        if (!found.next())
            return {Win32Error::RegistryIoFailed, 0, {}};
        (void)machine.isUpToDate(found.value(3).toLongLong());
        if (found.value(0).isNull())
            return {Win32Error::KeyDeleted, 0, {}};
        if (!found.value(1).isNull())
            value = {Win32Error::Success, found.value(1).toUInt(), found.value(2).toByteArray()};
    }
    if (const auto failure = machine.conditions().queryFailure(stage, folded(path), foldedName))
        value.code = *failure;
    return value;
}

/// Common beginning of every call on an open key.
Win32Error enter(const OpenKey* key, KeyAccess access, Machine*& machine)
{
    if (!key || key->epoch != Machine::epoch())
        return Win32Error::InvalidHandle;
    if (key->access != access)
        return Win32Error::AccessDenied;
    machine = Machine::current();
    return machine ? Win32Error::Success : Win32Error::RegistryIoFailed;
}

Win32Error queryValue(const OpenKey* key, const QString& name, QueryStage stage, FoundValue& out)
{
    Machine* machine = nullptr;
    if (const Win32Error code = enter(key, KeyAccess::Read, machine); code != Win32Error::Success)
        return code;
    if (const Win32Error code = checkValueName(name); code != Win32Error::Success)
        return code;
    out = findValue(*machine, key->id, key->path, name, stage);
    if (out.code == Win32Error::FileNotFound && key->mergedId != 0)
        out = findValue(*machine, key->mergedId, key->mergedPath, name, stage);
    return out.code;
}

/// Whether the fast way, one statement without a look at the observer and the counting faults, is open.
bool isPlain(const Machine& machine)
{
    return !Machine::hasObserver() && !machine.conditions().countsChanges();
}

Win32Error codeForRows(int affectedRows, Win32Error codeForNone)
{
    if (affectedRows < 0)
        return Win32Error::RegistryIoFailed;
    return affectedRows == 0 ? codeForNone : Win32Error::Success;
}

} // namespace

RegistryKey::~RegistryKey()
{
    close();
}

RegistryKey::RegistryKey(RegistryKey&& other) noexcept : m_handle(std::exchange(other.m_handle, nullptr)) { }

RegistryKey& RegistryKey::operator=(RegistryKey&& other) noexcept
{
    if (this != &other) {
        close();
        m_handle = std::exchange(other.m_handle, nullptr);
    }
    return *this;
}

void RegistryKey::close()
{
    delete openKey(std::exchange(m_handle, nullptr));
}

Win32Error RegistryKey::open(RootKey root, const QString& path, KeyAccess access, RegistryKey& out)
{
    out.close();
    if (const Win32Error code = checkKeyPath(root, path); code != Win32Error::Success)
        return code;
    Machine* const machine = Machine::current();
    if (!machine)
        return Win32Error::RegistryIoFailed;

    Lookup found = lookUp(*machine, root, path);
    const bool denied = std::ranges::any_of(std::array{found.paths.first, found.paths.second}, [&](const QString& p) {
        const FaultKind kind = access == KeyAccess::Read ? FaultKind::DenyReads : FaultKind::DenyWrites;
        return !p.isEmpty() && machine->conditions().denies(kind, folded(p));
    });
    if (denied)
        return Win32Error::AccessDenied;
    if (found.first.id == 0)
        std::swap(found.first, found.second);
    if (found.first.id == 0)
        return Win32Error::FileNotFound;
    if (access == KeyAccess::SetValue && deniesWrites(machine->conditions(), folded(found.first.path)))
        return Win32Error::AccessDenied;

    out.m_handle =
        new OpenKey{Machine::epoch(), access, found.first.id, found.second.id, found.first.path, found.second.path};
    return Win32Error::Success;
}

Win32Error RegistryKey::create(RootKey root, const QString& path, RegistryKey& out)
{
    out.close();
    if (const Win32Error code = checkKeyPath(root, path); code != Win32Error::Success)
        return code;
    Machine* const machine = Machine::current();
    if (!machine)
        return Win32Error::RegistryIoFailed;

    const Lookup found = lookUp(*machine, root, path);
    FoundKey target = found.first;
    // Below HKCR a key that the user has is the user's, and every other one the machine's:
    // https://learn.microsoft.com/windows/win32/sysinfo/hkey-classes-root-key
    if (target.id == 0 && !found.paths.second.isEmpty())
        target = found.second;
    if (target.path.isEmpty())
        target.path = found.paths.second.isEmpty() ? found.paths.first : found.paths.second;
    if (deniesWrites(machine->conditions(), folded(target.path)))
        return Win32Error::AccessDenied;

    if (target.id == 0) {
        if (wouldCreateHive(*machine, target.path))
            return Win32Error::InvalidParameter;
        const RegistryChange what{RegistryChange::Kind::CreateKey, target.path, {}, 0, {}};
        const Win32Error code = machine->change(what, [&] {
            target.id = machine->ensureKey(target.path);
            return target.id == 0 ? Win32Error::RegistryIoFailed : Win32Error::Success;
        });
        if (code != Win32Error::Success)
            return code;
    }
    out.m_handle = new OpenKey{Machine::epoch(), KeyAccess::SetValue, target.id, 0, target.path, {}};
    return Win32Error::Success;
}

Win32Error RegistryKey::querySize(const QString& name, quint32& type, quint32& sizeBytes) const
{
    FoundValue value;
    if (const Win32Error code = queryValue(openKey(m_handle), name, QueryStage::Size, value);
        code != Win32Error::Success)
        return code;
    type = value.type;
    sizeBytes = static_cast<quint32>(value.data.size());
    return Win32Error::Success;
}

Win32Error RegistryKey::query(const QString& name, std::span<std::byte> buffer, quint32& type, quint32& sizeBytes) const
{
    FoundValue value;
    if (const Win32Error code = queryValue(openKey(m_handle), name, QueryStage::Data, value);
        code != Win32Error::Success)
        return code;
    type = value.type;
    sizeBytes = static_cast<quint32>(value.data.size());
    if (sizeBytes > buffer.size())
        return Win32Error::MoreData;
    if (sizeBytes > 0)
        std::memcpy(buffer.data(), value.data.constData(), sizeBytes);
    return Win32Error::Success;
}

Win32Error RegistryKey::setValue(const QString& name, quint32 type, std::span<const std::byte> data)
{
    const OpenKey* const key = openKey(m_handle);
    Machine* machine = nullptr;
    if (const Win32Error code = enter(key, KeyAccess::SetValue, machine); code != Win32Error::Success)
        return code;
    if (const Win32Error code = checkValueName(name); code != Win32Error::Success)
        return code;

    const QByteArray bytes(reinterpret_cast<const char*>(data.data()), static_cast<qsizetype>(data.size()));
    const QString foldedName = folded(name);
    const auto store = [&](qint64 generation) {
        return Execution(machine->prepared(Statement::StoreValue),
                         {foldedName, notNull(name), type, notNull(bytes), key->id, generation})
            .affectedRows();
    };

    if (isPlain(*machine) && store(machine->conditions().generation) == 1)
        return Win32Error::Success;
    machine->refreshConditions();
    const RegistryChange what{RegistryChange::Kind::SetValue, key->path, name, type, bytes};
    return machine->change(what, [&] { return codeForRows(store(-1), Win32Error::KeyDeleted); });
}

Win32Error RegistryKey::deleteValue(const QString& name)
{
    const OpenKey* const key = openKey(m_handle);
    Machine* machine = nullptr;
    if (const Win32Error code = enter(key, KeyAccess::SetValue, machine); code != Win32Error::Success)
        return code;
    if (const Win32Error code = checkValueName(name); code != Win32Error::Success)
        return code;

    const QString foldedName = folded(name);
    const auto erase = [&](qint64 generation) {
        return Execution(machine->prepared(Statement::EraseValue), {key->id, foldedName, generation}).affectedRows();
    };

    if (isPlain(*machine) && erase(machine->conditions().generation) == 1)
        return Win32Error::Success;
    machine->refreshConditions();
    {
        Execution found(machine->prepared(Statement::FindValue), {key->id, foldedName});
        if (!found.next())
            return Win32Error::RegistryIoFailed;
        if (found.value(0).isNull())
            return Win32Error::KeyDeleted;
        if (found.value(1).isNull())
            return Win32Error::FileNotFound;
    }
    const RegistryChange what{RegistryChange::Kind::DeleteValue, key->path, name, 0, {}};
    return machine->change(what, [&] { return codeForRows(erase(-1), Win32Error::FileNotFound); });
}

Win32Error RegistryKey::subkeyNames(QStringList& out) const
{
    out.clear();
    const OpenKey* const key = openKey(m_handle);
    Machine* machine = nullptr;
    if (const Win32Error code = enter(key, KeyAccess::Read, machine); code != Win32Error::Success)
        return code;

    const auto add = [&](const QString& name) {
        if (!out.contains(name, Qt::CaseInsensitive))
            out << name;
    };
    for (const qint64 id : {key->id, key->mergedId}) {
        if (id == 0)
            continue;
        Execution paths(machine->prepared(Statement::SubkeyPaths), {id});
        while (paths.next())
            add(leafName(paths.value(0).toString()).toString());
    }
    // The second names of keys that are stored once.
    const QString path = folded(key->path);
    if (path == u"HKLM\\SYSTEM")
        add(QStringLiteral("ControlSet001"));
    if (path == u"HKU") {
        add(QStringLiteral("S-1-5-18"));
        add(machine->conditions().userSid);
        add(QString(machine->conditions().userSid % QStringLiteral("_Classes")));
    }
    // Windows keeps subkeys sorted, and values in the order of their making.
    std::ranges::sort(out, {}, [](const QString& name) { return folded(name); });
    return Win32Error::Success;
}

Win32Error RegistryKey::valueNames(QStringList& out) const
{
    out.clear();
    const OpenKey* const key = openKey(m_handle);
    Machine* machine = nullptr;
    if (const Win32Error code = enter(key, KeyAccess::Read, machine); code != Win32Error::Success)
        return code;

    for (const qint64 id : {key->id, key->mergedId}) {
        if (id == 0)
            continue;
        Execution names(machine->prepared(Statement::ValueNames), {id});
        while (names.next()) {
            const QString name = names.value(0).toString();
            if (!out.contains(name, Qt::CaseInsensitive))
                out << name;
        }
    }
    return Win32Error::Success;
}

namespace simulated {

Win32Error deleteKeyTree(RootKey root, const QString& path)
{
    if (const Win32Error code = checkKeyPath(root, path); code != Win32Error::Success)
        return code;
    Machine* const machine = Machine::current();
    if (!machine)
        return Win32Error::RegistryIoFailed;

    const Lookup found = lookUp(*machine, root, path);
    const FoundKey target = found.first.id != 0 ? found.first : found.second;
    const QString stored = target.id != 0 ? target.path : found.paths.first;
    if (deniesWrites(machine->conditions(), folded(stored)))
        return Win32Error::AccessDenied;
    if (target.id == 0)
        return Win32Error::FileNotFound;
    // A hive and a root stay where they are.
    if (target.path.count(u'\\') < (isUserPath(folded(target.path)) ? 1 : 2))
        return Win32Error::AccessDenied;

    const RegistryChange what{RegistryChange::Kind::DeleteKey, target.path, {}, 0, {}};
    return machine->change(
        what, [&] { return machine->eraseKeyTree(target.id) ? Win32Error::Success : Win32Error::RegistryIoFailed; });
}

} // namespace simulated
} // namespace torvelane::platform
