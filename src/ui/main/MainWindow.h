#pragma once

#include "ui/main/Navigation.h"
#include "ui/windows/HeroWindow.h"

#include <QList>

class QPushButton;
class QTimer;

namespace torvelane {

class AppContext;
class GroupPage;
class PageStack;
class Sidebar;

/// The signed-in program: a sidebar and, beside it, one GroupPage a row. All pages are built up front; the window lives
/// as long as the session. ShellController owns it through its frame. GUI thread.
class MainWindow : public HeroWindow {
    Q_OBJECT

public:
    /// The context outlives the window.
    explicit MainWindow(AppContext& context, QWidget* parent = nullptr);
    ~MainWindow() override;

    /// Makes a row current; ignored when out of range.
    void selectGroup(int index);

    /// Opens the settings, with no row lit.
    void showSettingsPage();

    /// Opens the first tab with this key; an unknown key does nothing.
    void navigateTo(const QString& sectionKey);

Q_SIGNALS:
    void requestLogout();

protected:
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void buildGroups();
    void buildSettings();
    void showStackPage(int index);
    void preparePage();
    void finishWork();
    void refreshAccount();
    void onTierChanged(Tier tier);
    void applyTierToNav(Tier tier);

    AppContext* m_context;
    QList<NavGroup> m_groups;
    QList<GroupPage*> m_pages;
    Sidebar* m_sidebar;
    PageStack* m_stack;
    int m_settingsIndex = -1;
    QPushButton* m_tierPill;
    QTimer* m_prepareTimer; ///< Runs until every page has joined the window.
};

} // namespace torvelane
