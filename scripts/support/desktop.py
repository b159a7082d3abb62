"""A desktop of its own: X server, window manager, message bus and accessibility bus, gone without a trace afterwards."""

import ctypes
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

PR_SET_CHILD_SUBREAPER = 36
DESKTOP_SIZE = (1600, 1200)
# How many times as long everything takes here as on a computer of one's own.
PATIENCE = float(os.environ.get("KELVO_PATIENCE", "1"))
START_TIMEOUT = 20.0 * PATIENCE
END_TIMEOUT = 5.0 * PATIENCE


class DesktopError(Exception):
    pass


def children_of(process_id):
    """Process numbers of the direct children, zombies left out."""
    result = []
    for entry in Path("/proc").iterdir():
        if not entry.name.isdigit():
            continue
        try:
            state, parent = (entry / "stat").read_text().rpartition(")")[2].split()[:2]
        except OSError:
            continue  # it has ended since the folder was read
        if int(parent) == process_id and state != "Z":
            result.append(int(entry.name))
    return result


def descendants_of(process_id):
    result = []
    for child in children_of(process_id):
        result += [child, *descendants_of(child)]
    return result


def command_of(process_id):
    """The command line as a list; empty for a process that has ended."""
    try:
        return Path(f"/proc/{process_id}/cmdline").read_bytes().decode(errors="replace").split("\0")[:-1]
    except OSError:
        return []


class Desktop:
    """Use as a context manager, once in a process (the accessibility client keeps its first connection).

    `environment` is what a program on this desktop gets.

    Every process that is started here, also by somebody on this desktop and also one that has outlived its parent,
    is ended when the context is left. With display="own" there is always a new X server; with display="user" it is
    the one in $DISPLAY.
    """

    def __init__(self, display="own", size=DESKTOP_SIZE):
        self._display = display
        self._size = size
        self.folder = None
        self.environment = {}
        self._other_session = None

    def __enter__(self):
        # What a guest or the accessibility bus leaves behind becomes our child and so can be found and ended.
        ctypes.CDLL(None, use_errno=True).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)
        self.folder = Path(tempfile.mkdtemp(prefix="kelvo-desktop-"))
        try:
            self._start()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        self._end_processes()
        shutil.rmtree(self.folder, ignore_errors=True)

    def other_session(self):
        """The address of a second session's bus, whose programs are on the first one's accessibility bus."""
        from gi.repository import Gio, GLib
        address = self._make_message_bus()

        def connect(to):
            flags = Gio.DBusConnectionFlags
            return Gio.DBusConnection.new_for_address_sync(
                to, flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION, None, None)

        session = connect(self.environment["DBUS_SESSION_BUS_ADDRESS"])
        place = session.call_sync("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", None, None, 0, -1, None)

        def answer(bus, message, incoming):
            if not incoming or message.get_member() not in ("GetAddress", "Get"):
                return message
            reply = Gio.DBusMessage.new_method_reply(message)
            is_enabled = GLib.Variant("(v)", (GLib.Variant("b", True),))
            reply.set_body(place if message.get_member() == "GetAddress" else is_enabled)
            bus.send_message(reply, Gio.DBusSendMessageFlags.NONE)
            return None

        self._other_session = connect(address)
        self._other_session.add_filter(answer)
        self._other_session.call_sync("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "RequestName",
                                      GLib.Variant("(su)", ("org.a11y.Bus", 0)), None, 0, -1, None)
        return address

    def spawn(self, command, log=None, **options):
        """Starts a program on this desktop, its output in the given log file or nowhere."""
        output = open(log, "ab") if log else subprocess.DEVNULL
        try:
            return subprocess.Popen(command, env=self.environment, stdin=subprocess.DEVNULL, stdout=output,
                                    stderr=output, **options)
        finally:
            if log:
                output.close()

    def run(self, command):
        """Standard output of a program that is expected to succeed."""
        done = subprocess.run(command, env=self.environment, stdin=subprocess.DEVNULL, capture_output=True,
                              timeout=60 * PATIENCE, check=False)
        if done.returncode != 0:
            raise DesktopError(f"{command[0]} failed: {done.stderr.decode(errors='replace').strip()}")
        return done.stdout

    def processes(self):
        """Command lines of all that runs here, by process number."""
        return {child: command_of(child) for child in descendants_of(os.getpid())}

    def _start(self):
        runtime = self.folder / "runtime"
        runtime.mkdir(mode=0o700)
        kept = ("PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS")
        self.environment = {name: os.environ[name] for name in kept if name in os.environ}
        self.environment |= {"HOME": str(self.folder), "XDG_RUNTIME_DIR": str(runtime), "LC_ALL": "C.UTF-8",
                             "TZ": "UTC"}
        if self._display == "own":
            self._start_x_server()
        else:
            for name in ("DISPLAY", "XAUTHORITY"):
                if name in os.environ:
                    self.environment[name] = os.environ[name]
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = self._make_message_bus()
        # Libraries in this process, the accessibility client above all, look for the desktop in our own environment.
        for name in ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"):
            os.environ[name] = self.environment[name]
        os.environ.pop("AT_SPI_BUS_ADDRESS", None)

    def _start_x_server(self):
        reader, writer = os.pipe()
        width, height = self._size
        with os.fdopen(reader) as answer:
            try:
                self.spawn(["Xvfb", "-displayfd", str(writer), "-screen", "0", f"{width}x{height}x24", "-nolisten",
                            "tcp"], log=self.folder / "x-server.log", pass_fds=[writer])
            finally:
                os.close(writer)
            # The whole line: the server writes its end apart, and would die of a reader that has gone.
            number = answer.readline().strip()
        if not number:
            raise DesktopError("Xvfb did not start: " + (self.folder / "x-server.log").read_text())
        self.environment["DISPLAY"] = f":{number}"
        # Windows get no focus without a window manager, and one that shows up while it is starting is never shown.
        ready = self.folder / "window-manager-ready"
        self.spawn(["openbox", "--sm-disable", "--startup", f"touch {ready}"])
        deadline = time.monotonic() + START_TIMEOUT
        while not ready.exists():
            if time.monotonic() > deadline:
                raise DesktopError("openbox did not start")
            time.sleep(0.02)

    def _make_message_bus(self):
        bus = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address"], env=self.environment,
                               stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        with bus.stdout as output:
            address = output.readline().decode().strip()
        if not address:
            raise DesktopError("dbus-daemon did not start")
        return address

    @staticmethod
    def _end_processes():
        for number in (signal.SIGTERM, signal.SIGKILL):
            deadline = time.monotonic() + END_TIMEOUT
            while time.monotonic() < deadline:
                remaining = descendants_of(os.getpid())
                for process_id in remaining:
                    try:
                        os.kill(process_id, number)
                    except ProcessLookupError:
                        pass
                try:
                    while os.waitpid(-1, os.WNOHANG)[0] > 0:
                        pass
                except ChildProcessError:
                    pass
                if not remaining:
                    return
                time.sleep(0.05)


def main():
    """desktop.py PROGRAM [ARGUMENT...]: runs a program on a desktop of its own; what it leaves running ends with it."""
    # Ended by a signal, the context still has to be left.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    signal.signal(signal.SIGHUP, lambda *_: sys.exit(129))
    home = os.environ["HOME"]
    with Desktop() as desktop:
        print(f"The display is {desktop.environment['DISPLAY']}.", file=sys.stderr)
        environment = desktop.environment | {"HOME": home, "QT_QUICK_BACKEND": "software"}
        sys.exit(subprocess.run(sys.argv[1:], env=environment, check=False).returncode)


if __name__ == "__main__":
    main()
