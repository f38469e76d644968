"""Takes pictures of the windows: every theme, scale, language and state that a person may meet."""

import dataclasses
import os
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests/e2e"))
sys.dont_write_bytecode = True

# pylint: disable=wrong-import-position
from gi.repository import GLib  # noqa: E402
from harness.desktop import Desktop  # noqa: E402
from harness.panel import Panel, configure_xfce4_panel  # noqa: E402
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


def window_frames(dark):
    """A theme for the window manager whose title bars go with the windows."""
    background, text = DARK["Window"] if dark else LIGHT["Window"]

    def colour(decimals):
        return "#" + "".join(f"{int(part):02x}" for part in decimals.split(","))

    return (
        "border.width: 0\npadding.height: 5\nwindow.handle.width: 0\nwindow.client.padding.width: 0\n"
        "window.*.title.bg: flat solid\nwindow.*.label.bg: parentrelative\nwindow.*.button.*.bg: parentrelative\n"
        f"window.*.title.bg.color: {colour(background)}\nwindow.*.label.text.color: {colour(text)}\n"
        f"window.*.button.*.image.color: {colour(text)}\nwindow.label.text.justify: center\n"
    )


def dress(desktop, dark):
    """Gives windows and their frames the look."""
    (desktop.config_home / "kdeglobals").write_text(colour_scheme(dark), encoding="utf-8")
    theme = desktop.data_home / "themes/Plain/openbox-3/themerc"
    theme.parent.mkdir(parents=True)
    theme.write_text(window_frames(dark), encoding="utf-8")
    settings = desktop.config_home / "openbox/rc.xml"
    settings.parent.mkdir(parents=True)
    settings.write_text(
        '<openbox_config xmlns="http://openbox.org/3.4/rc"><theme><name>Plain</name></theme></openbox_config>',
        encoding="utf-8",
    )
    subprocess.run(["openbox", "--reconfigure"], env=desktop.environment, check=True)


def start(desktop, scenario, *, scale=1, locale="en_US.UTF-8"):
    """The program as its installation left it, with a backend and an API key."""
    sandbox = desktop.keep(Sandbox(desktop.folder, http_port=FIXED_HTTP_PORT))
    sandbox.scenario(**scenario)
    quillo = Quillo(desktop)
    quillo.write_settings(backend=sandbox.http)
    quillo.store_secret("api_key", sandbox.api_key)
    installed = pathlib.Path(os.environ["QUILLO_PROGRAM"]).parents[1]
    look = {"XDG_CURRENT_DESKTOP": "KDE", "KDE_SESSION_VERSION": "5", "QT_SCALE_FACTOR": str(scale)}
    data = f"{installed}/share:{desktop.environment['XDG_DATA_DIRS']}"
    quillo.start(LC_ALL=locale, LANG=locale, XDG_DATA_DIRS=data, **look)
    return quillo


def open_window(desktop, action, title):
    arguments = GLib.Variant("(sava{sv})", (action, [], {}))
    path = "/" + APPLICATION_ID.replace(".", "/")
    desktop.bus.call(APPLICATION_ID, path, "org.freedesktop.Application", "ActivateAction", arguments)
    return Windows(desktop).wait_for(title)


def keep_picture(desktop, name, **part):
    """Takes the picture, and makes its file as small as it gets without changing it."""
    path = PICTURES / f"{name}.png"
    desktop.display.screenshot(path, **part)
    smallest = ["-strip", "-define", "png:compression-level=9", "-define", "png:compression-filter=1"]
    dateless = ["-define", "png:exclude-chunks=date,time"]
    subprocess.run(["convert", path, *smallest, *dateless, path], check=True)
    print(path.relative_to(ROOT), flush=True)


def take(shot):
    with Desktop(size=f"{1280 * shot.scale}x{900 * shot.scale}") as desktop:
        dress(desktop, shot.dark)
        watcher = Watcher(desktop.bus)
        watcher.start()
        quillo = start(desktop, shot.scenario, scale=shot.scale, locale=shot.locale)
        item = watcher.wait_for_item()
        wait_until(lambda: item.label not in ("", "…"), "something in the panel")
        windows = Windows(desktop)
        window = open_window(desktop, shot.action, shot.title)
        windows.wait_until_active(window)
        quillo.wait_until_idle()
        for key in shot.keys:
            windows.press(key)
        quillo.wait_until_idle()
        keep_picture(desktop, shot.name, window=window)


def panel_windows(desktop):
    """The visible windows of the panel's plugins, an open menu among them."""
    command = ["xdotool", "search", "--onlyvisible", "--class", "wrapper"]
    return subprocess.run(command, env=desktop.environment, capture_output=True, text=True, check=False).stdout.split()


def take_overview(name, dark):
    """Panel, menu and ledger on one screen."""
    with Desktop(size="1280x752") as desktop:
        dress(desktop, dark)
        desktop.environment["GTK_THEME"] = "Adwaita:dark" if dark else "Adwaita"
        panel = Panel(desktop)
        configure_xfce4_panel(desktop, "indicator", dark=dark)
        panel.start()
        quillo = start(desktop, {})
        wait_until(lambda: any(text.startswith("$") for text in panel.texts()), "the amount in the panel")
        window = open_window(desktop, "open-ledger", "Quillo — Ledger")
        # Its status says nothing: it is 1 when it has painted the root window.
        paint = ["display", "-window", "root", "-size", "1280x752", "gradient:#35506b-#1d2b3a"]
        subprocess.run(paint, env=desktop.environment, check=False)
        subprocess.run(["xdotool", "windowmove", "--sync", window, "20", "72"], env=desktop.environment, check=True)
        quillo.wait_until_idle()
        before = panel_windows(desktop)
        Windows(desktop).click(1220, 17)
        wait_until(lambda: panel_windows(desktop) != before, "the open menu")
        keep_picture(desktop, name)


OVERVIEWS = {"overview-light": False, "overview-dark": True}


def main():
    wanted = sys.argv[1:]
    known = {shot.name: shot for shot in SHOTS}
    unknown = set(wanted) - {*known, *OVERVIEWS}
    if unknown:
        sys.exit(f"screenshots: no picture is called {', '.join(sorted(unknown))}")
    for name in wanted or (*OVERVIEWS, *known):
        if name in OVERVIEWS:
            take_overview(name, OVERVIEWS[name])
        else:
            take(known[name])


if __name__ == "__main__":
    try:
        main()
    except (RuntimeError, TimeoutError, subprocess.SubprocessError) as problem:
        sys.exit(f"screenshots: {problem}")
