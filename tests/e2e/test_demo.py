"""The demonstration leaves a desktop as it found it."""

import os
import signal
import socket
import subprocess

import pytest

from harness.keyring import read_secret
from harness.processes import Child
from harness.program import APPLICATION_ID, ROOT
from harness.sandbox import FIXED_HTTP_PORT, turn_at_fixed_ports
from harness.waiting import wait_until

SESSION = ROOT / "build/demo/session"


@pytest.fixture
def demo(desktop, watcher):
    """The demonstration on a desktop with a display, up to the amount in the panel."""
    with turn_at_fixed_ports():
        command = ["/usr/bin/python3", str(ROOT / "scripts/lib/demo.py")]
        child = Child(command, environment=desktop.environment, log=desktop.folder / "demo.log")
        item = watcher.wait_for_item(timeout=30)
        wait_until(lambda: item.label.startswith("$"), "the amount in the panel")
        yield child
        child.stop()


def is_listening(port):
    with socket.socket() as probe:
        return probe.connect_ex(("127.0.0.1", port)) == 0


def assert_nothing_is_left(desktop):
    assert read_secret(desktop.environment, APPLICATION_ID, "api_key") is None
    assert not SESSION.exists()
    assert not is_listening(FIXED_HTTP_PORT)
    assert not (desktop.config_home / "quillo").exists()
    assert not (desktop.config_home / "autostart").exists()


def test_demo_tells_how_to_sign_in(demo):
    assert "robin@quillo.example, password paper-lantern-42" in demo.output()


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM])
def test_interrupted_demo_leaves_nothing(demo, desktop, number):
    demo.process.send_signal(number)
    demo.wait()
    assert_nothing_is_left(desktop)


def test_demo_ends_when_quillo_is_quit(demo, desktop, watcher):
    watcher.wait_for_item().activate_menu("Quit Quillo")
    assert demo.wait() == 0
    assert_nothing_is_left(desktop)


def test_demo_names_the_port_that_is_taken(desktop):
    with turn_at_fixed_ports(), socket.create_server(("127.0.0.1", FIXED_HTTP_PORT)):
        command = ["/usr/bin/python3", str(ROOT / "scripts/lib/demo.py")]
        child = desktop.keep(Child(command, environment=desktop.environment, log=desktop.folder / "demo.log"))
        assert child.wait() == 1
        assert f"port {FIXED_HTTP_PORT} is in use" in child.output()


def test_demo_without_a_display_leaves_pictures_of_menu_ledger_and_settings():
    pictures = [ROOT / f"build/demo/{name}.png" for name in ("menu", "ledger", "settings")]
    for picture in pictures:
        picture.unlink(missing_ok=True)
    environment = {name: value for name, value in os.environ.items() if "DISPLAY" not in name}
    command = ["/usr/bin/python3", str(ROOT / "scripts/lib/demo.py")]
    with turn_at_fixed_ports():
        run = subprocess.run(command, env=environment, capture_output=True, text=True, check=True, timeout=120)
    assert "Its panel showed: $" in run.stdout
    for picture in pictures:
        colours = subprocess.run(["identify", "-format", "%k", picture], capture_output=True, text=True, check=True)
        assert int(colours.stdout) > 50, f"{picture} shows next to nothing"
