"""A real bar of Wayland sessions, which shows pictures of status items in their own shape."""

import json

from .display import required_program
from .processes import Child

_STYLES = {
    "dark": "* { background: #2b303b; color: #ffffff; }",
    "light": "* { background: #f6f5f4; color: #2e3436; }",
}


class Waybar:
    """Waybar along the top of a compositor's screen, with its tray at the right end."""

    def __init__(self, desktop, sway, *, look="dark"):
        self._desktop = desktop
        self._environment = {**desktop.environment, **sway.environment, "GDK_BACKEND": "wayland"}
        self._configuration = desktop.folder / "waybar.json"
        self._style = desktop.folder / "waybar.css"
        bar = {"layer": "top", "position": "top", "height": 30, "modules-right": ["tray"], "tray": {"icon-size": 22}}
        self._configuration.write_text(json.dumps(bar), encoding="utf-8")
        self._style.write_text(_STYLES[look], encoding="utf-8")

    def start(self):
        """Starts the bar; returns when it takes items."""
        command = [required_program("waybar"), "--config", str(self._configuration), "--style", str(self._style)]
        log = self._desktop.folder / "waybar.log"
        self._desktop.keep(Child(command, environment=self._environment, log=log))
        self._desktop.bus.wait_for_owner("org.kde.StatusNotifierWatcher")
