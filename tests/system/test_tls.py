#!/usr/bin/python3
"""Nodes with certificates: who is let in over TLS, as whom, and what becomes of the plain road."""
import contextlib
import os
import signal
import socket
import ssl
import unittest

import pki
import wire
from node import DONE, EXAMPLES, REFUSED, UNREACHABLE, Node, wait_until

EXAMPLE = sorted(EXAMPLES.glob("*_header.xml"))[0]


class TlsTest(unittest.TestCase):
    """Certificates are made once; every test has nodes of its own."""

    @classmethod
    def setUpClass(cls):
        cls.authority, cls.foreign = pki.Authority("authority"), pki.Authority("foreign")
        cls.addClassCleanup(cls.authority.close)
        cls.addClassCleanup(cls.foreign.close)
        cls.server = cls.authority.issue("node-1")
        cls.operator = cls.authority.issue("operator", "DNS:operator")
        cls.stranger = cls.foreign.issue("operator", "DNS:operator", file_name="stranger")

    def serving(self, also=None, **rights):
        """A node with a certificate that trusts the authority, and who else is named."""
        node = Node(start=False)
        self.addCleanup(node.close)
        pki.enroll(node, self.authority, "node-1", self.server)
        if also:
            pki.trust(node, also, "trusted")
        if rights:
            node.write_rights(rights)
        node.start()
        return node

    def client(self, target, issued=None, core_id="operator", trusted=None):
        """A root of a client whose usual port is the target's."""
        client = Node(start=False)
        self.addCleanup(client.close)
        client.settings["vox.http.ext.conf"] = {"TARGET_PORT": target.port}
        client.write_settings()
        pki.trust(client, trusted or self.authority)
        if issued:
            pki.install_identity(client, core_id, issued)
        return client

    def ask(self, node, body=None, issued=None, path=wire.PATH, fields=()):
        context = pki.client_context(self.authority, issued)
        return wire.exchange(node, wire.post(body or wire.list_call(), path, fields), context)


class RemoteOperator(TlsTest):
    def test_the_whole_work_of_an_operator_goes_over_tls_with_a_clients_certificate(self):
        node = self.serving(operator="install list remove modify")
        client = self.client(node, self.operator)
        for host in ("localhost", f"localhost:{node.port}", f"127.0.0.1:{node.port}"):
            with self.subTest(host=host):
                self.assertEqual(client.policy("install", "--no-notify", "--host", host, EXAMPLE).code, DONE)
                listed = client.policy("list", "--host", host, "--json")
                self.assertEqual(len(listed.json()["policies"]), 1, listed)
                self.assertEqual(client.policy("reinit", "--host", host).code, DONE)
                self.assertEqual(client.policy("remove", "--all", "--no-notify", "--host", host).code, DONE)
                self.assertEqual(client.policy("list", "--host", host).code, DONE)
        audit = "\n".join(node.audit())
        self.assertIn("operator", audit)
        self.assertNotIn("local administrator", audit)

    def test_each_right_opens_its_operation_and_no_other(self):
        node = self.serving(operator="list")
        client = self.client(node, self.operator)
        self.assertEqual(client.policy("list").code, DONE)
        for arguments in (("install", EXAMPLE), ("remove", "--all"), ("notify",), ("reinit",)):
            with self.subTest(arguments=arguments):
                result = client.policy(*arguments)
                self.assertEqual(result.code, REFUSED, result)
                self.assertIn("operator", result.err)
        self.assertEqual(node.stored(), [])

    def test_the_nodes_own_core_id_holds_its_rights_and_local_tools_use_it(self):
        node = self.serving()
        self.assertEqual(node.policy("install", "--no-notify", EXAMPLE).code, DONE)
        self.assertEqual(len(node.list()), 1)
        self.assertEqual(node.policy("remove", "--all", "--no-notify").code, DONE)

    def test_a_target_id_is_held_against_the_nodes_certificate(self):
        node = self.serving(operator="list")
        client = self.client(node, self.operator)
        self.assertEqual(client.policy("list", "--target-id", "node-1").code, DONE)
        result = client.policy("list", "--target-id", "node-2")
        self.assertEqual(result.code, UNREACHABLE, result)
        self.assertIn("node-2", result.err)


class Strangers(TlsTest):
    def test_a_certificate_of_another_authority_is_refused_in_the_handshake(self):
        node = self.serving(operator="all")
        client = self.client(node, self.stranger)
        result = client.policy("list")
        self.assertEqual(result.code, UNREACHABLE, result)
        with self.assertRaises((ssl.SSLError, ConnectionResetError, AssertionError)):
            answer = self.ask(node, issued=self.stranger)
            assert answer is not None, "closed without an answer"
        wait_until(lambda: "TLS handshake was refused" in node.log, "the node's log says so")

    def test_a_client_without_a_certificate_has_no_right(self):
        node = self.serving(operator="all")
        result = self.client(node).policy("list", "--host", f"localhost:{node.port}")
        self.assertEqual(result.code, REFUSED, result)
        self.assertEqual(self.ask(node).value(), wire.NOT_AUTHORIZED)
        checked = self.ask(node, wire.call("checkpolicy"), path=wire.CHECK_PATH)
        self.assertEqual((checked.status, checked.fault()), (200, None), "asks for no right")

    def test_a_client_that_does_not_trust_the_node_says_why(self):
        node = self.serving(operator="all")
        client = self.client(node, self.operator, trusted=self.foreign)
        result = client.policy("list")
        self.assertEqual(result.code, UNREACHABLE, result)
        self.assertIn("certificate", result.err.lower())

    def test_a_node_whose_certificate_does_not_name_the_host_is_not_asked(self):
        for i, names in enumerate(("DNS:elsewhere", "IP:127.0.0.2", "email:localhost@localhost", "DNS:localhost.lan")):
            node = Node(start=False)
            self.addCleanup(node.close)
            pki.trust(node, self.authority)
            # Its common name is the host's, which is no name of a host.
            pki.install_identity(node, "localhost", self.authority.issue("localhost", names, file_name=f"elsewhere{i}"))
            node.write_rights({"operator": "all"})
            node.start()
            client = self.client(node, self.operator)
            for host in (f"localhost:{node.port}", f"127.0.0.1:{node.port}"):
                with self.subTest(names=names, host=host):
                    result = client.policy("remove", "--all", "--host", host)
                    self.assertEqual(result.code, UNREACHABLE, result)
                    self.assertIn("certificate of the host was refused", result.err)
            self.assertEqual(node.audit(), [])

    def test_names_with_a_meaning_inside_open_nothing(self):
        node = self.serving(operator="all")
        reserved = ("local administrator", "conf.cluster", "Local Administrator", " local administrator")
        for i, name in enumerate(reserved):
            with self.subTest(name=name):
                issued = self.authority.issue(name, "DNS:x", file_name=f"reserved{i}")
                answer = self.ask(node, issued=issued)
                self.assertEqual(answer.value(), wire.NOT_AUTHORIZED, answer)

    def test_a_subject_without_exactly_one_plain_name_opens_nothing_and_is_logged(self):
        for i, subject in enumerate(("/O=operator", "/CN=operator/CN=operator", "/CN=node-1/CN=operator",
                                     "/CN=oper\nator", "/CN=operator\x7f")):
            with self.subTest(subject=subject):
                node = self.serving(operator="all")
                issued = self.authority.issue("", "DNS:x", file_name=f"subject{i}", subject=subject)
                self.assertEqual(self.ask(node, issued=issued).value(), wire.NOT_AUTHORIZED)
                self.assertIn("A client certificate names no sender", node.log)

    def test_the_local_secret_is_no_proof_over_tls(self):
        node = self.serving(operator="all")
        self.assertFalse((node.root / "etc/local.secret").exists())
        answer = self.ask(node, fields=["Authorization: LumLocal " + "0" * 64])
        self.assertEqual(answer.value(), wire.NOT_AUTHORIZED)

    def test_plain_http_and_old_tls_are_not_served(self):
        node = self.serving(operator="all")
        with wire.Connection(node.port) as connection:
            self.assertIsNone(connection.exchange(wire.post(wire.list_call())))
        context = pki.client_context(self.authority, self.operator)
        context.maximum_version = ssl.TLSVersion.TLSv1_1
        with self.assertRaises((ssl.SSLError, ConnectionResetError)):
            wire.Connection(node.port, context)
        for version in (ssl.TLSVersion.TLSv1_2, ssl.TLSVersion.TLSv1_3):
            context = pki.client_context(self.authority, self.operator)
            context.minimum_version = context.maximum_version = version
            self.assertEqual(wire.exchange(node, wire.post(wire.list_call()), context).value(), wire.NO_POLICIES)

    def test_a_handshake_that_is_none_harms_nobody(self):
        node = self.serving(operator="all")
        for data in (b"", b"\x16\x03\x01", b"\x16\x03\x01\xff\xff" + b"x" * 70000, os.urandom(1000),
                     b"\x80\x2e\x01\x00\x02"):
            with wire.Connection(node.port) as connection:
                connection.send(data)
                with contextlib.suppress(OSError):  # the node may have closed first
                    connection.socket.shutdown(socket.SHUT_WR)
                self.assertIsNone(connection.answer())
        self.assertEqual(self.ask(node, issued=self.operator).value(), wire.NO_POLICIES)


class WhoVouches(TlsTest):
    """What is trusted and does not say that it is an authority vouches for itself alone."""

    def kinds(self):
        for kind in pki.NoAuthority.KINDS:
            with self.subTest(kind=kind):
                trusted = pki.NoAuthority(kind)
                self.addCleanup(trusted.close)
                yield trusted

    def test_it_issues_no_callers(self):
        for trusted in self.kinds():
            node = self.serving(also=trusted, operator="list")
            for name in ("operator", "node-1"):
                issued = trusted.issue(name)
                with self.assertRaises((ssl.SSLError, ConnectionResetError, AssertionError)):
                    answer = self.ask(node, issued=issued)
                    assert answer is not None, "closed without an answer"
            wait_until(lambda: "invalid CA certificate" in node.log, "the node's log says why")

    def test_a_certificate_that_is_trusted_itself_is_let_in_whoever_issued_it(self):
        for trusted in self.kinds():
            node = self.serving(also=trusted, operator="list")
            issued = trusted.issue("operator")
            self.assertFalse(self.is_let_in(node, issued))
            (node.root / "etc/keystore/trusted/operator.pem").write_bytes(issued[0].read_bytes())
            node.daemon.send_signal(signal.SIGHUP)
            wait_until(lambda: self.is_let_in(node, issued), "the reload")

    def is_let_in(self, node, issued):
        try:
            return self.ask(node, issued=issued).value() == wire.NO_POLICIES
        except (ssl.SSLError, ConnectionResetError, AttributeError):
            return False

    def test_it_issues_no_nodes(self):
        for trusted in self.kinds():
            node = Node(start=False)
            self.addCleanup(node.close)
            pki.enroll(node, self.authority, "node-1", trusted.issue("node-1"))
            node.write_rights({"operator": "list"})
            node.start()
            client = self.client(node, self.operator, trusted=trusted)
            result = client.policy("list")
            self.assertEqual(result.code, UNREACHABLE, result)
            said = " ".join(result.err.split())
            self.assertIn("the certificate of the host was refused: its issuer 'trusted' is trusted, but only for itself", said)
            self.assertIn("(invalid CA certificate)", said)


class TheNodeItself(TlsTest):
    def test_is_known_by_its_key_and_not_by_its_name(self):
        node = self.serving(**{"node-1": "all"})
        namesake = self.authority.issue("node-1", file_name="namesake")
        self.assertEqual(self.ask(node, issued=namesake).value(), wire.NOT_AUTHORIZED)
        self.assertIn("the common name is this node's own id, and the key is not its key", node.log)
        self.assertEqual(self.ask(node, issued=self.server).value(), wire.NO_POLICIES)
        client = self.client(node, namesake, "node-1")
        for arguments in (("install", EXAMPLE), ("remove", "--all"), ("reinit",)):
            self.assertEqual(client.policy(*arguments).code, REFUSED)
        self.assertEqual(node.policy("reinit").code, DONE)

    def test_is_nobody_else_whatever_it_is_renamed_to(self):
        node = self.serving(operator="configset")
        node.settings["conf.server"] = {"AUDIT_LOGGING": "true"}
        node.write_settings()
        client = self.client(node, self.operator)

        def rename(name):
            result = client.tool("lumsettings", "set", "sec.core", f"CORE_ID={name}", "--host", "localhost")
            self.assertEqual(result.code, DONE, result)
            self.assertEqual(self.ask(node, wire.call("mgrconf"), self.operator).status, 200)

        rename("operator")
        for arguments in (("list",), ("install", EXAMPLE), ("remove", "--all"), ("notify",), ("reinit",)):
            self.assertEqual(client.policy(*arguments).code, REFUSED)
        self.assertNotEqual(client.tool("lumsettings", "get", "--host", "localhost").code, DONE)
        rename("node-1")
        audit = node.audit()
        told = [i for i, line in enumerate(audit) if "Configuration set operation completed successfully." in line]
        self.assertEqual(len(told), 2, audit)
        for i in told:
            self.assertTrue(audit[i].endswith("completed successfully. Calling system: 'operator'"), audit[i])
            self.assertTrue(audit[i + 1].endswith(
                "INFO CONFIG: Calling system 'operator' has changed by 'config set': [sec.core] 'CORE_ID'."), audit)
        self.assertEqual(node.policy("list").code, DONE)


if __name__ == "__main__":
    unittest.main()
