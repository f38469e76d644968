"""The ledger window as somebody meets it who does not see it: by ear, and with keys."""

import pytest

from harness.accessibility import ScreenReader
from harness.waiting import wait_until
from harness.windows import Windows

TITLE = "Quillo — Ledger"


@pytest.fixture
def windows(desktop):
    return Windows(desktop)


@pytest.fixture
def reader(desktop):
    return ScreenReader(desktop)


@pytest.fixture
def ledger(reader, windows, sandbox, quillo, watcher):
    """The ledger window of a running program that owes $1,234.50, of which $87.50 are on hold."""
    sandbox.scenario(totalOwed=1234.5, pending=87.5)
    quillo.start()
    item = watcher.wait_for_item()
    wait_until(lambda: item.label.startswith("$"), "the amount in the panel")
    item.activate_menu("Open ledger")
    windows.wait_until_active(windows.wait_for(TITLE))
    return reader.window(TITLE)


def wait_for_texts(element, *texts):
    wait_until(
        lambda: set(texts) <= set(element.texts()), lambda: f"{texts}; there are {element.texts()}"
    )


def wait_for_rows(table, condition, what):
    wait_until(lambda: condition(table), lambda: f"{what}; there are {table.row_count}, first {table.row(0)}")


def test_balance_and_lines_are_read_out(ledger):
    wait_for_texts(ledger, "$1,322.00")
    texts = ledger.texts()
    assert texts[:7] == [
        "TOTAL OWED (POSTED + PENDING AUTHORIZATIONS)",
        "$1,234.50",
        "+",
        "$87.50",
        "pending",
        "=",
        "$1,322.00",
    ]
    assert texts[7].endswith(" available")
    assert texts[8].startswith("as of 2026-11-20")

    table = ledger.find("table", "Transactions")
    assert table.column_titles == ["Date", "Merchant / description", "Amount", "Running balance"]
    assert table.row_count > 500
    assert table.row(0)[0] >= table.row(table.row_count - 1)[0]
    badges = [table.cell(row, 1).name.rpartition(", ")[2] for row in range(20)]
    assert "PENDING" in badges
    assert all("showing" in table.cell(0, column).states for column in range(4))


def test_lines_are_filtered_and_sorted(ledger, windows):
    table = ledger.find("table", "Transactions")
    everything = table.row_count
    search = ledger.find("text", "Filter merchants")
    windows.press("ctrl+f")
    wait_until(lambda: "focused" in search.states, "the focus on the search field")
    windows.type("  COFFEE ")
    wait_until(lambda: search.text == "  COFFEE ", lambda: f"the search; it is {search.text!r}")
    wait_for_rows(table, lambda t: 0 < t.row_count < everything, "some lines")
    matches = table.row_count
    assert all("coffee" in table.cell(row, 1).name.lower() for row in range(min(matches, 20)))

    def amounts():
        texts = [table.cell(row, 2).name for row in range(matches)]
        return [float(text.replace("$", "").replace(",", "")) for text in texts]

    windows.click(*table.column_header(2).centre)
    wait_until(lambda: amounts() == sorted(amounts(), reverse=True), lambda: f"falling amounts, not {amounts()}")
    windows.click(*table.column_header(2).centre)
    wait_until(lambda: amounts() == sorted(amounts()), lambda: f"rising amounts, not {amounts()}")

    windows.press("Escape")
    wait_for_rows(table, lambda t: t.row_count == everything, "every line")
    assert search.text == ""
    wait_until(lambda: "focused" in table.states, "the focus back on the table")


def test_a_past_day_is_looked_at_and_left_by_the_banner(ledger, windows):
    wait_for_texts(ledger, "$1,322.00")
    picker = ledger.find("combo box", "Live")
    picker.act("ShowMenu")
    first_day = wait_until(lambda: [e.name for e in ledger.find_all("list item")][1:2], "the days")[0]
    windows.press("Escape")
    wait_until(lambda: not ledger.find_all("list item"), "the end of the list")
    picker.choose(first_day, windows)
    date = first_day.split(" · ")[0]
    wait_for_texts(ledger, f"Viewing snapshot from {date} — read-only, frozen at end of that day.")
    for title in ("Pull updates", "Pull from bank"):
        assert "enabled" not in ledger.find("push button", title).states
    assert picker.name == first_day

    ledger.find("push button", "Back to live").press()
    wait_for_texts(ledger, "$1,322.00")
    wait_until(lambda: picker.name == "Live", lambda: f"the picker at Live; it is {picker.name!r}")
    wait_until(
        lambda: "enabled" in ledger.find("push button", "Pull updates").states, "the buttons enabled again"
    )


def test_both_buttons_reach_the_backend(ledger, sandbox):
    ledger.find("push button", "Pull updates").press()
    sandbox.wait_for_requests(1, "/api/sync")
    sandbox.wait_for_requests(2)
    ledger.find("push button", "Pull from bank").press()
    sandbox.wait_for_requests(1, "/api/refresh")
    assert [entry["method"] for entry in sandbox.requests("/api/sync") + sandbox.requests("/api/refresh")] == [
        "POST",
        "POST",
    ]


def test_every_control_has_a_name_and_is_reached_with_the_keyboard(ledger, windows, sandbox):
    sandbox.scenario(link="reconnect")
    windows.press("ctrl+r")
    ledger.find("push button", "Reconnect now")
    controls = [each for each in ledger.everything() if "focusable" in each.states]
    assert sorted(each.role for each in controls) == [
        "combo box", "push button", "push button", "push button", "table", "text",
    ]  # fmt: skip
    assert all(each.name for each in controls), controls
    assert {each.description for each in controls if each.name.startswith("Pull")} == {
        "Fast + free. Re-reads Plaid's cached copy of your bank data.",
        "Slow (~30s–2min). Asks Plaid to re-pull from your bank. Rate-limited + metered.",
    }

    def focused():
        return next((each for each in controls if "focused" in each.states), None)

    reached = [wait_until(focused, "a focus")]
    for _ in controls:
        windows.press("Tab")
        wait_until(lambda: focused() not in (None, reached[-1]), lambda: f"the focus beyond {reached[-1]}")
        reached.append(focused())
    assert reached[0] == reached[-1]
    assert set(reached) == set(controls)

    windows.press("alt+q")
    entry = ledger.find("menu item", "Quillo")
    wait_until(
        lambda: [each.name for each in entry.everything() if each.role == "menu item"][1:]
        == ["About Quillo", "Refresh", "Settings…", "Balance and actions", "Quit Quillo"],
        "the application menu",
    )
