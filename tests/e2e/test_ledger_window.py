"""The ledger window on a desktop with a window manager: however it is asked for, there is one, in front."""

import subprocess

import pytest
from gi.repository import GLib

from harness.display import METACITY, OPENBOX, XFWM4
from harness.program import APPLICATION_ID, Quillo, executable
from harness.waiting import wait_until
from harness.windows import Windows

TITLE = "Quillo — Ledger"


@pytest.fixture
def desktop(make_desktop, request):
    return make_desktop(window_manager=getattr(request, "param", OPENBOX))


@pytest.fixture
def windows(desktop):
    return Windows(desktop)


@pytest.fixture
def running(desktop, watcher):
    """Quillo without any account, and its item."""
    program = Quillo(desktop)
    program.start()
    item = watcher.wait_for_item()
    desktop.bus.wait_for_owner(APPLICATION_ID)
    return program, item


def ask(desktop, method, arguments):
    path = "/" + APPLICATION_ID.replace(".", "/")
    desktop.bus.call(APPLICATION_ID, path, "org.freedesktop.Application", method, arguments)


def activate(desktop):
    ask(desktop, "Activate", GLib.Variant("(a{sv})", ({},)))


def activate_action(desktop, name):
    ask(desktop, "ActivateAction", GLib.Variant("(sava{sv})", (name, [], {})))


def test_no_window_opens_by_itself(running, windows):
    program, _ = running
    program.wait_until_idle()
    assert windows.titled(TITLE) == []


def test_menu_opens_the_ledger_with_its_title_and_size(running, windows):
    _, item = running
    item.activate_menu("Open ledger")
    window = windows.wait_for(TITLE)
    windows.wait_until_active(window)
    width, height = windows.size(window)
    assert width == 960
    assert 640 < height < 700  # the menu bar stands above the content


on_every_window_manager = pytest.mark.parametrize(
    "desktop", [OPENBOX, XFWM4, METACITY], indirect=True, ids=lambda command: command[0]
)


@on_every_window_manager
def test_ledger_behind_another_programs_window_comes_forward(desktop, running, windows):
    activate(desktop)
    window = windows.wait_for(TITLE)
    windows.cover()
    activate(desktop)
    windows.wait_until_active(window)
    assert windows.titled(TITLE) == [window]


@on_every_window_manager
def test_minimised_ledger_comes_back(desktop, running, windows):
    activate(desktop)
    window = windows.wait_for(TITLE)
    windows.minimise(window)
    activate(desktop)
    windows.wait_until_active(window)


def test_closed_ledger_reopens_at_its_last_size_and_ends_nothing(desktop, running, windows):
    program, _ = running
    activate(desktop)
    window = windows.wait_for(TITLE)
    windows.resize(window, 800, 560)
    windows.wait_for_size(window, (800, 560))
    windows.close(window)
    windows.wait_for_none(TITLE)
    assert program.running
    activate(desktop)
    windows.wait_for_size(windows.wait_for(TITLE), (800, 560))


def test_ledger_is_never_smaller_than_its_content_needs(desktop, running, windows):
    activate(desktop)
    window = windows.wait_for(TITLE)
    windows.resize(window, 100, 100)
    wait_until(lambda: windows.size(window)[0] == 720, lambda: f"720 wide, but the window is {windows.size(window)}")
    # The menu bar comes on top of the content.
    assert 480 <= windows.size(window)[1] < 560


def test_second_launch_opens_the_ledger_of_the_first_and_ends(desktop, running, windows):
    program, _ = running
    second = subprocess.run([str(executable())], env=desktop.environment, capture_output=True, timeout=30, check=False)
    assert (second.returncode, second.stdout, second.stderr) == (0, b"", b"")
    windows.wait_until_active(windows.wait_for(TITLE))
    assert program.running


def test_actions_of_the_desktop_file_reach_the_running_program(desktop, running, windows):
    program, _ = running
    activate_action(desktop, "open-ledger")
    windows.wait_for(TITLE)
    activate_action(desktop, "quit")
    assert program.wait_for_end() == 0


def test_action_refreshes(desktop, quillo, watcher, sandbox):
    quillo.write_settings(backend=sandbox.http, refreshInterval=0)
    quillo.start()
    item = watcher.wait_for_item()
    wait_until(lambda: item.label.startswith("$"), "the amount")

    def refreshes():
        return sum(entry["path"] == "/api/timeline" for entry in sandbox.requests())

    before = refreshes()
    activate_action(desktop, "refresh")
    wait_until(lambda: refreshes() == before + 1, "one more refresh")


def test_quitting_from_the_menu_closes_the_ledger_too(running, windows):
    program, item = running
    item.activate_menu("Open ledger")
    windows.wait_for(TITLE)
    item.activate_menu("Quit Quillo")
    assert program.wait_for_end() == 0
