"""Figures of the whole program on a desktop.

What is compared is measured in turns, so that a busy machine disturbs both alike; figures are medians unless they say
otherwise.
"""

import resource
import statistics
import subprocess
import time

from gi.repository import GLib

from session import APPLICATION_ID, cpu_seconds, private_memory, settle, switches
from harness.waiting import wait_until
from harness.windows import Windows

STARTS = 15
IDLE_STARTS = 3
MENU_CALLS = 500
MENU_ROUNDS = 3
HOT_KEY_PRESSES = 20
QUIET_SECONDS = 25
LEDGER_TITLE = "Quillo — Ledger"


def measure_start(session, table):
    times = {"quillo": [], "barest Qt": []}
    for _ in range(STARTS):
        for name, measured in times.items():
            child, milliseconds = session.start_and_register(name)
            measured.append(milliseconds)
            child.stop()
    medians = {name: statistics.median(measured) for name, measured in times.items()}
    table.ratio("start to item on the panel", medians["quillo"], medians["barest Qt"], "ms", 1.15, "barest Qt")


def measure_idle(session, table):
    memory = {name: [] for name in session.commands if name != "barest Qt window"}
    woken = {}
    for round_ in range(IDLE_STARTS):
        for name, measured in memory.items():
            child = session.start_quillo()[0] if name == "quillo" else session.start_and_register(name)[0]
            settle(child.pid)
            measured.append(private_memory(child.pid))
            if round_ == 0 and name != "Python":
                woken[name] = wake_ups(child.pid)
            child.stop()
    medians = {name: statistics.median(measured) for name, measured in memory.items()}
    table.ratio("idle private memory", medians["quillo"], medians["barest Qt"], "MB", 1.3, "barest Qt")
    table.ratio("idle private memory", medians["quillo"], medians["Python"], "MB", 0.5, "Python")
    table.bound(f"wake-ups in {QUIET_SECONDS} s between heartbeats, hot key on", woken["quillo"], "", 0,
                f"{woken['barest Qt']} (barest Qt)")


def wake_ups(pid):
    before = switches(pid)
    quiet_until = time.monotonic() + QUIET_SECONDS
    wait_until(lambda: time.monotonic() > quiet_until, "the quiet time to pass", timeout=QUIET_SECONDS + 5)
    return max(0, switches(pid) - before)


def measure_refreshes(session, backend, table, count):
    """Growth, and the processor time of a refresh."""
    child, item = session.start_quillo()

    def refresh(times):
        for _ in range(times):
            asked = backend.last_byte_at
            session.act("refresh")
            wait_until(lambda: backend.last_byte_at > asked, "a refresh")
        settle(child.pid)

    refresh(100)
    memory, cpu = private_memory(child.pid), cpu_seconds(child.pid)
    item.signals.clear()
    refresh(count)
    grown = private_memory(child.pid) - memory
    each = (cpu_seconds(child.pid) - cpu) / count * 1000
    table.bound(f"growth over {count} refreshes", grown, "MB", 0.5)
    table.bound("bus messages of refreshes that changed nothing", len(item.signals), "", 0)
    child.stop()

    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    rounds = 20
    for _ in range(rounds):
        for path, query in (("status", ".items|length"), ("timeline", ".total_owed"), ("snapshots", ".snapshots|length")):
            subprocess.run(
                f"curl -s -H 'X-API-Key: key' {backend.origin}/api/{path} | jq '{query}'",
                shell=True, check=True, stdout=subprocess.DEVNULL,
            )
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    peer = (after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime) / rounds * 1000
    table.ratio("processor time of a refresh, 1,000 lines", each, peer, "ms", 0.1, "3 x curl and jq")


def measure_label(session, backend, table):
    """From the last byte of the last answer to the new label on the bus."""
    child, item = session.start_quillo()
    delays = []
    for round_ in range(30):
        backend.total = 200.0 + round_
        session.act("refresh")
        wanted = f"${backend.total:.2f}"

        def arrived():
            return any(name == "XAyatanaNewLabel" and arguments[0] == wanted for name, arguments in item.signals)

        while not arrived():
            GLib.MainContext.default().iteration(True)
        delays.append((time.perf_counter() - backend.last_byte_at) * 1000)
    table.bound("last byte to label on the bus", statistics.median(delays), "ms", 10)
    child.stop()


def measure_menu(session, table, lines):
    """How long a panel waits for the menu, from the panel's side of the bus."""
    child, _ = session.start_quillo()
    settle(child.pid)
    # Other programs' turns on the processor only make it longer: the least disturbed round counts.
    rounds = [session.run("menu_caller", APPLICATION_ID, str(MENU_CALLS)) for _ in range(MENU_ROUNDS)]
    for method, what in (("GetLayout", "GetLayout"), ("AboutToShow", "menu opened to answer")):
        times = min((each[method] for each in rounds), key=lambda times: percentile(times, 99))
        way = min(statistics.median(each["Version"]) for each in rounds)
        table.bound(f"{what}, {lines:,} lines, 99th percentile", percentile(times, 99), "ms", 2,
                    f"median {statistics.median(times):.2f} ms, {way:.2f} ms of it the way there and back")
    child.stop()


def measure_fonts(session):
    """What stays in the barest Qt program when it has shown a window with texts and closed it."""
    memory = []
    for name in ("barest Qt", "barest Qt window"):
        child, _ = session.start_and_register(name)
        quiet_from = time.monotonic() + 2
        wait_until(lambda start=quiet_from: time.monotonic() > start, "the window to have come and gone", timeout=10)
        settle(child.pid)
        memory.append(private_memory(child.pid))
        child.stop()
    return memory[1] - memory[0]


def measure_window(session, table, lines):
    """The hot key, and what an open ledger window takes and leaves behind."""
    child, _ = session.start_quillo()
    settle(child.pid)
    before = private_memory(child.pid)
    windows = Windows(session.desktop)
    session.act("open-ledger")
    window = windows.wait_for(LEDGER_TITLE)
    settle(child.pid)
    table.figure(f"private memory, ledger of {lines:,} lines open", private_memory(child.pid), "MB")
    windows.close(window)
    windows.wait_for_none(LEDGER_TITLE)
    settle(child.pid)
    after = private_memory(child.pid)
    closed = f"private memory, ledger of {lines:,} lines closed again"
    if lines < 100_000:
        fonts = measure_fonts(session)
        table.bound(f"left by a ledger window of {lines:,} lines, less what fonts keep", after - before - fonts, "MB",
                    0.5, f"{before:.2f} MB (before), {fonts:.2f} MB (fonts, in the barest Qt program)")
    else:
        table.ratio(closed, after, before, "MB", 1.5, "before")
    times = session.run("hot_key_caller", str(HOT_KEY_PRESSES))
    table.bound(f"hot key to painted ledger, {lines:,} lines, 95th percentile", percentile(times, 95), "ms", 100,
                f"median {statistics.median(times):.2f} ms")
    child.stop()


def percentile(values, percent):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, len(ordered) * percent // 100)]
