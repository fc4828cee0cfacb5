#include "core/WholeFile.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QThread>

#include <tuple>

namespace torvelane::WholeFile {

namespace {

/// SQLite's measure for the same refusals: the first pause is of 25 ms, each further one 25 ms longer, ten in all
/// (https://www.sqlite.org/c3ref/c_fcntl_begin_atomic_write.html#sqlitefcntlwin32avretry).
constexpr int pauses = 10;
constexpr unsigned long pauseStepMs = 25;

/// Calls `isDone` until it says so, and not for ever. @return whether it has said so
bool tryFor(const std::function<bool()>& isDone)
{
    for (int pause = 1; !isDone(); ++pause) {
        if (pause > pauses)
            return false;
        QThread::msleep(pauseStepMs * static_cast<unsigned long>(pause));
    }
    return true;
}

} // namespace

WriteError write(const QString& path, const QByteArray& bytes, const std::function<void()>& beforeCommit,
                 QString* reason)
{
    WriteError result = WriteError::None;
    std::ignore = tryFor([&] {
        QSaveFile file(path);
        const bool isOpen = file.open(QIODevice::WriteOnly);
        // Flushed by hand: in Qt 6.4 a commit doesn't notice that its own flush met a full disk, and would replace the
        // old file by a cut one.
        const bool isWritten = isOpen && file.write(bytes) == bytes.size() && file.flush();
        if (isOpen && beforeCommit)
            beforeCommit();
        const bool isCommitted = isWritten && file.commit();
        result = isCommitted ? WriteError::None : isOpen ? WriteError::CannotCommit : WriteError::CannotOpen;
        if (reason && !isCommitted)
            *reason = file.errorString();
        return !isWritten || isCommitted || file.error() != QFileDevice::RenameError;
    });
    return result;
}

bool remove(const QString& path)
{
    std::ignore = tryFor([&path] { return QFile::remove(path) || !QFileInfo(path).isFile(); });
    return !QFile::exists(path);
}

bool open(QFile& file)
{
    std::ignore = tryFor([&file] { return file.open(QIODevice::ReadOnly) || !QFileInfo(file).isFile(); });
    return file.isOpen();
}

} // namespace torvelane::WholeFile
