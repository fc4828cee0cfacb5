#pragma once

#include "core/Tier.h"

#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <optional>

namespace torvelane {

class StateStore;
class TweakCatalog;
struct TweakRecord;

/// The one place that changes the system on behalf of a catalogue entry, and the owner of the order that makes every
/// change undoable: look up, check, capture, commit the capture durably, only then touch the system, record the outcome.
/// After a crash at any point the next start finds the row and puts the system back.
///
/// Runs on its caller's thread, without a lock: pages call it from workers, since a call may take minutes. Two threads
/// must not work on one id. Signals are emitted on the calling thread. Failures come back as false and text and as
/// tweakFailed, and are logged (category "engine").
class TweakEngine : public QObject {
    Q_OBJECT

public:
    /// Neither is owned; both outlive the engine.
    TweakEngine(TweakCatalog* catalog, StateStore* store, QObject* parent = nullptr);

    /// Applies each id in order; a failure doesn't stop the rest. True if all succeeded; `errors`, which may be null,
    /// gets "id: message" for each that didn't. `withRestorePoint` asks for a system restore point first, at most one in
    /// ten minutes; that it can't be had stops nothing.
    bool applyBatch(const QStringList& ids, Tier tier, QStringList* errors, bool withRestorePoint);

    /// The same for one id; `error`, which may be null, gets the line with the id in front.
    bool applyTweak(const QString& id, Tier tier, QString* error, bool withRestorePoint);

    /// Puts a tweak back; true without doing anything if it isn't applied. On failure the row stays in state reverting
    /// and the next start tries again. `updateSelection` also takes the id out of the user's choice, whatever follows.
    bool revertTweak(const QString& id, QString* error, bool updateSelection);

    /// Puts every applied tweak back; failures show through tweakFailed and the log.
    void revertAll(bool clearSelection);

    /// Puts back the applied tweaks that `tier` doesn't cover. The selection stays.
    void revertAboveTier(Tier tier);

    /// Puts back whatever an earlier run left half done; never finishes an interrupted apply. Emits nothing.
    void recoverInterrupted();

    [[nodiscard]] bool isApplied(const QString& id) const;
    [[nodiscard]] QStringList appliedIds() const;

    /// Makes a system restore point with this description, blocking; false with the reason in `error` otherwise.
    using RestorePointMaker = std::function<bool(const QString& description, QString* error)>;
    void setRestorePointMaker(RestorePointMaker maker) { m_restorePointMaker = std::move(maker); }

    /// Milliseconds since the epoch; replaced by tests of the ten-minute window.
    using Clock = std::function<qint64()>;
    void setClock(Clock clock) { m_clock = std::move(clock); }

Q_SIGNALS:
    void tweakApplied(const QString& id);
    void tweakReverted(const QString& id);
    void tweakFailed(const QString& id, const QString& error);

private:
    bool applyOne(const QString& id, Tier tier, QString* error);
    bool failApply(const QString& id, const QString& message, QString* error);
    bool failRevert(const QString& id, const QString& message, QString* error);
    bool restoreFromRecord(const TweakRecord& record, QString* error);
    void makeRestorePoint(qsizetype tweakCount);

    TweakCatalog* m_catalog;
    StateStore* m_store;
    std::optional<QSet<QString>> m_restoreAllowList; ///< Held to when engaged: see RegistryTweak::revertCapture.
    std::atomic<qint64> m_lastRestorePointMs = 0;    ///< When the last restore point was tried; 0 at first.
    RestorePointMaker m_restorePointMaker;
    Clock m_clock;
};

} // namespace torvelane
