#include "core/JsonFile.h"

#include <QFile>

#include <utility>

namespace torvelane::JsonFile {

namespace {

std::function<void(bool committed)>& commitObserver()
{
    static std::function<void(bool)> observer;
    return observer;
}

void notifyObserver(bool committed)
{
    if (commitObserver())
        commitObserver()(committed);
}

} // namespace

QJsonDocument parse(QByteArray bytes, QJsonParseError* error)
{
    const QByteArray mark("\xEF\xBB\xBF");
    if (bytes.startsWith(mark))
        bytes.remove(0, mark.size());
    return QJsonDocument::fromJson(bytes.replace(mark, "\\ufeff"), error);
}

WriteError write(const QString& path, const QJsonObject& object)
{
    const WriteError error =
        WholeFile::write(path, QJsonDocument(object).toJson(QJsonDocument::Indented), [] { notifyObserver(false); });
    if (error == WriteError::None)
        notifyObserver(true);
    return error;
}

bool remove(const QString& path)
{
    notifyObserver(false);
    const bool isGone = WholeFile::remove(path);
    if (isGone)
        notifyObserver(true);
    return isGone;
}

void setCommitObserver(std::function<void(bool committed)> observer)
{
    commitObserver() = std::move(observer);
}

ReadResult read(const QString& path, qint64 maxSizeBytes)
{
    QFile file(path);
    if (!file.exists())
        return {ReadError::Absent, QStringLiteral("no such file"), {}};
    if (!WholeFile::open(file))
        return {ReadError::Unreadable, file.errorString(), {}};
    // Not by the size that the directory names: a pipe or a growing file has another one.
    const QByteArray bytes = file.read(maxSizeBytes + 1);
    if (file.error() != QFileDevice::NoError)
        return {ReadError::Unreadable, file.errorString(), {}};
    if (bytes.size() > maxSizeBytes)
        return {ReadError::TooLarge, QStringLiteral("more than %1 bytes").arg(maxSizeBytes), {}};
    QJsonParseError error{};
    const QJsonDocument document = parse(bytes, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return {ReadError::Damaged, error.errorString(), {}};
    return {ReadError::None, {}, document.object()};
}

} // namespace torvelane::JsonFile
