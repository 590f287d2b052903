#!/usr/bin/python3
"""The cloud fails in every way it can: the local engine takes over, or the failure is told."""
import contextlib
import socket

from rig import main
from rig.cloud import FALLING_BACK, KEY, LOCAL, OPENAI, SHORT, CloudScenario
from servers.provider import Provider

FALLBACK = " - fallback naar lokaal"
KLAAR = f"Klaar via {LOCAL}: {len(SHORT) + 1} tekens"
CLOUD_LINE = f"{OPENAI} + local fallback"


@contextlib.contextmanager
def refusing_address():
    """An address at which every connection is refused for as long as the block lasts."""
    with socket.socket() as taken:
        taken.bind(("127.0.0.1", 0))
        yield f"http://127.0.0.1:{taken.getsockname()[1]}"


class CloudFailure(CloudScenario):
    def local_takes_over(self, description, scenario=None, connections=1, **options):
        """One dictation whose cloud call ends as `scenario` has it and is told as `description`."""
        self.secrets += [SHORT]
        if scenario is not None:
            self.answer(scenario)
            self.send()
        tavlo, engine = self.start(**options)
        engine.hold()
        self.record(tavlo)
        tavlo.wait_for_status(FALLING_BACK)
        self.assertEqual(tavlo.icon(), "hourglass")
        seconds = int(tavlo.recording_seconds())
        failed = f"OpenAI mislukt: {description}{FALLBACK}"
        tavlo.wait_for_log(self.log_of(seconds, failed))
        engine.release()

        self.pasted(tavlo, LOCAL, SHORT + ".")
        tavlo.wait_for_log(self.log_of(seconds, failed, KLAAR))
        self.check_sounds("Pop", "Tink")
        # Without a key the menu names the local engine, although the cloud was asked.
        line = "local Whisper (large-v3-turbo)" if options.get("key", KEY) is None else CLOUD_LINE
        self.check_menu(tavlo, f"Pasted via {LOCAL}", line, has_last_text=True)
        self.assertEqual(engine.runs(), 1)
        self.assertEqual(self.provider.connections(), connections)
        return tavlo

    def test_refused(self):
        with refusing_address() as address:
            self.local_takes_over("Connection refused", openai_base_url=address, connections=0)

    def test_reset_after_the_request(self):
        self.local_takes_over("Recv failure: Connection reset by peer", {"kind": "reset"})

    def test_reset_before_the_request_is_read(self):
        self.local_takes_over("Recv failure: Connection reset by peer", {"kind": "reset", "at": "accept"})

    def test_reset_within_the_answer(self):
        self.local_takes_over("Recv failure: Connection reset by peer",
                              {"kind": "reset", "at": "body", "text": "half of a transcript"})

    def test_answer_breaks_off(self):
        self.local_takes_over("transfer closed with 1010 bytes remaining to read",
                              {"kind": "truncated", "text": "half of a transcript"})

    def test_401_whose_body_repeats_the_key(self):
        self.local_takes_over("OpenAI 401: Incorrect API key provided: ***. (***)",
                              {"kind": "status", "status": 401,
                               "body": f"Incorrect API key provided: {KEY}. ({KEY})"})
        self.assertTrue(self.provider.records[0]["valid"], self.provider.records[0]["complaint"])

    def test_500_with_300_characters(self):
        # Characters as a reader counts them: an e, then an accent of its own.
        letter = "e\N{COMBINING ACUTE ACCENT}"
        self.local_takes_over("OpenAI 500: " + letter * 200, {"kind": "status", "status": 500, "body": letter * 300})

    def test_nonsense(self):
        self.local_takes_over("OpenAI 0: ", {"kind": "nonsense", "text": "SSH-2.0-what\r\n\r\nno HTTP at all"})

    def redirected_elsewhere(self, status):
        with Provider() as elsewhere:
            self.local_takes_over(f"OpenAI {status}: ", {
                "kind": "redirect", "status": status, "location": elsewhere.base_url + "/v1/audio/transcriptions"})
            self.assertEqual(elsewhere.connections(), 0, "recording and key went to another server")

    def test_redirect_elsewhere_is_not_followed(self):
        self.redirected_elsewhere(307)

    def test_redirect_elsewhere_by_another_method_is_not_followed(self):
        self.redirected_elsewhere(302)

    def test_redirect_within_the_same_server_is_not_followed(self):
        self.local_takes_over("OpenAI 307: ", {"kind": "redirect"})

    def test_no_key_but_cloud_only(self):
        self.local_takes_over("OpenAI 401: no key", {"kind": "status", "status": 401, "body": "no key"},
                              key=None, engine="openai")

    def told(self, description, **options):
        self.answer({"kind": "status", "status": 503, "body": "later"})
        tavlo, engine = self.start(**options)
        self.record(tavlo)
        seconds = self.transcribing(tavlo)
        self.check_sounds("Pop", "Tink")
        self.send()
        tavlo.wait_for_status(f"⚠️ Failed: {description}")
        tavlo.wait_for_icon("mic")
        tavlo.wait_for_log(self.log_of(seconds, f"OpenAI mislukt: OpenAI 503: later{FALLBACK}",
                                       f"Lokale transcriptie mislukt: {description}"))
        self.check_sounds("Basso")
        self.check_menu(tavlo, f"⚠️ Failed: {description}", CLOUD_LINE, has_last_text=False)
        self.assertEqual(tavlo.windows(), [])
        self.assertEqual(self.editor.text(), "")
        return tavlo, engine

    def test_without_a_model_the_failure_is_told(self):
        tavlo, engine = self.told("Het offline taalmodel is nog niet gedownload.", model=False)
        self.assertEqual(engine.runs(), 0)

        # The next one, which the cloud answers, is pasted as if nothing had been.
        self.answer({"kind": "text", "text": "Now it works."})
        self.send()
        self.record(tavlo)
        self.pasted(tavlo, OPENAI, "Now it works.")
        self.check_sounds("Pop", "Tink")

    def test_without_an_engine_the_failure_is_told(self):
        self.told("whisper-cli ontbreekt in de app.", engine_program=False)


if __name__ == "__main__":
    main()
