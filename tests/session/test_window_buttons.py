"""The buttons of the application's window on a desktop whose person has them somewhere else."""

import unittest

from desktop_test import DesktopTest
from session import wait_for


class WindowButtonsTest(DesktopTest):
    """On a desktop with a portal that tells where windows have their buttons."""

    has_panel = False

    def setUp(self):
        super().setUp()
        self.start_portal()
        self.start_platform()

    def buttons(self):
        """The names of the window's buttons from the left to the right, and where the first begins."""
        found = sorted((self.desktop.box(button).x, button.name) for button in self.desktop.widgets("push button")
                       if button.name in ("Close", "Minimize", "Maximize"))
        return [name for _, name in found], found[0][0] if found else None

    def wait_for_buttons(self, names, is_on_right):
        def are_there():
            found, left = self.buttons()
            return found == names and (left > 800) == is_on_right
        wait_for(f"the buttons {names}", are_there)

    def test_the_buttons_stand_where_the_desktop_has_them_and_follow_it(self):
        self.open()
        self.wait_for_text("No projects yet")
        self.wait_for_buttons(["Close", "Minimize", "Maximize"], False)
        self.in_portal(lambda portal: portal.PlaceButtons("appmenu:minimize,maximize,close"))
        self.wait_for_buttons(["Minimize", "Maximize", "Close"], True)
        self.in_portal(lambda portal: portal.PlaceButtons("appmenu:close"))
        self.wait_for_buttons(["Close"], True)
        self.press("push button", "Close")
        wait_for("the end of the window", lambda: not self.desktop.windows("Driftwell"))

    def test_on_xfce_they_stand_where_its_window_manager_has_them(self):
        self.desktop.environment["XDG_CURRENT_DESKTOP"] = "XFCE"
        self.addCleanup(self.desktop.environment.pop, "XDG_CURRENT_DESKTOP")
        self.open()
        self.wait_for_text("No projects yet")
        self.wait_for_buttons(["Minimize", "Maximize", "Close"], True)
        self.xfconf("-n", "-t", "string", "-s", "CHM|")
        self.wait_for_buttons(["Close", "Minimize", "Maximize"], False)
        self.xfconf("-s", "|C")
        self.wait_for_buttons(["Close"], True)
        self.xfconf("-r")
        self.wait_for_buttons(["Minimize", "Maximize", "Close"], True)

    def xfconf(self, *arguments):
        self.desktop.x("xfconf-query", "-c", "xfwm4", "-p", "/general/button_layout", *arguments)


if __name__ == "__main__":
    unittest.main(verbosity=2)
