#pragma once

#include "core/JsonFile.h"

#include <QJsonObject>
#include <QString>

#include <optional>

namespace torvelane {

/// The snapshot of one optimiser: a JSON document of its own in the data directory, which is the only record that the
/// system is changed. What all of them share stands here, and the form of each document in its optimiser:
///
/// - A value is captured before it is first changed, and not again while the snapshot holds it: what stands there then
///   is the optimiser's own.
/// - The snapshot is on the disk before the first change, its name included, so that a power cut doesn't bring back the
///   one before. A write replaces the file whole or leaves the old one.
/// - A restore writes every captured value back as it was, type and absence included, without looking at what stands
///   there now; after it the entry goes, whether or not every write worked.
///
/// Every call blocks on the disk. An object may be made anywhere and holds nothing but the file's name.
class SnapshotFile {
public:
    /// `fileName` in the data directory; `category` is the component's word in the log.
    SnapshotFile(QString fileName, QString category);

    [[nodiscard]] QString path() const;
    [[nodiscard]] bool exists() const;

    /// The document, for who begins with the file; nothing if there is no file or it won't open. What is no JSON object
    /// reads as an empty one, with a Warn line.
    [[nodiscard]] std::optional<QJsonObject> read() const;

    /// The document as it is now, for who has read or written it before: another process may have changed it. An empty
    /// one if the file has gone; nothing if it can't be read, and then what is remembered stands.
    [[nodiscard]] std::optional<QJsonObject> readAgain() const;

    /// What kept the document from the disk, if anything, is in the log.
    JsonFile::WriteError write(const QJsonObject& document) const;

    /// The same for who goes by what is remembered, not by the file, until a write succeeds. Whether it did.
    [[nodiscard]] bool keep(const QJsonObject& document) const;

    /// The bytes of a snapshot as the optimiser goes by it; empty without one, nothing if it can't be read.
    [[nodiscard]] static std::optional<QByteArray> latestBytes(const QString& fileName);

    /// What can't be deleted is named in the log, and stays a snapshot.
    void remove() const;

private:
    QString m_fileName;
    QString m_category;
};

} // namespace torvelane
