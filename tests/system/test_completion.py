#!/usr/bin/python3
"""What the tab key offers in bash for the command lines of the programs."""
import json
import pathlib
import re
import subprocess
import tempfile
import unittest

from completion import environment, offered
from node import EXAMPLES, TOOLS, Node, write_policy


def help_of(*command):
    return subprocess.run([TOOLS / command[0], *command[1:], "--help"], stdin=subprocess.DEVNULL, capture_output=True,
                          text=True, check=True).stdout


def options_in(text):
    return {word for words in re.findall(r"^  (-\S+)", text, re.M) for word in words.split(",")}


COMMANDS = re.findall(r"^  (\S+)", help_of("lumpolicy").split("Subcommands:")[1].split("\n\n")[0], re.M)


class Words(unittest.TestCase):
    def test_the_commands_are_offered(self):
        self.assertGreater(len(COMMANDS), 16)
        self.assertEqual(offered("lumpolicy "), [*COMMANDS, "help"])
        self.assertEqual(offered("lumpolicy remove-"), ["remove-category", "remove-attribute"])
        self.assertEqual(offered("lumpolicy help re"), ["remove", "remove-category", "remove-attribute", "reinit"])
        self.assertEqual(set(offered("lumpolicy -")), {"-h", "--help", "--version"})

    def test_every_option_of_every_command_is_offered(self):
        for command in COMMANDS:
            with self.subTest(command):
                self.assertEqual(set(offered(f"lumpolicy {command} -")), options_in(help_of("lumpolicy", command)))

    def test_the_options_of_the_other_programs_are_offered(self):
        for command in ("get", "set", "clear", "explain", "diff", "keys", "describe"):
            self.assertEqual(set(offered(f"lumsettings {command} -")), options_in(help_of("lumsettings", command)))
        for command in ("status", "explain", "check"):
            self.assertEqual(set(offered(f"lumcluster {command} -")), options_in(help_of("lumcluster", command)))
        for tool in ("lumevents", "lumconfd"):
            self.assertEqual(set(offered(f"{tool} -")), options_in(help_of(tool)))

    def test_the_options_and_questions_of_a_cluster_are_offered(self):
        self.assertEqual(set(offered("lumclusterinfo ")), {"-h", "-help", "-version", "-a", "-all", "-c", "-cluster",
                                                           "-n", "-node", "-g", "-group"})
        self.assertEqual(offered("lumclusterinfo -cl"), ["-cluster"])
        for option in ("-c", "-cluster"):
            self.assertEqual(set(offered(f"lumclusterinfo {option} ")),
                             {"-tp", "-type", "-nm", "-name", "-st", "-state", "-nds", "-nodes", "-rgs", "-groups"})
        self.assertEqual(set(offered("lumclusterinfo -node north ")), {"-id", "-st", "-state"})
        self.assertEqual(set(offered("lumclusterinfo -group web -l")), {"-ls", "-localState"})
        for line in ("lumclusterinfo -all ", "lumclusterinfo -zzz ", "lumclusterinfo -cluster -name ",
                     "lumclusterinfo -node ", "lumclusterinfo -node north -id ", "lumclusterinfo -help -"):
            self.assertEqual(offered(line), [], f"{line}: here is no cluster")

    def test_the_options_of_applications_and_instances_are_offered(self):
        self.assertEqual(sorted(offered("lumappinstance ")),
                         sorted(["-h", "-help", "-version", "-i", "-instance", "-is", "-instances", "-ai",
                                 "-activeInstances", "-vc", "-verifyConfig"]))
        self.assertEqual(offered("lumappinstance -ver"), ["-verifyConfig", "-version"])
        for option in ("-i", "-instance"):
            self.assertEqual(set(offered(f"lumappinstance {option} till ")), {"-st", "-state", "-h", "-host"})
            self.assertEqual(offered(f"lumappinstance {option} till -host -ap"), ["-appNamespace"])
        for option in ("-is", "-instances", "-ai", "-activeInstances"):
            self.assertEqual(set(offered(f"lumappinstance {option} ")), {"-an", "-appNamespace"})
        for line in ("lumappinstance -vc ", "lumappinstance -zzz ", "lumappinstance -i ", "lumappinstance -is -an ",
                     "lumappinstance -i till -st -an shop ", "lumappinstance -is -an shop -", "lumappinstance -help -"):
            self.assertEqual(offered(line), [], f"{line}: here is no cluster")

    def test_the_words_that_an_option_may_take_are_offered(self):
        for line in ("lumpolicy list -o ", "lumpolicy list --output ", "lumpolicy list --output="):
            self.assertEqual(offered(line), ["table", "wide", "name", "json"], line)
        self.assertEqual(offered("lumpolicy list --sort-by "),
                         ["type", "name", "version", "status", "owner", "categories", "id"])
        self.assertEqual(offered("lumpolicy list --json --sort-by=ca"), ["categories"])

    def test_options_stand_behind_other_words_too(self):
        self.assertEqual(offered("lumpolicy install --force-s"), ["--force-state"])
        self.assertEqual(offered("lumpolicy list --json --type backup --par"), ["--parallel"])
        self.assertEqual(offered("lumpolicy add-category x --dry"), ["--dry-run"])
        self.assertIn("--quiet", offered("lumpolicy reinit "))

    def test_where_only_the_user_knows_nothing_is_offered(self):
        for line in ("lumpolicy list --name ", "lumpolicy list --parallel ", "lumpolicy install --owner -",
                     "lumpolicy set-owner ", "lumpolicy dance ", "lumpolicy dance --", "lumevents ",
                     "lumevents --count ", "lumpolicy zzz"):
            with self.subTest(line):
                self.assertEqual(offered(line), [])

    def test_a_program_that_is_not_there_is_borne_in_silence(self):
        self.assertEqual(offered("/nowhere/lumpolicy list --"), [])


class Files(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory(prefix="lumcompletion.")
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name)
        for name in ("a_header.xml", "b c_header.xml", "a.conf", "nodes"):
            (self.folder / name).write_text("")
        (self.folder / "deeper").mkdir()

    def test_headers_and_folders_are_offered_where_headers_are_wanted(self):
        for command in ("install", "validate"):
            self.assertEqual(sorted(offered(f"lumpolicy {command} ", folder=self.folder)),
                             ["a_header.xml", "b c_header.xml", "deeper"])
        self.assertEqual(offered("lumpolicy install --enable a_header.xml b", folder=self.folder), ["b c_header.xml"])
        prefix = f"{EXAMPLES}/7c1f"
        self.assertEqual(offered(f"lumpolicy validate {prefix}"),
                         [f"{EXAMPLES}/7c1f6a52-2d0e-4b39-9d77-0b6f8a1e4c11_header.xml"])

    def test_any_file_is_offered_for_options_that_name_one(self):
        everything = ["a.conf", "a_header.xml", "b c_header.xml", "deeper", "nodes"]
        for line in ("lumpolicy list --hosts-file ", "lumpolicy list --hosts-file=", "lumpolicy dump -o ",
                     "lumpolicy dump --output "):
            self.assertEqual(sorted(offered(line, folder=self.folder)), everything, line)
        self.assertEqual(offered("lumpolicy list --hosts-file no", folder=self.folder), ["nodes"])

    def test_folders_are_offered_where_one_is_wanted(self):
        for line in ("lumevents --root ", "lumconfd --root ", "lumtrust operator --authority ", "lumtrust init "):
            self.assertEqual(offered(line, folder=self.folder), ["deeper"], line)

    def test_a_name_in_quotes_is_offered_as_a_name(self):
        for line in ("lumpolicy install b\\ c", "lumpolicy install 'b c", 'lumpolicy install a_header.xml "b '):
            self.assertEqual(offered(line, folder=self.folder), ["b c_header.xml"], line)

    def test_a_folder_is_offered_once(self):
        (self.folder / "odd_header.xml").mkdir()
        self.assertEqual(offered("lumpolicy install odd", folder=self.folder), ["odd_header.xml"])


class Ids(unittest.TestCase):
    def test_the_ids_of_the_nodes_policies_are_offered(self):
        with Node() as node:
            self.assertEqual(offered("lumpolicy list --id ", node), [])
            for policy_id in ("abc-1", "abc-2", "x"):
                path = write_policy(node.folder / "source", policy_id, name=policy_id)
                self.assertEqual(node.policy("install", "--no-notify", path).code, 0)
            self.assertEqual(sorted(offered("lumpolicy list --id ", node)), ["abc-1", "abc-2", "x"])
            self.assertEqual(sorted(offered("lumpolicy remove --dry-run --id a", node)), ["abc-1", "abc-2"])
            self.assertEqual(offered("lumpolicy show --id=x", node), ["x"])
            self.assertEqual(sorted(offered("lumcluster explain a", node)), ["abc-1", "abc-2"])
            self.assertEqual(offered(f"lumpolicy list --host 127.0.0.1:{node.port} --id a", node), [],
                             "the node that is named is asked, and it cannot be reached this way")

    def test_an_id_cannot_become_a_command(self):
        with Node() as node:
            for policy_id in ("$(touch x)", "a;b", "q'r"):
                path = write_policy(node.folder / "source", policy_id, name=policy_id)
                self.assertEqual(node.policy("install", "--no-notify", path).code, 0)
            self.assertEqual(sorted(offered("lumpolicy list --id ", node)),
                             sorted([r"\$\(touch\ x\)", r"a\;b", r"q\'r"]))

    def test_without_a_node_nothing_is_offered_and_nothing_said(self):
        self.assertEqual(offered("lumpolicy remove --id "), [])


class Names(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.node = Node()
        cls.addClassCleanup(cls.node.close)
        for policy_id, name, type_name, owner in (("1", "cpu load", "collect", "team a"), ("2", "disk", "collect", "b"),
                                                  ("3", "nightly", "backup", "")):
            path = write_policy(cls.node.folder / "source", policy_id, name=name, type_name=type_name, owner=owner,
                                categories=["all", f"only {policy_id}"], attributes=[("x", policy_id)])
            assert cls.node.policy("install", "--no-notify", path).code == 0

    def test_what_the_policies_of_the_node_hold_is_offered_once_each(self):
        rows = {"--name ": ["cpu\\ load", "disk", "nightly"], "--type ": ["backup", "collect"], "--type=c": ["collect"],
                "--owner ": ["b", "team\\ a"], "--category ": ["all", "only\\ 1", "only\\ 2", "only\\ 3"],
                "--attribute ": ["x"]}
        for typed, expected in rows.items():
            self.assertEqual(offered(f"lumpolicy list {typed}", self.node), expected, typed)
        self.assertEqual(offered("lumpolicy install --owner ", self.node), ["b", "team\\ a"])

    def test_what_they_hold_is_offered_for_changes_of_it(self):
        self.assertEqual(offered("lumpolicy set-owner --id 1 ", self.node), ["b", "team\\ a"])
        self.assertEqual(offered("lumpolicy set-owner b ", self.node), [], "there is no second owner")
        for command in ("add-category", "remove-category", "install --add-category", "install --remove-category"):
            self.assertEqual(offered(f"lumpolicy {command} a", self.node), ["all"], command)
        for command in ("add-attribute", "remove-attribute", "install --add-attribute", "install --remove-attribute"):
            self.assertEqual(offered(f"lumpolicy {command} ", self.node), ["x="], command)
            self.assertEqual(offered(f"lumpolicy {command} x=", self.node), ["1", "2", "3"], command)
        self.assertEqual(offered("lumpolicy list --attribute x=", self.node), ["1", "2", "3"])

    def test_a_half_typed_name_with_a_blank_is_completed(self):
        for typed in ("--name cpu\\ l", "--name=cpu\\ l", "--json --name 'disk' --name cpu\\ "):
            self.assertEqual(offered(f"lumpolicy list {typed}", self.node), ["cpu\\ load"], typed)
        for typed in ("--name 'cpu l", '--name "cpu l', "--name='cpu l"):
            self.assertEqual(offered(f"lumpolicy list {typed}", self.node), ["cpu load"], "an open quote does it")
        self.assertEqual(offered("lumpolicy set-owner --name 'cpu load' t", self.node), ["team\\ a"])

    def test_a_quote_cannot_be_broken_out_of(self):
        with Node() as node:
            for number, name in enumerate(("q'$(x)`y", "z!!")):
                path = write_policy(node.folder / "source", str(number), name=name)
                self.assertEqual(node.policy("install", "--no-notify", path).code, 0)
            self.assertEqual(offered("lumpolicy list --name 'q", node), [r"q'\''$(x)`y"])
            self.assertEqual(offered('lumpolicy list --name "q', node), [r"q'\$(x)\`y"])
            self.assertEqual(offered("lumpolicy list --name 'z", node), ["z!!"])
            self.assertEqual(offered('lumpolicy list --name "z', node), [], "the shell would read its history there")

    def test_events_of_the_types_of_the_node_are_offered(self):
        self.assertEqual(offered("lumevents C", self.node), ["CHECK_POLICY:backup", "CHECK_POLICY:collect"])
        self.assertEqual(offered("lumevents --json FIRST_POLICY:backup LAST_POLICY:b", self.node), ["backup"])
        self.assertEqual(len(offered("lumevents ", self.node)), 12)

    def test_who_is_trusted_and_who_holds_rights_is_offered(self):
        def trust(*arguments):
            return subprocess.run([TOOLS / "lumtrust", *arguments], env=environment(self.node), cwd=self.node.folder,
                                  stdin=subprocess.DEVNULL, capture_output=True, text=True, check=True)
        trust("init", "authority")
        trust("trust", "authority/demonstration-authority.pem")
        trust("grant", "the operator", "list")
        self.assertEqual(offered("lumtrust untrust ", self.node), ["demonstration-authority"])
        self.assertEqual(offered("lumtrust grant t", self.node), ["the\\ operator"])
        self.assertEqual(offered("lumtrust revoke the", self.node), ["the operator"], "the shell quotes it like a file")
        for command in ("grant", "revoke"):
            self.assertEqual(offered(f"lumtrust {command} somebody con", self.node), ["configget", "configset"])
            self.assertEqual(len(offered(f"lumtrust {command} somebody install ", self.node)), 10)


class Certificates(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.node = Node()
        cls.addClassCleanup(cls.node.close)
        cls.work = cls.node.folder / "work"
        (cls.work / "deeper").mkdir(parents=True)
        for name in ("stolen.pem", "stolen.key", "notes.txt", "b c.crt"):
            (cls.work / name).write_text("")
        cls.trust("enroll", cls.node.folder / "authority", "--core-id", "node-1")
        listed = json.loads(cls.trust("list", "--json"))["certificates"]
        cls.fingerprints = {entry["kind"]: entry["fingerprint"] for entry in listed}

    @classmethod
    def trust(cls, *arguments):
        return subprocess.run([TOOLS / "lumtrust", *arguments], env=environment(cls.node), stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, check=True).stdout

    def offered(self, line):
        return sorted(offered(line, self.node, self.work))

    def test_only_what_is_trusted_can_be_trusted_no_longer(self):
        self.assertEqual(self.offered("lumtrust untrust "), ["demonstration-authority"])

    def test_only_an_own_key_signs(self):
        self.assertEqual(self.offered("lumpolicy sign --alias "), ["node-1"])

    def test_certificates_are_offered_where_one_is_revoked_or_reinstated(self):
        files = ["b c.crt", "deeper", "stolen.pem"]
        trusted = self.fingerprints["trusted"]
        self.assertEqual(self.offered("lumtrust revoke "), sorted([*files, trusted]))
        self.assertEqual(self.offered("lumtrust revoke --certificate "), sorted([*files, trusted]))
        self.assertEqual(self.offered(f"lumtrust revoke {trusted[:6]}"), [trusted])
        self.assertEqual(self.offered("lumtrust revoke --serial 1 --issuer "),
                         sorted([*files, "demonstration-authority"]))
        self.assertEqual(self.offered("lumtrust reinstate "), files, "nothing is revoked")
        self.trust("revoke", "--serial", "12", "--issuer", "CN=x y")
        self.trust("revoke", "--certificate", trusted, "--force")
        try:
            self.assertEqual(self.offered("lumtrust reinstate "), sorted([*files, trusted]))
            self.assertIn("12", self.offered("lumtrust reinstate --serial "))
            self.assertIn("CN=x y", self.offered("lumtrust reinstate --issuer "))
        finally:
            self.trust("reinstate", trusted)
            self.trust("reinstate", "--serial", "12", "--issuer", "CN=x y")


class Settings(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.node = Node({"n.s": {"b c": "1", "key": "[x]"}, "n.t": {"other": "2"}})
        cls.addClassCleanup(cls.node.close)

    def test_the_namespaces_of_the_node_are_offered(self):
        for command in ("get", "set", "clear", "explain"):
            self.assertEqual(offered(f"lumsettings {command} n", self.node), ["n.s", "n.t"])
        self.assertEqual(offered("lumsettings get --resource-group x --json n.t", self.node), ["n.t"])
        self.assertEqual(sorted(offered("lumsettings get ", self.node)),
                         ["conf.server", "n.s", "n.t", "vox.http.ext.conf"])

    def test_known_keys_are_offered_where_one_is_set(self):
        self.assertEqual(offered("lumsettings set conf.", self.node), ["conf.cluster", "conf.core", "conf.server"])
        known = offered("lumsettings set conf.server ", self.node)
        self.assertIn("AUDIT_LOGGING=", known)
        self.assertNotIn("STRICT_SIGNERS=", known, "that one is of another namespace")
        self.assertEqual(offered("lumsettings set conf.core STRICT_", self.node), ["STRICT_SIGNERS="])
        self.assertEqual(offered("lumsettings set conf.server AUDIT_LOGGING=true AUDIT_LOG_", self.node),
                         ["AUDIT_LOG_MODE="])

    def test_keys_and_their_namespaces_are_offered_without_a_node(self):
        self.assertEqual(offered("lumsettings describe AUDIT_"), ["AUDIT_LOGGING", "AUDIT_LOG_MODE"])
        self.assertEqual(offered("lumsettings keys conf."), ["conf.cluster", "conf.core", "conf.server"])
        self.assertEqual(offered("lumsettings keys conf.core "), [])

    def test_the_names_in_a_namespace_are_offered(self):
        self.assertEqual(offered("lumsettings get n.s ", self.node), ["b\\ c", "key"])
        self.assertEqual(offered("lumsettings clear --dry-run n.s k", self.node), ["key"])
        self.assertEqual(offered("lumsettings set n.s ke", self.node), ["key="])
        self.assertEqual(offered("lumsettings set n.s key=1 b", self.node), ["b\\ c="])
        self.assertEqual(offered("lumsettings get n.s key ", self.node), [])
        self.assertEqual(offered("lumsettings get zzz ", self.node), [])

    def test_the_ids_and_names_of_settings_policies_are_offered_where_one_is_meant(self):
        for policy_id, type_name in (("s-1", "configsettings"), ("s-2", "backup")):
            path = write_policy(self.node.folder / "source", policy_id, name=f"set {policy_id}", type_name=type_name)
            self.assertEqual(self.node.policy("install", "--no-notify", path).code, 0)
        self.assertEqual(offered("lumsettings diff --disable s", self.node), ["s-1", "set\\ s-1"])
        self.assertEqual(offered("lumsettings diff --remove=", self.node), ["s-1", "set\\ s-1"])

    def test_without_a_node_nothing_is_offered_and_nothing_said(self):
        self.assertEqual(offered("lumsettings get "), [])


if __name__ == "__main__":
    unittest.main()
