#include "platform/Arguments.h"

#include "platform/windows/Owners.h"

#include <shellapi.h>

namespace torvelane::platform {

QStringList programArguments(int, char**)
{
    int count = 0;
    const OwnedLocal<wchar_t*> texts(CommandLineToArgvW(GetCommandLineW(), &count));
    QStringList arguments;
    for (int i = 0; texts && i < count; ++i)
        arguments.append(QString::fromWCharArray(texts.get()[i]));
    return arguments;
}

} // namespace torvelane::platform
