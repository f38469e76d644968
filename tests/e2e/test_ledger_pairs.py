"""Two inputs that reach the ledger window in one turn of its loop, by the real window system."""

import random

import pytest

from harness.accessibility import ScreenReader
from harness.waiting import wait_until
from harness.windows import Windows

TITLE = "Quillo — Ledger"
ROUNDS = 60


@pytest.fixture
def windows(desktop):
    return Windows(desktop)


@pytest.fixture
def large_ledger(desktop, sandbox, quillo, watcher, windows):
    """The open ledger window of a program whose ledgers, live or of a day, have 20,000 lines each."""
    sandbox.scenario(lines=20_000)
    quillo.start()
    item = watcher.wait_for_item()
    wait_until(lambda: item.label.startswith("$"), "the amount in the panel")
    item.activate_menu("Open ledger")
    windows.wait_until_active(windows.wait_for(TITLE))
    ledger = ScreenReader(desktop).window(TITLE)
    wait_until(lambda: ledger.find("table", "Transactions").row_count >= 20_000, "the lines")
    return ledger


def look_at_the_newest_day(ledger, windows):
    picker = next(each for each in ledger.find_all("combo box"))
    picker.act("ShowMenu")
    ledger.find("list")
    windows.press("Down")
    windows.press("Return")
    wait_until(lambda: ledger.find_all("push button", "Back to live"), "the day")


def test_back_to_live_and_a_click_on_a_column_in_one_turn(ledger_inputs):
    ledger_inputs.together("back to live", "amount")
    ledger_inputs.still_works()


def test_pairs_of_inputs_in_one_turn(ledger_inputs):
    chance = random.Random(20_241_121)
    names = ledger_inputs.names()
    for _ in range(ROUNDS):
        ledger_inputs.together(*chance.choices(names, k=2))
    ledger_inputs.still_works()


@pytest.fixture
def ledger_inputs(large_ledger, quillo, windows, desktop):
    return Inputs(large_ledger, quillo, windows)


class Inputs:
    """What a person does in the ledger window, two things at once: the program is stopped until both are there."""

    def __init__(self, ledger, quillo, windows):
        self._ledger, self._quillo, self._windows = ledger, quillo, windows
        self._look_again()
        table = ledger.find("table", "Transactions")
        titles = {title.lower(): table.column_header(column).centre for column, title in enumerate(table.column_titles)}
        self._inputs = {
            "amount": lambda: windows.click(*titles["amount"]),
            "date": lambda: windows.click(*titles["date"]),
            "search": lambda: windows.type("a"),
            "escape": lambda: windows.press("Escape"),
            "end": lambda: windows.press("End"),
            "copy": lambda: windows.press("ctrl+c"),
            "refresh": lambda: windows.press("ctrl+r"),
            "select all": lambda: windows.press("ctrl+a"),
            "back to live": lambda: windows.click(*self._back),
            "menu": lambda: windows.press("shift+F10"),
        }

    def names(self):
        return list(self._inputs)

    def together(self, first, second):
        if not self._ledger.find_all("push button", "Back to live"):
            self._look_again()
        with self._quillo.stopped():
            self._inputs[first]()
            self._inputs[second]()
        self._windows.press("Escape")  # whatever menu was opened
        assert self._quillo.running, self._quillo.output()

    def still_works(self):
        self._quillo.wait_until_idle()
        assert self._quillo.running, self._quillo.output()
        table = self._ledger.find("table", "Transactions")
        wait_until(lambda: table.row_count >= 20_000, lambda: f"the lines; there are {table.row_count}")

    def _look_again(self):
        look_at_the_newest_day(self._ledger, self._windows)
        self._back = self._ledger.find("push button", "Back to live").centre
