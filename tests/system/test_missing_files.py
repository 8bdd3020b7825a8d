#!/usr/bin/python3
"""Policies of which somebody took data files away, on a real node."""
import unittest

from node import DONE, Node, write_policy


class MissingFiles(unittest.TestCase):
    def setUp(self):
        self.node = Node()
        self.addCleanup(self.node.close)
        self.paths = {}
        for policy_id, files in (("a", ["x", "y", "z"]), ("b", ["own"])):
            self.paths[policy_id] = write_policy(self.node.folder / policy_id, policy_id, dict.fromkeys(files, b"1"),
                                                 name=f"name of {policy_id}")
            self.install(policy_id)

    def install(self, policy_id):
        result = self.node.policy("install", "--no-notify", self.paths[policy_id])
        self.assertEqual(result.code, DONE, result)

    def take_away(self, *files):
        for file in files:
            (self.node.store / "type" / file).unlink()

    def missing(self):
        """By id, of those policies whose entry has the member."""
        return {policy["id"]: policy["missing_data_files"] for policy in self.node.list()
                if "missing_data_files" in policy}

    def restart(self):
        self.node.stop()
        self.node.start()

    def test_at_the_start_each_incomplete_policy_is_one_warning_and_is_marked_in_lists(self):
        self.assertEqual(self.missing(), {})
        self.assertNotIn("MISSING", self.node.policy("list").out)
        self.take_away("x", "z")
        self.assertEqual(self.missing(), {}, "nobody has looked yet")
        self.restart()
        self.assertEqual(self.missing(), {"a": ["x", "z"]})
        self.assertEqual(self.node.log.count("is not there"), 1)
        self.assertIn(f"WARNING The data file '{self.node.store}/type/x' of the installed policy 'name of a' with id 'a' "
                      "is not there, nor are '1' more of its data files.", self.node.log)
        lines = self.node.policy("list").out.splitlines()
        self.assertRegex(lines[0], r"ID +MISSING$")
        self.assertRegex(lines[1], r" a +x and 1 more$")
        self.assertRegex(lines[2], r" b$")
        self.assertIn("MISSING: data files that were not there", lines[3])
        shown = self.node.policy("show", "--all").out
        self.assertEqual(shown.count("missing file:"), 2)
        self.assertIn("missing file: x\nmissing file: z\n", shown)

    def test_an_install_mends_it_and_reinit_looks_anew(self):
        self.take_away("y", "own")
        self.assertEqual(self.node.policy("reinit").code, DONE)
        self.assertEqual(self.missing(), {"a": ["y"], "b": ["own"]})
        self.install("a")
        self.assertEqual(self.missing(), {"b": ["own"]})
        (self.node.store / "type/own").write_bytes(b"back")
        self.assertEqual(self.missing(), {"b": ["own"]})
        self.assertEqual(self.node.policy("reinit").code, DONE)
        self.assertEqual(self.missing(), {})

    def test_a_list_of_a_policy_that_lost_its_file_to_another_one_shows_it_after_a_start(self):
        path = write_policy(self.node.folder / "c", "c", {"own": b"2"}, name="c")
        self.assertEqual(self.node.policy("install", "--no-notify", path).code, DONE)
        self.assertEqual(self.node.policy("remove", "--no-notify", "--id", "c").code, DONE)
        self.restart()
        self.assertEqual(self.missing(), {"b": ["own"]})


if __name__ == "__main__":
    unittest.main()
