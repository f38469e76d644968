"""Tokens, codes, keys and passwords are nowhere but in the secret store, whatever the program does."""

import base64
import re
import signal
import urllib.parse

import pytest
from gi.repository import GLib

from harness.browser import Chromium
from harness.eavesdropper import Eavesdropper
from harness.leaks import found_in, found_in_files, found_in_processes
from harness.processes import Child
from harness.program import Quillo
from harness.recording_proxy import RecordingProxy
from harness.sandbox import FIXED_IDENTITY_PORT, Sandbox, turn_at_fixed_ports
from harness.waiting import wait_until

SECRET_STORE = "org.freedesktop.secrets"
FORM = "http://127.0.0.1:8481/realms/quillo/login/"
CALLBACK = "http://127.0.0.1:53682/callback?"

# What the provider and the program say to each other, each with the group that is secret.
WIRE = {
    "verifier": rb"code_verifier=([^&\s]+)",
    "code": rb"[?&]code=([^&\s]+)",
    "access token": rb'"access_token":"([^"]+)"',
    "refresh token": rb'"refresh_token":"([^"]+)"',
    "identity token": rb'"id_token":"([^"]+)"',
}


@pytest.fixture
def eavesdropper(desktop):
    return Eavesdropper(desktop)


@pytest.fixture
def sandbox(desktop):
    """With an identity provider that is reached through `wire` only."""
    return desktop.keep(Sandbox(desktop.folder))


@pytest.fixture
def wire(sandbox):
    """All that passes between the provider and the others."""
    with turn_at_fixed_ports():
        port = urllib.parse.urlsplit(sandbox.identity).port
        proxy = RecordingProxy(FIXED_IDENTITY_PORT, target_port=port)
        yield proxy
        proxy.stop()


def secrets_on(wire):
    """{name: text} of all secrets that went over the wire."""
    secrets = {}
    for stream in wire.passed():
        for kind, pattern in WIRE.items():
            for value in re.findall(pattern, stream):
                secrets[f"{kind} {value[:6].decode()}…"] = urllib.parse.unquote(value.decode())
    return secrets


def kinds(secrets):
    return {name.rsplit(" ", 1)[0] for name in secrets}


def wait_for_line(item, beginning):
    def there():
        return any(label.startswith(beginning) for label in item.menu().labels())

    wait_until(there, lambda: f"{beginning!r} in the menu, which has {item.menu().labels()}", timeout=30)


def leave_last_page(chromium):
    chromium.switch_to_page(CALLBACK)
    chromium.close_page()


def live_through_everything(item, sandbox, chromium):
    """API key, sign-in, renewal, all sorts of errors, sign-out, a refused and a second sign-in."""
    item.wait_for("creditcard", "$5.00")
    sandbox.scenario(identity={"accessTokenSeconds": 31})
    item.activate_menu("Sign In…")
    chromium.switch_to_page(FORM)
    chromium.type_and_send(login=sandbox.email, password=sandbox.password)
    wait_for_line(item, sandbox.email)
    leave_last_page(chromium)
    elsewhere = {"status": 302, "headers": {"Location": sandbox.https}}
    for answer, problem in (
        ({"status": 500}, "HTTP 500"),
        ({"status": 401}, "Sign-in rejected (401)"),
        (elsewhere, "HTTP 302"),
        ({"drop": True}, f"{sandbox.host} closed the connection without an answer."),
    ):
        sandbox.scenario(answers={"status": answer, "sync": answer})
        item.activate_menu("Pull updates (Plaid cache)")
        wait_for_line(item, f"Error: {problem}")
    sandbox.scenario(answers=None)
    item.activate_menu("Sign Out")
    wait_for_line(item, "Sign In…")
    sandbox.scenario(answers={"token": {"status": 400, "body": "no"}})
    item.activate_menu("Sign In…")
    wait_for_line(item, "Sign-in problem: Token exchange failed: no")
    leave_last_page(chromium)
    sandbox.scenario(answers=None)
    item.activate_menu("Sign In…")
    wait_for_line(item, sandbox.email)
    item.activate_menu("Pull updates (Plaid cache)")
    item.wait_for("creditcard", "$5.00")


def test_no_secret_leaves_the_secret_store(eavesdropper, desktop, sandbox, wire, watcher):
    sandbox.scenario(totalOwed=5, pending="none")
    program = Quillo(desktop)
    program.write_settings(backend=sandbox.http, refreshInterval=0)
    program.store_secret("api_key", sandbox.api_key)
    chromium = Chromium(desktop)
    program.start()
    live_through_everything(watcher.wait_for_item(), sandbox, chromium)

    secrets = {"API key": sandbox.api_key, "password": sandbox.password, **secrets_on(wire)}
    secrets["stored refresh token"] = program.read_secret("oidc_refresh")
    assert kinds(secrets) >= set(WIRE)
    assert {entry["credential"] for entry in sandbox.backend_requests()} == {"api-key", "authorization"}
    assert found_in_processes(desktop.folder, secrets) == {}
    assert program.ends_on(signal.SIGTERM) == 0
    assert program.output() == ""
    elsewhere = (eavesdropper.recording, desktop.data_home / "keyrings", chromium.profile)
    assert found_in_files(desktop.folder, secrets, apart_from=elsewhere) == {}
    eavesdropper.catch_up()
    overheard = eavesdropper.messages_apart_from(SECRET_STORE)
    assert len(overheard) < len(eavesdropper.messages())
    assert [message for message in overheard if found_in(message.content, secrets)] == []


def test_planted_secret_is_found_everywhere(eavesdropper, desktop):
    secret = "Yellow-bird_42~in/the+mine"
    secrets = {"canary": secret, "another": "never said"}
    (desktop.config_home / "deep").mkdir()
    (desktop.config_home / "deep/file").write_text(f"key={secret};")
    assert found_in_files(desktop.folder, secrets) == {"home/.config/deep/file": {"canary"}}
    assert found_in_files(desktop.folder, secrets, apart_from=[desktop.config_home]) == {}

    assert found_in_processes(desktop.folder, secrets) == {}
    log = desktop.folder / "sleep.log"
    for command, variables in ((["tail", "-f", "/dev/null", secret], {}), (["sleep", "inf"], {"KEY": secret})):
        child = Child(command, environment={**desktop.environment, **variables}, log=log)
        wait_until(lambda: found_in_processes(desktop.folder, secrets), "the secret among the processes")
        assert found_in_processes(desktop.folder, secrets) == {command[0]: {"canary"}}
        child.stop()

    eavesdropper.say(f"the key is {secret}")
    eavesdropper.catch_up()
    overheard = eavesdropper.messages_apart_from(SECRET_STORE)
    assert [found_in(message.content, secrets) for message in overheard].count({"canary"}) == 1


def test_secret_store_is_the_only_one_that_may_hear_a_secret(eavesdropper, desktop):
    attributes = GLib.Variant("(a{ss})", ({"plain": "the key"},))
    desktop.bus.call(
        SECRET_STORE, "/org/freedesktop/secrets", "org.freedesktop.Secret.Service", "SearchItems", attributes
    )
    eavesdropper.catch_up()
    secrets = {"key": "the key"}
    assert any(found_in(message.content, secrets) for message in eavesdropper.messages())
    assert not any(found_in(message.content, secrets) for message in eavesdropper.messages_apart_from(SECRET_STORE))


@pytest.mark.parametrize("before", ["", "1", "12", "123"])
def test_disguised_secret_is_found(before):
    secret = "Yellow-bird_42~in/the+mine?>"
    text = f"{before}{secret} and more"
    for disguised in (
        text.encode(),
        text.encode("utf-16-le"),
        urllib.parse.quote(text, safe="").encode(),
        text.encode().hex().encode(),
        base64.b64encode(text.encode()),
        base64.urlsafe_b64encode(text.encode()),
    ):
        assert found_in(disguised, {"secret": secret}) == {"secret"}, disguised
        assert found_in(disguised, {"secret": secret.replace("bird", "fish")}) == set()
