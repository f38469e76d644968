"""The whole-program figures, and the table of all of them.

Everything runs on a private desktop of the whole-program tests. What is compared is measured in turns, so that a busy
machine disturbs both alike; figures are medians unless they say otherwise.
"""

import json
import pathlib
import resource
import statistics
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests/e2e"))

from gi.repository import GLib  # noqa: E402

from backend import Backend  # noqa: E402
from harness.desktop import Desktop  # noqa: E402
from harness.keyring import store_secret  # noqa: E402
from harness.processes import Child  # noqa: E402
from harness.sandbox import Sandbox  # noqa: E402
from harness.waiting import wait_until  # noqa: E402
from harness.watcher import Watcher  # noqa: E402

BIN = ROOT / "build/bench/bin"
APPLICATION_ID = "app.quillo.Quillo"
STARTS = 15
MENU_CALLS = 500
QUIET_SECONDS = 25


class Table:
    """Rows of: what, Quillo's figure, the baseline's, the ratio or bound, whether the budget holds."""

    def __init__(self):
        self.rows = []

    def ratio(self, what, figure, baseline, unit, budget, name):
        ratio = figure / baseline
        self.rows.append(
            (what, f"{figure:.2f} {unit}", f"{baseline:.2f} {unit} ({name})", f"{ratio:.2f}x, at most {budget}x",
             ratio <= budget)
        )

    def bound(self, what, figure, unit, budget, baseline=""):
        self.rows.append((what, f"{figure:.2f} {unit}", baseline, f"at most {budget} {unit}", figure <= budget))

    def show(self):
        widths = [max(len(str(row[column])) for row in self.rows) for column in range(4)]
        for row in self.rows:
            cells = "  ".join(str(row[column]).ljust(widths[column]) for column in range(4))
            print(f"{'ok  ' if row[4] else 'OVER'}  {cells}")
        held = sum(row[4] for row in self.rows)
        print(f"{held} of {len(self.rows)} budgets hold")


class TimedWatcher(Watcher):
    """Notes when the item registered."""

    registered_at = 0.0

    def _on_call(self, connection, sender, path, interface, method, arguments, invocation):
        self.registered_at = time.perf_counter()
        super()._on_call(connection, sender, path, interface, method, arguments, invocation)


class Session:
    """A desktop with a panel, and the programs to compare on it."""

    def __init__(self, desktop, origin, key):
        self.desktop = desktop
        self.origin = origin
        self.watcher = TimedWatcher(desktop.bus)
        self.watcher.start()
        store_secret(desktop.environment, APPLICATION_ID, "api_key", key)
        self.commands = {
            "quillo": [str(BIN / "quillo")],
            "barest Qt": [str(BIN / "barest_tray"), f"{origin}/api/timeline", key],
            "Python": ["/usr/bin/python3", str(ROOT / "tests/bench/baseline/indicator.py"),
                       f"{origin}/api/timeline", key],
        }

    def configure(self, **settings):
        folder = self.desktop.config_home / "quillo"
        folder.mkdir(exist_ok=True)
        settings = {"backend": self.origin, "verifyTLS": False, "hotKeyEnabled": True, **settings}
        (folder / "defaults.json").write_text(json.dumps(settings))

    def start(self, name):
        environment = {**self.desktop.environment, "LC_ALL": "en_US.UTF-8"}
        return Child(self.commands[name], environment=environment, log=self.desktop.folder / f"{name}.log")

    def start_and_register(self, name):
        """The running program, and the milliseconds until it asked the panel to show it."""
        self.watcher.registrations.clear()
        began = time.perf_counter()
        child = self.start(name)
        wait_until(lambda: self.watcher.registrations, f"{name} to register")
        return child, (self.watcher.registered_at - began) * 1000

    def start_quillo(self):
        """Quillo with its first ledger on the panel, and its item."""
        child, _ = self.start_and_register("quillo")
        item = self.watcher.wait_for_item()
        wait_until(lambda: item.label.startswith("$"), lambda: f"an amount, not {item.label}", timeout=60)
        return child, item

    def refresh(self):
        """Has the running Quillo refresh, as its desktop action does."""
        self.desktop.bus.connection.call_sync(
            APPLICATION_ID, "/app/quillo/Quillo", "org.freedesktop.Application", "ActivateAction",
            GLib.Variant("(sava{sv})", ("refresh", [], {})), None, 0, 10_000, None,
        )


def private_dirty(pid):
    """Kilobytes of memory that are this process's alone and changed."""
    lines = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text().splitlines()
    return next(int(line.split()[1]) for line in lines if line.startswith("Private_Dirty"))


def switches(pid):
    """How often the process's threads have stopped running so far."""
    total = 0
    for status in pathlib.Path(f"/proc/{pid}/task").glob("*/status"):
        try:
            lines = status.read_text().splitlines()
        except OSError:
            continue  # that thread has ended meanwhile
        total += sum(int(line.split()[1]) for line in lines if "voluntary_ctxt_switches" in line)
    return total


def cpu_seconds(pid):
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / 100


def settle(pid):
    """Waits until the process has not run for half a second."""
    last = [switches(pid), time.monotonic()]

    def quiet():
        now = switches(pid)
        if now != last[0]:
            last[:] = [now, time.monotonic()]
        return time.monotonic() - last[1] > 0.5

    wait_until(quiet, "the program to come to rest", timeout=30)


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
    memory, woken = {}, {}
    for name in session.commands:
        if name == "quillo":
            child, _ = session.start_quillo()
        else:
            child, _ = session.start_and_register(name)
        settle(child.pid)
        memory[name] = private_dirty(child.pid) / 1024
        before = switches(child.pid)
        quiet_until = time.monotonic() + (QUIET_SECONDS if name != "Python" else 0)
        wait_until(lambda: time.monotonic() > quiet_until, "the quiet time to pass", timeout=QUIET_SECONDS + 5)
        woken[name] = max(0, switches(child.pid) - before)
        child.stop()
    table.ratio("idle private memory", memory["quillo"], memory["barest Qt"], "MB", 1.3, "barest Qt")
    table.ratio("idle private memory", memory["quillo"], memory["Python"], "MB", 0.5, "Python")
    table.bound(f"wake-ups in {QUIET_SECONDS} s between heartbeats", woken["quillo"], "", 0,
                f"{woken['barest Qt']} (barest Qt)")


def measure_refreshes(session, backend, table, count):
    """Growth, and the processor time of a refresh."""
    child, item = session.start_quillo()

    def refresh(times):
        for _ in range(times):
            asked = backend.last_byte_at
            session.refresh()
            wait_until(lambda: backend.last_byte_at > asked, "a refresh")
        settle(child.pid)

    refresh(100)
    memory, cpu = private_dirty(child.pid), cpu_seconds(child.pid)
    item.signals.clear()
    refresh(count)
    grown = (private_dirty(child.pid) - memory) / 1024
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
        session.refresh()
        wanted = f"${backend.total:.2f}"

        def arrived():
            return any(name == "XAyatanaNewLabel" and arguments[0] == wanted for name, arguments in item.signals)

        while not arrived():
            GLib.MainContext.default().iteration(True)
        delays.append((time.perf_counter() - backend.last_byte_at) * 1000)
    table.bound("last byte to label on the bus", statistics.median(delays), "ms", 10)
    child.stop()


def measure_menu(session, table):
    """With a large ledger: how long a panel waits for the menu."""
    child, item = session.start_quillo()
    settle(child.pid)
    layouts, openings = [], []
    for _ in range(MENU_CALLS):
        began = time.perf_counter()
        item.menu_call("AboutToShow", GLib.Variant("(i)", (0,)))
        openings.append((time.perf_counter() - began) * 1000)
        began = time.perf_counter()
        item.menu_call("GetLayout", GLib.Variant("(iias)", (0, -1, [])))
        layouts.append((time.perf_counter() - began) * 1000)
    layouts.sort()
    openings.sort()
    table.bound("GetLayout, 100,000 lines, 99th percentile", layouts[MENU_CALLS * 99 // 100], "ms", 2,
                f"median {statistics.median(layouts):.2f} ms")
    table.bound("menu opened to answer, 99th percentile", openings[MENU_CALLS * 99 // 100], "ms", 2,
                f"median {statistics.median(openings):.2f} ms")
    child.stop()


def measure_decoding(table):
    run = subprocess.run([BIN / "decode_bench", "--benchmark_format=json"], check=True, capture_output=True, text=True)
    found = {entry["name"]: entry for entry in json.loads(run.stdout)["benchmarks"]}

    def milliseconds(name, lines):
        entry = found[f"{name}/{lines}/manual_time"]
        return entry["real_time"] * {"ns": 1e-6, "us": 1e-3, "ms": 1}[entry["time_unit"]]

    for lines in (1_000, 100_000):
        ours = milliseconds("quilloRecords", lines)
        # What a small body costs beyond its lines weighs more there: the budget is that of a large one, and twice it.
        table.ratio(f"decoding {lines:,} lines", ours, milliseconds("simdjsonParseAndPlainFill", lines), "ms",
                    1.5 if lines == 100_000 else 3, "simdjson and plain fill")
        table.ratio(f"decoding {lines:,} lines", ours, milliseconds("qtDocumentAndPlainFill", lines), "ms", 0.25,
                    "QJsonDocument")
    counters = found["quilloRecords/100000/manual_time"]
    table.ratio("kept memory of 100,000 lines", counters["kept_per_line"], counters["body_per_line"],
                "bytes a line", 1, "the body")


def main():
    table = Table()
    refreshes = 10_000 if "--long" in sys.argv[1:] else 1_000
    measure_decoding(table)
    with Desktop() as desktop:
        sandbox = desktop.keep(Sandbox(desktop.folder))
        session = Session(desktop, sandbox.https, sandbox.api_key)
        session.configure()
        measure_start(session, table)
        measure_idle(session, table)
    for lines, measures in ((1_000, (lambda *a: measure_refreshes(*a, refreshes), measure_label)),
                            (100_000, (lambda session, _, table: measure_menu(session, table),))):
        with Desktop() as desktop:
            backend = desktop.keep(Backend(lines))
            session = Session(desktop, backend.origin, "key")
            session.configure()
            for measure in measures:
                measure(session, backend, table)
    table.show()


if __name__ == "__main__":
    main()
