"""A panel in a few lines: the part of a tray that status items see."""

from dataclasses import dataclass

from gi.repository import Gio, GLib

from .buses import call
from .waiting import wait_until

NAME = "org.kde.StatusNotifierWatcher"
PATH = "/StatusNotifierWatcher"
ITEM = "org.kde.StatusNotifierItem"
MENU = "com.canonical.dbusmenu"

_INTERFACE = """<node><interface name="org.kde.StatusNotifierWatcher">
  <method name="RegisterStatusNotifierItem"><arg name="service" type="s" direction="in"/></method>
  <method name="RegisterStatusNotifierHost"><arg name="service" type="s" direction="in"/></method>
  <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
  <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
  <property name="ProtocolVersion" type="i" access="read"/>
  <signal name="StatusNotifierItemRegistered"><arg type="s"/></signal>
  <signal name="StatusNotifierItemUnregistered"><arg type="s"/></signal>
  <signal name="StatusNotifierHostRegistered"/>
</interface></node>"""


class Watcher:
    """Owns the watcher's name while it runs, and records every registration.

    It can be stopped and started again any number of times; each start is a new owner on a new connection,
    like a panel that was killed and came back.
    """

    def __init__(self, bus):
        self._bus = bus
        self._connection = None
        self.registrations = []

    def start(self):
        self._connection = self._bus.connect()
        interface = Gio.DBusNodeInfo.new_for_xml(_INTERFACE).interfaces[0]
        self._connection.register_object(PATH, interface, self._on_call, self._on_get, None)
        do_not_queue = 4
        (answer,) = call(
            self._connection,
            "org.freedesktop.DBus",
            "/org/freedesktop/DBus",
            "org.freedesktop.DBus",
            "RequestName",
            GLib.Variant("(su)", (NAME, do_not_queue)),
        )
        if answer != 1:
            raise RuntimeError("another watcher is running on this bus")

    def stop(self):
        self._connection.close_sync(None)
        self._connection = None
        self.registrations.clear()

    def restart(self):
        self.stop()
        self.start()

    def wait_for_item(self, *, timeout=30.0):
        """The one registered item; a second registration with the same owner of the name is an error."""
        wait_until(lambda: self.registrations, "an item to register", timeout=timeout)
        assert len(self.registrations) == 1, self.registrations
        return StatusItem(self._bus.connection, *self.registrations[0])

    def _on_call(self, _connection, sender, _path, _interface, method, arguments, invocation):
        if method == "RegisterStatusNotifierItem":
            (service,) = arguments.unpack()
            registration = (sender, service) if service.startswith("/") else (service, "/StatusNotifierItem")
            self.registrations.append(registration)
        invocation.return_value(None)

    def _on_get(self, _connection, _sender, _path, _interface, name):
        if name == "RegisteredStatusNotifierItems":
            return GLib.Variant("as", ["".join(registration) for registration in self.registrations])
        if name == "IsStatusNotifierHostRegistered":
            return GLib.Variant("b", True)
        return GLib.Variant("i", 0)


@dataclass
class MenuEntry:
    """One entry of a menu and those below it; `properties` as the program gave them."""

    id: int
    properties: dict
    children: list

    @property
    def label(self):
        return self.properties.get("label", "").replace("__", "_")

    def everything(self):
        """All entries below this one, in order."""
        for entry in self.children:
            yield entry
            yield from entry.everything()

    def labels(self):
        """The texts of all entries in order, those of submenus after their title; dividers are "---"."""
        texts = []
        for entry in self.children:
            texts.append("---" if entry.properties.get("type") == "separator" else entry.label)
            texts += entry.labels()
        return texts


class StatusItem:
    """A status item as its panel reads it."""

    def __init__(self, connection, bus_name, path):
        self._connection = connection
        self._bus_name = bus_name
        self._path = path
        self.signals = []
        for interface in (ITEM, MENU, "org.freedesktop.DBus.Properties"):
            connection.signal_subscribe(
                bus_name, interface, None, None, None, Gio.DBusSignalFlags.NONE, self._on_signal
            )

    def _on_signal(self, _connection, _sender, _path, _interface, name, arguments):
        self.signals.append((name, arguments.unpack()))

    def read(self, name):
        (value,) = call(
            self._connection,
            self._bus_name,
            self._path,
            "org.freedesktop.DBus.Properties",
            "Get",
            GLib.Variant("(ss)", (ITEM, name)),
        )
        return value

    def is_there(self):
        """Whether its program still shows it."""
        try:
            self.read("Id")
        except GLib.Error:
            return False
        return True

    @property
    def label(self):
        return self.read("XAyatanaLabel")

    @property
    def icon(self):
        return self.read("IconName")

    def shown(self):
        """What the user sees: the icon's name and the text."""
        return (self.icon, self.label)

    def wait_for(self, icon, label, *, timeout=30.0):
        """Waits until the item shows exactly this icon and text."""
        wanted = _as_shown(icon, label)
        wait_until(
            lambda: self.shown() == wanted, lambda: f"{wanted}, but the item shows {self.shown()}", timeout=timeout
        )

    def menu(self):
        """The whole menu as the panel gets it."""
        revision, root = self.menu_call("GetLayout", GLib.Variant("(iias)", (0, -1, [])))
        assert revision >= 0
        return _entry(root)

    def error(self):
        """The text of the menu's error line; None when there is none."""
        lines = [label for label in self.menu().labels() if label.startswith("Error: ")]
        return lines[0].removeprefix("Error: ") if lines else None

    def wait_for_error(self, text, *, label="Quillo"):
        """Waits until the item shows its error symbol beside `label`, and this error line in its menu."""
        self.wait_for("exclamationmark.circle", label)
        wait_until(
            lambda: self.error() == text, lambda: f"the error line {text!r}; the menu has {self.error()!r}"
        )

    def open_menu(self):
        """Tells the program that the user opens the menu, as an indicator applet does."""
        self.menu_call("AboutToShowGroup", GLib.Variant("(ai)", ([0],)))

    def open_menu_until(self, icon, label, *, timeout=30.0):
        """Opens the menu again and again until the item shows exactly this icon and text."""
        wanted = _as_shown(icon, label)

        def opened():
            self.open_menu()
            return self.shown() == wanted

        wait_until(opened, lambda: f"{wanted}, but the item shows {self.shown()}", timeout=timeout)

    def activate_menu(self, label):
        """Clicks the first enabled entry with this text."""
        for entry in self.menu().everything():
            if entry.label == label and entry.properties.get("enabled", True):
                event = GLib.Variant("(isvu)", (entry.id, "clicked", GLib.Variant("s", ""), 0))
                self.menu_call("Event", event)
                return
        raise LookupError(f"no entry {label!r} in {self.menu().labels()}")

    def menu_call(self, method, arguments):
        return call(self._connection, self._bus_name, self.read("Menu"), MENU, method, arguments)


def _as_shown(icon, label):
    return (f"quillo-{icon.replace('.', '-')}-symbolic", label)


def _entry(layout):
    identifier, properties, children = layout
    return MenuEntry(identifier, properties, [_entry(child) for child in children])
