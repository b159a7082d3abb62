"""What the first screen of the guest image's installer looks like."""

# (red, green, blue) of its text console: the background, the dialog on it and the selected line.
BACKGROUND = (0, 0, 170)
DIALOG = (170, 170, 170)
SELECTION = (170, 0, 0)
# Where guests are emulated; a minute on two idle processors.
TIMEOUT = 300


def shows_installer(picture):
    """On a console that shows the guest's whole screen, whose middle is then the dialog's."""
    return (min(picture.share(BACKGROUND, strip) for strip in ((0, 0.12, 1, 0.2), (0, 0.88, 1, 0.94))) > 0.9
            and picture.share(DIALOG, (0.1, 0.3, 0.9, 0.75)) > 0.8
            and picture.share(SELECTION, (0.3, 0.3, 0.7, 0.75)) > 0.01)
