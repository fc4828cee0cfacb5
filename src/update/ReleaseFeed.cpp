#include "update/ReleaseFeed.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

#include <algorithm>

namespace torvelane {

namespace {

/// A longer tag is no version, and would flood the log and the screen.
constexpr qsizetype maxTagLength = 256;

bool isHttps(const QString& text)
{
    const QUrl url(text, QUrl::StrictMode);
    return url.isValid() && url.scheme() == QLatin1String("https") && !url.host().isEmpty();
}

qint64 partOf(const QStringList& parts, qsizetype index)
{
    // An unreadable number gives 0.
    return index < parts.size() ? parts[index].toLongLong() : 0;
}

} // namespace

Release parseRelease(const QByteArray& document)
{
    Release release;
    const QJsonObject feed = QJsonDocument::fromJson(document).object();
    release.tag = feed.value(QLatin1String("tag_name")).toString();
    if (release.tag.size() > maxTagLength)
        release.tag.clear();
    release.version = release.tag;
    if (release.version.startsWith(QLatin1Char('v'), Qt::CaseInsensitive))
        release.version.remove(0, 1);

    const QJsonArray assets = feed.value(QLatin1String("assets")).toArray();
    for (const QJsonValue& asset : assets) {
        const QString name = asset[QLatin1String("name")].toString();
        const QString url = asset[QLatin1String("browser_download_url")].toString();
        const bool isArchive = name.compare(archiveName, Qt::CaseInsensitive) == 0;
        if (!isArchive && name.compare(archiveName + signatureSuffix, Qt::CaseInsensitive) != 0)
            continue;
        if (isHttps(url))
            (isArchive ? release.archiveUrl : release.signatureUrl) = url;
        else
            release.refused.append(name);
    }
    return release;
}

bool isSameVersion(const QString& one, const QString& other)
{
    const QStringList left = one.split(QLatin1Char('.'));
    const QStringList right = other.split(QLatin1Char('.'));
    for (qsizetype i = 0; i < std::max(left.size(), right.size()); ++i) {
        if (partOf(left, i) != partOf(right, i))
            return false;
    }
    return true;
}

} // namespace torvelane
