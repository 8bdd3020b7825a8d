#!/usr/bin/python3
"""The modules for Ansible against a node of this machine: what a play wants, what it is told, and what a check foresees."""
import json
import pathlib
import shutil
import subprocess
import tempfile
import unittest

import pki
from node import PATIENCE_S, TOOLS, Node, write_policy
from plays import COLLECTION, policy, setting, trust


class ModulesTest(unittest.TestCase):
    """Modules as they run on a node, without the play that sends them there."""

    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="lummodules."))
        cls.addClassCleanup(shutil.rmtree, cls.folder, ignore_errors=True)
        (cls.folder / "ansible_collections/tessel").mkdir(parents=True)
        (cls.folder / "ansible_collections/tessel/lumconf").symlink_to(COLLECTION)
        (cls.folder / "tmp").mkdir()

    def setUp(self):
        self.node = Node()
        self.addCleanup(self.node.close)
        self.source = self.node.folder / "source"

    def write(self, policy_id, content=b"data\n", **fields):
        return write_policy(self.source, policy_id, {f"{policy_id}.conf": content}, name=f"name of {policy_id}", **fields)

    def run_module(self, task, check):
        (name, options), = task.items()
        arguments = self.folder / "arguments.json"
        arguments.write_text(json.dumps({"ANSIBLE_MODULE_ARGS": dict(
            options, root=str(self.node.root), _ansible_check_mode=check, _ansible_diff=True)}))
        collection, module = name.rsplit(".", 1)
        environment = {"PATH": f"{TOOLS}:/usr/sbin:/usr/bin:/sbin:/bin", "HOME": str(self.folder), "LANG": "C.UTF-8",
                       "PYTHONPATH": str(self.folder), "TMPDIR": str(self.folder / "tmp"), "PYTHONDONTWRITEBYTECODE": "1"}
        command = ["/usr/bin/python3", "-m", f"ansible_collections.{collection}.plugins.modules.{module}", arguments]
        return subprocess.run(command, env=environment, stdin=subprocess.DEVNULL, capture_output=True, text=True,
                              timeout=PATIENCE_S)

    def result(self, task, check=False):
        """What came of a task, whether it failed or not."""
        done = self.run_module(task, check)
        self.assertEqual((done.stderr, list((self.folder / "tmp").iterdir())), ("", []), done.stdout)
        return json.loads(done.stdout)

    def results(self, *tasks, **keywords):
        return [self.result(task, **keywords) for task in tasks]

    def assert_changed(self, result, changed=True):
        self.assertEqual((result.get("failed", False), result.get("changed")), (False, changed), result)

    def assert_refused(self, task, *signs):
        """In a check as well as when it counts, with the same words."""
        for check in (True, False):
            result = self.result(task, check=check)
            self.assertTrue(result.get("failed"), result)
            for sign in signs:
                self.assertIn(sign, result["msg"])
            self.assertNotIn("usage:", result["msg"])
            self.assertNotIn("--", result["msg"].replace("-----", ""))


class Policies(ModulesTest):
    def status(self, policy_id):
        return next(one["status"] for one in self.node.list() if one["id"] == policy_id)

    def test_a_policy_that_a_cluster_switches_keeps_its_status(self):
        path = self.write("a", attributes=[("HARG:web", "ONLINE")])
        self.assert_changed(self.result(policy(src=path)))
        self.node.policy("disable", "--no-notify", "--id", "a")
        for check in (True, False):
            self.assert_changed(self.result(policy(src=path), check=check), False)
        self.write("a", b"other\n", attributes=[("HARG:web", "ONLINE")])
        result = self.result(policy(src=path))
        self.assert_changed(result)
        self.assertEqual((result["differences"], self.status("a")), (["data file a.conf"], "disabled"))

    def test_a_status_that_the_play_gives_itself_counts_in_a_cluster_too(self):
        path = self.write("a", attributes=[("HARG:web", "ONLINE")])
        self.assert_changed(self.result(policy(src=path, status="disabled")))
        self.assertEqual(self.status("a"), "disabled")
        for check in (True, False):
            result = self.result(policy(src=path, status="enabled"), check=check)
            self.assert_changed(result)
            self.assertEqual(result["differences"], ["status"])
            self.assertIn("-status: disabled\n+status: enabled\n", result["diff"]["prepared"])
        self.assertEqual(self.status("a"), "enabled")
        self.assert_changed(self.result(policy(src=path, status="enabled")), False)

    def test_status_and_owner_of_the_play_stand_over_those_of_the_document(self):
        path = self.write("a", status="enabled", owner="them")
        for text in (path.read_text(), path.read_text().replace("<status>enabled</status>", "").replace(
                "<owner>them</owner>", "")):
            path.write_text(text)
            wanted = policy(src=path, status="disabled", owner="us")
            checked = self.result(wanted, check=True)
            self.assert_changed(checked)
            self.assertIn("+status: disabled\n+owner: us\n", checked["diff"]["prepared"])
            self.assert_changed(self.result(wanted))
            told = self.node.list()[0]
            self.assertEqual((told["status"], told["owner"]), ("disabled", "us"))
            for check in (True, False):
                self.assert_changed(self.result(wanted, check=check), False)
            self.assertEqual(path.read_text(), text)
            self.assert_changed(self.result(policy(id="a", state="absent")))

    def test_another_owners_policy_is_refused_in_a_check_too(self):
        path = self.write("a", owner="them")
        self.result(policy(src=path))
        path = self.write("a", owner="us")
        self.assert_refused(policy(src=path), "its owner 'us' is not 'them'", "; force_owner changes it all the same")
        self.assert_changed(self.result(policy(src=path, force_owner=True), check=True))
        self.assertEqual(self.node.list()[0]["owner"], "them")

    def test_what_a_document_is_warned_of_reaches_the_play_once(self):
        path = self.write("a")
        (self.source / "b.conf").touch()
        path.write_text(path.read_text().replace("</files>", "<data><file_name>b.conf</file_name></data></files>"))
        told = self.node.policy("validate", "--json", path).json()["warnings"]
        self.assertEqual(len(told), 1)
        for check in (True, False):
            self.assertEqual(self.result(policy(src=path), check=check)["warnings"], [told[0]["text"]])


class Settings(ModulesTest):
    def test_a_value_that_a_key_cannot_hold_is_refused_in_a_check_too(self):
        wanted = setting(namespace="conf.server", settings={"AUDIT_LOG_MODE": "all", "AUDIT_LOGGING": "perhaps"})
        self.assert_refused(wanted, "lumsettings: [conf.server] AUDIT_LOGGING=perhaps: must be true or false; force sets")
        self.assertEqual(self.node.tool("lumsettings", "get", "conf.server", "AUDIT_LOGGING").out, "true\n")
        wanted["tessel.lumconf.lum_setting"]["force"] = True
        self.assert_changed(self.result(wanted, check=True))
        self.assert_changed(self.result(wanted))

    def test_a_key_that_nobody_reads_is_a_warning(self):
        wanted = setting(namespace="conf.server", settings={"AUDIT_LOGGIN": "true"})
        for check in (True, False):
            result = self.result(wanted, check=check)
            self.assert_changed(result)
            self.assertIn("did you mean 'AUDIT_LOGGING'?", " ".join(result["warnings"]))

    def test_a_check_of_settings_changes_nothing(self):
        first = setting(namespace="odd", settings={"-a": "", "b": "a=b"})
        self.assert_changed(self.result(first, check=True))
        self.assertNotIn("odd", (self.node.config / "local_settings.ini").read_text())
        self.assert_changed(self.result(first))
        for cleared in (setting(namespace="odd", names=["-a"], state="absent"), setting(namespace="odd", state="absent")):
            self.assert_changed(self.result(cleared, check=True))
        self.assertIn("b=a=b", self.node.tool("lumsettings", "get", "odd").out)

    def test_what_would_lock_the_tools_out_is_a_warning_in_a_check_and_a_failure_when_it_counts(self):
        wanted = setting(namespace="vox.http.ext.conf", settings={"SERVER_PORT": "1"})
        checked, done = self.result(wanted, check=True), self.result(wanted)
        self.assertIn("as the node is now, it would not do this: Not done: the tools", " ".join(checked["warnings"]))
        self.assertTrue(done["failed"], done)


class Trusted(ModulesTest):
    def setUp(self):
        super().setUp()
        self.authority = pki.Authority()
        self.addCleanup(self.authority.close)
        self.certificate, self.key = (path.read_text() for path in self.authority.issue("node-1"))
        self.trusted = trust(trusted=self.authority.certificate.read_text())
        self.own = trust(own=self.certificate, key=self.key)

    def etc(self):
        """All that the node's folder of keys and settings holds."""
        root = self.node.root / "etc"
        return {str(path.relative_to(root)): path.read_bytes() for path in root.rglob("*")
                if path.is_file() and path.suffix != ".lock"}

    def test_certificates_are_shown_and_a_check_changes_nothing(self):
        before = self.etc()
        checked = self.results(self.trusted, self.own, check=True)
        self.assertEqual(self.etc(), before)
        done = self.results(self.trusted, self.own)
        for results in (checked, done):
            for result, alias, subject in zip(results, ("authority", "node-1"), ("authority", "node-1")):
                self.assert_changed(result)
                self.assertEqual(result["diff"]["before"], "")
                self.assertRegex(result["diff"]["after"],
                                 f"^{alias}: subject=.*{subject}.* not_after=.* fingerprint=[0-9a-f]+\n$")
                self.assertNotIn(self.key.splitlines()[2], json.dumps(result["diff"]))
        for result in self.results(self.trusted, self.own):
            self.assert_changed(result, False)

    def test_a_certificate_that_is_replaced_is_shown_with_the_one_before(self):
        self.results(self.trusted, self.own)
        certificate, key = self.authority.issue("node-1", file_name="second")
        wanted = trust(own=certificate.read_text(), key=key.read_text())
        checked, done = self.result(wanted, check=True), self.result(wanted)
        self.assertEqual(checked["diff"], done["diff"])
        self.assertNotEqual(done["diff"]["before"], done["diff"]["after"])

    def test_what_is_no_certificate_or_not_that_of_the_key_is_refused_in_a_check_too(self):
        nonsense = "-----BEGIN CERTIFICATE-----\nbm9uc2Vuc2U=\n-----END CERTIFICATE-----\n"
        other = self.authority.issue("other")[1].read_text()
        before = self.etc()
        for wanted, sign in ((trust(own=nonsense), "cannot be read as a certificate"),
                             (trust(trusted=nonsense), "cannot be read as a certificate"),
                             (trust(revoked=nonsense), "cannot be read as a certificate"),
                             (trust(own=self.certificate, key=other), "does not belong to the key"),
                             (trust(own=self.certificate), "has no key for 'node-1'"),
                             (trust(trusted="nonsense"), "holds no certificate")):
            with self.subTest(sign):
                self.assert_refused(wanted, sign)
        self.assertEqual(self.etc(), before)

    def test_what_other_tasks_may_make_possible_is_a_warning_in_a_check(self):
        self.results(self.trusted, self.own)
        for wanted in (trust(alias="authority", state="absent"), trust(revoked=self.certificate)):
            checked = self.result(wanted, check=True)
            self.assert_changed(checked)
            self.assertIn("as the node is now, it would not do this", " ".join(checked["warnings"]))
            self.assertTrue(self.result(wanted)["failed"])

    def test_a_revocation_is_shown_as_a_difference_in_a_check_as_when_it_is_done(self):
        lost = self.authority.issue("lost")[0].read_text()
        for state in ("present", "absent"):
            checked, done = (self.result(trust(revoked=lost, state=state), check=check) for check in (True, False))
            self.assertEqual(checked["diff"], done["diff"])
            told = done["diff"]["after" if state == "present" else "before"]
            self.assertRegex(told, r"^[0-9a-f]+ of CN=.+: lost\n$")
            self.assertEqual(done["diff"]["before" if state == "present" else "after"], "")

    def test_rights_are_checked_and_not_changed(self):
        before = self.etc()
        checked = self.result(trust(sender="operator", rights=["list"]), check=True)
        self.assert_changed(checked)
        self.assertEqual((checked["rights"], self.etc()), (["list"], before))


if __name__ == "__main__":
    unittest.main()
