#pragma once

#include "platform/simulated/MachineSeed.h"
#include "platform/simulated/SimulatedPc.h"

#include <QSqlDatabase>
#include <QSqlQuery>

#include <array>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>

namespace torvelane::platform::simulated {

enum class FaultKind {
    DenyReads,
    DenyWrites,
    FailQuerySize,
    FailQueryData,
    FailChange,
    KillBeforeChange,
    KillAfterChange,
    HangTool,
    FailTool,
};

/// One row of the fault table. Which fields mean something depends on the kind.
struct Fault {
    FaultKind kind = FaultKind::DenyReads;
    QString subject; ///< Folded key path; for tools the part of the command line to look for.
    QString name;    ///< Folded value name.
    int n = 0;       ///< Number of the change that is struck; 0 if the fault doesn't count changes.
    qint64 code = 0; ///< Error code, exit code or milliseconds.
    bool andAllAfter = false;
};

/// What a registry call has to know about the machine besides the registry itself. Cached, since it changes rarely;
/// every statement of a registry call also asks for the machine's generation, which tells whether it still holds.
struct Conditions {
    qint64 generation = -1;
    QString userName;
    QString userSid;
    QByteArray secret;
    bool elevated = true;
    QList<Fault> faults;

    [[nodiscard]] bool countsChanges() const;
    [[nodiscard]] bool denies(FaultKind kind, const QString& foldedPath) const;
    [[nodiscard]] std::optional<Win32Error> queryFailure(QueryStage stage, const QString& foldedPath,
                                                         const QString& foldedName) const;
};

/// The prepared statements, in the order of their texts in Machine.cpp.
enum class Statement {
    FindKey,
    FindValue,
    StoreValue,
    EraseValue,
    InsertKey,
    SubkeyPaths,
    ValueNames,
    CountChange,
    StrikingFaults,
    Count,
};

/// What a column that forbids NULL is given in place of a null text or array.
[[nodiscard]] QString notNull(const QString& text);
[[nodiscard]] QByteArray notNull(const QByteArray& data);

/// One run of a statement. Resets the statement at its end, so that no read transaction stays open behind it.
class Execution {
public:
    Execution(QSqlQuery& query, std::initializer_list<QVariant> bindings);
    ~Execution();
    Execution(const Execution&) = delete;
    Execution& operator=(const Execution&) = delete;

    [[nodiscard]] bool isOk() const { return m_isOk; }
    [[nodiscard]] bool next() { return m_query.next(); }
    [[nodiscard]] QVariant value(int column) const { return m_query.value(column); }
    [[nodiscard]] int affectedRows() const { return m_query.numRowsAffected(); }

private:
    QSqlQuery& m_query;
    bool m_isOk = false;
};

/// BEGIN IMMEDIATE, and ROLLBACK unless committed.
class WriteTransaction {
public:
    explicit WriteTransaction(QSqlDatabase& database);
    ~WriteTransaction();
    WriteTransaction(const WriteTransaction&) = delete;
    WriteTransaction& operator=(const WriteTransaction&) = delete;

    [[nodiscard]] bool isOpen() const { return m_isOpen; }
    [[nodiscard]] bool commit();

private:
    QSqlDatabase& m_database;
    bool m_isOpen = false;
};

/// The calling thread's connection to the machine's file.
class Machine {
public:
    /// Opens the file, making and seeding it, if this thread hasn't it open yet. Null if that failed; the reason is
    /// written as a warning. Valid until the thread ends or setFile is called.
    [[nodiscard]] static Machine* current();

    [[nodiscard]] static QString file();
    static void setFile(const QString& path);

    /// Counts setFile, so that key handles of another machine are recognised.
    [[nodiscard]] static quint64 epoch();

    static void setObserver(std::function<void(ChangeMoment, const RegistryChange&)> observer);
    [[nodiscard]] static bool hasObserver();

    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    [[nodiscard]] QSqlDatabase& database() { return m_database; }
    [[nodiscard]] QSqlQuery& prepared(Statement statement);

    [[nodiscard]] const Conditions& conditions() const { return m_conditions; }

    /// True if the conditions are those of `generation`; reads them again otherwise.
    [[nodiscard]] bool isUpToDate(qint64 generation);
    void refreshConditions();

    /// Adds a fault, or removes all of them, and tells every process so.
    void addFault(const Fault& fault);
    void clearFaults();
    void setElevated(bool elevated);

    /// Makes one registry change: the observer, the counting faults and the change itself, in one transaction. `write`
    /// runs inside it.
    [[nodiscard]] Win32Error change(const RegistryChange& what, const std::function<Win32Error()>& write);

    /// Number of a key, made with its missing parents. To be called inside a transaction. 0 on failure.
    [[nodiscard]] qint64 ensureKey(const QString& path);

    [[nodiscard]] bool storeValue(qint64 keyId, const QString& name, quint32 type, const QByteArray& data);

    /// Number of an existing key; 0 if there is none.
    [[nodiscard]] qint64 findKey(const QString& path);

    /// Removes a key with its values and everything below it. To be called inside a transaction.
    [[nodiscard]] bool eraseKeyTree(qint64 id);

    /// Replaces the machine's state by the seed. To be called inside a transaction.
    [[nodiscard]] bool seed(const MachineSeed& seed);

private:
    struct Strike;

    Machine();
    [[nodiscard]] bool open(const QString& path);
    [[nodiscard]] bool makeIfNew();
    [[nodiscard]] bool run(const QString& sql);
    [[nodiscard]] Strike countChange();

    quint64 m_epoch = 0;
    QString m_connectionName;
    QSqlDatabase m_database;
    std::array<std::optional<QSqlQuery>, static_cast<std::size_t>(Statement::Count)> m_prepared;
    Conditions m_conditions;
};

} // namespace torvelane::platform::simulated
