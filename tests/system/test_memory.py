#!/usr/bin/python3
"""How much memory a request of many megabytes makes a daemon take."""
import os
import re
import subprocess
import unittest

import wire
from node import TOOLS, Node, header

MEGABYTE = 1 << 20


def peak(pid):
    """Highest resident memory so far, in bytes."""
    with open(f"/proc/{pid}/status", encoding="ascii") as status:
        return int(re.search(r"VmHWM:\s*(\d+) kB", status.read()).group(1)) * 1024


# A sanitizer keeps what was freed, and a shadow of everything: there only a growth without bound can be seen.
IS_SANITIZED = b"san.so" in subprocess.run(["ldd", TOOLS / "lumconfd"], capture_output=True, check=True).stdout
MOST_TIMES = 40 if IS_SANITIZED else 6
LARGE = (50 if os.environ.get("LUM_LONG") else 20) * MEGABYTE
TEXT = b"x" * LARGE


def document_with(inner, **fields):
    return wire.policy_array("large", document=header("large", **fields).encode().replace(b"@@", inner))


SIGNATURE = "<files><data><file_name>d</file_name><encoding/><checksum/><signature>@@</signature></data></files>"

# What it is, and what makes the request.
MEMORY_ROWS = [
    ("a text to look for", lambda: wire.list_call("1", "@@").replace(b"@@", TEXT)),
    ("a file's name", lambda: wire.install_call(wire.policy_array("small"), file_name="@@").replace(b"@@", TEXT)),
    ("an array of rubbish", lambda: wire.install_call(TEXT)),
    ("a description", lambda: wire.install_call(document_with(TEXT, description="@@"))),
    ("a policy's name", lambda: wire.install_call(document_with(TEXT, name="@@"))),
    ("a signature", lambda: wire.install_call(document_with(TEXT, extra=SIGNATURE))),
    ("deep elements", lambda: wire.install_call(document_with(b"<a>" * (LARGE // 7) + b"</a>" * (LARGE // 7),
                                                              extra="@@"))),
    ("a data file", lambda: wire.install_call(wire.policy_array("large", {"large.data": TEXT}))),
]


class Memory(unittest.TestCase):
    """Measured against a daemon that has served nothing else, except a list."""

    def test_the_peak_stays_under_6_times_the_input_and_32_megabytes(self):
        for what, make in MEMORY_ROWS:
            with self.subTest(what), Node({"vox.http.ext.conf": {"BODY_LIMIT": 1 << 30, "BODY_TOTAL_LIMIT": 4 << 30,
                                                                 "BODY_TIMEOUT": 120000}}) as node:
                wire.ask(node, wire.list_call())
                base = peak(node.daemon.pid)
                body = make()
                answer = wire.ask(node, body)
                self.assertIsNotNone(answer)
                used = peak(node.daemon.pid) - base
                self.assertLess(used, MOST_TIMES * LARGE + 32 * MEGABYTE, f"{used / LARGE:.1f} times the input")
                self.assertEqual(wire.ask(node, wire.list_call()).status, 200)


if __name__ == "__main__":
    unittest.main()
