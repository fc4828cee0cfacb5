#include "ui/pages/ScanPage.h"

#include "core/Translate.h"
#include "ui/controls/Divider.h"
#include "ui/controls/GlassCard.h"
#include "ui/controls/IconLabel.h"
#include "ui/theme/Theme.h"

#include <QAction>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QGridLayout>
#include <QGuiApplication>
#include <QMenu>
#include <QPushButton>
#include <QTime>
#include <QVBoxLayout>

#include <algorithm>

namespace torvelane {

namespace {

constexpr int titlePixelSize = 19;
constexpr int headIconSize = 20;
constexpr int buttonIconSize = 16;
constexpr int labelWidth = 150;

/// How a section of a report is shown.
struct Head {
    QLatin1String section;
    IconId icon;
    QString title;
};

Head headOf(const QString& section)
{
    const Head known[] = {
        {QLatin1String("System"), IconId::Gauge, translate("HardwareScanner", "System")},
        {QLatin1String("Motherboard"), IconId::CircuitBoard, translate("HardwareScanner", "Motherboard")},
        {QLatin1String("Processor"), IconId::Cpu, translate("HardwareScanner", "Processor")},
        {QLatin1String("Graphics"), IconId::Monitor, translate("HardwareScanner", "Graphics")},
        {QLatin1String("Memory"), IconId::MemoryStick, translate("HardwareScanner", "Memory")},
        {QLatin1String("Storage"), IconId::HardDrive, translate("HardwareScanner", "Storage")},
        {QLatin1String("Sensors"), IconId::Thermometer, translate("HardwareScanner", "Sensors")},
    };
    const auto* const found = std::ranges::find(known, section, &Head::section);
    return found == std::end(known) ? Head{{}, IconId::Gauge, section} : *found;
}

QLayout* makeGroup(const HardwareGroup& group, QWidget* card)
{
    auto* const grid = new QGridLayout;
    grid->setContentsMargins(0, 12, 0, 0);
    grid->setHorizontalSpacing(18);
    grid->setVerticalSpacing(7);
    grid->setColumnStretch(1, 1);
    int line = 0;
    for (const HardwareRow& row : group) {
        QLabel* const label = makeText(u"Muted", row.label, card);
        label->setWordWrap(false);
        label->setMinimumWidth(labelWidth);
        auto* const value = makeText(u"", row.value, card);
        value->setSelectable();
        value->setContextMenuPolicy(Qt::NoContextMenu); // The page has one, which holds more.
        value->setAccessibleName(QStringLiteral("%1: %2").arg(row.label, row.value));
        grid->addWidget(label, line, 0, Qt::AlignLeft | Qt::AlignTop);
        grid->addWidget(value, line, 1);
        ++line;
    }
    return grid;
}

QWidget* makeSectionCard(const HardwareSection& section, QWidget* parent)
{
    auto* const card = new GlassCard(0, parent);
    QVBoxLayout* const column = card->column();
    const Head head = headOf(section.title);
    auto* const row = new QHBoxLayout;
    row->setSpacing(10);
    column->addLayout(row);
    row->addWidget(new IconLabel(head.icon, palette::accent, headIconSize, card), 0, Qt::AlignVCenter);
    row->addWidget(makeTitle(head.title, titlePixelSize, card));
    row->addStretch();
    bool isFirst = true;
    for (const HardwareGroup& group : section.groups) {
        if (!std::exchange(isFirst, false)) {
            column->addSpacing(12);
            column->addWidget(new Divider(card));
        }
        column->addLayout(makeGroup(group, card));
    }
    for (const QString& note : section.notes) {
        column->addSpacing(10);
        column->addWidget(makeText(u"Faint", note, card));
    }
    return card;
}

/// All of it, with a line for each row and a blank one between groups.
QString plainText(const HardwareReport& report)
{
    QStringList parts;
    for (const HardwareSection& section : report.sections) {
        QString part = headOf(section.title).title;
        for (const HardwareGroup& group : section.groups) {
            if (&group != &section.groups.first())
                part += u'\n';
            for (const HardwareRow& row : group)
                part += QStringLiteral("\n%1: %2").arg(row.label, row.value);
        }
        for (const QString& note : section.notes)
            part += u'\n' + note;
        parts.append(part);
    }
    return parts.join(QStringLiteral("\n\n"));
}

QString selectedText(const QWidget& page)
{
    const auto labels = page.findChildren<QLabel*>();
    const auto selected = std::ranges::find_if(labels, &QLabel::hasSelectedText);
    return selected == labels.end() ? QString() : (*selected)->selectedText();
}

} // namespace

ScanPage::ScanPage(QWidget* parent) : WorkPage(parent) { }

void ScanPage::build()
{
    auto* const head = new QHBoxLayout;
    head->setContentsMargins(2, 0, 2, 0);
    outer()->insertLayout(0, head);
    addStatusRow(head);
    m_rescan = makeButton(u"ghost", QStringLiteral("  ") + translate("ScanPage", "Rescan"), 0, this);
    m_rescan->setAccessibleName(translate("ScanPage", "Rescan"));
    m_rescan->setIcon(iconFor(IconId::Gauge, palette::ink, buttonIconSize));
    m_rescan->setIconSize(QSize(buttonIconSize, buttonIconSize));
    head->addWidget(m_rescan);
    column()->addStretch();
    connect(m_rescan, &QPushButton::clicked, this, &ScanPage::startScan);

    // A value with the focus takes the keys for its own selection.
    auto* const copy = new QAction(this);
    copy->setShortcut(QKeySequence::Copy);
    addAction(copy);
    connect(copy, &QAction::triggered, this, &ScanPage::copySelection);
    startScan();
}

void ScanPage::refreshControls()
{
    m_rescan->setEnabled(!isBusy());
}

void ScanPage::startScan()
{
    scan(translate("ScanPage", "Scanning hardware…"), job([] { return HardwareScanner::scan(); }),
         [this](const HardwareReport& report) { showReport(report); });
}

void ScanPage::showReport(const HardwareReport& report)
{
    qDeleteAll(m_cards);
    m_cards.clear();
    for (const HardwareSection& section : report.sections) {
        m_cards.append(makeSectionCard(section, content()));
        column()->insertWidget(column()->count() - 1, m_cards.last());
    }
    m_text = plainText(report);
    if (std::ranges::all_of(report.sections, [](const HardwareSection& section) { return section.groups.isEmpty(); }))
        setAdvice(translate("ScanPage",
                            "Windows gave no answer. Scan once more in a moment; if that doesn't help, restart "
                            "Windows."));
    setStatus(translate("ScanPage", "Updated · %1").arg(QTime::currentTime().toString(QStringLiteral("HH:mm:ss"))));
}

void ScanPage::contextMenuEvent(QContextMenuEvent* event)
{
    if (m_text.isEmpty())
        return;
    QMenu menu(this);
    QAction* const copy = menu.addAction(translate("ScanPage", "Copy"), this, &ScanPage::copySelection);
    copy->setEnabled(!selectedText(*this).isEmpty());
    menu.addAction(translate("ScanPage", "Copy all"), this, &ScanPage::copyAll);
    menu.exec(event->globalPos());
}

void ScanPage::copySelection()
{
    const QString selected = selectedText(*this);
    if (selected.isEmpty())
        copyAll();
    else
        QGuiApplication::clipboard()->setText(selected);
}

void ScanPage::copyAll()
{
    if (!m_text.isEmpty())
        QGuiApplication::clipboard()->setText(m_text);
}

} // namespace torvelane
