#!/usr/bin/python3
"""What holds a monitor up, or lets it take applications otherwise than they look: lumcluster and the log tell of it."""
import json
import unittest

import test_cluster_tool
from node import DONE, FAILED, wait_until
from test_cluster_daemon import PRODUCT, QUICK_MS
from test_cluster_told import TIMEOUT_IS_SET, Told

LISTS_DISK_IO = "<Template>disk-io</Template>"
ENDS_THE_MONITOR = "<Template>a=b</Template>"


def write_applications(root, *entries):
    """Each is a name, its instances with their groups, and what its file holds."""
    listed = ""
    described = root / "bin/instrumentation/conf"
    described.mkdir(parents=True, exist_ok=True)
    for name, instances, elements in entries:
        listed += f"<Application><Name>{name}</Name>" + "".join(
            f"<Instance><Name>{instance}</Name><Package>{group}</Package></Instance>"
            for instance, group in instances.items()) + "</Application>"
        (described / f"{name}.apm.xml").write_text("<APMApplicationConfiguration><Application>" + elements
                                                   + "</Application></APMApplicationConfiguration>")
    listing = root / "conf/conf/apminfo.xml"
    listing.parent.mkdir(parents=True, exist_ok=True)
    listing.write_text(f"<APMClusterConfiguration>{listed}</APMClusterConfiguration>")


class HeldUp(Told):
    def node_that_hangs(self):
        """The start command of the instance "one" goes on until it is ended."""
        cluster = self.cluster()
        node = self.node(cluster, start=False, POLLING_INTERVAL=QUICK_MS, **TIMEOUT_IS_SET)
        mark = node.folder / "mark"
        self.applications(node, "web", [f'/bin/sh -c "touch {mark}; while test -e {mark}; do sleep 0.1; done"'],
                          policies=["listed"])
        self.start(node)
        self.await_phase(node, "watching")
        self.install(node, "listed")
        self.await_status(node, "listed", "disabled")
        self.move(cluster, "web", "alpha")
        wait_until(mark.exists, f"the command runs: {node.log}")
        return node, mark

    def test_one_that_hangs_is_told_wherever_somebody_looks_until_it_has_ended(self):
        node, mark = self.node_that_hangs()
        told = self.monitor(node)
        waits = (f"since {told['commands_begun_at']} the monitor waits for the start commands of the instance 'one' of the "
                 "application 'shop'")
        self.assertRegex(told["commands_begun_at"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
        self.assertEqual((told["state"], told["hindered_by"]), ("watching", waits))
        self.assertIn(f", but policies do not follow at present: {waits}\n", self.ask(node, "status").out)
        shown = self.ask(node, "explain", "listed").out
        self.assertRegex(shown, f"it becomes enabled.\nNot now: .*: {waits}.\n")
        self.assertTrue(any(each.endswith(waits) for each in self.policy(node, "listed")["kept_from_it"]))
        mark.unlink()
        self.await_status(node, "listed", "enabled")
        wait_until(lambda: self.monitor(node)["hindered_by"] == "", "it follows again")
        self.assertEqual(self.monitor(node)["commands_begun_at"], None)
        self.assertEqual(self.policy(node, "listed")["kept_from_it"], [])
        self.assertEqual(self.checks(node)["monitor"]["state"], "ok")

    def test_one_that_takes_a_minute_is_a_failure_of_the_check(self):
        node, _ = self.node_that_hangs()
        path = node.root / "spool/cluster.monitor.json"
        record = json.loads(path.read_text())
        for begun_ago, code, state in ((-3600, DONE, "note"), (3600, FAILED, "failed")):
            # The monitor itself writes nothing while it waits.
            path.write_text(json.dumps(record | {"commands_begun_at": record["commands_begun_at"] - begun_ago}))
            found = self.checks(node, code=code)["monitor"]
            self.assertEqual(found["state"], state, found)
            self.assertIn("the monitor waits for the start commands of the instance 'one'", found["finding"])
            self.assertIn("COMMAND_TIMEOUT", found["advice"])

    def test_a_key_that_is_emptied_beside_it_and_cannot_be_written_back_is_told_before_it_ends_the_monitor(self):
        node, mark = self.node_that_hangs()
        node.settings["conf.cluster"] = {"CLUSTER_LOCAL_NODENAME": "alpha", "CLUSTER_TYPE": PRODUCT,
                                         "MONITOR_MODE": "true", **TIMEOUT_IS_SET}
        node.write_settings()
        kept = [each for each in self.policy(node, "listed")["kept_from_it"] if "POLLING_INTERVAL" in each]
        self.assertEqual(len(kept), 1, kept)
        self.assertTrue(kept[0].startswith("POLLING_INTERVAL is empty: a cycle sets that first, and ends the monitor when "
                                           "it fails: "), kept)
        found = self.checks(node, code=FAILED)["write-back"]
        self.assertEqual((found["state"], found["advice"]),
                         ("failed", "set POLLING_INTERVAL to the value that is meant again (lumsettings set "
                                    "conf.cluster)"), found)
        mark.unlink()
        self.await_phase(node, "waiting")
        wait_until(lambda: self.state(node)["phase"] == "watching", "the daemon fills it for a successor")
        self.assertEqual(self.checks(node)["write-back"]["state"], "note")


class TakenOtherwise(test_cluster_tool.OnACluster):
    def with_applications(self, *entries):
        cluster = self.cluster(applications=False)
        self.put_policy(cluster, "disk-io")
        write_applications(cluster.root, *entries)
        return cluster

    def checked(self, *entries):
        return self.told(self.with_applications(*entries), "check", code=FAILED)  # no daemon serves the node

    def test_an_application_of_two_entries_is_told_once(self):
        cluster = self.with_applications(("webshop", {"till": "web"}, LISTS_DISK_IO),
                                         ("webshop", {"stock": "database"}, LISTS_DISK_IO))
        listing, = self.json_of(cluster, "explain", "disk-io")["policies"][0]["applications"]
        self.assertEqual([instance["instance"] for instance in listing["instances"]], ["till", "stock"])
        self.assertIn("In the next cycle the application 'webshop' enables it: it stays enabled.\n",
                      self.told(cluster, "explain", "disk-io"))
        application, = self.json_of(cluster, "status")["applications"]
        self.assertEqual(application["policies"], ["disk-io"])

    def test_an_application_that_is_dropped_is_told_and_its_file_ends_nothing(self):
        web = ("webshop", {"till": "web"}, LISTS_DISK_IO)
        shop = ("shop", {"stock": "database"}, ENDS_THE_MONITOR)
        text = self.checked(web, shop)
        self.assertRegex(text, "warning +applications: the application 'shop' is dropped, since its name is part of that of "
                               "'webshop', which stands before it: nothing of it is followed")
        self.assertRegex(text, "-> let it stand before 'webshop' in '.*/apminfo.xml', or give it another name")
        self.assertNotIn("ends the monitor", text)
        self.assertNotIn("every application's file load", text)
        text = self.checked(("~", {}, ""), web)
        self.assertIn("the application '~' is dropped, since its name is empty, or holds characters of '~@$#%~', by which "
                      "names are kept apart: nothing of it is followed", text)
        text = self.checked(shop, web)
        self.assertNotIn("dropped", text)
        self.assertIn("as 'a=b', which no name can be: that ends the monitor", text)

    def test_names_that_differ_in_their_case_alone_are_told(self):
        text = self.checked(("shop", {"till": "web", "TILL": "database"}, ""), ("SHOP", {}, ""))
        self.assertIn("the names of the instances 'till' and 'TILL' of the application 'shop' differ in nothing but the "
                      "case: commands of the second one may run in every cycle", text)
        self.assertIn("the names of the applications 'shop' and 'SHOP' differ in nothing but the case", text)


class TakenOtherwiseByTheMonitor(Told):
    def test_the_log_warns_once_of_what_is_dropped_and_of_commands_that_run_again_and_again(self):
        node = self.node(self.cluster(), start=False, POLLING_INTERVAL=QUICK_MS)
        notes = node.folder / "notes"
        command = f'<StartCommand>/bin/sh -c "echo $instanceName &gt;&gt; {notes}; echo"</StartCommand>'
        write_applications(node.root, ("shop", {"till": "web", "TILL": "database"}, command), ("SHOP", {}, ""),
                           ("hop", {"desk": "database"}, command))
        self.start(node)
        wait_until(lambda: notes.exists() and len(notes.read_text().split()) >= 3, f"it runs in every cycle: {node.log}")
        self.assertEqual(set(notes.read_text().split()), {"TILL"})
        for words in ("The application 'hop' is not followed: its name is part of that of 'shop', which stands before it",
                      "The names of the applications 'shop' and 'SHOP' differ in nothing but the case",
                      "The names of the instances 'till' and 'TILL' of the application 'shop' differ in nothing but the "
                      "case"):
            self.assertEqual(node.log.count(words), 1, words)


if __name__ == "__main__":
    unittest.main()
