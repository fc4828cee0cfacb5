#include "tweaks/TweakCatalog.h"

#include "core/Language.h"
#include "core/Log.h"
#include "tweaks/CommandTweak.h"
#include "tweaks/RegistryTweak.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

namespace torvelane {

namespace {

/// The catalogue's lines all carry this category, whatever the type of the entry.
void logLine(LogLevel level, const QString& message)
{
    logMessage(level, QStringLiteral("registry"), message);
}

/// The text under `key` in the display language. A missing translation falls back to English.
QString localized(const QJsonObject& entry, const QString& key)
{
    if (isFrench()) {
        const QString french = entry.value(key + QStringLiteral("_fr")).toString();
        if (!french.isEmpty())
            return french;
    }
    return entry.value(key).toString();
}

/// An unknown word counts as at once: nobody is sent to restart for nothing.
TweakEffect parseEffect(const QString& text)
{
    if (text == QStringLiteral("explorer"))
        return TweakEffect::AfterRestartingExplorer;
    if (text == QStringLiteral("sign-out"))
        return TweakEffect::AfterSigningOut;
    return text == QStringLiteral("restart") ? TweakEffect::AfterRestart : TweakEffect::AtOnce;
}

QStringList commandList(const QJsonValue& value)
{
    QStringList commands;
    for (const QJsonValue& element : value.toArray()) {
        const QString command = element.toString().trimmed();
        if (!command.isEmpty())
            commands.append(command);
    }
    return commands;
}

OptionalCommandList optionalCommandList(const QJsonObject& entry, const QString& key)
{
    return {commandList(entry.value(key)), entry.contains(key)};
}

std::shared_ptr<ITweak> makeRegistryTweak(const QString& id, const QJsonObject& entry)
{
    auto tweak = std::make_shared<RegistryTweak>(id, entry.value(QStringLiteral("operations")).toArray());
    if (tweak->isValid())
        return tweak;
    logLine(LogLevel::Error, QStringLiteral("Invalid registry tweak skipped: ") + id);
    return nullptr;
}

std::shared_ptr<ITweak> makeCommandTweak(const QString& id, const QJsonObject& entry)
{
    auto tweak = std::make_shared<CommandTweak>(id, commandList(entry.value(QStringLiteral("apply"))),
                                                commandList(entry.value(QStringLiteral("revert"))),
                                                optionalCommandList(entry, QStringLiteral("applyBoot")),
                                                optionalCommandList(entry, QStringLiteral("revertBoot")));
    if (tweak->isValid())
        return tweak;
    logLine(LogLevel::Error, QStringLiteral("Invalid command tweak skipped: ") + id);
    return nullptr;
}

} // namespace

bool TweakCatalog::load(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        logLine(LogLevel::Error, QStringLiteral("Cannot open tweaks.json: ") + path);
        return false;
    }
    // A resource lies in memory already.
    if (const uchar* const bytes = file.map(0, file.size()))
        return loadFromJson(QByteArray::fromRawData(reinterpret_cast<const char*>(bytes), file.size()));
    return loadFromJson(file.readAll());
}

bool TweakCatalog::loadFromJson(const QByteArray& bytes)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        logLine(LogLevel::Error, QStringLiteral("tweaks.json parse error: ") + error.errorString());
        return false;
    }
    const QJsonArray entries = document.object().value(QStringLiteral("tweaks")).toArray();
    qsizetype loaded = 0;
    for (const QJsonValue& entry : entries) {
        if (addDefinition(entry.toObject()))
            ++loaded;
    }
    logLine(LogLevel::Info,
            QStringLiteral("Loaded %1 of %2 tweak definitions")
                .arg(QString::number(loaded), QString::number(entries.size())));
    return loaded > 0 || entries.isEmpty();
}

bool TweakCatalog::addDefinition(const QJsonObject& entry)
{
    TweakDefinition definition;
    definition.id = entry.value(QStringLiteral("id")).toString();
    definition.name = localized(entry, QStringLiteral("name"));
    definition.section = entry.value(QStringLiteral("section")).toString();
    definition.requiredTier =
        tierFromString(entry.value(QStringLiteral("requiredTier")).toString(QStringLiteral("free")));
    definition.warning = localized(entry, QStringLiteral("warning"));
    definition.description = localized(entry, QStringLiteral("description"));
    definition.type = entry.value(QStringLiteral("type")).toString(tweakTypeRegistry);
    definition.effect = parseEffect(entry.value(QStringLiteral("effect")).toString());

    const QString id = definition.id;
    if (id.isEmpty()) {
        logLine(LogLevel::Error, QStringLiteral("Skipping tweak with empty id"));
        return false;
    }
    if (m_definitions.contains(id)) {
        logLine(LogLevel::Error, QStringLiteral("Duplicate tweak id skipped: ") + id);
        return false;
    }

    std::shared_ptr<ITweak> tweak;
    if (definition.type == tweakTypeRegistry) {
        tweak = makeRegistryTweak(id, entry);
    } else if (definition.type == tweakTypeCommand) {
        tweak = makeCommandTweak(id, entry);
    } else {
        logLine(LogLevel::Warn, QStringLiteral("Tweak %1 has unsupported type '%2'; skipped").arg(id, definition.type));
    }
    if (!tweak)
        return false;

    m_definitions.insert(id, definition);
    m_implementations.insert(id, std::move(tweak));
    m_ids.append(id);
    return true;
}

TweakDefinition TweakCatalog::find(const QString& id) const
{
    return m_definitions.value(id);
}

const TweakDefinition* TweakCatalog::findPointer(const QString& id) const
{
    const auto found = m_definitions.constFind(id);
    return found == m_definitions.cend() ? nullptr : &found.value();
}

std::shared_ptr<ITweak> TweakCatalog::implementation(const QString& id) const
{
    return m_implementations.value(id);
}

QList<TweakDefinition> TweakCatalog::definitions() const
{
    QList<TweakDefinition> all;
    all.reserve(m_ids.size());
    for (const QString& id : m_ids)
        all.append(m_definitions.value(id));
    return all;
}

void TweakCatalog::clear()
{
    m_definitions.clear();
    m_implementations.clear();
    m_ids.clear();
}

} // namespace torvelane
