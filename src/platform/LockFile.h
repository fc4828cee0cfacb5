#pragma once

#include "platform/Win32Error.h"

#include <QString>
#include <QtGlobal>

#include <memory>

namespace torvelane::platform {

/// A file whose slots processes lock against each other. What a process holds is free again when it ends, however it
/// ends. On Windows a byte-range lock, which LockFileEx sets and the end of a process removes:
/// https://learn.microsoft.com/windows/win32/api/fileapi/nf-fileapi-lockfileex
///
/// A file rather than a named mutex: any program of the user's session could make a mutex of that name first, and keep
/// it. The file lies in a folder that only administrators write to, and who isn't one can't even open it, since reading
/// would do for locking it.
///
/// Two objects exclude each other within one process as well. One thread at a time for one object; nothing blocks.
class LockFile {
public:
    LockFile();
    ~LockFile(); ///< Frees what the object holds.
    LockFile(const LockFile&) = delete;
    LockFile& operator=(const LockFile&) = delete;

    /// Opens the file, which is made if it is missing and never removed.
    [[nodiscard]] Win32Error open(const QString& path);

    /// Success if the slot is now this object's; LockViolation if somebody else has it. Not twice for one slot.
    [[nodiscard]] Win32Error tryLock(quint32 slot);

    /// Gives a slot that the object holds back.
    void unlock(quint32 slot);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

/// How the names of such files end: what protects a folder keeps these from everybody but administrators.
inline const QString lockFileSuffix = QStringLiteral(".lock");

} // namespace torvelane::platform
