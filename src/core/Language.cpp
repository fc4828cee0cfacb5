#include "core/Language.h"

#include <QLocale>

namespace torvelane {

bool isFrench()
{
    static const bool french =
        QLocale::system().language() == QLocale::French || QLocale().language() == QLocale::French;
    return french;
}

} // namespace torvelane
