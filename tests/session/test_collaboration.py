"""People who share a site and work on it together, on a real desktop: whom it is shared with, a conflict that a coding
agent repairs from the copied prompt, and a folder that is left alone until somebody has put it right."""

import os
import re
import signal
import subprocess
import unittest

from desktop_test import DesktopTest
from session import wait_for


class CollaborationTest(DesktopTest):
    SITE = "garden"

    def open_published(self, page="<h1>Hello</h1>\n"):
        """The window on a site that was published from a folder of this machine."""
        self.start_platform()
        self.work = self.site(self.SITE, page)
        self.desktop.dw("deploy", self.work, "--name", self.SITE, host=self.platform.address)
        self.open()
        self.wait_for_rows(self.SITE)

    def hover(self):
        self.desktop.move(*self.desktop.place(self.find("list item", self.SITE)))

    def open_share(self):
        self.hover()
        self.press("push button", f"Share {self.SITE}")
        self.find("dialog", f"Share “{self.SITE}”")

    def close_sheet(self):
        self.desktop.key("Escape")
        self.desktop.gone("dialog")

    def is_on(self, setting):
        import pyatspi
        widget = self.find("check box", setting)
        widget.clear_cache()
        return widget.getState().contains(pyatspi.STATE_CHECKED)

    def work_together(self):
        """Allows it on the platform and links the folder, both in the sheet."""
        self.open_share()
        self.press("check box", "Allow collaboration")
        wait_for("the setting", lambda: self.is_on("Allow collaboration"))
        self.press("push button", re.compile("^Link "))
        self.desktop.gone("push button", re.compile("^Link "))
        self.close_sheet()
        self.assertTrue((self.work / ".git").is_dir())

    def git(self, folder, *arguments):
        """As a teammate at another machine runs it, with nothing of this person's."""
        environment = {"HOME": str(self.folder), "PATH": "/usr/bin:/bin", "GIT_TERMINAL_PROMPT": "0", "LC_ALL": "C.UTF-8",
                       "no_proxy": "*"}
        for role in ("AUTHOR", "COMMITTER"):
            environment[f"GIT_{role}_NAME"] = "Grace Hopper"
            environment[f"GIT_{role}_EMAIL"] = "grace@example.org"
        return subprocess.run(["/usr/bin/git", *map(str, arguments)], cwd=folder, env=environment, check=True, text=True,
                              capture_output=True, timeout=60).stdout

    def push_as_teammate(self, **files):
        copy = self.folder / "teammate"
        if not copy.exists():
            self.git(self.folder, "clone", "--quiet", f"{self.platform.address}/git/{self.SITE}", copy)
        for name, text in files.items():
            (copy / f"{name}.html").write_text(text)
        self.git(copy, "add", "--all")
        self.git(copy, "commit", "--quiet", "--message", "A change")
        self.git(copy, "push", "--quiet", "origin", "HEAD:main")

    def live_page(self, name="index"):
        copy = self.folder / "looking"
        if copy.exists():
            self.git(copy, "pull", "--quiet")
        else:
            self.git(self.folder, "clone", "--quiet", f"{self.platform.address}/git/{self.SITE}", copy)
        return (copy / f"{name}.html").read_text()

    def make_conflict(self):
        """Both sides have changed the same line of two pages, and the person brings the folder up to date."""
        (self.work / "about.html").write_text("first\n")
        self.desktop.dw("deploy", self.work, "--name", self.SITE, host=self.platform.address)
        self.work_together()
        self.push_as_teammate(index="theirs\n", about="theirs\n")
        (self.work / "index.html").write_text("mine\n")
        (self.work / "about.html").write_text("mine\n")
        wait_for("the news", lambda: self.find("list item", self.SITE).description == "Updates available")
        self.hover()
        self.press("push button", f"Update folder {self.SITE}")
        self.find("dialog", re.compile("^Your change overlaps with Grace Hopper’s$"))

    def listed_files(self):
        return sorted(name for name in self.rows() if name.endswith(".html"))

    # --- Sharing ---

    def test_a_site_is_shared_with_a_person_and_with_everybody(self):
        self.open_published()
        self.open_share()
        field = self.find("text", "Add people by email…")
        wait_for("the keyboard in the field", lambda: self.desktop.is_focused(field))
        self.desktop.type(" Kim@Bank.example ")
        self.find("push button", "Add Kim@Bank.example")
        self.desktop.key("Return")
        self.find("list item", "kim@bank.example, Viewer")
        self.wait_for_text("Invited people matter once general access is “Invited people only”.")

        self.press("push button", "General access, Team")
        self.press("menu item", "Invited people only")
        self.find("push button", "General access, Invited people only")
        self.desktop.gone("label", "Invited people matter once general access is “Invited people only”.")

        self.press("push button", "Viewer, kim@bank.example")
        self.press("menu item", "Remove access")
        self.desktop.gone("list item", "kim@bank.example, Viewer")

        self.press("check box", "Client comments")
        wait_for("the setting", lambda: self.is_on("Client comments"))
        self.press("push button", "Copy link")
        self.find("push button", "Copied")
        wait_for("the address on the clipboard", lambda: self.desktop.clipboard() ==
                 f"http://{self.SITE}.driftwell.localhost:{self.platform.port}/")
        self.close_sheet()

    def test_a_switch_that_waits_for_the_platform_is_disabled_for_a_screen_reader_too(self):
        self.open_published()
        self.open_share()
        switch = self.find("check box", "Client comments")
        self.assertTrue(self.desktop.is_enabled(switch))
        description = switch.description
        self.assertTrue(description)
        self.platform.process.send_signal(signal.SIGSTOP)
        try:
            self.press("check box", "Client comments")
            wait_for("the disabled switch", lambda: not self.desktop.is_enabled(switch))
            self.assertEqual(switch.description, description)
            self.assertFalse(self.is_on("Client comments"), "it does not run ahead of the platform")
        finally:
            self.platform.process.send_signal(signal.SIGCONT)
        wait_for("the enabled switch", lambda: self.desktop.is_enabled(switch))
        wait_for("the setting", lambda: self.is_on("Client comments"))
        # As a screen reader presses it.
        switch.queryAction().doAction(0)
        wait_for("the setting of before", lambda: not self.is_on("Client comments"))

    def test_a_person_is_invited_by_keyboard_alone(self):
        self.open_published()
        for _ in range(12):
            self.desktop.key("Tab")
            if any(widget.name == f"Share {self.SITE}" for widget in self.desktop.focused()):
                break
        self.desktop.key("Return")
        self.find("dialog", f"Share “{self.SITE}”")
        self.desktop.type("kim@bank.example")
        self.desktop.key("Return")
        self.find("list item", "kim@bank.example, Viewer")
        self.close_sheet()

    def test_collaboration_is_allowed_and_the_folder_linked(self):
        self.open_published()
        self.work_together()
        self.assertEqual((self.work / "index.html").read_text(), "<h1>Hello</h1>\n")
        self.open_share()
        self.press("check box", "Allow collaboration")
        wait_for("the setting", lambda: not self.is_on("Allow collaboration"))
        self.assertTrue((self.work / ".git").is_dir(), "disabling touches no folder")

    # --- A conflict ---

    def test_a_conflict_is_published_by_itself_once_an_agent_has_repaired_the_files(self):
        self.open_published("first\n")
        self.make_conflict()
        wait_for("the files", lambda: self.listed_files() == ["about.html", "index.html"])
        self.press("push button", "Copy prompt for your agent")
        self.find("push button", "Copied — paste it into your agent")
        prompt = wait_for("the prompt", lambda: self.desktop.clipboard())
        folder, files = re.match(r"The folder `([^`]+)` has .* In (.*), look for blocks", prompt).groups()
        self.assertIn("my edit; below it is Grace Hopper’s. Combine them", prompt)

        # The agent knows what the prompt says.
        folder = os.path.join(self.desktop.environment["HOME"], folder[2:]) if folder.startswith("~/") else folder
        named = re.findall("`([^`]+)`", files)
        self.assertEqual(sorted(named), ["about.html", "index.html"])
        for number, name in enumerate(sorted(named)):
            path = os.path.join(folder, name)
            with open(path) as file:
                kept = [line for line in file if not re.match("<{7} |={7}$|>{7} ", line)]
            with open(path, "w") as file:
                file.writelines(kept)
            if number == 0:
                wait_for("the shorter list", lambda: self.listed_files() == ["index.html"])

        self.find("dialog", "Conflict resolved")
        self.wait_for_text("The merged version is being published — this project will be live in a moment.")
        self.desktop.gone("dialog")
        wait_for("the merged pages on the platform", lambda: self.live_page() == "mine\ntheirs\n")
        self.assertEqual(self.live_page("about"), "mine\ntheirs\n")
        wait_for("the row", lambda: "Grace" not in self.find("list item", self.SITE).description and
                 self.find("list item", self.SITE).description not in ("Conflict", "Publishing…", "Syncing…"))

    def test_a_conflict_is_closed_opened_again_from_its_chip_and_ended_with_one_side(self):
        self.open_published("first\n")
        self.make_conflict()
        self.close_sheet()
        wait_for("the chip", lambda: self.find("list item", self.SITE).description == "Conflict")
        self.hover()
        self.press("push button", f"Resolve… {self.SITE}")
        wait_for("the files", lambda: self.listed_files() == ["about.html", "index.html"])
        self.press("push button", "Keep mine")
        self.desktop.gone("dialog")
        wait_for("the person's pages on the platform", lambda: self.live_page() == "mine\n")
        self.assertEqual((self.work / "index.html").read_text(), "mine\n")
        self.assertEqual(self.desktop.widgets("alert", "Collaboration hiccup"), [])

    # --- The end of the session ---

    def end(self):
        self.desktop.app.terminate()
        self.wait_for_end()

    def is_settled(self):
        return self.find("list item", self.SITE).description not in ("Conflict", "Publishing…", "Syncing…")

    def test_a_conflict_that_waits_at_the_end_of_the_session_waits_in_the_next(self):
        self.open_published("first\n")
        self.make_conflict()
        self.end()
        self.open()
        wait_for("the chip", lambda: self.find("list item", self.SITE).description == "Conflict")
        self.assertEqual((self.work / "index.html").read_text().count("<<<<<<<"), 1)
        self.hover()
        self.press("push button", f"Resolve… {self.SITE}")
        self.press("push button", "Keep mine")
        wait_for("the person's pages on the platform", lambda: self.live_page() == "mine\n")

    def test_a_merge_that_the_end_of_the_session_interrupts_is_done_in_the_next(self):
        self.open_published("first\n")
        self.work_together()
        self.push_as_teammate(about="theirs\n")
        (self.work / "index.html").write_text("mine\n")
        wait_for("the news", lambda: self.find("list item", self.SITE).description == "Updates available")
        self.platform.process.send_signal(signal.SIGSTOP)
        try:
            self.hover()
            self.press("push button", f"Update folder {self.SITE}")
            wait_for("git at work", self.is_git_at_work)
            self.end()
        finally:
            self.platform.process.send_signal(signal.SIGCONT)
        self.assertEqual((self.work / "index.html").read_text(), "mine\n")
        self.open()
        wait_for("the news", lambda: self.find("list item", self.SITE).description == "Updates available")
        self.hover()
        self.press("push button", f"Update folder {self.SITE}")
        wait_for("the teammate's page", (self.work / "about.html").exists)
        wait_for("the row", self.is_settled)
        self.assertEqual((self.work / "index.html").read_text(), "mine\n")
        self.assertEqual(self.desktop.widgets("alert", "Collaboration hiccup"), [])

    def is_git_at_work(self):
        result = subprocess.run(["pgrep", "-P", str(self.desktop.app.pid), "git"], capture_output=True, timeout=20)
        return result.returncode == 0

    # --- Attention ---

    def test_a_folder_that_is_on_no_branch_is_explained_and_its_row_follows(self):
        self.open_published()
        self.work_together()
        self.git(self.work, "checkout", "--quiet", "--detach")
        wait_for("the chip", lambda: self.find("list item", self.SITE).description == "Needs attention")
        self.hover()
        self.press("push button", f"Details… {self.SITE}")
        self.find("dialog", "This folder needs attention")
        self.wait_for_text(re.compile("the folder is not on a branch"))
        self.press("push button", "Copy instructions for your agent")
        self.find("push button", "Copied")
        wait_for("the instructions", lambda: self.desktop.clipboard().startswith("The folder `") and
                 "don’t push anything" in self.desktop.clipboard())
        self.git(self.work, "checkout", "--quiet", "main")
        self.desktop.gone("dialog")
        wait_for("the row", lambda: self.find("list item", self.SITE).description != "Needs attention")

    # --- What fails ---

    def test_a_link_that_fails_is_told_in_an_alert(self):
        self.open_published()
        self.open_share()
        self.press("check box", "Allow collaboration")
        wait_for("the setting", lambda: self.is_on("Allow collaboration"))
        self.work.rename(self.folder / "moved")
        self.press("push button", re.compile("^Link "))
        self.find("alert", "Collaboration hiccup")
        self.desktop.key("Return")
        self.desktop.gone("alert", "Collaboration hiccup")
        self.find("dialog", f"Share “{self.SITE}”")


if __name__ == "__main__":
    unittest.main(verbosity=2)
