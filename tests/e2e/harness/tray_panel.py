"""A real panel whose tray takes windows and items but shows no labels: xfce4-panel with the systray plugin."""

import contextlib
import os
import re
import signal
import subprocess
from dataclasses import dataclass

from gi.repository import GLib

from .display import required_program
from .panel import configure_xfce4_panel
from .processes import Child
from .waiting import wait_until
from .watcher import NAME, PATH


@dataclass(frozen=True)
class TrayWindow:
    """A window that stands in the tray, with its place on the screen in pixels."""

    identifier: str
    width: int
    height: int
    x: int
    y: int


class TrayPanel:
    """A panel along the top of the display with its tray at the right end."""

    def __init__(self, desktop, *, dark=False, square=False):
        self._desktop = desktop
        self._child = None
        configure_xfce4_panel(desktop, "systray", dark=dark, square_icons=square)
        desktop.callback(self.stop)

    def start(self, **environment):
        """Starts the panel; returns when its tray takes items. Arguments override variables of the session."""
        command = [required_program("xfce4-panel"), "--disable-wm-check"]
        log = self._desktop.folder / "xfce4-panel.log"
        self._child = Child(command, environment={**self._desktop.environment, **environment}, log=log)
        self._desktop.bus.wait_for_owner("org.kde.StatusNotifierWatcher")

    def windows(self):
        """Quillo's windows within other programs' windows."""
        tree = self._run("xwininfo", "-root", "-tree").decode()
        pattern = re.compile(r'^( +)(0x[0-9a-f]+) "Quillo": .*?(\d+)x(\d+)\S+ +\+(-?\d+)\+(-?\d+)$', re.MULTILINE)
        depth_of_top_windows = 5
        return [
            TrayWindow(identifier, int(width), int(height), int(x), int(y))
            for indent, identifier, width, height, x, y in pattern.findall(tree)
            if len(indent) > depth_of_top_windows
        ]

    def wait_for_window(self, condition):
        """The one window in the tray, once it fits the condition."""
        found = wait_until(
            lambda: [window for window in self.windows() if condition(window)],
            lambda: f"a fitting window in the tray, where there is {self.windows()}",
        )
        assert len(self.windows()) == 1
        return found[0]

    def items(self):
        """The status items that the panel has been given."""
        read = GLib.Variant("(ss)", (NAME, "RegisteredStatusNotifierItems"))
        (items,) = self._desktop.bus.call(NAME, PATH, "org.freedesktop.DBus.Properties", "Get", read)
        return items

    def tones(self, window):
        """How bright the window's background, its brightest and its darkest pixel are, of 255."""
        picture = ["import", "-display", self._desktop.display.name, "-window", "root"]
        picture += ["-crop", f"{window.width}x{window.height}+{window.x}+{window.y}", "+repage"]
        grey = self._run(*picture, "-depth", "8", "-colorspace", "Gray", "gray:-")
        return grey[0], max(grey), min(grey)

    def picture(self, window):
        """The pixels that a person sees in the window's place."""
        place = f"{window.width}x{window.height}+{window.x}+{window.y}"
        command = ["import", "-display", self._desktop.display.name, "-window", "root", "-crop", place, "+repage"]
        return self._run(*command, "-depth", "8", "rgb:-")

    @contextlib.contextmanager
    def stopped(self):
        """The tray stands still, as on a busy machine: what it is asked meanwhile reaches it all at once."""
        owner = GLib.Variant("(s)", (NAME,))
        bus = "org.freedesktop.DBus"
        (process,) = self._desktop.bus.call(bus, "/org/freedesktop/DBus", bus, "GetConnectionUnixProcessID", owner)
        os.kill(process, signal.SIGSTOP)
        try:
            yield
        finally:
            os.kill(process, signal.SIGCONT)

    def _run(self, *command):
        return subprocess.run(
            command, env=self._desktop.environment, capture_output=True, check=True, timeout=30
        ).stdout

    def stop(self):
        if self._child:
            self._child.stop()

    def crash(self):
        """Ends the panel without letting it say goodbye."""
        self._child.kill()
