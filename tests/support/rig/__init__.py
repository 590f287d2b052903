"""A virtual desktop on which the built program is driven from outside. See README.md."""
from .audio import AudioServer
from .desktop import Desktop
from .editors import GtkEditor, VteTerminal, Xterm
from .engine import small_model, whisper_cli
from .icon import icon_state
from .scenario import Scenario, main
from .tavlo import Tavlo
from .waiting import NotReached, wait_for

__all__ = ["AudioServer", "Desktop", "GtkEditor", "NotReached", "Scenario", "Tavlo", "VteTerminal", "Xterm",
           "icon_state", "main", "small_model", "wait_for", "whisper_cli"]
