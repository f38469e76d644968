"""A status item without a program behind it; proves that the desktop of these tests can show one.

usage: scripted_item.py ICON LABEL
"""

import sys

from gi.repository import Gio, GLib

_ITEM = """<node><interface name="org.kde.StatusNotifierItem">
  <property name="Id" type="s" access="read"/>
  <property name="Category" type="s" access="read"/>
  <property name="Status" type="s" access="read"/>
  <property name="Title" type="s" access="read"/>
  <property name="IconName" type="s" access="read"/>
  <property name="XAyatanaLabel" type="s" access="read"/>
  <property name="XAyatanaLabelGuide" type="s" access="read"/>
  <property name="ItemIsMenu" type="b" access="read"/>
  <property name="Menu" type="o" access="read"/>
</interface></node>"""

_MENU = """<node><interface name="com.canonical.dbusmenu">
  <method name="GetLayout">
    <arg type="i" direction="in"/><arg type="i" direction="in"/><arg type="as" direction="in"/>
    <arg type="u" direction="out"/><arg type="(ia{sv}av)" direction="out"/>
  </method>
  <method name="AboutToShow"><arg type="i" direction="in"/><arg type="b" direction="out"/></method>
  <method name="AboutToShowGroup">
    <arg type="ai" direction="in"/><arg type="ai" direction="out"/><arg type="ai" direction="out"/>
  </method>
  <method name="GetGroupProperties">
    <arg type="ai" direction="in"/><arg type="as" direction="in"/><arg type="a(ia{sv})" direction="out"/>
  </method>
  <method name="Event">
    <arg type="i" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="in"/>
    <arg type="u" direction="in"/>
  </method>
  <property name="Version" type="u" access="read"/>
  <property name="Status" type="s" access="read"/>
</interface></node>"""

_QUIT = 1


def main(icon, label):
    loop = GLib.MainLoop()
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    values = {
        "Id": GLib.Variant("s", "scripted"),
        "Category": GLib.Variant("s", "ApplicationStatus"),
        "Status": GLib.Variant("s", "Active"),
        "Title": GLib.Variant("s", label),
        "IconName": GLib.Variant("s", icon),
        "XAyatanaLabel": GLib.Variant("s", label),
        "XAyatanaLabelGuide": GLib.Variant("s", label),
        "ItemIsMenu": GLib.Variant("b", True),
        "Menu": GLib.Variant("o", "/MenuBar"),
    }
    menu_values = {"Version": GLib.Variant("u", 3), "Status": GLib.Variant("s", "normal")}
    entry = GLib.Variant("(ia{sv}av)", (_QUIT, {"label": GLib.Variant("s", "Quit")}, []))

    def answer_menu(_bus, _sender, _path, _interface, method, arguments, invocation):
        answers = {
            "GetLayout": lambda: GLib.Variant(
                "(u(ia{sv}av))", (1, (0, {"children-display": GLib.Variant("s", "submenu")}, [entry]))
            ),
            "AboutToShow": lambda: GLib.Variant("(b)", (False,)),
            "AboutToShowGroup": lambda: GLib.Variant("(aiai)", ([], [])),
            "GetGroupProperties": lambda: GLib.Variant("(a(ia{sv}))", ([],)),
            "Event": lambda: None,
        }
        invocation.return_value(answers[method]())
        if method == "Event" and arguments.unpack()[:2] == (_QUIT, "clicked"):
            loop.quit()

    def register(*_):
        bus.call(
            "org.kde.StatusNotifierWatcher",
            "/StatusNotifierWatcher",
            "org.kde.StatusNotifierWatcher",
            "RegisterStatusNotifierItem",
            GLib.Variant("(s)", ("/StatusNotifierItem",)),
            None,
            Gio.DBusCallFlags.NONE,
            -1,
            None,
            None,
        )

    item_interface = Gio.DBusNodeInfo.new_for_xml(_ITEM).interfaces[0]
    menu_interface = Gio.DBusNodeInfo.new_for_xml(_MENU).interfaces[0]
    bus.register_object("/StatusNotifierItem", item_interface, None, lambda *call: values[call[4]], None)
    bus.register_object("/MenuBar", menu_interface, answer_menu, lambda *call: menu_values[call[4]], None)
    Gio.bus_watch_name_on_connection(
        bus, "org.kde.StatusNotifierWatcher", Gio.BusNameWatcherFlags.NONE, register, None
    )
    loop.run()
    bus.flush_sync(None)


if __name__ == "__main__":
    main(*sys.argv[1:])
