#pragma once

#include <QList>
#include <QString>

namespace torvelane {

/// One line of a report. Both are finished text in the user's language.
struct HardwareRow {
    QString label;
    QString value;
};

/// What belongs together: one processor, one memory module, one disk.
using HardwareGroup = QList<HardwareRow>;

/// One part of a report.
struct HardwareSection {
    QString title; ///< A fixed English word, which who shows it may translate.
    QList<HardwareGroup> groups;
    QList<QString> notes;
};

/// What a machine is made of, ready to be laid out.
struct HardwareReport {
    QList<HardwareSection> sections;
};

namespace HardwareScanner {

/// Reads the machine: WMI, and for graphics also DXGI and the registry. Always gives a report; if WMI doesn't answer it
/// is one section with one note. What a single query doesn't give is said in the notes of its section. Blocks for as
/// long as WMI takes, without a limit: never on the GUI thread.
[[nodiscard]] HardwareReport scan();

} // namespace HardwareScanner

} // namespace torvelane
