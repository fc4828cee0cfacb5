#include "ui/pages/BufferbloatPage.h"

#include "core/Translate.h"
#include "ui/controls/GlassCard.h"

#include <QPushButton>
#include <QVBoxLayout>

namespace torvelane {

namespace {

constexpr int cardSpacing = 16;
constexpr int titlePixelSize = 20;
constexpr int buttonHeight = 40;

QString titleOf(BufferbloatMode mode)
{
    return mode == BufferbloatMode::UltraLow ? translate("BufferbloatPage", "Ultra-low bufferbloat")
                                             : translate("BufferbloatPage", "Normal mode");
}

QString questionFor(BufferbloatMode mode)
{
    return mode == BufferbloatMode::UltraLow
        ? translate("BufferbloatPage",
                    "This will restart your active network adapter(s) and briefly drop the connection.\n\n"
                    "Apply ultra-low bufferbloat?")
        : translate("BufferbloatPage",
                    "This will restart your active network adapter(s) and briefly drop the connection.\n\n"
                    "Apply normal mode?");
}

} // namespace

BufferbloatPage::BufferbloatPage(QWidget* parent)
    : WorkPage(parent)
    , m_optimizer(std::make_shared<BufferbloatOptimizer>())
{
}

void BufferbloatPage::build()
{
    column()->addWidget(makeText(
        u"Faint",
        translate(
            "BufferbloatPage",
            "Bufferbloat is the extra latency that builds up when oversized network buffers fill under load "
            "(downloads, uploads, streaming). Ultra-low mode shrinks the network adapter's buffer rings so packets "
            "drain faster — lower and more stable ping while the link is busy, at a small cost to peak throughput. "
            "Both modes are fully reversible and applied per active adapter (applying restarts the adapter and "
            "briefly drops the connection)."),
        content()));
    auto* const cards = new QHBoxLayout;
    cards->setSpacing(cardSpacing);
    column()->addLayout(cards);
    cards->addWidget(makeCard(BufferbloatMode::Normal, content()), 1);
    cards->addWidget(makeCard(BufferbloatMode::UltraLow, content()), 1);
    addStatusRow(column());
    column()->addStretch();
    refreshControls();
}

QWidget* BufferbloatPage::makeCard(BufferbloatMode mode, QWidget* parent)
{
    const bool ultra = mode == BufferbloatMode::UltraLow;
    auto* const card = new GlassCard(12, parent);
    auto* const head = new QHBoxLayout;
    card->column()->addLayout(head);
    QLabel* const title = makeTitle(titleOf(mode), titlePixelSize, card);
    title->setWordWrap(true);
    head->addWidget(title, 1);
    if (ultra) {
        QLabel* const tag = makeText(u"Faint", translate("BufferbloatPage", "Gaming"), card);
        tag->setWordWrap(false);
        head->addWidget(tag);
    }
    card->column()->addWidget(makeText(
        u"Muted",
        ultra
            ? translate("BufferbloatPage",
                        "Significantly decreases bufferbloat, but it may also decrease network speed. Recommended for "
                        "gaming.")
            : translate("BufferbloatPage",
                        "Restores your normal speed, but may have higher bufferbloat. Recommended for downloading "
                        "files or if you already have A+ bufferbloat."),
        card));
    card->column()->addStretch();
    QPushButton* const button =
        ultra ? makeButton(u"primary", {}, buttonHeight, card) : makeButton(u"ghost", {}, buttonHeight, card);
    button->setToolTip(translate("BufferbloatPage", "Targets: %1")
                           .arg(BufferbloatOptimizer::bufferSettingNames().join(QStringLiteral(", "))));
    connect(button, &QPushButton::clicked, this, [this, mode] { applyMode(mode); });
    card->column()->addWidget(button);
    (ultra ? m_ultraLow : m_normal) = button;
    return card;
}

/// The mode is the one of the optimiser's snapshots, and so the right one after a restart, too.
void BufferbloatPage::refreshControls()
{
    const bool ultra = m_optimizer->snapshotCount() > 0;
    for (const auto& [button, mode, active] :
         {std::tuple(m_normal, BufferbloatMode::Normal, !ultra), {m_ultraLow, BufferbloatMode::UltraLow, ultra}}) {
        button->setText(active ? translate("BufferbloatPage", "Active") : translate("BufferbloatPage", "Apply"));
        button->setAccessibleName(QStringLiteral("%1, %2").arg(button->text(), titleOf(mode)));
        button->setEnabled(!active && !isBusy());
    }
}

void BufferbloatPage::applyMode(BufferbloatMode mode)
{
    if (isBusy()
        || !confirm(titleOf(mode), questionFor(mode), translate("BufferbloatPage", "Apply"),
                    translate("BufferbloatPage", "Cancel")))
        return;
    const auto work = [](const auto& optimizer, BufferbloatMode desired) {
        return desired == BufferbloatMode::UltraLow ? optimizer->applyAll(listNetAdapters()) : optimizer->restoreAll();
    };
    run(mode == BufferbloatMode::UltraLow ? translate("BufferbloatPage", "Applying ultra-low bufferbloat…")
                                          : translate("BufferbloatPage", "Restoring normal mode…"),
        job(work, m_optimizer, mode), [this](const BufferbloatResult& result) {
            report(translate("BufferbloatPage", "Bufferbloat"), result.ok, result.message,
                   translate("BufferbloatPage",
                             "Not every driver allows it. Check in Windows that the adapter is switched on, and that "
                             "Torvelane runs as administrator, then try again."));
        });
}

} // namespace torvelane
