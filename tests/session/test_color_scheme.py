"""The application on a desktop whose person changes between dark and light while it runs."""

import unittest

from desktop_test import DesktopTest
from session import wait_for

DARK = 1
LIGHT = 2


class ColorSchemeTest(DesktopTest):
    """On a desktop with a portal that tells what the person prefers."""

    def setUp(self):
        super().setUp()
        self.start_portal()
        self.start_platform()

    def choose(self, scheme):
        self.in_portal(lambda portal: portal.Choose(scheme))

    def lightness(self):
        """Of the whole window, from 0 to 1."""
        return float(self.desktop.x("convert", f"x:{self.window}", "-colorspace", "Gray", "-format", "%[fx:mean]", "info:"))

    def wait_for_light(self):
        wait_for("the light window", lambda: self.lightness() > 0.7)

    def wait_for_dark(self):
        wait_for("the dark window", lambda: self.lightness() < 0.3)

    def test_the_window_follows_the_person_while_it_is_open(self):
        self.open()
        self.wait_for_text("No projects yet")
        self.wait_for_light()
        self.choose(DARK)
        self.wait_for_dark()
        self.choose(LIGHT)
        self.wait_for_light()

    def test_the_window_has_the_colours_that_were_chosen_while_it_was_closed(self):
        self.open()
        self.wait_for_text("No projects yet")
        self.wait_for_light()
        self.press("push button", "Close")
        wait_for("the end of the window", lambda: not self.desktop.windows("Driftwell"))
        self.choose(DARK)
        self.desktop.launch(host=self.platform.address).wait()
        self.wait_for_text("No projects yet")
        self.place_window()
        self.wait_for_dark()


if __name__ == "__main__":
    unittest.main(verbosity=2)
