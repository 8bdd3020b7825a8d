#!/usr/bin/python3
"""What the tools say of what went wrong: who says it, what was meant, and what to do."""
import unittest

from node import DONE, REFUSED, WRONG_USAGE, Node

STRANGER = 65534  # a user to whom nothing belongs


class Messages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.node = Node()
        cls.addClassCleanup(cls.node.close)

    def test_a_wrong_word_is_answered_with_the_nearest_one_and_one_line_of_usage(self):
        for tool, arguments, said in (
                ("lumpolicy", ("lst",), "there is no command 'lst'; did you mean 'list'?"),
                ("lumpolicy", ("remvoe", "--all"), "did you mean 'remove'?"),
                ("lumpolicy", ("dance",), "there is no command 'dance'"),
                ("lumpolicy", ("list", "--tpye", "a"), "did you mean '--type'?"),
                ("lumpolicy", ("install", "--dry-rum", "a"), "did you mean '--dry-run'?"),
                ("lumpolicy", ("list", "--nothing-like-it"), "--nothing-like-it"),
                ("lumpolicy", ("remove",), "which policies? Give --id"),
                ("lumsettings", ("gte",), "did you mean 'get'?"),
                ("lumsettings", ("get", "--jsno"), "did you mean '--json'?"),
                ("lumtrust", ("lits",), "did you mean 'list'?"),
                ("lumcluster", ("statsu",), "did you mean 'status'?"),
                ("lumconfd", ("--chek-config",), "did you mean '--check-config'?"),
                ("lumconfd", ("start",), "start"),
                ("lumconfd", ("--timeout", "5"), "--status"),
                ("lumconfd", ("--root", ""), "the folder's name is empty"),
                ("lumevents", ("--jsno", "*"), "did you mean '--json'?"),
                ("lumevents", ("--exec", "/no/such/command", "*"), "--exec: "),
                ("lumevents", (), "EVENT is required"),
                ("lumevents", ("",), "EVENT: an event's name is empty"),
                ("lumevents", ("CHECK_POLICY:*", ""), "EVENT: an event's name is empty")):
            with self.subTest(tool=tool, arguments=arguments):
                result = self.node.tool(tool, *arguments)
                self.assertEqual((result.code, result.out), (WRONG_USAGE, ""), result)
                lines = result.err.splitlines()
                self.assertEqual(len(lines), 2, result)
                self.assertTrue(lines[0].startswith(f"{tool}: "), result)
                self.assertIn(said, lines[0])
                self.assertTrue(lines[1].startswith(f"usage: {tool} "), result)
                self.assertIn("tells more", lines[1])

    def test_the_line_of_usage_names_the_arguments(self):
        self.assertIn("usage: lumpolicy install FILE... [OPTION...]", self.node.policy("install").err)
        self.assertIn("usage: lumevents EVENT... [OPTION...]", self.node.tool("lumevents").err)
        self.assertIn("usage: lumsettings get [NAMESPACE] [NAME] [OPTION...]",
                      self.node.tool("lumsettings", "get", "--what").err)

    def test_every_message_begins_with_the_name_of_its_program(self):
        for tool, *arguments in (("lumpolicy", "show", "--id", "none"), ("lumpolicy", "validate", "/nowhere"),
                                 ("lumpolicy", "install", "/nowhere_header.xml"), ("lumsettings", "get", "nothing"),
                                 ("lumsettings", "diff", "/nowhere"), ("lumtrust", "untrust", "nobody"),
                                 ("lumcluster", "explain", "nothing"), ("lumconfd", "--root=/proc/nowhere"),
                                 ("lumconfd", "--what"), ("lumevents", "--root=/proc/nowhere", "*"),
                                 ("lumclusterinfo", "-all"), ("lumappinstance", "-instances")):
            with self.subTest(tool=tool, arguments=arguments):
                result = self.node.tool(tool, *arguments)
                self.assertNotEqual(result.code, DONE, result)
                self.assertTrue(result.err.startswith(f"{tool}: "), result)
                self.assertEqual(result.err.count(f"{tool}: "), 1, result)

    def test_who_may_not_read_the_root_is_told_to_be_the_node_s_user(self):
        mode = self.node.folder.stat().st_mode
        self.addCleanup(self.node.folder.chmod, mode)
        self.node.folder.chmod(0o755)
        self.addCleanup(self.node.root.chmod, self.node.root.stat().st_mode)
        self.node.root.chmod(0o700)
        for tool, *arguments in (("lumsettings", "explain", "conf.server"), ("lumpolicy", "list"),
                                 ("lumpolicy", "verify", "--installed"), ("lumpolicy", "verify", "--installed", "--all"),
                                 ("lumpolicy", "dump", "-o", self.open_folder() / "list"), ("lumtrust", "rights"),
                                 ("lumconfd",), ("lumconfd", "--check-config"), ("lumconfd", "--status"), ("lumevents", "*")):
            with self.subTest(tool=tool, arguments=arguments):
                result = self.node.tool(tool, *arguments, user=STRANGER)
                self.assertEqual(result.code, REFUSED, result)
                self.assertIn("run it as the node's user", result.err)
                self.assertIn(str(self.node.root), result.err)
                self.assertNotIn("No policies are installed", result.err)
                self.assertNotIn("in order", result.out)

    def open_folder(self):
        """A folder in which everybody may write."""
        folder = self.node.folder / "open"
        folder.mkdir(exist_ok=True)
        folder.chmod(0o777)
        return folder


if __name__ == "__main__":
    unittest.main()
