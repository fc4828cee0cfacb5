#include "optimizers/AppOptimizer.h"

#include "core/Log.h"
#include "core/Translate.h"
#include "optimizers/HeldValues.h"
#include "optimizers/OptimizerLock.h"
#include "optimizers/SnapshotValue.h"
#include "system/RegistryAccess.h"

#include <QFileInfo>

namespace torvelane {

namespace {

const QString category = QStringLiteral("appopt");
const QString valueName = QStringLiteral("CpuPriorityClass");
constexpr quint32 priorityHigh = 3;
constexpr int longestWaitMs = 500; ///< For another process, on the GUI thread.

const QString keyPath = QStringLiteral("path");
const QString keyOriginal = QStringLiteral("original");

ValuePlace placeOf(const QString& fileName)
{
    return {
        RegistryHive::LocalMachine,
        QStringLiteral("SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Image File Execution Options\\%1\\PerfOptions")
            .arg(fileName),
        valueName};
}

/// As the ledger knows a program; `key` is its file name in lower case.
QString holderOf(const QString& key)
{
    return AppOptimizer::snapshotName + QLatin1Char('/') + key;
}

} // namespace

AppOptimizer::AppOptimizer() : m_file(snapshotName, category)
{
    take(m_file.read().value_or(QJsonObject()));
}

void AppOptimizer::take(const QJsonObject& document)
{
    m_entries.clear();
    for (auto member = document.begin(); member != document.end(); ++member) {
        const QJsonObject entry = member.value().toObject();
        m_entries.insert(member.key(), {entry.value(keyPath).toString(), entry.value(keyOriginal).toObject()});
    }
}

QList<ValueHolder> AppOptimizer::heldIn(const QJsonObject& document)
{
    QList<ValueHolder> holders;
    for (auto member = document.begin(); member != document.end(); ++member) {
        const QJsonObject original = member.value().toObject().value(keyOriginal).toObject();
        holders.append({holderOf(member.key()),
                        {},
                        {{placeOf(member.key()), plainValueFromJson(original),
                          RegistryValue{true, RegistryValueKind::Dword, priorityHigh, {}, {}}}}});
    }
    return holders;
}

/// Takes over what another process has written since.
void AppOptimizer::refresh()
{
    if (!m_isSaved)
        return;
    if (const auto document = m_file.readAgain())
        take(*document);
}

void AppOptimizer::save()
{
    QJsonObject document;
    for (auto entry = m_entries.begin(); entry != m_entries.end(); ++entry) {
        document.insert(entry.key(), QJsonObject{{keyPath, entry->path}, {keyOriginal, entry->original}});
    }
    m_isSaved = m_file.keep(document);
}

AppOptimizeResult AppOptimizer::optimize(const QString& exePath)
{
    // Both separators, so that a path reads alike on either machine.
    const QString fileName = QFileInfo(QString(exePath).replace(QLatin1Char('\\'), QLatin1Char('/'))).fileName();
    if (!fileName.endsWith(QLatin1String(".exe"), Qt::CaseInsensitive))
        return {false, translate("AppOptimizer", "Please choose an .exe file.")};
    const ValueLedger::Batch batch(ValueLedger::current());
    const OptimizerLock lock(category, longestWaitMs);
    if (lock.isRefused())
        return {false, OptimizerLock::refusal()};
    refresh();
    const QString key = fileName.toLower();
    if (m_entries.contains(key))
        return {true, translate("AppOptimizer", "%1 is already optimized.").arg(fileName)};

    const ValuePlace place = placeOf(fileName);
    const LedgerSession session(ValueLedger::current(), holderOf(key));
    if (session.isOriginalLost(place))
        return {false, HeldValues::lostOriginal(place)};
    RegistryValue original;
    if (!session.readOriginal(place, original, nullptr))
        return {false, translate("AppOptimizer", "Could not access Image File Execution Options.")};
    session.drawOrder();
    m_entries.insert(key, {exePath, plainValueToJson(original)});
    save();
    if (!writeDword(place.hive, place.path, place.name, priorityHigh)) {
        m_entries.remove(key);
        save();
        return {false, translate("AppOptimizer", "Failed to write the priority setting.")};
    }
    logMessage(LogLevel::Info, category, QStringLiteral("Optimized ") + fileName);
    return {true, translate("AppOptimizer", "%1 optimized (High CPU priority).").arg(fileName)};
}

AppOptimizeResult AppOptimizer::restore(const QString& name)
{
    const ValueLedger::Batch batch(ValueLedger::current());
    const OptimizerLock lock(category, longestWaitMs);
    if (lock.isRefused())
        return {false, OptimizerLock::refusal()};
    refresh();
    const QString key = name.toLower();
    if (!m_entries.contains(key))
        return {true, translate("AppOptimizer", "Nothing to restore.")};
    const auto original = plainValueFromJson(m_entries.value(key).original);
    const LedgerSession session(ValueLedger::current(), holderOf(key));
    const bool restored = original && session.putBack(placeOf(name), *original);
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
