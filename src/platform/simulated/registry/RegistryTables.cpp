#include "platform/simulated/registry/RegistryTables.h"

#include "platform/simulated/registry/RegistryPath.h"
#include "platform/simulated/registry/RegistryText.h"
#include "platform/simulated/store/Store.h"

#include <QJsonArray>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {
namespace {

/// The data of one value: a string, a number, a list of strings for REG_MULTI_SZ, or {"bytes": "0102"} for bytes that
/// don't fit the type.
std::optional<QByteArray> seedData(quint32 type, const QJsonValue& json)
{
    if (json.isObject())
        return dataFromText(regBinary, json[u"bytes"].toString());
    if (json.isArray()) {
        if (type != regMultiSz)
            return std::nullopt;
        QStringList texts;
        for (const QJsonValue& text : json.toArray())
            texts << text.toString();
        return multiStringData(texts);
    }
    if (json.isDouble())
        return dataFromText(type, QString::number(json.toInteger()));
    if (json.isString())
        return dataFromText(type, json.toString());
    return std::nullopt;
}

bool readSeededKey(const QString& keyName, const QJsonObject& values, const QString& userSid, RegistrySeed& seed)
{
    const auto key = parseKeyName(keyName);
    if (!key || checkKeyPath(key->root, key->path) != Win32Error::Success)
        return false;
    const QString path = storedPath(key->root, key->path, userSid);
    seed.keys << path;
    for (auto value = values.begin(); value != values.end(); ++value) {
        const QJsonArray pair = value->toArray();
        const auto type = typeFromName(pair.at(0).toString());
        const auto data = type && pair.size() == 2 ? seedData(*type, pair.at(1)) : std::nullopt;
        if (!data)
            return false;
        seed.values << SimulatedValue{path, value.key(), *type, *data};
    }
    return true;
}

} // namespace

StoredKey findKey(Store& store, const QString& path)
{
    Execution found(store.prepared(u"SELECT id, path FROM registryKey WHERE folded = ?"), {folded(path)});
    return found.next() ? StoredKey{found.value(0).toLongLong(), found.value(1).toString()} : StoredKey();
}

qint64 ensureKey(Store& store, const QString& path)
{
    if (path.isEmpty())
        return 0;
    if (const StoredKey key = findKey(store, path); key.id != 0)
        return key.id;
    qint64 parentId = 0;
    QString stored = path;
    if (const QString parent = parentPath(path).toString(); !parent.isEmpty()) {
        parentId = ensureKey(store, parent);
        if (parentId == 0)
            return 0;
        // The parent keeps the case that it was made with, and so does it inside the paths of its children.
        stored = findKey(store, parent).path % u'\\' % leafName(path);
    }
    const Execution inserted(store.prepared(u"INSERT INTO registryKey (parentId, folded, path) VALUES (?, ?, ?)"),
                             {parentId, folded(stored), stored});
    return inserted.isOk() ? inserted.insertedId() : 0;
}

int storeValue(Store& store, qint64 keyId, const QString& name, quint32 type, const QByteArray& data)
{
    return Execution(store.prepared(u"INSERT INTO registryValue (keyId, folded, name, type, data)"
                                    u" SELECT id, ?, ?, ?, ? FROM registryKey WHERE id = ?"
                                    u" ON CONFLICT (keyId, folded)"
                                    u" DO UPDATE SET type = excluded.type, data = excluded.data"),
                     {folded(name), notNull(name), type, notNull(data), keyId})
        .affectedRows();
}

int eraseValue(Store& store, qint64 keyId, const QString& name)
{
    return Execution(store.prepared(u"DELETE FROM registryValue WHERE keyId = ? AND folded = ?"), {keyId, folded(name)})
        .affectedRows();
}

bool eraseKeyTree(Store& store, qint64 id)
{
    const Execution values(
        store.prepared(u"WITH RECURSIVE tree (id) AS (SELECT ? UNION ALL SELECT k.id FROM registryKey k"
                       u" JOIN tree ON k.parentId = tree.id) DELETE FROM registryValue WHERE keyId IN tree"),
        {id});
    const Execution keys(
        store.prepared(u"WITH RECURSIVE tree (id) AS (SELECT ? UNION ALL SELECT k.id FROM registryKey k"
                       u" JOIN tree ON k.parentId = tree.id) DELETE FROM registryKey WHERE id IN tree"),
        {id});
    return values.isOk() && keys.isOk();
}

QList<SimulatedValue> allValues(Store& store)
{
    Execution query(store.prepared(u"SELECT k.folded, v.folded, k.path, v.name, v.type, v.data"
                                   u" FROM registryValue v JOIN registryKey k ON k.id = v.keyId"),
                    {});
    QList<std::pair<std::pair<QString, QString>, SimulatedValue>> rows;
    while (query.next()) {
        rows.emplaceBack(std::pair(query.value(0).toString(), query.value(1).toString()),
                         SimulatedValue{query.value(2).toString(), query.value(3).toString(), query.value(4).toUInt(),
                                        query.value(5).toByteArray()});
    }
    std::ranges::sort(
        rows, {}, [](const auto& row) -> const auto& { return row.first; });

    QList<SimulatedValue> values;
    values.reserve(rows.size());
    for (auto& row : rows)
        values << std::move(row.second);
    return values;
}

bool readRegistrySeed(const QJsonObject& document, const QString& userSid, RegistrySeed& seed, QString* badKey)
{
    for (auto key = document.begin(); key != document.end(); ++key) {
        *badKey = key.key();
        if (!readSeededKey(key.key(), key->toObject(), userSid, seed))
            return false;
    }
    return true;
}

bool fillRegistry(Store& store, const RegistrySeed& seed)
{
    for (const QString& path : seed.keys + QStringList{u"HKLM"_s, u"HKCU"_s, u"HKU"_s}) {
        if (ensureKey(store, path) == 0)
            return false;
    }
    return std::ranges::all_of(seed.values, [&store](const SimulatedValue& value) {
        return storeValue(store, ensureKey(store, value.keyPath), value.name, value.type, value.data) == 1;
    });
}

} // namespace torvelane::platform::simulated
