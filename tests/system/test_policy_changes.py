#!/usr/bin/python3
"""The operator's tool changes installed policies: status, owner, categories, attributes; and the commands that look."""
import unittest

from node import DONE, FAILED, NOT_FOUND, NOTHING_TO_DO, REFUSED, WRONG_USAGE, Node, write_policy


class Changes(unittest.TestCase):
    def setUp(self):
        self.node = Node()
        self.addCleanup(self.node.close)

    def install(self, policy_id, files=None, **fields):
        path = write_policy(self.node.folder / "source", policy_id, files, **fields)
        self.assertEqual(self.node.policy("install", "--no-notify", path).code, DONE)
        return path

    def change(self, *arguments, expected=DONE):
        result = self.node.policy(*arguments, "--no-notify")
        self.assertEqual(result.code, expected, result)
        return result

    def one(self, policy_id="a"):
        return self.node.list("--id", policy_id)[0]

    def test_each_command_changes_what_a_list_and_the_store_then_show(self):
        self.install("a", owner="")
        steps = [
            (["disable"], "status", "disabled"),
            (["enable"], "status", "enabled"),
            (["set-owner", "operations"], "owner", "operations"),
            (["add-category", "web front"], "categories", ["web", "front"]),
            (["remove-category", "web"], "categories", ["front"]),
            (["clear-categories"], "categories", []),
            (["add-attribute", "key=value"], "attributes", [{"name": "key", "value": "value"}]),
            (["add-attribute", "other=x"], "attributes", [{"name": "key", "value": "value"},
                                                           {"name": "other", "value": "x"}]),
            (["remove-attribute", "key=value"], "attributes", [{"name": "other", "value": "x"}]),
            (["clear-attributes"], "attributes", []),
            (["set-owner", ""], "owner", ""),
        ]
        for command, field, expected in steps:
            with self.subTest(command=command):
                self.change(*command, "--id", "a")
                self.assertEqual(self.one()[field], expected)
                self.node.policy("reinit")
                self.assertEqual(self.one()[field], expected, "as the document says")

    def test_each_command_says_by_its_exit_code_that_nothing_was_to_be_done(self):
        for command in (["enable"], ["disable"]):
            self.change(*command, "--all", expected=NOT_FOUND)
        self.install("a", owner="me", categories=["c"], attributes=[("k", "v")])
        for command in (["enable"], ["set-owner", "me"]):
            result = self.change(*command, "--all", expected=NOTHING_TO_DO)
            self.assertTrue(result.err.startswith("lumpolicy: note: "), result)
        for command in (["add-category", "c"], ["remove-category", "x"], ["add-attribute", "k=v"],
                        ["remove-attribute", "k=x"]):
            self.change(*command, "--all", expected=NOT_FOUND)
        self.change("clear-categories", "--all")
        self.change("clear-categories", "--all", expected=NOT_FOUND)
        self.change("clear-attributes", "--all")
        self.change("clear-attributes", "--all", expected=NOT_FOUND)
        for command in (["set-owner", "x"], ["add-category", "x"], ["add-attribute", "x=y"], ["enable"]):
            self.change(*command, "--owner", "nobody", expected=NOT_FOUND)

    def test_wrong_arguments_are_named_and_send_nothing(self):
        self.install("a")
        before = self.node.audit()
        for arguments in (["set-owner", "--all"], ["add-category", "--all"], ["add-category", " ", "--all"],
                          ["remove-category", "", "--all"], ["add-attribute", "word", "--all"],
                          ["remove-attribute", "word", "--all"], ["add-attribute", "=v", "--all"],
                          ["add-attribute", "=", "--all"], ["disable", "--attribute", "=x"], ["remove", "--name", "a=b"],
                          ["remove", "--type", "type", "--name", ""], ["remove", "--type", ""], ["disable", "--owner", ""],
                          ["enable"], ["enable", "a", "--all"]):
            with self.subTest(arguments=arguments):
                result = self.change(*arguments, expected=WRONG_USAGE)
                self.assertTrue(result.err, result)
        self.assertEqual(self.node.audit(), before)

    def test_consumers_hear_a_change_of_status_as_such_and_any_other_as_a_check(self):
        self.install("a")
        self.node.policy("notify")
        consumer = self.node.consumer("CHECK_POLICY:*", "ENABLE_POLICY:*", "DISABLE_POLICY:*")
        for command in (["disable"], ["enable"], ["set-owner", "x"], ["add-category", "c"], ["add-attribute", "k=v"]):
            self.assertEqual(self.node.policy(*command, "--all").code, DONE, command)
        events = [line.split()[0] for line in consumer.await_count(5)]
        self.assertEqual(events, ["DISABLE_POLICY:type", "ENABLE_POLICY:type"] + 3 * ["CHECK_POLICY:type"])

    def test_every_change_leaves_its_audit_line(self):
        self.install("a", owner="me")
        for command in (["disable"], ["enable"], ["add-category", "c"], ["add-attribute", "k=v"]):
            self.change(*command, "--id", "a")
        self.change("set-owner", "me", "--id", "a", expected=NOTHING_TO_DO)
        audit = "\n".join(self.node.audit())
        for line in ("Success Audit: DISABLE: Policy (name: 'name', id: 'a') was successfully disabled.",
                     "Success Audit: ENABLE: Policy (name: 'name', id: 'a') was successfully enabled.",
                     "Success Audit: MODIFY: Policy (name: 'name', id: 'a') category was successfully changed.",
                     "Success Audit: MODIFY: Policy (name: 'name', id: 'a') attribute was successfully changed.",
                     "Success Audit: MODIFY: Policy owner changed successfully."):
            self.assertIn(line, audit)

    def test_a_dry_run_shows_what_would_change_and_changes_nothing(self):
        self.install("a", name="one", status="disabled", owner="me", categories=["c"], attributes=[("k", "v")])
        self.install("b", name="two", owner="you")
        before = self.node.list(), self.node.stored()
        expected = {
            ("remove",): ["a", "b"], ("enable",): ["a"], ("disable",): ["b"], ("set-owner", "me"): ["b"],
            ("add-category", "c d"): ["a", "b"], ("add-category", "c"): ["b"], ("remove-category", "c"): ["a"],
            ("clear-categories",): ["a"], ("add-attribute", "k=v"): ["b"], ("remove-attribute", "k=v"): ["a"],
            ("clear-attributes",): ["a"]}
        for command, ids in expected.items():
            with self.subTest(command=command):
                result = self.change(*command, "--all", "--dry-run", "--json").json()
                self.assertEqual([change["id"] for change in result["changes"]], ids)
                self.assertTrue(result["dry_run"])
                text = self.change(*command, "--all", "-n").out
                self.assertEqual(len(text.splitlines()), len(ids))
                self.assertTrue(all(line.startswith("would ") for line in text.splitlines()), text)
        self.change("remove-category", "x", "--all", "--dry-run", expected=NOTHING_TO_DO)
        self.change("remove", "--id", "zzz", "--dry-run", expected=NOT_FOUND)
        self.assertEqual((self.node.list(), self.node.stored()), before)

    def test_a_dry_run_reads_odd_arguments_as_the_node_does(self):
        self.install("a", categories=["c", "d\te"], attributes=[("k", "v")])
        for command, changes in ((("add-category", "c\td"), True), (("add-category", " c  d\te "), False),
                                 (("remove-category", "d e"), False), (("remove-category", "d\te"), True),
                                 (("add-attribute", " k = v "), False), (("add-attribute", "k=v=w"), True),
                                 (("remove-attribute", " k = v "), False), (("remove-attribute", "k=v"), True)):
            with self.subTest(command=command):
                foreseen = self.node.policy(*command, "--all", "--dry-run").code
                self.assertEqual(foreseen, DONE if changes else NOTHING_TO_DO)
                self.assertEqual(self.node.policy(*command, "--all", "--no-notify").code,
                                 DONE if changes else NOT_FOUND)

    def test_a_dry_run_does_what_the_real_run_then_does(self):
        self.install("a", status="disabled")
        self.install("b", name="other")
        foreseen = self.change("enable", "--all", "-n", "--json").json()["changes"]
        self.change("enable", "--all")
        enabled = [line for line in self.node.audit() if "was successfully enabled" in line]
        self.assertEqual(len(enabled), len(foreseen))
        self.assertIn(f"id: '{foreseen[0]['id']}'", enabled[0])

    def test_a_dry_run_of_an_install_compares_and_leaves_the_decision_to_the_node(self):
        path = write_policy(self.node.folder / "source", "a", version="2", owner="you")
        new = self.node.policy("install", "-n", path)
        self.assertIn("would install name (type type, id a), version 2, which is new to the node", new.out)
        self.install("a", version="1", owner="me")
        path = write_policy(self.node.folder / "source", "a", version="2", owner="you")
        old = self.node.policy("install", "--dry-run", "--force-owner", path)
        self.assertIn("version 1 of owner 'me', by version 2 of owner 'you': the node decides", old.out)
        refused = self.node.policy("install", "--dry-run", path)
        self.assertEqual(refused.code, REFUSED, refused)
        self.assertIn("would be refused: name (type type, id a)", refused.out)
        self.assertIn("its owner 'you' is not 'me'", refused.err)
        self.assertEqual(self.one()["version"], "1")
        self.install("b", name="other")
        path = write_policy(self.node.folder / "source", "c", name="other")
        self.assertIn("would ask the node to replace other (type type, id b), version ",
                      self.node.policy("install", "-n", path).out)
        self.assertIn(" under the id c: the node decides", self.node.policy("install", "-n", path).out)
        path = write_policy(self.node.folder / "source", "a", name="other")
        self.assertIn(", and to remove other (type type, id b), whose name it takes: the node decides",
                      self.node.policy("install", "-n", "--force-owner", path).out)
        for command in ("notify", "reinit"):
            self.assertIn("which the node alone", self.node.policy(command, "-n").out)

    def foresee(self, *options, **fields):
        path = write_policy(self.node.folder / "source", "a", **fields)
        return self.node.policy("install", "--dry-run", "--json", *options, path)

    def test_a_dry_run_of_an_install_tells_what_the_policy_would_be_with_its_options(self):
        self.install("a", version="2", owner="me", status="disabled", categories=["old"], attributes=[("old", "1")])
        fields = {"version": "3", "owner": "me", "categories": ["new"], "attributes": [("new", "1")]}
        members = ("action", "status", "owner", "categories", "attributes")
        for options in ((), ("--enable",), ("--enable", "--force-state"), ("--force",), ("--force", "--disable"),
                        ("--force-categories", "--add-category", "more"),
                        ("--force-categories", "--remove-all-categories"),
                        ("--force-attributes", "--add-attribute", "k=v", "--remove-attribute", "new=1"),
                        ("--force-owner", "--owner", "you"), ("--force", "--remove-owner"), ("--check-version",)):
            with self.subTest(options=options):
                self.assertEqual(self.node.policy("install", "--force", "--no-notify", write_policy(
                    self.node.folder / "old", "a", version="2", owner="me", status="disabled", categories=["old"],
                    attributes=[("old", "1")])).code, DONE)
                change, = self.foresee(*options, **fields).json()["changes"]
                self.assertEqual((change["action"], change["replaces"]["version"]), ("replace", "2"))
                foreseen = [change[member] for member in members[1:]]
                path = write_policy(self.node.folder / "source", "a", **fields)
                self.assertEqual(self.node.policy("install", "--no-notify", *options, path).code, DONE)
                there = self.one()
                attributes = [f"{attribute['name']}={attribute['value']}" for attribute in there["attributes"]]
                self.assertEqual(foreseen, [there["status"], there["owner"], there["categories"], attributes])

    def test_a_dry_run_of_an_install_that_would_be_refused_says_so_and_ends_like_it(self):
        self.install("a", version="2", owner="me")
        for options, fields in ((("--check-version",), {"version": "2", "owner": "me"}),
                                ((), {"version": "3", "owner": "you"}),
                                (("--owner", "you"), {"version": "3", "owner": "me"}),
                                ((), {"version": "3", "owner": "me", "type_name": "other"})):
            with self.subTest(options=options, fields=fields):
                foreseen = self.foresee(*options, **fields)
                change, = foreseen.json()["changes"]
                self.assertEqual(change["action"], "refuse")
                self.assertIn("The node would refuse name", change["refused_because"])
                path = write_policy(self.node.folder / "source", "a", **fields)
                self.assertEqual(self.node.policy("install", "--no-notify", *options, path).code, foreseen.code)
                self.assertIn(foreseen.code, (FAILED, REFUSED))
        self.assertEqual(self.foresee("--force", "--check-version", version="1", owner="you").code, DONE)

    def test_show_prints_all_that_is_known_of_a_policy(self):
        self.install("a", files={"a.conf": b"x"}, owner="me", categories=["c"], attributes=[("k", "v")])
        out = self.node.policy("show", "--id", "a").out
        for line in ("id:           a", "name:         name", "version:      1", "status:       enabled",
                     "owner:        me", "type:         type", "category:     c", "attribute:    k=v",
                     "data file:    a.conf (text/plain)", "signer:       nobody: it is not signed"):
            self.assertIn(line, out.splitlines())
        policy = self.node.policy("show", "--id", "a", "--json").json()["policies"][0]
        self.assertEqual(policy["data_files"], [{"name": "a.conf", "encoding": "text/plain"}])
        self.assertEqual(self.node.policy("show", "--id", "b").code, NOT_FOUND)
        self.assertEqual(self.node.policy("show").code, WRONG_USAGE)

    def test_dump_writes_the_documents_of_the_store_as_one_list(self):
        target = self.node.folder / "dump.txt"
        self.assertEqual(self.node.policy("dump", "-o", target).code, NOT_FOUND)
        self.install("a", type_name="one")
        self.install("b", type_name="two")
        self.assertEqual(self.node.policy("dump", "-o", target).code, DONE)
        text = target.read_text(encoding="utf-8")
        self.assertIn("<container_id>a</container_id>", text)
        self.assertIn("<container_id>b</container_id>", text)
        self.assertEqual(self.node.policy("dump", "--type", "TWO", "-o", target).code, DONE)
        self.assertNotIn("<container_id>a</container_id>", target.read_text(encoding="utf-8"))
        self.assertEqual(self.node.policy("dump", "-o", "/nowhere/at/all").code, FAILED)

    def test_help_knows_every_command(self):
        listed = self.node.policy("help").out
        for command in ("install", "list", "show", "remove", "enable", "disable", "set-owner", "add-category",
                        "remove-category", "clear-categories", "add-attribute", "remove-attribute",
                        "clear-attributes", "notify", "reinit", "validate", "dump"):
            self.assertIn(f"  {command} ", listed)
            result = self.node.policy("help", command)
            self.assertEqual(result.code, DONE)
            self.assertIn(f"Usage: lumpolicy {command}", result.out)
        self.assertEqual(self.node.policy("help", "fly").code, WRONG_USAGE)

    def test_a_refused_caller_learns_that_it_was_refused(self):
        self.install("a")
        self.node.use_no_secret()
        for command in (["enable"], ["set-owner", "x"], ["clear-categories"], ["add-attribute", "k=v"]):
            self.assertEqual(self.node.policy(*command, "--all").code, REFUSED, command)


class Validate(unittest.TestCase):
    def setUp(self):
        self.node = Node(start=False)
        self.addCleanup(self.node.close)

    def validate(self, *paths, arguments=()):
        return self.node.policy("validate", *arguments, *paths)

    def test_complete_files_are_named_and_need_no_node(self):
        path = write_policy(self.node.folder, "a", {"a.conf": b"x"})
        result = self.validate(path)
        self.assertEqual((result.code, result.out), (DONE, f"complete: {path}\n"))
        self.assertEqual(self.validate(path, arguments=["--quiet"]).out, "")

    def test_every_missing_element_and_data_file_is_named(self):
        path = write_policy(self.node.folder, "a", {"one": b"", "two": b""})
        for name in ("one", "two"):
            (self.node.folder / name).unlink()
        text = path.read_text(encoding="utf-8")
        for element in ("<name>name</name>", "<version>1</version>", "<owner>owner</owner>", "<certificate/>"):
            self.assertIn(element, text)
            text = text.replace(element, "")
        path.write_text(text, encoding="utf-8")
        result = self.validate(path)
        self.assertEqual(result.code, FAILED)
        for word in (str(path), "'<name>'", "'<version>'", "'<owner>'", "'<certificate>'", "'one'", "'two'"):
            self.assertIn(word, result.err)
        messages = self.validate(path, arguments=["--json"]).json()["messages"]
        self.assertEqual(len(messages), 7)

    def test_a_syntax_error_is_told_with_line_and_column(self):
        path = write_policy(self.node.folder, "a")
        path.write_text("<?xml version=\"1.0\"?>\n<header>\n  <policy></header>\n", encoding="utf-8")
        result = self.validate(path)
        self.assertEqual(result.code, FAILED)
        self.assertRegex(result.err, r"3\D+\d+")

    def test_the_others_are_tried_when_one_fails(self):
        good = write_policy(self.node.folder, "a")
        result = self.validate(self.node.folder / "none_header.xml", good)
        self.assertEqual(result.code, FAILED)
        self.assertIn("none_header.xml", result.err)
        self.assertIn(f"complete: {good}", result.out)


if __name__ == "__main__":
    unittest.main()
