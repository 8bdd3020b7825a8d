#!/usr/bin/python3
"""Desired state on one node: lumpolicy apply makes it have what the files say, and says what it did."""
import json
import shutil
import signal
import subprocess
import unittest

import wire
from node import (DONE, EXAMPLES, FAILED, NOTHING_TO_DO, PATIENCE_S, REFUSED, SLOWNESS, WRONG_USAGE, Node, wait_until,
                  write_policy)
from test_tool_codes import http, peer

INTERRUPTED = 130
MANY = 2000
FAULT = wire.envelope("<s:Fault><faultcode>s:Client</faultcode><faultstring>no such method</faultstring></s:Fault>")


class ApplyTest(unittest.TestCase):
    settings = {}

    def setUp(self):
        self.node = Node(self.settings)
        self.addCleanup(self.node.close)
        self.source = self.node.folder / "source"

    def write(self, policy_id, files=None, **fields):
        fields.setdefault("name", f"name of {policy_id}")
        return write_policy(self.source, policy_id, {f"{policy_id}.conf": b"data\n"} if files is None else files, **fields)

    def apply(self, *arguments, code=DONE, told=False):
        """Without arguments: what lies in the source."""
        result = self.node.policy("apply", *([] if told else ["--no-notify"]), *(arguments or [self.source]))
        self.assertEqual(result.code, code, result)
        return result

    def rows(self, *arguments, code=DONE):
        """{id: (action, result)}"""
        answer = self.apply("--json", self.source, *arguments, code=code).json()
        return {row["id"]: (row["action"], row["result"]) for row in answer["policies"]}

    def changes(self):
        """Lines of the audit log that are not of questions."""
        return [line for line in self.node.audit() if "LIST:" not in line]


class OneNode(ApplyTest):
    def test_what_is_new_comes_and_a_second_run_changes_and_sends_nothing(self):
        self.write("a")
        self.write("b", status="disabled", categories=["one", "two"], attributes=[("os", "linux")])
        result = self.apply()
        self.assertEqual(result.out, "created name of a (type type, id a)\ncreated name of b (type type, id b)\n"
                                     "2 created\n")
        self.assertEqual(result.err, "")
        self.assertEqual({policy["id"]: policy["status"] for policy in self.node.list()},
                         {"a": "enabled", "b": "disabled"})
        changes = self.changes()
        consumer = self.node.consumer("*")
        again = self.apply(code=NOTHING_TO_DO)
        self.assertEqual(again.out, "2 unchanged\n")
        self.assertEqual(again.err, "lumpolicy: note: Nothing has to change on 'localhost'.\n")
        self.assertEqual(self.changes(), changes)
        self.assertEqual(consumer.events(), [])

    def test_in_json_every_policy_has_a_row(self):
        for policy_id in ("a", "b", "c"):
            self.write(policy_id)
        self.apply()
        self.write("b", version="2", files={"b.conf": b"other\n"})
        path = self.write("d")
        self.node.policy("remove", "--no-notify", "--id", "a")
        answer = self.apply("--json", self.source).json()
        self.assertEqual((answer["result"], answer["code"], answer["changed"]), ("done", DONE, True))
        self.assertEqual(answer["counts"], {"created": 2, "changed": 1, "removed": 0, "unchanged": 1, "failed": 0})
        rows = {row["id"]: row for row in answer["policies"]}
        self.assertEqual([(row["id"], row["action"], row["result"], row["code"]) for row in answer["policies"]],
                         [("a", "create", "created", DONE), ("b", "change", "changed", DONE),
                          ("c", "unchanged", "unchanged", DONE), ("d", "create", "created", DONE)])
        self.assertEqual([one["field"] for one in rows["b"]["differences"]], ["version", "data file b.conf"])
        self.assertEqual((rows["b"]["differences"][0]["was"], rows["b"]["differences"][0]["wanted"]), ("1", "2"))
        self.assertEqual((rows["d"]["file"], rows["d"]["name"], rows["d"]["type"]), (str(path), "name of d", "type"))
        again = self.apply("--json", self.source, code=NOTHING_TO_DO).json()
        self.assertEqual((again["changed"], again["counts"]["unchanged"]), (False, 4))

    def test_whatever_was_changed_on_the_node_is_undone(self):
        self.write("a", status="enabled", categories=["one"], attributes=[("os", "linux")], owner="me")
        self.apply()
        stored = self.node.store / "type/a.conf"

        def by_command(*command):
            return lambda: self.assertEqual(self.node.policy(*command, "--id", "a", "--no-notify").code, DONE)

        for change, field in ((by_command("disable"), "status"), (by_command("add-category", "two"), "categories"),
                              (by_command("clear-categories"), "categories"),
                              (by_command("add-attribute", "os=other"), "attributes"),
                              (by_command("clear-attributes"), "attributes"), (by_command("set-owner", ""), "owner"),
                              (lambda: stored.write_bytes(b"by hand\n"), "data file a.conf"),
                              (stored.unlink, "data file a.conf")):
            change()
            with self.subTest(field):
                self.assertIn(f"changed name of a (type type, id a): {field}\n", self.apply().out)
                self.assertEqual(self.apply(code=NOTHING_TO_DO).out, "1 unchanged\n")
        self.assertEqual(stored.read_bytes(), b"data\n")
        policy = self.node.list()[0]
        self.assertEqual((policy["status"], policy["owner"], policy["categories"]), ("enabled", "me", ["one"]))

    def test_what_the_document_leaves_out_goes_from_the_node(self):
        self.write("a", categories=["one"], attributes=[("os", "linux")], status="enabled")
        self.apply()
        self.write("a", status="disabled")
        self.assertIn("changed name of a (type type, id a): status, categories, attributes\n", self.apply().out)
        policy = self.node.list()[0]
        self.assertEqual((policy["status"], policy["categories"]), ("disabled", []))
        self.apply(code=NOTHING_TO_DO)

    def test_the_examples_are_applied_once(self):
        self.assertIn("created", self.apply(EXAMPLES).out)
        self.apply(EXAMPLES, code=NOTHING_TO_DO)

    def test_a_dry_run_says_what_would_change_and_changes_nothing(self):
        self.write("a")
        self.write("b")
        self.apply()
        self.write("b", version="2")
        self.write("c")
        (self.source / "a_header.xml").unlink()
        before, changes = self.node.stored(), self.changes()
        options = ("--dry-run", "--prune", "--type", "type")
        result = self.apply(self.source, *options)
        self.assertEqual(result.out, "would change name of b (type type, id b): version\n"
                                     "would create name of c (type type, id c)\n"
                                     "would remove name of a (type type, id a)\n"
                                     "would be: 1 created, 1 changed, 1 removed\n")
        self.assertEqual((self.node.stored(), self.changes()), (before, changes))
        self.assertEqual(self.rows(*options), {"b": ("change", "would change"), "c": ("create", "would create"),
                                               "a": ("remove", "would remove")})
        self.apply(self.source, *options[1:])
        answer = self.apply(self.source, "--json", *options, code=NOTHING_TO_DO).json()
        self.assertEqual((answer["dry_run"], answer["changed"]), (True, False))

    def test_a_difference_shows_the_header_and_the_text_before_the_change(self):
        self.write("a", {"a.conf": b"one\ntwo\n", "b.bin": b"\0\1"}, description="before")
        self.apply()
        self.write("a", {"a.conf": b"one\nthree\n", "b.bin": b"\0\2"}, description="after\twards")
        for options in (("--dry-run",), ()):
            out = self.apply(self.source, "--diff", *options).out
            for words in ("-description: before\n+description: after\twards\n",
                          "--- node: name of a (type type, id a), data file a.conf\n", "@@ -1,2 +1,2 @@\n one\n-two\n+three\n",
                          "binary: name of a (type type, id a), data file b.bin differs\n"):
                self.assertIn(words, out)
        self.assertEqual(self.apply(self.source, "--diff", code=NOTHING_TO_DO).out, "1 unchanged\n")
        self.write("new")
        row = self.apply(self.source, "--diff", "--json").json()["policies"][1]
        self.assertIn("+name: name of new\n", row["diff"])
        self.assertIn("+data\n", row["diff"])

    def test_pruning_stays_within_its_type_and_category(self):
        for policy_id, type_name, category in (("a", "one", "site"), ("b", "one", "site"), ("c", "one", "other"),
                                               ("d", "two", "site"), ("e", "two", "other")):
            self.write(policy_id, type_name=type_name, categories=[category])
        self.apply()
        for policy_id in "bcde":
            (self.source / f"{policy_id}_header.xml").unlink()

        def left():
            return sorted(policy["id"] for policy in self.node.list())

        self.apply(code=NOTHING_TO_DO)
        self.assertEqual(left(), list("abcde"), "without --prune nothing goes")
        self.apply(self.source, "--prune", "--type", "two", "--category", "site")
        self.assertEqual(left(), list("abce"))
        self.assertEqual(self.apply(self.source, "--prune", "--category", "site").out,
                         "removed name of b (type one, id b)\n1 removed, 1 unchanged\n")
        self.apply(self.source, "--prune", "--type", "ONE")
        self.assertEqual(left(), list("ae"))
        self.apply(self.source, "--prune", "--type", "one", code=NOTHING_TO_DO)

    def test_pruning_without_a_type_or_category_is_wrong_usage(self):
        self.write("a")
        for options in (("--prune",), ("--type", "one"), ("--category", "one"), ("--prune", "--type", "")):
            self.apply(self.source, *options, code=WRONG_USAGE)
        self.assertEqual(self.changes(), [])

    def test_an_empty_folder_removes_nothing(self):
        self.write("a")
        self.apply()
        (self.source / "empty").mkdir()
        result = self.apply(self.source / "empty", "--prune", "--type", "type", code=WRONG_USAGE)
        self.assertIn("There is no policy in the folder", result.err)
        self.assertEqual(len(self.node.list()), 1)

    def test_a_file_that_cannot_be_used_changes_nothing(self):
        self.write("a")
        bad = self.write("z")
        good = bad.read_text()
        for text, words in ((good.replace("</name>", "<name>"), "z_header.xml"),
                            (good.replace("z.conf", "gone.conf"), "gone.conf"),
                            (good.replace("z.conf", "../z.conf"), "does not lie beside it"),
                            (good.replace(">enabled<", ">on<"), "neither 'enabled' nor 'disabled'")):
            bad.write_text(text)
            self.assertIn(words, self.apply(code=FAILED).err)
        other = self.write("y")
        other.write_text("no document")
        bad.write_text(good.replace("z.conf", "gone.conf"))
        said = self.apply(code=FAILED).err
        for name in ("y_header.xml", "gone.conf"):
            self.assertIn(name, said, "all of them at once")
        self.assertEqual(said.count("lumpolicy: "), 2, said)
        other.write_text(good)
        bad.write_text(good)
        self.write("x").write_text(good)
        self.assertEqual(self.apply(code=WRONG_USAGE).err.count("lumpolicy: "), 2, "the same policy in three files")
        self.assertEqual((self.node.list(), self.changes()), ([], []))

    def test_a_policy_under_a_new_id_takes_the_place_of_the_old_one(self):
        self.write("old", name="same").rename(self.node.folder / "old_header.xml")
        shutil.copy(self.source / "old.conf", self.node.folder)
        self.apply(self.node.folder / "old_header.xml")
        self.write("new", name="same")
        self.assertEqual(self.rows("--prune", "--type", "type"), {"new": ("change", "changed")})
        self.assertEqual([policy["id"] for policy in self.node.list()], ["new"])
        self.apply(code=NOTHING_TO_DO)

    def test_another_owners_policy_is_left_alone_and_nothing_is_pruned_then(self):
        for policy_id in ("a", "b", "c"):
            self.write(policy_id, owner="them")
        self.apply()
        self.write("a", owner="me")
        (self.source / "c_header.xml").unlink()
        self.write("b", owner="them", version="2")
        options = ("--prune", "--type", "type")
        for more in (("--dry-run",), ()):
            result = self.apply(self.source, *options, *more, code=REFUSED)
            self.assertIn("a_header.xml: its owner 'me' is not 'them', the owner of name of a (type type, id a)", result.err)
        self.assertIn("Nothing is removed, since not everything can be installed.", result.err)
        self.assertEqual({policy["id"]: policy["version"] for policy in self.node.list()},
                         {"a": "1", "b": "2", "c": "1"})
        self.assertEqual(self.rows(*options, "--force-owner"), {"a": ("change", "changed"), "c": ("remove", "removed"),
                                                                "b": ("unchanged", "unchanged")})

    def test_a_policy_of_another_type_is_refused_by_its_file(self):
        self.write("a", type_name="one")
        self.apply()
        self.write("a", type_name="two")
        self.write("b")
        foreseen = self.rows("--dry-run", code=FAILED)
        self.assertEqual(foreseen, {"a": ("create", "failed"), "b": ("create", "would create")})
        result = self.apply(code=FAILED)
        self.assertIn("a_header.xml", result.err)
        self.assertIn("created name of b", result.out)

    def test_consumers_are_told_once_for_all(self):
        consumer = self.node.consumer("CHECK_POLICY:*", "REMOVE_POLICY:*")
        for policy_id in ("a", "b", "c"):
            self.write(policy_id)
        self.apply(told=True)
        self.assertEqual(consumer.await_count(1), ["CHECK_POLICY:type a b c"])
        (self.source / "c_header.xml").unlink()
        self.write("b", version="2")
        self.apply(self.source, "--prune", "--type", "type")
        self.assertEqual(len(consumer.events()), 1)
        self.node.policy("notify")
        self.assertEqual(consumer.await_count(3)[1:], ["CHECK_POLICY:type b", "REMOVE_POLICY:type c"])

    def test_an_older_node_is_told_apart(self):
        self.write("a")
        with peer(http(FAULT, "500 Internal Server Error")) as port:
            client = Node({"vox.http.ext.conf": {"TARGET_PORT": port}}, start=False)
            self.addCleanup(client.close)
            client.use_no_secret()
            result = client.policy("apply", self.source)
        self.assertEqual(result.code, FAILED, result)
        self.assertIn("it is of an older version", result.err)

    def test_ctrl_c_tells_what_was_sent_and_what_was_not(self):
        self.node.held_consumer("CHECK_POLICY:type", "FIRST_POLICY:type")
        self.addCleanup((self.node.folder / "gate").touch)
        self.write("a")
        self.write("b")
        self.write("c", status="disabled")
        process = subprocess.Popen(self.node.command("lumpolicy", "apply", "--json", self.source),
                                   env=self.node.environment(), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, text=True)
        self.node.processes.append(process)
        wait_until((self.node.folder / "seen").exists, "the consumer is told")
        process.send_signal(signal.SIGINT)
        answer = json.loads(process.communicate(timeout=PATIENCE_S)[0])
        self.assertEqual((process.returncode, answer["result"], answer["code"]), (INTERRUPTED, "unknown", INTERRUPTED))
        self.assertEqual([(row["id"], row["result"], row["code"]) for row in answer["policies"]],
                         [("a", "unknown", INTERRUPTED), ("b", "unknown", INTERRUPTED),
                          ("c", "not asked", INTERRUPTED)])
        self.assertIsNone(answer["changed"], "nobody knows")

    def test_thousands_of_policies_take_seconds(self):
        for i in range(MANY):
            self.write(f"p{i:04}")
        begin = self.node.processor_seconds()
        result = self.node.policy("apply", "--no-notify", self.source, timeout=10 * PATIENCE_S)
        took = self.node.processor_seconds() - begin
        self.assertEqual(result.code, DONE, result.err)
        self.assertIn(f"{MANY} created\n", result.out)
        self.assertLess(took, 30 * SLOWNESS)
        begin = self.node.processor_seconds()
        again = self.node.policy("apply", "--no-notify", self.source, timeout=10 * PATIENCE_S)
        self.assertEqual((again.code, again.out), (NOTHING_TO_DO, f"{MANY} unchanged\n"))
        self.assertLess(self.node.processor_seconds() - begin, 15 * SLOWNESS)


class LimitedType(ApplyTest):
    settings = {"conf.server": {"NOMULTIPLEPOLICIES": "limited"}}

    def test_what_a_node_refuses_of_a_package_is_told_by_its_file_and_the_others_are_there_and_told(self):
        consumer = self.node.consumer("CHECK_POLICY:*")
        self.write("a")
        self.write("m", type_name="limited")
        refused = self.write("n", type_name="limited")
        self.write("z")
        result = self.apply(code=FAILED, told=True)
        self.assertIn(str(refused), result.err)
        for other in "amz":
            self.assertNotIn(f"{other}_header.xml", result.err)
        self.assertEqual(self.rows(code=FAILED), {"a": ("unchanged", "unchanged"), "m": ("unchanged", "unchanged"),
                                                  "n": ("create", "failed"), "z": ("unchanged", "unchanged")})
        self.assertEqual(sorted(consumer.await_count(2)[:2]), ["CHECK_POLICY:limited m", "CHECK_POLICY:type a z"])


if __name__ == "__main__":
    unittest.main()
