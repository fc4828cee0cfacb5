#include "ui/main/GroupPage.h"

#include "ui/controls/AccessibleRole.h"
#include "ui/controls/IconLabel.h"
#include "ui/main/Gate.h"
#include "ui/main/PageStack.h"
#include "ui/pages/Page.h"
#include "ui/theme/Theme.h"

#include <QButtonGroup>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace torvelane {

namespace {

constexpr int tabIconSize = 16;
constexpr int pageFadeMs = 160;

QLayout* makeHeader(IconId icon, const QString& title, const QString& subtitle, QWidget* parent)
{
    auto* const row = new QHBoxLayout;
    row->setSpacing(12);
    row->addWidget(new IconLabel(icon, palette::ink, 26, parent), 0, Qt::AlignVCenter);
    auto* const texts = new QVBoxLayout;
    texts->setSpacing(2);
    auto* const titleLabel = new QLabel(title, parent);
    titleLabel->setObjectName(QStringLiteral("H1"));
    titleLabel->setFont(displayFont(23, QFont::Bold));
    auto* const subtitleLabel = new QLabel(subtitle, parent);
    subtitleLabel->setObjectName(QStringLiteral("Subtitle"));
    subtitleLabel->setWordWrap(true);
    texts->addWidget(titleLabel);
    texts->addWidget(subtitleLabel);
    row->addLayout(texts, 1);
    return row;
}

} // namespace

GroupPage::GroupPage(IconId icon, const QString& title, const QString& subtitle, Tier required, const QString& webBase,
                     QWidget* parent)
    : QWidget(parent)
    , m_required(required)
    , m_webBase(webBase)
    , m_tabGroup(new QButtonGroup(this))
    , m_tabLayout(new QHBoxLayout)
{
    auto* const outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    auto* const body = new QWidget(this);
    outer->addWidget(body);
    auto* const column = new QVBoxLayout(body);
    column->setContentsMargins(8, 4, 8, 8);
    column->setSpacing(0);

    column->addLayout(makeHeader(icon, title, subtitle, body));
    column->addSpacing(18);
    auto* const divider = new QFrame(body);
    divider->setObjectName(QStringLiteral("Divider"));
    divider->setFixedHeight(1);
    column->addWidget(divider);

    m_tabBar = new QWidget(body);
    m_tabBar->setLayout(m_tabLayout);
    m_tabLayout->setContentsMargins(0, 12, 0, 0);
    m_tabLayout->setSpacing(0);
    m_tabLayout->addStretch();
    column->addWidget(m_tabBar);
    column->addSpacing(18);
    m_stack = new PageStack(body);
    column->addWidget(m_stack, 1);

    setAccessibleRole(m_tabBar, QAccessible::PageTabList);
    m_tabGroup->setExclusive(true);
    connect(m_tabGroup, &QButtonGroup::idClicked, this, &GroupPage::selectSection);
}

void GroupPage::addSection(IconId icon, const QString& label, Page* page, Tier gate)
{
    Section section{.icon = icon, .page = page};
    const int index = sectionCount();
    if (gate != Tier::None && !page->locksItself()) {
        section.gate = new Gate(page, gate, m_webBase);
        section.gate->setUserTier(m_userTier);
    }
    m_stack->addPage(section.gate ? static_cast<QWidget*>(section.gate) : page);

    section.tab = new QPushButton(QStringLiteral("  ") + label, m_tabBar);
    section.tab->setObjectName(QStringLiteral("SubTab"));
    setAccessibleRole(section.tab, QAccessible::PageTab);
    section.tab->setAccessibleName(label);
    section.tab->setCheckable(true);
    section.tab->setCursor(Qt::PointingHandCursor);
    section.tab->setIcon(iconFor(icon, palette::muted, tabIconSize));
    section.tab->setIconSize(QSize(tabIconSize, tabIconSize));
    m_tabGroup->addButton(section.tab, index);
    m_tabLayout->insertWidget(m_tabLayout->count() - 1, section.tab);
    m_sections.append(section);
    refreshTabBar();
    if (index == 0)
        selectSection(0);
}

/// A single tab needs no bar. Decided when the page gets its style: shown before, the bar would get its own out of the
/// window.
void GroupPage::refreshTabBar()
{
    if (testAttribute(Qt::WA_WState_Polished))
        m_tabBar->setVisible(sectionCount() > 1);
}

bool GroupPage::event(QEvent* event)
{
    const bool handled = QWidget::event(event);
    if (event->type() == QEvent::Polish)
        refreshTabBar();
    return handled;
}

void GroupPage::selectSection(int index)
{
    if (index < 0 || index >= sectionCount())
        return;
    const int before = m_stack->currentPage();
    const bool first = !m_tabGroup->checkedButton();
    m_sections.at(index).tab->setChecked(true);
    m_stack->setCurrentPage(index);
    refreshTabIcons();
    // The new page at once and not one turn of the event loop later; its fade starts from the next frame.
    window()->repaint();
    if (index != before && !first)
        fadeInWidget(m_stack->currentWidget(), pageFadeMs);
}

void GroupPage::refreshTabIcons()
{
    for (const Section& section : std::as_const(m_sections)) {
        const QColor color = section.tab->isChecked() ? palette::accent : palette::muted;
        section.tab->setIcon(iconFor(section.icon, color, tabIconSize));
    }
}

void GroupPage::setUserTier(Tier tier)
{
    m_userTier = tier;
    for (const Section& section : std::as_const(m_sections)) {
        if (section.gate)
            section.gate->setUserTier(tier);
    }
    for (const Section& section : std::as_const(m_sections))
        section.page->onTierChanged(tier);
}

bool GroupPage::prepareNextSection()
{
    return m_stack->joinNext() != nullptr;
}

void GroupPage::finishWork()
{
    for (const Section& section : std::as_const(m_sections))
        section.page->finishWork();
}

} // namespace torvelane
