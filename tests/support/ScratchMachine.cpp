#include "support/ScratchMachine.h"

#include <QtEndian>

namespace torvelane::test {

using namespace platform;

void putRaw(const QString& name, const RawValue& value, const QString& path, RootKey root)
{
    RegistryKey key;
    const auto data = std::as_bytes(std::span(value.data.constData(), static_cast<std::size_t>(value.data.size())));
    if (RegistryKey::create(root, path, key) != Win32Error::Success
        || key.setValue(name, value.type, data) != Win32Error::Success) {
        qFatal("A value could not be stored in the scratch key");
    }
}

std::optional<RawValue> rawValue(const QString& name, const QString& path, RootKey root)
{
    RegistryKey key;
    RawValue value;
    quint32 sizeBytes = 0;
    if (RegistryKey::open(root, path, KeyAccess::Read, key) != Win32Error::Success
        || key.querySize(name, value.type, sizeBytes) != Win32Error::Success) {
        return std::nullopt;
    }
    value.data.resize(sizeBytes);
    const auto buffer = std::as_writable_bytes(std::span(value.data.data(), sizeBytes));
    return key.query(name, buffer, value.type, sizeBytes) == Win32Error::Success ? std::optional(value) : std::nullopt;
}

RegistryValue machineValue(const QString& path, const QString& name)
{
    RegistryValue value;
    if (!readValue(RegistryHive::LocalMachine, path, name, value))
        qFatal("A value could not be read");
    return value;
}

QMap<QString, RawValue> scratchImage(RootKey root)
{
    RegistryKey key;
    QStringList names;
    if (RegistryKey::open(root, scratchKey, KeyAccess::Read, key) == Win32Error::Success)
        std::ignore = key.valueNames(names);
    QMap<QString, RawValue> image;
    for (const QString& name : std::as_const(names))
        image.insert(name, rawValue(name, scratchKey, root).value_or(RawValue()));
    return image;
}

QByteArray utf16(const QString& text, qsizetype terminators)
{
    return QByteArray(reinterpret_cast<const char*>(text.utf16()), text.size() * 2) + QByteArray(terminators * 2, '\0');
}

QByteArray dwordBytes(quint32 number)
{
    QByteArray bytes(4, Qt::Uninitialized);
    qToLittleEndian(number, bytes.data());
    return bytes;
}

} // namespace torvelane::test
