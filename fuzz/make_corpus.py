#!/usr/bin/env python3
"""Writes the small corpus in fuzz/corpus: first inputs that reach far, for the fuzzers to vary.

    fuzz/make_corpus.py [SELVANE]

With the path of the selvane command it also makes the PNG, TIFF and JPEG files anew, from the Radiance picture, and with the
command vips those of WebP, AVIF and JPEG XL.
Floats in the inputs of the other fuzzers: a kind byte, then its number (kind 0: whole, kind 3: four bytes).
"""
import pathlib
import struct
import subprocess
import sys
import zlib

CORPUS = pathlib.Path(__file__).parent / "corpus"


def write(name, file, data):
    folder = CORPUS / name
    folder.mkdir(parents=True, exist_ok=True)
    (folder / file).write_bytes(bytes(data))


def whole(number):
    return struct.pack("Bb", 0, number)


def pixels(count, seed):
    return bytes((i * i * 7 + i * 31 + seed) % 256 for i in range(count))


def entry(twice, width, height, step, input_depth, output_depth, bgr, workers, request, space, sliders):
    depths = {8: 0, 16: 1, 32: 2}
    data = bytes([0 if twice else 1, width - 1, height - 1])
    data += bytes([1]) if step == 3 else bytes([0, step - 1])
    data += bytes([depths[input_depth], 0, 1 if output_depth == 8 else 0, 8, 8, bgr])
    data += bytes([workers, request, space]) + b"".join(whole(s) for s in sliders) + b"\1\2"
    return data


def entries():
    plain = [0, 0, 0, 0, 0, 0, 0, 0, 0]
    full = [-20, 5, 50, 10, 1, -5, 1, 0, 0]
    points = [10, 0, 0, 0, 0, 0, 0, 1, 8]
    number = 0
    for input_depth, output_depth, step, bgr in (
            (8, 8, 3, 0), (8, 16, 3, 1), (16, 16, 3, 0), (16, 8, 4, 1), (32, 8, 3, 0), (32, 16, 1, 1)):
        for request, sliders in ((0, full), (1, points), (2, plain)):
            width, height = 5 + number % 7, 4 + number % 5
            head = entry(number % 3 == 0, width, height, step, input_depth, output_depth, bgr, number % 4, request,
                         number % 3, sliders)
            body = pixels(width * height * 8, number)
            if input_depth == 32:  # exponents around 1, so that the range stays a photograph's
                body = bytes(120 + b % 16 if i // width % 4 == 3 else b for i, b in enumerate(body))
            write("entry", f"call{number:02}", head + body[:256])
            number += 1
    for side in (250, 255):  # a width of 0, and one that is too large for the memory
        refused = bytearray(entry(False, 4, 4, 3, 8, 8, 0, 1, 0, 0, plain))
        refused[1] = side
        write("entry", f"width{side}", refused)


def splines():
    start = bytes([0]) + bytes([0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0] * 1) + bytes([0, 255, 0, 255] + [0] * 8)
    for mode in range(4):
        head = start + bytes([0, mode])
        write("spline", f"edits{mode}", head + bytes((i * 37 + mode * 11) % 251 for i in range(160)))
        adds = b"".join(bytes([1, 0, 0, 40 * i, 0, 255 - 40 * i, 0, 0, 1]) for i in range(1, 6))
        write("spline", f"points{mode}", head + adds)
        frames = b"".join(bytes([0, kind, 1, 0, 128, 8, 0, 4]) for kind in range(7))
        write("spline", f"frames{mode}", head + frames)


def bitmaps():
    for number in range(12):
        head = bytes([number + 3, 5 + number % 4, number % 2, 12, 7, 0, 0, 0, 1, 0, 2, 0, 1])
        blocks = 2 * (pixels(16, number) + b"".join(whole(i + number) for i in range(5)) + pixels(8, 7))
        steps = b"".join(bytes([step, (step * 5 + number) % 11, number % 4, 2, 1, 3, 2, 4, 3, 0, 90, 10])
                         for step in range(13))
        write("bitmap", f"steps{number:02}", head + blocks + steps)


def spaces():
    color = whole(1) + whole(0) + whole(1)
    table = bytes([0, 14]) + bytes([0])
    matrix = b"".join(bytes([0, v]) for v in (111, 99, 38, 57, 183, 15, 4, 25, 182))
    write("space", "tables", color + bytes([2]) + matrix + color + table + pixels(32, 1) + table + pixels(32, 2) +
          whole(1) + bytes([0]) + bytes([0, 1]) + color)
    for number in range(3):
        write("space", f"fixed{number}", color + bytes([0, number]) + whole(1) + bytes([number + 1, 0, 1]) + color)
    chroma = b"".join(bytes([0, x, 0, y]) for x, y in ((163, 84), (77, 153), (38, 15), (80, 84)))
    write("space", "primaries", color + bytes([1]) + chroma + whole(2) + whole(1) + bytes([3, 0, 2]) + color)


def filters():
    for kind in range(4):
        plane = b"".join(whole(number) for number in (1, 2, -1, 0, 3))
        arguments = b"".join(whole(number) for number in (2, 1, -2, 4, 1)) + bytes([kind % 2])
        write("filter", f"filter{kind}", bytes([kind, 11, 8, kind, 9]) + plane + arguments)


def radiance():
    head = b"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n%s\n-Y 8 +X 12\n"
    primaries = b"PRIMARIES=0.64 0.33 0.3 0.6 0.15 0.06 0.3127 0.329\nEXPOSURE=1.5\n"
    flat = b"".join(bytes([40 + 9 * x, 100 + y, 200 - 9 * x, 120 + (x + y) % 12]) for y in range(8) for x in range(12))
    row = bytes([2, 2, 0, 12]) + bytes([140, 7]) + bytes([12]) + pixels(12, 3) + bytes([134, 9, 6]) + pixels(6, 4) + \
        bytes([140, 129])
    write("file", "flat.hdr", head % b"" + flat)
    write("file", "runs.hdr", head % primaries + row * 8)
    old = bytes([10, 20, 30, 128, 1, 1, 1, 11])
    write("file", "old.hdr", head % b"" + old * 8)


def library_picture(sample_format, seed, alpha):
    """A good picture of 6 x 5 pixels without gaps, top down, in the primaries number seed."""
    width, height = 6, 5
    head = bytes([width - 1, height - 1, sample_format - 1, seed % 2, 1, seed % 7, 0, 60, 0 if alpha else 1])
    if sample_format >= 5:
        return bytes([0]) + head + bytes([0, 0]) + pixels(4 * width * height, seed) + bytes([1])
    size = {1: 1, 2: 2, 3: 2, 4: 4}[sample_format]
    count = width * height * (4 if alpha else 3)
    if sample_format == 4:
        samples = b"".join(struct.pack("<f", 0.01 * 1.1 ** (i % 90)) for i in range(count))
    else:
        samples = pixels(count * size, seed)
    return bytes([0]) + head + bytes([1, 1, 1, 1]) + samples + bytes([1])


def library_settings(automatic, seed):
    numbers = bytes([(seed * 37 + i * 50) % 256 for i in range(5)])
    return bytes([2, 0 if automatic else 1, 1]) + numbers + bytes([0, 0, 128, 0, 1, 1, 1, 1])


def library_render(sample_format, space, preview):
    size = bytes([0, 3]) if preview else bytes([1])
    dither = bytes([0]) if sample_format == 1 else b""
    return bytes([4]) + size + bytes([sample_format - 1, 0, 0, space, 1]) + dither + bytes([1, 1, 1, 1, 1, 1])


def library_calls():
    for seed in range(12):
        picture = library_picture(1 + seed % 6, seed, seed % 2 == 0)
        other = library_picture(1 + (seed + 3) % 4, seed + 5, False)
        host = bytes([8, seed % 3, seed % 2, seed % 4, seed % 5, 7, 1])
        renders = library_render(1 + seed % 4, seed % 5, False) + library_render(1, 0, True) + \
            library_settings(False, seed + 1) + library_render(2, 3, False)
        asks = bytes([11, 1, 12, 0, 1, 13, 1, 14, 3, 0, 2, 4])
        write("lib", f"calls{seed:02}", library_settings(seed % 3 == 0, seed) + picture + host + renders + asks)
        write("lib", f"again{seed:02}", picture + renders + other + host + library_render(1, 1, False) + bytes([15]))
    for number, text in enumerate((b"exposure = 0.5\nwrap = true\n", b"hue = [[0.1, 0.6], [0.5, 0.4]]\n",
                                   b"compression = nan\n", b"unknown = 1\n", b"dramatic")):
        write("lib", f"text{number}", bytes([10, len(text)]) + text + bytes([0 if text == b"dramatic" else 1]))


def attribute(name, kind, data):
    return name + b"\0" + kind + b"\0" + struct.pack("<I", len(data)) + data


def open_exr(compression):
    width, height = 6, 4
    box = struct.pack("<4i", 0, 0, width - 1, height - 1)
    channels = b"".join(n + b"\0" + struct.pack("<iB3xii", 1, 0, 1, 1) for n in (b"B", b"G", b"R")) + b"\0"
    head = struct.pack("<II", 20000630, 2)
    head += attribute(b"channels", b"chlist", channels) + attribute(b"compression", b"compression",
                                                                    bytes([compression]))
    head += attribute(b"dataWindow", b"box2i", box) + attribute(b"displayWindow", b"box2i", box)
    head += attribute(b"lineOrder", b"lineOrder", b"\0")
    head += attribute(b"pixelAspectRatio", b"float", struct.pack("<f", 1))
    head += attribute(b"screenWindowCenter", b"v2f", struct.pack("<ff", 0, 0))
    head += attribute(b"screenWindowWidth", b"float", struct.pack("<f", 1)) + b"\0"
    lines = []
    for y in range(height):
        raw = b"".join(struct.pack("<e", 0.1 * (x + y + c)) for c in range(3) for x in range(width))
        if compression == 2:  # ZIPS: halves of the bytes apart, differences, zlib
            split = raw[0::2] + raw[1::2]
            packed = zlib.compress(bytes([split[0]] + [(b - a + 128) & 255 for a, b in zip(split, split[1:])]))
            raw = packed if len(packed) < len(raw) else raw
        lines.append(struct.pack("<iI", y, len(raw)) + raw)
    place = len(head) + 8 * height
    table = b""
    for line in lines:
        table += struct.pack("<Q", place)
        place += len(line)
    return head + table + b"".join(lines)


def half_tiff():
    """Strips of half floats, uncompressed."""
    width, height = 6, 4
    samples = b"".join(struct.pack("<e", 0.25 * (x + y + c)) for y in range(height) for x in range(width) for c in range(3))
    tags = [(256, 3, width), (257, 3, height), (258, 3, 16), (259, 3, 1), (262, 3, 2), (273, 4, 8), (277, 3, 3),
            (278, 3, height), (279, 4, len(samples)), (339, 3, 3)]
    directory = struct.pack("<H", len(tags)) + b"".join(struct.pack("<HHII", t, k, 1, v) for t, k, v in tags) + bytes(4)
    return b"II*\0" + struct.pack("<I", 8 + len(samples)) + samples + directory


def with_chunk(png, kind, data):
    """A PNG file with one more chunk behind its header."""
    body = kind + data
    chunk = struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))
    return png[:33] + chunk + png[33:]


def files():
    radiance()
    write("file", "small.pfm", b"PF\n3 2\n-1.5\n" + struct.pack("<18f", *(0.5 * i for i in range(18))))
    write("file", "grey.pfm", b"Pf 2 2 1\n" + struct.pack(">4f", 1, 2, 3, 4))
    write("file", "half.tif", half_tiff())
    write("file", "plain.exr", open_exr(0))
    write("file", "zips.exr", open_exr(2))


def written_files(command):
    source = CORPUS / "file" / "flat.hdr"
    for depth, file in ((8, "eight.png"), (16, "sixteen.png"), (16, "sixteen.tif"), (8, "eight.jpg")):
        subprocess.run([command, "tonemap", source, "-o", CORPUS / "file" / file, "--depth", str(depth),
                        "--white-clip", "1", "--black-clip", "1"], check=True)
    eight = CORPUS / "file" / "eight.png"
    write("file", "pq.png", with_chunk(eight.read_bytes(), b"cICP", bytes([9, 16, 0, 1])))
    for file, options in (("eight.webp", "[lossless]"), ("eight.avif", "[Q=60]"), ("eight.jxl", "[lossless]")):
        subprocess.run(["vips", "copy", eight, str(CORPUS / "file" / file) + options], check=True)


if __name__ == "__main__":
    entries()
    splines()
    bitmaps()
    spaces()
    filters()
    files()
    library_calls()
    if len(sys.argv) > 1:
        written_files(sys.argv[1])
