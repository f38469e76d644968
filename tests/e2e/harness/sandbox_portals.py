"""What sandboxed programs ask of a desktop: the portals' real front end, and behind it a user that the test plays."""

from gi.repository import Gio, GLib

from .processes import Child

# Services that the front end starts when it needs them.
SERVICES = ("org.freedesktop.impl.portal.PermissionStore",)

_FRONT_END = "/usr/libexec/xdg-desktop-portal"
_NAME = "org.freedesktop.impl.portal.desktop.quillotest"
_PATH = "/org/freedesktop/portal/desktop"
_BACKGROUND = "org.freedesktop.impl.portal.Background"
_ACCESS = "org.freedesktop.impl.portal.Access"

_DESCRIPTIONS = {
    "quillotest": f"[portal]\nDBusName={_NAME}\nInterfaces={_BACKGROUND};{_ACCESS};\nUseIn=quillotest\n",
    "keyring": "[portal]\nDBusName=org.freedesktop.secrets\nInterfaces=org.freedesktop.impl.portal.Secret;\n"
    "UseIn=quillotest\n",
}

_INTERFACES = f"""<node>
  <interface name="{_BACKGROUND}">
    <method name="GetAppState"><arg type="a{{sv}}" direction="out"/></method>
    <method name="EnableAutostart">
      <arg type="s" direction="in"/><arg type="b" direction="in"/><arg type="as" direction="in"/>
      <arg type="u" direction="in"/><arg type="b" direction="out"/>
    </method>
  </interface>
  <interface name="{_ACCESS}">
    <method name="AccessDialog">
      <arg type="o" direction="in"/><arg type="s" direction="in"/><arg type="s" direction="in"/>
      <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="s" direction="in"/>
      <arg type="a{{sv}}" direction="in"/>
      <arg type="u" direction="out"/><arg type="a{{sv}}" direction="out"/>
    </method>
  </interface>
</node>"""


class SandboxPortals:
    """A desktop with a keyring that gives sandboxed programs their master secret, and with autostart entries.

    `autostart` has what was last asked for: a program's id, whether it starts at login, and its command line.
    """

    def __init__(self, desktop, *, allows_autostart=True):
        self.autostart = None
        self._allows_autostart = allows_autostart
        connection = desktop.bus.connect()
        for interface in Gio.DBusNodeInfo.new_for_xml(_INTERFACES).interfaces:
            connection.register_object(_PATH, interface, self._on_call, None, None)
        Gio.bus_own_name_on_connection(connection, _NAME, Gio.BusNameOwnerFlags.NONE, None, None)
        desktop.bus.wait_for_owner(_NAME)
        portals = desktop.folder / "portals"
        portals.mkdir()
        for name, description in _DESCRIPTIONS.items():
            (portals / f"{name}.portal").write_text(description)
        environment = {
            **desktop.environment,
            "XDG_DESKTOP_PORTAL_DIR": str(portals),
            "XDG_CURRENT_DESKTOP": "quillotest",
        }
        desktop.keep(Child([_FRONT_END], environment=environment, log=desktop.folder / "portal.log"))
        desktop.bus.wait_for_owner("org.freedesktop.portal.Desktop")

    def _on_call(self, _connection, _sender, _path, _interface, method, arguments, invocation):
        if method == "EnableAutostart":
            program, enabled, command, _flags = arguments.unpack()
            self.autostart = (program, enabled, command)
            invocation.return_value(GLib.Variant("(b)", (enabled and self._allows_autostart,)))
        elif method == "AccessDialog":
            invocation.return_value(GLib.Variant("(ua{sv})", (0, {})))
        else:
            invocation.return_value(GLib.Variant("(a{sv})", ({},)))
