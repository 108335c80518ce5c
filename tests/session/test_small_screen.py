"""The application on a small screen with large letters."""

import re
import unittest

from desktop_test import DesktopTest
from session import wait_for


class SmallScreenTest(DesktopTest):
    """A laptop of 1366 × 768 pixels at one and a half times the usual size."""

    size = (1366, 768)
    scale = 1.5

    def geometry(self):
        """Of the window, in pixels: left, top, width, height."""
        window = wait_for("the window", lambda: self.desktop.windows("Driftwell"))[0]
        values = dict(re.findall(r"^(\w+)=(\d+)$", self.desktop.xdotool("getwindowgeometry", "--shell", window), re.M))
        return tuple(int(values[name]) for name in ("X", "Y", "WIDTH", "HEIGHT"))

    def is_on_screen(self):
        left, top, width, height = self.geometry()
        return left >= 0 and top >= 0 and left + width <= self.size[0] and top + height <= self.size[1]

    def test_the_window_is_not_larger_than_the_screen(self):
        self.start_platform()
        self.desktop.open_app(host=self.platform.address, QT_SCALE_FACTOR=str(self.scale))
        self.wait_for_text("No projects yet")
        wait_for("the whole window on the screen", self.is_on_screen)
        self.assertGreater(self.geometry()[2], 1000)


if __name__ == "__main__":
    unittest.main(verbosity=2)
