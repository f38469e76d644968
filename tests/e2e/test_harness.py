"""The desktop that the other tests rely on, shown to work with a status item of a dozen lines."""

import pathlib
import urllib.request

import pytest

from harness.desktop import PROMPTER_SERVICES, SERVICES, Desktop
from harness.keyring import Keyring, clear_secret, read_secret, store_secret
from harness.listener import Listener
from harness.panel import Panel
from harness.processes import Child
from harness.waiting import wait_until

SCRIPTED_ITEM = pathlib.Path(__file__).with_name("scripted_item.py")


def start_item(desktop, label):
    command = ["/usr/bin/python3", str(SCRIPTED_ITEM), "dialog-warning", label]
    return desktop.keep(Child(command, environment=desktop.environment, log=desktop.folder / "item.log"))


def test_scripted_panel_reads_label_icon_and_menu(desktop, watcher):
    start_item(desktop, "Quillo · Reconnect")
    item = watcher.wait_for_item()
    assert item.shown() == ("dialog-warning", "Quillo · Reconnect")
    assert item.menu().labels() == ["Quit"]


def test_scripted_panel_clicks_a_menu_entry(desktop, watcher):
    child = start_item(desktop, "$1.00")
    watcher.wait_for_item().activate_menu("Quit")
    assert child.wait() == 0


def test_item_comes_back_after_the_scripted_panel_died(desktop, watcher):
    start_item(desktop, "$1.00")
    watcher.wait_for_item()
    watcher.restart()
    assert watcher.wait_for_item().label == "$1.00"


def test_real_panel_shows_the_label(desktop):
    panel = Panel(desktop)
    panel.start()
    start_item(desktop, "$1,234 + $88 pend")
    panel.wait_for_text("$1,234 + $88 pend")


def test_secret_goes_through_the_keyring(desktop):
    store_secret(desktop.environment, "app.quillo.Test", "api_key", "s3cret")
    assert read_secret(desktop.environment, "app.quillo.Test", "api_key") == "s3cret"
    clear_secret(desktop.environment, "app.quillo.Test", "api_key")
    assert read_secret(desktop.environment, "app.quillo.Test", "api_key") is None


def test_locked_keyring_gives_no_secret(desktop):
    store_secret(desktop.environment, "app.quillo.Test", "api_key", "s3cret")
    desktop.keyring.lock()
    assert read_secret(desktop.environment, "app.quillo.Test", "api_key") is None


def test_prompt_of_a_locked_keyring_can_be_answered(make_desktop):
    desktop = make_desktop(services=SERVICES + PROMPTER_SERVICES)
    store_secret(desktop.environment, "app.quillo.Test", "api_key", "s3cret")
    desktop.keyring.lock()
    command = ["secret-tool", "lookup", "service", "app.quillo.Test", "account", "api_key"]
    log = desktop.folder / "secret-tool.log"
    reader = desktop.keep(Child(command, environment=desktop.environment, log=log))
    desktop.keyring.answer_prompt(desktop.display)
    assert reader.wait() == 0
    assert reader.output() == "s3cret"


def test_sandbox_answers_and_notes_what_it_was_asked(sandbox):
    sandbox.scenario(totalOwed=5)
    with urllib.request.urlopen(f"{sandbox.http}/help", timeout=10) as answer:
        assert answer.status == 200
    assert [entry["path"] for entry in sandbox.requests()] == ["/help"]
    assert sandbox.issue_refresh_token()


def test_session_without_keyring_has_no_secret_service(make_desktop):
    assert not make_desktop(keyring=Keyring.ABSENT).bus.has_owner("org.freedesktop.secrets")


def test_listener_counts_connections(desktop):
    listener = desktop.keep(Listener())
    child = desktop.keep(
        Child(
            ["bash", "-c", f"exec 3<>/dev/tcp/127.0.0.1/{listener.port}"],
            environment=desktop.environment,
            log=desktop.folder / "bash.log",
        )
    )
    assert child.wait() == 0
    wait_until(lambda: listener.connections == 1, "the connection")


def test_two_desktops_stand_side_by_side(make_desktop):
    first, second = make_desktop(), make_desktop()
    assert first.display.name != second.display.name
    assert first.bus.address != second.bus.address


def test_nothing_is_left_of_a_closed_desktop():
    with Desktop() as desktop:
        folder = desktop.folder
        panel = Panel(desktop)
        panel.start()
        assert processes_that_mention(folder)
    wait_until(lambda: not processes_that_mention(folder), lambda: f"the end of {processes_that_mention(folder)}")
    assert not folder.exists()


def test_waiting_tells_what_was_there_instead():
    with pytest.raises(TimeoutError, match="waited 0 s for the moon"):
        wait_until(lambda: False, "the moon", timeout=0)


def processes_that_mention(folder):
    """Programs whose environment names the folder: whatever was started inside that desktop."""
    found = []
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            if str(folder).encode() in (process / "environ").read_bytes():
                found.append((process / "comm").read_text().strip())
        except OSError:
            pass  # Ended meanwhile, or another user's.
    return found
