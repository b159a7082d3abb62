"""Shows Kelvo at work: a machine made in the wizard, its installation started, its console open."""

import argparse
import shutil
import signal
import subprocess
import sys
from pathlib import Path

import installer
from application import NotFound
from desktop import Desktop, DesktopError
from kelvo import Kelvo

NAME = "Windows 11"


def demo(arguments, desktop):
    home = desktop.folder / "home"
    (home / "Images").mkdir(parents=True)
    image = home / "Images" / arguments.image.name
    try:
        image.hardlink_to(arguments.image)
    except OSError:
        shutil.copyfile(arguments.image, image)  # it is on another file system

    with Kelvo(desktop, arguments.program, home) as kelvo:
        say("making a machine in the wizard")
        kelvo.create_machine(image)
        kelvo.console(NAME, timeout=30)
        if arguments.display == "user":
            say("the installer's first screen takes a minute; the demo's machine goes when you close Kelvo")
            kelvo.wait_for_end(timeout=None)
            return
        say("waiting for the installer's first screen (about a minute where guests are emulated)")
        kelvo.wait_for_picture(NAME, installer.shows_installer, installer.TIMEOUT, "the installer's first screen")
        kelvo.save_picture(NAME, arguments.picture)
        say(f"the console is in {arguments.picture}")
        kelvo.stop(NAME)
        say("the guest is stopped")
        kelvo.quit()


def say(text):
    print(f"demo: {text}", file=sys.stderr, flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--display", choices=("user", "own"), required=True)
    parser.add_argument("--program", type=lambda text: Path(text).resolve(), required=True)
    parser.add_argument("--image", type=lambda text: Path(text).resolve(), required=True)
    parser.add_argument("--picture", type=lambda text: Path(text).resolve(), required=True)
    arguments = parser.parse_args()
    # Ended by a signal, the contexts still have to be left.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    signal.signal(signal.SIGHUP, lambda *_: sys.exit(129))
    try:
        with Desktop(arguments.display) as desktop:
            demo(arguments, desktop)
    except KeyboardInterrupt:
        sys.exit(130)
    except (NotFound, DesktopError, RuntimeError, subprocess.TimeoutExpired, OSError) as error:
        sys.exit(f"demo: {error}")


if __name__ == "__main__":
    main()
