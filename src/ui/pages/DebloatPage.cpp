#include "ui/pages/DebloatPage.h"

#include "core/Translate.h"
#include "ui/controls/GlassCard.h"
#include "ui/controls/ListRow.h"

#include <QLocale>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <numeric>

namespace torvelane {

namespace {

constexpr int cleanAllHeight = 42;
constexpr int rowSpacing = 10;

QString sizeText(qint64 bytes)
{
    struct Unit {
        int shift;
        int decimals;
        QString name;
    };
    const std::array units{Unit{30, 2, translate("DebloatPage", "GB")}, Unit{20, 1, translate("DebloatPage", "MB")},
                           Unit{10, 0, translate("DebloatPage", "KB")}};
    const QLocale locale = QLocale::system();
    for (const Unit& unit : units) {
        const qint64 one = qint64(1) << unit.shift;
        if (bytes >= one)
            return QStringLiteral("%1 %2").arg(
                locale.toString(static_cast<double>(bytes) / static_cast<double>(one), 'f', unit.decimals), unit.name);
    }
    return QStringLiteral("%1 %2").arg(locale.toString(bytes), translate("DebloatPage", "B"));
}

/// What was done, and what is the case now, in one line.
QString joined(const QString& freed, const QString& text)
{
    return freed.isEmpty() ? text : QStringLiteral("%1 · %2").arg(freed, text);
}

} // namespace

DebloatPage::DebloatPage(QWidget* parent) : WorkPage(parent) { }

void DebloatPage::build()
{
    m_categories = DebloatCleaner::categories();
    column()->addWidget(
        makeText(u"Faint",
                 translate("DebloatPage",
                           "Frees disk space by clearing temp files and caches. Cleanup is permanent (deleted files "
                           "are not recoverable) — only safe temp/cache locations and the Recycle Bin are targeted, "
                           "and files in use are skipped."),
                 content()));
    QPushButton* const all = makeButton(u"primary", translate("DebloatPage", "Clean all"), cleanAllHeight, content());
    connect(all, &QPushButton::clicked, this, &DebloatPage::cleanAll);
    column()->addWidget(all, 0, Qt::AlignLeft);
    m_buttons.append(all);
    m_progress = new QProgressBar(content());
    m_progress->setAccessibleName(all->text());
    m_progress->setTextVisible(false);
    m_progress->setRange(0, static_cast<int>(m_categories.size()));
    m_progress->setValue(0);
    column()->addWidget(m_progress);
    addStatusRow(column());
    auto* const rows = new QVBoxLayout;
    rows->setSpacing(rowSpacing);
    column()->addLayout(rows);
    for (const CleanCategory& category : std::as_const(m_categories))
        rows->addWidget(addRow(category));
    column()->addStretch();
}

ListRow* DebloatPage::addRow(const CleanCategory& category)
{
    auto* const row = new ListRow(category.title, category.description, content(), ListRow::Details::Wrapped);
    m_rows.insert(category.key, row);
    QPushButton* const clean = row->addButton(translate("DebloatPage", "Clean"));
    connect(clean, &QPushButton::clicked, this, [this, category] { cleanOne(category); });
    m_buttons.append(clean);
    return row;
}

void DebloatPage::showEvent(QShowEvent* event)
{
    WorkPage::showEvent(event);
    if (!m_scanned)
        scanAll();
    m_scanned = true;
}

void DebloatPage::refreshControls()
{
    for (QPushButton* const button : std::as_const(m_buttons))
        button->setEnabled(!isBusy());
}

void DebloatPage::scanAll(const QString& freed, const QStringList& refused)
{
    scan(joined(freed, translate("DebloatPage", "Scanning…")),
         job(
             [](const QList<CleanCategory>& categories) {
                 Sizes sizes;
                 for (const CleanCategory& category : categories)
                     sizes.insert(category.key, DebloatCleaner::scanSize(category));
                 return sizes;
             },
             m_categories),
         [this, freed, refused](const Sizes& sizes) { showSizes(sizes, freed, refused); });
}

void DebloatPage::showSizes(const Sizes& sizes, const QString& freed, const QStringList& refused)
{
    m_sizes = sizes;
    for (auto row = m_rows.cbegin(); row != m_rows.cend(); ++row)
        row.value()->setFigure(sizeText(sizes.value(row.key())));
    const qint64 sum = std::accumulate(sizes.cbegin(), sizes.cend(), qint64(0));
    setStatus(joined(freed, translate("DebloatPage", "Reclaimable: %1").arg(sizeText(sum))));
    if (!refused.isEmpty())
        setAdvice(translate("DebloatPage",
                            "Nothing could be removed here: %1. Close the programs that use these files, and clean "
                            "again.")
                      .arg(refused.join(QStringLiteral(", "))));
}

/// The category's name if there was something in it and nothing of it went.
QStringList DebloatPage::refusedBy(const CleanCategory& category, const CleanResult& result) const
{
    return result.itemsRemoved == 0 && m_sizes.value(category.key) > 0 ? QStringList{category.title} : QStringList{};
}

void DebloatPage::cleanOne(const CleanCategory& category)
{
    run(translate("DebloatPage", "Cleaning…"),
        job([](const CleanCategory& what) { return DebloatCleaner::clean(what); }, category),
        [this, category](const CleanResult& result) {
            const QString freed = translate("DebloatPage", "Freed %1").arg(sizeText(result.bytesFreed));
            setStatus(freed);
            scanAll(freed, refusedBy(category, result));
        });
}

void DebloatPage::cleanAll()
{
    if (isBusy())
        return;
    m_progress->setValue(0);
    cleanAllStep(0, {}, {});
}

/// One category after the other, whatever became of the last: files in use stay, and the next category's may go.
void DebloatPage::cleanAllStep(int index, const CleanResult& sum, const QStringList& refused)
{
    if (index < m_categories.size()) {
        const CleanCategory category = m_categories.at(index);
        run(translate("DebloatPage", "Cleaning all…"),
            job([](const CleanCategory& what) { return DebloatCleaner::clean(what); }, category),
            [this, index, category, sum, refused](const CleanResult& result) {
                m_progress->setValue(index + 1);
                cleanAllStep(index + 1, {sum.bytesFreed + result.bytesFreed, sum.itemsRemoved + result.itemsRemoved},
                             refused + refusedBy(category, result));
            });
    }
    // Otherwise nothing is left to do, or finishWork() has ended the chain.
    if (isBusy())
        return;
    const QString freed = translate("DebloatPage", "Freed %1 (%2 items)", nullptr, sum.itemsRemoved)
                              .arg(sizeText(sum.bytesFreed), QLocale::system().toString(sum.itemsRemoved));
    setStatus(freed);
    scanAll(freed, refused);
}

} // namespace torvelane
