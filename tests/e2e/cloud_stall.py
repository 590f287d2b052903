#!/usr/bin/python3
"""A provider that takes the recording and then says nothing: after thirty seconds the local engine takes over."""
import time

from rig import main
from rig.cloud import FALLING_BACK, LOCAL, OPENAI, SHORT, CloudScenario


class CloudStall(CloudScenario):
    def test_stall_past_thirty_seconds(self):
        self.secrets += [SHORT]
        self.provider.set_scenario({"kind": "stall"})
        tavlo, engine = self.start()
        engine.hold()
        self.record(tavlo)
        seconds = self.transcribing(tavlo)
        self.assertTrue(self.provider.wait_for_records(1)[0]["valid"])
        sent = self.provider.records[0]["last_byte"] / 1e9

        tavlo.wait_for_status(FALLING_BACK, timeout=40)
        # On a busy machine the provider reads the last byte later than Tavlo has sent it. The file of the recording is
        # written before anything is sent.
        self.assertGreater(time.time() - tavlo.last_recording.stat().st_mtime, 29.5)
        self.assertLess(time.monotonic() - sent, 35)
        self.assertEqual(tavlo.icon(), "hourglass")
        engine.release()
        self.pasted(tavlo, LOCAL, SHORT + ".")
        tavlo.wait_for_log(self.log_of(
            seconds, "OpenAI mislukt: Connection timed out - fallback naar lokaal",
            f"Klaar via {LOCAL}: {len(SHORT) + 1} tekens"))
        self.check_sounds("Pop", "Tink")
        self.check_menu(tavlo, f"Pasted via {LOCAL}", f"{OPENAI} + local fallback", has_last_text=True)


if __name__ == "__main__":
    main()
