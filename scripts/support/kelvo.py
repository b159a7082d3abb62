"""Kelvo, used as a person uses it: the wizard, the cards and the consoles."""

import time

from application import Application, wait_until

MACHINES = "Virtual Machines"


class Kelvo(Application):
    """A running Kelvo whose machines are in the given home folder, which is also where its file panels open.

    One that stands `apart` is of another session of the same user, and so a second one beside the first.
    """

    def __init__(self, desktop, program, home, color_scheme="light", apart=False, environment=None):
        self.home = home
        self.log = home / "kelvo.log"
        environment = {"HOME": str(home)} | (environment or {})
        if apart:
            environment["DBUS_SESSION_BUS_ADDRESS"] = desktop.other_session()
        super().__init__(desktop, [str(program), "--color-scheme", color_scheme], environment, self.log, home)

    def create_machine(self, image, kind="Windows 11 ARM64"):
        """Goes through the wizard, which then starts the installation. The image lies below the home folder."""
        main = self.window(MACHINES)
        main.find("New Virtual Machine", "button").press()
        wizard = main.find("New Virtual Machine", "dialog")
        wizard.find(kind, "radio button").press()
        wizard.find("Continue").press()
        wizard.find("Choose ISO…").press()
        self.choose_file(image)
        wizard.find(image.name, "label")
        for next_page in ("CPU", "Virtual Machine Name", "Summary"):
            wizard.find("Continue").press()
            wizard.find(next_page)
        install = wizard.find("Start installation after creating the virtual machine", "check box")
        if not install.is_checked:
            install.press()
        wizard.find("Create Virtual Machine").press()
        # The disk image and the first start take their time on a busy computer; a refusal is an alert instead.
        wait_until(lambda: not main.has("New Virtual Machine", "dialog") or main.has("Could Not Create VM", "dialog"),
                   60, "the wizard to create the machine")
        alert = main.find_now("Could Not Create VM", "dialog")
        if alert is not None:
            raise RuntimeError(f"Kelvo refused: {alert.outline()}")

    def card(self, name, timeout=10):
        """The machine's card in the list; its state and facts are labels in it."""
        return self.window(MACHINES).find(MACHINES, "list").find(name, "list item", timeout)

    def cards(self):
        shown = self.window(MACHINES).find(MACHINES, "list").descendants()
        return [element for element in shown if element.role == "list item"]

    def console(self, name, timeout=10):
        """The console's window with the name as its title, which must be open or about to be."""
        return self.window(name, timeout)

    def screen_rows(self, name):
        """The first row of the console's picture that is the guest's screen or a bar beside it, and the first one below."""
        console = self.console(name)
        screen = console.find("Guest screen").place
        top = screen.y - console.place.y
        return top, top + screen.height

    def wait_for_picture(self, name, shows, timeout, what):
        """A picture of the console once `shows(picture)` holds."""
        self.console(name).find("Guest screen", timeout=timeout)

        def look():
            picture = self.picture(name)
            return picture if shows(picture) else None
        return wait_until(look, timeout, what)

    def wait_for_still_picture(self, name, timeout, seconds=2):
        """A picture of the console that has stayed the same for some seconds."""
        last = [None, 0]

        def look():
            picture = self.picture(name)
            if picture != last[0]:
                last[:] = picture, time.monotonic()
            return picture if time.monotonic() - last[1] > seconds else None
        return wait_until(look, timeout, "the guest's screen to stand still")

    def dismiss_error(self, title, message):
        """Answers a window's alert, which must say just that."""
        window = self.window(title)
        alert = window.find("Kelvo", "dialog")
        alert.find(message)
        alert.find("OK", "button").press()
        window.wait_gone("Kelvo", "dialog")

    def answer(self, title, alert, button, timeout=60):
        """Waits for a window's alert and presses its button until it goes: one that opens by itself is deaf at first."""
        window = self.window(title)
        window.find(alert, "dialog", timeout)

        def press():
            found = window.find_now(alert, "dialog")
            shown = found and found.find_now(button, "button")
            if shown:
                shown.press()
            return not found
        wait_until(press, 10, f"\"{alert}\" to take its answer")

    def stop(self, name):
        """Presses the console's Stop, insists where Kelvo asks back, and waits until the machine is off."""
        console = self.console(name)
        question = f"Stop “{name}”?"
        console.find("Stop", "button").press()
        wait_until(lambda: console.has(question, "dialog") or console.has("Powered Off", "label"), 30,
                   "the machine to stop, or a question")
        alert = console.find_now(question, "dialog")
        if alert is not None:
            alert.find("Stop", "button").press()
        console.find("Powered Off", "label", timeout=30)

    def crash(self):
        """Ends it at once, as a failure of its own or of the desktop would."""
        self._process.kill()
        self._process.wait()

    def show_console(self, name):
        """Opens the console of a machine from its card."""
        self.card(name).click(times=2)
        return self.console(name)

    def quit(self):
        """Closes every window, the main one last, and expects Kelvo to end well."""
        for window in sorted(filter(lambda window: window.is_showing, self.children), key=lambda window: window.name == MACHINES):
            self.close(window.name)
        status = self.wait_for_end()
        if status != 0:
            raise RuntimeError(f"Kelvo ended with status {status}")

    def choose_file(self, path):
        """In the panel for an image, which begins in the home folder."""
        main = self.window(MACHINES)
        panel = main.find("Choose ISO", "dialog")
        for name in path.relative_to(self.home).parts:
            panel.find(name, "label").click(times=2)
        main.wait_gone("Choose ISO", "dialog")
