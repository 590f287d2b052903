#!/usr/bin/python3
"""The host of the offline model on the loopback interface, for tests: HTTPS with a certificate of its own.

As a module:

    with ModelServer({"kind": "body", "size": 1_500_000_000}) as server:
        ...  # download https://127.0.0.1:<server.port>/..., trusting the file server.authority

As a program it prints one JSON object a line: first {"port": ..., "base_url": ..., "authority": FILE}, then
{"request": PATH, "host": NAME, "kind": ...} for each request and {"sent": BYTES, "complete": true or false} after each
body. Each line of its standard input is a scenario, acknowledged by {"scenario": "set"}; it ends with its standard
input. Options: --scenario FILE, --port N, --name NAME (repeated; names in the certificate), --folder FOLDER (the
certificates are made there and kept), --plain (HTTP), --detached (standard input is not read).

A scenario is an object. "kind" is one of

    body        status 200 with "size" zero bytes; "length": false leaves Content-Length out; "announced" is a
                Content-Length other than the size; "rate" limits it to that many bytes a second
    status      "status" with "body" (text)
    redirect    "status" (default 302) to "location"; a list of scenarios serves the target
    reset       announces "size", sends "after" bytes of it, and resets the connection
    truncated   the same, but closes the connection properly
    stall       the same, but sends nothing more
    hold        the same, but goes on with the rest when {"release": true} comes on standard input (or release())
    nonsense    "text" instead of an HTTP answer

A list of scenarios serves one request each; the last one stays.
"""

import argparse
import json
import socket
import ssl
import struct
import sys
import tempfile
import threading
import time

from certificates import make_certificates

PIECE = memoryview(bytes(1 << 20))


class ModelServer:
    """The server; a context manager that stops it."""

    def __init__(self, scenario=None, port=0, names=("localhost", "127.0.0.1"), folder=None, tls=True, tell=None):
        self._scenarios = [{"kind": "status", "status": 404}]
        if scenario is not None:
            self.set_scenario(scenario)
        self._tell = tell or (lambda value: None)
        self._temporary = None
        self._context = None
        self.authority = None
        if tls:
            if folder is None:
                self._temporary = tempfile.TemporaryDirectory()
                folder = self._temporary.name
            self.authority, certificate, key = make_certificates(folder, names)
            self._context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            self._context.load_cert_chain(certificate, key)
        self._released = threading.Event()
        self._lock = threading.Lock()
        self._open = set()
        self.requests = []
        self._listener = socket.create_server(("127.0.0.1", port), backlog=32)
        self.port = self._listener.getsockname()[1]
        self.base_url = f"{'https' if tls else 'http'}://127.0.0.1:{self.port}"
        self._thread = threading.Thread(target=self._accept, daemon=True)
        self._thread.start()

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self.stop()

    def stop(self):
        try:
            self._listener.shutdown(socket.SHUT_RDWR)  # Wakes accept().
        except OSError:
            pass
        self._listener.close()
        self._released.set()
        with self._lock:
            streams = list(self._open)
        for stream in streams:
            try:
                stream.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass
        self._thread.join()
        if self._temporary:
            self._temporary.cleanup()

    def set_scenario(self, scenario):
        """From the next request on. A list serves one request with each."""
        self._scenarios = list(scenario) if isinstance(scenario, list) else [scenario]

    def release(self):
        """Lets a held body go on."""
        self._released.set()

    def _accept(self):
        while True:
            try:
                stream, _ = self._listener.accept()
            except OSError:
                return
            threading.Thread(target=self._serve, args=(stream,), daemon=True).start()

    def _serve(self, stream):
        stream.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        try:
            if self._context:
                stream = self._context.wrap_socket(stream, server_side=True)
            with self._lock:
                self._open.add(stream)
            while self._answer_one(stream):
                pass
        except OSError:
            pass  # The client left, or trusts us not.
        finally:
            with self._lock:
                self._open.discard(stream)
            stream.close()

    def _answer_one(self, stream):
        head = b""
        while b"\r\n\r\n" not in head:
            data = stream.recv(65536)
            if not data or len(head) > 65536:
                return False
            head += data
        lines = head.decode("latin-1").split("\r\n")
        if lines[0].count(" ") != 2:
            return False
        host = next((line[6:] for line in lines if line.lower().startswith("host: ")), None)
        with self._lock:
            scenario = self._scenarios.pop(0) if len(self._scenarios) > 1 else self._scenarios[0]
        request = {"request": lines[0].split(" ")[1], "host": host, "kind": scenario["kind"]}
        self.requests.append(request)
        self._tell(request)
        return self._act(stream, scenario)

    @staticmethod
    def _send_head(stream, status, length, headers=()):
        lines = [f"HTTP/1.1 {status} Scenario", *headers]
        lines.append("Connection: close" if length is None else f"Content-Length: {length}")
        stream.sendall("\r\n".join(lines).encode() + b"\r\n\r\n")

    @staticmethod
    def _send_zeros(stream, count, rate=None):
        started = time.monotonic()
        sent = 0
        step = len(PIECE) if rate is None else max(1, min(len(PIECE), rate // 20))
        while sent < count:
            part = min(step, count - sent)
            stream.sendall(PIECE[:part])
            sent += part
            if rate is not None:
                time.sleep(max(0.0, started + sent / rate - time.monotonic()))

    def _act(self, stream, scenario):
        kind = scenario["kind"]
        if kind == "status":
            body = scenario.get("body", "").encode()
            self._send_head(stream, scenario["status"], len(body))
            stream.sendall(body)
            return scenario["status"] != 304
        if kind == "redirect":
            self._send_head(stream, scenario.get("status", 302), 0, [f"Location: {scenario['location']}"])
            return True
        if kind == "nonsense":
            stream.sendall(scenario["text"].encode())
            return False
        size = scenario["size"]
        if kind == "body":
            announced = scenario.get("announced", size) if scenario.get("length", True) else None
            self._send_head(stream, 200, announced)
            complete = False
            try:
                self._send_zeros(stream, size, scenario.get("rate"))
                complete = True
            finally:
                self._tell({"sent": size, "complete": complete})
            return announced == size
        after = scenario["after"]
        self._send_head(stream, 200, size)
        self._send_zeros(stream, after)
        self._tell({"sent": after, "complete": False})
        if kind == "stall":
            while stream.recv(65536):
                pass
        elif kind == "hold":
            self._released.wait()
            self._released.clear()
            self._send_zeros(stream, size - after)
            return True
        elif kind == "reset":
            stream.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            if isinstance(stream, ssl.SSLSocket):
                socket.socket(fileno=stream.detach()).close()
        return False


def main():
    parser = argparse.ArgumentParser(description="the host of the offline model on loopback, for tests")
    parser.add_argument("--scenario")
    parser.add_argument("--port", type=int, default=0)
    parser.add_argument("--name", action="append")
    parser.add_argument("--folder")
    parser.add_argument("--plain", action="store_true")
    parser.add_argument("--detached", action="store_true")
    options = parser.parse_args()
    output = threading.Lock()

    def tell(value):
        with output:
            print(json.dumps(value), flush=True)

    scenario = None
    if options.scenario:
        with open(options.scenario, encoding="utf-8") as file:
            scenario = json.load(file)
    server = ModelServer(scenario, options.port, options.name or ("localhost", "127.0.0.1"), options.folder,
                         not options.plain, tell)
    tell({"port": server.port, "base_url": server.base_url, "authority": server.authority})
    if options.detached:
        threading.Event().wait()
    for line in sys.stdin:
        command = json.loads(line)
        if isinstance(command, dict) and command.get("release"):
            server.release()
            continue
        server.set_scenario(command)
        tell({"scenario": "set"})
    server.stop()


if __name__ == "__main__":
    main()
