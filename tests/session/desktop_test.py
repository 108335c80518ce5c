"""What the tests of the application on a desktop have in common."""

import os
import re
import time
import unittest
import urllib.parse
import urllib.request
from pathlib import Path

from session import DEADLINE, Sandbox, Session, TimedOut, skip_introduction, wait_for

PROGRAMS = Path(os.environ["DRIFTWELL_PROGRAMS"])


class DesktopTest(unittest.TestCase):
    """A desktop for all tests of a class; each has a platform and an application of its own."""

    size = (1280, 900)
    scale = 1
    has_panel = True
    is_first_run = False

    @classmethod
    def setUpClass(cls):
        cls.desktop = Session(PROGRAMS, size=cls.size, panel=cls.has_panel, scale=cls.scale)
        cls.addClassCleanup(cls.desktop.__exit__)
        cls.desktop.__enter__()

    def setUp(self):
        self.extra = []
        self.platform = None
        name = self.id().rsplit(".", 1)[-1]
        self.folder = self.desktop.folder / name
        self.folder.mkdir()
        home = self.folder / "home"
        home.mkdir()
        if not self.is_first_run:
            skip_introduction(home)
        self.desktop.environment["HOME"] = str(home)
        temporary = self.folder / "tmp"
        temporary.mkdir()
        self.desktop.environment["TMPDIR"] = str(temporary)
        (self.desktop.folder / "opened").unlink(missing_ok=True)
        self.addCleanup(self.clean_up)

    def clean_up(self):
        result = self._outcome.result
        if any(test is self for test, _ in result.failures + result.errors):
            print(self.desktop.dump(), self.desktop.app_log(), sep="\n")
        self.desktop.close_app()
        for process in self.extra:
            process.kill()
            process.wait()
        if self.platform:
            self.platform.stop()
        self.assertEqual(self.qml_complaints(), [])
        (self.desktop.folder / "driftwell.log").unlink(missing_ok=True)

    def qml_complaints(self):
        return [line for line in self.desktop.app_log().splitlines() if "qrc:/" in line or "qml" in line.lower()]

    # --- What the tests begin with ---

    def start_platform(self, *options):
        self.platform = Sandbox(self.desktop, *options, data=f"{self.id().rsplit('.', 1)[-1]}/platform")
        return self.platform

    def start_portal(self):
        """The part of a desktop portal that settings_portal.py is."""
        self.extra.append(self.desktop.spawn("/usr/bin/python3", "-B", Path(__file__).with_name("settings_portal.py"),
                                             log="settings_portal.log"))
        wait_for("the portal", lambda: self.on_bus(lambda bus: bus.name_has_owner("org.freedesktop.portal.Desktop")))

    def in_portal(self, act):
        import dbus
        self.on_bus(lambda bus: act(dbus.Interface(
            bus.get_object("org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop"),
            "driftwell.test.Portal")))

    def on_bus(self, act):
        bus = self.desktop.bus()
        try:
            return act(bus)
        finally:
            bus.close()

    def site(self, name, page="<h1>Hello</h1>"):
        folder = self.folder / "sites" / name
        folder.mkdir(parents=True)
        (folder / "index.html").write_text(page)
        return folder

    def publish(self, *names):
        folder = self.site("published")
        for name in names:
            self.desktop.dw("deploy", folder, "--name", name, host=self.platform.address)

    def open(self, *arguments):
        self.desktop.open_app(*arguments, host=self.platform.address)
        if "--tray" not in arguments:
            self.place_window()

    def place_window(self):
        """Where the window manager has put it, it is only seen to be a moment later."""
        self.find("frame", "Driftwell")
        self.window = wait_for("the window", lambda: self.desktop.windows("Driftwell"))[0]
        self.desktop.xdotool("windowmove", "--sync", self.window, 0, 40)
        wait_for("the window in its place", lambda: self.desktop.corner(self.find("frame", "Driftwell")) == (0, 40))

    def wait_for_end(self):
        """Of the application, by itself and in order."""
        self.assertEqual(self.desktop.app.wait(DEADLINE), 0, self.desktop.app_log())
        self.desktop.app = None

    def picture(self, name):
        """For who wants to look, where a folder for pictures is named."""
        if folder := os.environ.get("DRIFTWELL_PICTURES"):
            # What has just come is drawn a moment later.
            time.sleep(0.5)
            self.desktop.picture(Path(folder) / f"{name}.png")

    def find(self, role, name=None):
        return self.desktop.find(role, name)

    def press(self, role, name):
        self.desktop.press(role, name)

    def rows(self):
        """From the top down: the tree has them in the order in which they came."""
        return [row.name for row in sorted(self.desktop.widgets("list item"), key=lambda row: self.desktop.place(row)[1])]

    def wait_for_rows(self, *names):
        wait_for(f"the rows {names}", lambda: self.rows() == list(names))

    def texts(self):
        return [widget.name for role in ("label", "heading") for widget in self.desktop.widgets(role)]

    def wait_for_text(self, text):
        return wait_for(f"the text {text!r}", lambda: [found for found in self.texts() if
                                                       (text.search(found) if hasattr(text, "search") else
                                                        found == text)])[0]

    def wait_for_opened(self, address):
        wait_for(f"{address} in the browser", lambda: address in self.desktop.opened())

    def sign_in_as(self, person):
        """What a person does in the browser that the application opened: looks at the page and presses a button."""
        page = wait_for("the sign-in page", lambda: [a for a in self.desktop.opened() if "/auth/login?" in a])[-1]
        browser = urllib.request.build_opener(urllib.request.ProxyHandler({}), urllib.request.HTTPCookieProcessor())
        html = browser.open(page, timeout=20).read().decode()
        nonce = re.search(r'name="nonce" value="([^"]+)"', html).group(1)
        answer = urllib.parse.urlencode({"nonce": nonce, "person": person}).encode()
        target = urllib.parse.urljoin(page, "/auth/login")
        return browser.open(target, answer, timeout=20).read().decode()

    def click_in_tray(self):
        """Opens the application's panel. A desktop's panel that has just started moves its items about: a click that
        went beside the item is made again."""
        for timeout in (5, 10, None):
            self.desktop.click(*self.desktop.tray_button())
            try:
                self.desktop.find("push button", "Quit", timeout)
                return
            except TimedOut:
                if timeout is None:
                    raise
