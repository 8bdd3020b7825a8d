#!/usr/bin/python3
"""Ports that are open, and rights and certificates that change while a node serves over TLS."""
import signal
import socket
import threading
import unittest

import pki
import wire
from node import UNREACHABLE, Node, wait_until
from test_tls import TlsTest


class Ports(TlsTest):
    def test_without_a_certificate_only_loopback_is_open_and_only_in_plain(self):
        node = Node({"vox.http.ext.conf": {"BIND_ADDRESS": "0.0.0.0"}})
        self.addCleanup(node.close)
        self.assertEqual(listeners(node.port), {"127.0.0.1"})
        self.assertIn("BIND_ADDRESS", node.log)
        result = self.client(node, self.operator).policy("list", "--host", f"127.0.0.1:{node.port}")
        self.assertEqual(result.code, UNREACHABLE, result)

    def test_with_one_every_address_is_open_unless_one_is_named(self):
        self.assertIn(listeners(self.serving().port), ({"::"}, {"0.0.0.0"}))
        node = Node({"vox.http.ext.conf": {"BIND_ADDRESS": "127.0.0.1"}}, start=False)
        self.addCleanup(node.close)
        pki.enroll(node, self.authority, "node-1", self.server)
        node.start()
        self.assertEqual(listeners(node.port), {"127.0.0.1"})

    def test_a_certificate_that_is_missing_or_broken_keeps_the_node_from_serving(self):
        for breaking in ("missing key", "broken certificate", "key of another"):
            with self.subTest(breaking):
                node = Node(start=False)
                self.addCleanup(node.close)
                pki.install_identity(node, "node-1", self.server)
                own = node.root / "etc/keystore/own"
                if breaking == "missing key":
                    (own / "node-1.key").unlink()
                elif breaking == "broken certificate":
                    (own / "node-1.pem").write_text("-----BEGIN CERTIFICATE-----\nAAAA\n")
                else:
                    (own / "node-1.key").write_bytes(self.operator[1].read_bytes())
                result = node.tool("lumconfd")
                self.assertEqual(result.code, 1, result)
                self.assertIn("node-1", result.err)
                self.assertNotIn("serving", result.err)
                self.assertNotIn("PRIVATE KEY", result.err)

    def test_a_certificate_installed_on_a_serving_node_counts_from_the_reload_on(self):
        node = Node()
        self.addCleanup(node.close)
        secret = wire.secret_of(node)
        self.assertEqual(wire.ask(node, wire.list_call()).value(), wire.NO_POLICIES)
        pki.enroll(node, self.authority, "node-1", self.server)
        node.write_rights({"operator": "list"})
        node.daemon.send_signal(signal.SIGHUP)
        wait_until(lambda: not (node.root / "etc/local.secret").exists(), "the secret goes")
        self.assertEqual(self.ask(node, issued=self.operator).value(), wire.NO_POLICIES)
        self.assertEqual(self.ask(node, fields=[f"Authorization: {secret}"]).value(), wire.NOT_AUTHORIZED,
                         "what opened the plain road opens nothing over TLS")
        with wire.Connection(node.port) as connection:
            answer = connection.exchange(wire.post(wire.list_call(), secret=secret))
            self.assertIsNone(answer, "the plain road is closed")


class Reload(TlsTest):
    def granted(self, node):
        return self.ask(node, issued=self.operator).value() == wire.NO_POLICIES

    def reload(self, node, how):
        if how == "SIGHUP":
            node.daemon.send_signal(signal.SIGHUP)
        else:
            self.assertEqual(self.ask(node, wire.call("mgrconf")).status, 200)

    def test_changed_rights_count_after_a_signal_and_after_the_managers_call_alike(self):
        for how in ("SIGHUP", "mgrconf"):
            with self.subTest(how):
                node = self.serving()
                self.assertFalse(self.granted(node))
                node.write_rights({"operator": "list"})
                self.assertFalse(self.granted(node), "not before it is told")
                self.reload(node, how)
                wait_until(lambda: self.granted(node), "the right is granted")
                node.write_rights({"somebody": "list"})
                self.reload(node, how)
                wait_until(lambda: not self.granted(node), "the right is taken back")

    def test_a_word_that_is_no_right_is_told_at_the_reload_and_the_others_count(self):
        node = self.serving(somebody="list")
        node.write_rights({"operator": "fly list"})
        self.reload(node, "mgrconf")
        self.assertTrue(self.granted(node))
        self.assertIn("'fly' is no right: ignored for sender 'operator'", node.log)

    def test_eight_clients_call_on_while_rights_are_reloaded_good_and_broken(self):
        node = self.serving(operator="list")
        context = pki.client_context(self.authority, self.operator)
        stop, answers = threading.Event(), [[] for _ in range(8)]

        def call(seen):
            with wire.Connection(node.port, context) as connection:
                while not stop.is_set():
                    seen.append(connection.exchange(wire.post(wire.list_call())).value())

        callers = [threading.Thread(target=call, args=(seen,)) for seen in answers]
        for caller in callers:
            caller.start()
        try:
            for i in range(30):
                if i % 3 == 2:
                    (node.root / "etc/authorization.ini").write_text("[conf\nnonsense\n")
                else:
                    node.write_rights({"operator": "list install"[:4 + 8 * (i % 3)], f"other{i}": "all"})
                self.reload(node, "mgrconf")
            before = [len(seen) for seen in answers]
            wait_until(lambda: all(len(seen) > count for seen, count in zip(answers, before)), "each goes on")
        finally:
            stop.set()
            for caller in callers:
                caller.join()
        self.assertEqual({value for seen in answers for value in seen}, {wire.NO_POLICIES})
        self.assertIn("the last good ones stay", node.log)

    def test_a_broken_file_of_rights_keeps_the_last_good_ones_and_is_told(self):
        node = self.serving(operator="list")
        (node.root / "etc/authorization.ini").write_text("[conf\nnonsense\n")
        self.reload(node, "SIGHUP")
        wait_until(lambda: "the last good ones stay" in node.log, "the log says so")
        self.assertTrue(self.granted(node))
        self.assertEqual(node.stop(), 0)


def listeners(port):
    """The addresses at which this host listens on a port."""
    found = set()
    for name, family in (("tcp", socket.AF_INET), ("tcp6", socket.AF_INET6)):
        with open(f"/proc/net/{name}", encoding="ascii") as table:
            for line in list(table)[1:]:
                fields = line.split()
                address, local_port = fields[1].split(":")
                if fields[3] == "0A" and int(local_port, 16) == port:
                    raw = bytes.fromhex(address)
                    words = b"".join(raw[i:i + 4][::-1] for i in range(0, len(raw), 4))
                    found.add(socket.inet_ntop(family, words))
    return found


if __name__ == "__main__":
    unittest.main()
