#pragma once

#include "platform/Wmi.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <optional>

/// The document of the facility "wmi": the rows of each class, by namespace.
///
///     "namespaces": {"ROOT\\CIMV2": {"Win32_Fan": [{"Name": "CPU", "DesiredSpeed": "900"}]}}
///
/// The values stand there as COM delivers them, which isn't how other tools show them: a text is VT_BSTR (so are 64-bit
/// numbers and times), a truth value VT_BOOL, a whole number VT_I4 (negative for an unsigned one above 2^31), null VT_NULL
/// and an array an array of texts. Any other type is written {"UI1": 3}, by the name of its tag. Names with two underscores
/// in front are the system's own, and no query shows them.
///
/// "returnValues" scripts what a method returns, by "Class.Method"; it then does nothing else.
namespace torvelane::platform::simulated {

/// A query as the product writes them: columns and one class. There is no WHERE.
struct WqlSelect {
    QStringList columns; ///< Empty for "*".
    QString className;
};

/// Nothing if the text isn't such a query.
[[nodiscard]] std::optional<WqlSelect> parseWql(const QString& wql);

/// The spelling of a name among the keys of an object, which counts without regard to case. Empty if it is none.
[[nodiscard]] QString spelledKey(const QJsonObject& object, const QString& name);

/// The rows of a class as they stand there. Nothing if the namespace or the class isn't there.
[[nodiscard]] std::optional<QJsonArray> rowsOf(const QJsonObject& document, const QString& namespacePath,
                                               const QString& className);
void setRows(QJsonObject& document, const QString& namespacePath, const QString& className, const QJsonArray& rows);

[[nodiscard]] WmiValue toWmiValue(const QJsonValue& value);

/// The selected properties that the row has, without the system's own.
[[nodiscard]] WmiObject toWmiObject(const QJsonObject& row, const QStringList& columns);

} // namespace torvelane::platform::simulated
