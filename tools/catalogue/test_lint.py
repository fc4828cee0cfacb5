#!/usr/bin/env python3
"""Shows that the lint sees a catalogue that would harm a PC or mislead its user.

Usage: test_lint.py

Damages a copy of the catalogue in one way after the other and looks for the finding that names it. Most damages are
looked for without the digests, which would see any change at all: what is found then is what the lint understands.
Leaves with 1 if a damage isn't found, or if the catalogue itself isn't clean.
"""

import copy
import json
import re
import sys

import lint

RUN = r"SOFTWARE\Microsoft\Windows\CurrentVersion\Run"
UAC = r"SOFTWARE\Microsoft\Windows\CurrentVersion\Policies\System"
SERVICES = r"SYSTEM\CurrentControlSet\Services"
SESSION = r"SYSTEM\CurrentControlSet\Control\Session Manager"
IFEO = r"SOFTWARE\Microsoft\Windows NT\CurrentVersion\Image File Execution Options"
FIREWALL = SERVICES + r"\SharedAccess\Parameters\FirewallPolicy\StandardProfile"
FIREWALL_POLICY = r"SOFTWARE\Policies\Microsoft\WindowsFirewall\DomainProfile"
GAMES = "torv.opt.boost-fps-games"
NETWORK = "torv.net.ping-reduce-full"


def value(ident, index, **changes):
    """Changes one operation of an entry, so that no total changes with it."""
    def damage(entries):
        entries[ident]["operations"][index].update(changes)
    return damage


def text(ident, **changes):
    def damage(entries):
        entries[ident].update(changes)
    return damage


def command(ident, key, line):
    def damage(entries):
        entries[ident][key] = [line]
    return damage


def moved_warning(entries):
    """The warning of one entry to another, whose description goes the other way: every total stays."""
    one, other = entries["opt.disable-vbs"], entries["opt.disable-autoplay"]
    for old, new in (("warning", "description"), ("warning_fr", "description_fr")):
        one[new], other[old] = other.pop(new), one.pop(old)


def swapped_commands(entries):
    entry = entries["sto.disable-scheduled-defrag"]
    entry["apply"], entry["revert"] = entry["revert"], entry["apply"]


# What is damaged, how, and the finding that has to name it. Seen without the digests.
UNDERSTOOD = [
    ("user account control off", value("priv.disable-telemetry", 1, path=UAC, name="EnableLUA"), "user account control"),
    ("no question for administrators", value("priv.disable-ceip", 0, path=UAC, name="ConsentPromptBehaviorAdmin"),
     "user account control"),
    ("firewall off", value("torv.opt.disable-diagtrack", 2, path=FIREWALL, name="EnableFirewall"), "the firewall"),
    ("firewall off by policy", value("priv.disable-ceip", 0, path=FIREWALL_POLICY, name="EnableFirewall"), "the firewall"),
    ("firewall service off", value("torv.opt.disable-diagtrack", 0, path=SERVICES + r"\mpssvc"), "'mpssvc' may not"),
    ("Defender service off", value("torv.opt.disable-diagtrack", 0, path=SERVICES + r"\WinDefend"), "'WinDefend' may not"),
    ("Defender off by policy", value("priv.disable-ceip", 0, path=r"SOFTWARE\Policies\Microsoft\Windows Defender",
                                     name="DisableAntiSpyware"), "Microsoft Defender"),
    ("a Run key", value("selftest.toggle", 1, path=RUN, name="Torvelane"), "start by themselves"),
    ("a Run key of the whole PC", value("torv.net.qos-autotuning-off", 0, path=RUN, name="Torvelane"),
     "start by themselves"),
    ("SmartScreen off in an allowed key", value("priv.disable-activity-feed", 0, name="EnableSmartScreen"),
     "out of bounds: SmartScreen"),
    ("SmartScreen of Edge off in an allowed key", value("opt.disable-edge-background", 0, name="SmartScreenEnabled"),
     "out of bounds: SmartScreen"),
    ("a known DLL", value("torv.net.qos-autotuning-off", 0, path=SESSION + r"\KnownDLLs", name="kernel32"),
     "loaded into other programs"),
    ("commands before Windows starts", value("torv.ram.memory-management", 1, name="BootExecute"), "'BootExecute'"),
    ("a debugger for a game", value(GAMES, 0, path=IFEO + r"\cs2.exe", name="Debugger"), "what a program is started with"),
    ("an image option that isn't a priority", value(GAMES, 0, path=IFEO + r"\cs2.exe", name="UseLargePages"),
     "loaded into other programs"),
    ("realtime priority", value(GAMES, 0, desired=4), r"4 is outside"),
    ("no CPU for the background", value("opt.max-system-responsiveness", 0, desired=0), "0 is outside"),
    ("a service's Type", value("torv.opt.disable-xbox-services", 0, name="Type"), "only Start may be written"),
    ("a service's program", value("torv.opt.disable-xbox-services", 0, name="ImagePath"), "only Start may be written"),
    ("a boot driver", value("torv.opt.disable-xbox-services", 0, desired=0), "only Start may be written"),
    ("a service that signs in", value("torv.opt.disable-xbox-services", 0, path=SERVICES + r"\LSM"), "'LSM' may not"),
    ("protection of memory off", value("torv.tweaks.explorer-policy-hardening", 4, desired=1), "1 is outside"),
    ("redirects obeyed", value(NETWORK, 10, desired=1), "1 is outside"),
    ("unsigned shares", value(NETWORK, 24, name="RequireSecuritySignature"), "network shares"),
    ("Spectre protection off", value("torv.ram.memory-management", 0, name="FeatureSettingsOverride"),
     "protection of memory"),
    ("a program for the screen saver", value("opt.optimize-hung-apps", 0, name="SCRNSAVE.EXE"), "start by themselves"),
    ("another update server", value("opt.disable-driver-search", 1, name="UseWUServer"), "where updates come from"),
    ("updates off, elsewhere", value("wu.no-auto-reboot", 0, name="NoAutoUpdate"), "only opt.disable-windows-update may"),
    ("a misspelt key", value("opt.disable-transparency", 0,
                             path=r"SOFTWARE\Microsoft\Windows\CurrentVersion\Theme\Personalize"), "keys.txt"),
    ("a misspelt name, whole PC", value("priv.disable-activity-feed", 0, name="EnableActivityFeeds"), "keys.txt"),
    ("a key that nobody decided on", value("priv.disable-ceip", 0, path=r"SOFTWARE\Microsoft\Ole"), "keys.txt"),
    ("a type that Windows ignores", value("vis.disable-drag-full-windows", 0, valueType="dword", desired=0), "as sz"),
    ("a command that opens the firewall",
     command("torv.action.flush-dns", "apply", "netsh advfirewall set allprofiles state off"), "not a permitted one"),
    ("a second command behind an allowed one",
     command("torv.action.flush-dns", "apply", "ipconfig /flushdns & bcdedit /set nx AlwaysOff"), "not a permitted one"),
    ("another folder deleted", command("torv.action.clean-temp", "apply", 'del /s /f /q "%USERPROFILE%\\*.*"'),
     "not a permitted one"),
    ("another task disabled", command("sto.disable-scheduled-defrag", "apply",
                                      r'schtasks /Change /TN "\Microsoft\Windows\Windows Defender\x" /Disable'),
     "not a permitted one"),
    ("a moved warning", moved_warning, "opt.disable-vbs: needs a warning"),
    ("an effect that comes too early", text("torv.opt.disable-diagtrack", effect="now"), "takes effect after a restart"),
    ("a when that the effect denies", text("opt.disable-transparency", effect="explorer"), "disagree on"),
    ("a description that a card can't hold",
     text("tweaks.dark-mode", description="Windows and apps use dark colors. " * 5 + "."), "lines of a card"),
    ("British spelling", text("tweaks.dark-mode", description="Windows and apps use dark colours."), "British"),
    ("a straight apostrophe", text("tweaks.dark-mode", description_fr="L'application devient de la même couleur."),
     "straight apostrophe"),
    ("a missing no-break space", text("tweaks.dark-mode", description_fr="Les couleurs sont sombres ; les fenêtres aussi."),
     "no-break space"),
    ("a one-time action that doesn't say so", text("action.restart-explorer", description="The taskbar vanishes."),
     "nothing to undo"),
]

# These mean as much as before: only the digests see them.
PINNED = [
    ("an inverted value", value("priv.disable-ceip", 0, desired=1)),
    ("a misspelt name of the user's", value("tb.left-align", 0, name="TaskbarAI")),
    ("commands the wrong way round", swapped_commands),
    ("another name", text("tweaks.dark-mode", name="Light mode")),
    ("a warning that says less", text("opt.disable-vbs", warning="Changes a setting.")),
]


def main():
    with open(lint.DEFAULT_PATH, "rb") as file:
        document = json.loads(file.read().decode("utf-8"))
    digests = lint.load_digests()
    problems = []

    def findings(damage, pins):
        damaged = copy.deepcopy(document)
        damage({entry["id"]: entry for entry in damaged["tweaks"]})
        if damaged == document and damage is not untouched:
            problems.append("a damage changes nothing")
        data = json.dumps(damaged, ensure_ascii=False, indent=2) + "\n"
        return lint.lint(data.encode("utf-8"), pins)[0].lines

    def untouched(_):
        pass

    for pins in (None, digests):
        problems += ["the catalogue itself: " + line for line in findings(untouched, pins)]
    for label, damage, wanted in UNDERSTOOD:
        if not any(re.search(wanted, line) for line in findings(damage, None)):
            problems.append("%s: no finding says %r" % (label, wanted))
    for label, damage in PINNED:
        if not any("digests.json pins" in line for line in findings(damage, digests)):
            problems.append("%s: the digests don't see it" % label)
    for problem in problems:
        print(problem)
    print("%d damages, %d of them seen without the digests; %d problem(s)"
          % (len(UNDERSTOOD) + len(PINNED), len(UNDERSTOOD), len(problems)))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
