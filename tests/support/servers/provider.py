#!/usr/bin/python3
"""A speech-to-text provider on the loopback interface, for tests.

It reads each transcription request byte by byte, says exactly what is wrong with it, keeps a record of it, and
answers what the scenario asks for.

As a module:

    with Provider() as provider:
        provider.set_scenario({"kind": "text", "text": "Hallo."})
        ...  # let the program under test send to provider.base_url
        record = provider.wait_for_records(1)[0]
        assert record["valid"], record["complaint"]

As a program it prints one JSON object a line: first {"port": ..., "base_url": ...}, then one record for each request.
Each line of its standard input is a scenario, acknowledged by {"scenario": "set"}; it ends with its standard input,
so that it never outlives a test. Options: --scenario FILE (the first scenario), --records FILE (records are appended
there too), --certificate FILE --key FILE (HTTPS), --port N, --detached (standard input is not read).

A scenario is an object. "kind" is one of

    text        status 200 with "text"
    status      "status" with "body" (text) or "body_hex", and "headers" (an object)
    engine      the output of "command", a list in which "{wav}" stands for the uploaded file, with status 200
    stall       nothing more is sent; "at" is "request" (default; the request has been read), "accept" (nothing is
                read either) or "body" (after headers and the first half of "text")
    reset       the connection is reset; "at" as above, "accept" once the client has begun to send
    truncated   a Content-Length beyond the end of "text", then the end of the connection
    drip        "text" with "interval" seconds between its bytes
    redirect    "status" (default 307) to "location"; without one, to another path of this provider
    nonsense    "text" instead of an HTTP answer
    early       "status" with "body" before the request's body has been read
    endless     status 200 with a body that never ends

Everywhere: "delay" (seconds before the answer), "read_rate" (bytes a second at which the body is read), "gate" (from a module only: an object with wait(), such as a
threading.Event, for which the answer waits), and "expect", an object whose members "provider" ("openai" or
"groq"), "key", "model", "language", "prompt" (null: none) and "prefix" (a path before the provider's own) the request
must match. A list of scenarios serves one request each; the last one stays.

A record: valid, complaint (null or the first thing that is wrong), method, path, headers (a list of pairs), boundary,
fields (a list of pairs), wav_bytes, wav_seconds, wav_sha256, first_byte and last_byte (CLOCK_MONOTONIC, nanoseconds),
body_bytes, connection (number of the connection) and kind (of the scenario).
"""

import argparse
import hashlib
import json
import re
import select
import socket
import ssl
import struct
import subprocess
import sys
import tempfile
import threading
import time

PATHS = {"openai": "/v1/audio/transcriptions", "groq": "/openai/v1/audio/transcriptions"}
# What an HTTP library adds on its own.
TRANSPORT_HEADERS = {"host", "content-length", "user-agent", "accept", "accept-encoding", "accept-language",
                     "connection"}
BOUNDARY = re.compile(
    r"multipart/form-data; boundary=(Tavlo-[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12})")
FILE_HEADERS = b'Content-Disposition: form-data; name="file"; filename="audio.wav"\r\nContent-Type: audio/wav\r\n\r\n'


class Complaint(Exception):
    """What is wrong with a request."""


def require(condition, complaint):
    if not condition:
        raise Complaint(complaint)


class Connection:
    """Buffered reading from one client."""

    def __init__(self, stream, number):
        self.stream = stream
        self.number = number
        self.buffer = b""
        self.first_byte = None

    def receive(self):
        """More bytes into the buffer; false at the end of the connection."""
        data = self.stream.recv(262144)
        if data and self.first_byte is None:
            self.first_byte = time.monotonic_ns()
        self.buffer += data
        return bool(data)

    def read_head(self):
        """The bytes up to and with the empty line; none when the client left without a request."""
        while b"\r\n\r\n" not in self.buffer:
            if len(self.buffer) > 65536 or not self.receive():
                return None
        head, self.buffer = self.buffer.split(b"\r\n\r\n", 1)
        return head

    def read_body(self, length, rate=None):
        parts = [self.buffer[:length]]
        self.buffer = self.buffer[length:]
        missing = length - len(parts[0])
        while missing > 0:
            data = self.stream.recv(min(missing, 1 << 20 if rate is None else 65536))
            if not data:
                break
            parts.append(data)
            missing -= len(data)
            if rate is not None:
                time.sleep(len(data) / rate)
        return b"".join(parts)

    def wait_for_end(self):
        while self.stream.recv(65536):
            pass

    def reset(self):
        raw = self.stream
        raw.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        if isinstance(raw, ssl.SSLSocket):  # No goodbye of the encryption's either.
            raw = socket.socket(fileno=raw.detach())
        raw.close()


def parse_head(head, record):
    """Method, path and headers into the record; the headers by lower-case name."""
    lines = head.decode("latin-1").split("\r\n")
    record["method"], _, rest = lines[0].partition(" ")
    record["path"], _, version = rest.partition(" ")
    record["headers"] = []
    headers = {}
    for line in lines[1:]:
        name, colon, value = line.partition(": ")
        if not colon:  # An empty value may stand without the blank.
            name, colon, value = line.partition(":")
        record["headers"].append([name, value])
        headers.setdefault(name.lower(), []).append(value)
    return version, headers


def check_head(version, headers, record, expect):
    require(version == "HTTP/1.1", f"version {version!r}")
    require(record["method"] == "POST", f"method {record['method']!r}")
    prefix = expect.get("prefix", "")
    if "provider" in expect:
        wanted = [prefix + PATHS[expect["provider"]]]
    else:
        wanted = [prefix + path for path in PATHS.values()]
    require(record["path"] in wanted, f"path {record['path']!r}")
    for name, values in headers.items():
        require(len(values) == 1, f"header {name!r} stands {len(values)} times")
        require(name in TRANSPORT_HEADERS | {"authorization", "content-type"}, f"header {name!r} is one too many")
    require("content-length" in headers, "no Content-Length")
    authorization = headers.get("authorization", [None])[0]
    require(authorization is not None and authorization.startswith("Bearer"), f"Authorization {authorization!r}")
    if "key" in expect:
        require(authorization == ("Bearer " + expect["key"]).rstrip(" "), f"Authorization {authorization!r}")
    match = BOUNDARY.fullmatch(headers.get("content-type", [""])[0])
    require(match is not None, f"Content-Type {headers.get('content-type')!r}")
    record["boundary"] = match.group(1)


def split_form(body, record):
    """The fields into the record; returns the file's bytes."""
    boundary = record["boundary"].encode()
    ending = b"\r\n--" + boundary + b"--\r\n"
    require(body.endswith(ending), f"the body ends in {body[-60:]!r}")
    file_start = b"--" + boundary + b"\r\n" + FILE_HEADERS
    position = body.find(file_start)
    require(position >= 0, "no file part as it should be")
    rest = body[:position]
    record["fields"] = []
    while rest:
        match = re.match(rb'--' + re.escape(boundary)
                         + rb'\r\nContent-Disposition: form-data; name="([a-z_]+)"\r\n\r\n(.*?)\r\n(?=--'
                         + re.escape(boundary) + rb'\r\n|\Z)', rest, re.DOTALL)
        require(match is not None, f"a field begins {rest[:120]!r}")
        try:
            record["fields"].append([match.group(1).decode(), match.group(2).decode("utf-8")])
        except UnicodeDecodeError as error:
            raise Complaint(f"field {match.group(1)!r} is not UTF-8") from error
        rest = rest[match.end():]
    return body[position + len(file_start):-len(ending)]


def check_fields(record, expect):
    names = [name for name, _ in record["fields"]]
    require(names in (["model", "language", "response_format"], ["model", "language", "response_format", "prompt"]),
            f"fields {names!r}")
    fields = dict(record["fields"])
    require(fields["response_format"] == "text", f"response_format {fields['response_format']!r}")
    require(fields.get("prompt") != "", "an empty prompt")
    for name in ("model", "language", "prompt"):
        if name in expect:
            require(fields.get(name) == expect[name], f"{name} {fields.get(name)!r} instead of {expect[name]!r}")


def check_wav(wav, record):
    record["wav_bytes"] = len(wav)
    record["wav_sha256"] = hashlib.sha256(wav).hexdigest()
    require(len(wav) >= 44, f"a WAV of {len(wav)} bytes")
    (riff, riff_size, wave, fmt, fmt_size, tag, channels, rate, byte_rate, align, bits, data,
     data_size) = struct.unpack("<4sI4s4sIHHIIHH4sI", wav[:44])
    require((riff, wave, fmt, data) == (b"RIFF", b"WAVE", b"fmt ", b"data"), f"WAV header {wav[:44]!r}")
    require(riff_size == len(wav) - 8, f"RIFF size {riff_size} of {len(wav)} bytes")
    require(data_size == len(wav) - 44, f"data size {data_size} of {len(wav)} bytes")
    require((fmt_size, tag, channels, rate, byte_rate, align, bits) == (16, 1, 1, 16000, 32000, 2, 16),
            f"WAV format {(fmt_size, tag, channels, rate, byte_rate, align, bits)}")
    require(data_size % 2 == 0, "half a sample")
    record["wav_seconds"] = data_size / 32000


class Provider:
    """The server; a context manager that stops it."""

    def __init__(self, scenario=None, port=0, certificate=None, key=None, on_record=None):
        self._scenarios = [{"kind": "text", "text": ""}]
        if scenario is not None:
            self.set_scenario(scenario)
        self._context = None
        if certificate:
            self._context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            self._context.load_cert_chain(certificate, key)
        self._on_record = on_record
        self._changed = threading.Condition()
        self._connections = 0
        self._open = set()
        self.records = []
        self._listener = socket.create_server(("127.0.0.1", port), backlog=32)
        self.port = self._listener.getsockname()[1]
        self.base_url = f"{'https' if certificate else 'http'}://127.0.0.1:{self.port}"
        self._thread = threading.Thread(target=self._accept, daemon=True)
        self._thread.start()

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self.stop()

    def stop(self):
        # close() alone would leave a waiting accept() behind.
        try:
            self._listener.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass
        self._listener.close()
        with self._changed:
            streams = list(self._open)
        for stream in streams:
            try:
                stream.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass
        self._thread.join()

    def set_scenario(self, scenario):
        """From the next request on. A list serves one request with each."""
        self._scenarios = list(scenario) if isinstance(scenario, list) else [scenario]

    def connections(self):
        """How many connections there have been."""
        return self._connections

    def wait_for_records(self, count, timeout=30):
        """The records, once there are `count` of them."""
        with self._changed:
            if not self._changed.wait_for(lambda: len(self.records) >= count, timeout):
                raise TimeoutError(f"{len(self.records)} requests instead of {count}")
            return list(self.records)

    def _accept(self):
        while True:
            try:
                stream, _ = self._listener.accept()
            except OSError:
                return
            self._connections += 1
            threading.Thread(target=self._serve, args=(stream, self._connections), daemon=True).start()

    def _serve(self, stream, number):
        stream.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        try:
            if self._context:
                stream = self._context.wrap_socket(stream, server_side=True)
            with self._changed:
                self._open.add(stream)
            connection = Connection(stream, number)
            first = True
            while self._answer_one(connection, first):
                connection.first_byte = None
                first = False
        except OSError:
            pass  # The client left, as clients do.
        finally:
            with self._changed:
                self._open.discard(stream)
            stream.close()

    def _next_scenario(self):
        with self._changed:
            return self._scenarios.pop(0) if len(self._scenarios) > 1 else self._scenarios[0]

    def _keep(self, record):
        with self._changed:
            self.records.append(record)
            self._changed.notify_all()
        if self._on_record:
            self._on_record(record)

    def _answer_one(self, connection, first):
        """Reads one request and answers it. Whether the connection stays."""
        peek = self._scenarios[0]
        if first and peek.get("at") == "accept":
            self._next_scenario()
            self._keep({"valid": False, "complaint": "not read", "kind": peek["kind"],
                        "connection": connection.number})
            if peek["kind"] == "reset":
                # A reset that comes while the client still connects has Qt's socket connect again and again.
                heard = select.poll()
                heard.register(connection.stream, select.POLLIN | select.POLLRDHUP)
                heard.poll()
                connection.reset()
                return False
            left = select.poll()
            left.register(connection.stream, select.POLLRDHUP)
            left.poll()
            return False
        head = connection.read_head()
        if head is None:
            return False
        scenario = self._next_scenario()
        kind = scenario["kind"]
        record = {"valid": False, "complaint": None, "kind": kind, "connection": connection.number,
                  "first_byte": connection.first_byte}
        if kind == "early":
            self._send(connection, scenario.get("status", 413), scenario.get("body", "").encode(),
                       {"Connection": "close"})
            connection.stream.shutdown(socket.SHUT_WR)
            connection.wait_for_end()
            self._keep(record)
            return False
        wav = b""
        try:
            version, headers = parse_head(head, record)
            length = headers.get("content-length", ["0"])[0]
            require(length.isdecimal(), f"Content-Length {length!r}")
            length = int(length)
            if headers.get("expect"):  # curl asks before it sends a large body.
                connection.stream.sendall(b"HTTP/1.1 100 Continue\r\n\r\n")
            body = connection.read_body(length, scenario.get("read_rate"))
            record["last_byte"] = time.monotonic_ns()
            record["body_bytes"] = len(body)
            expect = scenario.get("expect", {})
            check_head(version, headers, record, expect)
            require(len(body) == length, f"{len(body)} bytes of {length}")
            wav = split_form(body, record)
            check_fields(record, expect)
            check_wav(wav, record)
            record["valid"] = True
        except Complaint as complaint:
            record["complaint"] = str(complaint)
        self._keep(record)
        if scenario.get("gate"):
            scenario["gate"].wait()
        if scenario.get("delay"):
            time.sleep(scenario["delay"])
        return self._act(connection, scenario, wav)

    def _send(self, connection, status, body, headers, length=None):
        lines = [f"HTTP/1.1 {status} Scenario", "Content-Type: text/plain; charset=utf-8",
                 f"Content-Length: {len(body) if length is None else length}"]
        lines += [f"{name}: {value}" for name, value in headers.items()]
        connection.stream.sendall("\r\n".join(lines).encode() + b"\r\n\r\n" + body)

    def _act(self, connection, scenario, wav):
        kind = scenario["kind"]
        text = scenario.get("text", "").encode()
        headers = scenario.get("headers", {})
        at = scenario.get("at", "request")
        if kind == "text":
            self._send(connection, 200, text, headers)
            return True
        if kind == "status":
            body = bytes.fromhex(scenario["body_hex"]) if "body_hex" in scenario else scenario.get("body", "").encode()
            self._send(connection, scenario["status"], body, headers)
            return True
        if kind == "engine":
            self._send(connection, 200, self._transcribe(scenario["command"], wav), headers)
            return True
        if kind == "redirect":
            location = scenario.get("location", self.base_url + "/elsewhere")
            self._send(connection, scenario.get("status", 307), b"", {"Location": location})
            return True
        if kind == "drip":
            self._send(connection, 200, b"", headers, len(text))
            for byte in text:
                time.sleep(scenario.get("interval", 0.1))
                connection.stream.sendall(bytes([byte]))
            return True
        if kind in ("stall", "reset", "truncated"):
            if at == "body" or kind == "truncated":
                self._send(connection, 200, text[:max(1, len(text) // 2)], headers, len(text) + 1000)
            if kind == "stall":
                connection.wait_for_end()
            elif kind == "reset":
                connection.reset()
            return False
        if kind == "nonsense":
            connection.stream.sendall(text)
            return False
        if kind == "endless":
            connection.stream.sendall(b"HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n")
            while True:
                connection.stream.sendall(b"x" * 262144)
        raise ValueError(f"scenario {kind!r}")

    @staticmethod
    def _transcribe(command, wav):
        with tempfile.NamedTemporaryFile(suffix=".wav") as file:
            file.write(wav)
            file.flush()
            command = [part.replace("{wav}", file.name) for part in command]
            return subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                  stderr=subprocess.DEVNULL, check=True).stdout


def main():
    parser = argparse.ArgumentParser(description="a speech-to-text provider on loopback, for tests")
    parser.add_argument("--scenario")
    parser.add_argument("--records")
    parser.add_argument("--certificate")
    parser.add_argument("--key")
    parser.add_argument("--port", type=int, default=0)
    parser.add_argument("--detached", action="store_true")
    options = parser.parse_args()
    output = threading.Lock()

    def tell(value):
        with output:
            print(json.dumps(value), flush=True)

    def keep(record):
        if options.records:
            with output, open(options.records, "a", encoding="utf-8") as file:
                file.write(json.dumps(record) + "\n")
        tell(record)

    scenario = None
    if options.scenario:
        with open(options.scenario, encoding="utf-8") as file:
            scenario = json.load(file)
    provider = Provider(scenario, options.port, options.certificate, options.key, keep)
    tell({"port": provider.port, "base_url": provider.base_url})
    if options.detached:
        threading.Event().wait()
    for line in sys.stdin:
        provider.set_scenario(json.loads(line))
        tell({"scenario": "set"})
    provider.stop()


if __name__ == "__main__":
    main()
