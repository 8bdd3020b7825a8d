#!/usr/bin/python3
"""What the daemon says where the service manager keeps it: priorities for the journal, times for everybody else."""
import os
import pathlib
import re
import subprocess
import unittest

from node import EXAMPLES, PATIENCE_S, TOOLS, Node, header, wait_until

EXAMPLE = sorted(EXAMPLES.glob("*_header.xml"))[0]
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

    def stream(self, name):
        """A file, and the environment of a program whose standard error goes there as if it were the journal."""
        stream = open(self.node.folder / name, "w+", encoding="utf-8")
        self.addCleanup(stream.close)
        status = os.fstat(stream.fileno())
        return stream, self.node.environment(JOURNAL_STREAM=f"{status.st_dev}:{status.st_ino}")

    def said(self, stream):
        return pathlib.Path(stream.name).read_text(encoding="utf-8").splitlines()

    def test_what_follows_events_says_how_urgent_each_line_is(self):
        self.node.start()
        stream, environment = self.stream("listener")
        listener = subprocess.Popen([TOOLS / "lumevents", "--exec", "/bin/false", "CHECK_POLICY:*"], stderr=stream,
                                    stdout=subprocess.DEVNULL, env=environment)
        self.node.processes.append(listener)
        wait_until(lambda: self.said(stream), "it is registered")
        self.node.policy("install", EXAMPLE)
        self.node.stop()
        wait_until(lambda: any("Waiting for it." in line for line in self.said(stream)), "it has seen the daemon go")
        self.node.start()
        wait_until(lambda: "registered again" in self.said(stream)[-1], "it is registered again")
        listener.terminate()
        self.assertEqual(listener.wait(PATIENCE_S), 0)
        for line, begin in zip(self.said(stream), ("<6>registered", "<4>lumevents: the command ended with 1", "<4>lumevents: ")):
            self.assertTrue(line.startswith(begin), self.said(stream))
        self.assertRegex(self.said(stream)[-1], "^<4>lumevents: registered again")

    def test_why_a_program_cannot_do_its_work_is_an_error_of_the_journal(self):
        for number, arguments in enumerate((("lumevents", "*"), ("lumevents", "--exec", "/no/such/command", "*"),
                                            ("lumconfd", "--what"), ("lumpolicy", "list"))):
            with self.subTest(arguments):
                stream, environment = self.stream(f"said.{number}")
                done = subprocess.run([TOOLS / arguments[0], *arguments[1:]], stderr=stream, env=environment,
                                      stdout=subprocess.DEVNULL)
                self.assertNotEqual(done.returncode, 0)
                self.assertTrue(self.said(stream)[0].startswith(f"<3>{arguments[0]}: "), self.said(stream))
                for line in self.said(stream):
                    self.assertRegex(line, "^<[36]>")


if __name__ == "__main__":
    unittest.main()
