"""The application on a Wayland desktop: a compositor of its own in a window of the test's screen, so that mouse and
keyboard are those of the other tests. A client of Wayland does not know where on the screen it is; the pixels tell.
"""

import re
import unittest

from desktop_test import PROGRAMS, DesktopTest
from session import Session, descendants, skip_introduction, wait_for

BAR = (600, 20)
SOCKET = "wayland-test"


class WaylandSession(Session):
    def start_desktop(self):
        settings = self.folder / "weston.ini"
        settings.write_text("[shell]\npanel-position=none\nbackground-color=0xff404040\nlocking=false\n"
                            "startup-animation=none\nanimation=none\nclose-animation=none\nfocus-animation=none\n"
                            # No keyboard on the screen over what is looked at.
                            "[input-method]\npath=\n")
        self.spawn("/usr/bin/weston", "--backend=x11-backend.so", f"--config={settings}", f"--socket={SOCKET}",
                   "--width=%d" % self.size[0], "--height=%d" % self.size[1], "--use-pixman", "--idle-time=0")
        wait_for("the compositor", (self.folder / "run" / SOCKET).exists)
        # Inside an X window the compositor counts the way that the pointer goes, from a place which it does not always
        # hear of; at the ends of the screen its count and the pointer meet.
        for corner in ((0, 0), (self.size[0] - 1, self.size[1] - 1), (0, 0)):
            self.move(*corner)
        self.environment["WAYLAND_DISPLAY"] = SOCKET
        self.environment["XDG_SESSION_TYPE"] = "wayland"

    def launch(self, *arguments, **options):
        return super().launch(*arguments, DISPLAY="", **options)


class WaylandTest(DesktopTest):
    has_panel = False

    @classmethod
    def setUpClass(cls):
        cls.desktop = WaylandSession(PROGRAMS, panel=False)
        cls.addClassCleanup(cls.desktop.__exit__)
        cls.desktop.__enter__()

    def setUp(self):
        super().setUp()
        self.start_platform()

    def open_window(self):
        self.desktop.open_app(host=self.platform.address)
        self.wait_for_text("No projects yet")
        wait_for("the window on the screen", self.is_as_large_as_at_first)

    def box(self):
        """Left, top, width and height of all that is as light as the window, over which the pointer is put for it."""
        x, y = self.desktop.size[0] / 2, self.desktop.size[1] / 2
        # The compositor hears of the pointer only when it moves.
        self.desktop.move(x - 1, y)
        self.desktop.move(x, y)
        parts = self.light_parts()
        left, top = min(part[0] for part in parts), min(part[1] for part in parts)
        return (left, top, max(part[0] + part[2] for part in parts) - left,
                max(part[1] + part[3] for part in parts) - top)

    def light_parts(self):
        """The same of each part of the screen that hangs together and is larger than a pointer, which is light too."""
        text = self.desktop.x("convert", "x:root", "-colorspace", "Gray", "-threshold", "85%",
                              "-define", "connected-components:area-threshold=2000",
                              "-define", "connected-components:verbose=true", "-connected-components", "8", "null:")
        parts = re.findall(r"^ *\d+: (\d+)x(\d+)\+(\d+)\+(\d+) \S+ \d+ (?:gray\(255\)|srgb\(255,255,255\))", text,
                           re.MULTILINE)
        if not parts:
            raise AssertionError(f"nothing on the screen is light: {text}")
        return [(int(left), int(top), int(width), int(height)) for width, height, left, top in parts]

    def is_as_large_as_at_first(self):
        left, top, width, height = self.box()
        if (width, height) != (1000, 760):
            raise AssertionError(f"{width}x{height}+{left}+{top} of {self.light_parts()} is light")
        return True

    def on_screen(self, place):
        left, top, _, _ = self.box()
        return left + place[0], top + place[1]

    def press_button(self, name):
        self.desktop.click(*self.on_screen(self.desktop.place(self.find("push button", name))))

    def drag(self, start, right, down):
        x, y = self.on_screen(start)
        self.desktop.drag((x, y), (x + right, y + down))
        self.desktop.drop()

    def test_the_window_is_moved_by_its_bar_and_stays(self):
        self.open_window()
        for _ in range(2):
            left, top, width, height = self.box()
            # All of it is to stay on the screen.
            right, down = (90 if left < 140 else -90), (50 if top < 70 else -50)
            self.drag(BAR, right, down)
            wait_for("the window in its new place", lambda: all(
                abs(now - wanted) <= 24 for now, wanted in zip(self.box()[:2], (left + right, top + down))))
            rest = self.box()
            self.desktop.move(1200, 850)
            self.assertEqual(self.box(), rest)
            self.assertEqual(rest[2:], (width, height))

    def test_the_window_is_resized_by_its_corner(self):
        self.open_window()
        width, height = self.box()[2:]
        self.drag((width - 3, height - 3), -150, -120)
        wait_for("the smaller window", lambda: abs(self.box()[2] - (width - 150)) <= 24 and
                 abs(self.box()[3] - (height - 120)) <= 24)

    def test_a_double_click_on_the_bar_fills_the_screen_and_puts_the_window_back(self):
        self.open_window()
        self.desktop.move(*self.on_screen(BAR))
        self.desktop.xdotool("click", "--repeat", 2, "--delay", 60, 1)
        wait_for("the large window", lambda: self.box()[2:] == self.desktop.size)
        self.press_button("Restore")
        wait_for("the size of before", self.is_as_large_as_at_first)

    def test_the_right_button_on_the_bar_opens_a_menu_of_the_window(self):
        self.open_window()
        self.desktop.click(*self.on_screen(BAR), button=3)
        self.find("menu item", "Minimize")
        # A compositor begins these only while a button is held.
        self.assertEqual(self.desktop.widgets("menu item", re.compile("^(Move|Resize)$")), [])
        self.desktop.key("Down", "Return")
        wait_for("the large window", lambda: self.box()[2:] == self.desktop.size)
        self.desktop.gone("menu item", "Minimize")

    def test_a_folder_that_is_handed_over_goes_live(self):
        self.open_window()
        self.desktop.launch(self.site("garden"), host=self.platform.address).wait()
        self.find("push button", "Deploy")
        self.desktop.key("Return")
        self.find("push button", "Done")
        self.desktop.key("Return")
        self.wait_for_rows("garden")

    def test_a_sheet_lies_over_the_window_and_escape_closes_it(self):
        self.open_window()
        self.desktop.launch(self.site("garden"), host=self.platform.address).wait()
        sheet = self.find("dialog", "Deploy garden")
        self.wait_for_text("New site — this name is free")
        wait_for("the keyboard in the name field", lambda: self.desktop.is_focused(self.find("text", "Site name")))
        self.assertTrue(self.desktop.is_enabled(self.find("push button", "Deploy")))
        # In the window, and with its colour around what it darkens.
        inner, outer = self.desktop.box(sheet), self.desktop.box(self.find("frame", "Driftwell"))
        self.assertGreater(inner.x, outer.x)
        self.assertGreater(inner.y, outer.y)
        self.assertLess(inner.x + inner.width, outer.x + outer.width)
        self.assertLess(inner.y + inner.height, outer.y + outer.height)
        wait_for("the sheet on the screen", lambda: any(
            abs(width - inner.width) <= 4 and abs(height - inner.height) <= 4
            for _, _, width, height in self.light_parts()))
        self.picture("wayland-sheet")
        self.desktop.key("Escape")
        self.desktop.gone("dialog")
        wait_for("the window on the screen", self.is_as_large_as_at_first)
        self.wait_for_text("No projects yet")
        self.assertEqual(self.rows(), [])

    # --- The clipboard ---

    def open_other_copy(self):
        """Another client of the compositor: the application of another person. Its filter has the keyboard."""
        home = self.folder / "other"
        home.mkdir()
        skip_introduction(home)
        self.other = self.desktop.launch(host=self.platform.address, HOME=str(home))
        self.extra.append(self.other)
        wait_for("the other copy", self.other_filter)
        self.desktop.key("ctrl+f")
        wait_for("the keyboard in its filter", lambda: self.desktop.is_focused(self.other_filter()))

    def other_filter(self):
        for application in self.desktop.applications():
            application.clear_cache()
            if application.get_process_id() == self.other.pid:
                return next(widget for widget in descendants(application)
                            if widget.getRoleName() == "text" and widget.name == "Filter projects")
        return None

    def other_text(self):
        found = self.other_filter().queryText()
        return found.getText(0, found.characterCount)

    def deploy_and_close_window(self):
        self.platform.restart("--delay", "3000", "--fail-path", "/api/deploy")
        self.desktop.start_notifications()
        self.addCleanup(self.desktop.stop_notifications)
        self.open_window()
        self.desktop.launch(self.site("garden"), host=self.platform.address).wait()
        self.wait_for_text("New site — this name is free")
        self.desktop.key("Return")
        self.find("progress bar", "Deployment")
        self.desktop.key("ctrl+w")
        return wait_for("the notification", lambda: [shown for shown in self.desktop.notifications()
                                                     if shown["title"] == "garden is live"])[0]

    def wait_for_notification(self, title):
        wait_for(f"the notification {title!r}",
                 lambda: title in [shown["title"] for shown in self.desktop.notifications()])

    def test_a_link_that_is_copied_from_a_notification_is_so_once_that_is_said(self):
        told = self.deploy_and_close_window()
        self.desktop.choose_in_notification(told["id"], "Copy link")
        self.wait_for_text("garden is live")
        self.wait_for_notification("The link to garden is copied")
        self.open_other_copy()
        self.desktop.key("ctrl+v")
        self.assertEqual(wait_for("what is pasted", self.other_text),
                         f"http://garden.driftwell.localhost:{self.platform.port}/")

    def test_a_link_that_the_compositor_does_not_take_is_not_said_to_be_copied(self):
        told = self.deploy_and_close_window()
        # What is copied after the last press in a window is newer than all that this window can copy until the next.
        self.open_other_copy()
        self.desktop.type("theirs")
        self.desktop.key("ctrl+a", "ctrl+x")
        wait_for("the empty filter", lambda: not self.other_text())
        self.desktop.choose_in_notification(told["id"], "Copy link")
        self.wait_for_notification("The link to garden is not copied")
        self.assertNotIn("The link to garden is copied", [shown["title"] for shown in self.desktop.notifications()])

    def test_the_close_button_leaves_the_application_running(self):
        self.open_window()
        self.press_button("Close")
        wait_for("the end of the window", lambda: not self.desktop.widgets("label", "No projects yet"))
        self.desktop.launch(host=self.platform.address).wait()
        self.wait_for_text("No projects yet")
        self.assertIsNone(self.desktop.app.poll())


if __name__ == "__main__":
    unittest.main(verbosity=2)
