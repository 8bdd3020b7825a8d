#!/usr/bin/python3
"""Arguments that are wrong: what is said of them, and which word is offered instead."""
import unittest

from node import FAILED, WRONG_USAGE, Node


class WrongWords(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.node = Node(start=False)
        cls.addClassCleanup(cls.node.close)

    def assert_said(self, line, said, code=WRONG_USAGE):
        tool, *arguments = line.split()
        result = self.node.tool(tool, *arguments)
        text = " ".join(result.err.split())
        with self.subTest(line):
            self.assertEqual((result.code, result.out), (code, ""), result)
            self.assertTrue(text.startswith(f"{tool}: {said}"), text)
            self.assertTrue("usage: " in text or "-help' tells how" in text, text)

    def test_a_value_that_is_none_of_a_set_is_answered_with_the_set_and_the_nearest(self):
        for line, said in (
                ("lumpolicy list -o tabel", "--output: 'tabel' is none of table, wide, name, json; did you mean 'table'?"),
                ("lumpolicy list --sort-by nme", "--sort-by: 'nme' is none of "),
                ("lumtrust grant x isntall", "'isntall' is none of the rights, install, remove, "),
                ("lumpolicy list -o", "--output needs a value: one of table, wide, name, json")):
            self.assert_said(line, said)
        for line, word in (("lumpolicy list --sort-by nme", "name"), ("lumtrust grant x isntall", "install"),
                           ("lumtrust revoke x lsit", "list")):
            result = self.node.tool(*line.split())
            self.assertIn(f"did you mean '{word}'?", result.err.replace("\n", " "))

    def test_a_number_that_is_none_is_told_with_its_range(self):
        for value in ("0", "257", "x", "-1"):
            self.assert_said(f"lumpolicy list --parallel {value}", f"--parallel: '{value}' is no number from 1 to 256")

    def test_options_that_there_are_not_are_told_in_their_order_without_their_values(self):
        self.assert_said("lumpolicy list --nme y z", "there is no option '--nme'; did you mean '--name'? usage: ")
        self.assert_said("lumpolicy list --nme=y --tpye z", "there is no option '--nme'; did you mean '--name'? "
                         "lumpolicy: there is no option '--tpye'; did you mean '--type'? usage: ")
        self.assert_said("lumpolicy install --pakage", "there is no option '--pakage'; did you mean '--package'? usage: ")
        self.assert_said("lumtrust operator -x y", "there is no option '-x' usage: ")
        self.assert_said("lumpolicy list -O wide", "there is no option '-O'; did you mean '-o'? usage: ")
        self.assert_said("lumtrust trust a b c", "not expected: 'b', 'c' usage: ")

    def test_what_is_missing_too_often_or_not_together_is_said_in_plain_words(self):
        for line, said in (("lumpolicy list --name a --name b", "--name is given 2 times, and may be given once"),
                           ("lumpolicy list --name", "--name needs a value: NAME"),
                           ("lumcluster status --interval 3", "--interval counts only with --watch"),
                           ("lumpolicy install", "FILE is required")):
            self.assert_said(line, said)

    def test_an_option_of_a_cluster_tool_is_answered_with_the_nearest_below_the_sentence(self):
        for line, option, meant in (("lumclusterinfo -al", "-al", "-all"), ("lumclusterinfo -versoin", "-versoin", "-version"),
                                    ("lumappinstance -instanses", "-instanses", "-instances"),
                                    ("lumappinstance -instances -appNamespce x", "-appNamespce", "-appNamespace")):
            tool = line.split()[0]
            self.assert_said(line, f"Unknown option '{option}'. * Did you mean '{meant}'? '{tool} -help' tells how it is "
                             "called.", FAILED)
        self.assert_said("lumclusterinfo frobnicate", "Unknown option 'frobnicate'. * 'lumclusterinfo -help' tells", FAILED)


if __name__ == "__main__":
    unittest.main()
