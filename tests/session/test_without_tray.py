"""The application on a desktop where nothing shows tray items, or not yet."""

import re
import unittest

from desktop_test import DesktopTest
from session import DEADLINE, wait_for


class WithoutTrayTest(DesktopTest):
    """On a desktop where nothing shows tray items, or not yet."""

    has_panel = False

    def setUp(self):
        super().setUp()
        self.start_platform()
        self.addCleanup(self.desktop.stop_panel)
        self.addCleanup(self.desktop.stop_notifications)

    def close_window(self):
        self.press("push button", "Close")
        wait_for("the end of the window", lambda: not self.desktop.windows("Driftwell"))

    def wait_for_notification(self):
        return wait_for("the notification", self.desktop.notifications)[0]

    def wait_for_item(self):
        wait_for("the tray item", lambda: len(self.desktop.tray_items()) == 1)

    def open_again(self):
        self.assertEqual(self.desktop.launch(host=self.platform.address).wait(DEADLINE), 0)
        self.wait_for_text("No projects yet")
        self.place_window()

    def test_a_closed_window_leaves_a_notification_that_opens_it_again(self):
        self.desktop.start_notifications()
        self.open()
        self.close_window()
        notification = self.wait_for_notification()
        self.assertEqual(notification, {
            "id": 1, "app": "Driftwell", "icon": "driftwell", "entry": "driftwell", "open": True,
            "title": "Driftwell is still running",
            "text": "This desktop has no tray. Start Driftwell again to bring the window back.",
            "actions": {"open": "Open", "quit": "Quit"}})
        self.assertIsNone(self.desktop.app.poll())
        self.desktop.choose_in_notification(1, "Open")
        self.wait_for_text("No projects yet")

    def test_the_notification_comes_once(self):
        self.desktop.start_notifications()
        self.open()
        self.close_window()
        self.wait_for_notification()
        self.open_again()
        self.close_window()
        self.open_again()
        self.assertEqual(len(self.desktop.notifications()), 1)

    def test_a_second_start_opens_the_window_and_takes_the_notification_away(self):
        self.desktop.start_notifications()
        self.open()
        self.close_window()
        self.wait_for_notification()
        self.open_again()
        wait_for("the end of the notification", lambda: not self.desktop.notifications()[0]["open"])

    def test_quit_in_the_notification_ends_the_application(self):
        self.desktop.start_notifications()
        self.open()
        self.close_window()
        self.wait_for_notification()
        self.desktop.choose_in_notification(1, "Quit")
        self.wait_for_end()

    def test_quit_in_the_notification_asks_while_an_upload_runs(self):
        self.platform.restart("--delay", "6000", "--fail-path", "/api/deploy")
        self.desktop.start_notifications()
        self.open(self.site("portfolio"))
        self.wait_for_text("New site — this name is free")
        self.desktop.key("Return")
        self.find("progress bar", "Deployment")
        self.close_window()
        self.wait_for_notification()
        self.desktop.choose_in_notification(1, "Quit")
        self.find("dialog", "Quit Driftwell?")
        self.wait_for_text(re.compile("^“portfolio” is being "))
        self.press("push button", "Keep Running")
        self.desktop.gone("dialog", "Quit Driftwell?")
        self.assertIsNone(self.desktop.app.poll())
        self.wait_for_text("portfolio is live")

    def test_where_nobody_shows_notifications_the_application_goes_on(self):
        self.open()
        self.close_window()
        self.open_again()
        self.assertIsNone(self.desktop.app.poll())

    def test_a_start_into_the_tray_waits_for_one(self):
        self.desktop.start_notifications()
        self.open("--tray")
        wait_for("the application", lambda: self.desktop.application() is not None)
        self.assertEqual(self.desktop.windows("Driftwell"), [])
        self.desktop.start_panel()
        self.wait_for_item()
        self.click_in_tray()
        self.press("push button", "Open Driftwell")
        self.wait_for_text("No projects yet")
        self.close_window()
        self.open_again()
        self.assertEqual(self.desktop.notifications(), [])

    def test_a_tray_that_comes_takes_the_notification_away(self):
        self.desktop.start_notifications()
        self.open()
        self.close_window()
        self.wait_for_notification()
        self.desktop.start_panel()
        self.wait_for_item()
        wait_for("the end of the notification", lambda: not self.desktop.notifications()[0]["open"])

    def test_the_item_comes_back_with_the_panel(self):
        self.open("--tray")
        self.desktop.start_panel()
        self.wait_for_item()
        self.desktop.stop_panel()
        self.desktop.start_panel()
        self.wait_for_item()
        self.click_in_tray()
        self.find("push button", "Open Driftwell")


if __name__ == "__main__":
    unittest.main(verbosity=2)
