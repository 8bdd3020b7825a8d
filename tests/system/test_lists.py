#!/usr/bin/python3
"""Lists of policies as people and scripts read them: at a terminal, in columns, sorted, narrowed."""
import json
import unittest

import pki
from node import DONE, NOT_FOUND, NOTHING_TO_DO, WRONG_USAGE, Node, wait_until, write_policy
from terminal import COLOUR, Terminal, columns_of

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
        for columns in (12, 24, 40, 60, 80):
            terminal = self.at_terminal("list", columns=columns)
            lines = terminal.lines()
            self.assertLessEqual(max(map(columns_of, lines)), columns, lines)
            self.assertEqual(len(lines), 4, "header, two policies, and what is behind the last line end")
            self.assertIn("…", lines[1])
        self.assertNotIn("…", self.at_terminal("list", columns=200).shown)
        self.assertNotIn("…", self.listed(), "a pipe gets all")
        wide = self.at_terminal("list", "-o", "wide", columns=60)
        self.assertNotIn("…", wide.shown)
        self.assertIn("DESCRIPTION", wide.shown)

    def test_characters_are_as_wide_as_the_terminal_shows_them(self):
        for number, name in enumerate(("\U0001F680" * 20, "\U0001FAE0\U0001F7E2" * 10, "\u231a\u26a1" * 10,
                                       "e\u0301\u0651" * 20, "\ud55c\uad6d" * 9, "\u1112\u1161\u11ab" * 12, "plain")):
            self.install(str(number), name=name, owner="o" * 20)
        for columns in (20, 39, 60):
            lines = self.at_terminal("list", columns=columns).lines()
            self.assertLessEqual(max(map(columns_of, lines)), columns, lines)
        starts = {columns_of(line.split("o" * 20)[0]) for line in self.listed().splitlines()[1:]}
        self.assertEqual(len(starts), 1, "the owners stand below each other")

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
        answer = json.loads(self.listed("--json"))
        self.assertEqual([policy["name"] for policy in answer["policies"]], ["mike", "zulu", "alpha"], "by type and name")
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

    def two_hosts(self):
        """The node, on both roads to it."""
        self.assertEqual(self.node.tool("lumtrust", "enroll", self.node.folder / "authority", "--core-id", "node-1").code, DONE)
        return "--host", "localhost", "--host", f"127.0.0.1:{self.node.port}"

    def test_the_status_of_several_nodes_is_a_table_with_a_line_for_each(self):
        self.install("a", status="disabled")
        hosts = self.two_hosts()
        lines = self.node.policy("status", *hosts).out.splitlines()
        self.assertEqual(lines[0].split(), ["HOST", "STATE", "VERSION", "SERVING", "POLICIES", "SETTINGS", "CERTIFICATE",
                                            "QUEUED"])
        self.assertRegex(lines[1], r"^localhost +ok +\d+\.\d+\.\d+ +\d+ \w+ +1 +merged +[67] days +\d+$")
        self.assertEqual(len(lines), 4, lines)
        self.assertTrue(lines[3].startswith("2 nodes: 2 done"), lines)
        bare = self.node.policy("status", *hosts, "--no-headers").out.splitlines()
        self.assertEqual([line.split()[0] for line in bare], ["localhost", hosts[3], "2"])
        wide = self.node.policy("status", "-o", "wide").out.splitlines()
        self.assertEqual(wide[0].split()[-2:], ["LAST", "ERROR"], "also of one node")
        self.assertIn("localhost:\n  serving", self.node.policy("status", *hosts, "-o", "text").out)
        told = [json.loads(line) for line in self.node.policy("status", *hosts, "-o", "json").out.splitlines()]
        self.assertEqual([node["policies_disabled"] for node in told], [1, 1])
        self.assertEqual(self.node.policy("status", "-o", "name").code, WRONG_USAGE)

    def test_the_table_of_states_fits_the_terminal_and_shows_the_nodes_whole(self):
        hosts = self.two_hosts()
        for columns in (60, 80):
            shown = self.at_terminal("status", *hosts, columns=columns)
            lines = shown.lines()
            self.assertLessEqual(max(map(columns_of, lines)), columns, lines)
            self.assertIn(f"\n127.0.0.1:{self.node.port} ", "\n".join(lines))
            self.assertEqual(shown.shown.count("\x1b[32mok\x1b[0m"), 2, shown.shown)

    def test_tables_of_keys_and_certificates_fit_and_shorten_names_last(self):
        self.node.tool("lumtrust", "enroll", self.node.folder / "authority", "--core-id", "node-1")
        # Whole days are shown: a week has no seven of them left from the next second on.
        wait_until(lambda: {6, 29} == {one["days_left"] for one in self.certificates()}, "a second has passed")
        self.node.tool("lumsettings", "set", "conf.server", "FORMAT_POLICY_LIST=true")
        keys = [key["name"] for key in json.loads(self.node.tool("lumsettings", "keys", "-o", "json").out)["keys"]]
        for columns in (60, 80):
            shown = "\n".join(self.tool_at_terminal("lumsettings", "keys", columns=columns))
            self.assertEqual([key for key in keys if f" {key} " not in shown], [])
            shown = "\n".join(self.tool_at_terminal("lumtrust", "list", columns=columns))
            if columns == 80:  # there is room for names and ends, less for the rest
                self.assertRegex(shown, r"demonstration-authority .*20\d\d-\d\d-\d\dT\d\d:\d\d:\d\dZ")
            self.tool_at_terminal("lumsettings", "explain", "conf.server", columns=columns)
        for tool, *arguments in (("lumsettings", "keys"), ("lumtrust", "list"), ("lumsettings", "explain", "conf.server")):
            whole = self.node.tool(tool, *arguments).out
            wide = self.tool_at_terminal(tool, *arguments, "-o", "wide", columns=60, fits=False)
            self.assertEqual("\n".join(wide), whole, tool)
            headings = whole.splitlines()[1 if "explain" in arguments else 0]
            self.assertNotIn(headings.split()[0], self.node.tool(tool, *arguments, "--no-headers").out)

    def certificates(self):
        return json.loads(self.node.tool("lumtrust", "list", "--json").out)["certificates"]

    def tool_at_terminal(self, tool, *arguments, columns, fits=True):
        with Terminal(self.node.command(tool, *arguments), self.node.environment(), columns=columns) as terminal:
            self.assertEqual(terminal.end(), DONE, terminal.shown)
            if fits:
                self.assertLessEqual(max(map(columns_of, terminal.lines())), columns, terminal.shown)
            return terminal.lines()

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
        self.assertEqual(sorted(policy["id"] for policy in self.node.list()), ["b", "c"])
        self.assertEqual(self.node.policy("remove", "--category", "c", "--owner", "me").code, NOT_FOUND)


if __name__ == "__main__":
    unittest.main()
