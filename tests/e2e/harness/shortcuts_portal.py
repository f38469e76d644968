"""The portal of global shortcuts: its real front end, and behind it a desktop that the test plays."""

from gi.repository import Gio, GLib

from .processes import Child
from .waiting import wait_until

_FRONT_END = "/usr/libexec/xdg-desktop-portal"
_FRONT_END_NAME = "org.freedesktop.portal.Desktop"
_NAME = "org.freedesktop.impl.portal.desktop.quillotest"
_PATH = "/org/freedesktop/portal/desktop"
_SHORTCUTS = "org.freedesktop.impl.portal.GlobalShortcuts"

_DESCRIPTION = f"[portal]\nDBusName={_NAME}\nInterfaces={_SHORTCUTS};\nUseIn=quillotest\n"

_INTERFACE = f"""<node><interface name="{_SHORTCUTS}">
  <method name="CreateSession">
    <arg type="o" direction="in"/><arg type="o" direction="in"/><arg type="s" direction="in"/>
    <arg type="a{{sv}}" direction="in"/>
    <arg type="u" direction="out"/><arg type="a{{sv}}" direction="out"/>
  </method>
  <method name="BindShortcuts">
    <arg type="o" direction="in"/><arg type="o" direction="in"/><arg type="a(sa{{sv}})" direction="in"/>
    <arg type="s" direction="in"/><arg type="a{{sv}}" direction="in"/>
    <arg type="u" direction="out"/><arg type="a{{sv}}" direction="out"/>
  </method>
  <signal name="Activated"><arg type="o"/><arg type="s"/><arg type="t"/><arg type="a{{sv}}"/></signal>
  <signal name="Deactivated"><arg type="o"/><arg type="s"/><arg type="t"/><arg type="a{{sv}}"/></signal>
  <property name="version" type="u" access="read"/>
</interface></node>"""


class ShortcutsPortal:
    """A desktop that grants every shortcut; start it before the programs that ask."""

    # What a program is started with to find itself on such a desktop.
    environment = {"XDG_SESSION_TYPE": "wayland", "QT_QPA_PLATFORM": "xcb"}

    def __init__(self, desktop):
        self._connection = desktop.bus.connect()
        self._session = None
        self.bound = []
        interface = Gio.DBusNodeInfo.new_for_xml(_INTERFACE).interfaces[0]
        self._connection.register_object(_PATH, interface, self._on_call, lambda *_: GLib.Variant("u", 1), None)
        Gio.bus_own_name_on_connection(self._connection, _NAME, Gio.BusNameOwnerFlags.NONE, None, None)
        desktop.bus.wait_for_owner(_NAME)
        portals = desktop.folder / "portals"
        portals.mkdir()
        (portals / "quillotest.portal").write_text(_DESCRIPTION)
        self._desktop = desktop
        self._environment = {
            **desktop.environment,
            "XDG_DESKTOP_PORTAL_DIR": str(portals),
            "XDG_CURRENT_DESKTOP": "quillotest",
        }
        self._start()

    def _start(self):
        log = self._desktop.folder / "portal.log"
        self._front_end = self._desktop.keep(Child([_FRONT_END], environment=self._environment, log=log))
        self._desktop.bus.wait_for_owner(_FRONT_END_NAME)

    def restart(self):
        """Ends the front end, with all its sessions, and starts another."""
        self._front_end.stop()
        wait_until(lambda: not self._desktop.bus.has_owner(_FRONT_END_NAME), "the end of the portal")
        self.bound = []
        self._start()

    @property
    def session_token(self):
        """What the program named its session, by which desktops remember the key."""
        return self._session.rpartition("/")[2]

    def press(self, shortcut, *, repeats=0):
        """Presses the shortcut's key, which says so again and again while it is held, and lets it go."""
        for _ in range(1 + repeats):
            self._emit("Activated", shortcut)
        self._emit("Deactivated", shortcut)

    def _emit(self, signal, shortcut):
        arguments = GLib.Variant("(osta{sv})", (self._session, shortcut, 0, {}))
        self._connection.emit_signal(None, _PATH, _SHORTCUTS, signal, arguments)

    def _on_call(self, _connection, _sender, _path, _interface, method, arguments, invocation):
        _, session, *rest = arguments.unpack()
        results = {}
        if method == "CreateSession":
            self._session = session
        else:
            self.bound = rest[0]
            results["shortcuts"] = arguments.get_child_value(2)
        invocation.return_value(GLib.Variant("(ua{sv})", (0, results)))
