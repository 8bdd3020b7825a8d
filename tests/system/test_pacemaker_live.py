#!/usr/bin/python3
"""Daemons on real clusters of two and three nodes: policies and commands follow what Pacemaker moves between them.

Whatever happens: from the second look on that a node begins after the last change, its policies are as the cluster is,
and none is enabled on two nodes. What passes until then is measured and printed.
"""
import os
import pathlib
import random
import shutil
import subprocess
import time
import unittest

import pacemaker_nodes
import strangers
from cluster_nodes import FOLLOWER_NAMES, FOLLOWERS, children
from node import BUILD, DONE, FAILED, PATIENCE_S, ROOT, SLOWNESS, TOOLS
from pacemaker_files import NAMES
from pacemaker_nodes import CALM, INTERVAL_MS, Nodes, since_boot

WORDS = "conf.cluster.RGState.PCMK"
LONG = bool(os.environ.get("LUM_LONG"))
FAIL_OVERS = 100 if LONG else 1


def setUpModule():
    subprocess.run([ROOT / "scripts/cluster-packages"], check=True)
    strangers.own_network()


class OnANewCluster(unittest.TestCase):
    """The group web is on alpha at first, and database on beta."""
    names, two_node = NAMES, False

    @classmethod
    def setUpClass(cls):
        cls.nodes = Nodes(cls.names, cls.two_node)
        cls.addClassCleanup(cls.nodes.close)
        cls.online_after_s = cls.nodes.start_cluster()
        cls.nodes.start()

    def setUp(self):
        self.addCleanup(self.tell_logs)
        self.nodes.calm()
        self.noted = {node.name: len(node.notes()) for node in self.nodes}
        self.begin = time.monotonic()
        for group, name in CALM.items():
            self.assertEqual([self.nodes.where(follower) for follower in FOLLOWERS[group]], [[name]] * 2)

    def tell_logs(self):
        if not self._outcome.success:
            self.nodes.tell_logs()

    def notes(self):
        """What was noted on each node since the test began."""
        return [node.notes()[self.noted[node.name]:] for node in self.nodes]

    def assert_settled(self, moment, nodes=None, **groups):
        """Nothing has changed since that moment: two looks later everything is as the cluster is, and stays so."""
        self.nodes.await_looks(moment, 2, nodes)
        settled = self.nodes.watcher.look()
        self.nodes.await_looks(since_boot(), 1, nodes)
        for group, name in (CALM | groups).items():
            for follower in FOLLOWERS[group]:
                for _, _, where in self.nodes.watcher.spans(follower, settled):
                    self.assertEqual(where or (), (name,) if name else (), f"{follower} of {group}")

    def assert_told(self, *patterns, nodes=None):
        """What lumcluster tells on each node."""
        for node in nodes or self.nodes:
            told = node.tool("lumcluster", "status")
            for pattern in patterns:
                self.assertRegex(told.out, pattern, f"{node.name}: {told}")

    def tell(self, what):
        """For how long policies were enabled nowhere, and on two nodes, since the test began; returns the latter, in
        seconds."""
        watcher = self.nodes.watcher
        nowhere = max(watcher.length(name, self.begin, lambda where: where == ()) for name in FOLLOWER_NAMES)
        twice = max(watcher.length(name, self.begin, lambda where: where and len(where) > 1) for name in FOLLOWER_NAMES)
        print(f"{what}: enabled nowhere for {nowhere * 1e3:.0f} ms, on two nodes for {twice * 1e3:.0f} ms", flush=True)
        return twice

    def interval_and_tools(self, node):
        """How long a daemon takes to see what has changed, in seconds, with a factor of 3 to spare."""
        begin = time.monotonic()
        self.assertEqual(node.tool("lumclusterinfo", "-all").code, DONE)
        look_s = time.monotonic() - begin
        print(f"interval {INTERVAL_MS} ms, lumclusterinfo -all {look_s * 1e3:.0f} ms", flush=True)
        return 3 * SLOWNESS * (INTERVAL_MS / 1e3 + look_s)

    def assert_noted(self, **words):
        """What was noted on the nodes since the test began; nothing on the others."""
        self.assertEqual({node.name: noted for node, noted in zip(self.nodes, self.notes()) if noted}, words)


class OnThreeNodes(OnANewCluster):
    def test_policies_and_commands_follow_a_group_to_another_node(self):
        moment = self.nodes.place(web="beta")
        self.assert_settled(moment, web="beta")
        self.assertEqual(self.notes(), [["stop till"], ["start till"], []])
        self.assertEqual([node.has_address("web") for node in self.nodes], [False, True, False])
        self.tell("a group moves")

    def test_policies_are_right_one_interval_and_the_tools_behind_a_move(self):
        limit_s, late = self.interval_and_tools(self.nodes.beta), []
        for name in ("beta", "gamma"):
            # The two clocks are the same but for the time that the machine has slept.
            moment, offset = self.nodes.place(web=name), since_boot() - time.monotonic()
            self.assert_settled(moment, web=name)
            late += [self.nodes.watcher.seen[follower][-1][0] + offset - moment for follower in FOLLOWERS["web"]]
        limit_s = max(limit_s, self.interval_and_tools(self.nodes.beta))  # the machine may be busier by now
        print("policies were right", *(f"{each * 1e3:.0f}" for each in late), "ms behind the move", flush=True)
        self.assertLess(max(late), limit_s)

    def test_each_node_tells_why_its_policies_are_as_they_are(self):
        for node, here in ((self.nodes.alpha, True), (self.nodes.beta, False)):
            told = node.tool("lumcluster", "explain", "web-checks").out
            self.assertIn(f"web-checks (type checks, id web-checks) is {'enabled' if here else 'disabled'}", told)
            self.assertIn("'alpha' is 'alpha'" if here else "'alpha' is not 'beta'", told)
            self.assertIn(f"it stays {'enabled' if here else 'disabled'}", told)

    @unittest.skipIf(os.geteuid() != 0, "only root can take another user id")
    def test_who_is_in_the_group_of_the_cluster_may_ask_it_and_nobody_else(self):
        # A copy, since the folder of the build need not be open to everybody.
        asker = self.nodes.alpha.folder / "asker"
        asker.mkdir()
        for file in (TOOLS / "lumclusterinfo", *BUILD.glob("*/lib*.so*")):
            shutil.copy(file, asker)
        for groups, code in (("--groups=haclient", DONE), ("--clear-groups", FAILED)):
            told = self.nodes.alpha.run("setpriv", "--reuid=nobody", "--regid=nogroup", groups, "env",
                                        f"LUM_ROOT={asker}/root", f"LD_LIBRARY_PATH={asker}", asker / "lumclusterinfo",
                                        "-group", "web", "-activeNode")
            self.assertEqual((told.code, told.out), (code, "alpha\n" if code == DONE else ""), told)

    @unittest.skipIf(os.geteuid() != 0, "only root can take another user id")
    def test_a_daemon_of_a_user_in_the_group_of_the_cluster_follows_like_one_of_root(self):
        self.addCleanup(self.restart_as, "root")
        self.restart_as("nobody", "setpriv", "--reuid=nobody", "--regid=nogroup", "--groups=haclient")
        self.nodes.await_looks(since_boot(), 2)
        self.assertNotEqual(pathlib.Path(f"/proc/{children(self.nodes.alpha.daemon.pid)[0]}").stat().st_uid, 0)
        self.assert_settled(self.nodes.place(web="beta"), web="beta")
        self.assert_settled(self.nodes.place(web="alpha"))
        self.assert_noted(alpha=["stop till", "start till"], beta=["start till", "stop till"])

    def restart_as(self, user, *prefix):
        """The daemon of alpha, whose files become the user's."""
        self.nodes.alpha.stop()
        subprocess.run(["chown", "--recursive", user, self.nodes.alpha.folder], check=True)
        self.nodes.alpha.start(prefix)

    def test_two_groups_swap_their_nodes(self):
        moment = self.nodes.place(web="beta", database="alpha")
        self.assert_settled(moment, web="beta", database="alpha")
        self.assertEqual([sorted(notes) for notes in self.notes()],
                         [["start stock", "stop till"], ["start till", "stop stock"], []])
        self.tell("two groups swap")

    def test_a_group_that_is_stopped_enables_nothing(self):
        self.addCleanup(self.nodes.stop_group, "web", False)
        self.nodes.stop_group("web")
        self.assert_settled(self.nodes.await_place("web")[1], web=None)
        self.nodes.stop_group("web", False)
        self.assert_settled(self.nodes.await_place("web", "alpha")[1])
        self.assertEqual(self.notes(), [["stop till", "start till"], [], []])

    def test_a_node_in_standby_gives_up_what_it_has(self):
        self.addCleanup(self.nodes.stand_by, "alpha", False)
        self.nodes.stand_by("alpha")
        there, moment = self.nodes.await_place("web", "beta", "gamma")
        self.assert_settled(moment, web=there)
        self.assert_noted(alpha=["stop till"], **{there: ["start till"]})
        self.assert_told("alpha +1 +Online \\(standby\\)", f"web +Online +\\w+ +{there} +10.98.0.101")
        self.tell("a node stands by")

    def test_a_resource_that_fails_takes_its_policies_to_another_node(self):
        self.addCleanup(self.nodes.forget_failures)
        self.nodes.alpha.fail("web")
        there, moment = self.nodes.await_place("web", "beta", "gamma")
        self.assert_settled(moment, web=there)
        self.assert_noted(alpha=["stop till"], **{there: ["start till"]})
        self.assertEqual([node.name for node in self.nodes if node.has_address("web")], [there])
        self.tell("a resource fails")

    def test_a_group_that_is_probed_anew_keeps_what_it_has(self):
        for _ in range(3):
            moment = since_boot()
            self.nodes.any().do("crm_resource", "--refresh", "--resource", "web")
            self.nodes.await_looks(moment, 2)
        self.assert_settled(since_boot())
        self.assertEqual(self.notes(), [[], [], []])

    def test_in_maintenance_nothing_is_enabled_and_all_is_followed_behind_it(self):
        self.addCleanup(self.nodes.set_option, "maintenance-mode", "false")
        self.nodes.set_option("maintenance-mode", "true")
        self.assert_settled(since_boot(), web=None, database=None)
        self.assertEqual(self.notes(), [["stop till"], ["stop stock"], []])
        self.assert_told("web +Unknown \\(Unmanaged\\)", "database +Unknown \\(Unmanaged\\)")
        self.nodes.set_option("maintenance-mode", "false")
        self.assert_settled(self.nodes.place(web="gamma"), web="gamma")

    def test_in_maintenance_what_counts_as_online_stays_as_it_is(self):
        self.addCleanup(self.nodes.set_option, "maintenance-mode", "false")
        for node in self.nodes:
            self.addCleanup(node.tool, "lumsettings", "clear", WORDS)
            result = node.tool("lumsettings", "set", WORDS, "Started=ONLINE", "Unmanaged=ONLINE", "Failed=UNKNOWN")
            self.assertEqual(result.code, DONE, result)
        self.nodes.set_option("maintenance-mode", "true")
        self.assert_settled(since_boot())
        self.assertEqual(self.notes(), [[], [], []])

    def test_maintenance_of_one_node_leaves_the_others_what_they_have(self):
        self.addCleanup(self.nodes.maintain, "alpha", False)
        self.nodes.maintain("alpha")
        self.assert_settled(since_boot(), web=None)
        self.assert_told("alpha +1 +Online \\(maintenance\\)", "web +Unknown \\(Unmanaged\\)", "database +Online")

    def test_a_node_that_is_killed_leaves_its_group_to_another_and_is_corrected_when_it_is_back(self):
        self.nodes.alpha.die()
        there, moment = self.nodes.await_place("web", "beta", "gamma")
        self.assert_settled(moment, web=there)
        self.assertEqual(self.tell("a node is killed"), 0)
        self.assert_noted(**{there: ["start till"]})
        self.assertEqual(self.nodes.alpha.status("web-checks"), "enabled", "nobody could tell it")
        # Its place is alpha until it has another one: the cluster would give it back as soon as alpha is there.
        self.nodes.move(web=there)
        self.nodes.revive()
        self.assert_settled(self.nodes.place(web=there), web=there)
        self.assert_noted(**{there: ["start till"]})

    def test_a_node_that_is_cut_off_loses_its_quorum_and_gives_up_what_it_has(self):
        before_s = self.interval_and_tools(self.nodes.beta)
        self.nodes.alpha.cut()
        there, _ = self.nodes.await_place("web", "beta", "gamma", asking=[self.nodes.beta, self.nodes.gamma])
        _, moment = self.nodes.await_place("web", asking=[self.nodes.alpha])
        self.assertEqual(self.nodes.alpha.see().find("summary/current_dc").get("with_quorum"), "false")
        self.assert_settled(since_boot(), web=there)
        self.assert_told("cluster .*, Down\n", "beta +2 +Offline", "web +Offline", nodes=[self.nodes.alpha])
        # What is cut off learns it at its next look, not before.
        twice_s, after_s = self.tell("a node is cut off"), self.interval_and_tools(self.nodes.beta)
        self.assertLess(twice_s, max(before_s, after_s))
        self.assert_noted(alpha=["stop till"], **{there: ["start till"]})
        self.nodes.revive()
        self.assert_settled(self.nodes.place(web=there), web=there)

    def test_whatever_fails_all_is_right_in_the_end(self):
        seed = int(os.environ.get("LUM_SEED", random.randrange(1 << 30)))
        print(f"LUM_SEED={seed}", flush=True)
        chance = random.Random(seed)
        for number in range(FAIL_OVERS):
            how = chance.choice((self.kill, self.cut, self.let_fail, self.stand_by))
            with self.subTest(LUM_SEED=seed, number=number, how=how.__name__):
                self.fail_over(how)
                self.nodes.revive()
                places = {group: chance.choice(NAMES) for group in CALM}
                self.assert_settled(self.nodes.place(**places), **places)

    def fail_over(self, how):
        """What holds the group web fails; returns when the group is on another node, its commands have run there, and
        what can be undone is."""
        node = getattr(self.nodes, pacemaker_nodes.running_on(self.nodes.alpha.see(), "web"))
        others = [other for other in self.nodes if other is not node]
        before = {each.name: len(each.notes()) for each in self.nodes}
        undo = how(node)
        there, _ = self.nodes.await_place("web", *(other.name for other in others), asking=others)
        if node.is_there():
            self.nodes.await_place("web", *(() if node.is_cut else (there,)), asking=[node])
        self.nodes.await_looks(since_boot(), 2)
        noted = {each.name: [line for line in each.notes()[before[each.name]:] if line.endswith("till")]
                 for each in self.nodes}
        wanted = {there: ["start till"]} | ({node.name: ["stop till"]} if node.is_there() else {})
        self.assertEqual({name: lines for name, lines in noted.items() if lines}, wanted)
        if undo:
            undo()

    def kill(self, node):
        node.die()

    def cut(self, node):
        node.cut()

    def let_fail(self, node):
        node.fail("web")
        return self.nodes.forget_failures

    def stand_by(self, node):
        self.nodes.stand_by(node.name)
        return lambda: self.nodes.stand_by(node.name, False)


class OnTwoNodes(OnANewCluster):
    names = NAMES[:2]

    def test_they_are_online_within_seconds(self):
        print(f"two nodes were online after {self.online_after_s:.1f} s", flush=True)
        self.assertLess(self.online_after_s, PATIENCE_S)

    def test_nodes_that_have_lost_each_other_and_their_quorum_enable_nothing(self):
        self.nodes.alpha.cut()
        self.nodes.await_places(**dict.fromkeys(CALM, ()))
        self.assert_settled(since_boot(), web=None, database=None)
        self.assertEqual(self.tell("two nodes lose each other"), 0)
        self.assert_noted(alpha=["stop till"], beta=["stop stock"])
        self.nodes.revive()
        self.assert_settled(self.nodes.place(**CALM))


if __name__ == "__main__":
    unittest.main()
