#include "core/JsonFile.h"

#include <QJsonDocument>
#include <QSaveFile>

namespace torvelane::JsonFile {

WriteError write(const QString& path, const QJsonObject& object)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return WriteError::CannotOpen;
    const QByteArray bytes = QJsonDocument(object).toJson(QJsonDocument::Indented);
    // Flushed by hand: in Qt 6.4 a commit doesn't notice that its own flush met a full disk, and would replace the old
    // file by a cut one.
    const bool written = file.write(bytes) == bytes.size() && file.flush() && file.commit();
    return written ? WriteError::None : WriteError::CannotCommit;
}

} // namespace torvelane::JsonFile
