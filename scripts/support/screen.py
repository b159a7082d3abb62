"""Pictures of windows, and what colours are in them."""

from collections import Counter


class Picture:
    """An RGB picture. Regions are fractions of it: (left, top, right, bottom), each from 0 to 1."""

    WHOLE = (0, 0, 1, 1)

    def __init__(self, ppm):
        # A binary portable pixmap (ppm(5)): "P6", width, height, greatest value, one white space, then the samples of
        # one byte each, or two with the higher first.
        magic, width, height, greatest = ppm[:64].split(maxsplit=4)[:4]
        if magic != b"P6" or greatest not in (b"255", b"65535"):
            raise ValueError("not a binary portable pixmap of whole bytes")
        self.width, self.height = int(width), int(height)
        sample_bytes = 1 if greatest == b"255" else 2
        samples = ppm[len(ppm) - self.width * self.height * 3 * sample_bytes:]
        self._pixels = samples[::sample_bytes]

    def __eq__(self, other):
        return isinstance(other, Picture) and (self.width, self._pixels) == (other.width, other._pixels)

    def colours(self, region=WHOLE):
        """How many pixels there are of each (red, green, blue)."""
        left, right = (round(edge * self.width) for edge in (region[0], region[2]))
        top, bottom = (round(edge * self.height) for edge in (region[1], region[3]))
        counts = Counter()
        for row in range(top, bottom):
            start = (row * self.width + left) * 3
            line = self._pixels[start:start + (right - left) * 3]
            counts.update(zip(line[0::3], line[1::3], line[2::3]))
        return counts

    def bounds(self, colour, below=0.0):
        """The smallest rectangle with all pixels of just this colour in it: left, top, right, bottom, in pixels, the latter
        two exclusive; none where there are none. `below`: how much of the picture's top is left out, 0 to 1."""
        wanted = bytes(colour)
        rows, columns = [], []
        for row in range(round(below * self.height), self.height):
            line = self._pixels[row * self.width * 3:(row + 1) * self.width * 3]
            found = [x for x in range(self.width) if line[3 * x:3 * x + 3] == wanted] if wanted in line else []
            if found:
                rows.append(row)
                columns += [found[0], found[-1]]
        return (min(columns), rows[0], max(columns) + 1, rows[-1] + 1) if rows else None

    def share(self, colour, region=WHOLE, tolerance=8):
        """The share of pixels, 0 to 1, whose channels are all within the tolerance of the colour's."""
        counts = self.colours(region)
        near = sum(count for other, count in counts.items()
                   if all(abs(a - b) <= tolerance for a, b in zip(colour, other)))
        return near / max(1, sum(counts.values()))
