"""The first run of the application, as a new person meets it."""

import re
import unittest
import urllib.error
import urllib.parse
import urllib.request
from pathlib import Path

from chromium import Chromium
from desktop_test import DesktopTest
from session import wait_for


class FirstRunTest(DesktopTest):
    """A person who has never started the application."""

    is_first_run = True

    def setUp(self):
        super().setUp()
        self.home = Path(self.desktop.environment["HOME"])
        self.autostart = self.home / ".config" / "autostart" / "driftwell.desktop"

    def start_remote_platform(self):
        self.start_platform("--require-sign-in")
        self.platform.address = f"http://127.0.0.1:{self.platform.port}"

    def defaults(self):
        file = self.home / ".config" / "dw" / "defaults.ini"
        return file.read_text() if file.exists() else ""

    def wait_for_focus(self, name):
        wait_for(f"the keyboard on {name}", lambda: name in [widget.name for widget in self.desktop.focused()])

    # --- The browser ---

    def sign_in_with_chromium(self, person):
        page = wait_for("the sign-in page", lambda: [a for a in self.desktop.opened() if "/auth/login?" in a])[-1]
        folder = self.desktop.folder / "chromium"
        browser = Chromium(folder, {"HOME": str(folder), "PATH": "/usr/bin:/bin"})
        self.extra.append(browser.driver)
        browser.open(page)
        browser.click(f"button[value={person}]")
        wait_for("the page that says so", lambda: browser.title() == "Signed in to Driftwell")
        browser.close()

    # --- The introduction ---

    def test_a_new_person_is_led_to_the_window_and_asked_no_more(self):
        self.start_remote_platform()
        self.publish_signed_in("portfolio")
        self.open()
        self.find("heading", "Welcome to Driftwell")
        self.wait_for_focus("Get started")
        self.assertEqual(self.desktop.widgets("text", "Filter projects"), [])
        self.desktop.key("Return")
        self.find("heading", "Set up your computer")
        self.find("label", "Installed")
        toggle = self.find("check box", "Open at login")
        for _ in range(6):
            if self.desktop.is_focused(toggle):
                break
            self.desktop.key("Tab")
        self.desktop.key("space")
        wait_for("the entry on the disk", self.autostart.exists)
        self.press("push button", "Continue")
        self.find("heading", "Sign in to your team")
        self.find("label", f"127.0.0.1:{self.platform.port}")
        self.desktop.key("Return")
        self.wait_for_text("Waiting for your browser…")
        self.assertFalse(self.desktop.is_enabled(self.find("push button", "Waiting for browser…")))
        self.sign_in_with_chromium("person-ines")
        self.wait_for_text("Signed in")
        self.assertNotIn("onboardingCompleted", self.defaults())
        self.press("push button", "Open Driftwell")
        self.wait_for_rows("portfolio")
        self.assertIn("onboardingCompleted=true", self.defaults())

        self.desktop.close_app()
        self.open()
        self.wait_for_rows("portfolio")
        self.assertEqual(self.desktop.widgets("heading", "Welcome to Driftwell"), [])

    def publish_signed_in(self, name):
        """By somebody else, before."""
        others = self.folder / "others"
        others.mkdir()
        home, self.desktop.environment["HOME"] = self.desktop.environment["HOME"], str(others)
        try:
            token = self.platform_token("person-maya")
            self.desktop.dw("login", "--with-token", host=self.platform.address, stdin=token + "\n")
            self.desktop.dw("deploy", self.site(name), "--name", name, host=self.platform.address)
        finally:
            self.desktop.environment["HOME"] = home

    def platform_token(self, person):
        """What the sign-in page of the platform gives to a browser."""
        class Kept(urllib.request.HTTPRedirectHandler):
            def redirect_request(self, request, answer, code, message, headers, url):
                self.target = url
                return None
        kept = Kept()
        browser = urllib.request.build_opener(urllib.request.ProxyHandler({}), kept,
                                              urllib.request.HTTPCookieProcessor())
        page = f"{self.platform.address}/auth/login?cli_port=9&cli_state=state"
        nonce = re.search(r'name="nonce" value="([^"]+)"', browser.open(page, timeout=20).read().decode()).group(1)
        answer = urllib.parse.urlencode({"nonce": nonce, "person": person}).encode()
        try:
            browser.open(urllib.parse.urljoin(page, "/auth/login"), answer, timeout=20)
        except urllib.error.HTTPError:
            pass
        return urllib.parse.parse_qs(urllib.parse.urlsplit(kept.target).query)["token"][0]

    def test_an_introduction_that_was_left_begins_anew(self):
        self.start_platform()
        self.open()
        self.press("push button", "Get started")
        self.find("heading", "Set up your computer")
        self.press("push button", "Close")
        wait_for("the end of the window", lambda: not self.desktop.windows("Driftwell"))
        self.click_in_tray()
        self.press("push button", "Open Driftwell")
        self.find("heading", "Welcome to Driftwell")

    def test_a_folder_waits_for_the_end_of_the_introduction(self):
        self.start_platform()
        self.open(self.site("handbook"))
        self.press("push button", "Get started")
        self.press("push button", "Continue")
        self.wait_for_text("Local platform")
        self.assertEqual(self.desktop.widgets("heading", "Deploy handbook"), [])
        self.press("push button", "Open Driftwell")
        self.wait_for_text("Deploy handbook")



if __name__ == "__main__":
    unittest.main(verbosity=2)
