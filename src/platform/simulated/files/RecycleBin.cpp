#include "platform/RecycleBin.h"

#include "platform/simulated/calls/Calls.h"
#include "platform/simulated/files/Drive.h"

#include <QDir>
#include <QDirIterator>

using namespace Qt::StringLiterals;

/// The recycle bin is a folder of the drive, as on Windows.
namespace torvelane::platform {

using namespace simulated;

namespace {

constexpr HResult emptyBin{static_cast<qint32>(0x8000FFFF)}; // E_UNEXPECTED, which the shell answers then

QString binFolder()
{
    return hostPath(u"C:\\$Recycle.Bin"_s);
}

qint64 sizeBelow(const QString& folder)
{
    qint64 sizeBytes = 0;
    QDirIterator files(folder, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        files.next();
        sizeBytes += files.fileInfo().size();
    }
    return sizeBytes;
}

} // namespace

std::optional<qint64> recycleBinSizeBytes()
{
    const QString folder = binFolder();
    const HResult result = Calls::query(Call{u"recycleBin.size"_s, {}}, [](const QJsonObject&) { return HResult::Ok; });
    return failed(result) ? std::nullopt : std::optional(sizeBelow(folder));
}

HResult emptyRecycleBin()
{
    const QString folder = binFolder();
    return Calls::run(Call{u"recycleBin.empty"_s, {}}, [&folder](QJsonObject&) {
        QDir bin(folder);
        if (bin.isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot))
            return emptyBin;
        bin.removeRecursively();
        QDir().mkpath(folder);
        return HResult::Ok;
    });
}

} // namespace torvelane::platform
