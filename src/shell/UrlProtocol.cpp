#include "shell/UrlProtocol.h"

#include "system/RegistryAccess.h"

#include <QCoreApplication>
#include <QDir>

namespace torvelane {

void registerUrlProtocol()
{
    const QString key = QStringLiteral("Software\\Classes\\%1").arg(QStringLiteral("torvelane"));
    const QString program = QDir::toNativeSeparators(QCoreApplication::applicationFilePath());
    const auto write = [](const QString& path, const QString& name, const QString& text) {
        std::ignore = writeString(RegistryHive::CurrentUser, path, name, text, false);
    };
    write(key, QString(), QStringLiteral("URL:Torvelane Protocol"));
    write(key, QStringLiteral("URL Protocol"), QString());
    write(key + QStringLiteral("\\shell\\open\\command"), QString(),
          QStringLiteral("\"%1\" \"%2\"").arg(program, QStringLiteral("%1")));
}

} // namespace torvelane
