#!/usr/bin/python3
"""Keyboards of the kernel as an ordinary user sees them: what he may read, what arrives, what comes and goes."""
import os
import pathlib
import pwd
import select
import stat
import unittest

import evdev
import pyudev
from evdev import ecodes
from machine.keyboard import Keyboard
from machine.root import check_as_root
from rig.waiting import PATIENCE

RULES = pathlib.Path("/etc/udev/rules.d/70-tavlo-test.rules")
# Only the keyboards of this test, which are unplugged at its end: a group stays on a device when its rule goes, and the
# machine has a keyboard of its own that the next tests must find closed.
LET_THE_USER_READ = ('SUBSYSTEM=="input", KERNEL=="event*", ENV{ID_INPUT_KEYBOARD}=="1", ATTRS{name}=="Test keyboard*", '
                     'GROUP="tester", MODE="0640"')


def install_rule(text):
    check_as_root("sh", "-c", 'printf "%s\\n" "$1" >"$2"', "sh", text, RULES)
    apply_rules()


def remove_rule():
    check_as_root("rm", "-f", RULES)
    apply_rules()


def apply_rules():
    check_as_root("udevadm", "control", "--reload")
    check_as_root("udevadm", "trigger", "--settle", "--subsystem-match=input", "--action=change")


def next_keys(device, count):
    """The next changes of keys that the device reports, as (code, value)."""
    found = []
    while len(found) < count:
        if not select.select([device], [], [], 10 * PATIENCE)[0]:
            raise AssertionError(f"no more than {found} arrived")
        found += [(event.code, event.value) for event in device.read() if event.type == ecodes.EV_KEY]
    return found


class InputDevices(unittest.TestCase):
    def setUp(self):
        self.addCleanup(remove_rule)

    def test_lone_modifiers_and_escape_arrive_where_a_rule_lets_the_user_read(self):
        self.assertEqual(pwd.getpwuid(os.getuid()).pw_name, "tester")
        install_rule(LET_THE_USER_READ)
        with Keyboard() as keyboard:
            device = evdev.InputDevice(keyboard.node)
            self.addCleanup(device.close)
            self.assertEqual(device.name, keyboard.name)
            for key, code in (("RIGHTMETA", 126), ("RIGHTCTRL", 97), ("ESC", 1)):
                keyboard.press(key)
                self.assertEqual(next_keys(device, 2), [(code, 1), (code, 0)])

    def test_without_a_rule_the_user_is_refused(self):
        with Keyboard() as keyboard:
            self.assertTrue(stat.S_ISCHR(os.stat(keyboard.node).st_mode))
            with self.assertRaises(PermissionError):
                os.open(keyboard.node, os.O_RDONLY)
            with self.assertRaises(PermissionError):
                os.open("/dev/uinput", os.O_WRONLY)
            install_rule(LET_THE_USER_READ)
            os.close(os.open(keyboard.node, os.O_RDONLY))
            # What is plugged in after the rule has gone is closed again.
            remove_rule()
            keyboard.unplug()
            keyboard.plug()
            with self.assertRaises(PermissionError):
                os.open(keyboard.node, os.O_RDONLY)

    def test_a_keyboard_that_is_plugged_in_later_is_told(self):
        monitor = pyudev.Monitor.from_netlink(pyudev.Context())
        monitor.filter_by("input")
        monitor.start()
        with Keyboard() as keyboard:
            added = self.next_event(monitor, "add", keyboard.node)
            self.assertEqual(added.properties.get("ID_INPUT_KEYBOARD"), "1")
        self.next_event(monitor, "remove", keyboard.node)

    def next_event(self, monitor, action, node):
        while True:
            device = monitor.poll(timeout=10 * PATIENCE)
            self.assertIsNotNone(device, f"nobody told of {action} of {node}")
            if device.action == action and device.device_node == node:
                return device


if __name__ == "__main__":
    unittest.main(verbosity=2)
