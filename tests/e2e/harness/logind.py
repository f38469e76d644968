"""The login manager's announcements of sleep, on a private system bus."""

from gi.repository import GLib

from .processes import Child

_NAME = "org.freedesktop.login1"
_PATH = "/org/freedesktop/login1"


class Logind:
    """python-dbusmock's login manager; start it before the programs that listen to it."""

    def __init__(self, desktop):
        self._bus = desktop.start_system_bus()
        command = ["/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "logind"]
        desktop.keep(Child(command, environment=desktop.environment, log=desktop.folder / "logind.log"))
        self._bus.wait_for_owner(_NAME)

    def fall_asleep(self):
        self._prepare_for_sleep(True)

    def wake_up(self):
        self._prepare_for_sleep(False)

    def _prepare_for_sleep(self, going):
        arguments = ("org.freedesktop.login1.Manager", "PrepareForSleep", "b", [GLib.Variant("b", going)])
        self._bus.call(
            _NAME, _PATH, "org.freedesktop.DBus.Mock", "EmitSignal", GLib.Variant("(sssav)", arguments)
        )
