#include "core/Translate.h"

#include <QLocale>
#include <QTranslator>

namespace torvelane {

void installTranslator()
{
    static QTranslator translator;
    if (QLocale::system().language() == QLocale::French && translator.load(QStringLiteral(":/i18n/app_fr.qm")))
        QCoreApplication::installTranslator(&translator);
}

} // namespace torvelane
