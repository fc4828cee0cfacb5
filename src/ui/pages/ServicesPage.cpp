#include "ui/pages/ServicesPage.h"

#include "core/Translate.h"
#include "optimizers/ServiceProfiles.h"
#include "ui/controls/GlassCard.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

namespace torvelane {

namespace {

constexpr int titleSize = 20;
constexpr int cardSpacing = 7; ///< The status row is within a window of the usual size.
constexpr int buttonHeight = 40;

QString questionFor(ServiceProfileId id)
{
    switch (id) {
    case ServiceProfileId::None:
        return translate("ServicesPage", "Restore all services to their original start types?");
    case ServiceProfileId::Basic:
        return translate("ServicesPage", "Apply the Basic service profile?");
    case ServiceProfileId::Advanced:
        return translate("ServicesPage",
                         "The Advanced profile breaks Windows Update, the Store, the Security menu, Bluetooth, Xbox, "
                         "SMB file sharing and some UWP apps until you restore defaults.\n\nApply it?");
    }
    return {};
}

} // namespace

ServicesPage::ServicesPage(QWidget* parent) : WorkPage(parent), m_profiles(std::make_shared<ServiceProfiles>()) { }

void ServicesPage::build()
{
    column()->addWidget(
        makeText(u"Faint",
                 translate("ServicesPage",
                           "Service profiles change background service start types to free CPU/RAM. Original start "
                           "types are captured before any change, so \"Restore defaults\" is exact. Changes finalize "
                           "after a reboot."),
                 content()));
    addProfile(ServiceProfileId::Basic, translate("ServicesPage", "Basic"), translate("ServicesPage", "Safe"),
               translate("ServicesPage",
                         "Disables telemetry, push transport, sensors/location, Edge auto-update and media "
                         "sharing to cut background CPU/RAM with minimal impact. Keeps Windows Update, "
                         "Defender, networking, themes and the Store functional."),
               u"primary");
    addProfile(ServiceProfileId::Advanced, translate("ServicesPage", "Advanced"), translate("ServicesPage", "Advanced"),
               translate("ServicesPage",
                         "Aggressive profile for maximum latency reduction. BREAKS Windows Update, Microsoft "
                         "Store, the Windows Security menu, Bluetooth, Xbox, file sharing (SMB) and some UWP apps."),
               u"ghost");
    m_restore = makeButton(u"ghost", translate("ServicesPage", "Restore default services"), buttonHeight, content());
    connect(m_restore, &QPushButton::clicked, this, [this] { apply(ServiceProfileId::None); });
    column()->addWidget(m_restore, 0, Qt::AlignLeft);
    addStatusRow(column());
    column()->addStretch();
    refreshControls();
}

void ServicesPage::addProfile(ServiceProfileId id, const QString& title, const QString& tag, const QString& text,
                              const char16_t* variant)
{
    auto* const card = new GlassCard(cardSpacing, content());
    column()->addWidget(card);
    auto* const header = new QHBoxLayout;
    card->column()->addLayout(header);
    header->addWidget(makeTitle(title, titleSize, card));
    header->addStretch();
    header->addWidget(makeText(u"Faint", tag, card));
    card->column()->addWidget(makeText(u"Muted", text, card));
    QPushButton* const button = makeButton(variant, QString(), buttonHeight, card);
    connect(button, &QPushButton::clicked, this, [this, id] { apply(id); });
    card->column()->addWidget(button, 0, Qt::AlignLeft);
    m_cards.append({id, title, button});
}

void ServicesPage::apply(ServiceProfileId id)
{
    const QString title = translate("ServicesPage", "Services");
    if (isBusy()
        || !confirm(title, questionFor(id), translate("ServicesPage", "Apply"), translate("ServicesPage", "Cancel")))
        return;
    run(translate("ServicesPage", "Applying…"),
        job([](const auto& profiles, ServiceProfileId which) { return profiles->apply(which); }, m_profiles, id),
        [this, title](const ServiceResult& result) {
            report(title, result.ok, result.message, QString());
            if (result.ok && result.count == 0)
                setAdvice(translate("ServicesPage",
                                    "No service was changed. Start Torvelane as administrator and try again."));
        });
}

void ServicesPage::refreshControls()
{
    for (const Profile& card : std::as_const(m_cards)) {
        card.button->setEnabled(!isBusy());
        // What is applied is the worker's to know while it works.
        if (isBusy())
            continue;
        card.button->setText(m_profiles->profile() == card.id ? translate("ServicesPage", "Active")
                                                              : translate("ServicesPage", "Apply"));
        card.button->setAccessibleName(QStringLiteral("%1, %2").arg(card.button->text(), card.title));
    }
    m_restore->setEnabled(!isBusy() && m_profiles->hasSnapshot());
}

} // namespace torvelane
