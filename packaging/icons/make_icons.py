#!/usr/bin/env python3
"""Draws the application icon: the .ico for Windows; the .svg, the window's .png and those of the icon theme for
Linux.

Needs ImageMagick's convert. The drawings below are the only source; the results are kept in the repository.
"""

import pathlib
import subprocess
import tempfile

BLUE, PALE, ORANGE = "#1b4f8f", "#dce9f8", "#ff9a2e"
SIDE = 256  # of the drawing
FINER = 4   # drawn this much larger, then reduced: clean edges

# A shape: SVG element, its numbers, fill, stroke, stroke width.
CONNECTOR = "M44 58 H212 Q234 58 229 80 L216 136 Q212 152 196 152 H60 Q44 152 40 136 L27 80 Q22 58 44 58 Z"
PINS = [(x, 91) for x in (72, 100, 128, 156, 184)] + [(x, 122) for x in (86, 114, 142, 170)]
SIGNAL = "M36 216 H70 V182 H106 V216 H130 V182 H174 V216 H220"
LARGE = [("box", (8, 8, 248, 248, 48), BLUE, None, 0), ("path", CONNECTOR, None, PALE, 12)]
LARGE += [("dot", (x, y, 9), PALE, None, 0) for x, y in PINS]
LARGE += [("path", SIGNAL, None, ORANGE, 14)]

# Without pins, which would blur at a few pixels.
SMALL = [
    ("box", (0, 0, 255, 255, 44), BLUE, None, 0),
    ("path", "M40 44 H216 L192 112 H64 Z", PALE, PALE, 16),
    ("path", "M24 216 H72 V160 H128 V216 H176 V160 H232", None, ORANGE, 28),
]
THEME_SIZES = {16: SMALL, 22: SMALL, 24: SMALL, 32: SMALL, 48: LARGE, 64: LARGE, 128: LARGE}
SIZES = {16: SMALL, 20: SMALL, 24: SMALL, 32: SMALL, 48: LARGE, 64: LARGE, 256: LARGE}


def svg_element(shape):
    kind, numbers, fill, stroke, width = shape
    paint = f'fill="{fill or "none"}"'
    if stroke:
        paint += f' stroke="{stroke}" stroke-width="{width}" stroke-linejoin="round"'
    if kind == "box":
        left, top, right, bottom, radius = numbers
        size = f'width="{right - left}" height="{bottom - top}"'
        return f'<rect x="{left}" y="{top}" {size} rx="{radius}" {paint}/>'
    if kind == "dot":
        return '<circle cx="{}" cy="{}" r="{}" {}/>'.format(*numbers, paint)
    return f'<path d="{numbers}" {paint}/>'


def magick_primitive(shape):
    kind, numbers, fill, stroke, width = shape
    paint = f"fill {fill or 'none'} stroke {stroke or 'none'} stroke-width {width} stroke-linejoin round "
    if kind == "box":
        left, top, right, bottom, radius = numbers
        return paint + f"roundrectangle {left},{top} {right},{bottom} {radius},{radius}"
    if kind == "dot":
        x, y, radius = numbers
        return paint + f"circle {x},{y} {x + radius},{y}"
    return paint + f"path '{numbers}'"


def render(shapes, size, target):
    drawing = f"scale {FINER},{FINER} " + " ".join(map(magick_primitive, shapes))
    canvas = SIDE * FINER
    subprocess.run(["convert", "-size", f"{canvas}x{canvas}", "xc:none", "-draw", drawing,
                    "-filter", "Box", "-resize", f"{size}x{size}", "-strip", f"PNG32:{target}"], check=True)


def main():
    here = pathlib.Path(__file__).resolve().parent
    with tempfile.TemporaryDirectory() as folder:
        parts = [pathlib.Path(folder) / f"{size}.png" for size in SIZES]
        for part, (size, shapes) in zip(parts, SIZES.items()):
            render(shapes, size, part)
        icon = here.parent / "windows" / "HalvetricSerialTest.ico"
        subprocess.run(["convert", *map(str, parts), str(icon)], check=True)
        (here / "HalvetricSerialTest.png").write_bytes(parts[-1].read_bytes())
    for size, shapes in THEME_SIZES.items():
        render(shapes, size, here / "hicolor" / f"{size}.png")
    elements = "\n".join("  " + svg_element(shape) for shape in LARGE)
    head = f'<svg xmlns="http://www.w3.org/2000/svg" width="{SIDE}" height="{SIDE}" viewBox="0 0 {SIDE} {SIDE}">'
    (here / "HalvetricSerialTest.svg").write_text(f"{head}\n{elements}\n</svg>\n")


main()
