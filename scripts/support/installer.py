"""What the first screen of the guest image's installer looks like."""

# (red, green, blue) of its text console: the background, the dialog on it and the selected line; and of what is beside the screen.
BACKGROUND = (0, 0, 170)
DIALOG = (170, 170, 170)
SELECTION = (170, 0, 0)
BLACK = (0, 0, 0)
# Where guests are emulated; a minute on two idle processors.
TIMEOUT = 300


def shows_installer(picture):
    """On a console of its first size, for a guest whose screen has 1024x768 and so bars beside it."""
    bars = ((0, 0.08, 0.073, 1), (0.927, 0.08, 1, 1))
    background = ((0.077, 0.12, 0.085, 0.92), (0.917, 0.12, 0.923, 0.92), (0.1, 0.1, 0.89, 0.18))
    return (min(picture.share(BLACK, bar) for bar in bars) == 1
            and min(picture.share(BACKGROUND, strip) for strip in background) == 1
            and picture.share(DIALOG, (0.1, 0.22, 0.89, 0.84)) > 0.8
            and picture.share(SELECTION, (0.3, 0.3, 0.7, 0.75)) > 0.01)
