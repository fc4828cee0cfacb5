#include "ui/pages/NetworkPage.h"

#include "core/Translate.h"
#include "optimizers/NetworkOptimizer.h"
#include "ui/controls/GlassCard.h"
#include "ui/controls/IconLabel.h"
#include "ui/theme/TextBreaks.h"
#include "ui/theme/Theme.h"

#include <QHBoxLayout>
#include <QLocale>
#include <QPushButton>

#include <algorithm>

namespace torvelane {

namespace {

constexpr int titleSize = 20;
constexpr int iconSize = 22;
constexpr int buttonHeight = 38;
constexpr int cardSpacing = 14;
constexpr int textSpacing = 4;
constexpr int buttonSpacing = 10;

QString nameOf(const NetAdapter& adapter)
{
    if (!adapter.connectionName.isEmpty())
        return adapter.connectionName;
    switch (adapter.kind) {
    case AdapterKind::Ethernet:
        return translate("NetworkPage", "Ethernet");
    case AdapterKind::WiFi:
        return translate("NetworkPage", "Wi-Fi");
    case AdapterKind::Other:
        break;
    }
    return translate("NetworkPage", "Network");
}

} // namespace

NetworkPage::NetworkPage(QWidget* parent) : WorkPage(parent), m_optimizer(std::make_shared<NetworkOptimizer>()) { }

void NetworkPage::build()
{
    column()->addWidget(makeTitle(translate("NetworkPage", "Network optimization"), titleSize, content()));
    column()->addWidget(
        makeText(u"Faint",
                 translate("NetworkPage",
                           "Disables latency/power features (EEE, Interrupt Moderation, offloads, Wake-on, …) on every "
                           "network adapter at once. Applying restarts the adapters and briefly drops the connection. "
                           "Fully reversible."),
                 content()));
    m_note = makeText(u"Muted", translate("NetworkPage", "Detecting adapters…"), content());
    column()->addWidget(m_note);
    buildCard();
    addStatusRow(column());
    column()->addStretch();
}

void NetworkPage::buildCard()
{
    m_card = new GlassCard(0, content(), GlassCard::narrow);
    column()->addWidget(m_card);
    m_card->hide();
    auto* const row = new QHBoxLayout;
    row->setSpacing(cardSpacing);
    m_card->column()->addLayout(row);
    row->addWidget(new IconLabel(IconId::Wifi, palette::accent, iconSize, m_card), 0, Qt::AlignVCenter);
    auto* const texts = new QVBoxLayout;
    texts->setSpacing(textSpacing);
    row->addLayout(texts, 1);
    auto* const title = makeText(u"", translate("NetworkPage", "All network adapters"), m_card);
    title->setFont(bodyFont(14, QFont::DemiBold));
    m_names = makeText(u"Muted", QString(), m_card);
    m_state = makeText(u"Faint", QString(), m_card);
    for (TextLabel* const label : {title, m_names, m_state})
        texts->addWidget(label);
    auto* const buttons = new QHBoxLayout;
    buttons->setSpacing(buttonSpacing);
    row->addLayout(buttons);
    m_restore = makeButton(u"ghost", translate("NetworkPage", "Restore"), buttonHeight, m_card);
    connect(m_restore, &QPushButton::clicked, this, [this] { toggleAll(false); });
    m_optimize = makeButton(u"primary", translate("NetworkPage", "Optimize network"), buttonHeight, m_card);
    connect(m_optimize, &QPushButton::clicked, this, [this] { toggleAll(true); });
    for (QPushButton* const button : {m_restore, m_optimize})
        buttons->addWidget(button, 0, Qt::AlignVCenter);
}

void NetworkPage::showEvent(QShowEvent* event)
{
    WorkPage::showEvent(event);
    if (!isBusy() && (!m_adapters || m_adapters->isEmpty()))
        detect();
}

void NetworkPage::detect()
{
    showNote(translate("NetworkPage", "Detecting adapters…"));
    read(job([] { return listNetAdapters(); }), [this](const QList<NetAdapter>& adapters) {
        m_adapters = adapters;
        refreshControls();
    });
}

void NetworkPage::toggleAll(bool optimize)
{
    if (isBusy() || !m_adapters
        || !confirm(optimize ? translate("NetworkPage", "Optimize network")
                             : translate("NetworkPage", "Restore network"),
                    optimize ? translate("NetworkPage",
                                         "Optimizing will restart every network adapter and briefly disconnect "
                                         "you.\n\nContinue?")
                             : translate("NetworkPage",
                                         "Restoring will restart every network adapter and briefly disconnect "
                                         "you.\n\nContinue?"),
                    translate("NetworkPage", "Continue"), translate("NetworkPage", "Cancel")))
        return;
    showNote(optimize ? translate("NetworkPage", "Optimizing the network … adapters will reconnect shortly.")
                      : translate("NetworkPage", "Restoring the network … adapters will reconnect shortly."));
    run(optimize ? translate("NetworkPage", "Optimizing network…") : translate("NetworkPage", "Restoring network…"),
        job([](const auto& optimizer, const QList<NetAdapter>& adapters,
               bool on) { return on ? optimizer->applyAll(adapters) : optimizer->restoreAll(); },
            m_optimizer, *m_adapters, optimize),
        [this](const NicOptResult& result) {
            detect();
            report(translate("NetworkPage", "Network"), result.ok, result.message,
                   translate("NetworkPage",
                             "Check in Windows' network settings that an adapter is switched on, and try again."));
        });
}

void NetworkPage::refreshControls()
{
    if (!isBusy() && m_adapters)
        showAdapters();
}

/// Hides the card, which passes the keyboard on, and gets it back with the next adapters.
void NetworkPage::showNote(const QString& text)
{
    const QWidget* const focused = window()->focusWidget();
    const bool hadFocus = focused && m_card->isAncestorOf(focused);
    m_note->setText(text);
    setShown(m_card, false);
    setShown(m_note, true);
    if (hadFocus) {
        m_lendsFocus = true;
        m_focusMeanwhile = window()->focusWidget();
    }
}

void NetworkPage::showAdapters()
{
    QStringList names;
    int optimized = 0;
    for (const NetAdapter& adapter : std::as_const(*m_adapters)) {
        if (!adapter.netEnabled)
            continue;
        names.append(nameOf(adapter));
        optimized += m_optimizer->isOptimized(adapter.guid) ? 1 : 0;
    }
    const int active = static_cast<int>(names.size());
    const bool all = active > 0 && optimized == active;
    const QLocale locale = QLocale::system();
    m_names->setText(withBreaks(names.join(QStringLiteral(" · "))));
    setShown(m_names, active > 0);
    if (all)
        m_state->setText(translate("NetworkPage", "Optimized"));
    else if (optimized > 0)
        m_state->setText(translate("NetworkPage", "%1 of %2 optimized", nullptr, optimized)
                             .arg(locale.toString(optimized), locale.toString(active)));
    else
        m_state->setText(translate("NetworkPage", "%n adapter(s) active", nullptr, active));
    const bool none = m_adapters->isEmpty();
    setShown(m_restore, m_optimizer->hasSnapshots());
    setShown(m_optimize, !all && !none);
    m_note->setText(translate("NetworkPage", "No physical network adapters detected."));
    setShown(m_note, none);
    // An adapter that is gone can still have its settings back.
    setShown(m_card, !none || m_optimizer->hasSnapshots());
    if (m_lendsFocus && window()->focusWidget() == m_focusMeanwhile)
        (m_optimize->isHidden() ? m_restore : m_optimize)->setFocus();
    m_lendsFocus = false;
}

} // namespace torvelane
