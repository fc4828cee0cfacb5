#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

namespace torvelane::platform::simulated {

class Store;

/// One value of the simulated registry, with its bytes as stored.
struct SimulatedValue {
    QString keyPath; ///< Below HKLM, HKCU or HKU; see storedPath.
    QString name;
    quint32 type = 0;
    QByteArray data;
};

/// A key and its stored path, in the letter case that it was made with. The number is 0 if there is no such key.
struct StoredKey {
    qint64 id = 0;
    QString path;
};

[[nodiscard]] StoredKey findKey(Store& store, const QString& path);

/// Number of a key, made with its missing parents. To be called inside a transaction. 0 on failure.
[[nodiscard]] qint64 ensureKey(Store& store, const QString& path);

/// Number of values stored or removed: 0 if the key, or the value to be removed, isn't there; -1 on failure.
[[nodiscard]] int storeValue(Store& store, qint64 keyId, const QString& name, quint32 type, const QByteArray& data);
[[nodiscard]] int eraseValue(Store& store, qint64 keyId, const QString& name);

/// Removes a key with its values and everything below it. To be called inside a transaction.
[[nodiscard]] bool eraseKeyTree(Store& store, qint64 id);

/// Every value, sorted by key path and name without regard to case.
[[nodiscard]] QList<SimulatedValue> allValues(Store& store);

/// The registry as the seed describes it.
struct RegistrySeed {
    QStringList keys; ///< Missing parents come with them.
    QList<SimulatedValue> values;
};

/// False, with the name of the key, if a key isn't well-formed.
[[nodiscard]] bool readRegistrySeed(const QJsonObject& document, const QString& userSid, RegistrySeed& seed,
                                    QString* badKey);

/// Fills empty tables. To be called inside a transaction.
[[nodiscard]] bool fillRegistry(Store& store, const RegistrySeed& seed);

} // namespace torvelane::platform::simulated
