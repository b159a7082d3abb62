#!/usr/bin/python3
"""A real installer on the hypervisor layer, operated by keys: hypervisor_installer_test.py PROGRAM KEPT_FOLDER IMAGE"""

import time

from installer import BACKGROUND, BLACK, DIALOG, SELECTION, TIMEOUT
from stage import check, run

NAME = "Linux ARM64"


def shows_installer(picture):
    """On a screen of 1920x1080, between bars above and below."""
    return (picture.share(BACKGROUND, (0, 0.15, 1, 0.25)) > 0.9 and picture.share(DIALOG, (0.25, 0.35, 0.75, 0.7)) > 0.7
            and selection(picture) is not None)


def check_place(picture, top, bottom):
    """Of the guest's screen, which is as wide as the window and in the middle of these rows."""
    first = top + (bottom - top - picture.width * 1080 // 1920) // 2
    bar, row = ((0, begin / picture.height, 1, end / picture.height) for begin, end in ((top, first), (first, first + 1)))
    check(first > top and picture.share(BLACK, bar) == 1, f"the guest's screen begins above row {first}")
    check(picture.share(BACKGROUND, row) == 1, f"the guest's screen begins below row {first}")


def selection(picture):
    """The height at which the selected line is, from 0 to 1."""
    heights = (step / 100 for step in range(20, 90))
    return next((height for height in heights if picture.share(SELECTION, (0.4, height, 0.5, height + 0.005)) > 0.3), None)


def installer_is_operated(stage):
    image = stage.medium()
    with stage.kelvo() as kelvo:
        kelvo.create_machine(image, NAME)
        console = kelvo.console(NAME, timeout=30)
        kelvo.wait_for_picture(NAME, shows_installer, TIMEOUT, "the installer's first screen in its colours")
        console.find("Guest screen").click()
        picture = kelvo.wait_for_still_picture(NAME, 60)
        check_place(picture, *kelvo.screen_rows(NAME))
        before = selection(picture)
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
        # Only where it sees its medium as a CD-ROM, which is what it looks for: device type 5 of SCSI.
        kelvo.type_text("grep -q 5 /sys/bus/scsi/devices/*/type && poweroff -f", delay=150)
        kelvo.keys("Return")
        console.find("Powered Off", "label", timeout=60)
        stage.check_nothing_left()
        kelvo.quit()


if __name__ == "__main__":
    run(installer_is_operated, TIMEOUT + 120)
