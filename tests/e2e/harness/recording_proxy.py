"""A relay that stands before a server and keeps what passes through it, in both directions."""

import contextlib
import socket
import socketserver
import threading


class RecordingProxy:
    """Listens on a port of 127.0.0.1 and passes every connection on to another, byte by byte."""

    def __init__(self, port, *, target_port):
        self._passed = []
        passed = self._passed

        class Relay(socketserver.BaseRequestHandler):
            def handle(self):
                try:
                    server = socket.create_connection(("127.0.0.1", target_port))
                except OSError:
                    return  # The client sees its connection closed.
                with server:
                    answers = threading.Thread(target=_pass, args=(server, self.request, passed), daemon=True)
                    answers.start()
                    _pass(self.request, server, passed)
                    answers.join()

        class Server(socketserver.ThreadingTCPServer):
            allow_reuse_address = True
            daemon_threads = True
            block_on_close = False

        self._server = Server(("127.0.0.1", port), Relay)
        threading.Thread(target=self._server.serve_forever, daemon=True).start()

    def passed(self):
        """All that went through so far: one byte string for each direction of each connection."""
        return [bytes(stream) for stream in self._passed]

    def stop(self):
        self._server.shutdown()
        self._server.server_close()


def _pass(source, sink, passed):
    stream = bytearray()
    passed.append(stream)
    with contextlib.suppress(OSError):
        while received := source.recv(65536):
            stream += received
            sink.sendall(received)
    with contextlib.suppress(OSError):
        sink.shutdown(socket.SHUT_WR)
