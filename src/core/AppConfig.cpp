#include "core/AppConfig.h"

#include "core/Deployment.h"
#include "core/JsonFile.h"
#include "core/Log.h"
#include "core/Paths.h"

#include <QJsonObject>

namespace torvelane {

namespace {

/// Far above any real file.
constexpr qint64 maxSizeBytes = 1024 * 1024;

const QString category = QStringLiteral("config");
const QString keyApiBaseUrl = QStringLiteral("apiBaseUrl");
const QString keyAutoStart = QStringLiteral("autoStart");
const QString keyHeartbeatIntervalMs = QStringLiteral("heartbeatIntervalMs");
const QString keyLastEmail = QStringLiteral("lastEmail");

/// Replaces `field` only by a string, so that a wrong type keeps the default while an empty string doesn't.
void takeString(const QJsonObject& object, const QString& key, QString& field)
{
    const QJsonValue value = object.value(key);
    if (value.isString())
        field = value.toString();
}

} // namespace

AppConfig::AppConfig() : apiBaseUrl(deployment::apiBaseUrl) { }

void AppConfig::load()
{
    *this = AppConfig();
    const auto [error, reason, object] = JsonFile::read(Paths::configFile(), maxSizeBytes);
    switch (error) {
    case JsonFile::ReadError::None:
        break;
    case JsonFile::ReadError::Absent:
        return;
    case JsonFile::ReadError::Unreadable:
        logMessage(LogLevel::Warn, category, QStringLiteral("Cannot open config.json; using defaults"));
        return;
    case JsonFile::ReadError::TooLarge:
    case JsonFile::ReadError::Damaged:
        logMessage(LogLevel::Warn, category, QStringLiteral("Corrupt config.json (%1); using defaults").arg(reason));
        return;
    }
    takeString(object, keyApiBaseUrl, apiBaseUrl);
    takeString(object, keyLastEmail, lastEmail);
    autoStart = object.value(keyAutoStart).toBool(false);
    heartbeatIntervalMs = object.value(keyHeartbeatIntervalMs).toInt(0);
}

bool AppConfig::save() const
{
    const QJsonObject object{{keyApiBaseUrl, apiBaseUrl},
                             {keyAutoStart, autoStart},
                             {keyHeartbeatIntervalMs, heartbeatIntervalMs},
                             {keyLastEmail, lastEmail}};
    switch (JsonFile::write(Paths::configFile(), object)) {
    case JsonFile::WriteError::None:
        return true;
    case JsonFile::WriteError::CannotOpen:
        logMessage(LogLevel::Error, category, QStringLiteral("Cannot open config.json for writing"));
        break;
    case JsonFile::WriteError::CannotCommit:
        logMessage(LogLevel::Error, category, QStringLiteral("Failed to commit config.json"));
        break;
    }
    return false;
}

} // namespace torvelane
