#pragma once

#include "core/Tier.h"

#include <QDateTime>
#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QMutex>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace torvelane {

/// How far a change got. Unknown is what a later version may have written; it is only ever read.
enum class TweakState { Capturing = 0, Applied = 1, Reverting = 2, Reverted = 3, Unknown = 4 };

/// A row of tweak_state as read.
struct TweakRecord {
    QString id;
    Tier requiredTier = Tier::Free;
    QJsonObject capture; ///< Empty if the stored text doesn't parse.
    TweakState state = TweakState::Reverted;
    QDateTime appliedAt; ///< Invalid if never.
    qint64 sequence = 0; ///< Grows with each apply, whatever the clock says; 0 in rows from before there was one.
};

/// A row that holds values, with its capture as it is stored.
struct StoredCapture {
    QString id;
    TweakState state = TweakState::Reverted;
    qint64 order = 0; ///< Of the last apply: its sequence; below 0, and by the time, in rows from before there was one.
    QString text;

    bool operator==(const StoredCapture&) const = default;
};

/// Differs when anybody but the calling thread has committed to the database.
struct StoreVersion {
    quint64 thread = 0;
    qint64 number = 0;

    bool operator==(const StoreVersion&) const = default;
};

/// The crash-safe memory of what was changed: state.db, an SQLite database in WAL mode with synchronous=FULL, so that a
/// row is on the disk when the call that wrote it returns. Each statement is a transaction of its own and each step of a
/// tweak's life is one statement.
///
/// Any thread may call any operation; each thread gets a connection of its own, which stays open for the life of the
/// store. open and close run on the main thread. Every operation blocks on the disk, and up to five seconds on another
/// process that holds the database. On a store that isn't open the writes return false and the reads return nothing.
class StateStore {
public:
    StateStore() = default;
    ~StateStore();
    StateStore(const StateStore&) = delete;
    StateStore& operator=(const StateStore&) = delete;

    /// Makes the tables and the column that older versions don't have where they are missing, and fills an empty
    /// selection from what is applied. False, logged, if the database can't be used; nothing in the file has been
    /// changed then.
    [[nodiscard]] bool open(const QString& path);

    /// Closes the connections of all threads. No other thread may be using the store.
    void close();

    [[nodiscard]] bool isOpen() const { return m_open; }

    /// Whether the calling thread's last operation failed because another process kept the database for as long as an
    /// operation waits. The next one would wait as long.
    [[nodiscard]] static bool wasBusy();

    /// Commits the row that makes a change undoable: state capturing, with the capture. Replaces an earlier row.
    [[nodiscard]] bool beginApply(const QString& id, Tier tier, const QJsonObject& capture);

    /// No row is no failure. A failure leaves the row behind the truth, which errs on the side of undoing.
    bool setState(const QString& id, TweakState state);
    bool markApplied(const QString& id) { return setState(id, TweakState::Applied); }
    bool markReverting(const QString& id) { return setState(id, TweakState::Reverting); }
    bool markReverted(const QString& id) { return setState(id, TweakState::Reverted); }

    /// False if there is no such row. `unreadable`, if given, says whether the reason is a database that couldn't be
    /// read (which is logged), so that a caller needn't take damage for absence.
    [[nodiscard]] bool loadRecord(const QString& id, TweakRecord& out, bool* unreadable = nullptr) const;

    /// Of state Unknown: every row whose state this version doesn't know. `unreadable` as for loadRecord.
    [[nodiscard]] QList<TweakRecord> listByState(TweakState state, bool* unreadable = nullptr) const;

    /// The same without the captures, which take far longer to parse than the ids to read.
    [[nodiscard]] QStringList listIdsByState(TweakState state) const;

    /// The rows in state capturing, then those in state reverting.
    [[nodiscard]] QList<TweakRecord> listInterrupted() const;

    /// The rows that aren't reverted, those in a state of a later version included. False if the database can't be read.
    [[nodiscard]] bool listHolders(QList<StoredCapture>& out) const;

    /// One of them. False if there is no such row, or if it is reverted; `unreadable` as for loadRecord.
    [[nodiscard]] bool loadHolder(const QString& id, StoredCapture& out, bool* unreadable) const;

    /// A capture from its stored text; empty if that doesn't parse.
    [[nodiscard]] static QJsonObject parseCapture(const QString& text);

    /// Nothing if the database can't be read, or isn't open.
    [[nodiscard]] std::optional<StoreVersion> version() const;

    /// What this process has written, or tried to, since the last question.
    struct Changes {
        QStringList ids;
        bool orders = false;
    };

    /// For the one who keeps a view of the database.
    [[nodiscard]] Changes takeChanges();

    /// The order of those who hold values and have no row. A number above all drawn before, in either table, is stored.
    [[nodiscard]] bool drawOrder(const QString& holder);

    /// False if the database can't be read.
    [[nodiscard]] bool drawnOrders(QHash<QString, qint64>& out) const;

    /// The user's choice, kept apart from the state: a tweak can be wanted and not applied.
    void setSelected(const QString& id, bool selected);
    void clearSelection();

    /// Called before and after each statement that commits, with the operation's name. For tests that look at, count
    /// or end the program at these points; null, as shipped, means none.
    using CommitObserver = std::function<void(bool committed, const char* operation)>;
    void setCommitObserver(CommitObserver observer) { m_commitObserver = std::move(observer); }

private:
    /// A thread's connection. The serial number distinguishes a new thread with a recycled id from the thread that the
    /// connection was made for.
    struct ThreadConnection {
        QString name;
        quint64 threadSerial;
    };

    [[nodiscard]] QSqlDatabase connection() const;
    [[nodiscard]] bool execute(const char* operation, const QString& sql, const QVariantList& values) const;
    [[nodiscard]] bool createTable(const QString& table, const QString& sql) const;
    [[nodiscard]] bool addSequence() const;
    void noteChange(const QString& id);
    void seedSelection();

    bool m_open = false;
    QString m_baseName;
    QString m_path;
    CommitObserver m_commitObserver;
    mutable QMutex m_mutex; ///< Guards what follows, and is never held across a query.
    mutable QHash<quintptr, ThreadConnection> m_connections;
    Changes m_changes;
};

} // namespace torvelane
