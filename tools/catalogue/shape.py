"""The catalogue as a whole: its entries and their places, its totals, which of them warn, what is settled.

lint.py compares resources/tweaks.json with this. A wanted change of the catalogue is made here as well.
"""

VERSION = 2
NOTE_SHA256 = "fd10f959ab2d6b59fe2a010cc8ab537f40a7e7bd318b675b34d8e98f178756dc"

# Every id in document order, by section. No mark: premium; "*": free; "+": pro.
SHAPE = """
SelfTest: selftest.toggle*
Gaming Tweaks: opt.disable-gamedvr opt.enable-game-mode opt.gaming-mmcss-priority
  opt.disable-fullscreen-optimizations torv.opt.boost-fps-games
  torv.opt.high-priority-fortnite torv.opt.disable-gamebar torv.opt.gamedvr-policy-full
Visual Effects: opt.disable-notifications opt.disable-animations opt.disable-transparency
  opt.optimize-visual-performance vis.disable-taskbar-animations
  vis.disable-drag-full-windows vis.disable-listview-shadow
General: opt.disable-startup-delay opt.disable-vbs torv.opt.disable-auto-desktop-layout
  torv.action.clean-temp torv.action.disable-driver-powersaving opt.optimize-hung-apps
  opt.disable-autoplay* action.empty-recycle-bin* action.restart-explorer*
Windows Updates: opt.disable-driver-search opt.disable-maintenance
  opt.disable-windows-update opt.disable-experimental-features
  wu.disable-delivery-optimization wu.no-auto-reboot wu.disable-store-auto-update
Telemetry: priv.disable-telemetry priv.disable-ceip priv.disable-inventory-collector
  priv.disable-error-reporting priv.disable-feedback priv.disable-help-experience
Advertising: priv.disable-advertising-id priv.disable-content-ads
  torv.priv.disable-tailored-experiences torv.priv.disable-extra-suggested-content
  adv.disable-lockscreen-spotlight adv.disable-start-suggestions-ads adv.disable-settings-ads
Tracking: priv.disable-activity-feed priv.disable-location priv.disable-remote-assistance
  torv.priv.disable-instrumentation trk.disable-cloud-clipboard trk.disable-clipboard-history
  trk.deny-app-diagnostics trk.disable-jumplist-recent* trk.disable-suggested-actions*
Explorer: explorer.show-file-extensions* explorer.show-hidden-files*
  torv.tweaks.explorer-policy-hardening exp.launch-to-this-pc* exp.disable-quick-access-recent
  exp.nav-expand-current exp.disable-sync-provider-ads* exp.full-path-title*
Taskbar: tweaks.disable-widgets tweaks.disable-taskbar-chat tweaks.classic-tray-icons
  tb.left-align* tb.hide-task-view* tb.combine-buttons tb.hide-copilot-button*
  tb.enable-end-task* tb.show-clock-seconds*
Interface: tweaks.disable-snap-flyout tweaks.numlock-on-startup* tweaks.full-wallpaper-quality
  tweaks.menu-show-delay tweaks.foreground-lock-timeout tweaks.disable-aero-shake*
  torv.tweaks.boost-responsiveness torv.tweaks.fix-dpi-scaling
  tweaks.control-panel-desktop-icon tweaks.block-razer-driver-install
  tweaks.classic-context-menu tweaks.dark-mode*
Start Menu: tweaks.disable-start-suggestions tweaks.disable-windows-tips
  tweaks.disable-auto-app-install sm.hide-recently-added sm.disable-most-used sm.more-pins
  sm.disable-account-notifications*
CPU: cpu.disable-power-throttling cpu.disable-modern-standby cpu.disable-timer-coalescing
  cpu.distribute-timer-interrupts torv.cpu.unlock-core-parking torv.cpu.additional-latency
  torv.cpu.disable-hibernation-boot torv.cpu.power-coalescing torv.cpu.disable-idle-states
RAM: ram.clear-pagefile-at-shutdown ram.disable-prefetcher ram.enable-superfetch
  ram.disable-paging-executive torv.ram.svchost-8gb torv.ram.svchost-16gb
  torv.ram.svchost-32gb torv.ram.memory-management torv.ram.large-system-cache
  ram.disable-memory-compression ram.disable-memory-diagnostic
Mouse: periph.disable-mouse-acceleration+ torv.periph.mouse-data-queue+
  torv.periph.kervo-mouse-fix+ torv.action.disable-usb-idle+ mouse.disable-hover-time
  mouse.disable-clicklock mouse.disable-snap-to
Keyboard: periph.disable-sticky-keys* periph.disable-toggle-keys+ periph.disable-filter-keys+
  periph.reduce-keyboard-delay+ torv.periph.keyboard-data-queue+
  torv.periph.disable-mouse-keys+
Storage: storage.disable-last-access-update storage.disable-8dot3-names
  storage.disable-hibernation sto.disable-storage-sense sto.disable-scheduled-defrag
Latency: opt.disable-network-throttling+ opt.max-system-responsiveness+
  opt.foreground-priority-boost+ torv.net.latency-tuning+ torv.net.qos-autotuning-off+
  torv.action.flush-dns* torv.net.ping-reduce-full+
GPU: opt.enable-gpu-scheduling torv.gpu.disable-power-gating torv.opt.disable-vrr
  gpu.increase-tdr-delay gpu.disable-hw-mpo
Background Services: opt.disable-background-apps opt.disable-cortana torv.opt.disable-onedrive
  torv.opt.disable-xbox-services torv.opt.disable-services-background
  torv.opt.disable-diagtrack torv.opt.disable-settings-sync opt.disable-bluetooth-services
  opt.disable-edge-background opt.disable-search-indexing opt.optimize-windows-search
Search: tweaks.disable-bing-search tweaks.disable-safesearch srch.taskbar-icon-only*
  srch.disable-device-history srch.hide-cortana-button
Data Collection: torv.priv.disable-speech-inking torv.priv.deny-app-access
  dc.disable-input-personalization dc.disable-handwriting-reports
  dc.reject-personalization-policy dc.disable-language-list-access*
"""
TIER_MARKS = {"*": "free", "+": "pro"}

TOTALS = {
    "entries": 162,
    "sections": 22,
    "registry entries": 152,
    "command entries": 10,
    "operations": 349,
    "dword operations": 300,
    "sz operations": 47,
    "binary operations": 2,
    "HKLM operations": 200,
    "HKCU operations": 145,
    "HKU operations": 4,
    "most operations in one entry": 48,
    "premium entries": 123,
    "free entries": 24,
    "pro entries": 15,
    "entries with a warning": 38,
}

# Values that more than one entry writes on purpose: (hive, path, name) in the
# form of value_key(), the ids that write it, and why.
OVERLAPS = [
    (("HKLM", r"system\currentcontrolset\control", "svchostsplitthresholdinkb"),
     ("torv.ram.svchost-8gb", "torv.ram.svchost-16gb", "torv.ram.svchost-32gb"),
     "one setting offered for three sizes of RAM; the warning says to apply only one"),
]

# The entries that warn before they are applied, and no others.
WARNED = frozenset("""
  opt.disable-notifications opt.disable-vbs torv.action.clean-temp
  torv.action.disable-driver-powersaving opt.optimize-hung-apps action.empty-recycle-bin
  opt.disable-driver-search opt.disable-maintenance opt.disable-windows-update wu.no-auto-reboot
  wu.disable-store-auto-update priv.disable-location tweaks.block-razer-driver-install
  cpu.disable-modern-standby torv.cpu.additional-latency torv.cpu.disable-idle-states
  ram.clear-pagefile-at-shutdown ram.disable-paging-executive torv.ram.svchost-8gb
  torv.ram.svchost-16gb torv.ram.svchost-32gb torv.ram.large-system-cache
  torv.action.disable-usb-idle storage.disable-hibernation sto.disable-scheduled-defrag
  torv.net.qos-autotuning-off torv.net.ping-reduce-full torv.gpu.disable-power-gating
  torv.opt.disable-vrr opt.disable-background-apps torv.opt.disable-onedrive
  torv.opt.disable-xbox-services torv.opt.disable-services-background opt.disable-bluetooth-services
  opt.disable-search-indexing tweaks.disable-safesearch torv.priv.disable-speech-inking
  torv.priv.deny-app-access
""".split())

SYSTEM_PROFILE = r"SOFTWARE\Microsoft\Windows NT\CurrentVersion\Multimedia\SystemProfile"
MOUSE = r"Control Panel\Mouse"
# Operations that are settled down to the last character. "exact": these and no
# others, in this order. "has": these must be among them.
SETTLED = {
    "selftest.toggle": ("exact", [
        ("HKCU", r"Software\Torvelane\SelfTest", "Enabled", "dword", 1),
        ("HKCU", r"Software\Torvelane\SelfTest", "Label", "sz", "optimized"),
    ]),
    "opt.disable-gamedvr": ("exact", [
        ("HKCU", r"System\GameConfigStore", "GameDVR_Enabled", "dword", 0),
        ("HKLM", r"SOFTWARE\Policies\Microsoft\Windows\GameDVR", "AllowGameDVR", "dword", 0),
    ]),
    "tweaks.numlock-on-startup": ("exact", [
        ("HKU", r".DEFAULT\Control Panel\Keyboard", "InitialKeyboardIndicators", "sz", "2"),
        ("HKCU", r"Control Panel\Keyboard", "InitialKeyboardIndicators", "sz", "2"),
    ]),
    "opt.disable-network-throttling": ("exact", [
        ("HKLM", SYSTEM_PROFILE, "NetworkThrottlingIndex", "dword", 4294967295),
    ]),
    "torv.ram.svchost-8gb": ("exact", [
        ("HKLM", r"SYSTEM\ControlSet001\Control", "SvcHostSplitThresholdInKB", "dword", 8388608),
    ]),
    "torv.ram.svchost-16gb": ("exact", [
        ("HKLM", r"SYSTEM\ControlSet001\Control", "SvcHostSplitThresholdInKB", "dword", 16777216),
    ]),
    "torv.ram.svchost-32gb": ("exact", [
        ("HKLM", r"SYSTEM\ControlSet001\Control", "SvcHostSplitThresholdInKB", "dword", 33554432),
    ]),
    "tweaks.block-razer-driver-install": ("exact", [
        ("HKLM", r"SOFTWARE\Policies\Microsoft\Windows\DeviceInstall\Restrictions",
         "DenyDeviceIDs", "dword", 1),
        ("HKLM", r"SOFTWARE\Policies\Microsoft\Windows\DeviceInstall\Restrictions",
         "DenyDeviceIDsRetroactive", "dword", 1),
        ("HKLM", r"SOFTWARE\Policies\Microsoft\Windows\DeviceInstall\Restrictions\DenyDeviceIDs",
         "1", "sz", r"USB\VID_1532"),
    ]),
    "torv.opt.disable-vrr": ("exact", [
        ("HKCU", r"SOFTWARE\Microsoft\DirectX\UserGpuPreferences", "DirectXUserGlobalSettings",
         "sz", "VRROptimizeEnable=0;"),
    ]),
    "torv.periph.kervo-mouse-fix": ("has", [
        ("HKCU", MOUSE, "SmoothMouseXCurve", "binary",
         "0000000000000000C0CC0C0000000000809919000000000040662600000000000033330000000000"),
        ("HKCU", MOUSE, "SmoothMouseYCurve", "binary",
         "0000000000000000000038000000000000007000000000000000A800000000000000E00000000000"),
        ("HKU", ".DEFAULT\\" + MOUSE, "MouseSpeed", "sz", "0"),
    ]),
    "opt.disable-windows-update": ("exact", [
        ("HKLM", r"SOFTWARE\Policies\Microsoft\Windows\WindowsUpdate\AU", "NoAutoUpdate", "dword", 1),
    ]),
    "torv.net.ping-reduce-full": ("has", [
        ("HKLM", r"SYSTEM\CurrentControlSet\Services\LanmanServer\Parameters", "autodisconnect",
         "dword", 4294967295),
    ]),
}
SETTLED_TEXTS = {
    ("selftest.toggle", "name"): "Engine self-test toggle",
    ("selftest.toggle", "name_fr"): "Test interne du moteur",
    ("opt.disable-windows-update", "warning"):
        "Stops Windows from downloading and installing updates automatically. "
        "You will need to re-enable this for security patches.",
}


def parse_shape():
    """Every id with its section and tier, in document order."""
    rows, section = [], None
    for line in SHAPE.strip().splitlines():
        if not line.startswith(" "):
            section, line = line.split(":", 1)
        for word in line.split():
            tier = TIER_MARKS.get(word[-1], "premium")
            rows.append((word.rstrip("*+"), section, tier))
    return rows
