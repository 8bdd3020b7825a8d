#!/usr/bin/python3
"""Work that takes long: a terminal sees what it waits for, and who ends it is told what is known."""
import json
import signal
import subprocess
import unittest

import pki
from node import DONE, PATIENCE_S, SLOWNESS, TOOLS, UNREACHABLE, UNTOLD, Node, free_port, wait_until, write_policy
from silent import CallsOthers, Unanswering
from terminal import CTRL_C, Terminal

INTERRUPTED, TERMINATED = 130, 143


class LongWork(CallsOthers, unittest.TestCase):
    def setUp(self):
        self.node = Node()
        self.addCleanup(self.node.close)
        self.trust_somebody()

    def terminal(self, *arguments, **keywords):
        return Terminal(self.node.command("lumpolicy", *arguments), self.node.environment(), **keywords)

    def started(self, *arguments):
        process = subprocess.Popen(self.node.command("lumpolicy", *arguments), env=self.node.environment(),
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.node.processes.append(process)
        return process

    def test_a_node_that_is_waited_for_is_shown_and_ctrl_c_says_that_its_answer_is_unknown(self):
        host = f"127.0.0.1:{self.silent().port}"
        with self.terminal("disable", "--all", "--host", host) as terminal:
            terminal.await_text(f"waiting for {host} (")
            terminal.press(CTRL_C)
            self.assertEqual(terminal.end(), INTERRUPTED, terminal.shown)
            self.assertIn("disable", terminal.shown)
            left = " ".join("\n".join(terminal.lines()).split())
            self.assertIn(f"Ended before '{host}' answered: the change may be done.", left)
            self.assertNotIn("waiting for", left, "the line goes")

    def test_results_of_many_come_as_they_come_and_ctrl_c_sums_up(self):
        silent = [f"127.0.0.1:{self.silent().port}" for _ in range(2)]
        hosts = [silent[0], "localhost", f"127.0.0.1:{free_port()}", silent[1]]
        with self.terminal("reinit", *(word for host in hosts for word in ("--host", host))) as terminal:
            terminal.await_text("read anew: the store of localhost")
            terminal.await_text("2 of 4 nodes (")
            terminal.await_text(f"waiting for {silent[0]}: reinit")
            terminal.press(CTRL_C)
            self.assertEqual(terminal.end(), INTERRUPTED, terminal.shown)
            self.assertIn("4 nodes: 1 done, 1 unreachable, 2 unknown", terminal.lines())
            self.assertLess(max(map(len, terminal.lines())), 81, terminal.lines())

    def test_elsewhere_nothing_is_shown_meanwhile_and_the_order_is_kept(self):
        silent = self.silent()
        hosts = [f"127.0.0.1:{silent.port}", "localhost"]
        result = self.node.policy("reinit", "--timeout", 2, *(word for host in hosts for word in ("--host", host)))
        self.assertNotIn("waiting", result.err)
        self.assertNotIn("\r", result.err + result.out)
        answers = self.node.policy("reinit", "--timeout", 2, "--json",
                                   *(word for host in hosts for word in ("--host", host))).out.splitlines()
        self.assertEqual([json.loads(line)["host"] for line in answers], hosts)

    def test_in_json_every_node_has_an_object_when_it_is_ended(self):
        silent = self.silent()
        dead, hanging = f"127.0.0.1:{free_port()}", f"127.0.0.1:{silent.port}"
        hosts = ["localhost", dead, hanging, "node-of-nobody"]
        for number, code in ((signal.SIGINT, INTERRUPTED), (signal.SIGTERM, TERMINATED)):
            taken = len(silent.taken)
            process = self.started("reinit", "--json", "--parallel", "1",
                                   *(word for host in hosts for word in ("--host", host)))
            wait_until(lambda: len(silent.taken) > taken, "the third one is asked")
            process.send_signal(number)
            out, err = process.communicate(timeout=PATIENCE_S)
            self.assertEqual((process.returncode, err), (code, ""))
            answers = [json.loads(line) for line in out.splitlines()]
            self.assertEqual([(answer["host"], answer["result"], answer["code"]) for answer in answers],
                             [("localhost", "done", DONE), (dead, "unreachable", UNREACHABLE),
                              (hanging, "unknown", code), ("node-of-nobody", "not asked", code)])

    def test_who_was_not_asked_is_named(self):
        silent = self.silent()
        process = self.started("reinit", "--parallel", "1", "--host", f"127.0.0.1:{silent.port}", "--host", "one",
                               "--host", "two")
        wait_until(lambda: silent.taken, "the first one is asked")
        process.send_signal(signal.SIGINT)
        out, err = process.communicate(timeout=PATIENCE_S)
        self.assertEqual((process.returncode, out), (INTERRUPTED, "3 nodes: 1 unknown, 2 not asked\n"))
        self.assertIn("not asked: one, two\n", err)

    def held_install(self, *options):
        """Three files; the consumer of the second one never ends."""
        source = self.node.folder / "source"
        files = [write_policy(source, policy_id, name=policy_id, type_name=type_name)
                 for policy_id, type_name in (("a", "free"), ("b", "held"), ("c", "free"))]
        self.node.held_consumer("CHECK_POLICY:held", "FIRST_POLICY:held")
        self.addCleanup((self.node.folder / "gate").touch)
        return ["install", *options, *files], files

    def test_an_install_that_is_ended_reports_each_file(self):
        arguments, files = self.held_install("--json")
        process = self.started(*arguments)
        wait_until((self.node.folder / "seen").exists, "the consumer is told")
        process.send_signal(signal.SIGINT)
        out, _ = process.communicate(timeout=PATIENCE_S)
        self.assertEqual(process.returncode, INTERRUPTED)
        answer = json.loads(out)
        self.assertEqual((answer["result"], answer["code"]), ("unknown", INTERRUPTED))
        self.assertEqual([(one["file"], one["result"]) for one in answer["files"]],
                         list(zip(map(str, files), ("done, nobody told", "unknown", "not asked"))))
        (self.node.folder / "gate").touch()

    def test_a_change_that_is_sent_and_not_answered_in_time_says_that_it_may_be_done(self):
        arguments, files = self.held_install("--timeout", str(5 * SLOWNESS))
        result = self.node.policy(*arguments)
        self.assertEqual(result.code, UNREACHABLE, result)
        said = " ".join(result.err.split())
        self.assertIn("The request was sent: the change may be done all the same.", said)
        self.assertIn("Of 3 files the last one was not sent.", said)
        (self.node.folder / "gate").touch()
        self.assertEqual([one["id"] for one in self.node.list()], ["a", "b"], "and so it is")

    def test_in_json_such_a_change_is_unknown_and_each_file_is_told(self):
        arguments, files = self.held_install("--json", "--timeout", str(5 * SLOWNESS), "--force")
        answer = json.loads(self.node.policy(*arguments).out)
        self.assertEqual([(one["file"], one["result"]) for one in answer["files"]],
                         list(zip(map(str, files), ("done, nobody told", "unknown", "not tried"))))
        self.assertIs(answer["changed"], True, "the first one")
        (self.node.folder / "gate").touch()

    def test_of_a_package_that_is_not_answered_it_is_unknown_whether_it_has_changed_anything(self):
        _, files = self.held_install()
        for command in ("install", "--package"), ("apply",):
            with self.subTest(command):
                answer = json.loads(self.node.policy(*command, "--json", "--timeout", "2", files[1]).out)
                self.assertEqual((answer["result"], answer["changed"]), ("unreachable", None), answer)
                if command == ("apply",):
                    self.assertEqual(answer["policies"][0]["result"], "unknown")
                (self.node.folder / "gate").touch()
                wait_until(lambda: self.node.policy("remove", "--id", "b", "--timeout", "2").code != UNREACHABLE, "it goes on")
                (self.node.folder / "gate").unlink()
        (self.node.folder / "gate").touch()

    def test_a_node_that_dies_before_it_answers_may_have_done_it(self):
        arguments, files = self.held_install("--json")
        process = self.started(*arguments[:2], files[1])
        wait_until((self.node.folder / "seen").exists, "the consumer is told")
        self.node.daemon.kill()
        answer = json.loads(process.communicate(timeout=PATIENCE_S)[0])
        self.assertEqual((process.returncode, answer["changed"]), (UNREACHABLE, None), answer)
        self.assertEqual(answer["files"][0]["result"], "unknown")
        self.assertIn("may be done", answer["messages"][-1]["text"])

    def test_a_question_that_is_not_answered_in_time_has_changed_nothing(self):
        authority = pki.Authority()
        self.addCleanup(authority.close)
        pki.trust(self.node, authority)
        listener = Unanswering(authority)
        self.addCleanup(listener.close)
        file = write_policy(self.node.folder / "source", "a", {"a.conf": b"data"}, name="a")
        for command in (("install", file), ("install", "--package", file), ("apply", file)):
            with self.subTest(command):
                result = self.node.policy(*command, "--json", "--timeout", "2", "--host", f"localhost:{listener.port}")
                self.assertEqual((result.code, result.json()["changed"]), (UNREACHABLE, False), result)
                self.assertNotIn("may be done", result.out)
        self.assertTrue(listener.read)
        self.assertFalse([text for text in listener.read if b"install" in text.lower() and b"<list" not in text])

    def test_a_change_that_reaches_nobody_has_changed_nothing(self):
        _, files = self.held_install()
        (self.node.folder / "gate").touch()
        nobody = ("--json", "--host", f"127.0.0.1:{free_port()}")
        for command in (("install", files[0]), ("install", "--package", files[0]), ("apply", files[0]), ("remove", "--all")):
            with self.subTest(command):
                result = self.node.policy(*command, *nobody)
                self.assertEqual((result.code, result.json()["changed"]), (UNREACHABLE, False), result)
                self.assertNotIn("may be done", result.out)

    def ended_at_the_first_question(self, *arguments):
        silent = self.silent()
        process = self.started(*arguments, "--host", f"127.0.0.1:{silent.port}")
        wait_until(lambda: silent.taken, "the node is asked")
        process.send_signal(signal.SIGINT)
        out, err = process.communicate(timeout=PATIENCE_S)
        self.assertEqual(process.returncode, INTERRUPTED, err)
        return out, " ".join(err.split())

    def test_a_change_that_is_ended_before_anything_was_sent_says_so(self):
        file = str(write_policy(self.node.folder / "source", "a", {"a.conf": b"data"}, name="a"))
        for command in (("install", file), ("install", "--package", file), ("apply", file),
                        ("remove", "--all"), ("remove", "--type", "a", "--owner", "b")):
            with self.subTest(command):
                _, err = self.ended_at_the_first_question(*command)
                self.assertIn("answered: nothing was sent.", err)
                self.assertNotIn("may be done", err)
                self.assertNotIn("unknown", err)
        for command in ("install", "apply"):
            with self.subTest(command, json=True):
                answer = json.loads(self.ended_at_the_first_question(command, "--json", file)[0])
                self.assertEqual((answer["result"], answer["code"], answer["changed"]), ("not asked", INTERRUPTED, False))
                rows = answer["files" if command == "install" else "policies"]
                self.assertEqual([(row["file"], row["result"], row["code"]) for row in rows],
                                 [(file, "not asked", INTERRUPTED)])

    def test_a_consumer_that_hangs_shows_which_file_is_waited_for(self):
        arguments, _ = self.held_install()
        with self.terminal(*arguments, columns=200) as terminal:
            terminal.await_text("1 of 3 files, now ")
            (self.node.folder / "gate").touch()
            self.assertEqual(terminal.end(), UNTOLD, terminal.shown)
            self.assertTrue(any("installed " in line for line in terminal.lines()), terminal.lines())


if __name__ == "__main__":
    unittest.main()
