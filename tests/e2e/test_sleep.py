"""Waking up from sleep brings the amount up to date."""

import pytest

from harness.logind import Logind


@pytest.fixture
def logind(desktop):
    return Logind(desktop)


def test_waking_up_refreshes_what_is_due(logind, quillo, watcher, sandbox):
    sandbox.scenario(totalOwed=5, pending="none", answers={"all": {"status": 503}})
    quillo.start()
    item = watcher.wait_for_item()
    item.wait_for("exclamationmark.circle", "Quillo")
    sandbox.scenario(answers=None)
    logind.fall_asleep()
    logind.wake_up()
    # Well before the next heartbeat, which comes 30 seconds after the start.
    item.wait_for("creditcard", "$5.00", timeout=10)

