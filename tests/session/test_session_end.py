"""The desktop's session ends: the session manager of X11 says so, or the application is ended by a signal, as systemd
does on any desktop. Nobody is asked, nothing is left behind, and what cannot be known is said."""

import subprocess
import unittest
from pathlib import Path

from desktop_test import DesktopTest
from session import end_with_parent, wait_for


class SessionEndTest(DesktopTest):
    has_panel = False

    def setUp(self):
        super().setUp()
        self.desktop.start_notifications()
        self.addCleanup(self.desktop.stop_notifications)
        self.start_manager()
        self.addCleanup(lambda: self.desktop.environment.pop("SESSION_MANAGER"))

    def start_manager(self):
        self.told = self.folder / "session_manager.log"
        with open(self.told, "wb") as output:
            self.manager = subprocess.Popen(
                ["/usr/bin/python3", "-B", str(Path(__file__).with_name("session_manager.py"))], stdout=output,
                stderr=output, stdin=subprocess.PIPE, env=self.desktop.environment, preexec_fn=end_with_parent)
        self.extra.append(self.manager)
        self.desktop.environment["SESSION_MANAGER"] = wait_for("the session manager",
                                                               lambda: self.told.read_text().partition("\n")[0])

    def clean_up(self):
        # An application whose session manager goes before it is ended by the library that it speaks with.
        super().clean_up()
        self.manager.stdin.close()

    def say(self, command):
        self.manager.stdin.write(command.encode() + b"\n")
        self.manager.stdin.flush()

    def heard(self):
        return self.told.read_text().splitlines()[1:]

    def save(self):
        """The session is about to end."""
        before = self.heard().count("saved")
        self.say("save")
        wait_for("what is kept of the session", lambda: self.heard().count("saved") > before)

    def open_in_session(self, *arguments):
        self.open(*arguments)
        # It is asked for its state as soon as it is known.
        wait_for("the application in the session", lambda: "saved" in self.heard())

    def restart_command(self):
        return [line for line in self.heard() if line.startswith("restart\t")][-1].split("\t")[1:]

    def temporary_files(self):
        return list(Path(self.desktop.environment["TMPDIR"]).iterdir())

    def deploy(self, name):
        self.open_in_session(self.site(name))
        self.find("text", "Site name")
        self.wait_for_text("New site — this name is free")
        self.desktop.key("Return")
        self.find("progress bar", "Deployment")

    def notification(self, title):
        return wait_for(f"the notification {title!r}",
                        lambda: [shown for shown in self.desktop.notifications() if shown["title"] == title])[-1]

    def test_the_end_of_the_session_ends_an_upload_and_asks_nobody(self):
        self.start_platform("--delay", "60000", "--fail-path", "/api/deploy")
        self.deploy("portfolio")
        self.save()
        self.assertEqual(self.desktop.widgets("dialog", "Quit Driftwell?"), [])
        self.assertNotIn("wants to ask", self.heard())
        self.assertTrue(self.desktop.widgets("progress bar", "Deployment"))
        self.assertTrue(self.temporary_files())
        self.say("die")
        self.wait_for_end()
        self.assertEqual(self.temporary_files(), [])

    def test_a_session_that_goes_on_after_all_keeps_the_upload(self):
        self.start_platform("--delay", "3000", "--fail-path", "/api/deploy")
        self.deploy("portfolio")
        self.save()
        self.say("stay")
        self.wait_for_text("portfolio is live")

    def test_what_was_sent_whole_when_the_session_ended_is_told(self):
        self.start_platform("--delay", "10000", "--fail-path", "/api/deploy")
        self.deploy("portfolio")
        self.wait_for_text("Everything is sent. If you cancel now, it may go live all the same.")
        self.save()
        self.say("die")
        self.wait_for_end()
        self.assertTrue(self.notification("portfolio may go live all the same")["open"])

    def test_the_next_session_starts_it_as_it_was(self):
        self.start_platform()
        self.open_in_session()
        self.wait_for_text("No projects yet")
        self.save()
        program = str(self.desktop.programs / "driftwell")
        self.assertEqual([Path(word).resolve() for word in self.restart_command()], [Path(program).resolve()])
        self.press("push button", "Close")
        wait_for("the end of the window", lambda: not self.desktop.windows("Driftwell"))
        self.save()
        self.assertEqual(self.restart_command()[1:], ["--tray"])
        self.say("die")
        self.wait_for_end()

        self.desktop.app = subprocess.Popen(self.restart_command(), stdin=subprocess.DEVNULL,
                                            env=dict(self.desktop.environment, DW_HOST=self.platform.address),
                                            preexec_fn=end_with_parent)
        wait_for("the application", lambda: self.desktop.application() is not None)
        self.assertEqual(self.desktop.windows("Driftwell"), [])
        self.assertIsNone(self.desktop.app.poll())

    def test_a_signal_ends_it_like_the_session_manager(self):
        self.start_platform("--delay", "10000", "--fail-path", "/api/deploy")
        self.deploy("portfolio")
        self.wait_for_text("Everything is sent. If you cancel now, it may go live all the same.")
        self.desktop.app.terminate()
        self.wait_for_end()
        self.assertEqual(self.temporary_files(), [])
        self.assertTrue(self.notification("portfolio may go live all the same")["open"])


if __name__ == "__main__":
    unittest.main(verbosity=2)
