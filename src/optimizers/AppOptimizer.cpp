#include "optimizers/AppOptimizer.h"

#include "core/Log.h"
#include "core/Translate.h"
#include "optimizers/SnapshotValue.h"
#include "system/RegistryAccess.h"

#include <QFileInfo>

namespace torvelane {

namespace {

const QString category = QStringLiteral("appopt");
const QString valueName = QStringLiteral("CpuPriorityClass");
constexpr quint32 priorityHigh = 3;

const QString keyPath = QStringLiteral("path");
const QString keyOriginal = QStringLiteral("original");

QString keyOf(const QString& fileName)
{
    return QStringLiteral(
               "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Image File Execution Options\\%1\\PerfOptions")
        .arg(fileName);
}

} // namespace

AppOptimizer::AppOptimizer() : m_file(QStringLiteral("app_optimize.json"), category)
{
    load();
}

void AppOptimizer::load()
{
    const QJsonObject document = m_file.read().value_or(QJsonObject());
    for (auto member = document.begin(); member != document.end(); ++member) {
        const QJsonObject entry = member.value().toObject();
        m_entries.insert(member.key(),
                         {entry.value(keyPath).toString(), plainValueFromJson(entry.value(keyOriginal).toObject())});
    }
}

void AppOptimizer::save() const
{
    QJsonObject document;
    for (auto entry = m_entries.begin(); entry != m_entries.end(); ++entry) {
        document.insert(entry.key(),
                        QJsonObject{{keyPath, entry->path}, {keyOriginal, plainValueToJson(entry->original)}});
    }
    m_file.write(document);
}

AppOptimizeResult AppOptimizer::optimize(const QString& exePath)
{
    // Both separators, so that a path reads alike on either machine.
    const QString fileName = QFileInfo(QString(exePath).replace(QLatin1Char('\\'), QLatin1Char('/'))).fileName();
    if (!fileName.endsWith(QLatin1String(".exe"), Qt::CaseInsensitive))
        return {false, translate("AppOptimizer", "Please choose an .exe file.")};
    const QString key = fileName.toLower();
    if (m_entries.contains(key))
        return {true, translate("AppOptimizer", "%1 is already optimized.").arg(fileName)};

    RegistryValue original;
    if (!readValue(RegistryHive::LocalMachine, keyOf(fileName), valueName, original))
        return {false, translate("AppOptimizer", "Could not access Image File Execution Options.")};
    m_entries.insert(key, {exePath, original});
    save();
    if (!writeDword(RegistryHive::LocalMachine, keyOf(fileName), valueName, priorityHigh)) {
        m_entries.remove(key);
        save();
        return {false, translate("AppOptimizer", "Failed to write the priority setting.")};
    }
    logMessage(LogLevel::Info, category, QStringLiteral("Optimized ") + fileName);
    return {true, translate("AppOptimizer", "%1 optimized (High CPU priority).").arg(fileName)};
}

AppOptimizeResult AppOptimizer::restore(const QString& name)
{
    const QString key = name.toLower();
    if (!m_entries.contains(key))
        return {true, translate("AppOptimizer", "Nothing to restore.")};
    const bool restored = writeValue(RegistryHive::LocalMachine, keyOf(name), valueName, m_entries.value(key).original);
    m_entries.remove(key);
    save();
    logMessage(LogLevel::Info, category, QStringLiteral("Restored ") + name);
    return {restored,
            restored ? translate("AppOptimizer", "%1 restored to default.").arg(name)
                     : translate("AppOptimizer", "Failed to restore %1.").arg(name)};
}

QList<QPair<QString, QString>> AppOptimizer::list() const
{
    QList<QPair<QString, QString>> apps;
    for (auto entry = m_entries.begin(); entry != m_entries.end(); ++entry)
        apps.append({entry.key(), entry->path});
    return apps;
}

} // namespace torvelane
