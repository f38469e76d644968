"""The program in a Wayland session."""

import pytest
from gi.repository import GLib

from harness.program import APPLICATION_ID, Quillo
from harness.sway import Sway
from harness.waiting import wait_until

TITLE = "Quillo — Ledger"


@pytest.fixture
def sway(desktop):
    return Sway(desktop)


def activate(desktop, token):
    path = "/" + APPLICATION_ID.replace(".", "/")
    data = {"activation-token": GLib.Variant("s", token)}
    arguments = GLib.Variant("(a{sv})", (data,))
    desktop.bus.call(APPLICATION_ID, path, "org.freedesktop.Application", "Activate", arguments)


def test_ledger_opens_and_hands_the_callers_token_to_the_compositor(desktop, sway, watcher):
    program = Quillo(desktop)
    # What goes to the compositor is written to the program's log.
    program.start(**sway.environment, WAYLAND_DEBUG="1")
    watcher.wait_for_item()
    desktop.bus.wait_for_owner(APPLICATION_ID)
    assert sway.windows() == {}

    activate(desktop, "first-token")
    wait_until(
        lambda: sway.windows().get(TITLE) == (APPLICATION_ID, True), lambda: f"the ledger; there is {sway.windows()}"
    )
    wait_until(lambda: 'activate("first-token"' in program.output(), "the first token at the compositor")

    activate(desktop, "second-token")
    wait_until(lambda: 'activate("second-token"' in program.output(), "the second token at the compositor")
    assert list(sway.windows()) == [TITLE]
    assert program.output().count('activate("first-token"') == 1
    program.stop()
