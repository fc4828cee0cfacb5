#!/usr/bin/python3
"""Draws Torvelane's mark: make_logo.py MARK.svg PROGRAM.ico.

The mark is a T of two lanes: one turns, the other, brighter, goes straight on where it left. The program's icon shows
it on a tile of dark glass. Small icons have numbers of their own, by which edges fall on whole pixels.
"""

import io
import struct
import subprocess
import sys
from dataclasses import dataclass
from math import ceil, radians, sqrt, tan
from pathlib import Path

from PIL import Image


@dataclass(frozen=True)
class Mark:
    """The mark before it leans: x to the right and y downward, in pixels of the picture."""

    left: float
    top: float
    right: float
    bottom: float
    stem: float  # left edge of the part of the turning lane that goes down
    width: float  # of both lanes
    radius: float  # of the outer edge of the turn
    gap: float  # between the lanes
    lean: float = 0.0  # degrees to the right, about the lower edge of the bar

    @property
    def slope(self):
        return tan(radians(self.lean))

    def turning_lane(self):
        outer, inner = self.radius, self.radius - self.width
        middle, edge = self.stem + self.width - outer, self.stem + self.width
        return (f"M{self.left:g} {self.top:g}H{middle:g}A{outer:g} {outer:g} 0 0 1 {edge:g} {self.top + outer:g}"
                f"V{self.bottom:g}H{self.stem:g}V{self.top + outer:g}"
                f"A{inner:g} {inner:g} 0 0 0 {middle:g} {self.top + self.width:g}H{self.left:g}Z")

    def straight_lane(self):
        """Its left edge follows the turn at the distance of the gap."""
        curve, middle = self.radius + self.gap, self.stem + self.width - self.radius
        above = middle + sqrt(curve**2 - self.radius**2)
        below = middle + sqrt(curve**2 - (self.radius - self.width) ** 2)
        return (f"M{above:.3f} {self.top:g}H{self.right:g}V{self.top + self.width:g}H{below:.3f}"
                f"A{curve:g} {curve:g} 0 0 0 {above:.3f} {self.top:g}Z")

    def svg(self):
        """Gradients and shapes, to be put into a drawing."""
        shift = self.slope * (self.top + self.width)
        return f"""<defs>
<linearGradient id="turning" gradientUnits="userSpaceOnUse" x1="{self.left:g}" y1="{self.top:g}" x2="{self.stem:g}" \
y2="{self.bottom:g}"><stop offset="0" stop-color="#737DFF"/><stop offset="1" stop-color="#4F59DE"/></linearGradient>
<linearGradient id="straight" gradientUnits="userSpaceOnUse" x1="{self.stem + self.width:g}" y1="0" \
x2="{self.right:g}" y2="0"><stop offset="0" stop-color="#8A93FF"/><stop offset="1" stop-color="#A9B0FF"/></linearGradient>
</defs>
<g transform="matrix(1 0 {-self.slope:.6f} 1 {shift:.4f} 0)">
<path fill="url(#turning)" d="{self.turning_lane()}"/>
<path fill="url(#straight)" d="{self.straight_lane()}"/>
</g>
"""

    def scaled(self, factor, x, y):
        return Mark(self.left * factor + x, self.top * factor + y, self.right * factor + x, self.bottom * factor + y,
                    self.stem * factor + x, self.width * factor, self.radius * factor, self.gap * factor, self.lean)

    def extent(self):
        """Width with the lean."""
        return self.right - self.left + self.slope * self.width


MARK = Mark(left=0, top=0, right=252, bottom=240, stem=98, width=64, radius=124, gap=14, lean=10)

# The mark in the program's icon, by the icon's size. It stands upright where a lean would only blur it.
SMALL_MARKS = {
    16: Mark(left=2, top=3, right=14, bottom=14, stem=6, width=3, radius=5, gap=1),
    20: Mark(left=3, top=4, right=17, bottom=17, stem=8, width=4, radius=7, gap=1),
    24: Mark(left=4, top=5, right=20, bottom=20, stem=9, width=5, radius=8, gap=1),
}
SIZES = (16, 20, 24, 32, 40, 48, 64, 128, 256)
COMPRESSED_FROM = 256  # older readers of icons know pictures of smaller sizes uncompressed only


def drawing(width, height, content):
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
            f'viewBox="0 0 {width} {height}">\n{content}</svg>\n')


def mark_drawing():
    return drawing(ceil(MARK.extent()), MARK.bottom, MARK.svg())


def mark_on_tile(size):
    if size in SMALL_MARKS:
        return SMALL_MARKS[size]
    # The bar starts at a whole pixel and is whole pixels thick.
    width = round(size * 0.172)
    factor = width / MARK.width
    x = (size - MARK.extent() * factor) / 2
    y = round((size - MARK.bottom * factor) / 2)
    return MARK.scaled(factor, x, y)


def tile_drawing(size):
    """Dark glass: lit from above, with a hairline around it."""
    line = max(1, size / 128)
    radius = size * 0.22
    glass = f"""<defs>
<linearGradient id="glass" x1="0" y1="0" x2="0" y2="1"><stop offset="0" stop-color="#26283F"/>\
<stop offset="0.5" stop-color="#12131E"/><stop offset="1" stop-color="#090909"/></linearGradient>
<linearGradient id="edge" x1="0" y1="0" x2="0" y2="1"><stop offset="0" stop-color="#FFFFFF" stop-opacity="0.34"/>\
<stop offset="1" stop-color="#FFFFFF" stop-opacity="0.14"/></linearGradient>
</defs>
<rect width="{size}" height="{size}" rx="{radius:g}" fill="url(#glass)"/>
<rect x="{line / 2:g}" y="{line / 2:g}" width="{size - line:g}" height="{size - line:g}" rx="{radius - line / 2:g}" \
fill="none" stroke="url(#edge)" stroke-width="{line:g}"/>
"""
    return drawing(size, size, glass + mark_on_tile(size).svg())


def rendered(svg):
    png = subprocess.run(["rsvg-convert"], input=svg.encode(), capture_output=True, check=True).stdout
    return Image.open(io.BytesIO(png)).convert("RGBA")


def png_bytes(picture):
    buffer = io.BytesIO()
    picture.save(buffer, "PNG", optimize=True)
    return buffer.getvalue()


def bitmap_bytes(picture):
    """A picture inside an icon: header of twice the height, rows from below as BGRA, and a mask that nothing reads
    beside an alpha channel."""
    width, height = picture.size
    header = struct.pack("<IiiHHIIiiII", 40, width, 2 * height, 1, 32, 0, 0, 0, 0, 0, 0)
    rows = picture.transpose(Image.FLIP_TOP_BOTTOM).tobytes("raw", "BGRA")
    mask = bytes((width + 31) // 32 * 4 * height)
    return header + rows + mask


def icon_bytes(pictures):
    entries, data = b"", b""
    start = 6 + 16 * len(pictures)
    for picture in pictures:
        size = picture.width
        image = png_bytes(picture) if size >= COMPRESSED_FROM else bitmap_bytes(picture)
        entries += struct.pack("<BBBBHHII", size % 256, size % 256, 0, 0, 1, 32, len(image), start + len(data))
        data += image
    return struct.pack("<HHH", 0, 1, len(pictures)) + entries + data


def main():
    mark_svg, icon = map(Path, sys.argv[1:])
    mark_svg.write_text(mark_drawing(), encoding="utf-8")
    icon.write_bytes(icon_bytes([rendered(tile_drawing(size)) for size in SIZES]))


if __name__ == "__main__":
    main()
