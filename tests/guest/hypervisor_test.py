#!/usr/bin/python3
"""A Linux machine on the hypervisor layer as its owner sees it: screen, keys, pause, and both ways to an end."""

import time

from application import wait_until
from desktop import DESKTOP_SIZE
from firmware import shows_firmware
from stage import EMULATOR, check, run, take_up

NAME = "Linux ARM64"


def identity(command):
    """What tells the guest which machine it is: its UUID, its network address, its variable store."""
    uuid = command[command.index("-uuid") + 1]
    network = next(word for word in command if word.startswith("virtio-net-pci"))
    store = next(word for word in command if '"node-name":"vars"' in word)
    return uuid, network, store


def fill_the_screen(kelvo, console):
    """There and back without a pointer, from a guest that has the keyboard."""
    def size():
        picture = kelvo.picture(NAME)
        return picture.width, picture.height

    windowed = size()
    kelvo.keys("Control_L+Alt_L")
    kelvo.keys("F11")
    wait_until(lambda: size() == DESKTOP_SIZE, 10, "the console to fill the screen")
    console.wait_gone("Pause", "button")
    kelvo.keys("F11")
    kelvo.keys("Escape")
    time.sleep(0.5)
    check(size() == DESKTOP_SIZE, "a key of the guest's has left full screen")
    kelvo.keys("Control_L+Alt_L")
    console.find("Pause", "button")
    kelvo.keys("Escape")
    wait_until(lambda: size() == windowed, 10, "the console's window to have its size back")


def read_serial_line(kelvo, console):
    """What the firmware says there, too."""
    console.find("Serial Output").press()
    pane = console.find("Serial output", "panel")
    wait_until(lambda: any("UEFI Interactive Shell" in element.name for element in pane.descendants()), 20,
               "the firmware's words on the serial line")
    check(not console.has("Guest screen"), "the guest's screen is shown beside its serial line")
    wait_until(lambda: console.find("Serial Output").is_focused or kelvo.keys("Tab"), 10, "the button to have the focus")
    kelvo.keys("Return")
    console.find("Guest screen")


def life_of_a_linux_machine(stage):
    # Nothing to boot from: the firmware stays in its shell.
    image = stage.blank_image("linux.iso")

    with stage.kelvo() as kelvo:
        kelvo.create_machine(image, "Linux ARM64")
        console = kelvo.console(NAME, timeout=30)
        kelvo.wait_for_picture(NAME, shows_firmware, 60, "the firmware's screen in the console")
        emulators = stage.guests(EMULATOR)
        check(len(emulators) == 1, f"not one guest runs: {stage.desktop.processes()}")
        check(stage.sockets() == ["control.sock"], f"the guest's sockets are {stage.sockets()}")
        stage.check_private()

        before = kelvo.wait_for_still_picture(NAME, 60)
        console.find("Guest screen").click()
        kelvo.type_text("echo typed")
        kelvo.wait_for_picture(NAME, lambda picture: picture != before, 20, "the typed text in the firmware's shell")

        read_serial_line(kelvo, console)
        console.find("Guest screen").click()
        fill_the_screen(kelvo, console)
        console.find("Pause").press()
        console.find("Paused", "label")
        console.find("Resume").press()
        console.find("Running", "label")
        kelvo.stop(NAME)
        stage.check_nothing_left()

        console.find("Finish Install", "button").press()
        console.find("Start", "button").press()
        console.find("Running", "label", timeout=30)
        check(identity(stage.guests(EMULATOR)[0]) == identity(emulators[0]), "it starts as another machine")
        console.find("Pause").press()
        console.find("Paused", "label")
        paused = stage.desktop.processes()
        console.find("Start", "button").press()
        console.find("Running", "label")
        check(stage.desktop.processes() == paused, "the paused guest was not resumed")
        kelvo.wait_for_picture(NAME, shows_firmware, 60, "the firmware's screen after the second start")
        kelvo.wait_for_still_picture(NAME, 60)
        console.find("Guest screen").click()
        kelvo.type_text("reset -s")
        kelvo.keys("Return")
        console.find("Powered Off", "label", timeout=60)
        stage.check_nothing_left()

        console.find("Start", "button").press()
        kelvo.wait_for_picture(NAME, shows_firmware, 60, "the firmware's screen after the third start")
        kelvo.crash()
    take_up(stage, NAME, shows_firmware, "Start")


if __name__ == "__main__":
    run(life_of_a_linux_machine, 300)
