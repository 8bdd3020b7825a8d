#!/usr/bin/python3
"""validate says what a node refuses, with its place, and a node does refuse it; install of several files says which."""
import json
import os
import pathlib
import unittest

from node import DONE, FAILED, NOTHING_TO_DO, Node, write_policy

STRANGER = 65534  # a user to whom nothing belongs
SETTINGS = {"vox.http.ext.conf": {"BODY_LIMIT": "100000"}}


def line_of(path, text):
    """Line and column of a text, from 1."""
    document = path.read_text(encoding="utf-8")
    at = document.index(text)
    return document.count("\n", 0, at) + 1, at - document.rfind("\n", 0, at)


class Files(unittest.TestCase):
    count = 0

    @classmethod
    def setUpClass(cls):
        cls.node = Node(SETTINGS)
        cls.addClassCleanup(cls.node.close)

    def write(self, change=None, name=None, files=None, **fields):
        Files.count += 1
        folder = self.node.folder / f"p{self.count}"
        path = write_policy(folder, fields.pop("policy_id", f"p{self.count}"), files=files or {"data": b"x"}, **fields)
        text = path.read_text(encoding="utf-8").replace("><", ">\n<")
        if change:
            self.assertIn(change[0], text)
            text = text.replace(*change, 1)
        if name:
            path.unlink()
            path = folder / name
        path.write_text(text, encoding="utf-8")
        return path

    def faults(self, path):
        answer = self.node.policy("validate", "--json", path)
        self.assertEqual(answer.code, FAILED, answer)
        return answer.json()["faults"]


class Refused(Files):
    def one(self, path, said, at=None):
        """The only fault, and a node refuses the file."""
        faults = self.faults(path)
        self.assertEqual(len(faults), 1, faults)
        self.assertIn(said, faults[0]["text"])
        self.assertTrue(faults[0]["refused"])
        self.assertNotRegex(faults[0]["text"], r"[Ll]ine \d+, column \d+: ", "it has members of its own")
        place = line_of(path, at) if at else (None, None)
        self.assertEqual((faults[0]["line"], faults[0]["column"]), place, faults)
        text = self.node.policy("validate", path).err
        if at:
            self.assertIn("Line {}, column {}: ".format(*place), " ".join(text.replace("*", " ").split()))
        self.assertEqual(text.count("lumpolicy: "), 1)
        self.assertEqual(self.node.policy("install", "--no-notify", path).code, FAILED)

    def test_a_file_whose_name_is_no_header_s(self):
        self.one(self.write(name="policy.xml"), "must end in '_header.xml'")

    def test_ids_types_and_data_files_that_are_no_names(self):
        self.one(self.write(("<container_id>", "<container_id>a/")), "The name 'a/p", "<container_id>")
        self.one(self.write(("<name>type<", "<name>../type<")), "The name '../type' is refused", "<name>../type")
        self.one(self.write(("<name>type<", "<name><")), "The name '' is refused", "<name></name>\n</policytype>")
        self.one(self.write(("<file_name>data<", "<file_name>../data<")), "The name '../data'", "<file_name>")
        self.one(self.write(("<file_name>data<", "<file_name>a_header.xml<")), "must not end in", "<file_name>")

    def test_names_by_which_no_policy_is_found(self):
        self.one(self.write(("<name>name<", "<name>a=b<")), "The name of the policy is refused", "<name>a=b")
        self.one(self.write(("<name>name<", "<name> <")), "The name of the policy is refused", "<name> <")
        self.one(self.write(("<name>type<", "<name>a=b<")), "The name of the type is refused", "<name>a=b")

    def test_attributes_whose_names_are_none(self):
        for name in ("a=b", ""):
            self.one(self.write(("<name>key<", f"<name>{name}<"), attributes=[("key", "value")]), "attribute", "<attribute>")

    def test_entities_and_broken_xml(self):
        path = self.write(("<version>1<", "<version>&nothing;<"))
        self.one(path, "entity", "&nothing;")
        path = self.write(("</version>", ""))
        faults = self.faults(path)
        self.assertEqual(len(faults), 1, faults)
        self.assertGreater(faults[0]["line"], 1)
        said = self.node.policy("validate", path).err
        self.assertEqual(said.lower().count("line "), 1, said)

    def test_data_files_that_are_not_there_or_stand_twice(self):
        path = self.write()
        (path.parent / "data").unlink()
        self.one(path, "The data file 'data' is not there.", "<file_name>")
        path = self.write(("<signature/>", "<signature/><file_name>data</file_name><encoding/><checksum/><signature/>"))
        self.one(path, "Another file of the same policy has it too", "<files>")

    def test_data_files_that_cannot_be_opened(self):
        path = self.write()
        (path.parent / "data").unlink()
        os.mkfifo(path.parent / "data")
        self.one(path, f"{path.parent}/data", "<file_name>")

    def test_data_files_that_this_user_may_not_read(self):
        path = self.write()
        (path.parent / "data").chmod(0o600)
        self.node.folder.chmod(0o755)
        answer = self.node.policy("validate", "--json", path, user=STRANGER)
        self.assertEqual(answer.code, FAILED, answer)
        self.assertIn(f"'{path.parent}/data': Permission denied", answer.json()["faults"][0]["text"])

    def test_a_signature_that_lacks(self):
        self.one(self.write(("<signature/>", "")), "number of data files found is not equal", "<files>")

    def test_data_that_no_request_takes(self):
        self.one(self.write(files={"data": b"x" * 80_000}), "The data file 'data' has 80000 bytes", "<file_name>")
        self.one(self.write(files={"a": b"x" * 40_000, "b": b"x" * 40_000}), "BODY_LIMIT")

    def test_each_missing_element_where_it_should_stand(self):
        path = self.write(("<owner>owner</owner>\n", ""))
        self.one(path, "'<owner>' not found", "<policy>")


class Odd(Files):
    def test_a_line_of_settings_that_is_none_is_told_with_its_file_and_number(self):
        path = self.write(files={"a.ini": b"[a]\nx=1\n", "b.ini": b"[a]\n\nnonsense\n"}, type_name="configsettings")
        faults = self.faults(path)
        self.assertEqual(len(faults), 1, faults)
        self.assertIn("Line 3, column 1 of 'b.ini' is no comment", faults[0]["text"])
        self.assertEqual([faults[0][name] for name in ("file", "line", "column")], ["b.ini", 3, 1])

    def test_a_folder_in_the_place_of_a_data_file_is_called_one(self):
        path = self.write(files={"data": b""})
        (path.parent / "data").unlink()
        (path.parent / "data").mkdir()
        self.assertIn("Is a directory", self.faults(path)[0]["text"])

    def test_all_lines_of_settings_that_are_none_are_told_at_once_each_once_with_their_places(self):
        path = self.write(files={"a.ini": b"x=1\n[a]\n  nonsense\r\ny=\\q\n", "b.ini": b"[b\nz=1\n\xff\n"},
                          type_name="configsettings")
        text = path.read_text(encoding="utf-8").replace("<status>enabled<", "<status>on<")
        path.write_text(text, encoding="utf-8")
        faults = self.faults(path)
        self.assertEqual([(fault["file"], fault["line"], fault["column"]) for fault in faults[1:]],
                         [("a.ini", 1, 1), ("a.ini", 3, 3), ("a.ini", 4, 1), ("b.ini", 1, 1), ("b.ini", 3, 1)], faults)
        self.assertIn("'on'", faults[0]["text"], "the header's own stand first")
        self.assertIsNone(faults[0]["file"])
        said = " ".join(self.node.policy("validate", path).err.split())
        for place in ("Line 1, column 1 of 'a.ini'", "Line 3, column 3 of 'a.ini'", "Line 3, column 1 of 'b.ini'"):
            self.assertEqual(said.count(place), 1, said)

    def test_of_a_large_file_that_is_no_settings_at_all_the_first_lines_are_told_and_that_there_are_more(self):
        path = self.write(files={"a.ini": b"[a]\n" + b"n\n" * 5000}, type_name="configsettings")
        faults = self.faults(path)
        self.assertEqual(len(faults), 1001, faults[:3])
        self.assertIn("More lines of 'a.ini' are refused.", faults[-1]["text"])

    def test_everything_is_told_at_once_and_each_thing_once(self):
        path = self.write(("<container_id>", "<container_id>a/"), files={"one": b"", "two": b""}, status="on",
                          attributes=[("key", "value")])
        text = path.read_text(encoding="utf-8").replace("<name>key<", "<name>k=<").replace("<owner>owner</owner>\n", "")
        path.write_text(text, encoding="utf-8")
        (path.parent / "two").unlink()
        faults = self.faults(path)
        for said in ("a/", "'on'", "'<owner>'", "'two'", "'k='"):
            self.assertEqual(sum(said in fault["text"] for fault in faults), 1, (said, faults))
        self.assertEqual(len(faults), 5, faults)
        places = [(fault["line"], fault["column"]) for fault in faults]
        self.assertEqual(places, sorted(places))

    def test_a_status_that_is_neither_word_is_told_by_validate_and_warned_of_by_install(self):
        path = self.write(status="Enabled")
        faults = self.faults(path)
        self.assertEqual([fault["refused"] for fault in faults], [False])
        self.assertIn("The status 'Enabled' is neither 'enabled' nor 'disabled'", faults[0]["text"])
        # A second install would find one that is not enabled, and disable it.
        for options in (("-n",), ("--package",)):
            result = self.node.policy("install", "--no-notify", *options, path)
            self.assertEqual(result.code, DONE, result)
            self.assertIn("warning: ", result.err)
            self.assertIn("has the status 'Enabled'", result.err)
        policy_id = path.name.removesuffix("_header.xml")
        for command in ("enable", "disable"):
            for options in ((), ("-n",)):
                result = self.node.policy(command, "--no-notify", "--id", policy_id, *options)
                self.assertEqual(result.code, NOTHING_TO_DO, result)
                said = " ".join(result.err.split())
                self.assertIn("has the status 'Enabled', which is neither 'enabled' nor 'disabled'", said)
                self.assertIn(f"lumpolicy install --force-state --{command} FILE", said)
        self.assertEqual(self.node.policy("install", "--no-notify", "--force-state", "--enable", path).code, DONE)
        self.assertEqual(self.node.list("--id", policy_id)[0]["status"], "enabled")
        already = self.node.policy("enable", "--id", policy_id)
        self.assertNotIn("neither", already.err)

    def test_a_status_that_is_neither_word_is_named_beside_policies_that_were_switched(self):
        odd = self.write(("<name>name<", "<name>odd<"), status="Enabled", type_name="some", files={"odd": b""})
        plain = self.write(("<name>name<", "<name>plain<"), type_name="some", files={"plain": b""})
        for path in odd, plain:
            self.assertEqual(self.node.policy("install", "--no-notify", path).code, DONE)
        selected = ("--no-notify", "--type", "some")
        for command, options in (("disable", ("-n",)), ("disable", ()), ("enable", ("--owner", "owner"))):
            with self.subTest(command=command, options=options):
                result = self.node.policy(command, *selected, *options)
                self.assertEqual(result.code, DONE, result)
                said = " ".join(result.err.split())
                self.assertIn("lumpolicy: warning: odd (type some", said)
                self.assertIn(f"lumpolicy install --force-state --{command} FILE", said)
                self.assertNotIn("plain", said)
        self.assertEqual(self.node.policy("disable", *selected).code, DONE)
        answer = self.node.policy("enable", "--json", *selected).json()
        self.assertEqual(len(answer["warnings"]), 1, answer)
        self.assertIs(answer["changed"], True)
        answer = self.node.policy("enable", "--json", *selected).json()
        self.assertEqual((answer["changed"], answer["code"], answer["warnings"]), (False, NOTHING_TO_DO, []))

    def test_every_change_says_whether_it_changed_anything(self):
        path = self.write(type_name="told")
        policy_id = path.name.removesuffix("_header.xml")
        selected = ("--no-notify", "--id", policy_id)
        for arguments, changed in ((("install", "--no-notify", path), True),
                                   (("install", "--no-notify", "--package", path), True),
                                   (("install", "--no-notify", "/nowhere_header.xml"), None),
                                   (("install", "--no-notify", "/nowhere_header.xml", path), True),
                                   (("install", "--no-notify", "--check-version", path), False),
                                   (("enable", *selected), False), (("disable", *selected), True),
                                   (("add-category", "a", *selected), True), (("add-category", "a", *selected), False),
                                   (("disable", *selected, "--type", "told"), False),
                                   (("enable", *selected, "--type", "told"), True),
                                   (("remove", *selected), True), (("remove", *selected), False)):
            with self.subTest(arguments=arguments):
                answer = self.node.policy(*arguments, "--json").json()
                self.assertIs(answer["changed"], changed, answer)

    def test_install_of_several_files_says_which_failed_and_why(self):
        good, bad, absent = self.write(), self.write(("<name>type<", "<name>../type<")), self.node.folder / "x_header.xml"
        result = self.node.policy("install", "--no-notify", good, bad, absent)
        self.assertEqual(result.code, FAILED, result)
        for path in (bad, absent):
            self.assertIn(str(path), result.err)
        answer = self.node.policy("install", "--no-notify", "--json", good, bad, absent).json()
        told = {pathlib.Path(one["file"]): one for one in answer["files"]}
        self.assertEqual([told[path]["result"] for path in (good, bad, absent)], ["done", "failed", "failed"])
        self.assertEqual(told[good]["messages"], [])
        self.assertIn("../type", json.dumps(told[bad]["messages"]))
        self.assertIn("x_header.xml", json.dumps(told[absent]["messages"]))

    def test_a_package_that_failed_says_which_files_are_the_reason(self):
        self.addCleanup(self.node.policy, "remove", "--all", "--no-notify")
        good, bad = self.write(), self.write(("<name>type<", "<name>../type<"))
        lacking, absent = self.write(), self.node.folder / "x_header.xml"
        (lacking.parent / "data").unlink()
        for guilty, files in (([bad], (good, bad)), ([lacking], (good, lacking)), ([absent], (good, absent)),
                              ([bad, lacking], (bad, good, lacking))):
            is_sent = guilty == [bad]
            with self.subTest(guilty=guilty):
                result = self.node.policy("install", "--package", "--no-notify", *files)
                self.assertEqual(result.code, FAILED, result)
                for path in guilty:
                    self.assertIn(str(path), result.err)
                self.assertNotIn(str(good), result.err)
                answer = self.node.policy("install", "--package", "--no-notify", "--json", *files).json()
                self.assertEqual([path for path in files if str(path) in json.dumps(answer["messages"])], guilty)
                if not is_sent:
                    continue
                self.assertIsNone(answer["changed"])
                told = {pathlib.Path(one["file"]): one for one in answer["files"]}
                self.assertEqual(list(told), list(files))
                self.assertEqual([told[path]["result"] for path in files], ["unknown", "failed"])
                self.assertTrue(all(told[path]["messages"] for path in guilty), told)

    def test_a_package_that_is_installed_names_its_files(self):
        self.addCleanup(self.node.policy, "remove", "--all", "--no-notify")
        files = [self.write(), self.write()]
        answer = self.node.policy("install", "--package", "--no-notify", "--json", *files).json()
        self.assertEqual([(pathlib.Path(one["file"]), one["result"], one["code"]) for one in answer["files"]],
                         [(path, "done", DONE) for path in files])


if __name__ == "__main__":
    unittest.main()
