#include "platform/simulated/MachineSeed.h"

#include "platform/simulated/RegistryPath.h"
#include "platform/simulated/RegistryText.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

// A resource in a static library is linked only if something outside it asks for it.
static void makeResourceAvailable()
{
    Q_INIT_RESOURCE(simulated_pc);
}

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

bool readKey(const QString& keyName, const QJsonObject& values, MachineSeed& seed)
{
    const auto key = parseKeyName(keyName);
    if (!key || checkKeyPath(key->root, key->path) != Win32Error::Success)
        return false;
    const StoredPaths paths = storedPaths(key->root, key->path, seed.userSid);
    // A class in the seed is one of the machine, unless it is written below HKCU.
    const QString path = paths.second.isEmpty() ? paths.first : paths.second;
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

std::optional<MachineSeed> readMachineSeed(const QString& path, QString* error)
{
    const auto fail = [error](const QString& reason) {
        if (error)
            *error = reason;
        return std::nullopt;
    };

    makeResourceAvailable();
    QFile file(path.isEmpty() ? u":/torvelane/simulated-pc.json"_s : path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(u"Can't read %1: %2"_s.arg(file.fileName(), file.errorString()));

    QJsonParseError parseError;
    const QJsonObject root = QJsonDocument::fromJson(file.readAll(), &parseError).object();
    if (parseError.error != QJsonParseError::NoError)
        return fail(u"%1: %2 at %3"_s.arg(file.fileName(), parseError.errorString()).arg(parseError.offset));

    MachineSeed seed;
    seed.userName = root[u"user"][u"name"].toString();
    seed.userSid = root[u"user"][u"sid"].toString();
    seed.elevated = root[u"elevated"].toBool(true);
    if (seed.userName.isEmpty() || seed.userSid.isEmpty())
        return fail(u"%1: the user's name or SID is missing"_s.arg(file.fileName()));

    const QJsonObject registry = root[u"registry"].toObject();
    for (auto key = registry.begin(); key != registry.end(); ++key) {
        if (!readKey(key.key(), key->toObject(), seed))
            return fail(u"%1: the key %2 isn't well-formed"_s.arg(file.fileName(), key.key()));
    }
    return seed;
}

} // namespace torvelane::platform::simulated
