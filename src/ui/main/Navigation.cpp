#include "ui/main/Navigation.h"

#include "core/Language.h"

namespace torvelane {

namespace {

QString localized(const char16_t* english, const char16_t* french)
{
    return QString::fromUtf16(isFrench() ? french : english);
}

NavSection section(IconId icon, const char16_t* key, const char16_t* english, const char16_t* french,
                   Tier requiredTier = Tier::None)
{
    return {icon, QString::fromUtf16(key), localized(english, french), requiredTier};
}

} // namespace

QList<NavGroup> navigationGroups()
{
    const QString general = localized(u"General", u"Général");
    const QString advanced = localized(u"Advanced", u"Avancé");
    return {
        {IconId::House,
         localized(u"Home", u"Accueil"),
         Tier::None,
         localized(u"Live system activity and quick actions.", u"Activité système en direct et actions rapides."),
         true,
         QString(),
         {section(IconId::House, u"Home", u"Home", u"Accueil")}},
        {IconId::Gauge,
         localized(u"System", u"Système"),
         Tier::None,
         localized(u"Hardware overview, cleanup and restore points.",
                   u"Vue du matériel, nettoyage et points de restauration."),
         true,
         general,
         {section(IconId::Gauge, u"Scan", u"Dashboard", u"Tableau de bord"),
          section(IconId::Trash2, u"Debloat", u"Cleanup", u"Nettoyage"),
          section(IconId::History, u"Restore Points", u"Restore", u"Restauration")}},
        {IconId::Rocket,
         localized(u"Optimizations", u"Optimisations"),
         Tier::None,
         localized(u"Gaming posture, FPS, latency, services and updates.",
                   u"Posture gaming, FPS, latence, services et mises à jour."),
         true,
         general,
         {section(IconId::Gamepad2, u"Gaming Mode", u"Gaming Mode", u"Mode Gaming", Tier::Premium),
          section(IconId::Rocket, u"Gaming Tweaks", u"Games", u"Jeux"), section(IconId::Gpu, u"GPU", u"GPU", u"GPU"),
          section(IconId::Zap, u"Latency", u"Latency", u"Latence"),
          section(IconId::Server, u"Background Services", u"Services", u"Services"),
          section(IconId::RefreshCw, u"Windows Updates", u"Updates", u"MAJ"),
          section(IconId::SlidersHorizontal, u"General", u"General", u"Général")}},
        {IconId::SlidersVertical,
         localized(u"Personalization", u"Personnalisation"),
         Tier::None,
         localized(u"Visual effects, Explorer, taskbar, Start menu and search.",
                   u"Effets visuels, Explorateur, barre des tâches, menu Démarrer et recherche."),
         true,
         general,
         {section(IconId::Monitor, u"Visual Effects", u"Visuals", u"Effets"),
          section(IconId::Folder, u"Explorer", u"Explorer", u"Explorateur"),
          section(IconId::PanelBottom, u"Taskbar", u"Taskbar", u"Barre des tâches"),
          section(IconId::LayoutGrid, u"Start Menu", u"Start", u"Démarrer"),
          section(IconId::Globe, u"Search", u"Search", u"Recherche"),
          section(IconId::SlidersVertical, u"Interface", u"Interface", u"Interface")}},
        {IconId::Eye,
         localized(u"Privacy", u"Confidentialité"),
         Tier::None,
         localized(u"Telemetry, advertising, tracking and data collection.",
                   u"Télémétrie, publicités, suivi et collecte de données."),
         false,
         advanced,
         {section(IconId::Radio, u"Telemetry", u"Telemetry", u"Télémétrie"),
          section(IconId::Megaphone, u"Advertising", u"Ads", u"Publicités"),
          section(IconId::Eye, u"Tracking", u"Tracking", u"Suivi"),
          section(IconId::Database, u"Data Collection", u"Data", u"Données")}},
        {IconId::Cpu,
         localized(u"Hardware", u"Matériel"),
         Tier::None,
         localized(u"CPU, memory, storage, peripherals and power plan.",
                   u"CPU, mémoire, stockage, périphériques et alimentation."),
         false,
         advanced,
         {section(IconId::Cpu, u"CPU", u"CPU", u"Processeur"),
          section(IconId::MemoryStick, u"RAM", u"Memory", u"Mémoire"),
          section(IconId::HardDrive, u"Storage", u"Storage", u"Stockage"),
          section(IconId::Mouse, u"Mouse", u"Mouse", u"Souris"),
          section(IconId::Keyboard, u"Keyboard", u"Keyboard", u"Clavier"),
          section(IconId::BatteryCharging, u"Power Plan", u"Power", u"Alimentation", Tier::Premium)}},
        {IconId::Wifi,
         localized(u"Network", u"Réseau"),
         Tier::Pro,
         localized(u"NIC optimization, bufferbloat and app priority.",
                   u"Optimisation carte réseau, bufferbloat et priorité des apps."),
         false,
         advanced,
         {section(IconId::Wifi, u"Network", u"Network", u"Réseau"),
          section(IconId::Activity, u"Bufferbloat", u"Bufferbloat", u"Bufferbloat"),
          section(IconId::AppWindow, u"App Optimize", u"Apps", u"Apps"),
          section(IconId::Wrench, u"Services", u"Services", u"Services")}},
    };
}

} // namespace torvelane
