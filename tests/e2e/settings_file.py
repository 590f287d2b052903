#!/usr/bin/python3
"""The settings file: missing, damaged, unreadable, of somebody else's making, and changed while Tavlo runs."""
import json
import os
import pathlib
import re
import shutil

from rig import main, wait_for
from rig.cloud import SERVICE
from rig.local import ENGINE_DUTCH, ENGLISH, LocalScenario
from rig.tavlo import Tavlo

READY = "Klaar - druk op de sneltoets om te dicteren"
TEMPLATE = {
    "app_language": "nl",
    "duck_enabled": True,
    "duck_volume": 0.08,
    "engine": "auto",
    "groq_model": "whisper-large-v3-turbo",
    "hotkey": "rechter-command",
    "language": "nl",
    "openai_api_key": "",
    "openai_model": "gpt-4o-transcribe",
    "provider": "openai",
    "vocabulary": "Claude Code, git, commit, branch, deploy, terminal, PHP, WordPress, SEO, API",
}
DUCK = "Muziek dempen tijdens opname"
BROKEN = {
    "empty": b"",
    "an array": b'[{"app_language": "en"}]',
    "a bare string": b'"en"',
    "cut short": b'{"app_language": "en", "hotkey": "rechter-sh',
    "two documents": b'{"app_language": "en"} {"app_language": "en"}',
    "no UTF-8": b'{"app_language": "en", "vocabulary": "\xff\xfe"}',
    "zeros": bytes(300),
}


def mode(path):
    return path.stat().st_mode & 0o777


class SettingsFile(LocalScenario):
    def check_defaults(self, tavlo, status=READY, **more):
        self.check_menu(tavlo, status, engine=ENGINE_DUTCH, language="nl", **{"ducks": True, **more})

    def record_and_cancel(self, tavlo, key="Super_R", label="Rechter ⌘ Command"):
        tavlo.begin(key)
        self.assertEqual(tavlo.status(), f"Opnemen… {label} = stop, Esc = annuleren")
        self.check_sounds("Pop", basso=None)  # Two sounds at once could not be told from each other.
        self.shared.hands.press("Escape")
        tavlo.wait_for_status("Opname geannuleerd")
        tavlo.wait_for_icon("mic")
        self.check_sounds("Basso", basso=None)
        # Lowered by default, and back.
        volume = self.shared.sound.volume
        wait_for(lambda: abs(volume() - 1.0) < 0.001, what="the volume to be back", show=volume)

    def prepare(self, content):
        """A Tavlo that is not started yet, with this as its settings file."""
        return Tavlo(self.shared, config=content)

    def read_text(self, tavlo):
        return tavlo.config_path.read_text(encoding="utf-8")

    def check_layout(self, tavlo):
        """The file is pretty-printed with its keys in order, for its owner's eyes only."""
        text = self.read_text(tavlo)
        keys = re.findall(r'^    "([^"]+)":', text, re.MULTILINE)
        self.assertEqual(keys, sorted(json.loads(text)))
        self.assertEqual(mode(tavlo.config_path), 0o600)
        self.assertEqual(mode(tavlo.support), 0o700)

    def test_missing_file_becomes_the_template(self):
        tavlo = self.start(None, model=False, engine_program=False)
        self.assertEqual(tavlo.read_config(), TEMPLATE)
        self.check_layout(tavlo)
        self.check_defaults(tavlo)
        self.assertEqual(sorted(path.name for path in tavlo.support.iterdir()), ["app.log", "config.json"])
        self.assertEqual(tavlo.log(), [])

        tavlo.click(DUCK)
        wait_for(lambda: not tavlo.find(DUCK).checked, what="the check mark to go")
        self.assertEqual(tavlo.read_config(), {**TEMPLATE, "duck_enabled": False})
        self.check_layout(tavlo)
        self.check_defaults(tavlo, ducks=False)

        tavlo.click("🌐 Taal / Language", "🇳🇱 Nederlands")
        tavlo.wait_for_log(["Taal gewijzigd naar nl"])
        self.assertEqual(mode(tavlo.log_path), 0o600)
        # Deleted while it runs: the defaults are in force at once, and a change makes a file of that key alone.
        tavlo.config_path.unlink()
        self.record_and_cancel(tavlo)
        self.check_defaults(tavlo, "Opname geannuleerd")
        tavlo.click("Sneltoets", "Rechter ⇧ Shift")
        tavlo.wait_for_status("Sneltoets is nu: Rechter ⇧ Shift")
        self.assertEqual(tavlo.read_config(), {"hotkey": "rechter-shift"})
        self.check_layout(tavlo)
        # So does a missing folder: what cannot be written is dropped.
        shutil.rmtree(tavlo.support)
        tavlo.click(DUCK)
        tavlo.click("🌐 Taal / Language", "🇬🇧 English")
        tavlo.wait_for_status("Ready - press the hotkey to dictate")
        self.assertFalse(tavlo.support.exists())
        self.assertTrue(tavlo.find("Duck music while recording").checked)

    def test_damaged_file_reads_as_defaults_and_is_replaced_by_the_first_change(self):
        # Without a readable file there is no key either.
        self.shared.keyring.put(SERVICE, "openai_api_key", "sk-in-the-keyring")
        for name, content in BROKEN.items():
            with self.subTest(name):
                self.shared.ear.forget()
                with Tavlo(self.shared, config=content) as tavlo:
                    self.check_defaults(tavlo)
                    self.assertEqual(tavlo.config_path.read_bytes(), content, "the template replaces nothing")
                    self.assertEqual(tavlo.log(), [])
                    self.record_and_cancel(tavlo)
                    tavlo.click("Sneltoets", "Fn 🌐 (wereldbol)")
                    tavlo.wait_for_status("Sneltoets is nu: Fn 🌐 (wereldbol) - zet evt. Systeeminstellingen ▸ "
                                          "Toetsenbord ▸ 'Druk op 🌐' op 'Doe niets'")
                    self.assertEqual(tavlo.read_config(), {"hotkey": "fn"})
                    self.check_layout(tavlo)
                    # Now it is a file of settings again, and there is a key.
                    wait_for(lambda: tavlo.engine_line() == "Engine: OpenAI gpt-4o-transcribe + lokale fallback",
                             what="the engine line to tell of the key", show=tavlo.engine_line)

    def test_values_of_the_wrong_type_and_out_of_range(self):
        tavlo = self.start({"app_language": 7, "language": None, "hotkey": ["rechter-shift"], "duck_enabled": "false",
                            "custom_keycode": "12", "custom_label": {}, "custom_is_modifier": 1, "engine": False,
                            "provider": 1.5, "duck_volume": "loud"})
        self.check_defaults(tavlo)
        self.record_and_cancel(tavlo)
        # An unknown language is Dutch, an unknown provider OpenAI, which then has no key of that name.
        tavlo.set(app_language="EN", provider="GROQ", custom_keycode=96.5, hotkey="custom", duck_enabled=True)
        self.shared.hands.press("F5")
        self.record_and_cancel(tavlo)
        self.check_defaults(tavlo, "Opname geannuleerd")
        tavlo.set(custom_keycode=96.0)
        self.record_and_cancel(tavlo, "F5", "Toets 96")

    def check_dropped(self, tavlo):
        """All changes are dropped without a word, and everything works with the defaults."""
        self.check_defaults(tavlo)
        self.record_and_cancel(tavlo)
        tavlo.click(DUCK)
        tavlo.click("Sneltoets", "Rechter ⇧ Shift")
        # Read back from the file: still the default.
        tavlo.wait_for_status("Sneltoets is nu: Rechter ⌘ Command")
        self.check_defaults(tavlo, "Sneltoets is nu: Rechter ⌘ Command")
        self.assertEqual(tavlo.log(), [])

    def test_folder_in_place_of_the_file(self):
        manager = self.prepare(b"")
        manager.config_path.unlink()
        manager.config_path.mkdir()
        (manager.config_path / "something").write_text("else")
        tavlo = self.enterContext_(manager)
        self.check_dropped(tavlo)
        self.assertEqual([path.name for path in tavlo.config_path.iterdir()], ["something"])

    def test_pipe_in_place_of_the_file(self):
        manager = self.prepare(b"")
        manager.config_path.unlink()
        os.mkfifo(manager.config_path)
        tavlo = self.enterContext_(manager)
        self.check_dropped(tavlo)
        self.assertTrue(tavlo.config_path.is_fifo())

    def test_file_that_may_not_be_read(self):
        manager = Tavlo(self.shared, config={"app_language": "en", "hotkey": "rechter-shift"}, prefix=(
            # The superuser reads everything, unless this right is taken away.
            ["setpriv", "--bounding-set=-dac_override,-dac_read_search"] if os.geteuid() == 0 else []))
        content = manager.config_path.read_bytes()
        manager.config_path.chmod(0)
        tavlo = self.enterContext_(manager)
        self.check_dropped(tavlo)
        self.assertEqual(tavlo.config_path.read_bytes() if os.geteuid() == 0 else content, content)
        self.assertEqual(mode(tavlo.config_path), 0)
        # Allowed again: in force at the next key.
        tavlo.config_path.chmod(0o600)
        self.record_and_cancel(tavlo, "Shift_R", "Rechter ⇧ Shift")

    def test_unknown_keys_and_the_link_to_the_file_are_kept(self):
        elsewhere = self.shared.folder / "dotfiles"
        elsewhere.mkdir()
        target = elsewhere / "tavlo.json"
        config = {"zebra": {"nested": [1, 2.5, None, "é"]}, "app_language": "nl", "engine": "local", "Aap": True,
                  "big": 9007199254740993}
        target.write_text(json.dumps(config), encoding="utf-8")
        target.chmod(0o644)
        manager = self.prepare(b"")
        manager.support.chmod(0o755)
        manager.config_path.unlink()
        manager.config_path.symlink_to(target)
        tavlo = self.enterContext_(manager)
        self.check_defaults(tavlo)
        tavlo.click(DUCK)
        wait_for(lambda: not tavlo.find(DUCK).checked, what="the check mark to go")
        self.assertTrue(tavlo.config_path.is_symlink())
        self.assertEqual(pathlib.Path(os.readlink(tavlo.config_path)), target)
        self.assertEqual(tavlo.read_config(), {**config, "duck_enabled": False})
        self.check_layout(tavlo)
        self.assertEqual([path.name for path in elsewhere.iterdir()], ["tavlo.json"])

    def test_link_to_nothing_becomes_the_template_there(self):
        target = self.shared.folder / "not-there-yet.json"
        manager = self.prepare(b"")
        manager.config_path.unlink()
        manager.config_path.symlink_to(target)
        tavlo = self.enterContext_(manager)
        self.assertTrue(tavlo.config_path.is_symlink())
        self.assertEqual(json.loads(target.read_text(encoding="utf-8")), TEMPLATE)

    def test_change_by_another_program_between_two_of_ours_is_kept(self):
        tavlo = self.start({**ENGLISH, "app_language": "nl", "duck_enabled": True})
        tavlo.click(DUCK)
        wait_for(lambda: not tavlo.find(DUCK).checked, what="the check mark to go")
        # An editor writes a new file and puts it in the old one's place.
        changed = {**tavlo.read_config(), "vocabulary": "Kubernetes", "hotkey": "rechter-option"}
        new = tavlo.support / "config.json.new"
        new.write_text(json.dumps(changed), encoding="utf-8")
        new.rename(tavlo.config_path)
        tavlo.click(DUCK)
        wait_for(lambda: tavlo.find(DUCK).checked, what="the check mark")
        self.assertEqual(tavlo.read_config(), {**changed, "duck_enabled": True})
        self.check_defaults(tavlo, hotkey="Rechter ⌥ Option")
        tavlo.click("🌐 Taal / Language", "🇬🇧 English")
        tavlo.wait_for_status("Ready - press the hotkey to dictate")
        self.assertEqual(tavlo.read_config(), {**changed, "duck_enabled": True, "app_language": "en"})
        tavlo.wait_for_log(["Taal gewijzigd naar en"])

    def check_stop(self, tavlo, code):
        """Tavlo stops by itself, by a message that names the file and the key."""
        process, tavlo.process = tavlo.process, None
        wait_for(lambda: not process.is_running, what="Tavlo to stop")
        self.assertEqual(
            process.error_text(), f"The settings file {tavlo.config_path} holds no key code under \"custom_keycode\": "
                                  f"{code} is above 65535.\n")
        process.errors.write_text("")  # The next one must keep silent.
        self.assertEqual(process.popen.returncode, -6)

    def test_key_code_above_65535_stops_the_program_at_its_start(self):
        for code in (65536, 2 ** 62):
            with self.subTest(code=code):
                manager = Tavlo(self.shared, config={"hotkey": "custom", "custom_keycode": code}, wait=False)
                manager.start()
                self.check_stop(manager, code)

    def test_key_code_above_65535_stops_the_program_at_the_next_key(self):
        # The largest one is a key code like others; where it is not in force, any number may stand there.
        tavlo = self.start({**ENGLISH, "hotkey": "custom", "custom_keycode": 65535, "duck_enabled": True})
        self.check_menu(tavlo, "Ready - press the hotkey to dictate", hotkey="Key 65535", custom="", ducks=True)
        tavlo.set(hotkey="rechter-shift", custom_keycode=65536)
        tavlo.begin("Shift_R")
        tavlo.set(hotkey="custom")
        self.shared.hands.press("Shift_R")
        self.check_stop(tavlo, 65536)
        # What it had lowered is put back by the next one.
        tavlo.set(custom_keycode=96)
        tavlo.start()
        volume = self.shared.sound.volume
        wait_for(lambda: abs(volume() - 1.0) < 0.001, what="the volume to be back", show=volume)
        tavlo.end()


if __name__ == "__main__":
    main()
