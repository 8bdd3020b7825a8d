#!/usr/bin/python3
"""lumcluster beside a running daemon: what it tells of the monitor, and of a policy before the monitor switches it."""
import json
import unittest

from node import DONE, FAILED, TOOLS, wait_until
from test_cluster_daemon import OnACluster, PRODUCT, QUICK_MS

TIMEOUT_IS_SET = {"TOOL_TIMEOUT": 30}


class Told(OnACluster):
    def ask(self, node, *arguments):
        return node.cluster.run(TOOLS / "lumcluster", *arguments, environment=node.environment())

    def json_of(self, node, *arguments, code=DONE):
        result = self.ask(node, *arguments, "--json")
        self.assertEqual((result.code, result.err), (code, ""), result)
        return result.json()

    def monitor(self, node, **keywords):
        return self.json_of(node, "status", **keywords)["monitor"]

    def policy(self, node, policy_id):
        return self.json_of(node, "explain", policy_id)["policies"][0]

    def checks(self, node, **keywords):
        return {check["check"]: check for check in self.json_of(node, "check", **keywords)["checks"]}


class TheMonitor(Told):
    def test_one_that_follows_the_cluster_watches(self):
        node = self.node(self.cluster(), POLLING_INTERVAL=QUICK_MS, **TIMEOUT_IS_SET)
        self.await_phase(node, "watching")
        told = self.monitor(node)
        self.assertEqual((told["state"], told["monitor_mode"], told["product"]), ("watching", True, PRODUCT))
        self.assertRegex(told["since"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
        self.assertIn(f"monitor   the cluster is followed since {told['since']}", self.ask(node, "status").out)
        self.assertEqual(self.checks(node)["monitor"]["state"], "ok")

    def test_one_that_has_ended_waits_for_its_successor(self):
        cluster = self.cluster()
        cluster.let("haclus *", code=1)
        node = self.node(cluster)
        self.await_phase(node, "waiting")
        told = self.monitor(node, code=FAILED)
        self.assertEqual(told["state"], "waiting")
        self.assertIn("Can not instantiate VERITAS Cluster Server object.", told["ended_by"])
        self.assertGreater(told["successor_at"], told["ended_at"])
        shown = self.ask(node, "status").out
        self.assertIn(f"monitor   the monitor has ended at {told['ended_at']}", shown)
        self.assertIn(f"a successor starts at {told['successor_at']}", shown)
        check = self.checks(node, code=FAILED)["monitor"]
        self.assertEqual(check["state"], "failed")
        self.assertTrue(check["advice"])

    def test_one_that_is_switched_off_is_told_wherever_somebody_looks(self):
        cluster = self.cluster()
        node = self.node(cluster, POLLING_INTERVAL=QUICK_MS, MONITOR_MODE="false", **TIMEOUT_IS_SET)
        wait_until(lambda: self.state(node)["phase"] not in (None, "starting"), "the monitor runs")
        self.install(node, "grouped", "HARG:web")
        self.assertEqual(self.status(node, "grouped"), "disabled", "as an install on such a node decides")
        self.move(cluster, "web", "alpha")
        self.assertIs(self.monitor(node)["monitor_mode"], False)
        self.assertIn("MONITOR_MODE is off: nothing is switched", self.ask(node, "status").out)
        told = self.policy(node, "grouped")
        self.assertEqual(told["next_cycle"]["status"], "enabled")
        self.assertTrue(any("MONITOR_MODE" in each for each in told["kept_from_it"]), told)
        self.assertEqual(self.checks(node, code=FAILED)["MONITOR_MODE"]["state"], "failed")

    def test_a_daemon_without_a_product_follows_nothing(self):
        node = self.node(self.cluster(missing=["had"]))
        self.assertEqual(self.monitor(node, code=FAILED)["state"], "none")
        self.assertEqual(self.checks(node, code=FAILED)["monitor"]["advice"], "restart lumconfd")

    def test_one_that_is_gone_is_not_taken_for_one_that_watches(self):
        node = self.node(self.cluster(), POLLING_INTERVAL=QUICK_MS)
        self.await_phase(node, "watching")
        node.daemon.kill()
        node.daemon.wait()
        self.assertEqual(self.state(node)["phase"], "watching", "nobody could take it back")
        wait_until(lambda: self.monitor(node)["state"] == "no daemon", "the daemon is gone with its box")

    def test_what_changed_sides_unwatched_is_shown(self):
        cluster = self.cluster()
        node = self.node(cluster, start=False, POLLING_INTERVAL=QUICK_MS)
        self.applications(node, "web")
        self.start(node)
        self.await_phase(node, "watching")
        self.stop(node)
        self.move(cluster, "web", "alpha")
        self.start(node)
        self.await_phase(node, "watching")
        self.assertEqual(self.monitor(node)["changed_unwatched"],
                         [{"application": "shop", "instance": "one", "group": "web", "here": True}])
        self.assertRegex(self.ask(node, "status").out, r"shop +one +web +has come")


class APolicy(Told):
    def switch(self, node, mode):
        node.settings["conf.cluster"] = {"CLUSTER_LOCAL_NODENAME": "alpha", "CLUSTER_TYPE": PRODUCT,
                                         "POLLING_INTERVAL": QUICK_MS, "MONITOR_MODE": mode, **TIMEOUT_IS_SET}
        node.write_settings()

    def test_what_is_told_of_the_next_cycle_is_what_the_monitor_does(self):
        cluster = self.cluster()
        node = self.node(cluster, start=False)
        self.applications(node, "web", policies=["listed"])
        self.switch(node, "true")
        self.start(node)
        self.await_phase(node, "watching")
        ids = {"listed": [], "grouped": ["HARG:web"], "free": [], "always": ["HARG:noHARG"]}
        for policy_id, attributes in ids.items():
            self.install(node, policy_id, *attributes)
        for system in ("alpha", "beta", None, "alpha"):
            self.switch(node, "false")
            self.move(cluster, "web", system)
            told = {policy_id: self.policy(node, policy_id)["next_cycle"]["status"] for policy_id in ids}
            self.switch(node, "true")
            for policy_id, status in told.items():
                self.await_status(node, policy_id, status)
        for policy_id, status in told.items():
            each = self.policy(node, policy_id)
            self.assertEqual((each["status"], each["kept_from_it"]), (status, []), json.dumps(each, indent=1))
            self.assertFalse(each["next_cycle"]["switches"])


if __name__ == "__main__":
    unittest.main()
