#!/usr/bin/python3
"""Descriptors and memory run out: the daemon lives on, keeps what it needs for its store, and serves again."""
import os
import re
import resource
import socket
import threading
import time
import unittest

import pki
import wire
from node import DONE, IS_SANITIZED, PATIENCE_S, SLOWNESS, Node, wait_until, write_policy

FEW = 64
MEGABYTE = 1 << 20


def descriptors(pid):
    return [int(name) for name in os.listdir(f"/proc/{pid}/fd")]


def lowest_free(pid):
    taken = set(descriptors(pid))
    for _ in range(20):  # what a thread opens for a moment is not taken
        time.sleep(0.005)
        taken &= set(descriptors(pid))
    return next(number for number in range(len(taken) + 1) if number not in taken)


def address_space(pid):
    with open(f"/proc/{pid}/status", encoding="ascii") as status:
        return int(re.search(r"VmSize:\s*(\d+) kB", status.read()).group(1)) * 1024


def limit(node, what, value):
    resource.prlimit(node.daemon.pid, what, (value, resource.prlimit(node.daemon.pid, what)[1]))


class ExhaustionTest(unittest.TestCase):
    def node(self, *arguments, **keywords):
        node = Node(*arguments, **keywords)
        self.addCleanup(node.close)
        return node

    def connection(self, address, family=socket.AF_INET):
        """An idle connection."""
        made = socket.socket(family)
        self.addCleanup(made.close)
        made.settimeout(PATIENCE_S)
        made.connect(address)
        return made

    def assert_alive(self, node):
        self.assertIsNone(node.daemon.poll(), node.log)


class FewDescriptors(ExhaustionTest):
    def few(self, settings=None):
        node = self.node(settings, start=False)
        node.start(prefix=("prlimit", f"--nofile={FEW}:{FEW}"))
        return node

    def install(self, node, policy_id, *options):
        files = {f"{policy_id}.{number}": b"content" for number in range(20)}
        return node.policy("install", *options, write_policy(node.folder / "source", policy_id, files, name=policy_id))

    def test_any_number_of_idle_connections_leaves_an_install_all_that_it_needs(self):
        node = self.few()
        consumer = node.consumer("*")
        for number in range(20):
            for _ in range(10):
                self.connection(("127.0.0.1", node.port))
            result = self.install(node, f"p{number}")
            self.assertEqual(result.code, DONE, result)
            self.assertLess(max(descriptors(node.daemon.pid)), FEW - 16)
        self.assertEqual(len(consumer.await_count(21)), 21, "the first one of the type, and twenty")
        self.assertEqual(len(node.list()), 20)
        self.assertEqual(sum("was successfully installed" in line for line in node.audit()), 20)

    def test_configurations_that_are_read_meanwhile_keep_nothing_of_that_from_an_install(self):
        node = self.node(start=False)
        packages = [f"pack{number}" for number in range(20)]
        for package in packages:
            folder = node.root / "etc/pal/config" / package
            folder.mkdir(parents=True)
            for name in ("local_settings.ini", "policy_settings.ini"):
                (folder / name).write_text(f"[demo]\n{name[:5]}={package}\n")
        node.start(prefix=("prlimit", f"--nofile={FEW}:{FEW}"))
        for connections in (0, 100):
            for _ in range(connections):
                self.connection(("127.0.0.1", node.port))
            for package in packages:
                result = node.tool("lumsettings", "get", "--resource-group", package, "--json")
                self.assertEqual(result.code, DONE, result)
                self.assertIn(package, result.out)
            self.assertLess(max(descriptors(node.daemon.pid)), FEW - 16)
            result = self.install(node, f"with-{connections}", "--no-notify")
            self.assertEqual(result.code, DONE, result)
        kept = [os.readlink(f"/proc/{node.daemon.pid}/fd/{number}") for number in descriptors(node.daemon.pid)]
        self.assertLessEqual(sum(name.endswith("_settings.ini") for name in kept), FEW // 16, kept)

    def test_any_number_of_idle_programs_at_the_control_service_leaves_room_for_consumers(self):
        node = self.few()
        path = str(node.root / "spool/control.sock")
        for number in range(5):
            for _ in range(40):
                self.connection(path, socket.AF_UNIX)
            consumer = node.consumer("*", name=f"c{number}")
            result = self.install(node, f"p{number}")
            self.assertEqual(result.code, DONE, result)
            consumer.await_count(1)

    def test_connections_that_never_begin_the_handshake_keep_nobody_out(self):
        authority = pki.Authority()
        self.addCleanup(authority.close)
        node = self.node(start=False)
        pki.enroll(node, authority, "node-1")
        node.write_rights({"node-1": "install list"})
        node.start(prefix=("prlimit", f"--nofile={FEW}:{FEW}"))
        for _ in range(100):
            self.connection(("127.0.0.1", node.port))
        result = self.install(node, "a", "--no-notify")
        self.assertEqual(result.code, DONE, result)

    def test_a_limit_that_is_lowered_while_it_runs_counts(self):
        node = self.node()
        limit(node, resource.RLIMIT_NOFILE, FEW)
        for _ in range(100):
            self.connection(("127.0.0.1", node.port))
        self.assertEqual(self.install(node, "a", "--no-notify").code, DONE)


@unittest.skipIf(IS_SANITIZED, "a sanitizer opens a pipe to look whether an object may be read")
class NoDescriptors(ExhaustionTest):
    def test_it_serves_again_when_there_are_some_from_the_first_connection_on(self):
        node = self.node()
        limit(node, resource.RLIMIT_NOFILE, lowest_free(node.daemon.pid))
        secret = wire.secret_of(node)
        callers, answers = [], []
        for _ in range(5):
            callers.append(threading.Thread(target=lambda: answers.append(
                wire.exchange(node, wire.post(wire.list_call(), secret=secret)))))
            callers[-1].start()
        wait_until(lambda: "A connection cannot be accepted: Too many open files" in node.log, "it says so")
        before = self.processor_seconds(node)
        self.assert_alive(node)
        limit(node, resource.RLIMIT_NOFILE, 1024)
        for caller in callers:
            caller.join()
        self.assertEqual([answer.value() for answer in answers], [wire.NO_POLICIES] * 5)
        self.assertLess(self.processor_seconds(node) - before, 1 * SLOWNESS)
        self.assertEqual(node.policy("list").code, 0)

    def test_the_control_service_takes_programs_again_too(self):
        node = self.node()
        limit(node, resource.RLIMIT_NOFILE, lowest_free(node.daemon.pid))
        waiting = self.connection(str(node.root / "spool/control.sock"), socket.AF_UNIX)
        wait_until(lambda: "The control service cannot take a connection: Too many open files" in node.log, "it says so")
        limit(node, resource.RLIMIT_NOFILE, 1024)
        consumer = node.consumer("*")
        self.assertEqual(node.policy("install", write_policy(node.folder / "source", "heard")).code, DONE)
        self.assertEqual(len(consumer.await_count(2)), 2, "the first one of its type, and the policy")
        waiting.close()

    @staticmethod
    def processor_seconds(node):
        with open(f"/proc/{node.daemon.pid}/stat", encoding="ascii") as stat:
            fields = stat.read().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


@unittest.skipIf(IS_SANITIZED, "a sanitizer ends the process that has no memory for its own books")
class NoMemory(ExhaustionTest):
    ROUNDS = 12

    def test_large_requests_without_memory_for_them_cost_themselves(self):
        node = self.node({"vox.http.ext.conf": {"BODY_LIMIT": 64 * MEGABYTE}})
        self.assertEqual(wire.ask(node, wire.list_call()).value(), wire.NO_POLICIES)
        secret = wire.secret_of(node)
        body = wire.install_call(b"x" * (8 * MEGABYTE))
        for _ in range(self.ROUNDS):
            limit(node, resource.RLIMIT_AS, address_space(node.daemon.pid) + 8 * MEGABYTE)
            callers = [threading.Thread(target=self.call, args=(node, wire.post(body, secret=secret))) for _ in range(4)]
            for caller in callers:
                caller.start()
            for caller in callers:
                caller.join()
            self.assert_alive(node)
            limit(node, resource.RLIMIT_AS, resource.RLIM_INFINITY)
            self.assertEqual(wire.ask(node, wire.list_call()).value(), wire.NO_POLICIES)
        self.assertEqual(wire.ask(node, wire.install_call(wire.policy_array("a"))).value(), wire.DONE)

    def test_connections_that_use_up_the_memory_cost_themselves(self):
        node = self.node()
        self.assertEqual(wire.ask(node, wire.list_call()).value(), wire.NO_POLICIES)
        half = wire.post(b"x" * 20000)[:-1]
        for _ in range(self.ROUNDS):
            limit(node, resource.RLIMIT_AS, address_space(node.daemon.pid))
            callers = [wire.Connection(node.port) for _ in range(400)]
            for caller in callers:
                caller.send(half)
            for caller in callers[-10:]:
                caller.send(b"x")
                caller.answer()
            self.assert_alive(node)
            for caller in callers:
                caller.socket.close()
            limit(node, resource.RLIMIT_AS, resource.RLIM_INFINITY)
            self.assertEqual(wire.ask(node, wire.list_call()).value(), wire.NO_POLICIES)

    @staticmethod
    def call(node, request):
        """Whatever comes of it: an answer, or the end of the connection."""
        try:
            wire.exchange(node, request)
        except (ConnectionError, socket.timeout):
            pass


if __name__ == "__main__":
    unittest.main()
