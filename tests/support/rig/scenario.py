"""The base of the end-to-end tests."""
import os
import pathlib
import unittest

from .desktop import Desktop
from .tavlo import Tavlo


class Scenario(unittest.TestCase):
    """A test on a desktop of its own. On a failure it prints what the desktop's programs and Tavlo said; where the
    variable TAVLO_TEST_ARTIFACTS names a folder, a picture of the screen is left there."""

    maxDiff = None

    def desktop(self, **options):
        """A running desktop, closed at the test's end."""
        desktop = Desktop(**options)
        self.enterContext_(desktop)
        self.addCleanup(self._tell, desktop)
        return desktop

    def tavlo(self, desktop, **options):
        """The running program; at the test's end it must end well and must have kept silent."""
        return self.enterContext_(Tavlo(desktop, **options))

    def enterContext_(self, manager):
        value = manager.__enter__()
        self.addCleanup(self._leave, manager)
        return value

    def _has_failed(self):
        # unittest keeps what has failed so far in its result; there is no public question for one test.
        result = self._outcome.result
        return any(test is self or getattr(test, "test_case", None) is self
                   for test, _ in [*result.failures, *result.errors]) or not self._outcome.success

    def _leave(self, manager):
        if self._has_failed():
            manager.__exit__(AssertionError, None, None)
        else:
            manager.__exit__(None, None, None)

    def _tell(self, desktop):
        if not self._has_failed():
            return
        print(f"\n=== {self.id()} failed; the desktop said:\n{desktop.report()}", flush=True)
        log = desktop.data_home / "Tavlo/app.log"
        if log.exists():
            print(f"--- app.log\n{log.read_text(errors='replace')}", flush=True)
        folder = os.environ.get("TAVLO_TEST_ARTIFACTS")
        if folder:
            pathlib.Path(folder).mkdir(parents=True, exist_ok=True)
            desktop.screenshot(pathlib.Path(folder, self.id() + ".png"))


def main():
    unittest.main(verbosity=2)
