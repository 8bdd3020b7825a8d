#!/usr/bin/python3
"""Nothing of a cluster is left behind, however its test ends."""
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time
import unittest

import pacemaker_nodes
from cluster_nodes import children
from node import PATIENCE_S, wait_until
from pacemaker_files import NAMES
from test_pacemaker_live import setUpModule  # noqa: F401 (these tests need the same)

# The second program of its kind that is started fails.
FAILING_UNSHARE = """\
#!/bin/sh
[ -e '{folder}/first' ] && exit 1
touch '{folder}/first'
exec /usr/bin/unshare "$@"
"""


def family(process):
    """The process and all below it."""
    found = [str(process)]
    for each in found:
        try:
            found += children(each)
        except (FileNotFoundError, ProcessLookupError):
            continue
    return found


def spaces_of(processes):
    """All of their namespaces."""
    found = set()
    for process in processes:
        for kind in os.listdir("/proc/self/ns"):
            try:
                found.add(os.readlink(f"/proc/{process}/ns/{kind}"))
            except (FileNotFoundError, ProcessLookupError, PermissionError):
                break
    return found


def now():
    """In the ticks in which the system tells when a process began."""
    return int(time.clock_gettime(time.CLOCK_BOOTTIME) * os.sysconf("SC_CLK_TCK"))


def began(process):
    try:
        return int(pathlib.Path(f"/proc/{process}/stat").read_text().rpartition(")")[2].split()[19])
    except (FileNotFoundError, ProcessLookupError):
        return sys.maxsize


def everybody(until):
    """Who began no later: the numbers of namespaces that have ended are given to new ones, also to those of others."""
    return [path.name for path in pathlib.Path("/proc").glob("[0-9]*") if began(path.name) <= until]


def traces():
    """What there is here beside processes."""
    links = json.loads(subprocess.run(["ip", "-j", "link"], check=True, capture_output=True).stdout)
    named = subprocess.run(["ip", "netns"], check=True, capture_output=True, text=True).stdout
    return pathlib.Path("/proc/self/mountinfo").read_text(), sorted(link["ifname"] for link in links), named


class LeftBehind(unittest.TestCase):
    def setUp(self):
        held = tempfile.TemporaryDirectory(prefix="lumtrial.", ignore_cleanup_errors=True)
        self.addCleanup(held.cleanup)
        self.folder = pathlib.Path(held.name)
        self.folder.chmod(0o755)
        self.before = traces()

    def start(self, **environment):
        (self.folder / "nodes").mkdir()
        trial = subprocess.Popen([sys.executable, "-B", pacemaker_nodes.__file__, *NAMES[:2]], stdin=subprocess.PIPE,
                                 stdout=subprocess.PIPE, text=True,
                                 env=dict(os.environ, TMPDIR=str(self.folder / "nodes"), **environment))
        self.addCleanup(trial.__exit__, None, None, None)
        self.addCleanup(trial.kill)
        return trial

    def start_nodes(self):
        trial = self.start()
        self.assertEqual([trial.stdout.readline().split()[0] for _ in NAMES[:2]], list(NAMES[:2]))
        ours = spaces_of([os.getpid()])
        wait_until(lambda: len(family(trial.pid)) > 2 * 8, "the daemons of both run")
        self.spaces = spaces_of(family(trial.pid)) - ours
        self.assertGreaterEqual(len(self.spaces), 1 + 2 * 5)
        self.until = now()
        return trial

    def assert_nothing_is_left(self, folders=()):
        wait_until(lambda: not self.spaces & spaces_of(everybody(self.until)), "all of its processes end, and their namespaces")
        wait_until(lambda: traces() == self.before, f"all is as before: {self.before}, {traces()}")
        self.assertEqual(sorted(os.listdir(self.folder / "nodes")), sorted(folders))

    def test_nothing_is_left_when_the_test_is_over(self):
        trial = self.start_nodes()
        trial.stdin.close()
        self.assertEqual(trial.wait(PATIENCE_S), 0)
        self.assert_nothing_is_left()

    def test_nothing_is_left_when_the_test_is_asked_to_end(self):
        trial = self.start_nodes()
        trial.terminate()
        self.assertEqual(trial.wait(PATIENCE_S), 0)
        self.assert_nothing_is_left()

    def test_nothing_but_folders_is_left_when_the_test_is_killed(self):
        trial = self.start_nodes()
        folders = os.listdir(self.folder / "nodes")
        trial.kill()
        trial.wait(PATIENCE_S)
        self.assert_nothing_is_left(folders)

    def test_nothing_is_left_when_a_node_cannot_be_started(self):
        (self.folder / "unshare").write_text(FAILING_UNSHARE.format(folder=self.folder))
        (self.folder / "unshare").chmod(0o755)
        trial = self.start(PATH=f"{self.folder}:{os.environ['PATH']}")
        ours, self.spaces = spaces_of([os.getpid()]), set()
        while trial.poll() is None:
            self.spaces |= spaces_of(family(trial.pid)) - ours
            self.until = now()
        self.assertNotEqual(trial.returncode, 0)
        self.assertGreaterEqual(len(self.spaces), 1 + 5, "the first one was there")
        self.assert_nothing_is_left()


if __name__ == "__main__":
    unittest.main()
