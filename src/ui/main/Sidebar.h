#pragma once

#include "ui/main/Navigation.h"

#include <QFrame>
#include <QList>
#include <QPixmap>

class QBoxLayout;
class QButtonGroup;
class QPushButton;
class QVBoxLayout;

namespace torvelane {

class AvatarLabel;
class TextLabel;
class UsernameLabel;
struct UserProfile;

/// The main window's left side: the brand, one row a group, and the user. It only shows; the window decides.
class Sidebar : public QFrame {
    Q_OBJECT

public:
    /// `groups` is copied; row indices are its indices.
    explicit Sidebar(const QList<NavGroup>& groups, QWidget* parent = nullptr);

    /// Lights one row, or none for an index out of range, and recolours the icons.
    void setCurrentRow(int index);
    void setRowTooltip(int index, const QString& text);
    void setUser(const UserProfile& profile);
    void setTier(Tier tier);

Q_SIGNALS:
    void rowClicked(int index);
    void settingsClicked();

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] QWidget* makeNavigation();
    void addRow(QWidget* list, QVBoxLayout* column, const NavGroup& group, int index);
    [[nodiscard]] QWidget* makeAccountCard();
    void refreshIcons();

    QList<NavGroup> m_groups;
    QButtonGroup* m_buttons;
    QList<QPushButton*> m_rows;
    AvatarLabel* m_avatar = nullptr;
    UsernameLabel* m_userName = nullptr;
    TextLabel* m_email = nullptr;
    QPixmap m_backdrop;
};

} // namespace torvelane
