#!/usr/bin/python3
"""Settings policies become the configuration of a running node: which of them wins, when, and what does not change."""
import signal
import unittest

from node import DONE, EXAMPLES, Node, wait_until, write_policy

BASELINE, PAUSE = (EXAMPLES / f"5e771a65-000{n}-4000-8000-00000000b00{n}_header.xml" for n in (1, 2))


class SettingsPolicies(unittest.TestCase):
    def node(self, settings=None, **environment):
        node = Node(settings, start=False)
        self.addCleanup(node.close)
        # What is set locally goes before policies: here they are to decide.
        node.settings["conf.server"] = {}
        node.settings.update(settings or {})
        node.write_settings()
        node.start(**environment)
        return node

    def do(self, node, *arguments):
        result = node.policy(*arguments)
        self.assertEqual(result.code, DONE, result)

    def install(self, node, policy_id, text, name=None, files=None, **fields):
        files = files or {f"{policy_id}.ini": text.encode()}
        self.do(node, "install", write_policy(node.folder / "source", policy_id, files, name=name or policy_id,
                                              type_name="configsettings", **fields))

    @staticmethod
    def settings(node):
        path = node.config / "policy_settings.ini"
        return path.read_text(encoding="utf-8") if path.exists() else None

    def become(self, node, text):
        wait_until(lambda: self.settings(node) == text, f"the settings become {text!r}, they are {self.settings(node)!r}")

    @staticmethod
    def is_audited(node):
        before = len(node.audit())
        node.policy("list")
        return len(node.audit()) > before

    def test_two_examples_that_disagree_turn_the_audit_log_of_the_running_node_on_and_off(self):
        node = self.node()
        pause_id = PAUSE.name.removesuffix("_header.xml")
        baseline_id = BASELINE.name.removesuffix("_header.xml")
        self.become(node, "")
        self.assertFalse(self.is_audited(node))
        steps = (
            (("install", BASELINE), True),
            (("install", PAUSE), False),
            (("disable", "--id", pause_id), True),
            (("enable", "--id", pause_id), False),
            (("disable", "--id", baseline_id), False),
            (("enable", "--id", baseline_id), False),
            (("remove", "--id", pause_id), True),
            (("remove", "--id", baseline_id), False),
        )
        for arguments, audited in steps:
            with self.subTest(arguments=arguments):
                self.do(node, *arguments)
                wait_until(lambda: self.is_audited(node) == audited, f"audited: {audited} after {arguments}")
        self.become(node, "")

    def test_the_policy_with_the_greater_name_wins_and_within_a_policy_the_last_data_file(self):
        node = self.node()
        self.install(node, "1", "[app]\nk=b\nonly=b\n", name="b")
        self.install(node, "2", "", name="a", files={"z.ini": b"[app]\nk=a1\nfile=first\n",
                                                    "y.ini": b"[app]\nfile=last\n"})
        self.become(node, "[app]\nfile=last\nk=b\nonly=b\n")
        self.install(node, "2", "[app]\nk=c\n", name="c")
        self.become(node, "[app]\nk=c\nonly=b\n")
        self.do(node, "disable", "--name", "c")
        self.become(node, "[app]\nk=b\nonly=b\n")
        self.do(node, "remove", "--name", "b")
        self.become(node, "")
        self.do(node, "enable", "--all")
        self.become(node, "[app]\nk=c\n")

    def test_a_package_of_settings_policies_is_merged(self):
        node = self.node()
        headers = [write_policy(node.folder / "source", policy_id, {f"{policy_id}.ini": b"[app]\nk=%s\n" % value},
                                name=policy_id, type_name="configsettings")
                   for policy_id, value in (("b", b"2"), ("c", b"3"), ("a", b"1"))]
        self.do(node, "install", "--package", *headers)
        self.become(node, "[app]\nk=3\n")

    def test_a_policy_of_another_id_with_the_same_name_takes_the_place_of_the_first(self):
        for cache in ("true", "false"):
            node = self.node({"conf.core": {"CACHE_CONFIGSETTINGS_POLICIES": cache}})
            self.install(node, "old", "[app]\nk=old\nold=1\n", name="same")
            self.become(node, "[app]\nk=old\nold=1\n")
            self.install(node, "new", "[app]\nk=new\n", name="same")
            self.become(node, "[app]\nk=new\n")

    def test_local_settings_go_before_those_of_policies(self):
        node = self.node({"conf.server": {"AUDIT_LOGGING": "true"}})
        self.install(node, "a", "[conf.server]\nAUDIT_LOGGING=false\nFORMAT_POLICY_LIST=true\n")
        # The same change of the same namespace: when its other half is in force, this one would be too.
        wait_until(lambda: list(node.root.rglob("lum_policies.txt")), "the merged policy list")
        self.assertTrue(self.is_audited(node))
        del node.settings["conf.server"]
        node.write_settings()
        wait_until(lambda: not self.is_audited(node), "the policy decides")

    def test_settings_stay_in_force_over_a_restart_and_over_a_kill_and_equal_ones_are_not_written_again(self):
        node = self.node()
        self.do(node, "install", BASELINE)
        wait_until(lambda: self.is_audited(node), "audit log on")
        file = node.config / "policy_settings.ini"
        before = (file.stat().st_ino, file.stat().st_mtime_ns)
        for how in (signal.SIGTERM, signal.SIGKILL):
            with self.subTest(how=how):
                node.stop(how)
                node.start()
                self.assertTrue(self.is_audited(node), "from the first call on")
                self.do(node, "install", BASELINE)
                # Another job behind it: when its failure is told, the equal settings have been compared.
                self.install(node, "bad", f"{how!r}\n")
                wait_until(lambda: node.log.count("'bad.ini of policy bad (bad)'") >= 1, "the log")
                self.do(node, "remove", "--id", "bad")
                self.assertEqual((file.stat().st_ino, file.stat().st_mtime_ns), before)
                (node.folder / "lumconfd.err").write_text("")

    def test_policies_that_changed_while_the_node_was_down_are_merged_at_its_start(self):
        node = self.node()
        self.install(node, "a", "[app]\nk=a\n")
        self.install(node, "b", "[app]\nk=b\n")
        self.become(node, "[app]\nk=b\n")
        node.stop()
        (node.store / "configsettings/b_header.xml").unlink()
        node.start()
        self.become(node, "[app]\nk=a\n")

    def test_the_memory_is_used_as_the_option_says_also_when_a_policy_sets_it(self):
        node = self.node(LUM_TRACE="conf.config:3")
        cached = "[conf.core]\nCACHE_CONFIGSETTINGS_POLICIES=true\n"
        self.install(node, "cache", cached)
        self.install(node, "a", "[app]\nk=1\n")

        def works_in_memory():
            self.do(node, "enable", "--id", "a")
            self.do(node, "disable", "--id", "a")
            return "PolicySettings::Disable" in node.log

        self.do(node, "disable", "--id", "a")
        wait_until(works_in_memory, "the worker knows the option")
        self.become(node, cached)
        # In memory: the data file that is gone is not missed.
        (node.store / "configsettings/a.ini").unlink()
        self.do(node, "enable", "--id", "a")
        self.become(node, "[app]\nk=1\n\n" + cached)
        # From the store: now it is.
        self.do(node, "remove", "--id", "cache")
        self.become(node, "[app]\nk=1\n")

        def rebuilt():
            self.do(node, "disable", "--id", "a", "--no-notify")
            self.do(node, "enable", "--id", "a")
            return self.settings(node) == ""

        wait_until(rebuilt, "settings without the file")
        self.assertIn("Runtime exception during loading of policy data for file 'a.ini'", node.log)

    def test_a_data_file_that_is_no_settings_file_stops_the_merge_and_is_named(self):
        node = self.node()
        self.install(node, "a", "[app]\nk=a\n")
        self.become(node, "[app]\nk=a\n")
        self.install(node, "bad", "[app]\nk=bad\nnonsense\n", name="bad one")
        wait_until(lambda: "Policy thread for 'configsettings' policy type generated errors." in node.log, "the log")
        self.assertIn("Line 3 of 'bad.ini of policy bad one (bad)'", node.log)
        self.assertEqual(self.settings(node), "[app]\nk=a\n")
        self.do(node, "remove", "--id", "bad")
        self.install(node, "b", "[app]\nk=b\n")
        self.become(node, "[app]\nk=b\n")

    def test_what_nobody_signed_is_taken_and_only_the_trace_says_so(self):
        for environment, said in (({"LUM_TRACE": "conf.config:2"}, True), ({}, False)):
            node = self.node(**environment)
            self.install(node, "a", "[app]\nk=1\n")
            self.become(node, "[app]\nk=1\n")
            self.assertEqual("Security check will be ignored for this policy type." in node.log, said, node.log)

    def test_values_keep_every_character_on_their_way(self):
        node = self.node()
        text = "[a\\u005Db]\n\\#k\\=\\s=\\s\u00e4\\\\ \\n\U0001f600=\n"
        self.install(node, "a", text)
        wait_until(lambda: self.settings(node), "settings")
        self.assertIn("\u00e4", self.settings(node))
        self.install(node, "b", self.settings(node), name="b")
        before = self.settings(node)
        self.do(node, "remove", "--id", "a")
        self.install(node, "mark", "[zz]\nk=1\n")
        self.become(node, before + "\n[zz]\nk=1\n")


if __name__ == "__main__":
    unittest.main()
