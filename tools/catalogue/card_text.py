"""How many lines a text takes on a card of the window, worked out from the font that the program ships."""

import functools
import os
import struct

FONT = os.path.normpath(
    os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "resources", "fonts", "Fustat-Regular.ttf"))
# The description's size and the width that two columns leave it in a window of its first size, both in pixels.
TEXT_SIZE = 12
TEXT_WIDTH = 329


def table_of(data, tag):
    count = struct.unpack_from(">H", data, 4)[0]
    for index in range(count):
        name, _, offset, _ = struct.unpack_from(">4sIII", data, 12 + 16 * index)
        if name == tag:
            return offset
    raise ValueError("the font has no table %r" % tag)


def glyphs(data):
    """The font's glyphs by character: its subtable of format 4, which covers the Basic Multilingual Plane."""
    base = table_of(data, b"cmap")
    for index in range(struct.unpack_from(">H", data, base + 2)[0]):
        start = base + struct.unpack_from(">I", data, base + 8 + 8 * index)[0]
        if struct.unpack_from(">H", data, start)[0] == 4:
            break
    else:
        raise ValueError("the font has no character map of format 4")
    count = struct.unpack_from(">H", data, start + 6)[0] // 2
    ends, starts, deltas, offsets = (start + 14, start + 16 + 2 * count, start + 16 + 4 * count, start + 16 + 6 * count)
    found = {}
    for segment in range(count):
        last, first, delta, offset = (struct.unpack_from(">H", data, at + 2 * segment)[0]
                                      for at in (ends, starts, deltas, offsets))
        for code in range(first, min(last, 0xFFFE) + 1):
            glyph = code
            if offset:
                glyph = struct.unpack_from(">H", data, offsets + 2 * segment + offset + 2 * (code - first))[0]
            found[code] = (glyph + delta) % 65536 if glyph or not offset else 0
    return found


@functools.lru_cache(maxsize=None)
def font():
    with open(FONT, "rb") as file:
        data = file.read()
    units = struct.unpack_from(">H", data, table_of(data, b"head") + 18)[0]
    metrics = struct.unpack_from(">H", data, table_of(data, b"hhea") + 34)[0]
    return data, units, metrics, table_of(data, b"hmtx"), glyphs(data)


def width(text):
    """Pixels that the text takes on one line."""
    data, units, metrics, start, glyph_of = font()
    total = 0
    for character in text:
        glyph = min(glyph_of.get(ord(character), 0), metrics - 1)
        total += struct.unpack_from(">H", data, start + 4 * glyph)[0]
    return total * TEXT_SIZE / units


def lines(text):
    """Lines that the text takes on a card, broken at plain blanks only."""
    count, line = 1, ""
    for word in text.split(" "):
        longer = "%s %s" % (line, word) if line else word
        if line and width(longer) > TEXT_WIDTH:
            count, line = count + 1, word
        else:
            line = longer
    return count
