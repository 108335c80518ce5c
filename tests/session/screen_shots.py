"""Pictures of the application as it opens on one screen. Usage: screen_shots.py PROGRAMS FOLDER WIDTHxHEIGHT SCALE [DPI]

SCALE is that of the whole application, DPI the resolution that the screen is said to have (96 is the usual one), which
scales the application too.
"""

import re
import sys
from pathlib import Path

from session import Sandbox, Session, wait_for
from shots import LONG_NAME, Shots, fill, remember_folders, sample_folder


class ScreenShots(Shots):
    """The window stays as it opened, and the pictures show the whole screen."""

    def __init__(self, desktop, folder, theme, scale, dpi):
        super().__init__(desktop, folder, theme, scale)
        self.dpi = dpi

    def open(self, sandbox, *arguments, **options):
        if self.dpi:
            options["QT_FONT_DPI"] = self.dpi
        super().open(sandbox, *arguments, **options)

    def sizes(self):
        return [None]

    def resize(self, size):
        """The window keeps its size."""

    def keep(self, name, size=None):
        width, height = self.desktop.size
        letters = f"-{self.dpi}dpi" if self.dpi else ""
        file = self.folder / f"{name}-{self.theme}-{width}x{height}@{self.scale:g}x{letters}.png"
        self.desktop.picture(file)
        print(file.name, flush=True)


def take_all(shots, sandbox):
    desktop = shots.desktop
    work = sample_folder(desktop, f"{shots.theme}/handbook")
    shots.open(sandbox, prepare=lambda home: remember_folders(home, {"handbook": work}))
    desktop.find("list item", "annual-report")
    shots.take("sites")
    desktop.click(*desktop.place(desktop.find("list item", "annual-report")), button=3)
    desktop.find("menu item", "Copy Link")
    shots.take("menu")
    desktop.key("Escape")
    desktop.key("F1")
    desktop.find("dialog", "Keyboard Shortcuts")
    shots.take("keys")
    desktop.key("Escape")
    desktop.gone("dialog")
    desktop.move(*desktop.place(desktop.find("list item", "annual-report")))
    desktop.press("push button", "Share annual-report")
    desktop.find("dialog", "Share “annual-report”")
    shots.take("share")
    desktop.key("Escape")
    desktop.gone("dialog")
    shots.choose("annual-report", "Version History")
    desktop.find("heading", re.compile("^Version history"))
    shots.take("history")
    desktop.key("Escape")
    desktop.gone("dialog")
    desktop.key("ctrl+comma")
    wait_for("the settings", lambda: desktop.windows("Driftwell Settings"))
    shots.take("settings")
    shots.close()

    shots.open(sandbox, sample_folder(desktop, "Spring Lookbook"))
    desktop.find("label", "New site — this name is free")
    desktop.key("ctrl+a")
    desktop.type(LONG_NAME)
    shots.take("deploy")
    shots.close()

    shots.open(sandbox, first_run=True)
    desktop.find("heading", "Welcome to Driftwell")
    shots.take("introduction")
    shots.close()


def main():
    programs, folder, screen, scale, *dpi = sys.argv[1:]
    folder = Path(folder).resolve()
    folder.mkdir(parents=True, exist_ok=True)
    width, height = map(int, screen.split("x"))
    pixels = float(scale) * int(dpi[0] if dpi else 96) / 96
    with Session(Path(programs).resolve(), size=(width, height), scale=pixels) as desktop:
        for theme in ("light", "dark"):
            sandbox = Sandbox(desktop, data=f"platform-{theme}")
            fill(desktop, sandbox)
            take_all(ScreenShots(desktop, folder, theme, float(scale), dpi[0] if dpi else ""), sandbox)
            sandbox.stop()


if __name__ == "__main__":
    main()
