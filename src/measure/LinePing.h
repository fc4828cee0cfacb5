#pragma once

#include <QString>

#include <atomic>
#include <memory>

namespace torvelane {

/// How far away a host is.
struct PingStats {
    double avgMs = 0.0;    ///< Mean of the probes that were answered; 0 if none was.
    double jitterMs = 0.0; ///< Mean difference between one answered probe and the next.
    double lossPct = 0.0;  ///< Share of the probes that weren't answered.
};

/// Set to end a ping early, from any thread.
using PingStop = std::shared_ptr<std::atomic_bool>;

/// Ten probes, one every 200 ms, each of them a TCP connection that is opened and closed, whose handshake is one trip
/// to the host and back. Echo requests would need a raw socket. A probe without a
/// connection after a second is lost. The name is looked up once, before the first probe, and is no part of the times;
/// a name without address loses all of them. Blocks for two to twelve seconds, so it belongs on a worker.
[[nodiscard]] PingStats pingHost(const QString& host, quint16 port, const PingStop& stop);

} // namespace torvelane
