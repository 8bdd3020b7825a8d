#!/usr/bin/python3
"""Settings of many nodes, and of nodes that mean harm."""
import contextlib
import json
import os
import pty
import subprocess
import unittest

import pki
import wire
from node import DONE, FAILED, NOT_FOUND, PATIENCE_S, REFUSED, TOOLS, UNREACHABLE, Node, escape, free_port
from test_settings_tool import SOME_FAILED, SettingsTest
from test_tool_codes import http, peer


class ManyNodes(SettingsTest):
    @classmethod
    def setUpClass(cls):
        cls.authority = pki.Authority()
        cls.addClassCleanup(cls.authority.close)
        served = cls.authority.issue("node")
        cls.operator = Node(start=False)
        cls.addClassCleanup(cls.operator.close)
        pki.enroll(cls.operator, cls.authority, "operator")
        cls.nodes = [cls.secure_node(served) for _ in range(4)]
        cls.hosts = [f"127.0.0.1:{node.port}" for node in cls.nodes]

    @classmethod
    def secure_node(cls, served):
        node = Node(start=False)
        cls.addClassCleanup(node.close)
        pki.enroll(node, cls.authority, "node", served)
        node.write_rights({"operator": "configget configset"})
        node.start()
        return node

    def setUp(self):
        self.node = self.operator

    def named(self, hosts):
        return [word for host in hosts for word in ("--host", host)]

    def test_all_nodes_are_told_and_tell_in_order(self):
        some = self.named(self.hosts)
        text = self.settings("set", "many", "a=1", *some)
        self.assertEqual(text.splitlines(), [*[f"set 1 setting on {host}" for host in self.hosts], "4 nodes: 4 done"])
        self.assertEqual(self.settings("get", "many", *some[:4]),
                         "".join(f"{host}:\n  [many]\n  a=1\n" for host in self.hosts[:2]) + "2 nodes: 2 done\n")
        self.assertEqual(self.settings("get", "many", "a", *some[:4]),
                         "".join(f"{host}: 1\n" for host in self.hosts[:2]) + "2 nodes: 2 done\n")
        self.settings("clear", "many", *some)
        self.run_tool("get", "many", *some, code=NOT_FOUND)

    def test_hosts_come_from_a_file_and_the_dead_hold_up_none(self):
        dead = f"127.0.0.1:{free_port()}"
        path = self.operator.folder / "hosts"
        path.write_text("\n".join([self.hosts[0], dead, self.hosts[1]]) + " # one\n")
        result = self.run_tool("set", "file", "a=1", "--hosts-file", path, "--parallel", "2", "--json",
                               code=SOME_FAILED)
        answers = [json.loads(line) for line in result.stdout.splitlines()]
        self.assertEqual([(answer["host"], answer["result"]) for answer in answers],
                         [(self.hosts[0], "done"), (dead, "unreachable"), (self.hosts[1], "done")])
        changes = self.run_tool("set", "file", "a=1", "b=2", "-n", *self.named([self.hosts[0], self.hosts[2]])).stdout
        self.assertEqual(changes, f"{self.hosts[0]}:\n  + [file] b=2\n{self.hosts[2]}:\n  + [file] a=1\n"
                                  "  + [file] b=2\n2 nodes: 2 done\n")

    def test_settings_go_from_one_node_to_another(self):
        self.settings("set", "copy", "a=ä\n", "b= ", "--host", self.hosts[0])
        text = self.settings("get", "copy", "--host", self.hosts[0])
        self.settings("set", "--from", "-", "--host", self.hosts[1], stdin=text)
        self.assertEqual(self.settings("get", "copy", "--host", self.hosts[1]), "[copy]\na=ä\\n\nb=\\s\n")
        for node in self.nodes[:2]:
            self.assertIn("[copy]\na=ä\\n\nb=\\s\n", self.local(node))

    def test_who_may_only_read_is_refused_a_change(self):
        node, host = self.nodes[3], self.hosts[3]
        for rights, allowed, refused in (("configget", [("get",)], [("set", "r", "a=1"), ("clear", "r"), ("clear", "r", "a")]),
                                         ("configset", [("set", "r", "a=1"), ("clear", "r")], [("get",), ("set", "r", "a=1", "-n")]),
                                         ("list", [], [("get",), ("set", "r", "a=1")])):
            node.write_rights({"operator": rights})
            node.stop()
            node.start()
            for command in allowed:
                self.run_tool(*command, "--host", host)
            for command in refused:
                self.run_tool(*command, "--host", host, code=REFUSED, words=["not authorized"])
        node.write_rights({"operator": "configget configset"})
        node.stop()
        node.start()
        refusals = [line for line in node.audit() if "AUTH" in line]
        self.assertEqual(len(refusals), 7, node.audit())

    def test_nothing_is_sent_to_a_node_of_another_id(self):
        host = ("--host", self.hosts[0])
        self.settings("set", "id", "a=1", "--target-id", "node", *host)
        before = self.local(self.nodes[0])
        for command in (("get",), ("set", "id", "a=2"), ("clear", "id"), ("set", "id", "a=2", "-n")):
            self.run_tool(*command, "--target-id", "another", *host, code=UNREACHABLE)
        self.assertEqual(self.local(self.nodes[0]), before)


class HostileNodes(SettingsTest):
    NASTY = "\x9b31m\x85fake: 1\u202Edne\u2028x"

    def shown_on_terminal(self, *arguments):
        reader, terminal = pty.openpty()
        process = subprocess.Popen([TOOLS / "lumsettings", *arguments], env=self.node.environment(COLUMNS="300"),
                                   stdin=subprocess.DEVNULL, stdout=terminal, stderr=terminal)
        os.close(terminal)
        shown = b""
        with contextlib.suppress(OSError):
            while chunk := os.read(reader, 65536):
                shown += chunk
        os.close(reader)
        self.assertEqual(process.wait(PATIENCE_S), DONE, shown)
        return shown.decode()

    def assert_harmless(self, text):
        for nasty in "\x9b\x85\u202E\u2028\x1b\x7f":
            self.assertNotIn(nasty, text)

    def test_a_value_drives_no_terminal(self):
        self.settings("set", "n", f"a={self.NASTY}", "b\u202E=1")
        self.assertEqual(self.settings("get", "n", "a"), self.NASTY + "\n", "a program gets it as it is")
        for arguments in (("get",), ("get", "n"), ("get", "n", "a"), ("set", "n", "a=1", "-n"), ("clear", "n", "-n")):
            with self.subTest(arguments):
                self.assert_harmless(self.shown_on_terminal(*arguments).replace("\r\n", "\n"))
        self.assertIn("?31m?fake: 1?dne?x", self.shown_on_terminal("get", "n", "a"))

    def test_of_many_nodes_none_can_speak_for_another(self):
        self.settings("set", "n", "a=1\nlocalhost: 2", "b=\x85c")
        two = ("--host", "localhost", "--host", f"127.0.0.1:{free_port()}")
        text = self.settings("get", "n", "a", *two, code=SOME_FAILED)
        self.assertEqual(text.splitlines(), ["localhost: 1?localhost: 2", "2 nodes: 1 done, 1 unreachable"])
        self.assert_harmless(self.settings("get", *two, code=SOME_FAILED))

    def answer(self, group, value=1, text="fine"):
        body = (f"<ConfigReturnValue>{value}</ConfigReturnValue><ConfigReturnString>{escape(text)}</ConfigReturnString>"
                f"<ConfigGroupName>{group}</ConfigGroupName>")
        return http(wire.envelope(f'<m:configOpResponse xmlns:m="urn:lum:conf">{body}</m:configOpResponse>'))

    def ask(self, answer, *arguments, code):
        # A node answers the plain road only; so it is asked as the local one.
        with peer(answer) as port:
            client = self.make_node(settings={"vox.http.ext.conf": {"TARGET_PORT": port}}, start=False)
            (client.root / "etc/local.secret").write_text("secret")
            return self.run_tool(*arguments, node=client, code=code)

    def test_names_that_no_setting_can_have_are_a_failure_of_the_node(self):
        for group in ("<ns>n&#13;</ns><attrname>a</attrname><attrvalue>1</attrvalue>",
                      "<ns>n</ns><attrname>a&#10;[b]</attrname><attrvalue>1</attrvalue>",
                      "<ns></ns><attrname>a</attrname><attrvalue>1</attrvalue>",
                      "<ns>n</ns><attrname></attrname><attrvalue>1</attrvalue>"):
            with self.subTest(group):
                result = self.ask(self.answer(group), "get", code=FAILED)
                self.assertEqual(result.stdout, "")
                self.assertIn("cannot be the name", result.stderr)
                told = json.loads(self.ask(self.answer(group), "get", "--json", code=FAILED).stdout)
                self.assertEqual(told["result"], "failed")

    def test_answers_that_are_none_are_failures(self):
        for answer in (self.answer("<attrname>a</attrname>"), self.answer("<zzz/>"), self.answer("", value=7),
                       self.answer("", value="x"), http(b"<x/>"), http(b"", "500 No")):
            with self.subTest(answer):
                for command in (("get",), ("set", "n", "a=1", "-n")):
                    self.assertNotEqual(self.ask(answer, *command, code=FAILED).stderr, "")

    def test_the_words_of_a_node_drive_no_terminal_either(self):
        result = self.ask(self.answer("", value=7, text="\x9b31mpoor\u202E node"), "get", code=FAILED)
        self.assertIn("?31mpoor? node", result.stderr)
        self.assert_harmless(result.stderr)


if __name__ == "__main__":
    unittest.main()
