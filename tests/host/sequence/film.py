#!/usr/bin/env python3
"""film.py FOLDER COUNT: writes the frames of a film as Radiance files: a still room in which a lamp shines for one frame."""
import math
import sys

WIDTH, HEIGHT = 96, 64


def pixel(red, green, blue):
    exponent = math.frexp(max(red, green, blue))[1]
    scale = math.ldexp(256.0, -exponent)
    return bytes(min(255, int(value * scale)) for value in (red, green, blue)) + bytes([exponent + 128])


def light(frame, lamp, x, y):
    if frame == lamp and x > 70 and y < 20:
        return 4000.0, 3800.0, 3000.0
    u, v = x / WIDTH, y / HEIGHT
    level = 10 ** (2.5 * u - 1.5) * (1 + 0.3 * math.sin(40 * u) * math.cos(30 * v))
    return level * (0.6 + 0.4 * v), 0.8 * level, level * (0.4 + 0.5 * u * v)


def main():
    folder, count = sys.argv[1], int(sys.argv[2])
    for frame in range(count):
        with open(f"{folder}/frame{frame + 1:04}.hdr", "wb") as file:
            file.write(b"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y %d +X %d\n" % (HEIGHT, WIDTH))
            for y in range(HEIGHT):
                for x in range(WIDTH):
                    file.write(pixel(*light(frame, count // 2, x, y)))


main()
