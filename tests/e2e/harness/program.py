"""The program under test."""

import contextlib
import json
import os
import pathlib
import resource
import signal

from .keyring import clear_secret, read_secret, store_secret
from .processes import Child
from .waiting import wait_until

ROOT = pathlib.Path(__file__).resolve().parents[3]
APPLICATION_ID = "app.quillo.Quillo.Demo"


def executable():
    """The built program: the demo preset's, or the one that QUILLO_PROGRAM names."""
    path = pathlib.Path(os.environ.get("QUILLO_PROGRAM", ROOT / "build/demo/bin/quillo"))
    if not path.exists():
        raise RuntimeError(f"{path} is missing; build it with: cmake --preset demo && cmake --build --preset demo")
    return path


class Quillo:
    """Quillo in a desktop session, with its settings and secrets.

    It is the program under test, unless `command` starts another build, whose id is `application_id`.
    """

    def __init__(self, desktop, *, command=None, application_id=APPLICATION_ID):
        self._desktop = desktop
        self._command = command
        self._application_id = application_id
        self._child = None

    @property
    def settings_file(self):
        return self._desktop.config_home / "quillo/defaults.json"

    def write_settings(self, **values):
        """Replaces the stored settings; keys are the program's own ("backend", "refreshInterval", …)."""
        self.settings_file.parent.mkdir(parents=True, exist_ok=True)
        self.settings_file.write_text(json.dumps(values), encoding="utf-8")

    def store_secret(self, account, secret):
        store_secret(self._desktop.environment, self._application_id, account, secret)

    def read_secret(self, account):
        return read_secret(self._desktop.environment, self._application_id, account)

    def clear_secret(self, account):
        clear_secret(self._desktop.environment, self._application_id, account)

    def start(self, **environment):
        """Starts the program; keyword arguments override variables of the session."""
        log = self._desktop.folder / "quillo.log"
        variables = {**self._desktop.environment, **environment}
        self._child = Child(self._command or [str(executable())], environment=variables, log=log)
        self._desktop.callback(self._child.stop)

    @property
    def running(self):
        return self._child.running

    def output(self):
        """What the program wrote to its standard streams."""
        return self._child.output()

    def wait_until_idle(self, *, polls=30):
        """Waits until no thread of the program has run between `polls` looks in a row, or it has ended."""
        looks = []

        def idle():
            looks.append(_context_switches(self._child.pid))
            return not self.running or (len(looks) > polls and len(set(looks[-polls:])) == 1)

        wait_until(idle, "the program to have nothing to do")

    def core_limit(self):
        """The size in bytes that a core dump of the program may have."""
        soft, _hard = resource.prlimit(self._child.pid, resource.RLIMIT_CORE)
        return soft

    def send(self, signal_number):
        os.kill(self._child.pid, signal_number)

    def ends_on(self, signal_number):
        """Sends a signal and returns the exit status that follows."""
        self.send(signal_number)
        return self._child.wait()

    @contextlib.contextmanager
    def stopped(self):
        """The program stands still: what happens meanwhile reaches it all at once."""
        os.kill(self._child.pid, signal.SIGSTOP)
        try:
            yield
        finally:
            os.kill(self._child.pid, signal.SIGCONT)

    def wait_for_end(self, *, timeout=30.0):
        return self._child.wait(timeout=timeout)

    def stop(self):
        self._child.stop()


def _context_switches(pid):
    """How often each thread of a process has given up or lost the processor so far."""
    switches = []
    for status in sorted(pathlib.Path(f"/proc/{pid}/task").glob("*/status")):
        try:
            lines = status.read_text().splitlines()
        except OSError:
            continue  # The thread has ended meanwhile.
        switches.append((status.parent.name, *(line for line in lines if "ctxt_switches" in line)))
    return tuple(switches)
