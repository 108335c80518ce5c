"""Pictures of every screen and state, from the real application on sample data. Usage: shots.py PROGRAMS FOLDER"""

import json
import os
import re
import sqlite3
import subprocess
import sys
import time
import urllib.parse
import urllib.request
from datetime import datetime, timedelta, timezone
from pathlib import Path

from checkout import Checkout, LinkedSystem, can_mount, with_mounts
from session import Sandbox, Session, skip_introduction, wait_for

LARGE = (1000, 760)
SMALL = (780, 520)
LONG_NAME = "international-conference-on-sustainable-architecture-2026-draft"
LONG_HOST = "http://websites.department-of-architecture.international-university.localhost:1"

# name, hours since it was deployed, by whom, last action, access mode, invited people
SITES = [
    ("summer-campaign", 0.05, "maya.lindqvist@driftwell.example", "deploy", "team", []),
    ("annual-report", 2.2, "tomas.reyes@driftwell.example", "deploy", "public", []),
    ("design-system", 5, "ines.okafor@driftwell.example", "rollback", "team", []),
    ("board-minutes", 26, "maya.lindqvist@driftwell.example", "deploy", "restricted", []),
    ("investor-update", 50, "ines.okafor@driftwell.example", "deploy", "restricted",
     ["tomas@driftwell.example", "ada@studio.example", "kim@bank.example", "lee@bank.example", "ola@bank.example"]),
    (LONG_NAME, 75, "tomas.reyes@driftwell.example", "deploy", "team", []),
    ("handbook", 200, "tomas.reyes@driftwell.example", "deploy", "team", []),
    ("status-page", 900, "maya.lindqvist@driftwell.example", "deploy", "public", []),
    ("portfolio-2019", 9000, "ines.okafor@driftwell.example", "deploy", "restricted", ["ada@studio.example"]),
]


class Shots:
    def __init__(self, desktop, folder, theme, scale):
        self.desktop = desktop
        self.folder = folder
        self.theme = theme
        self.scale = scale
        self.count = 0

    def open(self, sandbox, *arguments, host=None, first_run=False, prepare=None, **environment):
        self.desktop.environment["HOME"] = str(self.desktop.folder / f"home-{self.theme}-{self.count}")
        self.count += 1
        os.makedirs(self.desktop.environment["HOME"])
        if not first_run:
            skip_introduction(self.desktop.environment["HOME"])
        if prepare:
            prepare(self.desktop.environment["HOME"])
        self.desktop.open_app(*arguments, host=host or (sandbox.address if sandbox else None),
                              DRIFTWELL_COLOR_SCHEME=self.theme, QT_SCALE_FACTOR=str(self.scale), **environment)
        if "--tray" in arguments:
            return
        self.desktop.find("frame", "Driftwell")
        self.window = wait_for("the window", lambda: self.desktop.windows("Driftwell"))[0]

    def take(self, name, at=None):
        """A picture at both sizes; `at` puts the pointer on a widget first, away from everything else otherwise."""
        for size in self.sizes():
            self.resize(size)
            if at:
                self.desktop.move(*self.desktop.place(self.desktop.find(*at)))
            else:
                self.desktop.move(self.desktop.size[0] - 5, self.desktop.size[1] // 2)
            self.settle()
            self.keep(name, size)

    def sizes(self):
        return (LARGE, SMALL) if self.scale == 1 else (LARGE,)

    def resize(self, size):
        width, height = (side * self.scale for side in size)
        self.desktop.xdotool("windowsize", self.window, width, height)
        wait_for("the size", lambda: f"{width}x{height}" in self.desktop.xdotool("getwindowgeometry", self.window))

    def take_beside(self, name, site, ready):
        """The same of what stands beside a row: it is opened anew at each size."""
        for size in self.sizes():
            self.resize(size)
            self.choose(site, "Logs")
            self.desktop.find(*ready)
            self.desktop.move(self.desktop.size[0] - 5, self.desktop.size[1] // 2)
            self.settle()
            self.keep(name, size)
            self.desktop.key("Escape")
            self.desktop.gone("dialog")

    def choose(self, site, entry):
        """An entry of the menu of a site."""
        self.desktop.click(*self.desktop.place(self.desktop.find("list item", site)), button=3)
        self.desktop.press("menu item", entry)

    def keep(self, name, size=None):
        parts = [name, self.theme] + ([f"{size[0]}x{size[1]}"] if size else [])
        file = self.folder / ("-".join(parts) + ("" if self.scale == 1 else f"@{self.scale}x") + ".png")
        self.desktop.picture(file, self.window)
        print(file.name, flush=True)

    def settle(self):
        """Until two pictures in a row are the same, or for a second where something always moves."""
        before = None
        for _ in range(10):
            picture = self.desktop.x("import", "-window", self.window, "-format", "%#", "info:")
            if picture == before:
                return
            before = picture
            time.sleep(0.1)

    def close(self):
        self.desktop.close_app()

    def heading(self, text):
        self.desktop.find("heading", text)


def fill(desktop, sandbox):
    folder = desktop.folder / "published"
    folder.mkdir(exist_ok=True)
    (folder / "index.html").write_text("<h1>Hello</h1>")
    for name, *_ in reversed(SITES):
        desktop.dw("deploy", folder, "--name", name, host=sandbox.address)
    sandbox.stop()
    database = sqlite3.connect(next(sandbox.data.glob("*.sqlite3")))
    for name, hours, person, action, mode, emails in SITES:
        deployed = datetime.now(timezone.utc) - timedelta(hours=hours)
        database.execute(
            "UPDATE sites SET deployed_at=?, deployed_by=?, last_action=?, access_mode=?, access_emails=? WHERE name=?",
            (deployed.strftime("%Y-%m-%dT%H:%M:%S.000Z"), person, action, mode,
             "[" + ",".join(f'"{email}"' for email in emails) + "]", name))
    database.commit()
    database.close()
    sandbox.start()


def sample_folder(desktop, name, megabytes=0):
    folder = desktop.folder / "home-of-samples" / name
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "index.html").write_text("<h1>Hello</h1>")
    (folder / "style.css").write_text("body{}" * 300)
    for number in range(megabytes):
        (folder / f"{number}.bin").write_bytes(os.urandom(1 << 20))
    return folder


def sign_in(desktop, person):
    page = wait_for("the sign-in page", lambda: [a for a in desktop.opened() if "/auth/login?" in a])[-1]
    browser = urllib.request.build_opener(urllib.request.ProxyHandler({}), urllib.request.HTTPCookieProcessor())
    nonce = re.search(r'name="nonce" value="([^"]+)"', browser.open(page).read().decode()).group(1)
    answer = urllib.parse.urlencode({"nonce": nonce, "person": person}).encode()
    browser.open(urllib.parse.urljoin(page, "/auth/login"), answer)


def take_connection(shots):
    desktop = shots.desktop
    shots.open(None)
    desktop.find("label", "Where does your team deploy?")
    shots.take("no-host")
    desktop.press("text", "Platform host")
    desktop.type("ftp://files.test")
    desktop.key("Return")
    desktop.find("label", re.compile("^“ftp://files.test” is not the host of a platform"))
    shots.take("no-host-refused")
    shots.close()

    shots.open(None, host=LONG_HOST)
    desktop.find("alert", re.compile("^Can’t reach"))
    shots.take("never-reached")
    shots.close()

    empty = Sandbox(desktop, data=f"empty-{shots.theme}")
    shots.open(empty)
    desktop.find("label", "No projects yet")
    shots.take("empty")
    shots.close()
    empty.stop()

    closed = Sandbox(desktop, "--require-sign-in", data=f"closed-{shots.theme}")
    shots.open(closed, host=f"http://127.0.0.1:{closed.port}")
    desktop.find("push button", "Sign in…")
    shots.take("signed-out")
    (desktop.folder / "opened").unlink(missing_ok=True)
    desktop.press("push button", "Sign in…")
    desktop.find("label", "Waiting for browser…")
    shots.take("signing-in")
    sign_in(desktop, "person-sam")
    desktop.find("label", "This account can’t manage sites")
    shots.take("not-on-the-team")
    shots.close()
    closed.stop()


def take_introduction(shots):
    desktop = shots.desktop
    (desktop.folder / "opened").unlink(missing_ok=True)
    closed = Sandbox(desktop, "--require-sign-in", data=f"first-{shots.theme}")
    shots.open(None, host=f"http://127.0.0.1:{closed.port}", first_run=True)
    shots.heading("Welcome to Driftwell")
    shots.take("introduction-welcome")
    desktop.key("Return")
    shots.heading("Set up your computer")
    desktop.find("label", "Installed")
    shots.take("introduction-setup")
    desktop.key("Return")
    shots.heading("Sign in to your team")
    desktop.find("label", "Not signed in yet")
    shots.take("introduction-signed-out")
    desktop.press("push button", "Change")
    desktop.find("push button", "Save")
    shots.take("introduction-host")
    desktop.key("ctrl+a")
    desktop.type(LONG_HOST)
    desktop.key("Return")
    desktop.find("label", re.compile("^Can’t reach"))
    shots.take("introduction-unreachable")
    desktop.press("push button", "Change")
    desktop.key("ctrl+a")
    desktop.type(f"http://127.0.0.1:{closed.port}")
    desktop.key("Return")
    desktop.find("label", "Not signed in yet")
    desktop.press("push button", "Sign in…")
    desktop.find("label", "Waiting for your browser…")
    shots.take("introduction-signing-in")
    sign_in(desktop, "person-sam")
    desktop.find("push button", "Sign in with another account…")
    shots.take("introduction-not-on-the-team")
    shots.close()
    closed.stop()


def take_settings(shots, sandbox):
    desktop = shots.desktop

    def open_settings():
        desktop.key("ctrl+comma")
        shots.window = wait_for("the settings", lambda: desktop.windows("Driftwell Settings"))[0]
        desktop.move(desktop.size[0] - 5, desktop.size[1] // 2)
        shots.settle()

    shots.open(sandbox)
    desktop.find("list item", "handbook")
    open_settings()
    shots.keep("settings")
    desktop.press("text", "Server")
    desktop.key("ctrl+a")
    desktop.type(LONG_HOST)
    desktop.find("push button", "Apply")
    desktop.move(desktop.size[0] - 5, desktop.size[1] // 2)
    shots.settle()
    shots.keep("settings-other-host")
    shots.close()

    (desktop.folder / "opened").unlink(missing_ok=True)
    closed = Sandbox(desktop, "--require-sign-in", data=f"settings-{shots.theme}")
    shots.open(closed, host=f"http://127.0.0.1:{closed.port}")
    desktop.find("push button", "Sign in…")
    open_settings()
    shots.keep("settings-signed-out")
    desktop.press("push button", "Sign In…")
    desktop.find("push button", "Cancel")
    shots.keep("settings-signing-in")
    shots.close()
    closed.stop()


def take_list(shots, sandbox):
    desktop = shots.desktop
    shots.open(sandbox)
    desktop.find("list item", "handbook")
    shots.take("sites")
    shots.take("sites-hover", at=("list item", "annual-report"))
    desktop.click(*desktop.place(desktop.find("list item", "annual-report")), button=3)
    desktop.find("menu item", "Copy Link")
    shots.take("sites-menu", at=("menu item", "Copy Link"))
    desktop.key("Escape")
    desktop.key("ctrl+f")
    desktop.type("nothing like it")
    desktop.find("label", "No projects match “nothing like it”")
    shots.take("sites-no-match")
    desktop.key("ctrl+a")
    desktop.type("re")
    shots.take("sites-filtered")
    desktop.key("Escape")
    desktop.find("list item", "handbook")
    sandbox.stop()
    desktop.find("alert", re.compile("^Can’t reach"))
    shots.take("offline")
    shots.close()
    sandbox.start()


def take_local_platform(shots):
    """The strip over the list while a platform is built, started and out of reach."""
    desktop = shots.desktop
    checkouts = []

    def make_checkout(home):
        checkouts.append(Checkout(desktop.folder / f"checkout-{shots.theme}-{shots.count}", desktop.programs, home))
        checkouts[-1].configure()

    shots.open(None, prepare=make_checkout)
    checkout = checkouts[-1]
    desktop.find("alert", "Starting local platform")
    shots.take("local-platform-building")
    checkout.may_fail_to_build()
    desktop.find("alert", "Local platform failed")
    shots.take("local-platform-failed")
    desktop.press("push button", "Start local platform")
    checkout.may_build()
    wait_for("the server", checkout.process.exists)
    shots.take("local-platform-starting")
    shots.close()


def take_relink(shots, sandbox):
    desktop = shots.desktop
    system = LinkedSystem(desktop.folder / f"system-{shots.theme}")
    if not system.works():
        print("no pictures of the strip of an old link: nothing can be mounted here")
        return
    desktop.prefix = system.command()
    shots.open(sandbox)
    desktop.find("push button", "Relink…")
    shots.take("relink")
    desktop.press("push button", "Relink…")
    desktop.gone("push button", "Relink…")
    shots.take("relink-asking")
    system.answer("refused")
    desktop.find("push button", "Relink…")
    shots.take("relink-refused")
    shots.close()
    desktop.prefix = []


def take_site_sheets(shots, sandbox):
    desktop = shots.desktop
    folder = desktop.folder / "published"
    for _ in range(4):
        desktop.dw("deploy", folder, "--name", "annual-report", host=sandbox.address)
    desktop.dw("rollback", "annual-report", host=sandbox.address)
    shots.open(sandbox)
    desktop.find("list item", "handbook")

    def take_sheet(name, site, entry, ready, typed=""):
        shots.choose(site, entry)
        desktop.find(*ready)
        desktop.type(typed)
        shots.take(name)
        desktop.key("Escape")
        desktop.gone("dialog")

    take_sheet("history", "annual-report", "Version History", ("push button", "Roll back"))
    take_sheet("rollback", "annual-report", "Roll Back…", ("heading", "Roll back annual-report"))
    take_sheet("delete", "annual-report", "Delete Project…", ("heading", "Delete annual-report"))
    take_sheet("delete-typed", "annual-report", "Delete Project…", ("heading", "Delete annual-report"), "annual-report")
    take_sheet("delete-long", LONG_NAME, "Delete Project…", ("heading", f"Delete {LONG_NAME}"))
    shots.take_beside("logs", "annual-report", ("list item", re.compile("rolled back")))
    shots.take_beside("logs-below", "board-minutes", ("list", "Recent activity"))
    shots.close()

    sandbox.restart("--fail", "500", "--fail-path", "/api/logs/annual-report")
    shots.open(sandbox)
    desktop.find("list item", "handbook")
    shots.take_beside("logs-failed", "annual-report", ("heading", "Couldn’t load logs"))
    take_sheet("history-loading", "annual-report", "Version History", ("heading", "Version history — annual-report"))
    shots.close()

    sandbox.restart("--fail", "507", "--fail-path", "/api/rollback")
    shots.open(sandbox)
    desktop.find("list item", "handbook")
    shots.choose("annual-report", "Roll Back…")
    desktop.find("heading", "Roll back annual-report")
    desktop.key("Return")
    desktop.find("alert", "Rollback failed")
    shots.take("rollback-failed")
    shots.close()
    sandbox.restart()


def git(desktop, folder, *arguments):
    """As a teammate at another machine runs it."""
    environment = {"HOME": str(desktop.folder), "PATH": "/usr/bin:/bin", "no_proxy": "*"}
    for role in ("AUTHOR", "COMMITTER"):
        environment[f"GIT_{role}_NAME"] = "Ines Okafor"
        environment[f"GIT_{role}_EMAIL"] = "ines.okafor@driftwell.example"
    subprocess.run(["/usr/bin/git", *map(str, arguments)], cwd=folder, env=environment, check=True, capture_output=True)


def allow_collaboration(sandbox, *sites):
    browser = urllib.request.build_opener(urllib.request.ProxyHandler({}))
    for site in sites:
        request = urllib.request.Request(f"http://127.0.0.1:{sandbox.port}/api/collab/{site}/enable", b"{}",
                                         {"Content-Type": "application/json",
                                          "Host": urllib.parse.urlsplit(sandbox.address).netloc})
        browser.open(request).read()


def linked_folder(desktop, name, site, sandbox, files):
    """A folder of this person's that is tied to a site; it has one commit."""
    folder = desktop.folder / "linked" / name
    for file in files:
        (folder / file).parent.mkdir(parents=True, exist_ok=True)
        (folder / file).write_text("first\n")
    git(desktop, folder, "init", "--quiet", "--initial-branch", "main")
    git(desktop, folder, "remote", "add", "driftwell", f"{sandbox.address}/git/{site}")
    git(desktop, folder, "add", "--all")
    git(desktop, folder, "commit", "--quiet", "--message", "first")
    return folder


def conflicted_folder(desktop, name, site, sandbox, files):
    folder = linked_folder(desktop, name, site, sandbox, files)

    def commit(text):
        for file in files:
            (folder / file).write_text(text)
        git(desktop, folder, "commit", "--quiet", "--all", "--message", text)
    git(desktop, folder, "checkout", "--quiet", "--detach")
    commit("theirs\n")
    git(desktop, folder, "branch", "theirs")
    git(desktop, folder, "checkout", "--quiet", "main")
    commit("mine\n")
    try:
        git(desktop, folder, "merge", "--quiet", "theirs")
    except subprocess.CalledProcessError:
        pass
    git(desktop, folder, "branch", "--quiet", "-D", "theirs")
    return folder


def remember_folders(home, folders):
    file = Path(home) / ".config" / "dw" / "config.json"
    file.parent.mkdir(parents=True, exist_ok=True)
    file.write_text(json.dumps({"folders": {site: str(folder) for site, folder in folders.items()}}))


def take_sharing(shots, sandbox):
    desktop = shots.desktop
    work = sample_folder(desktop, f"{shots.theme}/handbook")
    allow_collaboration(sandbox, "handbook")
    shots.open(sandbox, prepare=lambda home: remember_folders(home, {"handbook": work}))

    def open_share(site):
        # In which every row is in sight.
        shots.resize(LARGE)
        desktop.move(*desktop.place(desktop.find("list item", site)))
        desktop.press("push button", f"Share {site}")
        desktop.find("dialog", f"Share “{site}”")

    def close():
        desktop.key("Escape")
        desktop.gone("dialog")

    desktop.find("list item", "handbook")
    open_share("investor-update")
    shots.take("share")
    desktop.type("kim@studio.example")
    desktop.find("push button", "Add kim@studio.example")
    shots.take("share-inviting")
    desktop.key("ctrl+a", "BackSpace")
    desktop.press("push button", "General access, Invited people only")
    desktop.find("menu item", "Team")
    shots.take("share-modes", at=("menu item", "Team"))
    desktop.key("Escape")
    close()
    open_share("handbook")
    desktop.find("push button", re.compile("^Link "))
    shots.take("share-link-folder")
    close()
    open_share(LONG_NAME)
    shots.take("share-nobody")
    shots.close()

    sandbox.restart("--fail", "507", "--fail-path", "/api/sites/design-system/access")
    shots.open(sandbox)
    desktop.find("list item", "handbook")
    open_share("design-system")
    desktop.press("check box", "Client comments")
    desktop.find("alert")
    shots.take("share-failed")
    shots.close()
    sandbox.restart()

    people = [f"person-{number}@a-rather-long-domain-of-a-company.example" for number in range(100, 160)]
    sandbox.stop()
    database = sqlite3.connect(next(sandbox.data.glob("*.sqlite3")))
    database.execute("UPDATE sites SET access_emails=? WHERE name=?", (json.dumps(people), "investor-update"))
    database.commit()
    database.close()
    sandbox.start()
    shots.open(sandbox)
    desktop.find("list item", "handbook")
    open_share("investor-update")
    shots.take("share-many")
    shots.close()


def take_collaboration(shots, sandbox):
    desktop = shots.desktop
    few = ["index.html", "pages/about.html", "assets/styles/" + "very-" * 12 + "long-name.css"]
    many = [f"pages/section-{number // 50}/page-{number}.html" for number in range(1000, 1500)]
    sites = ("summer-campaign", "annual-report", "design-system", LONG_NAME)
    allow_collaboration(sandbox, *sites)
    at = shots.theme + "-" + str(shots.scale) + "-"
    folders = {"summer-campaign": conflicted_folder(desktop, at + "few", "summer-campaign", sandbox, few),
               "annual-report": linked_folder(desktop, at + "behind", "annual-report", sandbox, ["index.html"]),
               "design-system": linked_folder(desktop, at + "branch", "design-system", sandbox, ["index.html"]),
               LONG_NAME: conflicted_folder(desktop, at + "many", LONG_NAME, sandbox, many)}
    git(desktop, folders["design-system"], "checkout", "--quiet", "-b", "drafts/" + "of-the-new-" * 8 + "palette")
    shots.open(sandbox, prepare=lambda home: remember_folders(home, folders))
    wait_for("the chips", lambda: [desktop.find("list item", site).description for site in sites] ==
             ["Conflict", "Updates available", "Needs attention", "Conflict"])
    shots.take("folders")
    shots.take("folders-hover-conflict", at=("list item", LONG_NAME))
    shots.take("folders-hover-behind", at=("list item", "annual-report"))
    shots.take("folders-hover-attention", at=("list item", "design-system"))

    def take_sheet(name, site, button, ready):
        shots.resize(LARGE)
        desktop.move(*desktop.place(desktop.find("list item", site)))
        desktop.press("push button", f"{button} {site}")
        desktop.find(*ready)
        shots.take(name)

    def close():
        desktop.key("Escape")
        desktop.gone("dialog")

    take_sheet("attention", "design-system", "Details…", ("dialog", "This folder needs attention"))
    close()
    take_sheet("conflict-many", LONG_NAME, "Resolve…", ("list item", many[0]))
    close()
    take_sheet("conflict", "summer-campaign", "Resolve…", ("list item", "index.html"))
    desktop.press("push button", "Copy prompt for your agent")
    desktop.find("push button", "Copied — paste it into your agent")
    shots.settle()
    shots.keep("conflict-copied", SMALL if shots.scale == 1 else LARGE)
    close()
    shots.resize(LARGE)
    desktop.move(*desktop.place(desktop.find("list item", "annual-report")))
    desktop.press("push button", "Update folder annual-report")
    desktop.find("alert", "Collaboration hiccup")
    shots.take("collaboration-hiccup")
    shots.close()


def take_missing_git(shots, sandbox):
    """The person asks for what needs git where there is none."""
    desktop = shots.desktop
    desktop.prefix = with_mounts(("/dev/null", "/usr/bin/git"))
    if not can_mount(desktop.prefix):
        print("no pictures of a system without git: nothing can be mounted here")
        desktop.prefix = []
        return
    work = sample_folder(desktop, f"{shots.theme}/handbook")
    allow_collaboration(sandbox, "handbook")
    shots.open(sandbox, prepare=lambda home: remember_folders(home, {"handbook": work}))
    desktop.find("list item", "handbook")
    shots.resize(LARGE)
    desktop.move(*desktop.place(desktop.find("list item", "handbook")))
    desktop.press("push button", "Share handbook")
    desktop.press("push button", re.compile("^Link "))
    desktop.find("dialog", "One-time setup for collaboration")
    shots.take("git-missing")
    shots.close()
    desktop.prefix = []


def take_deploy(shots, sandbox):
    desktop = shots.desktop
    shots.open(sandbox, sample_folder(desktop, "Spring Lookbook"))
    desktop.find("label", "New site — this name is free")
    shots.take("deploy-confirm-new")
    desktop.key("ctrl+a")
    desktop.type("annual-report")
    desktop.find("label", re.compile("^Replaces annual-report"))
    shots.take("deploy-confirm-replaces")
    desktop.key("ctrl+a")
    desktop.type("Spring Lookbook")
    desktop.find("label", "Lowercase letters, digits and dashes only")
    shots.take("deploy-confirm-forbidden")
    desktop.key("ctrl+a", "BackSpace")
    desktop.find("label", "Name the site to deploy it")
    shots.take("deploy-confirm-empty")
    desktop.key("ctrl+a")
    desktop.type(LONG_NAME[:63])
    shots.take("deploy-confirm-long")
    shots.close()

    sandbox.restart("--delay", "60000", "--fail-path", "/api/deploy")
    shots.open(sandbox, sample_folder(desktop, "photo-archive", 8))
    shots.heading("Deploy photo-archive")
    desktop.key("Return")
    shots.heading("Deploying photo-archive")
    shots.take("deploy-running")
    shots.close()

    sandbox.restart("--fail", "507", "--fail-path", "/api/deploy")
    shots.open(sandbox, sample_folder(desktop, "Spring Lookbook"))
    shots.heading("Deploy spring-lookbook")
    desktop.key("Return")
    shots.heading("Deploy failed")
    shots.take("deploy-failed")
    shots.close()

    sandbox.restart()
    shots.open(sandbox, sample_folder(desktop, "Spring Lookbook"))
    shots.heading("Deploy spring-lookbook")
    desktop.key("Return")
    shots.heading("spring-lookbook is live")
    shots.take("deploy-live")
    shots.close()


def take_window(shots, sandbox):
    """What belongs to the window itself."""
    desktop = shots.desktop
    shots.open(sandbox)
    desktop.find("list item", "handbook")
    desktop.key("F1")
    desktop.find("dialog", "Keyboard Shortcuts")
    shots.take("keys")
    desktop.key("Escape")
    desktop.gone("dialog")
    for size in shots.sizes():
        shots.resize(size)
        desktop.press("push button", "Account")
        desktop.find("menu item", "Change Platform…")
        shots.settle()
        shots.keep("account", size)
        desktop.key("Escape")
        desktop.gone("menu item", "Change Platform…")
    shots.close()

    sandbox.restart("--delay", "60000", "--fail-path", "/api/deploy")
    shots.open(sandbox, sample_folder(desktop, "photo-archive", 8))
    shots.heading("Deploy photo-archive")
    desktop.key("Return")
    shots.heading("Deploying photo-archive")
    # A second start hands its folder over.
    assert desktop.launch(sample_folder(desktop, "Spring Lookbook"), host=sandbox.address).wait(60) == 0
    desktop.find("label", re.compile("^Next: "))
    shots.take("deploy-next")
    desktop.key("ctrl+q")
    desktop.find("dialog", "Quit Driftwell?")
    shots.take("quit-question")
    shots.close()
    sandbox.restart()


def take_tray(shots, sandbox):
    desktop = shots.desktop
    shots.open(sandbox, "--tray")
    desktop.click(*desktop.tray_button())
    desktop.find("label", "RECENTLY DEPLOYED")
    shots.window = wait_for("the panel", lambda: desktop.windows("Driftwell"))[0]
    desktop.move(desktop.size[0] - 5, desktop.size[1] // 2)
    shots.settle()
    shots.keep("tray")
    shots.close()


def take_drop(shots, sandbox):
    """The file manager and its pointer have no second scale."""
    desktop = shots.desktop
    shots.open(sandbox)
    desktop.find("list item", "handbook")
    icon = desktop.file_manager(sample_folder(desktop, f"{shots.theme}/dropped/Spring Lookbook").parent, shots.window)
    desktop.drag(icon, (icon[0] - 40, icon[1]), (400, 300))
    desktop.find("panel", "Drop to deploy")
    shots.settle()
    shots.keep("drop", SMALL)
    desktop.key("Escape")
    desktop.drop()
    shots.close()
    # The next round's must be the only one.
    for window in desktop.windows("dropped - Thunar"):
        desktop.xdotool("windowclose", window)
    wait_for("the end of the file manager", lambda: not desktop.windows("dropped - Thunar"))


def main():
    """For one scale: a process sees one desktop in its life."""
    programs, folder, scale = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve(), int(sys.argv[3])
    folder.mkdir(parents=True, exist_ok=True)
    with Session(programs, size=(1300 * scale, 860 * scale), scale=scale) as desktop:
        for theme in ("light", "dark"):
            shots = Shots(desktop, folder, theme, scale)
            sandbox = Sandbox(desktop, data=f"platform-{theme}")
            fill(desktop, sandbox)
            take_introduction(shots)
            take_connection(shots)
            take_list(shots, sandbox)
            take_local_platform(shots)
            take_relink(shots, sandbox)
            take_site_sheets(shots, sandbox)
            take_sharing(shots, sandbox)
            take_collaboration(shots, sandbox)
            take_missing_git(shots, sandbox)
            take_deploy(shots, sandbox)
            take_window(shots, sandbox)
            take_settings(shots, sandbox)
            take_tray(shots, sandbox)
            if scale == 1:
                take_drop(shots, sandbox)
            sandbox.stop()


if __name__ == "__main__":
    main()
