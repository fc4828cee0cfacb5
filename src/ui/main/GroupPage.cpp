#include "ui/main/GroupPage.h"

#include "core/Translate.h"
#include "tweaks/TierGate.h"
#include "ui/controls/AccessibleRole.h"
#include "ui/controls/GateTransition.h"
#include "ui/controls/TierPill.h"
#include "ui/main/PageStack.h"
#include "ui/pages/Page.h"
#include "ui/theme/Theme.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStackedLayout>
#include <QVBoxLayout>

namespace torvelane {

namespace {

constexpr int tabIconSize = 16;
constexpr int pageFadeMs = 160;

QLayout* makeHeader(IconId icon, const QString& title, const QString& subtitle)
{
    auto* const row = new QHBoxLayout;
    row->setSpacing(12);
    auto* const picture = new QLabel;
    picture->setPixmap(iconPixmap(icon, palette::ink, 26));
    row->addWidget(picture, 0, Qt::AlignVCenter);
    auto* const texts = new QVBoxLayout;
    texts->setSpacing(2);
    auto* const titleLabel = new QLabel(title);
    titleLabel->setObjectName(QStringLiteral("H1"));
    titleLabel->setFont(displayFont(23, QFont::Bold));
    auto* const subtitleLabel = new QLabel(subtitle);
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
    , m_tabBar(new QWidget)
    , m_tabLayout(new QHBoxLayout(m_tabBar))
    , m_stack(new PageStack)
{
    auto* const outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    auto* const body = new QWidget;
    outer->addWidget(body);
    auto* const column = new QVBoxLayout(body);
    column->setContentsMargins(8, 4, 8, 8);
    column->setSpacing(0);

    column->addLayout(makeHeader(icon, title, subtitle));
    column->addSpacing(18);
    auto* const divider = new QFrame;
    divider->setObjectName(QStringLiteral("Divider"));
    divider->setFixedHeight(1);
    column->addWidget(divider);

    m_tabLayout->setContentsMargins(0, 12, 0, 0);
    m_tabLayout->setSpacing(0);
    m_tabLayout->addStretch();
    column->addWidget(m_tabBar);
    column->addSpacing(18);
    column->addWidget(m_stack, 1);

    setAccessibleRole(m_tabBar, QAccessible::PageTabList);
    m_tabGroup->setExclusive(true);
    connect(m_tabGroup, &QButtonGroup::idClicked, this, &GroupPage::selectSection);
}

void GroupPage::addSection(IconId icon, const QString& label, Page* page, Tier gate)
{
    Section section{.icon = icon, .required = gate, .page = page};
    const int index = sectionCount();
    if (gate != Tier::None && !page->locksItself())
        wrap(section);
    m_stack->addPage(section.wrapper ? section.wrapper : page);

    section.tab = new QPushButton(QStringLiteral("  ") + label);
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
    setShown(m_tabBar, m_sections.size() > 1);
    if (index == 0)
        selectSection(0);
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

void GroupPage::wrap(Section& section)
{
    section.wrapper = new QWidget;
    section.stack = new QStackedLayout(section.wrapper);
    section.stack->setStackingMode(QStackedLayout::StackAll);
    section.stack->setContentsMargins(0, 0, 0, 0);
    buildLockedPanel(section);
    section.stack->addWidget(section.page);
    section.stack->addWidget(section.panel);
    GateTransition::apply(section.wrapper, section.stack, section.page, section.panel,
                          !TierGate::covers(m_userTier, section.required), false);
}

void GroupPage::buildLockedPanel(Section& section)
{
    section.panel = new QWidget;
    auto* const column = new QVBoxLayout(section.panel);
    section.pill = makeTierPill(pillText(section.required), m_webBase, IconId::Lock, 38, 16);
    section.pill->setMinimumWidth(180);
    column->addStretch();
    column->addWidget(section.pill, 0, Qt::AlignHCenter);
    column->addStretch();
}

QString GroupPage::pillText(Tier required) const
{
    switch (required) {
    case Tier::None:
        return translate("GroupPage", "an account");
    case Tier::Free:
        return translate("GroupPage", "Free");
    case Tier::Premium:
        return translate("GroupPage", "Premium");
    case Tier::Pro:
        return m_userTier == Tier::Premium ? translate("GroupPage", "Upgrade to Pro") : translate("GroupPage", "Pro");
    }
    return translate("GroupPage", "a higher");
}

void GroupPage::setUserTier(Tier tier)
{
    m_userTier = tier;
    for (const Section& section : std::as_const(m_sections)) {
        if (!section.wrapper)
            continue;
        GateTransition::apply(section.wrapper, section.stack, section.page, section.panel,
                              !TierGate::covers(tier, section.required), true);
        setTierPillText(section.pill, pillText(section.required));
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
