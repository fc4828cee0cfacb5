#pragma once

#include <QString>

#include <functional>

class QByteArray;
class QIODevice;

namespace torvelane {

/// What became of a GET.
struct HttpResult {
    bool ok = false; ///< Whether an answer came whole, whatever its status.
    int status = 0;  ///< HTTP status; 0 if none came.
};

/// Longest answer that is read into memory: far above any release document.
inline constexpr qint64 maxBodyBytes = 4LL * 1024 * 1024;

/// Longest answer that is written to a device: ten times a release.
inline constexpr qint64 maxSinkBytes = 512LL * 1024 * 1024;

/// The plain GET layer of the connectivity check and the updater, which blocks its thread and processes no events but
/// what `progress` does. `timeoutMs` holds for each stage by itself: name, connection, sending, head, each read. The
/// body is appended to `body` and written to `sink`, the body of a refusal too, so the caller tests the status;
/// `progress` is called after each piece. All three may be null. A failure is logged as a warning of `logChannel`. A
/// redirect is followed unless it leads from https to http or a `bearerToken` would travel with it.
///
/// Whatever the server does, it ends: an answer that is too long, or that brings less than 8 KiB a second over
/// `timeoutMs`, fails. If nobody takes the body, it counts as whole as soon as it is either.
[[nodiscard]] HttpResult winHttpGet(const QString& url, quint32 timeoutMs, QByteArray* body, QIODevice* sink,
                                    const std::function<void()>& progress, const QString& logChannel,
                                    const QString& bearerToken = {});

} // namespace torvelane
