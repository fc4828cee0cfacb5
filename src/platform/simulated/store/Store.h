#pragma once

#include "platform/simulated/store/Conditions.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QStringView>

#include <initializer_list>
#include <memory>
#include <unordered_map>

namespace torvelane::platform::simulated {

struct Seed;

/// The calling thread's connection to the machine's file.
///
/// The file has the registry's tables, since the registry is large and asked all the time; a table `facility` with one
/// JSON document for each other facility (FacilityDocuments.h); the tables of calls and faults; and one row, `machine`,
/// whose generation grows whenever something of the Conditions changes.
class Store {
public:
    /// Opens the file, making and seeding it, if this thread hasn't it open yet. Null if that failed; the reason, and
    /// how to reset the file, is written as a warning once. Valid until the thread ends or setFile or reset is called.
    [[nodiscard]] static Store* current();

    [[nodiscard]] static QString file();
    static void setFile(const QString& path);

    /// Counts setFile and replaced files, so that key handles of another machine are recognised.
    [[nodiscard]] static quint64 epoch();

    /// Puts the machine back to the seed, in place where that is possible, so that other processes see it at once. A
    /// file that is older, damaged or no machine at all is replaced.
    [[nodiscard]] static bool reset(const Seed& seed);

    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    [[nodiscard]] QSqlDatabase& database() { return m_database; }

    /// The statement, prepared once. `sql` has to be a constant: its address is the key.
    [[nodiscard]] QSqlQuery& prepared(QStringView sql);

    /// Runs a statement that has no parameters and whose rows nobody wants.
    [[nodiscard]] bool run(const QString& sql);

    [[nodiscard]] const Conditions& conditions() const { return m_conditions; }

    /// True if the conditions are those of `generation`; reads them again otherwise.
    bool isUpToDate(qint64 generation);
    void refreshConditions();

private:
    Store();
    static std::unique_ptr<Store> open(const Seed* seed, QString* reason);
    static bool replaceFile(const Seed& seed);
    [[nodiscard]] bool prepare(const Seed* seed, QString* reason);
    [[nodiscard]] bool useWriteAheadLog(QString* reason);
    [[nodiscard]] bool make(const Seed* seed, QString* reason);
    [[nodiscard]] bool fill(const Seed& seed);
    [[nodiscard]] qint64 number(const QString& sql);

    quint64 m_epoch = 0;
    QString m_connectionName;
    QSqlDatabase m_database;
    std::unordered_map<const void*, QSqlQuery> m_prepared;
    Conditions m_conditions;
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
    [[nodiscard]] int affectedRows() const { return m_isOk ? m_query.numRowsAffected() : -1; }
    [[nodiscard]] qint64 insertedId() const { return m_query.lastInsertId().toLongLong(); }

private:
    QSqlQuery& m_query;
    bool m_isOk = false;
};

/// BEGIN IMMEDIATE, and ROLLBACK unless committed. Transactions don't nest.
class WriteTransaction {
public:
    explicit WriteTransaction(Store& store);
    ~WriteTransaction();
    WriteTransaction(const WriteTransaction&) = delete;
    WriteTransaction& operator=(const WriteTransaction&) = delete;

    [[nodiscard]] bool isOpen() const { return m_isOpen; }
    [[nodiscard]] bool commit();

private:
    Store& m_store;
    bool m_isOpen = false;
};

} // namespace torvelane::platform::simulated
