"""The desktop's default browser: a stand-in that notes what it is asked to open, or Chromium."""

import os
import re
import shlex
import subprocess

from selenium import webdriver
from selenium.common.exceptions import WebDriverException
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

from .display import required_program
from .processes import Child
from .waiting import wait_until

_WEB_TYPES = ("text/html", "x-scheme-handler/http", "x-scheme-handler/https")

# No first-run pages, no traffic of the browser's own.
_QUIET = (
    "--no-first-run",
    "--no-default-browser-check",
    "--disable-gpu",
    "--disable-quic",
    "--disable-background-networking",
    "--disable-component-update",
    "--disable-sync",
    "--disable-dev-shm-usage",
    "--password-store=basic",
    "--window-size=1000,700",
)


class DefaultBrowser:
    """Notes every page that the desktop hands to the default browser, before it does anything with it.

    It is found as any browser is: by a desktop file and the user's mimeapps.list. `also` names further types
    that it is the default program for; `command` is a shell command that gets the address as its last argument.
    """

    def __init__(self, desktop, *, also=(), command="true"):
        self._addresses = desktop.folder / "opened-pages"
        self._addresses.touch()
        launcher = desktop.folder / "browser"
        addresses, log = (shlex.quote(str(path)) for path in (self._addresses, desktop.folder / "browser.log"))
        # What the browser says goes to a log of its own, not to that of the program which opened the page.
        launcher.write_text(
            "#!/bin/sh\n"
            f"exec >>{log} 2>&1\n"
            f"printf '%s\\n' \"$*\" >>{addresses}\n"
            f'exec {command} "$@"\n'
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

    def wait_for_pages(self, count, *, timeout=30.0):
        """Waits until `count` pages were opened, and returns them all."""
        wait_until(lambda: len(self.opened) >= count, lambda: f"{count} pages; so far {self.opened}", timeout=timeout)
        return self.opened


class Chromium(DefaultBrowser):
    """A real browser that is running already, with a profile of its own; pages open in new tabs of it.

    `driver` holds a Selenium driver for the tab that `switch_to_page` chose last; `profile` is the folder that
    the browser keeps all it knows in.
    """

    def __init__(self, desktop):
        self.profile = desktop.folder / "browser-profile"
        command = [required_program("chromium"), f"--user-data-dir={self.profile}", *_QUIET]
        if os.geteuid() == 0:
            command.append("--no-sandbox")
        super().__init__(desktop, command=shlex.join(command))
        self._desktop = desktop
        self._start([*command, "--remote-debugging-port=0", "about:blank"], "chromium")
        port_file = self.profile / "DevToolsActivePort"
        wait_until(lambda: port_file.exists() and "\n" in port_file.read_text(), "Chromium", timeout=60)
        self._attach(port_file.read_text().split()[0])

    def _start(self, command, name, **options):
        log = self._desktop.folder / f"{name}.log"
        child = Child(command, environment=self._desktop.environment, log=log, **options)
        return self._desktop.keep(child)

    def _attach(self, debugging_port):
        service = self._start([required_program("chromedriver"), "--port=0"], "chromedriver", stdout=subprocess.PIPE)
        announced = None
        while not announced:
            line = service.process.stdout.readline().decode()
            if not line:
                raise RuntimeError(f"chromedriver did not start:\n{service.output()}")
            announced = re.search(r"started successfully on port (\d+)", line)
        options = webdriver.ChromeOptions()
        options.add_experimental_option("debuggerAddress", f"127.0.0.1:{debugging_port}")
        self.driver = webdriver.Remote(f"http://127.0.0.1:{announced[1]}", options=options)

    def switch_to_page(self, address_start, *, timeout=60.0):
        """Waits for a tab whose address begins like this, and works on the newest such from now on."""

        def found():
            for handle in reversed(self.driver.window_handles):
                self.driver.switch_to.window(handle)
                if self.driver.current_url.startswith(address_start):
                    return True
            return False

        wait_until(found, lambda: f"a page at {address_start}…; {self._addresses_of_tabs()}", timeout=timeout)

    def close_page(self):
        """Closes the chosen tab.

        After a redirect, do this before the next sign-in: until then the browser may still ask the same port for
        the page's icon, and whatever comes to a waiting sign-in ends it.
        """
        self.driver.close()

    def _addresses_of_tabs(self):
        addresses = []
        for handle in self.driver.window_handles:
            self.driver.switch_to.window(handle)
            addresses.append(self.driver.current_url)
        return f"the tabs have {addresses}"

    def wait_for_text(self, text, *, timeout=30.0):
        """Waits until the chosen tab shows this text, whatever else it shows."""
        wait_until(lambda: text in self.text(), lambda: f"{text!r} in {self.text()!r}", timeout=timeout)

    def text(self):
        """What the chosen tab shows now; empty while it has no page."""
        try:
            return self.driver.find_element(By.TAG_NAME, "body").text
        except WebDriverException:
            return ""

    def type_and_send(self, **fields):
        """Types into the form's fields as a person would, and sends it with the return key."""
        for name, text in fields.items():
            field = self.driver.find_element(By.NAME, name)
            field.clear()
            field.send_keys(text)
        field.send_keys(Keys.RETURN)

    def press(self, button):
        self.driver.find_element(By.XPATH, f"//button[normalize-space()='{button}']").click()
