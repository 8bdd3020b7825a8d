#!/usr/bin/python3
"""What is printed counts only when it has arrived: a full or a closed standard output is a failure."""
import os
import subprocess
import unittest

from node import DONE, FAILED, PATIENCE_S, TOOLS, Node, write_policy

# Each prints something where a node serves.
COMMANDS = [("lumpolicy", "list"), ("lumpolicy", "status"), ("lumpolicy", "--help"), ("lumpolicy", "--version"),
            ("lumpolicy", "reinit"), ("lumpolicy", "list", "--json"), ("lumsettings", "get"),
            ("lumsettings", "explain", "conf.server"), ("lumtrust", "rights"), ("lumtrust", "list"),
            ("lumconfd", "--check-config"), ("lumconfd", "--status"), ("lumconfd", "--version"),
            ("lumcluster", "check"), ("lumevents", "--version"), ("lumclusterinfo", "-version"),
            ("lumappinstance", "-help")]


class Output(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.node = Node()
        cls.addClassCleanup(cls.node.close)

    def run_into(self, command, output):
        """output: a file, or none for a closed stream."""
        close = (lambda: os.close(1)) if output is None else None
        return subprocess.run([TOOLS / command[0], *command[1:]], env=self.node.environment(),
                              stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.PIPE, text=True,
                              timeout=PATIENCE_S, preexec_fn=close)

    def test_one_that_is_full_or_closed_is_a_failure_of_every_tool(self):
        with open("/dev/full", "wb") as full:
            for command in COMMANDS:
                for output in (full, None):
                    with self.subTest(command=command, output="full" if output else "closed"):
                        result = self.run_into(command, output)
                        self.assertNotEqual(result.returncode, 0, result)
                        self.assertIn(f"{command[0]}: standard output cannot be written", result.stderr)

    def test_who_prints_nothing_needs_none(self):
        for output in (subprocess.DEVNULL, None):
            result = self.run_into(("lumpolicy", "reinit", "--quiet"), output)
            self.assertEqual((result.returncode, result.stderr), (DONE, ""), result)

    def test_an_event_that_cannot_be_printed_ends_the_listener(self):
        with open("/dev/full", "wb") as full:
            listener = subprocess.Popen([TOOLS / "lumevents", "--name", "full", "CHECK_POLICY:type"],
                                        env=self.node.environment(), stdin=subprocess.DEVNULL, stdout=full,
                                        stderr=subprocess.PIPE, text=True)
            self.node.processes.append(listener)
            self.assertIn("registered", listener.stderr.readline())
            self.node.policy("install", write_policy(self.node.folder / "source", "a"))
            self.assertEqual(listener.wait(PATIENCE_S), FAILED)
            self.assertEqual(listener.stderr.read(), "lumevents: standard output cannot be written\n")


if __name__ == "__main__":
    unittest.main()
