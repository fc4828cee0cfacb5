#pragma once

#include "core/Tier.h"
#include "ui/theme/Icons.h"
#include "ui/theme/OutsideStyleSheet.h"

#include <QList>

class QButtonGroup;
class QPushButton;

namespace torvelane {

class Gate;
class Page;
class PageStack;

/// The content of one sidebar row: a header, a row of underlined tabs, and a stack of section pages, each locked or
/// open by the user's tier. Header and tabs are made when it joins the window. GUI thread.
class GroupPage : public OutsideStyleSheet<QWidget> {
    Q_OBJECT

public:
    GroupPage(IconId icon, const QString& title, const QString& subtitle, Tier required, const QString& webBase,
              QWidget* parent = nullptr);

    /// Appends a tab and takes the page over. With a gate other than none a page that doesn't lock itself is locked for
    /// users whose tier doesn't cover it. The first tab selects itself.
    void addSection(IconId icon, const QString& label, Page* page, Tier gate);

    /// Ignored when out of range.
    void selectSection(int index);
    [[nodiscard]] int sectionCount() const { return static_cast<int>(m_sections.size()); }

    void setUserTier(Tier tier);

    /// Brings the next page that nobody has opened yet into the window, ahead of its first show.
    /// @return false if there is none left
    bool prepareNextSection();

    /// Page::finishWork of every section.
    void finishWork();

    [[nodiscard]] Tier requiredTier() const { return m_required; }

protected:
    bool event(QEvent* event) override;

private:
    struct Section {
        IconId icon;
        QString label;
        QPushButton* tab = nullptr; ///< Null until the group joins the window.
        Page* page = nullptr;
        Gate* gate = nullptr; ///< Around the page, if it has one.
    };

    void build();
    void addTab(Section& section);
    void refreshTabs();

    IconId m_icon;
    QString m_title;
    QString m_subtitle;
    Tier m_required;
    QString m_webBase;
    Tier m_userTier = Tier::None;
    QButtonGroup* m_tabGroup;
    QWidget* m_tabBar = nullptr; ///< Null until the group joins the window, like the tabs.
    PageStack* m_stack = nullptr;
    QList<Section> m_sections;
};

} // namespace torvelane
