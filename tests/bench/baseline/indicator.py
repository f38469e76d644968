"""The same as a Python script would do it: an indicator with a label, ten menu entries, one poll over HTTPS.

usage: indicator.py URL API-KEY
"""

import ssl
import sys
import urllib.request

import gi

gi.require_version("Gtk", "3.0")
gi.require_version("AyatanaAppIndicator3", "0.1")
from gi.repository import AyatanaAppIndicator3, GLib, Gtk  # noqa: E402

indicator = AyatanaAppIndicator3.Indicator.new(
    "barest", "dialog-information", AyatanaAppIndicator3.IndicatorCategory.APPLICATION_STATUS
)
menu = Gtk.Menu()
for entry in range(1, 11):
    menu.append(Gtk.MenuItem(label=f"Entry {entry}"))
menu.show_all()
indicator.set_menu(menu)
indicator.set_status(AyatanaAppIndicator3.IndicatorStatus.ACTIVE)


def poll():
    request = urllib.request.Request(sys.argv[1], headers={"X-API-Key": sys.argv[2]})
    with urllib.request.urlopen(request, context=ssl._create_unverified_context()) as answer:
        indicator.set_label(str(len(answer.read())), "")
    return GLib.SOURCE_CONTINUE


GLib.timeout_add_seconds(300, poll)
GLib.idle_add(lambda: poll() and GLib.SOURCE_REMOVE)
Gtk.main()
