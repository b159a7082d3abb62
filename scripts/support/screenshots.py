"""Makes pictures of every window in every state, by using Kelvo as a person does."""

import argparse
import os
import signal
import subprocess
import sys
import time
from collections import deque
from contextlib import contextmanager, suppress
from pathlib import Path

import library
from application import NotFound, command_of, wait_until
from desktop import Desktop, DesktopError, children_of
from firmware import shows_firmware, shows_refusal
from kelvo import MACHINES, Kelvo

SCHEMES = ("light", "dark")
# The window's own first size, and one that has room for all machines' cards.
USUAL = (1120, 740)
LARGE = (1540, 1000)


class Album:
    """Takes pictures of a running Kelvo into a folder."""

    def __init__(self, kelvo, folder):
        self._kelvo = kelvo
        self._folder = folder

    def take_end(self, name, window):
        """What one sees who has scrolled down as far as it goes."""
        self._kelvo.activate(window)
        self._kelvo.window(window).point_at()
        self._kelvo.desktop.run(["xdotool", "click", "--repeat", "60", "--delay", "5", "5"])
        self.take(name, window)

    def take(self, name, window=MACHINES, pointer_on=None, moves=False):
        """Once the window stands still, unless it moves. The pointer is out of the way if it is not on an element."""
        if pointer_on:
            pointer_on.point_at()
            time.sleep(1)  # until a tool tip is there, if there is one
        else:
            self._kelvo.desktop.run(["xdotool", "mousemove", "1599", "1199"])
        if not moves:
            self._wait_for_stillness(window)
        self._kelvo.save_picture(window, self._folder / f"{name}.png")
        say(f"{self._folder.name}/{name}.png")

    def _wait_for_stillness(self, window):
        """Also where a text cursor blinks, as fast as pictures are taken."""
        last = deque(maxlen=2)

        def stands_still():
            picture = self._kelvo.picture(window)
            is_known = picture in last
            last.append(picture)
            return is_known

        wait_until(stands_still, 10, f"a still \"{window}\"")


def first_steps(kelvo, album):
    """What somebody sees who has no machine yet: the empty list and the wizard."""
    main = kelvo.window(MACHINES)
    main.find("No Virtual Machines", "panel")
    album.take("list-empty")

    main.find("New Virtual Machine", "button").press()
    wizard = main.find("New Virtual Machine", "dialog")
    wizard.find("Windows 11 ARM64", "radio button")
    album.take("wizard-1-system")
    wizard.find("Continue").press()
    wizard.find("Choose ISO…")
    album.take("wizard-2-media-none")
    wizard.find("Choose ISO…").press()
    main.find("Choose ISO", "dialog").find("Images", "label")
    album.take("file-panel")
    kelvo.choose_file(kelvo.home / "Images" / "Windows11_ARM64.iso")
    wizard.find("Windows11_ARM64.iso", "label")
    album.take("wizard-2-media")
    wizard.find("What Windows needs here…", "button").press()
    page = main.find("Windows on This Computer", "dialog")
    album.take("windows-notes")
    album.take_end("windows-notes-end", MACHINES)
    page.find("Done", "button").press()
    main.wait_gone("Windows on This Computer", "dialog")
    wizard.find("Continue").press()
    wizard.find("CPU")
    album.take("wizard-3-hardware")
    wizard.find("RAM", "combo box").click()
    album.take("wizard-3-memory")
    kelvo.keys("Escape")
    wizard.find("Continue").press()
    wizard.find("Choose Location…")
    album.take("wizard-4-name")
    wizard.find("Continue").press()
    wizard.find("Create Virtual Machine")
    album.take("wizard-5-summary")


def sections(kelvo, album):
    """The main window with machines that all stand still, its menus, and the settings."""
    main = kelvo.window(MACHINES)
    kelvo.card(library.OFF)
    album.take("list-off")
    album.take("list-hover", pointer_on=kelvo.card(library.OFF).find("Start", "button"))
    album.take("list-tool-tip", pointer_on=kelvo.card(library.OFF).find("Stop", "button"))
    kelvo.activate(MACHINES)
    for name, key in (("menu-file", "alt+f"), ("menu-machine-none", "alt+v")):
        kelvo.keys(key)
        album.take(name)
        kelvo.keys("Escape")
    main.find("Downloads", "list item").press()
    kelvo.window("Kelvo").find("Downloads", "heading")
    album.take("downloads", "Kelvo")
    kelvo.window("Kelvo").find("Running", "list item").press()
    kelvo.window("Running").find("No Virtual Machines", "panel")
    album.take("running-none", "Running")
    kelvo.window("Running").find("Settings", "list item").press()
    kelvo.window("Kelvo").find("Settings", "heading")
    album.take("settings", "Kelvo")
    kelvo.window("Kelvo").find(MACHINES, "list item").press()
    kelvo.window(MACHINES).find(library.OFF, "list item")
    kelvo.keys("ctrl+comma")
    kelvo.window("Settings")
    album.take("settings-window", "Settings")
    album.take_end("settings-window-end", "Settings")
    kelvo.close("Settings")
    kelvo.activate(MACHINES)
    kelvo.keys("Tab", "Tab", "Tab", "Right")
    album.take("list-keyboard")
    settings_of(kelvo, album, library.OFF, "settings-machine")


def settings_of(kelvo, album, machine, name):
    kelvo.card(machine).find("Settings", "button").press()
    kelvo.window("Kelvo").find("VM Settings", "heading")
    album.take(name, "Kelvo")
    album.take_end(f"{name}-end", "Kelvo")
    kelvo.window("Kelvo").find(MACHINES, "list item").press()
    kelvo.window(MACHINES).find(machine, "list item")


def failures(kelvo, album):
    kelvo.resize(MACHINES, *LARGE)
    kelvo.card(library.BROKEN).find("Start", "button").press()
    alert = kelvo.window(MACHINES).find("Kelvo", "dialog", timeout=30)
    album.take("alert")
    alert.find("OK").press()
    kelvo.window(MACHINES).wait_gone("Kelvo", "dialog")
    open_console(kelvo, library.BROKEN)
    album.take("console-error", library.BROKEN)
    kelvo.close(library.BROKEN)


def guests(kelvo, album):
    """Consoles, from off over every step of a start to paused, and what the main window shows meanwhile."""
    open_console(kelvo, library.OFF)
    album.take("console-off", library.OFF)
    kelvo.close(library.OFF)

    console = open_console(kelvo, library.NEW)
    album.take("console-install", library.NEW)
    console.find("Install Windows").press()
    with halted_emulator(kelvo):
        console.find("Starting…", "heading")
        album.take("console-starting", library.NEW, moves=True)
    console.find("Running", "label", timeout=60)
    kelvo.stop(library.NEW)
    album.take("console-installing", library.NEW)
    kelvo.close(library.NEW)

    kelvo.activate(MACHINES)
    kelvo.card(library.INSTALLED).find("Start", "button").press()
    kelvo.card(library.INSTALLED).find("Running", "label", timeout=60)
    with halted_emulator(kelvo):
        open_console(kelvo, library.INSTALLED).find("Connecting to VM display…")
        album.take("console-connecting", library.INSTALLED, moves=True)
    wait_for_firmware(kelvo, library.INSTALLED)
    album.take("console-running", library.INSTALLED)
    kelvo.keys("Control_L+Alt_L")
    album.take("console-keyboard-released", library.INSTALLED)
    kelvo.keys("F11")
    album.take("console-full-screen", library.INSTALLED)
    kelvo.keys("Control_L+Alt_L")
    kelvo.keys("F11")
    kelvo.console(library.INSTALLED).find("Shut Down", "button").press()
    kelvo.console(library.INSTALLED).find("Shutting Down", "label")
    album.take("console-shutting-down", library.INSTALLED)

    open_console(kelvo, library.LINUX).find("Start", "button").press()
    wait_for_firmware(kelvo, library.LINUX)
    kelvo.console(library.LINUX).find("Pause").press()
    kelvo.console(library.LINUX).find("Paused", "label")
    album.take("console-paused", library.LINUX)
    overdue = f"“{library.INSTALLED}” Has Not Shut Down"
    kelvo.console(library.INSTALLED).find(overdue, "dialog", timeout=60)
    album.take("alert-shut-down", library.INSTALLED)
    kelvo.answer(library.INSTALLED, overdue, "Keep Running")

    kelvo.activate(MACHINES)
    kelvo.card(library.INSTALLED).find("Running", "label").click()
    album.take("list-large")
    kelvo.resize(MACHINES, *USUAL)
    album.take("list")
    kelvo.keys("alt+v")
    album.take("menu-machine")
    kelvo.keys("Escape")
    question = f"Stop “{library.INSTALLED}”?"
    kelvo.card(library.INSTALLED).find("Stop", "button").press()
    kelvo.window(MACHINES).find(question, "dialog")
    album.take("alert-stop")
    kelvo.keys("Escape")
    kelvo.window(MACHINES).wait_gone(question, "dialog")
    settings_of(kelvo, album, library.INSTALLED, "settings-machine-running")
    kelvo.window(MACHINES).find("Running", "list item").press()
    kelvo.window("Running").find(library.INSTALLED, "list item")
    album.take("running", "Running")
    kelvo.window("Running").find(MACHINES, "list item").press()
    kelvo.window(MACHINES).find(library.OFF, "list item")
    kelvo.keys("ctrl+q")
    kelvo.window(MACHINES).find("Quit Kelvo?", "dialog")
    album.take("alert-quit")
    kelvo.keys("Escape")
    kelvo.window(MACHINES).wait_gone("Quit Kelvo?", "dialog")
    for name in (library.INSTALLED, library.LINUX):
        kelvo.stop(name)


def wait_for_firmware(kelvo, name):
    """Where it stays: there is nothing to boot from."""
    shows = shows_firmware if name == library.LINUX else shows_refusal
    kelvo.wait_for_picture(name, shows, 120, "the firmware's screen in the console")
    kelvo.wait_for_still_picture(name, 60)


def open_console(kelvo, name):
    kelvo.activate(MACHINES)
    kelvo.card(name).find("Console", "button").press()
    return kelvo.console(name)


@contextmanager
def halted_emulator(kelvo):
    """Holds a guest where it is, however short that state is otherwise."""
    def find():
        commands = {child: command_of(child) for child in children_of(kelvo.process_id)}
        return next((child for child, command in commands.items()
                     if command and Path(command[0]).name == "qemu-system-aarch64"), None)

    deadline = time.monotonic() + 30
    while not (emulator := find()):
        if time.monotonic() > deadline:
            raise NotFound("waited 30 s for an emulator")
    os.kill(emulator, signal.SIGSTOP)
    try:
        yield
    finally:
        with suppress(ProcessLookupError):  # Kelvo has given it up
            os.kill(emulator, signal.SIGCONT)


def screenshots(desktop, program, folder, schemes):
    for scheme in schemes:
        pictures = folder / scheme
        pictures.mkdir(parents=True, exist_ok=True)
        home = desktop.folder / scheme
        library.make_images(home)
        with Kelvo(desktop, program, home, scheme) as kelvo:
            first_steps(kelvo, Album(kelvo, pictures))
        library.make_machines(home)
        with Kelvo(desktop, program, home, scheme) as kelvo:
            album = Album(kelvo, pictures)
            for part in (sections, failures, guests):
                part(kelvo, album)
            kelvo.quit()


def say(text):
    print(f"screenshots: {text}", file=sys.stderr, flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--program", type=lambda text: Path(text).resolve(), required=True)
    parser.add_argument("--scheme", choices=SCHEMES, help="the only one of the two that is taken")
    parser.add_argument("folder", type=lambda text: Path(text).resolve())
    arguments = parser.parse_args()
    # Ended by a signal, the contexts still have to be left.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    signal.signal(signal.SIGHUP, lambda *_: sys.exit(129))
    try:
        with Desktop() as desktop:
            schemes = [arguments.scheme] if arguments.scheme else SCHEMES
            screenshots(desktop, arguments.program, arguments.folder, schemes)
    except KeyboardInterrupt:
        sys.exit(130)
    except (NotFound, DesktopError, RuntimeError, subprocess.TimeoutExpired, OSError) as error:
        sys.exit(f"screenshots: {error}")


if __name__ == "__main__":
    main()
