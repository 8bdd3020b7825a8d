#!/usr/bin/python3
"""The operator's tool for settings: each command against real daemons, each exit code, and what it prints of nodes."""
import json
import subprocess
import unittest

from node import (DONE, FAILED, NOT_FOUND, NOTHING_TO_DO, PATIENCE_S, TOOLS, UNREACHABLE, WRONG_USAGE, Node, free_port,
                  wait_until, write_policy)

SOME_FAILED = 8
# What a value may hold, and how a file of settings writes it.
VALUES = {
    "plain": "plain",
    "": "",
    " blanks at both ends ": "\\sblanks at both ends\\s",
    "a=b=c": "a=b=c",
    "two\nlines\tand a tab\r\n": "two\\nlines\\tand a tab\\r\\n",
    "C:\\folder\\new": "C:\\\\folder\\\\new",
    "# [no comment]": "# [no comment]",
    "<&>\"'": "<&>\"'",
    "Grüße, 世界, \U0001F600": "Grüße, 世界, \U0001F600",
    "DELETE_THIS_ATTRIBUTE": "DELETE_THIS_ATTRIBUTE",
    "\x7f\x85\x9b1m": "\\u007F\\u0085\\u009B1m",
    "x" * 100000: "x" * 100000,
}


class SettingsTest(unittest.TestCase):
    def setUp(self):
        self.node = self.make_node()

    def make_node(self, **keywords):
        node = Node(**keywords)
        self.addCleanup(node.close)
        return node

    def run_tool(self, *arguments, node=None, code=DONE, words=(), stdin=None):
        node = node or self.node
        result = subprocess.run([TOOLS / "lumsettings", *map(str, arguments)], env=node.environment(), input=stdin or "",
                                capture_output=True, text=True, timeout=4 * PATIENCE_S)
        self.assertEqual(result.returncode, code, result)
        for word in words:
            self.assertIn(word, result.stdout + result.stderr)
        return result

    def settings(self, *arguments, **keywords):
        return self.run_tool(*arguments, **keywords).stdout

    def told(self, *arguments, **keywords):
        return json.loads(self.settings(*arguments, "--json", **keywords))

    def local(self, node=None, package=""):
        path = (node or self.node).config / package / "local_settings.ini"
        return path.read_bytes().decode() if path.exists() else ""


class Get(SettingsTest):
    def test_all_settings_are_told_as_a_file_of_settings_holds_them(self):
        text = self.settings("get")
        port = self.node.port
        self.assertEqual(text, "[conf.server]\nAUDIT_LOGGING=true\nAUDIT_LOG_MODE=all\n\n"
                               f"[vox.http.ext.conf]\nSERVER_PORT={port}\nTARGET_PORT={port}\n")
        self.settings("set", "--from", "-", stdin=text)
        self.assertEqual(self.local(), text)

    def test_one_namespace_and_one_value(self):
        self.assertEqual(self.settings("get", "conf.server"), "[conf.server]\nAUDIT_LOGGING=true\nAUDIT_LOG_MODE=all\n")
        self.assertEqual(self.settings("get", "conf.server", "AUDIT_LOG_MODE"), "all\n")
        self.settings("set", "n", "empty=")
        self.assertEqual(self.settings("get", "n", "empty"), "\n")

    def test_what_is_not_there_is_not_found(self):
        for arguments, said in ((("zzz",), "'localhost' has no settings in [zzz]."),
                                (("zzz", "a"), "'localhost' has no setting [zzz] a."),
                                (("conf.server", "audit_logging"), "[conf.server] audit_logging; did you mean 'AUDIT_LOGGING'?"),
                                (("CONF.SERVER",), "has no settings in [CONF.SERVER]; did you mean 'conf.server'?"),
                                (("conf.sever", "WAIT_TIME"), "has no setting [conf.sever] WAIT_TIME; did you mean 'conf.server'?"),
                                (("conf.server", "WAIT_TIME"), "'localhost' has no setting [conf.server] WAIT_TIME."),
                                (("--resource-group", "rg"), "'localhost' has no settings of the resource group 'rg'.")):
            with self.subTest(arguments):
                result = self.run_tool("get", *arguments, code=NOT_FOUND, words=[said])
                self.assertEqual(result.stdout, "")

    def test_json_holds_the_settings_and_the_value(self):
        answer = self.told("get", "conf.server")
        self.assertEqual(answer, {"host": "localhost", "result": "done", "code": 0, "messages": [],
                                  "settings": {"conf.server": {"AUDIT_LOGGING": "true", "AUDIT_LOG_MODE": "all"}}})
        one = self.told("get", "conf.server", "AUDIT_LOGGING")
        self.assertEqual((one["value"], one["settings"]), ("true", {"conf.server": {"AUDIT_LOGGING": "true"}}))
        none = self.told("get", "zzz", code=NOT_FOUND)
        self.assertEqual((none["result"], none["settings"]), ("not found", {}))

    def test_every_value_comes_back_as_it_was_set(self):
        self.settings("set", "values", *[f"v{i:02}={value}" for i, value in enumerate(VALUES)])
        text = "[values]\n" + "".join(f"v{i:02}={written}\n" for i, written in enumerate(VALUES.values()))
        self.assertEqual(self.settings("get", "values"), text)
        for i, value in enumerate(VALUES):
            with self.subTest(value[:20]):
                result = subprocess.run([TOOLS / "lumsettings", "get", "values", f"v{i:02}"],
                                        env=self.node.environment(), capture_output=True, timeout=PATIENCE_S)
                self.assertEqual(result.stdout.decode(), value + "\n")
        self.assertEqual(list(self.told("get", "values")["settings"]["values"].values()), list(VALUES))
        other = self.make_node()
        self.settings("set", "--from", "-", node=other, stdin=text)
        self.assertEqual(self.settings("get", "values", node=other), text)

    def test_values_of_policies_are_told_too_and_local_ones_stand_over_them(self):
        path = write_policy(self.node.folder / "source", "p", {"p.ini": b"[n]\nboth=policy\npolicy=1\n"},
                            name="p", type_name="configsettings")
        self.assertEqual(self.node.policy("install", path).code, DONE)
        self.settings("set", "n", "both=local")
        wait_until(lambda: "policy=1" in self.settings("get", "n"), "the policy is merged")
        self.assertEqual(self.settings("get", "n"), "[n]\nboth=local\npolicy=1\n")
        self.settings("clear", "n", "both")
        self.assertEqual(self.settings("get", "n"), "[n]\nboth=policy\npolicy=1\n")


class Change(SettingsTest):
    def test_settings_are_set_and_the_others_stay(self):
        before = self.local()
        self.assertEqual(self.settings("set", "n", "a=1", "b=x=y"), "set 2 settings on localhost\n")
        self.assertEqual(self.settings("set", "n", "a=2"), "set 1 setting on localhost\n")
        self.assertEqual(self.settings("get", "n"), "[n]\na=2\nb=x=y\n")
        for line in before.split():
            self.assertIn(line, self.local())
        self.assertIn("Configuration set", "\n".join(self.node.audit()))

    def test_a_file_sets_several_namespaces(self):
        path = self.node.folder / "some.ini"
        path.write_text("\ufeff# ours\r\n[n]\r\na = 1\r\na=\\[2\r\n[m]\r\n\\=x=\\u00E4\r\n[none]\r\n", encoding="utf-8")
        self.assertEqual(self.settings("set", "--from", path), "set 2 settings on localhost\n")
        self.assertEqual(self.told("get", "n")["settings"], {"n": {"a": "[2"}})
        self.assertEqual(self.settings("get", "m"), "[m]\n\\=x=ä\n")
        self.assertEqual(self.settings("get", "m", "=x"), "ä\n")

    def test_settings_are_cleared(self):
        self.settings("set", "n", "a=1", "b=2", "c=3")
        self.assertEqual(self.settings("clear", "n", "a"), "cleared [n] a on localhost\n")
        self.assertEqual(self.settings("get", "n"), "[n]\nb=2\nc=3\n")
        self.assertEqual(self.settings("clear", "n"), "cleared [n] on localhost\n")
        self.run_tool("get", "n", code=NOT_FOUND)
        self.assertIn("[conf.server]", self.local())

    def test_what_is_not_there_to_be_cleared_is_no_failure(self):
        before = self.local()
        self.settings("clear", "zzz")
        self.settings("clear", "zzz", "a")
        self.settings("clear", "conf.server", "zzz")
        self.assertEqual(sorted(self.local().split()), sorted(before.split()))

    def test_a_change_says_whether_it_has_changed_anything(self):
        same = ": nothing has changed, it was so already"
        for words, is_changed in ((("set", "n", "a=1"), True), (("set", "n", "a=1"), False), (("set", "n", "a=2"), True),
                                  (("set", "n", "a=2", "b="), True), (("set", "n", "b=", "a=2"), False),
                                  (("clear", "n", "b"), True), (("clear", "n", "b"), False), (("clear", "n"), True),
                                  (("clear", "n"), False)):
            with self.subTest(words=words):
                self.assertEqual(self.settings(*words).endswith(" on localhost" + ("" if is_changed else same) + "\n"), True)
        for is_changed in (True, False):
            self.assertIs(self.told("set", "n", "c=1")["changed"], is_changed)

    def test_a_dry_run_tells_what_a_set_would_change_and_changes_nothing(self):
        self.settings("set", "n", "a=1", "b=2")
        before, audit = self.local(), len(self.node.audit())
        self.assertEqual(self.settings("set", "n", "a=1", "b=two\nlines", "c=", "--dry-run"),
                         "- [n] b=2\n+ [n] b=two\\nlines\n+ [n] c=\n")
        self.assertEqual(self.told("set", "n", "a=1", "b=3", "c=4", "-n"),
                         {"host": "localhost", "result": "done", "code": 0, "messages": [], "dry_run": True,
                          "changes": [{"namespace": "n", "name": "b", "old": "2", "new": "3"},
                                      {"namespace": "n", "name": "c", "new": "4"}]})
        self.run_tool("set", "n", "a=1", "--dry-run", code=NOTHING_TO_DO, words=["Nothing would change on 'localhost'."])
        self.assertEqual(self.local(), before)
        self.assertFalse([line for line in self.node.audit()[audit:] if "Configuration set" in line])

    def test_a_dry_run_tells_what_a_clear_would_take(self):
        self.settings("set", "n", "a=1", "b=2")
        before = self.local()
        text = self.settings("clear", "n", "--dry-run", words=["# what policies set stays, or counts again"])
        self.assertEqual(text.splitlines()[:2], ["- [n] a=1", "- [n] b=2"])
        self.assertEqual(self.told("clear", "n", "b", "-n")["changes"], [{"namespace": "n", "name": "b", "old": "2"}])
        for arguments in (("zzz",), ("n", "zzz")):
            self.run_tool("clear", *arguments, "--dry-run", code=NOTHING_TO_DO)
        self.assertEqual(self.local(), before)

    def test_a_resource_group_has_settings_of_its_own(self):
        self.assertEqual(self.settings("set", "n", "a=group", "--resource-group", "rg 1"),
                         "set 1 setting of the resource group 'rg 1' on localhost\n")
        self.settings("set", "n", "a=node")
        self.assertEqual(self.settings("get", "--resource-group", "rg 1"), "[n]\na=group\n")
        self.assertEqual(self.settings("get", "n", "a", "--resource-group", "rg 1"), "group\n")
        self.assertEqual(self.local(package="rg 1"), "[n]\na=group\n")
        self.settings("set", "n", "a=x", "-n", "--resource-group", "rg 1", words=["- [n] a=group"])
        self.assertEqual(self.settings("clear", "n", "a", "--resource-group", "rg 1"),
                         "cleared [n] a of the resource group 'rg 1' on localhost\n")
        self.run_tool("get", "n", "a", "--resource-group", "rg 1", code=NOT_FOUND)
        self.assertEqual(self.settings("get", "n", "a"), "node\n")
        for name in ("..", "a/b", "local_settings.ini"):
            self.run_tool("set", "n", "a=1", "--resource-group", name, code=FAILED)

    def test_the_daemon_takes_a_setting_up_while_it_runs(self):
        self.settings("set", "conf.server", "AUDIT_LOGGING=false")
        wait_until(lambda: self.leaves_no_line(), "the audit log is off")
        self.settings("clear", "conf.server", "AUDIT_LOGGING")
        self.settings("set", "conf.server", "AUDIT_LOGGING=true")
        wait_until(lambda: not self.leaves_no_line(), "the audit log is on")

    def leaves_no_line(self):
        count = len(self.node.audit())
        self.settings("get", "conf.server")
        return len(self.node.audit()) == count


class Usage(SettingsTest):
    def test_wrong_usage_is_said_and_nobody_is_asked(self):
        before = (self.local(), self.node.audit())
        for arguments, said in (
                ((), "usage: lumsettings"), (("fly",), "there is no command 'fly'"),
                (("get", "a", "b", "c"), "not expected"), (("get", ""), "must not be empty"),
                (("get", "a", ""), "must not be empty"), (("set",), "NAME=VALUE, or --from FILE"),
                (("set", "n"), "NAME=VALUE, or --from FILE"), (("set", "n", "a"), "'a' is no setting"),
                (("set", "n", "=a"), "'=a' is no setting"), (("set", "", "a=1"), "must not be empty"),
                (("set", "n", "a=1", "a=2"), "'a' is given twice"),
                (("set", "n", "a=1", "--from", "x"), "NAME=VALUE, or --from FILE"),
                (("set", "n", "--from", "x"), "NAME=VALUE, or --from FILE"),
                (("set", "--from", "-"), "standard input holds no settings"),
                (("set", "n\nm", "a=1"), "cannot be the name"), (("set", "n", "a\tb=1"), "cannot be the name"),
                (("set", "n", "a=\x01"), "XML cannot carry"), (("clear",), "NAMESPACE is required"),
                (("clear", "n", ""), "must not be empty"), (("clear", "n\x01"), "cannot be the name"),
                (("clear", "n", "a\n"), "cannot be the name"), (("get", "--host", "a b"), "is no host"),
                (("get", "--parallel", "0"), "--parallel"), (("get", "--resource-group", ""), "must not be empty"),
                (("set", "n", "a=1", "--resource-group="), "--resource-group"),
                (("clear", "n", "--target-id", ""), "must not be empty"), (("explain",), "NAMESPACE is required"),
                (("diff",), "which policies?"), (("get", "--from", "x"), "--from")):
            with self.subTest(arguments):
                result = self.run_tool(*arguments, code=WRONG_USAGE, words=[said])
                self.assertEqual(result.stdout, "")
        self.assertEqual((self.local(), self.node.audit()), before)

    def test_bytes_that_are_no_text_are_never_sent_as_another_text(self):
        for arguments in ((b"set", b"n", b"a=\xff"), (b"set", b"n\xff", b"a=1"), (b"set", b"n", b"a\xc3=1"),
                          (b"clear", b"n", b"\xff"), (b"get", b"--resource-group", b"\xff"),
                          (b"get", b"\xff"), (b"get", b"n", b"\xff")):
            done = subprocess.run([str(TOOLS / "lumsettings").encode(), *arguments], env=self.node.environment(),
                                  capture_output=True, timeout=PATIENCE_S)
            self.assertEqual(done.returncode, WRONG_USAGE, done)
            self.assertIn(b"is not UTF-8", done.stderr)

    def test_a_file_that_is_none_is_named_with_the_line_and_nothing_is_sent(self):
        before = self.local()
        path = self.node.folder / "bad.ini"
        for text, said in (("[n]\na=1\nnonsense\n", f"Line 3 of '{path}'"), ("a=1\n", f"Line 1 of '{path}'"),
                           ("[n\n", f"Line 1 of '{path}'")):
            path.write_text(text)
            self.run_tool("set", "--from", path, code=FAILED, words=[said])
        self.run_tool("set", "--from", self.node.folder / "none", code=FAILED, words=["none"])
        self.run_tool("set", "--from", self.node.folder, code=FAILED)
        self.run_tool("set", "--from", "-", stdin="[n]\nx", code=FAILED, words=["Line 2 of 'standard input'"])
        path.write_text("# nothing\n[n]\n")
        self.run_tool("set", "--from", path, code=WRONG_USAGE, words=["holds no settings"])
        self.assertEqual(self.local(), before)

    def test_help_tells_every_command_and_every_exit_code(self):
        text = self.settings("--help")
        for command in ("get", "set", "clear", "explain", "diff"):
            self.assertIn(f"\n  {command} ", text)
            self.assertIn("Exit codes: 0 done, 1 failed, 2 wrong usage, 3 nothing to do, 4 not found, 5 refused",
                          self.settings("help", command))
        self.assertRegex(self.settings("--version"), r"^lumsettings \d")

    def test_quiet_says_nothing_of_a_success(self):
        for arguments in (("get",), ("set", "n", "a=1"), ("set", "n", "a=2", "-n"), ("clear", "n")):
            result = self.run_tool(*arguments, "--quiet")
            self.assertEqual((result.stdout, result.stderr), ("", ""))
        self.run_tool("get", "zzz", "-q", code=NOT_FOUND, words=["has no settings in [zzz]"])

    def test_a_file_without_end_is_refused_before_it_takes_all_memory(self):
        for source, name in (("/dev/zero", "/dev/zero"), ("-", "standard input")):
            with open("/dev/zero", "rb") as zeros:
                process = subprocess.Popen([TOOLS / "lumsettings", "set", "--from", source],
                                           env=self.node.environment(), stdin=zeros, stdout=subprocess.PIPE,
                                           stderr=subprocess.PIPE, text=True)
                out, err = process.communicate(timeout=4 * PATIENCE_S)
            self.assertEqual((process.returncode, out), (FAILED, ""), err)
            self.assertIn(f"'{name}' is too large: settings of at most 64 MiB are read.", err)

    def test_a_file_of_settings_may_be_large(self):
        path = self.node.folder / "large"
        path.write_bytes((b"[n]\na=1\n" + b"#" * (64 << 20))[:64 << 20])
        self.run_tool("set", "--from", path)
        with open(path, "ab") as file:
            file.write(b"#")
        self.run_tool("set", "--from", path, code=FAILED, words=["is too large"])

    def test_output_that_is_lost_is_no_success(self):
        with open("/dev/full", "wb") as full:
            done = subprocess.run([TOOLS / "lumsettings", "get"], env=self.node.environment(), stdout=full,
                                  stderr=subprocess.PIPE, text=True, timeout=PATIENCE_S)
        self.assertEqual((done.returncode, done.stderr), (FAILED, "lumsettings: standard output cannot be written\n"))

    def test_a_node_that_does_not_answer_is_unreachable(self):
        for command in (("get",), ("set", "n", "a=1"), ("clear", "n"), ("clear", "n", "-n")):
            self.run_tool(*command, "--host", f"127.0.0.1:{free_port()}", code=UNREACHABLE)
        answer = self.told("get", "--host", f"127.0.0.1:{free_port()}", code=UNREACHABLE)
        self.assertEqual(answer["result"], "unreachable")
        self.assertNotIn("settings", answer)


if __name__ == "__main__":
    unittest.main()
