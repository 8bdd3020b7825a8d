#!/usr/bin/python3
"""How local callers prove who they are, and what a stranger learns who holds the port that they call."""
import contextlib
import hashlib
import os
import re
import socket
import threading
import unittest

import requests
import zeep
from requests.auth import HTTPDigestAuth

import wire
from node import DONE, FAILED, UNREACHABLE, Node, free_port, write_policy

NOT_AUTHORIZED = 8
CALLS = (("lumpolicy", "list"), ("lumpolicy", "remove", "--all"), ("lumpolicy", "notify"), ("lumpolicy", "install"),
         ("lumsettings", "get"), ("lumsettings", "set", "app", "password=for-the-node-alone"))


def answer(status="200 OK", body=b"", *fields):
    head = "\r\n".join([f"HTTP/1.1 {status}", f"Content-Length: {len(body)}", *fields])
    return head.encode() + b"\r\n\r\n" + body

FAULT = wire.envelope("<soap:Fault><faultcode>soap:Server</faultcode><faultstring>words of a stranger</faultstring>"
                      "</soap:Fault>")

BUSY = "too much to do, it says with"


class Stranger:
    """Another user's server on the node's port; answers each request by a function of it and records everything."""

    def __init__(self, reply):
        self.reply, self.heard, self.threads = reply, b"", []
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self.thread = threading.Thread(target=self.run)
        self.thread.start()

    def run(self):
        with contextlib.suppress(OSError):
            while True:
                connection, _ = self.listener.accept()
                self.threads.append(threading.Thread(target=self.serve, args=(connection,)))
                self.threads[-1].start()

    def serve(self, connection):
        with connection, contextlib.suppress(OSError):
            asked = b""
            while received := connection.recv(65536):
                self.heard += received
                asked += received
                if b"\r\n\r\n" not in asked:
                    continue
                said, asked = self.reply(asked), b""
                if not said:
                    return
                connection.sendall(said)

    def close(self):
        self.listener.shutdown(socket.SHUT_RDWR)
        self.thread.join()
        for thread in self.threads:
            thread.join()
        self.listener.close()


def digest_of(node, challenge, port=None, count=1, secret=None, method="POST", path=wire.PATH, **changed):
    """What a caller that can compute answers to a challenge."""
    secret = secret or (node.root / "etc/local.secret").read_text()
    nonce = re.search('nonce="([^"]+)"', challenge).group(1)

    def sha(text):
        return hashlib.sha256(text.encode()).hexdigest()

    user, nc = f"local-{port or node.port}", f"{count:08x}"
    response = sha(f"{sha(f'{user}:lum:{secret}')}:{nonce}:{nc}:x:auth:{sha(f'{method}:{path}')}")
    fields = {"username": f'"{user}"', "realm": '"lum"', "nonce": f'"{nonce}"', "uri": f'"{path}"', "cnonce": '"x"',
              "nc": nc, "qop": "auth", "algorithm": "SHA-256", "response": f'"{response}"', **changed}
    return "Digest " + ", ".join(f"{name}={value}" for name, value in fields.items())


class LocalProof(unittest.TestCase):
    def node(self, **keywords):
        node = Node(**keywords)
        self.addCleanup(node.close)
        return node

    def challenge(self, node):
        got = wire.ask(node, b"", secret="")
        self.assertEqual(got.status, 401, got)
        return re.search(r"WWW-Authenticate: (Digest [^\r]+)", got.head, re.I).group(1)

    def test_a_stranger_on_the_port_that_is_called_learns_nothing_that_is_usable(self):
        node = self.node()
        secret = (node.root / "etc/local.secret").read_text()
        header = write_policy(node.folder, "p")
        foreign = 'WWW-Authenticate: Digest realm="lum", qop="auth", algorithm=SHA-256, nonce="0123456789abcdef"'
        replies = {
            "an answer at once": lambda _: answer(body=wire.list_call()),
            "a challenge of its own": lambda _: answer("401 Unauthorized", b"", foreign),
            "a weaker one": lambda _: answer("401 Unauthorized", b"", foreign.replace("SHA-256", "MD5")),
            "one for the password": lambda _: answer("401 Unauthorized", b"", 'WWW-Authenticate: Basic realm="lum"'),
            "the node's own, passed on": lambda _: answer("401 Unauthorized", b"",
                                                          "WWW-Authenticate: " + self.challenge(node)),
            "another place": lambda _: answer("307 Temporary Redirect", b"",
                                              f"Location: http://127.0.0.1:{node.port}{wire.PATH}"),
            "nothing": lambda _: b"",
            "a refusal without a challenge": lambda _: answer("401 Unauthorized", FAULT, "Content-Type: text/xml"),
            **{f"a fault with the status {status}": lambda _, status=status: answer(f"{status} Error", FAULT,
                                                                                    "Content-Type: text/xml")
               for status in (400, 403, 404, 408, 500)},
            **{f"{BUSY} {status}": lambda _, status=status: answer(f"{status} Error", FAULT, "Content-Type: text/xml")
               for status in (413, 431, 503)},
        }
        for what, reply in replies.items():
            stranger = Stranger(reply)
            self.call_port(node, stranger.port)
            try:
                for tool, *arguments in CALLS:
                    arguments += [header] if "install" in arguments else []
                    with self.subTest(what, tool=tool, arguments=arguments):
                        result = node.tool(tool, *arguments)
                        self.assertEqual(result.code, FAILED if what.startswith(BUSY) else UNREACHABLE, result)
                        self.assertNotIn("words of a stranger", result.out + result.err)
            finally:
                stranger.close()
            heard = stranger.heard.decode("latin-1")  # the hello of a TLS handshake is in it: does that port speak TLS?
            self.assertTrue(heard.startswith("POST "), what)
            for usable in (secret, "Authorization", "Envelope", "for-the-node-alone", "LumLocal"):
                self.assertNotIn(usable, heard, what)
        self.call_port(node, node.port)
        self.assertEqual(node.policy("list").code, DONE, "it serves as before")

    @staticmethod
    def call_port(node, port):
        """Lets the node's own tools call another port than the one that it serves."""
        node.settings["vox.http.ext.conf"]["TARGET_PORT"] = port
        node.write_settings()

    def test_an_answer_that_was_meant_for_another_port_opens_nothing(self):
        node = self.node()
        proof = digest_of(node, self.challenge(node), port=free_port())
        got = wire.ask(node, wire.list_call(), secret=proof)
        self.assertEqual(got.status, 401, got)
        self.assertNotIn("stale=true", got.head)

    def test_a_right_proof_opens_everything_once(self):
        node = self.node()
        challenge = self.challenge(node)
        for count in (1, 2, 7):
            proof = digest_of(node, challenge, count=count)
            self.assertEqual(wire.ask(node, wire.list_call(), secret=proof).value(), 2)
            again = wire.ask(node, wire.list_call(), secret=proof)
            self.assertEqual(again.status, 401, "it was overheard")
            self.assertIn("stale=true", again.head)

    def test_a_wrong_proof_is_answered_with_a_new_challenge_and_opens_nothing(self):
        node = self.node()
        rows = {"secret": {"secret": "0" * 64}, "method": {"method": "GET"}, "path": {"path": "/"},
                "realm": {"realm": '"x"'}, "user": {"username": '"root"'}, "nonce": {"nonce": '"x"'},
                "response": {"response": '"' + "0" * 64 + '"'}, "protection": {"qop": "auth-int"},
                "algorithm": {"algorithm": "MD5"}, "count": {"nc": "x"}}
        for what, changed in rows.items():
            with self.subTest(what):
                got = wire.ask(node, wire.list_call(), secret=digest_of(node, self.challenge(node), **changed))
                self.assertEqual(got.status, 401, got)
                self.assertNotEqual(self.challenge(node), self.challenge(node))
                self.assertEqual(got.fault(), "Client")

    def test_a_nonce_of_a_former_start_is_stale(self):
        node = self.node()
        challenge = self.challenge(node)
        node.stop()
        node.start()
        got = wire.ask(node, wire.list_call(), secret=digest_of(node, challenge))
        self.assertEqual(got.status, 401)
        self.assertIn("stale=true", got.head)

    def test_a_call_without_any_proof_is_asked_for_none(self):
        node = self.node()
        self.assertEqual(wire.ask(node, wire.list_call(), secret="").value(), NOT_AUTHORIZED)
        self.assertEqual(wire.ask(node, wire.list_call(), secret="Basic cm9vdDo=").value(), NOT_AUTHORIZED)

    def test_the_key_switches_the_plain_header_off_and_the_tools_go_on(self):
        node = self.node(settings={"vox.http.ext.conf": {"LOCAL_SECRET_HEADER": "false"}})
        self.assertEqual(wire.ask(node, wire.list_call(), secret=wire.secret_of(node)).value(), NOT_AUTHORIZED)
        self.assertEqual(node.policy("list").code, DONE)
        self.assertEqual(node.tool("lumsettings", "set", "a", "k=1").code, DONE)

    def test_a_secret_that_is_not_the_nodes_sends_nothing(self):
        node = self.node()
        (node.root / "etc/local.secret").write_text("0" * 64, encoding="utf-8")
        result = node.policy("list")
        self.assertEqual(result.code, UNREACHABLE, result)
        self.assertIn("does not know this node's local secret; nothing was sent", result.err)

    def test_a_large_call_takes_its_challenge_without_its_body(self):
        node = self.node()
        header = write_policy(node.folder, "large", files={"d.bin": os.urandom(4 << 20)})
        self.assertEqual(node.policy("install", "--no-notify", header).code, DONE)

    def test_a_client_of_another_make_proves_it_by_its_library(self):
        node = self.node(settings={"vox.http.ext.conf": {"LOCAL_SECRET_HEADER": "false"}})
        address = f"http://127.0.0.1:{node.port}{wire.PATH}"
        with requests.Session() as session:
            session.trust_env = False
            session.auth = HTTPDigestAuth(f"local-{node.port}", (node.root / "etc/local.secret").read_text())
            session.post(address, headers={"Content-Type": "text/xml"})
            service = zeep.Client(address + "?wsdl", transport=zeep.Transport(session=session)).service
            for _ in range(3):
                self.assertEqual(service.list(PolicySelection={"selection": 8}).PolicySelectionRetValue, 2)


if __name__ == "__main__":
    unittest.main()
