#!/usr/bin/env python3
"""Makes the catalogue of test patterns: patterns.json with its images and thumbnails.

    tools/make_patterns.py [DIRECTORY]      (sw/infrastructure_test/testsources)

Needs nothing but Python. Images carry R'G'B', 16 bits where the pattern has a ramp, and are small
because a row that repeats the one above costs next to nothing.
"""
import json
import pathlib
import struct
import sys
import zlib

THUMBNAIL_WIDTH = 160


def chunk(kind, data):
    body = kind + data
    return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))


def write_png(path, width, rows, depth):
    """rows: an iterable of lists of width (r, g, b) tuples of numbers from 0 to 1."""
    peak = (1 << depth) - 1
    packed, above, count = bytearray(), None, 0
    for row in rows:
        if row is above:
            packed += b"\x02" + bytes(width * 3 * depth // 8)  # filter "up": nothing changed
        else:
            values = [round(value * peak) for pixel in row for value in pixel]
            packed += b"\x00" + struct.pack(f">{len(values)}{'H' if depth == 16 else 'B'}", *values)
        above, count = row, count + 1
    path.write_bytes(
        b"\x89PNG\r\n\x1a\n"
        + chunk(b"IHDR", struct.pack(">IIBBBBB", width, count, depth, 2, 0, 0, 0))
        + chunk(b"IDAT", zlib.compress(bytes(packed), 9))
        + chunk(b"IEND", b"")
    )


def same_rows(row, height):
    return (row for _ in range(height))


def bars(level):
    def rows(width, height):
        colours = [(r * level, g * level, b * level) for g in (1, 0) for r in (1, 0) for b in (1, 0)]
        return same_rows([colours[x * 8 // width] for x in range(width)], height)

    return rows


def ramp(width, height):
    return same_rows([(x / (width - 1),) * 3 for x in range(width)], height)


def steps(width, height):
    return same_rows([(x * 16 // width / 15,) * 3 for x in range(width)], height)


def crosshatch(width, height):
    white, black = (1, 1, 1), (0, 0, 0)
    pitch = max(width // 32, 4)
    line = [white] * width
    gap = [white if x % pitch == 0 else black for x in range(width)]
    return (line if y % pitch == 0 else gap for y in range(height))


def split_field(width, height):
    """Magenta above, grey below: the two levels that stress a cable equaliser and a receiver."""
    upper, lower = [(0.75, 0, 0.75)] * width, [(0.26, 0.26, 0.26)] * width
    return (upper if y < height // 2 else lower for y in range(height))


# name, title, draw, bits of the image, width, height, then what the catalogue says
PATTERNS = [
    ("bars_100", "Bars 100/0/100/0", bars(1.0), 8, 1920, 1080,
     dict(sampling=422, depth=10, colour="CbYCr", matrix="709", curve="SDR_TV")),
    ("bars_75", "Bars 75%", bars(0.75), 8, 1280, 720,
     dict(sampling=422, depth=10, colour="CbYCr", matrix="709", curve="SDR_TV")),
    ("ramp", "Grey ramp", ramp, 16, 1920, 1080,
     dict(sampling=444, depth=12, colour="RGB", matrix="709", curve="S-Log3")),
    ("ramp_pq", "Grey ramp/PQ", ramp, 16, 4096, 2160,
     dict(sampling=444, depth=12, colour="RGB", matrix="2020", curve="PQ")),
    ("steps_hlg", "Sixteen steps/HLG", steps, 8, 3840, 2160,
     dict(sampling=422, depth=10, colour="CbYCr", matrix="2020", curve="HLG")),
    ("crosshatch", "Crosshatch", crosshatch, 8, 2048, 1080,
     dict(sampling=444, depth=10, colour="RGB", matrix="709", curve="SDR_TV", alpha=True)),
    ("check_field", "Check field", split_field, 8, 1920, 1080,
     dict(sampling=422, depth=10, colour="CbYCr", matrix="709", curve="SDR_TV", alpha=False)),
]


def main():
    if sys.argv[1:] == ["--help"]:
        return print(__doc__)
    root = pathlib.Path(__file__).resolve().parent.parent
    target = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else (
        root / "sw" / "infrastructure_test" / "testsources")
    target.mkdir(parents=True, exist_ok=True)
    entries = []
    for name, title, draw, depth, width, height, facts in PATTERNS:
        image, proxy = f"{name}.png", f"{name}_small.png"
        write_png(target / image, width, draw(width, height), depth)
        small = THUMBNAIL_WIDTH * height // width
        write_png(target / proxy, THUMBNAIL_WIDTH, draw(THUMBNAIL_WIDTH, small), 8)
        entries.append(dict(title=title, width=width, height=height, proxy=proxy, image=image,
                            generate=f"{name}.patshader", **facts))
    catalogue = dict(built="2024-05-01", comment="Made by tools/make_patterns.py", version="1.0",
                     patterns=entries)
    (target / "patterns.json").write_text(json.dumps(catalogue, indent=2) + "\n")


if __name__ == "__main__":
    main()
