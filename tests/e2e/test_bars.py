"""The item as a picture in real panels. What a person sees is kept in the artefacts."""

import subprocess

import pytest
from gi.repository import Gio, GLib

from harness.buses import call
from harness.lxqt_panel import LxqtPanel
from harness.popup import Popup
from harness.sway import Sway
from harness.waiting import wait_until
from harness.watcher import NAME, PATH, StatusItem
from harness.waybar import Waybar

SCREEN_WIDTH = 1280

PORTAL_PATH = "/org/freedesktop/portal/desktop"
SETTINGS = """<node><interface name="org.freedesktop.portal.Settings">
  <method name="Read">
    <arg name="group" type="s" direction="in"/><arg name="key" type="s" direction="in"/>
    <arg name="value" type="v" direction="out"/>
  </method>
</interface></node>"""


def right_end(scale):
    """The part of the screen where the item is, without the bar's lower edge, in logical pixels."""
    return f"{SCREEN_WIDTH // scale - 150},2 150x26"


def items(desktop):
    """What the bar has been given, as (bus name, path)."""
    read = GLib.Variant("(ss)", (NAME, "RegisteredStatusNotifierItems"))
    (found,) = desktop.bus.call(NAME, PATH, "org.freedesktop.DBus.Properties", "Get", read)
    return [(name, "/" + path) for name, _, path in (item.partition("/") for item in found)]


def prefer(desktop, look):
    """Has the desktop's settings portal say that the user prefers light or dark colours."""
    connection = desktop.bus.connect()

    def on_call(_connection, _sender, _path, _interface, _method, _arguments, invocation):
        value = GLib.Variant("v", GLib.Variant("u", {"dark": 1, "light": 2}[look]))
        invocation.return_value(GLib.Variant("(v)", (value,)))

    interface = Gio.DBusNodeInfo.new_for_xml(SETTINGS).interfaces[0]
    connection.register_object(PORTAL_PATH, interface, on_call, None, None)
    arguments = GLib.Variant("(su)", ("org.freedesktop.portal.Desktop", 0))
    bus = "org.freedesktop.DBus"
    call(connection, bus, "/org/freedesktop/DBus", bus, "RequestName", arguments)
    return connection


def tones(picture):
    """How bright the background, the brightest and the darkest pixel of a picture are, of 255."""
    command = ["convert", str(picture), "-depth", "8", "-colorspace", "Gray", "gray:-"]
    grey = subprocess.run(command, capture_output=True, check=True, timeout=30).stdout
    return grey[0], max(grey), min(grey)


@pytest.mark.parametrize("scale", [1, 2])
def test_amount_is_painted_beside_the_symbol(quillo, desktop, sandbox, artefacts, scale):
    sandbox.scenario(totalOwed=1234.567, pending="none")
    sway = Sway(desktop, scale=scale)
    Waybar(desktop, sway).start()
    quillo.start(**sway.environment)
    item = StatusItem(desktop.bus.connection, *wait_until(lambda: items(desktop), "an item in the bar")[0])
    wait_until(lambda: "$1,234.57" in item.read("ToolTip")[2], "the amount in the tool tip")
    sizes = [(width, height) for width, height, _ in item.read("IconPixmap")]
    width, height = sizes[0]
    assert height == 22 and width > 3 * height
    assert sizes == [(width, height), (2 * width, 2 * height), (3 * width, 3 * height)]
    assert item.read("XAyatanaLabel") == "" and item.read("IconName") == ""
    assert len(items(desktop)) == 1
    picture = artefacts / "bar.png"

    def is_light_on_dark():
        sway.screenshot(picture, right_end(scale))
        background, brightest, _ = tones(picture)
        return background < 100 < brightest - background

    wait_until(is_light_on_dark, "the amount in the bar, light on dark")


def test_amount_is_dark_for_a_user_who_prefers_light_colours(quillo, desktop, sandbox, artefacts):
    sandbox.scenario(totalOwed=1234.567, pending="none")
    portal = prefer(desktop, "light")
    sway = Sway(desktop)
    Waybar(desktop, sway, look="light").start()
    quillo.start(**sway.environment)
    picture = artefacts / "bar.png"

    def is_dark_on_light():
        sway.screenshot(picture, right_end(1))
        background, _, darkest = tones(picture)
        return background > 150 and background - darkest > 100

    wait_until(is_dark_on_light, "the amount in the bar, dark on light")
    portal.close_sync(None)


@pytest.mark.parametrize("look", ["light", "dark"])
def test_square_shows_the_amount_short_and_a_click_opens_the_menu(quillo, desktop, sandbox, artefacts, look):
    sandbox.scenario(totalOwed=1234.567, pending="none")
    portal = prefer(desktop, look)
    LxqtPanel(desktop, look=look).start()
    quillo.start()
    item = StatusItem(desktop.bus.connection, *wait_until(lambda: items(desktop), "an item in the panel")[0])
    wait_until(lambda: item.read("Title") == "$1,234.57", "the amount in the title")
    assert {width == height for width, height, _ in item.read("IconPixmap")} == {True}
    assert item.read("XAyatanaLabel") == "" and item.read("IconName") == ""
    assert len(items(desktop)) == 1
    picture = artefacts / "panel.png"

    def stands_out():
        desktop.display.screenshot(picture, crop="60x26+1216+3")
        background, brightest, darkest = tones(picture)
        return brightest - background > 100 if look == "dark" else background - darkest > 100

    wait_until(stands_out, f"the amount in the {look} panel")
    menu = Popup(desktop).open(from_right=14)
    assert menu.width > 200 and menu.height > 200
    desktop.display.screenshot(artefacts / "menu.png")
    portal.close_sync(None)
