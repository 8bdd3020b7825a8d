#!/usr/bin/python3
"""Keys, certificates and rights of a node, changed by its administrator also while it serves."""
import os
import pathlib
import re
import subprocess
import unittest

import pki
from node import DONE, FAILED, NOT_FOUND, NOTHING_TO_DO, PATIENCE_S, TOOLS, WRONG_USAGE, Node

AUTHORITY = "demonstration-authority"


class TrustTest(unittest.TestCase):
    def setUp(self):
        self.node = self.make_node()

    def make_node(self):
        node = Node(start=False)
        self.addCleanup(node.close)
        return node

    def trust(self, *arguments, node=None, code=DONE, words=()):
        result = (node or self.node).tool("lumtrust", *arguments)
        self.assertEqual(result.code, code, result)
        self.assertNotIn("PRIVATE KEY", result.out + result.err)
        for word in words:
            self.assertIn(word, " ".join((result.out + result.err).split()))
        return result

    def authority(self, name="ca"):
        folder = self.node.folder / name
        if not folder.exists():
            self.trust("init", folder)
        return folder

    def issue(self, core_id, node=None, folder=None):
        """What an administrator does: request, issue; returns the path of the certificate."""
        node = node or self.node
        folder = folder or self.authority()
        request, certificate = folder / f"{core_id}.csr", folder / f"{core_id}.pem"
        self.trust("request", "--core-id", core_id, "--host", "localhost", "--host", "127.0.0.1", "-o", request, node=node)
        self.trust("issue", folder, request, "-o", certificate)
        return certificate

    def equip(self, core_id="node-1", node=None):
        """Trust and a certificate."""
        node = node or self.node
        self.trust("trust", self.authority() / f"{AUTHORITY}.pem", node=node)
        self.trust("install", self.issue(core_id, node), node=node)

    def keystore(self, path):
        return self.node.root / "etc/keystore" / path

    def files(self):
        store = self.node.root / "etc/keystore"
        return sorted(str(path.relative_to(store)) for path in store.rglob("*") if path.is_file())

    def mode(self, path):
        return self.keystore(path).stat().st_mode & 0o777

    def client(self, core_id="operator"):
        client = self.make_node()
        client.settings["vox.http.ext.conf"] = {"TARGET_PORT": self.node.port}
        client.write_settings()
        self.equip(core_id, client)
        return client


class Files(TrustTest):
    def test_the_authority_says_what_it_is_and_is_never_overwritten(self):
        folder = self.node.folder / "ca"
        self.trust("init", folder, words=["For demonstrations only", AUTHORITY])
        self.assertEqual((folder / f"{AUTHORITY}.key").stat().st_mode & 0o777, 0o600)
        before = (folder / f"{AUTHORITY}.key").read_bytes()
        self.trust("init", folder, code=FAILED, words=["is not overwritten"])
        self.assertEqual((folder / f"{AUTHORITY}.key").read_bytes(), before)

    def test_a_certificate_is_requested_issued_and_installed(self):
        self.equip()
        self.assertEqual(self.files(), ["own/node-1.key", "own/node-1.pem", f"trusted/{AUTHORITY}.pem"])
        self.assertEqual((self.mode("own/node-1.key"), self.mode("own")), (0o600, 0o700))
        settings = (self.node.config / "local_settings.ini").read_text()
        self.assertIn("CORE_ID=node-1", settings)
        self.assertIn("CERT_INSTALLED=true", settings)
        pki.openssl("verify", "-CAfile", self.keystore(f"trusted/{AUTHORITY}.pem"), "-verify_hostname", "localhost",
                    self.keystore("own/node-1.pem"))
        self.assertEqual(self.node.tool("lumconfd", "--check-config").code, DONE)

    def test_the_chain_behind_a_certificate_is_installed_with_it(self):
        certificate = self.issue("node-1")
        chain = certificate.read_text() + (self.authority() / f"{AUTHORITY}.pem").read_text()
        certificate.write_text(chain)
        self.trust("install", certificate)
        self.assertEqual(self.keystore("own/node-1.pem").read_text(), chain)

    def test_a_request_of_its_own_make_is_read_by_others(self):
        request = self.node.folder / "request"
        request.write_text(self.trust("request", "--core-id", "Größe", "--host", "10.0.0.1").out)
        pki.openssl("req", "-in", request, "-verify", "-noout")
        self.assertEqual(self.mode("requested/Größe.key"), 0o600)

    def test_names_without_a_folder_mean_the_current_one(self):
        folder, here = self.authority(), os.getcwd()
        os.chdir(folder)
        self.addCleanup(os.chdir, here)
        self.trust("request", "--core-id", "node-1", "-o", "request")
        self.trust("issue", ".", "request", "-o", "certificate")
        self.trust("install", "certificate")
        self.assertEqual(self.files(), ["own/node-1.key", "own/node-1.pem"])

    def test_what_no_node_can_be_called_is_not_requested(self):
        for core_id in ("", "../node", "a/b", "conf.cluster", "local administrator", "n" * 65):
            with self.subTest(core_id=core_id):
                result = self.node.tool("lumtrust", "request", "--core-id", core_id)
                self.assertNotEqual(result.code, DONE, result)
        for host in ("a b", "DNS:x,email:y", "", "höst"):
            with self.subTest(host=host):
                result = self.node.tool("lumtrust", "request", "--core-id", "node-1", "--host", host)
                self.assertNotEqual(result.code, DONE, result)
        self.assertFalse(self.keystore("requested").exists())

    def test_a_node_without_an_id_is_asked_for_one(self):
        for arguments in (("request",), ("withdraw",), ("enroll", self.node.folder / "ca")):
            said = self.trust(*arguments, code=WRONG_USAGE, words=["has no id yet", "--core-id"])
            self.assertNotIn("''", said.err)
        self.assertFalse((self.node.folder / "ca").exists())

    def test_a_certificate_without_its_key_is_not_installed_and_nothing_changes(self):
        self.equip()
        before = {name: self.keystore(name).read_bytes() for name in self.files()}
        certificate = self.issue("node-1")
        self.keystore("requested/node-1.key").unlink()
        self.trust("install", certificate, code=FAILED, words=["does not belong to the key"])
        other = self.authority() / f"{AUTHORITY}.key"
        self.trust("install", certificate, "--key", other, code=FAILED, words=["does not belong to the key"])
        self.assertEqual({name: self.keystore(name).read_bytes() for name in self.files()}, before)

    def test_a_node_without_any_key_is_told_so_and_where_one_comes_from(self):
        certificate = self.issue("node-1", self.make_node())
        said = self.trust("install", certificate, code=FAILED, words=["has no key for 'node-1'", "--key FILE",
                                                                      "lumtrust request"])
        self.assertNotIn("does not belong", said.err)
        self.assertEqual(self.files(), [])

    def test_what_is_no_certificate_is_neither_installed_nor_trusted(self):
        broken = self.node.folder / "broken"
        for content in (b"", b"text", b"-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n", b"0" * 2**21):
            broken.write_bytes(content)
            for command in ("install", "trust"):
                with self.subTest(content=content[:20], command=command):
                    self.trust(command, broken, code=FAILED)
        for command in ("install", "trust"):
            self.trust(command, self.node.folder / "nowhere", code=FAILED, words=["nowhere"])
            self.trust(command, self.authority() / f"{AUTHORITY}.key", code=FAILED, words=[f"{AUTHORITY}.key"])
        self.assertFalse((self.node.root / "etc/keystore").exists())

    def test_trust_has_an_alias_that_is_a_name_and_replaces_only_when_told(self):
        one, two = (self.authority(name) / f"{AUTHORITY}.pem" for name in ("ca", "other"))
        for alias in ("../x", "a/b", ".."):
            self.trust("trust", one, "--alias", alias, code=FAILED, words=["cannot name an entry"])
        self.trust("trust", one, "--alias", "short", words=["Note: signers"])
        self.trust("trust", one)
        self.trust("trust", one)
        self.trust("trust", two, code=FAILED, words=["--replace"])
        self.trust("trust", two, "--replace")
        self.assertEqual(self.files(), [f"trusted/{AUTHORITY}.pem", "trusted/short.pem"])
        self.trust("untrust", "short")
        self.trust("untrust", "short", code=NOT_FOUND)
        self.trust("untrust", "../own/x", code=FAILED)
        self.assertEqual(self.files(), [f"trusted/{AUTHORITY}.pem"])

    def test_a_bundle_is_not_trusted_as_one_and_the_list_hides_nothing_of_it(self):
        bundle = self.node.folder / "bundle.pem"
        bundle.write_text("".join((self.authority(name) / f"{AUTHORITY}.pem").read_text() for name in ("ca", "other")))
        self.trust("trust", bundle, "--alias", "both", code=FAILED, words=["bundle.pem", "more than one"])
        self.assertFalse(self.keystore("trusted").exists())
        self.keystore("trusted").mkdir(parents=True)
        self.keystore("trusted/both.pem").write_text(bundle.read_text())
        self.assertEqual([one["alias"] for one in self.trust("list", "--json").json()["certificates"]], ["both"] * 2)

    def test_who_is_trusted_but_no_authority_is_told_to_vouch_for_himself_alone(self):
        self.trust("trust", self.issue("operator"), words=["Note: it is no authority"])
        self.assertNotIn("authority:", self.trust("trust", self.authority() / f"{AUTHORITY}.pem").out)

    def test_a_certificate_that_no_server_would_take_is_not_installed(self):
        weak, key = self.node.folder / "weak.pem", self.node.folder / "weak.key"
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:1024", "-nodes", "-subj", "/CN=node-1", "-out", weak,
                        "-keyout", key], check=True, capture_output=True)
        self.trust("install", weak, "--key", key, code=FAILED, words=["weak.pem", "cannot be used", "key too small"])
        self.assertFalse(self.keystore("own").exists())
        self.keystore("own").mkdir(parents=True)
        self.keystore("own/node-1.pem").write_bytes(weak.read_bytes())
        self.keystore("own/node-1.key").write_bytes(key.read_bytes())
        self.node.settings["sec.core"] = {"CORE_ID": "node-1"}
        self.node.settings["sec.cm.certificates"] = {"CERT_INSTALLED": "true"}
        self.node.write_settings()
        checked = self.node.tool("lumconfd", "--check-config")
        self.assertEqual(checked.code, FAILED, checked)
        self.assertIn("key too small", checked.out)

    def test_the_steps_of_the_readme_to_the_network_work_as_they_are_written(self):
        readme = (pathlib.Path(__file__).parents[2] / "README.md").read_text(encoding="utf-8")
        steps = re.search(r"<!-- network -->\n```sh\n(.*?)```", readme, re.S).group(1)
        authority = pki.Authority()
        self.addCleanup(authority.close)
        authority.issue("node")
        done = subprocess.run(["bash", "-ec", steps], cwd=authority.folder, capture_output=True, text=True,
                              env=self.node.environment(PATH=f"{TOOLS}:{os.environ['PATH']}"), timeout=PATIENCE_S)
        self.assertEqual(done.returncode, DONE, done)
        for sign in ("trusted: ", "installed: node", "operator: install remove list", "the configuration is in order"):
            self.assertIn(sign, done.stdout)

    def test_the_list_tells_each_certificate_and_what_cannot_be_read(self):
        self.equip()
        listed = self.trust("list", "--json").json()["certificates"]
        self.assertEqual([(one["kind"], one["alias"], one["subject"], one["issuer"]) for one in listed],
                         [("own", "node-1", "node-1", AUTHORITY), ("trusted", AUTHORITY, AUTHORITY, AUTHORITY)])
        for one, days in zip(listed, (7, 30)):
            self.assertIn(one["days_left"], (days, days - 1))
        self.trust("list", words=["DAYS LEFT", "node-1", AUTHORITY])
        self.assertEqual(self.trust("list", "-o", "name").out, f"node-1\n{AUTHORITY}\n")
        soonest = self.trust("list", "--sort-by", "days-left", "--no-headers").out.splitlines()
        self.assertEqual([line.split()[0] for line in soonest], ["own", "trusted"])
        by_alias = self.trust("list", "--sort-by", "alias", "--no-headers").out.splitlines()
        self.assertEqual([line.split()[1] for line in by_alias], sorted(["node-1", AUTHORITY]))
        self.keystore("trusted/broken.pem").write_text("nothing")
        self.trust("list", code=FAILED, words=["broken", "(cannot be read)", "node-1"])

    def test_a_request_for_names_that_are_no_hosts_is_not_issued(self):
        folder = self.authority()
        request, key, issued = (self.node.folder / name for name in ("request", "key", "issued"))
        for names in ("DNS:*.lan", "DNS:a b", "URI:https://node/", "DNS:node,email:root@node"):
            with self.subTest(names=names):
                pki.openssl("req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-subj", "/CN=node-1",
                            "-addext", f"subjectAltName={names}", "-keyout", key, "-out", request)
                self.trust("issue", folder, request, "-o", issued, code=FAILED, words=["neither a host name nor"])
                self.assertFalse(issued.exists())

    def test_an_installation_that_broke_off_is_used_and_finished(self):
        self.equip()
        certificate = self.issue("node-1")
        self.keystore("own/node-1.pem").write_bytes(certificate.read_bytes())  # as far as it got
        self.assertEqual(self.node.tool("lumconfd", "--check-config").code, DONE)
        self.node.start()
        self.assertEqual(self.node.list(), [])
        self.trust("install", certificate)
        self.assertEqual(self.files(), ["own/node-1.key", "own/node-1.pem", f"trusted/{AUTHORITY}.pem"])
        self.assertEqual(self.node.list(), [])

    def test_a_certificate_whose_issuers_entry_is_broken_or_of_another_kind_is_installed_with_a_note(self):
        certificate = self.issue("node-1")
        pki.openssl("req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", f"/CN={AUTHORITY}", "-keyout",
                    self.node.folder / "key", "-out", self.node.folder / "rsa.pem")
        self.trust("trust", self.node.folder / "rsa.pem")
        self.trust("install", certificate, words=["its issuer is not trusted here"])
        self.keystore(f"trusted/{AUTHORITY}.pem").write_text("broken")
        self.trust("install", certificate, code=FAILED,
                   words=["its issuer is not trusted here", "does not count yet", f"trusted/{AUTHORITY}.pem"])

    def test_rights_are_granted_and_taken_and_the_rest_of_the_file_stays(self):
        path = self.node.root / "etc/authorization.ini"
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("# who may what\n[other]\noperator = 5\n[conf]\n# the first\nsomebody = list\n")
        self.trust("grant", "operator", "install", "16", words=["operator: install list"])
        self.trust("grant", "operator", "install", code=NOTHING_TO_DO)
        self.trust("grant", "a=b # [c]", "sign")
        self.trust("revoke", "operator", "install", words=["operator: list"])
        self.assertEqual(self.trust("rights", "--json").json()["rights"],
                         [{"sender": "a=b # [c]", "rights": "sign", "bits": 256},
                          {"sender": "operator", "rights": "list", "bits": 16},
                          {"sender": "somebody", "rights": "list", "bits": 16}])
        self.assertEqual(self.trust("rights", "-o", "name", "--sort-by", "rights").out, "operator\nsomebody\na=b # [c]\n")
        self.assertEqual(self.trust("rights", "-o", "json").out, self.trust("rights", "--json").out)
        self.trust("revoke", "operator")
        said = self.trust("revoke", "operator", code=NOTHING_TO_DO)
        self.assertNotIn("--certificate", said.err)
        self.trust("revoke", "a=b # [c]")
        self.assertEqual(path.read_text(), "# who may what\n[other]\noperator = 5\n[conf]\n# the first\nsomebody = list\n")

    def test_what_a_killed_run_left_aside_goes_with_the_next_change_also_while_the_daemon_serves(self):
        self.equip()
        left = [self.node.root / "etc" / name for name in
                (".lumtrustaB3dE6", "keystore/own/.lumtrustaB3dE6", "keystore/trusted/.lumtrust000000",
                 "keystore/requested/.lumtrustzzzzzz", "local.secret.aB3dE6")]
        for path in left:
            path.write_text("left")
        before = self.files()
        self.node.start()
        self.trust("grant", "operator", "list", words=["has taken it up"])
        self.assertEqual([path for path in left if path.exists()], [])
        self.assertEqual(self.files(), [name for name in before if ".lumtrust" not in name])

    def test_wrong_rights_change_nothing(self):
        path = self.node.root / "etc/authorization.ini"
        for word in ("fly", "512", "-1", "0", ""):
            self.trust("grant", "operator", word, code=WRONG_USAGE)
        for sender in ("", "conf.cluster", "Local Administrator"):
            self.assertNotEqual(self.node.tool("lumtrust", "grant", sender, "list").code, DONE)
        self.assertFalse(path.exists())
        path.parent.mkdir(parents=True, exist_ok=True)
        for text, sender in (("[conf\nnonsense\n", "operator"), ("[conf]\nsomebody = fly list\n", "somebody")):
            path.write_text(text)
            self.trust("grant", sender, "install", code=FAILED)
            self.assertEqual(path.read_text(), text)

    def test_a_word_that_is_no_right_is_told_and_keeps_nobody_from_taking_rights(self):
        path = self.node.root / "etc/authorization.ini"
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("[conf]\nsomebody = fly list\noperator = list sign\n")
        shown = self.trust("rights", words=["'fly' is no right", "'somebody'"])
        self.assertEqual([line.split() for line in shown.out.splitlines()[1:]],
                         [["operator", "list", "sign"], ["somebody", "list"]])
        self.trust("revoke", "operator", "sign")
        self.assertEqual(path.read_text(), "[conf]\nsomebody = fly list\noperator=list\n")
        self.trust("revoke", "somebody", "list")
        self.assertEqual(path.read_text(), "[conf]\noperator=list\n")

    def test_usage(self):
        for arguments in ((), ("fly",), ("trust",), ("grant", "operator"), ("install",)):
            self.trust(*arguments, code=WRONG_USAGE)
        self.assertIn("there is no command 'fly'", self.trust("fly", code=WRONG_USAGE).err)
        self.assertEqual(self.trust("help", "grant").out, self.trust("grant", "--help").out)

    def test_what_cannot_be_printed_is_not_done(self):
        with open("/dev/full", "wb") as full:
            done = subprocess.run([TOOLS / "lumtrust", "list", "--json"], env=self.node.environment(), stdout=full,
                                  stderr=subprocess.PIPE, text=True, timeout=PATIENCE_S)
        self.assertEqual((done.returncode, done.stderr), (FAILED, "lumtrust: standard output cannot be written\n"))


if __name__ == "__main__":
    unittest.main()
