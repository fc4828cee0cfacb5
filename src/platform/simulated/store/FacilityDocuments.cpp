#include "platform/simulated/store/FacilityDocuments.h"

#include "platform/simulated/store/Seed.h"
#include "platform/simulated/store/Store.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {
namespace {

/// Reading and parsing the seed costs milliseconds, so only a process that misses a document does it.
const QMap<QString, QJsonObject>& seededDocuments()
{
    static const QMap<QString, QJsonObject> documents = [] {
        QString error;
        const auto seed = readSeed({}, &error);
        return seed ? seed->documents : QMap<QString, QJsonObject>();
    }();
    return documents;
}

QJsonObject parse(const QVariant& text)
{
    return QJsonDocument::fromJson(text.toString().toUtf8()).object();
}

} // namespace

QJsonObject readDocument(Store& store, const QString& facility)
{
    Execution row(store.prepared(u"SELECT document FROM facility WHERE name = ?"), {facility});
    return row.next() ? parse(row.value(0)) : seededDocuments().value(facility);
}

bool writeDocument(Store& store, const QString& facility, const QJsonObject& document)
{
    const QByteArray text = QJsonDocument(document).toJson(QJsonDocument::Compact);
    return Execution(store.prepared(u"INSERT INTO facility (name, document) VALUES (?, ?)"
                                    u" ON CONFLICT (name) DO UPDATE SET document = excluded.document"),
                     {facility, QString::fromUtf8(text)})
        .isOk();
}

QMap<QString, QJsonObject> readDocuments(Store& store)
{
    QMap<QString, QJsonObject> documents = seededDocuments();
    Execution rows(store.prepared(u"SELECT name, document FROM facility"), {});
    while (rows.next())
        documents.insert(rows.value(0).toString(), parse(rows.value(1)));
    return documents;
}

} // namespace torvelane::platform::simulated
