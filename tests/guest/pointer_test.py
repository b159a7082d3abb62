#!/usr/bin/python3
"""Clicks arrive where the console shows the place that was meant: pointer_test.py PROGRAM KEPT_FOLDER IMAGE

The guest of the image draws a square wherever it is clicked (guests/pointer.sh). Both kinds of console, at several scales
and with both renderers, each with an application of its own that takes up the guests of the last.
"""

import sys
from itertools import cycle, product

from application import wait_until
from installer import TIMEOUT
from stage import run

MACHINES = {"Windows 11": "Windows 11 ARM64", "Linux ARM64": "Linux ARM64"}
SCALES = ("1", "1.25", "2")
RENDERERS = {"software": {"QT_QUICK_BACKEND": "software"}, "OpenGL": {"QT_QUICK_BACKEND": "rhi", "QSG_RHI_BACKEND": "opengl"}}
# Far from the middle, where a wrong scale shows most; fractions of the console's window.
SPOTS = cycle([(0.3, 0.25), (0.7, 0.85), (0.7, 0.3), (0.3, 0.8)])
BLUE, WHITE = (0, 0, 170), (255, 255, 255)
SQUARE = 32  # pixels of the guest's
TOLERANCE = 2  # of them


def is_ready(picture):
    return picture.share(BLUE) > 0.4


def click_and_look(kelvo, name, what):
    """Clicks on the guest's screen; its square has to come up around that place."""
    before = kelvo.wait_for_picture(name, is_ready, 60, f"the guest's screen ({what})")
    across, down = next(SPOTS)
    meant = round(across * before.width), round(down * before.height)
    kelvo.click_at(name, *meant)

    def finds_square():
        shown = kelvo.picture(name).bounds(WHITE, below=0.1)
        if not shown:
            return False
        left, top, right, bottom = shown
        most = TOLERANCE * (right - left) / SQUARE
        return abs((left + right) / 2 - meant[0]) <= most and abs((top + bottom) / 2 - meant[1]) <= most
    wait_until(finds_square, 60, f"a square around {meant} ({what})")


def clicks_arrive(stage):
    image = stage.medium()
    with stage.kelvo() as kelvo:
        for name, kind in MACHINES.items():
            kelvo.create_machine(image, kind)
            kelvo.wait_for_picture(name, is_ready, TIMEOUT, "the guest to listen to its pointer")
    for scale, (renderer, variables) in product(SCALES, RENDERERS.items()):
        with stage.kelvo(environment={"QT_SCALE_FACTOR": scale} | variables) as kelvo:
            for name in MACHINES:
                kelvo.card(name).find("Console", "button").press()
                kelvo.console(name)
                click_and_look(kelvo, name, f"{name}, scale {scale}, {renderer}")
    with stage.kelvo() as kelvo:
        for name in MACHINES:
            kelvo.show_console(name)
            kelvo.stop(name)
        stage.check_nothing_left()
        kelvo.quit()


if __name__ == "__main__":
    run(clicks_arrive, TIMEOUT + 420, desktop_size=(2400, 1700))
