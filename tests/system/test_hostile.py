#!/usr/bin/python3
"""Hostile requests against a real daemon: each gets its answer, nothing is written where it must not be, and a good
request is served behind each."""
import os
import socket
import stat
import struct
import unittest

import wire
from node import Node, header
from wire import element

MEGABYTE = 1 << 20


def written(node):
    """All that a request could have changed: what is below the node's folder, but logs and the incoming folder."""
    found = {}
    for folder, folders, files in os.walk(node.folder):
        for name in folders + files:
            path = os.path.join(folder, name)
            relative = os.path.relpath(path, node.folder)
            if relative.startswith(("root/log/", "lumconfd.err")) or str(node.incoming) in path:
                continue
            status = os.lstat(path)
            is_file = stat.S_ISREG(status.st_mode)
            found[relative] = (status.st_mode, status.st_mtime_ns if is_file else 0, status.st_size if is_file else 0)
    return found


class HostileTest(unittest.TestCase):
    """One daemon for all tests of a class."""
    settings = {}

    @classmethod
    def setUpClass(cls):
        cls.node = Node(cls.settings)
        cls.addClassCleanup(cls.node.close)
        cls.secret = wire.secret_of(cls.node)
        answer = wire.ask(cls.node, wire.install_call(wire.policy_array("good", {"good.data": b"1"})))
        assert answer.value() == wire.DONE, answer
        cls.before = written(cls.node)

    def assert_serving(self):
        answer = wire.ask(self.node, wire.list_call("0", "good"), secret=self.secret)
        self.assertEqual(answer.value(), wire.DONE, answer)
        self.assertIn(b">good<", answer.body)

    def tearDown(self):
        self.assertIsNone(self.node.daemon.poll(), self.node.log)
        self.assertEqual(written(self.node), self.before)

    def good_install_behind(self):
        """What a hostile install left does not hinder a good one; the store is as before afterwards."""
        self.assertEqual(wire.ask(self.node, wire.install_call(wire.policy_array("next", {"next.data": b"2"}))).value(),
                         wire.DONE)
        self.assertEqual(wire.ask(self.node, wire.operation_call(wire.REMOVE, "0", "next")).value(), wire.DONE)


HEAD = b"POST " + wire.PATH.encode() + b" HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml\r\n"
CHUNKED = HEAD + b"Transfer-Encoding: chunked\r\n\r\n"

HTTP_ROWS = [
    ("a host that is not this one", b"GET / HTTP/1.1\r\nHost: a\r\n\r\n", 421),
    ("GET", b"GET / HTTP/1.1\r\nHost: localhost\r\n\r\n", 404),
    ("GET at a path that is served", b"GET " + wire.PATH.encode() + b" HTTP/1.1\r\nHost: localhost\r\n\r\n", 405),
    ("PUT", b"PUT " + wire.PATH.encode() + b" HTTP/1.1\r\nHost: localhost\r\nContent-Length: 0\r\n\r\n", 405),
    ("OPTIONS", b"OPTIONS * HTTP/1.1\r\nHost: localhost\r\n\r\n", 404),
    ("CONNECT", b"CONNECT localhost:22 HTTP/1.1\r\nHost: localhost\r\n\r\n", 404),
    ("a method nobody knows", b"DANCE / HTTP/1.1\r\nHost: localhost\r\n\r\n", 404),
    ("a path nobody serves", b"POST /x HTTP/1.1\r\nHost: localhost\r\nContent-Length: 0\r\n\r\n", 404),
    ("a path that climbs", b"POST /../../etc/passwd HTTP/1.1\r\nHost: localhost\r\nContent-Length: 0\r\n\r\n", 404),
    ("HTTP/2", b"PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n", 505),
    ("HTTP/1.9", HEAD.replace(b"HTTP/1.1", b"HTTP/1.9") + b"Content-Length: 0\r\n\r\n", 505),
    ("a foreign type", HEAD.replace(b"text/xml", b"application/x-www-form-urlencoded") + b"Content-Length: 0\r\n\r\n",
     415),
    ("a header beyond the limit", HEAD + b"X: " + b"y" * 70000 + b"\r\n\r\n", 431),
    ("a header without end", HEAD + b"x: y\r\n" * 20000, 431),
    ("a body beyond the limit", HEAD + b"Content-Length: 2000000\r\n\r\n", 413),
    ("a body of 64 bits", HEAD + b"Content-Length: 18446744073709551615\r\n\r\n", 413),
    ("chunks beyond the limit", CHUNKED + (b"10000\r\n" + b"x" * 65536 + b"\r\n") * 17, 413),
    ("a chunk of 64 bits", CHUNKED + b"ffffffffffffffff\r\nx", 413),
    ("a chunk of no number", CHUNKED + b"x\r\n", 400),
    ("a negative chunk", CHUNKED + b"-1\r\nx", 400),
    ("a chunk longer than it says", CHUNKED + b"1\r\nxyz\r\n0\r\n\r\n", 400),
    ("a chunk's extension without end", CHUNKED + b"1;" + b"e" * 200000, 431),
    ("two lengths", HEAD + b"Content-Length: 5\r\nContent-Length: 6\r\n\r\nhello!", 400),
    ("two equal lengths", HEAD + b"Content-Length: 5\r\nContent-Length: 5\r\n\r\nhello", 400),
    ("a length and a coding", HEAD + b"Content-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", 400),
    ("a coding hidden by a blank", HEAD + b"Content-Length: 5\r\nTransfer-Encoding : chunked\r\n\r\nhello", 400),
    ("a coding nobody knows", HEAD + b"Transfer-Encoding: gzip, chunked\r\n\r\n0\r\n\r\n", 501),
    ("a negative length", HEAD + b"Content-Length: -1\r\n\r\n", 400),
    ("no length", HEAD + b"\r\n", 411),
    ("no host", b"POST / HTTP/1.1\r\nContent-Length: 0\r\n\r\n", 400),
    ("an expectation nobody meets", HEAD + b"Expect: coffee\r\nContent-Length: 0\r\n\r\n", 417),
    ("NUL in a header", HEAD + b"X: a\0b\r\n\r\n", 400),
    ("a TLS handshake", b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03" + b"\x00" * 100, 400),
    ("bytes of any kind", bytes(range(256)), 400),
    ("empty lines", b"\r\n" * 1000, 400),
]


class Http(HostileTest):
    settings = {"vox.http.ext.conf": {"BODY_LIMIT": MEGABYTE, "HEADER_TIMEOUT": 2000, "BODY_TIMEOUT": 2000,
                                      "IDLE_TIMEOUT": 2000, "MIN_RATE": 1 << 20}}

    def test_a_malformed_request_is_refused_and_nothing_behind_it_is_taken(self):
        smuggled = wire.post(wire.operation_call(wire.REMOVE), secret=self.secret)
        for what, data, status in HTTP_ROWS:
            with self.subTest(what):
                with wire.Connection(self.node.port) as connection:
                    answer = connection.exchange(data)
                    self.assertIsNotNone(answer)
                    self.assertEqual(answer.status, status, answer)
                if status in (400, 413, 431):
                    with wire.Connection(self.node.port) as connection:
                        connection.exchange(data + smuggled)
                        self.assertTrue(connection.is_closed())
                self.assert_serving()

    def test_a_body_that_ends_early_is_no_request(self):
        whole = wire.post(wire.operation_call(wire.REMOVE), secret=self.secret)
        for cut in (1, 20, len(whole) // 2, len(whole) - 1):
            with self.subTest(cut=cut), wire.Connection(self.node.port) as connection:
                connection.send(whole[:cut])
                connection.socket.shutdown(socket.SHUT_WR)
                self.assertTrue(connection.is_closed())
        self.assert_serving()

    def test_slow_and_silent_senders_are_given_up_and_hold_nobody(self):
        whole = wire.post(wire.list_call(), secret=self.secret)
        slow = [wire.Connection(self.node.port) for _ in range(100)]
        try:
            for i, connection in enumerate(slow):
                connection.send(whole[:(i % 10) * len(whole) // 10])
            self.assert_serving()
            for connection in slow:
                self.assertTrue(connection.is_closed(), "a silent one is given up")
        finally:
            for connection in slow:
                connection.socket.close()
        self.assert_serving()

    def test_a_caller_that_resets_or_reads_no_answer_harms_nobody(self):
        for _ in range(20):
            with wire.Connection(self.node.port) as connection:
                connection.send(wire.post(wire.list_call(), secret=self.secret))
                connection.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.assert_serving()

    def test_requests_behind_one_another_are_answered_in_order(self):
        with wire.Connection(self.node.port) as connection:
            connection.send(wire.post(wire.list_call("0", "good"), secret=self.secret)
                            + wire.post(wire.list_call("1", "none"), secret=self.secret)
                            + wire.post(wire.list_call("0", "good")))
            self.assertEqual([connection.answer().value() for _ in range(3)],
                             [wire.DONE, wire.NOT_FOUND, wire.NOT_AUTHORIZED])


ENTITIES = ('<!DOCTYPE s:Envelope [<!ENTITY a "aaaaaaaaaa">'
            + "".join(f'<!ENTITY {chr(98 + i)} "{f"&{chr(97 + i)};" * 10}">' for i in range(9)) + "]>")
LIST = element("PolicySelection", element("selection", 8) + element("name", ""))


def soap(text, encoding="utf-8"):
    return text.encode(encoding, "surrogatepass")


def body_of(inner, namespace=wire.ENVELOPE, before="", header_part=""):
    return soap(f'{before}<s:Envelope xmlns:s="{namespace}">{header_part}<s:Body>{inner}</s:Body></s:Envelope>')


def list_with(name, tag="name"):
    return wire.call("list", element("PolicySelection", element("selection", 1) + f"<{tag}>@@</{tag}>")).replace(
        b"@@", name)


# What it is, the message, and the fault that answers it; where the method is known already, its return value.
SOAP_ROWS = [
    ("nothing", b"", "Client"),
    ("blanks", b"   \n", "Client"),
    ("no XML", b"hello", "Client"),
    ("a NUL", b"\0", "Client"),
    ("a document cut short", wire.list_call()[:-1], wire.NOT_AUTHORIZED),
    ("something behind the document", wire.list_call() + b"<x/>", wire.NOT_AUTHORIZED),
    ("a foreign root", b"<list/>", "Client"),
    ("an envelope of no namespace", b"<Envelope><Body><list/></Body></Envelope>", "VersionMismatch"),
    ("SOAP 1.2", body_of("<list/>", "http://www.w3.org/2003/05/soap-envelope"), "VersionMismatch"),
    ("an undeclared prefix", b"<s:Envelope><s:Body/></s:Envelope>", "Client"),
    ("no body", soap(f'<s:Envelope xmlns:s="{wire.ENVELOPE}"/>'), "Client"),
    ("an empty body", body_of(""), "Client"),
    ("two bodies", soap(f'<s:Envelope xmlns:s="{wire.ENVELOPE}"><s:Body/><s:Body/></s:Envelope>'), "Client"),
    ("two methods", body_of('<m:list xmlns:m="urn:lum:conf"/><m:list xmlns:m="urn:lum:conf"/>'), wire.NOT_AUTHORIZED),
    ("a method nobody knows", wire.call("format"), "Client"),
    ("the method of the other server", wire.call("checkpolicy"), "Client"),
    ("a header that must be understood", body_of("<list/>", header_part='<s:Header><x s:mustUnderstand="1"/>'
                                                 "</s:Header>"), "MustUnderstand"),
    ("a processing instruction", body_of(f"<list><?php x?>{LIST}</list>"), wire.NOT_AUTHORIZED),
    ("text where none belongs", body_of(f"<list>text{LIST}</list>"), wire.NOT_AUTHORIZED),
    ("a document type", body_of(f"<list>{LIST}</list>", before="<!DOCTYPE s:Envelope>"), "Client"),
    ("an entity bomb", body_of("<list><PolicySelection><name>&j;</name></PolicySelection></list>", before=ENTITIES),
     "Client"),
    ("a quadratic bomb", body_of(f"<list>{'&a;' * 1000}</list>",
                                 before=f'<!DOCTYPE x [<!ENTITY a "{"a" * 50000}">]>'), "Client"),
    ("an entity that holds itself", body_of("<list>&a;</list>",
                                            before='<!DOCTYPE x [<!ENTITY a "&b;"><!ENTITY b "&a;">]>'), "Client"),
    ("an entity nobody declared", body_of("<list>&nbsp;</list>"), wire.NOT_AUTHORIZED),
    ("XInclude and a schema of others", wire.call("list", '<xi:include xmlns:xi="http://www.w3.org/2001/XInclude" '
                                                  'href="file:///etc/passwd"/>' + LIST), None),
]

SOAP_BYTES = [
    ("a byte that is no UTF-8", b"a\xffb"), ("an overlong form", b"\xc0\xaf"), ("half of a letter", b"\xc3"),
    ("a surrogate as UTF-8", b"\xed\xa0\x80"), ("a letter beyond Unicode", b"\xf5\x80\x80\x80"), ("a NUL", b"a\0b"),
    ("a reference to NUL", b"&#0;"), ("a reference to a surrogate", b"&#xD800;"), ("a control character", b"\x01"),
    ("a reference to a control character", b"&#1;"), ("U+FFFF", b"\xef\xbf\xbf"),
    ("a huge reference", b"&#99999999999;"),
    ("a cut reference", b"&am"), ("an open CDATA", b"<![CDATA["), ("]]> in text", b"]]>"),
]


class Soap(HostileTest):
    def refuse(self, what, body, fault):
        with self.subTest(what):
            answer = wire.ask(self.node, body, secret=self.secret)
            self.assertIsNotNone(answer)
            if isinstance(fault, str):
                self.assertEqual((answer.status, answer.fault()), (500, fault), answer)
            elif fault:
                self.assertEqual((answer.status, answer.value()), (200, fault), answer)
            self.assertNotIn(b"root:", answer.body)
            self.assert_serving()

    def test_a_message_that_is_none_is_answered_with_a_fault(self):
        for what, body, fault in SOAP_ROWS:
            self.refuse(what, body, fault)

    def test_bytes_that_no_document_may_hold_fail_the_request(self):
        for what, text in SOAP_BYTES:
            for tag in ("name", "unknown"):
                with self.subTest(what, tag=tag):
                    answer = wire.ask(self.node, list_with(text, tag), secret=self.secret)
                    self.assertTrue(answer.fault() == "Client" or answer.value() == wire.NOT_AUTHORIZED, answer)
                    self.assert_serving()

    def test_nothing_outside_is_read_or_called(self):
        with socket.socket() as listener:
            listener.bind(("127.0.0.1", 0))
            listener.listen()
            listener.setblocking(False)
            away = f"http://127.0.0.1:{listener.getsockname()[1]}/x"
            for declaration in ('<!ENTITY a SYSTEM "file:///etc/passwd">', f'<!ENTITY a SYSTEM "{away}">',
                                f'<!ENTITY % a SYSTEM "{away}"> %a;', f'<!ENTITY a PUBLIC "x" "{away}">'):
                for before in (f"<!DOCTYPE x [{declaration}]>", f'<!DOCTYPE x SYSTEM "{away}" [{declaration}]>'):
                    self.refuse(before, body_of("<list><PolicySelection><name>&a;</name></PolicySelection></list>",
                                                before=before), "Client")
                    document = before + bad_header(description="@").replace("@", "&a;").split("?>", 1)[1]
                    data = wire.policy_array("bad", document=document.encode())
                    answer = wire.ask(self.node, wire.install_call(data))
                    self.assertNotIn(b"root:", answer.body)
                    wire.ask(self.node, wire.operation_call(wire.REMOVE, "0", "bad"))
            with self.assertRaises(BlockingIOError):
                listener.accept()

    def test_a_document_nested_10000_levels_is_refused(self):
        nested = "<a>" * 10000 + "</a>" * 10000
        for inner in (nested, element("PolicySelection", nested), element("PolicySelection", element("name", nested))):
            answer = wire.ask(self.node, wire.call("list", inner))
            self.assertTrue(answer.fault() == "Client" or answer.value() == wire.NOT_AUTHORIZED, answer)
            self.assert_serving()
        answer = wire.ask(self.node, wire.install_call(wire.policy_array("deep", extra=nested)))
        self.assertEqual(answer.value(), wire.FAILED, answer)
        self.good_install_behind()

    def test_other_encodings_are_read_or_refused_and_never_taken_for_utf_8(self):
        text = wire.list_call("1", "Größe").decode()
        for encoding in ("utf-16", "utf-16-le", "utf-16-be", "utf-32", "utf-7", "latin-1", "cp037", "ebcdic-cp-be"):
            with self.subTest(encoding):
                declared = text.replace("UTF-8", encoding.upper())
                try:
                    body = declared.encode(encoding)
                except LookupError:
                    body = declared.encode()
                answer = wire.ask(self.node, body, secret=self.secret)
                self.assertTrue(answer.fault() == "Client" or answer.value() in (wire.NOT_FOUND, wire.NOT_AUTHORIZED),
                                answer)
                self.assert_serving()

    def test_many_attributes_and_names_are_refused_or_passed_over(self):
        for what, inner in (("attributes", "<PolicySelection " + " ".join(f'a{i}="x"' for i in range(20000)) + "/>"),
                            ("an attribute twice", '<PolicySelection a="1" a="2"/>'),
                            ("namespaces", "<PolicySelection " + " ".join(f'xmlns:a{i}="u{i}"' for i in range(5000))
                             + "/>"),
                            ("different elements", "".join(f"<e{i}/>" for i in range(50000)))):
            with self.subTest(what):
                answer = wire.ask(self.node, wire.call("list", inner))
                self.assertTrue(answer.fault() == "Client" or answer.value() in (wire.DONE, wire.NOT_AUTHORIZED),
                                answer)
                self.assert_serving()


def bad_header(**fields):
    return header("bad", name="bad", **fields)


DATA = wire.policy_array("bad", {"bad.data": b"x"})


def install_arguments(**changed):
    arguments = {"PolicyInstallFilename": "bad_header.xml", "PolicyByteArrayName": "AAAA",
                 "PolicyInstallOptions": element("notify", "false"), "PolicyInstallMethod": "1"}
    arguments.update(changed)
    return wire.call("install", "".join(element(name, text) for name, text in arguments.items() if text is not None))


def operation_arguments(**changed):
    arguments = {"PolicyOperationMode": "4", "PolicyString1": "",
                 "PolicySelection": element("selection", 0) + element("name", "none"),
                 "PolicyOptions": element("notify", "false")}
    arguments.update(changed)
    return wire.call("policyOp", "".join(element(name, text) for name, text in arguments.items() if text is not None))


class Arguments(HostileTest):
    def test_a_missing_argument_is_a_request_that_nobody_may_send(self):
        for name in ("PolicyInstallFilename", "PolicyByteArrayName", "PolicyInstallOptions", "PolicyInstallMethod"):
            with self.subTest(name):
                answer = wire.ask(self.node, install_arguments(**{name: None}))
                self.assertEqual(answer.value(), wire.NOT_AUTHORIZED, answer)
                self.assert_serving()
        for name in ("PolicyOperationMode", "PolicyString1", "PolicySelection", "PolicyOptions"):
            with self.subTest(name):
                answer = wire.ask(self.node, operation_arguments(**{name: None}))
                self.assertEqual(answer.value(), wire.NOT_AUTHORIZED, answer)
                self.assert_serving()
        self.assertEqual(wire.ask(self.node, wire.call("list")).value(), wire.NOT_AUTHORIZED)

    def test_an_argument_that_comes_twice_is_refused(self):
        body = wire.call("list", LIST + LIST)
        answer = wire.ask(self.node, body)
        self.assertTrue(answer.fault() == "Client" or answer.value() == wire.NOT_AUTHORIZED, answer)

    def test_numbers_that_are_none_do_nothing(self):
        for text in ("", " ", "x", "-1", "0", "1x", "12", "99", "2147483648", "-2147483649", "99999999999999999999",
                     "1e9", "0x4", "4.0", "+-4", "\u0664", "NaN"):
            with self.subTest(text):
                answer = wire.ask(self.node, operation_arguments(
                    PolicyOperationMode=text, PolicySelection=element("selection", 8) + element("name", "")))
                self.assertEqual(answer.value(), wire.NOT_AUTHORIZED, answer)
                answer = wire.ask(self.node, install_arguments(PolicyInstallMethod=text))
                self.assertIn(answer.value(), (wire.FAILED, wire.NOT_AUTHORIZED), answer)
                self.assert_serving()

    def test_a_selection_of_rubbish_finds_nothing_or_all_and_removes_nothing_else(self):
        for kind, name in (("0", ""), ("0", "../good"), ("0", "*"), ("1", "%s%n"), ("9", "="), ("9", "a=b=c"),
                           ("5", ""), ("7", "=="), ("2", "\\"), ("3", "' or 1=1 --")):
            with self.subTest(kind=kind, name=name):
                answer = wire.ask(self.node, wire.operation_call(wire.REMOVE, kind, name))
                self.assertIn(answer.value(), (wire.NOT_FOUND, wire.FAILED), answer)
                self.assert_serving()

    def test_base64_that_is_none_installs_nothing(self):
        for text in ("=", "====", "A", "AAA", "A===", "AA=A", "*", "\u00e4", "AAAA=AAAA", "-_-_", "\u0410AAA"):
            with self.subTest(text):
                answer = wire.ask(self.node, install_arguments(PolicyByteArrayName=text))
                self.assertIn(answer.value(), (wire.FAILED, wire.NOT_AUTHORIZED), answer)
                self.assert_serving()

    def test_callers_that_prove_nothing_get_no_further_with_any_of_it(self):
        for body in (wire.install_call(DATA), wire.install_call(DATA, method=2), install_arguments(),
                     operation_arguments(), wire.operation_call(wire.REINIT), wire.list_call()):
            answer = wire.exchange(self.node, wire.post(body))
            self.assertEqual(answer.value(), wire.NOT_AUTHORIZED, answer)
            self.assertEqual(list(self.node.incoming.iterdir()), [])


if __name__ == "__main__":
    unittest.main()
