#!/usr/bin/python3
"""A real installer without a driver for a display in the console: installer_test.py PROGRAM KEPT_FOLDER IMAGE"""

from installer import TIMEOUT, shows_installer
from stage import EMULATOR, check, display_port, run

NAME = "Windows 11"


def installer_comes_up(stage):
    image = stage.medium()
    with stage.kelvo() as kelvo:
        kelvo.create_machine(image)
        kelvo.console(NAME, timeout=30)
        kelvo.wait_for_picture(NAME, shows_installer, TIMEOUT, "the installer's first screen in its colours")
        emulators = stage.guests(EMULATOR)
        check(len(emulators) == 1, f"not one guest runs: {stage.desktop.processes()}")
        kelvo.stop(NAME)
        stage.check_nothing_left(display_port(emulators[0]))
        kelvo.quit()


if __name__ == "__main__":
    run(installer_comes_up, TIMEOUT + 120)
