#!/usr/bin/env python3
"""Packs a folder into a zip that depends on nothing but the folder's files: sorted, of one time, without owners.

The files come in one top folder, named as the packed one is.

    make_zip.py FOLDER ARCHIVE
"""

import sys
import zipfile
from pathlib import Path

# The earliest that the format knows.
TIME = (1980, 1, 1, 0, 0, 0)


def main() -> int:
    if len(sys.argv) != 3:
        print(__doc__)
        return 2
    folder, target = Path(sys.argv[1]), sys.argv[2]
    files = sorted((p for p in folder.rglob("*") if p.is_file()), key=lambda p: p.relative_to(folder).as_posix())
    if not files:
        print(f"nothing to pack in {folder}")
        return 1
    with zipfile.ZipFile(target, "w") as archive:
        for path in files:
            entry = zipfile.ZipInfo(f"{folder.name}/{path.relative_to(folder).as_posix()}", TIME)
            entry.create_system, entry.external_attr = 3, 0o100644 << 16
            archive.writestr(entry, path.read_bytes(), zipfile.ZIP_DEFLATED, 9)
    return 0


if __name__ == "__main__":
    sys.exit(main())
