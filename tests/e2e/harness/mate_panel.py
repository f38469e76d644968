"""Another real panel: mate-panel with its notification area, which shows status items with their text."""

from .display import required_program
from .processes import Child

# To be started by the bus on the panel's behalf; a desktop with this panel needs it among its services.
MATE_SERVICES = ("org.mate.panel.applet.NotificationAreaAppletFactory",)

_SETTINGS = """[org/mate/panel/general]
toplevel-id-list=['top']
object-id-list=['tray']

[org/mate/panel/toplevels/top]
expand=true
orientation='top'
size=32

[org/mate/panel/objects/tray]
object-type='applet'
applet-iid='NotificationAreaAppletFactory::NotificationArea'
toplevel-id='top'
position=0
relative-to-edge='end'
locked=true
"""


class MatePanel:
    """A panel along the top of the display, with the tray at its right end.

    Icons are shown beside labels, which is a setting of the desktop's that is off by default.
    """

    def __init__(self, desktop):
        self._desktop = desktop
        self._write("glib-2.0/settings/keyfile", _SETTINGS)
        self._write("gtk-3.0/settings.ini", "[Settings]\ngtk-button-images=1\n")

    def _write(self, name, content):
        file = self._desktop.config_home / name
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(content)

    def start(self):
        """Starts the panel; returns when it takes items."""
        # Only the panel itself reads its settings there: the applet is started by the bus, with the defaults.
        environment = {**self._desktop.environment, "GSETTINGS_BACKEND": "keyfile"}
        command = [required_program("mate-panel")]
        self._desktop.keep(Child(command, environment=environment, log=self._desktop.folder / "mate-panel.log"))
        self._desktop.bus.wait_for_owner("org.kde.StatusNotifierWatcher")
