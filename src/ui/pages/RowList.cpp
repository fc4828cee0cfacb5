#include "ui/pages/RowList.h"

#include "ui/controls/AccessibleRole.h"
#include "ui/controls/GlassCard.h"
#include "ui/theme/Theme.h"

#include <QVBoxLayout>

#include <utility>

namespace torvelane {

namespace {

constexpr int rowSpacing = 10;

} // namespace

RowList::RowList(const char16_t* note, QWidget* neighbour, QWidget* parent)
    : OutsideStyleSheet(parent)
    , m_neighbour(neighbour)
    , m_layout(new QVBoxLayout(this))
    , m_note(makeText(note, QString(), this))
{
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(rowSpacing);
    m_layout->addWidget(m_note);
    setAccessibleRole(this, QAccessible::List);
}

void RowList::showNote(const QString& text)
{
    if (const QWidget* const focused = window()->focusWidget(); focused && isAncestorOf(focused) && focused != this)
        m_neighbour->setFocus();
    for (ListRow* const row : std::exchange(m_rows, {})) {
        m_layout->removeWidget(row);
        row->hide();
        row->deleteLater();
    }
    m_note->setText(text);
    setShown(m_note, true);
}

ListRow* RowList::addRow(const QString& name, const QString& details, const QMargins& margins)
{
    setShown(m_note, false);
    auto* const row = new ListRow(name, details, this, ListRow::Details::Shortened, margins);
    m_layout->addWidget(row);
    m_rows.append(row);
    return row;
}

} // namespace torvelane
