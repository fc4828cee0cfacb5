#pragma once

#include <QString>

#include <memory>

namespace torvelane::platform {

/// Whose a file or a directory is.
enum class FileOwner {
    Privileged, ///< Administrators or the system. A program without elevation can't have made it.
    Other,      ///< Anyone else, and any link, whoever made it.
    Unknown,    ///< It isn't there, or the system doesn't say.
};

/// The owner of what lies at `path` itself: a link isn't followed. Blocks on the disk.
[[nodiscard]] FileOwner fileOwner(const QString& path);

/// Restricts a directory of ours to administrators and the system, with read access for the current user, and makes
/// Administrators its owner, so that a program without elevation can't exchange the files that this one will trust.
/// False if the machine refused, or if a link lies there. Needs administrator rights; blocks on the disk.
[[nodiscard]] bool protectDirectory(const QString& path);

/// The same for all that lies in a directory, at any depth. For a directory that is protected itself, so that nothing
/// changes in it meanwhile. False if one entry or more was refused; the others are protected then.
[[nodiscard]] bool protectContents(const QString& path);

/// Keeps a directory where it is, until the last copy goes.
using DirectoryHold = std::shared_ptr<void>;

/// Opens the directory, and those above it, without letting others delete: on Windows nobody can then rename or remove
/// any of them. The directories above are held as far as the system allows. Null if the directory can't be opened, or if
/// a link lies there. On the simulated PC the directories are open, which keeps nobody from renaming them.
[[nodiscard]] DirectoryHold holdDirectory(const QString& path);

} // namespace torvelane::platform
