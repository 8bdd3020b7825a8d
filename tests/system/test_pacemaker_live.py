#!/usr/bin/python3
"""Real clusters, Pacemaker and Corosync, whose nodes have namespaces of their own on this machine."""
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import unittest

import pacemaker_nodes
import strangers
from node import ROOT, SLOWNESS, wait_until
from pacemaker_nodes import CALM, NAMES, Nodes


def setUpModule():
    subprocess.run([ROOT / "scripts/cluster-packages"], check=True)
    strangers.own_network()


class TheClusterAlone(unittest.TestCase):
    """Without daemons of ours."""

    def test_nodes_are_online_within_seconds_and_move_a_group_with_its_address(self):
        nodes = Nodes(NAMES[:2], two_node=True)
        self.addCleanup(nodes.close)
        online_after_s = nodes.start_cluster()
        print(f"two nodes were online after {online_after_s:.1f} s", flush=True)
        self.assertLess(online_after_s, 3 * 5 * SLOWNESS)
        nodes.place(**CALM)
        self.assertEqual([node.has_address("web") for node in nodes], [True, False])
        nodes.place(web="beta")
        self.assertEqual([node.has_address("web") for node in nodes], [False, True])


class LeftBehind(unittest.TestCase):
    def test_nothing_is_left_when_the_test_is_killed(self):
        with subprocess.Popen([sys.executable, "-B", pacemaker_nodes.__file__, *NAMES[:2]], stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE, text=True) as trial:
            self.addCleanup(trial.kill)
            lines = [trial.stdout.readline().split() for _ in NAMES[:2]]
            spaces = {os.readlink(f"/proc/{process}/ns/{kind}") for process in [trial.pid, *(line[1] for line in lines)]
                      for kind in ("net", "mnt", "pid")} - {os.readlink(f"/proc/self/ns/{kind}") for kind in
                                                            ("net", "mnt", "pid")}
            for _, _, folder in lines:
                self.addCleanup(shutil.rmtree, folder, ignore_errors=True)
            self.assertGreater(len(processes(spaces)), 2 * 8)
            trial.send_signal(signal.SIGKILL)
            trial.wait()
        wait_until(lambda: not processes(spaces), "all of its processes end")
        mounts = pathlib.Path("/proc/self/mountinfo").read_text()
        self.assertEqual([folder for _, _, folder in lines if folder in mounts], [])


def processes(spaces):
    """Those that are in one of the namespaces."""
    found = []
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        for kind in ("net", "mnt", "pid"):
            try:
                if os.readlink(process / "ns" / kind) in spaces:
                    found.append(process.name)
                    break
            except (FileNotFoundError, ProcessLookupError, PermissionError):
                break
    return found


if __name__ == "__main__":
    unittest.main()
