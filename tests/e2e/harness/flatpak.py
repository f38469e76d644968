"""A Flatpak's sandbox as Flatpak itself makes it: bubblewrap, a filter before the session bus, and /.flatpak-info.

What it may do is what the manifest says. The runtime is this machine's /usr.
"""

import json
import os
import pathlib
import subprocess

from .display import required_program
from .processes import Child
from .program import APPLICATION_ID, ROOT, executable
from .waiting import wait_until

MANIFEST = ROOT / "packaging/flatpak/app.quillo.Quillo.json"

_INFO = """[Application]
name={id}
runtime=runtime/org.kde.Platform/x86_64/6.7

[Instance]
instance-id=1
app-path=/app

[Context]
shared=network;ipc;
"""


class Flatpak:
    """The built program, installed below /app of a sandbox. `command` starts it there.

    `environment` overrides variables within.
    """

    def __init__(self, desktop, **environment):
        self._desktop = desktop
        self._folder = desktop.folder / "flatpak"
        self._permissions = json.loads(MANIFEST.read_text(encoding="utf-8"))["finish-args"]
        self.home = pathlib.Path(desktop.environment["HOME"]) / f".var/app/{APPLICATION_ID}"
        self.runtime = pathlib.Path(desktop.environment["XDG_RUNTIME_DIR"]) / f"app/{APPLICATION_ID}"
        for folder in (self._folder, self.runtime, *(self.home / name for name in ("config", "data", "cache"))):
            folder.mkdir(mode=0o700, parents=True)
        self._info = self._folder / "info"
        self._info.write_text(_INFO.format(id=APPLICATION_ID))
        self._install()
        self._environment = {**self._variables(), **environment}
        self._start_bus_filter()

    @property
    def settings_file(self):
        return self.home / "config/quillo/defaults.json"

    def command(self, *words):
        """What runs `words` in the sandbox: by default the program."""
        shared = [self._info, self.runtime, self.home, *self._display_sockets()]
        mounts = ["--ro-bind", self._info, "/.flatpak-info", "--ro-bind", self._folder / "app", "/app"]
        for path in shared[1:]:
            mounts += ["--bind", path, path]
        variables = [word for name, value in self._environment.items() for word in ("--setenv", name, value)]
        isolation = ["--unshare-pid", "--proc", "/proc", "--dev", "/dev", "--clearenv", "--die-with-parent"]
        for share in {"network": "net", "ipc": "ipc"}.items():
            if f"--share={share[0]}" not in self._permissions:
                isolation.append(f"--unshare-{share[1]}")
        bus = ["--ro-bind", self._folder / "bus", "/run/flatpak/bus"]
        return [str(word) for word in (*self._root(), *isolation, *mounts, *bus, *variables, *(words or ["quillo"]))]

    def store_secret(self, account, secret):
        """Puts a secret where the program in the sandbox looks for it, as another program in there would."""
        words = ["secret-tool", "store", "--label=Quillo", "service", APPLICATION_ID, "account", account]
        # libsecret's tool misses an answer of the portal that comes quickly, and then waits for ever.
        for _ in range(10):
            child = Child(
                self.command(*words), environment={}, log=self._folder / "secret-tool.log", stdin=subprocess.PIPE
            )
            child.process.stdin.write(secret.encode())
            child.process.stdin.close()
            child.process.stdin = None
            try:
                # The desktop that it asks may be this process, so that waiting has to serve the bus.
                if child.wait(timeout=5) == 0:
                    return
            except TimeoutError:
                child.kill()
        raise RuntimeError(f"secret-tool stores nothing in the sandbox:\n{child.output()}")

    def _install(self):
        build = executable().parents[1]
        command = ["cmake", "--install", str(build), "--prefix", str(self._folder / "app")]
        subprocess.run(command, check=True, capture_output=True, timeout=60)

    def _variables(self):
        kept = {name: self._desktop.environment[name] for name in ("HOME", "XDG_RUNTIME_DIR", "LC_ALL", "TZ", "DISPLAY")}
        return {
            **kept,
            "PATH": "/app/bin:/usr/bin",
            "FLATPAK_ID": APPLICATION_ID,
            "DBUS_SESSION_BUS_ADDRESS": "unix:path=/run/flatpak/bus",
            "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/run/flatpak/no-system-bus",
            "XDG_CONFIG_HOME": str(self.home / "config"),
            "XDG_DATA_HOME": str(self.home / "data"),
            "XDG_CACHE_HOME": str(self.home / "cache"),
            "XDG_DATA_DIRS": "/app/share:/usr/share",
        }

    def _display_sockets(self):
        if "--socket=fallback-x11" in self._permissions:
            return [f"/tmp/.X11-unix/X{self._desktop.environment['DISPLAY'].removeprefix(':')}"]
        return []

    @staticmethod
    def _root():
        """A root without the host's files, but for its programs and their configuration."""
        links = [word for name in ("bin", "sbin", "lib", "lib64") for word in ("--symlink", f"usr/{name}", f"/{name}")]
        return [required_program("bwrap"), "--ro-bind", "/usr", "/usr", "--ro-bind", "/etc", "/etc", *links]

    def _start_bus_filter(self):
        """The filter stands in a sandbox of the same name, by which the portals know whose calls it passes on."""
        rules = [f"--own={APPLICATION_ID}", f"--own={APPLICATION_ID}.*"]
        rules += ["--call=org.freedesktop.portal.*=*", "--broadcast=org.freedesktop.portal.*=@/org/freedesktop/portal/*"]
        for permission in self._permissions:
            if permission.startswith("--talk-name="):
                rules.append(permission.replace("--talk-name=", "--talk="))
        socket = self._folder / "bus"
        folder = self._desktop.folder
        command = [*self._root(), "--ro-bind", str(self._info), "/.flatpak-info", "--proc", "/proc"]
        command += ["--bind", str(folder), str(folder), required_program("xdg-dbus-proxy")]
        command += [self._desktop.bus.address, str(socket), "--filter", *rules]
        child = Child(command, environment=dict(os.environ), log=folder / "bus-filter.log")
        self._desktop.keep(child)
        wait_until(socket.exists, lambda: f"the bus filter:\n{child.output()}")
