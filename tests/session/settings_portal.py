"""The part of a desktop portal that tells whether the desktop is dark and where its windows have their buttons
(org.freedesktop.portal.Settings): a program for a session's bus. A test changes both in the place of a person.
"""

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

NAME = "org.freedesktop.portal.Desktop"
PATH = "/org/freedesktop/portal/desktop"
SETTINGS = "org.freedesktop.portal.Settings"
TEST = "driftwell.test.Portal"

SCHEME = ("org.freedesktop.appearance", "color-scheme")
BUTTONS = ("org.gnome.desktop.wm.preferences", "button-layout")


class SettingsPortal(dbus.service.Object):
    def __init__(self, bus):
        self.settings = {SCHEME: dbus.UInt32(2), BUTTONS: "close,minimize,maximize:"}
        self.name = dbus.service.BusName(NAME, bus, do_not_queue=True)
        super().__init__(bus, PATH)

    @dbus.service.method(SETTINGS, in_signature="ss", out_signature="v")
    def ReadOne(self, group, key):
        if (group, key) not in self.settings:
            raise dbus.DBusException("there is no such setting", name="org.freedesktop.portal.Error.NotFound")
        return self.settings[(group, key)]

    @dbus.service.signal(SETTINGS, signature="ssv")
    def SettingChanged(self, group, key, value):
        pass

    @dbus.service.method(TEST, in_signature="u", out_signature="")
    def Choose(self, scheme):
        self.change(SCHEME, dbus.UInt32(scheme))

    @dbus.service.method(TEST, in_signature="s", out_signature="")
    def PlaceButtons(self, layout):
        self.change(BUTTONS, layout)

    def change(self, setting, value):
        self.settings[setting] = value
        self.SettingChanged(*setting, value)


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
portal = SettingsPortal(dbus.SessionBus())
GLib.MainLoop().run()
