#!/usr/bin/env python3
"""Checks the tweak catalogue, resources/tweaks.json.

Usage: lint.py [path-of-the-catalogue]

Prints one line per finding and leaves with 1 if there is any; otherwise prints
the totals and leaves with 0. Needs nothing but the Python standard library.
"""

import collections
import hashlib
import json
import os
import re
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
DEFAULT_PATH = os.path.normpath(os.path.join(HERE, "..", "..", "resources", "tweaks.json"))

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

HIVES = {
    "HKLM": "HKLM", "HKEY_LOCAL_MACHINE": "HKLM",
    "HKCU": "HKCU", "HKEY_CURRENT_USER": "HKCU",
    "HKCR": "HKCR", "HKEY_CLASSES_ROOT": "HKCR",
    "HKU": "HKU", "HKEY_USERS": "HKU",
    "HKCC": "HKCC", "HKEY_CURRENT_CONFIG": "HKCC",
}
TYPES = ("dword", "qword", "sz", "expand_sz", "binary")

COMMON_KEYS = ("id", "name", "name_fr", "section", "requiredTier", "type")
WARNING_KEYS = ("warning", "warning_fr")
REGISTRY_KEYS = ("operations",)
COMMAND_KEYS = ("apply", "revert", "applyBoot", "revertBoot")
OPERATION_KEYS = ("hive", "path", "name", "valueType", "desired")

# Values that more than one entry writes on purpose: (hive, path, name) in the
# form of value_key(), the ids that write it, and why.
OVERLAPS = [
    (("HKLM", r"system\currentcontrolset\control", "svchostsplitthresholdinkb"),
     ("torv.ram.svchost-8gb", "torv.ram.svchost-16gb", "torv.ram.svchost-32gb"),
     "one setting offered for three sizes of RAM; the warning says to apply only one"),
]

# The commands are run as they stand, so each entry is pinned by the SHA-256 of
# its lists (see command_digest). A wanted change means a new line here.
COMMANDS = {
    "torv.action.clean-temp":
        "ea2e0f36cb7a5a5536a39c0ff70764593395ba5fe13345628458ea9d746193c5",
    "torv.action.disable-driver-powersaving":
        "ba2aaf597472c6aefcb5024ec7fb99fbbf73934d969af0cfe90379b066d72329",
    "action.empty-recycle-bin":
        "c599ec318fee155f93ce8949ec53d8f674641a2b735357840d28aba5e7cc2c3f",
    "action.restart-explorer":
        "94061f8c1eb7fde2ac9780bae24ab71a21296fd23fe64a4fa2f14343cc1dc035",
    "tweaks.classic-context-menu":
        "849855c9abf627f54e8004dddfca16ee444fd4355095d21b8f51295a93d9f11a",
    "ram.disable-memory-compression":
        "f6c7ae9882e03cde9789c7027d01eb48ae65eea831966da90d4ae138b96da438",
    "ram.disable-memory-diagnostic":
        "8e0063f02fbe8baf22b707b09ab49bd4008d034cd782d3f0f6580447a381af9e",
    "torv.action.disable-usb-idle":
        "01068b81f12418041786847c9100fd1e1095322b1c41e7494bfe3f04fb18d3eb",
    "sto.disable-scheduled-defrag":
        "9b790e0011839e26a9c943d88d985175c1086e0c8b4b93c84fa890684ccb8833",
    "torv.action.flush-dns":
        "6d81cfd90425ecbb3d98c49fe1a2ef5ca368ff57a81e1b6341f6d7cd3e896c8b",
}

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
MUST_WARN = ("opt.disable-vbs", "opt.disable-windows-update", "torv.action.clean-temp",
             "torv.ram.svchost-8gb", "torv.ram.svchost-16gb", "torv.ram.svchost-32gb",
             "torv.cpu.disable-idle-states", "storage.disable-hibernation",
             "opt.disable-bluetooth-services", "opt.disable-search-indexing",
             "torv.opt.disable-onedrive", "priv.disable-remote-assistance")

# Values below Control Panel that Windows keeps as something else than REG_SZ.
CONTROL_PANEL_TYPES = {
    "clicklocktime": "dword",
    "enableperprocesssystemdpi": "dword",
    "foregroundlocktimeout": "dword",
    "httpacceptlanguageoptout": "dword",
    "jpegimportquality": "dword",
    "monitorremovalrecalcbehavior": "dword",
    "restorepreviousstaterecalcbehavior": "dword",
    "smoothmousexcurve": "binary",
    "smoothmouseycurve": "binary",
}
# (pattern of the path, pattern of the name, type). All of them are tried.
TYPE_TRAPS = [(re.compile(p, re.I), re.compile(n, re.I), t) for p, n, t in (
    (r"\\Explorer\\Advanced(\\.*)?$", r".*", "dword"),
    (r"\\ContentDeliveryManager$", r".*", "dword"),
    (r"\\CapabilityAccessManager\\ConsentStore\\[^\\]+$", r"Value$", "sz"),
    (r"\\Control$", r"WaitToKillServiceTimeout$", "sz"),
    (r"\\Control$", r"SvcHostSplitThresholdInKB$", "dword"),
    (r"\\SystemProfile$", r".*", "dword"),
    (r"\\SystemProfile\\Tasks\\", r"(Scheduling Category|SFIO Priority|Background Only)$", "sz"),
    (r"\\SystemProfile\\Tasks\\", r"(Priority|GPU Priority|Clock Rate|Affinity|BackgroundPriority)$", "dword"),
    (r"\\PerfOptions$", r"CpuPriorityClass$", "dword"),
    (r"\\Policies\\Microsoft\\Windows\\QoS$", r".*", "sz"),
    (r"\\Services\\Tcpip\\QoS$", r"Do not use NLA$", "sz"),
    (r"\\Services\\(Tcpip|AFD|NetBT|NDIS|Dnscache|LanmanServer|LanmanWorkstation)\\(Parameters|ServiceProvider)$", r".*", "dword"),
    (r"\\UserGpuPreferences$", r".*", "sz"),
    (r"\\Restrictions\\DenyDeviceIDs$", r"\d+$", "sz"),
    (r"\\(Software|SOFTWARE)?\\?Policies\\(?!Microsoft\\Windows\\(QoS|DeviceInstall\\Restrictions\\))", r".*", "dword"),
)]
# (pattern of the path, name, lowest, highest) of dwords with a known range.
RANGES = [(re.compile(p, re.I), n.lower(), lo, hi) for p, n, lo, hi in (
    (r"\\SystemProfile$", "SystemResponsiveness", 10, 100),
    (r"\\SystemProfile\\Tasks\\", "Priority", 1, 8),
    (r"\\PerfOptions$", "CpuPriorityClass", 1, 6),
    (r"\\PriorityControl$", "Win32PrioritySeparation", 0, 63),
    (r"\\PrefetchParameters$", "EnablePrefetcher", 0, 3),
    (r"\\PrefetchParameters$", "EnableSuperfetch", 0, 3),
    (r"\\Control Panel\\Desktop$|^Control Panel\\Desktop$", "JPEGImportQuality", 60, 100),
    (r"\\Tcpip\\Parameters$", "DefaultTTL", 1, 255),
    (r"\\Tcpip\\Parameters$", "TcpTimedWaitDelay", 30, 300),
    (r"\\Tcpip\\Parameters$", "MaxUserPort", 5000, 65534),
    (r"\\LanmanServer\\Parameters$", "IRPStackSize", 11, 50),
    (r"\\LanmanWorkstation\\Parameters$", "DirectoryCacheEntriesMax", 1, 4096),
    (r"\\LanmanWorkstation\\Parameters$", "FileInfoCacheEntriesMax", 1, 65536),
    (r"\\LanmanWorkstation\\Parameters$", "FileNotFoundCacheEntriesMax", 1, 65536),
    (r"\\FEATURE_MAXCONNECTIONSPER(1_0)?SERVER$", "explorer.exe", 2, 128),
    (r"\\FEATURE_MAXCONNECTIONSPER(1_0)?SERVER$", "iexplore.exe", 2, 128),
    (r"\\(mouclass)\\Parameters$", "MouseDataQueueSize", 16, 200),
    (r"\\(kbdclass)\\Parameters$", "KeyboardDataQueueSize", 16, 200),
    (r"\\GraphicsDrivers$", "HwSchMode", 1, 2),
    (r"\\Policies\\Microsoft\\WindowsStore$", "AutoDownload", 2, 4),
)]
CONSENT = ("Allow", "Deny", "Prompt")

SERVICE = re.compile(r"^SYSTEM\\(CurrentControlSet|ControlSet\d+)\\Services\\([^\\]+)$", re.I)
# The services whose start type the catalogue may change. Anything else could
# keep Windows from starting, from signing in or from getting on the network.
SERVICES = {s.lower() for s in (
    "BcastDVRUserService", "BTAGService", "BthAvctpSvc", "bthserv", "DiagTrack",
    "dmwappushservice", "MapsBroker", "RetailDemo", "SysMain", "TrkWks", "wisvc", "WSearch",
    "XblAuthManager", "XblGameSave", "XboxGipSvc", "XboxNetApiSvc")}
# Keys that no tweak has any business in.
FORBIDDEN_PATHS = [re.compile(p, re.I) for p in (
    r"^SYSTEM\\(CurrentControlSet|ControlSet\d+)\\Control\\(SafeBoot|CrashControl|Lsa|hivelist|BackupRestore)(\\|$)",
    r"^SYSTEM\\(Setup|Select|MountedDevices)(\\|$)",
    r"\\Winlogon(\\|$)",
    r"^SOFTWARE\\(Policies\\)?Microsoft\\Windows Defender(\\|$)",
    r"^(SAM|SECURITY|BCD00000000)(\\|$)",
)]
FORBIDDEN_NAMES = {"debugger", "bootexecute", "globalflag"}
ROOTS = {
    "HKLM": ("software\\", "system\\", "hardware\\"),
    "HKCU": ("software\\", "control panel\\", "system\\", "environment\\"),
    "HKU": (".default\\",),
}
FRENCH_WORDS = re.compile(r"\b(le|la|les|des|du|un|une|et|ne|est|sur|ce|aux?|[ld]')(?=\b|\w)", re.I)
ENGLISH_WORDS = re.compile(r"\b(the|and|of|with|without|stops?|apps?|longer|disable|show|hide|this)\b", re.I)
CONTROL_SET = re.compile(r"^system\\controlset001(?=\\|$)")


class Findings:
    def __init__(self):
        self.lines = []

    def add(self, where, text):
        self.lines.append("%s: %s" % (where, text))


def parse_shape():
    rows, section = [], None
    for line in SHAPE.strip().splitlines():
        if not line.startswith(" "):
            section, line = line.split(":", 1)
        for word in line.split():
            tier = TIER_MARKS.get(word[-1], "premium")
            rows.append((word.rstrip("*+"), section, tier))
    return rows


def value_key(operation):
    """The value an operation writes, in one spelling for all ways to write it."""
    hive = HIVES.get(str(operation.get("hive", "")).strip().upper(), "?")
    path = str(operation.get("path", "")).lower()
    if hive == "HKCR":
        hive, path = "HKLM", "software\\classes\\" + path
    if hive == "HKLM":
        path = CONTROL_SET.sub(r"system\\currentcontrolset", path)
    return hive, path, str(operation.get("name", "")).lower()


def command_digest(entry):
    lists = {key: entry[key] for key in COMMAND_KEYS if key in entry}
    text = json.dumps(lists, ensure_ascii=False, sort_keys=True, separators=(",", ":"))
    return hashlib.sha256(text.encode("utf-8")).hexdigest()


def no_duplicate_keys(pairs):
    seen = {}
    for key, value in pairs:
        if key in seen:
            raise ValueError("key %r twice in one object" % key)
        seen[key] = value
    return seen


def check_text(findings, where, key, value):
    if not isinstance(value, str) or not value.strip():
        findings.add(where, "%s is missing or empty" % key)
        return False
    if value != value.strip() or "  " in value:
        findings.add(where, "%s has blanks too many" % key)
    if any(ord(c) < 32 for c in value):
        findings.add(where, "%s has a control character" % key)
    return True


def check_texts(findings, where, entry):
    for key in ("name", "name_fr"):
        if check_text(findings, where, key, entry.get(key)):
            if entry[key].endswith("."):
                findings.add(where, "%s ends with a full stop" % key)
            if len(entry[key]) > 80:
                findings.add(where, "%s is too long for a card" % key)
    if entry.get("name") and entry.get("name") == entry.get("name_fr"):
        findings.add(where, "name_fr is the English name")
    present = [key for key in WARNING_KEYS if key in entry]
    for key in present:
        if check_text(findings, where, key, entry[key]) and entry[key][-1] not in ".!":
            findings.add(where, "%s does not end with a full stop" % key)
    if len(present) == 1:
        findings.add(where, "has %s without its counterpart" % present[0])
    if len(present) == 2:
        if entry["warning"] == entry["warning_fr"]:
            findings.add(where, "warning_fr is the English warning")
        elif isinstance(entry["warning_fr"], str) and len(FRENCH_WORDS.findall(entry["warning_fr"])) < 2:
            findings.add(where, "warning_fr does not read as French")
    for key in ("name_fr", "warning_fr"):
        english = ENGLISH_WORDS.search(entry[key]) if isinstance(entry.get(key), str) else None
        if english:
            findings.add(where, "%s has the English word %r" % (key, english.group()))
    if entry.get("id") in MUST_WARN and "warning" not in entry:
        findings.add(where, "needs a warning")
    for key in ("description", "description_fr"):
        if key in entry:
            findings.add(where, "has the key %s" % key)


def check_path(findings, where, hive, path):
    if not isinstance(path, str) or not path.strip():
        findings.add(where, "path is missing or empty")
        return False
    if path != path.strip():
        findings.add(where, "path has blanks around it")
    if path.startswith("\\") or path.endswith("\\"):
        findings.add(where, "path begins or ends with a backslash")
    if "\\\\" in path:
        findings.add(where, "path has a doubled backslash")
    if "/" in path:
        findings.add(where, "path has a slash")
    roots = ROOTS.get(hive)
    if roots and not path.lower().startswith(roots):
        findings.add(where, "path %r is not below a key of %s that is known" % (path, hive))
    for pattern in FORBIDDEN_PATHS:
        if pattern.search(path):
            findings.add(where, "path %r is out of bounds" % path)
    return True


def check_desired(findings, where, kind, desired):
    if kind in ("dword", "qword"):
        top = 4294967295 if kind == "dword" else (1 << 64) - 1
        if isinstance(desired, bool) or not isinstance(desired, int):
            findings.add(where, "%s needs a whole number, not %r" % (kind, desired))
            return False
        if not 0 <= desired <= top:
            findings.add(where, "%s %d is out of range" % (kind, desired))
            return False
    elif kind in ("sz", "expand_sz"):
        if not isinstance(desired, str):
            findings.add(where, "%s needs a string, not %r" % (kind, desired))
            return False
    elif kind == "binary":
        if not isinstance(desired, str) or len(desired) % 2 or not re.fullmatch(r"[0-9A-Fa-f]+", desired):
            findings.add(where, "binary needs pairs of hexadecimal digits")
            return False
    return True


def check_sense(findings, where, operation, hive):
    """What Windows is known to read under this path and name."""
    path, name = operation["path"], operation["name"]
    kind, desired = operation["valueType"], operation["desired"]
    low = path.lower()
    if low.startswith(("control panel\\", ".default\\control panel\\")) and hive in ("HKCU", "HKU"):
        if not re.search(r"\\hidedesktopicons\\", low):
            wanted = CONTROL_PANEL_TYPES.get(name.lower(), "sz")
            if kind != wanted:
                findings.add(where, "Windows keeps this value as %s, not %s" % (wanted, kind))
    for paths, names, wanted in TYPE_TRAPS:
        if paths.search(path) and names.match(name) and kind != wanted:
            findings.add(where, "Windows reads this value as %s, not %s" % (wanted, kind))
    if re.search(r"\\ConsentStore\\", path, re.I) and desired not in CONSENT:
        findings.add(where, "%r is none of %s" % (desired, ", ".join(CONSENT)))
    for paths, wanted_name, lowest, highest in RANGES:
        if paths.search(path) and name.lower() == wanted_name and isinstance(desired, int):
            if not lowest <= desired <= highest:
                findings.add(where, "%d is outside %d to %d" % (desired, lowest, highest))
    if name.lower() in FORBIDDEN_NAMES:
        findings.add(where, "the value %r is out of bounds" % name)
    service = SERVICE.match(path)
    if service and name.lower() == "start":
        if kind != "dword" or desired not in (2, 3, 4):
            findings.add(where, "a service's Start must be the dword 2, 3 or 4")
        if service.group(2).lower() not in SERVICES:
            findings.add(where, "the service %r may not be changed" % service.group(2))
    if hive == "HKLM" and low.startswith("system\\controlset"):
        if (low, name.lower()) != (r"system\controlset001\control", "svchostsplitthresholdinkb"):
            findings.add(where, "names a control set instead of CurrentControlSet")


def check_operation(findings, where, operation):
    if not isinstance(operation, dict):
        findings.add(where, "is not an object")
        return
    for key in OPERATION_KEYS:
        if key not in operation:
            findings.add(where, "lacks the key %s" % key)
    for key in operation:
        if key not in OPERATION_KEYS:
            findings.add(where, "has the unknown key %s" % key)
    if any(key not in operation for key in OPERATION_KEYS):
        return
    hive = HIVES.get(operation["hive"]) if isinstance(operation["hive"], str) else None
    if hive is None:
        findings.add(where, "the hive %r is not accepted" % (operation["hive"],))
    good = check_path(findings, where, hive, operation["path"])
    if not isinstance(operation["name"], str) or not operation["name"].strip():
        findings.add(where, "the value name is missing or empty")
        good = False
    elif operation["name"] != operation["name"].strip() or "\\" in operation["name"]:
        findings.add(where, "the value name has blanks around it or a backslash")
    kind = operation["valueType"]
    if kind not in TYPES:
        findings.add(where, "the type %r is not accepted" % (kind,))
        good = False
    else:
        good = check_desired(findings, where, kind, operation["desired"]) and good
    if good and hive:
        check_sense(findings, where, operation, hive)


def check_settled(findings, entry):
    ident = entry.get("id")
    if ident in SETTLED:
        how, wanted = SETTLED[ident]
        operations = entry.get("operations")
        have = [tuple(o.get(k) for k in OPERATION_KEYS) for o in operations or [] if isinstance(o, dict)]
        if how == "exact" and have != wanted:
            findings.add(ident, "its operations are not the settled ones: %r" % (have,))
        for row in wanted if how == "has" else ():
            if row not in have:
                findings.add(ident, "lacks the settled operation %r" % (row,))
    for (wanted_id, key), text in SETTLED_TEXTS.items():
        if ident == wanted_id and entry.get(key) != text:
            findings.add(ident, "its %s is not the settled text %r" % (key, text))


def check_command(findings, entry, where):
    for key in COMMAND_KEYS:
        if key in entry:
            value = entry[key]
            if not isinstance(value, list) or any(not isinstance(c, str) or not c.strip() or c != c.strip() for c in value):
                findings.add(where, "%s is not a list of trimmed commands" % key)
    if not entry.get("apply"):
        findings.add(where, "has no apply command")
    if entry.get("id") in COMMANDS:
        digest = command_digest(entry)
        if digest != COMMANDS[entry["id"]]:
            findings.add(where, "its commands are not the settled ones (SHA-256 now %s)" % digest)
    else:
        findings.add(where, "is a command entry that is not known")


def check_entry(findings, number, entry):
    where = entry.get("id") if isinstance(entry.get("id"), str) and entry.get("id") else "entry %d" % number
    kind = entry.get("type")
    if kind not in ("registry", "command"):
        findings.add(where, "the type %r is not accepted" % (kind,))
    allowed = COMMON_KEYS + WARNING_KEYS + (REGISTRY_KEYS if kind == "registry" else COMMAND_KEYS)
    for key in COMMON_KEYS:
        if key not in entry:
            findings.add(where, "lacks the key %s" % key)
    for key in entry:
        if key not in allowed and key not in ("description", "description_fr"):
            findings.add(where, "has the unknown key %s" % key)
    check_texts(findings, where, entry)
    if kind == "registry":
        operations = entry.get("operations")
        if not isinstance(operations, list) or not operations:
            findings.add(where, "has no operations")
        else:
            for index, operation in enumerate(operations, 1):
                name = operation.get("name") if isinstance(operation, dict) else None
                check_operation(findings, "%s, operation %d (%s)" % (where, index, name), operation)
    elif kind == "command":
        check_command(findings, entry, where)
    check_settled(findings, entry)


def check_order(findings, entries):
    shape = parse_shape()
    wanted = {ident: (section, tier) for ident, section, tier in shape}
    have = [e.get("id") for e in entries]
    for ident, count in collections.Counter(have).items():
        if count > 1:
            findings.add(str(ident), "stands %d times" % count)
    for ident in wanted:
        if ident not in have:
            findings.add(ident, "is missing")
    for entry in entries:
        ident = entry.get("id")
        if ident not in wanted:
            findings.add(str(ident), "is not an id of the catalogue")
            continue
        section, tier = wanted[ident]
        if entry.get("section") != section:
            findings.add(ident, "stands in the section %r, not %r" % (entry.get("section"), section))
        if entry.get("requiredTier") != tier:
            findings.add(ident, "has the tier %r, not %r" % (entry.get("requiredTier"), tier))
    for (ident, _, _), got in zip(shape, have):
        if ident != got:
            findings.add(str(got), "stands where %s belongs" % ident)
            break
    wanted_counts = collections.Counter(section for _, section, _ in shape)
    have_counts = collections.Counter(e.get("section") for e in entries)
    for section in sorted(set(wanted_counts) | set(have_counts), key=str):
        if wanted_counts[section] != have_counts[section]:
            findings.add("section %s" % section, "has %d entries, not %d"
                         % (have_counts[section], wanted_counts[section]))
    wanted_sections = list(dict.fromkeys(section for _, section, _ in shape))
    have_sections = list(dict.fromkeys(e.get("section") for e in entries))
    if wanted_sections != have_sections:
        findings.add("sections", "their order of first appearance is %s" % ", ".join(map(str, have_sections)))


def check_overlaps(findings, entries):
    writers = collections.defaultdict(list)
    for entry in entries:
        for operation in entry.get("operations") or []:
            if isinstance(operation, dict):
                writers[value_key(operation)].append(entry.get("id"))
    listed = {}
    for key, ids, reason in OVERLAPS:
        listed[key] = set(ids)
        label = "\\".join(key)
        if not reason.strip():
            findings.add("allow-list, %s" % label, "has no reason")
        if set(writers.get(key, ())) != set(ids):
            findings.add("allow-list, %s" % label, "is written by %s, not by %s"
                         % (", ".join(sorted(map(str, set(writers.get(key, ()))))) or "nobody", ", ".join(sorted(ids))))
    for key, ids in sorted(writers.items()):
        label = "\\".join(key)
        for ident, count in collections.Counter(ids).items():
            if count > 1:
                findings.add(str(ident), "writes %s %d times" % (label, count))
        if len(set(ids)) > 1 and key not in listed:
            findings.add(", ".join(map(str, dict.fromkeys(ids))), "all write %s" % label)


def totals(entries):
    operations = [o for e in entries if isinstance(e.get("operations"), list)
                  for o in e["operations"] if isinstance(o, dict)]
    kinds = collections.Counter(e.get("type") for e in entries)
    tiers = collections.Counter(e.get("requiredTier") for e in entries)
    types = collections.Counter(str(o.get("valueType")) for o in operations)
    hives = collections.Counter(str(o.get("hive")) for o in operations)
    sizes = [len(e["operations"]) for e in entries if isinstance(e.get("operations"), list)]
    result = {
        "entries": len(entries),
        "sections": len({e.get("section") for e in entries}),
        "registry entries": kinds["registry"],
        "command entries": kinds["command"],
        "operations": len(operations),
        "most operations in one entry": max(sizes, default=0),
        "entries with a warning": sum("warning" in e for e in entries),
    }
    for kind in ("dword", "sz", "binary"):
        result[kind + " operations"] = types[kind]
    for hive in ("HKLM", "HKCU", "HKU"):
        result[hive + " operations"] = hives[hive]
    for tier in ("premium", "free", "pro"):
        result[tier + " entries"] = tiers[tier]
    return result


def check_layout(findings, data):
    if data.startswith(b"\xef\xbb\xbf"):
        findings.add("file", "begins with a byte-order mark")
    if b"\r" in data:
        findings.add("file", "has carriage returns")
    if not data.endswith(b"\n"):
        findings.add("file", "does not end with a line feed")
    for number, line in enumerate(data.split(b"\n"), 1):
        indent = len(line) - len(line.lstrip(b" "))
        if b"\t" in line or indent % 2 or line != line.rstrip():
            findings.add("line %d" % number, "has a tab, trailing blanks or an odd indent")


def lint(data):
    findings = Findings()
    check_layout(findings, data)
    try:
        document = json.loads(data.decode("utf-8"), object_pairs_hook=no_duplicate_keys)
    except ValueError as error:  # also a decoding error
        findings.add("file", "is not the JSON wanted: %s" % error)
        return findings, {}
    if not isinstance(document, dict) or list(document) != ["_note", "version", "tweaks"]:
        findings.add("file", "its keys are not _note, version and tweaks, in this order")
        if not isinstance(document, dict):
            return findings, {}
    note = document.get("_note")
    if not isinstance(note, str) or hashlib.sha256(note.encode("utf-8")).hexdigest() != NOTE_SHA256:
        findings.add("_note", "is not the settled text")
    if document.get("version") != VERSION:
        findings.add("version", "is %r, not %d" % (document.get("version"), VERSION))
    entries = document.get("tweaks")
    if not isinstance(entries, list) or not all(isinstance(e, dict) for e in entries):
        findings.add("tweaks", "is not a list of objects")
        return findings, {}
    for number, entry in enumerate(entries, 1):
        for key in ("id", "section", "requiredTier", "type"):
            if key in entry and not isinstance(entry[key], str):
                findings.add("entry %d" % number, "%s is not a string" % key)
                entry[key] = repr(entry[key])
        check_entry(findings, number, entry)
    check_order(findings, entries)
    check_overlaps(findings, entries)
    counted = totals(entries)
    for key, wanted in TOTALS.items():
        if counted[key] != wanted:
            findings.add("totals", "%s: %d, not %d" % (key, counted[key], wanted))
    return findings, counted


def main(arguments):
    if len(arguments) > 1:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    path = arguments[0] if arguments else DEFAULT_PATH
    try:
        with open(path, "rb") as file:
            data = file.read()
    except OSError as error:
        print("file: cannot be read: %s" % error)
        return 1
    findings, counted = lint(data)
    if findings.lines:
        for line in findings.lines:
            print(line)
        print("%d finding(s)" % len(findings.lines))
        return 1
    for key in TOTALS:
        print("%-30s %d" % (key, counted[key]))
    print("overlaps on the allow-list      %d" % len(OVERLAPS))
    print("no findings")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
