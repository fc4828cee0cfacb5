#include "optimizers/AdapterSnapshots.h"

#include "optimizers/SnapshotValue.h"

namespace torvelane {

namespace {

const QString keyRegSubKey = QStringLiteral("regSubKey");
const QString keyPnpDeviceId = QStringLiteral("pnpDeviceId");
const QString keyName = QStringLiteral("name");
const QString keyValues = QStringLiteral("values");

} // namespace

AdapterSnapshots::AdapterSnapshots(const QString& fileName, const QString& category)
    : m_fileName(fileName)
    , m_file(fileName, category)
{
    take(m_file.read().value_or(QJsonObject()));
}

void AdapterSnapshots::refresh()
{
    if (!m_isSaved)
        return;
    if (const auto document = m_file.readAgain())
        take(*document);
}

void AdapterSnapshots::insert(const NetAdapter& adapter, const QJsonArray& values)
{
    m_entries.insert(adapter.guid, {adapter.regSubKey, adapter.pnpDeviceId, displayName(adapter), values});
    save();
}

int AdapterSnapshots::restore(const QString& guid, const AdapterSnapshot& entry)
{
    const LedgerSession session(ValueLedger::current(), holder(guid));
    int restored = 0;
    for (const QJsonValue& element : entry.values) {
        const QJsonObject captured = element.toObject();
        const auto value = capturedValueFromJson(captured);
        if (value
            && session.putBack({RegistryHive::LocalMachine, entry.regSubKey, captured.value(keyName).toString()},
                               *value)) {
            ++restored;
        }
    }
    m_entries.remove(guid);
    save();
    return restored;
}

QList<ValueHolder> AdapterSnapshots::heldIn(const QString& fileName, const QJsonObject& document,
                                            const std::optional<RegistryValue>& wish)
{
    QList<ValueHolder> holders;
    for (auto member = document.begin(); member != document.end(); ++member) {
        ValueHolder holder{fileName + QLatin1Char('/') + member.key(), {}, {}};
        const QJsonObject entry = member.value().toObject();
        const QString key = entry.value(keyRegSubKey).toString();
        const QJsonArray values = entry.value(keyValues).toArray();
        for (const QJsonValue& element : values) {
            const QJsonObject captured = element.toObject();
            holder.values.append({{RegistryHive::LocalMachine, key, captured.value(keyName).toString()},
                                  capturedValueFromJson(captured),
                                  wish});
        }
        holders.append(holder);
    }
    return holders;
}

void AdapterSnapshots::take(const QJsonObject& document)
{
    m_entries.clear();
    for (auto member = document.begin(); member != document.end(); ++member) {
        const QJsonObject entry = member.value().toObject();
        m_entries.insert(member.key(),
                         {entry.value(keyRegSubKey).toString(), entry.value(keyPnpDeviceId).toString(),
                          entry.value(keyName).toString(), entry.value(keyValues).toArray()});
    }
}

void AdapterSnapshots::save()
{
    QJsonObject document;
    for (auto entry = m_entries.begin(); entry != m_entries.end(); ++entry) {
        document.insert(entry.key(),
                        QJsonObject{{keyRegSubKey, entry->regSubKey},
                                    {keyPnpDeviceId, entry->pnpDeviceId},
                                    {keyName, entry->name},
                                    {keyValues, entry->values}});
    }
    // What could not be recorded is in the log; the operation goes on.
    m_isSaved = m_file.keep(document);
}

QString displayName(const NetAdapter& adapter)
{
    return adapter.connectionName.isEmpty() ? adapter.name : adapter.connectionName;
}

} // namespace torvelane
