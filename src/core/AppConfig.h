#pragma once

#include <QString>

namespace torvelane {

/// The saved configuration, config.json. Loaded on the main thread before any worker exists and then read freely; only
/// the main thread changes and saves it.
struct AppConfig {
    QString apiBaseUrl;     ///< Base URL of the backend client and the connectivity check.
    bool autoStart = false; ///< Carried through load and save.
    qint32 heartbeatIntervalMs = 0;
    QString lastEmail; ///< Name of the last sign-in.

    AppConfig();

    /// Fills all fields from the file, and from the defaults where it is missing, damaged or of another type. Never
    /// fails; a damaged file is logged, stays where it is, and is replaced by the next save.
    void load();

    /// Writes all fields atomically. False, with a log line, if the file couldn't be written; the old one is then whole.
    [[nodiscard]] bool save() const;
};

} // namespace torvelane
