"""Links of the application's own scheme, as a browser or the desktop opens them: a linked copy of the site in the
person's home, in the file manager, whether the application runs or not. And a conflict that is repaired while nobody
looks: it is published by itself, and told."""

import http.server
import json
import re
import subprocess
import threading
import unittest
import urllib.parse
import urllib.request
from pathlib import Path

from chromium import Chromium
from desktop_test import PROGRAMS, DesktopTest
from session import DEADLINE, end_with_parent, wait_for

ENTRY = Path(__file__).parents[2] / "data" / "driftwell.desktop"


class LinkTest(DesktopTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.desktop.environment["PATH"] = f"{PROGRAMS}:/usr/bin:/bin"
        # What installing the package does.
        applications = cls.desktop.folder / "share" / "applications"
        (applications / "driftwell.desktop").write_text(ENTRY.read_text())
        subprocess.run(["/usr/bin/update-desktop-database", applications], check=True)

    def setUp(self):
        super().setUp()
        self.home = self.folder / "home"
        self.copy = self.home / "Driftwell" / "garden"
        self.start_platform()
        self.publish("garden")
        self.desktop.dw("collab", "on", "garden", host=self.platform.address)
        self.config = self.home / ".config" / "dw" / "config.json"
        self.config.write_text(json.dumps({"host": self.platform.address}))

    def link(self, host=None):
        address = urllib.parse.quote(host or self.platform.address, safe="")
        return f"driftwell://open?site=garden&host={address}"

    def xdg_open(self, address):
        """As any program of the desktop does. Gives the process that it becomes, which may be the application."""
        process = subprocess.Popen(["/usr/bin/xdg-open", address], env=self.desktop.environment,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                   preexec_fn=end_with_parent)
        self.extra.append(process)
        return process

    def git(self, folder, *arguments):
        return subprocess.run(
            ["/usr/bin/git", "-C", folder, "-c", "user.name=Tea Mate", "-c", "user.email=tea@example.org", *arguments],
            env=dict(self.desktop.environment, no_proxy="*"), check=True, text=True, capture_output=True,
            timeout=DEADLINE).stdout

    def wait_for_copy(self):
        wait_for("the copy of the site", lambda: self.folders().get("garden") == str(self.copy))
        self.assertEqual((self.copy / "index.html").read_text(), "<h1>Hello</h1>")
        self.assertEqual(self.git(self.copy, "remote"), "driftwell\n")

    def folders(self):
        return json.loads(self.config.read_text()).get("folders", {})

    def wait_for_file_manager(self):
        window = wait_for("the file manager", lambda: self.desktop.windows("Driftwell - Thunar"))[0]
        self.desktop.xdotool("windowclose", window)

    def open_here(self, *arguments):
        self.desktop.open_app(*arguments)
        if "--tray" not in arguments:
            self.place_window()

    # --- Links ---

    def test_a_link_that_the_desktop_opens_reaches_the_running_application(self):
        self.open_here()
        self.wait_for_rows("garden")
        opener = self.xdg_open(self.link())
        self.wait_for_copy()
        self.wait_for_file_manager()
        wait_for("the instructions for agents", (self.copy / "CLAUDE.md").exists)
        self.assertEqual(opener.wait(DEADLINE), 0)
        self.assertIsNone(self.desktop.app.poll())

    def test_a_link_starts_the_application_that_does_not_run(self):
        self.desktop.app = self.xdg_open(self.link())
        self.extra.remove(self.desktop.app)
        self.place_window()
        self.wait_for_copy()
        self.wait_for_file_manager()

    def test_the_same_link_again_shows_the_copy_and_changes_nothing(self):
        self.open_here()
        self.wait_for_rows("garden")
        self.xdg_open(self.link())
        self.wait_for_copy()
        self.wait_for_file_manager()
        (self.copy / "index.html").write_text("<h1>Mine</h1>")
        self.xdg_open(self.link())
        self.wait_for_file_manager()
        self.assertEqual((self.copy / "index.html").read_text(), "<h1>Mine</h1>")

    def test_a_link_for_another_platform_is_refused_in_words(self):
        self.open_here()
        self.wait_for_rows("garden")
        self.xdg_open(self.link("https://sites.example.org"))
        self.wait_for_text(re.compile("^This link is for https://sites.example.org, but the app is connected to "))
        self.assertFalse(self.copy.exists())

    def test_a_link_that_is_clicked_in_a_browser_reaches_the_application(self):
        self.open_here()
        self.wait_for_rows("garden")
        page = f'<title>Open</title><a id="open" href="{self.link().replace("&", "&amp;")}">Open for editing</a>'
        address = self.serve(page)
        # The person has allowed this page to open the application.
        trusted = {"protocol_handler": {"allowed_origin_protocol_pairs": {address: {"driftwell": True}}}}
        browser = Chromium(self.desktop.folder / "chromium", self.desktop.environment, trusted)
        self.extra.append(browser.driver)
        browser.open(address)
        browser.click("#open")
        self.wait_for_copy()
        browser.close()

    def serve(self, page):
        class Page(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                self.send_response(200)
                self.send_header("Content-Type", "text/html")
                self.end_headers()
                self.wfile.write(page.encode())

            def log_message(self, *_):
                pass
        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Page)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        return f"http://127.0.0.1:{server.server_port}"

    # --- A conflict that is repaired while nobody looks ---

    def test_a_repaired_conflict_is_published_and_told_while_the_window_is_closed(self):
        self.desktop.start_notifications()
        self.addCleanup(self.desktop.stop_notifications)
        theirs = self.folder / "theirs"
        self.git(self.folder, "clone", "--quiet", "--origin", "driftwell", f"{self.platform.address}/git/garden",
                 theirs)
        self.desktop.dw("clone", "garden", self.copy, host=self.platform.address)
        (theirs / "index.html").write_text("<h1>Theirs</h1>\n")
        self.git(theirs, "commit", "--quiet", "-a", "-m", "Theirs")
        self.git(theirs, "push", "--quiet", "driftwell", "HEAD:main")
        (self.copy / "index.html").write_text("<h1>Mine</h1>\n")
        self.assertRaises(subprocess.CalledProcessError, self.desktop.dw, "deploy", self.copy,
                          host=self.platform.address)
        self.assertIn("<<<<<<<", (self.copy / "index.html").read_text())

        self.open_here("--tray")
        (self.copy / "index.html").write_text("<h1>Both</h1>\n")
        told = wait_for("the notification", self.desktop.notifications)[0]
        self.assertEqual(told["title"], "garden is published")
        self.assertEqual(self.page(), "<h1>Both</h1>\n")
        self.desktop.choose_in_notification(told["id"], "Open")
        self.place_window()
        self.wait_for_rows("garden")

    def page(self):
        opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
        request = urllib.request.Request(f"http://127.0.0.1:{self.platform.port}/",
                                         headers={"Host": f"garden.driftwell.localhost:{self.platform.port}"})
        with opener.open(request, timeout=DEADLINE) as answer:
            return answer.read().decode()


if __name__ == "__main__":
    unittest.main(verbosity=2)
