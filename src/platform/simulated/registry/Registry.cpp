#include "platform/Registry.h"

#include "platform/simulated/calls/Calls.h"
#include "platform/simulated/registry/RegistryDeletion.h"
#include "platform/simulated/registry/RegistryPath.h"
#include "platform/simulated/registry/RegistryTables.h"
#include "platform/simulated/registry/RegistryText.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace torvelane::platform {

using namespace simulated;

namespace {

/// What a handle points to.
struct OpenKey {
    quint64 epoch = 0;
    KeyAccess access = KeyAccess::Read;
    qint64 id = 0;
    QString path;
};

OpenKey* openKey(void* handle)
{
    return static_cast<OpenKey*>(handle);
}

/// A key as it is now, looked up together with conditions that hold now.
StoredKey lookUp(Store& store, RootKey root, const QString& path)
{
    for (;;) {
        const QString stored = storedPath(root, path, store.conditions().userSid);
        Execution found(store.prepared(u"SELECT k.id, k.path, m.generation FROM machine m"
                                       u" LEFT JOIN registryKey k ON k.folded = ?"),
                        {folded(stored)});
        if (!found.next())
            return {0, stored};
        if (store.isUpToDate(found.value(2).toLongLong()))
            return found.value(0).isNull() ? StoredKey{0, stored}
                                           : StoredKey{found.value(0).toLongLong(), found.value(1).toString()};
    }
}

/// What a fault answers to a query, which has no record: they are too many.
Win32Error strike(Store& store, const QString& name, const QStringList& arguments)
{
    if (store.conditions().faults.isEmpty())
        return Win32Error::Success;
    return static_cast<Win32Error>(Calls::strikeLook(store, {name, arguments}).value_or(0));
}

/// Whether the key may be opened for changes, made or deleted. An unelevated process may change nothing but its user's
/// own part.
Win32Error strikeWriting(Store& store, const QString& path)
{
    const Win32Error code = strike(store, QStringLiteral("registry.openToWrite"), {path});
    const bool isDenied = !store.conditions().elevated && !isSameOrBelow(folded(path), u"HKCU");
    return code == Win32Error::Success && isDenied ? Win32Error::AccessDenied : code;
}

/// Direct children of HKLM and HKU are hives, which no program can make:
/// https://learn.microsoft.com/windows/win32/api/winreg/nf-winreg-regcreatekeyexw
bool wouldCreateHive(Store& store, const QString& path)
{
    const QList<QStringView> parts = QStringView(path).split(u'\\');
    if (findKey(store, parts[0].toString()).id == 0)
        return true;
    const bool isBelowHives = parts[0] == u"HKLM" || parts[0] == u"HKU";
    return isBelowHives && parts.size() >= 2 && findKey(store, QString(parts[0] % u'\\' % parts[1])).id == 0;
}

struct FoundValue {
    Win32Error code = Win32Error::FileNotFound;
    quint32 type = 0;
    QByteArray data;
};

FoundValue findValue(Store& store, qint64 keyId, const QString& name)
{
    Execution found(store.prepared(u"SELECT k.id, v.type, v.data, m.generation FROM machine m"
                                   u" LEFT JOIN registryKey k ON k.id = ?"
                                   u" LEFT JOIN registryValue v ON v.keyId = k.id AND v.folded = ?"),
                    {keyId, folded(name)});
    if (!found.next())
        return {Win32Error::RegistryIoFailed, 0, {}};
    const QVariant id = found.value(0);
    const QVariant type = found.value(1);
    const QByteArray data = found.value(2).toByteArray();
    store.isUpToDate(found.value(3).toLongLong());
    if (id.isNull())
        return {Win32Error::KeyDeleted, 0, {}};
    return type.isNull() ? FoundValue() : FoundValue{Win32Error::Success, type.toUInt(), data};
}

/// Common beginning of every call on an open key.
Win32Error enter(const OpenKey* key, KeyAccess access, Store*& store)
{
    if (!key || key->epoch != Store::epoch())
        return Win32Error::InvalidHandle;
    if (key->access != access)
        return Win32Error::AccessDenied;
    store = Store::current();
    return store ? Win32Error::Success : Win32Error::RegistryIoFailed;
}

Win32Error queryValue(const OpenKey* key, const QString& call, const QString& name, FoundValue& out)
{
    Store* store = nullptr;
    if (const Win32Error code = enter(key, KeyAccess::Read, store); code != Win32Error::Success)
        return code;
    if (const Win32Error code = checkValueName(name); code != Win32Error::Success)
        return code;
    out = findValue(*store, key->id, name);
    const Win32Error code = strike(*store, call, {key->path, name});
    return code == Win32Error::Success ? out.code : code;
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
    Store* const store = Store::current();
    if (!store)
        return Win32Error::RegistryIoFailed;

    const StoredKey found = lookUp(*store, root, path);
    const Win32Error code = access == KeyAccess::Read
        ? strike(*store, QStringLiteral("registry.openToRead"), {found.path})
        : strikeWriting(*store, found.path);
    if (code != Win32Error::Success)
        return code;
    if (found.id == 0)
        return Win32Error::FileNotFound;
    out.m_handle = new OpenKey{Store::epoch(), access, found.id, found.path};
    return Win32Error::Success;
}

Win32Error RegistryKey::create(RootKey root, const QString& path, RegistryKey& out)
{
    out.close();
    if (const Win32Error code = checkKeyPath(root, path); code != Win32Error::Success)
        return code;
    Store* const store = Store::current();
    if (!store)
        return Win32Error::RegistryIoFailed;

    StoredKey key = lookUp(*store, root, path);
    if (const Win32Error code = strikeWriting(*store, key.path); code != Win32Error::Success)
        return code;
    if (key.id == 0) {
        if (wouldCreateHive(*store, key.path))
            return Win32Error::InvalidParameter;
        const Win32Error code = Calls::run({QStringLiteral("registry.createKey"), {key.path}}, [&key](Store& tables) {
            key.id = ensureKey(tables, key.path);
            return key.id == 0 ? Win32Error::RegistryIoFailed : Win32Error::Success;
        });
        if (code != Win32Error::Success)
            return code;
    }
    out.m_handle = new OpenKey{Store::epoch(), KeyAccess::SetValue, key.id, key.path};
    return Win32Error::Success;
}

Win32Error RegistryKey::querySize(const QString& name, quint32& type, quint32& sizeBytes) const
{
    FoundValue value;
    if (const Win32Error code = queryValue(openKey(m_handle), QStringLiteral("registry.querySize"), name, value);
        code != Win32Error::Success)
        return code;
    type = value.type;
    sizeBytes = static_cast<quint32>(value.data.size());
    return Win32Error::Success;
}

Win32Error RegistryKey::query(const QString& name, std::span<std::byte> buffer, quint32& type, quint32& sizeBytes) const
{
    FoundValue value;
    if (const Win32Error code = queryValue(openKey(m_handle), QStringLiteral("registry.query"), name, value);
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
    Store* store = nullptr;
    if (const Win32Error code = enter(key, KeyAccess::SetValue, store); code != Win32Error::Success)
        return code;
    if (const Win32Error code = checkValueName(name); code != Win32Error::Success)
        return code;

    const QByteArray bytes(reinterpret_cast<const char*>(data.data()), static_cast<qsizetype>(data.size()));
    return Calls::run({QStringLiteral("registry.setValue"), {key->path, name, typeName(type), dataText(type, bytes)}},
                      [&](Store& tables) {
                          return codeForRows(storeValue(tables, key->id, name, type, bytes), Win32Error::KeyDeleted);
                      });
}

Win32Error RegistryKey::deleteValue(const QString& name)
{
    const OpenKey* const key = openKey(m_handle);
    Store* store = nullptr;
    if (const Win32Error code = enter(key, KeyAccess::SetValue, store); code != Win32Error::Success)
        return code;
    if (const Win32Error code = checkValueName(name); code != Win32Error::Success)
        return code;

    // A value that isn't there makes no change.
    if (const FoundValue value = findValue(*store, key->id, name); value.code != Win32Error::Success)
        return value.code;
    return Calls::run({QStringLiteral("registry.deleteValue"), {key->path, name}}, [&](Store& tables) {
        return codeForRows(eraseValue(tables, key->id, name), Win32Error::FileNotFound);
    });
}

Win32Error RegistryKey::subkeyNames(QStringList& out) const
{
    out.clear();
    const OpenKey* const key = openKey(m_handle);
    Store* store = nullptr;
    if (const Win32Error code = enter(key, KeyAccess::Read, store); code != Win32Error::Success)
        return code;

    Execution paths(store->prepared(u"SELECT path FROM registryKey WHERE parentId = ?"), {key->id});
    while (paths.next())
        out << leafName(paths.value(0).toString()).toString();
    // Windows keeps subkeys sorted, and values in the order of their making.
    std::ranges::sort(out, {}, [](const QString& name) { return folded(name); });
    return Win32Error::Success;
}

Win32Error RegistryKey::valueNames(QStringList& out) const
{
    out.clear();
    const OpenKey* const key = openKey(m_handle);
    Store* store = nullptr;
    if (const Win32Error code = enter(key, KeyAccess::Read, store); code != Win32Error::Success)
        return code;

    Execution names(store->prepared(u"SELECT name FROM registryValue WHERE keyId = ? ORDER BY id"), {key->id});
    while (names.next())
        out << names.value(0).toString();
    return Win32Error::Success;
}

namespace simulated {

Win32Error deleteKeyTree(RootKey root, const QString& path)
{
    if (const Win32Error code = checkKeyPath(root, path); code != Win32Error::Success)
        return code;
    Store* const store = Store::current();
    if (!store)
        return Win32Error::RegistryIoFailed;

    const StoredKey key = lookUp(*store, root, path);
    if (const Win32Error code = strikeWriting(*store, key.path); code != Win32Error::Success)
        return code;
    if (key.id == 0)
        return Win32Error::FileNotFound;
    // A hive and a root stay where they are.
    if (key.path.count(u'\\') < (isSameOrBelow(folded(key.path), u"HKCU") ? 1 : 2))
        return Win32Error::AccessDenied;
    return Calls::run({QStringLiteral("registry.deleteKey"), {key.path}}, [&key](Store& tables) {
        return eraseKeyTree(tables, key.id) ? Win32Error::Success : Win32Error::RegistryIoFailed;
    });
}

} // namespace simulated
} // namespace torvelane::platform
