"""What the tests of whole guests have in common: an application to use, and what is left of a guest to look for."""

import json
import os
import shutil
import signal
import socket
import sys
from contextlib import contextmanager
from itertools import islice
from pathlib import Path

from application import wait_until
from desktop import DESKTOP_SIZE, PATIENCE, Desktop
from kelvo import Kelvo

EMULATOR = "qemu-system-aarch64"
TPM = "swtpm"


class Stage:
    """A desktop with a home folder. What a failed test showed is kept in the given folder as picture, tree and log."""

    def __init__(self, desktop, program, kept):
        self.desktop = desktop
        self.home = desktop.folder / 'Zoë\'s "own", a=b 🏠'  # whatever people call it
        self.home.mkdir()
        self._program = program
        self._kept = kept

    @contextmanager
    def kelvo(self, **options):
        with Kelvo(self.desktop, self._program, self.home, **options) as kelvo:
            try:
                yield kelvo
            except BaseException:
                self._keep(kelvo)
                raise

    def blank_image(self, name):
        """Of a medium with nothing to boot from, in the home folder."""
        image = self.home / name
        image.parent.mkdir(exist_ok=True)
        image.touch()
        os.truncate(image, 1 << 20)
        return image

    def medium(self):
        """The image of the command line PROGRAM KEPT_FOLDER IMAGE, in the home folder."""
        image = self.home / "medium.iso"
        image.symlink_to(Path(sys.argv[3]).resolve())
        return image

    def guests(self, program):
        """Command lines of the running emulators or TPMs."""
        return [command for command in self.desktop.processes().values() if command and Path(command[0]).name == program]

    def log_writers(self):
        """Those who wait for an emulator's application to end, and those who go on after that."""
        waiting = [command for command in self.desktop.processes().values() if command and "emulator.log" in command[-1]]
        return [*waiting, *self.guests("tail")]

    def sockets(self):
        """Names of the socket files in all machines."""
        return sorted(path.name for path in self.home.rglob("*") if path.is_socket())

    def check_private(self):
        """Other users can neither read nor reach anything of the machines', also what the emulators have made."""
        files = list(self.home.rglob("*.vm/**/*"))
        # swtpm gives what it makes modes of its own, in a folder that is closed.
        open_to_others = [str(path) for path in files if path.stat().st_mode & 0o077 and path.parent.name != "tpm"]
        check(files and not open_to_others, f"open to others: {open_to_others}")

    def check_nothing_left(self, port=None):
        """Of a stopped guest whose display was on that port, if on any."""
        check(not self.guests(EMULATOR) and not self.guests(TPM), f"left behind: {self.desktop.processes()}")
        # Who has read what an emulator wrote since its application's end may notice that one's end a moment later.
        wait_until(lambda: not self.log_writers(), 5, "the last process to end")
        check(not self.sockets(), f"left behind: {self.sockets()}")
        check(not port or not is_listening(port), f"something still listens on the display's port {port}")

    def _keep(self, kelvo):
        self._kept.mkdir(parents=True, exist_ok=True)
        self.desktop.run(["import", "-silent", "-window", "root", str(self._kept / "screen.png")])
        (self._kept / "tree.txt").write_text(kelvo.outline() + "\n")
        shutil.copy(kelvo.log, self._kept / "kelvo.log")
        print(f"What it showed is in {self._kept}.\n{kelvo.log.read_text()}", file=sys.stderr)


def take_up(stage, name, shows, start):
    """A guest whose application was killed is shown again, obeys and ends. `shows`: what its picture must be. `start`:
    the button that starts it."""
    with stage.kelvo() as kelvo:
        kelvo.card(name).find("Running", "label")
        emulators = stage.guests(EMULATOR)
        with stage.kelvo(apart=True) as other:
            console = other.show_console(name)
            other.wait_for_picture(name, shows, 60, "the guest's screen in the second application")
            before = other.wait_for_still_picture(name, 60)
            console.find("Guest screen").click()
            other.type_text("echo typed")
            other.wait_for_picture(name, lambda picture: picture != before, 20, "what was typed after the restart")
            console.find("Pause").press()
            console.find("Paused", "label")
            kelvo.card(name).find("Paused", "label", timeout=2)
            console.find("Resume").press()
            console.find("Running", "label")
            kelvo.card(name).find("Running", "label", timeout=2)
            check(stage.guests(EMULATOR) == emulators, "another guest runs")
            other.stop(name)
            kelvo.card(name).find("Powered Off", "label", timeout=2)
            stage.check_nothing_left()
            # And the first one sees what the second one starts.
            console.find(start, "button").press()
            console.find("Running", "label", timeout=30)
            kelvo.card(name).find("Running", "label", timeout=2)
            other.crash()
            wait_until(lambda: stage.guests("tail"), 5, "somebody to read what the emulator writes from now on")
        kelvo.show_console(name)
        kelvo.stop(name)
        stage.check_nothing_left()
        kelvo.quit()


def display_port(command):
    """The port of the display that an emulator's command line asks for ("-display vnc=127.0.0.1:NUMBER,…")."""
    return 5900 + int(command[command.index("-display") + 1].partition(",")[0].rpartition(":")[2])


def is_listening(port):
    with socket.socket() as client:
        client.settimeout(5)
        return client.connect_ex(("127.0.0.1", port)) == 0


def guest_status(qmp_socket):
    """What the emulator itself says that its guest does: "running", "paused" (QMP, query-status)."""
    with socket.socket(socket.AF_UNIX) as client:
        client.settimeout(10)
        client.connect(str(qmp_socket))
        with client.makefile("rw") as lines:
            for command in ("qmp_capabilities", "query-status"):
                lines.write(json.dumps({"execute": command}) + "\n")
            lines.flush()
            # Besides the answers there are the greeting and events.
            answers = (json.loads(line) for line in lines)
            returned = [answer["return"] for answer in islice((a for a in answers if "return" in a), 2)]
    return returned[-1]["status"]


def check(condition, what):
    if not condition:
        raise AssertionError(what)


def run(test, seconds, desktop_size=DESKTOP_SIZE):
    """Runs test(stage) with the command line PROGRAM KEPT_FOLDER; nothing of it outlives the given time."""
    def give_up(*_):
        raise TimeoutError(f"the test took longer than {seconds} s")

    signal.signal(signal.SIGALRM, give_up)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    signal.alarm(int(seconds * PATIENCE))
    program, kept = Path(sys.argv[1]).resolve(), Path(sys.argv[2])
    shutil.rmtree(kept, ignore_errors=True)
    with Desktop(size=desktop_size) as desktop:
        test(Stage(desktop, program, kept))
