"""The desktop's default browser: a stand-in that notes what it is asked to open, or Chromium."""

import shlex

from .waiting import wait_until

_WEB_TYPES = ("text/html", "x-scheme-handler/http", "x-scheme-handler/https")


class DefaultBrowser:
    """Notes every page that the desktop hands to the default browser, before it does anything with it.

    It is found as any browser is: by a desktop file and the user's mimeapps.list. `also` names further types
    that it is the default program for; `command` is a shell command that gets the address as its last argument.
    """

    def __init__(self, desktop, *, also=(), command="true"):
        self._addresses = desktop.folder / "opened-pages"
        self._addresses.touch()
        launcher = desktop.folder / "browser"
        # One write a line, so that two launches at once cannot mix theirs.
        launcher.write_text(
            f"#!/bin/sh\nprintf '%s\\n' \"$*\" >>{shlex.quote(str(self._addresses))}\nexec {command} \"$@\"\n"
        )
        launcher.chmod(0o700)
        self._register(desktop, launcher, (*_WEB_TYPES, *also))

    @staticmethod
    def _register(desktop, launcher, types):
        applications = desktop.data_home / "applications"
        applications.mkdir(parents=True, exist_ok=True)
        (applications / "test-browser.desktop").write_text(
            "[Desktop Entry]\nType=Application\nName=Browser of the test\n"
            f"Exec={launcher} %u\nMimeType={';'.join(types)};\n"
        )
        lines = [f"{kind}=test-browser.desktop" for kind in types]
        (desktop.config_home / "mimeapps.list").write_text("\n".join(["[Default Applications]", *lines, ""]))

    @property
    def opened(self):
        """The addresses so far, in the order of their coming."""
        return self._addresses.read_text(encoding="utf-8").splitlines()

    def wait_for_pages(self, count, *, timeout=20.0):
        """Waits until `count` pages were opened, and returns them all."""
        wait_until(lambda: len(self.opened) >= count, lambda: f"{count} pages; so far {self.opened}", timeout=timeout)
        return self.opened
