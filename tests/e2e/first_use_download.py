#!/usr/bin/python3
"""A user without a key presses the hotkey once and is led through the download to a first local dictation."""
import os
import re
import signal

from rig import main, wait_for
from rig.local import ENGLISH, TEXT
from rig.private_network import PrivateNetwork, model_address
from rig.windows import WindowScenario

MODEL = {"kind": "body", "size": 1_500_000_000}
OFFER = "Offline model"
NOT_INSTALLED = "Offline model not installed yet"
AUTO = {**ENGLISH, "engine": "auto"}
STARTED = f"Model-download gestart van {model_address()}"
INSTALLED = "Model-download klaar: 1500000000 bytes"
PROGRESS = re.compile(r"[0-9.]+ (kB|MB|GB) / 1\.50 GB  \([0-9]{1,3}%\)")
ONE_PERCENT, TWO_PERCENT = "20.0 MB / 1.50 GB  (1%)", "40.0 MB / 1.50 GB  (2%)"
DUTCH_SENTENCE = "goede morgen stuur het verslag vandaag"


class FirstUseDownload(WindowScenario):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.network = PrivateNetwork(cls.shared)
        cls.request = (cls.network.host, model_address().removeprefix(f"https://{cls.network.host}"))

    def serve(self, scenario):
        server = self.network.server(scenario)
        self.addCleanup(server.close)
        return server

    def start_without_model(self, config=AUTO):
        return self.start(config, model=False, prefix=self.network.prefix)

    def models(self, tavlo):
        folder = tavlo.support / "models"
        return sorted(path.name for path in folder.iterdir()) if folder.exists() else []

    def offer(self, tavlo):
        """A dictation that finds no model. (window, log line)"""
        line = self.record(tavlo)
        tavlo.wait_for_status(NOT_INSTALLED)
        tavlo.wait_for_icon("mic")
        return self.window(tavlo, OFFER), line

    def wait_for_label(self, window, expected):
        def labels():
            return [node.name for node in window.children if node.role == "label" and "showing" in node.states]
        pattern = expected if isinstance(expected, re.Pattern) else re.compile(re.escape(expected))
        wait_for(lambda: any(pattern.fullmatch(text) for text in labels()), timeout=30, what=str(expected), show=labels)

    def buttons(self, window):
        return [node.name for node in window.children if node.role == "push button" and "showing" in node.states]

    def check_pasted(self, tavlo, log):
        """The recording that was waiting is transcribed by the model that has just come."""
        self.wait_for_titles(tavlo)
        self.editor.wait_for_text(TEXT, timeout=30)
        tavlo.wait_for_status("Pasted via local Whisper")
        tavlo.wait_for_icon("mic")
        tavlo.wait_for_log([*log, f"Klaar via local Whisper: {len(TEXT)} tekens"])
        self.assertEqual(self.models(tavlo), ["ggml-large-v3-turbo.bin"])

    def test_the_whole_story_from_the_first_press_of_the_hotkey(self):
        server = self.serve(MODEL)
        tavlo = self.start(None, model=False, prefix=self.network.prefix)
        tavlo.wait_for_status("Klaar - druk op de sneltoets om te dicteren")
        speech = self.shared.sound.speech(DUTCH_SENTENCE, "nl")
        tavlo.begin()
        self.shared.sound.play(speech)
        tavlo.finish()

        tavlo.wait_for_status("Offline model nog niet geïnstalleerd")
        window = self.window(tavlo, OFFER)
        tavlo.wait_for_icon("mic")
        window.find("label", "Gratis offline dicteren")
        self.assertEqual(sorted(self.buttons(window)), ["Download", "Niet nu"])
        self.assertEqual(server.requests(), [])
        self.shared.hands.press("Return")
        self.wait_for_label(window, PROGRESS)
        self.assertEqual(self.buttons(window), ["Annuleren"])
        bar = window.find("progress bar")
        self.assertEqual(bar.name, "Voortgang")
        wait_for(lambda: bar.value > 0, what="the progress bar to move")
        tavlo.wait_for_status("Transcriberen…", timeout=180)
        self.wait_for_titles(tavlo)
        self.editor.wait_for_text(DUTCH_SENTENCE + ".", timeout=30)
        tavlo.wait_for_status("Geplakt via lokale Whisper")
        seconds = int(tavlo.recording_seconds())
        tavlo.wait_for_log([f"Opname gestopt: {seconds}s audio, start transcriptie", STARTED, INSTALLED,
                            f"Klaar via lokale Whisper: {len(DUTCH_SENTENCE) + 1} tekens"])
        self.assertEqual(self.models(tavlo), ["ggml-large-v3-turbo.bin"])
        self.assertEqual((tavlo.support / "models/ggml-large-v3-turbo.bin").stat().st_size, MODEL["size"])
        self.assertEqual(server.requests(), [self.request])
        self.shared.ear.wait_for("Pop", "Tink")

    def test_each_failure_is_told_and_can_be_tried_again(self):
        server = self.serve({"kind": "status", "status": 404})
        tavlo = self.start_without_model()
        window, line = self.offer(tavlo)
        log = [line]
        self.press_button(window, "Download")
        self.wait_for_label(window, "Download failed: Download gaf status 404.")
        self.assertEqual(sorted(self.buttons(window)), ["Cancel", "Retry"])
        self.assertIn("default", window.find("push button", "Retry").states)
        bar, = [node for node in window.descendants() if node.role == "progress bar"]
        self.assertNotIn("showing", bar.states)
        log.append(STARTED)
        tavlo.wait_for_log(log)

        # A redirect to plain HTTP is not followed: it is the answer.
        server.set_scenario({"kind": "redirect", "location": f"http://{self.network.host}/model"})
        self.press_button(window, "Retry")
        self.wait_for_label(window, "Download failed: Download gaf status 302.")
        log.append(STARTED)
        tavlo.wait_for_log(log)

        server.set_scenario({"kind": "reset", "size": MODEL["size"], "after": 5_000_000})
        self.press_button(window, "Retry")
        log += [STARTED, re.compile("Model-download mislukt: .+")]
        tavlo.wait_for_log(log)
        reason = tavlo.log()[-1].removeprefix("Model-download mislukt: ")
        self.wait_for_label(window, f"Download failed: {reason}")
        self.assertEqual(sorted(self.buttons(window)), ["Cancel", "Retry"])
        self.assertEqual(self.models(tavlo), [])
        self.assertEqual(server.requests(), [self.request] * 3)

        # Redirected to https, where the body begins; then the user has enough of it.
        elsewhere = f"https://{self.network.host}/elsewhere"
        server.set_scenario([{"kind": "redirect", "location": elsewhere},
                             {"kind": "hold", "size": MODEL["size"], "after": 20_000_000}])
        self.press_button(window, "Retry")
        self.wait_for_label(window, ONE_PERCENT)
        self.assertEqual(self.buttons(window), ["Cancel"])
        self.assertEqual(window.find("progress bar").name, "Progress")
        self.press_button(window, "Cancel")
        self.wait_for_titles(tavlo)
        log += [STARTED, re.compile("Model-download mislukt: .+")]
        tavlo.wait_for_log(log)
        self.assertEqual(server.requests()[3:], [self.request, (self.network.host, "/elsewhere")])
        wait_for(lambda: self.models(tavlo) == [], what="the unfinished file to go", show=lambda: self.models(tavlo))
        self.assertEqual(tavlo.status(), NOT_INSTALLED)
        self.assertEqual(self.editor.text(), "")

    def test_a_certificate_that_nobody_vouches_for_is_not_trusted(self):
        server = self.serve(MODEL)
        # Inside, but with the machine's own certificates, which do not know the test's authority.
        self.network.run("umount", "/etc/ssl/certs")
        self.addCleanup(self.network.run, "mount", "--bind", self.shared.folder / "private/trusted", "/etc/ssl/certs")
        tavlo = self.start_without_model()
        window, line = self.offer(tavlo)
        self.press_button(window, "Download")
        tavlo.wait_for_log([line, STARTED, re.compile("Model-download mislukt: .+")])
        self.wait_for_label(window, re.compile("Download failed: .+"))
        self.assertEqual(server.requests(), [])
        self.assertEqual(self.models(tavlo), [])

    def test_a_disk_without_room_is_told_before_the_transfer(self):
        self.serve(MODEL)
        tavlo = self.start_without_model()
        models = tavlo.support / "models"
        models.mkdir(exist_ok=True)
        self.network.run("mount", "-t", "tmpfs", "-o", "size=16m", "tmpfs", models)
        self.addCleanup(self.network.run, "umount", "-l", models)
        window, line = self.offer(tavlo)
        self.press_button(window, "Download")
        reason = "Te weinig schijfruimte voor het model (1500000000 bytes nodig)."
        self.wait_for_label(window, f"Download failed: {reason}")
        tavlo.wait_for_log([line, STARTED, f"Model-download mislukt: {reason}"])
        self.assertEqual(self.network.run("ls", "-A", models), "")
        self.shared.hands.press("Escape")
        self.wait_for_titles(tavlo)

    def test_what_a_killed_download_left_goes_when_the_next_one_starts(self):
        server = self.serve({"kind": "hold", "size": MODEL["size"], "after": 40_000_000})
        tavlo = self.start_without_model()
        window, line = self.offer(tavlo)
        self.press_button(window, "Download")
        self.wait_for_label(window, TWO_PERCENT)
        self.assertNotEqual(self.models(tavlo), [])
        self.assertNotIn("ggml-large-v3-turbo.bin", self.models(tavlo))
        os.kill(tavlo.process.pid, signal.SIGKILL)
        wait_for(lambda: not tavlo.process.is_running, what="Tavlo to be gone")
        self.assertNotEqual(self.models(tavlo), [])

        server.set_scenario({"kind": "status", "status": 503})
        tavlo.start()
        window, second = self.offer(tavlo)
        self.press_button(window, "Download")
        self.wait_for_label(window, "Download failed: Download gaf status 503.")
        self.assertEqual(self.models(tavlo), [])
        tavlo.wait_for_log([line, STARTED, second, STARTED])
        self.press_button(window, "Cancel")
        self.wait_for_titles(tavlo)

    def test_a_closed_window_lets_the_download_go_on_and_its_end_is_heard(self):
        server = self.serve({"kind": "hold", "size": MODEL["size"], "after": 40_000_000})
        tavlo = self.start_without_model()
        window, line = self.offer(tavlo)
        self.press_button(window, "Download")
        self.wait_for_label(window, TWO_PERCENT)
        self.close_box(window)
        self.wait_for_titles(tavlo)
        self.assertEqual(tavlo.status(), NOT_INSTALLED)
        self.editor.focus()
        server.release()
        wait_for(lambda: INSTALLED in tavlo.log(), timeout=180, what="the end of the download", show=tavlo.log)
        self.check_pasted(tavlo, [line, STARTED, INSTALLED])
        self.assertEqual(server.requests(), [self.request])

    def test_a_second_window_takes_over_the_running_download(self):
        server = self.serve({"kind": "hold", "size": MODEL["size"], "after": 40_000_000})
        tavlo = self.start_without_model()
        window, first = self.offer(tavlo)
        self.press_button(window, "Download")
        self.wait_for_label(window, TWO_PERCENT)
        # The hotkey works meanwhile; the new dictation's window takes the place of the first.
        window, second = self.offer(tavlo)
        self.wait_for_titles(tavlo, OFFER)
        self.assertEqual(sorted(self.buttons(window)), ["Download", "Not now"])
        self.press_button(window, "Download")
        self.wait_for_label(window, "Downloading…")
        self.assertEqual(server.requests(), [self.request])
        server.release()
        self.wait_for_label(window, PROGRESS)
        wait_for(lambda: INSTALLED in tavlo.log(), timeout=180, what="the end of the download", show=tavlo.log)
        self.check_pasted(tavlo, [first, STARTED, second, INSTALLED])
        self.assertEqual(server.requests(), [self.request])


if __name__ == "__main__":
    main()
