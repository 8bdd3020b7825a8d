#!/usr/bin/python3
"""Three daemons on one simulated cluster: policies and commands follow what moves between their nodes.

Whatever happens: from the second cycle on that a node begins after the last change, its policies are as the cluster is,
and none is enabled on two nodes. What is enabled where in between is measured and printed.
"""
import os
import pathlib
import random
import shutil
import signal
import subprocess
import sys
import threading
import time
import unittest

import cluster_nodes
import strangers
from cluster_nodes import CALM, FOLLOWER_NAMES, FOLLOWERS, NAMES, Nodes, address_of, description
from node import DONE, PATIENCE_S, SLOWNESS, TRIAL_SECONDS, wait_until

CLUSTER_FAILED = "ClusterException in monitor thread."
# As the product's tools have it when its daemon does not run. A cycle that has begun is not disturbed.
DOWN = {"call": "haclus*", "print": "", "error": "VCS ERROR V-16-1-10600 Cannot connect to VCS engine\n", "code": 1}
nodes = None


def setUpModule():
    global nodes
    strangers.own_network()
    nodes = Nodes()
    unittest.addModuleCleanup(nodes.close)
    nodes.start()


class OnThreeNodes(unittest.TestCase):
    """The group web is on alpha at first, and database on beta; gamma has nothing."""

    def setUp(self):
        self.nodes = nodes
        self.nodes.calm()
        self.alpha, self.beta, self.gamma = self.nodes
        self.noted = {node.name: len(node.notes()) for node in self.nodes}
        for group, system in CALM.items():
            self.assertEqual([self.nodes.where(name) for name in FOLLOWERS[group]], [[system]] * 2)

    def notes(self, node):
        """What was noted there since the test began."""
        return node.notes()[self.noted[node.name]:]

    def assert_settled(self, moment, nodes=None, **groups):
        """Nothing has changed since that moment: two cycles later everything is as the cluster is, and stays so."""
        self.nodes.await_cycles(moment, 2, nodes)
        settled = self.nodes.watcher.look()
        self.nodes.await_cycles(settled, 1, nodes)
        for group, system in (CALM | groups).items():
            for name in FOLLOWERS[group]:
                for _, _, where in self.nodes.watcher.spans(name, settled):
                    self.assertEqual(where or (), (system,) if system else (), f"{name} of {group}")

    def tell(self, what, moment):
        """For how long policies were enabled nowhere, and on two nodes; both are compared with nothing."""
        watcher = self.nodes.watcher
        nowhere = max(watcher.length(name, moment, lambda where: where == ()) for name in FOLLOWER_NAMES)
        twice = max(watcher.length(name, moment, lambda where: where and len(where) > 1) for name in FOLLOWER_NAMES)
        longest = max(node.longest_cycle_since(moment) for node in self.nodes)
        print(f"{what}: enabled nowhere for {nowhere * 1e3:.0f} ms, on two nodes for {twice * 1e3:.0f} ms;"
              f" from cycle to cycle up to {longest * 1e3:.0f} ms")

    def set(self, node, **values):
        """Settings of conf.cluster, until the test ends."""
        for key, value in values.items():
            before = node.tool("lumsettings", "get", "conf.cluster", key)
            undo = ("set", "conf.cluster", f"{key}={before.out.strip()}") if before.code == DONE else \
                ("clear", "conf.cluster", key)
            self.addCleanup(node.tool, "lumsettings", *undo)
            result = node.tool("lumsettings", "set", "conf.cluster", f"{key}={value}")
            self.assertEqual(result.code, DONE, result)
        return time.monotonic()

    def hold(self, node, call):
        """A call of the node's tools begins and waits, until the returned file is there."""
        release = node.folder / "release"
        release.unlink(missing_ok=True)
        self.addCleanup(release.touch)
        before = node.waits()
        node.see(conducts=[{"call": f"{call}*", "waitFor": str(release)}])
        wait_until(lambda: node.waits() > before, f"{call} waits on {node.name}")
        return release


class Moves(OnThreeNodes):
    def test_policies_and_commands_follow_a_group_to_another_node(self):
        moment = self.nodes.place(web="beta")
        self.assert_settled(moment, web="beta")
        self.tell("a group moves", moment)
        self.assertEqual([self.notes(node) for node in self.nodes], [["stop till"], ["start till"], []])

    def test_two_groups_swap_their_nodes(self):
        moment = self.nodes.place(web="beta", database="alpha")
        self.assert_settled(moment, web="beta", database="alpha")
        self.tell("two groups swap", moment)
        # The one may be seen in the cycle that runs already, the other one in the next.
        self.assertEqual(sorted(self.notes(self.alpha)), ["start stock", "stop till"])
        self.assertEqual(sorted(self.notes(self.beta)), ["start till", "stop stock"])
        self.assertEqual(self.notes(self.gamma), [])

    def test_a_group_that_is_nowhere_enables_nothing(self):
        self.assert_settled(self.nodes.place(web=None), web=None)
        self.assert_settled(self.nodes.place(web="gamma"), web="gamma")
        self.assertEqual([self.notes(node) for node in self.nodes], [["stop till"], [], ["start till"]])

    def test_a_group_that_flaps_ends_where_it_stays(self):
        pace = threading.Event()
        begin = time.monotonic()
        while time.monotonic() < begin + TRIAL_SECONDS:
            for system in ("beta", "alpha"):
                pace.wait(0.05)
                self.nodes.place(web=system)
        moment = self.nodes.place(web="beta")
        self.assert_settled(moment, web="beta")
        for node, last in ((self.alpha, "stop till"), (self.beta, "start till")):
            notes = self.notes(node)
            self.assertEqual(notes[-1], last)
            self.assertTrue(all(one != other for one, other in zip(notes, notes[1:])), notes)
        self.assertEqual(self.notes(self.gamma), [])

    def test_an_application_that_is_here_at_the_start_gets_its_policies_and_no_command(self):
        self.assert_settled(self.nodes.place(web=None), web=None)
        self.alpha.stop()
        self.nodes.place(web="alpha")
        self.alpha.start()
        self.assert_settled(time.monotonic())
        self.assertEqual(self.notes(self.alpha), ["stop till"])


class Ends(OnThreeNodes):
    def test_a_node_that_dies_leaves_its_group_to_another_and_is_corrected_when_it_is_back(self):
        self.alpha.die()
        self.nodes.cluster.system("alpha")["state"] = "offline"
        moment = self.nodes.place(web="beta")
        self.assert_settled(moment, web="beta")
        self.tell("a node dies", moment)
        self.nodes.cluster.system("alpha")["state"] = "online"
        moment = self.nodes.place(web="beta")
        self.assertEqual(self.alpha.status("web-checks"), "enabled", "nobody could tell it")
        self.alpha.start()
        self.assert_settled(time.monotonic(), web="beta")
        self.tell("it is back", moment)
        self.assertEqual([self.notes(node) for node in self.nodes], [[], ["start till"], []])
        self.assertIn("'till' of the application 'shop' has left this node while nobody watched", self.alpha.log)

    def test_a_restart_in_the_middle_of_a_cycle_forgets_what_moved_meanwhile_and_sets_it_right(self):
        self.hold(self.alpha, "hagrp -state web")
        begin = time.monotonic()
        self.assertEqual(self.alpha.stop(), 0)
        self.assertLess(time.monotonic() - begin, 5 * SLOWNESS)
        self.alpha.see_the_cluster()
        moment = self.nodes.place(web="gamma", database="alpha")
        self.alpha.start()
        self.assert_settled(time.monotonic(), web="gamma", database="alpha")
        self.tell("a restart while groups move", moment)
        self.assertEqual([self.notes(node) for node in self.nodes], [[], ["stop stock"], ["start till"]])
        self.assertIn("'till' of the application 'shop' has left this node while nobody watched", self.alpha.log)
        self.assertIn("'stock' of the application 'store' has come to this node while nobody watched", self.alpha.log)

    def test_a_node_that_is_cut_off_and_knows_it_gives_up_what_it_has(self):
        self.alpha.cut()
        moment = self.nodes.place(web="beta")
        fenced = description()
        for system in fenced["systems"]:
            system["state"] = "online" if system["name"] == "alpha" else "offline"
        self.alpha.see(systems=fenced["systems"], groups=fenced["groups"])
        self.assert_settled(time.monotonic(), web="beta")
        self.alpha.join()
        self.alpha.see_the_cluster()
        self.assert_settled(time.monotonic(), web="beta")
        self.tell("a node is cut off", moment)
        self.assertEqual([self.notes(node) for node in self.nodes], [["stop till"], ["start till"], []])

    def test_a_node_that_is_cut_off_and_sees_nothing_keeps_what_it_has_until_it_sees_again(self):
        self.alpha.cut()
        self.alpha.see(conducts=[DOWN])
        moment = self.nodes.place(web="beta")
        self.nodes.await_cycles(time.monotonic(), 2)
        self.assertEqual(self.nodes.where("web-checks"), ["alpha", "beta"])
        self.alpha.join()
        self.alpha.see_the_cluster()
        self.assert_settled(time.monotonic(), web="beta")
        self.tell("a node is blind for two cycles", moment)
        self.assertEqual([self.notes(node) for node in self.nodes], [["stop till"], ["start till"], []])


class Failures(OnThreeNodes):
    def failures(self):
        return [node.log.count(CLUSTER_FAILED) for node in self.nodes]

    def test_a_cluster_that_goes_down_changes_nothing_and_is_followed_when_it_is_back(self):
        before = self.failures()
        self.nodes.cluster.write(conducts=[DOWN])
        wait_until(lambda: all(now > then for now, then in zip(self.failures(), before)), "each tells of it")
        self.assert_settled(time.monotonic())
        self.nodes.cluster.description["conducts"] = []
        self.assert_settled(self.nodes.place(web="gamma"), web="gamma")
        self.assertEqual([self.notes(node) for node in self.nodes], [["stop till"], [], ["start till"]])

    def test_a_cluster_that_goes_down_in_the_middle_of_a_cycle_enables_nothing_twice(self):
        release = self.hold(self.alpha, "hasys -list")
        self.nodes.cluster.write(conducts=[{**DOWN, "call": "*"}])
        self.alpha.see_the_cluster()
        moment = time.monotonic()
        release.touch()
        self.nodes.await_cycles(moment, 2)
        # What moves while nobody sees it is taken up when it is back.
        self.nodes.await_cycles(self.nodes.place(web="beta"), 2)
        for name in FOLLOWER_NAMES:
            for _, _, where in self.nodes.watcher.spans(name, moment):
                self.assertLessEqual(len(where or ()), 1, name)
        self.nodes.cluster.description["conducts"] = []
        self.assert_settled(self.nodes.place(web="gamma"), web="gamma")

    def test_a_tool_that_hangs_without_limit_holds_its_node_alone(self):
        release = self.hold(self.alpha, "hagrp -display")
        moment = self.nodes.place(web="beta")
        self.nodes.await_cycles(moment, 3, [self.beta, self.gamma])
        self.assertEqual(self.nodes.where("web-checks"), ["alpha", "beta"])
        self.assertEqual(self.alpha.cycles_since(moment), [])
        self.alpha.see_the_cluster()
        release.touch()
        self.assert_settled(time.monotonic(), web="beta")
        self.tell("a tool hangs for three cycles", moment)
        self.assertEqual([self.notes(node) for node in self.nodes], [["stop till"], ["start till"], []])

    def test_a_tool_that_hangs_with_a_limit_fails_its_cycle_and_the_next_one_begins(self):
        self.set(self.alpha, TOOL_TIMEOUT=1)
        self.alpha.see(conducts=[{"call": "hagrp -display*", "hang": True}])
        moment, before = self.nodes.place(web="beta"), self.alpha.log.count(CLUSTER_FAILED)
        wait_until(lambda: self.alpha.log.count(CLUSTER_FAILED) >= before + 2, "two cycles fail")
        self.assertEqual(self.nodes.where("web-checks"), ["alpha", "beta"])
        self.alpha.see_the_cluster()
        self.assert_settled(time.monotonic(), web="beta")
        self.tell("a tool hangs until two cycles have failed", moment)
        self.assertEqual([self.notes(node) for node in self.nodes], [["stop till"], ["start till"], []])


class Changes(OnThreeNodes):
    def test_a_monitor_that_is_switched_off_and_on_takes_up_what_has_moved(self):
        self.set(self.alpha, MONITOR_MODE="FALSE")
        # The cycle that runs may still see it; none begins behind it.
        begun = self.nodes.await_cycles(time.monotonic(), 2, [self.beta, self.gamma])
        moment = self.nodes.place(web="beta")
        self.nodes.await_cycles(moment, 3, [self.beta, self.gamma])
        self.assertEqual(self.alpha.cycles_since(begun), [])
        self.assertEqual(self.nodes.where("till-checks"), ["alpha", "beta"])
        self.assert_settled(self.set(self.alpha, MONITOR_MODE="TRUE"), web="beta")
        self.tell("a monitor is off for three cycles", moment)
        self.assertEqual([self.notes(node) for node in self.nodes], [["stop till"], ["start till"], []])

    def test_policies_that_come_and_go_in_the_middle_of_a_cycle_are_followed(self):
        self.addCleanup(self.alpha.install, "web-checks", "web")
        self.addCleanup(self.alpha.policy, "remove", "--name", "late-web")
        release = self.hold(self.alpha, "hasys -list")
        self.alpha.install("late-web", status="disabled")
        self.assertEqual(self.alpha.policy("remove", "--name", "web-checks", "--no-notify").code, DONE)
        self.alpha.see_the_cluster()
        release.touch()
        self.nodes.await_cycles(time.monotonic(), 2)
        self.assertEqual((self.alpha.status("late-web"), self.alpha.status("web-checks")), ("enabled", None))
        self.nodes.await_cycles(self.nodes.place(web="beta"), 2)
        self.assertEqual(self.nodes.where("late-web"), [])
        self.assertEqual(self.nodes.where("web-checks"), ["beta"])

    def test_policies_that_come_and_go_all_the_time_are_right_in_the_end(self):
        failed = [node.log.count("in monitor thread") for node in self.nodes]
        for number in range(6):
            self.nodes.place(web=NAMES[number % 2])
            for node in (self.alpha, self.beta):
                self.assertEqual(node.policy("remove", "--name", "web-checks", "--no-notify").code, DONE)
                node.install("web-checks", "web", status=("enabled", "disabled")[number % 2])
        self.assert_settled(time.monotonic(), web="beta")
        self.assertEqual([node.log.count("in monitor thread") for node in self.nodes], failed)

    def test_names_that_differ_in_the_form_of_an_address_are_other_names(self):
        addresses = dict(zip(NAMES, map(address_of, NAMES)))
        self.nodes.cluster.description = description(addresses.values())
        moment = self.nodes.place(web=addresses["alpha"], database=addresses["beta"])
        self.assert_settled(moment, web=None, database=None)
        for node in self.nodes:
            moment = self.set(node, CLUSTER_LOCAL_NODENAME=addresses[node.name])
        self.assert_settled(moment)
        for node in self.nodes:
            node.tool("lumsettings", "clear", "conf.cluster", "CLUSTER_LOCAL_NODENAME")
        self.assert_settled(time.monotonic(), web=None, database=None)
        self.nodes.cluster.description = description()
        self.assert_settled(self.nodes.place(**CALM))
        self.assertEqual([self.notes(node) for node in self.nodes],
                         [["stop till", "start till"] * 2, ["stop stock", "start stock"] * 2, []])

    def test_a_cycle_in_which_nothing_changed_writes_nothing_and_tells_nobody(self):
        told = self.alpha.consumer("*")
        self.nodes.await_cycles(time.monotonic(), 2)
        before, heard = files(self.alpha.root), told.events()
        self.nodes.await_cycles(time.monotonic(), 4)
        self.assertEqual((files(self.alpha.root), told.events()), (before, heard))
        self.nodes.await_cycles(self.nodes.place(web="beta"), 2)
        self.assertNotEqual(files(self.alpha.root), before)
        told.await_count(len(heard) + 1)

    def test_whatever_happens_all_is_right_in_the_end(self):
        seed = int(os.environ.get("LUM_SEED", random.randrange(1 << 30)))
        chance = random.Random(seed)
        begin = time.monotonic()
        with self.subTest(LUM_SEED=seed):
            while time.monotonic() < begin + TRIAL_SECONDS:
                self.assert_right_after_anything(chance)

    def assert_right_after_anything(self, chance):
        pace = threading.Event()
        for _ in range(chance.randrange(1, 8)):
            chance.choice((self.move_anything, self.hide_the_cluster, self.restart, self.kill))(chance)
            pace.wait(chance.random() * 0.3)
        for node in self.nodes:
            node.see_the_cluster()
            if not node.runs():
                node.start()
        places = {group: chance.choice((*NAMES, None)) for group in CALM}
        self.nodes.place(**places)
        self.assert_settled(time.monotonic(), **places)

    def move_anything(self, chance):
        self.nodes.place(**{group: chance.choice((*NAMES, None)) for group in CALM})

    def hide_the_cluster(self, chance):
        chance.choice(self.nodes.nodes).see(conducts=[{**DOWN, "call": chance.choice(("*", "hagrp*", "hasys -list"))}])

    def restart(self, chance):
        node = chance.choice(self.nodes.nodes)
        if node.runs():
            node.stop()
        node.see_the_cluster()
        node.start()

    def kill(self, chance):
        node = chance.choice(self.nodes.nodes)
        if node.runs():
            node.die()


class LeftBehind(unittest.TestCase):
    def test_nothing_is_left_when_the_test_is_killed(self):
        with subprocess.Popen([sys.executable, "-B", cluster_nodes.__file__], stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE, text=True) as trial:
            self.addCleanup(trial.kill)
            folders = trial.stdout.readline().split()
            for folder in folders:
                self.addCleanup(shutil.rmtree, folder, ignore_errors=True)
            self.assertEqual(trial.stdout.readline(), "ready\n")
            network = os.readlink(f"/proc/{trial.pid}/ns/net")
            self.assertGreater(len(processes(folders, network)), 9)
            trial.send_signal(signal.SIGKILL)
            trial.wait()
        wait_until(lambda: not processes(folders, network), "all of its processes end")
        mounts = pathlib.Path("/proc/self/mountinfo").read_text()
        self.assertEqual([folder for folder in folders if folder in mounts], [])


def files(root):
    """What tells whether a file was written, or written anew."""
    return {str(path): (path.stat().st_ino, path.stat().st_mtime_ns) for path in sorted(root.rglob("*"))}


def processes(folders, network):
    """Those that were started with one of the folders, or are in that network."""
    found = []
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            text = (process / "environ").read_text(errors="replace") + (process / "cmdline").read_text(errors="replace")
            if os.readlink(process / "ns/net") == network or any(folder in text for folder in folders):
                found.append(process.name)
        except (FileNotFoundError, ProcessLookupError, PermissionError):
            pass
    return found


if __name__ == "__main__":
    unittest.main()
