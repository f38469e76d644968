"""The windows on a display, as its window manager has them."""

import re
import subprocess

from .processes import Child
from .waiting import wait_until


class Windows:
    """What a person sees and does with windows; a window is named by its identifier."""

    def __init__(self, desktop):
        self._desktop = desktop

    def titled(self, title):
        """The windows that are open with exactly this title, minimised ones included."""
        return [window for window in self._managed() if self._title(window) == title]

    def wait_for(self, title):
        """The one window with this title, once it is there."""
        wait_until(lambda: self.titled(title), f"a window titled {title!r}")
        (window,) = self.titled(title)
        return window

    def wait_for_none(self, title):
        wait_until(lambda: not self.titled(title), f"the end of every window titled {title!r}")

    def wait_until_active(self, window):
        """Waits until the window has the focus and is the topmost of all."""
        wait_until(lambda: self.is_active(window), f"window {window} in front with the focus")

    def is_active(self, window):
        # Some write a second number behind the window.
        return self._root_windows("_NET_ACTIVE_WINDOW")[:1] == [window] and self._topmost() == window

    def wait_until_minimised(self, window):
        wait_until(lambda: "Iconic" in self._xprop("-id", window, "WM_STATE"), f"window {window} minimised")

    def size(self, window):
        """Width and height of the content."""
        found = re.findall(r"(?:WIDTH|HEIGHT)=(\d+)", self._run("xdotool", "getwindowgeometry", "--shell", window))
        return tuple(map(int, found))

    def wait_for_size(self, window, size):
        wait_until(lambda: self.size(window) == size, lambda: f"{size}, but the window is {self.size(window)}")

    def resize(self, window, width, height):
        self._run("xdotool", "windowsize", window, str(width), str(height))

    def activate(self, window):
        """Brings a window to the front as a task bar does."""
        self._run("xdotool", "windowactivate", "--sync", window)
        self.wait_until_active(window)

    def minimise(self, window):
        self._run("xdotool", "windowminimize", window)
        self.wait_until_minimised(window)

    def close(self, window):
        """Closes the window as its title bar's button does."""
        self._run("xdotool", "windowactivate", "--sync", window)
        self.press("alt+F4")

    def cover(self):
        """Puts another program's window over everything and gives it the focus; returns the window."""
        title = "Another program"
        command = ["xmessage", "-geometry", "1200x700+0+0", "-title", title, "over everything"]
        log = self._desktop.folder / "other.log"
        self._desktop.keep(Child(command, environment=self._desktop.environment, log=log))
        other = self.wait_for(title)
        self.wait_until_active(other)
        return other

    def press(self, keys):
        """Types into whatever window has the focus, such as "ctrl+shift+r"."""
        self._run("xdotool", "key", keys)

    def type(self, text):
        """Types a text into whatever window has the focus."""
        self._run("xdotool", "type", text)

    def click(self, x, y):
        """Clicks at a place of the screen."""
        self._run("xdotool", "mousemove", str(x), str(y), "click", "1")

    def _topmost(self):
        """Of the tree of all windows, which begins with the topmost; not every window manager tells."""
        tree = re.findall(r"^\s*(0x[0-9a-f]+)", self._run("xwininfo", "-root", "-tree"), re.MULTILINE)
        managed = set(self._managed())
        return next((str(int(number, 16)) for number in tree if str(int(number, 16)) in managed), None)

    def _managed(self):
        return self._root_windows("_NET_CLIENT_LIST")

    def _root_windows(self, name):
        return [str(int(number, 16)) for number in re.findall(r"0x[0-9a-f]+", self._xprop("-root", name))]

    def _title(self, window):
        return self._run("xdotool", "getwindowname", window).removesuffix("\n")

    def _xprop(self, *arguments):
        return self._run("xprop", *arguments)

    def _run(self, *command):
        return subprocess.run(
            command, env=self._desktop.environment, capture_output=True, text=True, check=False, timeout=30
        ).stdout
