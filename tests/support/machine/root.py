"""What only root may do, asked of machine/root_server.py."""
import json
import socket

from .root_server import SOCKET


class Root:
    """One connection. What it plugged in is unplugged when it is closed."""

    def __init__(self):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.connect(SOCKET)
        self._stream = self._socket.makefile("rw", encoding="utf-8")

    def ask(self, **request):
        self._stream.write(json.dumps(request) + "\n")
        self._stream.flush()
        answer = json.loads(self._stream.readline())
        if "problem" in answer:
            raise RuntimeError(f"{request}: {answer['problem']}")
        return answer

    def close(self):
        self._stream.close()
        self._socket.close()


def as_root(*command):
    """Runs a command as root to its end; gives its status and its output."""
    connection = Root()
    try:
        answer = connection.ask(do="run", command=[str(word) for word in command])
    finally:
        connection.close()
    return answer["status"], answer["output"]


def check_as_root(*command):
    """Runs a command as root, which must succeed; gives its output."""
    status, output = as_root(*command)
    if status != 0:
        raise RuntimeError(f"{' '.join(map(str, command))} ended with {status}: {output.strip()}")
    return output
