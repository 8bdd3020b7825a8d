#!/usr/bin/python3
"""Where settings of a node come from, and what settings policies would change: read from its files, by real policies."""
import json
import unittest

from node import (DONE, FAILED, NOT_FOUND, NOTHING_TO_DO, UNTOLD, WRONG_USAGE, Node, wait_until, write_policy)


class OriginTest(unittest.TestCase):
    def setUp(self):
        self.node = Node()
        self.addCleanup(self.node.close)

    def policy_file(self, policy_id, *texts, **fields):
        fields.setdefault("name", policy_id)
        fields.setdefault("type_name", "configsettings")
        files = {f"{policy_id}-{i}.ini": text.encode() for i, text in enumerate(texts)}
        return write_policy(self.node.folder / "source", policy_id, files, **fields)

    def install(self, policy_id, *texts, options=("--force",), **fields):
        result = self.node.policy("install", *options, self.policy_file(policy_id, *texts, **fields))
        self.assertIn(result.code, (DONE, UNTOLD), result)

    def merged(self):
        path = self.node.config / "policy_settings.ini"
        return path.read_text() if path.exists() else None

    def await_merge(self, text):
        wait_until(lambda: self.merged() == text, f"the settings {text!r}, so far {self.merged()!r}")

    def set_locally(self, namespace, **values):
        self.node.settings.setdefault(namespace, {}).update(values)
        self.node.write_settings()

    def run_tool(self, *arguments, code=DONE, words=()):
        result = self.node.tool("lumsettings", *arguments)
        self.assertEqual(result.code, code, result)
        for word in words:
            self.assertIn(word, result.out + result.err)
        return result

    def told(self, *arguments, code=DONE):
        return json.loads(self.run_tool(*arguments, "--json", code=code).out)


class Explain(OriginTest):
    def sources(self, *arguments):
        setting, = self.told("explain", *arguments)["settings"]
        return setting.get("value"), [(source["state"], source["source"], source.get("policy_name"), source["value"])
                                      for source in setting["sources"]]

    def test_the_greatest_name_wins_and_the_others_are_told_in_order(self):
        self.install("id-1", "[n]\nk=1\n", "[n]\nk=1 later\n", name="a")
        self.install("id-2", "[n]\nk=2\n", name="c")
        self.install("id-3", "[n]\nk=3\n", name="b")
        self.await_merge("[n]\nk=2\n")
        result = self.run_tool("explain", "n", "k")
        self.assertEqual(result.out, "[n] k=2\n"
                                     "STATE       SET BY    DATA FILE   POLICY ID  VALUE\n"
                                     "in force    policy c  id-2-0.ini  id-2       2\n"
                                     "overridden  policy b  id-3-0.ini  id-3       3\n"
                                     "overridden  policy a  id-1-1.ini  id-1       1 later\n"
                                     "overridden  policy a  id-1-0.ini  id-1       1\n")
        answer = self.told("explain", "n", "k")
        self.assertEqual((answer["result"], answer["code"], answer["problems"]), ("done", 0, []))
        setting, = answer["settings"]
        self.assertEqual((setting["namespace"], setting["name"], setting["value"]), ("n", "k", "2"))
        self.assertEqual(setting["sources"][0], {"state": "in force", "source": "policy", "value": "2",
                                                 "policy_name": "c", "policy_id": "id-2", "data_file": "id-2-0.ini"})

    def test_local_settings_stand_over_policies(self):
        self.install("p", "[n]\nk=policy\nother=1\n")
        self.await_merge("[n]\nk=policy\nother=1\n")
        self.set_locally("n", k="local", own="2")
        self.assertEqual(self.sources("n", "k"), ("local", [("in force", "local", None, "local"),
                                                            ("overridden", "policy", "p", "policy")]))
        self.assertEqual(self.sources("n", "own"), ("2", [("in force", "local", None, "2")]))
        self.assertEqual(self.sources("n", "other"), ("1", [("in force", "policy", "p", "1")]))
        text = self.run_tool("explain", "n").out
        self.assertEqual([block.split("\n")[0] for block in text.split("\n\n")], ["[n] k=local", "[n] other=1", "[n] own=2"])
        self.assertIn("in force    local settings                        local\n", text)

    def test_what_the_daemon_has_not_merged_yet_is_not_in_force(self):
        self.install("p", "[n]\nk=old\n")
        self.await_merge("[n]\nk=old\n")
        self.node.stop()
        (self.node.store / "configsettings/p-0.ini").chmod(0o640)
        (self.node.store / "configsettings/p-0.ini").write_text("[n]\nk=new\nfresh=1\n")
        self.assertEqual(self.sources("n", "k"), ("old", [("in force", "policy_settings.ini", None, "old"),
                                                          ("not yet in force", "policy", "p", "new")]))
        self.assertEqual(self.sources("n", "fresh"), (None, [("not yet in force", "policy", "p", "1")]))
        self.run_tool("explain", "n", "fresh", words=["[n] fresh is not set\n", "not yet in force  policy p  p-0.ini    p          1\n"])
        self.set_locally("n", k="local")
        self.assertEqual(self.sources("n", "k"), ("local", [("in force", "local", None, "local"),
                                                            ("overridden", "policy_settings.ini", None, "old"),
                                                            ("not yet in force", "policy", "p", "new")]))

    def test_what_is_held_back_counts_with_the_next_notification(self):
        self.install("id-1", "[n]\nk=1\n", options=("--no-notify",))
        self.assertEqual(self.sources("n", "k"), (None, [("not yet in force", "policy", "id-1", "1")]))
        self.assertEqual(self.node.policy("notify").code, DONE)
        self.await_merge("[n]\nk=1\n")
        self.assertEqual(self.sources("n", "k"), ("1", [("in force", "policy", "id-1", "1")]))
        self.assertEqual(self.node.policy("disable", "--no-notify", "--id", "id-1").code, DONE)
        self.assertEqual(self.sources("n", "k"), ("1", [("in force", "policy_settings.ini", None, "1")]))
        self.node.stop()
        self.node.start()
        wait_until(lambda: "k=1" not in (self.merged() or ""), "the daemon merges at its start")

    def test_disabled_policies_give_no_value(self):
        self.install("p", "[n]\nk=1\n")
        self.await_merge("[n]\nk=1\n")
        self.node.policy("disable", "--id", "p")
        self.await_merge("")
        self.run_tool("explain", "n", "k", code=NOT_FOUND, words=["Nobody sets [n] k on the node in '", "': its default counts."])

    def test_what_nobody_sets_is_not_found(self):
        root = f"the node in '{self.node.root}/'"
        for arguments, said in ((("n",), f"Nothing is set in [n] on {root}."), (("conf.server", "zzz"), "Nobody sets"),
                                (("CONF.SERVER",), "Nothing is set")):
            self.run_tool("explain", *arguments, code=NOT_FOUND, words=[said])
        answer = self.told("explain", "n", "k", code=NOT_FOUND)
        self.assertEqual((answer["result"], answer["settings"]), ("not found", []))
        with Node(start=False) as bare:
            result = bare.tool("lumsettings", "explain", "n")
            self.assertEqual((result.code, result.out), (NOT_FOUND, ""))

    def test_a_long_value_moves_no_other_column(self):
        self.set_locally("n", k="x" * 5000)
        head, names, row = self.run_tool("explain", "n", "k").out.splitlines()
        self.assertEqual((names, row), ("STATE     SET BY          DATA FILE  POLICY ID  VALUE",
                                        "in force  local settings                        " + "x" * 5000))

    def test_while_a_policy_is_broken_what_is_in_force_is_told_nevertheless(self):
        self.install("a", "[n]\nk=1\nother=1\n")
        self.await_merge("[n]\nk=1\nother=1\n")
        self.set_locally("n", other="local")
        self.install("b", "[n]\nk=2\nnonsense\n", name="breaker")
        result = self.run_tool("explain", "n", code=FAILED)
        self.assertEqual(result.out, "[n] k=1\n"
                                     "STATE     SET BY               DATA FILE  POLICY ID  VALUE\n"
                                     "in force  policy_settings.ini                        1\n\n"
                                     "[n] other=local\n"
                                     "STATE       SET BY               DATA FILE  POLICY ID  VALUE\n"
                                     "in force    local settings                             local\n"
                                     "overridden  policy_settings.ini                        1\n")
        for word in ("Line 3 of 'b-0.ini of policy breaker (b)'", "keeps the settings of policies that it has"):
            self.assertIn(word, result.err)
        answer = self.told("explain", "n", "k", code=FAILED)
        self.assertEqual((answer["result"], answer["settings"][0]["value"]), ("failed", "1"))
        self.assertEqual(self.told("explain", "n", "zzz", code=FAILED)["settings"], [])
        self.assertEqual(self.run_tool("explain", "n", "-q", code=FAILED).out, "")

    def test_a_bad_data_file_is_named_with_its_policy_and_line(self):
        self.install("p", "[n]\nk=1\nnonsense\n")
        self.run_tool("explain", "conf.server", code=FAILED, words=["p-0.ini", "3"])
        self.assertEqual(self.told("explain", "conf.server", code=FAILED)["result"], "failed")
        self.run_tool("diff", "--disable", "p", code=NOTHING_TO_DO)

    def test_a_data_file_that_is_not_there_is_told_and_the_rest_explained(self):
        self.install("p", "[n]\nk=1\n", "[n]\nk=2\n")
        self.await_merge("[n]\nk=2\n")
        (self.node.store / "configsettings/p-1.ini").unlink()
        result = self.run_tool("explain", "n", "k", words=["policy_settings.ini"])
        self.assertIn("lumsettings: warning: ", result.err)
        self.assertIn("p-1.ini", result.err)
        answer = self.told("explain", "n", "k")
        self.assertIn("p-1.ini", " ".join(problem["text"] for problem in answer["problems"]))
        self.assertEqual(self.run_tool("explain", "n", "k", "--quiet").out, "")

    def test_values_and_names_drive_no_terminal(self):
        self.install("p", "[n]\nk=a\\u009B31m\\nb\n", name="p\u202Eq")
        wait_until(lambda: self.merged(), "a merge")
        text = self.run_tool("explain", "n").out + self.run_tool("diff", "--disable", "p").out
        self.assertIn("policy p?q", text)
        self.assertIn("k=a\\u009B31m\\nb", text)
        for nasty in "\x9b\u202E":
            self.assertNotIn(nasty, text)

    def test_quiet_says_nothing(self):
        self.assertEqual(self.run_tool("explain", "conf.server", "-q").out, "")


class Diff(OriginTest):
    def setUp(self):
        super().setUp()
        self.install("id-a", "[n]\nk=a\nonly=a\n", name="alpha")
        self.install("id-b", "[n]\nk=b\n", name="beta")
        self.install("id-c", "[n]\nk=c\n", name="gamma", status="disabled")
        self.await_merge("[n]\nk=b\nonly=a\n")

    def test_each_change_is_told_and_nothing_is_changed(self):
        new, replaced = self.policy_file("id-n", "[m]\nx=\\s\n", name="zeta"), self.policy_file("id-a", "[n]\nk=z\n",
                                                                                                  name="zz")
        before = self.merged(), self.node.stored(), self.node.audit()
        for arguments, lines in (
                (("--disable", "beta"), ["- [n] k=b", "+ [n] k=a"]),
                (("--disable", "ID-B"), ["- [n] k=b", "+ [n] k=a"]),
                (("--remove", "id-b"), ["- [n] k=b", "+ [n] k=a"]),
                (("--enable", "gamma"), ["- [n] k=b", "+ [n] k=c"]),
                (("--disable", "alpha", "--disable", "beta"), ["- [n] k=b", "- [n] only=a"]),
                (("--remove", "alpha", "--enable=id-c"), ["- [n] k=b", "+ [n] k=c", "- [n] only=a"]),
                ((new,), ["+ [m] x=\\s"]),
                ((replaced,), ["- [n] k=b", "+ [n] k=z", "- [n] only=a"]),
                ((new, replaced, "--disable", "id-n"), ["- [n] k=b", "+ [n] k=z", "- [n] only=a"])):
            with self.subTest(arguments):
                result = self.run_tool("diff", *arguments)
                self.assertEqual((result.out.splitlines(), result.err), (lines, ""))
        self.assertEqual((self.merged(), self.node.stored(), self.node.audit()), before)

    def test_what_was_foretold_happens(self):
        answer = self.told("diff", "--disable", "beta", "--enable", "gamma", self.policy_file("d", "[n]\nk=d\nd=1\n"))
        self.assertEqual(answer["changes"], [{"namespace": "n", "name": "d", "new": "1"},
                                             {"namespace": "n", "name": "k", "old": "b", "new": "c"}])
        self.node.policy("disable", "--name", "beta")
        self.node.policy("enable", "--name", "gamma")
        self.install("d", "[n]\nk=d\nd=1\n", options=())
        self.await_merge("[n]\nd=1\nk=c\nonly=a\n")

    def test_a_policy_that_is_replaced_hands_its_status_on(self):
        path = self.policy_file("id-c", "[n]\nk=new\n", name="gamma", status="enabled")
        self.run_tool("diff", path, code=NOTHING_TO_DO)
        self.assertEqual(self.run_tool("diff", path, "--enable", "gamma").out, "- [n] k=b\n+ [n] k=new\n")

    def test_nothing_would_change(self):
        for arguments in (("--enable", "alpha"), ("--disable", "gamma"), ("--remove", "id-c"),
                          ("--disable", "beta", "--enable", "beta"), (self.policy_file("id-a", "[n]\nonly=a\n", name="alpha"),)):
            with self.subTest(arguments):
                result = self.run_tool("diff", *arguments, code=NOTHING_TO_DO, words=["lumsettings: note: Nothing would change."])
                self.assertEqual(result.out, "")
        answer = self.told("diff", "--enable", "alpha", code=NOTHING_TO_DO)
        self.assertEqual((answer["changes"], answer["hidden"]), ([], []))

    def test_what_a_local_setting_hides_is_told_apart(self):
        self.set_locally("n", k="local")
        hidden = "# hidden, because local settings stand over those of policies:\n#   - [n] k=b\n#   + [n] k=a\n"
        self.assertEqual(self.run_tool("diff", "--disable", "beta", code=NOTHING_TO_DO).out, hidden)
        self.assertEqual(self.run_tool("diff", "--remove", "alpha", "--disable", "beta").out,
                         "- [n] only=a\n" + hidden.replace("#   + [n] k=a\n", ""))
        answer = self.told("diff", "--disable", "beta", code=NOTHING_TO_DO)
        self.assertEqual(answer["changes"], [])
        self.assertEqual(answer["hidden"], [{"namespace": "n", "name": "k", "old": "b", "new": "a", "local": "local"}])

    def test_policies_that_are_not_there_are_not_found(self):
        for policy in ("zzz", "", "Alpha", "id-a id-b"):
            for option in ("--enable", "--disable", "--remove"):
                with self.subTest(policy=policy, option=option):
                    self.run_tool("diff", f"{option}={policy}", code=NOT_FOUND if policy else WRONG_USAGE)
        self.run_tool("diff", "--remove", "alpha", "--enable", "alpha", code=NOT_FOUND,
                      words=[f"'alpha' is installed on the node in '{self.node.root}/'."])

    def test_an_installed_policy_in_the_place_of_a_file_is_no_file(self):
        for policy in ("alpha", "id-a", "ID-A"):
            self.run_tool("diff", policy, code=WRONG_USAGE,
                          words=[f"'{policy}' is no file but an installed policy", "--enable, --disable or --remove"])
        self.run_tool("diff", "zzz", code=FAILED, words=["File could not be found"])

    def test_files_that_are_no_settings_policies_are_named(self):
        other = self.policy_file("t", "x", type_name="backup")
        self.run_tool("diff", other, code=WRONG_USAGE, words=["backup"])
        broken = self.policy_file("e", "[n]\nk=1\n")
        (broken.parent / "e-0.ini").write_text("[n]\nk\n")
        self.run_tool("diff", broken, code=FAILED, words=["e-0.ini", "2"])
        off = self.policy_file("o", "[n]\nk=1\n", status="disabled")
        (off.parent / "o-0.ini").write_text("[n]\nk\n")
        self.run_tool("diff", off, code=FAILED, words=["o-0.ini", "2"])
        (broken.parent / "e-0.ini").unlink()
        self.run_tool("diff", broken, code=FAILED, words=["e-0.ini"])
        broken.write_text("<header>")
        self.run_tool("diff", broken, code=FAILED, words=["e_header.xml"])
        self.run_tool("diff", broken.parent / "none_header.xml", code=FAILED, words=["none_header.xml"])
        self.assertEqual(self.told("diff", broken, code=FAILED)["result"], "failed")

    def test_a_header_of_the_store_that_cannot_be_read_is_a_failure(self):
        path = self.node.store / "configsettings/id-a_header.xml"
        path.chmod(0o640)
        path.write_text("<header>")
        self.run_tool("diff", "--disable", "beta", code=FAILED, words=["id-a_header.xml"])
        self.run_tool("explain", "n", code=FAILED, words=["id-a_header.xml"])

    def test_settings_that_cannot_be_read_are_named(self):
        (self.node.config / "local_settings.ini").write_text("nonsense\n")
        self.run_tool("diff", "--disable", "beta", code=FAILED, words=["Line 1 of", "local_settings.ini"])
        self.run_tool("explain", "n", code=FAILED, words=["local_settings.ini"])

    def test_quiet_leaves_the_code(self):
        self.assertEqual(self.run_tool("diff", "--disable", "beta", "-q").out, "")
        self.assertEqual(self.run_tool("diff", "--enable", "beta", "--quiet", code=NOTHING_TO_DO).out, "")


if __name__ == "__main__":
    unittest.main()
