#!/usr/bin/python3
"""Guests that do to their display what drivers do: display_test.py PROGRAM KEPT_FOLDER IMAGE KIND NAME

A screen of 3840x2160, a cursor that the display draws, and ten changes of the mode a second (guests/display.c).
"""

import ctypes
import re
import subprocess
import sys

from application import wait_until
from installer import TIMEOUT
from stage import run

KIND, NAME = sys.argv[4:]
BLUE, GREEN, MAGENTA, WHITE = (0, 0, 170), (0, 170, 0), (170, 0, 170), (255, 255, 255)
TOLERANCE = 2  # pixels of the picture


def largest_screen():
    """What the emulator's display server takes, in pixels; it cuts off what is more (ui/vnc.h: VNC_MAX_WIDTH)."""
    said = subprocess.run(["qemu-system-aarch64", "--version"], capture_output=True, text=True, check=True).stdout
    major, minor = (int(part) for part in re.search(r"version (\d+)\.(\d+)", said).groups())
    return (2560, 2048) if (major, minor) < (9, 1) else (5120, 2160)


def has_screen(kelvo, colour, width, height):
    """The console shows a guest's screen of this size and colour, with its white square where it belongs."""
    picture = kelvo.picture(NAME)
    top, bottom = kelvo.screen_rows(NAME)
    shown = [min(pair) for pair in zip((width, height), largest_screen())]
    scale = min(picture.width / shown[0], (bottom - top) / shown[1])
    left, first = (picture.width - shown[0] * scale) / 2, top + (bottom - top - shown[1] * scale) / 2
    edge = height / 4 * scale
    square = picture.bounds(WHITE, below=top / picture.height)
    meant = (left, first, left + edge, first + edge)
    return (picture.share(colour) > 0.4 and square is not None
            and all(abs(is_at - should_be) <= TOLERANCE for is_at, should_be in zip(square, meant)))


class CursorImage(ctypes.Structure):
    """XFixesCursorImage (X11/extensions/Xfixes.h)."""
    _fields_ = [("x", ctypes.c_short), ("y", ctypes.c_short), ("width", ctypes.c_ushort), ("height", ctypes.c_ushort),
                ("hot_x", ctypes.c_ushort), ("hot_y", ctypes.c_ushort), ("serial", ctypes.c_ulong),
                ("pixels", ctypes.POINTER(ctypes.c_ulong))]


def pointer_colours(desktop):
    """All colours of the pointer as the desktop shows it: alpha, red, green and blue in one number."""
    x, fixes = ctypes.CDLL("libX11.so.6"), ctypes.CDLL("libXfixes.so.3")
    x.XOpenDisplay.restype = ctypes.c_void_p
    fixes.XFixesGetCursorImage.restype = ctypes.POINTER(CursorImage)
    server = ctypes.c_void_p(x.XOpenDisplay(desktop.environment["DISPLAY"].encode()))
    try:
        image = fixes.XFixesGetCursorImage(server).contents
        return {pixel & 0xffffffff for pixel in image.pixels[:image.width * image.height]}
    finally:
        x.XCloseDisplay(server)


def guests_drive_their_displays(stage):
    image = stage.medium()
    with stage.kelvo() as kelvo:
        kelvo.create_machine(image, KIND)
        console = kelvo.console(NAME, timeout=30)
        bundle = next(stage.home.rglob(f"{NAME}.vm"))
        if KIND == "Windows 11 ARM64":  # until told otherwise, its screen is for guests without a driver
            kelvo.stop(NAME)
            (bundle / "virtio-display").touch()
            console.find("Install", "button").press()

        def wait_for_screen(colour, width, height):
            wait_until(lambda: has_screen(kelvo, colour, width, height), TIMEOUT, f"a screen of {width}x{height}")

        console.find("Guest screen", timeout=60)
        wait_for_screen(BLUE, 1280, 800)
        screen = console.find("Guest screen")
        screen.click()
        kelvo.keys("Return")
        wait_for_screen(GREEN, 3840, 2160)

        kelvo.keys("Return")
        wait_for_screen(BLUE, 1280, 800)
        screen.point_at()
        if KIND == "Linux ARM64":
            wait_until(lambda: pointer_colours(stage.desktop) == {0xff00aa00}, 10, "the guest's own pointer")

        # While its screen changes all the time, a guest can be controlled and finds the keyboard again.
        kelvo.keys("Return")
        wait_until(lambda: has_screen(kelvo, MAGENTA, 640, 480), 60, "the first change")
        serial = bundle / "serial.log"
        console.find("Pause", "button").press()
        console.find("Paused", "label")
        console.find("Resume", "button").press()
        console.find("Running", "label")

        def ends_changes():
            if console.has("Guest screen"):
                screen.click()
                kelvo.keys("Return")
            return b"no more changes" in serial.read_bytes()
        wait_until(lambda: b"change 20" in serial.read_bytes(), 60, "many changes")
        wait_until(ends_changes, 60, "the guest to end its changes")
        wait_for_screen(MAGENTA, 640, 480)
        kelvo.stop(NAME)
        stage.check_nothing_left()
        kelvo.quit()


if __name__ == "__main__":
    run(guests_drive_their_displays, TIMEOUT + 300)
