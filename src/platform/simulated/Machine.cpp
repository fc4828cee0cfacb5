#include "platform/simulated/Machine.h"

#include "platform/simulated/RegistryPath.h"

#include <QDir>
#include <QFileInfo>
#include <QMutex>
#include <QRandomGenerator>
#include <QSqlError>
#include <QStandardPaths>
#include <QThread>
#include <QVariant>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {
namespace {

constexpr int schemaVersion = 1;
constexpr int busyTimeoutMs = 20000;
constexpr int maxWalAttempts = 400;
constexpr int sqliteBusy = 5; // https://www.sqlite.org/rescode.html

constexpr QStringView schema[] = {
    u"CREATE TABLE machine (generation INTEGER NOT NULL, userName TEXT NOT NULL, userSid TEXT NOT NULL,"
    u" elevated INTEGER NOT NULL, secret BLOB NOT NULL)",
    // AUTOINCREMENT: a handle of a deleted key must never reach a key made later.
    u"CREATE TABLE registryKey (id INTEGER PRIMARY KEY AUTOINCREMENT, parentId INTEGER, folded TEXT NOT NULL UNIQUE,"
    u" path TEXT NOT NULL)",
    u"CREATE INDEX registryKeyByParent ON registryKey (parentId)",
    u"CREATE TABLE registryValue (id INTEGER PRIMARY KEY, keyId INTEGER NOT NULL, folded TEXT NOT NULL,"
    u" name TEXT NOT NULL, type INTEGER NOT NULL, data BLOB NOT NULL, UNIQUE (keyId, folded))",
    u"CREATE TABLE fault (id INTEGER PRIMARY KEY, kind INTEGER NOT NULL, subject TEXT NOT NULL, name TEXT NOT NULL,"
    u" n INTEGER NOT NULL, seen INTEGER NOT NULL DEFAULT 0, code INTEGER NOT NULL, andAllAfter INTEGER NOT NULL)",
    u"CREATE TABLE toolCall (id INTEGER PRIMARY KEY, startedMs INTEGER NOT NULL, processId INTEGER NOT NULL,"
    u" tool TEXT NOT NULL, arguments TEXT NOT NULL, exitCode INTEGER)",
};

/// In the order of Statement. StoreValue and EraseValue do nothing, and so lead to a closer look, if the conditions
/// that the caller went by have changed; -1 leaves that check out.
constexpr QStringView statementTexts[] = {
    u"SELECT k.id, k.path, m.generation FROM machine m LEFT JOIN registryKey k ON k.folded = ?",
    u"SELECT k.id, v.type, v.data, m.generation FROM machine m LEFT JOIN registryKey k ON k.id = ?"
    u" LEFT JOIN registryValue v ON v.keyId = k.id AND v.folded = ?",
    u"INSERT INTO registryValue (keyId, folded, name, type, data)"
    u" SELECT k.id, ?, ?, ?, ? FROM registryKey k, machine m WHERE k.id = ? AND ? IN (-1, m.generation)"
    u" ON CONFLICT (keyId, folded) DO UPDATE SET type = excluded.type, data = excluded.data",
    u"DELETE FROM registryValue WHERE keyId = ? AND folded = ? AND ? IN (-1, (SELECT generation FROM machine))",
    u"INSERT INTO registryKey (parentId, folded, path) VALUES (?, ?, ?)",
    u"SELECT path FROM registryKey WHERE parentId = ?",
    u"SELECT name FROM registryValue WHERE keyId = ? ORDER BY id",
    u"UPDATE fault SET seen = seen + 1 WHERE n > 0",
    u"SELECT kind, code FROM fault WHERE n > 0 AND (seen = n OR (andAllAfter AND seen > n)) ORDER BY id",
};
static_assert(std::size(statementTexts) == static_cast<std::size_t>(Statement::Count));

struct Shared {
    QMutex mutex;
    QString file;
    std::atomic<quint64> epoch{1};
    std::function<void(ChangeMoment, const RegistryChange&)> observer;
    std::atomic<bool> hasObserver{false};
    std::atomic<quint64> nextConnection{0};
};

Shared& shared()
{
    static Shared instance;
    return instance;
}

void notifyObserver(ChangeMoment moment, const RegistryChange& what)
{
    if (!Machine::hasObserver())
        return;
    std::function<void(ChangeMoment, const RegistryChange&)> observer;
    {
        const QMutexLocker lock(&shared().mutex);
        observer = shared().observer;
    }
    if (observer)
        observer(moment, what);
}

[[noreturn]] void killThisProcess()
{
    ::kill(::getpid(), SIGKILL);
    for (;;)
        ::pause();
}

} // namespace

QString notNull(const QString& text)
{
    return text.isNull() ? u""_s : text;
}

QByteArray notNull(const QByteArray& data)
{
    return data.isNull() ? QByteArray("") : data;
}

bool Conditions::countsChanges() const
{
    return std::ranges::any_of(faults, [](const Fault& fault) { return fault.n > 0; });
}

bool Conditions::denies(FaultKind kind, const QString& foldedPath) const
{
    return std::ranges::any_of(
        faults, [&](const Fault& fault) { return fault.kind == kind && isSameOrBelow(foldedPath, fault.subject); });
}

std::optional<Win32Error> Conditions::queryFailure(QueryStage stage, const QString& foldedPath,
                                                   const QString& foldedName) const
{
    const FaultKind kind = stage == QueryStage::Size ? FaultKind::FailQuerySize : FaultKind::FailQueryData;
    for (const Fault& fault : faults) {
        if (fault.kind == kind && fault.subject == foldedPath && fault.name == foldedName)
            return static_cast<Win32Error>(fault.code);
    }
    return std::nullopt;
}

Execution::Execution(QSqlQuery& query, std::initializer_list<QVariant> bindings) : m_query(query)
{
    int position = 0;
    for (const QVariant& binding : bindings)
        m_query.bindValue(position++, binding);
    m_isOk = m_query.exec();
    if (!m_isOk)
        qWarning("Simulated PC: %ls", qUtf16Printable(m_query.lastError().text()));
}

Execution::~Execution()
{
    m_query.finish();
}

WriteTransaction::WriteTransaction(QSqlDatabase& database) : m_database(database)
{
    // IMMEDIATE, since a transaction that begins by reading can't wait for another writer later on.
    QSqlQuery query(m_database);
    m_isOpen = query.exec(u"BEGIN IMMEDIATE"_s);
    if (!m_isOpen)
        qWarning("Simulated PC: %ls", qUtf16Printable(query.lastError().text()));
}

WriteTransaction::~WriteTransaction()
{
    if (m_isOpen)
        QSqlQuery(m_database).exec(u"ROLLBACK"_s);
}

bool WriteTransaction::commit()
{
    const bool isOk = m_isOpen && QSqlQuery(m_database).exec(u"COMMIT"_s);
    if (isOk)
        m_isOpen = false;
    return isOk;
}

Machine* Machine::current()
{
    thread_local std::unique_ptr<Machine> machine;
    if (!machine || machine->m_epoch != epoch()) {
        machine.reset();
        std::unique_ptr<Machine> opened(new Machine);
        if (opened->open(file()))
            machine = std::move(opened);
    }
    return machine.get();
}

QString Machine::file()
{
    {
        const QMutexLocker lock(&shared().mutex);
        if (!shared().file.isEmpty())
            return shared().file;
    }
    const QString named = qEnvironmentVariable("TORVELANE_SIMULATED_PC");
    if (!named.isEmpty())
        return named;
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
        % "/torvelane-simulated-pc/machine.db"_L1;
}

void Machine::setFile(const QString& path)
{
    const QMutexLocker lock(&shared().mutex);
    shared().file = QFileInfo(path).absoluteFilePath();
    shared().epoch.fetch_add(1);
    qputenv("TORVELANE_SIMULATED_PC", shared().file.toLocal8Bit());
}

quint64 Machine::epoch()
{
    return shared().epoch.load();
}

void Machine::setObserver(std::function<void(ChangeMoment, const RegistryChange&)> observer)
{
    const QMutexLocker lock(&shared().mutex);
    shared().hasObserver = static_cast<bool>(observer);
    shared().observer = std::move(observer);
}

bool Machine::hasObserver()
{
    return shared().hasObserver.load(std::memory_order_acquire);
}

Machine::Machine()
    : m_epoch(epoch())
    ,
    // Not named after the thread: its identifier can be that of an earlier one, whose connection may still be open.
    m_connectionName(u"torvelane-simulated-pc-%1"_s.arg(shared().nextConnection.fetch_add(1)))
{
}

Machine::~Machine()
{
    for (std::optional<QSqlQuery>& query : m_prepared)
        query.reset();
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_connectionName);
}

bool Machine::open(const QString& path)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    m_database = QSqlDatabase::addDatabase(u"QSQLITE"_s, m_connectionName);
    m_database.setDatabaseName(path);
    m_database.setConnectOptions(u"QSQLITE_BUSY_TIMEOUT=%1"_s.arg(busyTimeoutMs));
    if (!m_database.open()) {
        qWarning("Simulated PC: can't open %ls: %ls", qUtf16Printable(path),
                 qUtf16Printable(m_database.lastError().text()));
        return false;
    }

    // UTF-16 keeps names as Windows has them, unpaired surrogates included, and spares the conversion. Without
    // synchronous writes a killed process still leaves what it wrote; only a power cut of the host doesn't.
    if (!run(u"PRAGMA encoding = 'UTF-16le'"_s) || !run(u"PRAGMA synchronous = OFF"_s) || !makeIfNew())
        return false;
    refreshConditions();
    return m_conditions.generation >= 0;
}

bool Machine::makeIfNew()
{
    const auto version = [this] {
        QSqlQuery query(u"PRAGMA user_version"_s, m_database);
        return query.next() ? query.value(0).toInt() : -1;
    };

    // Two processes that meet a new file at the same moment: SQLite answers "busy" at once where waiting could lock
    // both for ever.
    for (int attempt = 0;; ++attempt) {
        QSqlQuery query(m_database);
        if (query.exec(u"PRAGMA journal_mode = WAL"_s))
            break;
        const bool isBusy = (query.lastError().nativeErrorCode().toInt() & 0xff) == sqliteBusy;
        if (!isBusy || attempt == maxWalAttempts) {
            qWarning("Simulated PC: %ls", qUtf16Printable(query.lastError().text()));
            return false;
        }
        QThread::msleep(5);
    }

    int found = version();
    if (found == 0) {
        QString error;
        const auto seedDocument = readMachineSeed({}, &error);
        if (!seedDocument) {
            qWarning("Simulated PC: %ls", qUtf16Printable(error));
            return false;
        }
        WriteTransaction transaction(m_database);
        if (!transaction.isOpen())
            return false;
        found = version();
        if (found == 0) {
            for (const QStringView sql : schema) {
                if (!run(sql.toString()))
                    return false;
            }
            if (!seed(*seedDocument) || !run(u"PRAGMA user_version = %1"_s.arg(schemaVersion)))
                return false;
            found = schemaVersion;
        }
        if (!transaction.commit())
            return false;
    }
    if (found != schemaVersion)
        qWarning("Simulated PC: the file %ls is of another version; remove it to begin anew",
                 qUtf16Printable(m_database.databaseName()));
    return found == schemaVersion;
}

bool Machine::run(const QString& sql)
{
    QSqlQuery query(m_database);
    const bool isOk = query.exec(sql);
    if (!isOk)
        qWarning("Simulated PC: %ls", qUtf16Printable(query.lastError().text()));
    return isOk;
}

QSqlQuery& Machine::prepared(Statement statement)
{
    const auto index = static_cast<std::size_t>(statement);
    std::optional<QSqlQuery>& query = m_prepared[index];
    if (!query) {
        query.emplace(m_database);
        query->setForwardOnly(true);
        if (!query->prepare(statementTexts[index].toString()))
            qWarning("Simulated PC: %ls", qUtf16Printable(query->lastError().text()));
    }
    return *query;
}

bool Machine::isUpToDate(qint64 generation)
{
    if (generation == m_conditions.generation)
        return true;
    refreshConditions();
    return false;
}

void Machine::refreshConditions()
{
    m_conditions = {};
    QSqlQuery machine(u"SELECT generation, userName, userSid, elevated, secret FROM machine"_s, m_database);
    if (!machine.next())
        return;
    m_conditions.generation = machine.value(0).toLongLong();
    m_conditions.userName = machine.value(1).toString();
    m_conditions.userSid = machine.value(2).toString();
    m_conditions.elevated = machine.value(3).toBool();
    m_conditions.secret = machine.value(4).toByteArray();
    machine.finish();

    QSqlQuery faults(u"SELECT kind, subject, name, n, code, andAllAfter FROM fault ORDER BY id"_s, m_database);
    while (faults.next()) {
        m_conditions.faults << Fault{static_cast<FaultKind>(faults.value(0).toInt()),
                                     faults.value(1).toString(),
                                     faults.value(2).toString(),
                                     faults.value(3).toInt(),
                                     faults.value(4).toLongLong(),
                                     faults.value(5).toBool()};
    }
}

void Machine::addFault(const Fault& fault)
{
    WriteTransaction transaction(m_database);
    QSqlQuery insert(m_database);
    insert.prepare(u"INSERT INTO fault (kind, subject, name, n, code, andAllAfter) VALUES (?, ?, ?, ?, ?, ?)"_s);
    const Execution inserted(insert,
                             {static_cast<int>(fault.kind), notNull(fault.subject), notNull(fault.name), fault.n,
                              fault.code, fault.andAllAfter});
    if (run(u"UPDATE machine SET generation = generation + 1"_s) && transaction.commit())
        refreshConditions();
}

void Machine::clearFaults()
{
    WriteTransaction transaction(m_database);
    if (run(u"DELETE FROM fault"_s) && run(u"UPDATE machine SET generation = generation + 1"_s) && transaction.commit())
        refreshConditions();
}

void Machine::setElevated(bool elevated)
{
    if (run(u"UPDATE machine SET generation = generation + 1, elevated = %1"_s.arg(elevated ? 1 : 0)))
        refreshConditions();
}

/// What the counting faults do to one change.
struct Machine::Strike {
    bool killBefore = false;
    bool killAfter = false;
    Win32Error code = Win32Error::Success;
};

Machine::Strike Machine::countChange()
{
    Strike strike;
    if (Execution(prepared(Statement::CountChange), {}).affectedRows() == 0)
        return strike;
    Execution faults(prepared(Statement::StrikingFaults), {});
    while (faults.next()) {
        switch (static_cast<FaultKind>(faults.value(0).toInt())) {
        case FaultKind::KillBeforeChange:
            strike.killBefore = true;
            break;
        case FaultKind::KillAfterChange:
            strike.killAfter = true;
            break;
        default:
            strike.code = static_cast<Win32Error>(faults.value(1).toUInt());
        }
    }
    return strike;
}

Win32Error Machine::change(const RegistryChange& what, const std::function<Win32Error()>& write)
{
    notifyObserver(ChangeMoment::Before, what);

    WriteTransaction transaction(m_database);
    if (!transaction.isOpen())
        return Win32Error::RegistryIoFailed;
    const Strike strike = countChange();
    // The count is kept in each of these cases, so that the same fault doesn't strike again after a new start.
    if (strike.killBefore) {
        (void)transaction.commit();
        killThisProcess();
    }
    const Win32Error code = strike.code != Win32Error::Success ? strike.code : write();
    if (code == Win32Error::RegistryIoFailed || !transaction.commit())
        return Win32Error::RegistryIoFailed;
    if (code != Win32Error::Success)
        return code;
    if (strike.killAfter)
        killThisProcess();

    notifyObserver(ChangeMoment::After, what);
    return Win32Error::Success;
}

qint64 Machine::findKey(const QString& path)
{
    Execution found(prepared(Statement::FindKey), {folded(path)});
    return found.next() ? found.value(0).toLongLong() : 0;
}

qint64 Machine::ensureKey(const QString& path)
{
    if (path.isEmpty())
        return 0;
    QString parent = parentPath(path).toString();
    qint64 parentId = 0;
    {
        Execution found(prepared(Statement::FindKey), {folded(path)});
        if (found.next() && !found.value(0).isNull())
            return found.value(0).toLongLong();
    }
    if (!parent.isEmpty()) {
        parentId = ensureKey(parent);
        if (parentId == 0)
            return 0;
        // The parent keeps the case that it was made with, and so does it inside the paths of its children.
        Execution stored(prepared(Statement::FindKey), {folded(parent)});
        if (stored.next())
            parent = stored.value(1).toString();
    }
    const QString stored = parent.isEmpty() ? path : QString(parent % u'\\' % leafName(path));
    QSqlQuery& insert = prepared(Statement::InsertKey);
    Execution inserted(insert, {parentId, folded(stored), stored});
    return inserted.isOk() ? insert.lastInsertId().toLongLong() : 0;
}

bool Machine::storeValue(qint64 keyId, const QString& name, quint32 type, const QByteArray& data)
{
    const Execution stored(prepared(Statement::StoreValue),
                           {folded(name), notNull(name), type, notNull(data), keyId, -1});
    return stored.affectedRows() == 1;
}

bool Machine::eraseKeyTree(qint64 id)
{
    const QString tree = u"WITH RECURSIVE tree (id) AS (SELECT ? UNION ALL SELECT k.id FROM registryKey k"
                         u" JOIN tree ON k.parentId = tree.id) "_s;
    for (const QString& sql : {QString(tree % "DELETE FROM registryValue WHERE keyId IN tree"_L1),
                               QString(tree % "DELETE FROM registryKey WHERE id IN tree"_L1)}) {
        QSqlQuery query(m_database);
        query.prepare(sql);
        if (!Execution(query, {id}).isOk())
            return false;
    }
    return true;
}

bool Machine::seed(const MachineSeed& seed)
{
    qint64 generation = 0;
    {
        QSqlQuery query(u"SELECT generation FROM machine"_s, m_database);
        if (query.next())
            generation = query.value(0).toLongLong();
    }
    for (const auto table : {"machine"_L1, "registryKey"_L1, "registryValue"_L1, "fault"_L1, "toolCall"_L1}) {
        if (!run(u"DELETE FROM %1"_s.arg(table)))
            return false;
    }

    QByteArray secret(32, Qt::Uninitialized);
    std::ranges::generate(secret, [] { return static_cast<char>(QRandomGenerator::system()->generate()); });
    QSqlQuery machine(m_database);
    machine.prepare(u"INSERT INTO machine (generation, userName, userSid, elevated, secret) VALUES (?, ?, ?, ?, ?)"_s);
    if (!Execution(machine, {generation + 1, seed.userName, seed.userSid, seed.elevated, secret}).isOk())
        return false;

    for (const QString& path : seed.keys + QStringList{u"HKLM"_s, u"HKCU"_s, u"HKU"_s}) {
        if (ensureKey(path) == 0)
            return false;
    }
    return std::ranges::all_of(seed.values, [this](const SimulatedValue& value) {
        return storeValue(ensureKey(value.keyPath), value.name, value.type, value.data);
    });
}

} // namespace torvelane::platform::simulated
