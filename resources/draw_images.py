#!/usr/bin/env python3
"""Draws the symbol of Revlane, a branch that leaves a line, and writes it as the bitmaps and the icon
of the plug-in. Run it after a change; what it writes is kept in the repository.

Needs nothing but Python. The shapes are given on a grid of 16 and drawn at any size with smooth
edges, by sampling each pixel several times.
"""
import math
import struct
from pathlib import Path

HERE = Path(__file__).resolve().parent
SAMPLES = 8  # in each direction of a pixel
STROKE = 0.9  # half the width of a line
RING_OUTER, RING_INNER = 2.4, 1.0  # of a commit

# Colours of the line and of the branch. Never pure black, which stands for "transparent".
LIGHT = ((64, 72, 84), (0, 110, 200))
DARK = ((222, 226, 232), (96, 176, 255))

BITMAPS = {
    "light_16.bmp": (16, LIGHT), "light_24.bmp": (24, LIGHT), "light_32.bmp": (32, LIGHT),
    "dark_16.bmp": (16, DARK), "dark_24.bmp": (24, DARK), "dark_32.bmp": (32, DARK),
}
ICON_SIZES = (16, 24, 32, 48)

LINE_COMMITS = ((4.5, 3.0), (4.5, 13.0))
BRANCH_COMMIT = (11.5, 4.5)


def on_line(x, y):
    """The straight line between its two commits."""
    (line_x, top), (_, bottom) = LINE_COMMITS
    return abs(x - line_x) <= STROKE and top + RING_INNER < y < bottom - RING_INNER


def on_branch(x, y):
    """Down from the branch's commit and round into the line."""
    end_x, end_y = BRANCH_COMMIT
    line_x = LINE_COMMITS[0][0]
    radius = 3.5
    turn_x, turn_y = end_x - radius, end_y + 2.0
    if abs(x - end_x) <= STROKE and end_y + RING_INNER < y <= turn_y:
        return True
    if x >= turn_x and y >= turn_y:
        return abs(math.hypot(x - turn_x, y - turn_y) - radius) <= STROKE
    return abs(y - (turn_y + radius)) <= STROKE and line_x + STROKE < x < turn_x


def on_ring(x, y, centre):
    distance = math.hypot(x - centre[0], y - centre[1])
    return RING_INNER <= distance <= RING_OUTER


def inside_ring(x, y, centre):
    return math.hypot(x - centre[0], y - centre[1]) < RING_INNER


def colour_at(x, y, colours):
    """The colour of a point on the grid, or None where nothing is drawn."""
    line, branch = colours
    if inside_ring(x, y, BRANCH_COMMIT) or any(inside_ring(x, y, c) for c in LINE_COMMITS):
        return None
    if on_ring(x, y, BRANCH_COMMIT):
        return branch
    if any(on_ring(x, y, centre) for centre in LINE_COMMITS):
        return line
    if on_line(x, y):
        return line
    return branch if on_branch(x, y) else None


def draw(size, colours):
    """Rows from top to bottom of (red, green, blue, alpha), premultiplied."""
    rows = []
    for row in range(size):
        pixels = []
        for column in range(size):
            hits = []
            for step in range(SAMPLES * SAMPLES):
                x = (column + (step % SAMPLES + 0.5) / SAMPLES) * 16 / size
                y = (row + (step // SAMPLES + 0.5) / SAMPLES) * 16 / size
                colour = colour_at(x, y, colours)
                if colour:
                    hits.append(colour)
            total = SAMPLES * SAMPLES
            sums = [sum(hit[i] for hit in hits) // total for i in range(3)]
            pixels.append((*sums, 255 * len(hits) // total))
        rows.append(pixels)
    return rows


def pixel_bytes(rows):
    """From bottom to top, blue first, as Windows keeps them."""
    return b"".join(struct.pack("4B", b, g, r, a) for row in reversed(rows) for r, g, b, a in row)


def straight(rows):
    """An icon's colours are not premultiplied."""
    return [[(r * 255 // a, g * 255 // a, b * 255 // a, a) if a else (0, 0, 0, 0)
             for r, g, b, a in row] for row in rows]


def write_bitmap(path, size, colours):
    data = pixel_bytes(draw(size, colours))
    header = struct.pack("<IiiHHIIiiII", 40, size, size, 1, 32, 0, len(data), 2835, 2835, 0, 0)
    offset = 14 + len(header)
    path.write_bytes(struct.pack("<2sIHHI", b"BM", offset + len(data), 0, 0, offset) + header + data)


def write_icon(path, sizes, colours):
    images = []
    for size in sizes:
        data = pixel_bytes(straight(draw(size, colours)))
        mask = bytes((size + 31) // 32 * 4 * size)
        images.append(struct.pack("<IiiHHIIiiII", 40, size, 2 * size, 1, 32, 0,
                                  len(data) + len(mask), 0, 0, 0, 0) + data + mask)
    offset = 6 + 16 * len(images)
    head = struct.pack("<HHH", 0, 1, len(images))
    for size, image in zip(sizes, images):
        head += struct.pack("<4BHHII", size, size, 0, 0, 1, 32, len(image), offset)
        offset += len(image)
    path.write_bytes(head + b"".join(images))


def main():
    images = HERE / "images"
    images.mkdir(exist_ok=True)
    for name, (size, colours) in BITMAPS.items():
        write_bitmap(images / name, size, colours)
    write_icon(images / "revlane.ico", ICON_SIZES, LIGHT)


if __name__ == "__main__":
    main()
