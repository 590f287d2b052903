#!/usr/bin/python3
"""The SVG icons that are installed are the pictures that the program draws.

Usage: icons_test.py FOLDER MAKE_ICONS REFERENCE_ICONS: the folder of the SVG files, the program that draws the pixel
icons, and the one that prints the status item's icons. SVG is read by the library that desktops read it with.
"""
import pathlib
import subprocess
import sys
import tempfile
import unittest

import gi
import numpy

gi.require_version("GdkPixbuf", "2.0")
from gi.repository import GdkPixbuf  # noqa: E402  pylint: disable=wrong-import-position

FOLDER, MAKE_ICONS, REFERENCE_ICONS = pathlib.Path(sys.argv[1]), sys.argv[2], sys.argv[3]
# The most that one pixel of two drawings of the same shape may differ, of 255, for the way in which edges are smoothed,
# and the most that all of them may on average. A shape that is moved by a twentieth of a unit exceeds both.
AT_A_PIXEL, ON_AVERAGE = 40, 0.5


def pixels(path, size):
    """The picture of that file at that size, as rows of (red, green, blue, alpha), colours weighed by alpha."""
    picture = GdkPixbuf.Pixbuf.new_from_file_at_size(str(path), size, size).add_alpha(False, 0, 0, 0)
    rows = numpy.frombuffer(picture.get_pixels(), numpy.uint8)[:size * picture.get_rowstride()]
    values = rows.reshape(size, -1)[:, :size * 4].reshape(size, size, 4).astype(float)
    values[..., :3] *= values[..., 3:] / 255
    return values


class Icons(unittest.TestCase):
    def check_alike(self, one, other):
        difference = abs(one - other)
        self.assertLessEqual(difference.max(), AT_A_PIXEL)
        self.assertLessEqual(difference.mean(), ON_AVERAGE)

    def test_the_scalable_icon_is_the_application_icon(self):
        with tempfile.TemporaryDirectory() as folder:
            for size in (48, 256):
                subprocess.run([MAKE_ICONS, folder, str(size)], check=True)
                self.check_alike(pixels(FOLDER / "scalable.svg", size), pixels(f"{folder}/{size}.png", size))

    def test_the_symbolic_icon_is_the_status_item_at_rest(self):
        # In ten times the size of its design, for a panel of 22, the status item's icon has no edge to move onto a
        # whole pixel. It stands in the middle of its picture.
        printed = subprocess.run([REFERENCE_ICONS, "220"], stdout=subprocess.PIPE, check=True, text=True).stdout
        drawn = dict(line.split() for line in printed.splitlines())["mic"]
        drawn = numpy.frombuffer(bytes.fromhex(drawn), numpy.uint8).reshape(220, 220)[20:200, 20:200].astype(float)
        self.check_alike(pixels(FOLDER / "symbolic.svg", 180)[..., 3], drawn)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
