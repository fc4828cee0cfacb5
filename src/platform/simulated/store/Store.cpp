#include "platform/simulated/store/Store.h"

#include "platform/simulated/registry/RegistryTables.h"
#include "platform/simulated/store/FacilityDocuments.h"
#include "platform/simulated/store/Seed.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <QMutex>
#include <QRandomGenerator>
#include <QSqlError>
#include <QStandardPaths>
#include <QThread>
#include <QThreadStorage>
#include <QVariant>

#include <algorithm>
#include <atomic>
#include <optional>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {
namespace {

constexpr int schemaVersion = 3;
constexpr int busyTimeoutMs = 20000;
constexpr int maxWalAttempts = 400;
constexpr int keptCalls = 10000;

// https://www.sqlite.org/rescode.html
constexpr int sqliteBusy = 5;
constexpr int sqliteCorrupt = 11;
constexpr int sqliteNotADatabase = 26;

constexpr QStringView schema[] = {
    u"CREATE TABLE machine (generation INTEGER NOT NULL, secret BLOB NOT NULL)",
    u"CREATE TABLE facility (name TEXT PRIMARY KEY, document TEXT NOT NULL)",
    u"CREATE TABLE call (id INTEGER PRIMARY KEY, startedMs INTEGER NOT NULL, processId INTEGER NOT NULL,"
    u" call TEXT NOT NULL, answer INTEGER)",
    u"CREATE TABLE fault (id INTEGER PRIMARY KEY, effect INTEGER NOT NULL, call TEXT NOT NULL, part TEXT NOT NULL,"
    u" n INTEGER NOT NULL, once INTEGER NOT NULL, code INTEGER NOT NULL, seen INTEGER NOT NULL DEFAULT 0)",
    // AUTOINCREMENT: a handle of a deleted key must never reach a key made later.
    u"CREATE TABLE registryKey (id INTEGER PRIMARY KEY AUTOINCREMENT, parentId INTEGER, folded TEXT NOT NULL UNIQUE,"
    u" path TEXT NOT NULL)",
    u"CREATE INDEX registryKeyByParent ON registryKey (parentId)",
    u"CREATE TABLE registryValue (id INTEGER PRIMARY KEY, keyId INTEGER NOT NULL, folded TEXT NOT NULL,"
    u" name TEXT NOT NULL, type INTEGER NOT NULL, data BLOB NOT NULL, UNIQUE (keyId, folded))",
};

struct Shared {
    QMutex mutex;
    QString file;
    std::atomic<quint64> epoch{1};
    std::atomic<quint64> epochOfWarning{0};
    std::atomic<quint64> nextConnection{0};
};

Shared& shared()
{
    static Shared instance;
    return instance;
}

/// Qt closes it before it says that the thread has ended. A thread_local would be closed after that: whoever waits for a
/// worker and then leaves the program could take Qt's list of connections from under it. Never destroyed itself, since
/// threads may outlive the static objects.
std::unique_ptr<Store>& threadStore()
{
    static auto* const stores = new QThreadStorage<std::unique_ptr<Store>>;
    return stores->localData();
}

/// Once for each file, since every call of the program would come upon it again.
void warnUnusable(const QString& reason)
{
    const quint64 epoch = Store::epoch();
    if (shared().epochOfWarning.exchange(epoch) != epoch)
        qWarning("Simulated PC: %ls can't be used (%ls); \"./dev pc reset\" makes it anew.",
                 qUtf16Printable(Store::file()), qUtf16Printable(reason));
}

void warnOf(const QSqlError& error)
{
    const int code = error.nativeErrorCode().toInt() & 0xff;
    if (code == sqliteCorrupt || code == sqliteNotADatabase)
        warnUnusable(error.databaseText());
    else
        qWarning("Simulated PC: %ls", qUtf16Printable(error.text()));
}

QByteArray newSecret()
{
    QByteArray secret(32, Qt::Uninitialized);
    std::ranges::generate(secret, [] { return static_cast<char>(QRandomGenerator::system()->generate()); });
    return secret;
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

Execution::Execution(QSqlQuery& query, std::initializer_list<QVariant> bindings) : m_query(query)
{
    int position = 0;
    for (const QVariant& binding : bindings)
        m_query.bindValue(position++, binding);
    m_isOk = m_query.exec();
    if (!m_isOk)
        warnOf(m_query.lastError());
}

Execution::~Execution()
{
    m_query.finish();
}

WriteTransaction::WriteTransaction(Store& store) : m_store(store)
{
    // IMMEDIATE, since a transaction that begins by reading can't wait for another writer later on.
    m_isOpen = Execution(m_store.prepared(u"BEGIN IMMEDIATE"), {}).isOk();
}

WriteTransaction::~WriteTransaction()
{
    if (m_isOpen)
        (void)Execution(m_store.prepared(u"ROLLBACK"), {});
}

bool WriteTransaction::commit()
{
    const bool isOk = m_isOpen && Execution(m_store.prepared(u"COMMIT"), {}).isOk();
    if (isOk)
        m_isOpen = false;
    return isOk;
}

Store* Store::current()
{
    std::unique_ptr<Store>& store = threadStore();
    if (!store || store->m_epoch != epoch()) {
        store.reset();
        QString reason;
        store = open(nullptr, &reason);
        if (!store)
            warnUnusable(reason);
    }
    return store.get();
}

QString Store::file()
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

void Store::setFile(const QString& path)
{
    const QMutexLocker lock(&shared().mutex);
    shared().file = QFileInfo(path).absoluteFilePath();
    shared().epoch.fetch_add(1);
    qputenv("TORVELANE_SIMULATED_PC", shared().file.toLocal8Bit());
}

quint64 Store::epoch()
{
    return shared().epoch.load();
}

Store::Store()
    : m_epoch(epoch())
    ,
    // Not named after the thread: its identifier can be that of an earlier one, whose connection may still be open.
    m_connectionName(u"torvelane-simulated-pc-%1"_s.arg(shared().nextConnection.fetch_add(1)))
{
}

Store::~Store()
{
    m_prepared.clear();
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_connectionName);
}

std::unique_ptr<Store> Store::open(const Seed* seed, QString* reason)
{
    const QString path = file();
    QDir().mkpath(QFileInfo(path).absolutePath());
    std::unique_ptr<Store> store(new Store);
    store->m_database = QSqlDatabase::addDatabase(u"QSQLITE"_s, store->m_connectionName);
    store->m_database.setDatabaseName(path);
    store->m_database.setConnectOptions(u"QSQLITE_BUSY_TIMEOUT=%1"_s.arg(busyTimeoutMs));
    const bool isOpen = store->m_database.open();
    if (!isOpen)
        *reason = store->m_database.lastError().databaseText();
    return isOpen && store->prepare(seed, reason) ? std::move(store) : nullptr;
}

bool Store::prepare(const Seed* seed, QString* reason)
{
    // UTF-16 keeps names as Windows has them, unpaired surrogates included, and spares the conversion. Without
    // synchronous writes a killed process still leaves what it wrote; only a power cut of the host doesn't.
    if (!useWriteAheadLog(reason) || !run(u"PRAGMA encoding = 'UTF-16le'"_s) || !run(u"PRAGMA synchronous = OFF"_s))
        return false;
    if (number(u"PRAGMA user_version"_s) == 0 && !make(seed, reason))
        return false;
    if (number(u"PRAGMA user_version"_s) != schemaVersion) {
        *reason = u"it is of another version"_s;
        return false;
    }
    refreshConditions();
    if (m_conditions.generation < 0) {
        *reason = u"it is damaged"_s;
        return false;
    }
    return run(u"DELETE FROM call WHERE id <= (SELECT max(id) FROM call) - %1"_s.arg(keptCalls));
}

bool Store::useWriteAheadLog(QString* reason)
{
    // Two processes that meet a new file at the same moment: SQLite answers "busy" at once where waiting could lock
    // both for ever.
    for (int attempt = 0;; ++attempt) {
        QSqlQuery query(m_database);
        if (query.exec(u"PRAGMA journal_mode = WAL"_s))
            return true;
        *reason = query.lastError().databaseText();
        const bool isBusy = (query.lastError().nativeErrorCode().toInt() & 0xff) == sqliteBusy;
        if (!isBusy || attempt == maxWalAttempts)
            return false;
        QThread::msleep(5);
    }
}

bool Store::make(const Seed* seed, QString* reason)
{
    std::optional<Seed> ownSeed;
    if (!seed) {
        ownSeed = readSeed({}, reason);
        if (!ownSeed)
            return false;
        seed = &*ownSeed;
    }
    *reason = u"it can't be written"_s;
    WriteTransaction transaction(*this);
    if (!transaction.isOpen())
        return false;
    // Another process may have been faster; and a database that has tables is somebody else's.
    if (number(u"PRAGMA user_version"_s) != 0 || number(u"SELECT count(*) FROM sqlite_master"_s) != 0)
        return true;
    const bool hasTables = std::ranges::all_of(schema, [this](QStringView sql) { return run(sql.toString()); });
    return hasTables && fill(*seed) && run(u"PRAGMA user_version = %1"_s.arg(schemaVersion)) && transaction.commit();
}

bool Store::fill(const Seed& seed)
{
    const qint64 generation = number(u"SELECT generation FROM machine"_s);
    for (const auto table :
         {"machine"_L1, "facility"_L1, "call"_L1, "fault"_L1, "registryKey"_L1, "registryValue"_L1}) {
        if (!run(u"DELETE FROM %1"_s.arg(table)))
            return false;
    }
    const Execution machine(prepared(u"INSERT INTO machine (generation, secret) VALUES (?, ?)"),
                            {generation + 1, newSecret()});
    bool isOk = machine.isOk() && fillRegistry(*this, seed.registry);
    for (const auto& [facility, document] : seed.documents.asKeyValueRange())
        isOk = isOk && writeDocument(*this, facility, document);
    return isOk;
}

bool Store::reset(const Seed& seed)
{
    // Whoever resets needs no advice to do so.
    shared().epochOfWarning = epoch();
    // Elsewhere the file may be open, and whoever has it sees the new state if it is changed in place.
    QString reason;
    std::unique_ptr<Store>& store = threadStore();
    store = open(&seed, &reason);
    if (store && store->number(u"SELECT quick_check = 'ok' FROM pragma_quick_check(1)"_s) == 1) {
        WriteTransaction transaction(*store);
        if (transaction.isOpen() && store->fill(seed) && transaction.commit()) {
            store->refreshConditions();
            return true;
        }
    }
    store.reset();
    return replaceFile(seed);
}

bool Store::replaceFile(const Seed& seed)
{
    shared().epoch.fetch_add(1);
    // A log that stayed would be played back into the new file.
    for (const auto suffix : {"-wal"_L1, "-shm"_L1, "-journal"_L1, ""_L1}) {
        if (QFile::exists(file() + suffix) && !QFile::remove(file() + suffix))
            return false;
    }
    QString reason;
    threadStore() = open(&seed, &reason);
    return threadStore() != nullptr;
}

bool Store::run(const QString& sql)
{
    QSqlQuery query(m_database);
    const bool isOk = query.exec(sql);
    if (!isOk)
        warnOf(query.lastError());
    return isOk;
}

qint64 Store::number(const QString& sql)
{
    QSqlQuery query(m_database);
    return query.exec(sql) && query.next() ? query.value(0).toLongLong() : -1;
}

QSqlQuery& Store::prepared(QStringView sql)
{
    const auto found = m_prepared.find(sql.utf16());
    if (found != m_prepared.end())
        return found->second;
    QSqlQuery query(m_database);
    query.setForwardOnly(true);
    if (!query.prepare(sql.toString()))
        warnOf(query.lastError());
    return m_prepared.emplace(sql.utf16(), std::move(query)).first->second;
}

bool Store::isUpToDate(qint64 generation)
{
    if (generation == m_conditions.generation)
        return true;
    refreshConditions();
    return false;
}

void Store::refreshConditions()
{
    m_conditions = {};
    {
        Execution machine(prepared(u"SELECT generation, secret FROM machine"), {});
        if (!machine.next())
            return;
        m_conditions.generation = machine.value(0).toLongLong();
        m_conditions.secret = machine.value(1).toByteArray();
    }
    const QJsonObject user = readDocument(*this, u"user"_s);
    m_conditions.userName = user[u"name"].toString();
    m_conditions.userSid = user[u"sid"].toString();
    m_conditions.elevated = user[u"elevated"].toBool(true);
    m_conditions.faults = readFaults(*this);
}

} // namespace torvelane::platform::simulated
