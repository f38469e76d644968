"""An installed Quillo from its first start to its purge. Runs in the bare system that test_package.py makes."""

import json
import pathlib
import shutil
import subprocess

from harness.desktop import SERVICES, Desktop
from harness.panel import Panel
from harness.program import Quillo
from harness.sandbox import FIXED_HTTP_PORT, Sandbox
from harness.windows import Windows

ID = "app.quillo.Quillo"
PROGRAM = pathlib.Path("/usr/bin/quillo")
LEDGER = "Quillo — Ledger"

# Everybody's caches, logs and books; and what of this machine is not the system's.
ELSEWHERE = "/proc /sys /dev /run /tmp /home /packages /checkout /var/cache /var/log /var/lib/apt /var/lib/dpkg".split()


def apt(*arguments):
    subprocess.run(["sudo", "apt-get", "-q", "-y", *arguments], check=True)


def system_files():
    """Every path of the system that belongs to nobody in particular."""
    prune = [word for path in ELSEWHERE for word in ("-path", path, "-o")][:-1]
    command = ["sudo", "find", "/", "-xdev", "(", *prune, ")", "-prune", "-o", "-print"]
    return set(subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines())


def ask(desktop, action):
    """Has the bus deliver an action, and start the program for it if it does not run."""
    command = ["gapplication", "action", ID, action]
    return subprocess.run(command, env=desktop.environment, capture_output=True, text=True, check=False, timeout=30)


def launch(desktop):
    """Starts the program as a launcher does, and returns the status with which it ended."""
    return subprocess.run([PROGRAM], env=desktop.environment, check=False, timeout=30).returncode


def test_installed_program_is_upgraded_while_it_runs_and_leaves_only_what_is_the_users():
    before = system_files()
    apt("install", "--no-install-recommends", "/packages/quillo.deb")
    with Desktop(services=(*SERVICES, ID)) as desktop:
        panel = Panel(desktop)
        panel.start()
        sandbox = desktop.keep(Sandbox(desktop.folder, http_port=FIXED_HTTP_PORT))
        sandbox.scenario(totalOwed=5, pending="none")
        windows = Windows(desktop)
        quillo = Quillo(desktop, command=[str(PROGRAM)], application_id=ID)
        quillo.store_secret("api_key", sandbox.api_key)
        quillo.start()
        panel.wait_for_text("$5.00")

        apt("install", "--no-install-recommends", "/packages/later.deb")
        sandbox.scenario(totalOwed=6)
        assert ask(desktop, "refresh").returncode == 0
        panel.wait_for_text("$6.00")

        assert launch(desktop) == 0
        windows.wait_for(LEDGER)
        assert ask(desktop, "quit").returncode == 0
        assert quillo.wait_for_end() == 0

        quillo.write_settings(refreshInterval=300)
        assert ask(desktop, "open-ledger").returncode == 0
        windows.wait_for(LEDGER)
        panel.wait_for_text("$6.00")
        assert ask(desktop, "quit").returncode == 0
        windows.wait_for_none(LEDGER)

        apt("remove", "quillo")
        assert not PROGRAM.exists()
        assert ask(desktop, "open-ledger").returncode != 0
        entry = desktop.config_home / f"autostart/{ID}.desktop"
        assert f"TryExec={PROGRAM}\n" in entry.read_text(), "login starts nothing where this program is missing"

        subprocess.run(["sudo", "dpkg", "--purge", "quillo"], check=True)
        assert system_files() == before
        assert not list(pathlib.Path("/var/lib/dpkg/info").glob("quillo*"))
        assert json.loads(quillo.settings_file.read_text())["refreshInterval"] == 300
        assert quillo.read_secret("api_key") == sandbox.api_key
    assert not shutil.which("quillo")
