#include "platform/SpecialFolders.h"

#include <QDir>

namespace torvelane::platform {

namespace {

const char* variableOf(SpecialFolder folder)
{
    switch (folder) {
    case SpecialFolder::Temporary:
        return "TEMP";
    case SpecialFolder::LocalAppData:
        return "LOCALAPPDATA";
    case SpecialFolder::SystemRoot:
        return "SystemRoot";
    case SpecialFolder::ProgramFiles:
        return "ProgramFiles";
    case SpecialFolder::ProgramFilesX86:
        return "ProgramFiles(x86)";
    case SpecialFolder::ProgramData:
        return "ProgramData";
    }
    return "";
}

} // namespace

QString specialFolder(SpecialFolder folder)
{
    // Not as local 8-bit text, in which the name of a user may not exist.
    QString path = QDir::toNativeSeparators(qEnvironmentVariable(variableOf(folder)));
    while (path.size() > 3 && path.endsWith(QLatin1Char('\\')))
        path.chop(1);
    return path;
}

} // namespace torvelane::platform
