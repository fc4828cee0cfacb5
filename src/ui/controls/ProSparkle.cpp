#include "ui/controls/ProSparkle.h"

#include "ui/controls/FrameTimer.h"
#include "ui/theme/Icons.h"
#include "ui/theme/Theme.h"

#include <QLinearGradient>
#include <QPainter>

namespace torvelane {

namespace {

constexpr int badgeSize = 16;
constexpr int iconSize = 14;
constexpr double phaseStart = -0.1;
constexpr double phaseEnd = 1.1;
constexpr double phaseStep = 0.06; // a pixel
constexpr double glintHalfWidth = 0.18;
constexpr QColor glint{0xB2, 0xB9, 0xFF};

} // namespace

ProSparkle::ProSparkle(QWidget* parent)
    : OutsideStyleSheet(parent)
    , m_mask(iconPixmap(IconId::Sparkles, palette::ink, iconSize))
    , m_timer(new FrameTimer(this, 2))
    , m_phase(phaseStart)
{
    setFixedSize(badgeSize, badgeSize);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    connect(m_timer, &FrameTimer::timeout, this, &ProSparkle::advance);
    m_timer->follow(this);
}

void ProSparkle::advance()
{
    m_phase += phaseStep;
    if (m_phase > phaseEnd)
        m_phase = phaseStart;
    update();
}

void ProSparkle::paintEvent(QPaintEvent*)
{
    QPixmap tinted = m_mask;
    const QSizeF size = tinted.deviceIndependentSize();
    // The same colors at any time, moved: of each other gradient Qt keeps a table of its own, 12 KB large.
    QLinearGradient sweep((m_phase - glintHalfWidth) * size.width(), 0, (m_phase + glintHalfWidth) * size.width(), 0);
    sweep.setColorAt(0, palette::accent);
    sweep.setColorAt(0.5, glint);
    sweep.setColorAt(1, palette::accent);
    {
        QPainter painter(&tinted);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(QRectF(QPointF(0, 0), size), sweep);
    }
    QPainter painter(this);
    painter.drawPixmap(QPointF((width() - size.width()) / 2, (height() - size.height()) / 2), tinted);
}

} // namespace torvelane
