#!/usr/bin/env python3
"""Holds the sources to the order of the rooms: a room includes only from itself and from the rooms below it.

Also keeps Windows to src/platform/windows: no header of it, and no question which system this is, anywhere else in src.
Prints one line a finding; the exit code is 1 if there is any.

    check_includes.py [root of the repository]
"""

import re
import sys
from pathlib import Path

TABLE = Path("src", "rooms.txt")
ROW = re.compile(r"^([a-z]+(?:/[a-z]+)?)\s*\|([^|]*)\|")


def read_rooms(root):
    """The rooms that each room, and each folder of a room with an order of its own, may use directly."""
    rows = (ROW.match(line) for line in (root / TABLE).read_text(encoding="utf-8").splitlines())
    return {row.group(1): re.findall(r"[a-z/]+", row.group(2)) for row in rows if row}


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


def reachable(rooms, room):
    """The room itself and everything that it may include from."""
    found, open_rooms = set(), [room]
    while open_rooms:
        current = open_rooms.pop()
        if current not in found:
            found.add(current)
            open_rooms += rooms[current]
    return found


def place_of(rooms, parts):
    """The room that a file or an include lies in, or the folder of it that the table names; None for neither."""
    if len(parts) < 2 or parts[0] not in rooms:
        return None
    folder = "/".join(parts[:2])
    if folder in rooms:
        return folder
    # A room whose folders have an order keeps its sources in them.
    return None if len(parts) > 2 and any(room.startswith(parts[0] + "/") for room in rooms) else parts[0]


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


def check_include(rooms, place, name):
    """The reason against including `name`, a file of the sources, in `place`; None if it is allowed."""
    parts = Path(name).parts
    target = place_of(rooms, parts)
    room = place.split("/")[0]
    if target is None:
        return f'"{name}" lies in a folder that is not in {TABLE}'
    allowed = reachable(rooms, place)
    if place != room:
        allowed |= reachable(rooms, room)
    # From outside, a room is one: whoever may use it may use all its folders.
    inside = target.split("/")[0] == room
    if target not in allowed and (inside or target.split("/")[0] not in allowed):
        return f'"{name}": {place} may not use {target}'
    if parts[0] == "platform" and len(parts) > 2 and room != "platform":
        return f'"{name}" belongs to one machine; the rooms above include the headers of src/platform'
    return None


def check_file(path, source_root, rooms):
    parts = path.relative_to(source_root).parts
    room = parts[0]
    place = place_of(rooms, parts)
    if place is None:
        yield 1, f"'{'/'.join(parts[:-1])}' is no room; add it to {TABLE}"
        return
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
        elif Path(name).parts[0] in rooms and len(Path(name).parts) > 1:
            finding = check_include(rooms, place, name)
            if finding:
                yield number, finding
        elif quoted and not name.endswith(".moc") and not (path.parent / name).exists() and not (source_root / name).exists():
            yield number, f'"{name}" names no file of the sources; generated and outside headers are written <...>'


def check_page(root):
    """The table of rooms in docs/architecture.md has the rooms of src/rooms.txt, with the same sentences."""
    page = root / "docs" / "architecture.md"
    if not page.exists():
        return
    text = page.read_text(encoding="utf-8")
    for line in (root / TABLE).read_text(encoding="utf-8").splitlines():
        if ROW.match(line):
            name, _, sentence = (cell.strip() for cell in line.split("|"))
            if f"| `{name}` | {sentence} |" not in text:
                yield f"docs/architecture.md: the row of '{name}' isn't the one of {TABLE}"


def main():
    root = Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).parent.parent).resolve()
    source_root = root / "src"
    files = sorted(p for p in source_root.rglob("*") if p.suffix in SUFFIXES and p.is_file())
    if not files or not (root / TABLE).exists():
        print(f"no sources below {source_root}, or no {TABLE}")
        return 1
    rooms = read_rooms(root)
    findings = [f"{p.relative_to(root)}:{n}: {text}" for p in files for n, text in check_file(p, source_root, rooms)]
    findings += check_page(root)
    print("\n".join(findings) if findings else f"{len(files)} files: every include goes down")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
