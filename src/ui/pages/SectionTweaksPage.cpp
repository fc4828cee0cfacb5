#include "ui/pages/SectionTweaksPage.h"

#include "app/AppContext.h"
#include "core/Deployment.h"
#include "core/Translate.h"
#include "tweaks/TierGate.h"
#include "tweaks/TweakEngine.h"
#include "ui/controls/AppDialog.h"
#include "ui/controls/TierPill.h"
#include "ui/controls/ToggleSwitch.h"
#include "ui/pages/TweakCard.h"
#include "ui/pages/TweakSummary.h"
#include "ui/theme/Theme.h"
#include "ui/windows/HeroWindow.h"

#include <QFutureWatcher>
#include <QGridLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QStyle>
#include <QThreadPool>
#include <QVBoxLayout>
#include <QtConcurrent>

namespace torvelane {

namespace {

constexpr int gridSpacing = 12;
constexpr int columnPitch = 302; ///< Width of a column with its spacing, from which another one fits.
constexpr int cardIconSize = 18;
constexpr int lockIconSize = 15;

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
    if (desired) {
        engine->applyBatch(ids, tier, &failures, false);
        return failures;
    }
    for (const QString& id : ids) {
        QString error;
        if (!engine->revertTweak(id, &error, true))
            failures.append(QStringLiteral("%1: %2").arg(id, error));
    }
    return failures;
}

/// Runs `work` on the pool and hands its result to `done` on the GUI thread, unless the page is gone by then.
template <typename Work, typename Done>
void runOn(QThreadPool* pool, QObject* page, Work work, Done done)
{
    using Result = std::invoke_result_t<Work>;
    auto* const watcher = new QFutureWatcher<Result>(page);
    QObject::connect(watcher, &QFutureWatcherBase::finished, page, [watcher, done] {
        watcher->deleteLater();
        // Work that was dropped before it began has no result.
        if (watcher->future().resultCount() > 0)
            done(watcher->result());
    });
    watcher->setFuture(QtConcurrent::run(pool, work));
}

} // namespace

SectionTweaksPage::SectionTweaksPage(AppContext& context, const QString& sectionKey, IconId icon, Tier pageTier,
                                     QWidget* parent)
    : QWidget(parent)
    , m_context(&context)
    , m_sectionKey(sectionKey)
    , m_picture(iconPixmap(icon, palette::accent, cardIconSize))
    , m_pageTier(pageTier)
    , m_scrollArea(new QScrollArea(this))
    , m_grid(new QGridLayout)
    , m_actionButton(new QPushButton)
    , m_pool(new QThreadPool(this))
{
    m_pool->setMaxThreadCount(1);
    m_pool->setExpiryTimeout(-1);

    auto* const outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->setSpacing(0);
    m_scrollArea->setFrameShape(QFrame::NoFrame);
    m_scrollArea->setWidgetResizable(true);
    m_scrollArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scrollArea->viewport()->setAutoFillBackground(false);
    outer->addWidget(m_scrollArea);

    // From the outside in: a widget that changes its parent takes all below it through the style once more.
    auto* const content = new QWidget(m_scrollArea->viewport());
    content->setAutoFillBackground(false);
    m_scrollArea->setWidget(content);
    auto* const column = new QVBoxLayout(content);
    column->setContentsMargins(0, 0, 6, 0);
    column->setSpacing(16);
    m_actionButton->setCursor(Qt::PointingHandCursor);
    m_actionButton->setMinimumHeight(38);
    m_actionButton->setProperty("variant", QStringLiteral("primary"));
    connect(m_actionButton, &QPushButton::clicked, this, &SectionTweaksPage::applyAllRecommended);
    column->addWidget(m_actionButton, 0, Qt::AlignLeft);

    auto* const tiles = new QWidget(content);
    tiles->setLayout(m_grid);
    m_grid->setContentsMargins(0, 0, 0, 0);
    m_grid->setSpacing(gridSpacing);
    column->addWidget(tiles);

    buildCards();
    if (m_cards.isEmpty()) {
        auto* const label = new QLabel(
            translate(
                "SectionTweaksPage",
                "No tweaks are defined for this section yet. Features that need a non-registry backend (power plans, "
                "services, file cleanup) are added in their own phase — nothing here is faked."),
            content);
        label->setObjectName(QStringLiteral("Muted"));
        label->setTextFormat(Qt::PlainText);
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
    m_pool->clear();
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
    QWidget::resizeEvent(event);
    layOutCards();
}

void SectionTweaksPage::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    hookBackground();
    refreshBackdrop();
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
    m_switches.clear();
    m_columns = 0;
    buildCards();
    refreshActionButton();
    layOutCards();
}

void SectionTweaksPage::layOutCards()
{
    const int columns = columnsFor(m_scrollArea->viewport()->width());
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
    TweakCard::Content content{.picture = m_picture,
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
    if (desired && !tweak.warning.isEmpty()) {
        // The session can end, and this page with it, while the question stands.
        const QPointer<SectionTweaksPage> guard(this);
        const bool accepted = AppDialog::confirm(
            this, tweak.name, tweak.warning + translate("SectionTweaksPage", "\n\nApply this tweak?"),
            translate("SectionTweaksPage", "Apply"), translate("SectionTweaksPage", "Cancel"));
        if (!guard)
            return;
        if (!accepted) {
            synchronise(id);
            return;
        }
    }
    beginWork({id}, desired);
    runOn(
        m_pool, this,
        [engine = m_context->engine.get(), id, desired, tier = m_context->tier] {
            return runToggle(engine, id, desired, tier);
        },
        [this, id](const ApplyOutcome& outcome) {
            endWork({id});
            if (!outcome.ok)
                AppDialog::info(this, translate("SectionTweaksPage", "Tweak failed"),
                                outcome.error.isEmpty() ? translate("SectionTweaksPage", "Operation failed.")
                                                        : outcome.error);
        });
}

void SectionTweaksPage::applyAllRecommended()
{
    if (!isBatchOpen())
        return;
    const Division division = divide();
    const bool desired = !division.notApplied.isEmpty() || division.applied.isEmpty();
    const QStringList ids = desired ? division.notApplied : division.applied;
    if (ids.isEmpty())
        return;
    beginWork(ids, desired);
    runOn(
        m_pool, this,
        [engine = m_context->engine.get(), ids, desired, tier = m_context->tier] {
            return runBatch(engine, ids, desired, tier);
        },
        [this, ids](const QStringList& failures) {
            endWork(ids);
            if (!failures.isEmpty())
                AppDialog::info(this, translate("SectionTweaksPage", "Some tweaks failed"),
                                failures.join(QLatin1Char('\n')));
        });
}

/// By what the switches show: it is the engine's truth with the work that is still queued already counted in.
SectionTweaksPage::Division SectionTweaksPage::divide() const
{
    Division division;
    const QList<TweakDefinition> definitions = m_context->catalog.definitions();
    for (const TweakDefinition& tweak : definitions) {
        const ToggleSwitch* const toggle = m_switches.value(tweak.id);
        if (toggle)
            (toggle->isOn() ? division.applied : division.notApplied).append(tweak.id);
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

/// Shows at once what the work is to lead to.
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

/// Shows what the work led to, but for ids that more work waits for: that one has the last word.
void SectionTweaksPage::endWork(const QStringList& ids)
{
    for (const QString& id : ids) {
        const auto work = m_work.find(id);
        if (work == m_work.end() || --work->jobs > 0)
            continue;
        m_work.erase(work);
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

HeroWindow* SectionTweaksPage::heroWindow() const
{
    for (QWidget* widget = parentWidget(); widget; widget = widget->parentWidget()) {
        if (auto* const hero = qobject_cast<HeroWindow*>(widget))
            return hero;
    }
    return nullptr;
}

void SectionTweaksPage::hookBackground()
{
    HeroWindow* const hero = heroWindow();
    if (m_backgroundHooked || !hero)
        return;
    connect(hero, &HeroWindow::backgroundRebuilt, this, &SectionTweaksPage::refreshBackdrop, Qt::QueuedConnection);
    m_backgroundHooked = true;
}

/// Makes the viewport opaque with its part of the window's background, so that scrolling moves one picture instead of
/// composing the background under every card at each step.
void SectionTweaksPage::refreshBackdrop()
{
    HeroWindow* const hero = heroWindow();
    if (!hero || !m_scrollArea->isVisible())
        return;
    QWidget* const viewport = m_scrollArea->viewport();
    const QPixmap slice = hero->backgroundSlice(QRect(viewport->mapTo(hero, QPoint(0, 0)), viewport->size()));
    if (slice.isNull())
        return;
    QPalette colors = viewport->palette();
    colors.setBrush(QPalette::Window, QBrush(slice));
    viewport->setPalette(colors);
    viewport->setAutoFillBackground(true);
    viewport->update();
    hero->addCover(viewport);
}

} // namespace torvelane
