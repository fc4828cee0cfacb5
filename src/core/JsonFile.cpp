#include "core/JsonFile.h"

#include <QJsonDocument>
#include <QSaveFile>

namespace torvelane::JsonFile {

WriteError write(const QString& path, const QJsonObject& object)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return WriteError::CannotOpen;
    // A failed write is remembered by the file and makes the commit fail.
    file.write(QJsonDocument(object).toJson(QJsonDocument::Indented));
    return file.commit() ? WriteError::None : WriteError::CannotCommit;
}

} // namespace torvelane::JsonFile
