#!/usr/bin/env python3
"""Checks that catalogues are complete: check_translations.py LUPDATE SOURCE_ROOT CATALOGUE...

Every text of the sources has a finished translation, nothing is left of texts that have gone, and a translation has the
place holders (%1, %n) and as many mnemonics (&) as its text.
"""

import re
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree
from pathlib import Path

PLACE_HOLDER = re.compile(r"%(?:\d+|n)")


def problems_of(message):
    source = message.findtext("source")
    translation = message.find("translation")
    if translation.get("type"):
        yield translation.get("type")
        return
    forms = [form.text or "" for form in translation.findall("numerusform")] or [translation.text or ""]
    for form in forms:
        if not form.strip():
            yield "empty"
        if sorted(PLACE_HOLDER.findall(form)) != sorted(PLACE_HOLDER.findall(source)):
            yield f"other place holders in \"{form}\""
        if form.count("&") != source.count("&"):
            yield f"another number of mnemonics in \"{form}\""


def main() -> int:
    lupdate, root, *catalogues = sys.argv[1:]
    problems = []
    count = 0
    for catalogue in catalogues:
        with tempfile.TemporaryDirectory() as folder:
            updated = Path(folder) / Path(catalogue).name
            shutil.copy(catalogue, updated)
            subprocess.run([lupdate, "-silent", "-extensions", "cpp,h,qml", "-locations", "none", root, "-ts", updated],
                           check=True)
            for context in ElementTree.parse(updated).iter("context"):
                for message in context.iter("message"):
                    count += 1
                    text = f"{Path(catalogue).name}: {context.findtext('name')}: \"{message.findtext('source')}\""
                    problems += [f"{text}: {problem}" for problem in problems_of(message)]
    if not count:
        problems = ["no texts found"]
    print("\n".join(problems) or f"{count} texts")
    return 1 if problems else 0


sys.exit(main())
