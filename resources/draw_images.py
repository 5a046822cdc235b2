#!/usr/bin/env python3
"""Draws the symbol of Revlane, a branch that joins a line, and writes it as the bitmaps and the icon
of the plug-in. Run it after a change; what it writes is kept in the repository.

Needs nothing but Python. The shapes are given on a grid of 16 by 16, on which 16, 24, 32 and 48
pixels have their straight edges on whole pixels.
"""
import math
import struct
from pathlib import Path

HERE = Path(__file__).resolve().parent
GRID = 16
SAMPLES = 8  # in each direction of a pixel

STROKE = 2.0  # width of a line
RING_OUTER, RING_INNER = 3.0, 1.1  # radii of a commit
LINE_X, LINE_TOP, LINE_BOTTOM = 5.0, 3.0, 13.0  # centres of the commits of the line
BRANCH_X, BRANCH_TOP = 12.0, 3.0
JOIN_Y = 9.0  # where the branch meets the line
TURN_RADIUS = 2.0

# Colours of the line and of the branch. All are of a middle brightness, which can be seen on light
# and on dark bars alike.
IN_COLOUR = ((107, 124, 147), (214, 100, 42))
PLAIN = ((122, 127, 135), (122, 127, 135))

# The smallest ones have hard edges. An editor may leave out black as the mask colour, and a half
# transparent pixel would then stay behind as a dark one.
BITMAPS = {
    "color_16.bmp": (16, IN_COLOUR, False),
    "color_24.bmp": (24, IN_COLOUR, True),
    "color_32.bmp": (32, IN_COLOUR, True),
    "plain_16.bmp": (16, PLAIN, False),
    "plain_24.bmp": (24, PLAIN, True),
    "plain_32.bmp": (32, PLAIN, True),
}
ICON_SIZES = (16, 24, 32, 48)


class Symbol:
    """The symbol for images of `size` pixels; all lengths in it are in pixels."""

    def __init__(self, size):
        scale = size / GRID
        self.half = STROKE * scale / 2
        self.outer, self.inner = RING_OUTER * scale, RING_INNER * scale
        self.line_x = self.snapped(LINE_X * scale)
        self.branch_x = self.snapped(BRANCH_X * scale)
        self.join_y = self.snapped(JOIN_Y * scale)
        self.top, self.bottom = LINE_TOP * scale, LINE_BOTTOM * scale
        self.branch_top = BRANCH_TOP * scale
        self.turn = TURN_RADIUS * scale

    def snapped(self, centre):
        """The centre of a stroke, moved so that the stroke's edges lie between pixels."""
        return round(centre - self.half) + self.half

    def ring(self, x, y, centre_x, centre_y):
        """Whether the point lies on a commit: None outside of it, False in its hole."""
        distance = math.hypot(x - centre_x, y - centre_y)
        return None if distance > self.outer else distance >= self.inner

    def on_line(self, x, y):
        return abs(x - self.line_x) <= self.half and self.top < y < self.bottom

    def on_branch(self, x, y):
        """Down from the branch's commit and round into the line."""
        turn_x, turn_y = self.branch_x - self.turn, self.join_y - self.turn
        if y < turn_y:
            return abs(x - self.branch_x) <= self.half and y > self.branch_top
        if x > turn_x:
            return abs(math.hypot(x - turn_x, y - turn_y) - self.turn) <= self.half
        return abs(y - self.join_y) <= self.half and x > self.line_x

    def colour_at(self, x, y, colours):
        """None where nothing is drawn."""
        line, branch = colours
        for centre_x, centre_y, colour in ((self.line_x, self.top, line),
                                           (self.line_x, self.bottom, line),
                                           (self.branch_x, self.branch_top, branch)):
            on_ring = self.ring(x, y, centre_x, centre_y)
            if on_ring is not None:
                return colour if on_ring else None
        if self.on_line(x, y):
            return line
        return branch if self.on_branch(x, y) else None


def pixel(symbol, column, row, colours):
    """(red, green, blue, alpha) of a pixel with smooth edges, premultiplied."""
    total = SAMPLES * SAMPLES
    hits = []
    for step in range(total):
        colour = symbol.colour_at(column + (step % SAMPLES + 0.5) / SAMPLES,
                                  row + (step // SAMPLES + 0.5) / SAMPLES, colours)
        if colour:
            hits.append(colour)
    return (*(sum(hit[i] for hit in hits) // total for i in range(3)), 255 * len(hits) // total)


def hardened(red, green, blue, alpha):
    """The pixel whole or not at all."""
    if alpha < 128:
        return 0, 0, 0, 0
    return (*(channel * 255 // alpha for channel in (red, green, blue)), 255)


def draw(size, colours, smooth=True):
    """Rows from top to bottom."""
    symbol = Symbol(size)
    rows = [[pixel(symbol, column, row, colours) for column in range(size)] for row in range(size)]
    return rows if smooth else [[hardened(*p) for p in row] for row in rows]


def straight(rows):
    """With colours that are not premultiplied, as icons have them."""
    return [[(r * 255 // a, g * 255 // a, b * 255 // a, a) if a else (0, 0, 0, 0)
             for r, g, b, a in row] for row in rows]


def pixel_bytes(rows):
    """From bottom to top, blue first, as Windows keeps them."""
    return b"".join(struct.pack("4B", b, g, r, a) for row in reversed(rows) for r, g, b, a in row)


def header(width, height, size):
    """A BITMAPINFOHEADER of 32 bits a pixel, uncompressed."""
    return struct.pack("<IiiHHIIiiII", 40, width, height, 1, 32, 0, size, 0, 0, 0, 0)


def write_bitmap(path, rows):
    data = pixel_bytes(rows)
    head = header(len(rows[0]), len(rows), len(data))
    offset = 14 + len(head)
    path.write_bytes(struct.pack("<2sIHHI", b"BM", offset + len(data), 0, 0, offset) + head + data)


def icon_image(size):
    data = pixel_bytes(straight(draw(size, IN_COLOUR)))
    # The mask of old icons: all zero, the alpha channel says what is transparent.
    mask = bytes((size + 31) // 32 * 4 * size)
    return header(size, 2 * size, len(data) + len(mask)) + data + mask


def write_icon(path):
    images = [icon_image(size) for size in ICON_SIZES]
    offset = 6 + 16 * len(images)
    head = struct.pack("<HHH", 0, 1, len(images))
    for size, image in zip(ICON_SIZES, images):
        head += struct.pack("<4BHHII", size, size, 0, 0, 1, 32, len(image), offset)
        offset += len(image)
    path.write_bytes(head + b"".join(images))


def main():
    images = HERE / "images"
    images.mkdir(exist_ok=True)
    for name, (size, colours, smooth) in BITMAPS.items():
        write_bitmap(images / name, draw(size, colours, smooth))
    write_icon(images / "revlane.ico")


if __name__ == "__main__":
    main()
