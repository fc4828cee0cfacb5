#include "tweaks/TweakEngine.h"

#include "core/Log.h"
#include "system/MachineLock.h"
#include "tweaks/RegistryTweak.h"
#include "tweaks/StateStore.h"
#include "tweaks/TierGate.h"
#include "tweaks/TweakCatalog.h"

#include <QDateTime>

#include <algorithm>
#include <cstdlib>
#include <functional>

namespace torvelane {

namespace {

/// Restore points lie more than ten minutes apart.
constexpr qint64 restorePointIntervalMs = 600001;

void logLine(LogLevel level, const QString& message)
{
    logMessage(level, QStringLiteral("engine"), message);
}

const QString persistFailure = QStringLiteral("Could not persist original value (state store)");
const QString storeUnavailable = QStringLiteral("The state store is not available; nothing was done");
const QString storeUnreadable = QStringLiteral("Could not read the original values (state store)");
const QString storeBusy = QStringLiteral("Another process keeps the state store");
const QString unknownState = QStringLiteral("A later version left it in a state that this one doesn't know");
const QString notTried = QStringLiteral("Not tried, since another process is in the way");
const QString gaveUp = QStringLiteral("Another process is in the way; try again when it has finished");

QStringList idsOf(const QList<TweakRecord>& records)
{
    QStringList ids;
    for (const TweakRecord& record : records)
        ids.append(record.id);
    return ids;
}

} // namespace

TweakEngine::TweakEngine(TweakCatalog* catalog, StateStore* store, QObject* parent)
    : QObject(parent)
    , m_catalog(catalog)
    , m_store(store)
    , m_holds(catalog, store)
    , m_clock(&QDateTime::currentMSecsSinceEpoch)
{
    m_ledger->attach(&m_holds);
}

TweakEngine::~TweakEngine()
{
    m_ledger->detach(&m_holds);
}

void TweakEngine::setLedger(ValueLedger* ledger)
{
    m_ledger->detach(&m_holds);
    m_ledger = ledger;
    m_ledger->attach(&m_holds);
}

bool TweakEngine::applyBatch(const QStringList& ids, Tier tier, QStringList* errors, bool withRestorePoint)
{
    if (ids.isEmpty())
        return true;
    if (withRestorePoint)
        makeRestorePoint(ids.size());
    bool allApplied = true;
    bool busy = false;
    const ValueLedger::Batch batch(*m_ledger);
    for (const QString& id : ids) {
        QString error = notTried;
        const Outcome outcome = busy ? Outcome::Busy : applyOne(id, tier, &error);
        busy = outcome == Outcome::Busy || (outcome == Outcome::Done && StateStore::wasBusy());
        if (outcome == Outcome::Done)
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

TweakEngine::Outcome TweakEngine::applyOne(const QString& id, Tier tier, QString* error)
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
    if (!m_store->isOpen())
        return failApply(id, persistFailure, error);
    const MachineLock lock(m_lockTimeouts.changeMs);
    if (!lock.isHeld())
        return failApply(id, lock.error(), error, Outcome::Busy);
    return applyLocked(*definition, *tweak, error);
}

TweakEngine::Outcome TweakEngine::applyLocked(const TweakDefinition& definition, ITweak& tweak, QString* error)
{
    const QString& id = definition.id;
    const auto storeFailure = [] { return StateStore::wasBusy() ? Outcome::Busy : Outcome::Failed; };
    TweakRecord record;
    bool unreadable = false;
    const bool known = m_store->loadRecord(id, record, &unreadable);
    // A row that can't be read may hold the only original values: capturing over it would lose them.
    if (unreadable)
        return failApply(id, persistFailure, error, storeFailure());
    if (known && record.state == TweakState::Unknown)
        return failApply(id, unknownState, error);
    if (known && record.state == TweakState::Applied) {
        m_store->setSelected(id, true);
        return Outcome::Done;
    }
    // From the look at who holds the values until the row says how it ended. A command holds none, and may take long.
    const auto* const registryTweak = dynamic_cast<const RegistryTweak*>(&tweak);
    std::optional<LedgerSession> session;
    if (registryTweak)
        session.emplace(*m_ledger, id);
    // The same goes for a row that waits to be put back: first back, then forward again.
    QString restoreError;
    if (known && record.state != TweakState::Reverted && !record.capture.isEmpty()
        && !restoreFromRecord(record, session, &restoreError)) {
        return failApply(id, QStringLiteral("An earlier change could not be undone: ") + restoreError, error);
    }

    bool captured = false;
    QString captureError;
    const QJsonObject capture = registryTweak ? registryTweak->capture(*session, &captured, &captureError)
                                              : tweak.capture(&captured, &captureError);
    if (!captured)
        return failApply(id, QStringLiteral("Capture failed: ") + captureError, error, storeFailure());
    // The committed row comes before the first touch of the system; everything rests on this order.
    if (!m_store->beginApply(id, definition.requiredTier, capture))
        return failApply(id, persistFailure, error, storeFailure());

    const TweakResult applied = tweak.apply();
    if (!applied.ok) {
        std::ignore = registryTweak ? RegistryTweak::revertCapture(capture, nullptr, &*session) : tweak.revert(capture);
        m_store->setState(id, TweakState::Reverted);
        return failApply(id, QStringLiteral("Apply error: ") + applied.message, error);
    }
    // A busy store keeps its waiting for one statement.
    if (m_store->markApplied(id) || !StateStore::wasBusy())
        m_store->setSelected(id, true);
    Q_EMIT tweakApplied(id);
    logLine(LogLevel::Info, QStringLiteral("Applied tweak: ") + id);
    return Outcome::Done;
}

TweakEngine::Outcome TweakEngine::failApply(const QString& id, const QString& message, QString* error, Outcome outcome)
{
    if (error)
        *error = message;
    Q_EMIT tweakFailed(id, message);
    logLine(LogLevel::Warn, QStringLiteral("apply %1 failed: %2").arg(id, message));
    return outcome;
}

bool TweakEngine::revertTweak(const QString& id, QString* error, bool updateSelection)
{
    const ValueLedger::Batch batch(*m_ledger);
    return revertOne(id, error, updateSelection) == Outcome::Done;
}

TweakEngine::Outcome TweakEngine::revertOne(const QString& id, QString* error, bool updateSelection)
{
    if (!m_store->isOpen())
        return failRevert(id, storeUnavailable, error);
    if (updateSelection) {
        m_store->setSelected(id, false);
        if (StateStore::wasBusy())
            return failRevert(id, storeBusy, error, Outcome::Busy);
    }
    const MachineLock lock(m_lockTimeouts.changeMs);
    if (!lock.isHeld())
        return failRevert(id, lock.error(), error, Outcome::Busy);

    const auto storeFailure = [] { return StateStore::wasBusy() ? Outcome::Busy : Outcome::Failed; };
    TweakRecord record;
    bool unreadable = false;
    if (!m_store->loadRecord(id, record, &unreadable)) {
        if (unreadable)
            return failRevert(id, storeUnreadable, error, storeFailure());
        return Outcome::Done;
    }
    if (record.state == TweakState::Reverted)
        return Outcome::Done;
    if (record.state == TweakState::Unknown)
        return failRevert(id, unknownState, error);

    std::optional<LedgerSession> session;
    openSession(record, session);
    // From here on a crash leaves a row that recovery takes up. Without it, a crash halfway would leave one that says
    // applied over values of which some are the original ones.
    if (!m_store->markReverting(id))
        return failRevert(id, QStringLiteral("Could not record that it begins (state store)"), error, storeFailure());
    QString message;
    if (!restoreFromRecord(record, session, &message))
        return failRevert(id, message, error);
    m_store->markReverted(id);
    Q_EMIT tweakReverted(id);
    logLine(LogLevel::Info, QStringLiteral("Reverted tweak: ") + id);
    return Outcome::Done;
}

TweakEngine::Outcome TweakEngine::failRevert(const QString& id, const QString& message, QString* error, Outcome outcome)
{
    if (error)
        *error = message;
    Q_EMIT tweakFailed(id, QStringLiteral("Revert failed: ") + message);
    logLine(LogLevel::Error, QStringLiteral("revert %1 failed: %2").arg(id, message));
    return outcome;
}

/// One that lasts until the row says that nothing is held any more; none for what holds no values, and may take long.
void TweakEngine::openSession(const TweakRecord& record, std::optional<LedgerSession>& session)
{
    if (record.capture.value(captureTypeKey).toString() == tweakTypeRegistry)
        session.emplace(*m_ledger, record.id);
}

bool TweakEngine::restoreFromRecord(const TweakRecord& record, const std::optional<LedgerSession>& session,
                                    QString* error)
{
    const QString type = record.capture.value(captureTypeKey).toString();
    TweakResult result;
    if (type == tweakTypeRegistry) {
        // A capture of values, of an entry that runs commands by now, has none yet.
        std::optional<LedgerSession> own;
        if (!session)
            own.emplace(*m_ledger, record.id);
        result = RegistryTweak::revertCapture(record.capture, m_restoreAllowList ? &*m_restoreAllowList : nullptr,
                                              session ? &*session : &*own);
    } else if (const std::shared_ptr<ITweak> tweak = m_catalog->implementation(record.id)) {
        result = tweak->revert(record.capture);
    } else {
        result = TweakResult::failure(QStringLiteral("No reverter for capture type '%1'").arg(type));
    }
    if (!result.ok && error)
        *error = result.message;
    return result.ok;
}

TweakEngine::Outcome TweakEngine::revertEach(const QStringList& ids, bool updateSelection, QStringList* errors)
{
    Outcome worst = Outcome::Done;
    bool busy = false;
    const ValueLedger::Batch batch(*m_ledger);
    for (const QString& id : ids) {
        QString error = notTried;
        const Outcome outcome = busy ? Outcome::Busy : revertOne(id, &error, updateSelection);
        busy = outcome == Outcome::Busy || (outcome == Outcome::Done && StateStore::wasBusy());
        worst = std::max(worst, outcome);
        if (errors && outcome != Outcome::Done)
            errors->append(QStringLiteral("%1: %2").arg(id, error));
    }
    return worst;
}

/// Newest first.
bool TweakEngine::listApplied(QList<TweakRecord>& records, QString* error)
{
    bool unreadable = false;
    records = m_store->listByState(TweakState::Applied, &unreadable);
    if (unreadable || !m_store->isOpen())
        return failAll(unreadable ? storeUnreadable : storeUnavailable, error);
    // Rows from before there was a sequence have none, and go by their time; those of one millisecond stay in the order
    // of the list, which begins with the oldest.
    std::ranges::reverse(records);
    std::ranges::stable_sort(records, std::ranges::greater(), [](const TweakRecord& record) {
        return std::pair(record.sequence, record.sequence > 0 ? QDateTime() : record.appliedAt);
    });
    return true;
}

bool TweakEngine::revertBatch(const QStringList& ids, QStringList* errors)
{
    QList<TweakRecord> applied;
    QString error;
    if (!listApplied(applied, &error)) {
        for (const QString& id : ids) {
            if (errors)
                errors->append(QStringLiteral("%1: %2").arg(id, error));
        }
        return ids.isEmpty();
    }
    QStringList ordered;
    for (const TweakRecord& record : std::as_const(applied)) {
        if (ids.contains(record.id))
            ordered.append(record.id);
    }
    for (const QString& id : ids) {
        if (!ordered.contains(id))
            ordered.append(id);
    }
    return revertEach(ordered, true, errors) == Outcome::Done;
}

bool TweakEngine::revertAll(bool clearSelection, QString* error)
{
    if (clearSelection)
        m_store->clearSelection();
    if (clearSelection && StateStore::wasBusy())
        return failAll(gaveUp, error);
    QList<TweakRecord> applied;
    if (!listApplied(applied, error))
        return false;
    warnOfUnknownStates();
    logLine(LogLevel::Info, QStringLiteral("Reverting all %1 applied tweak(s)").arg(applied.size()));
    return revertEach(idsOf(applied), clearSelection, nullptr) != Outcome::Busy || failAll(gaveUp, error);
}

bool TweakEngine::failAll(const QString& message, QString* error)
{
    if (error)
        *error = message;
    logLine(LogLevel::Error, QStringLiteral("Reverting several tweaks failed: ") + message);
    return false;
}

bool TweakEngine::revertAboveTier(Tier tier)
{
    QList<TweakRecord> applied;
    if (!listApplied(applied, nullptr))
        return false;
    applied.removeIf([tier](const TweakRecord& record) { return TierGate::covers(tier, record.requiredTier); });
    return revertEach(idsOf(applied), false, nullptr) != Outcome::Busy || failAll(gaveUp, nullptr);
}

void TweakEngine::warnOfUnknownStates()
{
    const QList<TweakRecord> unknown = m_store->listByState(TweakState::Unknown);
    for (const TweakRecord& record : unknown)
        logLine(LogLevel::Warn, QStringLiteral("Left %1 alone: %2").arg(record.id, unknownState));
}

void TweakEngine::recoverInterrupted()
{
    warnOfUnknownStates();
    // Most starts find nothing and needn't wait for anybody.
    const qsizetype expected = m_store->listInterrupted().size();
    if (expected == 0)
        return;
    const MachineLock lock(m_lockTimeouts.recoveryMs);
    if (!lock.isHeld()) {
        logLine(LogLevel::Warn,
                QStringLiteral("Left %1 unfinished tweak(s) alone: %2").arg(QString::number(expected), lock.error()));
        return;
    }
    const QList<TweakRecord> interrupted = m_store->listInterrupted();
    if (interrupted.isEmpty())
        return;
    logLine(LogLevel::Warn, QStringLiteral("Recovering %1 interrupted tweak(s) after crash").arg(interrupted.size()));
    const ValueLedger::Batch batch(*m_ledger);
    for (const TweakRecord& record : interrupted) {
        QString error;
        std::optional<LedgerSession> session;
        openSession(record, session);
        if (!restoreFromRecord(record, session, &error)) {
            logLine(LogLevel::Error, QStringLiteral("Recovery revert failed for %1: %2").arg(record.id, error));
            continue;
        }
        m_store->setState(record.id, TweakState::Reverted);
        if (StateStore::wasBusy()) {
            logLine(LogLevel::Warn, QStringLiteral("Gave up recovering: ") + storeBusy);
            return;
        }
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
    // Either way: a clock that was set back must not put off restore points until it has caught up.
    if (lastMs != 0 && std::abs(nowMs - lastMs) < restorePointIntervalMs)
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
