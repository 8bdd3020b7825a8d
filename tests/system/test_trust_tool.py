#!/usr/bin/python3
"""Keys, certificates and rights of a node, changed by its administrator also while it serves."""
import os
import ssl
import subprocess
import unittest

import pki
import wire
from node import (DONE, FAILED, NOT_FOUND, NOTHING_TO_DO, PATIENCE_S, REFUSED, TOOLS, WRONG_USAGE, Node,
                  write_policy)

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

    def test_a_certificate_without_its_key_is_not_installed_and_nothing_changes(self):
        self.equip()
        before = {name: self.keystore(name).read_bytes() for name in self.files()}
        certificate = self.issue("node-1")
        self.keystore("requested/node-1.key").unlink()
        self.trust("install", certificate, code=FAILED, words=["does not belong to the key"])
        other = self.authority() / f"{AUTHORITY}.key"
        self.trust("install", certificate, "--key", other, code=FAILED, words=["does not belong to the key"])
        self.assertEqual({name: self.keystore(name).read_bytes() for name in self.files()}, before)

    def test_what_is_no_certificate_is_neither_installed_nor_trusted(self):
        broken = self.node.folder / "broken"
        for content in (b"", b"text", b"-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n", b"0" * 2**21):
            broken.write_bytes(content)
            for command in ("install", "trust"):
                with self.subTest(content=content[:20], command=command):
                    self.trust(command, broken, code=FAILED)
        for command in ("install", "trust"):
            self.trust(command, self.node.folder / "nowhere", code=FAILED, words=["nowhere"])
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

    def test_the_list_tells_each_certificate_and_what_cannot_be_read(self):
        self.equip()
        listed = self.trust("list", "--json").json()["certificates"]
        self.assertEqual([(one["kind"], one["alias"], one["subject"], one["issuer"]) for one in listed],
                         [("own", "node-1", "node-1", AUTHORITY), ("trusted", AUTHORITY, AUTHORITY, AUTHORITY)])
        for one, days in zip(listed, (7, 30)):
            self.assertIn(one["days_left"], (days, days - 1))
        self.trust("list", words=["DAYS LEFT", "node-1", AUTHORITY])
        self.keystore("trusted/broken.pem").write_text("nothing")
        self.trust("list", code=FAILED, words=["broken", "(cannot be read)", "node-1"])

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
        self.trust("revoke", "operator")
        self.trust("revoke", "operator", code=NOTHING_TO_DO)
        self.trust("revoke", "a=b # [c]")
        self.assertEqual(path.read_text(), "# who may what\n[other]\noperator = 5\n[conf]\n# the first\nsomebody = list\n")

    def test_wrong_rights_change_nothing(self):
        path = self.node.root / "etc/authorization.ini"
        for word in ("fly", "512", "-1", "0", ""):
            self.trust("grant", "operator", word, code=WRONG_USAGE)
        for sender in ("", "conf.cluster", "Local Administrator"):
            self.assertNotEqual(self.node.tool("lumtrust", "grant", sender, "list").code, DONE)
        self.assertFalse(path.exists())
        path.parent.mkdir(parents=True, exist_ok=True)
        for text in ("[conf\nnonsense\n", "[conf]\nsomebody = fly\n"):
            path.write_text(text)
            self.trust("grant", "operator", "list", code=FAILED)
            self.assertEqual(path.read_text(), text)

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


class Serving(TrustTest):
    def test_rights_count_at_once(self):
        self.equip()
        self.node.start()
        client = self.client()
        policy = write_policy(client.folder / "source", "p1")
        self.assertEqual(client.policy("install", "--no-notify", policy).code, REFUSED)
        self.trust("grant", "operator", "install", "list", words=["The running daemon has taken it up."])
        self.assertEqual(client.policy("install", "--no-notify", policy).code, DONE)
        self.trust("revoke", "operator", "install")
        self.assertEqual(client.policy("install", "--no-notify", policy).code, REFUSED)
        self.assertEqual(client.policy("list").code, DONE)

    def serial(self, context):
        with wire.socket.create_connection(("127.0.0.1", self.node.port)) as plain:
            with context.wrap_socket(plain, server_hostname="localhost") as secure:
                return secure.getpeercert()["serialNumber"]

    def test_a_new_certificate_counts_for_new_connections_and_open_ones_go_on(self):
        self.equip()
        self.node.start()
        context = ssl.create_default_context(cafile=str(self.keystore(f"trusted/{AUTHORITY}.pem")))
        first = self.serial(context)
        with wire.Connection(self.node.port, context) as kept:
            self.assertEqual(kept.exchange(wire.post(wire.call("mgrconf"))).status, 200)
            self.trust("install", self.issue("node-1"), words=["The running daemon has taken it up."])
            self.assertEqual(kept.exchange(wire.post(wire.call("mgrconf"))).status, 200)
        self.assertNotEqual(self.serial(context), first)
        self.assertEqual(self.node.list(), [])

    def test_a_node_without_a_certificate_gets_one_while_it_serves(self):
        self.node.start()
        self.assertEqual(self.node.list(), [])
        self.equip()
        self.assertEqual(self.node.list(), [])
        self.assertEqual(self.client().policy("list").code, REFUSED)

    def test_who_is_no_longer_trusted_is_no_longer_let_in(self):
        self.equip()
        self.node.start()
        client = self.client()
        self.trust("grant", "operator", "list")
        self.assertEqual(client.policy("list").code, NOT_FOUND)
        self.trust("untrust", AUTHORITY)
        self.assertNotIn(client.policy("list").code, (DONE, NOT_FOUND))

    def test_a_key_that_is_broken_leaves_the_last_good_one_and_the_daemon_serving(self):
        self.equip()
        self.node.start()
        self.keystore("own/node-1.key").write_text("broken")
        self.trust("grant", "operator", "list")
        self.assertIn("the last good ones stay", self.node.log)
        context = ssl.create_default_context(cafile=str(self.keystore(f"trusted/{AUTHORITY}.pem")))
        self.assertTrue(self.serial(context))
        self.assertEqual(self.node.stop(), 0)


if __name__ == "__main__":
    unittest.main()
