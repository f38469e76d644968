"""Measures everything and prints the table.

usage: report.py [--long]   --long: 10,000 refreshes instead of 1,000 when looking for growth
"""

import sys

# First: it makes the whole-program tests' harness known.
import session  # isort: skip

import in_process
import whole_program
from backend import Backend
from harness.desktop import Desktop
from harness.sandbox import Sandbox
from table import Table


def measure_beside_others(table):
    """On the sandbox's HTTPS, as the barest Qt program and the Python script beside it."""
    with Desktop() as desktop:
        sandbox = desktop.keep(Sandbox(desktop.folder))
        programs = session.Session(desktop, sandbox.https, sandbox.api_key)
        programs.configure()
        whole_program.measure_start(programs, table)
        whole_program.measure_idle(programs, table)


def measure_with_lines(table, lines, refreshes):
    with Desktop() as desktop:
        backend = desktop.keep(Backend(lines))
        programs = session.Session(desktop, backend.origin, "key")
        programs.configure()
        if refreshes:
            whole_program.measure_refreshes(programs, backend, table, refreshes)
            whole_program.measure_label(programs, backend, table)
        whole_program.measure_menu(programs, table, lines)
        whole_program.measure_window(programs, table, lines)


def main():
    table = Table()
    in_process.measure_decoding(table)
    in_process.measure_window(table)
    measure_beside_others(table)
    measure_with_lines(table, 1_000, 10_000 if "--long" in sys.argv[1:] else 1_000)
    measure_with_lines(table, 100_000, 0)
    table.show()


if __name__ == "__main__":
    main()
