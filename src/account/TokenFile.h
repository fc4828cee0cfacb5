#pragma once

#include "core/Tier.h"

#include <QDateTime>
#include <QString>

namespace torvelane {

/// The stored session, token.bin: a small JSON object under the platform's protection of secrets.
namespace TokenFile {

struct Session {
    bool signedIn = false; ///< False is what a sign-out leaves, so that the next start doesn't begin a session.
    QString userName;
    Tier tier = Tier::None;
    QDateTime startedAt;
};

enum class ReadResult {
    Read,    ///< `out` holds the stored session.
    Absent,  ///< There is no file: nobody has used the program here yet.
    Damaged, ///< There is one that can't be read, isn't ours, or was made by another user or machine.
};

[[nodiscard]] ReadResult read(Session& out);

/// Replaces the file atomically. False if it couldn't be protected or written; the old one is then whole.
[[nodiscard]] bool write(const Session& session);

} // namespace TokenFile
} // namespace torvelane
