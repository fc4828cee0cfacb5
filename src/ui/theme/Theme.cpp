#include "ui/theme/Theme.h"

#include "ui/theme/StyleSheet.h"

#include <QApplication>
#include <QFontDatabase>
#include <QGraphicsOpacityEffect>
#include <QGuiApplication>
#include <QPalette>
#include <QPointer>
#include <QPropertyAnimation>
#include <QResource>
#include <QScreen>
#include <QToolTip>
#include <QWidget>

namespace torvelane {

namespace {

struct Families {
    QString body = QStringLiteral("Segoe UI");
    QString display = QStringLiteral("Segoe UI");
};

// Family of a font among the resources, which is then in the font database; empty if it isn't there or isn't a font. From
// where it lies in the program, uncompressed: by its file name the database would read it into a copy, and the rasteriser
// into another.
QString loadFont(const QString& fileName)
{
    const QResource font(QStringLiteral(":/fonts/") + fileName);
    const QByteArray bytes = font.compressionAlgorithm() == QResource::NoCompression
        ? QByteArray::fromRawData(reinterpret_cast<const char*>(font.data()), static_cast<qsizetype>(font.size()))
        : font.uncompressedData();
    const int id = QFontDatabase::addApplicationFontFromData(bytes);
    return id < 0 ? QString() : QFontDatabase::applicationFontFamilies(id).value(0);
}

Families loadFamilies()
{
    Families families;
    if (const QString family = loadFont(QStringLiteral("Fustat-Regular.ttf")); !family.isEmpty()) {
        for (const char16_t* weight : {u"Medium", u"SemiBold", u"Bold"})
            loadFont(QStringLiteral("Fustat-%1.ttf").arg(QStringView(weight)));
        families.body = family;
    }
    families.display = loadFont(QStringLiteral("SpaceGrotesk-Bold.ttf"));
    if (families.display.isEmpty())
        families.display = families.body;
    else
        loadFont(QStringLiteral("SpaceGrotesk-Medium.ttf"));
    return families;
}

/// The fonts of Windows that consist of glyphs, as far as they are there: of a name that is unknown, each look-up starts
/// with a search for the next best font among all.
QStringList glyphFamilies()
{
    const QStringList present = QFontDatabase::families();
    QStringList known{QStringLiteral("Segoe Fluent Icons"), QStringLiteral("Segoe MDL2 Assets")};
    known.removeIf([&present](const QString& family) { return !present.contains(family); });
    return known;
}

const Families& families()
{
    static const Families loaded = loadFamilies();
    return loaded;
}

QFont font(const QString& family, int pixelSize, int weight)
{
    QFont font(family);
    font.setPixelSize(pixelSize);
    font.setWeight(static_cast<QFont::Weight>(weight));
    font.setHintingPreference(QFont::PreferNoHinting);
    font.setStyleStrategy(QFont::PreferAntialias);
    return font;
}

QPalette applicationPalette()
{
    QPalette colors;
    colors.setColor(QPalette::All, QPalette::Window, palette::base);
    colors.setColor(QPalette::All, QPalette::Base, Qt::black);
    colors.setColor(QPalette::All, QPalette::Text, palette::ink);
    colors.setColor(QPalette::All, QPalette::WindowText, palette::ink);
    colors.setColor(QPalette::All, QPalette::PlaceholderText, palette::disabled);
    colors.setColor(QPalette::All, QPalette::Highlight, palette::accentDeep);
    colors.setColor(QPalette::All, QPalette::HighlightedText, palette::ink);
    return colors;
}

} // namespace

void applyTheme(QApplication& application)
{
    QApplication::setPalette(applicationPalette());
    QApplication::setFont(bodyFont(14, QFont::Normal));
    QApplication::setEffectEnabled(Qt::UI_FadeTooltip, true);
    QApplication::setEffectEnabled(Qt::UI_AnimateTooltip, false);
    application.setStyleSheet(globalStyleSheet(families().body, families().display, glyphFamilies()));
    // The system has one of its own for them, to which a new style sheet goes back.
    QToolTip::setFont(bodyFont(13, QFont::Normal));
}

QFont displayFont(int pixelSize, int weight)
{
    QFont tracked = font(families().display, pixelSize, weight);
    tracked.setLetterSpacing(QFont::PercentageSpacing, 96);
    return tracked;
}

QFont bodyFont(int pixelSize, int weight)
{
    return font(families().body, pixelSize, weight);
}

QString tierPillStyle(int radius)
{
    return QStringLiteral(R"(
#TierPill {
    background: qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 rgba(21,23,48,0.92), stop:1 rgba(28,26,58,0.92));
    border: 1px solid qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 #6571FF, stop:1 #5F6AE9);
    border-radius: %1px; color: #FFFFFF; font-weight: 600; font-size: 13px; padding: 0 18px;
}
#TierPill:hover {
    background: qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 rgba(101,113,255,0.26), stop:1 rgba(95,106,233,0.26));
}
)")
        .arg(radius);
}

QString scrollBarStyle()
{
    return verticalScrollBarRules();
}

QString transparentScrollStyle()
{
    return verticalScrollBarRules() + scrollAreaRules();
}

void setShown(QWidget* widget, bool shown)
{
    const bool hidden = widget->isHidden() && widget->testAttribute(Qt::WA_WState_ExplicitShowHide);
    if (hidden == shown)
        widget->setVisible(shown);
}

void fadeInWidget(QWidget* widget, int durationMs)
{
    if (!widget->isVisible())
        return;
    // The widget owns the effect and may replace it at any time; the animation then has nothing left to do.
    auto* const effect = new QGraphicsOpacityEffect(widget);
    effect->setOpacity(0.0);
    widget->setGraphicsEffect(effect);
    auto* const animation = new QPropertyAnimation(effect, "opacity", widget);
    animation->setDuration(durationMs);
    animation->setStartValue(0.0);
    animation->setEndValue(1.0);
    animation->setEasingCurve(QEasingCurve::OutCubic);
    QObject::connect(animation, &QAbstractAnimation::finished, widget,
                     [widget, installed = QPointer<QGraphicsEffect>(effect)] {
                         if (installed && widget->graphicsEffect() == installed)
                             widget->setGraphicsEffect(nullptr);
                     });
    animation->start(QAbstractAnimation::DeleteWhenStopped);
}

qreal screenRatio()
{
    const QScreen* const screen = QGuiApplication::primaryScreen();
    return screen ? screen->devicePixelRatio() : 1.0;
}

} // namespace torvelane
