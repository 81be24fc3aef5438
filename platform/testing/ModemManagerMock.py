# SPDX-License-Identifier: Apache-2.0
"""A ModemManager of a test's own: python3 ModemManagerMock_test.py

Takes the service's name on the system bus and does what its driver says, in Python: Do("...") at
the service's path, interface org.zorva.Mock. As in the real service the object manager tells of
modems only; bearers and calls have properties of their own.
"""

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

NAME = "org.freedesktop.ModemManager1"
ROOT = "/org/freedesktop/ModemManager1"
MANAGER = "org.freedesktop.DBus.ObjectManager"
PROPERTIES = "org.freedesktop.DBus.Properties"


def full(interface):
    return f"{NAME}.{interface}"


class Object(dbus.service.Object):
    """properties: values by name, by interface without the service's name as prefix."""

    def __init__(self, path, properties):
        super().__init__(bus, ROOT + path)
        self.properties = {full(interface): dict(values) for interface, values in properties.items()}
        self.thresholds = []

    def set(self, interface, **changes):
        self.properties[full(interface)].update(changes)
        self.PropertiesChanged(full(interface), dbus.Dictionary(changes, signature="sv"),
                               dbus.Array([], signature="s"))

    def all(self):
        return {interface: dbus.Dictionary(values, signature="sv")
                for interface, values in self.properties.items()}

    @dbus.service.method(PROPERTIES, in_signature="s", out_signature="a{sv}")
    def GetAll(self, interface):
        return dbus.Dictionary(self.properties[interface], signature="sv")

    @dbus.service.signal(PROPERTIES, signature="sa{sv}as")
    def PropertiesChanged(self, interface, changed, invalidated):
        pass

    @dbus.service.method(full("Modem.Signal"), in_signature="a{sv}")
    def SetupThresholds(self, settings):
        self.set("Modem.Signal", RssiThreshold=settings["rssi-threshold"])

    @dbus.service.signal(full("Modem.Messaging"), signature="ob")
    def Added(self, path, received):
        pass


class Manager(dbus.service.Object):
    def __init__(self):
        super().__init__(bus, ROOT)
        self.modems = {}

    @dbus.service.method(MANAGER, out_signature="a{oa{sa{sv}}}")
    def GetManagedObjects(self):
        return dbus.Dictionary({ROOT + path: modem.all() for path, modem in self.modems.items()},
                               signature="oa{sa{sv}}")

    @dbus.service.signal(MANAGER, signature="oa{sa{sv}}")
    def InterfacesAdded(self, path, interfaces):
        pass

    @dbus.service.signal(MANAGER, signature="oas")
    def InterfacesRemoved(self, path, interfaces):
        pass

    @dbus.service.method("org.zorva.Mock", in_signature="s")
    def Do(self, code):
        exec(code, globals())


def add(path, **interfaces):
    """A modem, with its interfaces' properties by "Modem", "Modem_Signal" and so on."""
    modem = Object(path, {name.replace("_", "."): values for name, values in interfaces.items()})
    manager.modems[path] = modem
    manager.InterfacesAdded(ROOT + path, modem.all())
    return modem


def remove(path):
    modem = manager.modems.pop(path)
    modem.remove_from_connection()
    manager.InterfacesRemoved(ROOT + path, list(modem.properties))


def paths(*names):
    return dbus.Array([ROOT + name for name in names], signature="o")


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.SystemBus()
name = dbus.service.BusName(NAME, bus, replace_existing=True, allow_replacement=True)
manager = Manager()
GLib.MainLoop().run()
