#include "ui/controls/GlassCard.h"

#include "ui/theme/Theme.h"

#include <QPushButton>
#include <QVBoxLayout>

namespace torvelane {

GlassCard::GlassCard(int spacing, QWidget* parent, const QMargins& margins)
    : QFrame(parent)
    , m_column(new QVBoxLayout(this))
{
    setObjectName(QStringLiteral("GlassCard"));
    m_column->setContentsMargins(margins);
    m_column->setSpacing(spacing);
}

QLabel* makeTitle(const QString& text, int pixelSize, QWidget* parent)
{
    auto* const title = new QLabel(text, parent);
    title->setObjectName(QStringLiteral("H2"));
    title->setTextFormat(Qt::PlainText);
    title->setFont(displayFont(pixelSize, QFont::Bold));
    return title;
}

QLabel* makeText(const char16_t* objectName, const QString& text, QWidget* parent)
{
    auto* const label = new QLabel(text, parent);
    label->setObjectName(QString::fromUtf16(objectName));
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

QPushButton* makeButton(const char16_t* variant, const QString& text, int minimumHeight, QWidget* parent)
{
    auto* const button = new QPushButton(text, parent);
    button->setProperty("variant", QString::fromUtf16(variant));
    button->setCursor(Qt::PointingHandCursor);
    button->setMinimumHeight(minimumHeight);
    return button;
}

} // namespace torvelane
