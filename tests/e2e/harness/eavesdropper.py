"""Everything that is said on a bus, from the moment of listening on."""

from dataclasses import dataclass

from gi.repository import Gio, GLib

from .display import required_program
from .processes import Child
from .waiting import wait_until

_CANARY_PATH = "/test/eavesdropper"
_CANARY_INTERFACE = "test.Eavesdropper"


@dataclass
class Overheard:
    """One message: who sent it to whom (None for everybody), and all its bytes."""

    sender: str | None
    destination: str | None
    content: bytes


class Eavesdropper:
    """Records all messages of the session bus; listening when the constructor returns."""

    def __init__(self, desktop):
        self._bus = desktop.bus
        self.recording = desktop.folder / "session-bus.recording"
        command = [required_program("dbus-monitor"), "--address", self._bus.address, "--binary"]
        with open(self.recording, "ab") as sink:
            desktop.keep(
                Child(command, environment=desktop.environment, log=desktop.folder / "dbus-monitor.log", stdout=sink)
            )
        self._say_until_heard("listening")

    def _say_until_heard(self, text):
        def heard():
            self.say(text)
            return any(text.encode() in message.content for message in self.messages())

        wait_until(heard, "the eavesdropper to hear")

    def say(self, text):
        """Says something to everybody on the bus."""
        self._bus.connection.emit_signal(
            None, _CANARY_PATH, _CANARY_INTERFACE, "Said", GLib.Variant("(s)", (text,))
        )

    def catch_up(self):
        """Waits until everything that was said before has been recorded."""
        self._say_until_heard(f"caught up at byte {self.recording.stat().st_size}")

    def messages(self):
        """What was said so far; a message that is still being written is left for the next time."""
        recorded = self.recording.read_bytes()
        messages = []
        begin = 0
        while len(recorded) - begin >= 16:
            length = Gio.DBusMessage.bytes_needed(recorded[begin : begin + 16])
            content = recorded[begin : begin + length]
            if len(content) < length:
                break
            message = Gio.DBusMessage.new_from_blob(content, Gio.DBusCapabilityFlags.UNIX_FD_PASSING)
            messages.append(Overheard(message.get_sender(), message.get_destination(), content))
            begin += length
        return messages

    def messages_apart_from(self, name):
        """What was said so far by and to others than the owner of that name."""
        ends = {name, self._bus.owner(name)}
        return [message for message in self.messages() if not ends & {message.sender, message.destination}]
