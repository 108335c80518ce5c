"""A folder that comes from a terminal or a file manager, whatever stands between it and its deployment: the window
says what is missing, and once nothing is, the name is asked for."""

import re
import signal
import unittest

from desktop_test import DesktopTest
from session import wait_for


class HandedFolderTest(DesktopTest):
    def hand_over(self, host=None):
        self.desktop.open_app(self.site("handbook"), host=host)
        self.place_window()

    def is_asked_for(self):
        return "Deploy handbook" in self.texts()

    def test_is_asked_for_at_once_while_connected(self):
        self.start_platform()
        self.hand_over(self.platform.address)
        self.wait_for_text("Deploy handbook")

    def test_waits_until_a_platform_is_chosen(self):
        self.start_platform()
        self.hand_over()
        self.wait_for_text("Where does your team deploy?")
        self.assertFalse(self.is_asked_for())
        self.desktop.type(self.platform.address)
        self.press("push button", "Connect")
        self.wait_for_text("Deploy handbook")

    def test_waits_until_the_platform_answers(self):
        self.start_platform()
        self.platform.process.send_signal(signal.SIGSTOP)
        try:
            self.hand_over(self.platform.address)
            self.find(None, "Connecting…")
            self.assertFalse(self.is_asked_for())
        finally:
            self.platform.process.send_signal(signal.SIGCONT)
        self.wait_for_text("Deploy handbook")

    def test_waits_until_the_platform_is_in_reach(self):
        self.start_platform()
        self.platform.stop()
        self.hand_over(self.platform.address)
        self.find("alert", re.compile("^Can’t reach driftwell.localhost"))
        self.assertFalse(self.is_asked_for())
        self.platform.start()
        self.wait_for_text("Deploy handbook")

    def test_waits_until_the_person_has_signed_in(self):
        self.start_platform("--require-sign-in")
        self.platform.address = f"http://127.0.0.1:{self.platform.port}"
        self.hand_over(self.platform.address)
        self.wait_for_text(f"Sign in to 127.0.0.1:{self.platform.port}")
        self.assertFalse(self.is_asked_for())
        self.press("push button", "Sign in…")
        self.sign_in_as("person-ines")
        self.wait_for_text("Deploy handbook")

    def test_waits_until_it_is_somebody_on_the_team(self):
        self.start_platform("--require-sign-in")
        self.platform.address = f"http://127.0.0.1:{self.platform.port}"
        self.hand_over(self.platform.address)
        self.press("push button", "Sign in…")
        self.sign_in_as("person-sam")
        self.wait_for_text("This account can’t manage sites")
        self.assertFalse(self.is_asked_for())
        self.press("push button", "Sign out")
        self.press("push button", "Sign in…")
        wait_for("the second sign-in page", lambda: len(self.desktop.opened()) == 2)
        self.sign_in_as("person-ines")
        self.wait_for_text("Deploy handbook")

    def test_is_chosen_at_once_and_waits_like_any_other(self):
        self.start_platform("--require-sign-in")
        self.platform.address = f"http://127.0.0.1:{self.platform.port}"
        folder = self.site("handbook")
        self.desktop.open_app("--new-project", host=self.platform.address)
        wait_for("the folder chooser", lambda: self.desktop.widgets("dialog") or self.desktop.widgets("file chooser"))
        self.desktop.type(str(folder))
        self.desktop.key("Return")
        self.wait_for_text(f"Sign in to 127.0.0.1:{self.platform.port}")
        self.assertFalse(self.is_asked_for())
        self.press("push button", "Sign in…")
        self.sign_in_as("person-ines")
        self.wait_for_text("Deploy handbook")


if __name__ == "__main__":
    unittest.main(verbosity=2)
