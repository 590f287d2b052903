"""A network and a file tree of one test's own, in which the model's host is a server of the test.

The product has no switch for the address of the model or for the certificates that it trusts. So a program is started
in namespaces of its own: there the model's host is this machine's own loopback interface, by a hosts file that is
mounted over the machine's, and the only authority that is trusted is the test's, by a folder of certificates that is
mounted over the machine's. Nothing is changed outside. Sockets with names in the file tree (display, bus, sound) stay
reachable.
"""
import json
import os
import pathlib
import re
import subprocess
import threading

from servers.certificates import make_certificates

from .waiting import wait_for

_ROOT = pathlib.Path(__file__).resolve().parents[3]
_SERVER = _ROOT / "tests/support/servers/model_server.py"
_PREPARE = ("ip link set lo up && mount --bind \"$1\" /etc/hosts && mount --bind \"$2\" /etc/ssl/certs && "
            "echo ready && exec sleep infinity")


def model_address():
    """The address from which the product fetches the model, as it stands in its source."""
    source = (_ROOT / "src/settings/locations.h").read_text(encoding="utf-8")
    return re.search(r'kModelRemoteURL =\s*u"([^"]+)"_s', source).group(1)


class PrivateNetwork:
    def __init__(self, desktop):
        self._desktop = desktop
        self.host = re.match(r"https://([^/]+)/", model_address()).group(1)
        folder = desktop.folder / "private"
        self._certificates = folder / "server"
        trusted = folder / "trusted"
        for path in (self._certificates, trusted):
            path.mkdir(parents=True)
        authority, _certificate, _key = make_certificates(self._certificates, (self.host, "localhost"))
        (trusted / "ca-certificates.crt").write_bytes(pathlib.Path(authority).read_bytes())
        (trusted / "authority.pem").write_bytes(pathlib.Path(authority).read_bytes())
        desktop.processes.run("openssl", "rehash", trusted)
        hosts = folder / "hosts"
        hosts.write_text(f"127.0.0.1 localhost {self.host}\n", encoding="ascii")
        # Who is not root may have namespaces of his own, as long as they are in a user namespace of his own as well.
        is_root = os.geteuid() == 0
        user = [] if is_root else ["--user", "--map-current-user", "--keep-caps"]
        self._holder = desktop.processes.start("private-network", ["unshare", *user, "--mount", "--net", "sh", "-c",
                                                                   _PREPARE, "sh", hosts, trusted])
        wait_for(lambda: "ready" in self._holder.output_text() or not self._holder.is_running,
                 what="the private network")
        if not self._holder.is_running:
            raise RuntimeError(f"there is no private network: {self._holder.error_text()}")
        # Starts a program inside. The program keeps the process id.
        self.prefix = ["nsenter", f"--target={self._holder.pid}", "--mount", "--net",
                       *([] if is_root else ["--user", "--preserve-credentials"])]

    def run(self, *command):
        return self._desktop.processes.run(*self.prefix, *command)

    def server(self, scenario):
        """The model's host: HTTPS with the certificate that is trusted inside."""
        return _Server(self._desktop, [*self.prefix, "/usr/bin/python3", _SERVER, "--port", 443, "--folder",
                                       self._certificates], scenario)


class _Server:
    def __init__(self, desktop, command, scenario):
        self._process = desktop.processes.start("model-server", command, pipe=True, stdin=subprocess.PIPE)
        self._told = []
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()
        wait_for(lambda: self._told or not self._process.is_running, what="the model server")
        if not self._process.is_running:
            raise RuntimeError(f"there is no model server: {self._process.error_text()}")
        self.set_scenario(scenario)

    def _read(self):
        for line in self._process.popen.stdout:
            self._told.append(json.loads(line))

    def _say(self, value):
        self._process.popen.stdin.write(json.dumps(value) + "\n")
        self._process.popen.stdin.flush()

    def set_scenario(self, scenario):
        known = self._told.count({"scenario": "set"})
        self._say(scenario)
        wait_for(lambda: self._told.count({"scenario": "set"}) > known, what="the model server's scenario")

    def release(self):
        self._say({"release": True})

    def requests(self):
        return [(told["host"], told["request"]) for told in list(self._told) if "request" in told]

    def close(self):
        self._process.popen.stdin.close()
        self._process.end()
        self._reader.join()
        self._process.popen.stdout.close()
