#!/usr/bin/python3
"""Writes a cursor theme of solid squares, one colour per size, so that a screenshot tells which
picture a client chose.

    xcursor_theme.py FOLDER NAME SIZE:RRGGBB...

makes FOLDER/cursors/NAME, an Xcursor file holding a SIZE x SIZE square of that colour for each
SIZE given, its hotspot at the top-left pixel.
"""
import os
import struct
import sys

IMAGE = 0xFFFD0002


def main():
    folder, name = sys.argv[1], sys.argv[2]
    images = []
    for item in sys.argv[3:]:
        size, colour = item.split(":")
        images.append((int(size), 0xFF000000 | int(colour, 16)))
    header_size, toc_entry, chunk_header = 16, 12, 36
    position = header_size + toc_entry * len(images)
    toc, chunks = b"", b""
    for size, argb in images:
        toc += struct.pack("<III", IMAGE, size, position)
        chunk = struct.pack("<IIIIIIIII", chunk_header, IMAGE, size, 1, size, size, 0, 0, 0)
        chunk += struct.pack("<I", argb) * (size * size)
        chunks += chunk
        position += len(chunk)
    os.makedirs(os.path.join(folder, "cursors"), exist_ok=True)
    with open(os.path.join(folder, "cursors", name), "wb") as out:
        out.write(b"Xcur" + struct.pack("<III", header_size, 0x10000, len(images)) + toc + chunks)


main()
