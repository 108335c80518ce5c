"""What asks for the administrator's password on a desktop (polkit's authentication agent), scripted: polkit_agent.py PID
FOLDER. It answers for the process PID of this person: with the password in FOLDER/password, or where there is none by
putting the dialog away. What it was asked to show is written to FOLDER/prompts, a line of JSON each.
"""

import json
import os
import subprocess
import sys
from pathlib import Path

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

AUTHORITY = "org.freedesktop.PolicyKit1"
AGENT = "org.freedesktop.PolicyKit1.AuthenticationAgent"
PATH = "/app/driftwell/try/Agent"
HELPER = "/usr/lib/polkit-1/polkit-agent-helper-1"


class Dismissed(dbus.DBusException):
    _dbus_error_name = "org.freedesktop.PolicyKit1.Error.Cancelled"


class Agent(dbus.service.Object):
    def __init__(self, bus, folder):
        super().__init__(bus, PATH)
        self.folder = folder

    @dbus.service.method(AGENT, in_signature="sssa{ss}sa(sa{sv})", out_signature="")
    def BeginAuthentication(self, action, message, icon, details, cookie, identities):
        password = self.folder / "password"
        answer = password.read_text() if password.exists() else None
        with open(self.folder / "prompts", "a") as prompts:
            print(json.dumps({"action": action, "message": message, "icon": icon, "answered": answer is not None}),
                  file=prompts)
        if answer is None:
            raise Dismissed("put away")
        # The helper reads the cookie, then what PAM asks for, and tells polkit itself whether that was right.
        result = subprocess.run([HELPER, "root"], input=f"{cookie}\n{answer}\n", text=True, capture_output=True)
        if "SUCCESS" not in result.stdout:
            print(result.stdout, result.stderr, file=sys.stderr)

    @dbus.service.method(AGENT, in_signature="s", out_signature="")
    def CancelAuthentication(self, cookie):
        pass


def start_time(process):
    """Of /proc/PID/stat, behind the name, which may hold blanks."""
    return int(Path(f"/proc/{process}/stat").read_text().rpartition(")")[2].split()[19])


def main():
    process, folder = int(sys.argv[1]), Path(sys.argv[2])
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.SystemBus()
    agent = Agent(bus, folder)
    authority = dbus.Interface(bus.get_object(AUTHORITY, "/org/freedesktop/PolicyKit1/Authority"),
                               AUTHORITY + ".Authority")
    subject = dbus.Struct(("unix-process", {
        "pid": dbus.UInt32(process),
        "start-time": dbus.UInt64(start_time(process)),
        "uid": dbus.Int32(os.getuid()),
    }), signature="sa{sv}")
    authority.RegisterAuthenticationAgent(subject, "C", agent.__dbus_object_path__)
    (folder / "registered").touch()
    GLib.MainLoop().run()


main()
