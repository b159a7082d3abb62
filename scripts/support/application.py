"""Drives a program from outside as a person does: finds what it shows, presses, types and looks (AT-SPI and X)."""

import re
import subprocess
import time

from desktop import PATIENCE, command_of
from screen import Picture


class NotFound(Exception):
    pass


def wait_until(condition, timeout, what):
    """The first true value of the condition; NotFound with `what` when there was none for that many seconds."""
    timeout *= PATIENCE
    deadline = time.monotonic() + timeout
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise NotFound(f"waited {timeout:g} s for {what}")
        time.sleep(0.1)


class Element:
    """Something that the program tells an assistive technology about. May vanish any time: then it is not showing."""

    def __init__(self, accessible, application):
        self._accessible = accessible
        self._application = application

    def _ask(self, question, default):
        from gi.repository import GLib
        try:
            # Nobody here reads the messages that would tell the cache of a change.
            self._accessible.clear_cache()
            return question()
        except GLib.GError:
            return default  # the program has dropped the element or has ended

    def _has_state(self, name):
        from gi.repository import Atspi
        states = self._ask(self._accessible.get_state_set, None)
        return states is not None and states.contains(getattr(Atspi.StateType, name))

    @property
    def name(self):
        return self._ask(self._accessible.get_name, "") or ""

    @property
    def description(self):
        return self._ask(self._accessible.get_description, "") or ""

    @property
    def role(self):
        """As AT-SPI spells it now: "button", "radio button", "list item", "label", "text", "check box", "frame"."""
        name = self._ask(self._accessible.get_role_name, "") or ""
        return "button" if name == "push button" else name  # until AT-SPI 2.56

    @property
    def is_showing(self):
        return self._has_state("SHOWING")

    @property
    def is_focused(self):
        return self._has_state("FOCUSED")

    @property
    def is_checked(self):
        return self._has_state("CHECKED")

    @property
    def text(self):
        """What stands in a text field."""
        count = self._ask(self._accessible.get_character_count, 0)
        return self._ask(lambda: self._accessible.get_text(0, count), "")

    @property
    def children(self):
        """Without the nameless fillers in between, which only some versions of the toolkit have."""
        count = self._ask(self._accessible.get_child_count, 0)
        found = (self._ask(lambda i=i: self._accessible.get_child_at_index(i), None) for i in range(count))
        elements = [Element(child, self._application) for child in found if child is not None]
        return [inner for element in elements
                for inner in (element.children if element.role == "filler" and not element.name else [element])]

    def descendants(self):
        """All that is showing, in the order of the tree."""
        for child in self.children:
            if child.is_showing:
                yield child
                yield from child.descendants()

    def find_now(self, name=None, role=None):
        for element in self.descendants():
            if (name is None or element.name == name) and (role is None or element.role == role):
                return element
        return None

    def find(self, name=None, role=None, timeout=10):
        what = f"\"{name}\" ({role or 'any role'}) in \"{self.name}\""
        return wait_until(lambda: self.find_now(name, role), timeout, what)

    def has(self, name, role=None):
        return self.find_now(name, role) is not None

    def wait_gone(self, name, role=None, timeout=10):
        wait_until(lambda: not self.has(name, role), timeout, f"\"{name}\" to go from \"{self.name}\"")

    def press(self):
        """Does its first action, as an assistive technology does: a button's press, a check box's toggle."""
        # A busy program answers late, and until then has none.
        wait_until(lambda: self._ask(lambda: self._accessible.do_action(0), False), 10,
                   f"an action of \"{self.name}\" ({self.role})")

    @property
    def place(self):
        """On the desktop, in pixels: x, y, width, height."""
        from gi.repository import Atspi
        place = self._ask(lambda: self._accessible.get_extents(Atspi.CoordType.SCREEN), None)
        if place is None:
            raise NotFound(f"\"{self.name}\" has gone before anybody could see where it was")
        return place

    def point_at(self):
        """With the mouse, at its middle."""
        place = self.place
        self._application.desktop.run(["xdotool", "mousemove", str(place.x + place.width // 2),
                                       str(place.y + place.height // 2)])

    def click(self, times=1):
        """With the mouse, in its middle."""
        self.point_at()
        self._application.desktop.run(["xdotool", "click", "--repeat", str(times), "--delay", "60", "1"])

    def outline(self, depth=0):
        """The tree below it as indented text, for people who look into a failure."""
        lines = [f"{'  ' * depth}{self.role} \"{self.name}\""]
        lines += [child.outline(depth + 1) for child in self.children if child.is_showing]
        return "\n".join(lines)


class Application(Element):
    """A running program on a desktop. Leaving its context ends it, as closing its last window would, or harder."""

    def __init__(self, desktop, command, environment, log, folder=None):
        self.desktop = desktop
        self._log = log
        settings = {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1", "QT_QPA_PLATFORM": "xcb", "QT_QUICK_BACKEND": "software"}
        self._process = desktop.spawn(["/usr/bin/env", *(f"{k}={v}" for k, v in (settings | environment).items()),
                                       *command], log=log, cwd=folder)
        super().__init__(None, self)
        try:
            self._accessible = wait_until(self._registered, 60, f"{command[0]} to appear on the accessibility bus")
        except BaseException:
            self.end()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.end()

    @property
    def process_id(self):
        return self._process.pid

    @property
    def is_running(self):
        return self._process.poll() is None

    def end(self, timeout=20):
        """Returns its exit status; it is killed when it does not end by itself, and that is an error."""
        if self.is_running:
            self._process.terminate()
        try:
            return self._process.wait(timeout * PATIENCE)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()
            raise NotFound(f"the program did not end within {timeout} s") from None

    def wait_for_end(self, timeout=20):
        return self._process.wait(timeout * PATIENCE)

    def window(self, title, timeout=10):
        return wait_until(lambda: next((w for w in self.children if w.name == title), None), timeout,
                          f"the window \"{title}\"")

    def has_window(self, title):
        return any(window.name == title and window.is_showing for window in self.children)

    def keys(self, *names):
        """Presses keys on the window with the focus; names as xdotool(1) has them: "ctrl+n", "Return"."""
        self.desktop.run(["xdotool", "key", "--clearmodifiers", *names])

    def type_text(self, text, delay=20):
        """The delay, in milliseconds, comes after each key: a guest's keyboard keeps 16 changes for a slow guest, no more."""
        self.desktop.run(["xdotool", "type", "--delay", str(delay), text])

    def activate(self, title):
        """Raises the window with this title and gives it the focus. Returns its X number."""
        number = self._window_number(title)
        self.desktop.run(["xdotool", "windowactivate", "--sync", number])
        return number

    def resize(self, title, width, height):
        """To that many pixels, which must not be the size that it has."""
        self.desktop.run(["xdotool", "windowsize", "--sync", self.activate(title), str(width), str(height)])

    def close(self, title):
        """Closes the window with this title by the window manager's keys."""
        def press_keys():
            self.activate(title)
            # A guest's screen has all keys until it is told to give them back.
            if self.window(title).has("Guest screen"):
                self.keys("Control_L+Alt_L")
            self.keys("alt+F4")
            time_to_close = time.monotonic() + 5
            while self.has_window(title) and time.monotonic() < time_to_close:
                time.sleep(0.1)
            return not self.has_window(title)
        # On a busy desktop keys that follow upon a change of the active window may be lost.
        wait_until(press_keys, 30, f"the window \"{title}\" to close")

    def click_at(self, title, x, y):
        """With the mouse, at a pixel of what picture() shows of the window with this title."""
        self.desktop.run(["xdotool", "mousemove", "--window", self.activate(title), str(x), str(y), "click", "1"])

    def picture(self, title):
        """What the window with this title shows."""
        return Picture(self.desktop.run(["import", "-silent", "-window", self.activate(title), "ppm:-"]))

    def save_picture(self, title, path):
        """As a file of the kind that its ending says."""
        self.desktop.run(["import", "-silent", "-window", self.activate(title), str(path)])

    def _window_number(self, title):
        # The toolkit adds the program's name to a window's own title.
        pattern = f"^{re.escape(title)}( — .*)?$"

        def search():
            done = subprocess.run(["xdotool", "search", "--onlyvisible", "--all", "--pid", str(self.process_id), "--name",
                                   pattern], env=self.desktop.environment, capture_output=True, check=False)
            return done.stdout.split()
        return wait_until(search, 10, f"an X window \"{title}\"")[0].decode()

    def _registered(self):
        import gi
        gi.require_version("Atspi", "2.0")
        from gi.repository import Atspi, GLib
        if not self.is_running:
            raise NotFound(f"the program ended at once ({self._process.returncode}): {self._log.read_text()[-2000:]}")
        desktop = Atspi.get_desktop(0)
        if PATIENCE > 1:
            Atspi.set_timeout(30_000, 60_000)
        try:
            desktop.clear_cache()
            for index in range(desktop.get_child_count()):
                child = desktop.get_child_at_index(index)
                if child is not None and child.get_process_id() == self.process_id and child.get_child_count() > 0:
                    return child
        except GLib.GError:
            pass  # another program has left the bus meanwhile
        return None


__all__ = ["Application", "Element", "NotFound", "command_of", "wait_until"]
