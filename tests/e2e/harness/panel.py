"""A real panel: xfce4-panel with the indicator plugin, which shows status items with their text."""

import json
import pathlib
import subprocess

from .display import required_program
from .processes import Child
from .waiting import wait_until

_INDICATOR_SERVICE = "/usr/libexec/ayatana-indicator-application/ayatana-indicator-application-service"
_START_ATTEMPTS = 8

_CHANNEL = """<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="dark-mode" type="bool" value="{dark}"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="length" type="uint" value="100"/>
      <property name="size" type="uint" value="32"/>
      <property name="icon-size" type="uint" value="0"/>
      <property name="plugin-ids" type="array">
        <value type="int" value="1"/>
        <value type="int" value="2"/>
      </property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="separator">
      <property name="expand" type="bool" value="true"/>
      <property name="style" type="uint" value="0"/>
    </property>
    <property name="plugin-2" type="string" value="{plugin}">{options}</property>
  </property>
</channel>
"""


def configure_xfce4_panel(desktop, plugin, *, dark=False, **options):
    """One panel along the top of the display with this plugin at its right end; `options` are the plugin's switches."""

    def switch(value):
        return str(value).lower()

    listed = "".join(
        f'<property name="{name.replace("_", "-")}" type="bool" value="{switch(value)}"/>'
        for name, value in options.items()
    )
    channel = desktop.config_home / "xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml"
    channel.parent.mkdir(parents=True, exist_ok=True)
    channel.write_text(_CHANNEL.format(dark=switch(dark), plugin=plugin, options=listed))


class Panel:
    """A panel along the top of the display; `stop` and `start` it as often as needed."""

    def __init__(self, desktop):
        self._desktop = desktop
        self._children = []
        configure_xfce4_panel(desktop, "indicator")
        desktop.callback(self.stop)

    def start(self):
        """Starts the panel; returns when its plugin can be read.

        A plugin is a process of its own, and now and then GTK does not join its texts to the panel's: the
        panel is complete on the screen, but a screen reader finds a hole in it. Such a panel is started again.
        """
        for _ in range(_START_ATTEMPTS):
            self._start([_INDICATOR_SERVICE], "indicator-service")
            self._start([required_program("xfce4-panel"), "--disable-wm-check"], "xfce4-panel")
            self._desktop.bus.wait_for_owner("org.kde.StatusNotifierWatcher")
            try:
                wait_until(lambda: self._look()["guests"], "the panel's plugin", timeout=2)
                return
            except TimeoutError:
                self.stop()
        raise RuntimeError(f"the panel's plugin stayed unreadable in {_START_ATTEMPTS} attempts")

    def stop(self):
        while self._children:
            self._children.pop().stop()

    def crash(self):
        """Ends the panel without letting it say goodbye."""
        while self._children:
            self._children.pop().kill()

    def texts(self):
        """The texts that the panel shows now, as a screen reader would read them out."""
        return self._look()["texts"]

    def wait_for_text(self, text, *, timeout=30.0):
        wait_until(
            lambda: text in self.texts(), lambda: f"{text!r} in the panel, which shows {self.texts()}", timeout=timeout
        )

    def _look(self):
        script = pathlib.Path(__file__).with_name("visible_texts.py")
        answer = subprocess.run(
            ["/usr/bin/python3", str(script)],
            env=self._desktop.environment,
            capture_output=True,
            text=True,
            check=True,
            timeout=30,
        )
        return json.loads(answer.stdout).get("xfce4-panel", {"texts": [], "guests": 0})

    def _start(self, command, name):
        log = self._desktop.folder / f"{name}.log"
        self._children.append(Child(command, environment=self._desktop.environment, log=log))
