"""The list of projects on a real desktop: keyboard, wheel, pointer, and what a screen reader is told."""

import re
import signal
import subprocess
import unittest
from pathlib import Path

import pyatspi

from desktop_test import DesktopTest
from session import wait_for

SITES = [f"site-{number}" for number in range(10, 40)]
STEP = 72  # Three lines, as the desktop has it where nothing else is set.


class ListTest(DesktopTest):

    def open_list(self, *names):
        self.start_platform()
        self.publish(*(names or SITES))
        self.open()
        wait_for("the rows", lambda: self.rows())
        self.press("push button", "Sort by Name")
        wait_for("the order", lambda: self.rows() == sorted(self.rows()))

    def address(self, name):
        return f"http://{name}.driftwell.localhost:{self.platform.port}/"

    def has_state(self, widget, state):
        widget.clear_cache()
        return widget.getState().contains(state)

    def focused_row(self):
        return next((widget for widget in self.desktop.focused() if widget.getRoleName() == "list item"), None)

    def wait_for_row(self, name):
        wait_for(f"the keyboard on {name}", lambda: self.focused_row() and self.focused_row().name == name)
        row = self.desktop.box(self.focused_row())
        frame = self.desktop.box(self.find("frame", "Driftwell"))
        self.assertGreaterEqual(row.y, frame.y)
        self.assertLessEqual(row.y + row.height, frame.y + frame.height)

    def reader(self):
        """From now on what a screen reader is told is written down; gives the lines so far."""
        log = self.folder / "reader.log"
        with open(log, "wb") as output:
            process = subprocess.Popen(["/usr/bin/python3", "-B", str(Path(__file__).with_name("screen_reader.py"))],
                                       env=self.desktop.environment, stdout=output, stderr=output)
        self.extra.append(process)
        wait_for("the screen reader", lambda: "listening" in log.read_text())
        return lambda: [line.split("\t") for line in log.read_text().splitlines() if "\t" in line]

    def wait_for_alert(self, told, text):
        wait_for(f"the alert {text!r}", lambda: [line for line in told() if line[0].startswith(
            "object:state-changed:showing") and line[1] == "notification" and line[2].startswith(text)])

    # --- The keyboard ---

    def test_the_list_is_gone_through_by_keyboard(self):
        self.open_list()
        self.desktop.key("ctrl+f")
        self.desktop.key("Down")
        self.wait_for_row("site-10")
        self.desktop.key("End")
        self.wait_for_row("site-39")
        self.desktop.key("Home")
        self.wait_for_row("site-10")
        self.desktop.key("Page_Down")
        wait_for("another page", lambda: self.focused_row() and self.focused_row().name > "site-14")
        self.wait_for_row(self.focused_row().name)
        self.desktop.key("Page_Up")
        self.wait_for_row("site-10")
        self.desktop.type("site-27")
        self.wait_for_row("site-27")
        self.desktop.key("ctrl+c")
        wait_for("the address on the clipboard", lambda: self.desktop.clipboard() == self.address("site-27"))
        self.desktop.key("Return")
        self.wait_for_opened(self.address("site-27"))

    def test_a_held_arrow_keeps_the_row_in_sight(self):
        self.open_list()
        self.desktop.key("ctrl+f", "Down")
        self.wait_for_row("site-10")
        frame = self.desktop.box(self.find("frame", "Driftwell"))
        self.desktop.xdotool("keydown", "Down")
        try:
            for name in ("site-16", "site-24", "site-32"):
                row = wait_for(f"a row from {name} on", lambda: self.focused_row() and
                               self.focused_row().name >= name and self.focused_row())
                box = self.desktop.box(row)
                self.assertGreaterEqual(box.y, frame.y)
                self.assertLessEqual(box.y + box.height, frame.y + frame.height)
        finally:
            self.desktop.xdotool("keyup", "Down")
        self.wait_for_row("site-39")

    def test_tab_passes_one_row_and_only_what_is_seen(self):
        self.open_list()
        self.desktop.key("ctrl+f", "Down")
        self.wait_for_row("site-10")
        seen = []
        before = "site-10"

        def elsewhere():
            stops = [w for w in self.desktop.focused() if w.getRoleName() in ("push button", "list item", "text")]
            return stops and stops[-1].name != before and stops[-1]
        for _ in range(12):
            self.desktop.key("Tab")
            focused = wait_for(f"the keyboard beyond {before}", elsewhere)
            before = focused.name
            seen.append(before)
            self.assertTrue(self.has_state(focused, pyatspi.STATE_SHOWING), focused.name)
        self.assertEqual(seen[:3], ["Open site-10", "Share site-10", "More for site-10"])
        self.assertIn("Filter projects", seen)
        self.assertEqual([name for name in seen if name.startswith("site-")][:1], ["site-10"])
        self.assertLessEqual(len({name for name in seen if "site-" in name}), 4)

    def test_f5_refreshes_and_f1_lists_the_keys(self):
        self.open_list("portfolio")
        self.desktop.dw("deploy", self.folder / "sites" / "published", "--name", "handbook", host=self.platform.address)
        self.desktop.key("F5")
        self.wait_for_rows("handbook", "portfolio")
        self.desktop.key("F1")
        dialog = self.find("dialog", "Keyboard Shortcuts")
        self.assertTrue(self.has_state(dialog, pyatspi.STATE_MODAL))
        self.find("list item", "F5: Refresh the projects")
        self.desktop.key("Escape")
        self.desktop.gone("dialog")
        self.press("push button", "More")
        self.press("menu item", "Keyboard Shortcuts")
        self.find("dialog", "Keyboard Shortcuts")
        self.desktop.key("Return")
        self.desktop.gone("dialog")
        wait_for("the keyboard back in the list", lambda: [w for w in self.desktop.focused()
                                                           if w.getRoleName() in ("list", "push button")])

    # --- The pointer ---

    def test_the_wheel_moves_the_list_by_steps(self):
        self.open_list()
        place = self.desktop.place(self.find("list item", "site-13"))
        self.desktop.move(*place)

        def top():
            return self.desktop.box(self.find("list item", "site-16")).y
        before = top()
        self.desktop.xdotool("click", "--repeat", "2", "--delay", "20", "5")
        wait_for("two steps", lambda: top() == before - 2 * STEP)
        # What glided on would not come back to the same place.
        self.desktop.xdotool("click", "--repeat", "3", "--delay", "20", "5")
        wait_for("five steps", lambda: top() == before - 5 * STEP)
        self.desktop.xdotool("click", "--repeat", "5", "--delay", "20", "4")
        wait_for("the place of before", lambda: top() == before)

    def test_a_click_selects_and_a_double_click_opens(self):
        self.open_list("handbook", "portfolio")
        row = self.find("list item", "portfolio")
        x, y = self.desktop.place(row)
        self.desktop.click(x - 200, y)
        self.wait_for_row("portfolio")
        self.assertTrue(self.has_state(row, pyatspi.STATE_SELECTED))
        # Two clicks in one place would be a double click.
        self.desktop.click(x - 100, y)
        self.assertEqual(self.desktop.opened(), [])
        self.desktop.move(x, y)
        self.desktop.xdotool("click", "--repeat", "2", "--delay", "60", "1")
        self.wait_for_opened(self.address("portfolio"))
        self.assertEqual(len(self.desktop.opened()), 1)

    # --- What a screen reader is told ---

    def test_the_rows_are_met_in_their_order(self):
        self.open_list()
        self.desktop.key("ctrl+f", "Down")
        for key in ("End", "Page_Up", "Home", "Page_Down"):
            self.desktop.key(key)

            def in_order():
                names = [row.name for row in self.desktop.widgets("list item")]
                return len(names) > 5 and names == sorted(names)
            wait_for(f"the rows in their order after {key}", in_order)

    def test_a_deployment_is_heard(self):
        self.start_platform("--fail", "503", "--fail-path", "/api/deploy", "--fail-count", "1")
        self.open(self.site("portfolio"))
        told = self.reader()
        dialog = self.find("dialog")
        self.assertTrue(self.has_state(dialog, pyatspi.STATE_MODAL))
        field = self.find("text", "Site name")
        wait_for("the message of the field", lambda: self.find("text", "Site name").description ==
                 "New site — this name is free")
        deploy = self.find("push button", "Deploy")
        self.assertTrue(self.has_state(deploy, pyatspi.STATE_ENABLED))
        self.desktop.key("ctrl+a")
        self.desktop.type("Admin")
        self.wait_for_alert(told, "Lowercase letters, digits and dashes only")
        wait_for("the disabled button", lambda: not self.has_state(deploy, pyatspi.STATE_ENABLED))
        self.assertFalse(self.has_state(deploy, pyatspi.STATE_SENSITIVE))
        self.desktop.key("ctrl+a")
        self.desktop.type("portfolio")
        self.wait_for_alert(told, "New site — this name is free")
        wait_for("the enabled button", lambda: self.has_state(deploy, pyatspi.STATE_SENSITIVE))
        self.desktop.key("Return")
        self.wait_for_alert(told, "Deploy failed. ")
        self.desktop.key("Return")
        self.find("text", "Site name")
        self.platform.process.send_signal(signal.SIGSTOP)
        try:
            self.desktop.key("Return")
            bar = self.find("progress bar", "Deployment")
            wait_for("the percentage", lambda: re.match(r"^\d+%$", self.find("progress bar", "Deployment").description))
            value = bar.queryValue()
            self.assertEqual((value.minimumValue, value.maximumValue), (0.0, 1.0))
            self.assertGreater(value.currentValue, 0)
        finally:
            self.platform.process.send_signal(signal.SIGCONT)
        self.wait_for_alert(told, "portfolio is live")
        del field

    def test_an_outage_is_heard_once(self):
        self.open_list("portfolio")
        told = self.reader()
        self.platform.stop()
        self.wait_for_alert(told, "Can’t reach ")
        # It is counted down to zero meanwhile.
        self.platform.start()
        wait_for("the connection", lambda: not self.desktop.widgets("alert", re.compile("^Can’t reach ")))
        # A notification gets its text before it comes into sight, and is spoken when it does.
        noise = [line for line in told() if "property-change" in line[0] and line[1] != "notification" and
                 ("retrying" in line[2] + line[3] or "Can’t reach" in line[2])]
        self.assertEqual(noise, [])
        spoken = [line for line in told() if "state-changed:showing" in line[0] and line[1] == "notification" and
                  "Can’t reach" in line[2]]
        self.assertEqual(len(spoken), 1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
