"""A cloud provider on loopback that notes when it began to answer."""
from servers.provider import Provider

from .watches import now

SERVICE = "nl.pelloquintar.tavlo"
KEY = "sk-test-0123456789abcdefghijklmnop"


class TimedProvider(Provider):
    def __init__(self, *arguments, **more):
        self.answers = []  # times just before an answer was sent
        super().__init__(*arguments, **more)

    def _send(self, connection, status, body, headers, length=None):
        self.answers.append(now())
        super()._send(connection, status, body, headers, length)


def settings(provider, **more):
    return {"app_language": "en", "language": "en", "engine": "openai", "provider": "openai", "duck_enabled": False,
            "openai_base_url": provider.base_url, **more}
