#!/usr/bin/python3
"""The application's place on a desktop: one process in a session, awake while a guest runs, asked before it quits."""

import re
import shlex
import subprocess
import sys
from pathlib import Path

from gi.repository import Gio, GLib

from application import wait_until
from kelvo import MACHINES
from stage import EMULATOR, TPM, check, run

NAME = "Windows 11"
SIZE = (1010, 690)


def session_bus(stage):
    flags = Gio.DBusConnectionFlags
    return Gio.DBusConnection.new_for_address_sync(stage.desktop.environment["DBUS_SESSION_BUS_ADDRESS"],
                                                   flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION, None, None)


class SessionManager:
    """Stands in for a desktop's org.gnome.SessionManager and knows who keeps the session from suspending."""

    def __init__(self, bus):
        self.holders = {}
        self._last = 0
        self._bus = bus
        self._bus.add_filter(self._answer)
        self._bus.call_sync("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "RequestName",
                            GLib.Variant("(su)", ("org.gnome.SessionManager", 0)), None, 0, -1, None)

    def _answer(self, bus, message, incoming):
        is_call = incoming and message.get_interface() == "org.gnome.SessionManager"
        if not is_call or message.get_member() not in ("Inhibit", "Uninhibit"):
            return message
        arguments = message.get_body().unpack()
        reply = Gio.DBusMessage.new_method_reply(message)
        if message.get_member() == "Inhibit":
            self._last += 1
            self.holders[self._last] = arguments
            reply.set_body(GLib.Variant("(u)", (self._last,)))
        else:
            self.holders.pop(arguments[0])
        bus.send_message(reply, Gio.DBusSendMessageFlags.NONE)
        return None

    def wait_for_holders(self, count, when):
        wait_until(lambda: len(self.holders) == count, 10, f"{count} holders {when}, not {self.holders}")


def place_on_the_desktop(stage):
    image = stage.blank_image("windows.iso")
    bundle = stage.home / "Virtual Machines" / f"{NAME}.vm"
    session = SessionManager(session_bus(stage))

    program = Path(sys.argv[1]).resolve()

    def start_again(*arguments):
        return subprocess.run([program, *arguments], env=stage.desktop.environment | {"HOME": str(stage.home)},
                              cwd=stage.home, timeout=30, capture_output=True, check=False)

    with stage.kelvo() as kelvo:
        check(start_again(image.name).returncode == 0, "a second start did not hand over the image")
        wizard = kelvo.window(MACHINES).find("New Virtual Machine", "dialog")
        wizard.find("Continue").press()
        wizard.find(image.name, "label")
        kelvo.activate(MACHINES)
        kelvo.keys("Escape")
        kelvo.window(MACHINES).wait_gone("New Virtual Machine", "dialog")
        refused = start_again("nothing.iso")
        check(refused.returncode == 2 and b"nothing.iso" in refused.stderr, f"a missing file led to {refused}")

        kelvo.create_machine(image)
        console = kelvo.console(NAME, timeout=30)
        console.find("Running", "label", timeout=30)
        session.wait_for_holders(1, "while the guest runs")
        console.find("Pause").press()
        session.wait_for_holders(0, "while the guest is paused")
        console.find("Resume").press()
        session.wait_for_holders(1, "after Resume")

        kelvo.close(NAME)
        check(start_again(str(bundle)).returncode == 0, "a second start did not hand over the machine")
        wait_until(lambda: kelvo.has_window(NAME), 10, "the console of the machine that was handed over")
        kelvo.close(NAME)

        for closing in ("ctrl+q", "alt+F4"):
            kelvo.activate(MACHINES)
            kelvo.keys(closing)
            question = kelvo.window(MACHINES).find("Quit Kelvo?", "dialog")
            check(any(NAME in element.name for element in question.descendants()), f"it asks {question.outline()}")
            kelvo.keys("Escape")
            kelvo.window(MACHINES).wait_gone("Quit Kelvo?", "dialog")
        kelvo.resize(MACHINES, *SIZE)
        kelvo.keys("ctrl+q")
        kelvo.window(MACHINES).find("Quit Kelvo?", "dialog")
        kelvo.keys("Return")
        check(kelvo.wait_for_end() == 0, "Kelvo did not end well")
        session.wait_for_holders(0, "after the end")
        check(len(stage.guests(EMULATOR)) == 1 and len(stage.guests(TPM)) == 1, "the guest has ended, too")

    with stage.kelvo() as kelvo:
        wait_until(lambda: size(kelvo) == SIZE, 10, f"a window of the last size, {SIZE}, and not {size(kelvo)}")
        session.wait_for_holders(1, "when the guest is there again")
        kelvo.show_console(NAME)
        kelvo.stop(NAME)
        stage.check_nothing_left()
        kelvo.quit()
    start_over_the_bus(stage, program)


def start_over_the_bus(stage, program):
    """As a desktop launches an entry that is activated over the bus, with the service file that an installation makes."""
    template = (Path(__file__).parents[2] / "packaging" / "vostarn.id.Kelvo.service.in").read_text()
    variables = {"HOME": stage.home, "DISPLAY": stage.desktop.environment["DISPLAY"]}
    assignments = [f"{name}={value}" for name, value in variables.items()]
    with_home = "Exec=" + shlex.join(["/usr/bin/env", *assignments, str(program)])
    services = Path(stage.desktop.environment["XDG_RUNTIME_DIR"]) / "dbus-1" / "services"
    services.mkdir(parents=True, exist_ok=True)
    service = re.sub("^Exec=.*/kelvo$", lambda _: with_home, template, flags=re.MULTILINE)
    (services / "vostarn.id.Kelvo.service").write_text(service)
    session = session_bus(stage)

    def call(name, path, interface, method, arguments=None):
        return session.call_sync(name, path, interface, method, arguments, None, 0, 20000, None)

    call("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "ReloadConfig")
    call("vostarn.id.Kelvo", "/vostarn/id/Kelvo", "org.freedesktop.Application", "ActivateAction",
         GLib.Variant("(sava{sv})", ("settings", [], {})))
    asks_for_active = ["xdotool", "getactivewindow", "getwindowname"]
    wait_until(lambda: subprocess.run(asks_for_active, env=stage.desktop.environment, capture_output=True,
                                      check=False).stdout.startswith(b"Settings"),
               10, "the settings, which the bus was asked for, to have the focus")


def size(kelvo):
    shown = kelvo.picture(MACHINES)
    return shown.width, shown.height


if __name__ == "__main__":
    run(place_on_the_desktop, 200)
