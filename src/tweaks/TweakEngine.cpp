#include "tweaks/TweakEngine.h"

#include "core/Log.h"
#include "tweaks/RegistryTweak.h"
#include "tweaks/StateStore.h"
#include "tweaks/TierGate.h"
#include "tweaks/TweakCatalog.h"

#include <QDateTime>

#include <algorithm>
#include <functional>

namespace torvelane {

namespace {

/// Restore points lie more than ten minutes apart.
constexpr qint64 restorePointIntervalMs = 600001;

void logLine(LogLevel level, const QString& message)
{
    logMessage(level, QStringLiteral("engine"), message);
}

/// The order in which several are put back: two entries can write one value, and the first of them holds what stood there.
QList<TweakRecord> appliedNewestFirst(const StateStore& store)
{
    QList<TweakRecord> applied = store.listByState(TweakState::Applied);
    // Rows of one millisecond stay in the order of the list, which begins with the oldest.
    std::ranges::reverse(applied);
    std::ranges::stable_sort(applied, std::ranges::greater(), &TweakRecord::appliedAt);
    return applied;
}

} // namespace

TweakEngine::TweakEngine(TweakCatalog* catalog, StateStore* store, QObject* parent)
    : QObject(parent)
    , m_catalog(catalog)
    , m_store(store)
    , m_clock(&QDateTime::currentMSecsSinceEpoch)
{
}

bool TweakEngine::applyBatch(const QStringList& ids, Tier tier, QStringList* errors, bool withRestorePoint)
{
    if (ids.isEmpty())
        return true;
    if (withRestorePoint)
        makeRestorePoint(ids.size());
    bool allApplied = true;
    for (const QString& id : ids) {
        QString error;
        if (applyOne(id, tier, &error))
            continue;
        allApplied = false;
        if (errors)
            errors->append(QStringLiteral("%1: %2").arg(id, error));
    }
    return allApplied;
}

bool TweakEngine::applyTweak(const QString& id, Tier tier, QString* error, bool withRestorePoint)
{
    QStringList errors;
    const bool applied = applyBatch({id}, tier, &errors, withRestorePoint);
    if (!applied && error)
        *error = errors.value(0);
    return applied;
}

bool TweakEngine::applyOne(const QString& id, Tier tier, QString* error)
{
    const TweakDefinition* definition = m_catalog->findPointer(id);
    if (!definition)
        return failApply(id, QStringLiteral("Unknown tweak id"), error);
    if (!TierGate::covers(tier, definition->requiredTier)) {
        return failApply(id, QStringLiteral("Requires the %1 tier").arg(tierName(definition->requiredTier)), error);
    }
    const std::shared_ptr<ITweak> tweak = m_catalog->implementation(id);
    if (!tweak)
        return failApply(id, QStringLiteral("No implementation for tweak"), error);
    QString reason;
    if (!tweak->isApplicable(&reason))
        return failApply(id, QStringLiteral("Not applicable: ") + reason, error);

    TweakRecord record;
    bool unreadable = false;
    const bool known = m_store->loadRecord(id, record, &unreadable);
    // A row that can't be read may hold the only original values: capturing over it would lose them.
    const QString persistFailure = QStringLiteral("Could not persist original value (state store)");
    if (unreadable)
        return failApply(id, persistFailure, error);
    if (known && record.state == TweakState::Applied) {
        m_store->setSelected(id, true);
        return true;
    }
    // The same goes for a row that waits to be put back: first back, then forward again.
    QString restoreError;
    if (known && record.state != TweakState::Reverted && !record.capture.isEmpty()
        && !restoreFromRecord(record, &restoreError)) {
        return failApply(id, QStringLiteral("An earlier change could not be undone: ") + restoreError, error);
    }

    bool captured = false;
    QString captureError;
    const QJsonObject capture = tweak->capture(&captured, &captureError);
    if (!captured)
        return failApply(id, QStringLiteral("Capture failed: ") + captureError, error);
    // The committed row comes before the first touch of the system; everything rests on this order.
    if (!m_store->beginApply(id, definition->requiredTier, capture))
        return failApply(id, persistFailure, error);

    const TweakResult applied = tweak->apply();
    if (!applied.ok) {
        std::ignore = tweak->revert(capture);
        m_store->setState(id, TweakState::Reverted);
        return failApply(id, QStringLiteral("Apply error: ") + applied.message, error);
    }
    m_store->markApplied(id);
    m_store->setSelected(id, true);
    Q_EMIT tweakApplied(id);
    logLine(LogLevel::Info, QStringLiteral("Applied tweak: ") + id);
    return true;
}

bool TweakEngine::failApply(const QString& id, const QString& message, QString* error)
{
    if (error)
        *error = message;
    Q_EMIT tweakFailed(id, message);
    logLine(LogLevel::Warn, QStringLiteral("apply %1 failed: %2").arg(id, message));
    return false;
}

bool TweakEngine::revertTweak(const QString& id, QString* error, bool updateSelection)
{
    if (updateSelection)
        m_store->setSelected(id, false);
    TweakRecord record;
    bool unreadable = false;
    if (!m_store->loadRecord(id, record, &unreadable)) {
        if (unreadable)
            return failRevert(id, QStringLiteral("Could not read the original value (state store)"), error);
        return true;
    }
    if (record.state == TweakState::Reverted)
        return true;

    // From here on a crash leaves a row that recovery takes up.
    m_store->markReverting(id);
    QString message;
    if (!restoreFromRecord(record, &message))
        return failRevert(id, message, error);
    m_store->markReverted(id);
    Q_EMIT tweakReverted(id);
    logLine(LogLevel::Info, QStringLiteral("Reverted tweak: ") + id);
    return true;
}

bool TweakEngine::failRevert(const QString& id, const QString& message, QString* error)
{
    if (error)
        *error = message;
    Q_EMIT tweakFailed(id, QStringLiteral("Revert failed: ") + message);
    logLine(LogLevel::Error, QStringLiteral("revert %1 failed: %2").arg(id, message));
    return false;
}

bool TweakEngine::restoreFromRecord(const TweakRecord& record, QString* error)
{
    const QString type = record.capture.value(captureTypeKey).toString();
    TweakResult result;
    if (type == tweakTypeRegistry) {
        result = RegistryTweak::revertCapture(record.capture, m_restoreAllowList ? &*m_restoreAllowList : nullptr);
    } else if (const std::shared_ptr<ITweak> tweak = m_catalog->implementation(record.id)) {
        result = tweak->revert(record.capture);
    } else {
        result = TweakResult::failure(QStringLiteral("No reverter for capture type '%1'").arg(type));
    }
    if (!result.ok && error)
        *error = result.message;
    return result.ok;
}

void TweakEngine::revertAll(bool clearSelection)
{
    if (clearSelection)
        m_store->clearSelection();
    const QList<TweakRecord> applied = appliedNewestFirst(*m_store);
    logLine(LogLevel::Info, QStringLiteral("Reverting all %1 applied tweak(s)").arg(applied.size()));
    for (const TweakRecord& record : applied)
        revertTweak(record.id, nullptr, clearSelection);
}

void TweakEngine::revertAboveTier(Tier tier)
{
    const QList<TweakRecord> applied = appliedNewestFirst(*m_store);
    for (const TweakRecord& record : applied) {
        if (!TierGate::covers(tier, record.requiredTier))
            revertTweak(record.id, nullptr, false);
    }
}

void TweakEngine::recoverInterrupted()
{
    const QList<TweakRecord> interrupted = m_store->listInterrupted();
    if (interrupted.isEmpty())
        return;
    logLine(LogLevel::Warn, QStringLiteral("Recovering %1 interrupted tweak(s) after crash").arg(interrupted.size()));
    for (const TweakRecord& record : interrupted) {
        QString error;
        if (restoreFromRecord(record, &error))
            m_store->setState(record.id, TweakState::Reverted);
        else
            logLine(LogLevel::Error, QStringLiteral("Recovery revert failed for %1: %2").arg(record.id, error));
    }
}

bool TweakEngine::isApplied(const QString& id) const
{
    TweakRecord record;
    return m_store->loadRecord(id, record) && record.state == TweakState::Applied;
}

QStringList TweakEngine::appliedIds() const
{
    return m_store->listIdsByState(TweakState::Applied);
}

void TweakEngine::makeRestorePoint(qsizetype tweakCount)
{
    const qint64 nowMs = m_clock();
    const qint64 lastMs = m_lastRestorePointMs.load();
    if (lastMs != 0 && nowMs - lastMs < restorePointIntervalMs)
        return;
    // Stored before the attempt, so that a failing one isn't repeated for every batch.
    m_lastRestorePointMs.exchange(nowMs);
    QString reason = QStringLiteral("restore points are not available");
    if (m_restorePointMaker
        && m_restorePointMaker(QStringLiteral("Torvelane: before applying %1 tweak(s)").arg(tweakCount), &reason)) {
        return;
    }
    logLine(LogLevel::Warn, QStringLiteral("Proceeding without restore point: ") + reason);
}

} // namespace torvelane
