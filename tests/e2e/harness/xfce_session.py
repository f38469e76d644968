"""A real login: xfce4-session, which starts the user's autostart entries and ends everything at the logout."""

import pathlib

from gi.repository import GLib

from .display import required_program
from .processes import Child
from .waiting import wait_until

_NAME = "org.xfce.SessionManager"
_SYSTEM_ENTRIES = pathlib.Path("/etc/xdg/autostart")

# The manager insists on one program of its own; this one ends at once.
_CHANNEL = """<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-session" version="1.0">
  <property name="general" type="empty">
    <property name="FailsafeSessionName" type="string" value="Failsafe"/>
  </property>
  <property name="startup" type="empty">
    <property name="ssh-agent" type="empty"><property name="enabled" type="bool" value="false"/></property>
    <property name="gpg-agent" type="empty"><property name="enabled" type="bool" value="false"/></property>
  </property>
  <property name="sessions" type="empty">
    <property name="Failsafe" type="empty">
      <property name="IsFailsafe" type="bool" value="true"/>
      <property name="Count" type="int" value="1"/>
      <property name="Client0_Command" type="array"><value type="string" value="true"/></property>
      <property name="Client0_PerScreen" type="bool" value="false"/>
    </property>
  </property>
</channel>
"""


class XfceSession:
    """Logs in and out as often as needed; of the autostart entries only the user's own count."""

    def __init__(self, desktop):
        self._desktop = desktop
        self._manager = None
        channel = desktop.config_home / "xfce4/xfconf/xfce-perchannel-xml/xfce4-session.xml"
        channel.parent.mkdir(parents=True, exist_ok=True)
        channel.write_text(_CHANNEL)
        entries = desktop.config_home / "autostart"
        entries.mkdir(parents=True, exist_ok=True)
        for entry in _SYSTEM_ENTRIES.glob("*.desktop"):
            (entries / entry.name).write_text("[Desktop Entry]\nHidden=true\n")

    def log_in(self):
        """Returns when the manager has started what it starts."""
        command = [required_program("xfce4-session")]
        log = self._desktop.folder / "xfce4-session.log"
        self._manager = self._desktop.keep(Child(command, environment=self._desktop.environment, log=log))
        self._desktop.bus.wait_for_owner(_NAME)
        idle = 1
        wait_until(lambda: self._call("GetState") == (idle,), "the session to run")

    def log_out(self):
        """Has the manager save the session and end it; returns when the manager has ended."""
        self._call("Logout", GLib.Variant("(bb)", (False, True)))
        self._manager.wait()

    def _call(self, method, arguments=None):
        return self._desktop.bus.call(_NAME, "/org/xfce/SessionManager", "org.xfce.Session.Manager", method, arguments)
