#include "ui/pages/AppOptimizePage.h"

#include "core/Translate.h"
#include "ui/controls/GlassCard.h"
#include "ui/pages/RowList.h"

#include <QDir>
#include <QFileDialog>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace torvelane {

namespace {

constexpr int chooseHeight = 42;

} // namespace

AppOptimizePage::AppOptimizePage(QWidget* parent) : WorkPage(parent) { }

void AppOptimizePage::build()
{
    column()->addWidget(
        makeText(u"Faint",
                 translate("AppOptimizePage",
                           "Pick any program's .exe to raise its CPU scheduling priority (High) so it gets more CPU "
                           "time under load — useful for games and latency-sensitive apps. Fully reversible per app."),
                 content()));
    m_choose =
        makeButton(u"primary", translate("AppOptimizePage", "Optimize an app… (choose .exe)"), chooseHeight, content());
    connect(m_choose, &QPushButton::clicked, this, &AppOptimizePage::chooseProgram);
    column()->addWidget(m_choose, 0, Qt::AlignLeft);
    addStatusRow(column());
    m_list = new RowList(u"Muted", m_choose, content());
    column()->addWidget(m_list);
    column()->addStretch();
    carryBackdrop();
    rebuildList();
}

void AppOptimizePage::chooseProgram()
{
    // The session can end, and this page with it, while the dialog is open.
    const QPointer<AppOptimizePage> guard(this);
    const QString path =
        QFileDialog::getOpenFileName(this, translate("AppOptimizePage", "Choose a program to optimize"), QString(),
                                     translate("AppOptimizePage", "Programs (*.exe)"));
    if (guard && !path.isEmpty())
        show(m_optimizer.optimize(QDir::toNativeSeparators(path)));
}

void AppOptimizePage::show(const AppOptimizeResult& result)
{
    setStatus(result.message);
    setAdvice(result.ok
                  ? QString()
                  : translate("AppOptimizePage", "Try again. If that fails too, start Torvelane as administrator."));
    rebuildList();
}

void AppOptimizePage::restore(const QString& name)
{
    const AppOptimizeResult result = m_optimizer.restore(name);
    show(result);
    const auto apps = m_optimizer.list();
    const bool isForgotten = std::ranges::none_of(apps, [&name](const auto& app) { return app.first == name; });
    // Another try would find nothing to restore.
    if (!result.ok && isForgotten)
        setAdvice(
            translate("AppOptimizePage",
                      "%1 keeps its high priority. To take it away, start the Registry Editor as administrator and "
                      "delete CpuPriorityClass below Image File Execution Options\\%1\\PerfOptions.")
                .arg(name));
}

void AppOptimizePage::rebuildList()
{
    m_list->showNote(translate("AppOptimizePage", "No apps optimized yet."));
    QList<QPair<QString, QString>> apps = m_optimizer.list();
    std::ranges::sort(apps, [](const auto& left, const auto& right) {
        return QString::localeAwareCompare(left.first, right.first) < 0;
    });
    for (const auto& [name, path] : std::as_const(apps)) {
        ListRow* const row = m_list->addRow(name, path, GlassCard::narrow);
        const QPushButton* const back = row->addButton(translate("AppOptimizePage", "Restore"));
        connect(back, &QPushButton::clicked, this, [this, name = name] { restore(name); });
    }
}

} // namespace torvelane
