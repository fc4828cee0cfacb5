#include "ui/main/Gate.h"

#include "core/Translate.h"
#include "tweaks/TierGate.h"
#include "ui/controls/GateTransition.h"
#include "ui/controls/TierPill.h"

#include <QEvent>
#include <QPushButton>
#include <QStackedLayout>
#include <QVBoxLayout>

namespace torvelane {

Gate::Gate(QWidget* page, Tier required, const QString& webBase, QWidget* parent)
    : OutsideStyleSheet(parent)
    , m_page(page)
    , m_required(required)
    , m_userTier(required)
    , m_webBase(webBase)
{
    page->setParent(this);
}

bool Gate::event(QEvent* event)
{
    if (event->type() == QEvent::Polish && !m_stack) {
        m_stack = new QStackedLayout(this);
        m_stack->setStackingMode(QStackedLayout::StackAll);
        m_stack->setContentsMargins(0, 0, 0, 0);
        m_stack->addWidget(m_page);
        refresh(false);
    }
    return OutsideStyleSheet::event(event);
}

void Gate::setUserTier(Tier tier)
{
    m_userTier = tier;
    if (m_stack)
        refresh(true);
}

void Gate::refresh(bool animate)
{
    const bool locked = !TierGate::covers(m_userTier, m_required);
    if (!m_panel) {
        if (!locked)
            return;
        buildPanel();
    }
    GateTransition::apply(this, m_stack, m_page, m_panel, locked, animate);
    setTierPillText(m_pill, pillText());
}

void Gate::buildPanel()
{
    m_panel = new OutsideStyleSheet<QWidget>(this);
    auto* const column = new QVBoxLayout(m_panel);
    m_pill = makeTierPill(pillText(), m_webBase, IconId::Lock, 38, 16, m_panel);
    m_pill->setMinimumWidth(180);
    column->addStretch();
    column->addWidget(m_pill, 0, Qt::AlignHCenter);
    column->addStretch();
    m_stack->addWidget(m_panel);
}

QString Gate::pillText() const
{
    switch (m_required) {
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

} // namespace torvelane
