#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace torvelane {

/// What the feed says of the latest release. The feed is not trusted: the signature decides what is installed.
struct Release {
    QString tag;          ///< As the feed has it; empty if it says nothing usable.
    QString version;      ///< The tag without one leading "v" or "V".
    QString archiveUrl;   ///< https; empty if there is no such asset.
    QString signatureUrl; ///< https; empty if there is no such asset.
    QStringList refused;  ///< Names of those two assets whose address isn't an https one.
};

/// Name of the archive in a release; its signature is named the same with signatureSuffix behind it.
inline const QString archiveName = QStringLiteral("Release.zip");
inline const QString signatureSuffix = QStringLiteral(".minisig");

/// Reads a document in the form of GitHub's "latest release"
/// (https://docs.github.com/rest/releases/releases#get-the-latest-release). Never fails: what is missing, of another type
/// or out of all bounds leaves its field empty. Names of assets are compared without regard to case.
[[nodiscard]] Release parseRelease(const QByteArray& document);

/// Whether two versions are the same, part by part between their dots. A part that is missing or no number counts as 0.
/// There is no order: an older release replaces a newer one on purpose.
[[nodiscard]] bool isSameVersion(const QString& one, const QString& other);

} // namespace torvelane
