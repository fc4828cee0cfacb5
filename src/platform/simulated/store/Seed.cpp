#include "platform/simulated/store/Seed.h"

#include <QFile>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

// A resource in a static library is linked only if something outside it asks for it.
static void makeResourceAvailable()
{
    Q_INIT_RESOURCE(simulated_pc);
}

namespace torvelane::platform::simulated {

std::optional<Seed> readSeed(const QString& path, QString* error)
{
    const auto fail = [error](const QString& reason) {
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

    Seed seed;
    for (auto entry = root.begin(); entry != root.end(); ++entry) {
        if (entry.key().startsWith(u'_') || entry.key() == "registry"_L1)
            continue;
        if (!entry->isObject())
            return fail(u"%1: %2 is no object"_s.arg(file.fileName(), entry.key()));
        seed.documents.insert(entry.key(), entry->toObject());
    }
    const QString userSid = seed.documents[u"user"_s][u"sid"].toString();
    if (userSid.isEmpty())
        return fail(u"%1: the user's SID is missing"_s.arg(file.fileName()));
    QString key;
    if (!readRegistrySeed(root[u"registry"].toObject(), userSid, seed.registry, &key))
        return fail(u"%1: the key %2 isn't well-formed"_s.arg(file.fileName(), key));
    return seed;
}

} // namespace torvelane::platform::simulated
