#!/usr/bin/env python3
"""Holds the sources to the order of the rooms: a room includes only from itself and from the rooms below it.

Also keeps Windows to src/platform/windows: no header of it, and no question which system this is, anywhere else in src.
Prints one line a finding; the exit code is 1 if there is any.

    check_includes.py [root of the repository]
"""

import re
import sys
from pathlib import Path

# What each room may use directly. What those use, it may use as well.
MAY_USE = {
    "core": [],
    "platform": ["core"],
    "registry": ["platform"],
    "restore": ["registry"],
    "tweaks": ["restore"],
    "optimizers": ["registry"],
    "measure": ["platform"],
    "net": ["core"],
    "account": ["net", "tweaks"],
    "app": ["account", "optimizers", "measure"],
    "ui": ["app"],
    "update": ["ui"],
    "shell": ["update"],
}

# Headers with one of these names, or of the families below, belong to Windows.
WINDOWS_HEADERS = set(
    """
    accctrl aclapi appmodel combaseapi commctrl commdlg comdef d3d11 dbghelp ddraw dpapi dwmapi dxgi dxgi1_2 dxgi1_6
    evntrace gdiplus guiddef initguid intrin io iphlpapi knownfolders lmcons mmsystem netfw netioapi ntsecapi ntstatus
    oaidl objbase ole2 oleauto pdh pdhmsg physicalmonitorenumerationapi powerbase powersetting powrprof processthreadsapi
    propkey propsys propvarutil psapi rpc sddl securitybaseapi servprov setupapi shellapi shellscalingapi shlguid shlobj
    shlobj_core shlwapi shobjidl srrestoreptapi sysinfoapi taskschd tchar tdh timeapi tlhelp32 unknwn userenv uxtheme
    versionhelpers wbemcli wbemidl wct werapi wincodec wincon wincred wincrypt windef windows windowsx winerror wingdi
    winhttp wininet winioctl winnls winnt winreg winsock winsock2 winspool winsvc wintrust winuser winver wlanapi wmistr
    wrl wtsapi32 ws2def ws2ipdef ws2tcpip wtypes
    """.split()
)
WINDOWS_FOLDERS = ("winrt/", "wrl/", "wil/")

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')
SYSTEM_QUESTION = re.compile(r"\b(Q_OS_WIN\w*|_WIN32|_WIN64|WIN32)\b")
STRING = re.compile(r'"(?:\\.|[^"\\])*"')
SUFFIXES = {".h", ".hpp", ".cpp", ".cc", ".mm", ".in"}


def reachable(room):
    """The room itself and everything that it may include from."""
    found, open_rooms = set(), [room]
    while open_rooms:
        current = open_rooms.pop()
        if current not in found:
            found.add(current)
            open_rooms += MAY_USE[current]
    return found


def without_comments(text):
    """The text with comments and string literals blanked, line for line."""
    pattern = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"', re.DOTALL)

    def blank(match):
        found = match.group(0)
        return found if found.startswith('"') else re.sub(r"[^\n]", " ", found)

    return pattern.sub(blank, text)


def is_windows_header(name):
    lowered = name.lower()
    return lowered.startswith(WINDOWS_FOLDERS) or (lowered.endswith(".h") and lowered[:-2] in WINDOWS_HEADERS)


def check_file(path, source_root):
    parts = path.relative_to(source_root).parts
    room = parts[0]
    if room not in MAY_USE:
        yield 1, f"'{room}' is no room; add it to the table in tools/check_includes.py"
        return
    allowed = reachable(room)
    in_windows = parts[:2] == ("platform", "windows")
    for number, line in enumerate(without_comments(path.read_text(encoding="utf-8")).splitlines(), 1):
        include = INCLUDE.match(line)
        if not include:
            question = SYSTEM_QUESTION.search(STRING.sub("", line))
            if question and room != "platform":
                yield number, f"{question.group(1)}: which system this is, is decided by src/platform and the build"
            continue
        quoted, name = include.group(1) == '"', include.group(2)
        if is_windows_header(name) and not in_windows:
            yield number, f"<{name}> is a Windows header; only src/platform/windows includes those"
        elif quoted and ".." in Path(name).parts:
            yield number, f'"{name}" leaves its folder; name the room instead'
        elif Path(name).parts[0] in MAY_USE and len(Path(name).parts) > 1:
            target = Path(name).parts[0]
            if target not in allowed:
                yield number, f'"{name}": {room} may not use {target}'
            elif target == "platform" and len(Path(name).parts) > 2 and room != "platform":
                yield number, f'"{name}" belongs to one machine; the rooms above include the headers of src/platform'
        elif quoted and not name.endswith(".moc") and not (path.parent / name).exists() and not (source_root / name).exists():
            yield number, f'"{name}" names no file of the sources; generated and outside headers are written <...>'


def main():
    root = Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).parent.parent).resolve()
    source_root = root / "src"
    files = sorted(p for p in source_root.rglob("*") if p.suffix in SUFFIXES and p.is_file())
    if not files:
        print(f"no sources below {source_root}")
        return 1
    findings = [f"{p.relative_to(root)}:{n}: {text}" for p in files for n, text in check_file(p, source_root)]
    print("\n".join(findings) if findings else f"{len(files)} files: every include goes down")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
