"""What a screen reader gets from programs of a session, and what it can do there.

This speaks the protocol of AT-SPI itself, because the accessibility library belongs to one bus for the life
of a process and tests have a bus each. Three things to know:

- A press takes effect some 100 ms after it was answered: wait on what it brings about.
- Tables may have a million rows: never walk their children, ask for cells.
- A combo box is named by its current entry; its description says what it is for.
"""

from gi.repository import GLib

from .buses import call
from .processes import Child
from .waiting import wait_until

_LAUNCHER = "/usr/libexec/at-spi-bus-launcher"
_REGISTRY = "org.a11y.atspi.Registry"
_ACCESSIBLE = "org.a11y.atspi.Accessible"
_TABLE = "org.a11y.atspi.Table"
_ROOT = "/org/a11y/atspi/accessible/root"
_NOWHERE = "/org/a11y/atspi/null"
_PASSWORD_TEXT = 40  # AtspiRole

# A coordinate type (AtspiCoordType).
_SCREEN = 0

# Bits of a state set (AtspiStateType).
_STATES = {
    "active": 1,
    "checked": 4,
    "enabled": 8,
    "expanded": 10,
    "focusable": 11,
    "focused": 12,
    "selected": 23,
    "sensitive": 24,
    "showing": 25,
    "visible": 30,
}


class ScreenReader:
    """The session's screen reader; made before the program starts, it is there when the program looks."""

    def __init__(self, desktop):
        bus = desktop.bus
        launcher = [_LAUNCHER, "--launch-immediately", "--a11y=1", "--screen-reader=1"]
        environment = {**desktop.environment, "GSETTINGS_BACKEND": "memory"}
        desktop.keep(Child(launcher, environment=environment, log=desktop.folder / "accessibility.log"))
        bus.wait_for_owner("org.a11y.Bus")
        (address,) = bus.call("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", timeout=30)
        self._connection = bus.connect(address)
        registry = GLib.Variant("(su)", (_REGISTRY, 0))
        self._call("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "StartServiceByName", registry)

    def windows(self):
        """The top-level windows of every program, menus and dialogues among them."""
        programs = self.element(_REGISTRY, _ROOT).children()
        return [window for program in programs for window in program.children()]

    def window(self, title):
        """The window with this title, once it is there."""

        def found():
            return next((window for window in self.windows() if window.name == title), None)

        return wait_until(found, lambda: f"a window {title!r}; there are {self.windows()}")

    def element(self, owner, path):
        return Element(self, owner, path)

    def _call(self, owner, path, interface, method, arguments=None):
        return call(self._connection, owner, path, interface, method, arguments, timeout=30)


class Element:
    """Something on the screen. It holds no copy: every property is asked for anew.

    A call to an element that is gone raises `GLib.Error`, except for `is_there`.
    """

    def __init__(self, reader, owner, path):
        self._reader = reader
        self._owner = owner
        self._path = path

    def __eq__(self, other):
        return isinstance(other, Element) and (self._owner, self._path) == (other._owner, other._path)

    def __hash__(self):
        return hash((self._owner, self._path))

    def __repr__(self):
        return f"{self.role} {self.name!r}" if self.is_there else "something that is gone"

    @property
    def is_there(self):
        try:
            return bool(self.role)
        except GLib.Error:
            return False

    @property
    def name(self):
        return self._property(_ACCESSIBLE, "Name")

    @property
    def description(self):
        return self._property(_ACCESSIBLE, "Description")

    @property
    def role(self):
        """Such as "push button", "text", "combo box", "check box", "label", "table"."""
        (role,) = self._call(_ACCESSIBLE, "GetRoleName")
        return role

    @property
    def is_masked(self):
        """Whether this is an input line for secrets; Qt says so by the role's number, not by its name."""
        return self._call(_ACCESSIBLE, "GetRole") == (_PASSWORD_TEXT,)

    @property
    def states(self):
        """Which of `active`, `enabled`, `focused`, `showing` and the others above hold."""
        (words,) = self._call(_ACCESSIBLE, "GetState")
        bits = sum(word << (32 * place) for place, word in enumerate(words))
        return {name for name, bit in _STATES.items() if bits >> bit & 1}

    @property
    def text(self):
        """The content of an input line."""
        (text,) = self._call("org.a11y.atspi.Text", "GetText", GLib.Variant("(ii)", (0, -1)))
        return text

    def children(self):
        (children,) = self._call(_ACCESSIBLE, "GetChildren")
        return [Element(self._reader, *child) for child in children if child[1] != _NOWHERE]

    def everything(self):
        """This element and all that is showing below it, in order; of a table only the table itself."""
        yield self
        if self.role in ("table", "tree"):
            return
        for child in self.children():
            if "showing" in child.states:
                yield from child.everything()

    def find_all(self, role, name=None):
        return [each for each in self.everything() if each.role == role and name in (None, each.name)]

    def find(self, role, name=None):
        """The one showing element with this role and name, once there is one."""

        def found():
            try:
                return self.find_all(role, name)
            except GLib.Error:
                return None  # Something went while it was looked at.

        (one,) = wait_until(found, lambda: f"a {role} {name!r}; there are {list(self.everything())}")
        return one

    def texts(self):
        """What is written here and below, in order."""
        return [each.name for each in self.find_all("label") if each.name]

    def press(self):
        """Does what a click would; see the note above about when."""
        self.act("Press")

    def act(self, action):
        """Does one of `actions`, such as "Press", "Toggle", "ShowMenu"."""
        index = GLib.Variant("(i)", (self.actions().index(action),))
        (done,) = self._call("org.a11y.atspi.Action", "DoAction", index)
        assert done

    def actions(self):
        (actions,) = self._call("org.a11y.atspi.Action", "GetActions")
        return [name for name, _, _ in actions]

    def choose(self, entry, keyboard):
        """Opens a combo box and chooses the entry as a person at the keyboard does; `keyboard` is `Windows`."""
        self.act("ShowMenu")
        item = self.find("list item", entry)
        self.find("list")  # It takes the keys once it is showing.
        entries = self.find_all("list item")
        start = next(place for place, each in enumerate(entries) if "focused" in each.states)
        steps = entries.index(item) - start
        for _ in range(abs(steps)):
            keyboard.press("Down" if steps > 0 else "Up")
        wait_until(lambda: "focused" in item.states, lambda: f"the focus on {item}")
        keyboard.press("Return")
        wait_until(lambda: self.name == entry, lambda: f"{entry!r} chosen; it is {self.name!r}")

    def focus(self):
        """Gives the focus to a button or an input line. Tables and combo boxes refuse it: press Tab."""
        self._call("org.a11y.atspi.Component", "GrabFocus")
        wait_until(lambda: "focused" in self.states, lambda: f"the focus on {self}")

    @property
    def centre(self):
        """The middle of what it covers, in pixels of the screen."""
        ((x, y, width, height),) = self._call(
            "org.a11y.atspi.Component", "GetExtents", GLib.Variant("(u)", (_SCREEN,))
        )
        return x + width // 2, y + height // 2

    def write(self, text):
        """Replaces the content of an input line."""
        (done,) = self._call("org.a11y.atspi.EditableText", "SetTextContents", GLib.Variant("(s)", (text,)))
        assert done

    # Tables

    @property
    def row_count(self):
        return self._property(_TABLE, "NRows")

    @property
    def column_titles(self):
        titles = []
        for column in range(self._property(_TABLE, "NColumns")):
            (title,) = self._call(_TABLE, "GetColumnDescription", GLib.Variant("(i)", (column,)))
            titles.append(title)
        return titles

    def column_header(self, column):
        (header,) = self._call(_TABLE, "GetColumnHeader", GLib.Variant("(i)", (column,)))
        return Element(self._reader, *header)

    def cell(self, row, column):
        (cell,) = self._call(_TABLE, "GetAccessibleAt", GLib.Variant("(ii)", (row, column)))
        return Element(self._reader, *cell)

    def row(self, row):
        """What the cells of a row say."""
        return [self.cell(row, column).name for column in range(self._property(_TABLE, "NColumns"))]

    def _call(self, interface, method, arguments=None):
        return self._reader._call(self._owner, self._path, interface, method, arguments)

    def _property(self, interface, name):
        arguments = GLib.Variant("(ss)", (interface, name))
        (value,) = self._call("org.freedesktop.DBus.Properties", "Get", arguments)
        return value
