"""The item as a window in the tray of a real panel. What a person sees is kept as pictures in the artefacts."""

import pytest
from gi.repository import GLib

from harness.popup import Popup
from harness.program import APPLICATION_ID
from harness.tray_panel import TrayPanel
from harness.waiting import wait_until

AMOUNT = "$1,234.57"
PATH = "/" + APPLICATION_ID.replace(".", "/")
REFRESH = GLib.Variant("(sava{sv})", ("refresh", [], {}))
CORNER = "400x40+880+0"


@pytest.fixture
def amount(sandbox):
    sandbox.scenario(totalOwed=1234.567, pending="none")


@pytest.mark.parametrize("dark", [False, True], ids=["light", "dark"])
def test_amount_is_shown_in_the_panels_colours(quillo, desktop, amount, artefacts, dark):
    panel = TrayPanel(desktop, dark=dark)
    panel.start()
    quillo.start()
    window = panel.wait_for_window(lambda window: window.width > 3 * window.height)
    assert window.height == 22
    assert panel.items() == []
    background, brightest, darkest = panel.tones(window)
    if dark:
        assert background < 100 < brightest - background
    else:
        assert background > 150 > darkest
    desktop.display.screenshot(artefacts / "panel.png", crop=CORNER)
    assert quillo.output() == ""


def test_amount_is_sharp_on_a_panel_of_twice_the_size(quillo, desktop, amount, artefacts):
    panel = TrayPanel(desktop)
    panel.start(GDK_SCALE="2")
    quillo.start(QT_SCALE_FACTOR="2")
    panel.wait_for_window(lambda window: window.height == 44 and window.width > 3 * window.height)
    desktop.display.screenshot(artefacts / "panel.png", crop="400x70+880+0")


def test_window_cut_to_a_square_shows_the_amount_short(quillo, desktop, amount, artefacts):
    panel = TrayPanel(desktop, square=True)
    panel.start()
    quillo.start()
    window = panel.wait_for_window(lambda window: window.width == window.height)
    wait_until(lambda: panel.tones(window)[0] - panel.tones(window)[2] > 100, "the amount in the square")
    desktop.display.screenshot(artefacts / "panel.png", crop=CORNER)


def test_amount_that_comes_while_the_panel_stands_still_is_not_cut(quillo, desktop, sandbox, artefacts):
    """The panel says that the window stays a square only after the program has painted the whole row."""
    sandbox.scenario(totalOwed=1234.567, pending="none", answers={"timeline": {"status": 503, "times": 1}})
    panel = TrayPanel(desktop, square=True)
    panel.start()
    quillo.start()
    window = panel.wait_for_window(lambda window: window.width == window.height)
    sandbox.wait_for_requests(1)
    quillo.wait_until_idle()
    symbol = panel.picture(window)
    with panel.stopped():
        desktop.bus.call(APPLICATION_ID, PATH, "org.freedesktop.Application", "ActivateAction", REFRESH)
        sandbox.wait_for_requests(2)
        quillo.wait_until_idle()
    wait_until(lambda: panel.picture(window) != symbol, "another picture in the square")
    quillo.wait_until_idle()
    desktop.display.screenshot(artefacts / "panel.png", crop=CORNER)
    shown = panel.picture(window)
    # A panel that starts when the amount is known shows it as it should be.
    panel.crash()
    panel.start()
    panel.wait_for_window(lambda window: window.width == window.height)
    wait_until(lambda: panel.picture(window) == shown, "the picture that a new panel shows")
    assert shown != symbol


def test_click_opens_the_programs_own_menu(quillo, desktop, amount, artefacts):
    panel = TrayPanel(desktop)
    panel.start()
    quillo.start()
    panel.wait_for_window(lambda window: window.width > 3 * window.height)
    popup = Popup(desktop)
    menu = popup.open()
    assert menu.width > 200 and menu.height > 200
    desktop.display.screenshot(artefacts / "menu.png")
    popup.press("Up", "Return")
    assert quillo.wait_for_end() == 0


def test_item_is_shown_once_as_panels_come_and_go(quillo, desktop, amount, late_watcher):
    """In a tray that starts late; after that has crashed, in a panel that shows labels; and back."""
    quillo.start()
    tray = TrayPanel(desktop)
    tray.start()
    tray.wait_for_window(lambda window: window.width > 3 * window.height)
    assert tray.items() == []
    tray.crash()
    late_watcher.start()
    late_watcher.wait_for_item().wait_for("creditcard", AMOUNT)
    assert tray.windows() == []
    late_watcher.stop()
    tray.start()
    tray.wait_for_window(lambda window: window.width > 3 * window.height)
    assert tray.items() == []
