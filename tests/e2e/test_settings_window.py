"""The settings window as a person finds it, and what every control of it brings about."""

import json

import pytest

from harness.accessibility import ScreenReader
from harness.program import APPLICATION_ID, executable
from harness.waiting import wait_until
from harness.windows import Windows

TITLE = "Quillo Settings"
LEDGER = "Quillo — Ledger"
URL, KEY = "URL", "X-API-Key"
VERIFY, LOGIN, HOT_KEY = "Verify TLS certificate", "Launch at login", "Open ledger from any app (⌘⇧R)"
SECTIONS = ["Backend", "Authentication", "Refresh", "Startup", "Global hotkey"]
KEYCHAIN_NOTE = "Stored in macOS Keychain."
HOT_KEY_NOTE = "Works system-wide. Note: while enabled, ⌘⇧R overrides the browser's hard-reload shortcut."
NOT_INSTALLED = "Login item couldn't be registered (app must live in /Applications)."
APPROVAL = "Approval needed — open System Settings → General → Login Items and enable Quillo."
SWITCHED_OFF = "Login item update failed: Quillo is switched off in the desktop’s list of startup applications."
REJECTED = "Sign-in rejected (401)"
SIGN_IN = "Sign in to Quillo (menu → Sign In…)"
PRESETS = ["1 minute", "5 minutes", "15 minutes", "1 hour", "6 hours", "24 hours", "Manual only"]


class Form:
    """Quillo with its settings window open, seen by a screen reader."""

    def __init__(self, desktop, quillo, watcher, reader):
        self.desktop = desktop
        self.quillo = quillo
        self.windows = Windows(desktop)
        self.reader = reader
        quillo.start()
        self.item = watcher.wait_for_item()
        self.open()

    def open(self):
        self.item.activate_menu("Settings…")
        window = self.windows.wait_for(TITLE)
        self.windows.wait_until_active(window)
        self.root = self.reader.window(TITLE)
        return window

    def stored(self):
        """The settings as they are in their file."""
        file = self.quillo.settings_file
        return json.loads(file.read_text()) if file.exists() else {}

    def wait_until_stored(self, **values):
        wait_until(lambda: values.items() <= self.stored().items(), lambda: f"{values} in {self.stored()}")

    def wait_for_text(self, text):
        wait_until(lambda: text in self.root.texts(), lambda: f"{text!r} in {self.root.texts()}")

    def wait_for_no_text(self, text):
        wait_until(lambda: text not in self.root.texts(), f"the end of {text!r}")

    def box(self, name):
        return self.root.find("check box", name)

    def toggle(self, name):
        """Clicks a check box and waits until it has changed."""
        box = self.box(name)
        before = "checked" in box.states
        box.act("Toggle")
        wait_until(lambda: ("checked" in box.states) != before, f"a change of {name!r}")

    def choose(self, preset):
        """Chooses an interval with the keyboard, coming from the line before."""
        picker = self.root.find("combo box")
        self.root.find("text", KEY).focus()
        self.windows.press("Tab")
        wait_until(lambda: "focused" in picker.states, "the focus on the picker")
        self.windows.press("Home")
        for _ in range(PRESETS.index(preset)):
            self.windows.press("Down")
        wait_until(lambda: picker.name == preset, lambda: f"{preset!r}, but {picker.name!r} is chosen")

    def refresh(self):
        self.root.find("push button", "Refresh now").press()


@pytest.fixture
def reader(desktop):
    return ScreenReader(desktop)


@pytest.fixture
def open_form(desktop, quillo, watcher, reader):
    return lambda: Form(desktop, quillo, watcher, reader)


@pytest.fixture
def installed(desktop):
    """Quillo's desktop file where desktops look; returns where the autostart entry belongs."""
    applications = desktop.data_home / "applications"
    applications.mkdir(parents=True)
    text = f"[Desktop Entry]\nType=Application\nName=Quillo\nExec={executable()}\n"
    (applications / f"{APPLICATION_ID}.desktop").write_text(text)
    return desktop.config_home / f"autostart/{APPLICATION_ID}.desktop"


def test_form_reads_from_top_to_bottom(open_form, quillo, sandbox):
    sandbox.scenario(answers={"timeline": {"status": 500}})
    form = open_form()
    form.wait_for_text("HTTP 500")
    elements = list(form.root.everything())
    roles = ("grouping", "panel", "text", "check box", "combo box", "push button", "label")
    read = [each.name or each.description for each in elements if each.role in roles]
    read = [text for text in read if text]
    assert read == [
        "Backend", URL, URL, VERIFY,
        "Authentication", KEY, KEY, KEYCHAIN_NOTE,
        "Refresh", "Interval", "5 minutes", "Refresh now",
        "Startup", LOGIN, NOT_INSTALLED,
        "Global hotkey", HOT_KEY, HOT_KEY_NOTE,
        "Last error", "HTTP 500",
    ]  # fmt: skip
    assert form.root.find("text", URL).text == sandbox.http
    assert not form.root.find("text", URL).is_masked
    key = form.root.find("text", KEY)
    assert key.is_masked
    assert sandbox.api_key not in key.text
    assert form.root.find("combo box").description == "Interval"

    sandbox.scenario(answers=None)
    form.refresh()
    form.wait_for_no_text("HTTP 500")
    assert "Last error" not in [each.name for each in form.root.everything()]
    width, height = form.windows.size(form.windows.wait_for(TITLE))
    # The menu bar comes on top of the content.
    assert width == 460 and 380 < height < 440


def test_every_control_writes_at_once_and_takes_effect(open_form, quillo, sandbox, desktop):
    sandbox.scenario(totalOwed=5, pending="none")
    # As a newer version might have left it.
    quillo.write_settings(backend="http://127.0.0.1:1", refreshInterval=120, fromTheFuture={"key": [1.5, None]})
    form = open_form()
    picker = form.root.find("combo box")
    wait_until(form.item.error, "the failure of the first refresh")
    assert picker.name == "Interval"  # instead of a chosen entry

    # The backend, whose certificate nobody vouches for.
    form.root.find("text", URL).write(sandbox.https)
    form.wait_until_stored(backend=sandbox.https)
    form.refresh()
    wait_until(lambda: "certificate" in (form.item.error() or ""), lambda: f"a refusal, not {form.item.error()!r}")
    form.toggle(VERIFY)
    form.wait_until_stored(verifyTLS=False)
    form.refresh()
    form.item.wait_for("creditcard", "$5.00")

    # The key: a wrong one, none, the right one.
    form.root.find("text", KEY).write("wrong")
    wait_until(lambda: quillo.read_secret("api_key") == "wrong", "the wrong key in the keyring")
    form.refresh()
    form.wait_for_text(REJECTED)
    form.root.find("text", KEY).write("")
    wait_until(lambda: quillo.read_secret("api_key") == "", "an empty key in the keyring")
    form.refresh()
    form.wait_for_text(SIGN_IN)
    form.root.find("text", KEY).write(sandbox.api_key)
    wait_until(lambda: quillo.read_secret("api_key") == sandbox.api_key, "the right key in the keyring")
    form.refresh()
    form.wait_for_no_text(SIGN_IN)

    # The interval: no preset, and then each side of the list; the menu follows.
    form.choose("Manual only")
    form.wait_until_stored(refreshInterval=0)
    form.choose("15 minutes")
    form.wait_until_stored(refreshInterval=900)
    checked = [each.label for each in form.item.menu().everything() if each.properties.get("toggle-state") == 1]
    assert checked == ["15 minutes"]

    assert form.stored()["fromTheFuture"] == {"key": [1.5, None]}
    assert sandbox.api_key not in quillo.settings_file.read_text()


def test_hot_key_works_in_front_of_other_programs_while_its_box_is_checked(open_form):
    form = open_form()
    assert "checked" in form.box(HOT_KEY).states
    other = form.windows.cover()
    form.windows.press("ctrl+shift+r")
    ledger = form.windows.wait_for(LEDGER)
    form.windows.wait_until_active(ledger)

    form.windows.activate(other)
    form.windows.press("ctrl+shift+r")
    form.windows.wait_until_active(ledger)
    assert form.windows.titled(LEDGER) == [ledger]

    form.toggle(HOT_KEY)
    form.wait_until_stored(hotKeyEnabled=False)
    form.windows.activate(other)

    def other_program_gets_the_key():
        form.windows.press("ctrl+shift+r")
        return form.windows.titled("search")  # what that program does on this key

    wait_until(other_program_gets_the_key, "the other program's answer to the key")

    form.toggle(HOT_KEY)
    form.wait_until_stored(hotKeyEnabled=True)

    def ledger_comes_forward():
        form.windows.press("ctrl+shift+r")
        return form.windows.is_active(ledger)

    wait_until(ledger_comes_forward, "the ledger in front again")


def test_launch_at_login_makes_and_removes_the_entry(open_form, installed):
    form = open_form()
    assert installed.exists()
    assert "checked" in form.box(LOGIN).states
    form.toggle(LOGIN)
    wait_until(lambda: not installed.exists(), "the entry's end")
    form.toggle(LOGIN)
    wait_until(installed.exists, "the entry again")
    assert NOT_INSTALLED not in form.root.texts()


def test_login_item_that_the_desktop_switched_off_is_told(open_form, installed, sandbox):
    sandbox.scenario(totalOwed=5, pending="none")
    installed.parent.mkdir(parents=True)
    off = "[Desktop Entry]\nType=Application\nName=Quillo\nExec=quillo\nHidden=true\n"
    installed.write_text(off)
    form = open_form()
    form.item.wait_for("creditcard", "$5.00")  # A refresh clears errors; this was the only one.
    form.wait_for_text(APPROVAL)
    assert "checked" not in form.box(LOGIN).states
    form.toggle(LOGIN)
    form.wait_for_text(SWITCHED_OFF)
    assert "checked" in form.box(LOGIN).states
    assert installed.read_text() == off


def test_key_typed_while_the_keyring_is_away_counts_until_it_can_be_stored(open_form, quillo, sandbox, desktop):
    sandbox.scenario(totalOwed=5, pending="none")
    quillo.store_secret("api_key", "wrong")
    form = open_form()
    form.wait_for_text(REJECTED)
    desktop.keyring.kill()
    form.root.find("text", KEY).write(sandbox.api_key)
    form.refresh()
    form.item.wait_for("creditcard", "$5.00")
    desktop.keyring.start()
    assert quillo.read_secret("api_key") == "wrong"
    form.root.find("text", KEY).write(sandbox.api_key + " ")
    form.root.find("text", KEY).write(sandbox.api_key)
    wait_until(lambda: quillo.read_secret("api_key") == sandbox.api_key, "the key in the keyring")


def test_there_is_one_settings_window_and_closing_it_ends_nothing(open_form):
    form = open_form()
    window = form.windows.wait_for(TITLE)
    assert form.open() == window
    form.windows.close(window)
    form.windows.wait_for_none(TITLE)
    assert form.quillo.running
    form.open()
