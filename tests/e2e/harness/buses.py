"""Private D-Bus daemons, and calls over them that keep serving this process's own objects."""

import os
import subprocess

from gi.repository import Gio, GLib

from .processes import Child
from .waiting import wait_until

_CONFIGURATION = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>{kind}</type>
  <listen>unix:path={socket}</listen>
  <auth>EXTERNAL</auth>
  <servicedir>{services}</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""

_INSTALLED_SERVICES = "/usr/share/dbus-1/services"


class Bus:
    """A dbus-daemon of the given kind ("session" or "system") that activates only what `services` lists.

    `services` are file names below the system's folder of session services, without ".service".
    """

    def __init__(self, folder, environment, *, kind="session", services=()):
        home = folder / f"{kind}-bus"
        allowed = home / "services"
        allowed.mkdir(parents=True)
        for service in services:
            os.symlink(f"{_INSTALLED_SERVICES}/{service}.service", allowed / f"{service}.service")
        configuration = home / "bus.conf"
        configuration.write_text(_CONFIGURATION.format(kind=kind, socket=home / "socket", services=allowed))
        command = ["dbus-daemon", f"--config-file={configuration}", "--nofork", "--nopidfile", "--print-address=1"]
        self._daemon = Child(
            command, environment=environment, log=folder / f"{kind}-bus.log", stdout=subprocess.PIPE
        )
        self.address = self._daemon.process.stdout.readline().decode().strip()
        if not self.address:
            raise RuntimeError(f"dbus-daemon did not start:\n{self._daemon.output()}")
        environment[f"DBUS_{kind.upper()}_BUS_ADDRESS"] = self.address
        self._connections = []
        self.connection = self.connect()

    def connect(self, address=None):
        """A new connection of this process to this bus, or to one that belongs to it; closed with the bus."""
        flags = Gio.DBusConnectionFlags
        connection = Gio.DBusConnection.new_for_address_sync(
            address or self.address, flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION, None, None
        )
        self._connections.append(connection)
        return connection

    def call(self, destination, path, interface, method, arguments=None, *, timeout=5.0):
        """Calls a method, serving the main context meanwhile; returns the unpacked answer."""
        return call(self.connection, destination, path, interface, method, arguments, timeout=timeout)

    def has_owner(self, name):
        (owned,) = self.call(
            "org.freedesktop.DBus",
            "/org/freedesktop/DBus",
            "org.freedesktop.DBus",
            "NameHasOwner",
            GLib.Variant("(s)", (name,)),
        )
        return owned

    def owner(self, name):
        """The unique name behind a well-known one; fails when nobody owns it."""
        (owner,) = self.call(
            "org.freedesktop.DBus",
            "/org/freedesktop/DBus",
            "org.freedesktop.DBus",
            "GetNameOwner",
            GLib.Variant("(s)", (name,)),
        )
        return owner

    def wait_for_owner(self, name, *, timeout=30.0):
        wait_until(lambda: self.has_owner(name), f"an owner of {name}", timeout=timeout)

    def kill(self):
        """Ends the daemon under its programs, as a crash would."""
        self._daemon.kill()

    def stop(self):
        for connection in self._connections:
            if not connection.is_closed():
                connection.close_sync(None)
        self._daemon.stop()


def call(connection, destination, path, interface, method, arguments=None, *, timeout=5.0):
    """Calls a method over any connection, serving the main context meanwhile; returns the unpacked answer."""
    answers = []
    connection.call(
        destination,
        path,
        interface,
        method,
        arguments,
        None,
        Gio.DBusCallFlags.NO_AUTO_START,
        int(timeout * 1000),
        None,
        lambda _, result: answers.append(result),
    )
    wait_until(lambda: answers, f"an answer to {interface}.{method}", timeout=timeout + 1)
    return connection.call_finish(answers[0]).unpack()
