"""The application as a whole, on a desktop of its own: how soon its window is on screen, what it holds in memory, how
often it wakes. Everything is observed from outside; the program that is measured is the one that is installed.

Usage: desktop.py PROGRAMS [MEASUREMENT…], where PROGRAMS is the build folder's bin. Prints the rows of the report, a
line each, with tabs between the columns: work, ours, against, ratio, goal, "yes" or "no".
"""

import ctypes
import json
import os
import shutil
import statistics
import subprocess
import sys
import threading
import time
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "tests" / "session"))

from session import Sandbox, Session, TimedOut, end_with_parent, skip_introduction, wait_for  # noqa: E402

ROUNDS = 7
SETTLING = 30
IDLE = 60
TIMEOUT = 60
# How often the counters are read, and how long before a poll's first request and after its last one what the
# application does counts as the poll's.
TICK = 0.25
AHEAD = 0.5
BEHIND = 1.5

MIDDLE = (640, 450)
FRAME_GOAL = 150
MEMORY_GOAL = 45


def row(work, ours, against="", ratio="", goal="", met=True):
    print(work, ours, against, ratio, goal, "yes" if met else "no", sep="\t", flush=True)


class Platform:
    """A platform with a few sites that remembers when it was asked."""

    def __init__(self, sites=20):
        answers = {
            "/api/me": {"id": "1", "name": "Maya", "email": "maya@example.org", "avatar": "", "handle": "maya"},
            "/api/sites": {"sites": [self.site(number) for number in range(sites)]},
            "/api/stats": {"sites": sites, "libs": 0, "docs": 0, "kvKeys": 0, "deploysLast7d": 0, "wsConnections": 0},
            "/api/libs": {"libs": []},
        }
        asked = self.asked = []

        class Handler(BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_GET(self):
                asked.append(time.monotonic())
                body = json.dumps(answers[self.path.partition("?")[0]]).encode()
                self.send_response(200)
                self.send_header("content-type", "application/json")
                self.send_header("content-length", str(len(body)))
                self.end_headers()
                self.wfile.write(body)

            def log_message(self, *_):
                pass

        self.server = ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.address = f"http://localhost:{self.server.server_port}"
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    @staticmethod
    def site(number):
        name = f"team-project-{number}"
        return {"name": name, "url": f"https://{name}.sites.example.org/", "deployedAt": "2026-03-01T09:30:00.000Z",
                "deployedBy": "maya@example.org", "lastAction": "deploy", "hasPrevious": True, "libs": [],
                "access": {"mode": "restricted", "emails": ["sam@example.org", "li@example.org"],
                           "owner": "maya@example.org", "anyoneCanComment": False}}

    def wait_for_polls(self, count):
        """Until `count` more polls were answered: each asks for the sites, the figures and the libraries."""
        end = len(self.asked) + 3 * count
        wait_for("a poll", lambda: len(self.asked) >= end)


class Screen:
    """One pixel of the screen at a time, read over a connection that stays open (XGetImage(3))."""

    def __init__(self, display):
        self.x11 = ctypes.CDLL("libX11.so.6")
        self.x11.XOpenDisplay.restype = ctypes.c_void_p
        self.x11.XDefaultRootWindow.restype = ctypes.c_ulong
        self.x11.XDefaultRootWindow.argtypes = [ctypes.c_void_p]
        self.x11.XGetImage.restype = ctypes.c_void_p
        self.x11.XGetImage.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int, ctypes.c_int, ctypes.c_uint,
                                       ctypes.c_uint, ctypes.c_ulong, ctypes.c_int]
        self.x11.XGetPixel.restype = ctypes.c_ulong
        self.x11.XGetPixel.argtypes = [ctypes.c_void_p, ctypes.c_int, ctypes.c_int]
        self.x11.XDestroyImage.argtypes = [ctypes.c_void_p]
        self.display = self.x11.XOpenDisplay(display.encode())
        self.root = self.x11.XDefaultRootWindow(self.display)

    def pixel(self, x, y):
        z_pixmap = 2
        image = self.x11.XGetImage(self.display, self.root, x, y, 1, 1, 0xFFFFFFFF, z_pixmap)
        value = self.x11.XGetPixel(image, 0, 0)
        self.x11.XDestroyImage(image)
        return value & 0xFFFFFF

    def wait_for_change(self, place, before):
        end = time.monotonic() + TIMEOUT
        while self.pixel(*place) == before:
            if time.monotonic() > end:
                raise TimedOut("nothing appeared on the screen")
            time.sleep(0.0005)


class Process:
    """What the kernel knows of a running process (proc(5))."""

    def __init__(self, pid):
        self.folder = Path("/proc") / str(pid)

    def memory(self):
        """Resident and proportional, in MB."""
        fields = dict(line.split(":", 1) for line in (self.folder / "smaps_rollup").read_text().splitlines()[1:])
        return tuple(int(fields[name].split()[0]) * 1024 / 1e6 for name in ("Rss", "Pss"))

    def threads(self):
        """Of each thread: the time it ran, in ms, and how often it went to sleep by itself."""
        found = {}
        for task in (self.folder / "task").iterdir():
            try:
                running = int((task / "schedstat").read_text().split()[0]) / 1e6
                status = (task / "status").read_text()
            except FileNotFoundError:
                continue  # it has just ended
            switches = int(status.partition("\nvoluntary_ctxt_switches:")[2].split()[0])
            found[task.name] = (running, switches)
        return found


def spent(before, after):
    """Milliseconds and sleeps of all threads from one look to the next."""
    ran = slept = 0
    for name, (running, switches) in after.items():
        old_running, old_switches = before.get(name, (0, 0))
        ran += running - old_running
        slept += switches - old_switches
    return ran, slept


class Bench:
    def __init__(self, desktop):
        self.desktop = desktop
        self.screen = Screen(desktop.environment["DISPLAY"])
        self.platform = Platform()
        self.ground = self.screen.pixel(*MIDDLE)

    def open_app(self, *arguments, **environment):
        return self.desktop.open_app(*arguments, host=self.platform.address, **environment)

    def close_app(self):
        self.desktop.app.kill()
        self.desktop.app.wait()
        self.desktop.app = None
        wait_for("the end of the window", lambda: self.screen.pixel(*MIDDLE) == self.ground)

    # --- Until the first frame ---

    def first_frame(self, **environment):
        start = time.monotonic()
        self.open_app(**environment)
        try:
            self.screen.wait_for_change(MIDDLE, self.ground)
            return (time.monotonic() - start) * 1e3
        finally:
            self.close_app()

    def draws_with(self, **environment):
        try:
            self.first_frame(**environment)
            return True
        except TimedOut:
            return False

    def measure_start(self):
        opengl = {"QSG_RHI_BACKEND": "opengl"}
        peer = self.draws_with(**opengl)
        self.first_frame()
        ours, theirs = [], []
        for _ in range(ROUNDS):
            ours.append(self.first_frame())
            if peer:
                theirs.append(self.first_frame(**opengl))
        middle = statistics.median(ours)
        against = f"{statistics.median(theirs):.0f} ms" if peer else "nothing is drawn here"
        ratio = f"{statistics.median(b / a for a, b in zip(ours, theirs)):.2f} times faster" if peer else ""
        row("start to the window's first frame", f"{middle:.0f} ms (fastest {min(ours):.0f} ms)",
            "with OpenGL, without a graphics card: " + against, ratio, f"under {FRAME_GOAL} ms", middle < FRAME_GOAL)

    # --- Memory ---

    def measure_memory(self):
        process = Process(self.open_app("--tray").pid)
        self.platform.wait_for_polls(2)
        time.sleep(SETTLING)
        in_tray = process.memory()
        self.desktop.launch(host=self.platform.address).wait()
        self.screen.wait_for_change(MIDDLE, self.ground)
        self.platform.wait_for_polls(2)
        with_window = process.memory()
        self.desktop.key("alt+F4")
        wait_for("the end of the window", lambda: self.screen.pixel(*MIDDLE) == self.ground)
        time.sleep(SETTLING)
        closed = process.memory()
        self.close_app()
        peer = self.peer_memory()
        row("resident memory in the tray, the window never opened", memory_text(in_tray), peer_text(peer),
            f"{in_tray[0] / peer[0]:.2f} of it" if peer else "", f"under {MEMORY_GOAL} MB",
            in_tray[0] < MEMORY_GOAL)
        row("resident memory with the window open", memory_text(with_window))
        row("resident memory in the tray, the window closed again", memory_text(closed),
            f"before it was opened: {in_tray[0]:.1f} MB", f"{closed[0] / in_tray[0]:.2f} of it",
            f"under {MEMORY_GOAL} MB", closed[0] < MEMORY_GOAL)

    def peer_memory(self):
        """Another client that lives in the tray, as it comes from Debian; None where it is not installed."""
        program = shutil.which("nextcloud")
        if not program:
            return None
        environment = {name: value for name, value in self.desktop.environment.items() if not name.startswith("QT_")}
        with open(self.desktop.folder / "peer.log", "ab") as log:
            peer = subprocess.Popen([program, "--background"], env=environment, stdin=subprocess.DEVNULL, stdout=log,
                                    stderr=log, preexec_fn=end_with_parent)
        time.sleep(SETTLING)
        try:
            return None if peer.poll() is not None else Process(peer.pid).memory()
        finally:
            peer.kill()
            peer.wait()

    def measure_surfaces(self):
        """Memory before and after every window and sheet was open once. What opens them reads the screen as a screen
        reader does, which costs the application memory of its own before and after."""
        desktop = self.desktop
        platform = Sandbox(desktop, data="surfaces")
        folder = desktop.folder / "published"
        folder.mkdir()
        for version in ("first", "second"):
            (folder / "index.html").write_text(version)
            desktop.dw("deploy", folder, "--name", "team-project", host=platform.address)
        app = desktop.open_app("--tray", host=platform.address, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1")
        process = Process(app.pid)
        wait_for("the application", desktop.application)
        time.sleep(SETTLING)
        before = process.memory()

        desktop.click(*desktop.tray_button())
        desktop.press("push button", "Open Driftwell")
        for entry, opened in (("Version History", ("push button", "Roll back")),
                              ("Logs", ("dialog", None)),
                              ("Roll Back…", ("heading", "Roll back team-project")),
                              ("Delete Project…", ("heading", "Delete team-project"))):
            desktop.click(*desktop.place(desktop.find("list item", "team-project")), button=3)
            desktop.press("menu item", entry)
            desktop.find(*opened)
            desktop.key("Escape")
            desktop.gone(*opened)
        desktop.launch(folder, host=platform.address).wait()
        desktop.find("push button", "Deploy")
        desktop.key("Escape")
        desktop.gone("push button", "Deploy")
        desktop.key("ctrl+comma")
        wait_for("the settings", lambda: desktop.windows("Driftwell Settings"))
        for window in ("Driftwell Settings", "Driftwell"):
            desktop.xdotool("windowactivate", "--sync", desktop.windows(window)[0])
            desktop.key("alt+F4")
            wait_for("the end of the window", lambda: not desktop.windows(window))
        time.sleep(SETTLING)
        after = process.memory()
        desktop.close_app()
        platform.stop()
        row("resident memory in the tray after every window and sheet was open once, read by a screen reader",
            memory_text(after), f"before: {memory_text(before)}", f"{after[0] / before[0]:.2f} of it")

    # --- Doing nothing ---

    def is_poll(self, start, end):
        return any(asked - AHEAD < end and asked + BEHIND > start for asked in self.platform.asked)

    def watch(self, process):
        """Over a minute: the time that it ran in ms, the polls, and how often it woke in and between them."""
        first_asked = len(self.platform.asked)
        looks = [(time.monotonic(), process.threads())]
        while looks[-1][0] < looks[0][0] + IDLE:
            time.sleep(TICK)
            looks.append((time.monotonic(), process.threads()))
        # The last poll may have begun just now.
        time.sleep(AHEAD)
        ran = inside = between = 0
        for (start, before), (end, after) in zip(looks, looks[1:]):
            time_spent, woken = spent(before, after)
            ran += time_spent
            if self.is_poll(start, end):
                inside += woken
            else:
                between += woken
        return ran, (len(self.platform.asked) - first_asked) / 3, inside, between

    def idle_rows(self, where, process):
        ran, polls, inside, between = self.watch(process)
        row(f"CPU time of a minute {where}, connected", f"{ran:.1f} ms, {polls:.0f} polls", "", "", "")
        row(f"wake-ups of that minute {where}", f"{between} between the polls, {inside / max(polls, 1):.0f} in each", "",
            "", "none between the polls", between == 0)

    def measure_idle(self):
        process = Process(self.open_app("--tray").pid)
        self.platform.wait_for_polls(2)
        self.idle_rows("in the tray", process)
        self.desktop.launch(host=self.platform.address).wait()
        self.screen.wait_for_change(MIDDLE, self.ground)
        self.platform.wait_for_polls(1)
        self.idle_rows("with the window open", process)
        self.close_app()

    # --- In the window ---

    def measure_frames(self):
        rows = subprocess.run([self.desktop.programs / "driftwell-bench-window"], env=self.desktop.environment, check=True,
                              text=True, stdout=subprocess.PIPE, timeout=300).stdout
        print(rows, end="", flush=True)


def memory_text(memory):
    return f"{memory[0]:.1f} MB ({memory[1]:.1f} MB proportional)"


def peer_text(peer):
    if not peer:
        return "`nextcloud-desktop`: not installed"
    return f"`nextcloud-desktop` without an account: {memory_text(peer)}"


def main():
    programs, *chosen = sys.argv[1:]
    with Session(programs) as desktop:
        # A desktop without a screen reader, as most are.
        del desktop.environment["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"]
        skip_introduction(desktop.environment["HOME"])
        bench = Bench(desktop)
        for name in chosen or ["start", "memory", "surfaces", "idle", "frames"]:
            getattr(bench, "measure_" + name)()
            print(f"{name} measured", file=sys.stderr)


if __name__ == "__main__":
    main()
