#!/usr/bin/python3
"""Bytes on a command line that are no UTF-8: no tool takes them for another text, wherever they stand."""
import pathlib
import subprocess
import unittest

from node import DONE, PATIENCE_S, TOOLS, WRONG_USAGE, Node, write_policy

BAD = (b"\xff", b"a\xc3", b"\xc0\xaf", b"\xed\xa0\x80", b"\xf4\x90\x80\x80")
EVERY_TOOL = sorted(path.stem for path in (pathlib.Path(__file__).resolve().parents[2] / "tools").glob("*.cpp"))


class Arguments(unittest.TestCase):
    def setUp(self):
        self.node = Node()
        self.addCleanup(self.node.close)
        path = write_policy(self.node.folder / "source", "a", name="a")
        self.assertEqual(self.node.policy("install", "--no-notify", path).code, DONE)

    def run_tool(self, tool, *arguments):
        return subprocess.run([str(TOOLS / tool).encode(), *arguments], env=self.node.environment(),
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=PATIENCE_S)

    def assert_refused(self, tool, arguments, *said):
        done = self.run_tool(tool, *arguments)
        self.assertEqual((done.returncode, done.stdout), (WRONG_USAGE, b""), done)
        self.assertTrue(done.stderr.startswith(f"{tool}: argument ".encode()), done)
        self.assertEqual(done.stderr.count(b"\n"), 1, done)
        for words in (b"is not UTF-8", *said):
            self.assertIn(words, done.stderr)
        done.stderr.decode("ascii")

    def test_every_tool_refuses_them_at_every_place_and_names_it(self):
        self.assertGreaterEqual(len(EVERY_TOOL), 5)
        for tool in EVERY_TOOL:
            for bad in BAD:
                with self.subTest(tool=tool, bad=bad):
                    self.assert_refused(tool, [bad], b"argument 1 ")
                    self.assert_refused(tool, [b"help", bad], b"argument 2 ")
                    self.assert_refused(tool, [b"--help", bad], b"argument 2, behind '--help',")
                    self.assert_refused(tool, [b"--root", bad], b"argument 2, behind '--root',")
                    self.assert_refused(tool, [b"--root=" + bad], b"argument 1, the value of '--root',")
                    self.assert_refused(tool, [b"x", b"--", bad], b"argument 3, behind '--',")

    def test_nothing_is_sent_of_a_command_of_which_a_part_is_no_text(self):
        before, audit = self.node.list(), self.node.audit()
        everything = (b"--all", b"--no-notify")
        for bad in BAD:
            for arguments in ((b"add-attribute", b"k=" + bad, *everything), (b"add-attribute", bad + b"=v", *everything),
                              (b"add-category", bad, *everything), (b"set-owner", bad, *everything),
                              (b"remove", b"--id", bad), (b"remove", b"--name=" + bad),
                              (b"remove", b"--all", b"--target-id", bad), (b"list", b"--json", b"--owner", bad),
                              (b"install", b"--owner=" + bad, b"a_header.xml"), (b"install", bad + b"_header.xml"),
                              (b"install", b"--json", bad + b"_header.xml"), (b"validate", b"--json", bad),
                              (b"install", b"--add-attribute", b"k=" + bad, b"a_header.xml"), (b"dump", b"-o" + bad),
                              (b"list", b"--host", bad), (b"list", b"--hosts-file=" + bad)):
                with self.subTest(arguments):
                    self.assert_refused("lumpolicy", arguments)
        self.assertEqual(self.node.list(), before)
        self.assertEqual(len(self.node.audit()), len(audit) + 1)  # of the list just now

    def test_what_is_utf8_is_stored_as_it_stands(self):
        text = "\u00e9\u20ac\U0001F512\ufffd"
        done = self.run_tool("lumpolicy", b"add-attribute", ("k=" + text).encode(), b"--all", b"--no-notify")
        self.assertEqual(done.returncode, DONE, done)
        self.assertEqual(self.node.list()[0]["attributes"], [{"name": "k", "value": text}])


if __name__ == "__main__":
    unittest.main()
