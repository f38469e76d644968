"""Figures of the Google Benchmark programs, which time the processor: a busy machine does not spoil them."""

import json
import subprocess

from session import BIN

SIZES = (1_000, 10_000, 100_000, 1_000_000)
LARGE, LARGEST = SIZES[2:]
# Ten times the lines; beyond that, what no longer fits the processor's caches.
LINEAR = 20


class Results:
    """What one benchmark program has measured."""

    def __init__(self, program):
        run = subprocess.run([BIN / program, "--benchmark_format=json"], check=True, capture_output=True, text=True)
        self._found = {
            entry["name"].split("/iterations")[0].removesuffix("/manual_time"): entry
            for entry in json.loads(run.stdout)["benchmarks"]
        }

    def mean(self, name, *arguments):
        """Milliseconds."""
        entry = self.entry(name, *arguments)
        return entry["real_time"] * {"ns": 1e-6, "us": 1e-3, "ms": 1}[entry["time_unit"]]

    def entry(self, name, *arguments):
        return self._found["/".join(map(str, (name, *arguments)))]


def measure_decoding(table):
    results = Results("decode_bench")
    for lines in (1_000, LARGE):
        ours = results.mean("quilloRecords", lines)
        # What a small body costs beyond its lines weighs more there: the budget is that of a large one, and twice it.
        table.ratio(f"decoding {lines:,} lines", ours, results.mean("simdjsonParseAndPlainFill", lines), "ms",
                    1.5 if lines == LARGE else 3, "simdjson and plain fill")
        table.ratio(f"decoding {lines:,} lines", ours, results.mean("qtDocumentAndPlainFill", lines), "ms", 0.25,
                    "QJsonDocument")
    counters = results.entry("quilloRecords", LARGE)
    table.ratio("kept memory of 100,000 lines", counters["kept_per_line"], counters["body_per_line"],
                "bytes a line", 1, "the body")


def measure_rows(table):
    """Searching and sorting alone; every line has a description of its own."""
    results = Results("rows_bench")
    different = 1
    for name, plain, what, peer in (("filterKeystroke", "plainFilterKeystroke", "search", "memmem"),
                                    ("columnSort", "plainColumnSort", "sort", "std::sort")):
        for lines in SIZES:
            table.ratio(f"{what}, {lines:,} lines", results.mean(name, lines, different),
                        results.mean(plain, lines, different), "ms", 3, peer)
        table.ratio(f"{what}, 1,000,000 lines", results.mean(name, LARGEST, different),
                    results.mean(name, LARGE, different), "ms", LINEAR, "100,000 lines")


def measure_window(table):
    """The ledger window until it is painted, and the menu's value."""
    results = Results("window_bench")
    budgets = {
        ("keystrokePainted", LARGE): ("median", 8),
        ("clickPainted", LARGE): ("median", 16),
        ("frameScrolled", LARGEST): ("p99", 16.7),
        ("menuBuilt", LARGE): ("p99", 2),
    }
    for name, what in (("keystrokePainted", "keystroke in the filter to painted"),
                       ("clickPainted", "click on a column to painted"),
                       ("frameScrolled", "frame while scrolling"),
                       ("windowOpened", "ledger window opened and painted"),
                       ("refreshPainted", "refresh arriving in the open window"),
                       ("snapshotSwitched", "switch between live and snapshot"),
                       ("menuBuilt", "menu built from the store")):
        for lines in SIZES:
            entry = results.entry(name, lines)
            spread = f"median {entry['median']:.2f} ms, 99th percentile {entry['p99']:.2f} ms"
            if (name, lines) in budgets:
                field, budget = budgets[name, lines]
                table.bound(f"{what}, {lines:,} lines", entry[field], "ms", budget, spread)
            else:
                table.figure(f"{what}, {lines:,} lines", entry["median"], "ms", spread)
