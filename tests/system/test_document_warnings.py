#!/usr/bin/python3
"""Policy files that act otherwise than they look: validate and install say so, and do what they always do. And those of
which a text would be missing: they are refused with the place."""
import json
import unittest

import wire
from node import DONE, FAILED, NOTHING_TO_DO, Node, header, write_policy

SECOND = "<policy><ids><container_id>P2</container_id></ids><name>second</name></policy>"
POLICIES = "has '2' elements 'policy'. What the last one says wins, its id and its name too."
DATA = "has '2' elements 'data'. Each of them gets all data files when a node rewrites the document"


class DocumentTest(unittest.TestCase):
    def setUp(self):
        self.node = Node()
        self.addCleanup(self.node.close)

    def write(self, policy_id, change=lambda text: text):
        path = write_policy(self.node.folder / "source", policy_id, {f"{policy_id}.one": b"1", f"{policy_id}.two": b"2"},
                            name=policy_id)
        path.write_text(change(path.read_text(encoding="utf-8")), encoding="utf-8")
        return path

    def with_two_data(self):
        return self.write("d", lambda text: text.replace("<file_name>d.two", "</data><data><file_name>d.two"))

    def with_two_policies(self):
        return self.write("p", lambda text: text.replace("<policytype>", SECOND + "<policytype>"))


class Warnings(DocumentTest):
    def rows(self):
        return ((self.with_two_data(), DATA), (self.with_two_policies(), POLICIES))

    def test_validate_warns_and_ends_as_before(self):
        for path, said in self.rows():
            for options in ((), ("--quiet",)):
                result = self.node.policy("validate", *options, path)
                self.assertEqual((result.code, result.out), (DONE, "" if options else f"complete: {path}\n"), result)
                self.assertEqual(len(result.err.splitlines()), 1, result)
                self.assertTrue(result.err.startswith("lumpolicy: warning: "), result)
                self.assertIn(f"'{path}' {said}", result.err)
            answer = self.node.policy("validate", "--json", path)
            self.assertEqual((answer.code, answer.err), (DONE, ""), answer)
            self.assertEqual(answer.json()["messages"], [])
            self.assertEqual([line["level"] for line in answer.json()["warnings"]], [0])
            self.assertIn(said, answer.json()["warnings"][0]["text"])

    def test_validate_warns_of_what_it_calls_incomplete_too(self):
        path = self.with_two_data()
        (path.parent / "d.two").unlink()
        result = self.node.policy("validate", path)
        self.assertEqual(result.code, FAILED)
        self.assertIn("d.two", result.err)
        self.assertIn(DATA, result.err)

    def test_of_a_plain_document_and_of_one_that_cannot_be_read_there_is_no_warning(self):
        bad = self.write("b", lambda text: text.replace("</policy>", ""))
        for path in (self.write("a"), bad, self.node.folder / "none_header.xml"):
            self.assertNotIn("WARNING", self.node.policy("validate", path).err)
            self.assertEqual(self.node.policy("validate", "--json", path).json()["warnings"], [])
            self.assertNotIn("WARNING", self.node.policy("install", "--no-notify", path).err)
            self.assertEqual(self.node.policy("install", "--no-notify", "--json", path).json()["warnings"], [])

    def test_install_warns_once_for_all_nodes_and_does_what_was_asked(self):
        nodes = ("--host", "localhost", "--host", "127.1.0.1:1")
        for path, said in self.rows():
            for options in ((), ("--package",), ("--dry-run",), ("--quiet",)):
                with self.subTest(path=path.name, options=options):
                    result = self.node.policy("install", "--no-notify", *options, path)
                    self.assertEqual(result.code, DONE, result)
                    self.assertEqual(len(result.err.splitlines()), 1, result)
                    self.assertIn(f"'{path}' {said}", result.err)
                    answer = self.node.policy("install", "--no-notify", "--json", *options, path)
                    self.assertEqual((answer.code, answer.err), (DONE, ""), answer)
                    self.assertIn(said, answer.json()["warnings"][0]["text"])
                    self.assertEqual(self.node.policy("install", *nodes, *options, path).err.count(said), 1)
        self.assertEqual(sorted(policy["id"] for policy in self.node.list()), ["d", "p2"])

    def test_a_line_of_settings_that_breaks_the_merge_is_warned_of_before_it_is_sent(self):
        path = write_policy(self.node.folder / "settings", "bad", {"a.ini": b"[a]\nb=c\nnonsense\n"},
                            type_name="configsettings", owner="")
        for command in (("install", "--dry-run"), ("apply", "--dry-run"), ("install", "--no-notify"), ("apply", "--no-notify")):
            with self.subTest(command):
                result = self.node.policy(*command, path)
                said = " ".join(result.err.split())
                self.assertIn("can merge no settings policy any more as long as this one is enabled", said)
                self.assertIn("Line 3, column 1 of 'a.ini'", said)
        self.assertEqual([one["id"] for one in self.node.list()], ["bad"], "the node takes it")
        fault, = self.node.policy("validate", "--json", path).json()["faults"]
        self.assertFalse(fault["refused"])

    def test_json_of_several_nodes_has_the_warnings_with_each(self):
        path, said = self.rows()[0]
        result = self.node.policy("install", "--json", "--no-notify", path, "--host", "localhost", "--host", "127.1.0.1:1")
        for line in result.out.splitlines():
            self.assertIn(said, json.loads(line)["warnings"][0]["text"])

    def test_a_policy_with_two_data_elements_can_be_changed_until_the_limit_and_then_stays_as_it_is(self):
        self.assertEqual(self.node.policy("install", "--no-notify", self.with_two_data()).code, DONE)
        stored = self.node.store / "type/d_header.xml"
        for change in range(20):
            before = stored.read_bytes()
            self.assertEqual(self.node.policy("reinit").code, DONE)
            result = self.node.policy("set-owner", f"owner {change}", "--all", "--no-notify")
            if result.code != DONE:
                break
        self.assertEqual((change, result.code), (11, FAILED), result)
        self.assertIn("at most '10000' files", result.err)
        self.assertEqual(stored.read_bytes(), before)
        self.assertEqual(before.count(b"<file_name>"), 8192)
        self.assertEqual(self.node.stored(), ["type/d.one", "type/d.two", "type/d_header.xml"])
        self.assertEqual(self.node.policy("remove", "--all", "--no-notify").code, DONE)
        self.assertEqual(self.node.stored(), [])


class MissingText(DocumentTest):
    TYPES = (("external", '[<!ENTITY e SYSTEM "e.xml">]'),
             ("of a parameter entity", "[<!ENTITY % p \"<!ENTITY e 'x'>\">%p;]"),
             ("of an external parameter entity", '[<!ENTITY % p SYSTEM "p.dtd">%p;]'),
             ("undefined behind an external subset", 'SYSTEM "header.dtd"'),
             ("not declared", None))

    @staticmethod
    def text_of(policy_id, document_type, old, new):
        text = header(policy_id, name=policy_id).replace(old, new)
        if document_type:
            text = text.replace("<header", f"<!DOCTYPE header {document_type}>\n<header")
        return text.encode()

    def refused(self, policy_id, document_type, old, new):
        path = self.node.folder / f"{policy_id}_header.xml"
        path.write_bytes(self.text_of(policy_id, document_type, old, new))
        for command in (("validate",), ("install", "--no-notify"), ("install", "--no-notify", "--package"),
                        ("install", "--dry-run"), ("sign", "--alias", "nobody")):
            result = self.node.policy(*command, path)
            self.assertEqual(result.code, FAILED, result)
            self.assertRegex(result.err.replace("\n", " "), r"[Ll]ine '?\d+'?,\s+column '?\d+", result)
        self.assertEqual(self.node.list(), [])

    def test_a_skipped_entity_is_refused_with_line_and_column(self):
        for number, (what, document_type) in enumerate(self.TYPES):
            with self.subTest(what):
                self.refused(f"t{number}", document_type, f"<name>t{number}", "<name>ab&e;cd")

    def test_so_is_one_in_the_value_of_an_attribute(self):
        for number, (what, document_type) in enumerate(self.TYPES):
            with self.subTest(what):
                self.refused(f"v{number}", document_type, "<name>", '<name k="1&e;2">')

    def test_a_mark_against_the_declared_encoding_is_refused(self):
        self.refused("m", None, '<?xml version="1.0" encoding="UTF-8"?>',
                     '\ufeff<?xml version="1.0" encoding="ISO-8859-1"?>')

    def test_a_node_refuses_it_from_any_client_and_says_the_place(self):
        secret = wire.secret_of(self.node)
        for what, document_type in self.TYPES:
            document = self.text_of("bad", document_type, "<name>bad", "<name>ab&e;cd")
            answer = wire.ask(self.node, wire.install_call(wire.policy_array("bad", document=document)), secret=secret)
            self.assertEqual((what, answer.value()), (what, wire.FAILED), answer)
            self.assertRegex(answer.body, rb"is refused at line \d+, column \d+", what)
        self.assertEqual((self.node.list(), self.node.stored()), ([], []))

    def test_an_entity_that_the_document_holds_is_part_of_its_text(self):
        path = self.write("a", lambda text: text.replace("<name>a", "<name>ab&e;cd").replace(
            "<header", "<!DOCTYPE header [<!ENTITY e 'x'>]>\n<header"))
        self.assertEqual(self.node.policy("install", "--no-notify", path).code, DONE)
        self.assertEqual(self.node.list()[0]["name"], "abxcd")
        self.assertEqual(self.node.policy("enable", "--all", "--no-notify").code, NOTHING_TO_DO)


if __name__ == "__main__":
    unittest.main()
