#!/usr/bin/python3
"""What is wrong with a node's configuration is told before it counts."""
import unittest

import pki
from node import DONE, FAILED, Node, write_policy


class Check(unittest.TestCase):
    """What --check-config sees before a daemon does."""

    @classmethod
    def setUpClass(cls):
        cls.authority = pki.Authority()
        cls.addClassCleanup(cls.authority.close)
        cls.issued = cls.authority.issue("node-1")

    def node(self, issued=None, settings=None):
        node = Node(settings, start=False)
        self.addCleanup(node.close)
        if issued:
            pki.enroll(node, self.authority, "node-1", issued)
        return node

    def checked(self, node, code, *words):
        result = node.tool("lumconfd", "--check-config")
        self.assertEqual(result.code, code, result)
        self.assertEqual(result.out.splitlines()[0], f"root: {node.root}/")
        for word in words:
            self.assertIn(word, result.out)
        return result.out

    def test_a_node_in_order_is_not_warned(self):
        self.assertNotIn("Warning", self.checked(self.node(self.issued), DONE, "the configuration is in order"))

    def test_a_key_or_namespace_that_nobody_reads_is_warned_of_with_the_nearest(self):
        for namespace, name, said in (
                ("conf.server", "AUDIT_LOGING", "a key 'AUDIT_LOGING' of [conf.server]; did you mean 'AUDIT_LOGGING'?"),
                ("conf.server", "audit_logging", "did you mean 'AUDIT_LOGGING'?"),
                ("conf.server", "ODD", "Nobody reads a key 'ODD' of [conf.server].\n"),
                ("conf.sever", "WAIT_TIME", "Nobody reads a namespace [conf.sever]; did you mean 'conf.server'?")):
            with self.subTest(namespace=namespace, name=name):
                self.checked(self.node(settings={namespace: {name: "1"}}), DONE, "Warning: Nobody reads", said)
        for namespace in ("backup", "com.example.agent", "conf.cluster.RGState.VCS"):
            self.assertNotIn("Warning", self.checked(self.node(settings={namespace: {"ODD": "1"}}), DONE))

    def test_ports_that_part_are_told(self):
        node = self.node(settings={"vox.http.ext.conf": {"TARGET_PORT": "1"}})
        self.checked(node, FAILED, f"The node serves port {node.port} (SERVER_PORT)", "call 1 (TARGET_PORT).",
                     "1 problem(s)")

    def test_an_own_certificate_out_of_its_time_is_told(self):
        for times, said in ((("20200101000000Z", "20210101000000Z"), "is not valid any more"),
                            (("20900101000000Z", "20910101000000Z"), "is not valid yet")):
            with self.subTest(said=said):
                node = self.node(self.authority.issue_for("node-1", *times))
                self.checked(node, FAILED, "The node's own certificate", "own/node-1.pem", said, "'lumtrust request'",
                             "1 problem(s)")

    def test_a_foreign_key_and_a_weak_one_are_told(self):
        node = self.node((self.issued[0], self.authority.key))
        self.checked(node, FAILED, "it does not belong to the certificate", "1 problem(s)")
        node = self.node()
        own = node.root / "etc/keystore/own"
        own.mkdir(parents=True)
        pki.openssl("req", "-x509", "-newkey", "rsa:1024", "-nodes", "-subj", "/CN=node-1", "-days", "1", "-keyout",
                    own / "node-1.key", "-out", own / "node-1.pem")
        pki.enroll(node, self.authority, "node-1", (own / "node-1.pem", own / "node-1.key"))
        self.checked(node, FAILED, "its key is too short", "1 problem(s)")

    def test_key_files_that_others_may_read_are_told(self):
        node = self.node(self.issued)
        key = node.root / "etc/keystore/own/node-1.key"
        key.chmod(0o640)
        self.checked(node, FAILED, f"The key file '{key}' is open to others (mode 0640)", "chmod 600", "1 problem(s)")

    def test_trust_that_is_gone_or_lacks_is_warned_of(self):
        node = self.node(self.issued)
        trusted = node.root / "etc/keystore/trusted/ca.pem"
        self.authority.renew(trusted, "20200101000000Z", "20210101000000Z")
        self.checked(node, DONE, f"Warning: The trusted certificate '{trusted}'", "is not valid any more")
        trusted.unlink()
        self.checked(node, DONE, "Warning: No certificate is trusted", "'lumtrust trust FILE'")

    def test_a_settings_policy_that_breaks_the_merge_is_named(self):
        with Node() as node:
            folder = node.folder / "p"
            folder.mkdir()
            path = write_policy(folder, "broken", files={"s.ini": b"[a]\nx=1\nnonsense\n"}, type_name="configsettings")
            node.policy("install", "--no-notify", path)
            node.stop()
            self.checked(node, FAILED, "s.ini", "Line 3")


if __name__ == "__main__":
    unittest.main()
