#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

class QFile;

/// Small files that are replaced and deleted whole, also while somebody else has them open.
///
/// Windows refuses both as long as any handle of the file doesn't share its deletion, which Qt's own reading doesn't and
/// what virus scanners and indexers do may not; and it refuses reading while a handle doesn't share that
/// (https://learn.microsoft.com/windows/win32/api/fileapi/nf-fileapi-createfilew). Such a handle goes soon: until then
/// each call tries again, for 1.4 s in all, after which the refusal stands.
namespace torvelane::WholeFile {

/// The kind of a failed write; the old file is whole in either case.
enum class WriteError { None, CannotOpen, CannotCommit };

/// Replaces the file at `path` by `bytes`, atomically: a crash, a full disk or a refusal leaves the old file as it was, a
/// power cut right after it one of the two. `beforeCommit` is called once all bytes are in the new file, and again for
/// each further attempt. What the system says of a failure goes to `reason`. Blocks on the disk, on any thread.
[[nodiscard]] WriteError write(const QString& path, const QByteArray& bytes,
                               const std::function<void()>& beforeCommit = {}, QString* reason = nullptr);

/// Deletes the file, if it is there. @return whether it is gone
[[nodiscard]] bool remove(const QString& path);

/// Opens a file, if it is there, for reading. @return whether it is open
[[nodiscard]] bool open(QFile& file);

} // namespace torvelane::WholeFile
