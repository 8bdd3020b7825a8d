#!/usr/bin/python3
"""What the daemon does besides serving: the merged policy list as a file, and the watch over its servers."""
import os
import threading
import unittest

from node import DONE, Node, wait_until, write_policy

STOPPED, FAILED = 0, 1
ON = {"FORMAT_POLICY_LIST": "true"}
LIST = "lum_policies.txt"


class KeysTest(unittest.TestCase):
    def node(self, keys=None, more=None, start=True):
        node = Node({"conf.server": keys or {}, **(more or {})}, start=start)
        self.addCleanup(node.close)
        return node

    def set(self, node, **keys):
        """Changes keys of the running daemon; a key that is None goes."""
        values = node.settings["conf.server"]
        values.update(keys)
        for key in [key for key, value in values.items() if value is None]:
            del values[key]
        node.write_settings()

    def said(self, node, text, count=1):
        wait_until(lambda: node.log.count(text) >= count, f"the log says {count} times '{text}':\n{node.log}")

    def stop(self, node):
        self.assertEqual(node.stop(), STOPPED, node.log)


class PolicyList(KeysTest):
    def folder(self, node):
        return node.root / "conf/conf"

    def files(self, node):
        return sorted(path.name for path in self.folder(node).iterdir())

    def text(self, node, name=LIST):
        path = self.folder(node) / name
        return path.read_text(encoding="utf-8") if path.exists() else ""

    def install(self, node, *ids):
        for policy_id in ids:
            path = write_policy(node.folder / "source", policy_id, name=policy_id, owner="")
            result = node.policy("install", "--no-notify", path)
            self.assertEqual(result.code, DONE, result)

    def change(self, node, *arguments):
        result = node.policy(*arguments)
        self.assertEqual(result.code, DONE, result)

    def holds(self, node, words, without=(), name=LIST):
        def is_so():
            text = self.text(node, name)
            return all(word in text for word in words) and not any(word in text for word in without)
        wait_until(is_so, f"the list holds {words} and not {without}:\n{self.text(node, name)}\n{node.log}")

    def test_there_is_no_list_unless_it_is_asked_for(self):
        for keys in ({}, {"FORMAT_POLICY_LIST": "false"}, {"FORMAT_POLICY_LIST": "perhaps"},
                     {"MERGED_POLICY_LIST_FILENAME": "policies.txt"}):
            with self.subTest(keys=keys):
                node = self.node(keys)
                self.install(node, "a")
                self.stop(node)
                self.assertEqual(self.files(node), [])

    def test_a_node_without_policies_has_a_list_with_a_title(self):
        node = self.node(ON)
        self.holds(node, ["Installed policies:"], ["<header"])
        self.assertEqual((self.folder(node) / LIST).stat().st_mode & 0o007, 0)

    def test_the_list_follows_every_change_of_the_policies(self):
        node = self.node(ON)
        self.install(node, "a", "b")
        self.holds(node, ["a_header.xml", "b_header.xml", "<status>enabled</status>"])
        for arguments, words, without in (
                (("disable", "--id", "a"), ["<status>disabled</status>"], []),
                (("enable", "--id", "a"), ["<status>enabled</status>"], ["<status>disabled</status>"]),
                (("set-owner", "landlord", "--id", "a"), ["<owner>landlord</owner>"], []),
                (("add-category", "season", "--id", "a"), ["<category>season</category>"], []),
                (("add-attribute", "colour=green", "--id", "a"), ["<value>green</value>"], []),
                (("remove", "--id", "a"), ["b_header.xml"], ["a_header.xml", "landlord"]),
                (("remove", "--all"), ["Installed policies:"], ["b_header.xml"])):
            with self.subTest(arguments=arguments):
                self.change(node, *arguments)
                self.holds(node, words, without)

    def test_the_list_is_what_the_tool_writes(self):
        node = self.node(ON)
        self.install(node, "a", "b", "c")
        self.stop(node)
        self.change(node, "dump", "--output", node.folder / "dump")
        self.assertEqual(self.text(node), (node.folder / "dump").read_text(encoding="utf-8"))

    def test_policies_of_an_earlier_run_are_in_the_list_from_the_start(self):
        node = self.node()
        self.install(node, "a")
        self.stop(node)
        self.set(node, **ON)
        node.start()
        self.holds(node, ["a_header.xml"])

    def test_a_change_by_hand_comes_into_the_list_when_the_store_is_read_anew(self):
        node = self.node(ON)
        self.holds(node, ["Installed policies:"])
        write_policy(node.store / "type", "byhand")
        self.change(node, "reinit")
        self.holds(node, ["byhand_header.xml"])

    def test_the_last_change_before_the_end_is_in_the_list(self):
        node = self.node(ON)
        ids = [f"p{number}" for number in range(8)]
        self.install(node, *ids)
        self.stop(node)
        for policy_id in ids:
            self.assertIn(f"{policy_id}_header.xml", self.text(node))
        self.assertEqual(self.files(node), [LIST])

    def test_the_file_bears_the_name_that_is_wished(self):
        for name in ("list.txt", "Liste der Größen", ".hidden", "n" * 251):
            with self.subTest(name=name):
                node = self.node({**ON, "MERGED_POLICY_LIST_FILENAME": name})
                self.install(node, "a")
                self.stop(node)
                self.assertEqual(self.files(node), [name])
                self.assertIn("a_header.xml", self.text(node, name))

    def test_a_name_that_leads_elsewhere_gives_the_default(self):
        for name in ("", ".", "..", "../list", "/tmp/lum_list_elsewhere", "sub/list", "a\\\\b", "a\\nb", "a\\u2028b",
                     "a\\u0085b", "n" * 252):
            with self.subTest(name=name):
                node = self.node({**ON, "MERGED_POLICY_LIST_FILENAME": name})
                self.stop(node)
                self.assertEqual(self.files(node), [LIST])
                self.assertEqual(sorted(path.name for path in (node.root / "conf").iterdir()), ["conf"])
                self.assertFalse(os.path.exists("/tmp/lum_list_elsewhere"))

    def test_changed_keys_are_taken_up_while_the_daemon_serves(self):
        node = self.node()
        self.install(node, "a")
        self.assertEqual(self.files(node), [])
        self.set(node, **ON)
        self.holds(node, ["a_header.xml"])
        self.set(node, MERGED_POLICY_LIST_FILENAME="other.txt")
        self.holds(node, ["a_header.xml"], name="other.txt")
        self.install(node, "b")
        self.holds(node, ["b_header.xml"], name="other.txt")
        self.assertNotIn("b_header.xml", self.text(node))

    def test_a_list_that_is_switched_off_stays_as_it_was(self):
        node = self.node(ON)
        self.install(node, "a")
        self.holds(node, ["a_header.xml"])
        self.stop(node)
        self.set(node, FORMAT_POLICY_LIST="false")
        node.start()
        self.install(node, "b")
        self.stop(node)
        self.assertIn("a_header.xml", self.text(node))
        self.assertNotIn("b_header.xml", self.text(node))

    def test_settings_that_cannot_be_read_leave_the_keys_as_they_were(self):
        node = self.node({**ON, "MERGED_POLICY_LIST_FILENAME": "list.txt"})
        self.install(node, "a")
        self.holds(node, ["a_header.xml"], name="list.txt")
        working = (node.config / "local_settings.ini").read_text()
        broken = node.config / "broken"
        broken.write_text(working.replace("list.txt", "other.txt") + "nonsense\n")
        broken.rename(node.config / "local_settings.ini")
        self.said(node, "'conf.server' could not be read; what was read before stays", 2)
        write_policy(node.store / "type", "b")
        self.set(node, MERGED_POLICY_LIST_FILENAME="list.txt", NOMULTIPLEPOLICIES="none")
        self.change(node, "reinit")
        self.holds(node, ["b_header.xml"], name="list.txt")
        self.assertEqual(self.files(node), ["list.txt"])

    def test_links_in_the_folder_are_replaced_and_not_written_through(self):
        node = self.node(ON, start=False)
        outside = node.folder / "outside"
        outside.write_text("kept")
        self.folder(node).mkdir(parents=True)
        for name in (LIST, LIST + ".tmp"):
            (self.folder(node) / name).symlink_to(outside)
        node.start()
        self.install(node, "a")
        self.stop(node)
        self.assertEqual(outside.read_text(), "kept")
        self.assertEqual(self.files(node), [LIST])
        self.assertFalse((self.folder(node) / LIST).is_symlink())
        self.assertIn("a_header.xml", self.text(node))

    def test_a_list_that_cannot_be_written_is_told_and_the_node_serves_on(self):
        node = self.node(ON, start=False)
        (self.folder(node) / LIST / "occupied").mkdir(parents=True)
        node.start()
        self.said(node, f"The merged policy list '{LIST}' could not be written.")
        self.install(node, "a")
        (self.folder(node) / LIST / "occupied").rmdir()
        (self.folder(node) / LIST).rmdir()
        self.install(node, "b")
        self.holds(node, ["a_header.xml", "b_header.xml"])
        self.stop(node)
        self.assertEqual(self.files(node), [LIST])

    def test_a_reader_never_finds_half_a_list(self):
        node = self.node(ON)
        self.install(node, "a")
        self.holds(node, ["a_header.xml"])
        done = threading.Event()
        broken = []

        def read():
            while not done.is_set():
                text = self.text(node)
                if not text.endswith("-------------------------------\n\n") or "a_header.xml" not in text:
                    broken.append(text)

        reader = threading.Thread(target=read)
        reader.start()
        try:
            for number in range(6):
                self.install(node, f"more{number}")
            self.holds(node, ["more5_header.xml"])
        finally:
            done.set()
            reader.join()
        self.assertEqual(broken, [])


class Check(KeysTest):
    def check(self, **keys):
        node = self.node(keys, start=False)
        return node.tool("lumconfd", "--check-config")

    def test_good_values_are_in_order(self):
        for keys in ({"FORMAT_POLICY_LIST": "Yes"}, {"MERGED_POLICY_LIST_FILENAME": ""},
                     {"MERGED_POLICY_LIST_FILENAME": "n" * 251}, {"LOCATE_SERVER": "off"}, {"PING_SERVER": ""},
                     {"PING_SERVER": "one two:7443 10.0.0.1 [::1]:80"},
                     {"PING_SERVER": " ".join(f"host{number}" for number in range(16))},
                     {"WAIT_TIME": "1"}, {"WAIT_TIME": "86400"}):
            with self.subTest(keys=keys):
                result = self.check(**keys)
                self.assertEqual(result.code, STOPPED, result)

    def test_a_wrong_value_is_told_with_its_key_and_what_it_must_be(self):
        many = " ".join(f"host{number}" for number in range(17))
        for key, value, word in (
                ("FORMAT_POLICY_LIST", "perhaps", "true or false"), ("LOCATE_SERVER", "host", "true or false"),
                ("MERGED_POLICY_LIST_FILENAME", "../list", "file name"),
                ("MERGED_POLICY_LIST_FILENAME", "/list", "file name"),
                ("MERGED_POLICY_LIST_FILENAME", "..", "file name"),
                ("MERGED_POLICY_LIST_FILENAME", "n" * 252, "251 bytes"),
                ("PING_SERVER", "one,two", "hosts"), ("PING_SERVER", "https://one", "hosts"),
                ("PING_SERVER", "one:0", "hosts"), ("PING_SERVER", many, "16 hosts"),
                ("WAIT_TIME", "0", "86400"), ("WAIT_TIME", "86401", "86400"), ("WAIT_TIME", "-1", "86400"),
                ("WAIT_TIME", "", "86400"), ("WAIT_TIME", "1s", "86400"), ("WAIT_TIME", "9" * 40, "86400")):
            with self.subTest(key=key, value=value):
                result = self.check(**{key: value})
                self.assertEqual(result.code, FAILED, result)
                for text in (f"[conf.server] {key}={value}: must be", word, "1 problem"):
                    self.assertIn(text, result.out)


if __name__ == "__main__":
    unittest.main()
