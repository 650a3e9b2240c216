#!/usr/bin/env python3
"""Draws the images of the host's watch theme and the gallery's application icons.

The PNGs are kept in the repository; run this only to change them:
    platform/host/theme/make_images.py platform/host/theme/images tools/gallery/images
Shapes are drawn with 4x4 supersampling for smooth edges; no imaging library is needed.
"""
import math
import struct
import sys
import zlib

SS = 4


def png(path, width, height, pixels):
    raw = b"".join(b"\0" + bytes(pixels[y * width * 4:(y + 1) * width * 4]) for y in range(height))

    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body) & 0xFFFFFFFF)

    with open(path, "wb") as f:
        f.write(b"\x89PNG\r\n\x1a\n")
        f.write(chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)))
        f.write(chunk(b"IDAT", zlib.compress(raw, 9)))
        f.write(chunk(b"IEND", b""))


def draw(path, size, coverage, color=(255, 255, 255)):
    """coverage(x, y) -> alpha 0..1 at a point of the unit square; color is not premultiplied."""
    pixels = []
    for py in range(size):
        for px in range(size):
            total = 0.0
            for sy in range(SS):
                for sx in range(SS):
                    total += coverage((px + (sx + 0.5) / SS) / size, (py + (sy + 0.5) / SS) / size)
            a = int(round(255 * total / (SS * SS)))
            pixels += [color[0], color[1], color[2], a]
    png(path, size, size, pixels)


def disc(cx, cy, r):
    return lambda x, y: 1.0 if (x - cx) ** 2 + (y - cy) ** 2 <= r * r else 0.0


def segment(x1, y1, x2, y2, w):
    def inside(x, y):
        dx, dy = x2 - x1, y2 - y1
        t = max(0.0, min(1.0, ((x - x1) * dx + (y - y1) * dy) / (dx * dx + dy * dy)))
        px, py = x1 + t * dx, y1 + t * dy
        return 1.0 if (x - px) ** 2 + (y - py) ** 2 <= (w / 2) ** 2 else 0.0
    return inside


def union(*shapes):
    return lambda x, y: max(s(x, y) for s in shapes)


def minus(a, b):
    return lambda x, y: a(x, y) * (1.0 - b(x, y))


def arc(x, y):
    """A ring open at the top, fading towards its tail: the busy indicator."""
    r = math.hypot(x - 0.5, y - 0.5)
    if r > 0.46 or r < 0.34:
        return 0.0
    angle = (math.degrees(math.atan2(x - 0.5, 0.5 - y)) + 360.0) % 360.0
    return 0.0 if angle > 300.0 else 0.25 + 0.75 * angle / 300.0


CHECK = union(segment(0.22, 0.52, 0.42, 0.72, 0.12), segment(0.42, 0.72, 0.80, 0.30, 0.12))
CROSS = union(segment(0.28, 0.28, 0.72, 0.72, 0.11), segment(0.72, 0.28, 0.28, 0.72, 0.11))


def main(theme_dir, icons_dir):
    draw(theme_dir + "/circle.png", 96, disc(0.5, 0.5, 0.48))
    draw(theme_dir + "/busy.png", 48, arc)
    draw(theme_dir + "/check.png", 64, CHECK)
    bang = union(segment(0.5, 0.26, 0.5, 0.56, 0.11), disc(0.5, 0.72, 0.065))
    draw(icons_dir + "/zonvista_ic_error.png", 64, minus(disc(0.5, 0.5, 0.47), bang), (255, 140, 40))
    draw(icons_dir + "/qz_ic_popup_btn_delete.png", 48, CROSS)
    draw(icons_dir + "/qz_ic_popup_btn_check.png", 48, CHECK)


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit("usage: make_images.py THEME_IMAGE_DIR GALLERY_ICON_DIR")
    main(sys.argv[1], sys.argv[2])
