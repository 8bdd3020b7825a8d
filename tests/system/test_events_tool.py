#!/usr/bin/python3
"""lumevents against a real daemon: what it prints, runs and ends with."""
import json
import os
import signal
import subprocess
import sys
import unittest

from node import DONE, EXAMPLES, PATIENCE_S, TOOLS, UNTOLD, WRONG_USAGE, Node, wait_until

EXAMPLE = sorted(EXAMPLES.glob("*_header.xml"))[0]


class Listener:
    """A running lumevents that has said it is registered."""

    def __init__(self, node, *arguments, environment=None):
        self.process = subprocess.Popen([TOOLS / "lumevents", *arguments], text=True, stdin=subprocess.DEVNULL,
                                        env=environment or node.environment(), stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE)
        node.processes.append(self.process)
        self.first = self.process.stderr.readline()

    def end(self):
        out, err = self.process.communicate(timeout=PATIENCE_S)
        return self.process.returncode, out, self.first + err


def run(node, *arguments):
    return subprocess.run([TOOLS / "lumevents", *arguments], text=True, env=node.environment(), capture_output=True,
                          stdin=subprocess.DEVNULL, timeout=PATIENCE_S)


def run_tool(node, *arguments):
    return subprocess.run([TOOLS / "lumpolicy", *arguments], env=node.environment(), text=True,
                          capture_output=True, timeout=PATIENCE_S)


def install(node):
    """Installs the first example."""
    return run_tool(node, "install", EXAMPLE)


class EventsTool(unittest.TestCase):
    def test_it_prints_each_event_and_its_value_and_ends_at_the_count(self):
        with Node() as node:
            listener = Listener(node, "--count", "2", "*")
            self.assertEqual(listener.first, "registered\n")
            self.assertEqual(install(node).returncode, DONE)
            code, out, _ = listener.end()
            self.assertEqual(code, 0)
            lines = out.splitlines()
            self.assertEqual(len(lines), 2)
            self.assertRegex(lines[0], r"^FIRST_POLICY:\S+$")
            self.assertRegex(lines[1], r"^CHECK_POLICY:\S+ \S+$")

    def test_json_is_one_object_per_line(self):
        with Node() as node:
            listener = Listener(node, "--json", "--count", "1", "CHECK_POLICY:*")
            install(node)
            code, out, _ = listener.end()
            self.assertEqual(code, 0)
            parsed = json.loads(out)
            self.assertTrue(parsed["event"].startswith("CHECK_POLICY:"))
            self.assertTrue(parsed["value"])

    def test_a_command_gets_the_event_and_the_acknowledgement_waits_for_it(self):
        with Node() as node:
            seen = node.folder / "seen"
            script = node.folder / "command"
            script.write_text(f'#!/bin/sh\nprintf "%s|%s" "$LUM_EVENT" "$LUM_VALUE" > "{seen}.aside"\n'
                              f'mv "{seen}.aside" "{seen}"\n')
            script.chmod(0o755)
            listener = Listener(node, "--exec", str(script), "--count", "1", "CHECK_POLICY:*")
            self.assertEqual(install(node).returncode, DONE)
            self.assertRegex(seen.read_text(), r"^CHECK_POLICY:\S+\|\S+$")
            self.assertEqual(listener.end()[0], 0)

    def test_a_command_that_fails_or_is_not_there_is_said_and_the_event_acknowledged(self):
        with Node() as node:
            for command, word in (("/bin/false", "ended with 1"), ("/no/such/command", "/no/such/command")):
                listener = Listener(node, "--exec", command, "--count", "1", "CHECK_POLICY:*")
                subprocess.run([TOOLS / "lumpolicy", "remove", "--all"], env=node.environment(), capture_output=True)
                self.assertEqual(install(node).returncode, DONE)
                code, _, err = listener.end()
                self.assertEqual(code, 0)
                self.assertIn(word, err)

    def test_signals_end_it_with_0(self):
        with Node() as node:
            for how in (signal.SIGINT, signal.SIGTERM):
                listener = Listener(node, "*")
                listener.process.send_signal(how)
                self.assertEqual(listener.end()[0], 0)

    def test_a_signal_ends_it_also_while_its_command_runs(self):
        with Node() as node:
            for how in (signal.SIGINT, signal.SIGTERM):
                gate, seen = node.folder / f"gate{how}", node.folder / f"seen{how}"
                script = node.folder / "command"
                script.write_text(f'#!/bin/sh\n: > "{seen}"\nwhile [ ! -e "{gate}" ]; do sleep 0.02; done\n'
                                  f'rm "{seen}"\n')
                script.chmod(0o755)
                listener = Listener(node, "--exec", str(script), "CHECK_POLICY:*")
                run_tool(node, "remove", "--all", "--no-notify")
                caller = subprocess.Popen([TOOLS / "lumpolicy", "install", EXAMPLE], env=node.environment(),
                                          stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
                node.processes.append(caller)
                wait_until(seen.exists, "the command runs")
                listener.process.send_signal(how)
                self.assertEqual(listener.process.wait(PATIENCE_S), 0)
                gate.touch()
                wait_until(lambda: not seen.exists(), "the command ends by itself")
                self.assertEqual(caller.wait(PATIENCE_S), UNTOLD)

    def test_the_end_of_the_daemon_ends_it_with_1(self):
        with Node() as node:
            listener = Listener(node, "*")
            node.stop()
            code, _, err = listener.end()
            self.assertEqual(code, 1)
            self.assertIn("went away", err)

    def test_without_a_daemon_it_fails_and_says_why(self):
        with Node(start=False) as node:
            done = run(node, "*")
            self.assertEqual(done.returncode, 1)
            self.assertIn("control.sock", done.stderr)

    def test_a_name_that_is_taken_is_refused_and_names_of_its_own_never_are(self):
        with Node() as node:
            Listener(node, "--name", "mine", "*")
            done = run(node, "--name", "mine", "*")
            self.assertEqual(done.returncode, 1)
            self.assertIn("'mine' is registered already", done.stderr)
            for _ in range(3):
                self.assertEqual(Listener(node, "*").first, "registered\n")

    def test_wrong_usage_is_refused(self):
        with Node(start=False) as node:
            for arguments, words in (([], "EVENT is required"), (["--unknown", "E"], "--unknown"),
                                     (["--count", "0", "E"], "--count: '0' is no number above 0"),
                                     (["--count", "x", "E"], "--count: 'x' is no number above 0"),
                                     (["--count", "", "E"], "--count"),
                                     (["--count", "9" * 30, "E"], "--count: '9999")):
                result = run(node, *arguments)
                self.assertEqual(result.returncode, WRONG_USAGE, arguments)
                self.assertIn(words, result.stderr)

    def test_quiet_says_nothing_but_the_events(self):
        with Node() as node:
            process = subprocess.Popen([TOOLS / "lumevents", "--quiet", "--root", str(node.root), "--count", "1", "*"],
                                       env={k: v for k, v in os.environ.items() if k != "LUM_ROOT"}, text=True,
                                       stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            node.processes.append(process)
            # It does not say when it is registered: install until it has seen one.
            while process.poll() is None:
                install(node)
                subprocess.run([TOOLS / "lumpolicy", "remove", "--all"], env=node.environment(), capture_output=True)
            out, err = process.communicate(timeout=PATIENCE_S)
            self.assertEqual(err, "")
            self.assertEqual(len(out.splitlines()), 1)


if __name__ == "__main__":
    sys.exit(unittest.main(verbosity=2))
