"""Where the credentials come from: the secret store in all its states, and the identity provider."""

import signal

import pytest

from harness.desktop import PROMPTER_SERVICES, SERVICES
from harness.keyring import Keyring
from harness.program import Quillo
from harness.sandbox import Sandbox
from harness.watcher import Watcher

SIGN_IN = "Sign in to Quillo (menu → Sign In…)"
TOKEN_PATH = "/realms/quillo/protocol/openid-connect/token"


@pytest.fixture
def signed_in(desktop, provider):
    program = Quillo(desktop)
    program.write_settings(backend=provider.http)
    program.store_secret("oidc_refresh", provider.issue_refresh_token())
    program.store_secret("oidc_email", provider.email)
    return program


def test_stored_refresh_token_signs_in_without_a_browser(signed_in, watcher, provider):
    before = signed_in.read_secret("oidc_refresh")
    signed_in.start()
    watcher.wait_for_item().wait_for("creditcard", "$5.00")
    assert {entry["credential"] for entry in provider.backend_requests()} == {"authorization"}
    (exchange,) = provider.requests(TOKEN_PATH)
    assert exchange["grantType"] == "refresh_token"
    assert signed_in.read_secret("oidc_refresh") not in (None, before)


def test_refused_refresh_token_falls_back_to_the_api_key(signed_in, watcher, provider):
    signed_in.store_secret("oidc_refresh", "made up")
    signed_in.store_secret("api_key", provider.api_key)
    signed_in.start()
    watcher.wait_for_item().wait_for("creditcard", "$5.00")
    assert {entry["credential"] for entry in provider.backend_requests()} == {"api-key"}
    assert signed_in.read_secret("oidc_refresh") is None


def test_refused_refresh_token_without_an_api_key_asks_to_sign_in(signed_in, watcher, provider):
    provider.scenario(revokeRefreshTokens=True)
    signed_in.start()
    watcher.wait_for_item().wait_for_error(SIGN_IN)
    assert provider.backend_requests() == []


def test_no_credential_at_all_sends_nothing(quillo, watcher, sandbox):
    quillo.clear_secret("api_key")
    quillo.start()
    watcher.wait_for_item().wait_for_error(SIGN_IN)
    assert sandbox.backend_requests() == []


def test_session_without_a_keyring_shows_the_error(make_desktop):
    desktop = make_desktop(keyring=Keyring.ABSENT)
    watcher = Watcher(desktop.bus)
    watcher.start()
    sandbox = desktop.keep(Sandbox(desktop.folder))
    quillo = Quillo(desktop)
    quillo.write_settings(backend=sandbox.http)
    quillo.start()
    watcher.wait_for_item().wait_for_error(SIGN_IN)
    assert sandbox.backend_requests() == []
    assert quillo.running


def test_locked_keyring_holds_up_neither_the_item_nor_the_rest(quillo, desktop, watcher):
    desktop.keyring.lock()
    quillo.start()
    item = watcher.wait_for_item()
    assert item.read("Status") == "Active"
    assert item.menu().labels()


def test_unlocking_the_keyring_in_its_prompt_brings_the_amount(make_desktop):
    desktop = make_desktop(services=SERVICES + PROMPTER_SERVICES)
    watcher = Watcher(desktop.bus)
    watcher.start()
    sandbox = desktop.keep(Sandbox(desktop.folder))
    sandbox.scenario(totalOwed=5, pending="none")
    quillo = Quillo(desktop)
    quillo.write_settings(backend=sandbox.http)
    quillo.store_secret("api_key", sandbox.api_key)
    desktop.keyring.lock()
    quillo.start()
    item = watcher.wait_for_item()
    desktop.keyring.answer_prompt(desktop.display)
    item.wait_for("creditcard", "$5.00")


def test_session_without_a_bus_leaves_the_program_running(quillo, desktop):
    quillo.start(DBUS_SESSION_BUS_ADDRESS=f"unix:path={desktop.folder}/no-session-bus")
    quillo.wait_until_idle()
    assert quillo.running
    assert quillo.ends_on(signal.SIGTERM) in (0, -signal.SIGTERM)
