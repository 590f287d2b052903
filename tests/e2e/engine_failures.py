#!/usr/bin/python3
"""The local engine fails in every way a program can: the failure is told, and the next dictation works."""
from rig import engine, main, wait_for
from rig.local import LocalScenario



class EngineFailures(LocalScenario):
    def install(self, tavlo, text, mode=0o755):
        """Puts a program of the test's into the place of whisper-cli. One of the shell waits until the start and the
        stop of the recording were heard: two sounds at once could not be told from each other."""
        self.gate = tavlo.support / "bin/go"
        self.gate.unlink(missing_ok=True)
        if isinstance(text, str) and text.startswith("#!/bin/sh\n"):
            text = text.replace("\n", f"\nwhile [ ! -e '{self.gate}' ]; do sleep 0.02; done\n", 1)
        program = tavlo.support / "bin/whisper-cli"
        program.parent.mkdir(exist_ok=True)
        program.unlink(missing_ok=True)
        program.write_bytes(text if isinstance(text, bytes) else text.encode())
        program.chmod(mode)
        return program

    def transcribe(self, tavlo):
        """One dictation, until the engine has it; gives its log line."""
        line = self.record(tavlo)
        wait_for(lambda: tavlo.icon() == "hourglass", what="the hourglass", show=tavlo.icon)
        self.check_sounds("Pop", "Tink")
        self.gate.touch()
        return line

    def fails(self, tavlo, description, starts=True):
        """One dictation whose engine fails with this description, at once where it does not start. Gives its log."""
        line = self.transcribe(tavlo) if starts else self.record(tavlo)
        status = f"⚠️ Failed: {description}"
        tavlo.wait_for_status(status)
        tavlo.wait_for_icon("mic")
        self.check_menu(tavlo, status)
        if starts:
            self.check_sounds("Basso")
        else:
            self.check_sounds_at_once()
        self.assertEqual(tavlo.windows(), [])
        return [line, f"Lokale transcriptie mislukt: {description}"]

    def check_sounds_at_once(self):
        """The sound of the failure comes right after that of the stop, which is then heard as a part of it or not."""
        ear = self.shared.ear
        possible = (["Pop", "Tink", "Basso"], ["Pop", "Basso"])
        wait_for(lambda: ear.names() in possible, what=f"the sounds {possible[0]}", show=ear.names)
        self.assertGreater(ear.sounds()[-1].peak, 0.2)
        ear.forget()

    def check_recovery(self, tavlo, log):
        """With a program that works the next dictation is pasted, and none before it was."""
        tavlo.wait_for_log(log)
        self.assertEqual(self.editor.text(), "")
        engine.install_wrapper(tavlo.support)
        log += self.dictate(tavlo)
        tavlo.wait_for_log(log)
        self.check_menu(tavlo, "Pasted via local Whisper", has_last_text=True)
        self.check_sounds("Pop", "Tink")

    def test_program_missing_or_not_executable(self):
        tavlo = self.start(engine_program=False)
        missing = "whisper-cli ontbreekt in de app."
        log = self.fails(tavlo, missing, starts=False)
        program = self.install(tavlo, "#!/bin/sh\necho nobody may run me\n", mode=0o644)
        log += self.fails(tavlo, missing, starts=False)
        program.unlink()
        program.mkdir()
        log += self.fails(tavlo, missing, starts=False)
        program.rmdir()
        self.check_recovery(tavlo, log)

    def test_program_that_the_system_refuses_to_start(self):
        tavlo = self.start(engine_program=False)
        self.install(tavlo, b"\x7fNOT a program at all")
        log = self.fails(tavlo, "Exec format error", starts=False)
        self.install(tavlo, "#!/there/is/no/such/interpreter\n")
        log += self.fails(tavlo, "No such file or directory", starts=False)
        self.check_recovery(tavlo, log)

    def test_exit_status_and_signal(self):
        tavlo = self.start(engine_program=False)
        self.install(tavlo, "#!/bin/sh\necho 'these words are no transcript'\nexit 2\n")
        log = self.fails(tavlo, "whisper-cli stopte met code 2.")
        self.install(tavlo, "#!/bin/sh\necho 'these words are no transcript'\nkill -KILL $$\n")
        log += self.fails(tavlo, "whisper-cli stopte met code 9.")
        self.check_recovery(tavlo, log)

    def test_killed_from_outside_while_it_transcribes(self):
        tavlo = self.start(engine_program=False)
        note = tavlo.support / "process"
        self.install(tavlo, f"#!/bin/sh\necho $$ >'{note}'\nexec sleep 1000\n")
        line = self.transcribe(tavlo)
        wait_for(lambda: note.exists() and note.read_text().endswith("\n"), what="the engine to run")
        self.assertEqual(tavlo.icon(), "hourglass")
        self.shared.processes.run("/bin/kill", "-TERM", note.read_text().strip())
        tavlo.wait_for_status("⚠️ Failed: whisper-cli stopte met code 15.")
        tavlo.wait_for_icon("mic")
        self.check_sounds("Basso")
        self.check_recovery(tavlo, [line, "Lokale transcriptie mislukt: whisper-cli stopte met code 15."])

    def test_megabytes_on_standard_error(self):
        tavlo = self.start(engine_program=False)
        # Far more than a pipe holds, before the words, between them and after them.
        noise = "head -c 4000000 /dev/zero | tr '\\0' 'e' >&2\n"
        self.install(tavlo, f"#!/bin/sh\n{noise}echo ' Three words'\n{noise}echo ' came through.'\n{noise}")
        log = [self.transcribe(tavlo)]
        self.editor.wait_for_text("Three words came through.", timeout=30)
        tavlo.wait_for_status("Pasted via local Whisper")
        tavlo.wait_for_log([*log, "Klaar via local Whisper: 25 tekens"])
        tavlo.wait_for_icon("mic")
        self.check_menu(tavlo, "Pasted via local Whisper", has_last_text=True)
        self.assertEqual(self.shared.ear.names(), [])

    def test_invalid_utf_8_and_nothing_count_as_no_speech(self):
        tavlo = self.start(engine_program=False)
        log = []
        for output in (r"printf ' Half a sign: \303\n'", r"printf '\377\376'", r"printf '\n \n\t\n'", ":"):
            with self.subTest(output=output):
                self.install(tavlo, f"#!/bin/sh\n{output}\n")
                log += [self.transcribe(tavlo), "Klaar via local Whisper: 0 tekens"]
                tavlo.wait_for_status("No speech detected")
                tavlo.wait_for_log(log)
                tavlo.wait_for_icon("mic")
                self.check_menu(tavlo, "No speech detected")
                self.assertEqual(self.shared.ear.names(), [])
        self.check_recovery(tavlo, log)

    def test_what_the_program_is_given_and_how_its_lines_are_joined(self):
        tavlo = self.start(engine_program=False)
        note = tavlo.support / "arguments"
        self.install(tavlo, f"#!/bin/sh\nprintf '%s\\n' \"$#\" \"$@\" >'{note}'\n"
                            r"printf '  Hallo wereld. \n\n\t Tweede regel\t\n'" + "\n")
        log = [self.transcribe(tavlo)]
        text = "Hallo wereld. Tweede regel"
        self.editor.wait_for_text(text)
        tavlo.wait_for_log([*log, f"Klaar via local Whisper: {len(text)} tekens"])
        self.assertEqual(note.read_text().splitlines(),
                         ["8", "-m", str(tavlo.support / "models/ggml-large-v3-turbo.bin"), "-l", "en",
                          "--no-timestamps", "-np", "-f", str(tavlo.last_recording)])

    def test_failure_is_told_in_dutch(self):
        tavlo = self.start({"engine": "local", "duck_enabled": False}, engine_program=False)
        line = self.record(tavlo)
        tavlo.wait_for_status("⚠️ Mislukt: whisper-cli ontbreekt in de app.")
        tavlo.wait_for_log([line, "Lokale transcriptie mislukt: whisper-cli ontbreekt in de app."])
        self.check_sounds_at_once()
        self.assertEqual(self.editor.text(), "")


if __name__ == "__main__":
    main()
