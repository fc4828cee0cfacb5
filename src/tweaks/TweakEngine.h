#pragma once

#include "core/Tier.h"
#include "system/ValueLedger.h"
#include "tweaks/EntryHolds.h"

#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <optional>

namespace torvelane {

class ITweak;
struct TweakDefinition;
struct TweakRecord;

/// The one place that changes the system on behalf of a catalogue entry, and the owner of the order that makes every
/// change undoable: look up, check, capture, commit the capture durably, only then touch the system, record the outcome.
/// After a crash at any point the next start finds the row and puts the system back.
///
/// Runs on its caller's thread: pages call it from workers, since a call may take minutes. Two threads of this process
/// must not work on one id; other processes are kept out by the MachineLock, which is held while one entry is applied or
/// reverted, and for a whole recovery. Who can't have it in time does nothing and fails. Signals are emitted on the
/// calling thread. Failures come back as false and text and as tweakFailed, and are logged (category "engine").
class TweakEngine : public QObject {
    Q_OBJECT

public:
    /// Neither is owned; both outlive the engine.
    TweakEngine(TweakCatalog* catalog, StateStore* store, QObject* parent = nullptr);
    ~TweakEngine() override;

    /// Another ledger than one of the engine's own, in which there are only entries. Not owned; it outlives the engine.
    /// While nothing is applied or reverted.
    void setLedger(ValueLedger* ledger);

    /// Applies each id in order; a failure doesn't stop the rest, unless it is another process that has the lock or the
    /// store: each of the rest would wait as long. True if all succeeded; `errors`, which may be null, gets
    /// "id: message" for each that didn't, those that weren't tried included. `withRestorePoint` asks for a system
    /// restore point first, at most one in ten minutes; that it can't be had stops nothing.
    bool applyBatch(const QStringList& ids, Tier tier, QStringList* errors, bool withRestorePoint);

    /// The same for one id; `error`, which may be null, gets the line with the id in front.
    bool applyTweak(const QString& id, Tier tier, QString* error, bool withRestorePoint);

    /// Puts a tweak back; true without doing anything if it isn't applied. On failure the row stays in state reverting
    /// and the next start tries again. `updateSelection` also takes the id out of the user's choice, whatever follows.
    bool revertTweak(const QString& id, QString* error, bool updateSelection);

    /// The same for several, newest first: two entries can write one value, and the one that was applied first holds what
    /// stood there. `errors` and the end at a busy process as for applyBatch.
    bool revertBatch(const QStringList& ids, QStringList* errors);

    /// Puts every applied tweak back, newest first; failures show through tweakFailed and the log. False, with the reason
    /// in `error`, which may be null, if that couldn't be tried for all: without a store that can be read, or because
    /// another process has the lock or the store.
    bool revertAll(bool clearSelection, QString* error = nullptr);

    /// Puts back the applied tweaks that `tier` doesn't cover. The selection stays. False as for revertAll.
    [[nodiscard]] bool revertAboveTier(Tier tier);

    /// Puts back whatever an earlier run left half done; never finishes an interrupted apply. Emits nothing. What
    /// another process is at is left alone: only with the lock is the list read that counts.
    void recoverInterrupted();

    [[nodiscard]] bool isApplied(const QString& id) const;
    [[nodiscard]] QStringList appliedIds() const;

    /// Of applied registry entries, how many of their values Windows or another program has changed since; only those that
    /// have one. Undo gives back the originals all the same. Blocks on the registry.
    [[nodiscard]] QHash<QString, ValueLedger::Drift> drift(const QStringList& ids) { return m_ledger->drift(ids); }

    /// Makes a system restore point with this description, blocking; false with the reason in `error` otherwise.
    using RestorePointMaker = std::function<bool(const QString& description, QString* error)>;
    void setRestorePointMaker(RestorePointMaker maker) { m_restorePointMaker = std::move(maker); }

    /// Milliseconds since the epoch; replaced by tests of the ten-minute window.
    using Clock = std::function<qint64()>;
    void setClock(Clock clock) { m_clock = std::move(clock); }

    /// How long to wait for another process, for a change and for the recovery, which keeps a start waiting.
    struct LockTimeouts {
        int changeMs = 10000;
        int recoveryMs = 5000;
    };
    void setLockTimeouts(LockTimeouts timeouts) { m_lockTimeouts = timeouts; }

Q_SIGNALS:
    void tweakApplied(const QString& id);
    void tweakReverted(const QString& id);
    void tweakFailed(const QString& id, const QString& error);

private:
    /// What became of one entry. After Busy the next one would wait for the same process.
    enum class Outcome { Done, Failed, Busy };

    Outcome applyOne(const QString& id, Tier tier, QString* error);
    Outcome applyLocked(const TweakDefinition& definition, ITweak& tweak, QString* error);
    Outcome failApply(const QString& id, const QString& message, QString* error, Outcome outcome = Outcome::Failed);
    Outcome revertOne(const QString& id, QString* error, bool updateSelection);
    Outcome failRevert(const QString& id, const QString& message, QString* error, Outcome outcome = Outcome::Failed);
    Outcome revertEach(const QStringList& ids, bool updateSelection, QStringList* errors);
    bool failAll(const QString& message, QString* error);
    [[nodiscard]] bool listApplied(QList<TweakRecord>& records, QString* error);
    void warnOfUnknownStates();
    bool restoreFromRecord(const TweakRecord& record, const std::optional<LedgerSession>& session, QString* error);
    void openSession(const TweakRecord& record, std::optional<LedgerSession>& session);
    void makeRestorePoint(qsizetype tweakCount);

    TweakCatalog* m_catalog;
    StateStore* m_store;
    EntryHolds m_holds;
    ValueLedger m_ownLedger;
    ValueLedger* m_ledger = &m_ownLedger;
    std::optional<QSet<QString>> m_restoreAllowList; ///< Held to when engaged: see RegistryTweak::revertCapture.
    std::atomic<qint64> m_lastRestorePointMs = 0;    ///< When the last restore point was tried; 0 at first.
    RestorePointMaker m_restorePointMaker;
    Clock m_clock;
    LockTimeouts m_lockTimeouts;
};

} // namespace torvelane
