#pragma once

#include <QJsonObject>
#include <QMetaType>
#include <QString>

namespace torvelane {

/// What became of a request to the backend. Neither 4xx and 5xx nor a body that is no JSON object is an error:
/// callers look at `status` and `json`.
struct ApiResponse {
    qint32 status = 0; ///< HTTP status; 0 if no answer came.
    QJsonObject json;  ///< Empty unless the body was a JSON object.
    QString error;     ///< Why no answer came; empty if one did.
};

} // namespace torvelane

Q_DECLARE_METATYPE(torvelane::ApiResponse)
