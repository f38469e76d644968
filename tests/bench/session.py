"""Programs on a private desktop of the whole-program tests, and what they use."""

import json
import pathlib
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests/e2e"))

from gi.repository import GLib  # noqa: E402

from harness.keyring import store_secret  # noqa: E402
from harness.processes import Child  # noqa: E402
from harness.waiting import wait_until  # noqa: E402
from harness.watcher import Watcher  # noqa: E402

BIN = ROOT / "build/bench/bin"
APPLICATION_ID = "app.quillo.Quillo"


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
            "barest Qt window": [str(BIN / "barest_tray"), f"{origin}/api/timeline", key, "window"],
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

    def act(self, action):
        """Has the running Quillo do what one of its desktop actions says."""
        self.desktop.bus.connection.call_sync(
            APPLICATION_ID, "/app/quillo/Quillo", "org.freedesktop.Application", "ActivateAction",
            GLib.Variant("(sava{sv})", (action, [], {})), None, 0, 10_000, None,
        )

    def run(self, program, *arguments):
        """What a program of the benchmarks prints, as JSON."""
        run = subprocess.run([BIN / program, *arguments], env=self.desktop.environment, check=True,
                             capture_output=True, text=True, timeout=300)
        return json.loads(run.stdout)


def private_memory(pid):
    """Megabytes of memory that are this process's alone and changed.

    The kernel counts as changed, too, what it has not yet written to the disk of a file that nobody changes now, such
    as a program that was just built. So of files only the pages count that the process has a copy of.
    """
    total, field = 0, "Private_Dirty:"
    for line in pathlib.Path(f"/proc/{pid}/smaps").read_text().splitlines():
        columns = line.split()
        if not columns[0].endswith(":"):
            is_file = len(columns) > 5 and columns[5].startswith("/") and not line.endswith("(deleted)")
            field = "Anonymous:" if is_file else "Private_Dirty:"
        elif columns[0] == field:
            total += int(columns[1])
    return total / 1024


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
