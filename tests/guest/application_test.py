#!/usr/bin/python3
"""A machine's whole life as its owner sees it, from the wizard to the next start of the application."""

from firmware import shows_menu, shows_refusal
from stage import EMULATOR, TPM, check, display_port, guest_status, is_listening, run, take_up

NAME = "Windows 11"


def life_of_a_machine(stage):
    # Nothing to boot from: the firmware stays on its own screens.
    image = stage.blank_image("Images/windows.iso")
    bundle = stage.home / "Virtual Machines" / f"{NAME}.vm"

    with stage.kelvo() as kelvo:
        kelvo.create_machine(image)
        console = kelvo.console(NAME, timeout=30)
        kelvo.wait_for_picture(NAME, shows_refusal, 60, "the firmware's screen in the console")
        emulators = stage.guests(EMULATOR)
        check(len(emulators) == 1 and len(stage.guests(TPM)) == 1, f"not one guest runs: {stage.desktop.processes()}")
        port = display_port(emulators[0])
        check(is_listening(port), f"nothing listens on the display's port {port}")
        check(stage.sockets() == ["qmp.sock", "swtpm.sock"], f"the guest's sockets are {stage.sockets()}")
        stage.check_private()
        check(guest_status(bundle / "qmp.sock") == "running", "the guest does not run")

        console.find("Pause").press()
        console.find("Paused", "label")
        check(guest_status(bundle / "qmp.sock") == "paused", "the guest runs on after Pause")
        console.find("Install", "button").press()
        kelvo.dismiss_error(NAME, "Cannot start while virtual machine is paused.")
        console.find("Paused", "label")
        console.find("Resume").press()
        console.find("Running", "label")
        check(guest_status(bundle / "qmp.sock") == "running", "the guest stands still after Resume")
        console.find("Pause").press()
        console.find("Paused", "label")
        kelvo.activate("Virtual Machines")
        kelvo.keys("alt+v")
        kelvo.window("Virtual Machines").find("Start", "menu item").click()
        console.find("Running", "label")
        check(guest_status(bundle / "qmp.sock") == "running", "the guest stands still after Start")
        check(shows_refusal(kelvo.picture(NAME)), "the firmware's screen has gone from the console")

        kelvo.console(NAME).find("Guest screen").click()
        kelvo.keys("Return")
        kelvo.wait_for_picture(NAME, shows_menu, 60, "the firmware's menu, to which any key leads")

        kelvo.stop(NAME)
        stage.check_nothing_left(port)
        card = labels(kelvo.card(NAME))
        console.find("Install", "button").press()
        kelvo.wait_for_picture(NAME, shows_refusal, 60, "the firmware's screen after the second start")
        kelvo.crash()
    take_up(stage, NAME, shows_refusal, "Install")

    documents = {path.name: path.read_bytes() for path in bundle.glob("*.json")}
    with stage.kelvo() as kelvo:
        check(labels(kelvo.card(NAME)) == card, f"the card was {card} and is {labels(kelvo.card(NAME))}")
        cards = kelvo.cards()
        check(len(cards) == 1, f"there are {len(cards)} machines")
        kelvo.quit()
    check(documents == {path.name: path.read_bytes() for path in bundle.glob("*.json")},
          "looking at the machine changed its documents")


def labels(card):
    return [element.name for element in card.descendants() if element.role == "label"]


if __name__ == "__main__":
    run(life_of_a_machine, 300)
