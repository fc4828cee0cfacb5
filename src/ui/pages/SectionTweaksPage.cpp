#include "ui/pages/SectionTweaksPage.h"

#include "app/AppContext.h"
#include "core/Deployment.h"
#include "core/Translate.h"
#include "system/UndoFile.h"
#include "tweaks/TierGate.h"
#include "tweaks/TweakEngine.h"
#include "ui/controls/TextLabel.h"
#include "ui/controls/TierPill.h"
#include "ui/controls/ToggleSwitch.h"
#include "ui/pages/BatchQuestion.h"
#include "ui/pages/ScrollColumn.h"
#include "ui/pages/TweakCard.h"
#include "ui/pages/TweakSummary.h"
#include "ui/theme/Theme.h"

#include <QGridLayout>
#include <QPushButton>
#include <QShowEvent>
#include <QStyle>
#include <QThreadPool>
#include <QTimer>
#include <QVBoxLayout>

#include <utility>

namespace torvelane {

namespace {

constexpr int gridSpacing = 12;
constexpr int columnPitch = 302; ///< Width of a column with its spacing, from which another one fits.
constexpr int lockIconSize = 15;
constexpr int driftDelayMs = 300; ///< Until the page has been painted, which is more urgent.

/// The result of one click on a switch.
struct ApplyOutcome {
    bool ok = false;
    QString error;
};

ApplyOutcome runToggle(TweakEngine* engine, const QString& id, bool desired, Tier tier)
{
    ApplyOutcome outcome;
    outcome.ok =
        desired ? engine->applyTweak(id, tier, &outcome.error, false) : engine->revertTweak(id, &outcome.error, true);
    return outcome;
}

QStringList runBatch(TweakEngine* engine, const QStringList& ids, bool desired, Tier tier)
{
    QStringList failures;
    if (desired)
        engine->applyBatch(ids, tier, &failures, false);
    else
        engine->revertBatch(ids, &failures);
    return failures;
}

} // namespace

SectionTweaksPage::SectionTweaksPage(AppContext& context, const QString& sectionKey, IconId icon, Tier pageTier,
                                     QWidget* parent)
    : Page(parent)
    , m_context(&context)
    , m_sectionKey(sectionKey)
    , m_icon(icon)
    , m_pageTier(pageTier)
    , m_scroll(new ScrollColumn(this))
    , m_grid(new QGridLayout)
    , m_actionButton(new QPushButton(m_scroll->content()))
    , m_pool(new QThreadPool(this))
{
    m_pool->setMaxThreadCount(1);
    m_pool->setExpiryTimeout(-1);

    auto* const outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(m_scroll);
    m_scroll->carryBackdrop();

    QVBoxLayout* const column = m_scroll->column();
    m_actionButton->setCursor(Qt::PointingHandCursor);
    m_actionButton->setMinimumHeight(38);
    m_actionButton->setProperty("variant", QStringLiteral("primary"));
    connect(m_actionButton, &QPushButton::clicked, this, &SectionTweaksPage::applyAllRecommended);
    column->addWidget(m_actionButton, 0, Qt::AlignLeft);

    auto* const tiles = new OutsideStyleSheet<QWidget>(m_scroll->content());
    tiles->setLayout(m_grid);
    m_grid->setContentsMargins(0, 0, 0, 0);
    m_grid->setSpacing(gridSpacing);
    column->addWidget(tiles);

    buildCards();
    if (m_cards.isEmpty()) {
        auto* const label = new TextLabel(
            QStringLiteral("Muted"),
            translate(
                "SectionTweaksPage",
                "No tweaks are defined for this section yet. Features that need a non-registry backend (power plans, "
                "services, file cleanup) are added in their own phase — nothing here is faked."),
            m_scroll->content());
        label->setWordWrap(true);
        column->addWidget(label);
    }
    column->addStretch();
    refreshActionButton();
}

SectionTweaksPage::~SectionTweaksPage()
{
    finishWork();
}

void SectionTweaksPage::finishWork()
{
    dropWaiting();
    m_pool->waitForDone();
}

void SectionTweaksPage::onTierChanged(Tier tier)
{
    if (tier != m_builtTier)
        rebuildCards();
}

int SectionTweaksPage::columnsFor(int viewportWidth)
{
    return std::clamp((viewportWidth + gridSpacing) / columnPitch, 2, 3);
}

void SectionTweaksPage::resizeEvent(QResizeEvent* event)
{
    Page::resizeEvent(event);
    layOutCards();
}

void SectionTweaksPage::showEvent(QShowEvent* event)
{
    Page::showEvent(event);
    if (!std::exchange(m_wasShown, true))
        QTimer::singleShot(driftDelayMs, this, &SectionTweaksPage::lookForDrift);
}

/// Whether Windows or another program has changed what is applied here; and whether undo.reg is what it should be, if the
/// program was ended before it could write that.
void SectionTweaksPage::lookForDrift()
{
    if (m_context->undoFile)
        m_context->undoFile->request();
    QStringList ids;
    for (auto toggle = m_switches.cbegin(); toggle != m_switches.cend(); ++toggle) {
        if (toggle.value()->isOn() && !m_work.contains(toggle.key()))
            ids.append(toggle.key());
    }
    if (ids.isEmpty())
        return;
    const auto work = [engine = m_context->engine.get(), ids] { return engine->drift(ids); };
    launch(m_pool, work, [this](const auto& drift) {
        if (!drift)
            return;
        for (auto entry = drift->cbegin(); entry != drift->cend(); ++entry) {
            if (!m_work.contains(entry.key()))
                noteDrift(entry.key(), entry.value());
        }
    });
}

void SectionTweaksPage::noteDrift(const QString& id, const ValueLedger::Drift& drift)
{
    TweakCard* const card = m_cardsById.value(id);
    if (!card)
        return;
    card->setNote(drift.changed == 0 ? QString()
                                     : translate("SectionTweaksPage",
                                                 "%1 of %2 values were changed since, by Windows or another program.")
                                           .arg(drift.changed)
                                           .arg(drift.total));
}

void SectionTweaksPage::buildCards()
{
    const QStringList appliedList = m_context->engine->appliedIds();
    const QSet<QString> applied(appliedList.begin(), appliedList.end());
    const QList<TweakDefinition> definitions = m_context->catalog.definitions();
    for (const TweakDefinition& tweak : definitions) {
        if (tweak.section != m_sectionKey)
            continue;
        const auto work = m_work.constFind(tweak.id);
        m_cards.append(buildCard(tweak, work == m_work.cend() ? applied.contains(tweak.id) : work->desired));
        m_cardsById.insert(tweak.id, m_cards.last());
        m_ids.append(tweak.id);
    }
    m_builtTier = m_context->tier;
}

void SectionTweaksPage::rebuildCards()
{
    for (TweakCard* const card : std::as_const(m_cards)) {
        m_grid->removeWidget(card);
        card->hide();
        card->deleteLater();
    }
    m_cards.clear();
    m_cardsById.clear();
    m_ids.clear();
    m_switches.clear();
    m_columns = 0;
    buildCards();
    refreshActionButton();
    layOutCards();
}

void SectionTweaksPage::layOutCards()
{
    const int columns = columnsFor(m_scroll->viewportWidth());
    if (columns == m_columns)
        return;
    m_columns = columns;
    for (TweakCard* const card : std::as_const(m_cards))
        m_grid->removeWidget(card);
    int index = 0;
    for (TweakCard* const card : std::as_const(m_cards)) {
        m_grid->addWidget(card, index / columns, index % columns);
        ++index;
    }
    m_grid->setColumnStretch(0, 1);
    m_grid->setColumnStretch(1, 1);
    m_grid->setColumnStretch(2, columns == 3 ? 1 : 0);
}

TweakCard* SectionTweaksPage::buildCard(const TweakDefinition& tweak, bool applied)
{
    TweakCard::Content content{.icon = m_icon,
                               .title = tweak.name,
                               .description = tweak.description,
                               .isWarning = false,
                               .warning = warningTooltip(tweak),
                               .locked = !isAvailable(tweak),
                               .effect = {}};
    if (content.description.isEmpty()) {
        content.description = tweak.warning;
        content.isWarning = true;
    }
    if (content.description.isEmpty())
        content.description =
            translate("SectionTweaksPage", "Reversible system tweak — apply and revert safely at any time.");
    if (const std::shared_ptr<ITweak> implementation = m_context->catalog.implementation(tweak.id))
        content.effect = [implementation] { return tweakSummary(*implementation); };
    const bool locked = content.locked;
    // A page that nobody opens never lays its cards out: only the parent then makes them go with it.
    auto* const card = new TweakCard(std::move(content), m_grid->parentWidget());
    card->setControl(locked ? makePill(tweak, card) : makeSwitch(tweak, applied, card));
    return card;
}

QWidget* SectionTweaksPage::makeSwitch(const TweakDefinition& tweak, bool applied, QWidget* card)
{
    auto* const toggle = new ToggleSwitch(card);
    toggle->setOn(applied, false);
    toggle->setAccessibleName(tweak.name);
    toggle->setAccessibleDescription(tweak.warning);
    m_switches.insert(tweak.id, toggle);
    connect(toggle, &QAbstractButton::clicked, this,
            [this, id = tweak.id, toggle] { toggleTweak(id, !toggle->isOn()); });
    return toggle;
}

QWidget* SectionTweaksPage::makePill(const TweakDefinition& tweak, QWidget* card)
{
    QString word = translate("SectionTweaksPage", "Premium");
    if (tweak.requiredTier == Tier::Pro)
        word = m_context->tier == Tier::Premium ? translate("SectionTweaksPage", "Upgrade to Pro")
                                                : translate("SectionTweaksPage", "Pro");
    QPushButton* const pill = makeTierPill(word, deployment::webBaseUrl, IconId::Lock, 34, lockIconSize, card);
    pill->setAccessibleName(QStringLiteral("%1, %2").arg(tweak.name, word));
    return pill;
}

void SectionTweaksPage::toggleTweak(const QString& id, bool desired)
{
    const TweakDefinition tweak = m_context->catalog.find(id);
    if (desired && !tweak.warning.isEmpty()
        && !confirm(tweak.name, tweak.warning + translate("SectionTweaksPage", "\n\nApply this tweak?"),
                    translate("SectionTweaksPage", "Apply"), translate("SectionTweaksPage", "Cancel")))
        return; // The switch hasn't moved yet.
    beginWork({id}, desired);
    const auto work = [engine = m_context->engine.get(), id, desired, tier = m_context->tier] {
        return runToggle(engine, id, desired, tier);
    };
    launch(m_pool, work, [this, id](const std::optional<ApplyOutcome>& outcome) {
        endWork({id});
        if (outcome && !outcome->ok)
            showMessage(
                translate("SectionTweaksPage", "Tweak failed"),
                named(id,
                      outcome->error.isEmpty() ? translate("SectionTweaksPage", "Operation failed.") : outcome->error));
    });
}

/// Asks once for all, if there is anything to ask. The tier may fall meanwhile: what it doesn't cover leaves the list.
bool SectionTweaksPage::confirmBatch(QStringList& ids, const QStringList& applied)
{
    const QString question = batchQuestion(m_context->catalog, ids, applied);
    if (question.isEmpty())
        return true;
    if (!confirm(translate("SectionTweaksPage", "Apply all"),
                 question + translate("SectionTweaksPage", "\n\nApply all %1 tweaks?").arg(ids.size()),
                 translate("SectionTweaksPage", "Apply"), translate("SectionTweaksPage", "Cancel")))
        return false;
    const QStringList open = divide().notApplied;
    ids.removeIf([&open](const QString& id) { return !open.contains(id); });
    return isBatchOpen() && !ids.isEmpty();
}

/// A line of the engine, "id: message" or the message alone, with the name that the card shows.
QString SectionTweaksPage::named(const QString& id, const QString& line) const
{
    const QString prefix = id + QStringLiteral(": ");
    return QStringLiteral("%1 (%2): %3")
        .arg(m_context->catalog.find(id).name, id, line.startsWith(prefix) ? line.sliced(prefix.size()) : line);
}

void SectionTweaksPage::applyAllRecommended()
{
    if (!isBatchOpen())
        return;
    const Division division = divide();
    const bool desired = !division.notApplied.isEmpty() || division.applied.isEmpty();
    QStringList ids = desired ? division.notApplied : division.applied;
    if (ids.isEmpty() || (desired && !confirmBatch(ids, division.applied)))
        return;
    beginWork(ids, desired);
    const auto work = [engine = m_context->engine.get(), ids, desired, tier = m_context->tier] {
        return runBatch(engine, ids, desired, tier);
    };
    launch(m_pool, work, [this, ids](const std::optional<QStringList>& failures) {
        endWork(ids);
        if (!failures || failures->isEmpty())
            return;
        QStringList lines;
        for (const QString& failure : *failures)
            lines.append(named(failure.section(QLatin1String(": "), 0, 0), failure));
        showMessage(translate("SectionTweaksPage", "Some tweaks failed"), lines.join(QLatin1Char('\n')));
    });
}

/// By the switches: they show the engine's truth with the queued work already counted in.
SectionTweaksPage::Division SectionTweaksPage::divide() const
{
    Division division;
    for (const QString& id : m_ids) {
        if (const ToggleSwitch* const toggle = m_switches.value(id))
            (toggle->isOn() ? division.applied : division.notApplied).append(id);
    }
    return division;
}

bool SectionTweaksPage::isAvailable(const TweakDefinition& tweak) const
{
    return TierGate::covers(m_context->tier, tweak.requiredTier);
}

bool SectionTweaksPage::isBatchOpen() const
{
    return TierGate::covers(m_context->tier, m_pageTier);
}

/// Shows the intended result at once.
void SectionTweaksPage::beginWork(const QStringList& ids, bool desired)
{
    for (const QString& id : ids) {
        Work& work = m_work[id];
        ++work.jobs;
        work.desired = desired;
        setSwitch(id, desired);
    }
    refreshActionButton();
}

/// Shows the result of the work, except for ids with more work in the queue: that one has the last word.
void SectionTweaksPage::endWork(const QStringList& ids)
{
    for (const QString& id : ids) {
        const auto work = m_work.find(id);
        if (work == m_work.end() || --work->jobs > 0)
            continue;
        m_work.erase(work);
        noteDrift(id, {});
        synchronise(id);
    }
    refreshActionButton();
}

void SectionTweaksPage::setSwitch(const QString& id, bool on)
{
    ToggleSwitch* const toggle = m_switches.value(id);
    if (toggle && toggle->isOn() != on)
        toggle->setOn(on, true);
}

void SectionTweaksPage::synchronise(const QString& id)
{
    setSwitch(id, m_context->engine->isApplied(id));
}

void SectionTweaksPage::refreshActionButton()
{
    const Division division = divide();
    const bool anything = !division.applied.isEmpty() || !division.notApplied.isEmpty();
    setShown(m_actionButton, isBatchOpen() && anything);
    const bool allApplied = division.notApplied.isEmpty() && !division.applied.isEmpty();
    m_actionButton->setText(allApplied ? translate("SectionTweaksPage", "Revert all")
                                       : translate("SectionTweaksPage", "Apply all"));
    const QString variant = allApplied ? QStringLiteral("ghost") : QStringLiteral("primary");
    if (m_actionButton->property("variant").toString() == variant)
        return;
    m_actionButton->setProperty("variant", variant);
    // A dynamic property doesn't restyle by itself.
    m_actionButton->style()->unpolish(m_actionButton);
    m_actionButton->style()->polish(m_actionButton);
}

} // namespace torvelane
