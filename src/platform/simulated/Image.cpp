#include "platform/simulated/Image.h"

#include "platform/simulated/registry/RegistryText.h"
#include "platform/simulated/store/FacilityDocuments.h"
#include "platform/simulated/store/Store.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {
namespace {

void flatten(const QString& path, const QJsonValue& value, QStringList& lines)
{
    const QJsonObject object = value.toObject();
    const QJsonArray array = value.toArray();
    if (!object.isEmpty()) {
        for (auto member = object.begin(); member != object.end(); ++member) {
            QString key = member.key();
            key.replace("~"_L1, "~0"_L1).replace("/"_L1, "~1"_L1);
            flatten(path % u'/' % key, *member, lines);
        }
    } else if (!array.isEmpty()) {
        for (qsizetype i = 0; i < array.size(); ++i)
            flatten(path % u'/' % QString::number(i), array[i], lines);
    } else {
        // A list around the value, since a JSON document is an object or a list.
        const QByteArray json = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
        lines << path % " = "_L1 % QString::fromUtf8(json.sliced(1).chopped(1));
    }
}

} // namespace

QString describe(const SimulatedValue& value)
{
    const QString text = dataText(value.type, value.data);
    const bool isWhole = dataFromText(value.type, text) == value.data;
    const QString bytes = isWhole ? QString() : QString(" ("_L1 % QString::fromLatin1(value.data.toHex()) % u')');
    return value.keyPath % " ["_L1 % (value.name.isEmpty() ? u"(Default)"_s : value.name) % "] "_L1
        % typeName(value.type) % u' ' % text % bytes;
}

QStringList facilityImage(Store& store)
{
    QStringList lines;
    const QMap<QString, QJsonObject> documents = readDocuments(store);
    for (const auto& [facility, document] : documents.asKeyValueRange())
        flatten(facility, document, lines);
    lines.sort();
    return lines;
}

QStringList machineImage(Store& store)
{
    QStringList lines = facilityImage(store);
    for (const SimulatedValue& value : allValues(store))
        lines << "registry/"_L1 % describe(value);
    lines.sort();
    return lines;
}

} // namespace torvelane::platform::simulated
