"""What every whole-program test starts from."""

import pathlib
import re
import shutil

import pytest

from harness.desktop import Desktop
from harness.program import ROOT, Quillo
from harness.sandbox import FIXED_IDENTITY_PORT, Sandbox, turn_at_fixed_ports
from harness.watcher import Watcher

ARTEFACTS = ROOT / "build/e2e"

_failed = pytest.StashKey[bool]()


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item):
    report = (yield).get_result()
    if report.failed:
        item.stash[_failed] = True


@pytest.fixture
def artefacts(request):
    """A folder that outlives the test, for pictures and logs."""
    folder = ARTEFACTS / re.sub(r"[^\w.-]+", "-", request.node.name)
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    return folder


@pytest.fixture
def make_desktop(request, artefacts):
    """Makes desktop sessions with options; those of a failed test leave their logs and a picture."""
    made = []

    def make(**options):
        made.append(Desktop(**options))
        return made[-1]

    yield make
    for desktop in reversed(made):
        if request.node.stash.get(_failed, False):
            _keep_evidence(desktop, artefacts)
        desktop.close()
    if not any(artefacts.iterdir()):
        artefacts.rmdir()


def _keep_evidence(desktop, folder: pathlib.Path):
    for log in desktop.folder.glob("*.log"):
        shutil.copy(log, folder)
    desktop.display.screenshot(folder / "screen.png")


@pytest.fixture
def desktop(make_desktop):
    return make_desktop()


@pytest.fixture
def late_watcher(desktop):
    """A scripted panel that the test starts when it likes."""
    return Watcher(desktop.bus)


@pytest.fixture
def watcher(late_watcher):
    """A scripted panel that is there before any program starts."""
    late_watcher.start()
    return late_watcher


@pytest.fixture
def sandbox(desktop):
    return desktop.keep(Sandbox(desktop.folder))


@pytest.fixture
def provider(desktop):
    """A sandbox whose identity provider is where the demo build expects it."""
    with turn_at_fixed_ports():
        sandbox = desktop.keep(Sandbox(desktop.folder, identity_port=FIXED_IDENTITY_PORT))
        sandbox.scenario(totalOwed=5, pending="none")
        yield sandbox
        sandbox.stop()


@pytest.fixture
def quillo(desktop, sandbox):
    """Quillo set up for the sandbox with its API key, not started yet."""
    program = Quillo(desktop)
    program.write_settings(backend=sandbox.http)
    program.store_secret("api_key", sandbox.api_key)
    return program


@pytest.fixture
def shown(quillo, watcher, sandbox):
    """Quillo with $5.00 on the panel, and its item; every opening of the menu after a second refreshes."""
    sandbox.scenario(totalOwed=5, pending="none")
    quillo.write_settings(backend=sandbox.http, refreshInterval=1)
    quillo.start()
    item = watcher.wait_for_item()
    item.wait_for("creditcard", "$5.00")
    return item
