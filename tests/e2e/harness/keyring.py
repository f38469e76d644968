"""A real secret store on the private session bus."""

import enum
import subprocess

from gi.repository import GLib

from .processes import Child
from .waiting import wait_until

PASSWORD = "correct horse"

_SERVICE = "org.freedesktop.secrets"
_SERVICE_PATH = "/org/freedesktop/secrets"
_LOGIN_COLLECTION = "/org/freedesktop/secrets/collection/login"


class Keyring(enum.Enum):
    """What the session's secret store is like."""

    UNLOCKED = "unlocked"
    LOCKED = "locked"
    ABSENT = "absent"


class KeyringDaemon:
    """gnome-keyring with one collection whose password is `PASSWORD`, unlocked."""

    def __init__(self, folder, bus, environment):
        self._folder = folder
        self._bus = bus
        self._environment = environment
        self._control = folder / "keyring"
        self._control.mkdir(mode=0o700)
        self.start()

    def start(self):
        """Starts the daemon on the keyring's files, which it makes at first."""
        command = [
            "gnome-keyring-daemon",
            "--foreground",
            "--components=secrets",
            "--unlock",
            f"--control-directory={self._control}",
        ]
        self._daemon = Child(
            command, environment=self._environment, log=self._folder / "keyring.log", stdin=subprocess.PIPE
        )
        # The whole of standard input is the password; an empty one would make no collection.
        self._daemon.process.stdin.write(PASSWORD.encode())
        self._daemon.process.stdin.close()
        self._daemon.process.stdin = None
        self._bus.wait_for_owner(_SERVICE)
        wait_until(lambda: self._collection_is_locked() is False, "the unlocked collection")

    def kill(self):
        """Ends the daemon under its clients, as a crash would; `start` brings it back."""
        self._daemon.kill()
        wait_until(lambda: not self._bus.has_owner(_SERVICE), "the end of the keyring")

    def _collection_is_locked(self):
        try:
            (locked,) = self._bus.call(
                _SERVICE,
                _LOGIN_COLLECTION,
                "org.freedesktop.DBus.Properties",
                "Get",
                GLib.Variant("(ss)", ("org.freedesktop.Secret.Collection", "Locked")),
            )
        except GLib.Error:
            return None
        return locked

    def lock(self):
        self._bus.call(
            _SERVICE,
            _SERVICE_PATH,
            "org.freedesktop.Secret.Service",
            "Lock",
            GLib.Variant("(ao)", ([_LOGIN_COLLECTION],)),
        )
        wait_until(self._collection_is_locked, "the locked collection")

    def unlock(self):
        """Unlocks the collection as the desktop's own programs do, without a prompt."""
        _, session = self._bus.call(
            _SERVICE,
            _SERVICE_PATH,
            "org.freedesktop.Secret.Service",
            "OpenSession",
            GLib.Variant("(sv)", ("plain", GLib.Variant("s", ""))),
        )
        password = (session, b"", PASSWORD.encode(), "text/plain")
        self._bus.call(
            _SERVICE,
            _SERVICE_PATH,
            "org.gnome.keyring.InternalUnsupportedGuiltRiddenInterface",
            "UnlockWithMasterPassword",
            GLib.Variant("(o(oayays))", (_LOGIN_COLLECTION, password)),
        )
        wait_until(lambda: self._collection_is_locked() is False, "the unlocked collection")

    def answer_prompt(self, display):
        """Types the password into the prompt that asks for it."""
        display.type_into("gcr-prompter", PASSWORD)
        wait_until(lambda: self._collection_is_locked() is False, "the unlocked collection")

    def stop(self):
        self._daemon.stop()


def store_secret(environment, service, account, secret):
    """Puts a secret where Quillo looks for it, as any other program would."""
    subprocess.run(
        ["secret-tool", "store", f"--label={service} {account}", "service", service, "account", account],
        env=environment,
        input=secret.encode(),
        check=True,
        timeout=15,
    )


def clear_secret(environment, service, account):
    """Removes a secret; does nothing when there is none."""
    subprocess.run(
        ["secret-tool", "clear", "service", service, "account", account],
        env=environment,
        capture_output=True,
        check=False,
        timeout=15,
    )


def read_secret(environment, service, account):
    """The secret, or None when there is none."""
    answer = subprocess.run(
        ["secret-tool", "lookup", "service", service, "account", account],
        env=environment,
        capture_output=True,
        check=False,
        timeout=15,
    )
    return answer.stdout.decode() if answer.returncode == 0 else None
