"""The application's window among the windows of a desktop: moved, enlarged and closed by its own bar."""

import subprocess
import time
import unittest

from desktop_test import DesktopTest
from session import wait_for

# Of the bar, in the window: between the title and the filter.
BAR = (420, 20)


class WindowTest(DesktopTest):
    def setUp(self):
        super().setUp()
        self.start_platform()
        self.open()
        self.wait_for_text("No projects yet")

    def corner(self):
        return self.desktop.corner(self.find("frame", "Driftwell"))

    def extent(self):
        box = self.desktop.box(self.find("frame", "Driftwell"))
        return box.width, box.height

    def drag_bar(self, right, down):
        left, top = self.corner()
        start = (left + BAR[0], top + BAR[1])
        self.desktop.drag(start, (start[0] + right, start[1] + down))
        self.desktop.drop()
        return left + right, top + down

    def is_near(self, place):
        """A window manager takes the window along from where it noticed the movement, and snaps to edges."""
        return all(abs(one - other) <= 24 for one, other in zip(self.corner(), place))

    def test_a_window_that_was_dragged_stays_where_it_was_let_go(self):
        for right, down in ((120, 60), (60, 90), (-90, -40)):
            place = self.drag_bar(right, down)
            wait_for("the window in its new place", lambda: self.is_near(place))
            rest = self.corner()
            for x, y in ((1200, 850), (30, 500), (700, 300)):
                self.desktop.move(x, y)
                time.sleep(0.2)
            self.assertEqual(self.corner(), rest)

    def test_after_a_drag_the_window_hears_clicks(self):
        place = self.drag_bar(100, 50)
        wait_for("the window in its new place", lambda: self.is_near(place))
        button = self.find("push button", "Close")
        self.desktop.click(*self.desktop.place(button))
        wait_for("the end of the window", lambda: not self.desktop.windows("Driftwell"))

    def test_a_double_click_on_the_bar_enlarges_the_window_and_puts_it_back(self):
        before = self.extent()
        for enlarged in (True, False):
            x, y = self.corner()
            self.desktop.move(x + BAR[0], y + BAR[1])
            self.desktop.xdotool("click", "--repeat", 2, "--delay", 60, 1)
            wait_for("the other size", lambda: (self.extent() == before) != enlarged)


    def test_the_right_button_on_the_bar_opens_the_window_managers_menu(self):
        before = self.extent()
        x, y = self.corner()
        menus = self.popups()
        self.desktop.click(x + BAR[0], y + BAR[1], button=3)
        wait_for("the menu of the window manager", lambda: self.popups() - menus)
        self.assertEqual(self.desktop.widgets("menu item"), [])
        # The first entry of xfwm4's.
        self.desktop.key("Down", "Return")
        wait_for("the large window", lambda: self.extent()[0] == self.desktop.size[0])
        self.press("push button", "Restore")
        wait_for("the size of before", lambda: self.extent() == before)

    def popups(self):
        """The visible windows that the window manager does not manage, menus among them."""
        lines = self.desktop.x("xwininfo", "-root", "-children").splitlines()
        children = [line.split()[0] for line in lines if line.strip().startswith("0x")]
        return {child for child in children if self.is_popup(child)}

    def is_popup(self, window):
        try:
            text = self.desktop.x("xwininfo", "-id", window, "-all")
        except subprocess.CalledProcessError:
            return False
        return "Override Redirect State: yes" in text and "Map State: IsViewable" in text

    def close(self):
        self.press("push button", "Close")
        wait_for("the end of the window", lambda: not self.desktop.windows("Driftwell"))

    def open_again(self):
        self.desktop.launch(host=self.platform.address).wait()
        self.wait_for_text("No projects yet")

    def start_again(self):
        self.desktop.close_app()
        self.desktop.open_app(host=self.platform.address)
        self.wait_for_text("No projects yet")

    def resize(self, width, height):
        self.desktop.xdotool("windowsize", self.window, width, height)
        wait_for("the new size", lambda: self.extent() == (width, height))

    def test_the_window_opens_where_and_as_large_as_it_was_left(self):
        self.resize(900, 600)
        place = self.drag_bar(150, 70)
        wait_for("the window in its new place", lambda: self.is_near(place))
        rest = self.corner()
        self.close()
        self.open_again()
        wait_for("the window as it was", lambda: (self.extent(), self.corner()) == ((900, 600), rest))
        self.close()
        self.start_again()
        wait_for("the window as it was", lambda: (self.extent(), self.corner()) == ((900, 600), rest))

    def test_a_window_that_was_minimized_at_the_end_opens_as_large_as_it_was(self):
        self.resize(900, 600)
        self.press("push button", "Minimize")
        wait_for("the end of the window on the screen", lambda: not self.desktop.windows("Driftwell"))
        self.click_in_tray()
        self.press("push button", "Quit")
        self.wait_for_end()
        self.start_again()
        wait_for("the size of before", lambda: self.extent() == (900, 600))

    def test_a_window_that_was_left_maximized_opens_maximized_and_has_its_size_of_before(self):
        self.resize(900, 600)
        self.press("push button", "Maximize")
        wait_for("the large window", lambda: self.extent()[0] == self.desktop.size[0])
        self.close()
        self.start_again()
        wait_for("the large window", lambda: self.extent()[0] == self.desktop.size[0])
        self.press("push button", "Restore")
        wait_for("the size of before", lambda: self.extent() == (900, 600))


if __name__ == "__main__":
    unittest.main(verbosity=2)
