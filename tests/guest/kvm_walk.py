#!/usr/bin/python3
"""Two guests at once on KVM, of both kinds, as a person uses them: kvm_walk.py PROGRAM RESULTS_FOLDER

For a computer with KVM, also an emulated one (scripts/arm64-host). Says what it sees and keeps pictures of it.
"""

import os
import sys
import time
from pathlib import Path

from firmware import shows_firmware, shows_refusal
from kelvo import MACHINES
from stage import EMULATOR, check, run

GUESTS = {"Windows 11": ("Windows 11 ARM64", shows_refusal), "Linux ARM64": ("Linux ARM64", shows_firmware)}
BEGIN = time.monotonic()


def say(text):
    print(f"{time.monotonic() - BEGIN:6.0f} s  {text}", flush=True)


def processors_on_kvm(process_id):
    """How many of an emulator's processors the kernel runs (KVM, api.rst: KVM_CREATE_VCPU returns a descriptor)."""
    return sum("kvm-vcpu" in os.readlink(descriptor) for descriptor in Path(f"/proc/{process_id}/fd").iterdir())


def walk(stage):
    pictures = Path(sys.argv[2])
    pictures.mkdir(parents=True, exist_ok=True)

    def keep(name):
        stage.desktop.run(["import", "-silent", "-window", "root", str(pictures / f"{name}.png")])

    # Nothing to boot from: the firmware says so.
    image = stage.blank_image("setup.iso")
    with stage.kelvo() as kelvo:
        say("Kelvo has started")
        for name, (kind, shows) in GUESTS.items():
            kelvo.create_machine(image, kind)
            say(f"the wizard has made \"{name}\"")
            console = kelvo.console(name)
            kelvo.wait_for_picture(name, shows, 60, f"the firmware's words on the screen of \"{name}\"")
            kelvo.save_picture(name, pictures / f"{name}.png")
            say("its firmware is on its screen")
            console.find("Pause", "button").press()
            console.find("Paused", "label")
            console.find("Resume", "button").press()
            console.find("Running", "label")
            say("it was paused and runs again")
        before = kelvo.wait_for_still_picture(name, 60)
        console.find("Guest screen").click()
        kelvo.type_text("echo typed")
        kelvo.wait_for_picture(name, lambda picture: picture != before, 20, "what was typed")
        kelvo.keys("Control_L+Alt_L")
        say("it shows what was typed")
        kelvo.activate(MACHINES)
        keep("both")
        emulators = {process_id: command for process_id, command in stage.desktop.processes().items()
                     if command and Path(command[0]).name == EMULATOR}
        check(len(emulators) == len(GUESTS), f"the emulators are {emulators}")
        for process_id in emulators:
            count = processors_on_kvm(process_id)
            check(count > 0, f"an emulator does without KVM:\n{kelvo.log.read_text()}")
            say(f"emulator {process_id} has {count} processors on KVM")
        for name in GUESTS:
            kelvo.stop(name)
            say(f"\"{name}\" has stopped")
        stage.check_nothing_left()
        keep("stopped")
        kelvo.quit()
        (pictures / "kelvo.log").write_text(kelvo.log.read_text())
        say("Kelvo has ended, and nothing is left")


if __name__ == "__main__":
    run(walk, 300)
