#include "ui/controls/AppDialog.h"

#include "ui/controls/FocusRing.h"
#include "ui/theme/TextBreaks.h"
#include "ui/theme/Theme.h"

#include <QCoreApplication>
#include <QDialog>
#include <QGraphicsDropShadowEffect>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>
#include <QVBoxLayout>

#include <algorithm>

namespace torvelane::AppDialog {

namespace {

constexpr int veilMargin = 40;
constexpr int minimumTextWidth = 330;
constexpr int maximumTextWidth = 400;
constexpr int scrollBarSpace = 16;
constexpr int minimumTextHeight = 60; ///< Of a text that scrolls.

struct Content {
    QString title;
    QString text;
    QString acceptText;
    QString cancelText; // empty: one button
    bool destructive = false;
};

QString translated(const char* text)
{
    return QCoreApplication::translate("AppDialog", text);
}

// The area that the veil covers. Null without a screen, where nobody sees it anyway.
QRect veiledArea(const QWidget* parent)
{
    const QRect window = parent ? parent->window()->frameGeometry() : QRect();
    if (!window.isNull())
        return window;
    const QScreen* const screen = QGuiApplication::primaryScreen();
    return screen ? screen->availableGeometry() : QRect();
}

QLabel* makeLabel(const QString& text, const QFont& font, const QString& color)
{
    auto* const label = new QLabel;
    // Texts quote names from the machine, which must not turn into markup.
    label->setTextFormat(Qt::PlainText);
    label->setText(withBreaks(text));
    label->setFont(font);
    label->setStyleSheet(QStringLiteral("color:%1; background:transparent;").arg(color));
    label->setWordWrap(true);
    return label;
}

QPushButton* makeButton(const QString& text, const QString& variant)
{
    auto* const button = new QPushButton(text);
    button->setProperty("variant", variant);
    button->setCursor(Qt::PointingHandCursor);
    // Its corners are round for this height; lower, they would turn square.
    button->ensurePolished();
    button->setMinimumHeight(std::max(38, button->sizeHint().height()));
    return button;
}

QString destructiveStyle()
{
    return QStringLiteral(R"(
QPushButton {
    border-radius: 19px; padding: 12px 24px; color: #FFFFFF; font-weight: 600;
    background: qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 rgba(225,66,88,0.92), stop:1 rgba(201,55,75,0.92));
    border: 1px solid rgba(255,140,150,0.35);
}
QPushButton:hover {
    background: qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 rgba(236,80,102,0.96), stop:1 rgba(214,66,86,0.96));
}
)");
}

QHBoxLayout* makeButtonRow(QDialog* dialog, const Content& content, QPushButton* accept)
{
    auto* const row = new QHBoxLayout;
    row->setSpacing(10);
    row->addStretch();
    if (!content.cancelText.isEmpty()) {
        QPushButton* const cancel = makeButton(content.cancelText, QStringLiteral("ghost"));
        QObject::connect(cancel, &QPushButton::clicked, dialog, &QDialog::reject);
        row->addWidget(cancel);
    }
    if (content.destructive) {
        accept->setStyleSheet(destructiveStyle());
        accept->setProperty(FocusRing::radiusProperty, 19);
    }
    QObject::connect(accept, &QPushButton::clicked, dialog, &QDialog::accept);
    row->addWidget(accept);
    return row;
}

/// The text in a frame that scrolls once fitText() has found that it is too high.
QScrollArea* makeText(const QString& text)
{
    QLabel* const label = makeLabel(text, bodyFont(13, QFont::Normal), palette::muted.name());
    label->setFixedWidth(std::clamp(label->sizeHint().width(), minimumTextWidth, maximumTextWidth));
    label->setFixedHeight(label->heightForWidth(label->width()));
    auto* const area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->viewport()->setAutoFillBackground(false);
    area->setStyleSheet(transparentScrollStyle());
    area->setWidget(label);
    area->setFixedSize(label->size());
    return area;
}

/// Leaves the text the height that `room`, which the card may take, has for it.
void fitText(QDialog* dialog, QFrame* card, QScrollArea* area, int room)
{
    const int excess = card->sizeHint().height() - room;
    if (excess <= 0)
        return;
    area->setFixedSize(area->width() + scrollBarSpace, std::max(area->height() - excess, minimumTextHeight));
    // The frame is no stop for the Tab key: these keys are its own from wherever the focus is.
    for (const auto& [key, action] : {std::pair(Qt::Key_PageUp, QAbstractSlider::SliderPageStepSub),
                                      {Qt::Key_PageDown, QAbstractSlider::SliderPageStepAdd},
                                      {Qt::Key_Home, QAbstractSlider::SliderToMinimum},
                                      {Qt::Key_End, QAbstractSlider::SliderToMaximum}}) {
        QObject::connect(new QShortcut(key, dialog), &QShortcut::activated, area,
                         [area, action = action] { area->verticalScrollBar()->triggerAction(action); });
    }
}

QFrame* makeCard(QDialog* dialog, const Content& content, QPushButton* accept, int room)
{
    auto* const card = new QFrame;
    card->setObjectName(QStringLiteral("DialogCard"));
    card->setMaximumWidth(460);
    card->setStyleSheet(QStringLiteral(R"(
#DialogCard {
    background: qlineargradient(x1:0, y1:0, x2:0, y2:1,
        stop:0 rgba(38,38,46,0.82), stop:0.06 rgba(26,26,32,0.80), stop:1 rgba(18,18,22,0.80));
    border: 1px solid rgba(255,255,255,0.12); border-radius: 8px;
}
)"));
    auto* const shadow = new QGraphicsDropShadowEffect(card);
    shadow->setBlurRadius(60);
    shadow->setOffset(0, 18);
    shadow->setColor(QColor(0, 0, 0, 200));
    card->setGraphicsEffect(shadow);

    auto* const column = new QVBoxLayout(card);
    column->setContentsMargins(30, 28, 30, 24);
    column->setSpacing(12);
    column->addWidget(makeLabel(content.title, displayFont(19, QFont::Bold), palette::ink.name()));
    QScrollArea* const text = makeText(content.text);
    column->addWidget(text);
    column->addSpacing(8);
    column->addLayout(makeButtonRow(dialog, content, accept));
    fitText(dialog, card, text, room);
    return card;
}

void build(QDialog* dialog, const Content& content, int height)
{
    dialog->setWindowFlags(Qt::Dialog | Qt::FramelessWindowHint);
    dialog->setAttribute(Qt::WA_TranslucentBackground);
    dialog->setModal(true);
    dialog->setWindowTitle(content.title);
    dialog->setAccessibleDescription(content.text);

    auto* const veil = new QFrame;
    veil->setObjectName(QStringLiteral("DialogVeil"));
    veil->setStyleSheet(QStringLiteral("#DialogVeil { background: rgba(5,5,5,0.55); border-radius: 8px; }"));
    auto* const whole = new QVBoxLayout(dialog);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->addWidget(veil);

    auto* const column = new QVBoxLayout(veil);
    column->setContentsMargins(veilMargin, veilMargin, veilMargin, veilMargin);
    auto* const row = new QHBoxLayout;
    row->addStretch();
    QPushButton* const accept = makeButton(content.acceptText, QStringLiteral("primary"));
    row->addWidget(makeCard(dialog, content, accept, height - 2 * veilMargin));
    row->addStretch();
    column->addStretch();
    column->addLayout(row);
    column->addStretch();
    // A button finds the dialog that it is the default of only once it is inside.
    accept->setDefault(true);
    accept->setFocus();
}

bool run(QWidget* parent, const Content& content)
{
    // Not on the stack: the parent, which owns it, may be deleted while the dialog is open.
    const QPointer<QDialog> dialog = new QDialog(parent ? parent->window() : nullptr);
    const QRect area = veiledArea(parent);
    build(dialog, content, area.height());
    dialog->setGeometry(area);
    dialog->setWindowOpacity(0.0);
    auto* const fade = new QPropertyAnimation(dialog, "windowOpacity", dialog);
    fade->setDuration(150);
    fade->setEasingCurve(QEasingCurve::OutCubic);
    fade->setStartValue(0.0);
    fade->setEndValue(1.0);
    // Wine takes a new opacity into account only when the window is painted anew.
    QObject::connect(fade, &QAbstractAnimation::finished, dialog, qOverload<>(&QWidget::update));
    fade->start(QAbstractAnimation::DeleteWhenStopped);
    const bool accepted = dialog->exec() == QDialog::Accepted;
    delete dialog;
    return accepted;
}

} // namespace

bool confirm(QWidget* parent, const QString& title, const QString& text, const QString& acceptText,
             const QString& cancelText, bool destructive)
{
    return run(parent,
               {.title = title,
                .text = text,
                .acceptText = acceptText.isEmpty() ? translated(QT_TRANSLATE_NOOP("AppDialog", "Confirm")) : acceptText,
                .cancelText = cancelText.isEmpty() ? translated(QT_TRANSLATE_NOOP("AppDialog", "Cancel")) : cancelText,
                .destructive = destructive});
}

void info(QWidget* parent, const QString& title, const QString& text)
{
    (void)run(parent,
              {.title = title,
               .text = text,
               .acceptText = translated(QT_TRANSLATE_NOOP("AppDialog", "OK")),
               .cancelText = QString()});
}

} // namespace torvelane::AppDialog
