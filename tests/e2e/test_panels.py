"""Panels that come late, die, or never come."""

import signal

from harness.panel import Panel

RESTARTS = 100


def test_item_registers_once_with_every_new_panel(quillo, watcher, sandbox):
    sandbox.scenario(totalOwed=5, pending="none")
    quillo.start()
    watcher.wait_for_item().wait_for("creditcard", "$5.00")
    for _ in range(RESTARTS):
        watcher.restart()
        item = watcher.wait_for_item()
        assert item.label == "$5.00"
        assert len(watcher.registrations) == 1
    assert len(sandbox.requests("/api/timeline")) == 1


def test_panel_that_starts_late_gets_the_item(quillo, late_watcher, sandbox):
    sandbox.scenario(totalOwed=5, pending="none")
    quillo.start()
    sandbox.wait_for_requests(1)
    late_watcher.start()
    late_watcher.wait_for_item().wait_for("creditcard", "$5.00")


def test_without_a_panel_the_program_works_on_and_ends_when_asked(quillo, sandbox):
    quillo.start()
    sandbox.wait_for_requests(1)
    assert quillo.running
    assert quillo.ends_on(signal.SIGTERM) in (0, -signal.SIGTERM)


def test_real_panel_shows_the_amount(quillo, desktop, sandbox, artefacts):
    sandbox.scenario(totalOwed=1234.567, pending="none")
    panel = Panel(desktop)
    panel.start()
    quillo.start()
    panel.wait_for_text("$1,234.57")
    desktop.display.screenshot(artefacts / "panel.png", crop="400x40+880+0")


def test_real_panel_that_crashed_shows_the_amount_again(quillo, desktop, sandbox):
    sandbox.scenario(totalOwed=1234.5, pending=87.5)
    panel = Panel(desktop)
    panel.start()
    quillo.start()
    panel.wait_for_text("$1,234 + $88 pend")
    panel.crash()
    panel.start()
    panel.wait_for_text("$1,234 + $88 pend")
