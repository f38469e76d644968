"""Waiting on conditions, with a deadline, while D-Bus messages are served."""

import time

from gi.repository import GLib

POLL_MILLISECONDS = 10


def turn_loop():
    """Serves the main context until something happened or one poll interval is over."""
    context = GLib.MainContext.default()
    source = GLib.timeout_source_new(POLL_MILLISECONDS)
    source.set_callback(lambda *_: GLib.SOURCE_CONTINUE)
    source.attach(context)
    try:
        context.iteration(True)
    finally:
        source.destroy()


def wait_until(condition, what, *, timeout=30.0):
    """Returns the first true value of condition(); after timeout seconds raises TimeoutError.

    `what` names the awaited thing; a callable is asked when the time is over, so that the error can
    tell what was there instead.
    """
    deadline = time.monotonic() + timeout
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            described = what() if callable(what) else what
            raise TimeoutError(f"waited {timeout:g} s for {described}")
        turn_loop()
