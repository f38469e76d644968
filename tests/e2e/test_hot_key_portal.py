"""The hot key where the desktop hands out keys: the portal of global shortcuts."""

from harness.program import Quillo
from harness.shortcuts_portal import ShortcutsPortal
from harness.waiting import wait_until
from harness.windows import Windows

TITLE = "Quillo — Ledger"


def test_key_of_the_portal_brings_the_one_ledger_to_the_front(desktop, watcher):
    portal = ShortcutsPortal(desktop)
    quillo = Quillo(desktop)
    quillo.start(**portal.environment)
    watcher.wait_for_item()
    wait_until(lambda: portal.bound, "the shortcut asked for")
    ((shortcut, properties),) = portal.bound
    assert properties["preferred_trigger"] == "CTRL+SHIFT+r"

    windows = Windows(desktop)
    other = windows.cover()

    def opens():
        portal.press(shortcut, repeats=3)
        return windows.titled(TITLE)

    wait_until(opens, "the ledger")
    ledger = windows.wait_for(TITLE)
    windows.wait_until_active(ledger)

    windows.activate(other)
    portal.press(shortcut)
    windows.wait_until_active(ledger)
    assert windows.titled(TITLE) == [ledger]
    # The key itself is left to the desktop.
    windows.activate(other)
    windows.press("ctrl+shift+r")
    windows.wait_for("search")


def test_key_works_again_after_the_portal_was_restarted(desktop, watcher):
    portal = ShortcutsPortal(desktop)
    quillo = Quillo(desktop)
    quillo.start(**portal.environment)
    watcher.wait_for_item()
    wait_until(lambda: portal.bound, "the shortcut asked for")
    token = portal.session_token
    portal.restart()
    wait_until(lambda: portal.bound, "the shortcut asked for again")
    assert portal.session_token == token
    ((shortcut, _),) = portal.bound
    windows = Windows(desktop)

    def opens():
        portal.press(shortcut)
        return windows.titled(TITLE)

    wait_until(opens, "the ledger")


def test_without_a_portal_there_is_silently_no_key(desktop, watcher):
    quillo = Quillo(desktop)
    quillo.start(**ShortcutsPortal.environment)
    watcher.wait_for_item()
    windows = Windows(desktop)
    windows.cover()
    windows.press("ctrl+shift+r")
    windows.wait_for("search")  # The other program got it.
    assert windows.titled(TITLE) == []
    assert quillo.output() == ""
