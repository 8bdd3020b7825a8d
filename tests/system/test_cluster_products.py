#!/usr/bin/python3
"""A node of a simulated cluster of each product, asked and followed: a row for each, and what holds for all of them."""
import re
import resource
import unittest
from dataclasses import dataclass, field

import test_cluster_daemon
from cluster import red_hat_files
from node import SLOWNESS, TOOLS, wait_until
from test_cluster_daemon import QUICK_MS
from test_cluster_info import DONE, FAILED, OnACluster, listing

MEMORY_KIB = 512 * 1024 * SLOWNESS
TOOL_FAILED = "Exception during execution:"
NO_NODES = "-"


@dataclass
class Product:
    """What differs between products: their names, their tools, and what they do not tell."""
    key: str  # of the simulator
    title: str
    not_made: str  # what is said when a cluster of it cannot be asked at all
    nodes_failed: str
    groups_failed: str
    name_call: str  # the calls that tell the cluster's name, its nodes and its groups, as patterns
    nodes_call: str
    groups_call: str
    nodes_number: int = 1  # which of those calls tells the nodes
    word: str = ""  # by which the configuration maps the state of a group; empty: it does not
    local: str = "Unknown"  # the local state of a group that this node does not have
    changes: dict = field(default_factory=dict)  # of the description
    mapped: str = "-localState"  # the question that the mapped state answers
    has_addresses: bool = True
    others: dict = field(default_factory=dict)  # further calls, as patterns, and a question that needs each

    @property
    def namespace(self):
        return "conf.cluster.RGState." + self.key.upper()

    @property
    def listing(self):
        return listing(self.title, self.local, self.has_addresses)


# The scripts that set the addresses of the groups.
SCRIPTS = {"files": [{"path": f"/etc/palisade/{group}", "text": f'#!/bin/sh\nIP[0]="{address}"\n'}
                     for group, address in (("database", "192.0.2.10"), ("web", "192.0.2.20"))]}

# Without it a machine that has Pacemaker is no node.
CIB = {"path": "/var/lib/pacemaker/cib/cib.xml", "text": "<cib/>"}

# A product is one line.
PRODUCTS = [
    Product("vcs", "VERITAS Cluster Server (VCS)", "Can not instantiate VERITAS Cluster Server object.", "Can not get node list for VERITAS Cluster Server.", "Can not get group list for VERITAS Cluster Server.", "haclus *", "hasys -list", "hagrp -display *", word="_PARTIAL_"),
    Product("sc", "Sun Cluster (SC)", "Can not instantiate Sun Cluster object.", "Can not get node list for Sun Cluster.", "Can not get group list for Sun Cluster.", "* CLUSTERNAME", "* ALL_NODENAMES", "* ALL_RESOURCEGROUPS", word="PENDING_ONLINE", local="Offline"),
    Product("plsd", "Palisade (PLSD)", "Can not instantiate Palisade object.", "Can not get node list for Palisade.", "Can not get group list for Palisade.", "plsview -l cluster", "plsview -l node", "plsview -l package", word="starting", local="Offline", changes=SCRIPTS, mapped="-state", others={"plsview -l node -n *": "-cluster -state", "plsconf *": "-group web -nodes"}),
    Product("kes", "Kestrel Cluster (KCR)", "Can not instantiate Kestrel Cluster Server object.", "Can not get cluster nodes.", "Can not get cluster resource groups.", "kes_get_info -raw", "kes_get_info -raw", "kes_stat -t", nodes_number=2, local="Offline", has_addresses=False, others={"kes_stat -p *": "-group web -nodes"}),
    Product("hacmp", "AIX Cluster (HACMP)", "Can not instantiate HACMP cluster object.", "Can not get node list for Hacmp.", "Can not get group list for Hacmp", "clstat -o", "clstat -o", "clRGinfo -s", nodes_number=2, word="ACQUIRING"),
    Product("rhas", "Red Hat Advanced Server (RHAS)", "Can not instantiate Red Hat Advanced Server cluster solution.", "Can not get cluster nodes.", "Can not get cluster resource groups.", "cman_tool status", "clustat", "clustat", word="starting", local="Offline", changes={"files": red_hat_files(5)}),
    Product("pcmk", "Pacemaker (PCMK)", "Can not instantiate Pacemaker cluster object.", "Can not get cluster nodes.", "Can not get cluster resource groups.", "cibadmin *", "crm_mon *", "crm_mon *", word="Partial", local="Offline", changes={"files": [CIB]}, others={"crm_mon *": "-group web -nodes", "cibadmin *": "-group web -virtualIPAddress"}),
]


def status_text(product, web_node):
    """What people are shown while the daemon follows the cluster; the time is left out."""
    here = "Online" if web_node == "alpha" else "Offline"
    database, web = ("192.0.2.10", "192.0.2.20") if product.has_addresses else ("", "")
    groups = "".join(f"{name:<8}  {state:<7}  {local:<7}  {node:<11}  {address}".rstrip() + "\n"
                     for name, state, local, node, address in (("database", "Online", "Online", "alpha", database),
                                                               ("web", "Online", here, web_node, web),
                                                               ("reports", "Offline", product.local, "", "")))
    return f"""\
cluster   harbour ({product.title}), Up
this node alpha
monitor   the cluster is followed since TIME

NODE   ID  STATE
alpha  0   Online   this node
beta   1   Online
gamma  2   Offline

GROUP     STATE    HERE     ACTIVE NODE  ADDRESS
{groups}"""


def on_each_product(test):
    """Runs a test for each product, on a cluster of its own."""
    def each(self):
        for product in PRODUCTS:
            with self.subTest(product.key):
                test(self, product, self.cluster(**{"product": product.key, **product.changes}))
    return each


class Questions(OnACluster):
    @on_each_product
    def test_everything_of_three_systems(self, product, cluster):
        self.assert_prints(cluster, "-all", product.listing)

    @on_each_product
    def test_each_node_sees_its_own_groups(self, product, cluster):
        cluster.write(host="beta")
        self.assert_prints(cluster, "-group web -localState", "Online\n")
        self.assert_prints(cluster, "-group database -localState", "Offline\n")
        self.assert_prints(cluster, "-group web -activeNode", "beta\n")

    @on_each_product
    def test_configured_words_take_the_place_of_all_that_are_known(self, product, cluster):
        if not product.word:
            return
        cluster.group("database")["states"] = {"alpha": "partial"}
        cluster.write()
        for configured, state in (("online", "Online"), ("Unknown", "Unknown"), ("PARTIAL", "Offline"), ("", "Offline")):
            cluster.settings({product.namespace: {product.word: configured, "_ANOTHER_": "x"}})
            self.assert_prints(cluster, f"-group database {product.mapped}", state + "\n")
        cluster.group("database")["states"] = {"alpha": "online"}
        cluster.write()
        self.assert_prints(cluster, f"-group database {product.mapped}", "Offline\n")

    @on_each_product
    def test_a_move_is_seen_by_the_next_question(self, product, cluster):
        self.assert_prints(cluster, "-group web -activeNode", "beta\n")
        cluster.group("web")["states"] = {"alpha": "online"}
        cluster.write()
        self.assert_prints(cluster, "-group web -activeNode", "alpha\n")
        self.assert_prints(cluster, "-group web -localState", "Online\n")

    @on_each_product
    def test_tools_run_behind_what_the_environment_says(self, product, cluster):
        self.assertEqual(cluster.info("-all", environment=cluster.environment(LUM_SUDO="/usr/bin/env")).out, product.listing)
        self.assert_fails(cluster.info("-all", environment=cluster.environment(LUM_SUDO="/nowhere/sudo")), product.not_made)


class Following(test_cluster_daemon.OnACluster):
    """The daemon on a node of each product, and what people are told of it."""

    def assert_shows(self, node, text):
        result = node.cluster.run(TOOLS / "lumcluster", "status", environment=node.environment())
        self.assertEqual((result.code, result.err), (DONE, ""), result)
        self.assertEqual(re.sub(r"(?m)(since ).*$", r"\1TIME", result.out), text)

    @on_each_product
    def test_a_policy_follows_its_group_to_this_node_and_away(self, product, cluster):
        node = self.node(cluster, POLLING_INTERVAL=QUICK_MS)
        self.await_phase(node, "watching")
        self.install(node, "grouped", "HARG:web")
        self.assertEqual(self.status(node, "grouped"), "disabled", "as an install on such a node decides")
        self.assert_shows(node, status_text(product, "beta"))
        self.move(cluster, "web", "alpha")
        self.await_status(node, "grouped", "enabled")
        self.assert_shows(node, status_text(product, "alpha"))
        self.move(cluster, "web", "beta")
        self.await_status(node, "grouped", "disabled")
        self.assertNotIn("ERROR", node.log)
        self.stop(node)
        self.assertFalse(cluster.was_anybody_left())


class WhatPacemakerHasYetToLookFor(test_cluster_daemon.OnACluster):
    """Its own history of what runs on a node is gone for a while: when nodes join, and when a resource is refreshed."""

    def follow(self):
        """A node whose cluster has lost the history of the group web while that runs there, and some looks later."""
        cluster = self.cluster(product="pcmk", files=[CIB])
        node = self.node(cluster, start=False, POLLING_INTERVAL=QUICK_MS)
        self.notes = node.folder / "notes"
        self.applications(node, "web", [f'/bin/sh -c "echo start &gt;&gt; {self.notes}; echo"'],
                          [f'/bin/sh -c "echo stop &gt;&gt; {self.notes}; echo"'], ["listed"])
        self.start(node)
        self.await_phase(node, "watching")
        self.install(node, "grouped", "HARG:web")
        self.install(node, "listed")
        self.move(cluster, "web", "alpha")
        for policy in ("grouped", "listed"):
            self.await_status(node, policy, "enabled")
        cluster.group("web")["states"] = {"alpha": "unprobed"}
        cluster.write()
        self.await_looks(cluster)
        return node

    @staticmethod
    def await_looks(cluster, count=3):
        cluster.forget_calls()
        wait_until(lambda: cluster.calls().count("crm_mon -1 --output-as=xml") > count, f"{count} looks")

    def tell(self, node, *words):
        return node.cluster.run(TOOLS / "lumcluster", *words, environment=node.environment()).out

    def test_it_keeps_its_policies_and_runs_no_command_until_it_is_found(self):
        node = self.follow()
        self.assertEqual([self.status(node, policy) for policy in ("grouped", "listed")], ["enabled", "enabled"])
        self.move(node.cluster, "web", "alpha")
        self.await_looks(node.cluster)
        self.assertEqual(self.notes.read_text(), "start\n")
        self.move(node.cluster, "web", "beta")
        for policy in ("grouped", "listed"):
            self.await_status(node, policy, "disabled")
        self.assertEqual(self.notes.read_text(), "start\nstop\n")
        self.assertNotIn("ERROR", node.log)

    def test_people_are_told_that_it_is_not_known_and_what_comes_of_it(self):
        node = self.follow()
        self.assertRegex(self.tell(node, "status"), r"(?m)^web +Unknown \(Unprobed\) +Unknown")
        for policy in ("grouped", "listed"):
            told = self.tell(node, "explain", policy)
            self.assertIn("the cluster does not know yet where it runs: the monitor takes it as it was, for a minute", told)
            self.assertIn("What the next cycle does with it hangs on where a group was before.", told)


class RedHatReleases(OnACluster):
    """What a release does not tell is unknown."""
    def release(self, release):
        return self.cluster(product="rhas", files=red_hat_files(release))

    def assert_lists(self, cluster, **changes):
        text = next(product for product in PRODUCTS if product.key == "rhas").listing
        for old, new in changes.values():
            text = re.sub(old, new, text)
        self.assert_prints(cluster, "-all", text)

    def test_on_release_4_each_group_has_all_nodes(self):
        self.assert_lists(self.release(4), nodes=(r"(?m)^nodes .*$", "nodes        alpha beta gamma"))

    def test_up_to_release_3_nobody_tells_where_a_group_runs(self):
        for release in (3, 2.1):
            with self.subTest(release):
                self.assert_lists(self.release(release), nodes=(r"(?m)^nodes .*$", "nodes        alpha beta gamma"),
                                  local=(r"(?m)^local state .*$", "local state  Unknown"),
                                  active=(r"(?m)^active node .*$", "active node  "))

    def test_above_release_5_no_cluster_can_be_asked(self):
        self.assert_fails(self.release(6).info("-all"), "Can not instantiate Red Hat Advanced Server cluster solution.",
                          "The tools of release '6' are not known. The last known release is 5.")

    def test_a_service_that_does_not_run_is_listed_though_its_tool_ends_with_a_code(self):
        cluster = self.release(5)
        self.assert_prints(cluster, "-group reports -nodes", "gamma\nbeta\n")
        self.assertIn("clustat -s reports", cluster.calls())


class FailingTools(OnACluster):
    @on_each_product
    def test_each_list_that_cannot_be_had_is_told_with_what_is_behind_it(self, product, cluster):
        for call, number, line, text in ((product.name_call, 1, "-cluster -type", product.not_made),
                                         (product.nodes_call, product.nodes_number, "-cluster -nodes", product.nodes_failed),
                                         (product.groups_call, 1, "-cluster -groups", product.groups_failed)):
            for conduct in ({"code": 1}, {"signal": 9}):
                cluster.let(call, number=number, **conduct)
                for question in (line, "-all"):
                    cluster.forget_calls()
                    self.assert_fails(self.info(cluster, question), *([text] if question == line else []), TOOL_FAILED)


class HostileTools(OnACluster):
    def tearDown(self):
        self.assertLess(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss, MEMORY_KIB)
        super().tearDown()

    @on_each_product
    def test_an_output_without_measure_is_refused(self, product, cluster):
        for call, line, conduct in ((product.nodes_call, "-cluster -nodes", {"print": "n\n", "repeat": 1000001}),
                                    (product.groups_call, "-cluster -groups", {"print": "n\n", "forever": True}),
                                    *((*other, {"print": "n\n", "forever": True}) for other in product.others.items())):
            cluster.let(call, **conduct)
            self.assert_fails(self.info(cluster, line), TOOL_FAILED)
            self.assertFalse(cluster.was_anybody_left())

    @on_each_product
    def test_bytes_that_are_no_text_do_no_harm(self, product, cluster):
        for conduct in ({"printHex": "610062" + "0a"}, {"printHex": "fffe80c0af" + "0a"}, {"printHex": "1b5b324a" + "0a"},
                        {"printHex": "00", "repeat": 100000}):
            for call in {product.name_call, product.nodes_call, product.groups_call, *product.others}:
                cluster.let(call, **conduct)
                result = self.info(cluster, "-all")
                self.assertIn(result.code, (DONE, FAILED), result)
                self.assertEqual(result.code == FAILED, result.err != "", result)

    @on_each_product
    def test_a_tool_that_does_not_end_is_ended_with_its_children_when_there_is_a_limit(self, product, cluster):
        cluster.configure(TOOL_TIMEOUT=1)
        cluster.let(product.name_call, print="", child=True, hang=True)
        self.assert_fails(self.info(cluster, "-cluster -name"), product.not_made, TOOL_FAILED,
                          "took longer than '1' seconds, the limit TOOL_TIMEOUT")
        self.assertFalse(cluster.was_anybody_left())


if __name__ == "__main__":
    unittest.main()
