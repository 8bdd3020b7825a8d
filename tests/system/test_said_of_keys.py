#!/usr/bin/python3
"""What the tools say of a key besides its value: when it counts, what was meant by another name, where a value comes from."""
import unittest

from node import DONE, NOTHING_TO_DO, NOT_FOUND, WRONG_USAGE, Node


class SaidOfKeys(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.node = Node()
        cls.addClassCleanup(cls.node.close)

    def settings(self, *arguments):
        return self.node.tool("lumsettings", *arguments)

    def test_a_mode_of_the_audit_log_is_told_to_count_now_or_after_a_restart(self):
        for value, words in (("failure", ("after a restart it writes failures alone", "now it writes everything")),
                             ("FAILURE", ("now it writes failures alone", "after a restart it writes everything"))):
            with self.subTest(value=value):
                result = self.settings("set", "conf.server", f"AUDIT_LOG_MODE={value}")
                said = " ".join(result.err.split())
                self.assertEqual(result.code, DONE, result)
                self.assertTrue(said.startswith(f"lumsettings: note: AUDIT_LOG_MODE={value} counts "), said)
                for word in words:
                    self.assertIn(word, said)
                self.assertEqual(self.settings("set", "-q", "conf.server", f"AUDIT_LOG_MODE={value}").err, "")
                answer = self.settings("set", "--json", "conf.server", f"AUDIT_LOG_MODE={value}")
                self.assertEqual((answer.err, len(answer.json()["notes"])), ("", 1))
        self.assertEqual(self.settings("set", "conf.server", "AUDIT_LOG_MODE=all").err, "")

    def test_what_counts_after_a_restart_is_told_where_it_is_set(self):
        for arguments, said, counts in (
                (("vox.http.ext.conf", "IO_THREADS=4"), "; IO_THREADS counts after a restart\n", "after a restart"),
                (("vox.http.ext.conf", "IO_THREADS=5", "IDLE_TIMEOUT=60000", "CALL_TIMEOUT=0"),
                 "set 3 settings on localhost; IO_THREADS, IDLE_TIMEOUT count after a restart\n", "after a restart"),
                (("sec.core", "CORE_ID=node-1"), "; CORE_ID counts thus: who is the node, ", "who is the node, "),
                (("conf.server", "WAIT_TIME=61"), "set 1 setting on localhost\n", None),
                (("backup", "IO_THREADS=5"), "set 1 setting on localhost\n", None)):
            with self.subTest(arguments=arguments):
                result = self.settings("set", *arguments)
                self.assertEqual((result.code, result.err), (DONE, ""))
                self.assertIn(said, result.out)
                told = self.settings("set", "--json", *arguments).json()
                self.assertEqual(told.get("counts", "")[:15], (counts or "")[:15])
                self.assertIn("nothing has changed", self.settings("set", *arguments).out)
                for pair in arguments[1:]:
                    self.settings("clear", arguments[0], pair.split("=")[0])

    def test_a_value_that_is_refused_is_not_answered_with_how_to_call(self):
        self.assertNotIn("usage:", self.settings("set", "conf.server", "WAIT_TIME=0").err)
        told = self.settings("set", "--json", "conf.server", "WAIT_TIME=0").json()
        self.assertEqual((told["code"], told["result"]), (WRONG_USAGE, "wrong usage"))

    def test_a_key_without_effect_is_noted(self):
        result = self.settings("set", "conf.cluster", "BUFFER_SIZE=1")
        self.assertEqual(" ".join(result.err.split()),
                         "lumsettings: note: The key 'BUFFER_SIZE' of [conf.cluster] has no effect.")
        self.assertIn("Note: The key 'BUFFER_SIZE' of [conf.cluster] has no effect.\n",
                      self.node.tool("lumconfd", "--check-config").out)
        self.assertEqual(self.settings("clear", "conf.cluster").code, DONE)

    def test_what_was_meant_is_offered_by_every_command(self):
        for arguments, code, said in (
                (("keys", "conf.sever"), NOT_FOUND, "hold no 'conf.sever'; did you mean 'conf.server'?"),
                (("explain", "conf.server", "AUDIT_LOGGIN"), NOT_FOUND,
                 "Nobody reads a key 'AUDIT_LOGGIN' of [conf.server]; did you mean 'AUDIT_LOGGING'?"),
                (("explain", "conf.servr"), NOT_FOUND, "Nobody reads a namespace [conf.servr]; did you mean 'conf.server'?"),
                (("clear", "conf.servr"), DONE, "Nobody reads a namespace [conf.servr]; did you mean 'conf.server'?"),
                (("clear", "conf.server", "WAIT_TIM"), DONE, "a key 'WAIT_TIM' of [conf.server]; did you mean 'WAIT_TIME'?"),
                (("clear", "-n", "conf.servr"), NOTHING_TO_DO, "Nobody reads a namespace [conf.servr]; did you mean")):
            with self.subTest(arguments=arguments):
                result = self.settings(*arguments)
                self.assertEqual(result.code, code, result)
                self.assertIn(said, " ".join((result.out + result.err).split()))
                self.assertNotIn("its default counts", result.err)
        self.assertIn("its default counts", " ".join(self.settings("explain", "conf.server", "WAIT_TIME").err.split()))
        self.assertEqual(self.settings("clear", "conf.server", "WAIT_TIME").out.count("Nobody"), 0)
        self.assertEqual(len(self.settings("clear", "--json", "conf.servr").json()["notes"]), 1)
        self.settings("set", "conf.servr", "A=1")
        self.assertEqual(self.settings("clear", "conf.servr").out, "cleared [conf.servr] on localhost\n")

    def test_a_key_is_described_with_its_namespace_before_it(self):
        whole = self.settings("describe", "WAIT_TIME").out
        for arguments in (("conf.server", "WAIT_TIME"), ("conf.server.WAIT_TIME",)):
            self.assertEqual(self.settings("describe", *arguments).out, whole)
        for arguments, said in ((("conf.server", "SERVER_PORT"), "'SERVER_PORT' is a key of [vox.http.ext.conf]."),
                                (("conf.server.WAIT_TIM",), "did you mean 'WAIT_TIME'?"),
                                (("conf.sever", "WAIT_TIME"), "did you mean 'conf.server'?"),
                                (("backup", "ODD"), "There is no key 'ODD'")):
            result = self.settings("describe", *arguments)
            self.assertEqual(result.code, NOT_FOUND, result)
            for words in (said, "lumsettings keys"):
                self.assertIn(words, " ".join(result.err.split()))

    def test_a_key_is_described_with_where_its_value_on_this_node_comes_from(self):
        self.assertIn("  on this node: 60 (default)\n", self.settings("describe", "WAIT_TIME").out)
        self.assertNotIn("value", self.settings("describe", "--json", "WAIT_TIME").json()["keys"][0])
        with Node(start=False) as node:
            (node.config / "local_settings.ini").write_text("[conf.server]\nnonsense\n")
            result = node.tool("lumsettings", "describe", "WAIT_TIME")
            self.assertEqual(result.code, DONE, result)
            self.assertRegex(result.out, r"  on this node: cannot be read: .*local_settings.ini")
            told = node.tool("lumsettings", "describe", "--json", "WAIT_TIME").json()["keys"][0]
            self.assertIn("local_settings.ini", told["unreadable"])


if __name__ == "__main__":
    unittest.main()
