#!/usr/bin/python3
"""Nodes that hang: what a tool waits for them, and what it says then."""
import fcntl
import signal
import subprocess
import time
import unittest

from node import DONE, EXAMPLES, FAILED, PATIENCE_S, SLOWNESS, UNREACHABLE, WRONG_USAGE, Node, free_port
from silent import CallsOthers
from terminal import CTRL_C, Terminal

LIMIT_S = 2
AT_MOST_S = 3 * LIMIT_S * SLOWNESS


class TimeLimits(CallsOthers, unittest.TestCase):
    def setUp(self):
        self.node = Node({"vox.http.ext.conf": {"CONNECT_TIMEOUT": LIMIT_S}})
        self.addCleanup(self.node.close)

    def hang(self):
        """The daemon goes on to hold its port, and does nothing."""
        self.node.daemon.send_signal(signal.SIGSTOP)
        self.addCleanup(self.node.daemon.send_signal, signal.SIGCONT)

    def ends_in_time(self, tool, *arguments, seconds=AT_MOST_S):
        start = time.monotonic()
        result = self.node.tool(tool, *arguments)
        self.assertLess(time.monotonic() - start, seconds, result)
        return result

    def test_a_local_daemon_that_hangs_is_waited_for_as_long_as_is_asked(self):
        self.hang()
        for tool, *arguments in (("lumpolicy", "list"), ("lumpolicy", "status"), ("lumpolicy", "remove", "--all"),
                                 ("lumsettings", "get"), ("lumsettings", "set", "a", "B=c")):
            result = self.ends_in_time(tool, *arguments, "--timeout", LIMIT_S)
            self.assertEqual(result.code, UNREACHABLE, (tool, arguments, result))
            self.assertIn(f"no answer within {LIMIT_S} seconds", result.err.replace("\n", " ").replace("          ", " "))

    def test_the_status_of_a_daemon_that_hangs_is_waited_for_as_long_as_is_asked(self):
        self.hang()
        result = self.ends_in_time("lumconfd", "--status", "--timeout", LIMIT_S)
        self.assertEqual(result.code, 1, result)

    def test_a_listener_waits_for_a_daemon_that_hangs_as_long_as_is_asked(self):
        self.hang()
        result = self.ends_in_time("lumevents", "--timeout", LIMIT_S, "*")
        self.assertEqual(result.code, FAILED, result)
        self.assertIn("the control service does not answer", result.err)

    def test_a_change_of_trust_waits_for_a_daemon_that_hangs_as_long_as_is_asked(self):
        self.hang()
        for arguments in (("grant", "somebody", "list"), ("revoke", "somebody")):
            result = self.ends_in_time("lumtrust", *arguments, "--timeout", LIMIT_S)
            self.assertEqual(result.code, FAILED, result)
            self.assertIn("The change was made, but the running daemon did not take it up", result.err)

    def test_a_change_of_trust_waits_for_another_one_as_long_as_is_asked(self):
        with open(self.node.root / "etc/lumtrust.lock", "w", encoding="utf-8") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            result = self.ends_in_time("lumtrust", "grant", "somebody", "list", "--timeout", LIMIT_S)
        self.assertEqual(result.code, FAILED, result)
        self.assertIn("Nothing was changed: another lumtrust holds", result.err)
        self.assertNotIn("somebody", self.node.tool("lumtrust", "rights").out)

    def test_a_change_of_trust_shows_that_it_waits_for_the_daemon(self):
        self.hang()
        command = self.node.command("lumtrust", "grant", "somebody", "list")
        with Terminal(command, self.node.environment()) as terminal:
            terminal.await_text("waiting for the running daemon (")
            self.node.daemon.send_signal(signal.SIGCONT)
            self.assertEqual(terminal.end(), DONE, terminal.shown)
            self.assertIn("The running daemon has taken it up.", terminal.lines())
            self.assertNotIn("waiting for", "\n".join(terminal.lines()), "the line goes")

    def test_a_change_of_trust_that_is_ended_while_it_waits_tells_what_became_of_it(self):
        self.hang()
        with Terminal(self.node.command("lumtrust", "grant", "somebody", "list"), self.node.environment()) as terminal:
            terminal.await_text("waiting for the running daemon (")
            terminal.press(CTRL_C)
            self.assertEqual(terminal.end(), 130, terminal.shown)
            said = " ".join(" ".join(terminal.lines()).split())
            self.assertIn("The change was made, but the running daemon may not have taken it up; reload it.", said)
            self.assertNotIn("waiting for", said, "the line goes")
        self.assertIn("somebody", self.node.tool("lumtrust", "rights").out)
        command = self.node.command("lumtrust", "grant", "another", "list")
        with subprocess.Popen(command, env=self.node.environment(), stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              text=True) as change:
            self.assertIn("another: list", change.stdout.readline())
            # It may not have begun to wait: then it ends as any program does.
            change.terminate()
            said = change.communicate(timeout=PATIENCE_S)[1]
        self.assertIn((change.returncode, "The change was made" in said), ((143, True), (-15, False)))

    def test_a_node_that_does_not_answer_in_time_may_wait_for_a_consumer_and_that_is_told(self):
        advice = "A node that waits for a consumer answers 'lumpolicy status' meanwhile"
        self.node.held_consumer("CHECK_POLICY:*")
        result = self.ends_in_time("lumpolicy", "install", sorted(EXAMPLES.glob("*_header.xml"))[0], "--timeout", LIMIT_S)
        self.assertEqual(result.code, UNREACHABLE, result)
        self.assertIn(advice, " ".join(result.err.split()))
        self.assertEqual(self.node.policy("status").code, DONE, "it is as the advice says")
        (self.node.folder / "gate").touch()
        self.hang()
        for command in ("list", "status"):
            result = self.ends_in_time("lumpolicy", command, "--timeout", LIMIT_S)
            self.assertIn(advice, " ".join(result.err.split()))

    def test_the_status_of_a_daemon_that_hangs_shows_what_it_waits_for_until_ctrl_c(self):
        self.hang()
        with Terminal(self.node.command("lumconfd", "--status"), self.node.environment()) as terminal:
            terminal.await_text("waiting for localhost (")
            terminal.press(CTRL_C)
            self.assertEqual(terminal.end(), 128 + signal.SIGINT, terminal.shown)
            self.assertIn("lumconfd: Ended before 'localhost' answered.", terminal.lines())

    def test_a_node_that_hangs_is_tried_once_for_all_the_work_with_it(self):
        self.trust_somebody()
        silent = self.silent()
        result = self.node.policy("list", "--type", "backup", "--host", f"127.0.0.1:{silent.port}")
        self.assertEqual(result.code, UNREACHABLE, result)
        self.assertEqual(len(silent.taken), 1, "neither the question for its version nor the call itself twice")

    def test_one_node_that_hangs_takes_no_more_than_its_limit_of_many(self):
        self.trust_somebody()
        hosts = [argument for _ in range(8) for argument in ("--host", f"127.0.0.1:{self.silent().port}")]
        result = self.ends_in_time("lumpolicy", "list", "--timeout", LIMIT_S, "--host", "localhost", *hosts)
        self.assertIn("9 nodes", result.out)
        self.assertIn("8 unreachable", result.out)

    def test_a_limit_that_is_none_is_refused(self):
        for limit in ("0", "-1", "86401", "soon", ""):
            self.assertEqual(self.node.policy("list", "--timeout", limit).code, WRONG_USAGE, limit)
            self.assertEqual(self.node.tool("lumtrust", "grant", "a", "list", "--timeout", limit).code, WRONG_USAGE)
            self.assertEqual(self.node.tool("lumcluster", "status", "--timeout", limit).code, WRONG_USAGE)
            for tool in ("lumclusterinfo", "lumappinstance"):
                result = self.node.tool(tool, "-timeout", limit, "-version")
                self.assertEqual((result.code, result.out), (WRONG_USAGE, ""), result)
                self.assertIn("-timeout needs a number of seconds from 1 to 86400", result.err)
        self.assertEqual(self.node.tool("lumconfd", "--timeout", "5").code, WRONG_USAGE)
        self.assertEqual(self.node.policy("list", "--host", f"127.0.0.1:{free_port()}", "--timeout", "5").code, UNREACHABLE)


if __name__ == "__main__":
    unittest.main()
