#!/usr/bin/env python3
"""Draws the editor's icon and toolbar images, into the folder of this script.

The files are kept in the repository; run this after changing a shape. Shapes are given on a square
of 16 units and drawn in every size with 8 samples a pixel each way.
"""
import math
import pathlib
import struct

SAMPLES = 8
UNITS = 16.0

BLUE = (0x2F, 0x6F, 0xB7)
LIGHT_BLUE = (0x8F, 0xBC, 0xE6)
PAPER = (0xFF, 0xFF, 0xFF)
INK = (0x5A, 0x64, 0x6E)
FOLDER = (0xE3, 0xA9, 0x3C)
FOLDER_FRONT = (0xF4, 0xC5, 0x62)


def box(left, top, right, bottom):
    return lambda x, y: left <= x < right and top <= y < bottom


def polygon(*points):
    def inside(x, y):
        odd = False
        for (ax, ay), (bx, by) in zip(points, points[1:] + points[:1]):
            if (ay > y) != (by > y) and x < ax + (y - ay) * (bx - ax) / (by - ay):
                odd = not odd
        return odd

    return inside


def ring(cx, cy, inner, outer):
    return lambda x, y: inner <= math.hypot(x - cx, y - cy) < outer


def disc(cx, cy, radius):
    return ring(cx, cy, 0, radius)


def rounded(left, top, right, bottom, radius):
    def inside(x, y):
        dx = max(left + radius - x, x - (right - radius), 0)
        dy = max(top + radius - y, y - (bottom - radius), 0)
        return math.hypot(dx, dy) < radius

    return inside


# Each image is a list of shapes with their colours, from back to front.
NEW = [
    (polygon((3, 1), (10, 1), (13, 4), (13, 15), (3, 15)), INK),
    (polygon((4, 2), (9.5, 2), (12, 4.5), (12, 14), (4, 14)), PAPER),
    (polygon((9, 1.5), (9, 5), (12.5, 5)), INK),
]
OPEN = [
    (polygon((1, 3), (6, 3), (7.5, 5), (14, 5), (14, 13), (1, 13)), FOLDER),
    (polygon((3.5, 7), (15.5, 7), (13.5, 13.5), (1, 13.5)), FOLDER_FRONT),
]
SAVE = [
    (polygon((1, 2), (12.5, 2), (15, 4.5), (15, 14), (1, 14)), BLUE),
    (box(4, 2, 11, 6), LIGHT_BLUE),
    (box(8.5, 2.7, 10, 5.3), BLUE),
    (box(3.5, 8, 12.5, 14), PAPER),
    (box(5, 9.7, 11, 10.5), LIGHT_BLUE),
    (box(5, 11.5, 11, 12.3), LIGHT_BLUE),
]
ICON = [
    (rounded(0.5, 0.5, 15.5, 15.5, 3), BLUE),
    (ring(7.6, 7.6, 3.0, 4.9), PAPER),
    (polygon((8.3, 9.7), (9.7, 8.3), (13.2, 11.8), (11.8, 13.2)), PAPER),
    (disc(7.6, 7.6, 1.1), LIGHT_BLUE),
]


def draw(shapes, size):
    """Rows of straight (red, green, blue, alpha)."""
    rows = []
    step = UNITS / size / SAMPLES
    for row in range(size):
        pixels = []
        for column in range(size):
            red = green = blue = covered = 0
            for sample in range(SAMPLES * SAMPLES):
                x = (column * SAMPLES + sample % SAMPLES + 0.5) * step
                y = (row * SAMPLES + sample // SAMPLES + 0.5) * step
                for inside, colour in reversed(shapes):
                    if inside(x, y):
                        red += colour[0]
                        green += colour[1]
                        blue += colour[2]
                        covered += 1
                        break
            if covered:
                pixels.append((red // covered, green // covered, blue // covered,
                               covered * 255 // (SAMPLES * SAMPLES)))
            else:
                pixels.append((0, 0, 0, 0))
        rows.append(pixels)
    return rows


def dib(rows, height):
    """A 32-bit bitmap header with the pixels from the last row up."""
    header = struct.pack("<IiiHHIIiiII", 40, len(rows[0]), height, 1, 32, 0, 0, 0, 0, 0, 0)
    return header + b"".join(
        struct.pack("4B", blue, green, red, alpha)
        for row in reversed(rows) for red, green, blue, alpha in row)


def write_strip(path, images, size):
    drawn = [draw(shapes, size) for shapes in images]
    rows = [sum((image[row] for image in drawn), []) for row in range(size)]
    body = dib(rows, size)
    path.write_bytes(struct.pack("<2sIHHI", b"BM", 14 + len(body), 0, 0, 14 + 40) + body)


def write_icon(path, shapes, sizes):
    images = []
    for size in sizes:
        # An icon's height counts the mask below the picture too; the alpha makes the mask empty.
        mask = bytes((size + 31) // 32 * 4 * size)
        images.append(dib(draw(shapes, size), 2 * size) + mask)
    head = struct.pack("<HHH", 0, 1, len(sizes))
    offset = len(head) + 16 * len(sizes)
    for size, image in zip(sizes, images):
        head += struct.pack("<BBBBHHII", size, size, 0, 0, 1, 32, len(image), offset)
        offset += len(image)
    path.write_bytes(head + b"".join(images))


if __name__ == "__main__":
    folder = pathlib.Path(__file__).resolve().parent
    for pixels in (16, 24, 32):
        write_strip(folder / f"toolbar{pixels}.bmp", [NEW, OPEN, SAVE], pixels)
    write_icon(folder / "quorrel.ico", ICON, (16, 24, 32, 48))
