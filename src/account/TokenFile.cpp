#include "account/TokenFile.h"

#include "core/Paths.h"
#include "core/WholeFile.h"
#include "platform/SecretBox.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

namespace torvelane::TokenFile {

namespace {

constexpr int formatVersion = 1;

/// A token takes some hundred bytes; a longer file isn't one.
constexpr qint64 maxSizeBytes = 64 * 1024;

const QString keyVersion = QStringLiteral("version");
const QString keySignedIn = QStringLiteral("signedIn");
const QString keyUserName = QStringLiteral("userName");
const QString keyTier = QStringLiteral("tier");
const QString keyStartedAtMs = QStringLiteral("startedAtMs");

} // namespace

ReadResult read(Session& out)
{
    out = Session();
    QFile file(Paths::tokenFile());
    if (!file.exists())
        return ReadResult::Absent;
    QByteArray plain;
    if (!WholeFile::open(file) || file.size() > maxSizeBytes
        || !platform::unprotectSecret(file.read(maxSizeBytes), plain)) {
        return ReadResult::Damaged;
    }
    const QJsonObject object = QJsonDocument::fromJson(plain).object();
    if (object.value(keyVersion).toInt() != formatVersion || !object.value(keySignedIn).isBool())
        return ReadResult::Damaged;
    out.signedIn = object.value(keySignedIn).toBool();
    out.userName = object.value(keyUserName).toString();
    out.tier = tierFromString(object.value(keyTier).toString());
    out.startedAt = QDateTime::fromMSecsSinceEpoch(object.value(keyStartedAtMs).toInteger());
    return ReadResult::Read;
}

bool write(const Session& session)
{
    const QJsonObject object{{keyVersion, formatVersion},
                             {keySignedIn, session.signedIn},
                             {keyUserName, session.userName},
                             {keyTier, tierName(session.tier)},
                             {keyStartedAtMs, session.startedAt.toMSecsSinceEpoch()}};
    QByteArray cipher;
    return platform::protectSecret(QJsonDocument(object).toJson(QJsonDocument::Compact), cipher)
        && WholeFile::write(Paths::tokenFile(), cipher) == WholeFile::WriteError::None;
}

} // namespace torvelane::TokenFile
