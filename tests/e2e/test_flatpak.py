"""In a Flatpak's sandbox, with no more than the manifest allows."""

import json
import pathlib

import pytest

from harness.desktop import SERVICES
from harness.flatpak import Flatpak
from harness.keyring import read_secret
from harness.program import APPLICATION_ID, Quillo
from harness.sandbox import Sandbox
from harness.sandbox_portals import SERVICES as PORTAL_SERVICES
from harness.sandbox_portals import SandboxPortals
from harness.waiting import wait_until
from harness.watcher import Watcher


@pytest.fixture
def desktop(make_desktop):
    return make_desktop(services=(*SERVICES, *PORTAL_SERVICES))


@pytest.fixture
def start(desktop, watcher, sandbox):
    """Starts the program in a sandbox on a desktop of the given name, with an API key; returns its item."""

    def start(name):
        sandbox.scenario(totalOwed=5, pending="none")
        flatpak = Flatpak(desktop, XDG_CURRENT_DESKTOP=name)
        flatpak.settings_file.parent.mkdir()
        flatpak.settings_file.write_text(json.dumps({"backend": sandbox.http}))
        flatpak.store_secret("api_key", sandbox.api_key)
        Quillo(desktop, command=flatpak.command()).start()
        return watcher.wait_for_item()

    return start


def test_amount_is_shown_with_a_secret_that_only_the_sandbox_has(desktop, start, sandbox):
    SandboxPortals(desktop)
    item = start("GNOME")
    item.wait_for("creditcard", "$5.00")
    assert read_secret(desktop.environment, APPLICATION_ID, "api_key") is None
    assert sandbox.wait_for_requests(1)


def test_panel_finds_the_icons_under_the_path_it_is_given(desktop, start):
    SandboxPortals(desktop)
    item = start("GNOME")
    item.wait_for("creditcard", "$5.00")
    icon = pathlib.Path(item.read("IconThemePath")) / f"{item.icon}.svg"
    assert "<svg" in icon.read_text(encoding="utf-8")


def test_panel_is_known_by_the_desktops_name(desktop, start):
    SandboxPortals(desktop)
    item = start("KDE")
    wait_until(lambda: item.read("Title") == "$5.00", "the amount in the title, as in a square's")
    assert item.label == ""
    assert item.read("IconPixmap")


def test_login_item_is_the_portals(desktop, start):
    portals = SandboxPortals(desktop)
    start("GNOME")
    wait_until(lambda: portals.autostart, "the question whether it may start at login")
    command = ["flatpak", "run", "--command=quillo", APPLICATION_ID]
    assert portals.autostart == (APPLICATION_ID, True, command)
    assert not list(desktop.folder.rglob("autostart")), "no desktop would read an entry of the sandbox"


def test_without_portals_the_program_runs_and_has_no_secrets(desktop, watcher, sandbox):
    flatpak = Flatpak(desktop, XDG_CURRENT_DESKTOP="GNOME")
    Quillo(desktop, command=flatpak.command()).start()
    assert "Sign In…" in watcher.wait_for_item().menu().labels()
