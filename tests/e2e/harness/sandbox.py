"""The local backend and identity provider of the checkout's sandbox folder."""

import contextlib
import fcntl
import json
import os
import pathlib
import subprocess
import tempfile
import urllib.request

from .display import required_program
from .processes import Child
from .waiting import wait_until

_PROGRAM = pathlib.Path(__file__).resolve().parents[3] / "sandbox/server.mjs"

FIXED_HTTP_PORT = 8480
FIXED_IDENTITY_PORT = 8481
FIXED_HTTPS_PORT = 8443


class Sandbox:
    """A running sandbox; port 0 takes any free one. It ends with this process whatever happens."""

    def __init__(self, folder, *, http_port=0, https_port=0, identity_port=0):
        state = folder / "sandbox"
        state.mkdir(exist_ok=True)
        command = [required_program("node"), str(_PROGRAM), "--die-with-stdin", "--state", str(state)]
        for option, port in (("http", http_port), ("https", https_port), ("identity", identity_port)):
            command += [f"--{option}-port", str(port)]
        environment = {"PATH": "/usr/bin:/bin", "HOME": str(state)}
        self._server = Child(
            command,
            environment=environment,
            log=folder / "sandbox.log",
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
        )
        ready = self._server.process.stdout.readline()
        if not ready:
            self.stop()
            raise RuntimeError(f"the sandbox did not start: {self._server.output().strip()}")
        facts = json.loads(ready)
        self.http = facts["http"]
        self.https = facts["https"]
        self.host = self.http.removeprefix("http://")
        self.identity = facts["identity"]
        self.api_key = facts["apiKey"]
        self.email = facts["email"]
        self.password = facts["password"]

    def scenario(self, **changes):
        """Switches what the sandbox answers from now on; its README describes the keys."""
        return self._request("POST", "/sandbox/scenario", json.dumps(changes).encode())

    def issue_refresh_token(self):
        """A refresh token as a sign-in in the browser would have given."""
        return self.scenario(issueTokensFor=self.email)["issued"]["refreshToken"]

    def requests(self, path=None):
        """Every request so far in order, as the sandbox's log notes them; `path` picks some."""
        entries = self._request("GET", "/sandbox/log")["requests"]
        return [entry for entry in entries if path in (None, entry["path"])]

    def backend_requests(self):
        return [entry for entry in self.requests() if entry["listener"] != "identity"]

    def wait_for_requests(self, count, path="/api/timeline", *, timeout=30.0):
        """Waits until `path` has been asked for and answered at least `count` times; returns those requests."""

        def answered():
            entries = [entry for entry in self.requests(path) if entry["status"] is not None]
            return entries if len(entries) >= count else None

        return wait_until(
            answered, lambda: f"{count} of {path}; so far {len(self.requests(path))}", timeout=timeout
        )

    def _request(self, method, path, body=None):
        request = urllib.request.Request(self.http + path, data=body, method=method)
        if body is not None:
            request.add_header("Content-Type", "application/json")
        with urllib.request.urlopen(request, timeout=10) as answer:
            return json.load(answer)

    def stop(self):
        self._server.stop()


@contextlib.contextmanager
def turn_at_fixed_ports():
    """Waits until no other test of this machine uses the fixed ports."""
    path = pathlib.Path(tempfile.gettempdir()) / f"quillo-fixed-ports-{os.getuid()}.lock"
    with open(path, "w", encoding="ascii") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        yield
