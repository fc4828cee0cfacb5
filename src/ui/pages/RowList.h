#pragma once

#include "ui/controls/ListRow.h"
#include "ui/theme/OutsideStyleSheet.h"

#include <QList>

class QVBoxLayout;

namespace torvelane {

class TextLabel;

/// The entries of a page's list, or one sentence in their place. GUI thread.
class RowList : public OutsideStyleSheet<QWidget> {
    Q_OBJECT

public:
    /// `note` is the object name of the sentence ("Muted", "Faint"). `neighbour` takes the keyboard over from a row that
    /// goes; it outlives the list.
    RowList(const char16_t* note, QWidget* neighbour, QWidget* parent);

    /// Takes all rows away. Also called from one of their buttons.
    void showNote(const QString& text);

    /// Takes the sentence away. The row is the list's.
    ListRow* addRow(const QString& name, const QString& details, const QMargins& margins);

private:
    QWidget* m_neighbour;
    QVBoxLayout* m_layout;
    TextLabel* m_note;
    QList<ListRow*> m_rows;
};

} // namespace torvelane
