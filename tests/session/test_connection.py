"""A platform that is slow, wrong or out of reach, and the account, on a real desktop."""

import re
import time
import unittest

from desktop_test import DesktopTest
from session import wait_for


class ConnectionTest(DesktopTest):
    has_panel = False

    def open_on(self, host):
        self.desktop.open_app(host=host)
        self.place_window()

    def type_platform(self, text):
        field = self.find("text", "Platform host")
        wait_for("the keyboard in the field", lambda: self.desktop.is_focused(field))
        self.desktop.key("ctrl+a")
        self.desktop.type(text)
        self.desktop.key("Return")

    def retry_now(self):
        """The next attempt begins at once and not when the countdown is over, 8 seconds after the last one. A click that
        a busy machine made too late to tell is made again."""
        for _ in range(6):
            self.find("push button", "Retrying…")
            self.find("push button", "Retry now")
            ended = time.monotonic()
            self.press("push button", "Retry now")
            self.find("push button", "Retrying…")
            if time.monotonic() - ended < 4:
                return
        self.fail("no attempt was made at once")

    def test_a_slow_platform_is_waited_for_without_a_number(self):
        self.start_platform("--delay", "4000")
        self.open_on(self.platform.address)
        self.wait_for_text("Loading projects…")
        self.assertNotIn("0 projects", self.texts())
        self.wait_for_text("No projects yet")

    def test_a_platform_that_nobody_answers_for_is_told_with_reason_and_port_and_left_for_another(self):
        self.start_platform()
        self.open_on("http://nowhere.localhost:1")
        self.find("alert", "Can’t reach nowhere.localhost:1")
        self.wait_for_text("Could not connect to nowhere.localhost: Connection refused · port 1")
        self.wait_for_text("Not loaded yet")
        self.press("push button", "Change platform…")
        self.wait_for_text("Where does your team deploy?")
        self.type_platform("ftp://files.test")
        self.wait_for_text("“ftp://files.test” is not the host of a platform: “ftp://” leads to none, only “https://” "
                           "and “http://” do")
        self.type_platform(self.platform.address)
        self.wait_for_text("No projects yet")
        self.desktop.gone("alert")

    def test_a_platform_that_fails_is_said_to_and_asked_again_at_once(self):
        self.start_platform("--fail", "500", "--delay", "2000")
        self.open_on(self.platform.address)
        self.wait_for_text(re.compile(f"^It answered with an error: .* · port {self.platform.port}$"))
        self.retry_now()
        self.platform.restart()
        self.wait_for_text("No projects yet")

    def test_a_platform_that_speaks_no_https_is_said_not_to(self):
        self.start_platform()
        self.open_on(self.platform.address.replace("http://", "https://"))
        self.wait_for_text(re.compile(f"it does not speak https there · port {self.platform.port}$"))

    def test_a_platform_that_is_not_meant_is_left_before_the_sign_in(self):
        self.start_platform()
        self.open_on("hello")
        self.wait_for_text("Sign in to hello")
        self.press("push button", "Change platform…")
        self.press("push button", "Stay with hello")
        self.wait_for_text("Sign in to hello")
        self.press("push button", "Change platform…")
        self.type_platform(self.platform.address)
        self.wait_for_text("No projects yet")

    def sign_in(self):
        self.press("push button", "Sign in…")
        self.sign_in_as("person-ines")
        self.wait_for_text("No projects yet")

    def test_nobody_is_signed_out_of_a_deployment_without_a_question(self):
        self.start_platform("--require-sign-in", "--delay", "60000", "--fail-path", "/api/deploy")
        self.open_on(f"http://127.0.0.1:{self.platform.port}")
        self.sign_in()
        self.desktop.launch(self.site("portfolio")).wait()
        self.find("text", "Site name")
        self.desktop.key("Return")
        self.find("progress bar", "Deployment")
        for answer, outcome in (("Escape", "Deploying portfolio"), ("Tab Return", "Sign in to 127.0.0.1")):
            self.desktop.key("ctrl+comma")
            self.press("push button", "Sign Out")
            self.find("dialog", "Sign out?")
            keep = self.find("push button", "Stay Signed In")
            wait_for("the keyboard on the harmless button", lambda: self.desktop.is_focused(keep))
            self.desktop.key(*answer.split())
            self.desktop.gone("dialog", "Sign out?")
            self.wait_for_text(re.compile(f"^{outcome}"))

    def test_the_account_tells_who_and_where_and_signs_out(self):
        self.start_platform("--require-sign-in")
        self.open_on(f"http://127.0.0.1:{self.platform.port}")
        self.sign_in()
        self.press("push button", "Account")
        self.find(None, re.compile(rf"@.* · 127\.0\.0\.1:{self.platform.port}$"))
        self.press("menu item", "Change Platform…")
        wait_for("the settings", lambda: self.desktop.windows("Driftwell Settings"))
        self.desktop.key("ctrl+w")
        wait_for("the end of the settings", lambda: not self.desktop.windows("Driftwell Settings"))
        self.press("push button", "Account")
        self.press("menu item", "Sign Out")
        self.wait_for_text(re.compile("^Sign in to 127.0.0.1"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
