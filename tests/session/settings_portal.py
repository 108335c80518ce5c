"""The part of a desktop portal that tells whether the desktop is dark (org.freedesktop.portal.Settings): a program for a
session's bus. A test changes the preference in the place of a person.
"""

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

NAME = "org.freedesktop.portal.Desktop"
PATH = "/org/freedesktop/portal/desktop"
SETTINGS = "org.freedesktop.portal.Settings"
TEST = "driftwell.test.Portal"

GROUP = "org.freedesktop.appearance"
KEY = "color-scheme"


class SettingsPortal(dbus.service.Object):
    def __init__(self, bus):
        self.scheme = dbus.UInt32(2)
        self.name = dbus.service.BusName(NAME, bus, do_not_queue=True)
        super().__init__(bus, PATH)

    @dbus.service.method(SETTINGS, in_signature="ss", out_signature="v")
    def ReadOne(self, group, key):
        if (group, key) != (GROUP, KEY):
            raise dbus.DBusException("there is no such setting", name="org.freedesktop.portal.Error.NotFound")
        return self.scheme

    @dbus.service.signal(SETTINGS, signature="ssv")
    def SettingChanged(self, group, key, value):
        pass

    @dbus.service.method(TEST, in_signature="u", out_signature="")
    def Choose(self, scheme):
        self.scheme = dbus.UInt32(scheme)
        self.SettingChanged(GROUP, KEY, self.scheme)


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
portal = SettingsPortal(dbus.SessionBus())
GLib.MainLoop().run()
