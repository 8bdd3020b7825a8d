#!/usr/bin/python3
"""Desired state on many nodes over TLS: who may ask for it, node after node, and when it goes no further."""
import base64
import http.client
import json
import re
import unittest

import pki
import wire
from node import DONE, FAILED, NOTHING_TO_DO, PATIENCE_S, REFUSED, UNREACHABLE, Node, free_port, write_policy

SOME_FAILED = 8
NODES = 4
DIGESTS, CONTENTS = 1, 2


class Fleet(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.authority = pki.Authority()
        cls.addClassCleanup(cls.authority.close)
        cls.served = cls.authority.issue("node")
        cls.operator = Node(start=False)
        cls.addClassCleanup(cls.operator.close)
        pki.enroll(cls.operator, cls.authority, "operator")

    def node(self, rights="install remove list"):
        node = Node(start=False)
        self.addCleanup(node.close)
        pki.enroll(node, self.authority, "node", self.served)
        node.write_rights({"operator": rights})
        node.start()
        return node

    def setUp(self):
        self.source = self.operator.folder / f"source.{self.id()}"
        self.nodes = []
        for policy_id in ("a", "b"):
            write_policy(self.source, policy_id, {f"{policy_id}.conf": b"data\n"}, name=policy_id)

    def apply(self, nodes, *options):
        hosts = [node if isinstance(node, str) else f"127.0.0.1:{node.port}" for node in nodes]
        named = [word for host in hosts for word in ("--host", host)]
        return self.operator.policy("apply", "--no-notify", self.source, *options, *named, timeout=4 * PATIENCE_S)

    def answers(self, nodes, *options):
        result = self.apply(nodes, "--json", *options)
        return result.code, [json.loads(line) for line in result.out.splitlines()]


class Rights(Fleet):
    def call(self, node, name, what):
        """(value, files) of a call of this client; without a certificate for no name."""
        context = pki.client_context(self.authority, self.authority.issue(name) if name else None)
        context.check_hostname = False
        connection = http.client.HTTPSConnection("127.0.0.1", node.port, timeout=PATIENCE_S, context=context)
        self.addCleanup(connection.close)
        body = wire.call("policyFiles", wire.selection() + wire.element("PolicyFilesMode", what))
        connection.request("POST", wire.PATH, body, {"Content-Type": "text/xml"})
        answer = connection.getresponse().read().decode()
        files = re.search("<PolicyFiles[^>]*>([^<]*)<", answer)
        return (int(re.search("RetValue[^>]*>([0-9]+)<", answer).group(1)),
                base64.b64decode(files.group(1)) if files else b"")

    def test_who_may_list_gets_digests_and_who_may_install_too_gets_contents(self):
        node = self.node()
        self.assertEqual(self.apply([node]).code, DONE)
        node.write_rights({"lister": "list", "installer": "install", "both": "install list", "other": "remove"})
        node.stop()
        node.start()
        for name, what, value in (("lister", DIGESTS, 1), ("lister", CONTENTS, 8), ("installer", DIGESTS, 8),
                                  ("installer", CONTENTS, 8), ("both", DIGESTS, 1), ("both", CONTENTS, 1),
                                  ("other", DIGESTS, 8), (None, DIGESTS, 8), (None, CONTENTS, 8)):
            with self.subTest(name=name, what=what):
                got, files = self.call(node, name, what)
                self.assertEqual(got, value)
                self.assertEqual(files != b"", value == 1)
                self.assertEqual(b"data\n" in files, value == 1 and what == CONTENTS)
        refusals = [line for line in node.audit() if "operation: 'policyFiles'" in line]
        for name, count in (("lister", 1), ("installer", 2), ("other", 1)):
            self.assertEqual(len([line for line in refusals if f"'{name}'" in line]), count, refusals)

    def test_who_may_only_list_can_see_what_would_change_but_not_its_data(self):
        node = self.node("list")
        self.assertEqual(self.apply([node], "--dry-run").code, DONE)
        refused = self.apply([node])
        self.assertEqual(refused.code, REFUSED, refused)
        self.assertEqual(len([line for line in node.audit() if "operation: 'install'" in line]), 1,
                         "one refusal says all")
        node.write_rights({"operator": "install list"})
        node.stop()
        node.start()
        self.assertEqual(self.apply([node]).code, DONE)
        (self.source / "a.conf").write_bytes(b"other\n")
        node.write_rights({"operator": "list"})
        node.stop()
        node.start()
        self.assertEqual(self.apply([node], "--dry-run").code, DONE)
        shown = self.apply([node], "--dry-run", "--diff")
        self.assertEqual(shown.code, REFUSED)
        self.assertIn("'install'", shown.err)
        self.assertNotIn("-data", shown.out)


class Order(Fleet):
    def test_each_node_gets_what_it_lacks(self):
        nodes = [self.node() for _ in range(NODES)]
        self.assertEqual(self.apply(nodes[:1]).code, DONE)
        code, answers = self.answers(nodes)
        self.assertEqual(code, DONE)
        self.assertEqual([answer["counts"]["created"] for answer in answers], [0] + [2] * (NODES - 1))
        self.assertEqual([answer["result"] for answer in answers], ["nothing to do"] + ["done"] * (NODES - 1))
        code, answers = self.answers(nodes)
        self.assertEqual((code, {answer["changed"] for answer in answers}), (NOTHING_TO_DO, {False}))

    def test_a_rollout_ends_when_more_have_failed_than_may(self):
        dead = [f"127.0.0.1:{free_port()}" for _ in range(2)]
        nodes = [self.node() for _ in range(2)]
        code, answers = self.answers([nodes[0], *dead, nodes[1]], "--serial", "1", "--max-fail", "1")
        self.assertEqual(code, SOME_FAILED)
        self.assertEqual([(answer["result"], answer["code"]) for answer in answers],
                         [("done", DONE), ("unreachable", UNREACHABLE), ("unreachable", UNREACHABLE),
                          ("not tried", FAILED)])
        self.assertEqual(nodes[1].stored(), [])
        result = self.apply([dead[0], nodes[1]], "--serial", "1", "--max-fail", "0")
        self.assertEqual(result.code, SOME_FAILED)
        self.assertIn("Not tried, since 1 node has failed.", result.err)
        self.assertIn(f"127.0.0.1:{nodes[1].port}", result.err)
        self.assertEqual(result.out.splitlines()[-1], "2 nodes: 1 not tried, 1 unreachable")
        self.assertEqual(nodes[1].stored(), [])
        code, answers = self.answers([*dead, nodes[1]], "--serial", "2", "--max-fail", "2")
        self.assertEqual(answers[2]["result"], "done")

    def test_several_nodes_say_what_each_of_them_did(self):
        nodes = [self.node() for _ in range(2)]
        out = self.apply(nodes).out
        for node in nodes:
            self.assertIn(f"127.0.0.1:{node.port}:\n  created a (type type, id a)\n  created b (type type, id b)\n  2 created\n",
                          out)
        self.assertEqual(out.splitlines()[-1], "2 nodes: 2 done")


if __name__ == "__main__":
    unittest.main()
