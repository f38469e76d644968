"""The open menu in real panels. What a person sees is kept as pictures in the folder of artefacts."""

import json
import urllib.request

import pytest

from harness.desktop import SERVICES
from harness.mate_panel import MATE_SERVICES, MatePanel
from harness.panel import Panel
from harness.popup import SCREEN_HEIGHT, SCREEN_WIDTH, Popup
from harness.program import Quillo
from harness.sandbox import Sandbox
from harness.waiting import wait_until

# Texts that a panel could take for its own: mnemonics, markup, a changed direction, a line break.
ODD_MERCHANTS = [
    "snake_case_store & sons",
    "<b>bold</b> &amp; _under_",
    "evil \u202egnitset\u202c shop",
    "two\nlines\tand a tab",
    "喫茶 さくら 渋谷店",
    "Ünïcödé 👨‍👩‍👧‍👦 family",
]

# How often the down key is pressed from the open menu to get there; text lines are passed over.
SUBMENUS = {"recent": 1, "interval": 6}


def write_ledger_with_odd_merchants(sandbox):
    """Has the newest lines come from merchants with odd names."""
    request = urllib.request.Request(f"{sandbox.http}/api/timeline", headers={"X-API-Key": sandbox.api_key})
    with urllib.request.urlopen(request, timeout=15) as answer:
        ledger = json.load(answer)
    for transaction, merchant in zip(ledger["transactions"], ODD_MERCHANTS):
        transaction["merchant"] = merchant
    sandbox.scenario(answers={"timeline": {"body": json.dumps(ledger)}})


def start_quillo(desktop, sandbox):
    program = Quillo(desktop)
    program.write_settings(backend=sandbox.http, refreshInterval=1)
    program.store_secret("api_key", sandbox.api_key)
    sandbox.scenario(totalOwed=1234.5, pending=87.5)
    write_ledger_with_odd_merchants(sandbox)
    program.start()
    return program


def assert_whole(box):
    """The menu has room for its texts and touches neither the bottom nor the left edge of the screen."""
    assert box.width > 200
    assert box.height > 200
    assert box.x > 0
    assert box.x + box.width <= SCREEN_WIDTH
    assert box.y + box.height < SCREEN_HEIGHT


def open_until_refreshed(popup, sandbox, *, button):
    """Opens the menu until that has the program ask the backend again; a second after the last time is due."""
    before = len(sandbox.requests("/api/timeline"))

    def refreshed():
        popup.open(button=button)
        popup.close()
        return len(sandbox.requests("/api/timeline")) > before

    wait_until(refreshed, "a refresh when the menu opens")


def work_through(popup, program, sandbox, desktop, artefacts, *, button=1):
    """Takes pictures of the open menu and its submenus, then leaves the program by its last entry."""
    open_until_refreshed(popup, sandbox, button=button)
    menu = popup.open(button=button)
    assert_whole(menu)
    desktop.display.screenshot(artefacts / "menu.png")
    for name, steps in SUBMENUS.items():
        popup.press(*["Down"] * steps, "Right")
        both = popup.wait_for(lambda box: box is not None and box.width > menu.width, "an open submenu")
        assert_whole(both)
        desktop.display.screenshot(artefacts / f"menu-{name}.png")
        popup.close()
        assert popup.open(button=button) == menu
    popup.press("Up", "Return")
    assert program.wait_for_end() == 0


def test_menu_in_the_xfce_panel(desktop, sandbox, artefacts):
    panel = Panel(desktop)
    panel.start()
    program = start_quillo(desktop, sandbox)
    panel.wait_for_text("$1,234 + $88 pend")
    work_through(Popup(desktop), program, sandbox, desktop, artefacts)


def test_menu_of_a_signed_in_person_whose_bank_link_is_broken(desktop, provider, artefacts):
    panel = Panel(desktop)
    panel.start()
    provider.scenario(link="reconnect")
    program = Quillo(desktop)
    program.write_settings(backend=provider.http)
    program.store_secret("oidc_refresh", provider.issue_refresh_token())
    program.store_secret("oidc_email", provider.email)
    program.start()
    panel.wait_for_text("Quillo · Reconnect")
    assert_whole(Popup(desktop).open())
    desktop.display.screenshot(artefacts / "menu.png")


@pytest.fixture
def mate_desktop(make_desktop):
    return make_desktop(services=SERVICES + MATE_SERVICES)


def test_panels_own_menu_in_the_mate_notification_area(mate_desktop, artefacts):
    in_the_mate_notification_area(mate_desktop, artefacts, button=3)


def test_programs_own_menu_in_the_mate_notification_area(mate_desktop, artefacts):
    in_the_mate_notification_area(mate_desktop, artefacts, button=1)


def in_the_mate_notification_area(desktop, artefacts, *, button):
    """A left click comes to the program, which opens its menu at the pointer; a right click opens the panel's."""
    MatePanel(desktop).start()
    sandbox = desktop.keep(Sandbox(desktop.folder))
    program = start_quillo(desktop, sandbox)
    sandbox.wait_for_requests(1)
    program.wait_until_idle()
    work_through(Popup(desktop), program, sandbox, desktop, artefacts, button=button)
