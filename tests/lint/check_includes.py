#!/usr/bin/env python3
"""Checks the direction of the #include lines under src: check_includes.py SOURCE_ROOT

Libraries share one include root, so the compiler finds a header that its folder has no business with. A quoted include
must name an existing file from the root, in the same folder or in one below it in the order of ALLOWED.
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
    "App": BELOW_VIRTUALIZATION | {"Virtualization"},
    "UI": BELOW_VIRTUALIZATION | {"Virtualization", "App"},
}
# The program puts the windows and the state together; the library of the state knows no window.
PROGRAM = {"CommandLine", "KelvoApp", "main"}
# The only files that may include a controller besides the controller's own.
CONTROLLER_USERS = {
    "QEMUBackendController": {"VMBackendFactory"},
    "AppleVirtualizationController": {"VMBackendFactory", "VMInstaller"},
}
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"')


def problems_of(root: Path, file: Path):
    folder = file.relative_to(root).parts[0]
    for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), 1):
        match = INCLUDE.match(line)
        if not match or match[1].endswith(".moc"):
            continue
        included = Path(match[1])
        where = f"{file}:{number}:"
        if not (root / included).is_file():
            yield f"{where} \"{included}\" is no file under {root}"
            continue
        target = included.parts[0]
        is_program = folder == "App" and file.stem in PROGRAM
        if target != folder and target not in ALLOWED.get(folder, set()) and not (is_program and target == "UI"):
            yield f"{where} {folder} may not include {target}"
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
