"""The settings of the application on a real desktop, and a start at login."""

import re
import shlex
import shutil
import subprocess
import unittest
from pathlib import Path

from desktop_test import DesktopTest
from session import end_with_parent, wait_for


class SettingsTest(DesktopTest):
    """The settings, and what they change."""

    def setUp(self):
        super().setUp()
        self.autostart = Path(self.desktop.environment["HOME"]) / ".config" / "autostart" / "driftwell.desktop"

    def open_settings_from_tray(self):
        self.click_in_tray()
        self.press("push button", "Settings…")
        return self.wait_for_settings()

    def wait_for_settings(self):
        return wait_for("the settings", lambda: self.desktop.windows("Driftwell Settings"))

    def toggle(self):
        return self.find("check box", "Launch Driftwell at login")

    def is_on(self):
        import pyatspi
        widget = self.toggle()
        widget.clear_cache()
        return widget.getState().contains(pyatspi.STATE_CHECKED)

    def test_the_settings_open_from_the_tray_its_menu_and_the_keyboard(self):
        self.start_platform()
        self.open("--tray")
        first = self.open_settings_from_tray()
        self.find("text", "Server")
        _, choose = self.desktop.tray_menu()
        choose("Settings…")
        self.assertEqual(self.wait_for_settings(), first)
        self.desktop.key("ctrl+w")
        wait_for("the end of the settings", lambda: not self.desktop.windows("Driftwell Settings"))
        choose("Open Driftwell")
        self.wait_for_text("No projects yet")
        self.desktop.key("ctrl+comma")
        self.wait_for_settings()

    def test_the_application_is_quit_from_the_settings(self):
        self.start_platform()
        self.open("--tray")
        self.open_settings_from_tray()
        self.find("text", "Server")
        self.desktop.key("ctrl+q")
        self.wait_for_end()

    def test_the_settings_stay_on_the_screen_when_they_grow(self):
        self.start_platform()
        self.open("--tray")
        window = self.open_settings_from_tray()[0]
        bottom = self.desktop.size[1]

        def box():
            return self.desktop.box(self.find("frame", "Driftwell Settings"))
        self.desktop.xdotool("windowmove", "--sync", window, 300, bottom - box().height - 5)
        wait_for("the settings at the bottom", lambda: bottom - 20 < box().y + box().height <= bottom)
        before = box().height
        self.desktop.click(*self.desktop.place(self.find("text", "Server")))
        self.desktop.type("x")
        self.find("push button", "Apply")
        wait_for("all of it on the screen", lambda: box().height > before and box().y + box().height <= bottom)

    def test_another_host_is_connected_to(self):
        self.start_platform()
        self.desktop.dw("host", self.platform.address)
        self.desktop.open_app("--tray")
        self.open_settings_from_tray()
        field = self.find("text", "Server")
        self.desktop.click(*self.desktop.place(field))
        self.desktop.key("ctrl+a")
        self.desktop.type("http://other.localhost:9")
        self.find("push button", "Apply")
        self.desktop.key("Return")
        self.desktop.gone("push button", "Apply")
        self.assertIn("http://other.localhost:9", self.desktop.dw("host"))

    def test_a_start_at_login_is_switched_on_and_starts_without_a_window(self):
        self.start_platform()
        self.open("--tray")
        self.open_settings_from_tray()
        self.assertFalse(self.is_on())
        self.desktop.click(*self.desktop.place(self.toggle()))
        wait_for("the entry on the disk", self.autostart.exists)
        wait_for("the switch", self.is_on)
        command = shlex.split(re.search(r"(?m)^Exec=(.*)$", self.autostart.read_text()).group(1))
        self.assertEqual(command[1:], ["--tray"])
        self.desktop.close_app()

        self.desktop.app = subprocess.Popen(command, env=dict(self.desktop.environment, DW_HOST=self.platform.address),
                                            stdin=subprocess.DEVNULL, preexec_fn=end_with_parent)
        wait_for("the tray item", lambda: len(self.desktop.tray_items()) == 1)
        self.assertEqual(self.desktop.windows("Driftwell"), [])
        self.open_settings_from_tray()
        wait_for("the switch", self.is_on)
        self.desktop.click(*self.desktop.place(self.toggle()))
        wait_for("the end of the entry", lambda: not self.autostart.exists())
        wait_for("the switch", lambda: not self.is_on())

    def test_the_switch_follows_other_programs_and_goes_back_where_nothing_can_be_written(self):
        self.start_platform()
        self.open("--tray")
        self.open_settings_from_tray()
        self.autostart.parent.mkdir(parents=True)
        self.autostart.write_text("[Desktop Entry]\nType=Application\nName=Driftwell\nExec=driftwell --tray\n")
        wait_for("the switch", self.is_on)
        self.autostart.write_text("[Desktop Entry]\nType=Application\nName=D\nExec=driftwell --tray\nHidden=true\n")
        wait_for("the switch", lambda: not self.is_on())
        shutil.rmtree(self.autostart.parent)
        self.autostart.parent.write_text("a file where the folder has to be")
        self.desktop.click(*self.desktop.place(self.toggle()))
        self.desktop.key("Tab")
        wait_for("the switch back", lambda: not self.is_on())


if __name__ == "__main__":
    unittest.main(verbosity=2)
