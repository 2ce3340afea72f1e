#!/usr/bin/env python3
"""Writes circuit.svg: the circuit board shown under the lock window. Seeded, so repeatable."""
import random

random.seed(7)
W, H = 1920, 1080
STEP = 40
out = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{W}" height="{H}" viewBox="0 0 {W} {H}">',
       '<defs><radialGradient id="g" cx="50%" cy="45%" r="75%"><stop offset="0" stop-color="#0f3b2a"/>'
       '<stop offset="1" stop-color="#06170f"/></radialGradient></defs>',
       f'<rect width="{W}" height="{H}" fill="url(#g)"/>']
# Traces on a grid, with 45-degree bends and a pad at each end.
for _ in range(170):
    x = random.randrange(0, W // STEP) * STEP
    y = random.randrange(0, H // STEP) * STEP
    pts = [(x, y)]
    dx, dy = random.choice([(1, 0), (0, 1), (-1, 0), (0, -1)])
    for _ in range(random.randint(3, 9)):
        n = random.randint(1, 6)
        x += dx * STEP * n
        y += dy * STEP * n
        pts.append((x, y))
        if random.random() < 0.6:
            ndx, ndy = random.choice([(dx + dy, dy - dx), (dx - dy, dy + dx)])
            ndx = max(-1, min(1, ndx))
            ndy = max(-1, min(1, ndy))
            x += ndx * STEP
            y += ndy * STEP
            pts.append((x, y))
        dx, dy = random.choice([(dx, dy), (dy, dx), (-dy, -dx)]) if random.random() < 0.5 else (dx, dy)
        if dx == 0 and dy == 0:
            dx = 1
    w = random.choice([2, 2, 3, 4])
    col = random.choice(['#c8a24a', '#b8923c', '#d6b35c'])
    op = random.choice([0.35, 0.5, 0.65])
    p = ' '.join(f'{a},{b}' for a, b in pts)
    out.append(f'<polyline points="{p}" fill="none" stroke="{col}" stroke-opacity="{op}" stroke-width="{w}" '
               'stroke-linejoin="round" stroke-linecap="round"/>')
    for (a, b) in (pts[0], pts[-1]):
        out.append(f'<circle cx="{a}" cy="{b}" r="{w + 4}" fill="#0a2419" stroke="{col}" '
                   f'stroke-opacity="{op + 0.2:.2f}" stroke-width="2.5"/>')
# Chips with their pins.
for _ in range(14):
    cw = random.choice([120, 160, 200])
    ch = random.choice([80, 120, 160])
    x = random.randrange(0, W - cw)
    y = random.randrange(0, H - ch)
    out.append(f'<rect x="{x}" y="{y}" width="{cw}" height="{ch}" rx="6" fill="#111714" stroke="#2d3a33" stroke-width="2"/>')
    for k in range(8, cw - 8, 16):
        out.append(f'<rect x="{x + k}" y="{y - 8}" width="6" height="8" fill="#9a9f9c"/>')
        out.append(f'<rect x="{x + k}" y="{y + ch}" width="6" height="8" fill="#9a9f9c"/>')
    out.append(f'<circle cx="{x + 12}" cy="{y + 12}" r="4" fill="#2d3a33"/>')
out.append('</svg>')
open('circuit.svg', 'w').write('\n'.join(out))
