#!/usr/bin/env python3
"""Writes the lock screen's widget icons into resources/images as SVG.

Every icon comes in a dark variant for light backgrounds ("...black", or no suffix) and a white
variant for dark backgrounds ("...white" / "...White"). The 25-point icons are drawn on a 25-unit
grid with 2-unit strokes on whole units, so they stay crisp at 1x and 2x; the 50-point music
images are solid shapes on a 50-unit grid. Only what Qt's SVG Tiny renderer draws is used: paths,
basic shapes, gradients, opacity and transforms. Digits are paths, so no font is needed.

Run from anywhere: python3 tools/artwork/icons.py
"""
import math
import os

OUT = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..', 'resources', 'images')

INK = {'dark': '#1c1c1e', 'white': '#ffffff'}
BADGE = '#e5483d'
STROKE = 2


def num(v):
    """Short, stable number text."""
    s = f'{v:.2f}'.rstrip('0').rstrip('.')
    return '0' if s == '-0' else s


def svg(size, body):
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{size}" height="{size}" '
            f'viewBox="0 0 {size} {size}">\n' + ''.join(f'  {line}\n' for line in body) + '</svg>\n')


def write(name, text):
    with open(os.path.join(OUT, name + '.svg'), 'w', newline='\n') as f:
        f.write(text)


# --- Battery ---------------------------------------------------------------------------------
# A plain outline: the charge is told by the number beside it, so the glyph never shows a level.

def battery(ink, charging):
    body = [f'<rect x="2" y="7" width="18" height="11" rx="3" fill="none" stroke="{ink}" '
            f'stroke-width="{STROKE}"/>',
            f'<rect x="22" y="10" width="2" height="5" rx="1" fill="{ink}"/>']
    if charging:
        bolt = [(12.9, 8.8), (7.9, 13.3), (10.8, 13.3), (9.1, 16.2), (14.1, 11.7), (11.2, 11.7)]
        pts = ' '.join(f'{num(x)},{num(y)}' for x, y in bolt)
        body.append(f'<polygon points="{pts}" fill="{ink}" stroke="{ink}" stroke-width="0.6" '
                    'stroke-linejoin="round"/>')
    return svg(25, body)


# --- Mail ------------------------------------------------------------------------------------
# An envelope; with unread mail a red badge sits on its top-right corner. The envelope's outline
# stops short of the badge, leaving a real gap instead of painting a ring in a guessed
# background colour.

ENV_X0, ENV_Y0, ENV_X1, ENV_Y1, ENV_R = 3, 9, 22, 20, 2  # stroke centre line
FLAP_APEX = (12.5, 15.5)
BADGE_CY, BADGE_R, BADGE_RIGHT = 6, 6, 25
BADGE_GAP = 1.2

# Digits: monoline glyphs on a 10 x 14 design box, drawn with round ends.
GLYPH_W, GLYPH_H, GLYPH_STROKE = 10, 14, 2.7
GLYPHS = {
    '0': 'M5 1C2.6 1 1.2 3.4 1.2 7S2.6 13 5 13S8.8 10.6 8.8 7S7.4 1 5 1Z',
    '1': 'M3 3.6L6.4 1V13',
    '2': 'M1.4 4.2C1.6 2.3 3.1 1 5 1C7.1 1 8.6 2.4 8.6 4.3C8.6 6 7.6 7.1 6.1 8.4L1.4 13H8.8',
    '3': 'M1.6 2.6C2.4 1.6 3.6 1 5 1C7.1 1 8.5 2.3 8.5 3.9C8.5 5.7 7 6.8 4.8 6.8C7.3 6.8 8.9 8.1 '
         '8.9 10C8.9 11.9 7.2 13 5 13C3.4 13 2.1 12.4 1.2 11.3',
    '4': 'M6.8 13V1L1.2 9.4H9',
    '5': 'M8.4 1H2.4L1.8 6.6C2.7 5.9 3.8 5.5 5 5.5C7.3 5.5 8.9 7 8.9 9.2C8.9 11.5 7.2 13 5 13'
         'C3.4 13 2.1 12.4 1.2 11.3',
    '6': 'M7.8 1.8C7.1 1.3 6.2 1 5.3 1C2.7 1 1.2 3.6 1.2 9.2M1.2 9.2A3.8 3.8 0 1 0 8.8 9.2'
         'A3.8 3.8 0 1 0 1.2 9.2Z',
    '7': 'M1.2 1H8.8L4 13',
    '8': 'M5 6.8A2.9 2.9 0 1 1 5 1A2.9 2.9 0 1 1 5 6.8ZM5 13A3.1 3.1 0 1 1 5 6.8'
         'A3.1 3.1 0 1 1 5 13Z',
    '9': 'M2.2 12.2C2.9 12.7 3.8 13 4.7 13C7.3 13 8.8 10.4 8.8 4.8M8.8 4.8A3.8 3.8 0 1 0 1.2 4.8'
         'A3.8 3.8 0 1 0 8.8 4.8Z',
    '+': 'M5 3.2V10.8M1.2 7H8.8',
}
GLYPH_ADVANCE = {'+': 10}  # others: GLYPH_W
GLYPH_SCALE = 0.5


def capsule_distance(p, a, b):
    """Distance from p to the segment a-b."""
    ax, ay = a
    bx, by = b
    px, py = p
    dx, dy = bx - ax, by - ay
    length2 = dx * dx + dy * dy
    t = 0 if length2 == 0 else max(0.0, min(1.0, ((px - ax) * dx + (py - ay) * dy) / length2))
    return math.hypot(px - (ax + t * dx), py - (ay + t * dy))


def leave_at(start, end, inside):
    """The point between start (outside) and end (inside) where the line enters the region."""
    lo, hi = 0.0, 1.0
    for _ in range(60):
        mid = (lo + hi) / 2
        p = (start[0] + (end[0] - start[0]) * mid, start[1] + (end[1] - start[1]) * mid)
        if inside(p):
            hi = mid
        else:
            lo = mid
    return (start[0] + (end[0] - start[0]) * lo, start[1] + (end[1] - start[1]) * lo)


def badge_shape(label):
    """Centres of the badge's capsule (equal for a circle) for this label."""
    width = sum(GLYPH_ADVANCE.get(c, GLYPH_W) for c in label) * GLYPH_SCALE
    half_span = max(0.0, (width + 4.6 - 2 * BADGE_R) / 2)
    right = (BADGE_RIGHT - BADGE_R, BADGE_CY)
    left = (right[0] - 2 * half_span, BADGE_CY)
    return left, right


def envelope(ink, cut=None):
    x0, y0, x1, y1, r = ENV_X0, ENV_Y0, ENV_X1, ENV_Y1, ENV_R
    common = f'fill="none" stroke="{ink}" stroke-width="{STROKE}" stroke-linecap="round" ' \
             'stroke-linejoin="round"'
    flap_left = (x0 + 1.2, y0 + 1.2)
    flap_right = (x1 - 1.2, y0 + 1.2)
    if cut is None:
        outline = f'<rect x="{x0}" y="{y0}" width="{x1 - x0}" height="{y1 - y0}" rx="{r}" {common}/>'
        flap = (f'<path d="M{num(flap_left[0])} {num(flap_left[1])}L{num(FLAP_APEX[0])} '
                f'{num(FLAP_APEX[1])}L{num(flap_right[0])} {num(flap_right[1])}" {common}/>')
        return [outline, flap]
    # The outline runs from where the top edge meets the gap, anticlockwise round the
    # envelope, to where the right edge meets it. The top-right corner lies inside the gap.
    assert cut((x1, y0)) and cut((x1 - r, y0)) and cut((x1, y0 + r))
    top = leave_at((x0 + r, y0), (x1 - r, y0), cut)
    right = leave_at((x1, y1 - r), (x1, y0 + r), cut)
    d = (f'M{num(top[0])} {num(y0)}H{x0 + r}A{r} {r} 0 0 0 {x0} {y0 + r}V{y1 - r}'
         f'A{r} {r} 0 0 0 {x0 + r} {y1}H{x1 - r}A{r} {r} 0 0 0 {x1} {y1 - r}V{num(right[1])}')
    end = leave_at(FLAP_APEX, flap_right, cut) if cut(flap_right) else flap_right
    flap = (f'M{num(flap_left[0])} {num(flap_left[1])}L{num(FLAP_APEX[0])} {num(FLAP_APEX[1])}'
            f'L{num(end[0])} {num(end[1])}')
    return [f'<path d="{d}" {common}/>', f'<path d="{flap}" {common}/>']


def badge(label):
    left, right = badge_shape(label)
    body = []
    if left == right:
        body.append(f'<circle cx="{num(right[0])}" cy="{num(BADGE_CY)}" r="{num(BADGE_R)}" '
                    f'fill="{BADGE}"/>')
    else:
        body.append(f'<rect x="{num(left[0] - BADGE_R)}" y="{num(BADGE_CY - BADGE_R)}" '
                    f'width="{num(right[0] - left[0] + 2 * BADGE_R)}" height="{num(2 * BADGE_R)}" '
                    f'rx="{num(BADGE_R)}" fill="{BADGE}"/>')
    # The label, centred in the badge.
    width = sum(GLYPH_ADVANCE.get(c, GLYPH_W) for c in label) * GLYPH_SCALE
    x = (left[0] + right[0]) / 2 - width / 2
    y = BADGE_CY - GLYPH_H * GLYPH_SCALE / 2
    for c in label:
        advance = GLYPH_ADVANCE.get(c, GLYPH_W)
        body.append(f'<path transform="translate({num(x)} {num(y)}) scale({GLYPH_SCALE})" '
                    f'd="{GLYPHS[c]}" fill="none" stroke="#ffffff" '
                    f'stroke-width="{GLYPH_STROKE}" stroke-linecap="round" '
                    'stroke-linejoin="round"/>')
        x += advance * GLYPH_SCALE
    return body


def mail(ink, label):
    if label is None:
        return svg(25, envelope(ink))
    left, right = badge_shape(label)
    reach = BADGE_R + BADGE_GAP + STROKE / 2
    return svg(25, envelope(ink, lambda p: capsule_distance(p, left, right) < reach) + badge(label))


# --- Music -----------------------------------------------------------------------------------

def rounded_triangle(points, ink, round_by):
    pts = ' '.join(f'{num(x)},{num(y)}' for x, y in points)
    return (f'<polygon points="{pts}" fill="{ink}" stroke="{ink}" stroke-width="{round_by}" '
            'stroke-linejoin="round"/>')


def play(ink):
    return svg(50, [rounded_triangle([(18, 13.5), (18, 36.5), (37.5, 25)], ink, 4)])


def pause(ink):
    return svg(50, [f'<rect x="15" y="13" width="7" height="24" rx="2" fill="{ink}"/>',
                    f'<rect x="28" y="13" width="7" height="24" rx="2" fill="{ink}"/>'])


def fast_forward(ink, backwards=False):
    shapes = [[(10.5, 16), (10.5, 34), (25, 25)], [(25, 16), (25, 34), (39.5, 25)]]
    if backwards:
        shapes = [[(50 - x, y) for x, y in tri] for tri in shapes]
    return svg(50, [rounded_triangle(tri, ink, 3) for tri in shapes])


def ellipse_path(cx, cy, rx, ry, degrees):
    """A rotated ellipse as two arcs, clockwise like the other parts of the note."""
    t = math.radians(degrees)
    ax, ay = rx * math.cos(t), rx * math.sin(t)
    start, end = (cx - ax, cy - ay), (cx + ax, cy + ay)
    arc = f'A{num(rx)} {num(ry)} {num(degrees)} 0 1 '
    return (f'M{num(start[0])} {num(start[1])}{arc}{num(end[0])} {num(end[1])}'
            f'{arc}{num(start[0])} {num(start[1])}Z')


def note_path():
    """A beamed pair of quavers as one path, so its overlapping parts are filled only once and
    the translucent ink stays even."""
    heads = ellipse_path(17.6, 33.6, 4.6, 3.5, -22) + ellipse_path(31.6, 30.6, 4.6, 3.5, -22)
    stems = 'M20.4 19.6H23V33.6H20.4Z' + 'M34.4 16.6H37V30.6H34.4Z'
    beam = 'M20.4 15.2L37 11.6V16.4L20.4 20Z'
    return heads + stems + beam


def music(variant):
    """The album placeholder: a beamed pair of notes on a soft, translucent rounded square."""
    ink = INK[variant]
    top, bottom = (0.07, 0.16) if variant == 'dark' else (0.24, 0.12)
    edge = 0.22 if variant == 'dark' else 0.38
    note = 0.78 if variant == 'dark' else 0.92
    body = [
        '<defs>',
        '  <linearGradient id="tile" x1="0" y1="0" x2="0" y2="1">',
        f'    <stop offset="0" stop-color="{ink}" stop-opacity="{top}"/>',
        f'    <stop offset="1" stop-color="{ink}" stop-opacity="{bottom}"/>',
        '  </linearGradient>',
        '</defs>',
        '<rect x="1" y="1" width="48" height="48" rx="11" fill="url(#tile)"/>',
        f'<rect x="1.5" y="1.5" width="47" height="47" rx="10.5" fill="none" stroke="{ink}" '
        f'stroke-opacity="{edge}"/>',
        f'<path d="{note_path()}" fill="{ink}" fill-opacity="{note}"/>',
    ]
    return svg(50, body)


# --- Do not disturb --------------------------------------------------------------------------

def moon(ink):
    """A crescent: the outer disc less an offset disc, as two arcs between their crossings."""
    (ax, ay, ar), (bx, by, br) = (12, 13, 8), (16.5, 8.8, 6.6)
    d = math.hypot(bx - ax, by - ay)
    a = (ar * ar - br * br + d * d) / (2 * d)
    h = math.sqrt(ar * ar - a * a)
    mx, my = ax + a * (bx - ax) / d, ay + a * (by - ay) / d
    p1 = (mx + h * (by - ay) / d, my - h * (bx - ax) / d)
    p2 = (mx - h * (by - ay) / d, my + h * (bx - ax) / d)
    path = (f'M{num(p1[0])} {num(p1[1])}A{ar} {ar} 0 1 0 {num(p2[0])} {num(p2[1])}'
            f'A{br} {br} 0 0 1 {num(p1[0])} {num(p1[1])}Z')
    return svg(25, [f'<path d="{path}" fill="{ink}"/>'])


def main():
    os.makedirs(OUT, exist_ok=True)
    for variant, suffix, cap in (('dark', '', ''), ('white', 'white', 'White')):
        ink = INK[variant]
        color = 'black' if variant == 'dark' else 'white'
        write('batteryicon' + suffix, battery(ink, False))
        write('batterycharging' + suffix, battery(ink, True))
        write('mail' + color, mail(ink, None))
        for n in list(range(1, 10)) + ['9+']:
            write(f'mail{color}{n}', mail(ink, str(n)))
        write('play' + color, play(ink))
        write('pause' + color, pause(ink))
        write('FastForward' + cap, fast_forward(ink))
        write('Rewind' + cap, fast_forward(ink, backwards=True))
        write('Music' + cap, music(variant))
        write('donotdisturb' + color, moon(ink))


if __name__ == '__main__':
    main()
