#pragma once

#include "platform/Registry.h"
#include "support/LogCapture.h"
#include "support/TestMachine.h"
#include "system/RegistryAccess.h"

#include <QByteArray>
#include <QMap>
#include <QString>

#include <optional>

namespace torvelane::test {

/// The key below HKCU that tests may fill on either machine.
inline const QString scratchKey = QStringLiteral("Software\\Torvelane\\Test");

/// A value's type and bytes as the machine keeps them, below any conversion of ours.
struct RawValue {
    quint32 type = 0;
    QByteArray data;

    bool operator==(const RawValue&) const = default;
};

/// Stores a value, below HKCU unless another root is named, with the keys on the way to it.
void putRaw(const QString& name, const RawValue& value, const QString& path = scratchKey,
            platform::RootKey root = platform::RootKey::CurrentUser);

/// Absent if there is no such value.
[[nodiscard]] std::optional<RawValue> rawValue(const QString& name, const QString& path = scratchKey,
                                               platform::RootKey root = platform::RootKey::CurrentUser);

/// A value below HKLM as the program reads it.
[[nodiscard]] RegistryValue machineValue(const QString& path, const QString& name);

/// All values of the scratch key itself: a look at the machine that costs little on either.
[[nodiscard]] QMap<QString, RawValue> scratchImage(platform::RootKey root = platform::RootKey::CurrentUser);

/// The bytes of a text in UTF-16, with as many NUL units behind it.
[[nodiscard]] QByteArray utf16(const QString& text, qsizetype terminators = 1);

/// The bytes of a REG_DWORD.
[[nodiscard]] QByteArray dwordBytes(quint32 number);

/// A test's machine and the new lines of its log.
struct ScratchMachine : TestMachine {
    LogCapture log;
};

} // namespace torvelane::test
