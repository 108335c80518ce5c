"""The desktop's notifications (org.freedesktop.Notifications), kept instead of shown: a program for a session's bus.

A test asks for what was shown, and chooses an action in the place of a person.
"""

import json

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

NAME = "org.freedesktop.Notifications"
PATH = "/org/freedesktop/Notifications"
TEST = "driftwell.test.Notifications"

CLOSED_BY_PERSON = 2
CLOSED_BY_CALL = 3


class Notifications(dbus.service.Object):
    def __init__(self, bus):
        self.all = []
        self.name = dbus.service.BusName(NAME, bus, do_not_queue=True)
        super().__init__(bus, PATH)

    @dbus.service.method(NAME, in_signature="", out_signature="as")
    def GetCapabilities(self):
        return ["actions", "body"]

    @dbus.service.method(NAME, in_signature="", out_signature="ssss")
    def GetServerInformation(self):
        return "Recorder", "Driftwell", "1", "1.2"

    @dbus.service.method(NAME, in_signature="susssasa{sv}i", out_signature="u")
    def Notify(self, app, replaces, icon, title, text, actions, hints, timeout):
        pairs = list(zip(actions[::2], actions[1::2]))
        self.all.append({"id": len(self.all) + 1, "app": app, "icon": icon, "title": title, "text": text,
                         "actions": dict(pairs), "entry": hints.get("desktop-entry"), "open": True})
        return len(self.all)

    @dbus.service.method(NAME, in_signature="u", out_signature="")
    def CloseNotification(self, number):
        self.close(number, CLOSED_BY_CALL)

    @dbus.service.signal(NAME, signature="uu")
    def NotificationClosed(self, number, reason):
        pass

    @dbus.service.signal(NAME, signature="us")
    def ActionInvoked(self, number, key):
        pass

    @dbus.service.method(TEST, in_signature="", out_signature="s")
    def All(self):
        return json.dumps(self.all)

    @dbus.service.method(TEST, in_signature="us", out_signature="")
    def Choose(self, number, label):
        key = next(key for key, text in self.all[number - 1]["actions"].items() if text == label)
        self.ActionInvoked(number, key)
        self.close(number, CLOSED_BY_PERSON)

    def close(self, number, reason):
        self.all[number - 1]["open"] = False
        self.NotificationClosed(number, reason)


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
notifications = Notifications(dbus.SessionBus())
GLib.MainLoop().run()
