"""A real Secret Service for the virtual desktop: gnome-keyring."""
import os
import socket
import struct
import subprocess

from .waiting import wait_for

PASSWORD = "rig"
_SERVICE = "org.freedesktop.secrets"
_LABEL = "Tavlo"


class Keyring:
    """state: "unlocked", "locked" (the login keyring exists and is locked) or "absent" (start() brings one)."""

    def __init__(self, desktop, state="unlocked"):
        if state not in ("unlocked", "locked", "absent"):
            raise ValueError(f"no such state of a keyring: {state}")
        self._desktop = desktop
        self._daemon = None
        if state != "absent":
            self.start()
        if state == "locked":
            self.lock()

    def start(self, unlocked=True):
        """Starts the daemon. The login keyring is made at the first start that unlocks it."""
        command = ["gnome-keyring-daemon", "--foreground", "--components=secrets"]
        if unlocked:
            command.append("--unlock")
        self._daemon = self._desktop.processes.start("gnome-keyring", command,
                                                     stdin=subprocess.PIPE if unlocked else None)
        if unlocked:
            # The password is all that stands before the end of the standard input.
            self._daemon.popen.stdin.write(PASSWORD.encode())
            self._daemon.popen.stdin.close()
        wait_for(lambda: self._desktop.bus.has_owner(_SERVICE), what="the keyring on the bus")
        # The default collection appears some time after the name.
        if unlocked:
            wait_for(self._has_open_login_keyring, what="the login keyring to be open")

    def stop(self):
        self._daemon.end()
        self._daemon = None

    def _collection_property(self, name):
        return self._desktop.bus.get(_SERVICE, "/org/freedesktop/secrets/aliases/default",
                                     "org.freedesktop.Secret.Collection", name)

    def _has_open_login_keyring(self):
        return self._collection_property("Locked") is False

    def lock(self):
        self._desktop.processes.run("gdbus", "call", "--session", "--dest", _SERVICE, "--object-path",
                                    "/org/freedesktop/secrets", "--method", "org.freedesktop.Secret.Service.Lock",
                                    "['/org/freedesktop/secrets/collection/login']")
        wait_for(lambda: self._collection_property("Locked") is True, what="the keyring to be locked")

    def unlock(self):
        """Unlocks the login keyring without a prompt, the way a desktop's login does it."""
        password = PASSWORD.encode()
        request = struct.pack(">II", 12 + len(password), 1) + struct.pack(">I", len(password)) + password
        with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as link:
            link.settimeout(10)
            link.connect(os.fspath(self._desktop.runtime_folder / "keyring/control"))
            link.sendall(b"\0")  # carries our credentials
            link.sendall(request)
            answer = link.recv(64)
        if struct.unpack(">II", answer[:8]) != (8, 0):
            raise RuntimeError(f"the keyring did not open: {answer!r}")
        wait_for(self._has_open_login_keyring, what="the keyring to be open")

    def put(self, service, account, secret, label=_LABEL):
        """Stores an item the way another program would. `secret` is text or bytes."""
        data = secret if isinstance(secret, bytes) else secret.encode()
        subprocess.run(["secret-tool", "store", f"--label={label}", "service", service, "account", account], input=data,
                       env=self._desktop.environment, check=True, timeout=20, stdout=subprocess.DEVNULL)

    def get(self, service, account):
        """The secret as bytes, or None."""
        done = subprocess.run(["secret-tool", "lookup", "service", service, "account", account],
                              env=self._desktop.environment, check=False, timeout=20, stdout=subprocess.PIPE,
                              stdin=subprocess.DEVNULL)
        return done.stdout if done.returncode == 0 else None

    def clear(self, service, account):
        subprocess.run(["secret-tool", "clear", "service", service, "account", account], env=self._desktop.environment,
                       check=True, timeout=20, stdin=subprocess.DEVNULL)
