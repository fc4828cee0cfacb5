#include "ui/controls/WinControls.h"

#include "ui/controls/WindowButton.h"

#include <QHBoxLayout>

namespace torvelane {

WinControls::WinControls(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("WinControls"));
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_StyledBackground);
    setAttribute(Qt::WA_NoSystemBackground, false); // comes with the first, and would keep the plate from being painted
    setStyleSheet(QStringLiteral("#WinControls { background: rgba(255,255,255,0.05);"
                                 " border: 1px solid rgba(255,255,255,0.09); border-radius: 8px; }"));
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(5, 4, 5, 4);
    row->setSpacing(2);
    auto* const minimize = new WindowButton(WindowButton::Kind::Minimize, this);
    auto* const close = new WindowButton(WindowButton::Kind::Close, this);
    row->addWidget(minimize);
    row->addWidget(close);
    connect(minimize, &QAbstractButton::clicked, this, &WinControls::minimizeRequested);
    connect(close, &QAbstractButton::clicked, this, &WinControls::closeRequested);
}

} // namespace torvelane
