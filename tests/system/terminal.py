"""Programs at a terminal of a given size: what is on the screen, and keys that are pressed."""
import codecs
import fcntl
import os
import pty
import re
import select
import struct
import subprocess
import termios
import time
import unicodedata
import unittest

from node import DONE, PATIENCE_S

JOINED_JAMO = range(0x1160, 0x1200)
COLOUR = re.compile(r"\x1b\[\d*m")
CTRL_C = b"\x03"
# What else of a terminal's own language than colours and a line that is taken back may not be on a screen.
OTHER_KEYS = re.compile(r"\x1b(?!\[\d*m|\[K)")


def columns_of(line):
    """Columns that a line without control characters takes on a screen."""
    unseen = ("Mn", "Me", "Cf")
    return sum(0 if unicodedata.category(char) in unseen or ord(char) in JOINED_JAMO else
               2 if unicodedata.east_asian_width(char) in "WF" else 1 for char in line)


def read_until(terminal, wanted):
    """What the terminal shows until it shows this, or until its end."""
    shown, end = b"", time.monotonic() + PATIENCE_S
    while (wanted is None or wanted not in shown) and time.monotonic() < end:
        if not select.select([terminal], [], [], 1)[0]:
            continue
        try:
            more = os.read(terminal, 65536)
        except OSError:  # the shell has ended
            break
        if not more:
            break
        shown += more
    return shown


class Terminal:
    """A command whose three streams are a terminal of its own. A context manager that ends it."""

    def __init__(self, command, environment, columns=80, output=None):
        self.reader, terminal = pty.openpty()
        fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        self.process = subprocess.Popen(
            list(map(str, command)), env={"TERM": "xterm", **environment}, stdin=terminal,
            stdout=terminal if output is None else output, stderr=terminal, start_new_session=True,
            preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0))
        os.close(terminal)
        self.decoder = codecs.getincrementaldecoder("utf-8")("replace")  # a chunk may end within a character
        self.shown = ""

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        os.close(self.reader)

    def read(self, seconds):
        """Whether something more may come."""
        if not select.select([self.reader], [], [], seconds)[0]:
            return True
        try:
            chunk = os.read(self.reader, 65536)
        except OSError:  # the other end is closed
            return False
        self.shown += self.decoder.decode(chunk)
        return bool(chunk)

    def await_text(self, text):
        end = time.monotonic() + PATIENCE_S
        while text not in self.shown:
            assert self.read(0.1) or text in self.shown, f"ended without {text!r}:\n{self.shown!r}"
            assert time.monotonic() < end, f"no {text!r} within {PATIENCE_S} s:\n{self.shown!r}"

    def press(self, keys):
        os.write(self.reader, keys)

    def end(self):
        """What the program ends with, when all it shows is read."""
        end = time.monotonic() + PATIENCE_S
        while self.read(0.1):
            assert time.monotonic() < end, f"did not end within {PATIENCE_S} s:\n{self.shown!r}"
        return self.process.wait(PATIENCE_S)

    def lines(self):
        """What stays on the screen, without colours."""
        plain = COLOUR.sub("", self.shown).replace("\r\n", "\n")
        return [line.split("\r\x1b[K")[-1] for line in plain.split("\n")]


class Screens(unittest.TestCase):
    """Commands that an operator types, each at a terminal of its own; what uses it sets its node."""

    node = None

    def open(self, tool, *arguments, columns=80, **environment):
        terminal = Terminal(self.node.command(tool, *arguments), self.node.environment(**environment), columns=columns)
        self.addCleanup(terminal.__exit__)
        return terminal

    def on_screen(self, tool, *arguments, code=DONE, columns=80, fits=True, **environment):
        """Types a command. @return what is on the screen when it has ended, with the colours"""
        terminal = self.open(tool, *arguments, columns=columns, **environment)
        self.assertEqual(terminal.end(), code, terminal.shown)
        self.assertNotRegex(terminal.shown, OTHER_KEYS)
        if fits:
            self.assertLessEqual(max(map(columns_of, terminal.lines())), columns, terminal.shown)
        return terminal.shown.replace("\r\n", "\n")

    def plain(self, *words, **keywords):
        return COLOUR.sub("", self.on_screen(*words, **keywords))
