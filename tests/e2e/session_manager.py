#!/usr/bin/python3
"""A desktop whose session manager knows Tavlo: it must not start Tavlo again beside the login item, and at the session's
end Tavlo goes along, with the volume brought back and its files whole."""
from rig import Desktop, Scenario, Tavlo, main
from rig.session import RESTART_NEVER, SessionManager
from rig.waiting import wait_for

ROUNDING = 2 / 65536
CONFIG = {"app_language": "en", "engine": "local", "duck_enabled": True, "duck_volume": 0.2, "not_known_here": [1]}


class SessionManaged(Scenario):
    """One desktop for all tests; each has a session manager of its own and starts Tavlo anew."""

    @classmethod
    def setUpClass(cls):
        cls.shared = Desktop(keyring="absent")
        cls.shared.__enter__()
        cls.addClassCleanup(cls.shared.close)

    def setUp(self):
        self.addCleanup(self._tell, self.shared)
        self.shared.sound.set_volume(0.8)
        self.wait_for_volume(0.8)
        self.shared.ear.forget()

    def start(self):
        self.session = SessionManager(self.shared)
        tavlo = self.enterContext_(Tavlo(self.shared, config=CONFIG, model=False, engine_program=False,
                                         environment=self.session.environment))
        # The first of these comes by itself, when a program enters the session.
        self.session.wait_for("done")
        return tavlo

    def wait_for_volume(self, volume):
        wait_for(lambda: abs(self.shared.sound.volume() - volume) < ROUNDING, what=f"the volume {volume}",
                 show=self.shared.sound.volume)

    def record(self, tavlo):
        tavlo.begin()
        self.wait_for_volume(0.2)

    def wait_for_end(self, tavlo):
        process, tavlo.process = tavlo.process, None
        wait_for(lambda: not process.is_running, what="Tavlo to end")
        process.end()
        return process

    def check_left_well(self, tavlo):
        self.wait_for_volume(0.8)
        self.assertEqual(tavlo.read_config(), CONFIG)
        self.assertEqual(tavlo.log(), [])
        self.assertEqual(sorted(path.name for path in tavlo.support.iterdir()), ["app.log", "config.json"])

    def check_gone(self, tavlo):
        tavlo.check_end(self.wait_for_end(tavlo))
        self.check_left_well(tavlo)
        self.session.wait_for("left")

    def test_asks_never_to_be_restarted(self):
        tavlo = self.start()
        self.assertEqual(len(self.session.events("registered")), 1)
        self.assertEqual(self.session.hints()[-1:], [RESTART_NEVER])

        # At each later time as well, whatever is to be saved.
        for count, word in ((2, "save"), (3, "shutdown")):
            with self.subTest(word):
                before = len(self.session.hints())
                self.session.order(word)
                self.session.wait_for("done", count)
                self.assertEqual(set(self.session.hints()[before:]), {RESTART_NEVER})
        self.assertTrue(all(event["success"] for event in self.session.events("done")))
        self.assertEqual(self.session.events("interacted"), [], "nobody was to be asked anything")
        self.session.order("die")
        self.check_gone(tavlo)

    def test_log_out_while_idle(self):
        tavlo = self.start()
        self.session.order("shutdown")
        self.session.wait_for("done", 2)
        self.session.order("die")
        self.check_gone(tavlo)

    def test_log_out_while_recording(self):
        tavlo = self.start()
        self.record(tavlo)
        self.session.order("shutdown")
        self.session.wait_for("done", 2)
        self.session.order("die")
        self.check_gone(tavlo)

    def test_log_out_with_windows_open(self):
        tavlo = self.start()
        for count, row in enumerate(("Settings…", "About Tavlo…"), start=1):
            tavlo.click(row)
            wait_for(lambda: len(tavlo.windows()) == count, what=row, show=tavlo.windows)
        self.record(tavlo)
        self.session.order("shutdown")
        self.session.wait_for("done", 2)
        self.session.order("die")
        self.check_gone(tavlo)

    def test_log_out_that_the_user_calls_off(self):
        """Another program may ask whether to log out: meanwhile, and afterwards, the recording goes on."""
        tavlo = self.start()
        self.record(tavlo)
        self.session.order("shutdown")
        self.session.wait_for("done", 2)
        self.assertTrue(tavlo.is_recording())
        self.session.order("cancel")
        self.shared.hands.press("Escape")
        tavlo.wait_for_status("Recording cancelled")
        self.wait_for_volume(0.8)

        # It takes part in the session as before.
        self.record(tavlo)
        self.session.order("shutdown")
        self.session.wait_for("done", 3)
        self.session.order("die")
        self.check_gone(tavlo)

    def test_session_manager_crashes_while_recording(self):
        """The protocol's library then ends each program of the session by exit()."""
        tavlo = self.start()
        self.record(tavlo)
        self.session.crash()
        process = self.wait_for_end(tavlo)
        self.assertRegex(process.error_text(), r"\AICE default IO error handler doing an exit\(\).*\n\Z")
        self.assertEqual(process.popen.returncode, 1)
        self.check_left_well(tavlo)


if __name__ == "__main__":
    main()
