<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr_FR" sourcelanguage="en_US">
<context>
    <name>AppDialog</name>
    <message>
        <source>Confirm</source>
        <translation>Confirmer</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>BatchQuestion</name>
    <message>
        <source>These have a warning:</source>
        <translation>Ceux-ci comportent un avertissement :</translation>
    </message>
    <message>
        <source>These act once, with nothing to undo afterwards:</source>
        <translation>Ceux-ci agissent une seule fois, sans rien à annuler ensuite :</translation>
    </message>
    <message>
        <source>These set the same value, so that only the last one counts:</source>
        <translation>Ceux-ci écrivent la même valeur, donc seul le dernier compte :</translation>
    </message>
</context>
<context>
    <name>GroupPage</name>
    <message>
        <source>an account</source>
        <translation>un compte</translation>
    </message>
    <message>
        <source>Free</source>
        <translation>Gratuit</translation>
    </message>
    <message>
        <source>Premium</source>
        <translation>Premium</translation>
    </message>
    <message>
        <source>Upgrade to Pro</source>
        <translation>Passer à Pro</translation>
    </message>
    <message>
        <source>Pro</source>
        <translation>Pro</translation>
    </message>
    <message>
        <source>a higher</source>
        <translation>une formule supérieure</translation>
    </message>
</context>
<context>
    <name>Groups</name>
    <message>
        <source>Settings</source>
        <translation>Paramètres</translation>
    </message>
</context>
<context>
    <name>LoginWindow</name>
    <message>
        <source>Sign in</source>
        <translation>Se connecter</translation>
    </message>
    <message>
        <source>Welcome to Torvelane</source>
        <translation>Bienvenue dans Torvelane</translation>
    </message>
    <message>
        <source>Your account stays on this PC. Choose the name that Torvelane calls you by.</source>
        <translation>Votre compte reste sur ce PC. Choisissez le nom que Torvelane vous donnera.</translation>
    </message>
    <message>
        <source>&amp;Name</source>
        <translation>&amp;Nom</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Nom</translation>
    </message>
    <message>
        <source>Enter a name of 1 to 256 characters.</source>
        <translation>Saisissez un nom de 1 à 256 caractères.</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Upgrade to Pro</source>
        <translation>Passer à Pro</translation>
    </message>
    <message>
        <source>Your account and app settings.</source>
        <translation>Votre compte et les paramètres de l’application.</translation>
    </message>
    <message>
        <source>Account</source>
        <translation>Compte</translation>
    </message>
    <message>
        <source>Sign out</source>
        <translation>Se déconnecter</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Paramètres</translation>
    </message>
</context>
<context>
    <name>PlaceholderPage</name>
    <message>
        <source>This page is not part of this version yet. Nothing here changes your PC.</source>
        <translation>Cette page ne fait pas encore partie de cette version. Rien ici ne modifie votre PC.</translation>
    </message>
</context>
<context>
    <name>RestorePoint</name>
    <message>
        <source>System Restore WMI unavailable: %1</source>
        <translation>WMI de la restauration du système indisponible : %1</translation>
    </message>
    <message>
        <source>System Restore WMI service is null</source>
        <translation>Le service WMI de la restauration du système est nul</translation>
    </message>
    <message>
        <source>System Protection appears disabled (GetObject 0x%1)</source>
        <translation>La protection du système semble désactivée (GetObject 0x%1)</translation>
    </message>
    <message>
        <source>CreateRestorePoint method unavailable</source>
        <translation>Méthode CreateRestorePoint indisponible</translation>
    </message>
    <message>
        <source>ExecMethod failed (0x%1)</source>
        <translation>Échec d’ExecMethod (0x%1)</translation>
    </message>
    <message>
        <source>CreateRestorePoint returned %1</source>
        <translation>CreateRestorePoint a renvoyé %1</translation>
    </message>
    <message>
        <source>Could not start PowerShell to enable System Protection</source>
        <translation>Impossible de démarrer PowerShell pour activer la protection du système</translation>
    </message>
    <message>
        <source>Enable-ComputerRestore failed (admin required?)</source>
        <translation>Échec d’Enable-ComputerRestore (droits d’administrateur requis ?)</translation>
    </message>
    <message>
        <source>Could not read restore points: %1</source>
        <translation>Impossible de lire les points de restauration : %1</translation>
    </message>
    <message>
        <source>No shadow copies found to delete</source>
        <translation>Aucun cliché instantané à supprimer</translation>
    </message>
    <message>
        <source>Could not enumerate shadow copies: %1</source>
        <translation>Impossible d’énumérer les clichés instantanés : %1</translation>
    </message>
    <message>
        <source>Could not confidently locate the shadow copy for this restore point (closest match off by %1 s)</source>
        <translation>Impossible de trouver avec certitude le cliché instantané de ce point de restauration (le plus proche est à %1 s)</translation>
    </message>
    <message>
        <source>Restore returned %1</source>
        <translation>Restore a renvoyé %1</translation>
    </message>
</context>
<context>
    <name>SectionTweaksPage</name>
    <message>
        <source>No tweaks are defined for this section yet. Features that need a non-registry backend (power plans, services, file cleanup) are added in their own phase — nothing here is faked.</source>
        <translation>Aucun réglage n’est encore défini pour cette section. Les fonctions qui ne passent pas par le registre (modes d’alimentation, services, nettoyage de fichiers) sont ajoutées à leur propre étape : rien n’est simulé ici.</translation>
    </message>
    <message>
        <source>Reversible system tweak — apply and revert safely at any time.</source>
        <translation>Réglage système réversible : à appliquer ou annuler à tout moment, sans risque.</translation>
    </message>
    <message>
        <source>⚠ Warning</source>
        <translation>⚠ Avertissement</translation>
    </message>
    <message>
        <source>✓ No warnings</source>
        <translation>✓ Aucun avertissement</translation>
    </message>
    <message>
        <source>Premium</source>
        <translation>Premium</translation>
    </message>
    <message>
        <source>Upgrade to Pro</source>
        <translation>Passer à Pro</translation>
    </message>
    <message>
        <source>Pro</source>
        <translation>Pro</translation>
    </message>
    <message>
        <source>

Apply this tweak?</source>
        <translation>

Appliquer ce réglage ?</translation>
    </message>
    <message>
        <source>Apply</source>
        <translation>Appliquer</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>Tweak failed</source>
        <translation>Échec du réglage</translation>
    </message>
    <message>
        <source>Operation failed.</source>
        <translation>L’opération a échoué.</translation>
    </message>
    <message>
        <source>Some tweaks failed</source>
        <translation>Certains réglages ont échoué</translation>
    </message>
    <message>
        <source>Revert all</source>
        <translation>Tout annuler</translation>
    </message>
    <message>
        <source>

Apply all %1 tweaks?</source>
        <translation>

Appliquer les %1 réglages ?</translation>
    </message>
    <message>
        <source>Apply all</source>
        <translation>Tout appliquer</translation>
    </message>
</context>
<context>
    <name>Sections</name>
    <message>
        <source>Settings</source>
        <translation>Paramètres</translation>
    </message>
</context>
<context>
    <name>TweakSummary</name>
    <message>
        <source>… and %1 more</source>
        <translation>… et %1 de plus</translation>
    </message>
    <message>
        <source>Sets in the registry, and puts back on revert:</source>
        <translation>Écrit dans le registre, et remet en place à l’annulation :</translation>
    </message>
    <message>
        <source>Runs these commands:</source>
        <translation>Exécute ces commandes :</translation>
    </message>
    <message>
        <source>After restarting Explorer.</source>
        <translation>Après redémarrage de l’Explorateur.</translation>
    </message>
    <message>
        <source>After signing out.</source>
        <translation>À la prochaine session.</translation>
    </message>
    <message>
        <source>After a restart.</source>
        <translation>Après un redémarrage.</translation>
    </message>
</context>
<context>
    <name>WindowButton</name>
    <message>
        <source>Minimize</source>
        <translation>Réduire</translation>
    </message>
    <message>
        <source>Maximize</source>
        <translation>Agrandir</translation>
    </message>
    <message>
        <source>Restore</source>
        <translation>Restaurer</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Fermer</translation>
    </message>
</context>
<context>
    <name>WorkPage</name>
    <message>
        <source>Ready</source>
        <translation>Prêt</translation>
    </message>
</context>
</TS>
