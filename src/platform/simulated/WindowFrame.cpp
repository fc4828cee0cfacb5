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
    // What a window looks like at its edges is the desktop's business here.
}

void setAppUserModelId(const QString&) { }

} // namespace torvelane::platform
