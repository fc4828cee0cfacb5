#include "ui/main/GroupPage.h"

#include "ui/controls/AccessibleRole.h"
#include "ui/controls/Divider.h"
#include "ui/controls/IconLabel.h"
#include "ui/controls/TextLabel.h"
#include "ui/main/Gate.h"
#include "ui/main/PageStack.h"
#include "ui/pages/Page.h"
#include "ui/theme/Theme.h"

#include <QButtonGroup>
#include <QEvent>
#include <QHBoxLayout>
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
    auto* const titleLabel = new TextLabel(QStringLiteral("H1"), title, parent);
    titleLabel->setFont(displayFont(23, QFont::Bold));
    auto* const subtitleLabel = new TextLabel(QStringLiteral("Subtitle"), subtitle, parent);
    subtitleLabel->setWordWrap(true);
    texts->addWidget(titleLabel);
    texts->addWidget(subtitleLabel);
    row->addLayout(texts, 1);
    return row;
}

} // namespace

GroupPage::GroupPage(IconId icon, const QString& title, const QString& subtitle, Tier required, const QString& webBase,
                     QWidget* parent)
    : OutsideStyleSheet(parent)
    , m_icon(icon)
    , m_title(title)
    , m_subtitle(subtitle)
    , m_required(required)
    , m_webBase(webBase)
    , m_tabGroup(new QButtonGroup(this))
    , m_stack(new PageStack(this))
{
    m_tabGroup->setExclusive(true);
    connect(m_tabGroup, &QButtonGroup::idClicked, this, &GroupPage::selectSection);
}

void GroupPage::build()
{
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(8, 4, 8, 8);
    column->setSpacing(0);
    column->addLayout(makeHeader(m_icon, m_title, m_subtitle, this));
    column->addSpacing(18);
    column->addWidget(new Divider(this));
    m_tabBar = new OutsideStyleSheet<QWidget>(this);
    setAccessibleRole(m_tabBar, QAccessible::PageTabList);
    auto* const tabs = new QHBoxLayout(m_tabBar);
    tabs->setContentsMargins(0, 12, 0, 0);
    tabs->setSpacing(0);
    for (Section& section : m_sections)
        addTab(section);
    tabs->addStretch();
    column->addWidget(m_tabBar);
    column->addSpacing(18);
    column->addWidget(m_stack, 1);
    m_stack->raise(); // for assistive technology behind the header, as it is seen
    refreshTabs();
}

void GroupPage::addTab(Section& section)
{
    section.tab = new QPushButton(QStringLiteral("  ") + section.label, m_tabBar);
    section.tab->setObjectName(QStringLiteral("SubTab"));
    setAccessibleRole(section.tab, QAccessible::PageTab);
    section.tab->setAccessibleName(section.label);
    section.tab->setCheckable(true);
    section.tab->setCursor(Qt::PointingHandCursor);
    section.tab->setIconSize(QSize(tabIconSize, tabIconSize));
    m_tabGroup->addButton(section.tab, m_tabBar->layout()->count());
    m_tabBar->layout()->addWidget(section.tab);
}

void GroupPage::addSection(IconId icon, const QString& label, Page* page, Tier gate)
{
    Section section{.icon = icon, .label = label, .page = page};
    if (gate != Tier::None && !page->locksItself()) {
        section.gate = new Gate(page, gate, m_webBase);
        section.gate->setUserTier(m_userTier);
    }
    m_stack->addPage(section.gate ? static_cast<QWidget*>(section.gate) : page);
    m_sections.append(section);
}

bool GroupPage::event(QEvent* event)
{
    if (event->type() == QEvent::Polish && !m_tabBar)
        build();
    return OutsideStyleSheet::event(event);
}

void GroupPage::selectSection(int index)
{
    if (index < 0 || index >= sectionCount())
        return;
    const int before = m_stack->currentPage();
    m_stack->setCurrentPage(index);
    refreshTabs();
    // The new page at once and not one turn of the event loop later; its fade starts from the next frame.
    window()->repaint();
    if (index != before)
        fadeInWidget(m_stack->currentWidget(), pageFadeMs);
}

/// A single tab needs no bar.
void GroupPage::refreshTabs()
{
    if (!m_tabBar)
        return;
    m_tabBar->setVisible(sectionCount() > 1);
    for (int i = 0; i < sectionCount(); ++i) {
        const Section& section = m_sections.at(i);
        const bool isCurrent = i == m_stack->currentPage();
        section.tab->setChecked(isCurrent);
        section.tab->setIcon(iconFor(section.icon, isCurrent ? palette::accent : palette::muted, tabIconSize));
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
