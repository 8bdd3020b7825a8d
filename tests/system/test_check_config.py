#!/usr/bin/python3
"""What a daemon says of its configuration without serving."""
import unittest

from node import Node
from test_daemon import DaemonTest, FAILED, STOPPED, tree


class Configuration(DaemonTest):
    def check(self, node):
        return self.run_daemon(node, "--check-config")

    def test_a_configuration_in_order_is_said_to_be_so_and_nothing_is_changed(self):
        node = self.node(start=False)
        node.write_rights({"operator": "install list"})
        before = tree(node.root)
        result = self.check(node)
        self.assertEqual((result.code, result.err), (STOPPED, ""), result)
        self.assertIn("the configuration is in order", result.out)
        self.assertEqual(tree(node.root), before)

    def test_a_configuration_may_be_checked_while_the_daemon_serves(self):
        node = self.node()
        self.assertEqual(self.check(node).code, STOPPED)
        self.assertEqual(node.policy("list").code, 0)

    def test_what_is_wrong_is_told_line_by_line(self):
        for settings, words in (
                ({"vox.http.ext.conf": {"SERVER_PORT": "high"}}, ["vox.http.ext.conf", "'high'", "SERVER_PORT"]),
                ({"vox.http.ext.conf": {"IO_THREADS": "0"}}, ["'0'", "IO_THREADS", "'2' is taken"]),
                ({"vox.http.ext.conf": {"BODY_LIMIT": "64 MB"}}, ["'64 MB'", "BODY_LIMIT"]),
                ({"vox.http.ext.conf": {"BIND_ADDRESS": "everywhere"}}, ["'everywhere'", "BIND_ADDRESS"]),
                ({"vox.http.ext.conf": {"REQUEST_TIMEOUT": "5s"}}, ["REQUEST_TIMEOUT=5s", "a number"]),
                ({"vox.http.ext.conf": {"TARGET_PORT": "65536"}}, ["TARGET_PORT=65536"]),
                ({"conf.server": {"AUDIT_LOGGING": "perhaps"}}, ["[conf.server]", "AUDIT_LOGGING=perhaps"]),
                ({"conf.server": {"AUDIT_LOG_MODE": "some"}}, ["AUDIT_LOG_MODE=some", "all, failure (counts at the start) or FAILURE"]),
                ({"conf.server": {"SHARED_DATA_FILES": "some"}}, ["SHARED_DATA_FILES=some", "allow, keep or refuse"]),
                ({"conf.core": {"CONTROL_ACK_TIMEOUT": "-1"}}, ["CONTROL_ACK_TIMEOUT=-1"]),
                ({"sec.core": {"CORE_ID": "node"}, "sec.cm.certificates": {"CERT_INSTALLED": "true"}},
                 ["node.pem"]),
                ({"sec.core": {"CORE_ID": "../node"}, "sec.cm.certificates": {"CERT_INSTALLED": "true"}},
                 ["../node"]),
                ({"sec.core": {"CORE_ID": "../node"}}, ["[sec.core] CORE_ID=../node: must be empty, or a plain file name"]),
                ({"vox.http.ext.conf": {"CONNECT_TIMEOUT": "2147484"}}, ["CONNECT_TIMEOUT=2147484", "at most 2147483"])):
            with self.subTest(settings=settings), Node(settings, start=False) as node:
                result = self.check(node)
                self.assertEqual(result.code, FAILED, result)
                for word in words + ["\n1 problem\n"]:
                    self.assertIn(word, result.out)

    def test_a_line_that_is_none_is_told_with_its_file_and_number(self):
        for text, line in (("[conf.server]\nAUDIT_LOGGING=true\nnonsense\n", 3), ("stray=1\n", 1),
                           ("[conf.server\n", 1), ("[a]\nx=\\q\n", 2)):
            with self.subTest(text=text):
                node = self.node(start=False)
                (node.config / "local_settings.ini").write_text(text)
                result = self.check(node)
                self.assertEqual(result.code, FAILED, result)
                self.assertIn(str(node.config / "local_settings.ini"), result.out)
                self.assertRegex(result.out, rf"\b{line}\b")
                self.assertEqual(result.out.splitlines()[-1], "1 problem")

    def test_lines_that_are_none_hide_no_other_finding(self):
        node = self.node(start=False)
        (node.config / "local_settings.ini").write_text(
            "[conf.server]\nnonsense\nAUDIT_LOGGING=perhaps\nmore nonsense\n[vox.http.ext.conf\nAUDIT_LOGGING=x\n"
            "[conf.core]\nODD=1\n[vox.http.ext.conf]\nIO_THREADS=0\n")
        (node.config / "policy_settings.ini").write_text("[conf.server]\nWAIT_TIME=0\n\\q=1\n")
        result = self.check(node)
        self.assertEqual((result.code, result.out.splitlines()[-1]), (FAILED, "7 problems"), result)
        for words in ("Line 2 of ", "Line 4, column 1 of", "Line 5, column 1 of", "AUDIT_LOGGING=perhaps", "IO_THREADS", "WAIT_TIME=0",
                      "policy_settings.ini", "Warning: Nobody reads a key 'ODD'"):
            self.assertIn(words, result.out)
        self.assertNotIn("AUDIT_LOGGING=x", result.out)
        (node.config / "local_settings.ini").write_bytes(b"\xff\xfe=\n" * 1000)
        result = self.check(node)
        self.assertEqual(result.code, FAILED, result)
        self.assertIn("More lines of ", result.out)
        self.assertLess(len(result.out.splitlines()), 30)

    def test_a_root_that_is_not_there_is_warned_of_and_not_made(self):
        node = self.node(start=False)
        missing = node.folder / "nowhere/x"
        result = node.tool("lumconfd", "--check-config", environment=node.environment(LUM_ROOT=str(missing)))
        self.assertEqual(result.code, STOPPED, result)
        self.assertIn(f"Warning: There is no folder '{missing}/': the daemon makes it when it starts.", result.out)
        self.assertFalse(missing.parent.exists())
        empty = node.folder / "empty"
        empty.mkdir()
        result = node.tool("lumconfd", "--check-config", environment=node.environment(LUM_ROOT=str(empty)))
        self.assertEqual((result.code, result.out), (STOPPED, f"root: {empty}/\nthe configuration is in order\n"))
        plain = node.folder / "plain"
        plain.write_text("")
        result = node.tool("lumconfd", "--check-config", environment=node.environment(LUM_ROOT=str(plain)))
        self.assertEqual(result.code, FAILED, result)
        self.assertIn("is no folder.", result.out)

    def test_a_wrong_right_and_a_broken_rights_file_are_told(self):
        node = self.node(start=False)
        node.write_rights({"operator": "install lsit"})
        result = self.check(node)
        self.assertEqual(result.code, FAILED, result)
        for word in ("lsit", "operator", "authorization.ini"):
            self.assertIn(word, result.out)
        (node.root / "etc/authorization.ini").write_text("[conf]\nno line\n")
        result = self.check(node)
        self.assertEqual(result.code, FAILED, result)
        self.assertIn("authorization.ini", result.out)
        self.assertRegex(result.out, r"\b2\b")

    def test_all_problems_are_told_at_once(self):
        node = self.node({"vox.http.ext.conf": {"SERVER_PORT": "x"}, "conf.server": {"AUDIT_LOGGING": "x"}},
                         start=False)
        node.write_rights({"operator": "dance"})
        result = self.check(node)
        self.assertEqual((result.code, result.out.splitlines()[-1]), (FAILED, "3 problems"), result)


if __name__ == "__main__":
    unittest.main()
