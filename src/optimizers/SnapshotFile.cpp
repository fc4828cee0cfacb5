#include "optimizers/SnapshotFile.h"

#include "core/Log.h"
#include "core/Paths.h"
#include "platform/DiskFlush.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QJsonDocument>
#include <QMutex>
#include <QMutexLocker>

#include <utility>

namespace torvelane {

using platform::Win32Error;

namespace {

/// Far above what any optimiser writes: a larger file is none of ours.
constexpr qint64 largestSizeBytes = qint64(8) << 20;

/// Documents that are remembered and couldn't be written, by path.
struct Unwritten {
    QMutex mutex;
    QHash<QString, QByteArray> bytes;
};

Unwritten& unwritten()
{
    static Unwritten instance;
    return instance;
}

void forgetUnwritten(const QString& path)
{
    const QMutexLocker locker(&unwritten().mutex);
    unwritten().bytes.remove(path);
}

} // namespace

SnapshotFile::SnapshotFile(QString fileName, QString category)
    : m_fileName(std::move(fileName))
    , m_category(std::move(category))
{
}

QString SnapshotFile::path() const
{
    return QDir(Paths::dataDir()).filePath(m_fileName);
}

bool SnapshotFile::exists() const
{
    return QFile::exists(path());
}

std::optional<QJsonObject> SnapshotFile::read() const
{
    forgetUnwritten(path());
    const JsonFile::ReadResult result = JsonFile::read(path(), largestSizeBytes);
    switch (result.error) {
    case JsonFile::ReadError::None:
        return result.object;
    case JsonFile::ReadError::Absent:
        return std::nullopt;
    case JsonFile::ReadError::Unreadable:
        logMessage(LogLevel::Warn, m_category, QStringLiteral("Cannot read %1: %2").arg(m_fileName, result.reason));
        return std::nullopt;
    case JsonFile::ReadError::TooLarge:
    case JsonFile::ReadError::Damaged:
        break;
    }
    logMessage(LogLevel::Warn, m_category,
               QStringLiteral("%1 is no snapshot and counts as empty: %2").arg(m_fileName, result.reason));
    return QJsonObject();
}

std::optional<QJsonObject> SnapshotFile::readAgain() const
{
    const JsonFile::ReadResult result = JsonFile::read(path(), largestSizeBytes);
    if (result.error == JsonFile::ReadError::None || result.error == JsonFile::ReadError::Absent)
        return result.object;
    return std::nullopt;
}

JsonFile::WriteError SnapshotFile::write(const QJsonObject& document) const
{
    const JsonFile::WriteError error = JsonFile::write(path(), document);
    if (error != JsonFile::WriteError::None) {
        const bool isOpen = error != JsonFile::WriteError::CannotOpen;
        logMessage(LogLevel::Error, m_category,
                   (isOpen ? QStringLiteral("Cannot commit %1") : QStringLiteral("Cannot write %1")).arg(m_fileName));
    } else if (const Win32Error flushed = platform::flushToDisk(path()); flushed != Win32Error::Success) {
        logMessage(
            LogLevel::Warn, m_category,
            QStringLiteral("%1 may not survive a power cut (%2)").arg(m_fileName).arg(platform::toNumber(flushed)));
    }
    return error;
}

bool SnapshotFile::keep(const QJsonObject& document) const
{
    if (write(document) == JsonFile::WriteError::None) {
        forgetUnwritten(path());
        return true;
    }
    const QMutexLocker locker(&unwritten().mutex);
    unwritten().bytes.insert(path(), QJsonDocument(document).toJson());
    return false;
}

std::optional<QByteArray> SnapshotFile::latestBytes(const QString& fileName)
{
    const QString path = QDir(Paths::dataDir()).filePath(fileName);
    {
        const QMutexLocker locker(&unwritten().mutex);
        if (const auto found = unwritten().bytes.constFind(path); found != unwritten().bytes.cend())
            return *found;
    }
    QFile file(path);
    if (!file.exists())
        return QByteArray();
    if (!WholeFile::open(file))
        return std::nullopt;
    const QByteArray bytes = file.read(largestSizeBytes + 1);
    if (file.error() != QFileDevice::NoError)
        return std::nullopt;
    return bytes.size() > largestSizeBytes ? QByteArray("too large") : bytes;
}

void SnapshotFile::remove() const
{
    if (!JsonFile::remove(path()))
        logMessage(LogLevel::Error, m_category, QStringLiteral("Cannot delete %1").arg(m_fileName));
}

} // namespace torvelane
