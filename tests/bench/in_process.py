"""Figures of the Google Benchmark programs, which time the processor: a busy machine does not spoil them."""

import json
import subprocess

from session import BIN

SIZES = (1_000, 100_000, 1_000_000)
SMALL, LARGE, LARGEST = SIZES
# Of the longest turn of the main loop with 1,000 lines; a frame, with the large ledger.
TURN_RATIOS = {LARGE: 1.5, LARGEST: 2}
FRAME = 16
PAINTED = {LARGE: 16, LARGEST: 60}
# No program takes longer, in seconds, unless something never ends.
LONGEST_RUN = 900


class Results:
    """What one benchmark program has measured."""

    def __init__(self, program):
        command = [BIN / program, "--benchmark_format=json"]
        run = subprocess.run(command, check=True, capture_output=True, text=True, timeout=LONGEST_RUN)
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
    for lines in (SMALL, LARGE):
        ours = results.mean("quilloRecords", lines)
        table.ratio(f"decoding {lines:,} lines", ours, results.mean("simdjsonParseAndPlainFill", lines), "ms", 1.5,
                    "simdjson and plain fill")
        table.ratio(f"decoding {lines:,} lines", ours, results.mean("qtDocumentAndPlainFill", lines), "ms", 0.25,
                    "QJsonDocument")
    counters = results.entry("quilloRecords", LARGE)
    table.ratio("kept memory of 100,000 lines", counters["kept_per_line"], counters["body_per_line"],
                "bytes a line", 1, "the body")


def measure_window(table):
    """The ledger window, every line with a description of its own, and the menu's value."""
    results = Results("window_bench")
    for name, what in (("refreshPainted", "refresh with changes"),
                       ("windowOpened", "ledger window opened"),
                       ("snapshotSwitched", "snapshot and back"),
                       ("keystrokePainted", "keystroke in the filter"),
                       ("clickPainted", "click on a column")):
        measure_turns(table, results, name, what)
        for lines in SIZES:
            entry = results.entry(name, lines)
            note = f"median {entry['totalmedian']:.2f} ms"
            if "Painted" in name and name != "refreshPainted" and lines in PAINTED:
                table.bound(f"{what} to painted, {lines:,} lines, 99th percentile", entry["totalp99"], "ms",
                            PAINTED[lines], note)
            else:
                table.figure(f"{what} to painted, {lines:,} lines, 99th percentile", entry["totalp99"], "ms", note)
    entry = results.entry("frameScrolled", LARGEST)
    table.bound(f"frame while scrolling, {LARGEST:,} lines, 99th percentile", entry["turnp99"], "ms", 16.7,
                f"median {entry['turnmedian']:.2f} ms")
    table.ratio(f"last byte to painted, {LARGE:,} lines", results.entry("bodyPainted", LARGE)["totalmedian"],
                results.entry("bodyPrepared", LARGE)["median"], "ms", 1.3, "decoding and preparation")
    entry = results.entry("menuBuilt", LARGE)
    table.bound(f"menu built, {LARGE:,} lines, 99th percentile", entry["p99"], "ms", 2,
                f"median {entry['median']:.2f} ms")


def measure_turns(table, results, name, what):
    """The longest turn of the main loop must not grow with the ledger."""
    few = results.entry(name, SMALL)["turnp99"]
    for lines, ratio in TURN_RATIOS.items():
        entry = results.entry(name, lines)
        table.ratio(f"{what}, {lines:,} lines: longest turn, 99th percentile", entry["turnp99"], few, "ms", ratio,
                    f"{SMALL:,} lines")
    table.bound(f"{what}, {LARGE:,} lines: longest turn, 99th percentile", results.entry(name, LARGE)["turnp99"], "ms",
                FRAME, f"median {results.entry(name, LARGE)['turnmedian']:.2f} ms")
