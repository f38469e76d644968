"""Child processes that never outlive the one that started them."""

import ctypes
import os
import signal
import subprocess

from .waiting import wait_until

_PR_SET_PDEATHSIG = 1
_libc = ctypes.CDLL(None, use_errno=True)


def _die_with_parent():
    _libc.prctl(_PR_SET_PDEATHSIG, signal.SIGTERM)


class Child:
    """A running program, in a process group of its own; what it writes goes to a log file."""

    def __init__(self, command, *, environment, log, stdin=subprocess.DEVNULL, stdout=None, pass_fds=()):
        self.name = os.path.basename(command[0])
        self.log = log
        self._ended = False
        with open(log, "ab") as sink:
            self.process = subprocess.Popen(
                command,
                env=environment,
                stdin=stdin,
                stdout=sink if stdout is None else stdout,
                stderr=sink,
                pass_fds=pass_fds,
                start_new_session=True,
                preexec_fn=_die_with_parent,
            )

    @property
    def pid(self):
        return self.process.pid

    @property
    def running(self):
        return self.process.poll() is None

    def output(self):
        """What the program wrote so far, for error messages."""
        with open(self.log, encoding="utf-8", errors="replace") as file:
            return file.read()

    def wait(self, *, timeout=30.0):
        """Waits for the end, without a deadline when `timeout` is None, and returns the exit status."""
        if timeout is None:
            return self.process.wait()
        wait_until(lambda: not self.running, f"{self.name} to end", timeout=timeout)
        return self.process.returncode

    def kill(self):
        """Ends the program at once, as a crash would, its children too."""
        self._signal(signal.SIGKILL)
        self.process.wait()
        self._ended = True

    def stop(self, *, grace=3.0):
        """Asks the program and its children to end; kills what is left after `grace` seconds."""
        if self._ended:
            return
        if self.process.stdin:
            self.process.stdin.close()
        self._signal(signal.SIGTERM)
        try:
            self.process.wait(grace)
        except subprocess.TimeoutExpired:
            pass
        self.kill()
        if self.process.stdout:
            self.process.stdout.close()

    def _signal(self, number):
        try:
            os.killpg(self.process.pid, number)
        except ProcessLookupError:
            pass
