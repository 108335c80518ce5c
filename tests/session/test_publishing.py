"""What a person is told of a publication: before it, while it runs, when nobody looks, and when the platform is slow."""

import os
import re
import signal
import subprocess
import unittest
from pathlib import Path

from desktop_test import DesktopTest
from session import wait_for


class PublishingTest(DesktopTest):
    """On a desktop that shows notifications."""

    has_panel = False

    def setUp(self):
        super().setUp()
        if scheme := os.environ.get("DRIFTWELL_COLOR_SCHEME"):
            self.desktop.environment["DRIFTWELL_COLOR_SCHEME"] = scheme
        self.desktop.start_notifications()
        self.addCleanup(self.desktop.stop_notifications)

    def address(self, site):
        return f"http://{site}.driftwell.localhost:{self.platform.port}/"

    def notification(self, title):
        found = wait_for(f"the notification {title!r}",
                         lambda: [shown for shown in self.desktop.notifications() if shown["title"] == title])
        return found[-1]

    def send_all(self, name):
        """Deploys a folder until the platform has all of it."""
        self.open(self.site(name))
        self.wait_for_text(f"Deploy {name}")
        self.wait_for_text("New site — this name is free")
        self.desktop.key("Return")
        self.wait_for_text("Everything is sent. If you cancel now, it may go live all the same.")

    def hover(self, folder):
        """Holds a folder that a file manager of the test's own shows over the window."""
        icon = self.desktop.file_manager(folder.parent, self.window)
        manager = self.desktop.processes[-1]
        self.addCleanup(lambda: self.desktop.end(manager))
        # The icon of a short name is narrow.
        start = (icon[0] - 33, icon[1])
        self.desktop.drag(start, (start[0] - 40, start[1]), (400, 300))

    # --- A slow platform ---

    def test_a_platform_that_needs_longer_than_it_has_is_asked_what_became_of_it(self):
        self.start_platform("--delay", "17000", "--fail-path", "/api/deploy")
        self.send_all("portfolio")
        self.picture("publishing")
        self.wait_for_text("Deploy failed")
        self.wait_for_text(re.compile("did not answer in time"))
        self.wait_for_text("It is live all the same:")
        self.picture("live-all-the-same")
        self.press("push button", self.address("portfolio").removeprefix("http://"))
        self.wait_for_opened(self.address("portfolio"))
        self.desktop.key("Escape")
        self.desktop.gone("dialog")
        self.wait_for_rows("portfolio")

    def test_a_cancel_that_came_too_late_is_told_by_the_list_and_a_notification(self):
        self.start_platform("--delay", "3000", "--fail-path", "/api/deploy")
        self.send_all("portfolio")
        self.desktop.key("Escape")
        self.desktop.gone("dialog")
        told = self.notification("portfolio is live all the same")
        self.assertEqual(told["text"], "Everything had been sent when the deployment ended here.")
        self.assertEqual(sorted(told["actions"].values()), ["Copy link", "Open"])
        self.wait_for_rows("portfolio")
        self.desktop.choose_in_notification(told["id"], "Open")
        self.wait_for_opened(self.address("portfolio"))

    def test_who_quits_too_late_is_told_so_and_finds_the_site_in_the_list(self):
        self.start_platform("--delay", "10000", "--fail-path", "/api/deploy")
        self.send_all("portfolio")
        self.desktop.key("ctrl+q")
        self.find("dialog", "Quit Driftwell?")
        self.press("push button", "Quit")
        self.wait_for_end()
        told = self.notification("portfolio may go live all the same")
        self.assertTrue(told["open"], "it is the last word of the application, and stays")
        self.open()
        self.wait_for_rows("portfolio")

    # --- Nobody looks ---

    def test_a_deployment_that_ends_while_the_window_is_closed_is_told_by_a_notification(self):
        self.start_platform("--delay", "3000", "--fail-path", "/api/deploy")
        self.send_all("portfolio")
        self.desktop.key("ctrl+w")
        wait_for("the end of the window", lambda: not self.desktop.windows("Driftwell"))
        told = self.notification("portfolio is live")
        self.assertEqual(told["text"], self.address("portfolio").removeprefix("http://"))
        self.desktop.choose_in_notification(told["id"], "Copy link")
        wait_for("the address on the clipboard", lambda: self.desktop.clipboard() == self.address("portfolio"))

    def test_a_deployment_that_fails_behind_another_window_is_told_and_opened(self):
        self.start_platform("--delay", "3000", "--fail", "503", "--fail-path", "/api/deploy")
        self.send_all("portfolio")
        self.desktop.xdotool("windowminimize", self.window)
        told = self.notification("portfolio could not be published")
        self.desktop.choose_in_notification(told["id"], "Open")
        wait_for("the window", lambda: self.desktop.windows("Driftwell"))
        self.wait_for_text("Deploy failed")
        wait_for("the end of the notification", lambda: not self.notification("portfolio could not be published")["open"])

    def test_a_sign_in_that_comes_back_brings_the_window_forward(self):
        self.start_platform("--require-sign-in")
        self.platform.address = f"http://127.0.0.1:{self.platform.port}"
        self.open()
        self.press("push button", "Sign in…")
        self.wait_for_text("Waiting for browser…")
        self.desktop.xdotool("windowminimize", self.window)
        wait_for("no window", lambda: not self.desktop.windows("Driftwell"))
        self.sign_in_as("person-ines")
        wait_for("the window", lambda: self.desktop.windows("Driftwell") == [self.window])
        wait_for("the window in front", lambda: self.desktop.xdotool("getactivewindow").strip() == self.window)

    # --- While it runs ---

    def children(self, process):
        result = subprocess.run(["pgrep", "-P", str(process)], capture_output=True, text=True, timeout=20)
        return [int(line) for line in result.stdout.split()]

    def compressor(self):
        """The process that compresses the archive, which is tar's."""
        return [child for tar in self.children(self.desktop.app.pid) for child in self.children(tar)]

    def test_packing_and_the_upload_show_how_far_they_are(self):
        self.start_platform()
        folder = self.site("archive")
        for number in range(6):
            (folder / f"{number}.bin").write_bytes(os.urandom(40_000_000))
        self.open(folder)
        self.wait_for_text("New site — this name is free")
        self.platform.process.send_signal(signal.SIGSTOP)
        try:
            self.desktop.key("Return")
            compressor = wait_for("the compressor", self.compressor)[0]
            wait_for("an archive", lambda: [file for file in Path(self.desktop.environment["TMPDIR"]).glob("*/site.tgz")
                                            if file.stat().st_size > 0])
            os.kill(compressor, signal.SIGSTOP)
            self.wait_for_text(re.compile(r"^(\d of 7 files · )?\d+(\.\d)? MB packed$"))
            self.picture("packing")
            os.kill(compressor, signal.SIGCONT)
            self.wait_for_text(re.compile(r"^\S+ .B/s · about \d+(s| min) left$"))
            self.picture("uploading")
            self.wait_for_text("nothing goes up at the moment")
        finally:
            self.platform.process.send_signal(signal.SIGCONT)
        self.wait_for_text("archive is live")

    # --- Before anything is sent ---

    def test_before_the_first_list_has_come_a_name_is_being_checked_and_deploy_waits(self):
        self.start_platform()
        self.publish("portfolio")
        self.platform.restart("--delay", "12000", "--fail-path", "/api/sites")
        folder = self.folder / "others" / "portfolio"
        folder.mkdir(parents=True)
        (folder / "index.html").write_text("<h1>Other</h1>")
        self.open()
        self.hover(folder)
        self.find("panel", "Drop to deploy")
        self.desktop.drop()
        self.wait_for_text("Checking the name…")
        deploy = self.find("push button", "Deploy")
        self.assertFalse(self.desktop.is_enabled(deploy))
        self.picture("checking-the-name")
        self.wait_for_text(re.compile("^Replaces portfolio — live since "))
        wait_for("the button", lambda: self.desktop.is_enabled(deploy))

    def test_what_may_not_be_meant_is_said_before_anything_is_sent(self):
        self.start_platform()
        folder = self.site("source")
        (folder / "index.html").rename(folder / "page.html")
        (folder / "dist").mkdir()
        (folder / "dist" / "index.html").write_text("<h1>Built</h1>")
        (folder / ".env").write_text("secret")
        (folder / "node_modules").mkdir()
        (folder / "link").symlink_to("page.html")
        self.publish("source")
        self.open(folder)
        self.wait_for_text("There is no index.html at the top, so the address has no page to show. "
                           "The folder “dist” has one.")
        self.wait_for_text("Stays behind: 1 hidden item, 1 symbolic link, 1 node_modules folder")
        self.wait_for_text(re.compile("^Replaces source — live since "))
        self.wait_for_text(re.compile("^Published by you on "))
        self.picture("confirm-warnings")
        self.desktop.key("Escape")
        self.desktop.gone("dialog")
        empty = self.folder / "sites" / "empty"
        empty.mkdir()
        self.assertEqual(self.desktop.launch(empty, host=self.platform.address).wait(30), 0)
        self.wait_for_text("There is nothing in the folder to publish.")

    # --- Once more ---

    def test_a_site_is_published_again_from_its_row_with_what_has_changed(self):
        self.start_platform()
        folder = self.site("portfolio")
        (folder / "old.html").write_text("old")
        self.desktop.dw("deploy", folder, "--name", "showcase", host=self.platform.address)
        (folder / "index.html").write_text("<h1>Longer than before</h1>")
        (folder / "new.html").write_text("new")
        (folder / "old.html").unlink()
        self.open()
        self.wait_for_rows("showcase")
        self.desktop.click(*self.desktop.place(self.find("list item", "showcase")), button=3)
        self.press("menu item", "Publish Again")
        self.wait_for_text("Deploy showcase")
        self.wait_for_text("Since your last version from this computer: 1 new, 1 changed, 1 gone")
        self.picture("publish-again")
        self.desktop.key("Return")
        self.wait_for_text("showcase is live")
        self.desktop.key("Return")
        self.desktop.gone("dialog")
        self.desktop.click(*self.desktop.place(self.find("list item", "showcase")), button=3)
        self.press("menu item", "Publish Again")
        self.wait_for_text("Nothing has changed since your last version from this computer.")

    def test_a_folder_that_is_gone_cannot_be_published_again_and_it_is_said(self):
        self.start_platform()
        self.publish("portfolio")
        self.open()
        self.wait_for_rows("portfolio")
        (self.folder / "sites" / "published").rename(self.folder / "sites" / "elsewhere")
        self.desktop.click(*self.desktop.place(self.find("list item", "portfolio")), button=3)
        self.press("menu item", "Publish Again")
        self.find("alert", "Can’t publish again")
        self.wait_for_text(re.compile("^The folder .*/sites/published is not there any more.$"))

    # --- What hovers ---

    def test_a_folder_that_hovers_while_a_deployment_runs_is_refused_and_told_so(self):
        self.start_platform("--delay", "14000", "--fail-path", "/api/deploy")
        other = self.folder / "others" / "handbook"
        other.mkdir(parents=True)
        self.send_all("portfolio")
        self.hover(other)
        self.find("panel", "A deployment is running")
        self.assertEqual(self.desktop.widgets("panel", "Drop to deploy"), [])
        self.picture("drop-refused")
        self.desktop.drop()
        self.desktop.gone("panel", "A deployment is running")


if __name__ == "__main__":
    unittest.main()
