#include "optimizers/AdapterSnapshots.h"

#include "optimizers/SnapshotValue.h"
#include "system/RegistryAccess.h"

namespace torvelane {

namespace {

const QString keyRegSubKey = QStringLiteral("regSubKey");
const QString keyPnpDeviceId = QStringLiteral("pnpDeviceId");
const QString keyName = QStringLiteral("name");
const QString keyValues = QStringLiteral("values");

} // namespace

AdapterSnapshots::AdapterSnapshots(const QString& fileName, const QString& category) : m_file(fileName, category)
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

void AdapterSnapshots::remove(const QString& guid)
{
    m_entries.remove(guid);
    save();
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
    m_isSaved = m_file.write(document) == JsonFile::WriteError::None;
}

QString displayName(const NetAdapter& adapter)
{
    return adapter.connectionName.isEmpty() ? adapter.name : adapter.connectionName;
}

int restoreValues(const AdapterSnapshot& entry)
{
    int restored = 0;
    for (const QJsonValue& element : entry.values) {
        const QJsonObject captured = element.toObject();
        const auto value = capturedValueFromJson(captured);
        if (value
            && writeValue(RegistryHive::LocalMachine, entry.regSubKey, captured.value(keyName).toString(), *value)) {
            ++restored;
        }
    }
    return restored;
}

} // namespace torvelane
