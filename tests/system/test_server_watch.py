#!/usr/bin/python3
"""Whether the node's server answers: the daemon asks, and its log tells."""
import contextlib
import socket
import threading
import unittest

import pki
from node import PATIENCE_S, free_port
from test_daemon_keys import KeysTest


@contextlib.contextmanager
def peer(behave):
    """Something on a port that is no server: behave(connection) for each connection, on a thread of its own."""
    with socket.create_server(("127.0.0.1", 0)) as listener:
        done = threading.Event()
        arrived = threading.Event()

        def work(connection):
            with connection, contextlib.suppress(OSError):
                behave(connection, done)

        def accept():
            with contextlib.suppress(OSError):
                while True:
                    connection = listener.accept()[0]
                    if done.is_set():
                        return connection.close()
                    arrived.set()
                    threads.append(threading.Thread(target=work, args=(connection,)))
                    threads[-1].start()

        threads = [threading.Thread(target=accept)]
        threads[0].start()
        try:
            yield listener.getsockname()[1], arrived
        finally:
            done.set()
            socket.create_connection(listener.getsockname()).close()
            for thread in threads:
                thread.join()


def keep_silent(connection, done):
    done.wait(PATIENCE_S)


def drip(connection, done):
    connection.sendall(b"HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nContent-Length: 1000000\r\n\r\n")
    while not done.wait(0.2):
        connection.sendall(b" ")


def answer_nonsense(connection, done):
    connection.recv(65536)
    connection.sendall(b"HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nContent-Length: 4\r\n\r\n<a/>")


class ServerWatch(KeysTest):
    def watcher(self, port, start=True, **keys):
        """A node whose bare "localhost" means another's port."""
        return self.node({"PING_SERVER": "localhost", "WAIT_TIME": "1", **keys},
                         {"vox.http.ext.conf": {"TARGET_PORT": port}}, start=start)

    def test_nothing_is_asked_unless_a_server_is_named(self):
        with peer(keep_silent) as (port, arrived):
            for keys in ({"PING_SERVER": ""}, {"PING_SERVER": "  "}, {"PING_SERVER": "", "LOCATE_SERVER": "true"}):
                with self.subTest(keys=keys):
                    node = self.watcher(port, **keys)
                    self.stop(node)
                    self.assertFalse(arrived.is_set())
                    self.assertNotIn("The server", node.log)

    def test_the_log_tells_when_a_server_goes_and_when_it_is_back_and_nothing_between(self):
        server = self.node()
        node = self.watcher(server.port)
        self.said(node, "The server 'localhost' answers.")
        self.stop(server)
        self.said(node, "The server 'localhost' does not answer.")
        server.start()
        self.said(node, "The server 'localhost' answers again.")
        self.stop(server)
        self.said(node, "The server 'localhost' does not answer.", 2)
        server.start()
        self.said(node, "The server 'localhost' answers again.", 2)
        self.stop(node)
        self.assertEqual(node.log.count("The server 'localhost'"), 5, node.log)

    def test_a_server_that_is_not_there_at_first_is_told_with_the_reason(self):
        port = free_port()
        node = self.watcher(port)
        self.said(node, "WARNING The server 'localhost' does not answer.")
        self.assertIn(f"port {port}", node.log)
        self.assertEqual(node.policy("list", "--host", f"localhost:{port}").code, 6)

    def test_servers_that_are_named_while_the_daemon_serves_are_asked_at_once(self):
        server = self.node()
        node = self.watcher(server.port, PING_SERVER="", WAIT_TIME="86400")
        self.set(node, PING_SERVER="localhost")
        self.said(node, "The server 'localhost' answers.")
        dead = f"localhost:{free_port()}"
        self.set(node, PING_SERVER=f"localhost  {dead} localhost")
        self.said(node, f"The server '{dead}' does not answer.")
        self.said(node, "The server 'localhost' answers.", 2)

    def test_what_is_no_host_is_told_and_the_others_are_asked(self):
        server = self.node()
        wrong = ["user@localhost", "localhost:99999", "localhost/path", "localhost?x", "[::1"]
        node = self.watcher(server.port, PING_SERVER=" ".join(wrong + ["localhost"]))
        self.said(node, "The server 'localhost' answers.")
        for host in wrong:
            with self.subTest(host=host):
                self.assertIn(f"'{host}' is not the name of a host.", node.log)

    def test_a_server_that_speaks_otherwise_does_not_answer(self):
        with peer(answer_nonsense) as (port, _):
            node = self.watcher(port)
            self.said(node, "The server 'localhost' does not answer.")

    def test_a_server_that_keeps_the_question_holds_neither_the_watch_nor_the_end_of_the_daemon(self):
        for behave in (keep_silent, drip):
            with self.subTest(behave=behave.__name__), peer(behave) as (port, arrived):
                node = self.watcher(port)
                self.said(node, "The server 'localhost' does not answer.")
                self.assertIn("no answer within 5 seconds", node.log)
                arrived.clear()
                self.assertTrue(arrived.wait(PATIENCE_S), "it is asked again")
                self.stop(node)

    def test_the_node_serves_while_a_question_is_out(self):
        with peer(keep_silent) as (port, arrived):
            node = self.watcher(port, WAIT_TIME="86400")
            self.assertTrue(arrived.wait(PATIENCE_S))
            self.set(node, AUDIT_LOGGING="true")
            node.settings["vox.http.ext.conf"]["TARGET_PORT"] = node.port
            node.write_settings()
            self.assertEqual(node.list(), [])

    def test_a_wait_time_out_of_its_bounds_leaves_the_watch_working(self):
        server = self.node()
        for value in ("0", "-1", "soon", "999999999999", "1.5"):
            with self.subTest(value=value):
                node = self.watcher(server.port, WAIT_TIME=value)
                self.said(node, "The server 'localhost' answers.")
                self.stop(node)

    def test_of_several_the_first_that_answers_is_the_nodes_server(self):
        first = self.node(start=False)
        port = first.port
        authority = pki.Authority()
        self.addCleanup(authority.close)
        standby = self.node(start=False)
        for server, name in ((first, "first"), (standby, "standby")):
            pki.install_identity(server, name, authority.issue(name))
            pki.trust(server, authority)
        standby.start()
        hosts = [f"localhost:{port}", f"localhost:{standby.port}"]
        node = self.watcher(1, start=False, PING_SERVER=" ".join(hosts), LOCATE_SERVER="true")
        pki.trust(node, authority)
        node.start()
        self.said(node, f"The server of this node is '{hosts[1]}'.")
        first.start()
        self.said(node, f"The server of this node is '{hosts[0]}'.")
        self.stop(first)
        self.said(node, f"The server of this node is '{hosts[1]}'.", 2)
        self.stop(standby)
        self.said(node, "No server of this node answers.")
        self.assertEqual(node.log.count("No server of this node answers."), 1)
        self.assertNotIn("does not answer", node.log)
        self.set(node, LOCATE_SERVER=None)
        for host in hosts:
            self.said(node, f"The server '{host}' does not answer.")


if __name__ == "__main__":
    unittest.main()
