#include "platform/DirectoryProtection.h"

#include <QDir>
#include <QFile>

namespace torvelane::platform {

bool protectDirectory(const QString& path)
{
    return QDir(path).exists() && QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

} // namespace torvelane::platform
