#!/usr/bin/python3
"""Several operators work on one daemon at once with the real tool; afterwards list, store and events agree."""
import concurrent.futures
import random
import unittest
import xml.etree.ElementTree as xml

from node import DONE, NOT_FOUND, Node, wait_until, write_policy

OPERATORS = 4
OPERATIONS = 25
SPACE = "{http://lum.tessel.com/xmlns/conf/2003/04}"


def content(policy_id, version, name):
    return f"{policy_id} {version} {name}\n".encode() * (version * 7 % 60)


class Operator:
    """Installs and removes its own policies and knows at the end what must be there."""

    def __init__(self, node, number):
        self.node, self.owner, self.random = node, f"operator {number}", random.Random(number)
        self.ids = [f"o{number}-p{slot}" for slot in range(3)]
        self.versions = {}

    def run(self):
        for version in range(1, OPERATIONS + 1):
            policy_id = self.random.choice(self.ids)
            self.random.choice((self.install, self.install, self.remove, self.list))(policy_id, version)

    def install(self, policy_id, version):
        names = (f"{policy_id}.a", f"{policy_id}.b")
        path = write_policy(
            self.node.folder / self.owner, policy_id, {name: content(policy_id, version, name) for name in names},
            name=f"Größe {policy_id}", type_name=f"type{policy_id[-1]}", version=str(version), owner=self.owner,
            description=f"<{version}> & ☃", categories=["every"], attributes=[("pair", "a=b")])
        self.expect(DONE, self.node.policy("install", path))
        self.versions[policy_id] = version

    def remove(self, policy_id, _):
        there = self.versions.pop(policy_id, None) is not None
        self.expect(DONE if there else NOT_FOUND, self.node.policy("remove", "--id", policy_id))

    def list(self, *_):
        listed = {policy["id"]: int(policy["version"]) for policy in self.node.list("--owner", self.owner)}
        assert listed == self.versions, (self.owner, listed, self.versions)

    def expect(self, code, result):
        assert result.code == code, (self.owner, result)


def on_disk(store):
    """What the documents of the store say, in the fields of a list, and the files that they name."""
    policies, named = {}, set()
    for path in store.rglob("*_header.xml"):
        root = xml.parse(path).getroot()

        def text(place, root=root):
            return root.findtext("/".join(SPACE + step for step in place.split("/"))) or ""

        policy, policy_type = root.find(f"{SPACE}policy"), root.find(f"{SPACE}policytype")
        policy_id, type_name = text("policy/ids/container_id"), text("policytype/name")
        assert (path.stem, path.parent.name) == (f"{policy_id}_header", type_name), path
        policies[policy_id] = {
            **{field: text(f"policy/{field}") for field in ("name", "version", "description", "status", "owner")},
            "id": policy_id,
            "type": {"id": text("policytype/container_id"), "version": text("policytype/version"), "name": type_name},
            "categories": [one.text for one in policy.iter(f"{SPACE}category")],
            "attributes": [{"name": one.findtext(f"{SPACE}name"), "value": one.findtext(f"{SPACE}value")}
                           for one in policy.iter(f"{SPACE}attribute")]}
        assert policy_type is not None
        named.add(path)
        for file in policy.iter(f"{SPACE}file_name"):
            named.add(path.parent / file.text)
            wanted = content(policy_id, int(policies[policy_id]["version"]), file.text)
            assert (path.parent / file.text).read_bytes() == wanted, file.text
    return policies, named


def believed(consumer):
    """The policies by type that a listener believes to be installed after what it has heard in whole lines."""
    known = {}
    for event in consumer.path.read_text(encoding="utf-8").rpartition("\n")[0].splitlines():
        kind, _, rest = event.partition(":")
        type_name, *ids = rest.split()
        of_type = known.setdefault(type_name, set())
        if kind == "CHECK_POLICY":
            of_type.update(ids)
        elif kind == "REMOVE_POLICY":
            of_type.difference_update(ids)
        else:
            assert not of_type, (event, known)
    return {type_name: ids for type_name, ids in known.items() if ids}


class Load(unittest.TestCase):
    def test_operators_at_work_at_once_leave_a_list_a_store_and_a_listener_that_agree(self):
        with Node() as node:
            consumer = node.consumer("CHECK_POLICY:*", "REMOVE_POLICY:*", "FIRST_POLICY:*", "LAST_POLICY:*")
            operators = [Operator(node, number) for number in range(OPERATORS)]
            with concurrent.futures.ThreadPoolExecutor(OPERATORS) as pool:
                for done in [pool.submit(operator.run) for operator in operators]:
                    done.result()

            listed = {policy["id"]: policy for policy in node.list()}
            self.assertEqual({policy_id: int(policy["version"]) for policy_id, policy in listed.items()},
                             {key: value for operator in operators for key, value in operator.versions.items()})
            self.assertGreater(len(listed), 0)
            policies, named = on_disk(node.store)
            self.assertEqual(listed, policies)
            self.assertEqual({path for path in node.store.rglob("*") if path.is_file()}, named)
            self.assertEqual(list(node.incoming.iterdir()), [])
            types = {}
            for policy in listed.values():
                types.setdefault(policy["type"]["name"], set()).add(policy["id"])
            wait_until(lambda: believed(consumer) == types, "the consumer heard of everything")

            node.stop()
            node.start()
            self.assertEqual({policy["id"]: policy for policy in node.list()}, listed)


if __name__ == "__main__":
    unittest.main()
