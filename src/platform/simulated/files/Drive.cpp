#include "platform/simulated/files/Drive.h"

#include "platform/simulated/calls/Calls.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {

namespace {

QString driveFolder(const QString& machineFile)
{
    return machineFile + u"-drive-c"_s;
}

void fill(const QString& folder, const QJsonArray& content)
{
    for (const QJsonValue& element : content) {
        const QJsonObject entry = element.toObject();
        const QString path = folder + u'/' + entry.value("path"_L1).toString().replace(u'\\', u'/');
        if (!entry.contains("sizeBytes"_L1)) {
            QDir().mkpath(path);
            continue;
        }
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        // Real bytes, so that what is cleaned away was there.
        if (file.open(QIODevice::WriteOnly))
            file.write(QByteArray(static_cast<qsizetype>(entry.value("sizeBytes"_L1).toInteger()), 'x'));
    }
}

/// The drive's folder. The first to ask fills it, under another name until it is complete.
QString filledFolder()
{
    const QString folder = driveFolder(Store::file());
    if (QFileInfo::exists(folder))
        return folder;
    QJsonArray content;
    std::ignore = Calls::query(
        Call{u"files.list"_s, {}},
        [&content](const QJsonObject& document) {
            content = document.value("content"_L1).toArray();
            return Win32Error::Success;
        },
        Calls::Recorded::No);
    const QString fresh = folder + u".new"_s;
    QDir(fresh).removeRecursively();
    QDir().mkpath(fresh);
    fill(fresh, content);
    if (!QDir().rename(fresh, folder))
        QDir(fresh).removeRecursively();
    return folder;
}

} // namespace

QString hostPath(const QString& windowsPath)
{
    QString path = QString(windowsPath).replace(u'\\', u'/');
    if (path.startsWith("C:/"_L1, Qt::CaseInsensitive))
        path.remove(0, 2);
    else if (!path.startsWith(u'/'))
        return u"/nonexistent/"_s + path;
    return filledFolder() + path;
}

QString windowsPath(const QString& hostPath)
{
    const QString folder = QFileInfo(driveFolder(Store::file())).canonicalFilePath();
    if (folder.isEmpty() || (hostPath != folder && !hostPath.startsWith(folder + u'/')))
        return {};
    const QString below = hostPath.mid(folder.size() + 1);
    return u"C:\\"_s + QString(below).replace(u'/', u'\\');
}

void discardDrive(const QString& machineFile)
{
    QDir(driveFolder(machineFile)).removeRecursively();
}

} // namespace torvelane::platform::simulated
