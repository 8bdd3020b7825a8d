#!/usr/bin/python3
"""The collection for Ansible: machines are set up from the packages and kept as a play says; a second run changes
nothing."""
import json
import os
import pathlib
import re
import shutil
import tempfile
import unittest

import pki
from machines import BareSystem, Machine, ManagedMachine
from node import EXAMPLES, PATIENCE_S, ROOT, wait_until, write_policy
from plays import COLLECTION, Ansible, policy, setting, trust
from test_packages import make, needed

LONG = bool(os.environ.get("LUM_LONG"))
BACKUP = EXAMPLES / "7c1f6a52-2d0e-4b39-9d77-0b6f8a1e4c11_header.xml"
# In an order in which they could not be installed one by one.
INSTALLED = ("lumconf", "liblumconf1")
MODULES = ("lum_policy", "lum_setting", "lum_trust")


class Plays(unittest.TestCase):
    """Machines with nothing but Python, and the collection as a user installs it."""
    NAMES, kind = ("one",), Machine

    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="lumplays."))
        cls.addClassCleanup(shutil.rmtree, cls.folder, ignore_errors=True)
        cls.packages = make(cls.folder / "packages")
        cls.system = BareSystem("python3", "python3-apt", "apt", *needed(cls.packages))
        cls.addClassCleanup(cls.system.close)
        (cls.folder / "connection").mkdir()
        shutil.copy(ROOT / "tests/system/ansible_nsenter.py", cls.folder / "connection/nsenter.py")
        cls.ansible = Ansible(cls.folder, ANSIBLE_PIPELINING="1", ANSIBLE_CONNECTION_PLUGINS=str(cls.folder / "connection"))

    def setUp(self):
        self.machines = {}
        for name in self.NAMES:
            self.machines[name] = self.kind(self.system, name)
            self.addCleanup(self.machines[name].close)
        rows = [f"{name} ansible_machine_pid={machine.pid}\n" for name, machine in self.machines.items()]
        self.hosts = "ansible_connection=nsenter\n[all]\n" + "".join(rows)

    def play(self, *tasks, changed=None, **keywords):
        """changed: how many tasks of each host must have changed something; then none may have failed."""
        played = self.ansible.play(self.hosts, tasks, **keywords)
        if changed is not None:
            self.assertEqual(played.code, 0, played.text)
            self.assertEqual(played.count("changed"), dict.fromkeys(self.machines, changed), played.text)
        return played

    def set_up(self, packages=None, **keywords):
        paths = [str((packages or self.packages)[name]) for name in INSTALLED]
        return self.play(roles=["tessel.lumconf.node"], lumconf_packages=paths, **keywords)

    def start(self):
        """What the service manager does where there is one."""
        for machine in self.machines.values():
            machine.run("start-stop-daemon", "--start", "--background", "--chuid", "lum:lum", "--exec", "/usr/bin/lumconfd")
        for machine in self.machines.values():
            wait_until(machine.path("/var/opt/lum/etc/local.secret").exists, f"{machine.name} serves")

    def stop(self, name):
        self.machines[name].run("start-stop-daemon", "--stop", "--exec", "/usr/bin/lumconfd", "--retry", PATIENCE_S)


AUDIT = setting(namespace="conf.server", settings={"AUDIT_LOGGING": True, "AUDIT_LOG_MODE": "all"})


class Smoke(Plays):
    def test_a_second_run_of_everything_changes_nothing(self):
        self.set_up(lumconf_rights={"operator": ["install", "list"]}, changed=4)
        self.start()
        tasks = (AUDIT, policy(src=BACKUP))
        self.play(*tasks, changed=2)
        self.set_up(lumconf_rights={"operator": ["install", "list"]}, lumconf_settings={"conf.server": {"AUDIT_LOGGING": True}},
                    changed=0)
        self.play(*tasks, options=["--diff"], changed=0)
        for machine in self.machines.values():
            self.assertIn("nightly-backup", machine.run("lumpolicy", "list"))
            self.assertEqual(machine.run("lumsettings", "get", "conf.server", "AUDIT_LOGGING"), "true\n")

    def test_the_papers_tell_every_option_and_variable(self):
        for name in MODULES:
            told = json.loads(self.ansible.run("ansible-doc", "--json", f"tessel.lumconf.{name}").stdout)
            options = set(told[f"tessel.lumconf.{name}"]["doc"]["options"])
            source = (COLLECTION / f"plugins/modules/{name}.py").read_text()
            taken = set(re.findall(r'(\w+)=\{"(?:type|choices)"', source)) | {"root"}
            self.assertEqual(options, taken)
        page = (COLLECTION / "README.md").read_text()
        for variable in re.findall(r"^(lumconf_\w+):", (COLLECTION / "roles/node/defaults/main.yml").read_text(), re.M):
            self.assertIn(f"`{variable}`", page)


class Managed(Plays):
    """Where the service manager runs, the role has it start the daemon."""
    kind = ManagedMachine

    def test_the_role_leaves_a_daemon_that_serves_with_what_it_was_given(self):
        authority = pki.Authority()
        self.addCleanup(authority.close)
        certificate, key = authority.issue("node-1")
        given = {"lumconf_trusted": [authority.certificate.read_text()], "lumconf_certificate": certificate.read_text(),
                 "lumconf_key": key.read_text(), "lumconf_rights": {"operator": ["list"]},
                 "lumconf_settings": {"conf.server": {"AUDIT_LOGGING": True}}}
        played = self.set_up(**given)
        self.assertEqual(played.code, 0, played.text)
        self.set_up(**given, changed=0)
        machine = self.machines["one"]
        self.assertEqual(machine.run("systemctl", "is-active", "lumconfd"), "active\n")
        self.assertIn("node-1", machine.run("runuser", "-u", "lum", "--", "lumtrust", "list"))
        self.play(policy(src=BACKUP), changed=1)

    def test_other_versions_are_installed_in_one_go_and_only_when_they_differ(self):
        self.set_up()
        self.play(policy(src=BACKUP), changed=1)
        second = make(self.folder / "second", "--version", "1.0.1")
        self.set_up(packages=second, options=["--check"], changed=1)
        self.assert_runs("1.0.0")
        self.set_up(packages=second, changed=2)
        self.assert_runs("1.0.1")
        self.set_up(packages=second, changed=0)
        older = self.set_up()
        self.assertEqual(older.count("failed"), {"one": 1}, older.text)
        self.assert_runs("1.0.1")
        self.set_up(lumconf_allow_downgrade=True, options=["--check"], changed=1)
        self.assert_runs("1.0.1")
        self.set_up(lumconf_allow_downgrade=True, changed=1)
        self.assert_runs("1.0.0")

    def assert_runs(self, version):
        machine = self.machines["one"]
        for name in INSTALLED:
            self.assertEqual(machine.run("dpkg-query", "--show", "--showformat=${db:Status-Status} ${Version}", name),
                             f"installed {version}")
        self.assertEqual(machine.run("systemctl", "is-active", "lumconfd"), "active\n")
        self.assertIn("nightly-backup", machine.run("lumpolicy", "list"))


class Fleet(Smoke):
    NAMES = ("one", "two", "three", "four", "five")

    def ready(self):
        self.set_up()
        self.start()

    def test_a_check_changes_nothing_and_says_what_would_change(self):
        self.ready()
        source = self.folder / "check"
        path = write_policy(source, "a", {"a.conf": b"first\n"})
        checked = self.play(policy(src=path), AUDIT, trust(sender="operator", rights=["list"]), options=["--check", "--diff"],
                            changed=3)
        for line in ("+first", "+AUDIT_LOGGING=true", "+list"):
            self.assertIn(line, checked.text)
        for machine in self.machines.values():
            self.assertEqual(machine.run("find", "/var/opt/lum", "-name", "*_header.xml"), "")
            machine.run("lumsettings", "get", "conf.server", "AUDIT_LOGGING", code=4)
            self.assertEqual(machine.run("runuser", "-u", "lum", "--", "lumtrust", "rights", "--json"), '{"rights":[]}\n')

    def test_a_policy_follows_its_files_its_status_and_its_owner(self):
        self.ready()
        path = write_policy(self.folder / "follows", "a", {"a.conf": b"first\n"}, type_name="Type", name=" two  words ",
                            attributes=[("stage", " test ")], categories=["b", "a", "b"], description="two\n lines")
        self.play(policy(src=path), changed=1)
        self.play(policy(src=path), changed=0)
        (path.parent / "a.conf").write_bytes(b"second\n")
        played = self.play(policy(src=path), options=["--diff"], changed=1)
        self.assertIn('"differences": ["data file a.conf"]', played.text)
        self.assertIn("-first\n+second\n", played.text)
        self.play(policy(id="a", status="disabled"), changed=1)
        self.play(policy(src=path, status="disabled"), changed=0)
        self.play(policy(src=path), changed=1)
        self.play(policy(name=" two  words ", type="type", owner="another"), changed=1)
        self.assertEqual(set(self.play(policy(src=path)).count("failed").values()), {1})
        self.play(policy(src=path, force_owner=True), changed=1)
        self.machines["one"].run("rm", "/var/opt/lum/policies/type/a.conf")
        self.assertEqual(self.play(policy(src=path)).count("changed"), dict.fromkeys(self.machines, 0) | {"one": 1})
        self.play(policy(src=path, state="absent"), changed=1)
        self.play(policy(src=path, state="absent"), changed=0)
        self.play(policy(id="a", state="absent"), changed=0)

    def test_settings_are_set_and_cleared_one_by_one_and_as_a_whole(self):
        self.ready()
        self.play(AUDIT, changed=1)
        self.play(setting(namespace="conf.server", settings={"AUDIT_LOGGING": "false"}), changed=1)
        odd = setting(namespace="-odd", settings={"-a": "", "-b": " x ", "c": "a=b", "d": "one\ntwo", "e": 7})
        self.play(odd, changed=1)
        self.play(odd, changed=0)
        self.play(setting(namespace="conf.server", names=["AUDIT_LOGGING", "ABSENT"], state="absent"), changed=1)
        self.play(setting(namespace="conf.server", names=["AUDIT_LOGGING"], state="absent"), changed=0)
        self.play(setting(namespace="conf.server", state="absent"), changed=1)
        self.play(setting(namespace="conf.server", state="absent"), changed=0)

    def test_keys_and_rights_are_what_the_play_says(self):
        self.ready()
        authority = pki.Authority()
        self.addCleanup(authority.close)
        certificate, key = authority.issue("node-1")
        tasks = (trust(trusted=authority.certificate.read_text()), trust(own=certificate.read_text(), key=key.read_text()),
                 trust(sender="operator", rights=["list", "install"]))
        self.play(*tasks, options=["--check"], changed=3)
        for machine in self.machines.values():
            self.assertEqual(machine.run("runuser", "-u", "lum", "--", "lumtrust", "list", "--json"), '{"certificates":[]}\n')
        played = self.play(*tasks, changed=3)
        self.assertNotIn(key.read_text().splitlines()[2], played.text)
        self.play(*tasks, changed=0)
        self.play(trust(sender="operator", rights=["list"]), changed=1)
        for machine in self.machines.values():
            self.assertIn('"rights":"list"', machine.run("runuser", "-u", "lum", "--", "lumtrust", "rights", "--json"))
            self.assertEqual(machine.run("find", "/tmp", "-name", "lumtrust.*"), "")
            self.assertEqual(machine.run("find", "/var/opt/lum", "-not", "-user", "lum"), "")
        self.play(trust(sender="operator", state="absent"), changed=1)
        lost = trust(revoked=authority.issue("laptop")[0].read_text())
        self.play(lost, options=["--check"], changed=1)
        self.play(lost, changed=1)
        self.play(lost, changed=0)
        self.play(trust(revoked=lost["tessel.lumconf.lum_trust"]["revoked"], state="absent"), changed=1)
        refused = self.play(trust(alias="authority", state="absent"))
        self.assertEqual(set(refused.count("failed").values()), {1}, refused.text)
        self.assertIn("alone vouches for the certificate of this node", refused.text)
        self.play(trust(alias="authority", state="absent", force=True), changed=1)
        self.play(trust(alias="authority", state="absent"), changed=0)

    def test_a_node_that_is_down_is_unreachable_and_holds_up_no_other(self):
        self.ready()
        self.machines["two"].close()
        self.stop("four")
        played = self.play(AUDIT, policy(src=BACKUP))
        self.assertEqual(set(played.count("failed").values()), {0}, played.text)
        self.assertEqual(played.count("unreachable"), {"one": 0, "two": 1, "three": 0, "four": 1, "five": 0}, played.text)
        self.assertEqual({name: played.count("changed")[name] for name in ("one", "three", "five")},
                         {"one": 2, "three": 2, "five": 2})

    def test_what_is_wrong_fails_with_a_sentence_and_changes_nothing(self):
        self.ready()
        broken = self.folder / "broken"
        broken.mkdir()
        (broken / "a_header.xml").write_text("<header")
        away = write_policy(broken, "b", {"b.conf": b"x"})
        (broken / "b.conf").unlink()
        for task, sign in ((policy(src=broken / "a_header.xml"), "cannot be read as a policy"),
                           (policy(src=away), "data file"), (policy(src=broken / "none"), "Could not find"),
                           (policy(id="none", status="enabled"), "no such policy is installed"),
                           (policy(state="present"), "one of the following is required"),
                           (setting(namespace="a", settings={"x=y": 1}), "'x=y' is no name of a setting"),
                           (setting(namespace="", settings={"x": 1}), "lumsettings: "),
                           (trust(trusted="nonsense"), "holds no certificate"),
                           (trust(sender="operator", rights=["everything"]), "value of rights must be one or more of"),
                           (trust(sender="operator"), "sender wants rights")):
            with self.subTest(task=task):
                played = self.play(task)
                self.assertEqual(set(played.count("failed").values()), {1}, played.text)
                self.assertIn(sign, played.text)
        for machine in self.machines.values():
            self.assertEqual(machine.run("find", "/var/opt/lum", "-name", "*_header.xml"), "")


def load_tests(loader, _tests, _pattern):
    """The fleet does all that one machine does, and more."""
    kinds = (Fleet, Managed) if LONG else (Smoke,)
    return unittest.TestSuite(loader.loadTestsFromTestCase(kind) for kind in kinds)


if __name__ == "__main__":
    unittest.main()
