#!/usr/bin/python3
"""The provider must accept a right request and name what is wrong with any other."""

import errno
import socket
import struct
import unittest

from provider import Provider

BOUNDARY = "Tavlo-1B4E28BA-2FA1-11D2-883F-0016D3CCA427"


def wav(data=b"\1\0" * 1600, rate=16000, data_size=None):
    size = len(data) if data_size is None else data_size
    return struct.pack("<4sI4s4sIHHIIHH4sI", b"RIFF", size + 36, b"WAVE", b"fmt ", 16, 1, 1, rate, rate * 2, 2, 16,
                       b"data", size) + data


def form(fields=(("model", "m"), ("language", "nl"), ("response_format", "text")), image=None, boundary=BOUNDARY):
    text = "".join(f'--{boundary}\r\nContent-Disposition: form-data; name="{name}"\r\n\r\n{value}\r\n'
                   for name, value in fields)
    text += (f'--{boundary}\r\nContent-Disposition: form-data; name="file"; filename="audio.wav"\r\n'
             "Content-Type: audio/wav\r\n\r\n")
    return text.encode() + (wav() if image is None else image) + f"\r\n--{boundary}--\r\n".encode()


class ProviderTest(unittest.TestCase):
    def exchange(self, scenario=None, body=None, line="POST /v1/audio/transcriptions HTTP/1.1",
                 boundary=BOUNDARY, headers=("Authorization: Bearer k",)):
        """Sends one request; returns the answer's bytes and the record."""
        body = form() if body is None else body
        head = [line, "Host: x", f"Content-Type: multipart/form-data; boundary={boundary}",
                f"Content-Length: {len(body)}", *headers]
        with Provider(scenario or {"kind": "text", "text": "Hallo."}) as provider:
            with socket.create_connection(("127.0.0.1", provider.port), timeout=20) as client:
                client.sendall("\r\n".join(head).encode() + b"\r\n\r\n" + body)
                answer = b""
                try:
                    client.shutdown(socket.SHUT_WR)
                    while data := client.recv(65536):
                        answer += data
                except OSError as error:
                    # A reset that came before the shutdown leaves a socket that is not connected any more.
                    if error.errno not in (errno.ECONNRESET, errno.ENOTCONN):
                        raise
                    answer = None
            return answer, provider.wait_for_records(1)[0]

    def assert_complaint(self, text, **request):
        record = self.exchange(**request)[1]
        self.assertFalse(record["valid"])
        self.assertIn(text, record["complaint"])

    def test_a_right_request_is_valid_and_answered(self):
        answer, record = self.exchange()
        self.assertTrue(record["valid"], record["complaint"])
        self.assertEqual(record["fields"], [["model", "m"], ["language", "nl"], ["response_format", "text"]])
        self.assertEqual(record["wav_seconds"], 0.1)
        self.assertTrue(answer.startswith(b"HTTP/1.1 200 ") and answer.endswith(b"\r\n\r\nHallo."))

    def test_a_vocabulary_with_line_ends_is_read_whole(self):
        fields = (("model", "m"), ("language", "nl"), ("response_format", "text"), ("prompt", "a\r\nb\r\n"))
        record = self.exchange(body=form(fields))[1]
        self.assertTrue(record["valid"], record["complaint"])
        self.assertEqual(record["fields"][3], ["prompt", "a\r\nb\r\n"])

    def test_each_deviation_is_named(self):
        self.assert_complaint("method", line="GET /v1/audio/transcriptions HTTP/1.1")
        self.assert_complaint("path", line="POST /v1/audio HTTP/1.1")
        self.assert_complaint("version", line="POST /v1/audio/transcriptions HTTP/1.0")
        self.assert_complaint("Authorization", headers=())
        self.assert_complaint("one too many", headers=("Authorization: Bearer k", "Cookie: a=b"))
        self.assert_complaint("2 times", headers=("Authorization: Bearer k", "Authorization: Bearer k"))
        self.assert_complaint("Content-Type", boundary=BOUNDARY.lower())
        self.assert_complaint("ends in", body=form()[:-2])
        self.assert_complaint("no file part", body=form().replace(b"audio.wav", b"a.wav"))
        self.assert_complaint("fields", body=form((("language", "nl"), ("model", "m"), ("response_format", "text"))))
        self.assert_complaint("response_format",
                              body=form((("model", "m"), ("language", "nl"), ("response_format", "json"))))
        self.assert_complaint("RIFF size", body=form(image=wav(data_size=7)))
        self.assert_complaint("WAV format", body=form(image=wav(rate=44100)))
        self.assert_complaint("a WAV of", body=form(image=b"RIFF"))

    def test_expectations_are_checked(self):
        for name, value in (("provider", "groq"), ("key", "other"), ("model", "other"), ("language", "en"),
                            ("prompt", "words"), ("prefix", "/own")):
            record = self.exchange({"kind": "text", "text": "", "expect": {name: value}})[1]
            self.assertFalse(record["valid"], name)
        right = {"provider": "openai", "key": "k", "model": "m", "language": "nl", "prompt": None}
        self.assertTrue(self.exchange({"kind": "text", "text": "", "expect": right})[1]["valid"])

    def test_the_engine_gets_the_uploaded_file(self):
        answer, _ = self.exchange({"kind": "engine", "command": ["wc", "-c", "{wav}"]})
        self.assertIn(b"\r\n\r\n3244 ", answer)

    def test_answers_of_every_kind(self):
        self.assertIn(b" 503 ", self.exchange({"kind": "status", "status": 503, "body": "x"})[0])
        self.assertIn(b"Location: http://127.0.0.1:", self.exchange({"kind": "redirect"})[0])
        self.assertEqual(self.exchange({"kind": "nonsense", "text": "EHLO"})[0], b"EHLO")
        self.assertEqual(self.exchange({"kind": "stall"})[0], b"")
        self.assertTrue(self.exchange({"kind": "truncated", "text": "abcd"})[0].endswith(b"\r\n\r\nab"))
        self.assertTrue(self.exchange({"kind": "drip", "text": "abc", "interval": 0})[0].endswith(b"\r\n\r\nabc"))
        self.assertIsNone(self.exchange({"kind": "reset"})[0])


if __name__ == "__main__":
    unittest.main()
