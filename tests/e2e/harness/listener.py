"""A loopback port that only listens: proof of what was sent, or that nothing was."""

from gi.repository import Gio

from .waiting import wait_until


class Listener:
    """Accepts connections on a free port of 127.0.0.1 and counts them; answers nothing."""

    def __init__(self):
        self.connections = 0
        self._accepted = []
        self._service = Gio.SocketService.new()
        loopback = Gio.InetSocketAddress.new_from_string("127.0.0.1", 0)
        _, address = self._service.add_address(
            loopback, Gio.SocketType.STREAM, Gio.SocketProtocol.TCP, None
        )
        self.port = address.get_port()
        self._service.connect("incoming", self._on_incoming)
        self._service.start()

    def _on_incoming(self, _service, connection, _source):
        self.connections += 1
        self._accepted.append(connection)
        return True

    def wait_for_connection(self):
        wait_until(lambda: self.connections, f"a connection to port {self.port}")

    def stop(self):
        self._service.stop()
        self._service.close()
        for connection in self._accepted:
            connection.close(None)
