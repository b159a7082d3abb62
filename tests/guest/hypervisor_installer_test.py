#!/usr/bin/python3
"""A real installer on the hypervisor layer, operated by keys: hypervisor_installer_test.py PROGRAM KEPT_FOLDER IMAGE"""

import sys
import time
from pathlib import Path

from installer import BACKGROUND, DIALOG, SELECTION, TIMEOUT
from stage import EMULATOR, check, run

NAME = "Linux ARM64"


def shows_installer(picture):
    """On a screen of 1920x1080, of which the installer uses the upper part."""
    return (picture.share(BACKGROUND, (0, 0.1, 1, 0.2)) > 0.9 and picture.share(DIALOG, (0.25, 0.35, 0.75, 0.7)) > 0.7
            and selection(picture) is not None)


def selection(picture):
    """The height at which the selected line is, from 0 to 1."""
    heights = (step / 100 for step in range(20, 90))
    return next((height for height in heights if picture.share(SELECTION, (0.4, height, 0.5, height + 0.005)) > 0.3), None)


def installer_is_operated(stage):
    image = stage.home / "installer.iso"
    image.symlink_to(Path(sys.argv[3]).resolve())
    with stage.kelvo() as kelvo:
        kelvo.create_machine(image, NAME)
        console = kelvo.console(NAME, timeout=30)
        kelvo.wait_for_picture(NAME, shows_installer, TIMEOUT, "the installer's first screen in its colours")
        console.find("Guest screen").click()
        before = selection(kelvo.wait_for_still_picture(NAME, 60))
        kelvo.keys("Down", "Down", "Down")
        kelvo.wait_for_picture(NAME, lambda picture: (selection(picture) or 0) > before, 20, "the selection to move down")
        kelvo.keys("Up", "Up", "Up")
        kelvo.wait_for_picture(NAME, lambda picture: selection(picture) == before, 20, "the selection to move up again")

        # The installer's second console is a shell.
        kelvo.keys("Alt_L+F2")
        kelvo.wait_for_picture(NAME, lambda picture: selection(picture) is None, 20, "the installer's shell")
        # Its prompt comes after a key, and its cursor never stands still.
        kelvo.keys("Return")
        time.sleep(3)
        kelvo.type_text("poweroff -f")
        kelvo.keys("Return")
        console.find("Powered Off", "label", timeout=60)
        check(not stage.guests(EMULATOR), f"left behind: {stage.desktop.processes()}")
        kelvo.quit()


if __name__ == "__main__":
    run(installer_is_operated, TIMEOUT + 120)
