"""The menu that the program opens itself, on panels that tell of a click and leave the rest to the program."""

import subprocess

from gi.repository import GLib

from harness.popup import Popup
from harness.waiting import wait_until
from harness.watcher import ITEM

POINTER = (300, 150)


def click(desktop, watcher):
    """Clicks the item as such a panel passes it on; the place that it names is as useless as on some of them."""
    subprocess.run(["xdotool", "mousemove", *map(str, POINTER)], env=desktop.environment, check=True, timeout=30)
    name, path = watcher.registrations[0]
    desktop.bus.call(name, path, ITEM, "Activate", GLib.Variant("(ii)", (0, 0)))


def open_menu(desktop, watcher):
    click(desktop, watcher)
    popup = Popup(desktop)
    return popup, popup.wait_for(lambda box: box is not None, "the menu")


def start_with_amount(quillo, watcher, sandbox, **settings):
    sandbox.scenario(totalOwed=1234.5, pending=87.5)
    quillo.write_settings(backend=sandbox.http, **settings)
    quillo.start()
    item = watcher.wait_for_item()
    item.wait_for("creditcard", "$1,234 + $88 pend")
    return item


def test_menu_opens_at_the_pointer_and_its_entries_work(desktop, quillo, watcher, sandbox, artefacts):
    start_with_amount(quillo, watcher, sandbox, refreshInterval=0)
    popup, menu = open_menu(desktop, watcher)
    assert abs(menu.x - POINTER[0]) <= 5 and abs(menu.y - POINTER[1]) <= 5
    assert menu.width > 200 and menu.height > 200
    desktop.display.screenshot(artefacts / "menu.png")
    popup.press("Down", "Right")
    popup.wait_for(lambda box: box.width > menu.width, "the submenu of recent transactions")
    desktop.display.screenshot(artefacts / "recent-transactions.png")
    popup.press("Left", "Up", "Return")
    assert quillo.wait_for_end() == 0


def test_opening_the_menu_refreshes_when_that_is_due(desktop, quillo, watcher, sandbox):
    start_with_amount(quillo, watcher, sandbox, refreshInterval=1)

    def refreshes():
        return sum(entry["path"] == "/api/timeline" for entry in sandbox.requests())

    before = refreshes()

    def refreshed():
        popup, _ = open_menu(desktop, watcher)
        popup.close()
        return refreshes() > before

    wait_until(refreshed, "a refresh")


def test_open_menu_follows_the_store_and_stays_open(desktop, quillo, watcher, sandbox):
    item = start_with_amount(quillo, watcher, sandbox, refreshInterval=1)
    popup, before = open_menu(desktop, watcher)
    sandbox.scenario(link="reconnect")
    item.open_menu_until("exclamationmark.triangle.fill", "Quillo · Reconnect")
    # A line, an entry and a divider more.
    popup.wait_for(lambda box: box is not None and box.height > before.height, "a taller menu")
