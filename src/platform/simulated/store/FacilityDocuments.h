#pragma once

#include <QJsonObject>
#include <QMap>
#include <QString>

namespace torvelane::platform::simulated {

class Store;

/// The state of a facility, one row of the table `facility`. Code of a facility gets its document from Calls instead.
/// A machine that was made before a facility was added is given the document of the seed when it is first asked for.
[[nodiscard]] QJsonObject readDocument(Store& store, const QString& facility);
[[nodiscard]] bool writeDocument(Store& store, const QString& facility, const QJsonObject& document);

/// All of them, by the facility's name.
[[nodiscard]] QMap<QString, QJsonObject> readDocuments(Store& store);

} // namespace torvelane::platform::simulated
