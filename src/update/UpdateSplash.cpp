#include "update/UpdateSplash.h"

#include "platform/WindowFrame.h"
#include "ui/controls/Spinner.h"
#include "ui/theme/Theme.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLinearGradient>
#include <QLocale>
#include <QPainter>
#include <QRadialGradient>

#include <algorithm>
#include <cmath>

namespace torvelane {

namespace {

constexpr QSize splashSize(420, 176);
constexpr QColor night{5, 5, 5};
constexpr int dotPitch = 26;
constexpr double dotRadius = 0.9;
constexpr int brightestDot = 36; // alpha in the middle
constexpr QSizeF barSize(120, 3);
constexpr double barRadius = 1.5;
constexpr int barInset = 16;
constexpr int longestVersion = 24; // characters that fit in the line

struct Glow {
    double x;      // of the width
    double y;      // of the height
    double radius; // of the width
    QColor color;
    int alpha;
};

constexpr std::array<Glow, 3> glows = {{
    {0.08, 0.0, 0.60, palette::accentDeep, 52},
    {0.95, 0.15, 0.52, palette::accent, 40},
    {0.50, 1.05, 0.48, palette::accentDeep, 46},
}};

QColor withAlpha(QColor color, int alpha)
{
    color.setAlpha(alpha);
    return color;
}

QPixmap makeBackground(const QSize& size, qreal ratio)
{
    QPixmap background(size * ratio);
    background.setDevicePixelRatio(ratio);
    background.fill(night);
    QPainter painter(&background);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const QPointF middle(size.width() / 2.0, size.height() / 2.0);
    for (int y = dotPitch / 2; y < size.height(); y += dotPitch) {
        for (int x = dotPitch / 2; x < size.width(); x += dotPitch) {
            // 0 in the middle, 1 at the edges.
            const double distance =
                std::min(1.0, std::hypot((x - middle.x()) / middle.x(), (y - middle.y()) / middle.y()));
            painter.setBrush(withAlpha(palette::ink, static_cast<int>(brightestDot * (1 - distance))));
            painter.drawEllipse(QPointF(x, y), dotRadius, dotRadius);
        }
    }
    for (const Glow& glow : glows) {
        QRadialGradient light(glow.x * size.width(), glow.y * size.height(), glow.radius * size.width());
        light.setColorAt(0, withAlpha(glow.color, glow.alpha));
        light.setColorAt(1, withAlpha(glow.color, 0));
        painter.fillRect(QRect(QPoint(0, 0), size), light);
    }
    return background;
}

} // namespace

UpdateSplash::UpdateSplash(const QString& version, QWidget* parent)
    : QWidget(parent, Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint)
{
    setAttribute(Qt::WA_DeleteOnClose);
    // The program goes on after it, and shows its first window then.
    setAttribute(Qt::WA_QuitOnClose, false);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setWindowTitle(QStringLiteral("Torvelane"));
    setFixedSize(splashSize);

    // By the system's language alone, so that no translator is needed for it.
    const bool french = QLocale::system().language() == QLocale::French;
    auto* const spinner = new Spinner(18, this);
    auto* const title = new QLabel(french ? QStringLiteral("Mise à jour en cours…") : QStringLiteral("Updating…"));
    title->setFont(displayFont(18, QFont::Bold));
    const QString shown = version.size() > longestVersion ? version.left(longestVersion) + QChar(0x2026) : version;
    auto* const subtitle =
        new QLabel((french ? QStringLiteral("Installation de la version %1 — redémarrage automatique.")
                           : QStringLiteral("Installing version %1 — restarts automatically."))
                       .arg(shown));
    subtitle->setTextFormat(Qt::PlainText);
    subtitle->setFont(bodyFont(13, QFont::Normal));
    subtitle->setWordWrap(true);
    subtitle->setAlignment(Qt::AlignCenter);
    subtitle->setStyleSheet(QStringLiteral("color:#9CA3AF;"));

    auto* const row = new QHBoxLayout;
    row->setSpacing(10);
    row->addStretch();
    row->addWidget(spinner);
    row->addWidget(title);
    row->addStretch();
    auto* const whole = new QVBoxLayout(this);
    whole->setContentsMargins(32, 28, 32, 28);
    whole->addLayout(row);
    whole->addWidget(subtitle);
    spinner->start();
}

void UpdateSplash::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    platform::dressFramelessWindow(winId());
}

void UpdateSplash::paintEvent(QPaintEvent*)
{
    if (m_background.isNull() || !qFuzzyCompare(m_background.devicePixelRatio(), devicePixelRatioF()))
        m_background = makeBackground(size(), devicePixelRatioF());
    QPainter painter(this);
    painter.drawPixmap(0, 0, m_background);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF bar(QPointF((width() - barSize.width()) / 2, height() - barInset - barSize.height()), barSize);
    QLinearGradient gradient(0, 0, 1, 0);
    gradient.setCoordinateMode(QGradient::ObjectMode);
    gradient.setColorAt(0, palette::accent);
    gradient.setColorAt(1, palette::accentDeep);
    painter.setPen(Qt::NoPen);
    painter.setBrush(gradient);
    painter.drawRoundedRect(bar, barRadius, barRadius);
}

} // namespace torvelane
