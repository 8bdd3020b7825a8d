#!/usr/bin/python3
"""What lumcluster shows at a terminal: how wide, and in which colours."""
import json
import re
import unittest

from node import DONE, FAILED
from terminal import Terminal, columns_of
from test_cluster_tool import STATUS, TOOL, OnACluster


class TerminalTest(OnACluster):
    def at_terminal(self, cluster, *arguments, code=DONE, columns=80, **environment):
        with Terminal(cluster.command(TOOL, *arguments), cluster.environment(**environment), columns=columns) as terminal:
            self.assertEqual(terminal.end(), code, terminal.shown)
            return terminal

    def test_at_a_terminal_the_tables_fit_and_states_are_coloured(self):
        cluster = self.cluster()
        self.put_policy(cluster, "disk-io", "HARG:web")
        for columns in (30, 60):
            for arguments in (("status",), ("explain", "disk-io")):
                lines = self.at_terminal(cluster, *arguments, columns=columns).lines()
                tables = lines[lines.index(""):] if "status" in arguments else [line for line in lines
                                                                                if re.match("TIE|HAR|app", line)]
                self.assertGreater(len(tables), 2, lines)
                self.assertLessEqual(max(map(columns_of, tables)), columns, lines)
        shown = self.at_terminal(cluster, "status", columns=100).shown
        self.assertEqual((shown.count("\x1b[32mOnline\x1b[0m"), shown.count("\x1b[33mOffline\x1b[0m")), (6, 3), shown)
        self.assertEqual("\n".join(self.at_terminal(cluster, "status", columns=100, NO_COLOR="1").lines()), STATUS)
        self.assertIn("\x1b[32mok\x1b[0m       product", self.at_terminal(cluster, "check", code=FAILED).shown)
        self.assertIn("\x1b[31mfailed\x1b[0m", self.at_terminal(cluster, "check", code=FAILED).shown)

    def test_tables_can_be_whole_and_without_headings(self):
        cluster = self.cluster()
        self.assertEqual("\n".join(self.at_terminal(cluster, "status", "-o", "wide", columns=30, NO_COLOR="1").lines()),
                         STATUS)
        bare = self.ask(cluster, "status", "--no-headers").out
        self.assertNotIn("ACTIVE NODE", bare)
        self.assertIn("\nalpha", bare)
        self.assertEqual(json.loads(self.ask(cluster, "status", "-o", "json").out)["schema"], 1)

    def test_names_of_a_policy_cannot_drive_the_terminal(self):
        cluster = self.cluster()
        self.put_policy(cluster, "disk-io", "HARG:we&#x85;b", name="n\u009b31mx")
        shown = self.at_terminal(cluster, "explain", "disk-io").shown
        self.assertNotRegex(shown, "[\u0080-\u009f]")
        self.assertIn("n?31mx", shown)


if __name__ == "__main__":
    unittest.main()
