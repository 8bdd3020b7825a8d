#!/usr/bin/python3
"""The daemon is told to stop: what has begun is finished and answered, nothing else is waited for."""
import pathlib
import re
import signal
import socket
import subprocess
import threading
import time
import unittest

import wire
from node import DONE, FAILED, PATIENCE_S, SLOWNESS, TOOLS, UNTOLD, Node, header, wait_until, write_policy

STOPPED = 0
STOP_S = 5 * SLOWNESS  # what docs/tools.md promises
# Of one install, and of one change: what takes no second, and eight of which would take longer than the stop may.
MANY_FILES, MANY_POLICIES = 3500, 400
TELL = wire.element("notify", "true")


class Timed:
    """How long what is inside took."""

    def __enter__(self):
        self.begun = time.monotonic()
        return self

    def __exit__(self, *exception):
        self.seconds = time.monotonic() - self.begun


class Caller:
    """A call whose answer is awaited on a thread of its own."""

    def __init__(self, node, body):
        self.connection = wire.Connection(node.port)
        self.answer = None
        self.thread = threading.Thread(target=self.run, args=(wire.post(body, secret=wire.secret_of(node)),))
        self.thread.start()

    def run(self, request):
        with self.connection:
            self.answer = self.connection.exchange(request)

    def wait(self):
        self.thread.join()
        return self.answer


def unread(port):
    """Bytes that the server has not read yet, of each connection to it."""
    rows = [line.split() for line in pathlib.Path("/proc/net/tcp").read_text().splitlines()[1:]]
    return [int(row[4].split(":")[1], 16) for row in rows if row[1].endswith(f":{port:04X}") and row[3] == "01"]


def threads(pid, name):
    """How many threads of the process have the name."""
    names = []
    for path in pathlib.Path(f"/proc/{pid}/task").glob("*/comm"):
        try:
            names.append(path.read_text().strip())
        except (FileNotFoundError, ProcessLookupError):
            pass
    return names.count(name)


def signals_are_held(pid):
    """Whether SIGTERM is out of its default way. A thread that waits for it shows it as not blocked: ask all."""
    masks = []
    for status in pathlib.Path(f"/proc/{pid}/task").glob("*/status"):
        try:
            masks += re.findall(r"^SigBlk:\s*(\w+)", status.read_text(), re.M)
        except (FileNotFoundError, ProcessLookupError):
            pass
    return any(int(mask, 16) & 1 << (signal.SIGTERM - 1) for mask in masks)


def accepts(port):
    with socket.socket() as probe:
        return probe.connect_ex(("127.0.0.1", port)) == 0


class StoppingTest(unittest.TestCase):
    def node(self, *arguments, **keywords):
        node = Node(*arguments, **keywords)
        self.addCleanup(node.close)
        return node

    def start_daemon(self, node, *arguments):
        """A daemon that is not waited for."""
        with open(node.folder / "lumconfd.err", "ab") as log:
            process = subprocess.Popen([TOOLS / "lumconfd", *arguments], stdin=subprocess.DEVNULL,
                                       env=node.environment(), stdout=log, stderr=log)
        node.processes.append(process)
        return process

    def silent_consumer(self, node, name="silent"):
        """A consumer that makes the file "seen" when it is told something, and never acknowledges."""
        script = node.folder / f"{name}.sh"
        script.write_text(f'#!/bin/sh\ncd "{node.folder}"\n: > seen\n'
                          'while [ ! -e gate ] && [ -e "$0" ]; do sleep 0.02; done\n')
        script.chmod(0o755)
        self.addCleanup((node.folder / "gate").touch)
        return node.consumer("*", name=name, arguments=("--exec", script))

    def assert_stops(self, node, how=signal.SIGTERM):
        with Timed() as timed:
            self.assertEqual(node.stop(how), STOPPED, node.log)
        self.assertLess(timed.seconds, STOP_S)


class Orderly(StoppingTest):
    def test_both_signals_stop_it_cleanly(self):
        for how in (signal.SIGTERM, signal.SIGINT):
            with self.subTest(signal=how.name):
                node = self.node()
                path = write_policy(node.folder / "source", "a", {"a.data": b"content"})
                node.policy("install", "--no-notify", path)
                self.assert_stops(node, how)
                self.assertFalse((node.root / "etc/local.secret").exists())
                self.assertFalse(node.incoming.exists())
                self.assertEqual(node.stored(), ["type/a.data", "type/a_header.xml"])
                node.start()
                self.assertEqual([policy["id"] for policy in node.list()], ["a"])

    def test_further_signals_while_it_stops_change_nothing(self):
        node = self.node()
        self.silent_consumer(node)
        caller = Caller(node, wire.install_call(wire.policy_array("a"), options=TELL))
        wait_until((node.folder / "seen").exists, "the consumer is told")
        for how in (signal.SIGTERM, signal.SIGTERM, signal.SIGINT, signal.SIGHUP, signal.SIGTERM):
            node.daemon.send_signal(how)
        self.assertEqual(node.daemon.wait(PATIENCE_S), STOPPED)
        self.assertEqual(caller.wait().value(), wire.CONTROL)


class Starting(StoppingTest):
    def test_a_signal_before_it_serves_stops_it_too(self):
        for _ in range(3):
            node = self.node(start=False)
            process = self.start_daemon(node)
            wait_until(lambda: signals_are_held(process.pid) or process.poll() is not None, "it handles signals")
            process.send_signal(signal.SIGTERM)
            self.assertEqual(process.wait(PATIENCE_S), STOPPED)

    def test_a_signal_while_it_reads_a_large_store_ends_it_without_reading_on(self):
        node = self.node(start=False)
        folder = node.store / "type"
        folder.mkdir(parents=True)
        for number in range(4000):
            (folder / f"p{number}_header.xml").write_text(header(f"p{number}", name=f"p{number}",
                                                                       description="x" * 20000))
        process = self.start_daemon(node)
        wait_until(lambda: threads(process.pid, "LumCtrl:Service") or process.poll() is not None, "it starts")
        process.send_signal(signal.SIGTERM)
        self.assertEqual(process.wait(PATIENCE_S), STOPPED)
        self.assertNotIn("serving the node", node.log)
        self.assertIn("told to stop before it served", node.log)
        self.assertEqual(len(node.stored()), 4000)
        node.start()
        self.assertEqual(len(node.list()), 4000)


class WithInstallsUnderWay(StoppingTest):
    def installs(self, node, count):
        """Calls that install and tell: the consumer has been told of one, eight have begun, the others wait."""
        callers = [Caller(node, wire.install_call(wire.policy_array(f"p{number}"), options=TELL))
                   for number in range(count)]
        wait_until((node.folder / "seen").exists, "the consumer is told")
        wait_until(lambda: threads(node.daemon.pid, "LumVox:Worker") == 8, "eight have begun")
        wait_until(lambda: unread(node.port) == [0] * count, "all have arrived")
        return callers

    def test_eight_installs_whose_consumer_never_acknowledges_are_answered_and_do_not_hold_it(self):
        node = self.node()
        self.silent_consumer(node)
        callers = self.installs(node, 8)
        self.assert_stops(node)
        answers = [caller.wait() for caller in callers]
        self.assertEqual([answer.value() for answer in answers], [wire.CONTROL] * 8)
        for answer in answers:
            self.assertIn(b"had not acknowledged when the node was stopped", answer.body)
        self.assertEqual(node.stored(), [f"type/p{number}_header.xml" for number in range(8)])

    def test_those_that_wait_for_their_turn_are_refused_and_leave_nothing(self):
        node = self.node()
        self.silent_consumer(node)
        callers = self.installs(node, 20)
        self.assert_stops(node)
        answers = [caller.wait() for caller in callers]
        self.assertNotIn(None, answers)
        installed = [f"p{number}" for number, answer in enumerate(answers) if answer.status == 200]
        refused = [answer for answer in answers if answer.status != 200]
        self.assertEqual([answers[int(name[1:])].value() for name in installed], [wire.CONTROL] * 8)
        self.assertEqual([(answer.status, answer.fault()) for answer in refused], [(503, "Server")] * 12)
        for answer in refused:
            self.assertIn(b"The node is stopping.", answer.body)
        node.start()
        self.assertEqual(sorted(policy["id"] for policy in node.list()), sorted(installed))

    def test_a_change_of_many_policies_that_has_begun_is_finished_and_answered(self):
        node = self.node()
        files = [write_policy(node.folder / "source", f"p{number}", name=f"p{number}") for number in range(600)]
        self.assertEqual(node.policy("install", "--package", "--no-notify", *files).code, DONE)
        disabled = node.store / "type/p0_header.xml"
        with subprocess.Popen([TOOLS / "lumpolicy", "disable", "--all", "--no-notify"], env=node.environment(),
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              text=True) as caller:
            wait_until(lambda: b"disabled" in disabled.read_bytes(), "the change has begun")
            self.assert_stops(node)
            self.assertIn("disabled", caller.communicate()[0])
        self.assertEqual(caller.returncode, DONE)
        node.start()
        self.assertEqual({policy["status"] for policy in node.list()}, {"disabled"})

    def test_large_installs_that_wait_for_the_one_at_work_are_refused_and_leave_nothing(self):
        node = self.node()
        self.silent_consumer(node)
        first = Caller(node, wire.install_call(wire.policy_array("first"), options=TELL))
        wait_until((node.folder / "seen").exists, "the consumer is told")
        data = {f"f{number}": b"" for number in range(MANY_FILES)}
        large = [Caller(node, wire.install_call(wire.policy_array(f"l{number}", data, type_name=f"type{number}")))
                 for number in range(7)]
        wait_until(lambda: threads(node.daemon.pid, "LumVox:Worker") == 8, "eight have begun")
        wait_until(lambda: unread(node.port) == [0] * 8, "all have arrived")
        self.assert_stops(node)
        self.assertEqual(first.wait().value(), wire.CONTROL)
        for answer in [caller.wait() for caller in large]:
            self.assertEqual(answer.value(), wire.FAILED, answer)
            self.assertIn(b"The node is stopping.", answer.body)
        self.assertEqual(node.stored(), ["type/first_header.xml"])

    def many(self, folder):
        return [write_policy(folder, f"p{number}", {f"p{number}.data": b"content"}, name=f"p{number}")
                for number in range(MANY_POLICIES)]

    def assert_stops_in_the_middle(self, node, condition, *command):
        """@return what the tool says of the change that the condition waits for"""
        with subprocess.Popen([TOOLS / "lumpolicy", *command, "--no-notify"], env=node.environment(),
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              text=True) as caller:
            wait_until(condition, "the change has begun")
            self.assert_stops(node)
            said = caller.communicate()[0]
        self.assertEqual(caller.returncode, FAILED, said)
        self.assertIn("The node is stopping.", said)
        return int(re.search(rf"'(\d+)' of '{MANY_POLICIES}' policies", said).group(1))

    def test_a_package_ends_behind_the_policy_that_it_has_begun_and_says_how_many_are_installed(self):
        node = self.node()
        installed = self.assert_stops_in_the_middle(node, lambda: node.stored(), "install", "--package",
                                                    *self.many(node.folder / "source"))
        node.start()
        self.assertEqual(len(node.list()), installed)
        self.assertEqual(len(node.stored()), 2 * installed)

    def test_a_removal_ends_behind_the_policy_that_it_has_begun_and_says_how_many_are_removed(self):
        node = self.node(start=False)
        self.many(node.store / "type")  # an install would flush each of them
        node.start()
        removed = self.assert_stops_in_the_middle(node, lambda: len(node.stored()) < 2 * MANY_POLICIES,
                                                  "remove", "--all")
        node.start()
        self.assertEqual(len(node.list()), MANY_POLICIES - removed)
        self.assertEqual(len(node.stored()), 2 * (MANY_POLICIES - removed))

    def test_the_tool_says_installed_but_not_told(self):
        node = self.node()
        self.silent_consumer(node)
        path = write_policy(node.folder / "source", "a")
        with subprocess.Popen([TOOLS / "lumpolicy", "install", path], env=node.environment(), stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True) as caller:
            wait_until((node.folder / "seen").exists, "the consumer is told")
            self.assert_stops(node)
            said = caller.communicate(timeout=PATIENCE_S)[0]
        self.assertEqual(caller.returncode, UNTOLD, said)
        self.assertIn("'silent' had not acknowledged", said)
        self.assertEqual(node.stored(), ["type/a_header.xml"])

    def test_a_consumer_that_acknowledges_still_hears_of_what_is_finished_behind_the_signal(self):
        node = self.node()
        self.silent_consumer(node)
        prompt = node.consumer("*", name="prompt")
        callers = self.installs(node, 8)
        before = prompt.events()
        self.assert_stops(node)
        for caller in callers:
            self.assertEqual(caller.wait().value(), wire.CONTROL)
        self.assertIn("Waiting for it", prompt.process.stderr.readline())
        behind = prompt.events()[len(before):]
        # The silent one held all others up, so that at most one had its turn before the signal.
        told = {number for number in range(8) if any(f"p{number}" in line for line in behind)}
        self.assertGreaterEqual(len(told), 7, prompt.events())

    def test_the_log_says_which_consumer_left_how_much_unacknowledged(self):
        node = self.node()
        self.silent_consumer(node)
        callers = self.installs(node, 8)
        self.assert_stops(node)
        for caller in callers:
            caller.wait()
        self.assertRegex(node.log, r"before the component 'silent' is done: \d+ trigger\(s\) were not acknowledged")


class WithOtherCallers(StoppingTest):
    def test_callers_that_only_wait_or_send_slowly_do_not_hold_it(self):
        node = self.node()
        with wire.Connection(node.port), wire.Connection(node.port) as slow, wire.Connection(node.port) as kept:
            self.assertEqual(kept.exchange(wire.post(wire.list_call(), secret=wire.secret_of(node))).status, 200)
            slow.send(wire.post(wire.list_call())[:-20])
            self.assert_stops(node)
            self.assertTrue(kept.is_closed())
            self.assertTrue(slow.is_closed())

    def test_a_request_on_a_kept_connection_behind_the_signal_is_not_served(self):
        node = self.node()
        self.silent_consumer(node)
        with wire.Connection(node.port) as kept:
            self.assertEqual(kept.exchange(wire.post(wire.list_call(), secret=wire.secret_of(node))).status, 200)
            caller = Caller(node, wire.install_call(wire.policy_array("a"), options=TELL))
            wait_until((node.folder / "seen").exists, "the consumer is told")
            secret = wire.secret_of(node)
            node.daemon.send_signal(signal.SIGTERM)
            wait_until(lambda: not accepts(node.port), "the port is closed")
            answer = kept.exchange(wire.post(wire.install_call(wire.policy_array("late")), secret=secret))
            self.assertTrue(answer is None or answer.status == 503, answer)
            self.assertEqual(caller.wait().value(), wire.CONTROL)
            self.assertEqual(node.daemon.wait(PATIENCE_S), STOPPED)
        self.assertEqual(node.stored(), ["type/a_header.xml"])

    def test_a_caller_that_does_not_take_its_answer_does_not_hold_it(self):
        node = self.node()
        document = header("large", description="@").encode().replace(b"@", b"x" * (32 << 20))
        installed = wire.ask(node, wire.install_call(wire.policy_array("large", document=document)))
        self.assertEqual(installed.value(), wire.DONE, installed)
        with wire.Connection(node.port) as lazy:
            lazy.send(wire.post(wire.list_call(), secret=wire.secret_of(node)))
            self.assertTrue(lazy.fill(), "the answer begins")
            self.assert_stops(node)

    def test_a_server_that_is_asked_and_says_nothing_does_not_hold_it(self):
        with socket.socket() as mute:
            mute.bind(("127.0.0.1", 0))
            mute.listen()
            mute.settimeout(PATIENCE_S)
            node = self.node({"conf.server": {"PING_SERVER": "localhost"},
                              "vox.http.ext.conf": {"TARGET_PORT": mute.getsockname()[1]}})
            with mute.accept()[0]:
                with Timed() as timed:
                    self.assertEqual(node.stop(), STOPPED)
                # It would be given up after five seconds by itself.
                self.assertLess(timed.seconds, 3 * SLOWNESS)


if __name__ == "__main__":
    unittest.main()
