#include "FuzzMachine.h"
#include "update/ReleaseFeed.h"

using namespace torvelane;

/// Two versions, with a line feed between them: sameness has no direction, and zeros at an end change nothing.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString text = QString::fromUtf8(fuzz::bytesOf(data, size));
    const QString one = text.section(QLatin1Char('\n'), 0, 0);
    const QString other = text.section(QLatin1Char('\n'), 1);
    const bool isSame = isSameVersion(one, other);
    fuzz::require(isSame == isSameVersion(other, one));
    fuzz::require(isSame == isSameVersion(one + QLatin1String(".0."), other));
    return 0;
}
