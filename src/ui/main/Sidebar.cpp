#include "ui/main/Sidebar.h"

#include "account/AuthService.h"
#include "core/Translate.h"
#include "ui/controls/AccessibleRole.h"
#include "ui/controls/AvatarLabel.h"
#include "ui/controls/BrandZone.h"
#include "ui/controls/Divider.h"
#include "ui/controls/ProSparkle.h"
#include "ui/controls/QuietScrollArea.h"
#include "ui/controls/TextLabel.h"
#include "ui/controls/UsernameLabel.h"
#include "ui/theme/Theme.h"

#include <QButtonGroup>
#include <QPaintEvent>
#include <QPainter>
#include <QPushButton>
#include <QStyleOption>
#include <QVBoxLayout>

#include <algorithm>

namespace torvelane {

namespace {

constexpr int sidebarWidth = 280;
constexpr int stripWidth = 32; ///< Of the backdrop, which is the same all across, and then has an edge.
constexpr int edgeWidth = 4;
constexpr QMargins headingMargins(8, 2, 8, 2);
constexpr int rowIconSize = 20; ///< Drawn at this size; the button's icon size scales it down.

/// Of a fixed size: asked what it would like to have, a button without a text measures four letters, in a font that nothing
/// else is written in.
class GearButton : public QPushButton {
public:
    explicit GearButton(QWidget* parent) : QPushButton(parent) { setFixedSize(GearButton::sizeHint()); }
    [[nodiscard]] QSize sizeHint() const override { return {34, 34}; }
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }
};

/// Without its text where only what is beside that is painted, above all a star or a sparkle: the style would measure it.
class NavRow : public QPushButton {
public:
    using QPushButton::QPushButton;

protected:
    void paintEvent(QPaintEvent* event) override
    {
        if (m_labelWidth < 0)
            m_labelWidth = sizeHint().width();
        QStyleOptionButton option;
        initStyleOption(&option);
        const QRect label(isRightToLeft() ? width() - m_labelWidth : 0, 0, m_labelWidth, height());
        QPainter painter(this);
        style()->drawControl(event->region().intersects(label) ? QStyle::CE_PushButton : QStyle::CE_PushButtonBevel,
                             &option, &painter, this);
    }

    void changeEvent(QEvent* event) override
    {
        QPushButton::changeEvent(event);
        m_labelWidth = -1;
    }

private:
    int m_labelWidth = -1; ///< With its margins; negative if it isn't known.
};

UsernameLabel::Style nameStyle(Tier tier)
{
    switch (tier) {
    case Tier::Pro:
        return UsernameLabel::Style::Glint;
    case Tier::Premium:
        return UsernameLabel::Style::Accent;
    default:
        return UsernameLabel::Style::Plain;
    }
}

} // namespace

Sidebar::Sidebar(const QList<NavGroup>& groups, QWidget* parent)
    : QFrame(parent)
    , m_groups(groups)
    , m_buttons(new QButtonGroup(this))
{
    setObjectName(QStringLiteral("Sidebar"));
    setFixedWidth(sidebarWidth);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(14, 0, 14, 14);
    column->setSpacing(0);
    column->addWidget(new BrandZone(this));
    column->addWidget(new Divider(this));
    column->addSpacing(18);
    column->addWidget(makeNavigation(), 1);
    column->addSpacing(10);
    column->addWidget(new Divider(this));
    column->addSpacing(10);
    column->addWidget(makeAccountCard());
    m_buttons->setExclusive(true);
    connect(m_buttons, &QButtonGroup::idClicked, this, &Sidebar::rowClicked);
}

QWidget* Sidebar::makeNavigation()
{
    auto* const area = new QuietScrollArea(this);
    auto* const content = new OutsideStyleSheet<QWidget>(area->viewport());
    setAccessibleRole(content, QAccessible::List);
    area->setWidget(content);
    auto* const column = new QVBoxLayout(content);
    column->setContentsMargins(0, 0, 8, 0);
    column->setSpacing(2);
    QString category;
    int index = 0;
    for (const NavGroup& group : std::as_const(m_groups)) {
        if (group.category != category && !group.category.isEmpty()) {
            if (index > 0)
                column->addSpacing(10);
            auto* const heading = new TextLabel(QStringLiteral("NavCategory"), group.category.toUpper(), content);
            heading->setContentsMargins(headingMargins);
            column->addWidget(heading);
        }
        category = group.category;
        addRow(content, column, group, index++);
    }
    column->addStretch();
    return area;
}

void Sidebar::addRow(QWidget* list, QVBoxLayout* column, const NavGroup& group, int index)
{
    auto* const row = new NavRow(QStringLiteral("  ") + group.title, list);
    row->setObjectName(QStringLiteral("NavItem"));
    setAccessibleRole(row, QAccessible::ListItem);
    row->setAccessibleName(group.title);
    row->setCheckable(true);
    row->setCursor(Qt::PointingHandCursor);
    row->setIconSize(QSize(18, 18));
    row->setMinimumHeight(38);
    m_buttons->addButton(row, index);
    m_rows.append(row);
    if (group.requiredTier == Tier::Pro) {
        auto* const overlay = new QHBoxLayout(row);
        overlay->setContentsMargins(0, 0, 12, 0);
        overlay->addStretch();
        overlay->addWidget(new ProSparkle(row));
    }
    column->addWidget(row);
}

QWidget* Sidebar::makeAccountCard()
{
    auto* const card = new QFrame(this);
    card->setObjectName(QStringLiteral("AccountCard"));
    auto* const row = new QHBoxLayout(card);
    row->setContentsMargins(8, 8, 8, 8);
    row->setSpacing(10);
    m_avatar = new AvatarLabel(card);
    row->addWidget(m_avatar);
    auto* const names = new QVBoxLayout;
    names->setSpacing(0);
    m_userName = new UsernameLabel(card);
    m_userName->setFont(bodyFont(13, QFont::DemiBold));
    m_email = new TextLabel(QStringLiteral("Faint"), QString(), card);
    names->addWidget(m_userName);
    names->addWidget(m_email);
    row->addLayout(names, 1);

    auto* const gear = new GearButton(card);
    gear->setObjectName(QStringLiteral("WinBtn"));
    gear->setIcon(iconFor(IconId::Settings, palette::muted, 18));
    gear->setIconSize(QSize(18, 18));
    gear->setCursor(Qt::PointingHandCursor);
    gear->setToolTip(translate("MainWindow", "Settings"));
    gear->setAccessibleName(translate("MainWindow", "Settings"));
    connect(gear, &QPushButton::clicked, this, &Sidebar::settingsClicked);
    row->addWidget(gear);
    return card;
}

bool Sidebar::event(QEvent* event)
{
    const bool handled = QFrame::event(event);
    if (event->type() == QEvent::Polish || event->type() == QEvent::StyleChange) {
        setAttribute(Qt::WA_StyledBackground, false); // paintEvent() does it
        m_backdrop = {};
    }
    return handled;
}

/// As the style sheet says, but from a picture: else its gradient would be worked out for every star that twinkles behind.
void Sidebar::paintEvent(QPaintEvent* event)
{
    const qreal ratio = devicePixelRatioF();
    const QSize drawn(stripWidth + edgeWidth, height());
    if (const QSize wanted = (QSizeF(drawn) * ratio).toSize(); m_backdrop.size() != wanted) {
        m_backdrop = QPixmap(wanted);
        m_backdrop.setDevicePixelRatio(ratio);
        m_backdrop.fill(Qt::transparent);
        QPainter painter(&m_backdrop);
        QStyleOption option;
        option.initFrom(this);
        option.rect = QRect(QPoint(0, 0), drawn);
        style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, this);
    }
    QPainter painter(this);
    const auto draw = [&](int left, int from, int columns) {
        const QRect target(left, 0, columns, height());
        if (event->region().intersects(target))
            painter.drawPixmap(target, m_backdrop,
                               QRectF(from * ratio, 0, columns * ratio, m_backdrop.height()).toRect());
    };
    const int edge = width() - edgeWidth;
    for (int left = 0; left < edge; left += stripWidth)
        draw(left, 0, std::min(stripWidth, edge - left));
    draw(edge, stripWidth, edgeWidth);
}

void Sidebar::setCurrentRow(int index)
{
    if (QAbstractButton* const button = m_buttons->button(index)) {
        button->setChecked(true);
    } else if (QAbstractButton* const checked = m_buttons->checkedButton()) {
        // An exclusive group always keeps one lit.
        m_buttons->setExclusive(false);
        checked->setChecked(false);
        m_buttons->setExclusive(true);
    }
    refreshIcons();
}

void Sidebar::refreshIcons()
{
    for (qsizetype i = 0; i < m_rows.size(); ++i) {
        QPushButton* const row = m_rows.at(i);
        const QColor color = row->isChecked() ? palette::accent : palette::muted;
        row->setIcon(iconFor(m_groups.at(i).icon, color, rowIconSize));
    }
}

void Sidebar::setRowTooltip(int index, const QString& text)
{
    m_rows.at(index)->setToolTip(text);
}

void Sidebar::setUser(const UserProfile& profile)
{
    m_userName->setText(profile.userName.isEmpty() ? translate("MainWindow", "Account") : profile.userName);
    m_email->setText(profile.email);
    m_email->setVisible(!profile.email.isEmpty());
    m_avatar->setUser(profile.userName, profile.avatarUrl);
}

void Sidebar::setTier(Tier tier)
{
    m_userName->setStyle(nameStyle(tier));
}

} // namespace torvelane
