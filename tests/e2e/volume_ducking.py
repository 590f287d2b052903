#!/usr/bin/python3
"""The output's volume while Tavlo records, step by step as the sound server was given it."""
import re

from rig import Desktop, Scenario, Tavlo, main
from rig.audio import SPEAKERS
from rig.waiting import PATIENCE, wait_for

STEPS = 15
ROUNDING = 2 / 65536  # of the server's own scale
CONFIG = {"app_language": "en", "engine": "local", "duck_enabled": True, "duck_volume": 0.2}
DUCK_ROW = "Duck music while recording"


def fade(begin, end):
    return [begin + (end - begin) * step / STEPS for step in range(1, STEPS + 1)]


class VolumeDucking(Scenario):
    """One Tavlo for all tests; each sets the volume, and leaves it where it was."""

    @classmethod
    def setUpClass(cls):
        cls.shared = Desktop(window_manager=False, keyring="absent", volume_history=True)
        cls.shared.__enter__()
        cls.addClassCleanup(cls.shared.close)
        cls.program = Tavlo(cls.shared, config=CONFIG, model=False, engine_program=False)
        cls.program.__enter__()
        cls.addClassCleanup(cls.program.__exit__, None, None, None)

    def setUp(self):
        self.addCleanup(self._tell, self.shared)
        self.sound, self.tavlo = self.shared.sound, self.program
        self.tavlo.write_config(CONFIG)
        self.log_before = self.tavlo.log()
        self.set_volume(0.8)

    def set_volume(self, volume):
        """The user's own hand. What is looked at from then on is what Tavlo does."""
        self.sound.set_volume(volume)
        wait_for(lambda: abs(self.sound.volumes()[-1][1] - volume) < ROUNDING if self.sound.volumes() else volume == 1,
                 what=f"the volume {volume}", show=self.sound.volumes)
        self.mark = len(self.sound.volumes())

    def given(self):
        return self.sound.volumes()[self.mark:]

    def wait_for_volumes(self, expected):
        """Waits until exactly these volumes were given since the mark, and sets the mark there."""
        wait_for(lambda: len(self.given()) >= len(expected), what=f"{len(expected)} volumes", show=self.given)
        given = self.given()
        self.assertEqual(len(given), len(expected), given)
        for (_time, volume), wanted in zip(given, expected):
            self.assertAlmostEqual(volume, wanted, delta=ROUNDING, msg=given)
        self.mark += len(expected)
        return given

    def begin(self):
        self.tavlo.begin()

    def cancel(self):
        self.shared.hands.press("Escape")
        self.tavlo.wait_for_status("Recording cancelled")

    def check_duration(self, given):
        """The steps are 30 milliseconds apart; they come a little late on a busy machine, and do not add up."""
        self.assertLess(given[-1][0] - given[0][0], 0.03 * (STEPS - 1) + 0.25 * PATIENCE, given)

    def test_fifteen_steps_down_and_fifteen_back_up(self):
        self.assertTrue(self.tavlo.find(DUCK_ROW).checked)
        self.begin()
        self.check_duration(self.wait_for_volumes(fade(0.8, 0.2)))
        self.tavlo.finish()
        self.check_duration(self.wait_for_volumes(fade(0.2, 0.8)))
        self.assertEqual(self.tavlo.icon(), "mic")

    def test_cancelled_recording_brings_the_volume_back_too(self):
        self.begin()
        self.wait_for_volumes(fade(0.8, 0.2))
        self.cancel()
        self.wait_for_volumes(fade(0.2, 0.8))

    def test_recording_ended_in_the_middle_of_the_fade_down(self):
        self.begin()
        wait_for(self.given, what="the first step")
        self.shared.hands.press("Escape")
        wait_for(lambda: self.given() and abs(self.given()[-1][1] - 0.8) < ROUNDING, what="the volume to be back",
                 show=self.given)
        values = [volume for _time, volume in self.given()]
        down = values.index(min(values)) + 1
        self.assertLessEqual(down, STEPS)
        for value, wanted in zip(values, fade(0.8, 0.2)[:down] + fade(values[down - 1], 0.8), strict=True):
            self.assertAlmostEqual(value, wanted, delta=ROUNDING, msg=values)

    def test_change_by_the_user_while_recording_makes_no_jump(self):
        self.begin()
        self.wait_for_volumes(fade(0.8, 0.2))
        self.set_volume(0.5)
        self.cancel()
        self.wait_for_volumes(fade(0.5, 0.8))

    def test_recording_begun_while_the_volume_still_comes_back(self):
        """It never drifts down: what is saved is the volume to which the fade was going."""
        self.begin()
        self.wait_for_volumes(fade(0.8, 0.2))
        self.cancel()
        wait_for(self.given, what="the first step up")
        self.begin()
        wait_for(lambda: abs(self.given()[-1][1] - 0.2) < ROUNDING, what="the volume to be down", show=self.given)
        self.mark = len(self.sound.volumes())
        self.cancel()
        self.wait_for_volumes(fade(0.2, 0.8))

    def test_volume_that_is_lower_already_is_left_alone(self):
        for volume in (0.15, 0.2):
            with self.subTest(volume=volume):
                self.set_volume(volume)
                self.begin()
                self.cancel()
                # A later recording at a higher volume is ducked: the one before has left nothing behind.
                self.assertEqual(self.given(), [])
                self.set_volume(0.8)
                self.begin()
                self.wait_for_volumes(fade(0.8, 0.2))
                self.cancel()
                self.wait_for_volumes(fade(0.2, 0.8))

    def test_switched_off_in_the_menu(self):
        self.tavlo.click(DUCK_ROW)
        wait_for(lambda: not self.tavlo.find(DUCK_ROW).checked, what="the check mark to go")
        self.assertIs(self.tavlo.read_config()["duck_enabled"], False)
        self.begin()
        self.cancel()
        self.tavlo.click(DUCK_ROW)
        wait_for(lambda: self.tavlo.find(DUCK_ROW).checked, what="the check mark")
        self.assertEqual(self.given(), [])
        self.begin()
        self.wait_for_volumes(fade(0.8, 0.2))
        self.cancel()
        self.wait_for_volumes(fade(0.2, 0.8))

    def channels(self):
        return [int(part) for part in re.findall(r"(\d+) /", self.sound.pactl("get-sink-volume", SPEAKERS))]

    def test_balance_between_left_and_right_is_kept(self):
        self.sound.pactl("set-sink-volume", SPEAKERS, 52429, 26214)  # 0.8 and 0.4
        wait_for(lambda: self.channels() == [52429, 26214], what="the balance", show=self.channels)
        self.mark = len(self.sound.volumes())
        self.begin()
        self.wait_for_volumes(fade(0.8, 0.2))
        left, right = self.channels()
        self.assertAlmostEqual(left / right, 2, delta=0.001)
        self.cancel()
        self.wait_for_volumes(fade(0.2, 0.8))
        left, right = self.channels()
        self.assertEqual(left, 52429)
        self.assertAlmostEqual(right, 26214, delta=2)

    def test_other_output_chosen_while_recording(self):
        """The output that was lowered is brought back; the other one is not touched."""
        self.sound.add_sink("headphones")
        self.sound.set_volume(0.6, "headphones")
        try:
            self.begin()
            self.wait_for_volumes(fade(0.8, 0.2))
            self.sound.set_default_sink("headphones")
            self.assertTrue(self.tavlo.is_recording())
            self.cancel()
            self.wait_for_volumes(fade(0.2, 0.8))
            self.assertEqual([round(volume, 4) for _time, volume in self.sound.volumes("headphones")], [0.6])
        finally:
            self.sound.set_default_sink(SPEAKERS)
            self.sound.remove("headphones")

    def test_output_unplugged_while_it_is_lowered(self):
        self.sound.add_sink("headphones")
        self.sound.set_default_sink("headphones")
        self.begin()
        wait_for(lambda: abs(self.sound.volume("headphones") - 0.2) < ROUNDING, what="the headphones to be lowered")
        self.sound.remove("headphones")
        self.cancel()
        self.sound.set_default_sink(SPEAKERS)
        self.assertEqual(self.given(), [])
        # The next recording lowers what is there now.
        self.begin()
        self.wait_for_volumes(fade(0.8, 0.2))
        self.cancel()
        self.wait_for_volumes(fade(0.2, 0.8))
        self.assertEqual(self.tavlo.log(), self.log_before)


class VolumeDuckingOnPipeWire(Scenario):
    def test_down_and_back_up(self):
        desktop = self.desktop(window_manager=False, keyring="absent", sound="pipewire")
        desktop.sound.set_volume(0.8)
        tavlo = self.tavlo(desktop, config=CONFIG, model=False, engine_program=False)
        for _repetition in range(2):
            tavlo.begin()
            wait_for(lambda: abs(desktop.sound.volume() - 0.2) < 0.001, what="the volume to be down",
                     show=desktop.sound.volume)
            desktop.hands.press("Escape")
            tavlo.wait_for_status("Recording cancelled")
            wait_for(lambda: abs(desktop.sound.volume() - 0.8) < 0.001, what="the volume to be back",
                     show=desktop.sound.volume)


if __name__ == "__main__":
    main()
