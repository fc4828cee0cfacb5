#pragma once

#include "system/ValueLedger.h"

#include <QByteArray>
#include <QString>

#include <condition_variable>
#include <mutex>
#include <thread>

namespace torvelane {

/// The text of a registry file that puts every held value back: to its original, types and bytes exact, or to there being
/// none. UTF-16 with its mark, as Windows exports it. A comment line names each holder. What can't be written in such a
/// file, or has no known original, only has a comment.
[[nodiscard]] QByteArray undoFileText(QList<ValueLedger::Held> values);

/// undo.reg, the way back without the program: a double click in Windows. Kept up with what the ledger says, on a thread
/// of its own, since that would cost a change more than the change itself: a tenth of a second after a change, together
/// with the changes that have come in until then, and at the latest when the object goes.
///
/// The file is replaced whole. A failure is logged (category "ledger") and stops nothing.
class UndoFile {
public:
    /// The ledger outlives the object.
    UndoFile(ValueLedger& ledger, QString path);
    ~UndoFile();
    UndoFile(const UndoFile&) = delete;
    UndoFile& operator=(const UndoFile&) = delete;

    /// Something has changed. Any thread; doesn't wait.
    void request();

    /// Waits until what has been requested is on the disk, or has failed.
    void flush();

private:
    void run();
    [[nodiscard]] bool write() const;

    ValueLedger& m_ledger;
    QString m_path;
    std::mutex m_mutex; ///< Guards what follows.
    std::condition_variable m_condition;
    bool m_isRequested = false;
    bool m_isWriting = false;
    bool m_isHurried = false; ///< Somebody waits.
    bool m_isEnding = false;
    std::thread m_thread; ///< From the first request on.
};

} // namespace torvelane
