#!/usr/bin/python3
"""Guests that shut down when they are asked to and one that does not: shut_down_test.py PROGRAM KEPT_FOLDER IMAGE KIND NAME"""

import sys

from firmware import shows_firmware, shows_refusal
from installer import TIMEOUT
from stage import check, run

KIND, NAME = sys.argv[4:]
GREY = (170, 170, 170)


def is_ready(picture):
    """The obedient guest listens."""
    return picture.share(GREY, (0.2, 0.2, 0.8, 0.8)) > 0.98


def guests_shut_down(stage):
    image = stage.medium()
    with stage.kelvo() as kelvo:
        kelvo.create_machine(image, KIND)
        console = kelvo.console(NAME, timeout=30)
        kelvo.wait_for_picture(NAME, is_ready, TIMEOUT, "the guest to listen to its power button")
        console.find("Shut Down", "button").press()
        console.find("Powered Off", "label", timeout=60)
        stage.check_nothing_left()

        # An empty disk: the firmware stays where it is, and does not care.
        console.find("Finish Install", "button").press()
        console.find("Start", "button").press()
        kelvo.wait_for_picture(NAME, shows_firmware if KIND == "Linux ARM64" else shows_refusal, 60, "the firmware's screen")
        card = kelvo.card(NAME)
        card.find("Shut Down", "button").press()
        card.find("Shutting Down", "label")
        overdue = f"“{NAME}” Has Not Shut Down"
        kelvo.answer(NAME, overdue, "Keep Running")
        card.find("Running", "label")
        console.find("Shut Down", "button").press()
        kelvo.answer(NAME, overdue, "Stop")
        console.find("Powered Off", "label", timeout=30)
        stage.check_nothing_left()

        # A machine that was installed is not stopped by one hasty press.
        console.find("Start", "button").press()
        console.find("Running", "label", timeout=30)
        card.find("Stop", "button").press()
        main = kelvo.window("Virtual Machines")
        main.find(f"Stop “{NAME}”?", "dialog").find("Cancel", "button").press()
        main.wait_gone(f"Stop “{NAME}”?", "dialog")
        check(console.has("Running", "label"), "the machine was stopped all the same")
        kelvo.stop(NAME)
        stage.check_nothing_left()
        kelvo.quit()


if __name__ == "__main__":
    run(guests_shut_down, TIMEOUT + 240)
