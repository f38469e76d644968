"""Pages that the menu opens in the default browser, and addresses that it never opens."""

import subprocess

import pytest

from harness.browser import DefaultBrowser
from harness.program import Quillo
from harness.waiting import wait_until

# Of the demo build.
HELP_PAGE = "http://127.0.0.1:8480/help"

FOREIGN_SCHEME = "x-scheme-handler/quillo-test"


@pytest.fixture
def browser(desktop):
    return DefaultBrowser(desktop, also=(FOREIGN_SCHEME,))


def wait_for_entry(item, label):
    wait_until(lambda: label in item.menu().labels(), f"the entry {label!r}")


def test_link_and_help_open_in_the_default_browser(quillo, watcher, sandbox, browser):
    quillo.start()
    item = watcher.wait_for_item()
    item.activate_menu("Link new card…")
    assert browser.wait_for_pages(1) == [f"{sandbox.http}/link"]
    item.activate_menu("Help…")
    assert browser.wait_for_pages(2)[1:] == [HELP_PAGE]


def test_remedies_of_a_bank_link_open_the_link_page(quillo, watcher, sandbox, browser):
    sandbox.scenario(link="reconnect")
    quillo.write_settings(backend=sandbox.http, refreshInterval=1)
    quillo.start()
    item = watcher.wait_for_item()
    wait_for_entry(item, "Reconnect bank…")
    item.activate_menu("Reconnect bank…")
    assert browser.wait_for_pages(1) == [f"{sandbox.http}/link"]

    sandbox.scenario(link="add-card")
    item.open_menu_until("creditcard.trianglebadge.exclamationmark", "Quillo · Add credit card")
    item.activate_menu("Re-run Link to add credit card…")
    assert browser.wait_for_pages(2)[1:] == [f"{sandbox.http}/link"]


def test_backend_that_ends_in_a_slash_is_used_as_it_is(quillo, watcher, sandbox, browser):
    quillo.write_settings(backend=sandbox.http + "/", refreshInterval=0)
    quillo.start()
    watcher.wait_for_item().activate_menu("Link new card…")
    assert browser.wait_for_pages(1) == [f"{sandbox.http}//link"]


@pytest.mark.parametrize("backend", ["quillo-test://host", "file:///tmp"])
def test_only_web_pages_are_opened(desktop, watcher, browser, backend):
    program = Quillo(desktop)
    program.write_settings(backend=backend)
    program.start()
    item = watcher.wait_for_item()
    item.activate_menu("Link new card…")
    # Opened later and yet alone: what was asked for first never came.
    item.activate_menu("Help…")
    browser.wait_for_pages(1)
    item.activate_menu("Help…")
    assert browser.wait_for_pages(2) == [HELP_PAGE, HELP_PAGE]


def test_stand_in_would_notice_a_foreign_scheme(desktop, browser):
    subprocess.run(["xdg-open", "quillo-test://host/link"], env=desktop.environment, check=True, timeout=30)
    assert browser.wait_for_pages(1) == ["quillo-test://host/link"]
