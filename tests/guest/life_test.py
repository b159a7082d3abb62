#!/usr/bin/python3
"""A machine's whole life, from the installation to the second start from its disk: life_test.py PROGRAM KEPT_FOLDER IMAGE KIND NAME

The guest of the image installs a small system; what its colours mean is in guests/life.sh.
"""

import sys

from installer import TIMEOUT
from stage import check, run

KIND, NAME = sys.argv[4:]
BLUE, GREEN, CYAN, RED = (0, 0, 170), (0, 170, 0), (0, 170, 170), (170, 0, 0)


def is_painted(colour):
    def shows(picture):
        check(picture.share(RED, (0.2, 0.2, 0.8, 0.9)) < 0.9, "the guest says that it failed")
        return picture.share(colour, (0.2, 0.2, 0.8, 0.9)) > 0.95
    return shows


def log_in(kelvo, console, colour):
    """Waits for the prompt on a screen of that colour, and answers it."""
    kelvo.wait_for_picture(NAME, is_painted(colour), TIMEOUT, "the installed system's login")
    console.find("Guest screen").click()
    kelvo.type_text("kelvo")
    kelvo.keys("Return")
    kelvo.wait_for_picture(NAME, is_painted(CYAN), 60, "the installed system's shell")


def type_line(kelvo, line):
    # A guest that is emulated takes its time for each key.
    kelvo.type_text(line, delay=60)
    kelvo.keys("Return")


def power_off(stage, kelvo, console):
    type_line(kelvo, "sync; poweroff -f")
    console.find("Powered Off", "label", timeout=60)
    stage.check_nothing_left()


def machine_lives(stage):
    image = stage.medium()
    with stage.kelvo() as kelvo:
        kelvo.create_machine(image, KIND)
        console = kelvo.console(NAME, timeout=30)
        console.find("Running", "label", timeout=60)
        console.find("Powered Off", "label", timeout=TIMEOUT)
        stage.check_nothing_left()
        console.find("Finish Install", "button").press()

        console.find("Start", "button").press()
        log_in(kelvo, console, BLUE)
        type_line(kelvo, "echo still here > note.txt")
        power_off(stage, kelvo, console)

        console.find("Start", "button").press()
        log_in(kelvo, console, GREEN)
        power_off(stage, kelvo, console)
        kelvo.quit()


if __name__ == "__main__":
    run(machine_lives, 3 * TIMEOUT + 120)
