"""Menus on a screen that is otherwise empty, worked with mouse and keyboard."""

import re
import subprocess
from dataclasses import dataclass

from .waiting import wait_until

SCREEN_WIDTH = 1280
SCREEN_HEIGHT = 800
PANEL_HEIGHT = 34

# The panel shows one below the item when the mouse rests there; menus are several times as high.
_TOOL_TIP_HEIGHT = 80


@dataclass(frozen=True)
class Box:
    """A rectangle of the screen, in pixels."""

    x: int
    y: int
    width: int
    height: int


class Popup:
    """What is open below a panel along the top of the screen."""

    def __init__(self, desktop):
        self._desktop = desktop

    def open(self, *, button=1, from_right=40):
        """Clicks the item at the right end of the panel and waits for its menu; returns where that is.

        `from_right` is how far from the edge of the screen the item is hit.
        """
        wait_until(self._item_is_there, "an item at the right end of the panel")
        self._xdotool("mousemove", str(SCREEN_WIDTH - from_right), str(PANEL_HEIGHT // 2))
        self._xdotool("click", str(button))
        return self.wait_for(lambda box: box is not None, "an open menu")

    def press(self, *keys):
        self._xdotool("key", "--delay", "40", *keys)

    def wait_for(self, condition, what):
        """Waits until all that is open stands still and fits the condition; returns where that is."""
        looks = [None, self.box()]

        def stands_and_fits():
            looks.append(self.box())
            return looks[-1] == looks[-2] and condition(looks[-1])

        wait_until(stands_and_fits, lambda: f"{what}; there is {looks[-1]}")
        return looks[-1]

    def close(self):
        """Leaves the menu and its submenus."""

        def closed():
            self.press("Escape")
            return self.box() is None

        wait_until(closed, "the end of the menu")

    def box(self):
        """The smallest rectangle around everything below the panel; None when no menu is there."""
        picture = self._picture(f"{SCREEN_WIDTH}x{SCREEN_HEIGHT - PANEL_HEIGHT}+0+{PANEL_HEIGHT}")
        # A black frame keeps the measuring honest where a menu touches the edge of the screen.
        found = re.findall(r"-?\d+", self._measure(picture, "-bordercolor", "black", "-border", "1", "-format", "%@"))
        width, height, x, y = map(int, found)
        return Box(x - 1, y - 1 + PANEL_HEIGHT, width, height) if height > _TOOL_TIP_HEIGHT else None

    def _item_is_there(self):
        """An empty panel has one colour, or a few where it is shaded; text has many."""
        colours = self._measure(self._picture(f"70x24+{SCREEN_WIDTH - 75}+4"), "-format", "%k")
        return int(colours) > 10

    def _picture(self, area):
        grab = ["import", "-display", self._desktop.display.name, "-window", "root", "-crop", area, "+repage"]
        return self._run(*grab, "png:-")

    def _measure(self, picture, *what):
        return self._run("convert", "png:-", *what, "info:", read=picture).decode()

    def _xdotool(self, *arguments):
        self._run("xdotool", *arguments)

    def _run(self, *command, read=None):
        return subprocess.run(
            command, env=self._desktop.environment, input=read, capture_output=True, check=True, timeout=30
        ).stdout
