"""What the application manages on the person's machine, by the strips of its window: a platform of its own, and the link
of the command-line tool."""

import os
import re
import signal
import unittest

from checkout import Checkout, LinkedSystem
from desktop_test import DesktopTest, PROGRAMS
from session import DEADLINE, wait_for


class ToolingTest(DesktopTest):
    """The strips of the window, and what they do."""

    def checkout(self):
        return Checkout(self.folder / "checkout", PROGRAMS, self.desktop.environment["HOME"])

    def open_on(self, host, *arguments):
        self.desktop.open_app(*arguments, host=host)
        self.place_window()

    def wait_for_strip(self, title, text):
        """The strip with this title has this second line, which may be a pattern."""
        def found():
            strips = self.desktop.widgets("alert", title)
            for strip in strips:
                strip.clear_cache()
            return [s for s in strips if re.search(text, s.description)]
        return wait_for(f"{title!r} with {text!r}", found)[0]

    def test_a_local_platform_is_built_started_published_to_and_ended(self):
        checkout = self.checkout()
        checkout.configure()
        self.open_on(None)
        self.wait_for_strip("Starting local platform", "^building platform packages…$")
        self.assertEqual(self.desktop.widgets("push button", "Start local platform"), [])
        checkout.may_fail_to_build()
        self.wait_for_strip("Local platform failed", "error TS2304: Cannot find name 'window'.$")

        self.press("push button", "Start local platform")
        self.wait_for_strip("Starting local platform", "^building platform packages…$")
        checkout.may_build()
        self.wait_for_strip("Starting local platform", f"^waiting for driftwell.localhost:{checkout.port}$")
        checkout.may_start()
        self.wait_for_text("No projects yet")
        self.desktop.gone("alert", "Starting local platform")

        launched = self.desktop.launch(self.site("portfolio"))
        self.assertEqual(launched.wait(DEADLINE), 0)
        self.wait_for_text("Deploy portfolio")
        self.desktop.key("Return")
        self.wait_for_text("portfolio is live")
        self.desktop.key("Escape")
        self.wait_for_rows("portfolio")

        self.assertTrue(checkout.server_runs())
        self.desktop.key("ctrl+q")
        self.wait_for_end()
        checkout.wait_for_end()

    def test_a_platform_out_of_reach_is_run_from_a_folder_that_is_chosen(self):
        checkout = self.checkout()
        checkout.may_build()
        checkout.may_start()
        checkout.write_config(host=checkout.address)
        self.open_on(None)
        self.find("alert", f"Can’t reach driftwell.localhost:{checkout.port}")
        self.press("push button", "Run locally…")
        self.choose_folder(checkout.folder)
        self.wait_for_text("No projects yet")
        self.assertEqual(checkout.read_config()["localRepo"], str(checkout.folder))

    def choose_folder(self, folder):
        wait_for("the folder chooser", lambda: self.desktop.widgets("dialog") or self.desktop.widgets("file chooser"))
        wait_for("the chooser's field", lambda: [w for w in self.desktop.focused() if w.getRoleName() == "text"])
        self.desktop.key("ctrl+a")
        self.desktop.type(str(folder))
        self.desktop.key("Return")

    def test_a_server_that_ends_is_told_and_started_again(self):
        checkout = self.checkout()
        checkout.configure()
        checkout.may_build()
        checkout.may_start()
        self.open_on(None)
        self.wait_for_text("No projects yet")
        first = checkout.process.read_text()
        os.kill(int(first), signal.SIGTERM)
        self.find("alert", "Local platform failed")
        self.press("push button", "Start local platform")
        self.desktop.gone("alert", "Local platform failed")
        self.wait_for_text("No projects yet")
        wait_for("another server", lambda: checkout.process.read_text() != first)

    def test_the_command_of_an_old_copy_is_linked_to_this_one(self):
        self.start_platform()
        system = LinkedSystem(self.folder / "system")
        if not system.works():
            self.skipTest("nothing can be mounted here")
        self.desktop.prefix = system.command()
        self.addCleanup(setattr, self.desktop, "prefix", [])
        title = "The dw command points at an old copy of Driftwell"
        self.open()
        self.find("alert", title)
        self.press("push button", "Relink…")
        self.desktop.gone("push button", "Relink…")
        system.answer("refused")
        self.wait_for_strip(title, "^Password prompt cancelled.$")
        self.assertEqual(system.target(), str(system.other))

        self.press("push button", "Relink…")
        self.desktop.gone("push button", "Relink…")
        system.answer("granted")
        self.desktop.gone("alert", title)
        self.assertRegex(system.target(), "/Contents/Helpers/dw$")
        self.assertNotEqual(system.target(), str(system.other))


if __name__ == "__main__":
    unittest.main(verbosity=2)
