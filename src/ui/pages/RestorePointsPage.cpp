#include "ui/pages/RestorePointsPage.h"

#include "core/Translate.h"
#include "platform/Elevation.h"
#include "restore/RestorePoint.h"
#include "ui/controls/GlassCard.h"
#include "ui/pages/RowList.h"
#include "ui/theme/Theme.h"

#include <QHBoxLayout>
#include <QLocale>
#include <QPushButton>

namespace torvelane {

namespace {

constexpr QMargins noticeMargins(20, 16, 20, 16);
constexpr int noticeSpacing = 14;
constexpr int cardSpacing = 12;
constexpr int buttonSpacing = 10;
constexpr int createTitleSize = 20;
constexpr int listTitleSize = 18;
constexpr int enableHeight = 38;
constexpr int createHeight = 40;
constexpr int refreshHeight = 34;

QString pageTitle()
{
    return translate("torvelane::RestorePointsPage", "Restore points");
}

/// What the dialogs call a point.
QString labelOf(const RestorePointInfo& point)
{
    return point.description.isEmpty()
        ? translate("torvelane::RestorePointsPage", "sequence #%1").arg(point.sequenceNumber)
        : point.description;
}

} // namespace

struct RestorePointsPage::ListResult {
    bool ok = false;
    QString error;
    QList<RestorePointInfo> points;
};

struct RestorePointsPage::OpResult {
    bool ok = false;
    QString error;
};

/// What the page says when an operation has ended.
struct RestorePointsPage::Wording {
    QString done;
    QString failed;
    QString dialog; ///< With a place for the error.
    QString advice; ///< After a failure.
};

RestorePointsPage::RestorePointsPage(QWidget* parent) : WorkPage(parent) { }

void RestorePointsPage::build()
{
    column()->addWidget(makeText(
        u"Faint",
        translate("torvelane::RestorePointsPage",
                  "Restore points use the native Windows System Restore. They capture system settings and the registry "
                  "— not your personal files — and let you roll the system back if an optimization causes trouble. "
                  "Windows itself stores them; Torvelane keeps no copy."),
        content()));
    addWarnings();
    addCreateCard();
    addStatusRow(column());
    addListHeader();
    m_list = new RowList(u"Faint", m_refresh, content());
    column()->addWidget(m_list);
    column()->addStretch();
    carryBackdrop();
}

void RestorePointsPage::addWarnings()
{
    m_elevationCard = new GlassCard(noticeSpacing, content(), noticeMargins);
    m_elevationCard->column()->addWidget(
        makeText(u"Muted",
                 translate("torvelane::RestorePointsPage",
                           "Torvelane is not running as administrator. Creating or restoring restore points requires "
                           "administrator rights — relaunch the app elevated to use this feature."),
                 m_elevationCard));
    m_protectionCard = new GlassCard(noticeSpacing, content(), noticeMargins);
    m_protectionCard->column()->addWidget(
        makeText(u"Muted",
                 translate("torvelane::RestorePointsPage",
                           "System Protection appears to be OFF for this PC. Restore points cannot be created until it "
                           "is enabled."),
                 m_protectionCard));
    QPushButton* const enable = makeButton(u"primary", translate("torvelane::RestorePointsPage", "Enable protection"),
                                           enableHeight, m_protectionCard);
    connect(enable, &QPushButton::clicked, this, &RestorePointsPage::enableProtection);
    m_protectionCard->column()->addWidget(enable, 0, Qt::AlignLeft);
    for (GlassCard* const card : {m_elevationCard, m_protectionCard}) {
        card->hide();
        column()->addWidget(card);
    }
}

void RestorePointsPage::addCreateCard()
{
    auto* const card = new GlassCard(cardSpacing, content());
    column()->addWidget(card);
    card->column()->addWidget(
        makeTitle(translate("torvelane::RestorePointsPage", "Create a restore point"), createTitleSize, card));
    card->column()->addWidget(
        makeText(u"Muted",
                 translate("torvelane::RestorePointsPage",
                           "It will be saved automatically with the current date and time as its name."),
                 card));
    auto* const row = new QHBoxLayout;
    row->setSpacing(buttonSpacing);
    card->column()->addLayout(row);
    m_create =
        makeButton(u"primary", translate("torvelane::RestorePointsPage", "Create restore point"), createHeight, card);
    connect(m_create, &QPushButton::clicked, this, &RestorePointsPage::create);
    row->addWidget(m_create);
    row->addStretch();
}

void RestorePointsPage::addListHeader()
{
    auto* const row = new QHBoxLayout;
    row->setSpacing(buttonSpacing);
    column()->addLayout(row);
    row->addWidget(
        makeTitle(translate("torvelane::RestorePointsPage", "Existing restore points"), listTitleSize, content()));
    row->addStretch();
    m_refresh = makeButton(u"ghost", translate("torvelane::RestorePointsPage", "Refresh"), refreshHeight, content());
    connect(m_refresh, &QPushButton::clicked, this, &RestorePointsPage::refreshList);
    row->addWidget(m_refresh);
}

/// Protection may have been switched on or off elsewhere since the page was last seen.
void RestorePointsPage::showEvent(QShowEvent* event)
{
    WorkPage::showEvent(event);
    refreshControls();
    if (!std::exchange(m_listed, true))
        refreshList();
}

void RestorePointsPage::refreshControls()
{
    const bool elevated = platform::isElevated();
    setShown(m_elevationCard, !elevated);
    setShown(m_protectionCard, elevated && !RestorePoint::isProtectionEnabled());
    m_create->setEnabled(elevated && !isBusy());
}

void RestorePointsPage::refreshList()
{
    if (isBusy())
        return;
    setAdvice(QString());
    m_list->showNote(translate("torvelane::RestorePointsPage", "Loading restore points…"));
    read(job([] {
             ListResult result;
             result.points = RestorePoint::listPoints(&result.error);
             result.ok = result.error.isEmpty();
             return result;
         }),
         [this](const ListResult& result) { showList(result); });
}

void RestorePointsPage::showList(const ListResult& result)
{
    if (!result.ok) {
        m_list->showNote(
            translate("torvelane::RestorePointsPage", "Could not read restore points: %1").arg(result.error));
        setAdvice(translate("torvelane::RestorePointsPage", "Press Refresh to try again."));
        return;
    }
    m_list->showNote(translate("torvelane::RestorePointsPage",
                               "No restore points yet. Create one above before applying optimizations."));
    for (const RestorePointInfo& point : result.points)
        addRow(point);
}

void RestorePointsPage::addRow(const RestorePointInfo& point)
{
    const QString name = point.description.isEmpty()
        ? translate("torvelane::RestorePointsPage", "(unnamed restore point)")
        : point.description;
    const QString date = point.creationTime.isValid()
        ? QLocale::system().toString(point.creationTime.toLocalTime(), QLocale::ShortFormat)
        : translate("torvelane::RestorePointsPage", "unknown date");
    ListRow* const row = m_list->addRow(
        name,
        translate("torvelane::RestorePointsPage", "%1 · sequence #%2").arg(date, QString::number(point.sequenceNumber)),
        noticeMargins);
    const QPushButton* const back = row->addButton(translate("torvelane::RestorePointsPage", "Restore"));
    connect(back, &QPushButton::clicked, this, [this, point] { rollBack(point); });
    const QPushButton* const away = row->addButton(translate("torvelane::RestorePointsPage", "Delete"));
    connect(away, &QPushButton::clicked, this, [this, point] { remove(point); });
}

template <typename Work>
void RestorePointsPage::work(const QString& status, const Wording& wording, Work work)
{
    run(status, work, [this, wording](const OpResult& result) { finish(wording, result); });
}

void RestorePointsPage::finish(const Wording& wording, const OpResult& result)
{
    if (result.ok) {
        setStatus(wording.done);
        refreshList();
        return;
    }
    setStatus(wording.failed);
    setAdvice(wording.advice);
    showMessage(pageTitle(), wording.dialog.arg(result.error));
}

void RestorePointsPage::create()
{
    const QString name = QStringLiteral("Torvelane - %1")
                             .arg(QLocale::system().toString(QDateTime::currentDateTime(), QLocale::ShortFormat));
    work(translate("torvelane::RestorePointsPage", "Creating restore point…"),
         {.done = translate("torvelane::RestorePointsPage", "Restore point created."),
          .failed = translate("torvelane::RestorePointsPage", "Could not create restore point."),
          .dialog = translate("torvelane::RestorePointsPage", "Could not create the restore point:\n\n%1"),
          .advice = translate("torvelane::RestorePointsPage",
                              "Check that System Protection is on for drive C: and that the drive has space left, and "
                              "try again.")},
         job(
             [](const QString& description) {
                 OpResult result;
                 result.ok = RestorePoint::createWithFallback(description, &result.error);
                 return result;
             },
             name));
}

void RestorePointsPage::remove(const RestorePointInfo& point)
{
    if (isBusy()
        || !confirm(pageTitle(),
                    translate("torvelane::RestorePointsPage",
                              "Delete the restore point “%1”?\n\nThis permanently removes it from Windows. This cannot "
                              "be undone.")
                        .arg(labelOf(point)),
                    translate("torvelane::RestorePointsPage", "Delete"),
                    translate("torvelane::RestorePointsPage", "Cancel"), true))
        return;
    work(translate("torvelane::RestorePointsPage", "Deleting restore point…"),
         {.done = translate("torvelane::RestorePointsPage", "Restore point deleted."),
          .failed = translate("torvelane::RestorePointsPage", "Could not delete the restore point."),
          .dialog = translate("torvelane::RestorePointsPage", "Could not delete the restore point:\n\n%1"),
          .advice = translate("torvelane::RestorePointsPage",
                              "Press Refresh to see whether it still exists. Windows' own Disk Cleanup can remove all "
                              "but the newest one.")},
         job(
             [](const RestorePointInfo& which) {
                 OpResult result;
                 result.ok = RestorePoint::deletePoint(which.sequenceNumber, which.creationTime, &result.error);
                 return result;
             },
             point));
}

void RestorePointsPage::rollBack(const RestorePointInfo& point)
{
    if (isBusy()
        || !confirm(pageTitle(),
                    translate("torvelane::RestorePointsPage",
                              "Restore Windows to “%1”?\n\nYour PC will RESTART to complete the restore. Open files "
                              "should be saved first. System settings and the registry will be rolled back to this "
                              "point; your personal files are not affected.")
                        .arg(labelOf(point)),
                    translate("torvelane::RestorePointsPage", "Restore && restart"),
                    translate("torvelane::RestorePointsPage", "Cancel"), true))
        return;
    work(translate("torvelane::RestorePointsPage", "Initiating restore…"),
         {.done = translate("torvelane::RestorePointsPage", "Restore initiated — your PC will restart shortly."),
          .failed = translate("torvelane::RestorePointsPage", "Could not initiate the restore."),
          .dialog = translate("torvelane::RestorePointsPage", "Could not start the restore:\n\n%1"),
          .advice = translate("torvelane::RestorePointsPage",
                              "Nothing was changed. Windows' own System Restore (rstrui.exe) can roll back to the same "
                              "points.")},
         job(
             [](quint32 sequenceNumber) {
                 OpResult result;
                 result.ok = RestorePoint::restoreTo(sequenceNumber, true, &result.error);
                 return result;
             },
             point.sequenceNumber));
}

void RestorePointsPage::enableProtection()
{
    work(translate("torvelane::RestorePointsPage", "Enabling System Protection…"),
         {.done = translate("torvelane::RestorePointsPage", "System Protection enabled."),
          .failed = translate("torvelane::RestorePointsPage", "Could not enable System Protection."),
          .dialog = translate("torvelane::RestorePointsPage", "Could not enable System Protection:\n\n%1"),
          .advice = translate("torvelane::RestorePointsPage",
                              "Windows' own settings have the same switch: search for “Create a restore point”.")},
         job([] {
             OpResult result;
             result.ok = RestorePoint::enableProtection(&result.error);
             return result;
         }));
}

} // namespace torvelane
