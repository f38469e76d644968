"""Starting at login: the entry that every launch makes, and real starters that follow it."""

import subprocess

import pytest

from harness.processes import Child
from harness.program import APPLICATION_ID, Quillo, executable
from harness.waiting import wait_until
from harness.windows import Windows
from harness.xfce_session import XfceSession

LEDGER = "Quillo — Ledger"
OFF = "[Desktop Entry]\nType=Application\nName=Quillo\nExec=quillo\nHidden=true\n"


@pytest.fixture
def program(desktop, watcher):
    """Quillo, installed, without any account."""
    applications = desktop.data_home / "applications"
    applications.mkdir(parents=True)
    installed = f"[Desktop Entry]\nType=Application\nName=Quillo\nExec={executable()}\n"
    (applications / f"{APPLICATION_ID}.desktop").write_text(installed)
    return Quillo(desktop)


@pytest.fixture
def entry(desktop):
    return desktop.config_home / f"autostart/{APPLICATION_ID}.desktop"


def launch_and_quit(program, watcher):
    """A whole run of the program; returns the texts of its menu."""
    watcher.registrations.clear()
    program.start()
    item = watcher.wait_for_item()
    texts = item.menu().labels()
    item.activate_menu("Quit Quillo")
    assert program.wait_for_end() == 0
    return texts


def test_every_launch_makes_the_entry_unless_it_is_there(program, watcher, entry):
    launch_and_quit(program, watcher)
    made = entry.read_text()
    assert f'Exec="{executable()}"\n' in made
    subprocess.run(["desktop-file-validate", entry], check=True, timeout=30)

    own = made.replace("Name=Quillo", "Name=My own words")
    entry.write_text(own)
    launch_and_quit(program, watcher)
    assert entry.read_text() == own

    entry.unlink()
    launch_and_quit(program, watcher)
    assert entry.read_text() == made

    entry.write_text("what is this?\0")
    launch_and_quit(program, watcher)
    assert entry.read_text() == made

    entry.write_text(OFF)
    launch_and_quit(program, watcher)
    assert entry.read_text() == OFF


def test_entry_that_cannot_be_made_stops_nothing_and_is_not_told(program, watcher, desktop):
    desktop.config_home.mkdir(exist_ok=True)
    (desktop.config_home / "autostart").write_text("in the folder's place")
    texts = launch_and_quit(program, watcher)
    assert not [text for text in texts if "ogin item" in text]


def test_program_that_is_not_installed_makes_no_entry(desktop, watcher, entry):
    launch_and_quit(Quillo(desktop), watcher)
    assert not entry.exists()


def test_starter_of_plain_window_managers_starts_it(program, watcher, desktop):
    launch_and_quit(program, watcher)
    watcher.registrations.clear()
    environment = {**desktop.environment, "XDG_CONFIG_DIRS": str(desktop.folder / "none")}
    desktop.keep(Child(["dex", "--autostart"], environment=environment, log=desktop.folder / "dex.log"))
    watcher.wait_for_item()


def test_xfce_starts_it_once_at_every_login_and_ends_it_at_the_logout(program, watcher, entry, desktop):
    launch_and_quit(program, watcher)
    status = desktop.folder / "status"
    entry.write_text(
        entry.read_text().replace(f'Exec="{executable()}"', f"Exec=sh -c \"{executable()}; echo $? >> {status}\"")
    )
    session = XfceSession(desktop)
    for login in (1, 2):
        watcher.registrations.clear()
        session.log_in()
        item = watcher.wait_for_item()
        if login == 1:
            item.activate_menu("Open ledger")
            Windows(desktop).wait_for(LEDGER)
        else:
            assert Windows(desktop).titled(LEDGER) == []
        session.log_out()
        wait_until(lambda: status.exists() and status.read_text() == "0\n" * login, f"a clean end of run {login}")
        assert not desktop.bus.has_owner(APPLICATION_ID)
    saved = list((desktop.folder / "home/.cache/sessions").glob("xfce4-session-*"))
    assert saved and "quillo" not in "".join(each.read_text() for each in saved)
