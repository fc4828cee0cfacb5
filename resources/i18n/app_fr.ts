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
    <name>BufferbloatPage</name>
    <message>
        <source>Ultra-low bufferbloat</source>
        <translation>Bufferbloat ultra-faible</translation>
    </message>
    <message>
        <source>Normal mode</source>
        <translation>Mode normal</translation>
    </message>
    <message>
        <source>This will restart your active network adapter(s) and briefly drop the connection.

Apply ultra-low bufferbloat?</source>
        <translation>Vos cartes réseau actives vont redémarrer et la connexion sera brièvement coupée.

Appliquer le bufferbloat ultra-faible&#xa0;?</translation>
    </message>
    <message>
        <source>This will restart your active network adapter(s) and briefly drop the connection.

Apply normal mode?</source>
        <translation>Vos cartes réseau actives vont redémarrer et la connexion sera brièvement coupée.

Appliquer le mode normal&#xa0;?</translation>
    </message>
    <message>
        <source>Bufferbloat is the extra latency that builds up when oversized network buffers fill under load (downloads, uploads, streaming). Ultra-low mode shrinks the network adapter&apos;s buffer rings so packets drain faster — lower and more stable ping while the link is busy, at a small cost to peak throughput. Both modes are fully reversible and applied per active adapter (applying restarts the adapter and briefly drops the connection).</source>
        <translation>Le bufferbloat est la latence supplémentaire qui s’accumule quand des tampons réseau trop grands se remplissent sous la charge (téléchargements, envois, streaming). Le mode ultra-faible réduit les tampons de la carte réseau pour que les paquets s’écoulent plus vite&#xa0;: un ping plus bas et plus stable quand la liaison est occupée, au prix d’un débit maximal un peu moindre. Les deux modes sont entièrement réversibles et s’appliquent à chaque carte active (l’application redémarre la carte et coupe brièvement la connexion).</translation>
    </message>
    <message>
        <source>Gaming</source>
        <translation>Jeu</translation>
    </message>
    <message>
        <source>Significantly decreases bufferbloat, but it may also decrease network speed. Recommended for gaming.</source>
        <translation>Réduit nettement le bufferbloat, mais peut aussi réduire le débit du réseau. Recommandé pour le jeu.</translation>
    </message>
    <message>
        <source>Restores your normal speed, but may have higher bufferbloat. Recommended for downloading files or if you already have A+ bufferbloat.</source>
        <translation>Rétablit votre débit normal, mais avec un bufferbloat parfois plus élevé. Recommandé pour télécharger des fichiers ou si votre bufferbloat est déjà A+.</translation>
    </message>
    <message>
        <source>Targets: %1</source>
        <translation>Réglages visés&#xa0;: %1</translation>
    </message>
    <message>
        <source>Active</source>
        <translation>Actif</translation>
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
        <source>Applying ultra-low bufferbloat…</source>
        <translation>Application du bufferbloat ultra-faible…</translation>
    </message>
    <message>
        <source>Restoring normal mode…</source>
        <translation>Rétablissement du mode normal…</translation>
    </message>
    <message>
        <source>Bufferbloat</source>
        <translation>Bufferbloat</translation>
    </message>
    <message>
        <source>Not every driver allows it. Check in Windows that the adapter is switched on, and that Torvelane runs as administrator, then try again.</source>
        <translation>Tous les pilotes ne le permettent pas. Vérifiez dans Windows que la carte est activée, et que Torvelane s’exécute en tant qu’administrateur, puis réessayez.</translation>
    </message>
</context>
<context>
    <name>GamingModePage</name>
    <message>
        <source>Gaming Mode</source>
        <translation>Mode Gaming</translation>
    </message>
    <message>
        <source>One switch puts the whole machine into a gaming posture: MMCSS top priority, GPU hardware scheduling, Game Mode on, GameDVR off, 1:1 raw mouse, network throttling freed and best-performance power. Every setting is captured first — switching off restores your exact previous state.</source>
        <translation>Un seul interrupteur met toute la machine en posture de jeu&#xa0;: priorité MMCSS maximale, planification matérielle du GPU, Mode Jeu activé, GameDVR désactivé, souris brute 1:1, limitation du réseau levée et alimentation aux meilleures performances. Chaque réglage est d’abord enregistré&#xa0;: la désactivation rétablit exactement votre état précédent.</translation>
    </message>
    <message>
        <source>Live performance</source>
        <translation>Performances en direct</translation>
    </message>
    <message>
        <source>CPU</source>
        <translation>CPU</translation>
    </message>
    <message>
        <source>GPU</source>
        <translation>GPU</translation>
    </message>
    <message>
        <source>RAM</source>
        <translation>RAM</translation>
    </message>
    <message>
        <source>No game detected.</source>
        <translation>Aucun jeu détecté.</translation>
    </message>
    <message>
        <source>Activating…</source>
        <translation>Activation…</translation>
    </message>
    <message>
        <source>Restoring…</source>
        <translation>Rétablissement…</translation>
    </message>
    <message>
        <source>Active</source>
        <translation>Actif</translation>
    </message>
    <message>
        <source>Inactive</source>
        <translation>Inactif</translation>
    </message>
    <message>
        <source>Game detected: %1</source>
        <translation>Jeu détecté&#xa0;: %1</translation>
    </message>
    <message>
        <source>Nothing was changed. Check that the disk isn&apos;t full and that no other program holds Torvelane&apos;s files open, then try again.</source>
        <translation>Rien n’a été modifié. Vérifiez que le disque n’est pas plein et qu’aucun autre programme ne garde ouverts les fichiers de Torvelane, puis réessayez.</translation>
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
    <name>HomePage</name>
    <message>
        <source>CPU</source>
        <translation>CPU</translation>
    </message>
    <message>
        <source>GPU</source>
        <translation>GPU</translation>
    </message>
    <message>
        <source>RAM</source>
        <translation>RAM</translation>
    </message>
    <message>
        <source>Game</source>
        <translation>Jeu</translation>
    </message>
    <message>
        <source>System activity</source>
        <translation>Activité du système</translation>
    </message>
    <message>
        <source>Quickstart</source>
        <translation>Démarrage rapide</translation>
    </message>
    <message>
        <source>Clean my disk</source>
        <translation>Nettoyer mon disque</translation>
    </message>
    <message>
        <source>Gaming Mode</source>
        <translation>Mode Gaming</translation>
    </message>
    <message>
        <source>Optimize my network</source>
        <translation>Optimiser mon réseau</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Aucun</translation>
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
    <name>ScanPage</name>
    <message>
        <source>Rescan</source>
        <translation>Analyser à nouveau</translation>
    </message>
    <message>
        <source>Scanning hardware…</source>
        <translation>Analyse du matériel…</translation>
    </message>
    <message>
        <source>Updated · %1</source>
        <translation>Mis à jour · %1</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Copier</translation>
    </message>
    <message>
        <source>Copy all</source>
        <translation>Tout copier</translation>
    </message>
    <message>
        <source>Windows gave no answer. Scan once more in a moment; if that doesn&apos;t help, restart Windows.</source>
        <translation>Windows n’a pas répondu. Relancez l’analyse dans un moment&#xa0;; si cela ne suffit pas, redémarrez Windows.</translation>
    </message>
</context>
<context>
    <name>SectionTweaksPage</name>
    <message>
        <source>%1 of %2 values were changed since, by Windows or another program.</source>
        <translation>%1 valeur(s) sur %2 modifiée(s) depuis, par Windows ou un autre programme.</translation>
    </message>
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
    <name>SpeedGauge</name>
    <message>
        <source>Ping</source>
        <translation>Ping</translation>
    </message>
    <message>
        <source>Download</source>
        <translation>Téléchargement</translation>
    </message>
    <message>
        <source>Upload</source>
        <translation>Envoi</translation>
    </message>
    <message>
        <source>Complete</source>
        <translation>Terminé</translation>
    </message>
    <message>
        <source>Ready</source>
        <translation>Prêt</translation>
    </message>
</context>
<context>
    <name>StartGates</name>
    <message>
        <source>Connection required</source>
        <translation>Connexion requise</translation>
    </message>
    <message>
        <source>An internet connection is required to use Torvelane.</source>
        <translation>Une connexion internet est requise pour utiliser Torvelane.</translation>
    </message>
</context>
<context>
    <name>StatTile</name>
    <message>
        <source>%1%</source>
        <translation>%1&#x202f;%</translation>
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
<context>
    <name>AppOptimizer</name>
    <message>
        <source>Please choose an .exe file.</source>
        <translation>Veuillez choisir un fichier .exe.</translation>
    </message>
    <message>
        <source>%1 is already optimized.</source>
        <translation>%1 est déjà optimisé.</translation>
    </message>
    <message>
        <source>Could not access Image File Execution Options.</source>
        <translation>Impossible d’accéder à Image File Execution Options.</translation>
    </message>
    <message>
        <source>Failed to write the priority setting.</source>
        <translation>Échec de l’écriture du réglage de priorité.</translation>
    </message>
    <message>
        <source>%1 optimized (High CPU priority).</source>
        <translation>%1 optimisé (priorité processeur haute).</translation>
    </message>
    <message>
        <source>Nothing to restore.</source>
        <translation>Rien à rétablir.</translation>
    </message>
    <message>
        <source>%1 restored to default.</source>
        <translation>%1 est revenu à son état d’origine.</translation>
    </message>
    <message>
        <source>Failed to restore %1.</source>
        <translation>Impossible de rétablir %1.</translation>
    </message>
</context>
<context>
    <name>BufferbloatOptimizer</name>
    <message>
        <source>no adjustable buffers</source>
        <translation>aucun tampon réglable</translation>
    </message>
    <message>
        <source>%1 — a reboot will finalize the changes.</source>
        <translation>%1 — un redémarrage finalisera les changements.</translation>
    </message>
    <message>
        <source>Ultra-low bufferbloat applied to %1 adapter(s).</source>
        <translation>Bufferbloat ultra-faible appliqué à %1 carte(s) réseau.</translation>
    </message>
    <message>
        <source>No active adapter exposes adjustable buffer sizes</source>
        <translation>Aucune carte réseau active n’expose de taille de tampon réglable</translation>
    </message>
    <message>
        <source>Normal mode restored on %1 adapter(s).</source>
        <translation>Mode normal rétabli sur %1 carte(s) réseau.</translation>
    </message>
    <message>
        <source>Already on normal mode.</source>
        <translation>Déjà en mode normal.</translation>
    </message>
</context>
<context>
    <name>DebloatCleaner</name>
    <message>
        <source>Temporary files</source>
        <translation>Fichiers temporaires</translation>
    </message>
    <message>
        <source>User and system TEMP folders.</source>
        <translation>Dossiers TEMP de l’utilisateur et du système.</translation>
    </message>
    <message>
        <source>Prefetch</source>
        <translation>Prefetch</translation>
    </message>
    <message>
        <source>Windows app launch prefetch data (rebuilt automatically).</source>
        <translation>Données de préchargement des applications Windows (recréées automatiquement).</translation>
    </message>
    <message>
        <source>Recycle Bin</source>
        <translation>Corbeille</translation>
    </message>
    <message>
        <source>Empties the Recycle Bin on all drives.</source>
        <translation>Vide la Corbeille de tous les lecteurs.</translation>
    </message>
    <message>
        <source>Chrome cache</source>
        <translation>Cache de Chrome</translation>
    </message>
    <message>
        <source>Google Chrome disk and code cache.</source>
        <translation>Cache disque et cache de code de Google Chrome.</translation>
    </message>
    <message>
        <source>Game / shader cache</source>
        <translation>Cache de jeux et de shaders</translation>
    </message>
    <message>
        <source>DirectX, NVIDIA and AMD shader caches (rebuilt on demand).</source>
        <translation>Caches de shaders DirectX, NVIDIA et AMD (recréés à la demande).</translation>
    </message>
    <message>
        <source>Logs &amp; crash reports</source>
        <translation>Journaux et rapports de plantage</translation>
    </message>
    <message>
        <source>Crash dumps and minidumps.</source>
        <translation>Vidages sur incident et minividages.</translation>
    </message>
    <message>
        <source>Thumbnail cache</source>
        <translation>Cache des miniatures</translation>
    </message>
    <message>
        <source>Explorer thumbnail database (rebuilt automatically).</source>
        <translation>Base des miniatures de l’Explorateur (recréée automatiquement).</translation>
    </message>
    <message>
        <source>Windows Update cache</source>
        <translation>Cache de Windows Update</translation>
    </message>
    <message>
        <source>Downloaded update installers (already-installed updates).</source>
        <translation>Programmes d’installation téléchargés (mises à jour déjà installées).</translation>
    </message>
</context>
<context>
    <name>AppOptimizePage</name>
    <message>
        <source>Pick any program&apos;s .exe to raise its CPU scheduling priority (High) so it gets more CPU time under load — useful for games and latency-sensitive apps. Fully reversible per app.</source>
        <translation>Choisissez le fichier .exe d’un programme pour lui donner une priorité processeur haute, afin qu’il obtienne plus de temps processeur sous charge — utile pour les jeux et les applications sensibles à la latence. Entièrement réversible, application par application.</translation>
    </message>
    <message>
        <source>Optimize an app… (choose .exe)</source>
        <translation>Optimiser une application… (choisir un .exe)</translation>
    </message>
    <message>
        <source>Choose a program to optimize</source>
        <translation>Choisir un programme à optimiser</translation>
    </message>
    <message>
        <source>Programs (*.exe)</source>
        <translation>Programmes (*.exe)</translation>
    </message>
    <message>
        <source>Try again. If that fails too, start Torvelane as administrator.</source>
        <translation>Réessayez. En cas de nouvel échec, lancez Torvelane en tant qu’administrateur.</translation>
    </message>
    <message>
        <source>%1 keeps its high priority. To take it away, start the Registry Editor as administrator and delete CpuPriorityClass below Image File Execution Options\%1\PerfOptions.</source>
        <translation>%1 garde sa priorité élevée. Pour la lui retirer, lancez l’Éditeur du Registre en tant qu’administrateur et supprimez CpuPriorityClass sous Image File Execution Options\%1\PerfOptions.</translation>
    </message>
    <message>
        <source>No apps optimized yet.</source>
        <translation>Aucune application optimisée pour le moment.</translation>
    </message>
    <message>
        <source>Restore</source>
        <translation>Restaurer</translation>
    </message>
</context>
<context>
    <name>DebloatPage</name>
    <message>
        <source>GB</source>
        <translation>Go</translation>
    </message>
    <message>
        <source>MB</source>
        <translation>Mo</translation>
    </message>
    <message>
        <source>KB</source>
        <translation>Ko</translation>
    </message>
    <message>
        <source>B</source>
        <translation>o</translation>
    </message>
    <message>
        <source>Frees disk space by clearing temp files and caches. Cleanup is permanent (deleted files are not recoverable) — only safe temp/cache locations and the Recycle Bin are targeted, and files in use are skipped.</source>
        <translation>Libère de l’espace disque en vidant les fichiers temporaires et les caches. Le nettoyage est définitif (les fichiers supprimés ne sont pas récupérables) — seuls des emplacements temporaires ou de cache sûrs et la Corbeille sont visés, et les fichiers utilisés sont ignorés.</translation>
    </message>
    <message>
        <source>Clean all</source>
        <translation>Tout nettoyer</translation>
    </message>
    <message>
        <source>Clean</source>
        <translation>Nettoyer</translation>
    </message>
    <message>
        <source>Scanning…</source>
        <translation>Analyse en cours…</translation>
    </message>
    <message>
        <source>Reclaimable: %1</source>
        <translation>Récupérable : %1</translation>
    </message>
    <message>
        <source>Nothing could be removed here: %1. Close the programs that use these files, and clean again.</source>
        <translation>Rien n’a pu être supprimé ici : %1. Fermez les programmes qui utilisent ces fichiers et nettoyez de nouveau.</translation>
    </message>
    <message>
        <source>Cleaning…</source>
        <translation>Nettoyage en cours…</translation>
    </message>
    <message>
        <source>Freed %1</source>
        <translation>%1 libérés</translation>
    </message>
    <message>
        <source>Cleaning all…</source>
        <translation>Nettoyage complet en cours…</translation>
    </message>
    <message numerus="yes">
        <source>Freed %1 (%2 items)</source>
        <translation>
            <numerusform>%1 libérés (%2 élément)</numerusform>
            <numerusform>%1 libérés (%2 éléments)</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>NetworkPage</name>
    <message>
        <source>Ethernet</source>
        <translation>Ethernet</translation>
    </message>
    <message>
        <source>Wi-Fi</source>
        <translation>Wi-Fi</translation>
    </message>
    <message>
        <source>Network</source>
        <translation>Réseau</translation>
    </message>
    <message>
        <source>Network optimization</source>
        <translation>Optimisation du réseau</translation>
    </message>
    <message>
        <source>Disables latency/power features (EEE, Interrupt Moderation, offloads, Wake-on, …) on every network adapter at once. Applying restarts the adapters and briefly drops the connection. Fully reversible.</source>
        <translation>Désactive d’un coup, sur toutes les cartes réseau, les fonctions qui ajoutent de la latence ou économisent l’énergie (EEE, modération des interruptions, déchargements, réveil par le réseau…). L’application redémarre les cartes et coupe brièvement la connexion. Entièrement réversible.</translation>
    </message>
    <message>
        <source>Detecting adapters…</source>
        <translation>Détection des cartes réseau…</translation>
    </message>
    <message>
        <source>All network adapters</source>
        <translation>Toutes les cartes réseau</translation>
    </message>
    <message>
        <source>Restore</source>
        <translation>Restaurer</translation>
    </message>
    <message>
        <source>Optimize network</source>
        <translation>Optimiser le réseau</translation>
    </message>
    <message>
        <source>Restore network</source>
        <translation>Restaurer le réseau</translation>
    </message>
    <message>
        <source>Optimizing will restart every network adapter and briefly disconnect you.

Continue?</source>
        <translation>L’optimisation va redémarrer toutes les cartes réseau et vous déconnecter brièvement.

Continuer ?</translation>
    </message>
    <message>
        <source>Restoring will restart every network adapter and briefly disconnect you.

Continue?</source>
        <translation>La restauration va redémarrer toutes les cartes réseau et vous déconnecter brièvement.

Continuer ?</translation>
    </message>
    <message>
        <source>Continue</source>
        <translation>Continuer</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>Optimizing the network … adapters will reconnect shortly.</source>
        <translation>Optimisation du réseau… les cartes se reconnecteront sous peu.</translation>
    </message>
    <message>
        <source>Restoring the network … adapters will reconnect shortly.</source>
        <translation>Restauration du réseau… les cartes se reconnecteront sous peu.</translation>
    </message>
    <message>
        <source>Optimizing network…</source>
        <translation>Optimisation du réseau…</translation>
    </message>
    <message>
        <source>Restoring network…</source>
        <translation>Restauration du réseau…</translation>
    </message>
    <message>
        <source>Check in Windows&apos; network settings that an adapter is switched on, and try again.</source>
        <translation>Vérifiez dans les paramètres réseau de Windows qu’une carte est activée, puis réessayez.</translation>
    </message>
    <message>
        <source>Optimized</source>
        <translation>Optimisées</translation>
    </message>
    <message numerus="yes">
        <source>%1 of %2 optimized</source>
        <translation>
            <numerusform>%1 sur %2 optimisée</numerusform>
            <numerusform>%1 sur %2 optimisées</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n adapter(s) active</source>
        <translation>
            <numerusform>%n carte active</numerusform>
            <numerusform>%n cartes actives</numerusform>
        </translation>
    </message>
    <message>
        <source>No physical network adapters detected.</source>
        <translation>Aucune carte réseau physique détectée.</translation>
    </message>
</context>
<context>
    <name>PowerPlanPage</name>
    <message>
        <source>Try again. If that fails too, choose a plan in Windows&apos; power options first. On a company&apos;s PC a policy may keep the plan as it is.</source>
        <translation>Réessayez. En cas de nouvel échec, choisissez d’abord un mode dans les options d’alimentation de Windows. Sur un PC d’entreprise, une stratégie peut imposer le mode.</translation>
    </message>
    <message>
        <source>Apply best performance plan</source>
        <translation>Appliquer le meilleur mode de performances</translation>
    </message>
    <message>
        <source>Applying best performance plan…</source>
        <translation>Application du meilleur mode de performances…</translation>
    </message>
    <message>
        <source>Activates Ultimate/High Performance so the CPU is not throttled for power saving. Switching plans is fully reversible — just pick another below.</source>
        <translation>Active le mode Performances ultimes ou élevées pour que le processeur ne soit pas bridé par les économies d’énergie. Le changement de mode est entièrement réversible — il suffit d’en choisir un autre ci-dessous.</translation>
    </message>
    <message>
        <source>Restoring CPU defaults…</source>
        <translation>Rétablissement des réglages du processeur…</translation>
    </message>
    <message>
        <source>Applying max CPU performance…</source>
        <translation>Application des performances maximales du processeur…</translation>
    </message>
    <message>
        <source>Restoring disk power defaults…</source>
        <translation>Rétablissement des réglages du disque…</translation>
    </message>
    <message>
        <source>Applying max disk performance…</source>
        <translation>Application des performances maximales du disque…</translation>
    </message>
    <message>
        <source>Restore CPU defaults</source>
        <translation>Rétablir les réglages du processeur</translation>
    </message>
    <message>
        <source>Max CPU performance (no parking / C-states)</source>
        <translation>Performances maximales du processeur (sans parking ni états C)</translation>
    </message>
    <message>
        <source>Restore disk power defaults</source>
        <translation>Rétablir les réglages d’alimentation du disque</translation>
    </message>
    <message>
        <source>Max disk performance (no parking / spindown)</source>
        <translation>Performances maximales du disque (sans parking ni arrêt)</translation>
    </message>
</context>
<context>
    <name>ServicesPage</name>
    <message>
        <source>Restore all services to their original start types?</source>
        <translation>Rétablir le type de démarrage d’origine de tous les services ?</translation>
    </message>
    <message>
        <source>Apply the Basic service profile?</source>
        <translation>Appliquer le profil de services Basique ?</translation>
    </message>
    <message>
        <source>The Advanced profile breaks Windows Update, the Store, the Security menu, Bluetooth, Xbox, SMB file sharing and some UWP apps until you restore defaults.

Apply it?</source>
        <translation>Le profil Avancé met hors service Windows Update, le Store, le menu Sécurité, le Bluetooth, Xbox, le partage de fichiers SMB et certaines applications UWP jusqu’au rétablissement des services d’origine.

L’appliquer ?</translation>
    </message>
    <message>
        <source>Service profiles change background service start types to free CPU/RAM. Original start types are captured before any change, so &quot;Restore defaults&quot; is exact. Changes finalize after a reboot.</source>
        <translation>Les profils modifient le type de démarrage des services d’arrière-plan pour libérer du processeur et de la mémoire. Les types d’origine sont enregistrés avant tout changement : leur rétablissement est donc exact. Les changements prennent effet après un redémarrage.</translation>
    </message>
    <message>
        <source>Basic</source>
        <translation>Basique</translation>
    </message>
    <message>
        <source>Safe</source>
        <translation>Sûr</translation>
    </message>
    <message>
        <source>Disables telemetry, push transport, sensors/location, Edge auto-update and media sharing to cut background CPU/RAM with minimal impact. Keeps Windows Update, Defender, networking, themes and the Store functional.</source>
        <translation>Désactive la télémétrie, les notifications push, les capteurs et la localisation, la mise à jour automatique d’Edge et le partage multimédia, pour alléger le processeur et la mémoire avec un impact minimal. Windows Update, Defender, le réseau, les thèmes et le Store continuent de fonctionner.</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Avancé</translation>
    </message>
    <message>
        <source>Aggressive profile for maximum latency reduction. BREAKS Windows Update, Microsoft Store, the Windows Security menu, Bluetooth, Xbox, file sharing (SMB) and some UWP apps.</source>
        <translation>Profil agressif pour réduire la latence au maximum. MET HORS SERVICE Windows Update, le Microsoft Store, le menu Sécurité Windows, le Bluetooth, Xbox, le partage de fichiers (SMB) et certaines applications UWP.</translation>
    </message>
    <message>
        <source>Restore default services</source>
        <translation>Rétablir les services d’origine</translation>
    </message>
    <message>
        <source>Services</source>
        <translation>Services</translation>
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
        <source>Applying…</source>
        <translation>Application en cours…</translation>
    </message>
    <message>
        <source>No service was changed. Start Torvelane as administrator and try again.</source>
        <translation>Aucun service n’a été modifié. Lancez Torvelane en tant qu’administrateur et réessayez.</translation>
    </message>
    <message>
        <source>Active</source>
        <translation>Actif</translation>
    </message>
</context>
<context>
    <name>torvelane::RestorePointsPage</name>
    <message>
        <source>Restore points</source>
        <translation>Points de restauration</translation>
    </message>
    <message>
        <source>sequence #%1</source>
        <translation>séquence n° %1</translation>
    </message>
    <message>
        <source>Restore points use the native Windows System Restore. They capture system settings and the registry — not your personal files — and let you roll the system back if an optimization causes trouble. Windows itself stores them; Torvelane keeps no copy.</source>
        <translation>Les points de restauration s’appuient sur la restauration du système de Windows. Ils enregistrent les paramètres du système et le registre — pas vos fichiers personnels — et permettent de revenir en arrière si une optimisation pose problème. C’est Windows qui les conserve ; Torvelane n’en garde aucune copie.</translation>
    </message>
    <message>
        <source>Torvelane is not running as administrator. Creating or restoring restore points requires administrator rights — relaunch the app elevated to use this feature.</source>
        <translation>Torvelane n’est pas exécuté en tant qu’administrateur. La création et la restauration de points exigent ces droits — relancez l’application en tant qu’administrateur pour utiliser cette fonction.</translation>
    </message>
    <message>
        <source>System Protection appears to be OFF for this PC. Restore points cannot be created until it is enabled.</source>
        <translation>La protection du système semble DÉSACTIVÉE sur ce PC. Aucun point de restauration ne peut être créé tant qu’elle n’est pas activée.</translation>
    </message>
    <message>
        <source>Enable protection</source>
        <translation>Activer la protection</translation>
    </message>
    <message>
        <source>Create a restore point</source>
        <translation>Créer un point de restauration</translation>
    </message>
    <message>
        <source>It will be saved automatically with the current date and time as its name.</source>
        <translation>Il sera enregistré automatiquement sous la date et l’heure actuelles.</translation>
    </message>
    <message>
        <source>Create restore point</source>
        <translation>Créer le point de restauration</translation>
    </message>
    <message>
        <source>Existing restore points</source>
        <translation>Points de restauration existants</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>Actualiser</translation>
    </message>
    <message>
        <source>Loading restore points…</source>
        <translation>Chargement des points de restauration…</translation>
    </message>
    <message>
        <source>Could not read restore points: %1</source>
        <translation>Impossible de lire les points de restauration : %1</translation>
    </message>
    <message>
        <source>Press Refresh to try again.</source>
        <translation>Cliquez sur Actualiser pour réessayer.</translation>
    </message>
    <message>
        <source>No restore points yet. Create one above before applying optimizations.</source>
        <translation>Aucun point de restauration pour le moment. Créez-en un ci-dessus avant d’appliquer des optimisations.</translation>
    </message>
    <message>
        <source>(unnamed restore point)</source>
        <translation>(point de restauration sans nom)</translation>
    </message>
    <message>
        <source>unknown date</source>
        <translation>date inconnue</translation>
    </message>
    <message>
        <source>%1 · sequence #%2</source>
        <translation>%1 · séquence n° %2</translation>
    </message>
    <message>
        <source>Restore</source>
        <translation>Restaurer</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Supprimer</translation>
    </message>
    <message>
        <source>Creating restore point…</source>
        <translation>Création du point de restauration…</translation>
    </message>
    <message>
        <source>Restore point created.</source>
        <translation>Point de restauration créé.</translation>
    </message>
    <message>
        <source>Could not create restore point.</source>
        <translation>Impossible de créer le point de restauration.</translation>
    </message>
    <message>
        <source>Could not create the restore point:

%1</source>
        <translation>Impossible de créer le point de restauration :

%1</translation>
    </message>
    <message>
        <source>Check that System Protection is on for drive C: and that the drive has space left, and try again.</source>
        <translation>Vérifiez que la protection du système est activée pour le lecteur C: et qu’il y reste de la place, puis réessayez.</translation>
    </message>
    <message>
        <source>Delete the restore point “%1”?

This permanently removes it from Windows. This cannot be undone.</source>
        <translation>Supprimer le point de restauration « %1 » ?

Il sera définitivement retiré de Windows. Cette action est irréversible.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>Deleting restore point…</source>
        <translation>Suppression du point de restauration…</translation>
    </message>
    <message>
        <source>Restore point deleted.</source>
        <translation>Point de restauration supprimé.</translation>
    </message>
    <message>
        <source>Could not delete the restore point.</source>
        <translation>Impossible de supprimer le point de restauration.</translation>
    </message>
    <message>
        <source>Could not delete the restore point:

%1</source>
        <translation>Impossible de supprimer le point de restauration :

%1</translation>
    </message>
    <message>
        <source>Press Refresh to see whether it still exists. Windows&apos; own Disk Cleanup can remove all but the newest one.</source>
        <translation>Cliquez sur Actualiser pour voir s’il existe encore. Le Nettoyage de disque de Windows peut supprimer tous les points sauf le plus récent.</translation>
    </message>
    <message>
        <source>Restore Windows to “%1”?

Your PC will RESTART to complete the restore. Open files should be saved first. System settings and the registry will be rolled back to this point; your personal files are not affected.</source>
        <translation>Ramener Windows à « %1 » ?

Votre PC va REDÉMARRER pour terminer la restauration. Enregistrez d’abord les fichiers ouverts. Les paramètres du système et le registre reviendront à ce point ; vos fichiers personnels ne sont pas touchés.</translation>
    </message>
    <message>
        <source>Restore &amp;&amp; restart</source>
        <translation>Restaurer &amp;&amp; redémarrer</translation>
    </message>
    <message>
        <source>Initiating restore…</source>
        <translation>Lancement de la restauration…</translation>
    </message>
    <message>
        <source>Restore initiated — your PC will restart shortly.</source>
        <translation>Restauration lancée — votre PC va bientôt redémarrer.</translation>
    </message>
    <message>
        <source>Could not initiate the restore.</source>
        <translation>Impossible de lancer la restauration.</translation>
    </message>
    <message>
        <source>Could not start the restore:

%1</source>
        <translation>Impossible de démarrer la restauration :

%1</translation>
    </message>
    <message>
        <source>Nothing was changed. Windows&apos; own System Restore (rstrui.exe) can roll back to the same points.</source>
        <translation>Rien n’a été modifié. La restauration du système de Windows (rstrui.exe) peut revenir aux mêmes points.</translation>
    </message>
    <message>
        <source>Enabling System Protection…</source>
        <translation>Activation de la protection du système…</translation>
    </message>
    <message>
        <source>System Protection enabled.</source>
        <translation>Protection du système activée.</translation>
    </message>
    <message>
        <source>Could not enable System Protection.</source>
        <translation>Impossible d’activer la protection du système.</translation>
    </message>
    <message>
        <source>Could not enable System Protection:

%1</source>
        <translation>Impossible d’activer la protection du système :

%1</translation>
    </message>
    <message>
        <source>Windows&apos; own settings have the same switch: search for “Create a restore point”.</source>
        <translation>Les paramètres de Windows ont le même réglage : recherchez « Créer un point de restauration ».</translation>
    </message>
</context>
<context>
    <name>GamingMode</name>
    <message>
        <source>Gaming Mode is already active.</source>
        <translation>Le Mode Gaming est déjà actif.</translation>
    </message>
    <message>
        <source>Could not save the Gaming Mode state file.</source>
        <translation>Impossible d’enregistrer le fichier d’état du Mode Gaming.</translation>
    </message>
    <message>
        <source>Gaming Mode activated — %1 system settings tuned.</source>
        <translation>Mode Gaming activé — %1 réglages du système ajustés.</translation>
    </message>
    <message>
        <source> %1 setting(s) need administrator and were skipped.</source>
        <translation> %1 réglage(s) ignoré(s) : il faut être administrateur.</translation>
    </message>
    <message>
        <source>Gaming Mode is not active.</source>
        <translation>Le Mode Gaming n’est pas actif.</translation>
    </message>
    <message>
        <source>Gaming Mode deactivated — %1 setting(s) restored to defaults.</source>
        <translation>Mode Gaming désactivé — %1 réglage(s) rétabli(s).</translation>
    </message>
</context>
<context>
    <name>HardwareScanner</name>
    <message>
        <source>Device name</source>
        <translation>Nom de l’appareil</translation>
    </message>
    <message>
        <source>Manufacturer</source>
        <translation>Fabricant</translation>
    </message>
    <message>
        <source>Model</source>
        <translation>Modèle</translation>
    </message>
    <message>
        <source>Installed RAM</source>
        <translation>Mémoire installée</translation>
    </message>
    <message>
        <source>Operating system</source>
        <translation>Système d’exploitation</translation>
    </message>
    <message>
        <source>OS version</source>
        <translation>Version du système</translation>
    </message>
    <message>
        <source>%1 (build %2)</source>
        <translation>%1 (build %2)</translation>
    </message>
    <message>
        <source>Architecture</source>
        <translation>Architecture</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message>
        <source>Serial number</source>
        <translation>Numéro de série</translation>
    </message>
    <message>
        <source>BIOS vendor</source>
        <translation>Éditeur du BIOS</translation>
    </message>
    <message>
        <source>BIOS version</source>
        <translation>Version du BIOS</translation>
    </message>
    <message>
        <source>BIOS date</source>
        <translation>Date du BIOS</translation>
    </message>
    <message>
        <source>Cores / Threads</source>
        <translation>Cœurs / threads</translation>
    </message>
    <message>
        <source>%1 cores / %2 threads</source>
        <translation>%1 cœurs / %2 threads</translation>
    </message>
    <message>
        <source>Base clock</source>
        <translation>Fréquence de base</translation>
    </message>
    <message>
        <source>L2 cache</source>
        <translation>Cache L2</translation>
    </message>
    <message>
        <source>L3 cache</source>
        <translation>Cache L3</translation>
    </message>
    <message>
        <source>Socket</source>
        <translation>Socket</translation>
    </message>
    <message>
        <source>No processor reported by WMI.</source>
        <translation>WMI ne signale aucun processeur.</translation>
    </message>
    <message>
        <source>Slot</source>
        <translation>Emplacement</translation>
    </message>
    <message>
        <source>Capacity</source>
        <translation>Capacité</translation>
    </message>
    <message>
        <source>Type / Speed</source>
        <translation>Type / vitesse</translation>
    </message>
    <message>
        <source>Part number</source>
        <translation>Référence</translation>
    </message>
    <message>
        <source>No memory modules reported by WMI.</source>
        <translation>WMI ne signale aucun module de mémoire.</translation>
    </message>
    <message>
        <source>%1 module(s), %2 total</source>
        <translation>%1 module(s), %2 au total</translation>
    </message>
    <message>
        <source>Thermal zone (ACPI)</source>
        <translation>Zone thermique (ACPI)</translation>
    </message>
    <message>
        <source>Thermal zone %1</source>
        <translation>Zone thermique %1</translation>
    </message>
    <message>
        <source>Present (RPM not reported)</source>
        <translation>Présent (vitesse non signalée)</translation>
    </message>
    <message>
        <source>Fan %1</source>
        <translation>Ventilateur %1</translation>
    </message>
    <message>
        <source>No ACPI thermal-zone temperature is exposed by WMI on this system.</source>
        <translation>WMI n’expose aucune température de zone thermique ACPI sur ce système.</translation>
    </message>
    <message>
        <source>Per-core CPU/GPU temperatures and fan RPM are not provided by standard Windows APIs; full sensor coverage requires a dedicated driver (e.g. LibreHardwareMonitor) — planned as a follow-up.</source>
        <translation>Les températures par cœur du processeur et de la carte graphique et la vitesse des ventilateurs ne sont pas fournies par les API standard de Windows ; une couverture complète des capteurs exige un pilote dédié (p. ex. LibreHardwareMonitor) — prévu dans une prochaine version.</translation>
    </message>
    <message>
        <source>Sensors</source>
        <translation>Capteurs</translation>
    </message>
    <message>
        <source>Not available via standard WMI</source>
        <translation>Non disponible via WMI standard</translation>
    </message>
    <message>
        <source>Hardware query failed: %1</source>
        <translation>Échec de l’interrogation du matériel : %1</translation>
    </message>
    <message>
        <source>TB</source>
        <translation>To</translation>
    </message>
    <message>
        <source>GB</source>
        <translation>Go</translation>
    </message>
    <message>
        <source>MB</source>
        <translation>Mo</translation>
    </message>
    <message>
        <source>%1 (shared)</source>
        <translation>%1 (partagés)</translation>
    </message>
    <message>
        <source>Resolution</source>
        <translation>Résolution</translation>
    </message>
    <message>
        <source>Driver version</source>
        <translation>Version du pilote</translation>
    </message>
    <message>
        <source>Driver date</source>
        <translation>Date du pilote</translation>
    </message>
    <message>
        <source>Vendor</source>
        <translation>Marque</translation>
    </message>
    <message>
        <source>Memory</source>
        <translation>Mémoire</translation>
    </message>
    <message>
        <source>No display adapter detected.</source>
        <translation>Aucune carte graphique détectée.</translation>
    </message>
    <message>
        <source>Healthy</source>
        <translation>Sain</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>Avertissement</translation>
    </message>
    <message>
        <source>Unhealthy</source>
        <translation>Défaillant</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Type</translation>
    </message>
    <message>
        <source>Partitions</source>
        <translation>Partitions</translation>
    </message>
    <message>
        <source>Health</source>
        <translation>État de santé</translation>
    </message>
    <message>
        <source>No disk drive reported by WMI.</source>
        <translation>WMI ne signale aucun lecteur de disque.</translation>
    </message>
    <message>
        <source>System</source>
        <translation>Système</translation>
    </message>
    <message>
        <source>Motherboard</source>
        <translation>Carte mère</translation>
    </message>
    <message>
        <source>Processor</source>
        <translation>Processeur</translation>
    </message>
    <message>
        <source>Graphics</source>
        <translation>Carte graphique</translation>
    </message>
    <message>
        <source>Storage</source>
        <translation>Stockage</translation>
    </message>
</context>
<context>
    <name>NetAdapters</name>
    <message>
        <source>Missing device instance id</source>
        <translation>L’identifiant d’instance du périphérique manque</translation>
    </message>
    <message>
        <source>SetupDiGetClassDevs failed</source>
        <translation>Échec de SetupDiGetClassDevs</translation>
    </message>
    <message>
        <source>Could not restart adapter (changes apply after a reboot)</source>
        <translation>Impossible de redémarrer la carte réseau (les changements s’appliqueront au prochain démarrage)</translation>
    </message>
</context>
<context>
    <name>NetworkOptimizer</name>
    <message>
        <source>Already optimized.</source>
        <translation>Déjà optimisée.</translation>
    </message>
    <message>
        <source>This adapter exposes none of the optimizable settings.</source>
        <translation>Cette carte n’expose aucun des réglages optimisables.</translation>
    </message>
    <message>
        <source>Applied %1 optimization(s).</source>
        <translation>%1 optimisation(s) appliquée(s).</translation>
    </message>
    <message>
        <source>Applied. %1 — a reboot will finalize the changes.</source>
        <translation>Appliqué. %1 — un redémarrage finalisera les changements.</translation>
    </message>
    <message>
        <source>No eligible network adapter to optimize.</source>
        <translation>Aucune carte réseau à optimiser.</translation>
    </message>
    <message>
        <source>Optimized %1 adapter(s).</source>
        <translation>%1 carte(s) réseau optimisée(s).</translation>
    </message>
    <message>
        <source>Restored %1 setting(s).</source>
        <translation>%1 réglage(s) rétabli(s).</translation>
    </message>
    <message>
        <source>Restored. %1 — a reboot will finalize the changes.</source>
        <translation>Rétabli. %1 — un redémarrage finalisera les changements.</translation>
    </message>
    <message>
        <source>Nothing to restore.</source>
        <translation>Rien à rétablir.</translation>
    </message>
    <message>
        <source>Restored %1 adapter(s).</source>
        <translation>%1 carte(s) réseau rétablie(s).</translation>
    </message>
</context>
<context>
    <name>HeldValues</name>
    <message>
        <source>The original value of %1 can&apos;t be read, so nothing was changed.</source>
        <translation>La valeur d’origine de %1 est illisible : rien n’a été changé.</translation>
    </message>
</context>
<context>
    <name>OptimizerLock</name>
    <message>
        <source>Another Torvelane process is changing this PC, so nothing was changed. Try again when it has finished.</source>
        <translation>Un autre processus de Torvelane est en train de modifier ce PC : rien n’a été changé. Réessayez quand il aura terminé.</translation>
    </message>
</context>
<context>
    <name>PowerPlanManager</name>
    <message>
        <source>No adjustable processor power settings were found.</source>
        <translation>Aucun réglage d’alimentation du processeur n’a été trouvé.</translation>
    </message>
    <message>
        <source>Max CPU performance applied (100% state, no parking, C-states off).</source>
        <translation>Performances maximales du processeur appliquées (état à 100 %, sans mise en veille des cœurs, états C désactivés).</translation>
    </message>
    <message>
        <source>CPU power settings restored to their previous values.</source>
        <translation>Les réglages d’alimentation du processeur ont retrouvé leurs valeurs précédentes.</translation>
    </message>
    <message>
        <source>CPU is already on default settings.</source>
        <translation>Le processeur est déjà à ses réglages d’origine.</translation>
    </message>
    <message>
        <source>No adjustable disk power settings were found.</source>
        <translation>Aucun réglage d’alimentation du disque n’a été trouvé.</translation>
    </message>
    <message>
        <source>Max disk performance applied (no HDD spindown, AHCI link power off).</source>
        <translation>Performances maximales du disque appliquées (pas d’arrêt du disque dur, économie d’énergie AHCI désactivée).</translation>
    </message>
    <message>
        <source>Disk power settings restored to their previous values.</source>
        <translation>Les réglages d’alimentation du disque ont retrouvé leurs valeurs précédentes.</translation>
    </message>
    <message>
        <source>Disk is already on default settings.</source>
        <translation>Le disque est déjà à ses réglages d’origine.</translation>
    </message>
    <message>
        <source>Could not read the active power plan.</source>
        <translation>Impossible de lire le mode de gestion de l’alimentation actif.</translation>
    </message>
    <message>
        <source>No power plan selected.</source>
        <translation>Aucun mode de gestion de l’alimentation sélectionné.</translation>
    </message>
    <message>
        <source>Power plan activated.</source>
        <translation>Mode de gestion de l’alimentation activé.</translation>
    </message>
    <message>
        <source>Applied Ultimate Performance power plan.</source>
        <translation>Mode Performances ultimes appliqué.</translation>
    </message>
    <message>
        <source>Applied High Performance power plan.</source>
        <translation>Mode Performances élevées appliqué.</translation>
    </message>
</context>
<context>
    <name>ServiceProfiles</name>
    <message>
        <source>Basic</source>
        <translation>Basique</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Avancé</translation>
    </message>
    <message>
        <source>%1 profile applied — %2 service(s) disabled. A reboot finalizes the changes.</source>
        <translation>Profil %1 appliqué — %2 service(s) désactivé(s). Un redémarrage finalise les changements.</translation>
    </message>
    <message>
        <source>Already on default services.</source>
        <translation>Les services sont déjà à leur état d’origine.</translation>
    </message>
    <message>
        <source>Default services restored (%1). A reboot finalizes the changes.</source>
        <translation>Services d’origine rétablis (%1). Un redémarrage finalise les changements.</translation>
    </message>
</context>
</TS>
