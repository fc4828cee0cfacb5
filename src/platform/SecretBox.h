#pragma once

#include <QByteArray>

namespace torvelane::platform {

/// Protection of small secrets, bound to this user on this machine (CryptProtectData on Windows).

/// Enciphers `plain`. False, with `out` empty, if the system refused.
[[nodiscard]] bool protectSecret(const QByteArray& plain, QByteArray& out);

/// The inverse. False, with `out` empty, if the bytes were damaged, or protected by another user or machine.
[[nodiscard]] bool unprotectSecret(const QByteArray& cipher, QByteArray& out);

} // namespace torvelane::platform
