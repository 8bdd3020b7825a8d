#!/usr/bin/python3
"""Lists of nodes as people and programs write them, and output that goes nowhere: the operator's tool keeps calm."""
import json
import os
import signal
import socket
import subprocess
import threading
import unittest

import pki
import wire
from node import DONE, FAILED, NOT_FOUND, NOTHING_TO_DO, PATIENCE_S, TOOLS, UNREACHABLE, WRONG_USAGE, Node, write_policy

SOME_FAILED = 8
MARK = b"\xef\xbb\xbf"
ODD = ["", " ", "a b", "a/b", "/", "http://a", "a?b", "a#b", "user@a", "a\\b", "a\tb", "a\nb", "a\x01b", "a\x7fb",
       "a,b", '"a"', "<a>"]


def nobody(count):
    """Addresses of this host at which nobody listens."""
    return [f"127.1.{i // 250}.{1 + i % 250}:1" for i in range(count)]


def repeated(*words):
    return [word for host in words for word in ("--host", host)]


class HostLists(unittest.TestCase):
    def setUp(self):
        self.node = Node(start=False)
        self.addCleanup(self.node.close)
        self.path = self.node.folder / "hosts"

    def foreseen(self, content):
        """The nodes that a command would ask which is told of them by a file; a dry run asks none."""
        self.path.write_bytes(content)
        result = self.node.policy("reinit", "--dry-run", "--json", "--hosts-file", self.path)
        self.assertEqual((result.code, result.err), (DONE, ""), result)
        return [json.loads(line)["host"] for line in result.out.splitlines()]

    def test_a_file_is_read_whatever_editor_wrote_it(self):
        for what, content in (("plain", b"a\nb:7443\n"), ("no last newline", b"a\nb:7443"),
                              ("line ends of another system", b"a\r\nb:7443\r\n"), ("a mark", MARK + b"a\nb:7443\n"),
                              ("a mark and line ends", MARK + b"a\r\n\r\nb:7443"),
                              ("files with marks put together", MARK + b"a\n" + MARK + b"b:7443\n"),
                              ("a mark before a comment", MARK + b"# nodes\na\nb:7443\n"),
                              ("blanks and tabs", b"\t a \t\n  \n b:7443 # the second\r\n"),
                              ("duplicates", b"a\nb:7443\na\r\n a\nb:7443")):
            with self.subTest(what):
                self.assertEqual(self.foreseen(content), ["a", "b:7443"])

    def test_addresses_of_every_form_are_taken(self):
        hosts = ["node", "node.example.org:7443", "127.0.0.1", "127.0.0.1:1", "[::1]", "[::1]:7443", "localhost"]
        self.assertEqual(self.foreseen("\n".join(hosts).encode()), hosts)

    def test_a_node_named_twice_is_asked_once_wherever_it_is_named(self):
        self.path.write_text("b\na\n", encoding="utf-8")
        result = self.node.policy("reinit", "-n", "--json", "--hosts-file", self.path, *repeated("a", "c", "a"))
        self.assertEqual([json.loads(line)["host"] for line in result.out.splitlines()], ["a", "c", "b"])

    def test_what_is_no_host_is_named_before_anybody_is_asked(self):
        for host in ODD:
            with self.subTest(host=host):
                result = self.node.policy("reinit", "--json", *repeated("good", host))
                self.assertEqual((result.code, result.out), (WRONG_USAGE, ""), result)
                self.assertIn("is no host", result.err)
                self.assertTrue(all(line.isprintable() for line in result.err.splitlines()), repr(result.err))
                self.assertEqual(len(result.err.splitlines()), 2, result)

    def test_a_line_that_is_no_host_is_named_with_its_number(self):
        for line in (b"a b", b"a/b", b"a\xff", b"a\x00b", "a\0".encode("utf-16"), b"a;b"):
            with self.subTest(line=line):
                self.path.write_bytes(b"# nodes\ngood\n" + line + b"\n")
                result = self.node.policy("reinit", "--dry-run", "--hosts-file", self.path)
                self.assertEqual((result.code, result.out), (WRONG_USAGE, ""), result)
                self.assertIn("line 3", result.err)

    def test_what_is_no_file_of_hosts_is_named(self):
        for path, word in ((self.node.folder, "cannot be read"), ("/nowhere", "cannot be read"),
                           ("/dev/null", "names no host"), ("-", "standard input names no host")):
            result = self.node.policy("reinit", "--dry-run", "--hosts-file", path)
            self.assertEqual((result.code, result.out), (WRONG_USAGE, ""), result)
            self.assertIn(str(word), result.err)

    def trust_somebody(self):
        """Without a trusted certificate no other node is asked at all."""
        authority = pki.Authority()
        self.addCleanup(authority.close)
        pki.trust(self.node, authority)

    def test_a_thousand_nodes_have_a_thousand_results_in_their_order(self):
        self.trust_somebody()
        hosts = nobody(1000)
        self.path.write_text("\n".join(hosts), encoding="utf-8")
        result = self.node.policy("list", "--json", "--parallel", "64", "--hosts-file", self.path,
                                  timeout=8 * PATIENCE_S)
        answers = [json.loads(line) for line in result.out.splitlines()]
        self.assertEqual((result.code, result.err), (UNREACHABLE, ""))
        self.assertEqual([answer["host"] for answer in answers], hosts)
        self.assertEqual({(answer["result"], answer["code"]) for answer in answers}, {("unreachable", UNREACHABLE)})
        self.assertTrue(all(answer["messages"] for answer in answers))

    def test_an_interrupt_ends_it_though_no_node_answers(self):
        self.trust_somebody()
        with socket.socket() as silent:
            silent.bind(("127.0.0.1", 0))
            silent.listen()
            silent.settimeout(PATIENCE_S)
            host = f"127.0.0.1:{silent.getsockname()[1]}"
            process = subprocess.Popen([TOOLS / "lumpolicy", "enable", "--all", *repeated(host, *nobody(3))],
                                       env=self.node.environment(), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                       stderr=subprocess.PIPE)
            self.node.processes.append(process)
            connection, _ = silent.accept()
            with connection:
                process.send_signal(signal.SIGINT)
                self.assertEqual(process.wait(PATIENCE_S), 128 + signal.SIGINT)


class Json(unittest.TestCase):
    def setUp(self):
        self.node = Node()
        self.addCleanup(self.node.close)

    def test_texts_of_a_node_stay_what_they_are(self):
        owner = 'a "quoted"\\ owner\u2028 with \U0001F512 and <tags>&amp;'
        path = write_policy(self.node.folder / "source", "a", owner=owner)
        self.assertEqual(self.node.policy("install", "--no-notify", path).code, DONE)
        result = self.node.policy("list", "--json", *repeated("localhost", "127.1.0.1:1"))
        self.assertEqual(result.code, SOME_FAILED)
        first, second = [json.loads(line) for line in result.out.rstrip("\n").split("\n")]
        self.assertEqual(first["policies"][0]["owner"], owner)
        self.assertEqual(second["result"], "unreachable")


class LostOutput(unittest.TestCase):
    def setUp(self):
        self.node = Node()
        self.addCleanup(self.node.close)
        self.path = write_policy(self.node.folder / "source", "a", description="x" * 5000)
        self.assertEqual(self.node.policy("install", "--no-notify", self.path).code, DONE)

    def run_tool(self, *arguments, **streams):
        streams = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **streams}
        process = subprocess.Popen([TOOLS / "lumpolicy", *map(str, arguments)], env=self.node.environment(),
                                   restore_signals=True, **streams)
        self.node.processes.append(process)
        return process

    def status(self):
        return self.node.list()[0]["status"]

    def without_reader(self, *arguments):
        """Of whose output nobody reads anything: the reader has gone before it starts."""
        reader, writer = os.pipe()
        os.close(reader)
        try:
            return self.run_tool(*arguments, stdout=writer)
        finally:
            os.close(writer)

    def test_a_change_reaches_every_node_though_the_reader_goes_early(self):
        process = self.without_reader("disable", "--all", "--no-notify", "--parallel", "1",
                                      *repeated(*nobody(30), "localhost"))
        err = process.stderr.read().decode()
        self.assertEqual(process.wait(PATIENCE_S), SOME_FAILED, err)
        self.assertEqual(self.status(), "disabled")
        self.assertIn("standard output cannot be written", err)

    def test_a_question_ends_with_its_reader(self):
        process = self.without_reader("list", *repeated("localhost", *nobody(3)))
        err = process.stderr.read().decode()
        self.assertEqual(process.wait(PATIENCE_S), -signal.SIGPIPE, err)

    def test_a_full_disk_is_a_failure(self):
        with open("/dev/full", "wb") as full:
            for arguments in (("list",), ("list", "--json"), ("disable", "--all", "--no-notify"), ("--help",)):
                process = self.run_tool(*arguments, stdout=full)
                err = process.stderr.read().decode()
                self.assertEqual(process.wait(PATIENCE_S), FAILED, err)
                self.assertIn("standard output cannot be written", err)
        self.assertEqual(self.status(), "disabled")

    def test_a_failure_keeps_its_code_when_it_cannot_be_written(self):
        with open("/dev/full", "wb") as full:
            process = self.run_tool("list", "--json", "--id", "none", stdout=full, stderr=full)
            self.assertEqual(process.wait(PATIENCE_S), NOT_FOUND)

    def run_with_closed(self, closed, *arguments, node=None):
        closing = " ".join(f"{number}>&-" for number in closed.split())
        return subprocess.run(["/bin/sh", "-c", f'exec "$0" "$@" {closing}', TOOLS / "lumpolicy", *arguments],
                              env=(node or self.node).environment(), capture_output=True, timeout=PATIENCE_S)

    def test_without_its_streams_it_does_its_work(self):
        for closed, command, status in (("1", "disable", "disabled"), ("1 2", "enable", "enabled"),
                                        ("0 1 2", "disable", "disabled"), ("0", "enable", "enabled")):
            with self.subTest(closed=closed):
                done = self.run_with_closed(closed, command, "--all", "--no-notify")
                self.assertEqual(done.returncode, FAILED if "1" in closed else DONE, "what it says is lost")
                quiet = self.run_with_closed(closed, command, "--all", "--no-notify", "--quiet")
                self.assertEqual(quiet.returncode, NOTHING_TO_DO)
                self.assertEqual(self.status(), status)
                done = self.run_with_closed(closed, "list", "--json", *repeated("localhost", "127.1.0.1:1"))
                self.assertEqual(done.returncode, SOME_FAILED)

    def test_what_would_go_to_a_closed_stream_does_not_go_to_the_node(self):
        # Without care the connection would get the number of standard output, and the text with it.
        body = wire.envelope('<m:r xmlns:m="urn:lum:conf"><PolicySelectionRetValue>1</PolicySelectionRetValue>'
                             '<PolicySelectionRetString>words</PolicySelectionRetString></m:r>')
        answer = f"HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nContent-Length: {len(body)}\r\n\r\n".encode() + body
        for closed in ("1", "0 1", "0 1 2"):
            with self.subTest(closed=closed), socket.socket() as listener:
                listener.bind(("127.0.0.1", 0))
                listener.listen()
                listener.settimeout(PATIENCE_S)
                client = Node({"vox.http.ext.conf": {"TARGET_PORT": listener.getsockname()[1]}}, start=False)
                client.use_no_secret()
                self.addCleanup(client.close)
                sent = []

                def serve():
                    connection, _ = listener.accept()
                    with connection:
                        connection.settimeout(PATIENCE_S)
                        request = b""
                        while b"</soap:Envelope>" not in request:
                            request += connection.recv(65536)
                        connection.sendall(answer)
                        while more := connection.recv(65536):
                            sent.append(more)

                peer = threading.Thread(target=serve)
                peer.start()
                done = self.run_with_closed(closed, "reinit", node=client)
                peer.join()
                self.assertEqual((done.returncode, sent), (FAILED, []), done)


if __name__ == "__main__":
    unittest.main()
