#!/usr/bin/python3
"""Requests that were not meant for the node, and callers who are trusted no longer."""
import signal
import socket
import unittest

import pki
import wire
from node import Node, wait_until


class OnTheLoopback(unittest.TestCase):
    def setUp(self):
        self.node = Node()
        self.addCleanup(self.node.close)

    def ask(self, host, path=wire.PATH, body=b"", secret=None):
        data = wire.post(body, path, secret=secret).replace(b"Host: localhost", b"Host: " + host.encode())
        return wire.exchange(self.node, data)

    def test_a_page_whose_name_was_led_here_asks_none_of_the_calls_that_need_no_right(self):
        for path, method in ((wire.PATH, "mgrconf"), (wire.CHECK_PATH, "checkpolicy"),
                             ("/com.tessel.lum.depl/voxrpcserver", "inventory")):
            for host in ("evil.example", f"evil.example:{self.node.port}", "localhost.evil.example"):
                with self.subTest(method, host=host):
                    self.assertEqual(self.ask(host, path, wire.call(method)).status, 421)
            for host in ("localhost", f"127.0.0.1:{self.node.port}", "[::1]"):
                with self.subTest(method, host=host):
                    self.assertNotIn(self.ask(host, path, wire.call(method)).status, (400, 421))

    def test_a_target_that_names_its_host_is_taken_at_its_word(self):
        body = wire.call("mgrconf")
        for host, status in (("evil.example", 421), (f"evil.example:{self.node.port}", 421), ("localhost", 200),
                             (f"127.0.0.1:{self.node.port}", 200), ("u@localhost", 400), ("", 400)):
            for scheme in ("http", "HTTPS"):
                with self.subTest(host, scheme=scheme):
                    self.assertEqual(self.ask("localhost", f"{scheme}://{host}{wire.PATH}", body).status, status)
        self.assertEqual(self.ask("evil.example", f"http://localhost{wire.PATH}", body).status, 200,
                         "the field is for proxies then")

    def test_head_is_answered_without_a_body_whatever_is_wrong_with_it(self):
        for rest, status in ((" / HTTP/1.1\r\nHost: localhost\r\n\r\n", 404), (" / HTTP/1.2\r\nHost: localhost\r\n\r\n", 505),
                             (" / HTTP/3.0\r\n\r\n", 505), (" / HTTP/1.1\r\n\r\n", 400), (" /\r\n\r\n", 400),
                             (" / HTTP/1.1\nHost: localhost\r\n\r\n", 400),
                             (" / HTTP/1.1\r\nX: " + "x" * 70000 + "\r\n\r\n", 431),
                             (f" {wire.PATH} HTTP/1.1\r\nHost: evil.example\r\n\r\n", 421)):
            with self.subTest(rest[:40]), wire.Connection(self.node.port) as connection:
                connection.send(b"HEAD" + rest.encode())
                connection.socket.shutdown(socket.SHUT_WR)
                answer = b"".join(iter(lambda: connection.socket.recv(65536), b""))
                self.assertRegex(answer, f"^HTTP/1.1 {status} ".encode())
                self.assertTrue(answer.endswith(b"\r\n\r\n"), answer)

    def test_an_impossible_host_is_malformed(self):
        for host in ("", "a b", "http://localhost", "localhost:port", "localhost:70000", "[::1", "a..b", "u@localhost"):
            with self.subTest(host):
                self.assertEqual(self.ask(host, body=wire.list_call()).status, 400)

    def test_the_name_of_the_node_is_its_core_id_too(self):
        node = Node(settings={"sec.core": {"CORE_ID": "node-7"}})
        self.addCleanup(node.close)
        data = wire.post(wire.list_call(), secret=wire.secret_of(node)).replace(b"Host: localhost", b"Host: node-7:1")
        self.assertEqual(wire.exchange(node, data).value(), wire.NO_POLICIES)


class TrustTakenBack(unittest.TestCase):
    def test_a_caller_on_an_open_connection_is_refused_and_that_is_audited(self):
        authority, partner = pki.Authority("authority"), pki.Authority("partner")
        self.addCleanup(authority.close)
        self.addCleanup(partner.close)
        with Node(start=False) as node:
            pki.enroll(node, authority, "node-1", authority.issue("node-1"))
            (node.root / "etc/keystore/trusted/partner.pem").write_bytes(partner.certificate.read_bytes())
            node.write_rights({"operator": "list"})
            node.start()
            context = pki.client_context(authority, partner.issue("operator", "DNS:operator"))
            with wire.Connection(node.port, context) as connection:
                self.assertEqual(connection.exchange(wire.post(wire.list_call())).value(), wire.NO_POLICIES)
                (node.root / "etc/keystore/trusted/partner.pem").unlink()
                node.daemon.send_signal(signal.SIGHUP)
                wait_until(lambda: self.refused(connection), "it is refused")
            lines = [line for line in node.audit() if "AUTH" in line]
            self.assertEqual(len(lines), 1, node.audit())
            self.assertIn("Failure Audit: AUTH: Calling system 'operator' is not authorized to call operation: "
                          f"'{wire.PATH}'.", lines[0])

    def test_a_path_that_is_not_served_is_not_written_however_long_it_is(self):
        authority, partner = pki.Authority("authority"), pki.Authority("partner")
        self.addCleanup(authority.close)
        self.addCleanup(partner.close)
        with Node(start=False) as node:
            pki.enroll(node, authority, "node-1", authority.issue("node-1"))
            (node.root / "etc/keystore/trusted/partner.pem").write_bytes(partner.certificate.read_bytes())
            node.start()
            context = pki.client_context(authority, partner.issue("operator", "DNS:operator"))
            with wire.Connection(node.port, context) as connection, wire.Connection(node.port, context) as second:
                connection.exchange(wire.post(wire.list_call()))
                second.exchange(wire.post(wire.list_call()))
                (node.root / "etc/keystore/trusted/partner.pem").unlink()
                node.daemon.send_signal(signal.SIGHUP)
                wait_until(lambda: self.refused(connection), "it is refused")
                self.assertEqual(second.exchange(wire.post(b"", path="/" + "x" * 60000)).status, 403)
            self.assertIn("'a path that is not served'", node.audit()[-1])
            self.assertLess(max(map(len, node.audit())), 1000)

    @staticmethod
    def refused(connection):
        return connection.exchange(wire.post(wire.list_call())).status == 403


if __name__ == "__main__":
    unittest.main()
