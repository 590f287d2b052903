#!/usr/bin/python3
"""Own servers and keys that cannot be: the recording goes nowhere, the local engine takes over."""
from rig import main
from rig.cloud import KEY, LOCAL, SHORT, CloudScenario

FALLBACK = " - fallback naar lokaal"
NO_ADDRESS = "Ongeldig API-adres in de instellingen."
NO_KEY = "De API-sleutel bevat ongeldige tekens."


class CloudAddress(CloudScenario):
    def test_addresses_that_are_not_allowed(self):
        """Audio never goes silently to a host that the user did not name."""
        self.secrets += [SHORT]
        port = self.provider.port
        addresses = {
            "another scheme": f"ftp://127.0.0.1:{port}",
            "no scheme": f"127.0.0.1:{port}",
            "not encrypted, beyond this machine": "http://192.0.2.1",
            "a user": f"http://somebody@127.0.0.1:{port}",
            "a query": f"http://127.0.0.1:{port}/?x=1",
            "a fragment": f"http://127.0.0.1:{port}/#x",
            "no host": "https://",
            "empty": "",
            "a number": 17,
            "nothing": None,
            "a list": [f"http://127.0.0.1:{port}"],
        }
        tavlo, engine = self.start()
        log, pasted = [], ""
        for name, address in addresses.items():
            with self.subTest(name):
                tavlo.set(openai_base_url=address)
                tavlo.last_recording.unlink(missing_ok=True)
                self.record(tavlo)
                pasted += SHORT + "."
                self.editor.wait_for_text(pasted, timeout=30)
                tavlo.wait_for_status(f"Pasted via {LOCAL}")
                tavlo.wait_for_icon("mic")
                log += self.log_of(int(tavlo.recording_seconds()), f"OpenAI mislukt: {NO_ADDRESS}{FALLBACK}",
                                   f"Klaar via {LOCAL}: {len(SHORT) + 1} tekens")
                tavlo.wait_for_log(log)
                self.check_sounds("Pop", "Tink")
        self.assertEqual(self.provider.connections(), 0)
        self.assertEqual(engine.runs(), len(addresses))

    def injects_nothing(self, key):
        self.secrets += [SHORT]
        tavlo, _ = self.start(key=key)
        self.record(tavlo)
        self.pasted(tavlo, LOCAL, SHORT + ".")
        tavlo.wait_for_log(self.log_of(int(tavlo.recording_seconds()), f"OpenAI mislukt: {NO_KEY}{FALLBACK}",
                                       f"Klaar via {LOCAL}: {len(SHORT) + 1} tekens"))
        self.check_sounds("Pop", "Tink")
        self.assertEqual(self.provider.connections(), 0)

    def test_a_key_with_line_ends_injects_nothing(self):
        self.injects_nothing(f"{KEY}\r\nX-Injected: yes")

    def test_a_key_with_another_control_character_injects_nothing(self):
        self.injects_nothing(f"{KEY}\N{DELETE}more")

    def test_a_key_that_is_not_ascii_goes_as_it_stands(self):
        """Nothing but control characters is turned away; the provider judges the rest."""
        key = "clé-0123456789"
        self.secrets += [key]
        self.answer({"kind": "text", "text": "It went."})
        self.send()
        tavlo, _ = self.start(key=key)
        self.record(tavlo)
        self.editor.wait_for_text("It went.")
        headers = dict(map(tuple, self.provider.wait_for_records(1)[0]["headers"]))
        # The server's reading is byte by byte.
        self.assertEqual(headers["Authorization"].encode("latin-1").decode(), "Bearer " + key)


if __name__ == "__main__":
    main()
