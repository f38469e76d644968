"""Takes pictures of the windows: every theme, scale, language and state that a person may meet."""

import dataclasses
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests/e2e"))
sys.dont_write_bytecode = True

# pylint: disable=wrong-import-position
from gi.repository import GLib  # noqa: E402
from harness.desktop import Desktop  # noqa: E402
from harness.program import APPLICATION_ID, Quillo  # noqa: E402
from harness.sandbox import FIXED_HTTP_PORT, Sandbox  # noqa: E402
from harness.waiting import wait_until  # noqa: E402
from harness.watcher import Watcher  # noqa: E402
from harness.windows import Windows  # noqa: E402

PICTURES = ROOT / "docs/screenshots"

# The desktop's colours and font as its settings file states them.
LIGHT = {
    "Window": ("239,240,241", "35,38,41"),
    "View": ("255,255,255", "35,38,41"),
    "Button": ("252,252,252", "35,38,41"),
    "Selection": ("61,174,233", "255,255,255"),
    "Tooltip": ("247,247,247", "35,38,41"),
}
DARK = {
    "Window": ("42,46,50", "252,252,252"),
    "View": ("27,30,32", "252,252,252"),
    "Button": ("49,54,59", "252,252,252"),
    "Selection": ("61,174,233", "252,252,252"),
    "Tooltip": ("49,54,59", "252,252,252"),
}
ALTERNATE = {"View": {"255,255,255": "247,247,247", "27,30,32": "35,38,41"}}


@dataclasses.dataclass(frozen=True)
class Shot:
    """One picture: what the backend answers, how the desktop looks, and what is done before it is taken."""

    name: str
    scenario: dict = dataclasses.field(default_factory=dict)
    dark: bool = False
    scale: int = 1
    locale: str = "en_US.UTF-8"
    action: str = "open-ledger"
    title: str = "Quillo — Ledger"
    keys: tuple = ()


SHOTS = (
    Shot("ledger-light"),
    Shot("ledger-dark", dark=True),
    Shot("ledger-light-2x", scale=2),
    Shot("ledger-dark-2x", dark=True, scale=2),
    Shot("ledger-german", locale="de_DE.UTF-8"),
    Shot("ledger-arabic", locale="ar_EG.UTF-8"),
    Shot("ledger-no-holds", scenario={"pending": "none"}),
    Shot("ledger-reconnect", scenario={"link": "reconnect"}),
    Shot("ledger-reconnect-dark", scenario={"link": "reconnect"}, dark=True),
    Shot("ledger-no-card", scenario={"link": "add-card"}),
    Shot("ledger-outage", scenario={"link": "outage"}),
    # The picker comes before the table.
    Shot("ledger-snapshot", keys=("shift+Tab", "Down", "Down", "Down")),
    Shot("ledger-filtered", keys=("ctrl+f", "c", "o", "f", "f", "e", "e")),
    Shot("ledger-empty", scenario={"lines": 0, "pending": "none", "totalOwed": 0}),
    Shot("ledger-error", scenario={"answers": {"timeline": {"status": 503}}}),
    Shot("settings-light", action="settings", title="Quillo Settings"),
    Shot("settings-dark", action="settings", title="Quillo Settings", dark=True),
)


def colour_scheme(dark):
    """The desktop's settings file with a light or a dark scheme."""
    lines = ["[General]", "font=Noto Sans,10,-1,5,50,0,0,0,0,0", "fixed=Noto Sans Mono,10,-1,5,50,0,0,0,0,0"]
    for group, (background, text) in (DARK if dark else LIGHT).items():
        alternate = ALTERNATE.get(group, {}).get(background, background)
        lines += [f"[Colors:{group}]", f"BackgroundNormal={background}", f"BackgroundAlternate={alternate}"]
        lines += [f"ForegroundNormal={text}", "ForegroundLink=41,128,185", "ForegroundVisited=127,140,141"]
    return "\n".join(lines) + "\n"


def take(shot):
    with Desktop(size=f"{1280 * shot.scale}x{900 * shot.scale}") as desktop:
        (desktop.config_home / "kdeglobals").write_text(colour_scheme(shot.dark), encoding="utf-8")
        sandbox = desktop.keep(Sandbox(desktop.folder, http_port=FIXED_HTTP_PORT))
        sandbox.scenario(**shot.scenario)
        watcher = Watcher(desktop.bus)
        watcher.start()
        quillo = Quillo(desktop)
        quillo.write_settings(backend=sandbox.http)
        quillo.store_secret("api_key", sandbox.api_key)
        look = {"XDG_CURRENT_DESKTOP": "KDE", "KDE_SESSION_VERSION": "5", "QT_SCALE_FACTOR": str(shot.scale)}
        quillo.start(LC_ALL=shot.locale, LANG=shot.locale, **look)
        item = watcher.wait_for_item()
        wait_until(lambda: item.label not in ("", "…"), "something in the panel")
        windows = Windows(desktop)
        arguments = GLib.Variant("(sava{sv})", (shot.action, [], {}))
        path = "/" + APPLICATION_ID.replace(".", "/")
        desktop.bus.call(APPLICATION_ID, path, "org.freedesktop.Application", "ActivateAction", arguments)
        window = windows.wait_for(shot.title)
        windows.wait_until_active(window)
        quillo.wait_until_idle()
        for key in shot.keys:
            windows.press(key)
        quillo.wait_until_idle()
        desktop.display.screenshot(PICTURES / f"{shot.name}.png", window=window)


def main():
    wanted = sys.argv[1:]
    unknown = set(wanted) - {shot.name for shot in SHOTS}
    if unknown:
        sys.exit(f"screenshots: no picture is called {', '.join(sorted(unknown))}")
    for shot in SHOTS:
        if not wanted or shot.name in wanted:
            take(shot)
            print(f"docs/screenshots/{shot.name}.png", flush=True)


if __name__ == "__main__":
    try:
        main()
    except (RuntimeError, TimeoutError, subprocess.SubprocessError) as problem:
        sys.exit(f"screenshots: {problem}")
