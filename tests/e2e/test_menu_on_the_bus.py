"""The menu of the running program as a panel gets it: what changes, what stays, and what its entries do."""

import json
import signal

import pytest

from harness.waiting import wait_until

PRESETS = {
    "1 minute": 60,
    "5 minutes": 300,
    "15 minutes": 900,
    "1 hour": 3600,
    "6 hours": 21600,
    "24 hours": 86400,
    "Manual only": 0,
}
MENU_CHANGES = {"LayoutUpdated", "ItemsPropertiesUpdated"}


@pytest.fixture
def item(shown):
    return shown


def refresh(item, sandbox):
    """Opens the menu until the program has asked the backend again and has been answered."""
    before = len(sandbox.requests("/api/timeline"))

    def refreshed():
        item.open_menu()
        return len(sandbox.requests("/api/timeline")) > before

    wait_until(refreshed, "another refresh")
    sandbox.wait_for_requests(before + 1)


def as_values(entry):
    return (entry.id, entry.properties, [as_values(child) for child in entry.children])


def submenu(item, title):
    return next(entry for entry in item.menu().children if entry.label == title)


def checked(item):
    return [
        entry.label
        for entry in submenu(item, "Refresh interval").children
        if entry.properties.get("toggle-state") == 1
    ]


def stored_interval(quillo):
    return json.loads(quillo.settings_file.read_text(encoding="utf-8"))["refreshInterval"]


def submenu_of_lines(item):
    return next(entry for entry in item.menu().children if entry.label.startswith("Recent transactions ("))


def test_unchanged_refresh_changes_nothing_and_sends_nothing(item, quillo, sandbox):
    quillo.wait_until_idle()
    before = as_values(item.menu())
    item.signals.clear()
    refresh(item, sandbox)
    quillo.wait_until_idle()
    assert as_values(item.menu()) == before
    assert item.signals == []


def test_new_amount_changes_properties_and_keeps_every_id(item, quillo, sandbox):
    quillo.wait_until_idle()
    before = {entry.id: entry.label for entry in item.menu().children}
    item.signals.clear()
    sandbox.scenario(totalOwed=7)
    item.open_menu_until("creditcard", "$7.00")
    after = {entry.id: entry.label for entry in item.menu().children}
    assert list(after) == list(before)
    changed = {before[number]: label for number, label in after.items() if label != before[number]}
    assert changed.pop("Owed now: $5.00") == "Owed now: $7.00"
    assert all(label.startswith("Available credit: $") for label in changed)
    assert {name for name, _ in item.signals} & MENU_CHANGES == {"ItemsPropertiesUpdated"}


def test_reconnect_block_comes_and_goes_without_renumbering_the_rest(item, quillo, sandbox):
    before = {entry.id: entry.label for entry in item.menu().children}
    sandbox.scenario(link="reconnect")
    item.open_menu_until("exclamationmark.triangle.fill", "Quillo · Reconnect")
    assert "Reconnect bank…" in item.menu().labels()
    assert before.items() <= {entry.id: entry.label for entry in item.menu().children}.items()
    assert "LayoutUpdated" in {name for name, _ in item.signals}
    sandbox.scenario(link=None)
    item.open_menu_until("creditcard", "$5.00")
    assert {entry.id: entry.label for entry in item.menu().children} == before


def test_chosen_interval_is_checked_stored_and_holds_after_a_restart(item, quillo, watcher):
    assert [entry.label for entry in submenu(item, "Refresh interval").children] == list(PRESETS)
    assert checked(item) == []
    for label, seconds in PRESETS.items():
        item.activate_menu(label)
        wait_until(lambda: checked(item) == [label], f"the check mark at {label}")
        wait_until(lambda: stored_interval(quillo) == seconds, f"{seconds} in the settings")
    assert quillo.ends_on(signal.SIGTERM) == 0
    watcher.restart()
    quillo.start()
    assert checked(watcher.wait_for_item()) == [label]


def test_pull_updates_asks_for_a_sync_and_shows_the_new_line(item, sandbox):
    lines = len(submenu_of_lines(item).children)
    title = submenu_of_lines(item).label
    item.activate_menu("Pull updates (Plaid cache)")
    wait_until(lambda: submenu_of_lines(item).label != title, "another number of transactions")
    assert lines == len(submenu_of_lines(item).children) == 20
    assert [entry["method"] for entry in sandbox.requests("/api/sync")] == ["POST"]


def test_quit_ends_the_program_with_success(item, quillo):
    item.activate_menu("Quit Quillo")
    assert quillo.wait_for_end() == 0


def test_end_of_the_session_ends_the_program_with_success(item, quillo):
    assert quillo.ends_on(signal.SIGHUP) == 0
