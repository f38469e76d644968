"""A Wayland compositor without a screen, beside the session's X server."""

import json
import os
import pathlib
import shutil
import subprocess
import tempfile

from .display import required_program
from .processes import Child
from .waiting import wait_until

_CONFIGURATION = "xwayland disable\noutput HEADLESS-1 mode 1280x800 scale {scale}\n"
_NOBODY = "65534"


class Sway:
    """A running sway in a folder of its own; `environment` is what programs in front of it start with.

    It refuses to run as root, so there it runs as nobody.
    """

    def __init__(self, desktop, *, scale=1):
        self._folder = pathlib.Path(tempfile.mkdtemp(prefix="quillo-sway-"))
        desktop.callback(shutil.rmtree, self._folder, ignore_errors=True)
        configuration = self._folder / "config"
        configuration.write_text(_CONFIGURATION.format(scale=scale), encoding="utf-8")
        self._socket = self._folder / "ipc"
        own = {
            "PATH": desktop.environment["PATH"],
            "HOME": str(self._folder),
            "XDG_RUNTIME_DIR": str(self._folder),
            "LC_ALL": "C.UTF-8",
            "WLR_BACKENDS": "headless",
            "WLR_LIBINPUT_NO_DEVICES": "1",
            "WLR_RENDERER": "pixman",
            "SWAYSOCK": str(self._socket),
        }
        command = [required_program("sway"), "--config", str(configuration)]
        if os.geteuid() == 0:
            os.chown(self._folder, int(_NOBODY), int(_NOBODY))
            user = [f"--reuid={_NOBODY}", f"--regid={_NOBODY}", "--clear-groups", "--pdeathsig=TERM"]
            command = [required_program("setpriv"), *user, *command]
        log = desktop.folder / "sway.log"
        self._compositor = desktop.keep(Child(command, environment=own, log=log))

        def display():
            found = (path for path in self._folder.glob("wayland-*") if path.suffix != ".lock")
            return next(found, None)

        path = wait_until(display, lambda: f"a Wayland display:\n{self._compositor.output()}")
        self.environment = {"WAYLAND_DISPLAY": str(path), "QT_QPA_PLATFORM": "wayland"}
        wait_until(lambda: self._ask("get_version"), lambda: f"sway's answers:\n{self._compositor.output()}")

    def screenshot(self, path, area):
        """Writes a part of the screen, "X,Y WIDTHxHEIGHT" in logical pixels, to a PNG file."""
        environment = {**os.environ, **self.environment}
        command = [required_program("grim"), "-g", area, str(path)]
        subprocess.run(command, env=environment, check=True, timeout=30)

    def windows(self):
        """The windows that are there, as {title: (application id, whether it has the focus)}."""
        found = {}
        rest = [self._ask("get_tree")]
        while rest:
            node = rest.pop()
            rest += node["nodes"] + node["floating_nodes"]
            if node.get("app_id"):
                found[node["name"]] = (node["app_id"], node["focused"])
        return found

    def _ask(self, what):
        command = ["swaymsg", "--socket", str(self._socket), "--raw", "--type", what]
        answer = subprocess.run(command, capture_output=True, text=True, check=False, timeout=30)
        return json.loads(answer.stdout) if answer.returncode == 0 else None
