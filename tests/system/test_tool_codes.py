#!/usr/bin/python3
"""What scripts rely on: the tool's exit codes, each by a real situation, its JSON and its silence."""
import contextlib
import json
import socket
import subprocess
import threading
import unittest

import wire
from node import (DONE, FAILED, NOT_FOUND, NOTHING_TO_DO, PATIENCE_S, REFUSED, TOOLS, UNREACHABLE, UNTOLD, WRONG_USAGE,
                  Node, free_port, wait_until, write_policy)


class ToolTest(unittest.TestCase):
    settings = {}

    def setUp(self):
        self.node = Node(self.settings)
        self.addCleanup(self.node.close)

    def policy_file(self, policy_id, files=None, **fields):
        fields.setdefault("name", policy_id)
        return write_policy(self.node.folder / "source", policy_id, files, **fields)

    def install(self, policy_id, *options, **fields):
        return self.node.policy("install", "--no-notify", *options, self.policy_file(policy_id, **fields))

    def assert_code(self, result, code, *words):
        self.assertEqual(result.code, code, result)
        for word in words:
            self.assertIn(word, result.err + result.out)
        return result


@contextlib.contextmanager
def peer(answer):
    """A server that is no node: reads a request's beginning, sends the bytes and closes; None keeps silent."""
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        listener.listen()
        ended = threading.Event()

        def serve():
            while True:
                try:
                    connection, _ = listener.accept()
                except OSError:
                    return
                with connection:
                    connection.recv(65536)
                    if answer is None:
                        ended.wait()
                    with contextlib.suppress(OSError):
                        connection.sendall(answer or b"")

        thread = threading.Thread(target=serve)
        thread.start()
        try:
            yield listener.getsockname()[1]
        finally:
            ended.set()
            listener.shutdown(socket.SHUT_RDWR)
            thread.join()


def http(body, status="200 OK"):
    return f"HTTP/1.1 {status}\r\nContent-Type: text/xml\r\nContent-Length: {len(body)}\r\n\r\n".encode() + body


LISTED = wire.envelope('<m:listResponse xmlns:m="urn:lum:conf">@</m:listResponse>').decode()


def list_answer(value):
    return http(LISTED.replace("@", f"<PolicySelectionRetValue>{value}</PolicySelectionRetValue>"
                               "<PolicySelectionRetString>text of the peer</PolicySelectionRetString>"
                               "<PolicyContainer/>").encode())


class Codes(ToolTest):
    def test_done(self):
        self.assert_code(self.install("a"), DONE)
        for command in (("list",), ("reinit",), ("disable", "--all", "--no-notify"),
                        ("enable", "--id", "a", "--no-notify"), ("remove", "--id", "a", "--no-notify")):
            self.assert_code(self.node.policy(*command), DONE)

    def test_failed(self):
        self.install("a")
        self.assert_code(self.install("a", type_name="other"), FAILED)
        broken = self.policy_file("b")
        broken.write_text(broken.read_text().replace("</policy>", ""))
        self.assert_code(self.node.policy("install", broken), FAILED, str(broken))
        incomplete = self.policy_file("c", files={"c.data": b"x"})
        (incomplete.parent / "c.data").unlink()
        self.assert_code(self.node.policy("install", incomplete), FAILED, str(incomplete), "c.data")
        for answer in (list_answer(7), list_answer(42), list_answer(-1), list_answer("x"), http(b"<html/>"), http(b""),
                       http(wire.envelope("<s:Fault><faultcode>s:Server</faultcode><faultstring>no</faultstring>"
                                          "</s:Fault>"), "500 Internal Server Error"),
                       http(LISTED.replace("@", "").encode())):
            with self.subTest(answer=answer), peer(answer) as port:
                result = self.node.policy("list", environment=self.environment_for(port))
                self.assert_code(result, FAILED)
                self.assertNotEqual(result.err, "")

    def environment_for(self, port, patience=PATIENCE_S):
        """That of a client whose node is said to listen at the port."""
        client = Node({"vox.http.ext.conf": {"TARGET_PORT": port, "REQUEST_TIMEOUT": patience, "RESPONSE_LIMIT": 100000}},
                      start=False)
        client.use_no_secret()
        self.addCleanup(client.close)
        return client.environment()

    def test_nothing_to_do(self):
        self.install("a")
        self.assert_code(self.node.policy("enable", "--id", "a"), NOTHING_TO_DO)

    def test_not_found_says_whether_anything_is_installed(self):
        self.assert_code(self.node.policy("list"), DONE)
        empty = self.assert_code(self.node.policy("list", "--name", "none"), NOT_FOUND)
        self.assert_code(self.node.policy("remove", "--all"), NOT_FOUND)
        self.install("a")
        none = self.assert_code(self.node.policy("list", "--name", "none"), NOT_FOUND)
        self.assert_code(self.node.policy("remove", "--type", "none"), NOT_FOUND)
        self.assertNotEqual(empty.err, none.err)

    def test_refused(self):
        self.install("a", owner="one", version="2")
        self.assert_code(self.install("a", owner="two", version="3"), REFUSED, "one", "two")
        self.assert_code(self.install("a", "--check-version", owner="one", version="2"), REFUSED)
        self.node.use_no_secret()
        for command in (("list",), ("remove", "--all"), ("reinit",), ("notify",)):
            self.assert_code(self.node.policy(*command), REFUSED, "not authorized")

    def test_unreachable(self):
        self.assert_code(self.node.policy("list", "--host", f"localhost:{free_port()}"), UNREACHABLE)
        nowhere = "n" * 70 + ".invalid"  # too long for a name: no server is asked for it
        self.assert_code(self.node.policy("list", "--host", nowhere), UNREACHABLE, nowhere)
        for what, answer in (("silence", None), ("an end without an answer", b""), ("no HTTP", b"hello\r\n\r\n"),
                             ("half an answer", list_answer(1)[:-20]),
                             ("another server", http(b"<html/>", "404 Not Found")),
                             ("too much", http(b"x" * 200000))):
            with self.subTest(what), peer(answer) as port:
                environment = self.environment_for(port, patience=1 if answer is None else PATIENCE_S)
                result = self.node.policy("list", environment=environment)
                self.assertIn(result.code, (UNREACHABLE, FAILED), result)
                self.assertNotEqual(result.err, "")
                if not answer:
                    self.assertEqual(result.code, UNREACHABLE, result)
        self.node.stop()
        self.assert_code(self.install("a"), UNREACHABLE, str(self.node.port))

    def test_untold(self):
        self.assert_code(self.node.policy("install", self.policy_file("a")), UNTOLD)
        self.assertEqual([policy["id"] for policy in self.node.list()], ["a"])
        # Nobody who could miss it is left: a removal is done all the same.
        self.assert_code(self.node.policy("remove", "--id", "a"), DONE)
        self.assertEqual(self.node.list(), [])

    def test_of_several_files_the_others_go_on_and_the_first_failure_is_the_code(self):
        bad = self.policy_file("b")
        bad.write_text("no document")
        files = [self.policy_file("a"), bad, self.policy_file("c")]
        result = self.node.policy("install", "--no-notify", *files)
        self.assert_code(result, FAILED, str(bad))
        self.assertEqual([policy["id"] for policy in self.node.list()], ["a", "c"])


class Output(ToolTest):
    def commands(self):
        """Each command of the wire in an order in which each is done."""
        file = self.policy_file("a")
        selected = ("--id", "a", "--no-notify")
        return [("install", "--no-notify", file), ("install", "--no-notify", "--package", file), ("list",),
                ("disable", *selected), ("enable", *selected), ("set-owner", "boss", *selected),
                ("add-category", "c", *selected), ("remove-category", "c", *selected),
                ("add-attribute", "k=v", *selected), ("remove-attribute", "k=v", *selected), ("reinit",),
                ("remove", *selected)]

    def test_json_is_one_object_for_each_command(self):
        for command in self.commands():
            with self.subTest(command=command[0]):
                result = self.node.policy(*command, "--json")
                answer = json.loads(result.out)
                self.assertEqual((result.code, answer["code"], answer["result"], answer["host"], result.err),
                                 (DONE, DONE, "done", "localhost", ""), result)

    def test_quiet_says_nothing_of_a_success(self):
        for command in self.commands():
            with self.subTest(command=command[0]):
                result = self.node.policy(*command, "--quiet")
                self.assertEqual((result.code, result.out, result.err), (DONE, "", ""), result)

    def test_a_success_without_either_is_said_on_standard_output(self):
        for command in self.commands():
            with self.subTest(command=command[0]):
                result = self.node.policy(*command)
                self.assertEqual((result.code, result.err), (DONE, ""), result)
                self.assertNotEqual(result.out, "")

    def test_a_failure_is_told_with_each_and_never_on_the_wrong_stream(self):
        self.node.stop()
        for command in self.commands():
            with self.subTest(command=command[0]):
                result = self.node.policy(*command, "--json")
                answer = json.loads(result.out)
                self.assertEqual((result.code, answer["code"], answer["result"], result.err),
                                 (UNREACHABLE, UNREACHABLE, "unreachable", ""), result)
                self.assertTrue(answer["messages"])
                result = self.node.policy(*command, "--quiet")
                self.assertEqual((result.code, result.out), (UNREACHABLE, ""), result)
                self.assertNotEqual(result.err, "")

    def test_details_stand_indented_below_the_outer_message(self):
        self.install("a")
        result = self.install("a", type_name="other")
        lines = result.err.splitlines()
        self.assertFalse(lines[0].startswith(" "), lines)
        self.assertTrue(any(line.startswith("  ") for line in lines[1:]), lines)
        levels = [line["level"] for line in self.install("a", "--json", type_name="other").json()["messages"]]
        self.assertEqual((levels[0], max(levels) > 0), (0, True))

    def test_an_empty_target_id_is_no_id_that_every_node_bears(self):
        path = self.policy_file("a")
        for command in (("list",), ("remove", "--all"), ("install", path)):
            self.assert_code(self.node.policy(*command, "--target-id", ""), WRONG_USAGE, "--target-id: must not be empty")
        self.assertEqual(self.node.audit(), [])

    def test_an_install_that_fails_names_the_file(self):
        result = self.node.policy("install", "no-header")
        self.assertEqual(result.code, FAILED, result)
        self.assertIn("no-header: ", result.err.splitlines()[0])

    def test_no_arguments_are_answered_with_a_short_usage(self):
        result = self.node.policy()
        self.assertEqual((result.code, result.out), (WRONG_USAGE, ""))
        self.assertTrue(result.err.startswith("usage: lumpolicy"))
        self.assertLess(len(result.err.splitlines()), 25)

    def test_settings_that_cannot_be_read_are_a_failure_only_of_what_needs_them(self):
        (self.node.config / "local_settings.ini").write_text("nonsense\n")
        file = self.policy_file("a")
        for command in (("list",), ("show", "--all"), ("remove", "--all"), ("disable", "--id", "a"), ("notify",), ("status",),
                        ("install", file), ("install", "--package", file), ("install", "--dry-run", file), ("apply", file),
                        ("apply", "--dry-run", file), ("import", file.parent), ("export", self.node.folder / "exported")):
            with self.subTest(command=command):
                self.assert_code(self.node.policy(*command), FAILED, "Line 1 of", "local_settings.ini")
        self.assert_code(self.node.policy("--help"), DONE)
        self.assert_code(self.node.policy("validate", self.policy_file("a")), DONE)

    def test_a_reader_that_goes_early_does_no_harm(self):
        for i in range(20):
            self.install(f"p{i}", description="x" * 3000)
        with subprocess.Popen([TOOLS / "lumpolicy", "list", "--json"], env=self.node.environment(),
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
            process.stdout.close()
            process.stderr.read()
            self.assertNotEqual(process.wait(PATIENCE_S), -11)
        self.assertEqual(len(self.node.list()), 20)


class Options(ToolTest):
    def fill(self):
        self.install("a", name="one", type_name="t1", owner="o1", categories=["c1"], attributes=[("k", "1")])
        self.install("b", name="two", type_name="t2", owner="o2", categories=["c2"], attributes=[("k", "2")])

    def test_each_selection_removes_what_it_selects(self):
        for selection, left in ((("--id", "A"), ["b"]), (("--name", "two"), ["a"]), (("--type", "t1"), ["b"]),
                                (("--owner", "o2"), ["a"]), (("--owner", "o1", "--name", "one"), ["b"]),
                                (("--category", "c2"), ["a"]), (("--attribute", "k"), []),
                                (("--attribute", "k=1"), ["b"]), (("--name", "two", "--type", "t2"), ["a"]),
                                (("--all",), [])):
            with self.subTest(selection=selection):
                self.fill()
                self.assert_code(self.node.policy("remove", "--no-notify", *selection), DONE)
                self.assertEqual([policy["id"] for policy in self.node.list()], left)
                self.node.policy("remove", "--all", "--no-notify")

    def policy(self):
        policies = self.node.list()
        self.assertEqual(len(policies), 1)
        found = policies[0]
        attributes = [f"{attribute['name']}={attribute['value']}" for attribute in found["attributes"]]
        return found["status"], found["owner"], found["categories"], attributes

    def test_what_is_installed_is_taken_over_unless_an_option_forces_the_new(self):
        old = {"owner": "o", "categories": ["old"], "attributes": [("old", "1")], "status": "disabled"}
        new = {"owner": "o", "categories": ["new"], "attributes": [("new", "1")], "status": "enabled", "version": "2"}
        for options, expected in (
                ((), ("disabled", "o", ["old"], ["old=1"])),
                (("--force-categories",), ("disabled", "o", ["new"], ["old=1"])),
                (("--force-attributes",), ("disabled", "o", ["old"], ["new=1"])),
                (("--enable",), ("disabled", "o", ["old"], ["old=1"])),
                (("--enable", "--force-state"), ("enabled", "o", ["old"], ["old=1"])),
                (("--force",), ("enabled", "o", ["new"], ["new=1"])),
                (("--check-version",), ("disabled", "o", ["old"], ["old=1"])),
                (("--force-owner", "--owner", "p"), ("disabled", "p", ["old"], ["old=1"])),
                (("--force", "--remove-owner"), ("enabled", "", ["new"], ["new=1"])),
                (("--target-id", "any"), ("disabled", "o", ["old"], ["old=1"])),
                (("--close-connection",), ("disabled", "o", ["old"], ["old=1"]))):
            with self.subTest(options=options):
                self.assert_code(self.install("a", "--force", **old), DONE)
                self.assert_code(self.install("a", *options, **new), DONE)
                self.assertEqual(self.policy(), expected)

    def test_a_package_takes_the_same_options_for_all_of_its_policies(self):
        files = [self.policy_file("a"), self.policy_file("b")]
        self.assert_code(self.node.policy("install", "--no-notify", "--package", "--disable", "--owner", "boss",
                                          "--add-category", "c", "--add-attribute", "k=v", *files), DONE)
        for policy in self.node.list():
            self.assertEqual((policy["status"], policy["owner"], policy["categories"]), ("disabled", "boss", ["c"]))

    def test_a_type_limited_to_one_policy_is_replaced_by_force_alone(self):
        self.node.settings["conf.server"]["NOMULTIPLEPOLICIES"] = "single"
        self.node.write_settings()
        self.assert_code(self.install("a", type_name="single"), DONE)
        wait_until(lambda: self.install("b", type_name="single").code == FAILED
                   or self.node.policy("remove", "--id", "b", "--no-notify").code != DONE, "the limit is taken up")
        self.assertEqual([policy["id"] for policy in self.node.list()], ["a"])
        self.assert_code(self.install("b", "--force", type_name="single"), DONE)
        self.assertEqual([policy["id"] for policy in self.node.list()], ["b"])


class SlowConsumer(ToolTest):
    settings = {"conf.core": {"CONTROL_ACK_TIMEOUT": "1"}}

    def test_one_that_never_answers_costs_the_limit_and_the_policy_is_installed(self):
        self.node.held_consumer("*")
        self.assert_code(self.node.policy("install", self.policy_file("a")), UNTOLD)
        self.assertEqual([policy["id"] for policy in self.node.list()], ["a"])
        (self.node.folder / "gate").touch()

    def test_one_that_goes_away_is_not_waited_for(self):
        consumer = self.node.held_consumer("*")
        results = []
        caller = threading.Thread(target=lambda: results.append(self.node.policy("install", self.policy_file("a"))))
        caller.start()
        wait_until((self.node.folder / "seen").exists, "the consumer is told")
        consumer.process.kill()
        caller.join()
        self.assert_code(results[0], UNTOLD)
        (self.node.folder / "gate").touch()


class PatientNode(ToolTest):

    def test_a_consumer_may_ask_for_policies_while_a_trigger_waits_for_it(self):
        self.node.held_consumer("*")
        results = []
        caller = threading.Thread(target=lambda: results.append(self.node.policy("install", self.policy_file("a"))))
        caller.start()
        wait_until((self.node.folder / "seen").exists, "the consumer is told")
        for body, value in ((wire.call("checkpolicy"), b">1<"), (wire.call("checkpolicy", "<t>type</t>"), b">0<"),
                            (wire.call("checkpolicy", "<t>none</t>"), b">1<")):
            self.assertIn(value, wire.ask(self.node, body, wire.CHECK_PATH).body)
        self.assertTrue(caller.is_alive(), "the install still waits")
        (self.node.folder / "gate").touch()
        caller.join()
        self.assert_code(results[0], DONE)


if __name__ == "__main__":
    unittest.main()
