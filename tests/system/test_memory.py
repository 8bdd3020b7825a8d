#!/usr/bin/python3
"""How much memory a request of many megabytes makes a daemon take, and that all of it goes back."""
import contextlib
import os
import pathlib
import re
import socket
import threading
import unittest

import wire
from node import IS_SANITIZED, PATIENCE_S, Node, header, wait_until

MEGABYTE = 1 << 20

# A sanitizer keeps what was freed, and a shadow of everything: there only a growth without bound can be seen.
MOST_TIMES = 80 if IS_SANITIZED else 4
MOST_KEPT = (10 << 30 if IS_SANITIZED else 10 * MEGABYTE)
LARGE = (60 if os.environ.get("LUM_LONG") else 24) * MEGABYTE
RAW = LARGE * 3 // 4  # as base64 it has so many bytes
UNLIMITED = {"BODY_LIMIT": 1 << 30, "BODY_TOTAL_LIMIT": 4 << 30, "BODY_TIMEOUT": 120000}


def resident(pid, field="VmRSS"):
    """Resident memory in bytes; VmHWM is the highest since the last reset."""
    with open(f"/proc/{pid}/status", encoding="ascii") as status:
        return int(re.search(rf"{field}:\s*(\d+) kB", status.read()).group(1)) * 1024


def reset_peak(pid):
    pathlib.Path(f"/proc/{pid}/clear_refs").write_text("5", encoding="ascii")


def text(unit, size=LARGE):
    return unit * (size // len(unit))


def numbered(pattern, size=LARGE):
    """The pattern with one number after another."""
    parts, length = [], 0
    while length < size:
        parts.append(pattern % len(parts))
        length += len(parts[-1])
    return b"".join(parts)


def large(call, inner):
    return call.replace(b"@@", inner)


def check(inner):
    return large(wire.call("checkpolicy", "<a>@@</a>"), inner)


def list_with(inner):
    return large(wire.call("list", "<PolicySelection>@@</PolicySelection>"), inner)


def config_set(inner):
    return large(wire.call("configOp", "<PolicyOperationMode>18</PolicyOperationMode><ConfigPackageName/>"
                                       "<ConfigGroupName>@@</ConfigGroupName>"), inner)


def config_clear():
    return wire.call("configOp", "<PolicyOperationMode>19</PolicyOperationMode><ConfigPackageName/>"
                                 "<ConfigGroupName><ns>test.large</ns></ConfigGroupName>")


def config_clear_keys(inner):
    return config_set(inner).replace(b">18<", b">20<", 1)


def document_with(inner, **fields):
    return wire.policy_array("large", document=header("large", **fields).encode().replace(b"@@", inner))


def install_options(inner):
    return large(wire.install_call(b"", options="@@"), inner)


SIGNATURE = "<files><data><file_name>d</file_name><encoding/><checksum/><signature>@@</signature></data></files>"
ATTRIBUTE_NAMED = "<attributes><attribute><name>@@</name><value>v</value></attribute></attributes>"
COMMENT = b"<!--" + b"x" * (7 * MEGABYTE) + b"-->"
ATTRIBUTE = b"<x a='" + b"x" * (7 * MEGABYTE) + b"'/>"
REMOVE_ALL = wire.operation_call(wire.REMOVE)
CHECK, MAIN = wire.CHECK_PATH, wire.PATH

# What it is, where it goes, what makes it, and the call that takes away what it is meant to leave behind.
ROADS = [
    ("a check of millions of types", CHECK, lambda: check(text(b"a ")), None),
    ("a check of one long type", CHECK, lambda: check(text(b"a")), None),
    ("a check of blanks", CHECK, lambda: check(text(b" ")), None),
    ("a check with 1,000 parameters", CHECK,
     lambda: wire.call("checkpolicy", ("<a>" + "a " * (LARGE // 2000) + "</a>") * 1000), None),
    ("a reload with a long parameter", MAIN, lambda: large(wire.call("mgrconf", "<a>@@</a>"), text(b"a")), None),
    ("a method that nobody knows", MAIN, lambda: large(wire.call("none", "<a>@@</a>"), text(b"a")), None),
    ("different elements", MAIN, lambda: list_with(numbered(b"<x%x/>")), None),
    ("different attributes", MAIN,
     lambda: list_with(b"".join(b"<x " + numbered(b"a%d_%%x='' " % i, 4 * MEGABYTE) + b"/>"
                                for i in range(LARGE // (4 * MEGABYTE)))), None),
    ("long attributes", MAIN, lambda: list_with(text(ATTRIBUTE)), None),
    ("comments before the message", MAIN,
     lambda: large(wire.envelope("<list/>", before="@@"), text(COMMENT)), None),
    ("a message that breaks off", MAIN, lambda: list_with(text(b"<a/>"))[:-20], None),
    ("a text to look for", MAIN, lambda: large(wire.list_call("1", "@@"), text(b"x")), None),
    ("data files to look for", MAIN,
     lambda: large(wire.call("list", wire.selection() + "<PolicyDataFiles>@@</PolicyDataFiles>"),
                   numbered(b"<policy_data_file>%x</policy_data_file>")), None),
    ("ids to enable", MAIN, lambda: large(wire.operation_call(wire.ENABLE, "0", "@@"), text(b"a ")), None),
    ("a category over and over", MAIN, lambda: large(wire.operation_call("6", string="@@"), text(b"a ")), None),
    ("a file's name", MAIN, lambda: large(wire.install_call(b"", file_name="@@"), text(b"x")), None),
    ("categories to add", MAIN, lambda: install_options(numbered(b"<addcategory>%x</addcategory>")), None),
    ("attributes to add", MAIN, lambda: install_options(text(b"<addattribute>a</addattribute>")), None),
    ("a long attribute to add", MAIN, lambda: install_options(b"<addattribute>" + text(b"name=value") +
                                                              b"</addattribute>"), None),
    ("a long attribute to remove", MAIN, lambda: install_options(b"<removeattribute>n=" + text(b"x") +
                                                                 b"</removeattribute>"), None),
    ("an attribute to remove with many equals signs", MAIN,
     lambda: install_options(b"<removeattribute>a=" + text(b"a=b ") + b"</removeattribute>"), None),
    ("an array of rubbish", MAIN, lambda: wire.install_call(text(b"x", RAW)), None),
    ("a description", MAIN,
     lambda: wire.install_call(document_with(text(b"x", RAW), description="@@")), REMOVE_ALL),
    ("a policy's name", MAIN, lambda: wire.install_call(document_with(text(b"x", RAW), name="@@")), REMOVE_ALL),
    ("a signature", MAIN, lambda: wire.install_call(document_with(text(b"x", RAW), extra=SIGNATURE)), None),
    ("deep elements", MAIN,
     lambda: wire.install_call(document_with(text(b"<a>", RAW // 2) + text(b"</a>", RAW // 2), extra="@@")), None),
    ("different elements in a document", MAIN,
     lambda: wire.install_call(document_with(numbered(b"<x%x/>", RAW), extra="@@")), None),
    ("a policy's categories", MAIN,
     lambda: wire.install_call(document_with(numbered(b"<category>%x</category>", RAW),
                                             extra="<categories>@@</categories>")), REMOVE_ALL),
    ("a policy's attribute with a bad name", MAIN,
     lambda: wire.install_call(document_with(text(b"a=b ", RAW), extra=ATTRIBUTE_NAMED)), None),
    ("a data file", MAIN, lambda: wire.install_call(wire.policy_array("large", {"large.data": text(b"x", RAW)})),
     REMOVE_ALL),
    ("settings", MAIN,
     lambda: config_set(b"<ns>test.large</ns>" + numbered(b"<attrname>%x</attrname><attrvalue>1</attrvalue>")),
     config_clear()),
    ("a long setting", MAIN,
     lambda: config_set(b"<ns>test.large</ns><attrname>a</attrname><attrvalue>" + text(b"a") + b"</attrvalue>"),
     config_clear()),
    ("settings to clear", MAIN,
     lambda: config_clear_keys(b"<ns>test.large</ns>" + numbered(b"<attrname>%x</attrname><attrvalue/>")), None),
    ("namespaces", MAIN, lambda: config_set(numbered(b"<ns>%x</ns>")), None),
]
CALLERS = {"a stranger": lambda node: "", "the administrator": wire.secret_of}


class Memory(unittest.TestCase):
    """Measured against a daemon that has served nothing else but an empty list and a check."""

    def measure(self, calls, path, body, undo, secret_for, first=None):
        with Node({"vox.http.ext.conf": UNLIMITED}) as node:
            pid, secret = node.daemon.pid, secret_for(node)
            if first:
                self.assertEqual(wire.ask(node, first, secret=secret).value(), wire.DONE)
            wire.ask(node, wire.list_call())
            wire.ask(node, wire.call("checkpolicy"), CHECK)
            before = resident(pid)
            reset_peak(pid)
            callers = [threading.Thread(target=wire.ask, args=(node, body, path, secret)) for _ in range(calls)]
            for caller in callers:
                caller.start()
            for caller in callers:
                caller.join()
            used = resident(pid, "VmHWM") - before
            self.assertLess(used, MOST_TIMES * len(body) * calls, f"{used / len(body) / calls:.2f} times the bodies")
            if undo:
                self.assertEqual(wire.ask(node, undo).status, 200)
            wait_until(lambda: resident(pid) - before < MOST_KEPT, "the memory goes back")
            self.assertEqual(wire.ask(node, wire.list_call()).status, 200)

    def test_no_request_takes_more_than_4_times_its_size_and_all_of_it_goes_back(self):
        for what, path, make, undo in ROADS:
            body = make()
            for who, secret_for in CALLERS.items():
                with self.subTest(what, caller=who):
                    self.measure(1, path, body, undo, secret_for)

    def test_two_strangers_with_the_largest_checks_take_no_more_than_4_times_their_size(self):
        body = check(text(b"a ", 62 * MEGABYTE))
        self.measure(2, CHECK, body, None, CALLERS["a stranger"])

    def test_categories_for_an_installed_policy_take_no_more_than_4_times_their_size(self):
        one = wire.install_call(wire.policy_array("large"))
        for mode in ("6", "7"):
            for unit in (b"%x ", b"%o "):
                body = large(wire.operation_call(mode, string="@@"), numbered(unit))
                with self.subTest(mode, unit=unit):
                    self.measure(1, MAIN, body, None, CALLERS["the administrator"], one)

    def test_changes_of_an_installed_policy_take_no_more_than_4_times_their_size(self):
        one = wire.install_call(wire.policy_array("large"))
        rows = {"a category to add": ("6", text(b"x")), "a category to remove": ("7", text(b"x")),
                "an attribute to add": ("9", b"name=" + text(b"value")),
                "an attribute to add with a long name": ("9", text(b"name") + b"=value"),
                "an attribute to add with equals signs": ("9", text(b"name=value")),
                "an attribute to remove": ("10", b"name=" + text(b"value")),
                "an attribute to remove with equals signs": ("10", text(b"name=value"))}
        for what, (mode, inner) in rows.items():
            with self.subTest(what):
                body = large(wire.operation_call(mode, string="@@"), inner)
                self.measure(1, MAIN, body, REMOVE_ALL, CALLERS["the administrator"], one)

    def test_a_selection_by_a_long_pair_takes_no_more_than_4_times_its_size(self):
        one = wire.install_call(wire.policy_array("large"))
        half = text(b"x", LARGE // 2)
        for kind in ("0", "1", "5", "7", "9"):
            for separator in (b"=", b":"):
                body = large(wire.list_call(kind, "@@"), half + separator + half)
                with self.subTest(kind, separator=separator):
                    self.measure(1, MAIN, body, REMOVE_ALL, CALLERS["the administrator"], one)

    def test_a_refused_attribute_of_megabytes_leaves_a_small_answer_and_a_small_log(self):
        long = text(b"a=b ", 4 * MEGABYTE)
        calls = {"to remove at an install": install_options(b"<removeattribute>a=" + long + b"</removeattribute>"),
                 "in a document": wire.install_call(document_with(long, extra=ATTRIBUTE_NAMED)),
                 "to remove": large(wire.operation_call("10", string="@@"), b"a=" + long)}
        one = wire.install_call(document_with(b"a", extra=ATTRIBUTE_NAMED))
        for what, body in calls.items():
            with self.subTest(what), Node() as node:
                secret = wire.secret_of(node)
                self.assertEqual(wire.ask(node, one, secret=secret).value(), wire.DONE)
                answer = wire.ask(node, body, secret=secret)
                self.assertEqual(answer.value(), 7, answer.head)
                self.assertIn(b"contains &apos;=&apos;", answer.body.replace(b"'", b"&apos;"))
                self.assertLess(len(answer.body), 10000)
                self.assertLess(sum(file.stat().st_size for file in (node.root / "log").glob("*")), 100000)

    def send_headers(self, node, connections, length):
        """Open connections, each with a header of many short fields that was taken or refused, and no body yet."""
        head = (f"POST {CHECK} HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml\r\nContent-Length: 9\r\n"
                "Expect: 100-continue\r\n").encode()
        head += b"a:\r\n" * ((length - len(head)) // 4) + b"\r\n"
        opened = [socket.create_connection(("127.0.0.1", node.port), PATIENCE_S) for _ in range(connections)]
        for connection in opened:
            with contextlib.suppress(OSError):
                connection.sendall(head)
        for connection in opened:
            with contextlib.suppress(ConnectionResetError):
                self.assertIn(connection.recv(12), (b"HTTP/1.1 100", b"HTTP/1.1 503"))
        return opened

    def assert_all_goes_back(self, connections, length):
        """Strangers have a quarter of the budget, and each connection a few pages."""
        budget = 64 * MEGABYTE
        most = (budget // 4 + connections * 32768) * MOST_TIMES // 4 + MOST_KEPT
        with Node({"vox.http.ext.conf": {"BODY_TOTAL_LIMIT": budget}}) as node:
            pid = node.daemon.pid
            wire.ask(node, wire.list_call())
            wire.ask(node, wire.call("checkpolicy"), CHECK)
            before = resident(pid)
            reset_peak(pid)
            opened = self.send_headers(node, connections, length)
            self.assertEqual(wire.ask(node, wire.list_call(), secret=wire.secret_of(node)).status, 200)
            for connection in opened:
                connection.close()
            self.assertLess(resident(pid, "VmHWM") - before, most)
            wait_until(lambda: resident(pid) - before < MOST_KEPT, "the memory goes back")
            self.assertEqual(wire.ask(node, wire.list_call()).status, 200)

    def test_large_headers_have_a_budget_and_their_memory_goes_back(self):
        self.assert_all_goes_back(2000, 60000)

    def test_the_memory_of_thousands_of_small_headers_goes_back(self):
        self.assert_all_goes_back(2000, 3000)

    def test_the_memory_of_many_requests_below_a_megabyte_goes_back_too(self):
        body = check(text(b"a ", 700 << 10))
        self.measure(40, CHECK, body, None, CALLERS["a stranger"])


if __name__ == "__main__":
    unittest.main()
