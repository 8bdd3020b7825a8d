#!/usr/bin/python3
"""The daemon on a node of a cluster: it follows what runs there, and is gone in time when it is told to stop."""
import json
import os
import pathlib
import signal
import time
import unittest

from cluster import ROOT, SIMULATOR, Cluster
from node import PATIENCE_S, SLOWNESS, Node, wait_until, write_policy

STOP_S = 5 * SLOWNESS  # what docs/tools.md promises
PRODUCT = "VERITAS Cluster Server (VCS)"
QUICK_MS = 20
HOUR_MS = 3600 * 1000


def children(pid):
    """Those that any thread of the process has started."""
    found = []
    for path in pathlib.Path(f"/proc/{pid}/task").glob("*/children"):
        try:
            found += [int(child) for child in path.read_text().split()]
        except (FileNotFoundError, ProcessLookupError):
            continue
    return found


def descendant(pid, name):
    """The process of the name below another one, or None."""
    for child in children(pid):
        try:
            if pathlib.Path(f"/proc/{child}/comm").read_text().strip() == name:
                return child
        except FileNotFoundError:
            continue
        found = descendant(child, name)
        if found:
            return found
    return None


class OnACluster(unittest.TestCase):
    def cluster(self, **changes):
        cluster = Cluster(**changes)
        self.addCleanup(cluster.close)
        return cluster

    def node(self, cluster, start=True, **keys):
        """A node that is called alpha, whose daemon runs in the box of the cluster."""
        node = Node({"conf.cluster": {"CLUSTER_LOCAL_NODENAME": "alpha", **keys}}, start=False)
        self.addCleanup(node.close)
        node.cluster = cluster
        if start:
            self.start(node)
        return node

    def start(self, node):
        node.start(prefix=[SIMULATOR, node.cluster.folder])

    def stop(self, node):
        """Tells the daemon to stop. Returns how long that took."""
        begun = time.monotonic()
        daemon = descendant(node.daemon.pid, "lumconfd")
        self.assertIsNotNone(daemon)
        os.kill(daemon, signal.SIGTERM)
        self.assertEqual(node.daemon.wait(PATIENCE_S), 0, node.log)
        return time.monotonic() - begun

    def state(self, node):
        path = node.root / "spool/cluster.monitor.json"
        return json.loads(path.read_text()) if path.exists() else {"phase": None}

    def await_phase(self, node, phase):
        wait_until(lambda: self.state(node)["phase"] == phase, f"the monitor is {phase}: {node.log}")

    def install(self, node, policy_id, *attributes):
        path = write_policy(node.folder / "source", policy_id, name=policy_id,
                            attributes=[(attribute, "v") for attribute in attributes])
        result = node.policy("install", "--no-notify", path)
        self.assertEqual(result.code, 0, result)

    def status(self, node, policy_id):
        return next(policy["status"] for policy in node.list() if policy["id"] == policy_id)

    def await_status(self, node, policy_id, status):
        wait_until(lambda: self.status(node, policy_id) == status, f"{policy_id} is {status}: {node.log}")

    def applications(self, node, group, starts=(), stops=(), policies=()):
        """One application "shop" with one instance "one", which the group carries."""
        listing = node.root / "conf/conf/apminfo.xml"
        listing.parent.mkdir(parents=True, exist_ok=True)
        listing.write_text("<APMClusterConfiguration><Application><Name>shop</Name><Instance><Name>one</Name>"
                           f"<Package>{group}</Package></Instance></Application></APMClusterConfiguration>")
        described = node.root / "bin/instrumentation/shop.apm.xml"
        described.parent.mkdir(parents=True, exist_ok=True)
        described.write_text("<APMApplicationConfiguration><Application>"
                             + "".join(f"<Template>{policy}</Template>" for policy in policies)
                             + "".join(f"<StartCommand>{command}</StartCommand>" for command in starts)
                             + "".join(f"<StopCommand>{command}</StopCommand>" for command in stops)
                             + "</Application></APMApplicationConfiguration>")

    def move(self, cluster, group, system):
        cluster.group(group)["states"] = {system: "online"} if system else {}
        cluster.write()


class Following(OnACluster):
    def test_a_node_without_a_cluster_says_nothing_of_it_and_writes_nothing_for_it(self):
        node = Node()
        self.addCleanup(node.close)
        self.assertNotIn("cluster", node.log.lower())
        self.assertEqual(self.state(node)["phase"], None)
        self.assertNotIn("conf.cluster", (node.config / "local_settings.ini").read_text())
        self.assertEqual(node.stop(), 0)
        self.assertNotIn("cluster", node.log.lower())

    def test_the_product_is_told_and_empty_keys_are_filled_before_the_cluster_is_asked(self):
        cluster = self.cluster()
        node = self.node(cluster, POLLING_INTERVAL="", TOOL_TIMEOUT="30")
        self.await_phase(node, "watching")
        log = node.log
        followed = log.index(f"The cluster product '{PRODUCT}' is followed: '/opt/VRTSvcs/bin/had' is there.")
        self.assertLess(followed, log.index("Settings of conf.cluster that were empty are set: "
                                            f"CLUSTER_TYPE={PRODUCT}, POLLING_INTERVAL=10000, MONITOR_MODE=TRUE"))
        self.assertEqual(log.count("is followed"), 1)
        settings = (node.config / "local_settings.ini").read_text()
        for line in (f"CLUSTER_TYPE={PRODUCT}", "POLLING_INTERVAL=10000", "MONITOR_MODE=TRUE", "TOOL_TIMEOUT=30"):
            self.assertIn(line, settings)
        self.assertNotIn("ERROR", log)
        self.assertEqual(self.state(node)["product"], PRODUCT)

    def test_policies_follow_their_group_and_commands_run_once(self):
        cluster = self.cluster()
        node = self.node(cluster, start=False, POLLING_INTERVAL=QUICK_MS)
        notes = node.folder / "notes"
        self.applications(node, "web", [f'/bin/sh -c "echo start $instanceName &gt;&gt; {notes}; echo"'],
                          [f'/bin/sh -c "echo stop $instanceName &gt;&gt; {notes}; echo"'], ["listed"])
        self.start(node)
        self.await_phase(node, "watching")
        self.install(node, "listed")
        self.install(node, "grouped", "HARG:web")
        self.assertEqual(self.status(node, "grouped"), "disabled", "as an install on such a node decides")
        self.await_status(node, "listed", "disabled")
        self.move(cluster, "web", "alpha")
        for policy in ("listed", "grouped"):
            self.await_status(node, policy, "enabled")
        self.move(cluster, "web", "beta")
        for policy in ("listed", "grouped"):
            self.await_status(node, policy, "disabled")
        self.assertEqual(notes.read_text(), "start one\nstop one\n")
        self.assertEqual(self.state(node)["instances"],
                         [{"application": "shop", "instance": "one", "group": "web", "here": False}])
        self.assertLess(self.stop(node), STOP_S)

    def test_the_example_of_a_policy_that_names_a_group_follows_it(self):
        cluster = self.cluster()
        node = self.node(cluster, POLLING_INTERVAL=QUICK_MS)
        self.await_phase(node, "watching")
        example, = (ROOT / "examples/cluster").glob("*_header.xml")
        result = node.policy("install", "--no-notify", example)
        self.assertEqual(result.code, 0, result)
        policy_id = example.name.removesuffix("_header.xml")
        self.assertEqual(self.status(node, policy_id), "disabled", "the group is on beta")
        self.move(cluster, "web", "alpha")
        self.await_status(node, policy_id, "enabled")

    def test_the_check_of_the_configuration_knows_that_a_monitor_overwrites_what_is_no_product(self):
        for word, code in ((PRODUCT, 0), ("", 0), ("Unknown", 1), ("odd", 1)):
            with self.subTest(word=word):
                node = Node({"conf.cluster": {"CLUSTER_TYPE": word}}, start=False)
                self.addCleanup(node.close)
                result = node.tool("lumconfd", "--check-config")
                self.assertEqual(result.code, code, result)
                self.assertEqual("a monitor writes the one that it sees over any other text" in result.out, code != 0)

    def test_the_state_tells_what_hinders_the_monitor(self):
        cluster = self.cluster()
        node = self.node(cluster, POLLING_INTERVAL=QUICK_MS)
        self.await_phase(node, "watching")
        self.assertEqual(self.state(node)["hindered_by"], "")
        cluster.let("haclus *", code=1)
        wait_until(lambda: "ClusterException in monitor thread." in self.state(node)["hindered_by"], "it is told")
        self.assertEqual(self.state(node)["phase"], "watching")
        self.stop(node)
        self.assertEqual(self.state(node)["hindered_by"], "")

    def test_who_moved_while_no_daemon_ran_is_told(self):
        cluster = self.cluster()
        node = self.node(cluster, start=False, POLLING_INTERVAL=QUICK_MS)
        self.applications(node, "web")
        self.start(node)
        self.await_phase(node, "watching")
        self.stop(node)
        self.assertEqual(self.state(node)["phase"], "stopped")
        self.move(cluster, "web", "alpha")
        self.start(node)
        self.await_phase(node, "watching")
        self.assertIn("The instance 'one' of the application 'shop' has come to this node while nobody watched", node.log)
        self.assertEqual([each["here"] for each in self.state(node)["changed_unwatched"]], [True])

    def test_a_cluster_that_is_not_up_is_told_with_the_time_of_the_next_attempt(self):
        cluster = self.cluster()
        cluster.let("haclus *", code=1)
        node = self.node(cluster)
        self.await_phase(node, "waiting")
        self.assertIn("The cluster monitor has ended. A successor starts in 10 seconds.", node.log)
        state = self.state(node)
        self.assertEqual(state["successor_at"] - state["ended_at"], 10)
        self.assertIn("Illegal state error while creating policy operation object.", state["ended_by"])
        self.assertIn("Can not instantiate VERITAS Cluster Server object.", state["ended_by"])
        self.assertLess(self.stop(node), STOP_S, "in the middle of the pause")


class Stopping(OnACluster):
    def assert_stops(self, node):
        self.assertLess(self.stop(node), STOP_S, node.log)
        self.assertNotIn("did not end in time", node.log)
        self.assertEqual(self.state(node)["phase"], "stopped")
        self.assertFalse(node.cluster.was_anybody_left())

    def test_while_the_monitor_sleeps(self):
        node = self.node(self.cluster(), POLLING_INTERVAL=HOUR_MS)
        self.install(node, "grouped", "HARG:database")
        self.await_phase(node, "watching")
        self.assert_stops(node)

    def test_while_a_tool_hangs_with_a_child_and_no_policy_is_changed_by_what_was_not_seen(self):
        cluster = self.cluster()
        node = self.node(cluster, POLLING_INTERVAL=QUICK_MS)
        self.install(node, "grouped", "HARG:database")
        self.await_status(node, "grouped", "enabled")
        cluster.let("hagrp -state *", child=True, hang=True)
        wait_until(lambda: len(children(descendant(node.daemon.pid, "lumconfd") or 0)) > 0
                   and cluster.calls("hagrp -state"), "a tool hangs")
        self.assert_stops(node)
        stored = next((node.store / "type").glob("grouped_header.xml")).read_text()
        self.assertIn("<status>enabled</status>", stored)
        self.assertNotIn("ERROR", node.log)

    def test_while_the_first_look_hangs(self):
        cluster = self.cluster()
        cluster.let("haclus *", hang=True)
        node = self.node(cluster, MAX_RETRIES_FOR_CLUSTERUP=100)
        wait_until(lambda: cluster.calls("haclus"), "a tool hangs")
        self.assert_stops(node)

    def test_while_it_waits_for_a_cluster_to_come_up(self):
        cluster = self.cluster()
        cluster.let("haclus *", code=1)
        node = self.node(cluster, MAX_RETRIES_FOR_CLUSTERUP=100)
        wait_until(lambda: cluster.calls("haclus"), "it was asked")
        self.assert_stops(node)

    def test_while_a_command_runs_that_does_not_hear(self):
        cluster = self.cluster()
        node = self.node(cluster, start=False, POLLING_INTERVAL=QUICK_MS)
        mark = node.folder / "mark"
        script = node.folder / "deaf.sh"
        script.write_text(f"#!/bin/sh\ntrap '' TERM\ntouch {mark}\nsleep 1000\nsleep 1000\n")
        script.chmod(0o755)
        self.applications(node, "web", [str(script), f"/bin/touch {node.folder}/second"])
        self.start(node)
        self.await_phase(node, "watching")
        self.move(cluster, "web", "alpha")
        wait_until(mark.exists, "the command runs")
        self.assert_stops(node)
        self.assertFalse((node.folder / "second").exists())


if __name__ == "__main__":
    unittest.main()
