#pragma once

#include <QIcon>

namespace torvelane {

/// The program's icon, of the pictures in the resource app.ico. Read here, since through QIcon's own way each start would
/// look through all of Qt's icon and image plug-ins. Null without the resource. Main thread.
[[nodiscard]] QIcon programIcon();

} // namespace torvelane
