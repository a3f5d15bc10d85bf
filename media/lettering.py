#!/usr/bin/python3
"""Draws the texts of the pictures as outlines, so that the build needs no font.

    lettering.py PICTURE.svg ...

Every <path> with the attributes data-text and data-font gets the outline of that text as its "d",
with the origin at the left end of the baseline. data-font is family, style and size in pixels:
"Lato Bold 11.5". Run it by hand after a text changed; the result is kept in the picture.

Needs python3-pyqt5 and the font itself (fonts-lato).
"""

import os
import re
import sys

os.environ.setdefault("QT_QPA_PLATFORM", "offscreen")

from PyQt5.QtGui import QFontDatabase, QFontInfo, QGuiApplication, QPainterPath, QTransform

DESIGN_SIZE = 1000  # pixels; large, so that neither hinting nor rounding bends the outline


def outline(text, family, style, size):
    font = QFontDatabase().font(family, style, 12)
    font.setPixelSize(DESIGN_SIZE)
    if QFontInfo(font).family() != family or QFontInfo(font).styleName() != style:
        sys.exit(f"lettering.py: the font {family} {style} is not installed")
    path = QPainterPath()
    path.addText(0, 0, font, text)
    return QTransform.fromScale(size / DESIGN_SIZE, size / DESIGN_SIZE).map(path)


def number(value):
    return f"{round(value, 2):g}"


def path_data(path):
    words = []
    index = 0
    while index < path.elementCount():
        element = path.elementAt(index)
        if element.type == QPainterPath.CurveToElement:
            points = [path.elementAt(index + offset) for offset in range(3)]
            words.append("C" + " ".join(f"{number(p.x)} {number(p.y)}" for p in points))
            index += 3
            continue
        letter = "M" if element.type == QPainterPath.MoveToElement else "L"
        words.append(f"{letter}{number(element.x)} {number(element.y)}")
        index += 1
    return "".join(words)


def redraw(element):
    attributes = dict(re.findall(r'([\w-]+)="([^"]*)"', element))
    if "data-text" not in attributes:
        return element
    family, style, size = attributes["data-font"].rsplit(" ", 2)
    path = outline(attributes["data-text"], family, style, float(size))
    print(f"{attributes['data-text']}: {path.boundingRect().width():.1f} px wide")
    return re.sub(r'\bd="[^"]*"', f'd="{path_data(path)}"', element)


def main():
    application = QGuiApplication(sys.argv[:1])  # fonts need it to live
    for name in sys.argv[1:]:
        with open(name, encoding="utf-8") as file:
            picture = file.read()
        picture = re.sub(r"<path\b[^>]*>", lambda match: redraw(match.group(0)), picture)
        with open(name, "w", encoding="utf-8") as file:
            file.write(picture)
    del application


if __name__ == "__main__":
    main()
