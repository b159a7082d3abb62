#!/usr/bin/env python3
"""Checks the direction of the #include lines under src: check_includes.py SOURCE_ROOT

Libraries share one include root, so the compiler finds a header that its folder has no business with. The folders of
ALLOWED, each without those below it that are named too, are the tree's rooms: a quoted include must name an existing
file from the root, in the same room or in one that ALLOWED lists for it.
"""

import re
import sys
from pathlib import Path

BELOW_VIRTUALIZATION = {"Services", "Models", "Platform", "RemoteFramebuffer"}
ALLOWED = {
    "RemoteFramebuffer": set(),
    "Platform": {"RemoteFramebuffer"},
    "Models": {"Platform", "RemoteFramebuffer"},
    "Services": {"Models", "Platform", "RemoteFramebuffer"},
    "Virtualization": BELOW_VIRTUALIZATION,
    "App/State": BELOW_VIRTUALIZATION | {"Virtualization"},
    "UI/Toolkit": {"Platform"},
    "UI/Components/Display": {"Platform", "RemoteFramebuffer"},
    "UI": BELOW_VIRTUALIZATION | {"Virtualization", "App/State", "UI/Toolkit", "UI/Components/Display"},
    "App": BELOW_VIRTUALIZATION | {"Virtualization", "App/State", "UI", "UI/Toolkit"},
}
# The only files that may include a controller besides the controller's own.
CONTROLLER_USERS = {
    "QEMUBackendController": {"VMBackendFactory"},
    "AppleVirtualizationController": {"VMBackendFactory", "VMInstaller"},
}
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"')


def room_of(file: Path):
    return next((str(folder) for folder in file.parents if str(folder) in ALLOWED), None)


def problems_of(root: Path, file: Path):
    room = room_of(file.relative_to(root))
    for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), 1):
        match = INCLUDE.match(line)
        if not match or match[1].endswith(".moc"):
            continue
        included = Path(match[1])
        where = f"{file}:{number}:"
        if not (root / included).is_file():
            yield f"{where} \"{included}\" is no file under {root}"
            continue
        target = room_of(included)
        if target != room and target not in ALLOWED.get(room, set()):
            yield f"{where} {room} may not include {target}"
        users = CONTROLLER_USERS.get(included.stem)
        if users is not None and file.stem not in users | {included.stem}:
            yield f"{where} only {', '.join(sorted(users))} may know {included.stem}"


def main() -> int:
    root = Path(sys.argv[1]).resolve()
    files = sorted(file for pattern in ("*.h", "*.cpp") for file in root.rglob(pattern))
    if not files:
        print(f"no sources under {root}", file=sys.stderr)
        return 2
    problems = [problem for file in files for problem in problems_of(root, file)]
    print("\n".join(problems) or f"{len(files)} files")
    return 1 if problems else 0


sys.exit(main())
