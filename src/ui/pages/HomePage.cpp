#include "ui/pages/HomePage.h"

#include "core/Translate.h"
#include "ui/controls/AccessibleRole.h"
#include "ui/controls/FocusRing.h"
#include "ui/controls/GlassCard.h"
#include "ui/controls/IconLabel.h"
#include "ui/controls/LiveChart.h"
#include "ui/controls/PaintedText.h"
#include "ui/controls/StatTile.h"
#include "ui/pages/LoadWatch.h"
#include "ui/pages/ScrollColumn.h"
#include "ui/theme/Theme.h"
#include "ui/windows/HeroWindow.h"

#include <QPainter>
#include <QPushButton>
#include <QRandomGenerator>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>
#include <array>

namespace torvelane {

namespace {

constexpr int cardSpacing = 14;
constexpr int titlePixelSize = 19;
constexpr int headIconSize = 20;
constexpr int chartMinimumHeight = 180;
constexpr int gamePixelSize = 15; ///< A name is longer than a percentage.
constexpr int actionHeight = 54;
constexpr int actionIconSize = 20;
constexpr int actionSpacing = 12;

/// %1, %2 and %3 are the red, green and blue of its colour.
const QString actionStyle = QStringLiteral(
    "QPushButton#QuickAction { background: qlineargradient(x1:0, y1:0, x2:0, y2:1,"
    " stop:0 rgba(255,255,255,0.07), stop:1 rgba(255,255,255,0.03)); border: 1px solid rgba(255,255,255,0.10);"
    " border-radius: 8px; padding: 0 16px; text-align: left; font-weight: 600; font-size: 13px; color: #FFFFFF; }"
    "QPushButton#QuickAction:hover { background: qlineargradient(x1:0, y1:0, x2:0, y2:1,"
    " stop:0 rgba(%1,%2,%3,0.16), stop:1 rgba(255,255,255,0.04)); border: 1px solid rgba(%1,%2,%3,0.35); }"
    "QPushButton#QuickAction:pressed { background: rgba(255,255,255,0.03); border: 1px solid rgba(%1,%2,%3,0.55); }");

QPushButton* makeAction(IconId icon, const QColor& color, const QString& label, QWidget* parent)
{
    auto* const button = new QPushButton(QStringLiteral("   ") + label, parent);
    button->setObjectName(QStringLiteral("QuickAction"));
    button->setAccessibleName(label);
    button->setCursor(Qt::PointingHandCursor);
    button->setMinimumHeight(actionHeight);
    button->setIcon(iconFor(icon, color, actionIconSize));
    button->setIconSize(QSize(actionIconSize, actionIconSize));
    button->setStyleSheet(actionStyle.arg(color.red()).arg(color.green()).arg(color.blue()));
    return button;
}

/// A dot and a caption. The dot is painted: no font of the program has that character, and for one that is missing Qt goes
/// through all fonts of the system, which takes a good part of the start on Windows.
class Legend : public TextLabel {
public:
    Legend(const QString& caption, const QColor& color, QWidget* parent)
        : TextLabel(QStringLiteral("Faint"), QStringLiteral("● ") + caption, parent)
        , m_caption(caption)
        , m_color(color)
    {
        setAccessibleName(caption);
    }

    [[nodiscard]] QSize sizeHint() const override
    {
        ensurePolished();
        return {captionLeft + fontMetrics().horizontalAdvance(m_caption), fontMetrics().height()};
    }
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent*) override
    {
        const auto mirrored = [this](const QRect& area) { return QStyle::visualRect(layoutDirection(), rect(), area); };
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(m_color);
        painter.drawEllipse(mirrored({1, (height() - dotSize + 1) / 2, dotSize, dotSize}));
        drawText(painter, {font(), m_color}, mirrored({captionLeft, 0, width() - captionLeft, height()}), 0, m_caption);
    }

private:
    static constexpr int dotSize = 9;
    static constexpr int captionLeft = 13;

    QString m_caption;
    QColor m_color;
};

} // namespace

HomePage::HomePage(QWidget* parent) : Page(parent), m_scroll(new ScrollColumn(this)), m_watch(new LoadWatch(this))
{
    auto* const outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(m_scroll);
    QWidget* const content = m_scroll->content();
    QVBoxLayout* const column = m_scroll->column();
    column->setSpacing(cardSpacing);
    column->addLayout(makeTiles(content));
    column->addWidget(makeChartCard(content), 1);
    column->addWidget(makeQuickstartCard(content));
    column->addStretch();
    connect(m_watch, &LoadWatch::began, this, &HomePage::seedChart);
    connect(m_watch, &LoadWatch::sampled, this, &HomePage::showSample);
}

QLayout* HomePage::makeTiles(QWidget* parent)
{
    auto* const row = new QHBoxLayout;
    row->setSpacing(cardSpacing);
    m_cpu = new StatTile(translate("HomePage", "CPU"), palette::accent, parent);
    m_gpu = new StatTile(translate("HomePage", "GPU"), palette::accentDeep, parent);
    m_memory = new StatTile(translate("HomePage", "RAM"), palette::muted, parent);
    m_game = new StatTile(translate("HomePage", "Game"), palette::accent, parent);
    m_game->setValuePixelSize(gamePixelSize);
    for (StatTile* const tile : {m_cpu, m_gpu, m_memory, m_game})
        row->addWidget(tile, 1);
    return row;
}

QWidget* HomePage::makeChartCard(QWidget* parent)
{
    auto* const card = new GlassCard(10, parent);
    auto* const head = new QHBoxLayout;
    head->setSpacing(10);
    card->column()->addLayout(head);
    const QString title = translate("HomePage", "System activity");
    head->addWidget(new IconLabel(IconId::Cpu, palette::accent, headIconSize, card), 0, Qt::AlignVCenter);
    head->addWidget(makeTitle(title, titlePixelSize, card));
    head->addStretch();
    m_chart = new LiveChart(card);
    m_chart->setMinimumHeight(chartMinimumHeight);
    m_chart->setAccessibleName(title);
    for (const auto& [caption, color] : {std::pair(translate("HomePage", "CPU"), palette::accent),
                                         {translate("HomePage", "GPU"), palette::accentDeep},
                                         {translate("HomePage", "RAM"), palette::muted}}) {
        head->addWidget(new Legend(caption, color, card));
        m_chart->addSeries(color);
    }
    card->column()->addWidget(m_chart, 1);
    return card;
}

QWidget* HomePage::makeQuickstartCard(QWidget* parent)
{
    auto* const card = new GlassCard(12, parent);
    card->column()->addWidget(makeTitle(translate("HomePage", "Quickstart"), titlePixelSize, card));
    auto* const actions = new QHBoxLayout;
    actions->setSpacing(actionSpacing);
    card->column()->addLayout(actions);
    const auto add = [&](IconId icon, const QColor& color, const QString& label, const QString& key) {
        QPushButton* const button = makeAction(icon, color, label, card);
        connect(button, &QPushButton::clicked, this, [this, key] { Q_EMIT navigateRequested(key); });
        actions->addWidget(button, 1);
    };
    add(IconId::Trash2, palette::accent, translate("HomePage", "Clean my disk"), QStringLiteral("Debloat"));
    add(IconId::Gamepad2, palette::accentDeep, translate("HomePage", "Gaming Mode"), QStringLiteral("Gaming Mode"));
    add(IconId::Wifi, palette::success, translate("HomePage", "Optimize my network"), QStringLiteral("Network"));
    return card;
}

/// The first sample waits until all of the window has been painted.
void HomePage::paintEvent(QPaintEvent*)
{
    if (std::exchange(m_wasPainted, true))
        return;
    giveChartItsGround();
    QMetaObject::invokeMethod(m_watch, &LoadWatch::start, Qt::QueuedConnection);
}

/// The window's background with a card of glass on it.
void HomePage::giveChartItsGround()
{
    HeroWindow* const hero = HeroWindow::around(*this);
    if (!hero)
        return;
    m_chart->setGround([this, hero](QPainter& painter, const QRegion& region) {
        const QPoint place = m_chart->mapTo(hero, QPoint(0, 0));
        painter.translate(-place);
        hero->paintSky(painter, region.translated(place));
        painter.translate(place);
        const QWidget* const card = m_chart->parentWidget();
        paintGlass(painter, QRect(m_chart->mapFrom(card, QPoint(0, 0)), card->size()), region);
    });
    connect(hero, &HeroWindow::backgroundMoved, m_chart, [this, hero](const QRegion& region) {
        m_chart->groundChanged(region.translated(-m_chart->mapTo(hero, QPoint(0, 0))) & m_chart->rect());
    });
    connect(hero, &HeroWindow::backgroundRebuilt, m_chart, [this] { m_chart->groundChanged(m_chart->rect()); });
}

/// A chart that begins empty looks dead: the minute before the first sample is a random walk back from the readings of
/// this moment.
void HomePage::seedChart(const LoadSample& now)
{
    if (std::exchange(m_isSeeded, true))
        return;
    QRandomGenerator& random = *QRandomGenerator::global();
    int cpu = std::max(now.cpu, 8);
    int gpu = now.gpu;
    int memory = std::max(now.memory, 20);
    std::array<QList<int>, LiveChart::seconds> minute;
    for (int second = LiveChart::seconds - 1; second >= 0; --second) {
        minute.at(static_cast<std::size_t>(second)) = {cpu, gpu, memory};
        cpu = std::clamp(cpu + random.bounded(9) - 4, 2, 96);
        if (gpu >= 0)
            gpu = std::clamp(gpu + random.bounded(9) - 4, 1, 96);
        memory = std::clamp(memory + random.bounded(5) - 2, 5, 96);
    }
    for (const QList<int>& values : minute)
        m_chart->pushSample(values);
}

void HomePage::showSample(const LoadSample& sample)
{
    const QString cpu = StatTile::percent(sample.cpu);
    const QString gpu = StatTile::percent(sample.gpu);
    const QString memory = StatTile::percent(sample.memory);
    m_cpu->setValue(cpu);
    m_gpu->setValue(gpu);
    m_memory->setValue(memory);
    m_chart->pushSample({sample.cpu, sample.gpu, sample.memory});
    setAccessibleValue(m_chart,
                       QStringLiteral("%1 %2, %3 %4, %5 %6")
                           .arg(translate("HomePage", "CPU"), cpu, translate("HomePage", "GPU"), gpu,
                                translate("HomePage", "RAM"), memory));
    if (sample.game)
        m_game->setValue(sample.game->found ? sample.game->title : translate("HomePage", "None"));
}

} // namespace torvelane
