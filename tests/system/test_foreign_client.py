#!/usr/bin/python3
"""A SOAP client of another make that knows nothing but the node's own description of its methods."""
import re
import unittest

import requests
import zeep
from lxml import etree

from node import ROOT, Node
from pki import Authority, install_identity, trust
from wire import CHECK_PATH, PATH, policy_array, secret_of

INVENTORY_PATH = "/com.tessel.lum.depl/voxrpcserver"
PAGE = (ROOT / "docs/wire.md").read_text(encoding="utf-8")
XSD = "{http://www.w3.org/2001/XMLSchema}"
WSDL = "{http://schemas.xmlsoap.org/wsdl/}"
DONE, NO_POLICIES, NOT_FOUND, NOTHING_TO_DO, NOT_AUTHORIZED = 1, 2, 3, 4, 8
SILENT = {"notify": False}
ALL = {"selection": 8}


def session(secret=None, authority=None, issued=None):
    made = requests.Session()
    made.trust_env = False  # no proxy stands between a test and its node
    made.headers["Connection"] = "close"
    if secret:
        made.headers["Authorization"] = secret
    if authority:
        made.verify = str(authority.certificate)
    if issued:
        made.cert = tuple(map(str, issued))
    return made


def client(base, path=PATH, **who):
    return zeep.Client(f"{base}{path}?wsdl", transport=zeep.Transport(session=session(**who)))


class Policies:
    """The methods of the main server as a caller of this kind writes them."""

    def __init__(self, base, **who):
        self.client = client(base, **who)
        self.service = self.client.service

    def install(self, data, method=1, **options):
        return self.service.install(PolicyInstallFilename="p_header.xml", PolicyByteArrayName=data,
                                    PolicyInstallOptions={**SILENT, **options}, PolicyInstallMethod=method)

    def operate(self, mode, string="", selection=None):
        answer = self.service.policyOp(PolicyOperationMode=mode, PolicyString1=string,
                                       PolicySelection=selection or ALL, PolicyOptions=SILENT)
        return answer.PolicySelectionRetValue

    def configure(self, mode, rows=(), package=""):
        """The value and what the answer's group holds, each child as (name, text)."""
        answer = self.service.configOp(PolicyOperationMode=mode, ConfigPackageName=package,
                                       ConfigGroupName={"_value_1": list(rows)})
        rows = answer.ConfigGroupName._value_1 if answer.ConfigGroupName else []
        children = []
        for row in rows:  # what is not there is None, and so is a text that is empty
            if row["ns"] is not None:
                children.append(("ns", row["ns"]))
            if row["attrname"] is not None:
                children += [("attrname", row["attrname"]), ("attrvalue", row["attrvalue"] or "")]
        return answer.ConfigReturnValue, children

    def list(self, selection=None):
        """The value and the policies by id."""
        answer = self.service.list(PolicySelection=selection or ALL)
        policies = answer.PolicyContainer.policyheader if answer.PolicyContainer else []
        return answer.PolicySelectionRetValue, {policy.policy_container_id: policy for policy in policies}

    def one(self, policy_id="p"):
        return self.list({"selection": 0, "name": policy_id})[1][policy_id]


def attributes(policy):
    pairs = policy.policy_attribute._value_1 if policy.policy_attribute else []
    return [(pair["policy_attributename"], pair["policy_attributevalue"]) for pair in pairs]


def categories(policy):
    return policy.policy_categories.policy_category if policy.policy_categories else []


class OverPlainHttp(unittest.TestCase):
    def setUp(self):
        self.node = Node()
        self.addCleanup(self.node.close)
        self.base = f"http://127.0.0.1:{self.node.port}"
        self.policies = Policies(self.base, secret=secret_of(self.node))

    def test_a_policy_lives_from_its_install_to_its_removal(self):
        self.assertEqual(self.policies.list(), (NO_POLICIES, {}))
        content = bytes(range(256)) * 300
        data = policy_array("p", {"d.bin": content}, name="Größe & <Füllstand>", type_name="t", owner="o", version="2",
                            categories=["c1", "c2"], attributes=[("a", "1"), ("b", "2 3")])
        answer = self.policies.install(data, addcategory=["c3"], addattribute=["x=y"])
        self.assertEqual(answer.PolicyInstallRetValue, DONE, answer)
        self.assertIn("p_header.xml", answer.PolicyInstallRetString)
        self.assertEqual((self.node.store / "t/d.bin").read_bytes(), content)

        value, listed = self.policies.list()
        self.assertEqual((value, list(listed)), (DONE, ["p"]))
        policy = listed["p"]
        self.assertEqual((policy.policy_name, policy.policy_type_name, policy.policy_owner, policy.policy_version,
                          policy.policy_status), ("Größe & <Füllstand>", "t", "o", "2", "enabled"))
        self.assertEqual(categories(policy), ["c1", "c2", "c3"])
        self.assertEqual(attributes(policy), [("a", "1"), ("b", "2 3"), ("x", "y")])

        self.assertEqual(self.policies.operate(2), DONE)
        self.assertEqual(self.policies.one().policy_status, "disabled")
        self.assertEqual(self.policies.operate(3), DONE)
        self.assertEqual(self.policies.one().policy_status, "enabled")
        self.assertEqual(self.policies.operate(3), NOTHING_TO_DO)
        self.assertEqual(self.policies.operate(4, selection={"selection": 2, "name": "other"}), NOT_FOUND)
        self.assertEqual(self.policies.operate(4, selection={"selection": 2, "name": "t"}), DONE)
        self.assertEqual(self.node.stored(), [])

    def test_each_mode_changes_what_it_says(self):
        self.policies.install(policy_array("p", type_name="t"))
        for mode, string, seen in (
                (5, "boss", lambda policy: policy.policy_owner == "boss"),
                (6, "c", lambda policy: categories(policy) == ["c"]),
                (7, "c", lambda policy: categories(policy) == []),
                (6, "d", lambda policy: categories(policy) == ["d"]),
                (8, "", lambda policy: categories(policy) == []),
                (9, "k=v", lambda policy: attributes(policy) == [("k", "v")]),
                (10, "k=v", lambda policy: attributes(policy) == []),
                (9, "l=w", lambda policy: attributes(policy) == [("l", "w")]),
                (11, "", lambda policy: attributes(policy) == []),
                (15, "", lambda policy: policy.policy_owner == "boss")):
            with self.subTest(mode=mode, string=string):
                self.assertEqual(self.policies.operate(mode, string), DONE)
                self.assertTrue(seen(self.policies.one()), self.policies.one())
        self.assertEqual(self.policies.operate(99), NOT_AUTHORIZED)

    def test_settings_are_set_read_and_cleared(self):
        text = " Größe <&> [x] # \\ = \t\n 😀 "
        self.assertEqual(self.policies.configure(18, [
            {"ns": "a", "attrname": "X", "attrvalue": text}, {"attrname": "Y", "attrvalue": ""},
            {"ns": "b", "attrname": "Z", "attrvalue": "3"}, {"ns": "c"}], "g"), (DONE, []))
        self.assertEqual(self.read("g"), {"a": {"X": text, "Y": ""}, "b": {"Z": "3"}})
        self.assertEqual(self.policies.configure(20, [{"ns": "a", "attrname": "X", "attrvalue": "DELETE"}], "g"),
                         (DONE, []))
        self.assertEqual(self.policies.configure(19, [{"ns": "b"}], "g"), (DONE, []))
        self.assertEqual(self.read("g"), {"a": {"Y": ""}})
        self.assertEqual(self.policies.configure(21, [{"ns": "a"}], "g"), (NOT_AUTHORIZED, []))
        self.assertIn("vox.http.ext.conf", self.read())

    def read(self, package=""):
        """{namespace: {name: value}}"""
        value, children = self.policies.configure(17, package=package)
        self.assertEqual(value, DONE)
        settings, current, attribute = {}, None, None
        for name, text in children:
            if name == "ns":
                current = settings.setdefault(text, {})
            elif name == "attrname":
                attribute = text
            else:
                current[attribute] = text
        return settings

    def test_a_package_of_two_is_one_call(self):
        arrays = policy_array("p", type_name="t") + policy_array("q", name="other", type_name="t")
        answer = self.policies.install((2).to_bytes(4, "big") + arrays, method=2)
        self.assertEqual(answer.PolicyInstallRetValue, DONE, answer)
        self.assertEqual(sorted(self.policies.list({"selection": 2, "name": "t"})[1]), ["p", "q"])

    def test_the_methods_that_ask_for_no_right_answer_anybody(self):
        check = client(self.base, CHECK_PATH).service
        self.assertEqual(check.checkpolicy("t"), 1)
        self.policies.install(policy_array("p", type_name="t"))
        self.assertEqual(check.checkpolicy("t"), 0)
        self.assertEqual(check.checkpolicy("other t"), 0)
        self.assertEqual(client(self.base).service.mgrconf(), 0)
        inventory = client(self.base, INVENTORY_PATH).service.inventory("package")
        heading, *lines = inventory.splitlines()
        column = heading.index("VERSION")
        versions = [line[column:].split(" ")[0] for line in lines if line.startswith("TesselLumConf ")]
        self.assertEqual(len(versions), 1, inventory)
        self.assertRegex(versions[0], r"^\d[\d.]+$")
        self.assertFalse("03.00.010" <= versions[0] <= "06.00.055", "such nodes count selections otherwise")

    def test_the_program_of_the_page_does_its_work(self):
        program = re.search(r"```python\n(.*?)```", PAGE, re.S).group(1)
        said = []
        names = {"requests": requests, "zeep": zeep, "root": self.node.root, "print": said.append}
        self.policies.install(policy_array("p", type_name="monitor"))
        exec(program.replace("7443", str(self.node.port)), names)
        self.assertEqual(said, ["List operation successful."])
        self.assertEqual(names["answer"].PolicyContainer.policyheader[0].policy_container_id, "p")

    def test_a_caller_that_proves_nothing_is_refused_by_the_return_value(self):
        nobody = Policies(self.base)
        self.assertEqual(nobody.list(), (NOT_AUTHORIZED, {}))
        self.assertEqual(nobody.operate(4), NOT_AUTHORIZED)
        for mode in (17, 18, 19, 20):
            self.assertEqual(nobody.configure(mode, [{"ns": "vox.http.ext.conf"}]), (NOT_AUTHORIZED, []))
        self.assertEqual(nobody.install(policy_array("p")).PolicyInstallRetValue, NOT_AUTHORIZED)
        self.assertEqual(self.node.stored(), [])


class OverTls(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.authority = Authority()
        cls.addClassCleanup(cls.authority.close)
        cls.node = Node(start=False, settings={"vox.http.ext.conf": {"BIND_ADDRESS": "127.0.0.1"}})
        cls.addClassCleanup(cls.node.close)
        trust(cls.node, cls.authority)
        install_identity(cls.node, "node", cls.authority.issue("node"))
        cls.node.write_rights({"operator": "install remove enable disable list", "reader": "list",
                               "settings reader": "configget", "settings writer": "configset",
                               "everything else": "install remove enable disable list modify sign"})
        cls.node.start()
        cls.base = f"https://localhost:{cls.node.port}"

    def policies(self, name):
        return Policies(self.base, authority=self.authority, issued=self.authority.issue(name))

    def test_an_operator_installs_lists_enables_and_removes_by_his_certificate(self):
        operator = self.policies("operator")
        self.assertEqual(operator.install(policy_array("p", {"d": b"1"}, type_name="t", status="disabled"))
                         .PolicyInstallRetValue, DONE)
        self.assertEqual(operator.one().policy_status, "disabled")
        self.assertEqual(operator.operate(3), DONE)
        self.assertEqual(operator.one().policy_status, "enabled")
        self.assertEqual(operator.operate(5, "me"), NOT_AUTHORIZED)
        reader = self.policies("reader")
        self.assertEqual(list(reader.list()[1]), ["p"])
        self.assertEqual(reader.operate(4), NOT_AUTHORIZED)
        self.assertEqual(operator.operate(4), DONE)
        self.assertEqual(operator.list(), (NO_POLICIES, {}))
        audit = "\n".join(self.node.audit())
        self.assertIn("operator", audit)

    def test_reading_and_changing_settings_are_two_rights(self):
        rows = [{"ns": "a", "attrname": "X", "attrvalue": "1"}]
        for name, may in (("settings reader", {17}), ("settings writer", {18, 19, 20}), ("everything else", set())):
            caller = self.policies(name)
            for mode in (17, 18, 19, 20):
                with self.subTest(name, mode=mode):
                    self.assertEqual(caller.configure(mode, rows, "g")[0], DONE if mode in may else NOT_AUTHORIZED)

    def test_without_a_certificate_the_description_is_read_and_nothing_else(self):
        self.assertEqual(Policies(self.base, authority=self.authority).list(), (NOT_AUTHORIZED, {}))

    def test_the_description_names_the_address_that_was_asked(self):
        for host in ("localhost", "127.0.0.1"):
            base = f"https://{host}:{self.node.port}"
            made = client(base, authority=self.authority)
            self.assertEqual(made.service._binding_options["address"], base + PATH)


KINDS = {"text": "string", "number": "int", "truth": "boolean", "bytes": "base64Binary"}


def rows_behind(heading):
    part = PAGE[PAGE.index(heading):]
    rows = re.search(r"^\|.*?\n\|[-|]+\n((?:\|.*\n)+)", part, re.M).group(1)
    return [[cell.strip() for cell in row[1:-1].split("|")] for row in rows.splitlines()]


class TheDescription(unittest.TestCase):
    """It says what the page says, and what is on the wire."""

    @classmethod
    def setUpClass(cls):
        with Node() as node:
            base = f"http://127.0.0.1:{node.port}"
            cls.documents = {path: etree.fromstring(session().get(f"{base}{path}?wsdl").content)
                             for path in (PATH, CHECK_PATH, INVENTORY_PATH)}

    def parts(self, message):
        """{name: type without prefix} of a message."""
        for document in self.documents.values():
            for found in document.iter(f"{WSDL}message"):
                if found.get("name") == message:
                    return {part.get("name"): part.get("type").split(":")[1] for part in found}
        raise AssertionError(f"there is no message {message}")

    def children(self, name):
        """[(name, type without prefix)] of a type's children."""
        found = self.documents[PATH].find(f".//{XSD}complexType[@name='{name}']")
        return [(child.get("name"), child.get("type").split(":")[1]) for child in found.iter(f"{XSD}element")]

    def test_each_path_tells_of_its_methods(self):
        for path, methods in rows_behind("## Addresses"):
            document = self.documents[path.strip("`")]
            self.assertEqual([one.get("name") for one in document.find(f"{WSDL}portType")],
                             re.findall(r"`(\w+)`", methods))

    def test_the_arguments_are_those_of_the_page(self):
        for method in ("install", "policyOp", "list", "configOp", "inventory"):
            told = {row[0].strip("`"): KINDS.get(row[1], row[0].strip("`")) for row in rows_behind(f"### {method}\n")}
            self.assertEqual(self.parts(method), told)

    def test_the_children_are_those_of_the_page(self):
        for name, heading in (("PolicyInstallOptions", "`PolicyInstallOptions`, each of which"),
                              ("PolicySelection", "#### Selection")):
            self.assertEqual(self.children(name), [(row[0].strip("`"), KINDS[row[1]]) for row in rows_behind(heading)])
        self.assertEqual([(row[0].strip("`"), "string") for row in rows_behind("The children of `ConfigGroupName`")],
                         self.children("ConfigGroupName"))
        told = [name for row in rows_behind("The children of a `policyheader`") for name in re.findall(r"`(\w+)`", row[0])]
        self.assertEqual([name for name, _ in self.children("policyheader")], told)

    def schema(self, path):
        """A schema by which the parts of every message can be validated on their own."""
        document = self.documents[path]
        schema = etree.fromstring(etree.tostring(document.find(f".//{XSD}schema")))
        for name, type_name in {part.get("name"): part.get("type") for part in document.iter(f"{WSDL}part")}.items():
            etree.SubElement(schema, f"{XSD}element", name=name, type=type_name)
        return etree.XMLSchema(schema)

    def test_every_exchange_of_the_page_is_valid_by_it(self):
        exchanges = re.findall(r"<!-- exchange: (\S+) -->\n```xml\n(.*?)```\n\n```xml\n(.*?)```", PAGE, re.S)
        checked = set()
        for path, *messages in exchanges:
            schema = self.schema(path)
            for text in messages:
                method = etree.fromstring(text)[0][0]
                name = etree.QName(method).localname
                if name in ("restart", "Fault") or (name == "list" and len(method) == 0):
                    continue  # the page's examples of refused calls
                parts = self.parts(name)
                self.assertEqual([part.tag for part in method], list(parts))
                for part in method:
                    self.assertValid(schema, part)
                checked.add(name)
        self.assertGreaterEqual(len(checked), 12, checked)

    def assertValid(self, schema, part):
        """Children are as the schema says; the arguments themselves have no namespace, unlike a schema's elements."""
        qualified = etree.fromstring(etree.tostring(part))
        qualified.tag = f"{{urn:lum:conf}}{part.tag}"
        if not schema.validate(qualified):
            self.fail(f"{schema.error_log}\n{etree.tostring(part).decode()}")


if __name__ == "__main__":
    unittest.main()
