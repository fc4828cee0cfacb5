#include "ui/pages/GamingModePage.h"

#include "core/Translate.h"
#include "optimizers/GamingMode.h"
#include "ui/controls/ElidedLabel.h"
#include "ui/controls/GlassCard.h"
#include "ui/controls/StatTile.h"
#include "ui/controls/ToggleSwitch.h"
#include "ui/pages/LoadWatch.h"
#include "ui/theme/Theme.h"

#include <QEvent>
#include <QVBoxLayout>

namespace torvelane {

namespace {

constexpr int cardSpacing = 12;
constexpr int tileSpacing = 14;
constexpr int titlePixelSize = 19;

struct Outcome {
    GamingResult result;
    bool isActive = false; ///< Afterwards.
};

} // namespace

GamingModePage::GamingModePage(QWidget* parent) : WorkPage(parent), m_watch(new LoadWatch(this))
{
    connect(m_watch, &LoadWatch::sampled, this, &GamingModePage::showSample);
}

void GamingModePage::build()
{
    column()->addWidget(makeModeCard(content()));
    addStatusRow(column());
    column()->addWidget(makeLoadCard(content()));
    column()->addStretch();
    showActive(false);
    read(job([] { return GamingMode::isActive(); }), [this](bool active) { showActive(active); });
}

QWidget* GamingModePage::makeModeCard(QWidget* parent)
{
    auto* const card = new GlassCard(cardSpacing, parent);
    const QString title = translate("GamingModePage", "Gaming Mode");
    auto* const head = new QHBoxLayout;
    head->setSpacing(cardSpacing);
    card->column()->addLayout(head);
    head->addWidget(makeTitle(title, titlePixelSize, card));
    head->addStretch();
    m_state = new TextLabel(QStringLiteral("Muted"), QString(), card);
    head->addWidget(m_state);
    m_switch = new ToggleSwitch(card);
    m_switch->setAccessibleName(title);
    head->addWidget(m_switch);
    connect(m_switch, &QAbstractButton::clicked, this, [this] { switchTo(!m_switch->isOn()); });
    card->column()->addWidget(makeText(
        u"Faint",
        translate(
            "GamingModePage",
            "One switch puts the whole machine into a gaming posture: MMCSS top priority, GPU hardware scheduling, "
            "Game Mode on, GameDVR off, 1:1 raw mouse, network throttling freed and best-performance power. Every "
            "setting is captured first — switching off restores your exact previous state."),
        card));
    return card;
}

QWidget* GamingModePage::makeLoadCard(QWidget* parent)
{
    auto* const card = new GlassCard(cardSpacing, parent);
    card->column()->addWidget(makeTitle(translate("GamingModePage", "Live performance"), titlePixelSize, card));
    auto* const tiles = new QHBoxLayout;
    tiles->setSpacing(tileSpacing);
    card->column()->addLayout(tiles);
    m_cpu = new StatTile(translate("GamingModePage", "CPU"), palette::accent, card);
    m_gpu = new StatTile(translate("GamingModePage", "GPU"), palette::accentDeep, card);
    m_memory = new StatTile(translate("GamingModePage", "RAM"), palette::muted, card);
    for (StatTile* const tile : {m_cpu, m_gpu, m_memory})
        tiles->addWidget(tile, 1);
    m_game = new ElidedLabel(card);
    m_game->setObjectName(QStringLiteral("Faint"));
    m_game->setWhole(translate("GamingModePage", "No game detected."));
    card->column()->addWidget(m_game);
    return card;
}

void GamingModePage::refreshControls()
{
    m_switch->setEnabled(!isBusy());
}

void GamingModePage::switchTo(bool active)
{
    const auto work = [](bool desired) {
        Outcome outcome;
        outcome.result = desired ? GamingMode::activate() : GamingMode::deactivate();
        outcome.isActive = GamingMode::isActive();
        return outcome;
    };
    run(active ? translate("GamingModePage", "Activating…") : translate("GamingModePage", "Restoring…"),
        job(work, active), [this](const Outcome& outcome) {
            showActive(outcome.isActive);
            report(translate("GamingModePage", "Gaming Mode"), outcome.result.ok, outcome.result.message,
                   translate("GamingModePage",
                             "Nothing was changed. Check that the disk isn't full and that no other program holds "
                             "Torvelane's files open, then try again."));
        });
}

void GamingModePage::showActive(bool active)
{
    m_switch->setOn(active, true);
    m_state->setText(active ? translate("GamingModePage", "Active") : translate("GamingModePage", "Inactive"));
}

void GamingModePage::showSample(const LoadSample& sample)
{
    m_cpu->setValue(StatTile::percent(sample.cpu));
    m_gpu->setValue(StatTile::percent(sample.gpu));
    m_memory->setValue(StatTile::percent(sample.memory));
    if (sample.game)
        m_game->setWhole(sample.game->found ? translate("GamingModePage", "Game detected: %1").arg(sample.game->title)
                                            : translate("GamingModePage", "No game detected."));
}

void GamingModePage::showEvent(QShowEvent* event)
{
    WorkPage::showEvent(event);
    adaptWatch();
}

void GamingModePage::hideEvent(QHideEvent* event)
{
    WorkPage::hideEvent(event);
    adaptWatch();
}

void GamingModePage::changeEvent(QEvent* event)
{
    WorkPage::changeEvent(event);
    if (event->type() == QEvent::EnabledChange)
        adaptWatch();
}

void GamingModePage::adaptWatch()
{
    if (isVisible() && isEnabled())
        m_watch->start();
    else
        m_watch->stop();
}

} // namespace torvelane
