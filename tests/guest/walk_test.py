#!/usr/bin/python3
"""Walks through every window without a pointer: each control has a name, and Tab comes to each that can be used."""

import time

from application import wait_until
from kelvo import MACHINES
from stage import check, run

NAME = "Windows 11"
CONTROLS = {"button", "check box", "radio button", "combo box", "text", "slider", "spin button", "list", "menu item",
            "scroll bar", "list item"}
MOST_STOPS = 60
# Arrows go from one of these to the next; their list or group is where Tab stops.
ITEMS = {"radio button", "list item", "menu item"}


class Control:
    """Something that can be used, and where Tab stops for it."""

    def __init__(self, element, container, is_in_chain):
        self.element = element
        self.role = element.role
        self.name = element.name
        owner = container if self.role in ITEMS else element
        self.stop = owner.role, owner.name
        # A disabled button has a description, which says why.
        self.is_stop = self.role in CONTROLS and is_in_chain and not (self.role == "button" and element.description)


def controls(element, is_in_chain=True):
    """All that is showing below the element. Of the items of a list only the first, the current one, has its buttons in
    the chain of stops."""
    has_passed_item = False
    for child in element.children:
        if not child.is_showing:
            continue
        role = child.role
        if role in CONTROLS or child.is_focused:  # pages and texts may have the focus as well
            yield Control(child, element, is_in_chain)
        if role != "spin button":  # its two buttons are for the pointer
            yield from controls(child, is_in_chain and not (role == "list item" and has_passed_item))
        has_passed_item = has_passed_item or role == "list item"


def look(window):
    """The controls, and where Tab has stopped; nothing while no control that is showing has the focus."""
    time.sleep(0.05)
    shown = list(controls(window))
    focused = [control.stop for control in shown if control.name and control.element.is_focused]
    return (shown, focused) if focused else None


def walk(kelvo, window, what):
    """Until Tab is where it began. What lies outside of a scrolled page shows up on the way."""
    wanted, reached, order = set(), set(), []
    while len(order) < 2 or order[-1] != order[0]:
        check(len(order) < MOST_STOPS, f"{what}: Tab goes round without end: {order}")
        kelvo.keys("Tab")
        shown, focused = wait_until(lambda: look(window), 5, f"a shown control of {what} to have the focus after {order}")
        nameless = [control.element.outline() for control in shown if control.role in CONTROLS and not control.name]
        check(not nameless, f"{what}: without a name: {nameless}")
        wanted |= {control.stop for control in shown if control.is_stop}
        order.append(focused[-1])
        reached.add(focused[-1])
    check(reached >= wanted, f"{what}: Tab never comes to {wanted - reached}, only to {order}\n{window.outline()}")


def walk_through_every_window(stage):
    image = stage.blank_image("setup.iso")

    with stage.kelvo() as kelvo:
        main = kelvo.window(MACHINES)
        kelvo.activate(MACHINES)
        walk(kelvo, main, "the empty list")

        kelvo.keys("ctrl+n")
        wizard = main.find("New Virtual Machine", "dialog")
        walk(kelvo, wizard, "the first page")
        wizard.find("Continue").press()
        wizard.find("Installation Media")
        walk(kelvo, wizard, "the page of the image")
        wizard.find("Choose ISO…").press()
        kelvo.choose_file(image)
        for page in ("CPU", "Virtual Machine Name", "Summary"):
            wizard.find("Continue").press()
            wizard.find(page)
            walk(kelvo, wizard, f"the page with {page}")
        wizard.find("Start installation after creating the virtual machine", "check box").press()
        wizard.find("Create Virtual Machine").press()
        main.wait_gone("New Virtual Machine", "dialog", timeout=60)
        kelvo.card(NAME)
        walk(kelvo, main, "the list")

        kelvo.keys("alt+v")
        wait_until(lambda: main.has("Resume", "menu item"), 10, "the menu")
        nameless = [e.outline() for e in main.descendants() if e.role == "menu item" and not e.name]
        check(not nameless, f"menu entries without a name: {nameless}")
        kelvo.keys("Escape")

        for section in ("Downloads", "Settings"):
            main.find("Sidebar", "list").find(section, "list item").press()
            window = kelvo.window("Kelvo")
            walk(kelvo, window, section)
        window.find("Sidebar", "list").find(MACHINES, "list item").press()
        kelvo.card(NAME).find("Settings", "button").press()
        window = kelvo.window("Kelvo")
        window.find("VM Settings")
        walk(kelvo, window, "the machine's settings")

        kelvo.keys("ctrl+comma")
        settings = kelvo.window("Settings")
        kelvo.activate("Settings")
        walk(kelvo, settings, "the settings")
        kelvo.keys("Escape")

        window.find("Sidebar", "list").find(MACHINES, "list item").press()
        kelvo.card(NAME).find("Console", "button").press()
        console = kelvo.console(NAME)
        kelvo.activate(NAME)
        walk(kelvo, console, "the console")
        kelvo.quit()


if __name__ == "__main__":
    run(walk_through_every_window, 240)
