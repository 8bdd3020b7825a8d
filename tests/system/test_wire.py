#!/usr/bin/python3
"""The examples of docs/wire.md: each is sent to a node as it stands there, and answered as it stands there."""
import http.client
import pathlib
import re
import unittest
import xml.etree.ElementTree as ElementTree

from node import ROOT, Node

PAGE = ROOT / "docs/wire.md"
EXCHANGE = re.compile(r"<!-- exchange: (\S+) -->\n```xml\n(.*?)```\n\n```xml\n(.*?)```", re.S)


def tree(text):
    """What an XML text says, without the white space between elements."""
    def of(element):
        children = [of(child) for child in element]
        own = element.text or ""
        return element.tag, sorted(element.attrib.items()), own if not children else own.strip(), children
    return of(ElementTree.fromstring(text))


def post(node, path, body, **headers):
    connection = http.client.HTTPConnection("127.0.0.1", node.port, timeout=30)
    secret = (node.root / "etc/local.secret").read_text()
    connection.request("POST", path, body.encode(), {"Content-Type": "text/xml; charset=utf-8",
                                                     "Authorization": f"LumLocal {secret}", **headers})
    answer = connection.getresponse()
    result = answer.status, answer.read().decode()
    connection.close()
    return result


class Examples(unittest.TestCase):
    def test_every_exchange_of_the_page_happens_as_it_is_written(self):
        exchanges = EXCHANGE.findall(PAGE.read_text(encoding="utf-8"))
        self.assertEqual(len(exchanges), PAGE.read_text(encoding="utf-8").count("<!-- exchange:"))
        methods = set()
        with Node() as node:
            for path, request, expected in exchanges:
                status, answer = post(node, path, request)
                self.assertEqual(tree(answer), tree(expected), answer)
                self.assertEqual(status, 500 if "Fault>" in expected else 200)
                methods.add(re.search(r"<m:(\w+)", request).group(1))
        self.assertLessEqual({"install", "policyOp", "list", "mgrconf", "checkpolicy", "inventory"}, methods)


class Refusals(unittest.TestCase):
    """The answers to what never reaches a method, as the page's lists say."""

    @classmethod
    def setUpClass(cls):
        cls.node = Node()
        cls.addClassCleanup(cls.node.close)

    PATH = "/com.tessel.lum.conf.core/voxrpcserver"

    def ask(self, method="POST", path=PATH, body="", **headers):
        connection = http.client.HTTPConnection("127.0.0.1", self.node.port, timeout=30)
        connection.putrequest(method, path, skip_accept_encoding=True)
        for name, value in {"Content-Type": "text/xml", "Content-Length": len(body), **headers}.items():
            if value is not None:
                connection.putheader(name, str(value))
        connection.endheaders(body.encode())
        answer = connection.getresponse()
        text = answer.read().decode()
        closed = answer.will_close
        connection.close()
        self.assertTrue(method == "HEAD" or "faultstring" in text, text)
        return answer.status, closed

    def test_each_status_of_the_transport_is_given_and_closes_where_the_page_says_so(self):
        rows = [
            ("another path", dict(path="/"), 404, False),
            ("another method", dict(method="PUT"), 405, False),
            ("another type", {"Content-Type": "application/json"}, 415, False),
            ("no length", {"Content-Length": None}, 411, True),
            ("both lengths", {"Transfer-Encoding": "chunked"}, 400, True),
            ("another coding", {"Content-Length": None, "Transfer-Encoding": "gzip"}, 501, True),
            ("another expectation", {"Expect": "cake"}, 417, True),
            ("a large header", {"X": "x" * 70000}, 431, True),
            ("a large body", {"Content-Length": 64 * 1024 * 1024 + 1}, 413, True),
        ]
        for what, request, status, closes in rows:
            with self.subTest(what):
                self.assertEqual(self.ask(**request), (status, closes))

    def test_what_is_no_call_is_a_fault_of_the_client(self):
        envelope = "http://schemas.xmlsoap.org/soap/envelope/"
        rows = [
            ("nothing", "", "soap:Client"),
            ("no XML", "list", "soap:Client"),
            ("a document type", "<!DOCTYPE a><a/>", "soap:Client"),
            ("no envelope", "<a/>", "soap:Client"),
            ("an empty body", f'<s:Envelope xmlns:s="{envelope}"><s:Body/></s:Envelope>', "soap:Client"),
            ("two elements", f'<s:Envelope xmlns:s="{envelope}"><s:Body><list/><list/></s:Body></s:Envelope>', None),
            ("another version", '<s:Envelope xmlns:s="http://www.w3.org/2003/05/soap-envelope"/>',
             "soap:VersionMismatch"),
            ("a header that must be understood",
             f'<s:Envelope xmlns:s="{envelope}"><s:Header><a s:mustUnderstand="1"/></s:Header>'
             "<s:Body><list/></s:Body></s:Envelope>", "soap:MustUnderstand"),
        ]
        for what, body, code in rows:
            with self.subTest(what):
                status, answer = post(self.node, self.PATH, body)
                if code:
                    self.assertEqual(status, 500)
                    self.assertIn(f"<faultcode>{code}</faultcode>", answer)
                else:  # the method is known when the second element comes: it answers itself
                    self.assertEqual(status, 200)
                    self.assertIn(">8</PolicySelectionRetValue>", answer)

    def test_a_caller_without_the_secret_holds_no_right_and_may_ask_what_needs_none(self):
        call = '<s:Envelope xmlns:s="http://schemas.xmlsoap.org/soap/envelope/"><s:Body>%s</s:Body></s:Envelope>'
        _, answer = post(self.node, self.PATH, call % "<list><PolicySelection/></list>", Authorization="LumLocal 0")
        self.assertIn("Sender with id '' is not authorized", answer)
        _, answer = post(self.node, "/com.tessel.lum.conf.core/checkpolicy/voxrpcserver", call % "<checkpolicy/>",
                         Authorization="LumLocal 0")
        self.assertIn('<result xsi:type="xsd:int">0</result>', answer)


if __name__ == "__main__":
    unittest.main()
