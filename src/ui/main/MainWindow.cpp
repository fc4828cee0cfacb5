#include "ui/main/MainWindow.h"

#include "account/AuthService.h"
#include "account/LicenseService.h"
#include "account/TierWatcher.h"
#include "app/AppContext.h"
#include "core/Deployment.h"
#include "core/Translate.h"
#include "tweaks/TierGate.h"
#include "ui/controls/TierPill.h"
#include "ui/main/GroupPage.h"
#include "ui/main/PageStack.h"
#include "ui/main/PageTable.h"
#include "ui/main/Sidebar.h"
#include "ui/pages/AccountPage.h"
#include "ui/theme/Theme.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QPushButton>
#include <QTimer>

#include <algorithm>

namespace torvelane {

namespace {

constexpr int pageFadeMs = 160;
constexpr int prepareIntervalMs = 50; ///< Between the pages that are made ready ahead of their first show.
constexpr int pillHeight = 34;
constexpr int pillIconSize = 15;
constexpr int pillMinimumWidth = 150;
constexpr int pillRightMargin = 20;
constexpr int pillTop = 44;

} // namespace

MainWindow::MainWindow(AppContext& context, QWidget* parent)
    : HeroWindow(parent)
    , m_context(&context)
    , m_groups(navigationGroups())
    , m_sidebar(new Sidebar(m_groups, this))
    , m_stack(new PageStack(this))
    , m_tierPill(nullptr)
    , m_prepareTimer(new QTimer(this))
{
    setWindowTitle(QStringLiteral("Torvelane"));
    resize(1080, 700);
    setMinimumSize(880, 580);

    auto* const root = new QHBoxLayout(this);
    root->setContentsMargins(0, 0, 0, 0);
    root->setSpacing(0);
    root->addWidget(m_sidebar);
    buildGroups();
    buildSettings();
    auto* const frame = new QVBoxLayout;
    frame->setContentsMargins(16, 16, 16, 16);
    frame->addWidget(m_stack);
    root->addLayout(frame, 1);
    // Every new widget asks for its style as soon as the event loop runs. A widget that is shown gets it then anyway,
    // and the pages that wait outside the window would get it only to get it once more when they join.
    QCoreApplication::removePostedEvents(nullptr, QEvent::PolishRequest);

    m_tierPill = makeTierPill(translate("MainWindow", "Upgrade to Pro"), deployment::webBaseUrl, IconId::Sparkles,
                              pillHeight, pillIconSize, this);
    m_tierPill->setFixedHeight(pillHeight);
    m_tierPill->hide();

    m_prepareTimer->setInterval(prepareIntervalMs);
    connect(m_prepareTimer, &QTimer::timeout, this, &MainWindow::preparePage);
    connect(m_sidebar, &Sidebar::rowClicked, this, &MainWindow::selectGroup);
    connect(m_sidebar, &Sidebar::settingsClicked, this, &MainWindow::showSettingsPage);
    connect(context.tierWatcher.get(), &TierWatcher::aboutToRevert, this, &MainWindow::finishWork);
    connect(context.tierWatcher.get(), &TierWatcher::tierChanged, this, &MainWindow::onTierChanged);
    LicenseService* const license = context.license.get();
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this,
            [license](Qt::ApplicationState state) { license->setApplicationActive(state == Qt::ApplicationActive); });
    license->setApplicationActive(QGuiApplication::applicationState() == Qt::ApplicationActive);
    connect(context.auth.get(), &AuthService::userChanged, this, &MainWindow::refreshAccount);
    refreshAccount();
    onTierChanged(context.tier);

    const auto home = std::ranges::find_if(m_groups, [](const NavGroup& group) {
        return !group.sections.isEmpty() && group.sections.first().key == QLatin1String("Home");
    });
    selectGroup(home == m_groups.end() ? 0 : static_cast<int>(home - m_groups.begin()));
}

MainWindow::~MainWindow() = default;

void MainWindow::buildGroups()
{
    for (const NavGroup& group : std::as_const(m_groups)) {
        auto* const page =
            new GroupPage(group.icon, group.title, group.subtitle, group.requiredTier, deployment::webBaseUrl);
        page->setUserTier(m_context->tier); // first, so that no gate is built shut only to be opened
        for (const NavSection& section : group.sections) {
            const Tier required = std::max(section.requiredTier, group.requiredTier);
            Page* const sectionPage = makePage(*m_context, section, required);
            connect(sectionPage, &Page::navigateRequested, this, &MainWindow::navigateTo);
            page->addSection(section.icon, section.label, sectionPage, required);
        }
        m_pages.append(page);
        m_stack->addPage(page);
    }
}

void MainWindow::buildSettings()
{
    auto* const page =
        new GroupPage(IconId::Settings, translate("Groups", "Settings"),
                      translate("MainWindow", "Your account and app settings."), Tier::None, deployment::webBaseUrl);
    auto* const account = new AccountPage(m_context->auth->profile());
    connect(account, &AccountPage::signOutRequested, this, &MainWindow::requestLogout);
    page->addSection(IconId::Settings, translate("Sections", "Settings"), account, Tier::None);
    m_settingsIndex = m_stack->addPage(page);
}

void MainWindow::selectGroup(int index)
{
    if (index < 0 || index >= m_pages.size())
        return;
    m_sidebar->setCurrentRow(index);
    showStackPage(index);
}

void MainWindow::showSettingsPage()
{
    if (m_settingsIndex < 0)
        return;
    m_sidebar->setCurrentRow(-1);
    showStackPage(m_settingsIndex);
}

void MainWindow::showStackPage(int index)
{
    const int before = m_stack->currentPage();
    m_stack->setCurrentPage(index);
    // The new page at once and not one turn of the event loop later; its fade starts from the next frame.
    repaint();
    if (index != before)
        fadeInWidget(m_stack->currentWidget(), pageFadeMs);
}

void MainWindow::navigateTo(const QString& sectionKey)
{
    for (int group = 0; group < m_groups.size(); ++group) {
        const QList<NavSection>& sections = m_groups.at(group).sections;
        const auto found =
            std::ranges::find_if(sections, [&](const NavSection& section) { return section.key == sectionKey; });
        if (found == sections.end())
            continue;
        selectGroup(group);
        m_pages.at(group)->selectSection(static_cast<int>(found - sections.begin()));
        return;
    }
}

void MainWindow::finishWork()
{
    for (GroupPage* const page : std::as_const(m_pages))
        page->finishWork();
}

void MainWindow::resizeEvent(QResizeEvent* event)
{
    HeroWindow::resizeEvent(event);
    if (!m_tierPill)
        return;
    m_tierPill->setFixedWidth(std::max(m_tierPill->sizeHint().width(), pillMinimumWidth));
    m_tierPill->move(width() - pillRightMargin - m_tierPill->width(), pillTop);
    m_tierPill->raise();
}

void MainWindow::showEvent(QShowEvent* event)
{
    HeroWindow::showEvent(event);
    m_prepareTimer->start();
}

/// The window stands, and nobody waits for this.
void MainWindow::preparePage()
{
    if (m_stack->joinNext())
        return;
    if (!std::ranges::any_of(m_pages, &GroupPage::prepareNextSection))
        m_prepareTimer->stop();
}

void MainWindow::refreshAccount()
{
    m_sidebar->setUser(m_context->auth->profile());
}

void MainWindow::onTierChanged(Tier tier)
{
    m_tierPill->setVisible(!TierGate::covers(tier, Tier::Pro));
    m_tierPill->raise();
    m_sidebar->setTier(tier);
    applyTierToNav(tier);
}

void MainWindow::applyTierToNav(Tier tier)
{
    for (int i = 0; i < m_pages.size(); ++i) {
        m_pages.at(i)->setUserTier(tier);
        const Tier required = m_groups.at(i).requiredTier;
        m_sidebar->setRowTooltip(i,
                                 TierGate::covers(tier, required)
                                     ? QString()
                                     : QStringLiteral("Requires %1").arg(tierName(required).toUpper()));
    }
}

} // namespace torvelane
