#!/usr/bin/python3
"""The package tavlo-wayland-keys: to whom it gives the keyboards, and that its removal takes them back."""
import os
import pathlib
import subprocess
import unittest

from machine import permission
from machine.keyboard import Keyboard, Mouse
from machine.root import as_root, check_as_root
from rig.waiting import wait_for

UINPUT = "/dev/uinput"
NOBODY = ("setpriv", "--reuid=65534", "--regid=65534", "--clear-groups")
SHOW_CONSOLE = "import fcntl, sys; fcntl.ioctl(open('/dev/tty0', 'w'), 0x5606, int(sys.argv[1]))"  # VT_ACTIVATE


def is_given(node):
    """Whether this user may read and write a device."""
    try:
        os.close(os.open(node, os.O_RDWR))
    except PermissionError:
        return False
    return True


def tags(node):
    words = subprocess.run(["udevadm", "info", "--query=property", "--name", node], stdout=subprocess.PIPE, text=True,
                           check=True).stdout.splitlines()
    return dict(word.split("=", 1) for word in words).get("CURRENT_TAGS", "").split(":")


class KeyboardPermission(unittest.TestCase):
    def setUp(self):
        self.addCleanup(permission.take_back)

    def test_given_to_the_user_at_the_screen_and_taken_back(self):
        with Keyboard() as keyboard, Mouse() as mouse:
            nodes = sorted(map(str, pathlib.Path("/dev/input").glob("event*")))
            self.assertIn(keyboard.node, nodes)
            for node in nodes:
                self.assertFalse(is_given(node), node)
            self.assertFalse(is_given(UINPUT))

            permission.give()
            # To what is plugged in already, and to this user alone.
            self.assertTrue(is_given(keyboard.node))
            self.assertTrue(is_given(UINPUT))
            for node in (keyboard.node, UINPUT):
                self.assertIn("uaccess", tags(node))
                self.assertIn("user:tester:rw-", check_as_root("getfacl", "--absolute-names", node).splitlines())
                self.assertNotEqual(as_root(*NOBODY, "test", "-r", node)[0], 0)
            self.assertFalse(is_given(mouse.node))
            self.assertNotIn("uaccess", tags(mouse.node))
            with Keyboard() as later:
                self.assertTrue(is_given(later.node))

            permission.take_back()
            for node in (*nodes, UINPUT):
                self.assertFalse(is_given(node), node)
                self.assertNotIn("uaccess", tags(node))
            with Keyboard() as later:
                self.assertFalse(is_given(later.node))

    def test_given_only_while_the_session_is_on_the_screen(self):
        permission.give()
        with Keyboard() as keyboard:
            self.assertTrue(is_given(keyboard.node))
            self.addCleanup(as_root, "/usr/bin/python3", "-c", SHOW_CONSOLE, "1")
            check_as_root("/usr/bin/python3", "-c", SHOW_CONSOLE, "2")
            wait_for(lambda: not is_given(keyboard.node), what="the keyboard to be taken away")
            wait_for(lambda: not is_given(UINPUT), what="uinput to be taken away")
            with Keyboard() as later:
                self.assertFalse(is_given(later.node))
            check_as_root("/usr/bin/python3", "-c", SHOW_CONSOLE, "1")
            wait_for(lambda: is_given(keyboard.node), what="the keyboard to be given again")
            wait_for(lambda: is_given(UINPUT), what="uinput to be given again")

    def test_its_scripts_end_well_where_no_udev_runs(self):
        check_as_root("dpkg-deb", "--control", permission.package(), "/tmp/control")
        for script in ("postinst configure", "postrm remove", "postrm purge"):
            with self.subTest(script=script):
                self.assertEqual(as_root("unshare", "--mount", "sh", "-ec",
                                         f"mount -t tmpfs none /run; exec /tmp/control/{script}"), (0, ""))


if __name__ == "__main__":
    unittest.main(verbosity=2)
