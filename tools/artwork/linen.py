#!/usr/bin/env python3
"""Writes resources/images/linen.png: the woven linen tiled behind the lock screen when no picture
is shown. Seeded, so the same tile comes out every time; plain Python, no imaging library.

Every pattern in it repeats exactly over the tile's width and height (the weave's period and
the noise lattices divide the size), so the tile joins itself without a seam.

Run from anywhere: python3 tools/artwork/linen.py
"""
import math
import os
import random
import struct
import zlib

SIZE = 256
SEED = 11
BASE = (44, 50, 60)       # dark grey-blue
TINT = (0.85, 0.95, 1.1)  # light and shade lean a little towards blue
CONTRAST = 22.0           # grey levels from the darkest thread to the brightest
THREAD = 2                # pixels per thread; divides SIZE

OUT = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..', 'resources', 'images',
                   'linen.png')


def periodic_noise(rng, cells):
    """SIZE values of smooth noise in [-1, 1] that wrap around: cosine-interpolated random values
    on a lattice of `cells` points across the tile."""
    lattice = [rng.uniform(-1, 1) for _ in range(cells)]
    step = SIZE / cells
    out = []
    for i in range(SIZE):
        f = i / step
        k = int(f)
        t = (1 - math.cos((f - k) * math.pi)) / 2
        out.append(lattice[k % cells] * (1 - t) + lattice[(k + 1) % cells] * t)
    return out


def thread_field(rng):
    """One value per pixel along each thread: the thread's own shade, its slubs (thicker, brighter
    stretches) and a slow drift, indexed [thread][position]."""
    threads = []
    for _ in range(SIZE // THREAD):
        # A constant shade along the whole thread would repeat as a stripe on every tile, so
        # most of a thread's shade drifts along it.
        shade = max(-0.3, min(0.3, rng.gauss(0, 0.15)))
        drift = periodic_noise(rng, 8)
        slubs = periodic_noise(rng, 16)
        # Slubs only where the noise peaks, so they come as short bright dashes; the small
        # offset keeps the average thread at the base colour.
        threads.append([shade + 0.35 * d + 3.84 * max(0.0, s - 0.35) ** 2 - 0.12
                        for d, s in zip(drift, slubs)])
    return threads


def mottle(rng, cells):
    """A soft, wrapping 2D cloudiness, indexed [y][x]."""
    lattice = [[rng.uniform(-1, 1) for _ in range(cells)] for _ in range(cells)]
    step = SIZE / cells

    def ease(f):
        k = int(f)
        return k, (1 - math.cos((f - k) * math.pi)) / 2

    out = []
    for y in range(SIZE):
        ky, ty = ease(y / step)
        a, b = lattice[ky % cells], lattice[(ky + 1) % cells]
        row = []
        for x in range(SIZE):
            kx, tx = ease(x / step)
            top = a[kx % cells] * (1 - tx) + a[(kx + 1) % cells] * tx
            bottom = b[kx % cells] * (1 - tx) + b[(kx + 1) % cells] * tx
            row.append(top * (1 - ty) + bottom * ty)
        out.append(row)
    return out


def main():
    rng = random.Random(SEED)
    weft = thread_field(rng)  # horizontal threads, [row thread][x]
    warp = thread_field(rng)  # vertical threads, [column thread][y]
    # Across a thread its middle catches more light than its edges.
    profile = [0.3, -0.3] if THREAD == 2 else [0.0] * THREAD
    clouds = mottle(rng, 8)
    rows = []
    for y in range(SIZE):
        row = bytearray([0])  # PNG filter: none
        for x in range(SIZE):
            h = weft[y // THREAD][x] + profile[y % THREAD]
            v = warp[x // THREAD][y] + profile[x % THREAD]
            # Plain weave: the weft is on top where the two threads' parities differ.
            over = ((x // THREAD) + (y // THREAD)) % 2
            value = (0.72 * h + 0.28 * v) if over else (0.28 * h + 0.72 * v)
            value += 0.3 * clouds[y][x] + rng.gauss(0, 0.12)
            for base, tint in zip(BASE, TINT):
                c = base + value * CONTRAST / 2 * tint
                row.append(max(0, min(255, round(c))))
        rows.append(bytes(row))
    raw = b''.join(rows)

    def chunk(kind, data):
        body = kind + data
        return struct.pack('>I', len(data)) + body + struct.pack('>I', zlib.crc32(body))

    png = (b'\x89PNG\r\n\x1a\n' +
           chunk(b'IHDR', struct.pack('>IIBBBBB', SIZE, SIZE, 8, 2, 0, 0, 0)) +
           chunk(b'IDAT', zlib.compress(raw, 9)) + chunk(b'IEND', b''))
    with open(OUT, 'wb') as f:
        f.write(png)


if __name__ == '__main__':
    main()
