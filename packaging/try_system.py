"""The installed application with the system's own services: polkit before the administrator's steps, and PackageKit behind
its updates. packaging/try-inside runs this as an ordinary person: try_system.py FEED, where FEED is a folder for apt with
an older version, and a file `next` in it is waited for by whoever puts the newer one there.
"""

import json
import os
import subprocess
import sys
from pathlib import Path

from session import Session, skip_introduction, wait_for

LINK = Path("/usr/local/bin/dw")
PACKAGED = Path("/usr/bin/dw")


def say(text):
    print("try:", text, file=sys.stderr, flush=True)


def demand(holds, complaint):
    if not holds:
        raise AssertionError(complaint)


class Application:
    """With its settings open, and somebody who answers polkit for it."""

    def __init__(self, session, name):
        self.session = session
        self.folder = session.folder / name
        self.folder.mkdir()
        session.open_app()
        self.agent = session.spawn("/usr/bin/python3", "-B", Path(__file__).with_name("polkit_agent.py"),
                                   session.app.pid, self.folder, log=f"{name}.log")
        wait_for("the agent of polkit", lambda: (self.folder / "registered").exists())
        session.find("frame", "Driftwell")
        window = wait_for("the window", lambda: session.windows("Driftwell"))[0]
        session.xdotool("windowactivate", "--sync", window)
        session.key("ctrl+comma")
        wait_for("the settings", lambda: session.windows("Driftwell Settings"))

    def close(self):
        self.session.end(self.agent)
        self.session.close_app()

    def answer_with(self, password):
        file = self.folder / "password"
        if password is None:
            file.unlink(missing_ok=True)
        else:
            file.write_text(password)

    def prompts(self):
        file = self.folder / "prompts"
        return [json.loads(line) for line in file.read_text().splitlines()] if file.exists() else []

    def next_prompt(self, number):
        return wait_for("a question for the password", lambda: self.prompts()[number:])[0]

    def shows(self, text):
        return self.session.widgets("label", text)


def try_command(session):
    """The row of the dw command: what a package installed, then the link of an application whose command is not on the
    path; root moves the packaged one away for that, and back."""
    application = Application(session, "command")
    wait_for("the packaged command", lambda: application.shows("Installed by a package"))
    demand(application.shows(str(PACKAGED)), f"the settings do not show {PACKAGED}:\n{session.dump()}")
    demand(not session.widgets("push button", "Remove…"), "a removal is offered that would do nothing")
    say(f"the settings show {PACKAGED}, installed by a package, and offer no removal")
    application.close()

    as_root("away")
    application = Application(session, "link")
    session.find("push button", "Install…")
    session.press("push button", "Install…")
    prompt = application.next_prompt(0)
    demand(prompt["message"] == "Driftwell wants to install the dw command in /usr/local/bin.", prompt)
    wait_for("the word of the cancel", lambda: application.shows("Password prompt cancelled."))
    demand(not LINK.is_symlink(), "the link is there without a password")
    say(f"put away: {prompt['message']!r} ({prompt['action']})")

    application.answer_with(ROOT_PASSWORD)
    session.press("push button", "Install…")
    prompt = application.next_prompt(1)
    session.find("push button", "Remove…")
    demand(os.readlink(LINK).endswith("/Contents/Helpers/dw"), os.readlink(LINK))
    say(f"agreed to: {prompt['message']!r} made {LINK} -> {os.readlink(LINK)}")

    application.answer_with(None)
    session.press("push button", "Remove…")
    prompt = application.next_prompt(2)
    demand(prompt["message"] == "Driftwell wants to remove the dw command from /usr/local/bin.", prompt)
    wait_for("the word of the cancel", lambda: application.shows("Password prompt cancelled."))
    demand(LINK.is_symlink(), "the link is gone without a password")
    say(f"put away: {prompt['message']!r} ({prompt['action']})")

    application.answer_with(ROOT_PASSWORD)
    session.press("push button", "Remove…")
    session.find("push button", "Install…")
    demand(not LINK.is_symlink(), "the link is still there")
    say(f"agreed to: {application.prompts()[3]['message']!r} removed {LINK}")
    application.close()
    as_root("back")


def try_update(session):
    """From the version that is installed to the one that the feed has now."""
    before = installed_version()
    as_root("next")
    session.start_notifications()
    application = Application(session, "update")
    session.press("push button", "Check for Updates…")
    told = wait_for("the word of the check", session.notifications, 300)[0]
    say(f"the check of {before} ended with {told['title']!r}, {told['text']!r}, {list(told['actions'].values())}")
    demand("is ready to install" in told["title"], told)
    demand(installed_version() == before, "something was installed without a password")
    demand(not application.prompts(), application.prompts())

    application.answer_with(ROOT_PASSWORD)
    session.choose_in_notification(told["id"], "Install…")
    told = wait_for("the word of the installation", lambda: session.notifications()[1:], 300)[0]
    say(f"the installation ended with {told['title']!r}, after {[prompt['message'] for prompt in application.prompts()]}")
    demand("is installed" in told["title"], told)
    after = installed_version()
    demand(after != before, f"still {after}")
    application.close()

    application = Application(session, "after")
    wait_for("the new version in the settings", lambda: application.shows(f"Driftwell {after} ({after})"))
    say(f"{after} runs after the next start")
    session.press("push button", "Check for Updates…")
    told = wait_for("the word of the check", lambda: session.notifications()[2:], 300)[0]
    demand(told["title"] == "Driftwell is up to date", told)
    say(f"a check of it ends with {told['title']!r}")
    application.close()


def installed_version():
    return subprocess.run(["dpkg-query", "--show", "--showformat=${Version}", "driftwell"], check=True,
                          capture_output=True, text=True).stdout


def as_root(what):
    """Asks try-inside, which is root, and waits until it was done."""
    (WISHES / what).touch()
    wait_for(f"root to do {what!r}", lambda: not (WISHES / what).exists())


WISHES = Path(sys.argv[1])
ROOT_PASSWORD = sys.argv[2]

with Session("/usr/bin", panel=False) as desktop:
    skip_introduction(desktop.environment["HOME"])
    try:
        try_command(desktop)
        try_update(desktop)
    except BaseException:
        print(desktop.dump(), desktop.app_log(), desktop.notifications() if desktop.notifier else "", sep="\n")
        for log in desktop.folder.glob("*.log"):
            print(log.name, log.read_text(errors="replace")[-2000:])
        raise
