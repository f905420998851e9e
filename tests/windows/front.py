"""A slow server before the catalogue."""

import contextlib
import http.server
import re
import subprocess
import threading
import urllib.request

from window import CATALOGUE, TOGETHER


class Front:
    """Hands on what it is asked. Requests whose path begins with one of `slow` get their first bytes only, until `go`;
    `asked` tells that there was one."""

    def __init__(self, *slow, first=1000):
        self.go = threading.Event()
        self.asked = threading.Event()
        self.catalogue = subprocess.Popen([*TOGETHER, CATALOGUE, "serve"], stdout=subprocess.PIPE,
                                          stderr=subprocess.DEVNULL, text=True)
        behind = re.search(r"http://[^\s/]+", self.catalogue.stdout.readline()).group()
        front = self

        class Handler(http.server.BaseHTTPRequestHandler):

            def answer(self):
                length = int(self.headers.get("Content-Length") or 0)
                request = urllib.request.Request(behind + self.path, self.rfile.read(length) if length else None,
                                                 method=self.command)
                for name in ("Content-Type", "Accept"):
                    if self.headers.get(name):
                        request.add_header(name, self.headers[name])
                with urllib.request.urlopen(request) as reply:
                    body = reply.read()
                    headers = [(name, value) for name, value in reply.getheaders()
                               if name.lower() not in ("content-length", "connection", "keep-alive")]
                # Addresses in what the catalogue says lead here.
                if b"text" in reply.headers["Content-Type"].encode() or b"json" in reply.headers["Content-Type"].encode():
                    body = body.replace(behind.encode(), front.address.encode())
                self.send_response(reply.status)
                for name, value in headers:
                    self.send_header(name, value)
                self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                with contextlib.suppress(OSError):
                    if any(self.path.startswith(path) for path in slow):
                        self.wfile.write(body[:first])
                        self.wfile.flush()
                        front.asked.set()
                        front.go.wait(100)
                        body = body[first:]
                    self.wfile.write(body)

            do_GET = do_POST = answer

            def log_message(self, *words):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.server.daemon_threads = True
        self.address = f"http://127.0.0.1:{self.server.server_address[1]}"
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def close(self):
        self.go.set()
        self.server.shutdown()
        self.server.server_close()
        self.catalogue.terminate()
        self.catalogue.wait()
        self.catalogue.stdout.close()
