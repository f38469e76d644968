"""What the panel shows while everything is well."""

import pytest

LOADING = ("hourglass", "Quillo…")


@pytest.mark.parametrize(
    "owed, pending, label",
    [
        (1234.567, "none", "$1,234.57"),
        (1234.5, 87.5, "$1,234 + $88 pend"),
        (1234.5, 0.01, "$1,234 + $0 pend"),
        (1234.5, 0.0099, "$1,234.50"),
        (-12.3, "none", "$-12.30"),
        (0, "none", "$0.00"),
    ],
)
def test_amounts_are_written_as_money(quillo, watcher, sandbox, owed, pending, label):
    sandbox.scenario(totalOwed=owed, pending=pending)
    quillo.start()
    watcher.wait_for_item().wait_for("creditcard", label)


def test_amount_follows_the_users_locale(quillo, watcher, sandbox):
    sandbox.scenario(totalOwed=1234.567, pending="none")
    quillo.start(LC_ALL="de_DE.UTF-8")
    watcher.wait_for_item().wait_for("creditcard", "$1.234,57")


def test_item_is_on_the_panel_while_the_first_refresh_is_under_way(quillo, watcher, sandbox):
    sandbox.scenario(answers={"all": {"hang": True}})
    quillo.start()
    watcher.wait_for_item().wait_for(*LOADING)


def test_slow_backend_shows_the_amount_when_it_answers(quillo, watcher, sandbox):
    sandbox.scenario(totalOwed=5, pending="none", answers={"timeline": {"delayMs": 500}})
    quillo.start()
    item = watcher.wait_for_item()
    item.wait_for(*LOADING)
    item.wait_for("creditcard", "$5.00")


def test_item_names_itself_and_carries_the_text_in_its_tool_tip(quillo, watcher, sandbox):
    sandbox.scenario(totalOwed=5, pending="none")
    quillo.start()
    item = watcher.wait_for_item()
    item.wait_for("creditcard", "$5.00")
    assert item.read("Id") == "quillo"
    assert item.read("Category") == "ApplicationStatus"
    assert item.read("Status") == "Active"
    assert "$5.00" in " ".join(item.read("ToolTip")[2:])


def test_start_makes_exactly_one_refresh_with_the_api_key(quillo, watcher, sandbox):
    sandbox.scenario(totalOwed=5, pending="none")
    quillo.start()
    watcher.wait_for_item().wait_for("creditcard", "$5.00")
    requests = sandbox.backend_requests()
    assert sorted(entry["path"] for entry in requests) == ["/api/snapshots", "/api/status", "/api/timeline"]
    assert {entry["credential"] for entry in requests} == {"api-key"}


def test_certificate_of_the_backend_is_checked_unless_switched_off(quillo, watcher, sandbox):
    sandbox.scenario(totalOwed=5, pending="none")
    quillo.write_settings(backend=sandbox.https)
    quillo.start()
    host = sandbox.https.removeprefix("https://")
    watcher.wait_for_item().wait_for_error(f"The certificate of {host} is not trusted: it is self-signed.")
    assert sandbox.backend_requests() == []
    quillo.stop()
    watcher.restart()
    quillo.write_settings(backend=sandbox.https, verifyTLS=False)
    quillo.start()
    watcher.wait_for_item().wait_for("creditcard", "$5.00")


def test_opening_the_menu_refreshes_once_the_interval_is_over(quillo, watcher, sandbox):
    sandbox.scenario(totalOwed=5, pending="none")
    quillo.write_settings(backend=sandbox.http, refreshInterval=1)
    quillo.start()
    item = watcher.wait_for_item()
    item.wait_for("creditcard", "$5.00")
    sandbox.scenario(totalOwed=6)
    item.open_menu_until("creditcard", "$6.00")


def test_opening_the_menu_refreshes_nothing_in_manual_mode(quillo, watcher, sandbox):
    sandbox.scenario(totalOwed=5, pending="none")
    quillo.write_settings(backend=sandbox.http, refreshInterval=0)
    quillo.start()
    item = watcher.wait_for_item()
    item.wait_for("creditcard", "$5.00")
    for _ in range(20):
        item.open_menu()
        item.menu()
    assert len(sandbox.requests("/api/timeline")) == 1


def test_quitting_from_the_menu_ends_the_program(quillo, watcher, sandbox):
    sandbox.scenario(totalOwed=5, pending="none")
    quillo.start()
    watcher.wait_for_item().activate_menu("Quit Quillo")
    assert quillo.wait_for_end() == 0
