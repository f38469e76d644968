"""A backend whose every answer is known to the byte and to the microsecond; in the process of the measurement."""

import http.server
import json
import threading
import time

LINE = {
    "date": "2024-05-01",
    "amount": 12.5,
    "merchant": "Blue Bottle Coffee",
    "name": "BLUE BOTTLE COFFEE 0042 OAKLAND CA",
    "pending": 0,
    "running_balance": 832.26,
    "synthetic": False,
    "account_mask": "4242",
    "note": None,
}


class Backend:
    """Answers the three requests of a refresh; `total` is what is owed, `lines` the length of the ledger."""

    def __init__(self, lines):
        self.total = 100.0
        self.last_byte_at = 0.0
        transactions = [{"txn_id": f"txn-{number:033d}", **LINE} for number in range(lines)]
        self._transactions = json.dumps(transactions).encode()
        backend = self

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_GET(self):
                body = backend.body(self.path)
                head = f"HTTP/1.1 200 OK\r\nContent-Length: {len(body)}\r\n\r\n".encode()
                self.wfile.write(head + body)
                backend.last_byte_at = time.perf_counter()

            def log_message(self, *_):
                pass

        self._server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.origin = f"http://127.0.0.1:{self._server.server_address[1]}"
        threading.Thread(target=self._server.serve_forever, daemon=True).start()

    def body(self, path):
        if path == "/api/status":
            return b'{"items": []}'
        if path == "/api/snapshots":
            return b'{"snapshots": []}'
        totals = {
            "total_owed": self.total,
            "pending_holds": 0,
            "total_with_pending": self.total,
            "credit_limit": 5000,
            "available": 5000 - self.total,
            "as_of": "2024-05-01",
        }
        return json.dumps(totals).encode()[:-1] + b', "transactions": ' + self._transactions + b"}"

    def stop(self):
        self._server.shutdown()
