#!/usr/bin/python3
"""What the daemon says where the service manager keeps it: priorities for the journal, times for everybody else."""
import os
import re
import subprocess
import unittest

from node import TOOLS, Node, header

TIME = re.compile(r"\d{4}-\d\d-\d\dT")


class Journal(unittest.TestCase):
    def setUp(self):
        self.node = Node(start=False)
        self.addCleanup(self.node.close)
        # A policy that is broken: the daemon warns of it, with details, before it serves.
        broken = self.node.store / "type"
        broken.mkdir(parents=True)
        (broken / "a_header.xml").write_text(header("a")[:200])

    def start(self, stream=None):
        """Starts the daemon with this word of who reads its standard error; without one: the truth."""
        path = self.node.folder / "lumconfd.err"
        path.touch()
        status = path.stat()
        self.node.start(JOURNAL_STREAM=stream or f"{status.st_dev}:{status.st_ino}")
        self.assertEqual(self.node.stop(), 0)
        return self.node.log.splitlines()

    def test_each_line_for_the_journal_bears_its_priority_and_no_time(self):
        lines = self.start()
        for line in lines:
            self.assertRegex(line, r"^<[346]>", lines)
            self.assertNotRegex(line, TIME)
        self.assertTrue(any("serving the node" in line and line.startswith("<6>") for line in lines), lines)
        self.assertTrue(any(re.match("<[34]>", line) for line in lines), lines)
        self.assertTrue(any(re.match("<[34]>  ", line) for line in lines), "a detail bears the mark of its message")

    def test_the_log_file_keeps_its_times_while_the_journal_has_its_own(self):
        self.start()
        lines = (self.node.root / "log/lumconfd.log").read_text().splitlines()
        self.assertTrue(any(TIME.match(line) for line in lines), lines)
        self.assertFalse(any(line.startswith("<") for line in lines), lines)

    def test_a_word_about_another_stream_changes_nothing(self):
        for stream in ("1:1", "nonsense", ""):
            with self.subTest(stream=stream):
                lines = self.start(stream or " ")
                self.assertFalse(any(line.startswith("<") for line in lines), lines)

    def test_why_it_does_not_start_is_an_error_of_the_journal(self):
        with open(self.node.folder / "said", "wb") as said:
            status = os.fstat(said.fileno())
            code = subprocess.run([TOOLS / "lumconfd", "--root", "/proc/nowhere"], stderr=said,
                                  env=self.node.environment(JOURNAL_STREAM=f"{status.st_dev}:{status.st_ino}")).returncode
        text = (self.node.folder / "said").read_text()
        self.assertEqual(code, 1, text)
        self.assertRegex(text.splitlines()[-1], "^<3>lumconfd: cannot make the root")


if __name__ == "__main__":
    unittest.main()
