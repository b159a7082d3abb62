"""What the firmware's screens look like."""

YELLOW, CYAN = (255, 255, 0), (0, 255, 255)
ORANGE, AZURE = (255, 85, 0), (0, 85, 255)
GREY = (152, 152, 152)
# Where the headings of the firmware's shell begin on a console that shows the guest's whole screen.
HEADINGS = (0.1, 0.05, 0.5, 0.6)


def shows_refusal(picture):
    """What stays where Secure Boot is on, and so there is no shell: lines about what cannot be started, and a logo. Red and
    blue taken for each other, a part of that would be azure."""
    return (picture.share((0, 0, 0)) > 0.7 and picture.share(GREY, (0.1, 0.1, 0.9, 0.45), tolerance=90) > 0.01
            and picture.share(ORANGE, tolerance=40) > 0.0002 and picture.share(AZURE, tolerance=40) == 0)


def shows_firmware(picture):
    """Its shell has headings that are yellow, and that would be cyan with red and blue taken for each other."""
    return (picture.share((0, 0, 0)) > 0.7 and picture.share(YELLOW, HEADINGS, tolerance=90) > 0.0003
            and picture.share(CYAN, tolerance=90) == 0)


def shows_menu(picture):
    """It has a background, unlike the other two."""
    return picture.share((0, 0, 0)) < 0.6
