#include "platform/WindowFrame.h"

namespace torvelane::platform {

FrameMessage readFrameMessage(const QByteArray&, const void*)
{
    return {};
}

bool movesWindowsByHitTest()
{
    return false;
}

void dressFramelessWindow(quintptr)
{
    // The desktop draws a window's edges here.
}

void setAppUserModelId(const QString&) { }

} // namespace torvelane::platform
