"""Backends and keys that nothing may be sent to or with."""

import pytest

from harness.listener import Listener

NO_WEB_ADDRESS = "The address must begin with http:// or https://."
NO_URL = "Bad backend URL"
LINE_BREAK = "The value for X-API-Key contains a line break and was not sent."


@pytest.fixture
def listener(desktop):
    return desktop.keep(Listener())


@pytest.mark.parametrize(
    "backend, error",
    [
        ("", NO_WEB_ADDRESS),
        ("ht tp://", NO_URL),
        ("ht tp://127.0.0.1:{port}", NO_URL),
        ("file:///etc/passwd", NO_WEB_ADDRESS),
        ("localhost:{port}", NO_WEB_ADDRESS),
        ("ftp://127.0.0.1:{port}", NO_WEB_ADDRESS),
    ],
)
def test_backend_that_is_no_web_origin_gives_an_error_and_no_request(quillo, watcher, listener, backend, error):
    quillo.write_settings(backend=backend.format(port=listener.port))
    quillo.start()
    watcher.wait_for_item().wait_for_error(error)
    assert listener.connections == 0


@pytest.mark.parametrize("key", ["one\r\nX-Evil: 1", "one\ntwo", "one\rtwo"])
def test_api_key_with_a_line_break_is_not_sent(quillo, watcher, listener, key):
    quillo.write_settings(backend=f"http://127.0.0.1:{listener.port}")
    quillo.store_secret("api_key", key)
    quillo.start()
    watcher.wait_for_item().wait_for_error(LINE_BREAK)
    assert listener.connections == 0


def test_listener_would_have_seen_a_request(quillo, watcher, listener):
    quillo.write_settings(backend=f"http://127.0.0.1:{listener.port}")
    quillo.start()
    watcher.wait_for_item()
    listener.wait_for_connection()


def test_unreadable_settings_count_as_none_and_are_kept_aside(quillo, watcher):
    quillo.settings_file.write_text('{"backend": "http://127.0.0.1')
    quillo.start()
    # The demo build's own default origin: nothing listens there, or the sandbox of a demonstration does.
    watcher.wait_for_item()
    assert any('"http://127.0.0.1' in file.read_text() for file in quillo.settings_file.parent.iterdir())
