#!/usr/bin/python3
"""Policies of one type with a data file of the same name, on a real node."""
import unittest

from node import DONE, FAILED, REFUSED, Node, write_policy


class SharedFiles(unittest.TestCase):
    def node_with(self, rule=None):
        node = Node({"conf.server": {"SHARED_DATA_FILES": rule}} if rule else None)
        self.addCleanup(node.close)
        return node

    def install(self, node, policy_id, *options, content=b"1", owner="o", files=("both",), **fields):
        path = write_policy(node.folder / f"source-{policy_id}", policy_id, {name: content for name in files},
                            name=f"name of {policy_id}", owner=owner, **fields)
        return node.policy("install", "--no-notify", *options, path)

    def remove(self, node, policy_id):
        self.assertEqual(node.policy("remove", "--no-notify", "--id", policy_id).code, DONE)

    def both(self, node):
        return (node.store / "type/both").read_bytes()

    def test_by_default_the_last_one_wins_and_the_log_names_both_policies_and_the_file(self):
        node = self.node_with()
        self.assertEqual(self.install(node, "a", content=b"of a", owner="me").code, DONE)
        self.assertEqual(self.install(node, "b", content=b"of b", owner="you").code, DONE)
        self.assertEqual(self.both(node), b"of b")
        self.assertIn(f"The data file '{node.store}/type/both' of policy 'name of b' with id 'b' takes the place of "
                      "that of policy 'name of a' with id 'a'", node.log)
        self.remove(node, "b")
        self.assertEqual(node.stored(), ["type/a_header.xml"])
        self.assertIn("goes with policy 'name of b' with id 'b', although policy 'name of a' with id 'a'", node.log)

    def test_keep_spares_the_file_and_gives_it_to_no_other_owner(self):
        node = self.node_with("keep")
        self.install(node, "a", content=b"of a", owner="me")
        refused = self.install(node, "b", content=b"of b", owner="you")
        self.assertEqual(refused.code, REFUSED, refused)
        for words in ("'both'", "'name of b' with id 'b'", "'name of a' with id 'a'", "'you'", "'me'"):
            self.assertIn(words, refused.err)
        self.assertEqual(node.stored(), ["type/a_header.xml", "type/both"])
        self.assertEqual(self.both(node), b"of a")
        self.assertEqual(self.install(node, "b", content=b"of b", owner="me").code, DONE)
        self.remove(node, "a")
        self.assertEqual(self.both(node), b"of b")
        self.assertEqual(self.install(node, "c", "--force-owner", content=b"of c", owner="you").code, DONE)
        self.assertEqual(self.both(node), b"of c")

    def test_keep_spares_the_file_that_an_update_drops_also_after_a_restart(self):
        node = self.node_with("keep")
        self.install(node, "a")
        self.install(node, "b")
        node.stop()
        node.start()
        self.assertEqual(self.install(node, "b", files=("other",)).code, DONE)
        self.assertEqual(node.stored(), ["type/a_header.xml", "type/b_header.xml", "type/both", "type/other"])

    def test_refuse_lets_nobody_beside_but_by_force(self):
        node = self.node_with("refuse")
        self.install(node, "a", content=b"of a")
        refused = self.install(node, "b", content=b"of b")
        self.assertEqual(refused.code, FAILED, refused)
        self.assertIn("This node refuses that (SHARED_DATA_FILES).", refused.err)
        self.assertEqual(self.both(node), b"of a")
        self.assertEqual(self.install(node, "a", content=b"again").code, DONE)
        self.assertEqual(self.install(node, "b", "--force", content=b"of b").code, DONE)
        self.assertEqual(self.both(node), b"of b")

    def test_a_changed_rule_counts_at_once(self):
        node = self.node_with()
        self.install(node, "a")
        node.settings["conf.server"]["SHARED_DATA_FILES"] = "refuse"
        node.write_settings()
        self.assertEqual(self.install(node, "b").code, FAILED)
        node.settings["conf.server"]["SHARED_DATA_FILES"] = "perhaps"
        node.write_settings()
        self.assertEqual(self.install(node, "b").code, DONE)
        self.assertIn("SHARED_DATA_FILES has the unknown value 'perhaps', which counts as 'allow'", node.log)


if __name__ == "__main__":
    unittest.main()
