"""The application on a real desktop, as a person uses it."""

import re
import signal
import time
import unittest
import urllib.parse
import urllib.request
from pathlib import Path

from desktop_test import DesktopTest
from session import wait_for


def fetch(url):
    """A page of the sandbox, whatever proxy is set. Names under localhost are this machine."""
    address = urllib.parse.urlsplit(url)
    request = urllib.request.Request(f"http://127.0.0.1:{address.port}{address.path}", headers={"Host": address.netloc})
    with urllib.request.build_opener(urllib.request.ProxyHandler({})).open(request, timeout=20) as answer:
        return answer.read().decode()


class ApplicationTest(DesktopTest):
    """On a desktop with all that belongs to one."""

    # --- The tray ---

    def test_the_tray_item_opens_a_panel_with_the_recent_sites(self):
        self.start_platform()
        self.publish("portfolio", "handbook")
        self.open("--tray")
        wait_for("the tray item", lambda: len(self.desktop.tray_items()) == 1)
        self.assertEqual(self.desktop.windows("Driftwell"), [])
        wait_for("the connection", lambda: self.desktop.application() is not None)
        self.click_in_tray()
        self.find("label", "RECENTLY DEPLOYED")
        wait_for("the recent sites", lambda: [b.name for b in self.desktop.widgets("push button")][:2] ==
                 ["handbook", "portfolio"])
        self.wait_for_text(re.compile(r"^driftwell\.localhost:\d+ · 2 sites$"))
        self.press("push button", "handbook")
        self.wait_for_opened(f"http://handbook.driftwell.localhost:{self.platform.port}/")
        self.assertTrue(self.desktop.widgets("push button", "Open Driftwell"))

    def test_the_window_is_closed_and_comes_back_from_the_tray(self):
        self.start_platform()
        self.publish("portfolio")
        self.open()
        self.wait_for_rows("portfolio")
        self.press("push button", "Close")
        wait_for("the end of the window", lambda: not self.desktop.windows("Driftwell"))
        self.assertIsNone(self.desktop.app.poll())
        self.click_in_tray()
        self.press("push button", "Open Driftwell")
        self.wait_for_rows("portfolio")
        self.assertEqual(self.desktop.widgets("label", "RECENTLY DEPLOYED"), [])

    def test_quit_in_the_panel_ends_the_application(self):
        self.start_platform()
        self.open("--tray")
        self.click_in_tray()
        self.press("push button", "Quit")
        self.wait_for_end()

    def test_the_panel_is_used_with_the_keyboard_alone(self):
        self.start_platform()
        self.publish("portfolio", "handbook")
        self.open("--tray")
        self.click_in_tray()
        wait_for("the keyboard on the first site", lambda: self.focused_names() == ["handbook"])
        self.desktop.key("Tab")
        wait_for("the keyboard on the next site", lambda: self.focused_names() == ["portfolio"])
        self.desktop.key("Return")
        self.wait_for_opened(f"http://portfolio.driftwell.localhost:{self.platform.port}/")
        self.desktop.key("Down")
        wait_for("the keyboard on the command", lambda: self.focused_names() == ["Open Driftwell"])
        self.desktop.key("Up", "Up")
        wait_for("the keyboard back on the first site", lambda: self.focused_names() == ["handbook"])
        self.desktop.key("Escape")
        self.desktop.gone("label", "RECENTLY DEPLOYED")

        self.click_in_tray()
        wait_for("the keyboard on the first site", lambda: self.focused_names() == ["handbook"])
        self.desktop.key("Tab", "Tab", "Return")
        self.wait_for_rows("handbook", "portfolio")

    def focused_names(self):
        return [widget.name for widget in self.desktop.focused() if widget.getRoleName() == "push button"]

    def test_a_site_is_published_again_from_the_panel(self):
        self.start_platform()
        self.publish("portfolio")
        self.open("--tray")
        self.click_in_tray()
        wait_for("the keyboard on the site", lambda: self.focused_names() == ["portfolio"])
        self.desktop.key("Right")
        wait_for("the keyboard beside it", lambda: self.focused_names() == ["Publish portfolio again"])
        self.desktop.key("Return")
        self.wait_for_text("Deploy portfolio")
        self.wait_for_text("Nothing has changed since your last version from this computer.")
        self.desktop.gone("label", "RECENTLY DEPLOYED")
        field = self.find("text", "Site name")
        wait_for("the keyboard in the name field", lambda: self.desktop.is_focused(field))
        self.desktop.key("Return")
        self.wait_for_text("portfolio is live")

    def test_a_tray_that_shows_only_menus_has_the_same_commands(self):
        self.start_platform()
        self.publish("portfolio", "handbook")
        self.open("--tray")
        wait_for("the commands", lambda: self.desktop.tray_menu()[0] ==
                 ["handbook", "portfolio", "Open Driftwell", "Settings…", "Quit"])
        _, choose = self.desktop.tray_menu()
        choose("portfolio")
        self.wait_for_opened(f"http://portfolio.driftwell.localhost:{self.platform.port}/")
        choose("Open Driftwell")
        self.wait_for_rows("handbook", "portfolio")
        choose("Quit")
        self.wait_for_end()

    # --- From a folder to a live site ---

    def test_a_folder_dragged_from_the_file_manager_goes_live(self):
        self.start_platform("--delay", "300")
        folder = self.site("Summer Campaign", "<h1>Summer</h1>")
        self.open()
        self.wait_for_text("No projects yet")
        icon = self.desktop.file_manager(folder.parent, self.window)
        self.desktop.drag(icon, (icon[0] - 40, icon[1]), (400, 300))
        self.find("panel", "Drop to deploy")
        self.wait_for_text(re.compile(r"^live on driftwell\.localhost:\d+ in about 30 seconds$"))
        self.desktop.drop()

        self.wait_for_text("Deploy summer-campaign")
        self.desktop.gone("panel", "Drop to deploy")
        self.wait_for_text(re.compile(r"^1 file · \d+ bytes$"))
        field = self.find("text", "Site name")
        wait_for("the keyboard in the name field", lambda: self.desktop.is_focused(field))
        self.name_messages()
        self.desktop.key("ctrl+a")
        self.desktop.type("summer")
        self.wait_for_text("New site — this name is free")
        # One that answers at once is done before anybody has looked.
        self.platform.process.send_signal(signal.SIGSTOP)
        try:
            self.press("push button", "Deploy")
            self.wait_for_text("Deploying summer")
            self.find("progress bar", "Deployment")
        finally:
            self.platform.process.send_signal(signal.SIGCONT)
        self.wait_for_text("summer is live")
        address = f"http://summer.driftwell.localhost:{self.platform.port}/"
        self.assertIn("<h1>Summer</h1>", fetch(address))
        self.press("push button", "Copy URL")
        self.find("push button", "Copied")
        wait_for("the address on the clipboard", lambda: self.desktop.clipboard() == address)
        self.press("push button", address.removeprefix("http://"))
        self.wait_for_opened(address)
        self.press("push button", "Done")
        self.wait_for_rows("summer")

    def name_messages(self):
        deploy = self.find("push button", "Deploy")
        for typed, message, allowed in (("Admin", "Lowercase letters, digits and dashes only", False),
                                        ("admin", "“admin” is reserved", False),
                                        ("-x", "Lowercase letters, digits and dashes only", False),
                                        ("x-1", "New site — this name is free", True)):
            self.desktop.key("ctrl+a")
            self.desktop.type(typed)
            self.wait_for_text(message)
            wait_for("the button", lambda: self.desktop.is_enabled(deploy) == allowed)
        self.desktop.key("ctrl+a", "BackSpace")
        self.wait_for_text("Name the site to deploy it")
        self.wait_for_text("Deploy Summer Campaign")
        wait_for("the button", lambda: not self.desktop.is_enabled(deploy))

    def test_a_failed_deployment_says_why_and_can_be_tried_again(self):
        self.start_platform("--fail", "503", "--fail-path", "/api/deploy", "--fail-count", "1")
        self.open(self.site("portfolio"))
        self.wait_for_text("Deploy portfolio")
        self.desktop.key("Return")
        self.wait_for_text("Deploy failed")
        self.desktop.key("Return")
        self.wait_for_text("New site — this name is free")
        self.desktop.key("Return")
        self.wait_for_text("portfolio is live")

    def test_a_deployment_that_is_cancelled_too_late_leaves_the_truth_in_the_list(self):
        self.start_platform("--delay", "20000", "--fail-path", "/api/deploy")
        self.open(self.site("portfolio"))
        self.wait_for_text("Deploy portfolio")
        self.desktop.key("Return")
        self.wait_for_text("Deploying portfolio")
        self.wait_for_text(re.compile(r"^[1-9]\d*s elapsed$"))
        self.desktop.key("Escape")
        wait_for("no dialog", lambda: not self.desktop.widgets("dialog"))
        # All was sent, and the platform has published it.
        self.wait_for_rows("portfolio")
        wait_for("no temporary folder", lambda: not list(Path(self.desktop.environment["TMPDIR"]).iterdir()))

    def test_quitting_in_the_middle_of_a_deployment_leaves_nothing_behind(self):
        self.start_platform("--delay", "60000", "--fail-path", "/api/deploy")
        for number, end in enumerate((self.quit_all_the_same, lambda: self.desktop.app.terminate())):
            self.open(self.site(f"site-{number}"))
            self.find("text", "Site name")
            self.desktop.key("Return")
            self.find("progress bar", "Deployment")
            self.assertTrue(list(Path(self.desktop.environment["TMPDIR"]).iterdir()))
            end()
            self.wait_for_end()
            self.assertEqual(list(Path(self.desktop.environment["TMPDIR"]).iterdir()), [])

    def quit_all_the_same(self):
        self.desktop.key("ctrl+q")
        self.find("dialog", "Quit Driftwell?")
        self.press("push button", "Quit")

    def test_a_deployment_is_not_ended_by_quitting_without_a_question(self):
        self.start_platform("--delay", "60000", "--fail-path", "/api/deploy")
        self.open(self.site("portfolio"))
        self.find("text", "Site name")
        self.desktop.key("Return")
        self.find("progress bar", "Deployment")

        self.desktop.key("ctrl+q")
        self.find("dialog", "Quit Driftwell?")
        self.wait_for_text(re.compile("^“portfolio” is being published; the platform may do so all the same.\n"
                                      "Quitting stops it here.$"))
        keep = self.find("push button", "Keep Running")
        wait_for("the keyboard on the harmless button", lambda: self.desktop.is_focused(keep))
        self.desktop.key("Escape")
        self.desktop.gone("dialog", "Quit Driftwell?")
        self.assertTrue(self.desktop.widgets("progress bar", "Deployment"))

        self.press("push button", "Close")
        wait_for("the end of the window", lambda: not self.desktop.windows("Driftwell"))
        for ask in (self.quit_in_panel, self.quit_in_menu):
            ask()
            self.find("dialog", "Quit Driftwell?")
            self.press("push button", "Keep Running")
            self.desktop.gone("dialog", "Quit Driftwell?")
        self.quit_in_menu()
        self.press("push button", "Quit")
        self.wait_for_end()

    def deploy_signed_in(self):
        """A deployment that goes on until the platform is let go on."""
        self.start_platform("--require-sign-in")
        self.platform.address = f"http://127.0.0.1:{self.platform.port}"
        self.open(self.site("portfolio"))
        self.press("push button", "Sign in…")
        self.sign_in_as("person-ines")
        self.wait_for_text("New site — this name is free")
        self.platform.process.send_signal(signal.SIGSTOP)
        self.desktop.key("Return")
        self.find("progress bar", "Deployment")

    def stay_signed_in(self, ask):
        self.deploy_signed_in()
        try:
            ask()
            self.find("dialog", "Sign out?")
            self.wait_for_text(re.compile("^“portfolio” is being "))
            stay = self.find("push button", "Stay Signed In")
            wait_for("the keyboard on the harmless button", lambda: self.desktop.is_focused(stay))
            self.desktop.key("Return")
            self.desktop.gone("dialog", "Sign out?")
            self.assertTrue(self.desktop.widgets("progress bar", "Deployment"))
        finally:
            self.platform.process.send_signal(signal.SIGCONT)
        self.wait_for_text("portfolio is live")
        self.desktop.key("Return")
        self.wait_for_rows("portfolio")

    def test_a_sign_out_in_the_panel_asks_while_an_upload_runs_and_staying_keeps_it(self):
        self.stay_signed_in(self.sign_out_in_panel)

    def test_a_sign_out_in_the_menu_of_the_tray_asks_too(self):
        self.stay_signed_in(self.sign_out_in_tray_menu)

    def test_who_signs_out_all_the_same_is_signed_out(self):
        self.deploy_signed_in()
        try:
            self.sign_out_in_panel()
            self.find("dialog", "Sign out?")
            self.press("push button", "Sign Out")
            self.desktop.gone("dialog", "Sign out?")
        finally:
            self.platform.process.send_signal(signal.SIGCONT)
        self.wait_for_text(f"Sign in to 127.0.0.1:{self.platform.port}")

    def sign_out_in_panel(self):
        self.click_in_tray()
        self.press("push button", "Sign out")

    def sign_out_in_tray_menu(self):
        commands, choose = self.desktop.tray_menu()
        self.assertIn("Sign out", commands)
        choose("Sign out")

    def quit_in_panel(self):
        self.click_in_tray()
        self.press("push button", "Quit")

    def quit_in_menu(self):
        _, choose = self.desktop.tray_menu()
        choose("Quit")

    # --- The list ---

    def test_the_list_is_filtered_sorted_and_acted_on(self):
        self.start_platform()
        self.publish("zebra", "annual-report", "newsletter", "annual-party")
        by_time = ["annual-party", "newsletter", "annual-report", "zebra"]
        self.open()
        self.wait_for_rows(*by_time)
        self.wait_for_text("4 projects")
        self.press("push button", "Sort by Name")
        self.wait_for_rows(*sorted(by_time))
        self.press("push button", "Sort by Last updated")
        self.wait_for_rows(*by_time)

        self.desktop.key("ctrl+f")
        self.desktop.type("annual")
        self.wait_for_rows("annual-party", "annual-report")
        self.wait_for_text("2 of 4 projects")
        self.desktop.type("x")
        self.wait_for_text("No projects match “annualx”")
        self.press("push button", "Clear filter")
        self.wait_for_rows(*by_time)

        row = self.find("list item", "zebra")
        self.assertEqual(self.desktop.widgets("push button", "Open zebra"), [])
        self.desktop.move(*self.desktop.place(row))
        self.press("push button", "Open zebra")
        self.wait_for_opened(f"http://zebra.driftwell.localhost:{self.platform.port}/")

        self.desktop.click(*self.desktop.place(row), button=3)
        self.press("menu item", "Copy Link")
        wait_for("the address on the clipboard",
                 lambda: self.desktop.clipboard() == f"http://zebra.driftwell.localhost:{self.platform.port}/")

    def test_everything_is_done_with_the_keyboard_alone(self):
        self.start_platform()
        self.publish("portfolio", "handbook")
        self.open()
        self.wait_for_rows("handbook", "portfolio")
        self.desktop.key("ctrl+f")
        self.desktop.type("port")
        self.wait_for_rows("portfolio")
        self.desktop.key("Escape")
        self.wait_for_rows("handbook", "portfolio")
        for _ in range(12):
            self.desktop.key("Tab")
            if any(widget.getRoleName() == "list" for widget in self.desktop.focused()):
                break
            time.sleep(0.1)
        self.find("push button", "Open handbook")
        self.desktop.key("Down")
        self.find("push button", "Open portfolio")
        self.desktop.key("Return")
        self.wait_for_opened(f"http://portfolio.driftwell.localhost:{self.platform.port}/")
        self.desktop.key("ctrl+d")
        wait_for("the folder chooser", lambda: self.desktop.widgets("dialog") or self.desktop.widgets("file chooser"))
        self.desktop.key("Escape")
        wait_for("the end of the folder chooser",
                 lambda: not self.desktop.widgets("dialog") and not self.desktop.widgets("file chooser"))

    # --- What hangs off a row ---

    def choose(self, site, entry):
        """An entry of the menu of a site, as assistive technology does it."""
        row = self.find("list item", site)
        self.desktop.click(*self.desktop.place(row), button=3)
        self.press("menu item", entry)

    def test_a_site_is_rolled_back_from_its_history(self):
        self.start_platform()
        folder = self.site("portfolio", "<h1>First</h1>")
        for page in ("<h1>First</h1>", "<h1>Second</h1>"):
            (folder / "index.html").write_text(page)
            self.desktop.dw("deploy", folder, "--name", "portfolio", host=self.platform.address)
        address = f"http://portfolio.driftwell.localhost:{self.platform.port}/"
        self.assertIn("Second", fetch(address))
        self.open()
        self.wait_for_rows("portfolio")
        self.choose("portfolio", "Version History")
        self.find("dialog", "Version history — portfolio")
        self.find("push button", "Roll back")
        self.assertEqual(len(self.desktop.widgets("list item", re.compile("^deploy, "))), 2)
        self.press("push button", "Roll back")
        self.find("dialog", "Roll back portfolio")
        self.wait_for_text(re.compile("^Swaps the version deployed .* with the one before it. Run it again to swap back"))
        self.desktop.key("Return")
        self.desktop.gone("dialog")
        wait_for("the version before", lambda: "First" in fetch(address))
        wait_for("the row", lambda: self.find("list item", "portfolio").description.startswith("Rolled back "))
        self.choose("portfolio", "Version History")
        self.find("list item", re.compile("^rollback, "))
        self.desktop.key("Escape")
        self.desktop.gone("dialog")

    def test_a_site_is_deleted_when_its_name_has_been_typed(self):
        self.start_platform("--fail", "507", "--fail-path", "/api/sites/portfolio", "--fail-count", "1")
        self.publish("portfolio", "handbook")
        self.open()
        self.wait_for_rows("handbook", "portfolio")
        for attempt in ("refused", "done"):
            self.choose("portfolio", "Delete Project…")
            self.find("dialog", "Delete portfolio")
            delete = self.find("push button", "Delete")
            self.find("text", "Type “portfolio” to confirm")
            self.desktop.type("Portfolio")
            self.assertFalse(self.desktop.is_enabled(delete))
            self.desktop.key("ctrl+a")
            self.desktop.type("portfolio")
            wait_for("the button", lambda: self.desktop.is_enabled(delete))
            self.desktop.key("Return")
            if attempt == "refused":
                self.find("alert", "Delete failed")
                self.assertEqual(self.rows(), ["handbook", "portfolio"])
                self.desktop.key("Return")
            self.desktop.gone("dialog")
        self.wait_for_rows("handbook")
        self.assertNotIn("portfolio", self.desktop.dw("list", host=self.platform.address))

    def test_the_recent_activity_of_a_site_is_read_by_keyboard_alone(self):
        self.start_platform()
        self.publish("portfolio")
        self.open()
        self.wait_for_rows("portfolio")
        row = self.find("list item", "portfolio")
        for _ in range(12):
            if any(widget.name == "portfolio" for widget in self.desktop.focused()):
                break
            self.desktop.key("Tab")
            time.sleep(0.1)
        self.desktop.key("Menu")
        self.find("menu item", "Logs")
        for _ in range(12):
            if any(widget.name == "Logs" for widget in self.desktop.focused()):
                break
            self.desktop.key("Down")
            time.sleep(0.1)
        self.desktop.key("Return")
        self.find("dialog", "Logs of portfolio")
        self.find("list item", re.compile(", deploy, "))
        self.wait_for_text(re.compile(r"^\d+ entr(y|ies)$"))
        self.desktop.key("Escape")
        self.desktop.gone("dialog")
        wait_for("the keyboard on the row", lambda: self.desktop.is_focused(row))

    # --- The connection ---

    def test_an_outage_shows_a_banner_that_counts_down_and_goes(self):
        self.start_platform()
        self.publish("portfolio")
        self.open()
        self.wait_for_rows("portfolio")
        self.platform.stop()
        banner = self.find("alert", re.compile("^Can’t reach driftwell.localhost"))
        # The seconds are for the eye alone: a screen reader would begin again with each.
        self.wait_for_text("deploys are paused")
        self.assertEqual(self.rows(), ["portfolio"])
        first = self.desktop.signature(banner)
        wait_for("the countdown", lambda: self.desktop.signature(banner) != first)
        hint = self.find("push button", re.compile("^Deploys are paused while driftwell.localhost:[0-9]+ is unreachable$"))
        self.assertFalse(self.desktop.is_enabled(hint))
        self.platform.start()
        self.desktop.gone("alert", re.compile("^Can’t reach"))
        self.find("push button", "Drag a folder here to publish a new project")

    def test_a_person_signs_in_and_out_again(self):
        self.start_platform("--require-sign-in")
        self.platform.address = f"http://127.0.0.1:{self.platform.port}"
        self.open()
        self.wait_for_text(f"Sign in to 127.0.0.1:{self.platform.port}")
        self.press("push button", "Sign in…")
        self.wait_for_text("Waiting for browser…")
        wait_for("the first attempt in the browser", lambda: len(self.desktop.opened()) == 1)
        self.press("push button", "Cancel")
        self.press("push button", "Sign in…")
        wait_for("the second attempt in the browser", lambda: len(self.desktop.opened()) == 2)
        self.assertIn("Signed in to Driftwell", self.sign_in_as("person-ines"))
        self.wait_for_text("No projects yet")
        self.click_in_tray()
        self.press("push button", "Sign out")
        self.wait_for_text(f"Sign in to 127.0.0.1:{self.platform.port}")

    def test_somebody_who_is_not_on_the_team_is_told_so(self):
        self.start_platform("--require-sign-in")
        self.platform.address = f"http://127.0.0.1:{self.platform.port}"
        self.open()
        self.press("push button", "Sign in…")
        self.sign_in_as("person-sam")
        self.wait_for_text("This account can’t manage sites")
        self.press("push button", "Sign out")
        self.wait_for_text(f"Sign in to 127.0.0.1:{self.platform.port}")

    # --- A second start ---

    def test_a_second_start_raises_the_first_and_hands_over_its_folder(self):
        self.start_platform()
        self.open()
        self.wait_for_text("No projects yet")
        self.press("push button", "Minimize")
        wait_for("the minimised window", lambda: not self.desktop.windows("Driftwell"))
        second = self.desktop.launch(self.site("handbook"), host=self.platform.address)
        self.assertEqual(second.wait(20), 0)
        wait_for("the raised window", lambda: self.desktop.windows("Driftwell") == [self.window])
        self.wait_for_text("Deploy handbook")
        active = wait_for("the active window", lambda: self.desktop.xdotool("getactivewindow").strip())
        self.assertEqual(active, self.window)

    def test_the_first_is_found_again_after_it_was_killed(self):
        self.start_platform()
        self.open()
        self.desktop.app.send_signal(signal.SIGKILL)
        self.desktop.app.wait()
        self.desktop.app = None
        self.open()
        self.wait_for_text("No projects yet")


if __name__ == "__main__":
    unittest.main(verbosity=2)
