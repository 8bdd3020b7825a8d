#!/usr/bin/python3
"""lumcluster on a node of a simulated VERITAS cluster: what it tells of the cluster, of policies and of what is missing."""
import json
import re
import unittest

from cluster import Cluster
from node import DONE, FAILED, NOT_FOUND, ROOT, TOOLS, WRONG_USAGE, header

EXAMPLES = ROOT / "examples/cluster"
TOOL = TOOLS / "lumcluster"
PRODUCT = "VERITAS Cluster Server (VCS)"

STATUS = f"""\
cluster   harbour ({PRODUCT}), Up
this node alpha
monitor   no daemon serves this node: nothing follows the cluster

NODE   ID  STATE
alpha  0   Online   this node
beta   1   Online
gamma  2   Offline

GROUP     STATE    HERE     ACTIVE NODE  ADDRESS
database  Online   Online   alpha        192.0.2.10
web       Online   Offline  beta         192.0.2.20
reports   Offline  Unknown

APPLICATION  INSTANCE  GROUP     STATE    ACTIVE NODE
shop         till      web       Offline  beta
shop         stock     database  Online   alpha        here
"""


class OnACluster(unittest.TestCase):
    def cluster(self, *arguments, local="alpha", applications=True, settings=None, **changes):
        cluster = Cluster(*arguments, **changes)
        self.addCleanup(cluster.close)
        values = {"TOOL_TIMEOUT": 30, "MONITOR_MODE": "true"} | ({"CLUSTER_LOCAL_NODENAME": local} if local else {})
        cluster.configure(**(values | (settings or {})))
        if applications:
            self.put(cluster, "conf/conf/apminfo.xml", (EXAMPLES / "apminfo.xml").read_text(encoding="utf-8"))
            self.put(cluster, "bin/instrumentation/conf/shop.apm.xml",
                     (EXAMPLES / "shop.apm.xml").read_text(encoding="utf-8"))
        return cluster

    @staticmethod
    def put(cluster, name, text):
        path = cluster.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")
        return path

    def put_policy(self, cluster, policy_id, *attributes, status="enabled", **fields):
        fields.setdefault("name", policy_id)
        return self.put(cluster, f"policies/monitor/{policy_id}_header.xml",
                        header(policy_id, type_name="monitor", status=status,
                               attributes=[(attribute, "v") for attribute in attributes], **fields))

    def ask(self, cluster, *arguments, **keywords):
        return cluster.run(TOOL, *arguments, **keywords)

    def told(self, cluster, *arguments, code=DONE):
        result = self.ask(cluster, *arguments)
        self.assertEqual(result.code, code, result)
        return result.out + result.err

    def json_of(self, cluster, *arguments, code=DONE):
        result = self.ask(cluster, *arguments, "--json")
        self.assertEqual((result.code, result.err), (code, ""), result)
        return result.json()


class StatusTest(OnACluster):
    def test_the_table_shows_the_cluster_and_the_applications(self):
        result = self.ask(self.cluster(), "status")
        self.assertEqual((result.code, result.err), (DONE, ""), result)
        self.assertEqual(result.out, STATUS)

    def test_the_papers_show_what_it_prints(self):
        cluster = self.cluster()
        shown = 0
        for block in re.findall(r"^```\n(\$ lumcluster .*?)^```", (ROOT / "docs/clusters.md").read_text(), re.M | re.S):
            for line, output in re.findall(r"^\$ lumcluster (.*)\n((?:(?!\$ ).*\n)*)", block, re.M):
                if line.startswith("explain"):
                    self.put_policy(cluster, "disk-io", "HARG:web")
                self.assertEqual(self.ask(cluster, *line.split()).out, output, line)
                shown += 1
        self.assertGreater(shown, 1)

    def test_a_program_gets_an_object_of_a_stable_form(self):
        self.assertEqual(self.json_of(self.cluster(), "status"), {
            "result": "done", "code": 0, "messages": [], "schema": 1,
            "cluster": {"product": PRODUCT, "name": "harbour", "state": "Up"},
            "local_name": "alpha", "local_name_configured": True,
            "monitor": {"state": "no daemon", "monitor_mode": True, "product": None, "since": None, "ended_at": None,
                        "ended_by": "", "successor_at": None, "changed_unwatched": [], "hindered_by": "",
                        "commands_begun": [], "commands_begun_at": None},
            "nodes": [{"name": "alpha", "id": 0, "state": "Online", "local": True, "detail": ""},
                      {"name": "beta", "id": 1, "state": "Online", "local": False, "detail": ""},
                      {"name": "gamma", "id": 2, "state": "Offline", "local": False, "detail": ""}],
            "groups": [{"name": "database", "id": 1, "state": "Online", "local_state": "Online", "active_node": "alpha",
                        "address": "192.0.2.10", "detail": "", "everywhere": False},
                       {"name": "web", "id": 2, "state": "Online", "local_state": "Offline", "active_node": "beta",
                        "address": "192.0.2.20", "detail": "", "everywhere": False},
                       {"name": "reports", "id": 3, "state": "Offline", "local_state": "Unknown", "active_node": "",
                        "address": "", "detail": "", "everywhere": False}],
            "applications": [{"name": "shop", "policies": ["disk-io"], "instances": [
                {"name": "till", "group": "web", "state": "Offline", "active_node": "beta", "here": False},
                {"name": "stock", "group": "database", "state": "Online", "active_node": "alpha", "here": True}]}],
            "problems": []})

    def test_without_a_cluster_it_says_so_and_tells_the_rest(self):
        cluster = self.cluster(missing=["had"])
        result = self.ask(cluster, "status")
        self.assertEqual(result.code, FAILED, result)
        self.assertIn("Cluster environment is not detected.", result.err)
        self.assertIn("monitor   no daemon serves this node", result.out)
        told = self.json_of(cluster, "status", code=FAILED)
        self.assertIsNone(told["cluster"])
        self.assertEqual(told["problems"][0]["what"], "cluster")

    def test_whichever_tool_fails_the_rest_is_told(self):
        cluster = self.cluster()
        self.assertEqual(self.ask(cluster, "status").code, DONE)
        count = len(cluster.calls())
        self.assertGreater(count, 20)
        for number in range(1, count + 1, 3):
            cluster.forget_calls()
            cluster.write(conducts=[{"call": "*", "number": number, "print": "", "code": 1}])
            told = self.ask(cluster, "status", "--json").json()
            with self.subTest(number):
                self.assertEqual(told["code"] == 0, not told["problems"])
                if told["cluster"]:
                    self.assertTrue(told["nodes"] or told["groups"], told)

    def test_a_file_of_applications_that_is_broken_costs_them_alone(self):
        cluster = self.cluster()
        self.put(cluster, "conf/conf/apminfo.xml", "<a")
        told = self.json_of(cluster, "status", code=FAILED)
        self.assertEqual([problem["what"] for problem in told["problems"]], ["applications"])
        self.assertEqual((len(told["groups"]), told["applications"]), (3, []))

    def test_what_a_former_daemon_has_left_is_not_taken_for_a_monitor(self):
        cluster = self.cluster()
        record = {"schema": 1, "product": PRODUCT, "phase": "watching", "since": 1, "ended_at": 0, "ended_by": "",
                  "successor_at": 0, "instances": [], "changed_unwatched": [
                      {"application": "shop", "instance": "till", "group": "web", "here": False}]}
        self.put(cluster, "spool/cluster.monitor.json", json.dumps(record))
        told = self.json_of(cluster, "status")
        self.assertEqual(told["monitor"]["state"], "no daemon")
        self.assertEqual(told["monitor"]["changed_unwatched"], record["changed_unwatched"])
        self.assertRegex(self.told(cluster, "status"), "till +web +has left")
        self.put(cluster, "spool/cluster.monitor.json", "{")
        self.assertEqual(self.json_of(cluster, "status")["monitor"]["state"], "no daemon")

    def test_what_hindered_a_monitor_of_a_former_daemon_is_not_told_of_the_present(self):
        cluster = self.cluster()
        self.put_policy(cluster, "disk-io", "HARG:web")
        record = {"schema": 1, "product": PRODUCT, "phase": "watching", "since": 1, "ended_at": 0, "ended_by": "",
                  "successor_at": 0, "instances": [], "changed_unwatched": [], "hindered_by": "it was\nfull"}
        self.put(cluster, "spool/cluster.monitor.json", json.dumps(record))
        self.assertEqual(self.json_of(cluster, "status")["monitor"]["hindered_by"], "", "nobody serves the node")

    def test_control_characters_of_names_reach_no_terminal(self):
        cluster = self.cluster(name="har\033[2Jbour\a", applications=False)
        cluster.group("web")["name"] = "w\033]0;x\ab"
        cluster.write()
        for arguments in (("status",), ("check",)):
            result = self.ask(cluster, *arguments)
            self.assertEqual(re.findall(r"[\x00-\x09\x0b-\x1f\x7f-\x9f]", result.out + result.err), [], result)


class ReadOnly(OnACluster):
    def test_nothing_is_written_made_or_locked(self):
        cluster = self.cluster()
        self.put_policy(cluster, "disk-io", "HARG:web")

        def everything():
            return {path: (path.stat().st_mtime_ns, path.stat().st_size) for path in cluster.root.rglob("*")}
        before = everything()
        for arguments in (("status",), ("explain", "disk-io"), ("check",), ("status", "--json")):
            self.ask(cluster, *arguments)
            self.assertEqual(everything(), before, arguments)
        self.assertFalse((cluster.root / "lumconfd.lock").exists())

    def test_the_tools_that_it_runs_change_nothing_of_the_cluster(self):
        cluster = self.cluster()
        for command in ("status", "check"):
            self.ask(cluster, command)
        for call in cluster.calls():
            self.assertRegex(call, r"^(haclus -value|hasys -(list|state|value)|hagrp -(display|state|value|resources)|"
                                   r"hares -(display|value)) ?", call)


class Explain(OnACluster):
    def test_each_tie_is_told_with_the_names_that_were_compared(self):
        cluster = self.cluster()
        self.put_policy(cluster, "disk-io", "HARG:web", "HARG:database", "HARG:nobody", status="disabled")
        text = self.told(cluster, "explain", "disk-io")
        for words in ("disk-io (type monitor, id disk-io) is disabled on this node.",
                      "'beta' is not 'alpha' (CLUSTER_LOCAL_NODENAME)", "'alpha' is 'alpha' (CLUSTER_LOCAL_NODENAME)",
                      "not looked at: one before it is online here", "application shop, instance till",
                      "In the next cycle the application 'shop' enables it, its attributes enable it: it becomes "
                      "enabled.", "Not now: no daemon serves this node"):
            self.assertIn(words, text)
        told = self.json_of(cluster, "explain", "disk-io")["policies"][0]
        self.assertEqual([tie["here"] for tie in told["attributes"]], [False, True, False])
        self.assertEqual([tie["looked_at"] for tie in told["attributes"]], [True, True, False])
        self.assertEqual(told["next_cycle"]["status"], "enabled")
        self.assertEqual(told["applications"][0]["instances"][1]["local_name"], "alpha")

    def test_a_policy_is_found_by_id_name_and_type(self):
        cluster = self.cluster()
        self.put_policy(cluster, "1a2b", "HARG:web", name="disk io")
        for words in ("1a2b", "1A2B", "disk io", "monitor:disk io", ":disk io"):
            self.assertEqual(self.json_of(cluster, "explain", words)["policies"][0]["id"], "1a2b", words)
        for words in ("disk", "other:disk io", "monitor:"):
            self.assertIn("No policy with the id or name", self.told(cluster, "explain", words, code=NOT_FOUND))
        self.assertEqual(self.ask(cluster, "explain").code, WRONG_USAGE)
        self.assertEqual(self.ask(cluster, "explain", "").code, WRONG_USAGE)

    def test_a_policy_that_nothing_ties_is_left_alone(self):
        cluster = self.cluster()
        self.put_policy(cluster, "free", "other")
        self.assertIn("Nothing ties it to a resource group", self.told(cluster, "explain", "free"))

    def test_where_applications_cannot_be_read_nobody_says_that_nothing_ties_a_policy(self):
        for changes, files in (({"missing": ["had"]}, {}), ({"missing": ["hagrp"]}, {}),
                               ({}, {"bin/instrumentation/conf/shop.apm.xml": "<broken"})):
            cluster = self.cluster(**changes)
            for name, text in files.items():
                self.put(cluster, name, text)
            self.put_policy(cluster, "disk-io")
            text = self.told(cluster, "explain", "disk-io", code=FAILED)
            self.assertIn("What ties it to a resource group is not known: the applications cannot be read", text)
            self.assertIn("Not now: no daemon serves this node", text)
            self.assertNotIn("it is never switched", text)
            told = self.json_of(cluster, "explain", "disk-io", code=FAILED)["policies"][0]
            self.assertIn("the applications cannot be read", told["unknown_because"])

    def test_what_keeps_a_cycle_from_it_is_told(self):
        for settings, words in (({"MONITOR_MODE": "false"}, "MONITOR_MODE of conf.cluster is off"),
                                ({"CLUSTER_TYPE": "odd"}, "this node has no certificate")):
            cluster = self.cluster(settings=settings)
            self.put_policy(cluster, "disk-io", "HARG:web")
            kept = self.json_of(cluster, "explain", "disk-io")["policies"][0]["kept_from_it"]
            self.assertTrue(any(words in each for each in kept), kept)

    def test_two_that_are_not_of_one_mind_are_named(self):
        cluster = self.cluster()
        self.put_policy(cluster, "disk-io", "HARG:reports")
        self.assertIn("switched off and on in every cycle", self.told(cluster, "explain", "disk-io"))
        check = self.told(cluster, "check", code=FAILED)
        self.assertIn("'disk-io' follows its attributes and the application 'shop'", check)

    def test_where_the_groups_cannot_be_seen_nothing_is_told_of_a_switch(self):
        cluster = self.cluster(missing=["hagrp"])
        self.put_policy(cluster, "disk-io", "HARG:web")
        text = self.told(cluster, "explain", "disk-io", code=FAILED)
        self.assertIn("the cluster does not tell its groups now", text)
        self.assertIn("A cycle that cannot see the groups leaves it alone.", text)
        self.assertNotRegex(text, r"no such group|becomes|\.\.$")

    def test_without_a_cluster_the_policy_is_told_and_the_failure_too(self):
        cluster = self.cluster(missing=["had"])
        self.put_policy(cluster, "disk-io", "HARG:web")
        text = self.told(cluster, "explain", "disk-io", code=FAILED)
        self.assertIn("is enabled on this node", text)
        self.assertIn("the cluster cannot be asked now", text)


class Check(OnACluster):
    def findings(self, cluster, **keywords):
        return {(each["check"], each["state"]): each for each in self.json_of(cluster, "check", **keywords)["checks"]}

    def test_a_node_that_lacks_a_daemon_alone(self):
        cluster = self.cluster()
        self.put_policy(cluster, "disk-io")
        told = self.json_of(cluster, "check", code=FAILED)
        self.assertEqual([each["check"] for each in told["checks"] if each["state"] == "failed"], ["monitor"], told)
        self.assertTrue(all(each["advice"] for each in told["checks"] if each["state"] in ("failed", "warning")))
        text = self.told(cluster, "check", "--problems", code=FAILED)
        self.assertNotIn("ok ", text)
        self.assertIn("-> start lumconfd", text)

    def test_each_thing_that_is_wrong_has_a_line_with_what_to_do(self):
        app = "<APMApplicationConfiguration><Application>{}</Application></APMApplicationConfiguration>"
        entry = ("<APMClusterConfiguration><Application><Name>shop</Name><Instance><Name>till</Name><Package>{}</Package>"
                 "</Instance></Application></APMClusterConfiguration>")
        app_file, list_file = "bin/instrumentation/conf/shop.apm.xml", "conf/conf/apminfo.xml"
        for settings, changes, files, words in (
                ({}, {"missing": ["had"]}, {}, "no product's daemon file is there"),
                ({"CLUSTER_TYPE": "Sun Cluster (SC)"}, {}, {}, "but CLUSTER_TYPE is 'Sun Cluster (SC)'"),
                ({"CLUSTER_TYPE": "odd"}, {}, {}, "CLUSTER_TYPE is 'odd'"),
                ({}, {"missing": ["hagrp"]}, {}, "hagrp"),
                ({}, {"conducts": [{"call": "hasys -list*", "code": 3}]}, {}, "hasys"),
                ({"CLUSTER_LOCAL_NODENAME": "ALPHA"}, {}, {}, "'ALPHA' (CLUSTER_LOCAL_NODENAME) is no node"),
                ({}, {"conducts": [{"call": "hagrp -value web SystemList", "code": 3}]}, {}, "SystemList"),
                ({"MONITOR_MODE": "off"}, {}, {}, "'off' is off: nothing is switched"),
                ({"TOOL_TIMEOUT": "0"}, {}, {}, "waited for without limit"),
                ({"POLLING_INTERVAL": "1"}, {}, {}, "run all the time"),
                ({}, {}, {list_file: "<a"}, "Error while parsing xml file"),
                ({}, {}, {list_file: "<a/>"}, "is not APMClusterConfiguration"),
                ({}, {}, {list_file: entry.format("nobody")}, "carried by 'nobody', which is no group"),
                ({}, {}, {app_file: "<b/>"}, "is not APMApplicationConfiguration"),
                ({}, {}, {app_file: app.format("<X/>")}, "it has an element 'X'"),
                ({}, {}, {app_file: app.format("<Template/>")}, "which no name can be: that ends the monitor"),
                ({}, {}, {app_file: app.format("<Template>a=b</Template>")}, "as 'a=b', which no name can be"),
                ({}, {}, {list_file: entry.format("web").replace("shop", "../shop")}, "'../shop' has no file")):
            cluster = self.cluster(settings=settings, **changes)
            for name, text in files.items():
                self.put(cluster, name, text)
            told = self.json_of(cluster, "check", code=FAILED)["checks"]
            wrong = [each for each in told if each["state"] in ("failed", "warning") and words in each["finding"]]
            with self.subTest(words):
                self.assertTrue(wrong, told)
                self.assertTrue(all(each["advice"] for each in wrong), wrong)

    def test_an_address_that_no_tool_tells_is_a_line_with_what_to_do(self):
        for changes, groups in (({}, "the groups 'reports'"), ({"missing": ["hares"]}, "'database', 'web'")):
            note = self.findings(self.cluster(**changes), code=FAILED)[("tools (addresses)", "note")]
            self.assertIn(groups, note["finding"])
            self.assertIn("let the daemon's user run the tool", note["advice"])

    def test_each_file_that_is_wrong_is_named_though_a_load_ends_at_the_first(self):
        cluster = self.cluster()
        entry = "<Application><Name>{0}</Name><Instance><Name>i</Name><Package>no-{0}</Package></Instance></Application>"
        self.put(cluster, "conf/conf/apminfo.xml", "<APMClusterConfiguration>" + entry.format("a") + entry.format("b") +
                 "<Other/></APMClusterConfiguration>")
        self.put(cluster, "bin/instrumentation/b.apm.xml", "<broken")
        text = self.told(cluster, "check", code=FAILED)
        for words in ("the application 'a' has no file", "no-a", "b.apm.xml", "no-b", "an element 'Other'"):
            self.assertIn(words, text)

    def test_a_template_that_ends_the_monitor_is_named_though_nothing_is_loaded(self):
        cluster = self.cluster(missing=["hagrp"])
        self.put(cluster, "bin/instrumentation/conf/shop.apm.xml", "<APMApplicationConfiguration><Application>"
                 "<Template>a=b</Template></Application></APMApplicationConfiguration>")
        self.put_policy(cluster, "lost", "HARG:web")
        text = self.told(cluster, "check", code=FAILED)
        self.assertIn("as 'a=b', which no name can be: that ends the monitor", text)
        self.assertNotIn("is none of the cluster", text)
        self.assertNotIn("which is no group of the cluster", text)

    def test_a_node_that_never_had_a_policy_has_none_that_cannot_be_read(self):
        self.assertIn("0 of 0 installed policies", self.told(self.cluster(), "check", code=FAILED))
        self.assertNotIn("cannot be read", self.told(self.cluster(), "check", code=FAILED))

    def test_a_name_with_a_control_character_has_no_file(self):
        cluster = self.cluster()
        self.put(cluster, "conf/conf/apminfo.xml", "<APMClusterConfiguration><Application><Name>a&#133;b</Name>"
                 "</Application></APMClusterConfiguration>")
        self.put(cluster, "bin/instrumentation/conf/a\x85b.apm.xml", "<APMApplicationConfiguration><Application/>"
                 "</APMApplicationConfiguration>")
        self.assertRegex(self.told(cluster, "check", code=FAILED), "the application 'ab' has no file")

    def test_a_policy_that_names_a_group_which_is_not_there_is_named(self):
        cluster = self.cluster()
        self.put_policy(cluster, "lost", "HARG:nobody")
        self.assertIn("'lost' names the group 'nobody', which is none of the cluster", self.told(cluster, "check", code=FAILED))


if __name__ == "__main__":
    unittest.main()
