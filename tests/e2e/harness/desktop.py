"""One private desktop session: display, buses, secret store and folders."""

import contextlib
import os
import pathlib
import shutil
import tempfile

from .buses import Bus
from .display import OPENBOX, Display
from .keyring import Keyring, KeyringDaemon

# What may be started over the session bus; everything else of the machine stays out.
SERVICES = ("org.a11y.Bus", "org.xfce.Xfconf")
PROMPTER_SERVICES = ("org.gnome.keyring.SystemPrompter",)

# The only variables that programs of the private session inherit.
_INHERITED = ("PATH", "QUILLO_PROGRAM", "ASAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS")


class Desktop(contextlib.ExitStack):
    """A desktop session in a folder of its own below /tmp; use it as a context.

    `environment` is what programs of the session start with. Unix socket paths are limited to 107 bytes,
    so the folder's path is kept short.
    """

    def __init__(self, *, keyring=Keyring.UNLOCKED, services=SERVICES, size="1280x800", window_manager=OPENBOX):
        super().__init__()
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="quillo-desktop-"))
        self.callback(shutil.rmtree, self.folder, ignore_errors=True)
        try:
            self.environment = self._make_environment()
            self.display = self.keep(Display(self.folder, self.environment, size=size))
            self.bus = self.keep(Bus(self.folder, self.environment, services=services))
            self.keyring = None
            if keyring is not Keyring.ABSENT:
                self.keyring = self.keep(KeyringDaemon(self.folder, self.bus, self.environment))
            if keyring is Keyring.LOCKED:
                self.keyring.lock()
            self.display.start_window_manager(window_manager)
        except BaseException:
            self.close()
            raise

    def keep(self, part):
        """Stops `part` with the session, before everything that was started earlier."""
        self.callback(part.stop)
        return part

    def _make_environment(self):
        environment = {name: os.environ[name] for name in _INHERITED if name in os.environ}
        folders = {
            "HOME": "home",
            "XDG_RUNTIME_DIR": "runtime",
            "XDG_CONFIG_HOME": "home/.config",
            "XDG_DATA_HOME": "home/.local/share",
            "XDG_CACHE_HOME": "home/.cache",
            "XDG_STATE_HOME": "home/.local/state",
            "TMPDIR": "tmp",
        }
        for variable, relative in folders.items():
            folder = self.folder / relative
            folder.mkdir(mode=0o700, parents=True, exist_ok=True)
            environment[variable] = str(folder)
        environment["XDG_DATA_DIRS"] = "/usr/local/share:/usr/share"
        environment["LC_ALL"] = "C.UTF-8"
        environment["TZ"] = "UTC"
        # No system bus unless a test brings one of its own.
        environment["DBUS_SYSTEM_BUS_ADDRESS"] = f"unix:path={self.folder}/no-system-bus"
        return environment

    @property
    def config_home(self):
        return pathlib.Path(self.environment["XDG_CONFIG_HOME"])

    @property
    def data_home(self):
        return pathlib.Path(self.environment["XDG_DATA_HOME"])

    def start_system_bus(self):
        """A private system bus; programs started afterwards use it."""
        return self.keep(Bus(self.folder, self.environment, kind="system"))
