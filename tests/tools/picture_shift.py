#!/usr/bin/python3
"""How far a column of a picture has moved down, seen from outside.

    picture_shift.py REST.ppm MOST SAMPLE.ppm...

Each argument is one column of pixels (a 1-pixel-wide binary PPM, as grim -t ppm writes it) of
the same place on an output: REST at rest, then samples. For each sample one line is printed:
"SHIFT ERROR UNMOVED UNCOVERED", the downward shift in pixels (0 to MOST) under which the sample
best matches the rest picture, the mean difference per channel left at that shift over the rows
below MOST, the same difference without a shift, and the mean channel value of the rows above the
moved picture (what it uncovered; "-" for a shift under 3, where no row is clear of the edge).
A sample that matches the rest picture moved down gives a shift above 0 with a small error; one
of a picture that moved back gives 0.
"""
import sys


def column(path):
    data = open(path, "rb").read()
    # P6 header: magic, width, height, maximum, each followed by whitespace.
    fields, position = [], 0
    while len(fields) < 4:
        while data[position : position + 1].isspace():
            position += 1
        start = position
        while not data[position : position + 1].isspace():
            position += 1
        fields.append(data[start:position])
    position += 1
    width, height = int(fields[1]), int(fields[2])
    if fields[0] != b"P6" or width != 1:
        raise SystemExit(f"{path}: not a one-pixel-wide PPM")
    pixels = data[position : position + 3 * height]
    return [tuple(pixels[3 * y : 3 * y + 3]) for y in range(height)]


def error(rest, sample, shift, most):
    rows = range(most, min(len(rest), len(sample)))
    total = sum(abs(a - b) for y in rows for a, b in zip(sample[y], rest[y - shift]))
    return total / (3 * len(rows))


def main():
    rest, most = column(sys.argv[1]), int(sys.argv[2])
    # Most samples repeat a frame already seen (grim is quicker than the lock's repaints).
    seen = {}
    for path in sys.argv[3:]:
        try:
            sample = column(path)
        except (OSError, ValueError, IndexError, SystemExit):
            print("none")
            continue
        key = tuple(sample)
        if key not in seen:
            seen[key] = measure(rest, sample, most)
        print(*seen[key])


def measure(rest, sample, most):
    if sample == rest:
        return 0, 0.0, 0.0, "-"
    best = min(range(most + 1), key=lambda shift: error(rest, sample, shift, most))
    uncovered = "-"
    if best >= 3:
        # The last row above the picture may be blended with its edge where it was scaled.
        rows = sample[: best - 1]
        uncovered = round(sum(sum(pixel) for pixel in rows) / (3 * len(rows)), 2)
    return (
        best,
        round(error(rest, sample, best, most), 2),
        round(error(rest, sample, 0, most), 2),
        uncovered,
    )


main()
