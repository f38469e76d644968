"""Runs the demo build against the sandbox: on this desktop, or on a virtual one when there is none."""

import contextlib
import os
import pathlib
import shutil
import signal
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests/e2e"))
sys.dont_write_bytecode = True

# pylint: disable=wrong-import-position
from gi.repository import GLib  # noqa: E402
from harness.desktop import Desktop  # noqa: E402
from harness.panel import Panel  # noqa: E402
from harness.popup import SCREEN_WIDTH, Popup  # noqa: E402
from harness.program import APPLICATION_ID, Quillo  # noqa: E402
from harness.sandbox import FIXED_HTTP_PORT, FIXED_HTTPS_PORT, FIXED_IDENTITY_PORT, Sandbox  # noqa: E402
from harness.waiting import wait_until  # noqa: E402
from harness.windows import Windows  # noqa: E402

PICTURES = ROOT / "build/demo"
WINDOWS = {"open-ledger": "Quillo — Ledger", "settings": "Quillo Settings"}
ACCOUNTS = ("api_key", "oidc_refresh", "oidc_email")


class OwnDesktop(contextlib.ExitStack):
    """The user's own desktop session, with settings and autostart entries kept apart from it."""

    def __init__(self):
        super().__init__()
        self.folder = ROOT / "build/demo/session"
        shutil.rmtree(self.folder, ignore_errors=True)
        self.config_home = self.folder / "config"
        self.config_home.mkdir(parents=True)
        self.callback(shutil.rmtree, self.folder, ignore_errors=True)
        self.environment = {**os.environ, "XDG_CONFIG_HOME": str(self.config_home)}

    def keep(self, part):
        self.callback(part.stop)
        return part


def start_sandbox(desktop):
    return desktop.keep(
        Sandbox(
            desktop.folder,
            http_port=FIXED_HTTP_PORT,
            https_port=FIXED_HTTPS_PORT,
            identity_port=FIXED_IDENTITY_PORT,
        )
    )


def run_on_own_desktop():
    with OwnDesktop() as desktop:
        sandbox = start_sandbox(desktop)
        quillo = Quillo(desktop)
        for account in ACCOUNTS:
            desktop.callback(quillo.clear_secret, account)
        try:
            quillo.store_secret("api_key", sandbox.api_key)
        except subprocess.SubprocessError:
            print("The secret store of this desktop cannot be written, so Quillo starts without an API key.")
        quillo.start()
        print("Quillo is in your panel: click on the amount, and choose the ledger or the settings.")
        print(f"Sign in from the menu: {sandbox.email}, password {sandbox.password}")
        print("Ctrl+Shift+R brings the ledger from anywhere. Quit from the menu, or press Ctrl+C here.", flush=True)
        status = quillo.wait_for_end(timeout=None)
        if status != 0:
            sys.exit(f"Quillo ended with status {status}:\n{quillo.output()}")


def run_on_virtual_desktop():
    with Desktop() as desktop:
        panel = Panel(desktop)
        panel.start()
        sandbox = start_sandbox(desktop)
        # As if it were installed, so that the settings can offer to start it at login.
        applications = desktop.data_home / "applications"
        applications.mkdir(parents=True)
        shutil.copy(ROOT / f"build/demo/packaging/{APPLICATION_ID}.desktop", applications)
        quillo = Quillo(desktop)
        quillo.store_secret("api_key", sandbox.api_key)
        quillo.start()

        def amount_in_panel():
            if not quillo.running:
                raise RuntimeError(f"Quillo ended:\n{quillo.output()}")
            return next((text for text in panel.texts() if text.startswith("$")), None)

        label = wait_until(amount_in_panel, lambda: f"an amount in the panel, which shows {panel.texts()}", timeout=30)
        take_pictures(desktop, quillo)
        print(f"There is no display, so Quillo ran on a virtual desktop. Its panel showed: {label}")
        print(f"Pictures: {PICTURES.relative_to(ROOT)}/menu.png, ledger.png, settings.png")


def take_pictures(desktop, quillo):
    """The open menu below the panel, then each window by itself, as `org.freedesktop.Application` opens it."""
    popup = Popup(desktop)
    menu = popup.open()
    crop = f"{SCREEN_WIDTH - menu.x}x{menu.y + menu.height}+{menu.x}+0"
    desktop.display.screenshot(PICTURES / "menu.png", crop=crop)
    popup.close()
    windows = Windows(desktop)
    path = "/" + APPLICATION_ID.replace(".", "/")
    for action, title in WINDOWS.items():
        arguments = GLib.Variant("(sava{sv})", (action, [], {}))
        desktop.bus.call(APPLICATION_ID, path, "org.freedesktop.Application", "ActivateAction", arguments)
        window = windows.wait_for(title)
        quillo.wait_until_idle()
        desktop.display.screenshot(PICTURES / f"{action.removeprefix('open-')}.png", window=window)


def main():
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    signal.signal(signal.SIGHUP, lambda *_: sys.exit(129))
    try:
        if os.environ.get("DISPLAY") or os.environ.get("WAYLAND_DISPLAY"):
            run_on_own_desktop()
        else:
            run_on_virtual_desktop()
    except KeyboardInterrupt:
        print()
    except (RuntimeError, TimeoutError) as problem:
        sys.exit(f"demo: {problem}")


if __name__ == "__main__":
    main()
