"""Signing in through a real browser at a real identity provider, and how the session goes on and ends."""

import contextlib
import signal
import socket
import urllib.parse
import urllib.request

import pytest

from harness.browser import Chromium, DefaultBrowser
from harness.program import Quillo
from harness.waiting import wait_until

FORM = "http://127.0.0.1:8481/realms/quillo/login/"
CALLBACK = "http://127.0.0.1:53682/callback?"
SECOND_CALLBACK = "http://127.0.0.1:53683/callback?"
TOKEN_PATH = "/realms/quillo/protocol/openid-connect/token"

WAITING = "Waiting for browser sign-in…"
SIGN_IN_FIRST = "Sign in to Quillo (menu → Sign In…)"


@pytest.fixture
def signed_out(desktop, provider):
    """A program without any credential that refreshes only when it is told to, not started yet."""
    program = Quillo(desktop)
    program.write_settings(backend=provider.http, refreshInterval=0)
    return program


@pytest.fixture
def chromium(desktop):
    return Chromium(desktop)


@pytest.fixture
def stand_in(desktop):
    """Opens nothing: the test says what a browser would."""
    return DefaultBrowser(desktop)


@pytest.fixture
def item(signed_out, watcher):
    signed_out.start()
    item = watcher.wait_for_item()
    item.wait_for("exclamationmark.circle", "Quillo")
    return item


def wait_for_entry(item, label, *, timeout=30.0):
    wait_until(
        lambda: label in item.menu().labels(),
        lambda: f"{label!r} in the menu, which has {item.menu().labels()}",
        timeout=timeout,
    )


def wait_for_problem(item):
    """The text of the menu's sign-in problem, once there is one."""
    prefix = "Sign-in problem: "

    def problem():
        return [label.removeprefix(prefix) for label in item.menu().labels() if label.startswith(prefix)]

    return wait_until(problem, lambda: f"a sign-in problem in {item.menu().labels()}", timeout=30)[0]


def session_secrets(program):
    return [program.read_secret(account) for account in ("oidc_refresh", "oidc_email")]


@contextlib.contextmanager
def taken(port):
    with socket.create_server(("127.0.0.1", port)):
        yield


def account_block(item):
    """What the menu offers between its last two dividers."""
    labels = item.menu().labels()
    assert labels[-2:] == ["---", "Quit Quillo"]
    del labels[-2:]
    return labels[len(labels) - labels[::-1].index("---") :]


def credentials(sandbox):
    return {entry["credential"] for entry in sandbox.backend_requests()}


def grants(sandbox):
    return [(entry["grantType"], entry["status"]) for entry in sandbox.requests(TOKEN_PATH)]


def pull(item, provider):
    """Has the program sync and refresh, and waits until the backend has answered both."""
    before = [len(provider.requests(path)) for path in ("/api/sync", "/api/timeline")]
    item.activate_menu("Pull updates (Plaid cache)")
    provider.wait_for_requests(before[0] + 1, "/api/sync")
    provider.wait_for_requests(before[1] + 1)


def fill_in(chromium, provider, password=None):
    chromium.switch_to_page(FORM)
    chromium.type_and_send(login=provider.email, password=password or provider.password)


def answer_as_browser(stand_in, **query):
    """Comes back from the provider to the newest sign-in with this query, and returns the page shown then."""
    address = urllib.parse.urlsplit(stand_in.opened[-1])
    asked = dict(urllib.parse.parse_qsl(address.query))
    query.setdefault("state", asked["state"])
    answer = f"{asked['redirect_uri']}?{urllib.parse.urlencode(query)}"
    with urllib.request.urlopen(answer, timeout=15) as page:
        return page.read().decode()


def test_signing_in_renewing_signing_out_and_signing_in_again(item, signed_out, provider, chromium, artefacts):
    provider.scenario(identity={"accessTokenSeconds": 31})
    assert account_block(item) == ["Sign In…"]
    item.activate_menu("Sign In…")
    wait_for_entry(item, WAITING)
    assert account_block(item) == ["Signing in…"]

    fill_in(chromium, provider)
    chromium.switch_to_page(CALLBACK)
    chromium.wait_for_text("Signed in ✓\nYou can close this tab and return to Quillo.")
    chromium.driver.save_screenshot(str(artefacts / "page-signed-in.png"))
    chromium.close_page()
    wait_for_entry(item, provider.email)
    item.wait_for("creditcard", "$5.00")
    assert account_block(item) == [provider.email, "Sign Out"]
    assert credentials(provider) == {"authorization"}
    assert grants(provider)[0] == ("authorization_code", 200)
    refresh_token, email = session_secrets(signed_out)
    assert refresh_token
    assert email == provider.email

    # A token that has 31 seconds to live is too old to be used after one.
    def renewed():
        pull(item, provider)
        return ("refresh_token", 200) in grants(provider)

    provider.scenario(totalOwed=7)
    wait_until(renewed, "the renewal")
    item.wait_for("creditcard", "$7.00")
    assert credentials(provider) == {"authorization"}
    wait_until(lambda: signed_out.read_secret("oidc_refresh") != refresh_token, "the renewed refresh token")

    item.activate_menu("Sign Out")
    wait_for_entry(item, "Sign In…")
    wait_until(lambda: session_secrets(signed_out) == [None, None], "the keyring without the session")
    item.activate_menu("Pull updates (Plaid cache)")
    wait_for_entry(item, f"Error: {SIGN_IN_FIRST}")

    # The provider's own session asks for no password; the label shows that the new token works.
    provider.scenario(totalOwed=9, identity={"accessTokenSeconds": 300})
    item.activate_menu("Sign In…")
    item.wait_for("creditcard", "$9.00", timeout=60)
    assert account_block(item) == [provider.email, "Sign Out"]
    assert session_secrets(signed_out)[1] == provider.email


def test_wrong_password_is_asked_for_again_and_cancelling_is_told(item, signed_out, provider, chromium, artefacts):
    item.activate_menu("Sign In…")
    chromium.switch_to_page(FORM)
    chromium.press("Cancel")
    chromium.switch_to_page(CALLBACK)
    chromium.wait_for_text("Sign-in failed\nReturn to Quillo and try again.")
    chromium.driver.save_screenshot(str(artefacts / "page-sign-in-failed.png"))
    chromium.close_page()
    wait_for_entry(item, "Sign-in problem: Sign-in callback was malformed")
    assert account_block(item) == ["Sign In…"]

    item.activate_menu("Sign In…")
    fill_in(chromium, provider, password="not the password")
    chromium.wait_for_text("That e-mail and password do not go together.")
    assert account_block(item) == ["Signing in…"]
    assert WAITING in item.menu().labels()
    assert grants(provider) == []
    fill_in(chromium, provider)
    wait_for_entry(item, provider.email)
    item.wait_for("creditcard", "$5.00")
    assert not [label for label in item.menu().labels() if label.startswith("Sign-in problem")]
    assert session_secrets(signed_out)[1] == provider.email


def test_second_port_serves_when_the_first_is_taken(item, provider, chromium):
    with taken(53682):
        item.activate_menu("Sign In…")
        fill_in(chromium, provider)
        chromium.switch_to_page(SECOND_CALLBACK)
        chromium.wait_for_text("Signed in ✓")
        item.wait_for("creditcard", "$5.00")


def test_both_ports_taken_are_told_and_the_next_try_works(item, signed_out, provider, stand_in):
    with taken(53682), taken(53683):
        item.activate_menu("Sign In…")
        wait_for_entry(
            item, "Sign-in problem: Ports 53682/53683 are in use — close the conflicting app and retry"
        )
    assert stand_in.opened == []
    item.activate_menu("Sign In…")
    stand_in.wait_for_pages(1)
    assert "redirect_uri=http://127.0.0.1:53682/callback&" in urllib.parse.unquote(stand_in.opened[0])
    assert signed_out.ends_on(signal.SIGTERM) == 0
    with taken(53682):
        pass


def test_answer_to_another_sign_in_is_refused(item, provider, stand_in):
    item.activate_menu("Sign In…")
    stand_in.wait_for_pages(1)
    assert "Signed in" in answer_as_browser(stand_in, code="made up", state="another")
    wait_for_entry(item, "Sign-in problem: Sign-in rejected (state mismatch)")
    assert grants(provider) == []


def test_refused_code_shows_what_the_provider_says(item, provider, stand_in):
    item.activate_menu("Sign In…")
    stand_in.wait_for_pages(1)
    answer_as_browser(stand_in, code="made up")
    problem = wait_for_problem(item)
    assert problem.startswith("Token exchange failed: ")
    assert "invalid_grant" in problem
    assert account_block(item) == ["Sign In…"]


def test_provider_that_is_down_during_the_exchange_is_told(item, signed_out, provider, stand_in):
    item.activate_menu("Sign In…")
    stand_in.wait_for_pages(1)
    provider.scenario(identity={"down": True})
    answer_as_browser(stand_in, code="made up")
    assert wait_for_problem(item) == "127.0.0.1:8481 refused the connection."
    assert account_block(item) == ["Sign In…"]
    assert session_secrets(signed_out) == [None, None]

    item.activate_menu("Sign In…")
    wait_for_entry(item, WAITING)
    assert not [label for label in item.menu().labels() if label.startswith("Sign-in problem")]


def test_provider_that_is_down_during_the_renewal_ends_the_session(signed_out, provider, watcher, stand_in):
    provider.scenario(identity={"accessTokenSeconds": 30})
    signed_out.store_secret("oidc_refresh", provider.issue_refresh_token())
    signed_out.store_secret("oidc_email", provider.email)
    signed_out.start()
    item = watcher.wait_for_item()
    item.wait_for("creditcard", "$5.00")
    assert account_block(item) == [provider.email, "Sign Out"]

    provider.scenario(identity={"down": True})
    item.activate_menu("Pull updates (Plaid cache)")
    # The last amount stays.
    item.wait_for("exclamationmark.circle", "$5.00")
    wait_for_entry(item, f"Error: {SIGN_IN_FIRST}")
    assert account_block(item) == ["Sign In…"]
    wait_until(lambda: session_secrets(signed_out) == [None, None], "the keyring without the session")


def test_browser_that_cannot_be_started_leaves_no_query_in_the_journal(signed_out, watcher):
    signed_out.start(PATH="/nonexistent")
    item = watcher.wait_for_item()
    item.wait_for("exclamationmark.circle", "Quillo")
    item.activate_menu("Sign In…")
    wait_until(lambda: "http://127.0.0.1:8481/realms/" in signed_out.output(), "the report of Qt")
    assert "?" not in signed_out.output()
    assert "state=" not in signed_out.output()


def test_crash_would_leave_no_picture_of_the_memory(item, signed_out):
    assert signed_out.core_limit() == 0
