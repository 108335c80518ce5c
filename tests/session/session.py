"""A real desktop of its own: X server, window manager, panel with a tray, session bus, accessibility bus; a sandbox
platform; and the application in it, driven only by what a person has (mouse, keyboard, screen) and read through AT-SPI,
as a screen reader does.

Nothing is shared with the desktop that a developer sits at, and everything ends with the process.
"""

import ctypes
import json
import os
import re
import shutil
import signal
import subprocess
import tempfile
import time
from pathlib import Path

DEADLINE = float(os.environ.get("DRIFTWELL_TEST_DEADLINE", "60"))
POLL = 0.05


class TimedOut(AssertionError):
    """Something that was waited for did not come."""


def wait_for(what, condition, deadline=None):
    """The first true result of `condition`, which may throw meanwhile: widgets come and go while they are looked at."""
    end = time.monotonic() + (deadline or DEADLINE)
    last = None
    while True:
        try:
            result = condition()
            if result:
                return result
        except TimedOut:
            raise
        except Exception as failure:  # what AT-SPI throws for a widget that has just gone is of many kinds
            last = failure
        if time.monotonic() > end:
            raise TimedOut(f"{what} did not come" + (f" ({last!r})" if last else ""))
        time.sleep(POLL)


def end_with_parent():
    pr_set_pdeathsig = 1
    ctypes.CDLL(None).prctl(pr_set_pdeathsig, signal.SIGKILL)


def adopt_orphans():
    """What a desktop's programs start, and leave behind when they end, becomes a child of this process."""
    pr_set_child_subreaper = 36
    ctypes.CDLL(None).prctl(pr_set_child_subreaper, 1)


def end_children():
    """Ends every child process, adopted ones too, and theirs."""
    while children := Path("/proc/thread-self/children").read_text().split():
        for child in map(int, children):
            os.kill(child, signal.SIGKILL)
            os.waitpid(child, 0)


def skip_introduction(home):
    """The person of this home folder has been through the introduction before."""
    folder = Path(home) / ".config" / "dw"
    folder.mkdir(parents=True)
    (folder / "defaults.ini").write_text("[General]\nonboardingCompleted=true\n")


def descendants(widget):
    """A widget of any application's tree, and all below it."""
    if widget is not None:
        yield widget
        for index in range(widget.childCount):
            yield from descendants(widget.getChildAtIndex(index))


class Sandbox:
    """A platform on this machine, with data that outlives a restart."""

    def __init__(self, session, *options, port=0, data="platform"):
        self.options = options
        self.session = session
        self.data = session.folder / data
        self.port = port
        self.process = None
        self.start()

    def start(self):
        with open(self.session.folder / "sandbox.log", "ab") as log:
            self.process = subprocess.Popen(
                [self.session.programs / "driftwell-sandbox", "--port", str(self.port), "--data", self.data,
                 *self.options],
                stdout=subprocess.PIPE, stderr=log, env=self.session.environment, preexec_fn=end_with_parent, text=True)
        line = self.process.stdout.readline()
        match = re.search(r"http://\S+:(\d+)", line)
        if not match:
            raise AssertionError(f"the sandbox said {line!r}")
        self.address = match.group(0)
        self.port = int(match.group(1))

    def stop(self):
        if self.process:
            self.process.terminate()
            self.process.wait(DEADLINE)
            self.process.stdout.close()
            self.process = None

    def restart(self, *options):
        self.stop()
        self.options = options
        self.start()


class Session:
    """The desktop, with a panel or without. Use as a context manager."""

    def __init__(self, programs, size=(1280, 900), panel=True, scale=1):
        self.programs = Path(programs)
        self.size = size
        self.has_panel = panel
        # Of the application's pixels, in which it tells where its widgets are.
        self.scale = scale
        self.panel = None
        self.notifier = None
        self.processes = []
        self.app = None
        # What the application is started with, as a command that becomes the one behind it.
        self.prefix = []
        self.folder = Path(tempfile.mkdtemp(prefix="driftwell-session-"))
        self.environment = {
            "HOME": str(self.folder / "home"),
            "PATH": "/usr/bin:/bin",
            "LC_ALL": "C.UTF-8",
            "XDG_RUNTIME_DIR": str(self.folder / "run"),
            "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
            "XDG_DATA_DIRS": f"{self.folder / 'share'}:/usr/local/share:/usr/share",
            "XDG_CONFIG_DIRS": f"{self.folder / 'share' / 'applications'}:/etc/xdg",
            "NO_AT_BRIDGE": "0",
            "no_proxy": "localhost",
        }
        for name, value in os.environ.items():
            if name.endswith("SAN_OPTIONS"):
                self.environment[name] = value

    def __enter__(self):
        adopt_orphans()
        for name in ("home", "run"):
            (self.folder / name).mkdir()
        (self.folder / "run").chmod(0o700)
        self.write_browser()
        self.start_screen()
        self.start_buses()
        self.start_desktop()
        return self

    def __exit__(self, *failure):
        self.close_app()
        for process in reversed(self.processes):
            process.kill()
            process.wait()
        end_children()
        shutil.rmtree(self.folder, ignore_errors=True)

    # --- Setting up ---

    def write_browser(self):
        """What opens in the browser is written down, an address a line."""
        browser = self.folder / "browser"
        browser.write_text(f'#!/bin/sh\nprintf "%s\\n" "$1" >>"{self.folder}/opened"\n')
        browser.chmod(0o755)
        applications = self.folder / "share" / "applications"
        applications.mkdir(parents=True)
        (applications / "recorder.desktop").write_text(
            f"[Desktop Entry]\nType=Application\nName=Recorder\nExec={browser} %u\n"
            "MimeType=x-scheme-handler/http;x-scheme-handler/https\n")
        (applications / "mimeapps.list").write_text(
            "[Default Applications]\nx-scheme-handler/http=recorder.desktop\n"
            "x-scheme-handler/https=recorder.desktop\n")

    def opened(self):
        file = self.folder / "opened"
        return file.read_text().splitlines() if file.exists() else []

    def spawn(self, *command, log=None, **options):
        with open(self.folder / (log or Path(command[0]).name + ".log"), "ab") as output:
            process = subprocess.Popen([str(part) for part in command], env=self.environment,
                                       preexec_fn=end_with_parent, stdin=subprocess.DEVNULL, stderr=output,
                                       stdout=options.pop("stdout", output), **options)
        self.processes.append(process)
        return process

    def start_screen(self):
        ours, theirs = os.pipe()
        self.spawn("/usr/bin/Xvfb", "-displayfd", theirs, "-screen", "0", "%dx%dx24" % self.size, "-dpi", "96",
                   "-nolisten", "tcp", "-noreset", pass_fds=(theirs,))
        os.close(theirs)
        with os.fdopen(ours) as numbers:
            self.environment["DISPLAY"] = ":" + numbers.readline().strip()

    def start_buses(self):
        bus = self.spawn("/usr/bin/dbus-daemon", "--session", "--nofork", "--print-address=1", stdout=subprocess.PIPE)
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().decode().strip()
        self.spawn("/usr/libexec/at-spi-bus-launcher", "--launch-immediately")
        # Who asks for it before it is there makes the bus start another one, which others then do not see.
        wait_for("the accessibility bus", self.accessibility_bus)
        # AT-SPI and D-Bus are found through this process's own environment.
        for name in ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"):
            os.environ[name] = self.environment[name]
        wait_for("the register of what a screen reader sees", lambda: self.applications() is not None)

    def start_desktop(self):
        self.spawn("/usr/bin/xfwm4", "--compositor=off")
        wait_for("the window manager", lambda: self.x("xprop", "-root", "_NET_SUPPORTING_WM_CHECK").count("#"))
        if self.has_panel:
            self.start_panel()

    def start_panel(self):
        """A panel that misses the accessibility bus at its start never looks for it again: it is then started anew."""
        for timeout in (10, 20, None):
            self.panel = self.spawn("/usr/bin/xfce4-panel", "--disable-wm-check")
            wait_for("the tray", lambda: self.tray_items() is not None)
            try:
                wait_for("the panel as a screen reader sees it", lambda: self.application("xfce4-panel"), timeout)
                return
            except TimedOut as failure:
                if timeout is None:
                    raise TimedOut(f"{failure}; {[found.name for found in self.applications()]} did") from None
                self.stop_panel()

    def stop_panel(self):
        if self.panel:
            self.end(self.panel)
            self.panel = None
            wait_for("the end of the tray", lambda: self.tray_items() is None)

    def end(self, process):
        process.kill()
        process.wait()
        self.processes.remove(process)

    # --- The session bus ---

    def bus(self):
        import dbus
        return dbus.bus.BusConnection(self.environment["DBUS_SESSION_BUS_ADDRESS"])

    def accessibility_bus(self):
        """Its address; None while nobody has it."""
        import dbus
        bus = self.bus()
        try:
            if not bus.name_has_owner("org.a11y.Bus"):
                return None
            return str(dbus.Interface(bus.get_object("org.a11y.Bus", "/org/a11y/bus"), "org.a11y.Bus").GetAddress())
        finally:
            bus.close()

    def tray_items(self):
        """The bus names of the items in the tray; None while there is no tray."""
        import dbus
        bus = self.bus()
        try:
            watcher = bus.get_object("org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher")
            properties = dbus.Interface(watcher, "org.freedesktop.DBus.Properties")
            return [str(item) for item in
                    properties.Get("org.kde.StatusNotifierWatcher", "RegisteredStatusNotifierItems")]
        except dbus.DBusException:
            return None
        finally:
            bus.close()

    def tray_menu(self):
        """The commands of the menu of the one item, as a tray without a panel shows it, and how to choose one."""
        import dbus
        bus = self.bus()
        name, _, path = self.tray_items()[0].partition("/")
        item = dbus.Interface(bus.get_object(name, "/" + path), "org.freedesktop.DBus.Properties")
        menu = dbus.Interface(bus.get_object(name, item.Get("org.kde.StatusNotifierItem", "Menu")),
                              "com.canonical.dbusmenu")
        _, (_, _, entries) = menu.GetLayout(0, -1, dbus.Array([], signature="s"))
        commands = {str(properties["label"]): number for number, properties, _ in entries
                    if properties.get("type") != "separator" and properties.get("enabled", True)}

        def choose(label):
            menu.Event(commands[label], "clicked", dbus.String("", variant_level=1), dbus.UInt32(0))
        return list(commands), choose

    def start_notifications(self):
        self.notifier = self.spawn("/usr/bin/python3", "-B", Path(__file__).with_name("notifications.py"),
                                   log="notifications.log")
        wait_for("the notifications", lambda: self.notifications() == [])

    def stop_notifications(self):
        if self.notifier:
            self.end(self.notifier)
            self.notifier = None

    def notification_service(self, bus):
        import dbus
        return dbus.Interface(bus.get_object("org.freedesktop.Notifications", "/org/freedesktop/Notifications"),
                              "driftwell.test.Notifications")

    def notifications(self):
        """All that were shown since the start, the earliest first."""
        bus = self.bus()
        try:
            return json.loads(self.notification_service(bus).All())
        finally:
            bus.close()

    def choose_in_notification(self, number, label):
        bus = self.bus()
        try:
            self.notification_service(bus).Choose(number, label)
        finally:
            bus.close()

    def tray_button(self):
        """Where the tray shows its one item: the middle of the tray's box, which is as wide as what it holds. What it
        holds a panel that was looked at early does not always tell."""
        seen = []
        places = []

        def place_of_one_item():
            places.append(box_of_one_item())
            last = places[-5:]
            return last[0] if len(last) == 5 and len(set(last)) == 1 else None

        def box_of_one_item():
            if len(self.tray_items()) != 1:
                return None
            seen.clear()
            for widget in descendants(self.application("xfce4-panel")):
                role = widget.getRoleName()
                box = self.box(widget) if role != "application" else None
                seen.append((role, widget.name, box and (box.x, box.y, box.width, box.height)))
                if role == "filler" and box.y == 0 and 16 < box.width < 40:
                    return box.x + box.width / 2, box.y + box.height / 2
            return None
        try:
            return wait_for("the item in the tray, standing still", place_of_one_item)
        except TimedOut as failure:
            raise TimedOut(f"{failure}; the panel has {seen}, the tray {self.tray_items()}") from None

    # --- The file manager ---

    def file_manager(self, folder, window):
        """A real file manager on `folder`, beside the application's window; gives the place of its one icon."""
        self.xdotool("windowmove", "--sync", window, 0, 40)
        self.xdotool("windowsize", "--sync", window, 780, 520)
        self.spawn("/usr/bin/thunar", folder)
        other = wait_for("the file manager", lambda: self.windows(f"{folder.name} - Thunar"))[0]
        self.xdotool("windowsize", "--sync", other, 460, 520)
        self.xdotool("windowmove", "--sync", other, 800, 40)

        def icon():
            found = {widget.getRoleName(): widget for widget in descendants(self.application("thunar"))}
            box = self.box(found["directory pane"])
            is_ready = box.x >= 790 and found["status bar"].name.startswith("1 folder")
            return (box.x + 73, box.y + 40) if is_ready else None
        return wait_for("the folder's icon", icon)

    # --- Mouse, keyboard, screen ---

    def x(self, *command):
        return subprocess.run([str(part) for part in command], env=self.environment, check=True, text=True,
                              capture_output=True, timeout=DEADLINE).stdout

    def xdotool(self, *arguments):
        return self.x("xdotool", *arguments)

    def move(self, x, y):
        self.xdotool("mousemove", round(x), round(y))

    def click(self, x, y, button=1):
        self.move(x, y)
        self.xdotool("click", button)

    def key(self, *keys):
        self.xdotool("key", "--clearmodifiers", *keys)

    def type(self, text):
        self.xdotool("type", "--delay", "15", "--", text)

    def drag(self, start, *stops):
        """Press at `start`, move through `stops`, and stay pressed; drop() lets go."""
        self.move(*start)
        self.xdotool("mousedown", 1)
        x, y = start
        for stop in stops:
            for step in range(1, 11):
                self.move(x + (stop[0] - x) * step / 10, y + (stop[1] - y) * step / 10)
                time.sleep(0.02)
            x, y = stop

    def drop(self):
        self.xdotool("mouseup", 1)

    def clipboard(self):
        return self.x("xclip", "-o", "-selection", "clipboard")

    def signature(self, widget):
        """Of what a widget looks like on the screen."""
        x, y = self.place(widget)
        box = self.box(widget)
        crop = f"{box.width}x{box.height}+{int(x - box.width / 2)}+{int(y - box.height / 2)}"
        return self.x("import", "-window", "root", "-crop", crop, "-format", "%#", "info:")

    def picture(self, file, window=None):
        self.x("import", "-window", window or "root", file)

    def windows(self, title):
        """The identifiers of the visible windows with exactly this title."""
        result = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", f"^{title}$"], env=self.environment,
                                text=True, capture_output=True, timeout=DEADLINE)
        return result.stdout.split()

    # --- The application ---

    def launch(self, *arguments, host=None, **environment):
        """Starts the application and gives its process."""
        variables = dict(self.environment, **environment)
        if host:
            variables["DW_HOST"] = host
        with open(self.folder / "driftwell.log", "ab") as log:
            return subprocess.Popen([*self.prefix, self.programs / "driftwell", *map(str, arguments)], env=variables, stdout=log,
                                    stderr=log, stdin=subprocess.DEVNULL, preexec_fn=end_with_parent)

    def open_app(self, *arguments, **options):
        self.app = self.launch(*arguments, **options)
        return self.app

    def close_app(self):
        if self.app:
            self.app.terminate()
            self.app.wait(DEADLINE)
            self.app = None

    def app_log(self):
        file = self.folder / "driftwell.log"
        return file.read_text(errors="replace") if file.exists() else ""

    def dw(self, *arguments, host=None, stdin=None):
        variables = dict(self.environment)
        if host:
            variables["DW_HOST"] = host
        return subprocess.run([self.programs / "dw", *map(str, arguments)], env=variables, check=True, text=True,
                              capture_output=True, timeout=DEADLINE, input=stdin).stdout

    # --- What a screen reader sees ---

    def application(self, name="driftwell"):
        applications = self.applications()
        for application in applications:
            if application.name.lower() == name:
                # What was seen before is not what is there now.
                application.clear_cache()
                return application
        # Nor is a name that was read too early.
        for application in applications:
            application.clear_cache()
        return None

    def applications(self):
        import pyatspi
        return [application for application in pyatspi.Registry.getDesktop(0) if application is not None]

    def widgets(self, role=None, name=None, showing=True):
        """All of the application's widgets with this role and name; a name may be a compiled pattern."""
        import pyatspi

        def matches(widget):
            return (role is None or widget.getRoleName() == role) and (
                name is None or (name.search(widget.name) if hasattr(name, "search") else widget.name == name)) and (
                not showing or widget.getState().contains(pyatspi.STATE_SHOWING))
        return [widget for widget in descendants(self.application()) if matches(widget)]

    def find(self, role=None, name=None, deadline=None):
        return wait_for(f"{role or 'a widget'} {name!r}", lambda: self.widgets(role, name), deadline)[0]

    def gone(self, role=None, name=None):
        wait_for(f"the end of {role or 'a widget'} {name!r}", lambda: not self.widgets(role, name))

    def box(self, widget):
        import pyatspi
        return widget.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)

    def place(self, widget):
        """The middle of a widget of the application on screen."""
        box = self.box(widget)
        return (box.x + box.width / 2) * self.scale, (box.y + box.height / 2) * self.scale

    def corner(self, widget):
        box = self.box(widget)
        return box.x, box.y

    def press(self, role, name):
        """A click on a widget, with the mouse."""
        self.click(*self.place(self.find(role, name)))

    def focused(self):
        import pyatspi
        return [widget for widget in self.widgets() if widget.getState().contains(pyatspi.STATE_FOCUSED)]

    def is_focused(self, widget):
        import pyatspi
        widget.clear_cache()
        return widget.getState().contains(pyatspi.STATE_FOCUSED)

    def is_enabled(self, widget):
        import pyatspi
        widget.clear_cache()
        states = widget.getState()
        return states.contains(pyatspi.STATE_ENABLED) and states.contains(pyatspi.STATE_SENSITIVE)

    def dump(self):
        """The tree as text, for a failure's report."""
        lines = []

        def visit(widget, depth):
            if widget is None:
                return
            lines.append("  " * depth + f"{widget.getRoleName()} {widget.name!r} {widget.description!r}")
            for index in range(widget.childCount):
                visit(widget.getChildAtIndex(index), depth + 1)

        app = self.application()
        if app is not None:
            visit(app, 0)
        return "\n".join(lines)
