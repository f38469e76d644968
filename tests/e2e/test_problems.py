"""What the panel shows when something is wrong."""

import pytest


@pytest.mark.parametrize(
    "link, icon, label",
    [
        ("outage", "network.slash", "Quillo · Bank issue"),
        ("reconnect", "exclamationmark.triangle.fill", "Quillo · Reconnect"),
        ("add-card", "creditcard.trianglebadge.exclamationmark", "Quillo · Add credit card"),
        (["outage", "reconnect", "add-card"], "network.slash", "Quillo · Bank issue"),
        (["reconnect", "add-card"], "exclamationmark.triangle.fill", "Quillo · Reconnect"),
    ],
)
def test_bank_link_problem_wins_over_the_amount(quillo, watcher, sandbox, link, icon, label):
    sandbox.scenario(link=link)
    quillo.start()
    watcher.wait_for_item().wait_for(icon, label)


@pytest.mark.parametrize(
    "endpoint, answer, error",
    [
        ("all", {"status": 503}, "HTTP 503"),
        ("all", {"status": 401}, "Sign-in rejected (401)"),
        ("status", {"status": 500}, "HTTP 500"),
        ("snapshots", {"status": 500}, "HTTP 500"),
        ("status", {"status": 302, "headers": {"Location": "/api/elsewhere"}}, "HTTP 302"),
        ("timeline", {"body": '{"total_owed": "much"}'}, "Decode error: total_owed: expected a number, found text"),
        ("status", {"body": '{"items": 1}'}, "items: expected an array, found a number"),
        ("timeline", {"truncate": True}, "The answer from {host} was cut short."),
        ("timeline", {"drop": True}, "{host} closed the connection without an answer."),
    ],
)
def test_failed_first_refresh_shows_the_error_without_an_amount(quillo, watcher, sandbox, endpoint, answer, error):
    sandbox.scenario(answers={endpoint: answer})
    quillo.start()
    watcher.wait_for_item().wait_for_error(error.format(host=sandbox.host))


def test_backend_that_is_not_there_shows_the_error(quillo, watcher, sandbox):
    sandbox.stop()
    quillo.start()
    watcher.wait_for_item().wait_for_error(f"{sandbox.host} refused the connection.")


def test_failed_later_refresh_keeps_the_amount_beside_the_error(quillo, watcher, sandbox):
    sandbox.scenario(totalOwed=5, pending="none")
    quillo.write_settings(backend=sandbox.http, refreshInterval=1)
    quillo.start()
    item = watcher.wait_for_item()
    item.wait_for("creditcard", "$5.00")
    sandbox.scenario(totalOwed=6, answers={"status": {"status": 503}})
    item.open_menu_until("exclamationmark.circle", "$5.00")
    item.wait_for_error("HTTP 503", label="$5.00")


def test_next_trigger_after_a_failure_tries_again(quillo, watcher, sandbox):
    sandbox.scenario(totalOwed=5, pending="none", answers={"status": {"status": 503}})
    quillo.start()
    item = watcher.wait_for_item()
    item.wait_for_error("HTTP 503")
    sandbox.scenario(answers=None)
    item.open_menu()
    item.wait_for("creditcard", "$5.00")
    assert item.error() is None


def test_mended_bank_link_brings_the_amount_back(quillo, watcher, sandbox):
    sandbox.scenario(totalOwed=5, pending="none", link="reconnect")
    quillo.write_settings(backend=sandbox.http, refreshInterval=1)
    quillo.start()
    item = watcher.wait_for_item()
    item.wait_for("exclamationmark.triangle.fill", "Quillo · Reconnect")
    sandbox.scenario(link=None)
    item.open_menu_until("creditcard", "$5.00")
