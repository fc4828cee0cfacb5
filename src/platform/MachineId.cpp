#include "platform/MachineId.h"

#include "platform/Registry.h"

#include <array>

namespace torvelane::platform {

QString machineGuid()
{
    RegistryKey key;
    if (RegistryKey::open(RootKey::LocalMachine, QStringLiteral("SOFTWARE\\Microsoft\\Cryptography"), KeyAccess::Read,
                          key)
        != Win32Error::Success) {
        return {};
    }
    std::array<std::byte, 256> buffer{};
    quint32 type = regNone;
    quint32 sizeBytes = 0;
    if (key.query(QStringLiteral("MachineGuid"), buffer, type, sizeBytes) != Win32Error::Success || type != regSz)
        return {};
    const QString text = QString::fromUtf16(reinterpret_cast<const char16_t*>(buffer.data()),
                                            static_cast<qsizetype>(sizeBytes / sizeof(char16_t)));
    return text.left(text.indexOf(QChar(u'\0')) < 0 ? text.size() : text.indexOf(QChar(u'\0')));
}

} // namespace torvelane::platform
