"""A real panel that cuts every picture to a square: lxqt-panel."""

from .display import required_program
from .processes import Child

_SETTINGS = """[General]
__userfile__=true
panels=panel1

[panel1]
position=Top
panelSize=32
iconSize=22
plugins=spacer, statusnotifier

[spacer]
type=spacer
expandable=true
alignment=Left

[statusnotifier]
type=statusnotifier
alignment=Right
"""

BACKGROUNDS = {"light": "#f6f5f4", "dark": "#2b303b"}


class LxqtPanel:
    """A panel along the top of the display with its tray at the right end."""

    def __init__(self, desktop, *, look):
        self._desktop = desktop
        # Its own default is transparent, which without a compositor is whatever was there before.
        style = f"LXQtPanel #BackgroundWidget {{ background-color: {BACKGROUNDS[look]}; }}\n"
        self._write(desktop.data_home / "lxqt/themes/plain/lxqt-panel.qss", style)
        self._write(desktop.config_home / "lxqt/lxqt.conf", "[General]\ntheme=plain\n")
        self._write(desktop.config_home / "lxqt/panel.conf", _SETTINGS)

    def _write(self, file, content):
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(content, encoding="utf-8")

    def start(self):
        """Starts the panel; returns when it takes items."""
        log = self._desktop.folder / "lxqt-panel.log"
        self._desktop.keep(Child([required_program("lxqt-panel")], environment=self._desktop.environment, log=log))
        self._desktop.bus.wait_for_owner("org.kde.StatusNotifierWatcher")
