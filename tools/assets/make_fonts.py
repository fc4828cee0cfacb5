#!/usr/bin/python3
"""Makes the TrueType fonts that Torvelane carries: make_fonts.py FUSTAT SPACE_GROTESK TARGET.

FUSTAT and SPACE_GROTESK are unpacked font packages. These cut a font into a web font for each range of characters;
"latin" and "latin-ext" together are all that English and French need, so they're joined again. Their names are made
whole as well: each file names its typographic family, by which Qt selects together with the weight, and a family of
its own weight, by which GDI, the older graphics interface of Windows, distinguishes the files.
"""

import sys
from pathlib import Path

from fontTools import merge, subset
from fontTools.ttLib import TTFont

WEIGHTS = {"Regular": 400, "Medium": 500, "SemiBold": 600, "Bold": 700}
RANGES = ("latin", "latin-ext")
WINDOWS_ENGLISH = (3, 1, 0x409)
# Numbers in the name table.
COPYRIGHT, FAMILY, STYLE, UNIQUE, FULL, VERSION, POSTSCRIPT = range(7)
LICENCE, LICENCE_ADDRESS, TYPOGRAPHIC_FAMILY, TYPOGRAPHIC_STYLE = 13, 14, 16, 17
# The bits of OS/2.fsSelection.
BOLD, REGULAR = 1 << 5, 1 << 6


def style_in_own_family(style):
    """Regular or bold, the two styles that GDI knows. It may take any weight above medium for a wish for bold, and
    thickens a font that doesn't call itself so; Qt then takes it for a bold one as well."""
    return "Bold" if WEIGHTS[style] > WEIGHTS["Medium"] else "Regular"


def joined(paths):
    """One font of the glyphs of all; a character that several have comes from the first."""
    font = merge.Merger().merge([str(path) for path in paths])
    # Leaves out duplicates, and alternates of style that Qt has no way to ask for.
    options = subset.Options(name_IDs=["*"], notdef_outline=True, glyph_names=False, recalc_timestamp=False)
    # The place on the axes of a variable font, which this is no longer.
    options.drop_tables += ["STAT"]
    subsetter = subset.Subsetter(options)
    subsetter.populate(unicodes=font.getBestCmap())
    subsetter.subset(font)
    return font


def rename(font, family, style):
    names = font["name"]
    kept = {number: names.getDebugName(number) for number in (COPYRIGHT, VERSION, LICENCE, LICENCE_ADDRESS)}
    names.names = []
    postscript = f"{family.replace(' ', '')}-{style}"
    version = kept[VERSION].removeprefix("Version ")
    texts = kept | {UNIQUE: f"{version};{postscript}", FULL: f"{family} {style}", POSTSCRIPT: postscript}
    own_style = style_in_own_family(style)
    if style == own_style:
        texts |= {FAMILY: family, STYLE: style}
    else:
        texts |= {FAMILY: f"{family} {style}", STYLE: own_style, TYPOGRAPHIC_FAMILY: family, TYPOGRAPHIC_STYLE: style}
    for number, text in sorted(texts.items()):
        if text:
            names.setName(text, number, *WINDOWS_ENGLISH)


def set_weight(font, style):
    font["OS/2"].usWeightClass = WEIGHTS[style]
    bold = style_in_own_family(style) == "Bold"
    selection = font["OS/2"].fsSelection & ~(BOLD | REGULAR)
    font["OS/2"].fsSelection = selection | (BOLD if bold else REGULAR)
    font["head"].macStyle = 1 if bold else 0


def make(package, family, style, target):
    weight = WEIGHTS[style]
    parts = [package / "files" / f"{package.name}-{name}-{weight}-normal.woff2" for name in RANGES]
    font = joined(parts)
    rename(font, family, style)
    set_weight(font, style)
    # The merger writes the present time, which would change the file with every run.
    source = TTFont(parts[0])["head"]
    font["head"].created, font["head"].modified = source.created, source.modified
    font.recalcTimestamp = False
    font.save(target / f"{family.replace(' ', '')}-{style}.ttf")


def main():
    fustat, space_grotesk, target = map(Path, sys.argv[1:])
    for style in ("Regular", "Medium", "SemiBold", "Bold"):
        make(fustat, "Fustat", style, target)
    for style in ("Medium", "Bold"):
        make(space_grotesk, "Space Grotesk", style, target)


if __name__ == "__main__":
    main()
