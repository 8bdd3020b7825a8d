#!/usr/bin/python3
"""Policies of one type with a data file of the same name, on a real node."""
import json
import unittest

import pki
from node import DONE, FAILED, NOT_FOUND, NOTHING_TO_DO, REFUSED, UNREACHABLE, Node, free_port, write_policy


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

    WARNING = ("lumpolicy: warning: The data file 'both' of name of b (type type, id b) is also one of name of a (type type, id a), "
               "which is installed on 'localhost'. A node keeps it once for both.\n")

    def test_the_tool_warns_before_it_sends_and_the_install_goes_on(self):
        node = self.node_with()
        self.assertEqual(self.install(node, "a").err, "")
        self.assertEqual(self.install(node, "a", content=b"2", files=("both", "more")).err, "", "it is the same policy")
        first = self.install(node, "b", files=("both", "own"))
        self.assertEqual((first.code, first.err), (DONE, self.WARNING))
        self.assertEqual(self.install(node, "b", "--quiet").err, self.WARNING)
        self.assertEqual(self.install(node, "b", "--package").err, self.WARNING)
        answer = self.install(node, "b", "--json")
        self.assertEqual(answer.err, "")
        self.assertEqual(answer.json()["warnings"], [{"level": 0, "text": self.WARNING[len("lumpolicy: warning: "):-1]}])
        self.assertEqual(self.install(node, "c", "--json", files=("other",)).json()["warnings"], [])
        self.assertEqual(self.install(node, "d", type_name="another").err, "")

    def test_a_dry_run_warns_and_installs_nothing(self):
        node = self.node_with()
        self.install(node, "a")
        result = self.install(node, "b", "--dry-run")
        self.assertEqual((result.code, result.err), (DONE, self.WARNING))
        self.assertIn("would install name of b", result.out)
        self.assertEqual(len(self.install(node, "b", "--dry-run", "--json").json()["warnings"]), 1)
        self.assertEqual([policy["id"] for policy in node.list()], ["a"])

    def apply(self, node, policy_id, *options, content=b"1", files=("both",), command="apply", **fields):
        folder = node.folder / f"wanted-{policy_id}"
        write_policy(folder, policy_id, {name: content for name in files}, name=f"name of {policy_id}", owner="o", **fields)
        return node.policy(command, "--no-notify", *options, folder)

    def test_apply_and_import_warn_before_they_take_the_file_of_a_policy_that_the_node_has(self):
        node = self.node_with()
        self.install(node, "a", content=b"of a")
        for command in ("apply", "import"):
            foreseen = self.apply(node, "b", "--dry-run", command=command)
            self.assertEqual((foreseen.code, foreseen.err), (DONE, self.WARNING))
            self.assertIn("would create name of b", foreseen.out)
            self.assertEqual(self.apply(node, "b", "--dry-run", "--json", command=command).json()["warnings"],
                             [{"level": 0, "text": self.WARNING[len("lumpolicy: warning: "):-1]}])
        self.assertEqual(self.both(node), b"of a")
        done = self.apply(node, "b", "--quiet", content=b"of b")
        self.assertEqual((done.code, done.err), (DONE, self.WARNING))
        again = self.apply(node, "b", "--json", content=b"of b")
        self.assertEqual((again.code, again.json()["warnings"]), (NOTHING_TO_DO, []), "nothing is sent")
        self.assertEqual(self.apply(node, "c", type_name="another").err, "")

    def test_apply_tells_once_of_what_the_files_share_and_of_what_an_update_or_pruning_takes_along(self):
        node = self.node_with()
        folder = node.folder / "wanted"
        for policy_id in "ab":
            write_policy(folder, policy_id, {"both": b""}, name=f"name of {policy_id}", owner="o")
        among = self.WARNING.replace(", which is installed on 'localhost'", "")
        self.assertEqual(node.policy("apply", "--no-notify", folder).err, among)
        write_policy(folder, "b", {"both": b""}, name="name of b", owner="o", version="2")
        self.assertEqual(node.policy("apply", "--no-notify", folder).err, among)
        self.assertEqual(self.apply(node, "b", "--dry-run", files=("other",)).err, self.WARNING, "the update drops it")
        self.install(node, "c", files=("own",), categories=["late"])
        self.install(node, "d", files=("theirs",), type_name="another", categories=["late"])
        self.install(node, "e", files=("theirs",), type_name="another")
        pruned = self.apply(node, "a", "--dry-run", "--prune", "--type", "type", content=b"")
        self.assertEqual(pruned.err, self.WARNING)
        by_category = self.apply(node, "a", "--dry-run", "--prune", "--category", "late", content=b"")
        self.assertEqual(by_category.err, self.WARNING.replace("'both'", "'theirs'").replace("type type", "type another")
                         .replace("of b", "of d").replace("id b", "id d").replace("of a", "of e").replace("id a", "id e"))

    def test_remove_warns_of_the_files_of_others_that_go_along(self):
        node = self.node_with()
        warning = self.WARNING
        self.install(node, "a", content=b"of a", categories=["first"])
        self.install(node, "b", content=b"of b", categories=["second", "first"])
        self.install(node, "c", files=("own",))
        foreseen = node.policy("remove", "--dry-run", "--id", "b")
        self.assertEqual((foreseen.code, foreseen.err), (DONE, warning))
        self.assertIn("would remove name of b", foreseen.out)
        answer = node.policy("remove", "--dry-run", "--json", "--category", "second", "--type", "type")
        self.assertEqual(answer.err, "")
        self.assertEqual(answer.json()["warnings"], [{"level": 0, "text": warning[len("lumpolicy: warning: "):-1]}])
        for all_of_them in (("--all",), ("--category", "first"), ("--id", "c")):
            with self.subTest(all_of_them):
                self.assertEqual(node.policy("remove", "--dry-run", *all_of_them).err, "", "all go that name it")
        self.assertEqual(node.policy("remove", "--id", "nobody", "--no-notify").code, NOT_FOUND)
        removed = node.policy("remove", "--no-notify", "--id", "b")
        self.assertEqual((removed.code, removed.err), (DONE, warning))
        self.assertEqual(node.stored(), ["type/a_header.xml", "type/c_header.xml", "type/own"])

    def test_it_warns_of_the_given_files_among_each_other_and_of_many_only_the_first(self):
        node = self.node_with()
        names = [f"f{i:02}" for i in range(30)]
        folder = node.folder / "many"
        paths = [write_policy(folder, policy_id, dict.fromkeys(names, b""), name=policy_id) for policy_id in "ab"]
        result = node.policy("install", "--no-notify", *paths)
        self.assertEqual(result.code, DONE, result)
        self.assertEqual(result.err.count("is also one of a (type type, id a). A node keeps"), 10)
        self.assertIn("lumpolicy: warning: There are 20 more such data files.", result.err)
        installed = node.policy("install", "--no-notify", "--dry-run", paths[1])
        self.assertEqual(installed.err.count("which is installed on 'localhost'"), 10)

    def test_validate_of_several_files_warns_of_what_they_share(self):
        node = self.node_with()
        folder = node.folder / "source"
        a, b = (write_policy(folder, policy_id, {"both": b""}, name=policy_id) for policy_id in "ab")
        other = write_policy(folder, "c", {"both": b""}, name="c", type_name="other")
        again = write_policy(node.folder / "again", "a", {"both": b""}, name="changed")
        result = node.policy("validate", a, other, again, b)
        self.assertEqual(result.code, DONE, result)
        self.assertEqual(result.err, "lumpolicy: warning: The data file 'both' of b (type type, id b) is also one of a (type type, "
                                     "id a). A node keeps it once for both.\n")
        self.assertEqual(result.out.count("complete: "), 4)
        answers = [json.loads(line) for line in node.policy("validate", "--json", a, other, b).out.splitlines()]
        self.assertEqual([len(answer.get("warnings", [])) for answer in answers], [0, 0, 1])
        self.assertEqual(node.policy("validate", a).err, "")

    def test_who_may_install_and_remove_but_not_list_gets_no_warning_and_it_is_done(self):
        authority = pki.Authority()
        self.addCleanup(authority.close)
        node, operator = Node(start=False), Node(start=False)
        for each, core_id in ((node, "node"), (operator, "operator")):
            self.addCleanup(each.close)
            pki.enroll(each, authority, core_id)
        node.write_rights({"operator": "install remove"})
        node.start()
        for policy_id in "ab":
            path = write_policy(operator.folder / policy_id, policy_id, {"both": b""}, name=policy_id)
            result = operator.policy("install", "--no-notify", "--host", f"127.0.0.1:{node.port}", path)
            self.assertEqual((result.code, result.err), (DONE, ""))
        self.assertIn("takes the place", node.log)
        result = operator.policy("remove", "--no-notify", "--host", f"127.0.0.1:{node.port}", "--id", "a")
        self.assertEqual((result.code, result.err), (DONE, ""))

    def test_a_node_that_cannot_be_reached_is_asked_once(self):
        node = self.node_with()
        path = write_policy(node.folder / "source", "b", {"both": b""})
        answer = node.policy("install", "--json", "--host", f"127.0.0.1:{free_port()}", path)
        self.assertEqual(answer.code, UNREACHABLE, answer)
        told = answer.json()["files"]
        self.assertEqual([(one["file"], one["result"], one["code"]) for one in told],
                         [(str(path), "unreachable", UNREACHABLE)])
        self.assertIn("Cannot connect", told[0]["messages"][0]["text"])
        package = node.policy("install", "--package", "--host", f"127.0.0.1:{free_port()}", path)
        self.assertEqual(package.code, UNREACHABLE, package)

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
