# SPDX-License-Identifier: Apache-2.0
"""A desktop session's service of a test's own: its arguments are gnome|kde|plasma5 ADDRESS

On the bus at the address: GNOME's session manager, or KDE's PowerDevil as it is now or as Plasma 5
had it, each with as much of its published interface as applications need to inhibit sleep. It also
does what its driver says, in Python: Do("...") at /mock, interface org.zorva.Mock.
"""
import sys

import dbus
import dbus.bus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

PROPERTIES = "org.freedesktop.DBus.Properties"
GNOME = "org.gnome.SessionManager"
KDE = "org.kde.Solid.PowerManagement.PolicyAgent"
KIND, ADDRESS = sys.argv[1:]


class Mock(dbus.service.Object):
    @dbus.service.method("org.zorva.Mock", in_signature="s")
    def Do(self, code):
        exec(code, globals())


class Inhibitor(dbus.service.Object):
    def __init__(self, number, *values):
        super().__init__(bus, f"/org/gnome/SessionManager/Inhibitor{number}")
        self.application, self.reason, self.flags = values

    @dbus.service.method(GNOME + ".Inhibitor", out_signature="s")
    def GetAppId(self):
        return self.application

    @dbus.service.method(GNOME + ".Inhibitor", out_signature="s")
    def GetReason(self):
        return self.reason

    @dbus.service.method(GNOME + ".Inhibitor", out_signature="u")
    def GetFlags(self):
        return self.flags


class SessionManager(dbus.service.Object):
    held, last = {}, 0

    @dbus.service.method(GNOME, in_signature="susu", out_signature="u")
    def Inhibit(self, app_id, toplevel_xid, reason, flags):
        self.last += 1
        self.held[self.last] = Inhibitor(self.last, app_id, reason, flags)
        self.InhibitorAdded(self.held[self.last].__dbus_object_path__)
        return self.last

    @dbus.service.method(GNOME, in_signature="u")
    def Uninhibit(self, inhibit_cookie):
        gone = self.held.pop(inhibit_cookie)
        path = gone.__dbus_object_path__
        gone.remove_from_connection()
        self.InhibitorRemoved(path)

    @dbus.service.method(GNOME, out_signature="ao")
    def GetInhibitors(self):
        return [each.__dbus_object_path__ for each in self.held.values()]

    @dbus.service.signal(GNOME, signature="o")
    def InhibitorAdded(self, id):
        pass

    @dbus.service.signal(GNOME, signature="o")
    def InhibitorRemoved(self, id):
        pass


class PolicyAgent(dbus.service.Object):
    """As of Plasma 5: pairs of name and reason."""
    held, last = {}, 0

    @dbus.service.method(KDE, in_signature="uss", out_signature="u")
    def AddInhibition(self, types, app_name, reason):
        self.last += 1
        self.held[self.last] = types, app_name, reason
        self.changed([(app_name, reason)], [])
        return self.last

    @dbus.service.method(KDE, in_signature="u")
    def ReleaseInhibition(self, cookie):
        _, name, _ = self.held.pop(cookie)
        self.changed([], [name])

    def changed(self, added, removed):
        self.InhibitionsChanged(dbus.Array(added, signature="(ss)"), dbus.Array(removed, signature="s"))

    @dbus.service.method(KDE, out_signature="a(ss)")
    def ListInhibitions(self):
        return [values[1:] for values in self.held.values()]

    @dbus.service.signal(KDE, signature="a(ss)as")
    def InhibitionsChanged(self, added, removed):
        pass


class NewPolicyAgent(PolicyAgent):
    """With the properties that the list and its signal are deprecated for."""

    def changed(self, added, removed):
        self.PropertiesChanged(KDE, {}, ["ActiveInhibitions", "RequestedInhibitions"])

    @dbus.service.method(KDE, out_signature="aas")
    def ListInhibitions(self):
        return dbus.Array([], signature="as")

    @dbus.service.method(PROPERTIES, in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        assert (interface, name) == (KDE, "ActiveInhibitions")
        what = {1: "sleep", 4: "idle", 5: "sleep:idle"}
        return dbus.Array([(what[types], who, why, "block", dbus.UInt32(3))
                           for types, who, why in self.held.values()], signature="(ssssu)")

    @dbus.service.signal(PROPERTIES, signature="sa{sv}as")
    def PropertiesChanged(self, interface, changed, invalidated):
        pass


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.bus.BusConnection(ADDRESS)
NAME, PATH, SERVICE = {
    "gnome": (GNOME, "/org/gnome/SessionManager", SessionManager),
    "plasma5": (KDE, "/org/kde/Solid/PowerManagement/PolicyAgent", PolicyAgent),
    "kde": (KDE, "/org/kde/Solid/PowerManagement/PolicyAgent", NewPolicyAgent)}[KIND]
service, mock = SERVICE(bus, PATH), Mock(bus, "/mock")
name = dbus.service.BusName(NAME, bus)
GLib.MainLoop().run()
