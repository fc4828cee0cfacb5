#include "tweaks/StateStore.h"

#include "core/JsonFile.h"
#include "core/Log.h"

#include <QFile>
#include <QJsonDocument>
#include <QMutexLocker>
#include <QSqlError>
#include <QSqlQuery>
#include <QThread>
#include <QVariant>

#include <algorithm>
#include <array>
#include <atomic>
#include <utility>

namespace torvelane {

namespace {

const QString category = QStringLiteral("store");

const QString createStateTable =
    QStringLiteral("CREATE TABLE IF NOT EXISTS tweak_state ( tweak_id TEXT PRIMARY KEY, required_tier TEXT NOT NULL, "
                   "capture TEXT NOT NULL, state TEXT NOT NULL, applied_at INTEGER, updated_at INTEGER)");
const QString createSelectionTable =
    QStringLiteral("CREATE TABLE IF NOT EXISTS tweak_selection ( tweak_id TEXT PRIMARY KEY, selected_at INTEGER)");
const QString createOrderTable =
    QStringLiteral("CREATE TABLE IF NOT EXISTS holder_order ( holder TEXT PRIMARY KEY, sequence INTEGER)");
/// One counter for both tables.
const QString nextSequence = QStringLiteral("(SELECT MAX((SELECT COALESCE(MAX(apply_sequence), 0) FROM tweak_state), "
                                            "(SELECT COALESCE(MAX(sequence), 0) FROM holder_order)) + 1)");
const QString upsertOrder =
    QStringLiteral("INSERT OR REPLACE INTO holder_order(holder, sequence) VALUES(?,") + nextSequence + QLatin1Char(')');
const QString upsertState =
    QStringLiteral("INSERT INTO tweak_state(tweak_id, required_tier, capture, state, applied_at, updated_at, "
                   "apply_sequence) "
                   "VALUES(?,?,?,?,?,?,")
    + nextSequence
    + QStringLiteral(") ON CONFLICT(tweak_id) DO UPDATE SET  required_tier=excluded.required_tier,  "
                     "capture=excluded.capture,  state=excluded.state,  applied_at=excluded.applied_at,  "
                     "updated_at=excluded.updated_at,  apply_sequence=excluded.apply_sequence");
const QString updateState = QStringLiteral("UPDATE tweak_state SET state=?, updated_at=? WHERE tweak_id=?");
const QString addSequenceColumn = QStringLiteral("ALTER TABLE tweak_state ADD COLUMN apply_sequence INTEGER");
const QString selectSequence = QStringLiteral("SELECT apply_sequence FROM tweak_state LIMIT 0");
const QString selectRecords =
    QStringLiteral("SELECT tweak_id, required_tier, capture, state, applied_at, apply_sequence FROM tweak_state ");
const QString selectById = selectRecords + QStringLiteral("WHERE tweak_id=?");
const QString selectByState = selectRecords + QStringLiteral("WHERE state=?");
const QString selectByUnknownState =
    selectRecords + QStringLiteral("WHERE state NOT IN ('capturing', 'applied', 'reverting', 'reverted')");
const QString selectIdsByState = QStringLiteral("SELECT tweak_id FROM tweak_state WHERE state=?");

const QString selectHolders = QStringLiteral(
    "SELECT tweak_id, state, applied_at, apply_sequence, capture FROM tweak_state WHERE state<>'reverted'");

/// Indexed by the state's number.
constexpr std::array stateNames{QLatin1String("capturing"), QLatin1String("applied"), QLatin1String("reverting"),
                                QLatin1String("reverted")};

QString stateName(TweakState state)
{
    const auto index = static_cast<std::size_t>(state);
    return stateNames[index < stateNames.size() ? index : stateNames.size() - 1];
}

TweakState stateFromString(const QString& name)
{
    for (std::size_t i = 0; i < stateNames.size(); ++i) {
        if (name == stateNames[i])
            return static_cast<TweakState>(i);
    }
    return TweakState::Unknown;
}

qint64 nowMs()
{
    return QDateTime::currentMSecsSinceEpoch();
}

void logError(const QString& message)
{
    logMessage(LogLevel::Error, category, message);
}

/// A number that no other thread of the process has or had. It has no destructor on purpose: g++ for Windows frees a
/// thread_local before it runs a destructor that is due there (https://gcc.gnu.org/bugzilla/show_bug.cgi?id=80816).
quint64 currentThreadSerial()
{
    static std::atomic<quint64> last = 0;
    thread_local const quint64 serial = ++last;
    return serial;
}

thread_local bool lastWasBusy = false;

/// Takes note of how an operation ended; whether it failed, which is logged then.
bool hasFailed(const char* operation, const QSqlQuery& query)
{
    const QSqlError error = query.lastError();
    // The low byte of what SQLite says in more detail: https://www.sqlite.org/rescode.html#busy
    constexpr int busy = 5;
    lastWasBusy = error.isValid() && (error.nativeErrorCode().toInt() & 0xff) == busy;
    if (error.isValid())
        logError(QLatin1String(operation) + QStringLiteral(" failed: ") + error.text());
    return error.isValid();
}

QSqlQuery selectQuery(const QSqlDatabase& database, const QString& sql, const QVariantList& values)
{
    lastWasBusy = false;
    QSqlQuery query(database);
    query.setForwardOnly(true);
    // Executing what couldn't be prepared would replace the reason by one of Qt's own.
    if (query.prepare(sql)) {
        for (const QVariant& value : values)
            query.addBindValue(value);
        query.exec();
    }
    return query;
}

TweakRecord recordFrom(const QSqlQuery& query)
{
    TweakRecord record;
    record.id = query.value(0).toString();
    record.requiredTier = tierFromString(query.value(1).toString());
    record.capture = StateStore::parseCapture(query.value(2).toString());
    record.state = stateFromString(query.value(3).toString());
    const qint64 appliedAtMs = query.value(4).toLongLong();
    if (appliedAtMs > 0)
        record.appliedAt = QDateTime::fromMSecsSinceEpoch(appliedAtMs);
    record.sequence = query.value(5).toLongLong();
    return record;
}

StoredCapture holderFrom(const QSqlQuery& query)
{
    constexpr qint64 beforeAll = qint64(1) << 62; // more than any time in milliseconds
    StoredCapture row;
    row.id = query.value(0).toString();
    row.state = stateFromString(query.value(1).toString());
    row.order = query.value(3).toLongLong();
    if (row.order <= 0)
        row.order = std::max<qint64>(query.value(2).toLongLong(), 0) - beforeAll;
    row.text = query.value(4).toString();
    return row;
}

} // namespace

StateStore::~StateStore()
{
    close();
}

bool StateStore::open(const QString& path)
{
    m_baseName = QStringLiteral("torvelane.state");
    m_path = path;
    // SQLite opens a file without write permission for reading only, and then every apply would fail after its capture.
    // Looked at before there is a connection: closing any descriptor of the file would drop SQLite's locks on it.
    if (QFile file(path); file.exists() && !file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly)) {
        logError(QStringLiteral("Cannot open state.db: ") + file.errorString());
        return false;
    }
    if (!connection().isOpen())
        return false;
    if (!createTable(QStringLiteral("tweak_state"), createStateTable)
        || !createTable(QStringLiteral("tweak_selection"), createSelectionTable) || !addSequence()
        || !createTable(QStringLiteral("holder_order"), createOrderTable)) {
        return false;
    }
    m_open = true;
    seedSelection();
    return true;
}

void StateStore::close()
{
    const QMutexLocker locker(&m_mutex);
    // Removing a connection closes it, also one that another thread has made and left. The last to be closed writes the
    // log back into the database: one that has written doesn't have the disk wait for the directory once more.
    const QString own = m_connections.take(reinterpret_cast<quintptr>(QThread::currentThreadId())).name;
    for (const ThreadConnection& entry : std::as_const(m_connections))
        QSqlDatabase::removeDatabase(entry.name);
    QSqlDatabase::removeDatabase(own);
    m_connections.clear();
    m_open = false;
}

bool StateStore::createTable(const QString& table, const QString& sql) const
{
    QSqlQuery query(connection());
    if (query.exec(sql))
        return true;
    logError(QStringLiteral("Cannot create %1: %2").arg(table, query.lastError().text()));
    return false;
}

/// A database from before there was a sequence gets the column, with nothing in it.
bool StateStore::addSequence() const
{
    QSqlQuery query(connection());
    if (query.exec(selectSequence) || query.exec(addSequenceColumn))
        return true;
    const QString reason = query.lastError().text();
    // Another process may have been faster.
    if (query.exec(selectSequence))
        return true;
    logError(QStringLiteral("Cannot extend tweak_state: ") + reason);
    return false;
}

bool StateStore::wasBusy()
{
    return lastWasBusy;
}

/// A database from before there was a selection gets it filled with the applied tweaks.
void StateStore::seedSelection()
{
    QSqlQuery query(connection());
    if (!query.exec(QStringLiteral("SELECT COUNT(*) FROM tweak_selection")) || !query.next()
        || query.value(0).toLongLong() != 0) {
        return;
    }
    query.finish();
    if (query.exec(QStringLiteral("INSERT INTO tweak_selection(tweak_id, selected_at) "
                                  "SELECT tweak_id, updated_at FROM tweak_state WHERE state='applied'"))
        && query.numRowsAffected() > 0) {
        logMessage(LogLevel::Info, category,
                   QStringLiteral("Seeded selection from %1 applied tweak(s)").arg(query.numRowsAffected()));
    }
}

bool StateStore::beginApply(const QString& id, Tier tier, const QJsonObject& capture)
{
    const qint64 now = nowMs();
    noteChange(id);
    return execute("beginApply", upsertState,
                   {id, tierName(tier), QString::fromUtf8(QJsonDocument(capture).toJson(QJsonDocument::Compact)),
                    stateName(TweakState::Capturing), now, now});
}

bool StateStore::setState(const QString& id, TweakState state)
{
    noteChange(id);
    return execute("setState", updateState, {stateName(state), nowMs(), id});
}

bool StateStore::loadRecord(const QString& id, TweakRecord& out, bool* unreadable) const
{
    if (unreadable)
        *unreadable = false;
    if (!m_open)
        return false;
    QSqlQuery query = selectQuery(connection(), selectById, {id});
    if (query.next()) {
        out = recordFrom(query);
        return true;
    }
    const bool failed = hasFailed("loadRecord", query);
    if (unreadable)
        *unreadable = failed;
    return false;
}

QList<TweakRecord> StateStore::listByState(TweakState state, bool* unreadable) const
{
    QList<TweakRecord> records;
    if (unreadable)
        *unreadable = false;
    if (!m_open)
        return records;
    QSqlQuery query = state == TweakState::Unknown ? selectQuery(connection(), selectByUnknownState, {})
                                                   : selectQuery(connection(), selectByState, {stateName(state)});
    while (query.next())
        records.append(recordFrom(query));
    const bool failed = hasFailed("listByState", query);
    if (unreadable)
        *unreadable = failed;
    return records;
}

QStringList StateStore::listIdsByState(TweakState state) const
{
    QStringList ids;
    if (!m_open)
        return ids;
    QSqlQuery query = selectQuery(connection(), selectIdsByState, {stateName(state)});
    while (query.next())
        ids.append(query.value(0).toString());
    std::ignore = hasFailed("listByState", query);
    return ids;
}

QList<TweakRecord> StateStore::listInterrupted() const
{
    return listByState(TweakState::Capturing) + listByState(TweakState::Reverting);
}

bool StateStore::listHolders(QList<StoredCapture>& out) const
{
    out.clear();
    QSqlQuery query = selectQuery(connection(), selectHolders, {});
    while (query.next())
        out.append(holderFrom(query));
    return !hasFailed("listHolders", query);
}

bool StateStore::loadHolder(const QString& id, StoredCapture& out, bool* unreadable) const
{
    QSqlQuery query = selectQuery(connection(), selectHolders + QStringLiteral(" AND tweak_id=?"), {id});
    const bool found = query.next();
    if (found)
        out = holderFrom(query);
    *unreadable = !found && hasFailed("loadHolder", query);
    return found;
}

QJsonObject StateStore::parseCapture(const QString& text)
{
    return JsonFile::parse(text.toUtf8(), nullptr).object();
}

std::optional<StoreVersion> StateStore::version() const
{
    if (!m_open)
        return std::nullopt;
    // https://www.sqlite.org/pragma.html#pragma_data_version
    QSqlQuery query = selectQuery(connection(), QStringLiteral("PRAGMA data_version"), {});
    if (query.next())
        return StoreVersion{currentThreadSerial(), query.value(0).toLongLong()};
    std::ignore = hasFailed("version", query);
    return std::nullopt;
}

/// Before the write, and whatever becomes of it.
void StateStore::noteChange(const QString& id)
{
    const QMutexLocker locker(&m_mutex);
    if (!m_changes.ids.contains(id))
        m_changes.ids.append(id);
}

StateStore::Changes StateStore::takeChanges()
{
    const QMutexLocker locker(&m_mutex);
    return std::exchange(m_changes, {});
}

bool StateStore::drawOrder(const QString& holder)
{
    {
        const QMutexLocker locker(&m_mutex);
        m_changes.orders = true;
    }
    return execute("drawOrder", upsertOrder, {holder});
}

bool StateStore::drawnOrders(QHash<QString, qint64>& out) const
{
    out.clear();
    QSqlQuery query = selectQuery(connection(), QStringLiteral("SELECT holder, sequence FROM holder_order"), {});
    while (query.next())
        out.insert(query.value(0).toString(), query.value(1).toLongLong());
    return !hasFailed("drawnOrders", query);
}

void StateStore::setSelected(const QString& id, bool selected)
{
    if (selected) {
        std::ignore = execute(
            "setSelected", QStringLiteral("INSERT OR REPLACE INTO tweak_selection(tweak_id, selected_at) VALUES(?,?)"),
            {id, nowMs()});
    } else {
        std::ignore = execute("setSelected", QStringLiteral("DELETE FROM tweak_selection WHERE tweak_id=?"), {id});
    }
}

void StateStore::clearSelection()
{
    std::ignore = execute("clearSelection", QStringLiteral("DELETE FROM tweak_selection"), {});
}

bool StateStore::execute(const char* operation, const QString& sql, const QVariantList& values) const
{
    lastWasBusy = false;
    if (!m_open)
        return false;
    QSqlQuery query(connection());
    const bool prepared = query.prepare(sql);
    for (const QVariant& value : values)
        query.addBindValue(value);
    if (m_commitObserver)
        m_commitObserver(false, operation);
    // Executing what couldn't be prepared would replace the reason by one of Qt's own.
    if (prepared)
        query.exec();
    if (hasFailed(operation, query))
        return false;
    if (m_commitObserver)
        m_commitObserver(true, operation);
    return true;
}

QSqlDatabase StateStore::connection() const
{
    const auto threadId = reinterpret_cast<quintptr>(QThread::currentThreadId());
    const quint64 serial = currentThreadSerial();
    const QString name = m_baseName + QLatin1Char('_') + QString::number(threadId);
    {
        const QMutexLocker locker(&m_mutex);
        const auto found = m_connections.constFind(threadId);
        if (found != m_connections.cend() && QSqlDatabase::contains(found->name)) {
            if (found->threadSerial == serial)
                return QSqlDatabase::database(found->name);
            // The thread it was made for has ended and left its id to this one, but Qt ties a connection to the thread
            // object that opened it.
            QSqlDatabase::removeDatabase(found->name);
        }
    }

    QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
    database.setDatabaseName(m_path);
    if (database.open()) {
        for (const QLatin1String pragma :
             {QLatin1String("PRAGMA journal_mode=WAL"), QLatin1String("PRAGMA synchronous=FULL"),
              QLatin1String("PRAGMA busy_timeout=5000")}) {
            QSqlQuery(database).exec(pragma);
        }
    } else {
        logError(QStringLiteral("Cannot open state.db: ") + database.lastError().text());
    }
    const QMutexLocker locker(&m_mutex);
    m_connections.insert(threadId, {name, serial});
    return database;
}

} // namespace torvelane
