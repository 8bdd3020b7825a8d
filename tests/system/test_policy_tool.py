#!/usr/bin/python3
"""The operator's tool against a real daemon: install, list, remove, notify, reinit, and what it ends with."""
import unittest

from node import (DONE, EXAMPLES, FAILED, NOT_FOUND, REFUSED, UNREACHABLE, UNTOLD, WRONG_USAGE, Node, free_port,
                  write_policy)

BACKUP = "7c1f6a52-2d0e-4b39-9d77-0b6f8a1e4c11"
MONITOR = "e94b7d30-61fa-4c8e-b3c5-94d7c2a05e22"


class Tool(unittest.TestCase):
    def setUp(self):
        self.node = Node()
        self.addCleanup(self.node.close)

    def install(self, policy_id, *options, files=None, **fields):
        path = write_policy(self.node.folder / "source", policy_id, files, **fields)
        return self.node.policy("install", *options, path)

    def test_a_policy_travels_from_its_file_to_the_store_and_back_in_a_list(self):
        result = self.node.policy("install", "--no-notify", EXAMPLES / f"{BACKUP}_header.xml",
                                  EXAMPLES / f"{MONITOR}_header.xml")
        self.assertEqual(result.code, DONE, result)
        self.assertEqual(self.node.stored(), [
            f"backup/{BACKUP}_header.xml", "backup/nightly-backup.conf", "backup/nightly-backup.exclude",
            f"monitor/{MONITOR}_header.xml", "monitor/filesystems.rules"])
        listed = {policy["id"]: policy for policy in self.node.list()}
        self.assertEqual(listed[MONITOR]["name"], "Überwachung – Größe & Füllstand")
        self.assertEqual(listed[MONITOR]["description"], "Meldet volle Dateisysteme, auch unter ディスク/データ.")
        self.assertEqual(listed[BACKUP]["attributes"], [{"name": "schedule", "value": "daily"},
                                                        {"name": "retention", "value": "7d"}])
        self.assertEqual(listed[BACKUP]["type"]["name"], "backup")

    def test_data_files_arrive_byte_for_byte_and_are_read_only(self):
        content = bytes(range(256)) * 500
        self.assertEqual(self.install("a", "--no-notify", files={"d.bin": content, "empty": b""}).code, DONE)
        stored = self.node.store / "type/d.bin"
        self.assertEqual(stored.read_bytes(), content)
        self.assertEqual((self.node.store / "type/empty").read_bytes(), b"")
        self.assertEqual(stored.stat().st_mode & 0o222, 0)

    def test_a_package_of_three_is_installed_by_one_request(self):
        headers = sorted(EXAMPLES.glob("1a2b3c4d-*_header.xml"))
        result = self.node.policy("install", "--no-notify", "--package", *headers)
        self.assertEqual(result.code, DONE, result)
        self.assertEqual(len(self.node.list("--type", "collect")), 3)

    def test_the_consumer_hears_of_the_first_and_the_last_policy_of_a_type_in_order(self):
        consumer = self.node.consumer("CHECK_POLICY:*", "REMOVE_POLICY:*", "FIRST_POLICY:*", "LAST_POLICY:*")
        self.install("a")
        self.install("b", name="other")
        self.node.policy("remove", "--id", "a")
        self.node.policy("remove", "--name", "other", "--type", "type")
        self.assertEqual(consumer.await_count(6), [
            "FIRST_POLICY:type", "CHECK_POLICY:type a", "CHECK_POLICY:type b", "REMOVE_POLICY:type a",
            "REMOVE_POLICY:type b", "LAST_POLICY:type"])

    def test_without_a_registered_consumer_an_install_is_done_but_nobody_was_told(self):
        result = self.install("a")
        self.assertEqual(result.code, UNTOLD, result)
        self.assertEqual([policy["id"] for policy in self.node.list()], ["a"])
        self.assertIn("The control service notification trigger reported errors", result.err)
        self.assertIn("\n  ", result.err, "details are indented below the outer message")

    def test_without_notification_nobody_needs_to_listen(self):
        self.assertEqual(self.install("a", "--no-notify").code, DONE)
        consumer = self.node.consumer("CHECK_POLICY:type", "FIRST_POLICY:type")
        self.assertEqual(self.node.policy("notify").code, DONE)
        self.assertEqual(consumer.await_count(2), ["FIRST_POLICY:type", "CHECK_POLICY:type a"])

    def test_exit_codes_tell_what_came_of_a_request(self):
        self.assertEqual(self.node.policy("list").code, DONE)
        self.assertEqual(self.node.policy("list", "--type", "type").code, NOT_FOUND)
        self.install("a", "--no-notify")
        self.assertEqual(self.node.policy("remove", "--name", "nobody").code, NOT_FOUND)
        self.assertEqual(self.node.policy("list", "--id", "a").code, DONE)
        self.assertEqual(self.install("a", "--no-notify", owner="somebody else").code, REFUSED)
        self.assertEqual(self.install("a", "--no-notify", "--check-version").code, REFUSED)
        self.assertEqual(self.install("a", "--no-notify", type_name="other").code, FAILED)
        self.assertEqual(self.node.policy("list", "--host", f"127.0.0.1:{free_port()}").code, UNREACHABLE)

    def test_wrong_usage_names_the_argument_and_changes_nothing(self):
        for arguments, words in (
                ((), "usage"),
                (("remove",), "which policies"),
                (("install",), "FILE"),
                (("install", "--enable", "--disable", "x_header.xml"), "--disable"),
                (("install", "/nowhere/x_header.xml"), "/nowhere/x_header.xml"),
                (("install", "/etc/hostname"), "_header.xml"),
                (("install", "/tmp"), "/tmp"),
                (("list", "--wrong"), "--wrong"),
                (("dance",), "dance"),
                (("list", "--host", " "), "host")):
            with self.subTest(arguments=arguments):
                result = self.node.policy(*arguments)
                self.assertNotIn(result.code, (DONE, UNTOLD, NOT_FOUND), result)
                self.assertIn(words, result.err + result.out)
        self.assertEqual(self.node.stored(), [])

    def test_an_equals_sign_in_a_selected_name_is_refused_before_anything_is_sent(self):
        result = self.node.policy("list", "--name", "a=b")
        self.assertEqual(result.code, WRONG_USAGE, result)
        self.assertIn("no policy has one with a '='", result.err)

    def test_every_kind_of_selection_finds_its_policies(self):
        self.install("a", "--no-notify", name="one", type_name="t1", owner="o1", categories=["c1"],
                     attributes=[("k", "1")])
        self.install("b", "--no-notify", name="two", type_name="t2", owner="o2", categories=["c2"],
                     attributes=[("k", "2")])
        for selection, expected in (
                (("--id", "A"), ["a"]), (("--name", "two"), ["b"]), (("--type", "T1"), ["a"]),
                (("--owner", "o2"), ["b"]), (("--owner", "o2", "--name", "two"), ["b"]),
                (("--category", "c1"), ["a"]), (("--attribute", "k"), ["a", "b"]), (("--attribute", "k=2"), ["b"]),
                (("--name", "one", "--type", "t1"), ["a"]), (("--name", "t2:two"), ["b"]),
                (("--all",), ["a", "b"]), ((), ["a", "b"])):
            with self.subTest(selection=selection):
                self.assertEqual([policy["id"] for policy in self.node.list(*selection)], expected)

    def test_the_choices_of_an_install_reach_the_node(self):
        options = ("--no-notify", "--disable", "--owner", "boss", "--add-category", "new", "--remove-category", "old",
                   "--add-attribute", "k=v=w", "--remove-attribute", "x=1")
        self.assertEqual(self.install("a", *options, categories=["old", "kept"], attributes=[("x", "1")]).code, DONE)
        policy = self.node.list()[0]
        self.assertEqual((policy["status"], policy["owner"]), ("disabled", "boss"))
        self.assertEqual(policy["categories"], ["kept", "new"])
        self.assertEqual(policy["attributes"], [{"name": "k", "value": "v=w"}])
        self.assertEqual(self.install("a", "--no-notify", "--force-owner", "--remove-owner", "--force-categories",
                                      "--remove-all-categories", "--force-attributes", "--remove-all-attributes",
                                      "--enable", "--force-state", "--check-version", version="2",
                                      categories=["x"], attributes=[("y", "1")]).code, DONE)
        policy = self.node.list()[0]
        self.assertEqual((policy["status"], policy["owner"], policy["version"]), ("enabled", "", "2"))
        self.assertEqual((policy["categories"], policy["attributes"]), ([], []))

    def test_a_store_that_changed_on_disk_is_seen_after_reinit(self):
        self.install("a", "--no-notify")
        write_policy(self.node.store / "type", "b", name="other")
        self.assertEqual(len(self.node.list()), 1)
        self.assertEqual(self.node.policy("reinit").code, DONE)
        self.assertEqual([policy["id"] for policy in self.node.list()], ["a", "b"])

    def test_a_remove_that_meets_missing_files_is_a_success_and_the_cache_follows_the_disk(self):
        self.install("a", "--no-notify", files={"gone": b"1", "there": b"2"})
        (self.node.store / "type/gone").unlink()
        self.assertEqual(self.node.policy("remove", "--id", "a", "--no-notify").code, DONE)
        self.assertEqual(self.node.list(), [])
        self.install("b", "--no-notify")
        (self.node.store / "type/b_header.xml").unlink()
        self.assertEqual(self.node.policy("remove", "--id", "b", "--no-notify").code, DONE)
        self.assertEqual(self.node.list(), [])

    def test_quiet_prints_nothing_on_success_and_json_one_object(self):
        self.assertEqual(self.install("a", "--no-notify", "--quiet").out, "")
        result = self.install("b", "--no-notify", "--json", name="other")
        self.assertEqual((result.json()["result"], result.json()["code"]), ("done", 0))
        failure = self.node.policy("remove", "--id", "zzz", "--json").json()
        self.assertEqual((failure["result"], failure["code"]), ("not found", NOT_FOUND))
        self.assertTrue(failure["messages"])

    def test_names_from_a_node_cannot_drive_the_terminal(self):
        self.install("a", "--no-notify", name="a\u009b2Jb\u202e")
        out = self.node.policy("list").out
        self.assertIn("a?2Jb?", out)

    def test_every_operation_leaves_its_audit_line(self):
        self.install("a", "--no-notify")
        self.node.policy("list")
        self.node.policy("notify")
        self.node.policy("reinit")
        self.node.policy("remove", "--id", "a", "--no-notify")
        audit = "\n".join(self.node.audit())
        for word in ("Success Audit: INSTALL: Policy (name: 'name', id: 'a')", "Success Audit: LIST",
                     "Success Audit: REINIT", "Success Audit: REMOVE: Policy (name: 'name', id: 'a')"):
            self.assertIn(word, audit)


if __name__ == "__main__":
    unittest.main()
