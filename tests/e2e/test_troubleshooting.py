"""The commands of the page on troubleshooting answer what it says."""

import re
import subprocess

import pytest
from harness.program import APPLICATION_ID, ROOT, Quillo
from harness.shortcuts_portal import ShortcutsPortal
from harness.waiting import wait_until
from harness.windows import Windows

PAGE = (ROOT / "docs/troubleshooting.md").read_text(encoding="utf-8")
# The installed program's name, where the tested build has one of its own.
COMMANDS = [
    re.split(r"\s+# ", command.replace("app.quillo.Quillo", APPLICATION_ID))
    for command in re.findall(r"^    (.*)$", PAGE, re.MULTILINE)
]


def run(desktop, command, typed=""):
    """What the command prints, in a shell as the page's reader has it; panel and portal answer it meanwhile."""
    output = desktop.folder / "command.log"
    with output.open("w") as log:
        shell = subprocess.Popen(
            command, shell=True, env=desktop.environment, stdin=subprocess.PIPE, stdout=log, stderr=log, text=True
        )
        with shell:
            shell.stdin.write(typed)
            shell.stdin.close()
            wait_until(lambda: shell.poll() is not None, f"the end of {command}")
    assert shell.returncode == 0, f"{command}: {output.read_text()}"
    return output.read_text()


@pytest.fixture
def well(desktop, watcher, provider):
    """A desktop where all is well."""
    portal = ShortcutsPortal(desktop)
    quillo = Quillo(desktop)
    quillo.write_settings(backend=provider.http)
    quillo.store_secret("api_key", provider.api_key)
    quillo.start(**portal.environment)
    watcher.wait_for_item().wait_for("creditcard", "$5.00")
    return desktop


def test_every_command_answers_what_the_page_says(well, watcher):
    answers = {command: answer for command, *expected in COMMANDS for answer in expected}
    assert len(answers) == 9
    (listening,) = (command for command in answers if command.startswith("ss "))
    for command in set(answers) - {listening}:
        assert answers[command] in run(well, command), command
    watcher.wait_for_item().activate_menu("Sign In…")
    wait_until(lambda: answers[listening] in run(well, listening), "Quillo listening for the redirect")


def test_a_key_put_there_by_hand_is_read_at_the_start(desktop, watcher, sandbox):
    (command,) = (command for command, *_ in COMMANDS if command.startswith("secret-tool store"))
    run(desktop, command, typed=sandbox.api_key)
    sandbox.scenario(totalOwed=5, pending="none")
    quillo = Quillo(desktop)
    quillo.write_settings(backend=sandbox.http)
    quillo.start()
    watcher.wait_for_item().wait_for("creditcard", "$5.00")


def test_the_action_for_a_key_opens_the_ledger(well):
    (command,) = (command for command, *_ in COMMANDS if command.startswith("gapplication"))
    run(well, command)
    Windows(well).wait_for("Quillo — Ledger")
