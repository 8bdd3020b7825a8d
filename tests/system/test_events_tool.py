#!/usr/bin/python3
"""lumevents against a real daemon: what it prints, runs and ends with."""
import json
import os
import signal
import socket
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

    def test_a_command_that_fails_is_said_and_the_event_acknowledged(self):
        with Node() as node:
            listener = Listener(node, "--exec", "/bin/false", "--count", "1", "CHECK_POLICY:*")
            self.assertEqual(install(node).returncode, DONE)
            code, _, err = listener.end()
            self.assertEqual(code, 0)
            self.assertRegex(err, r"lumevents: the command ended with 1 for 'CHECK_POLICY:\S+'\n")

    def test_a_command_that_cannot_be_started_is_refused_before_anything_is_registered(self):
        with Node() as node:
            plain = node.folder / "plain"
            plain.write_text("")
            for command, why in (("/no/such/command", "No such file"), ("no-such-command-anywhere", "No such file"),
                                 (f"{plain} word", "Permission denied"), (str(node.folder), "Permission denied"), ("", "the command is empty"),
                                 ("'unclosed\"", "quote"), ("  ", "")):
                with self.subTest(command=command):
                    done = run(node, "--exec", command, "*")
                    self.assertEqual(done.returncode, WRONG_USAGE, done)
                    self.assertNotIn("registered", done.stderr)
                    self.assertIn("--exec", done.stderr)
                    self.assertIn(why, done.stderr)

    def test_a_command_that_may_be_empty_is_none_then_and_checked_otherwise(self):
        with Node() as node:
            listener = Listener(node, "--exec-unless-empty", "", "--count", "1", "CHECK_POLICY:*")
            self.assertEqual(listener.first, "registered\n")
            self.assertEqual(install(node).returncode, DONE)
            self.assertRegex(listener.end()[1], r"^CHECK_POLICY:\S+ \S+\n$")
            for arguments in (("--exec-unless-empty", "/no/such/command"), ("--exec-unless-empty", "", "--exec", "/bin/true")):
                self.assertEqual(run(node, *arguments, "*").returncode, WRONG_USAGE)

    def test_an_event_that_the_node_never_sends_is_warned_of_and_listened_for(self):
        with Node() as node:
            for event, said in (
                    ("CHECK_POLCY:backup", "The node itself sends no event 'CHECK_POLCY:backup'; did you mean 'CHECK_POLICY:backup'?"),
                    ("check_policy:*", "The node itself sends no event 'check_policy:*'; did you mean 'CHECK_POLICY:*'?"),
                    ("REMOV_POLICY", "The node itself sends no event 'REMOV_POLICY'; did you mean 'REMOVE_POLICY:*'?"),
                    ("CHECK_POLICY", "An event 'CHECK_POLICY' names a type too: 'CHECK_POLICY:TYPE', or 'CHECK_POLICY:*'"),
                    ("CHECK_POLICY:", "An event 'CHECK_POLICY' names a type too"),
                    ("CHECK*POLICY", "A '*' stands for any rest only at the end, and not in 'CHECK*POLICY'; did you mean 'CHECK*'?"),
                    ("CHECK_POLICY:configsettings", "Policies of the type 'configsettings' are the node's own"),
                    ("RELOAD_TRUST", "The event 'RELOAD_TRUST' reaches the daemon alone."),
                    ("RELOAD*", "The event 'RELOAD_TRUST' reaches the daemon alone."),
                    ("ODD:x", "The node itself sends no event 'ODD:x'.")):
                with self.subTest(event=event):
                    listener = Listener(node, event)
                    self.assertTrue(listener.first.startswith(f"lumevents: warning: {said}"), listener.first)
                    self.assertEqual(listener.process.stderr.readline(), "registered\n")
                    listener.process.terminate()
            for event in ("*", "CHECK*", "CHECK_POLICY*", "CHECK_POLICY:*", "LAST_POLICY:back*", "FIRST_POLICY:x", "D*"):
                with self.subTest(event=event):
                    self.assertEqual(Listener(node, event).first, "registered\n")

    def test_a_service_that_ends_in_the_middle_of_a_call_is_waited_for_without_a_word(self):
        with Node(start=False) as node:
            path = node.root / "spool/control.sock"
            path.parent.mkdir(parents=True)
            with socket.socket(socket.AF_UNIX) as service:
                service.bind(str(path))
                service.listen()
                process = subprocess.Popen([TOOLS / "lumevents", "--count", "1", "CHECK_POLICY:*"], text=True,
                                           env=node.environment(), stdout=subprocess.PIPE, stderr=subprocess.PIPE)
                node.processes.append(process)
                first = service.accept()[0]
                first.recv(4096)
                reply = b"K" + bytes(4) + bytes(4)  # done, with one text that is empty
                first.sendall(len(reply).to_bytes(4, "big") + reply)
                self.assertEqual(process.stderr.readline(), "registered\n")
                first.close()
                self.assertIn("Waiting for it.", process.stderr.readline())
                second = service.accept()[0]
                second.recv(4096)
                path.unlink()
                second.close()
            node.start()
            self.assertEqual(process.stderr.readline(), "lumevents: registered again; events in between were missed\n")
            self.assertEqual(install(node).returncode, DONE)
            self.assertEqual(process.wait(PATIENCE_S), 0)

    def test_signals_end_it_with_0(self):
        with Node() as node:
            for how in (signal.SIGINT, signal.SIGTERM):
                listener = Listener(node, "*")
                listener.process.send_signal(how)
                self.assertEqual(listener.end()[0], 0)

    def run_hanging_command(self, node, name):
        """A listener whose command hangs, with a child of its own; their process ids, and who waits for them."""
        pids = node.folder / f"pids.{name}"
        script = node.folder / "command"
        script.write_text(f'#!/bin/sh\nsleep 1000 &\necho $$ $! > "{pids}.aside"\nmv "{pids}.aside" "{pids}"\nwait\n')
        script.chmod(0o755)
        listener = Listener(node, "--exec", str(script), "CHECK_POLICY:*")
        run_tool(node, "remove", "--all", "--no-notify")
        caller = subprocess.Popen([TOOLS / "lumpolicy", "install", EXAMPLE], env=node.environment(),
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        node.processes.append(caller)
        wait_until(pids.exists, "the command runs")
        command, child = map(int, pids.read_text().split())
        self.addCleanup(self.end, child)
        return listener, caller, command, child

    @staticmethod
    def end(pid):
        try:
            with open(f"/proc/{pid}/cmdline", encoding="utf-8") as line:
                if "sleep" in line.read():
                    os.kill(pid, signal.SIGKILL)
        except OSError:
            pass

    @staticmethod
    def is_gone(pid):
        try:
            with open(f"/proc/{pid}/stat", encoding="utf-8") as status:
                return status.read().rpartition(")")[2].split()[0] in "ZX"
        except OSError:
            return True

    def test_a_signal_ends_it_with_its_command_and_the_process_group_of_this(self):
        with Node() as node:
            for how in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
                listener, caller, command, child = self.run_hanging_command(node, how)
                listener.process.send_signal(how)
                self.assertEqual(listener.process.wait(PATIENCE_S), 0)
                for pid in (command, child):
                    wait_until(lambda: self.is_gone(pid), "it is ended")
                self.assertEqual(caller.wait(PATIENCE_S), UNTOLD)

    def test_its_command_ends_also_when_it_is_killed(self):
        with Node() as node:
            listener, caller, command, _ = self.run_hanging_command(node, "kill")
            listener.process.kill()
            wait_until(lambda: self.is_gone(command), "the command ends")
            self.assertEqual(caller.wait(PATIENCE_S), UNTOLD)

    def test_it_registers_again_with_the_next_daemon_and_says_once_that_events_were_missed(self):
        with Node() as node:
            listener = Listener(node, "--name", "mine", "--count", "2", "CHECK_POLICY:*")
            for restart in (lambda: node.stop(), lambda: node.daemon.kill() or node.daemon.wait()):
                restart()
                self.assertIn("Waiting for it.", listener.process.stderr.readline())
                node.start()
                line = listener.process.stderr.readline()
                while "registered again" not in line:
                    self.assertNotEqual(line, "")
                    line = listener.process.stderr.readline()
                self.assertIn("events in between were missed", line)
                run_tool(node, "remove", "--all", "--no-notify")
                self.assertEqual(install(node).returncode, DONE)
            code, out, err = listener.end()
            self.assertEqual((code, len(out.splitlines())), (0, 2))
            self.assertNotIn("went away", err)

    def test_it_waits_for_the_daemon_as_long_as_it_is_told(self):
        with Node(start=False) as node:
            done = run(node, "--timeout", "1", "*")
            self.assertEqual(done.returncode, 1)
            self.assertIn("control.sock", done.stderr)
            process = subprocess.Popen([TOOLS / "lumevents", "--timeout", str(PATIENCE_S), "--count", "1", "CHECK_POLICY:*"],
                                       text=True, env=node.environment(), stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            node.processes.append(process)
            node.start()
            while process.stderr.readline() != "registered\n":
                self.assertIsNone(process.poll())
            self.assertEqual(install(node).returncode, DONE)
            self.assertEqual(process.wait(PATIENCE_S), 0)
            process.communicate()
            listener = Listener(node, "--timeout", "1", "*")
            node.stop()
            code, _, err = listener.end()
            self.assertEqual(code, 1)
            self.assertIn("went away", err)
            for text in ("0", "-1", "x", ""):
                self.assertEqual(run(node, "--timeout", text, "*").returncode, WRONG_USAGE)

    def test_a_signal_ends_it_while_it_waits(self):
        with Node() as node:
            listener = Listener(node, "*")
            node.stop()
            self.assertIn("Waiting for it.", listener.process.stderr.readline())
            listener.process.send_signal(signal.SIGTERM)
            self.assertEqual(listener.end()[0], 0)

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
