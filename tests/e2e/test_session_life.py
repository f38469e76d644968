"""A session around the program: it begins, breaks in parts, and ends."""

import fcntl
import json
import signal

import pytest
from gi.repository import GLib

from harness.buses import call
from harness.program import APPLICATION_ID, Quillo
from harness.sandbox import Sandbox
from harness.waiting import wait_until
from harness.windows import Windows

LEDGER = "Quillo — Ledger"
SIGN_IN = "Sign in to Quillo (menu → Sign In…)"


@pytest.mark.parametrize("name", ["SIGTERM", "SIGINT", "SIGHUP"])
def test_signal_that_ends_sessions_ends_the_program_cleanly(shown, quillo, desktop, name):
    assert quillo.ends_on(getattr(signal, name)) == 0
    assert not desktop.bus.has_owner(APPLICATION_ID)
    assert quillo.output() == ""


def test_signals_that_follow_lose_no_setting_that_waits_for_another_program(shown, quillo):
    with open(quillo.settings_file.with_name("defaults.json.lock"), "w", encoding="utf-8") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        shown.activate_menu("6 hours")
        quillo.send(signal.SIGTERM)
        wait_until(lambda: not shown.is_there(), "the item gone: the program is at its end")
        for again in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            quillo.send(again)
    assert quillo.wait_for_end() == 0
    assert json.loads(quillo.settings_file.read_text(encoding="utf-8"))["refreshInterval"] == 21600


def test_network_that_goes_and_comes_back(shown, quillo, sandbox, desktop):
    port = int(sandbox.host.rpartition(":")[2])
    sandbox.stop()
    shown.open_menu_until("exclamationmark.circle", "$5.00")
    again = desktop.keep(Sandbox(desktop.folder, http_port=port))
    again.scenario(totalOwed=7, pending="none")
    quillo.store_secret("api_key", again.api_key)
    shown.open_menu_until("creditcard", "$7.00")


def test_display_that_goes_away_ends_the_program_without_a_crash(shown, quillo, desktop):
    shown.activate_menu("Open ledger")
    Windows(desktop).wait_for(LEDGER)
    desktop.display.kill()
    # Qt's own way out says 1; a signal's number would be negative.
    assert quillo.wait_for_end() in (0, 1)
    wait_until(lambda: not desktop.bus.has_owner(APPLICATION_ID), "the name free again")


def test_session_bus_that_goes_away_ends_the_program_cleanly(shown, quillo, desktop):
    shown.activate_menu("Open ledger")
    Windows(desktop).wait_for(LEDGER)
    desktop.bus.kill()
    assert quillo.wait_for_end() == 0
    assert quillo.output() == ""


def test_system_bus_that_goes_away_is_not_missed(quillo, watcher, sandbox, desktop):
    sandbox.scenario(totalOwed=5, pending="none")
    system = desktop.start_system_bus()
    quillo.write_settings(backend=sandbox.http, refreshInterval=1)
    quillo.start()
    item = watcher.wait_for_item()
    item.wait_for("creditcard", "$5.00")
    system.kill()
    sandbox.scenario(totalOwed=6)
    item.open_menu_until("creditcard", "$6.00")


def test_keyring_that_crashes_and_comes_back(shown, quillo, sandbox, desktop):
    desktop.keyring.kill()
    sandbox.scenario(totalOwed=6)
    shown.open_menu_until("creditcard", "$6.00")
    desktop.keyring.start()
    sandbox.scenario(totalOwed=7)
    shown.open_menu_until("creditcard", "$7.00")
    assert quillo.read_secret("api_key") == sandbox.api_key


def test_keyring_that_is_unlocked_after_the_start_brings_the_amount(quillo, watcher, sandbox, desktop):
    sandbox.scenario(totalOwed=5, pending="none")
    desktop.keyring.lock()
    quillo.start()
    item = watcher.wait_for_item()
    item.wait_for_error(SIGN_IN)
    desktop.keyring.unlock()
    item.wait_for("creditcard", "$5.00")


def test_launches_in_the_same_instant_leave_one(quillo, desktop, watcher):
    others = [Quillo(desktop) for _ in range(3)]
    for program in [quillo, *others]:
        program.start()
    programs = [quillo, *others]
    wait_until(lambda: sum(program.running for program in programs) == 1, "one program alone")
    assert sorted(program.wait_for_end() for program in programs if not program.running) == [0, 0, 0]
    watcher.wait_for_item()
    # Each of the others asked the one for its ledger.
    Windows(desktop).wait_for(LEDGER)


@pytest.mark.parametrize("display", ["", ":99999"])
def test_without_a_display_the_program_says_so_in_one_line(quillo, display):
    quillo.start(DISPLAY=display)
    assert quillo.wait_for_end() == 3
    assert quillo.output() == "quillo: no display can be reached\n"


def test_name_that_another_program_owns_is_told_in_one_line(quillo, desktop):
    do_not_queue = 4
    call(
        desktop.bus.connection,
        "org.freedesktop.DBus",
        "/org/freedesktop/DBus",
        "org.freedesktop.DBus",
        "RequestName",
        GLib.Variant("(su)", (APPLICATION_ID, do_not_queue)),
    )
    quillo.start()
    assert quillo.wait_for_end() == 4
    assert quillo.output() == f"quillo: another program owns {APPLICATION_ID} on the session bus\n"


def test_crashed_program_leaves_nothing_that_stops_the_next(shown, quillo, watcher, desktop):
    assert quillo.ends_on(signal.SIGKILL) == -signal.SIGKILL
    watcher.registrations.clear()
    quillo.start()
    watcher.wait_for_item().wait_for("creditcard", "$5.00")
    assert Windows(desktop).titled(LEDGER) == []
