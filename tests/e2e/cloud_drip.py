#!/usr/bin/python3
"""A provider that sends a little again and again and never comes to an end: after ninety seconds the local engine takes
over."""
import time

from rig import main
from rig.cloud import FALLING_BACK, LOCAL, OPENAI, SHORT, CloudScenario


class CloudDrip(CloudScenario):
    def test_drip_past_ninety_seconds(self):
        dripped = "abcdefghijklmnopqrstuvwxyz"
        self.secrets += [SHORT, dripped[:4]]
        self.provider.set_scenario({"kind": "drip", "text": dripped, "interval": 5})
        tavlo, engine = self.start()
        engine.hold()
        self.record(tavlo)
        seconds = self.transcribing(tavlo)
        self.assertTrue(self.provider.wait_for_records(1)[0]["valid"])
        begun = self.provider.records[0]["first_byte"] / 1e9

        tavlo.wait_for_status(FALLING_BACK, timeout=100)
        waited = time.monotonic() - begun
        self.assertGreater(waited, 89)
        self.assertLess(waited, 95)
        engine.release()
        self.pasted(tavlo, LOCAL, SHORT + ".")
        tavlo.wait_for_log(self.log_of(
            seconds, "OpenAI mislukt: Connection timed out - fallback naar lokaal",
            f"Klaar via {LOCAL}: {len(SHORT) + 1} tekens"))
        self.check_sounds("Pop", "Tink")
        self.check_menu(tavlo, f"Pasted via {LOCAL}", f"{OPENAI} + local fallback", has_last_text=True)


if __name__ == "__main__":
    main()
