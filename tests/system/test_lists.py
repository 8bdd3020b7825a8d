#!/usr/bin/python3
"""Lists of policies as people and scripts read them: at a terminal, in columns, sorted, narrowed."""
import json
import unittest

import pki
from node import DONE, NOT_FOUND, NOTHING_TO_DO, WRONG_USAGE, Node, write_policy
from terminal import COLOUR, Terminal

GREEN, YELLOW = "\x1b[32menabled\x1b[0m", "\x1b[33mdisabled\x1b[0m"


class Lists(unittest.TestCase):
    def setUp(self):
        self.node = Node()
        self.addCleanup(self.node.close)

    def install(self, policy_id, **fields):
        fields.setdefault("name", policy_id)
        path = write_policy(self.node.folder / "source", policy_id, **fields)
        self.assertEqual(self.node.policy("install", "--no-notify", path).code, DONE)

    def fill(self):
        self.install("a", name="zulu", type_name="t1", owner="me", version="3", categories=["c", "d"])
        self.install("b", name="alpha", type_name="t2", owner="you", version="1", status="disabled", categories=["c"])
        self.install("c", name="mike", type_name="t1", owner="you", version="2", attributes=[("k", "v")])

    def listed(self, *arguments, code=DONE):
        result = self.node.policy("list", *arguments)
        self.assertEqual(result.code, code, result)
        return result.out

    def names(self, *arguments, code=DONE):
        return self.listed("-o", "name", *arguments, code=code).split()

    def at_terminal(self, *arguments, columns, **environment):
        with Terminal(self.node.command("lumpolicy", *arguments), self.node.environment(**environment),
                      columns=columns) as terminal:
            self.assertEqual(terminal.end(), DONE, terminal.shown)
            return terminal

    def test_a_table_fits_the_terminal_and_shortens_cells(self):
        self.install("0" * 36, name="a name that is much too long for so narrow a terminal", owner="o" * 30)
        self.install("b")
        for columns in (40, 60, 80):
            terminal = self.at_terminal("list", columns=columns)
            lines = terminal.lines()
            self.assertLessEqual(max(map(len, lines)), columns, lines)
            self.assertEqual(len(lines), 4, "header, two policies, and what is behind the last line end")
            self.assertIn("…", lines[1])
        self.assertNotIn("…", self.at_terminal("list", columns=200).shown)
        self.assertNotIn("…", self.listed(), "a pipe gets all")
        wide = self.at_terminal("list", "-o", "wide", columns=60)
        self.assertNotIn("…", wide.shown)
        self.assertIn("DESCRIPTION", wide.shown)

    def test_states_are_coloured_at_a_terminal_that_may_be(self):
        self.fill()
        shown = self.at_terminal("list", columns=120).shown
        self.assertEqual((shown.count(GREEN), shown.count(YELLOW)), (2, 1), shown)
        self.assertEqual(shown.count("\x1b"), 6, "and nothing else")
        for environment in ({"NO_COLOR": "1"}, {"TERM": "dumb"}):
            plain = self.at_terminal("list", columns=120, **environment).shown
            self.assertNotIn("\x1b", plain)
            self.assertEqual(COLOUR.sub("", shown), plain)
        self.assertNotIn("\x1b", self.listed())

    def test_a_list_is_sorted_by_type_and_name_or_as_it_is_asked(self):
        self.fill()
        self.assertEqual(self.names(), ["t1:mike", "t1:zulu", "t2:alpha"])
        self.assertEqual(self.names("--sort-by", "name"), ["t2:alpha", "t1:mike", "t1:zulu"])
        self.assertEqual(self.names("--sort-by", "version"), ["t2:alpha", "t1:mike", "t1:zulu"])
        self.assertEqual(self.names("--sort-by", "owner"), ["t1:zulu", "t1:mike", "t2:alpha"])
        self.assertEqual(self.names("--sort-by", "id"), ["t1:zulu", "t2:alpha", "t1:mike"])
        answer = json.loads(self.listed("-o", "json", "--sort-by", "name"))
        self.assertEqual([policy["name"] for policy in answer["policies"]], ["alpha", "mike", "zulu"])
        self.assertEqual(self.node.policy("list", "--sort-by", "colour").code, WRONG_USAGE)
        self.assertEqual(self.node.policy("list", "-o", "picture").code, WRONG_USAGE)

    def test_headings_can_be_left_out(self):
        self.fill()
        self.assertEqual(self.listed().splitlines()[0].split(),
                         ["TYPE", "NAME", "VERSION", "STATUS", "OWNER", "CATEGORIES", "ID"])
        self.assertEqual(self.listed("--no-headers").splitlines()[0].split(),
                         ["t1", "mike", "2", "enabled", "you", "c"])

    def test_several_nodes_are_one_table_with_a_column_for_the_node(self):
        self.fill()
        authority = pki.Authority()
        self.addCleanup(authority.close)
        hosts = ["localhost", f"127.0.0.1:{self.node.port}"]
        result = self.node.policy("list", "--host", hosts[0], "--host", hosts[1])
        lines = result.out.splitlines()
        self.assertEqual(lines[0].split()[:2], ["HOST", "TYPE"], result)
        self.assertEqual([line.split()[0] for line in lines[1:4]], ["localhost"] * 3, result)
        names = self.node.policy("list", "-o", "name", "--host", hosts[0], "--host", hosts[1]).out.splitlines()
        self.assertEqual(names[0], "localhost t1:mike")

    def test_an_empty_node_lists_an_empty_table(self):
        self.assertEqual(len(self.listed().splitlines()), 1, "the headings")
        self.assertEqual(self.names(), [])
        self.assertEqual(json.loads(self.listed("--json"))["policies"], [])
        self.listed("--type", "t1", code=NOT_FOUND)
        self.assertEqual(self.node.policy("show", "--all").code, NOT_FOUND)

    def test_selections_combine(self):
        self.fill()
        for selection, expected in ((("--type", "t1", "--category", "c"), ["t1:zulu"]),
                                    (("--owner", "you", "--category", "c"), ["t2:alpha"]),
                                    (("--owner", "you", "--type", "T1", "--attribute", "k"), ["t1:mike"]),
                                    (("--id", "A", "--type", "t1"), ["t1:zulu"]),
                                    (("--name", "zulu", "--type", "t1", "--owner", "me"), ["t1:zulu"]),
                                    (("--all", "--type", "t2"), ["t2:alpha"])):
            with self.subTest(selection=selection):
                self.assertEqual(self.names(*selection), expected)
        self.names("--id", "a", "--type", "t2", code=NOT_FOUND)

    def test_a_change_of_a_combined_selection_meets_those_that_all_of_it_means(self):
        self.fill()
        selection = ("--owner", "you", "--type", "t1")
        foreseen = self.node.policy("disable", *selection, "-n", "--json").json()["changes"]
        self.assertEqual([change["id"] for change in foreseen], ["c"])
        result = self.node.policy("disable", *selection, "--no-notify", "--json")
        self.assertEqual((result.code, result.json()["policies"]), (DONE, [{"id": "c", "result": "done", "code": 0}]))
        self.assertEqual({policy["id"]: policy["status"] for policy in self.node.list()},
                         {"a": "enabled", "b": "disabled", "c": "disabled"})
        self.assertEqual(self.node.policy("disable", *selection, "--no-notify").code, NOTHING_TO_DO)
        self.assertEqual(self.node.policy("remove", "--category", "c", "--owner", "me", "--no-notify").code, DONE)
        self.assertEqual([policy["id"] for policy in self.node.list()], ["b", "c"])
        self.assertEqual(self.node.policy("remove", "--category", "c", "--owner", "me").code, NOT_FOUND)


if __name__ == "__main__":
    unittest.main()
