#!/usr/bin/python3
"""One command for many nodes: real daemons with certificates, and addresses where nobody listens."""
import json
import os
import pty
import subprocess
import unittest

import pki
from node import (DONE, NOT_FOUND, NOTHING_TO_DO, PATIENCE_S, REFUSED, TOOLS, UNREACHABLE, WRONG_USAGE, Node,
                  free_port, write_policy)
from silent import Silent

SOME_FAILED = 8
LONG = int(os.environ.get("LUM_TRIAL_SECONDS", "2")) >= 60
NODES, DEAD = (100, 20) if LONG else (25, 5)
RIGHTS = "install remove enable disable list modify"


class ManyNodes(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.authority = pki.Authority()
        cls.addClassCleanup(cls.authority.close)
        served = cls.authority.issue("node")
        cls.operator = Node(start=False)
        cls.addClassCleanup(cls.operator.close)
        pki.enroll(cls.operator, cls.authority, "operator")
        cls.nodes = [cls.make_node(served) for _ in range(NODES)]
        cls.hosts = [f"127.0.0.1:{node.port}" for node in cls.nodes]
        cls.dead = [f"127.0.0.1:{free_port()}" for _ in range(DEAD)]

    @classmethod
    def make_node(cls, served):
        node = Node(start=False)
        cls.addClassCleanup(node.close)
        pki.enroll(node, cls.authority, "node", served)
        node.write_rights({"operator": RIGHTS})
        node.start()
        return node

    def setUp(self):
        self.operator_runs("remove", "--all", "--no-notify", hosts=self.hosts)

    def operator_runs(self, *arguments, hosts, options=()):
        named = [word for host in hosts for word in ("--host", host)]
        return self.operator.policy(*arguments, *named, *options, timeout=4 * PATIENCE_S)

    def policy_file(self, policy_id="a", **fields):
        return write_policy(self.operator.folder / "source", policy_id, {f"{policy_id}.conf": b"data"}, **fields)

    def results(self, *arguments, hosts):
        result = self.operator_runs(*arguments, "--json", hosts=hosts)
        return result.code, [json.loads(line) for line in result.out.splitlines()]

    def test_all_nodes_get_the_policy_though_some_addresses_are_dead(self):
        hosts = self.dead[:2] + self.hosts + self.dead[2:]
        code, answers = self.results("install", "--no-notify", self.policy_file(), hosts=hosts)
        self.assertEqual(code, SOME_FAILED)
        self.assertEqual([answer["host"] for answer in answers], hosts, "in the order in which they were given")
        results = {answer["host"]: answer["result"] for answer in answers}
        self.assertEqual({results[host] for host in self.dead}, {"unreachable"})
        self.assertEqual({results[host] for host in self.hosts}, {"done"})
        for node in self.nodes:
            self.assertEqual(node.stored(), ["type/a.conf", "type/a_header.xml"])

    def test_a_package_is_sent_to_all_nodes(self):
        files = [self.policy_file(policy_id, name=policy_id) for policy_id in ("a", "b", "c")]
        result = self.operator_runs("install", "--package", "--no-notify", *files, hosts=self.hosts)
        self.assertEqual(result.code, DONE, result)
        self.assertEqual(result.out.splitlines()[-1], f"{NODES} nodes: {NODES} done")
        for node in self.nodes:
            self.assertEqual(len(node.stored()), 6)

    def test_the_exit_code_tells_all_done_some_failed_and_none_reached(self):
        some = self.hosts[:3]
        path = self.policy_file()
        self.assertEqual(self.operator_runs("install", "--no-notify", path, hosts=some).code, DONE)
        self.assertEqual(self.operator_runs("list", hosts=self.dead).code, UNREACHABLE)
        self.assertEqual(self.operator_runs("list", hosts=some + self.dead).code, SOME_FAILED)
        self.assertEqual(self.operator_runs("enable", "--all", hosts=some).code, NOTHING_TO_DO)
        self.operator_runs("disable", "--all", "--no-notify", hosts=some[:1])
        self.assertEqual(self.operator_runs("enable", "--all", "--no-notify", hosts=some).code, DONE)
        self.assertEqual(self.operator_runs("show", "--id", "zzz", hosts=some).code, NOT_FOUND)

    def test_each_selection_means_the_same_on_another_node(self):
        hosts = self.hosts[:2]
        for policy_id in ("a", "b"):
            path = self.policy_file(policy_id, name="n" + policy_id, type_name="t" + policy_id, owner="o" + policy_id,
                                    categories=["c" + policy_id], attributes=[("k" + policy_id, "v" + policy_id)])
            self.assertEqual(self.operator_runs("install", "--no-notify", path, hosts=hosts).code, DONE)
        for selection in (("--id", "a"), ("--name", "na"), ("--type", "ta"), ("--owner", "oa"), ("--category", "ca"),
                          ("--owner", "oa", "--name", "na"), ("--attribute", "ka"), ("--attribute", "ka=va"),
                          ("--name", "na", "--type", "ta")):
            with self.subTest(selection=selection):
                code, answers = self.results("list", *selection, hosts=hosts)
                self.assertEqual(code, DONE, answers)
                self.assertEqual([[policy["id"] for policy in answer["policies"]] for answer in answers],
                                 [["a"], ["a"]])
        for selection in (("--category", "oa"), ("--owner", "ca"), ("--attribute", "oa"), ("--attribute", "ka=vb"),
                          ("--name", "na", "--type", "tb")):
            with self.subTest(selection=selection):
                self.assertEqual(self.operator_runs("disable", *selection, hosts=hosts).code, NOT_FOUND)

    def test_each_node_has_one_result_and_its_failure_names_it(self):
        hosts = self.hosts[:2] + self.dead[:1]
        result = self.operator_runs("show", "--all", hosts=hosts)
        self.assertIn(f"lumpolicy: {self.dead[0]}: unreachable: ", result.err)
        self.assertIn(f"lumpolicy: {self.hosts[0]}: not found: ", result.err)
        self.assertEqual(result.out.splitlines()[-1], "3 nodes: 2 not found, 1 unreachable")
        self.assertNotIn("\r", result.err, "a progress line is for terminals")

    def test_a_refusal_is_no_failure_to_reach_the_node(self):
        node = self.nodes[0]
        node.write_rights({"operator": "list"})
        node.daemon.send_signal(1)
        self.addCleanup(node.daemon.send_signal, 1)
        self.addCleanup(node.write_rights, {"operator": RIGHTS})
        code, answers = 0, []
        for _ in range(200):  # the signal is taken a moment later
            code, answers = self.results("notify", hosts=self.hosts[:2])
            if answers[0]["result"] == "refused":
                break
        self.assertEqual([answer["result"] for answer in answers], ["refused", "done"])
        self.assertEqual([answer["code"] for answer in answers], [REFUSED, DONE])
        self.assertEqual(code, SOME_FAILED)

    def test_nodes_are_read_from_a_file_and_from_standard_input(self):
        listed = "# the nodes\n\n" + "\n".join(f"  {host} # a node" for host in self.hosts[:3]) + "\n" + self.hosts[0]
        path = self.operator.folder / "hosts"
        path.write_text(listed, encoding="utf-8")
        result = self.operator.policy("reinit", "--hosts-file", path)
        self.assertEqual((result.code, result.out.splitlines()[-1]), (DONE, "3 nodes: 3 done"))
        process = subprocess.run([TOOLS / "lumpolicy", "reinit", "--hosts-file", "-", "--host", self.hosts[4]],
                                 env=self.operator.environment(), input=listed, capture_output=True, text=True,
                                 timeout=PATIENCE_S)
        self.assertEqual(process.stdout.splitlines()[-1], "4 nodes: 4 done")

    def test_a_bad_list_of_nodes_is_named_and_nobody_is_asked(self):
        path = self.operator.folder / "bad"
        for text, word in (("", "names no host"), ("# nothing\n", "names no host"), ("a\nb c\n", "line 2"),
                           ("a/b\n", "line 1")):
            path.write_text(text, encoding="utf-8")
            result = self.operator.policy("reinit", "--hosts-file", path)
            self.assertEqual(result.code, WRONG_USAGE, result)
            self.assertIn(word, result.err)
            self.assertIn(str(path), result.err)
        self.assertEqual(self.operator.policy("reinit", "--hosts-file", "/nowhere").code, WRONG_USAGE)
        for parallel in ("0", "-1", "x", "1000"):
            result = self.operator_runs("reinit", hosts=self.hosts[:1], options=["--parallel", parallel])
            self.assertEqual(result.code, WRONG_USAGE, result)

    def test_one_at_a_time_does_the_same_as_many(self):
        for parallel in ("1", "256"):
            result = self.operator_runs("reinit", hosts=self.hosts[:5], options=["--parallel", parallel])
            self.assertEqual((result.code, len(result.out.splitlines())), (DONE, 6))

    def test_a_file_that_is_no_policy_is_said_once_and_nobody_is_asked(self):
        before = [node.audit() for node in self.nodes[:3]]
        result = self.operator_runs("install", "--package", "/nowhere_header.xml", hosts=self.hosts[:3])
        self.assertEqual(result.err.count("lumpolicy: "), 1, result)
        self.assertEqual([node.audit() for node in self.nodes[:3]], before)

    def test_a_terminal_sees_how_far_the_work_is_and_wrapped_messages(self):
        silent = Silent()
        self.addCleanup(silent.close)
        hanging = f"127.0.0.1:{silent.port}"
        reader, terminal = pty.openpty()
        process = subprocess.Popen([TOOLS / "lumpolicy", "list", "--host", hanging, "--host", self.dead[0],
                                    "--timeout", "3"],
                                   env=self.operator.environment(COLUMNS="40"), stdin=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL, stderr=terminal)
        os.close(terminal)
        shown = b""
        try:
            while chunk := os.read(reader, 4096):
                shown += chunk
        except OSError:
            pass  # the other end is closed
        os.close(reader)
        self.assertEqual(process.wait(PATIENCE_S), UNREACHABLE)
        text = shown.decode()
        self.assertIn("1 of 2 nodes (", text)
        lines = [line.split("\r\x1b[K")[-1] for line in text.replace("\r\n", "\n").split("\n")]
        self.assertTrue(lines[0].startswith("lumpolicy: 127.0.0.1:"), lines)
        self.assertLessEqual(max(map(len, lines)), 40, lines)


if __name__ == "__main__":
    unittest.main()
