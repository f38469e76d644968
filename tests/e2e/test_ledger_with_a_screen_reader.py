"""The ledger window as somebody meets it who does not see it: by ear, and with keys."""

import pytest

from harness.accessibility import ScreenReader
from harness.waiting import wait_until
from harness.windows import Windows

TITLE = "Quillo — Ledger"


@pytest.fixture
def reader(desktop):
    return ScreenReader(desktop)


@pytest.fixture
def ledger(reader, sandbox, quillo, watcher):
    """The ledger window of a running program that owes $1,234.50, of which $87.50 are on hold."""
    sandbox.scenario(totalOwed=1234.5, pending=87.5)
    quillo.start()
    item = watcher.wait_for_item()
    wait_until(lambda: item.label.startswith("$"), "the amount in the panel")
    item.activate_menu("Open ledger")
    return reader.window(TITLE)


def test_balance_and_lines_are_read_out(ledger):
    wait_until(lambda: "$1,322.00" in ledger.texts(), lambda: f"the total; there are {ledger.texts()}")
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
