#!/usr/bin/python3
"""A cluster and its applications as they change before somebody's eyes."""
import json
import os
import pty
import re
import select
import signal
import subprocess
import time
import unittest

from node import DONE, FAILED, PATIENCE_S, WRONG_USAGE, wait_until
from test_cluster_tool import OnACluster, TOOL


class Watch(OnACluster):
    def watch(self, cluster, *arguments, **keywords):
        return cluster.start(TOOL, "status", "--watch", "--interval", "1", *arguments, **keywords)

    def test_on_a_pipe_each_change_is_a_line(self):
        cluster = self.cluster()
        out = cluster.folder / "out"
        with open(out, "wb") as stream:
            watch = self.watch(cluster, "--json", stdout=stream, stderr=subprocess.PIPE)

        def lines():
            return [json.loads(line) for line in out.read_text().splitlines()]
        wait_until(lambda: any(line["name"] == "shop::stock" for line in lines()), "the first look is told")
        first = len(lines())
        self.assertTrue(all(line["was"] is None for line in lines()))
        cluster.group("web")["states"] = {"alpha": "online"}
        cluster.write()
        wait_until(lambda: len(lines()) >= first + 2, "the change is told")
        self.assertEqual([(line["kind"], line["name"], line["was"], line["is"]) for line in lines()[first:]],
                         [("group", "web", "Online on beta", "Online on alpha"),
                          ("instance", "shop::till", "Offline on beta, not here", "Online on alpha, here")])
        self.end(watch)

    def end(self, watch, how=signal.SIGINT):
        """The box hands no signal on: the tool itself gets it."""
        for process in self.descendants(watch.pid):
            if self.name_of(process) == "lumcluster":
                os.kill(process, how)
        self.assertEqual(watch.wait(PATIENCE_S), DONE)

    @staticmethod
    def name_of(pid):
        try:
            with open(f"/proc/{pid}/comm", encoding="utf-8") as file:
                return file.read().strip()
        except OSError:
            return ""

    def descendants(self, pid):
        try:
            with open(f"/proc/{pid}/task/{pid}/children", encoding="utf-8") as file:
                children = [int(child) for child in file.read().split()]
        except OSError:
            return []
        return children + [further for child in children for further in self.descendants(child)]

    def test_each_signal_to_stop_ends_it_at_once_also_while_a_tool_hangs(self):
        for how in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            cluster = self.cluster(settings={"TOOL_TIMEOUT": 0})
            cluster.let("hagrp -display*", hang=True)
            watch = self.watch(cluster, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            wait_until(lambda: cluster.calls("hagrp -display"), "the tool hangs")
            self.end(watch, how)
            self.assertEqual(watch.stdout.read(), b"", "what was ended tells nothing of the cluster")

    def test_it_ends_when_nobody_reads_any_more(self):
        cluster = self.cluster()
        watch = self.watch(cluster, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.assertIn(b"settings: read", watch.stdout.readline())
        self.assertIn(b"cluster: harbour", watch.stdout.readline())
        watch.stdout.close()
        moves = 0
        while watch.poll() is None and moves < 100:
            cluster.group("web")["states"] = {["alpha", "beta"][moves % 2]: "online"}
            cluster.write()
            moves += 1
            try:
                watch.wait(1)
            except subprocess.TimeoutExpired:
                pass
        self.assertEqual(watch.wait(PATIENCE_S), FAILED)

    def test_a_terminal_is_drawn_anew_and_left_as_it_was(self):
        cluster = self.cluster()
        master, terminal = pty.openpty()
        self.addCleanup(os.close, master)
        watch = self.watch(cluster, stdout=terminal, stderr=terminal)
        os.close(terminal)
        shown = self.read(master, b"here")
        self.assertIn(b"\033[?1049h", shown)
        cluster.group("web")["states"] = {"alpha": "online"}
        cluster.write()
        shown = self.read(master, b"till      web       Online")
        self.end(watch)
        shown = self.read(master, b"\033[?1049l")
        for restored in (b"\033[?7h", b"\033[?25h", b"\033[?1049l"):
            self.assertIn(restored, shown)
        self.assertTrue(shown.endswith(b"\033[?1049l"), shown[-80:])

    def test_who_is_suspended_gives_the_terminal_back_and_takes_it_again_with_what_stood_there(self):
        cluster = self.cluster()
        master, terminal = pty.openpty()
        self.addCleanup(os.close, master)
        # A group of its own, which this process can continue: elsewhere the system suspends nobody.
        watch = cluster.start(TOOL, "status", "--watch", "--interval", "3600", stdout=terminal, stderr=terminal,
                              process_group=0)
        os.close(terminal)
        self.read(master, b"here")
        tool = next(each for each in self.descendants(watch.pid) if self.name_of(each) == "lumcluster")
        for _ in range(2):
            os.kill(tool, signal.SIGTSTP)
            wait_until(lambda: self.state_of(tool) == "T", "it is suspended")
            self.assertTrue(self.read(master, b"\033[?1049l").endswith(b"\033[?7h\033[?25h\033[?1049l"))
            os.kill(tool, signal.SIGCONT)
            shown = self.read(master, b"here")
            self.assertTrue(shown.startswith(b"\033[?1049h"), shown[:80])
            self.assertNotEqual(self.state_of(tool), "T")
        self.end(watch)
        self.read(master, b"\033[?1049l")

    @staticmethod
    def state_of(pid):
        with open(f"/proc/{pid}/stat", encoding="utf-8") as file:
            return file.read().rsplit(")", 1)[1].split()[0]

    def test_settings_that_cannot_be_read_are_told_and_the_watch_goes_on(self):
        cluster = self.cluster()
        settings = cluster.root / "etc/pal/config/local_settings.ini"
        good = settings.read_text()
        out = cluster.folder / "out"
        with open(out, "wb") as stream:
            watch = self.watch(cluster, stdout=stream, stderr=subprocess.PIPE)
        wait_until(lambda: re.search(r"instance shop::stock: .*\n", out.read_text()), "the first look is told to its last line")
        first = out.read_text()
        settings.write_text("neither this nor that\n")
        wait_until(lambda: "settings: cannot be read (" in out.read_text(), "it is told")
        settings.write_text(good)
        wait_until(lambda: "settings: read (was cannot be read (" in out.read_text(), "it is over")
        later = out.read_text()[len(first):]
        self.assertEqual(len(later.splitlines()), 2, "nothing else is told as changed or gone: " + later)
        self.end(watch)

    @staticmethod
    def read(master, wanted):
        shown, end = b"", time.monotonic() + PATIENCE_S
        while wanted not in shown and time.monotonic() < end:
            if select.select([master], [], [], 1)[0]:
                try:
                    shown += os.read(master, 65536)
                except OSError:
                    break
        assert wanted in shown, shown
        return shown

    def test_an_interval_without_a_watch_is_refused(self):
        cluster = self.cluster()
        for arguments in (("--interval", "1"), ("--watch", "--interval", "0"), ("--watch", "--interval", "x")):
            self.assertEqual(self.ask(cluster, "status", *arguments).code, WRONG_USAGE, arguments)


if __name__ == "__main__":
    unittest.main()
