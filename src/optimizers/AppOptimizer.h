#pragma once

#include "optimizers/SnapshotFile.h"
#include "system/ValueLedger.h"

#include <QHash>
#include <QList>
#include <QPair>
#include <QString>

namespace torvelane {

/// What became of an operation on a program.
struct AppOptimizeResult {
    bool ok = false;
    QString message; ///< For the user, in their language.
};

/// Gives chosen programs a high CPU priority for good, through Windows' Image File Execution Options, and takes it back
/// program by program. Windows knows a program by its file name alone: two of one name share the setting. What was there
/// is in app_optimize.json (SnapshotFile says how snapshots work), read when the object is made; a program whose setting
/// could not be written is forgotten again.
///
/// GUI thread: every call is one or two registry calls and one small file; while another process changes the machine, it
/// waits half a second for that. Changes HKLM, which needs administrator
/// rights.
class AppOptimizer {
public:
    static constexpr QLatin1String snapshotName{"app_optimize.json"};

    AppOptimizer();

    /// What the programs of a snapshot hold.
    [[nodiscard]] static QList<ValueHolder> heldIn(const QJsonObject& document);

    /// `exePath` is the program as the user chose it.
    [[nodiscard]] AppOptimizeResult optimize(const QString& exePath);

    /// `name` as list() gave it. The program is forgotten, whether or not its setting could be put back.
    [[nodiscard]] AppOptimizeResult restore(const QString& name);

    /// The changed programs: file name in lower case, and path.
    [[nodiscard]] QList<QPair<QString, QString>> list() const;

private:
    struct Entry {
        QString path;         ///< For display.
        QJsonObject original; ///< As stored, since a later version may have written it.
    };

    void take(const QJsonObject& document);
    void refresh();
    void save();

    SnapshotFile m_file;
    QHash<QString, Entry> m_entries; ///< By the file name in lower case.
    bool m_isSaved = true;           ///< Otherwise the file is older than the entries.
};

} // namespace torvelane
