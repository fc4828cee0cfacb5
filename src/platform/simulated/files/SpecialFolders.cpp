#include "platform/SpecialFolders.h"

#include "platform/simulated/calls/Calls.h"

using namespace Qt::StringLiterals;

namespace torvelane::platform {

namespace {

QString variableOf(SpecialFolder folder)
{
    switch (folder) {
    case SpecialFolder::Temporary:
        return u"TEMP"_s;
    case SpecialFolder::LocalAppData:
        return u"LOCALAPPDATA"_s;
    case SpecialFolder::SystemRoot:
        return u"SystemRoot"_s;
    case SpecialFolder::ProgramFiles:
        return u"ProgramFiles"_s;
    case SpecialFolder::ProgramFilesX86:
        return u"ProgramFiles(x86)"_s;
    case SpecialFolder::ProgramData:
        return u"ProgramData"_s;
    }
    return {};
}

} // namespace

QString specialFolder(SpecialFolder folder)
{
    QString path;
    std::ignore = simulated::Calls::query(
        Call{u"files.folder"_s, {variableOf(folder)}},
        [&path, folder](const QJsonObject& document) {
            path = document.value("folders"_L1).toObject().value(variableOf(folder)).toString();
            return Win32Error::Success;
        },
        simulated::Calls::Recorded::No);
    return path;
}

} // namespace torvelane::platform
