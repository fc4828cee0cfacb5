#include "ui/pages/PowerPlanPage.h"

#include "core/Translate.h"
#include "optimizers/PowerPlanManager.h"
#include "ui/controls/FocusRing.h"
#include "ui/controls/GlassCard.h"

#include <QPushButton>
#include <QVBoxLayout>

namespace torvelane {

namespace {

constexpr int bestHeight = 42;
constexpr int toggleHeight = 40;

/// One of the two looks of a toggle.
struct Look {
    int radius;
    QString style;
};

const Look& lookFor(bool applied)
{
    static const Look off{
        22,
        QStringLiteral(
            "QPushButton { border: none; border-radius: 22px; padding: 12px 24px; color: #FFFFFF;"
            " background: qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 #6571FF, stop:0.5 #5F6AE9, stop:1 #6571FF); }"
            "QPushButton:hover {"
            " background: qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 #7079FF, stop:0.5 #6A74F0, stop:1 #7079FF); }"
            "QPushButton:disabled { color: rgba(255,255,255,0.55); }")};
    static const Look on{10,
                         QStringLiteral("QPushButton { border: 1px solid rgba(255,255,255,0.15); border-radius: 10px;"
                                        " padding: 11px 18px; color: #FFFFFF; background: transparent; }"
                                        "QPushButton:hover { background: rgba(255,255,255,0.05);"
                                        " border: 1px solid rgba(255,255,255,0.40); }"
                                        "QPushButton:disabled { color: rgba(255,255,255,0.40); }")};
    return applied ? on : off;
}

void dress(QPushButton* toggle, bool applied, const QString& text)
{
    toggle->setText(text);
    const Look& look = lookFor(applied);
    if (toggle->styleSheet() == look.style)
        return;
    toggle->setStyleSheet(look.style);
    toggle->setProperty(FocusRing::radiusProperty, look.radius);
}

} // namespace

template <typename Change>
void PowerPlanPage::work(const QString& status, Change change)
{
    run(status, job(change), [this](const PowerPlanResult& result) {
        setStatus(result.message);
        if (!result.ok)
            setAdvice(translate("PowerPlanPage",
                                "Try again. If that fails too, choose a plan in Windows' power options first. On a "
                                "company's PC a policy may keep the plan as it is."));
    });
}

PowerPlanPage::PowerPlanPage(QWidget* parent) : WorkPage(parent) { }

void PowerPlanPage::build()
{
    m_best = makeButton(u"primary", translate("PowerPlanPage", "Apply best performance plan"), bestHeight, content());
    connect(m_best, &QPushButton::clicked, this, [this] {
        work(translate("PowerPlanPage", "Applying best performance plan…"),
             [] { return PowerPlanManager::applyBestPlan(); });
    });
    column()->addWidget(m_best, 0, Qt::AlignLeft);
    column()->addWidget(
        makeText(u"Faint",
                 translate("PowerPlanPage",
                           "Activates Ultimate/High Performance so the CPU is not throttled for power saving. "
                           "Switching plans is fully reversible — just pick another below."),
                 content()));
    m_cpu = makeButton(u"", QString(), toggleHeight, content());
    connect(m_cpu, &QPushButton::clicked, this, [this] {
        if (PowerPlanManager::isMaxCpuApplied())
            work(translate("PowerPlanPage", "Restoring CPU defaults…"), [] { return PowerPlanManager::restoreCpu(); });
        else
            work(translate("PowerPlanPage", "Applying max CPU performance…"),
                 [] { return PowerPlanManager::applyMaxCpu(); });
    });
    column()->addWidget(m_cpu, 0, Qt::AlignLeft);
    m_disk = makeButton(u"", QString(), toggleHeight, content());
    connect(m_disk, &QPushButton::clicked, this, [this] {
        if (PowerPlanManager::isMaxDiskApplied())
            work(translate("PowerPlanPage", "Restoring disk power defaults…"),
                 [] { return PowerPlanManager::restoreDisk(); });
        else
            work(translate("PowerPlanPage", "Applying max disk performance…"),
                 [] { return PowerPlanManager::applyMaxDisk(); });
    });
    column()->addWidget(m_disk, 0, Qt::AlignLeft);
    addStatusRow(column());
    column()->addStretch();
    refreshControls();
}

void PowerPlanPage::refreshControls()
{
    if (!isBusy()) {
        const bool cpu = PowerPlanManager::isMaxCpuApplied();
        dress(m_cpu, cpu,
              cpu ? translate("PowerPlanPage", "Restore CPU defaults")
                  : translate("PowerPlanPage", "Max CPU performance (no parking / C-states)"));
        const bool disk = PowerPlanManager::isMaxDiskApplied();
        dress(m_disk, disk,
              disk ? translate("PowerPlanPage", "Restore disk power defaults")
                   : translate("PowerPlanPage", "Max disk performance (no parking / spindown)"));
    }
    for (QPushButton* const button : {m_best, m_cpu, m_disk})
        button->setEnabled(!isBusy());
}

/// Gaming Mode applies and restores the processor's bundle, too.
void PowerPlanPage::showEvent(QShowEvent* event)
{
    WorkPage::showEvent(event);
    refreshControls();
}

} // namespace torvelane
