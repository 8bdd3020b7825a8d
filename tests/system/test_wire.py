#!/usr/bin/python3
"""The examples of docs/wire.md: each is sent to a node as it stands there, and answered as it stands there."""
import base64
import http.client
import re
import struct
import unittest
import xml.etree.ElementTree as ElementTree

from node import ROOT, Node, header, write_policy

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
    headers = {"Content-Type": "text/xml", "Authorization": f"LumLocal {secret}", **headers}
    connection.request("POST", path, body if isinstance(body, bytes) else body.encode(), headers)
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
        self.assertLessEqual({"install", "policyOp", "list", "configOp", "mgrconf", "checkpolicy", "inventory"}, methods)


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
            ("an external entity", f'<!DOCTYPE a [<!ENTITY e SYSTEM "x">]><s:Envelope xmlns:s="{envelope}"><s:Body><list>'
             "&e;</list></s:Body></s:Envelope>", "soap:Client"),
            ("an entity that is not declared",
             f'<s:Envelope xmlns:s="{envelope}"><s:Body><list><a>&e;</a></list></s:Body></s:Envelope>', None),
            ("a mark against the encoding", "\ufeff<?xml version='1.0' encoding='ISO-8859-1'?>"
             f'<s:Envelope xmlns:s="{envelope}"><s:Body><list/></s:Body></s:Envelope>', "soap:Client"),
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
                    if what in ("a document type", "an external entity", "a mark against the encoding"):
                        self.assertRegex(answer, r"line \d+, column \d+")
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


def table(heading, page):
    """The rows of the first table behind a heading, each a list of cells."""
    part = page[page.index(heading):]
    rows = re.search(r"^\|.*?\n\|[-|]+\n((?:\|.*\n)+)", part, re.M).group(1)
    return [[cell.strip() for cell in row[1:-1].split("|")] for row in rows.splitlines()]


class Tables(unittest.TestCase):
    """What the page's tables say, row by row."""

    PATH = Refusals.PATH
    CALL = '<s:Envelope xmlns:s="http://schemas.xmlsoap.org/soap/envelope/"><s:Body>%s</s:Body></s:Envelope>'

    def setUp(self):
        self.page = PAGE.read_text(encoding="utf-8")
        self.node = Node()
        self.addCleanup(self.node.close)

    def call(self, body):
        status, answer = post(self.node, self.PATH, self.CALL % body)
        self.assertEqual(status, 200, answer)
        return int(re.search(r"Ret(?:urn)?Value[^>]*>(\d+)<", answer).group(1)), answer

    def operate(self, mode, string="", kind=8, value="", notify="true"):
        return self.call(f"<policyOp><PolicyOperationMode>{mode}</PolicyOperationMode><PolicyString1>{string}"
                         f"</PolicyString1><PolicySelection><selection>{kind}</selection><name>{value}</name>"
                         f"</PolicySelection><PolicyOptions><notify>{notify}</notify></PolicyOptions></policyOp>")[0]

    def install(self, options="<notify>false</notify>", **fields):
        document = header("p1", **{"name": "n", "type_name": "t", "owner": "o", **fields}).encode()
        name = "p1_header.xml"
        array = struct.pack(">ii", 1, len(name)) + name.encode("utf-16-be")
        array += struct.pack(">i", len(document)) + document
        return self.call(f"<install><PolicyInstallFilename>{name}</PolicyInstallFilename><PolicyByteArrayName>"
                         f"{base64.b64encode(array).decode()}</PolicyByteArrayName><PolicyInstallOptions>{options}"
                         "</PolicyInstallOptions><PolicyInstallMethod>1</PolicyInstallMethod></install>")[0]

    def test_each_mode_does_its_work_and_consumers_hear_what_its_row_says(self):
        strings = {5: "other", 6: "c", 7: "c", 9: "a=b", 10: "a=b"}
        before = {3: 2, 7: 6, 8: 6, 10: 9, 11: 9}  # what must have been done, so that there is something to do
        rows = {int(row[0]): re.findall(r"`(\w+):`", row[3]) for row in table("| Mode | Operation |", self.page)}
        self.assertEqual(sorted(rows), [2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 13, 15])
        for mode, words in rows.items():
            with self.subTest(mode), Node() as self.node:
                consumer = self.node.consumer("*")
                self.assertEqual(self.install(), 1)
                if mode in before:
                    self.assertEqual(self.operate(before[mode], strings.get(before[mode], ""), notify="false"), 1)
                self.assertEqual(self.operate(13), 1)
                self.assertEqual(self.operate(mode, strings.get(mode, "")), 1)
                # An install waits for its consumers, and they hear of everything before it first.
                self.assertEqual(self.install("<forceall>true</forceall>"), 1)
                again = ["FIRST_POLICY", "CHECK_POLICY"] if mode == 4 else ["CHECK_POLICY"]
                self.assertEqual([event.split(":")[0] for event in consumer.events()],
                                 ["FIRST_POLICY", "CHECK_POLICY", *words, *again])

    def configure(self, mode, group="", package=""):
        """Return value, and namespaces with their attributes in the order of the answer."""
        value, answer = self.call(
            f"<configOp><PolicyOperationMode>{mode}</PolicyOperationMode><ConfigPackageName>{package}"
            f"</ConfigPackageName><ConfigGroupName>{group}</ConfigGroupName></configOp>")
        group = re.search(r"<ConfigGroupName>(.*)</ConfigGroupName>", answer, re.S).group(1)
        return value, re.findall(r"<(?:ns|attrname|attrvalue)>([^<]*)<", group)

    def test_each_mode_of_settings_does_what_its_row_says(self):
        modes = [int(row[0]) for row in table("| Mode | Operation | Of", self.page)]
        self.assertEqual(modes, [17, 18, 19, 20])
        folder = self.node.root / "etc/pal/config/g"
        folder.mkdir(parents=True)
        (folder / "policy_settings.ini").write_text("[b]\nX=policy\n")
        attribute = "<attrname>%s</attrname><attrvalue>%s</attrvalue>"
        given = f"<ns>a</ns>{attribute % ('X', 1)}{attribute % ('Y', 2)}<ns>b</ns>{attribute % ('X', 3)}"
        self.assertEqual(self.configure(18, given, "g"), (1, []))
        self.assertEqual(self.configure(17, "", "g"), (1, ["a", "X", "1", "Y", "2", "b", "X", "3"]))
        self.assertEqual(self.configure(20, f"<ns>a</ns>{attribute % ('X', '')}", "g"), (1, []))
        self.assertEqual(self.configure(17, "", "g"), (1, ["a", "Y", "2", "b", "X", "3"]))
        self.assertEqual(self.configure(19, "<ns>b</ns>", "g"), (1, []))
        self.assertEqual(self.configure(17, "", "g"), (1, ["a", "Y", "2", "b", "X", "policy"]))
        for mode in (16, 21):
            self.assertEqual(self.configure(mode, given, "g"), (8, []), mode)
        self.assertEqual(self.configure(17, "", "../g"), (7, []))
        self.assertEqual(self.configure(17, "<ns>a</ns><more/>", "g"), (8, []))

    def test_a_mode_without_a_row_is_refused(self):
        self.assertEqual(self.install(), 1)
        for mode in (-1, 0, 1, 12, 14, 16, 99):
            self.assertEqual(self.operate(mode), 8, mode)

    def test_each_return_value_is_given_for_its_reason(self):
        self.assertEqual([int(row[0]) for row in table("## Return values", self.page)], list(range(1, 10)))
        listing = "<list><PolicySelection><selection>2</selection><name>%s</name></PolicySelection></list>"
        self.assertEqual(self.call(listing % "t")[0], 2)
        self.assertEqual(self.operate(4), 2)
        self.assertEqual(self.install(), 1)
        self.assertEqual(self.call(listing % "t")[0], 1)
        self.assertEqual(self.call(listing % "other")[0], 3)
        self.assertEqual(self.operate(3), 4)
        self.assertEqual(self.install(owner="other"), 5)
        self.assertEqual(self.install("<checkversion>true</checkversion>"), 6)
        self.assertEqual(self.install(type_name="other"), 7)
        self.assertEqual(self.call("<list/>")[0], 8)
        self.assertEqual(self.install(""), 9)

    def test_each_kind_of_selection_selects_what_its_row_says(self):
        self.assertEqual(self.install(categories=["c"], attributes=[("a", "b")]), 1)
        rows = table("| Kind | Selects | Value |", self.page)
        values = {0: "p1", 1: ("n", "t:n"), 2: "t", 3: "c", 4: "o", 5: "o=n", 6: "a", 7: "a=b", 8: "", 9: ("n=t", "n=")}
        self.assertEqual([int(row[0]) for row in rows], list(values))
        for kind, right in values.items():
            for value in [right] if isinstance(right, str) else right:
                answer = self.call(f"<list><PolicySelection><selection>{kind}</selection><name>{value}</name>"
                                   "</PolicySelection></list>")
                self.assertEqual((answer[0], answer[1].count("<policyheader>")), (1, 1), (kind, value))
            if kind not in (0, 8):
                self.assertEqual(self.call(f"<list><PolicySelection><selection>{kind}</selection><name>X</name>"
                                           "</PolicySelection></list>")[0], 3, kind)

    def test_each_child_of_the_install_options_is_taken(self):
        rows = table("`PolicyInstallOptions`, each of which", self.page)
        self.assertEqual(len(rows), 16)
        samples = {"truth": "true", "number": "0", "text": "a=b"}
        for row in rows:
            name, kind = row[0].strip("`"), row[1]
            self.assertIn(self.install(f"<{name}>{samples[kind]}</{name}>"), (1, 5, 6, 9), name)
            if kind != "text":
                self.assertEqual(self.install(f"<{name}>?</{name}>"), 8, name)

    def test_a_header_in_a_list_has_the_children_of_the_table_in_its_order(self):
        path = write_policy(self.node.folder / "source", "p1", {"d": b""}, categories=["c"], attributes=[("a", "b")])
        self.assertEqual(self.node.policy("install", "--no-notify", path).code, 0)
        (self.node.store / "type/d").unlink()
        self.assertEqual(self.operate(15), 1)
        answer = self.call("<list><PolicySelection/><PolicyDataFiles><policy_data_file>d</policy_data_file>"
                           "</PolicyDataFiles></list>")[1]
        one = re.search(r"<policyheader>(.*)</policyheader>", answer).group(1)
        names = [child.tag for child in ElementTree.fromstring(f"<a>{one}</a>")]
        rows = table("The children of a `policyheader`", self.page)
        self.assertEqual(names, [name for row in rows for name in re.findall(r"`(\w+)`", row[0])])

    def test_a_request_in_another_encoding_and_with_unknown_arguments_is_understood(self):
        text = self.CALL % "<m:list xmlns:m='urn:x'><more/><PolicySelection><selection> +2 </selection><name>t" \
                           "</name><more>x</more></PolicySelection></m:list>"
        self.assertEqual(self.install(), 1)
        for encoding in ("UTF-8", "UTF-16", "ISO-8859-1", "US-ASCII"):
            body = f'<?xml version="1.0" encoding="{encoding}"?>{text}'.encode(encoding)
            status, answer = post(self.node, self.PATH, body)
            self.assertEqual(status, 200)
            self.assertIn("<policy_container_id>p1<", answer, encoding)


if __name__ == "__main__":
    unittest.main()
