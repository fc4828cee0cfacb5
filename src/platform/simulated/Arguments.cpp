#include "platform/Arguments.h"

namespace torvelane::platform {

QStringList programArguments(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    return arguments;
}

} // namespace torvelane::platform
