#!/usr/bin/python3
"""The simulated clusters that other tests use: the tools print what real ones do, do what the description says, and
leave nothing behind."""
import json
import os
import re
import signal
import subprocess
import unittest

from cluster import EXAMPLE, NO_BOX, SIMULATOR, THREE_SYSTEMS, Cluster, red_hat_files
from node import ROOT, wait_until

RECORDED = ROOT / "tests/data/recorded/vcs"
BIN = "/opt/VRTSvcs/bin/"
STRANGER = 54321


def cluster_of(groups, systems=(), **more):
    return {"product": "vcs", "name": "recorded", "systems": [{"name": name} for name in systems], "groups": groups} | more


def frozen(number, value):
    return {"name": f"Grp_CS_c1_CS{number}", "attributes": {"Frozen": value}}


# Each recording: the cluster that it was taken from as far as it shows, and the call.
RECORDINGS = {
    "hagrp-state-two-systems": (
        cluster_of([{"name": "kc_sg", "systems": ["xha239194", "xha239195"], "states": {"xha239194": "online"}}]),
        "hagrp -state kc_sg"),
    "hagrp-state-long-name": (
        cluster_of([{"name": "Grp_CS_c1_CS_11240_1", "systems": ["node1"]}]), "hagrp -state Grp_CS_c1_CS_11240_1"),
    "hagrp-state-long-name-two-systems": (
        cluster_of([{"name": "Grp_CS_c1_CS_11240_1", "systems": ["node1", "node2"], "states": {"node1": "online"}}]),
        "hagrp -state Grp_CS_c1_CS_11240_1"),
    "hagrp-display-all-groups": (cluster_of([frozen(1, "0"), frozen(2, "1")]), "hagrp -display -attribute Frozen"),
    "hagrp-display-one-group": (
        cluster_of([frozen(1, "0"), frozen(2, "1")]), "hagrp -display Grp_CS_c1_CS1 -attribute Frozen"),
    "hagrp-resources": (
        cluster_of([{"name": "vxfen", "resources": [{"name": "coordpoint", "type": "CoordPoint"},
                                                    {"name": "RES_phantom_vxfen", "type": "Phantom"}]}]),
        "hagrp -resources vxfen"),
    "hagrp-value-State": (
        cluster_of([{"name": "g", "systems": ["s"], "states": {"s": "online"}}], ["s"]), "hagrp -value g State s"),
    "hagrp-value-SystemList": (
        cluster_of([{"name": "g", "systems": [["mn1", 0], ["mn2", 0]]}]), "hagrp -value g SystemList"),
    "hasys-list": (cluster_of([], ["xha239194", "xha239195"]), "hasys -list"),
}


# The same of other products, by the folder and the name of the recording.
OTHER_RECORDINGS = {
    "hacmp/clRGinfo-s": (
        cluster_of([{"name": "pdb213rg", "systems": ["pasv0450", "pasv0449"], "states": {"pasv0450": "online"}},
                    {"name": "pmon01rg", "systems": ["pasv0449", "pasv0450"], "states": {"pasv0449": "online"}}],
                   product="hacmp"), "/usr/es/sbin/cluster/utilities/clRGinfo -s"),
}


class Simulated(unittest.TestCase):
    def cluster(self, *arguments, **changes):
        cluster = Cluster(*arguments, **changes)
        self.addCleanup(cluster.close)
        return cluster

    def ask(self, cluster, call, **keywords):
        tool, *words = call.split()
        return cluster.run(BIN + tool, *words, **keywords)

    def assert_prints(self, cluster, call, text):
        result = self.ask(cluster, call)
        self.assertEqual((result.code, result.out, result.err), (0, text, ""), call)

    def assert_refused(self, cluster, call, number):
        result = self.ask(cluster, call)
        self.assertEqual((result.code, result.out), (1, ""), call)
        self.assertRegex(result.err, rf"^VCS WARNING V-16-1-{number} .+\n$")


class Answers(Simulated):
    def test_what_was_recorded_is_printed_byte_by_byte(self):
        self.assertEqual({path.stem for path in RECORDED.glob("*.txt")},
                         {*RECORDINGS, "hagrp-state-not-on-system.stderr"})
        for name, (description, call) in RECORDINGS.items():
            with self.subTest(name):
                recorded = (RECORDED / f"{name}.txt").read_text(encoding="utf-8").rstrip("\n") + "\n"
                self.assert_prints(self.cluster(description), call, recorded)

    def test_what_was_recorded_of_other_products_is_printed_byte_by_byte(self):
        for name, (description, call) in OTHER_RECORDINGS.items():
            with self.subTest(name):
                recorded = (RECORDED.parent / f"{name}.txt").read_text(encoding="utf-8")
                self.assertEqual(self.cluster(description).run(*call.split()).out, recorded)

    def test_the_tables_of_a_red_hat_cluster_are_those_recorded_but_for_their_width(self):
        def squeezed(text):
            return [re.sub(" +", " ", line).rstrip() for line in text.splitlines()[1:]]  # the first has the time
        systems = [{"name": "node1", "id": 1}, {"name": "node2", "id": 2}]
        groups = [{"name": f"group_{number}", "systems": [f"node{number}"], "states": {f"node{number}": "online"}}
                  for number in (1, 2)]
        cluster = self.cluster({"product": "rhas", "name": "cluster", "host": "node1", "systems": systems, "groups": groups,
                                "files": red_hat_files(5)})
        recorded = (RECORDED.parent / "rhas/clustat-two-services.txt").read_text(encoding="utf-8")
        self.assertEqual(squeezed(cluster.run("/usr/sbin/clustat").out), squeezed(recorded))

    def test_a_group_that_is_not_on_a_system_is_refused_on_the_error_stream(self):
        cluster = self.cluster(cluster_of([{"name": "g", "systems": ["node2"]}], ["node1", "node2"]))
        result = self.ask(cluster, "hagrp -state g -sys node1")
        recorded = (RECORDED / "hagrp-state-not-on-system.stderr.txt").read_text(encoding="utf-8")
        self.assertEqual((result.code, result.out, result.err), (1, "", recorded + "\n"))

    def test_each_state_has_the_word_of_the_product_and_any_other_text_stands_for_itself(self):
        cluster = self.cluster()
        for state, word in {"online": "RUNNING", "offline": "EXITED", "unknown": "UNKNOWN", "LEAVING": "LEAVING"}.items():
            cluster.system("beta")["state"] = state
            cluster.write()
            self.assert_prints(cluster, "hasys -state beta", word + "\n")
            self.assert_prints(cluster, "hasys -value beta SysState", word + "\n")
        for state, word in {"online": "|ONLINE|", "offline": "|OFFLINE|", "partial": "|PARTIAL|", "unknown": "|UNKNOWN|",
                            "faulted": "|OFFLINE|FAULTED|", "|STARTING|": "|STARTING|", "": ""}.items():
            cluster.group("web")["states"] = {"alpha": state}
            cluster.write()
            self.assert_prints(cluster, "hagrp -state web -sys alpha", word + "\n")

    def test_a_cluster_answers_every_call(self):
        cluster = self.cluster()
        heading = "#Group       Attribute             System     Value\n"
        for call, text in {
            "haclus -value ClusterName": "harbour\n",
            "hasys -list": "alpha\nbeta\ngamma\n",
            "hasys -value gamma NodeId": "2\n",
            "hagrp -display -attribute SystemList":
                heading + "database     SystemList            global     alpha 0\tbeta 1\tgamma 2\n"
                          "web          SystemList            global     beta 0\talpha 1\n"
                          "reports      SystemList            global     gamma 0\tbeta 1\n",
            "hagrp -state database -sys beta": "|OFFLINE|\n",
            "hagrp -value database State": "|ONLINE|\n",
            "hagrp -value reports State": "|OFFLINE|\n",
            "hagrp -resources web": "web_ip\n",
            "hares -value web_ip Address": "192.0.2.20\n",
            "hares -display web_ip -attribute Address -type IP":
                heading.replace("#Group      ", "#Resource   ")
                + "web_ip       Address               global     192.0.2.20\n",
        }.items():
            with self.subTest(call):
                self.assert_prints(cluster, call, text)

    def test_what_is_not_there_is_refused(self):
        cluster = self.cluster()
        for call, number in {
            "hasys -state delta": 10200, "hasys -value delta NodeId": 10200, "hagrp -state web -sys delta": 10200,
            "hagrp -value none State": 40131, "hagrp -resources none": 40131, "hares -value none Address": 40130,
            "hares -display database_disk -attribute Address -type IP": 40130,
            "hares -value database_disk Address": 40130, "hasys": 10600, "hagrp -frob": 10600, "haclus -display": 10600,
        }.items():
            with self.subTest(call):
                self.assert_refused(cluster, call, number)
        cluster.write(groups=[])
        self.assert_refused(cluster, "hagrp -display -attribute SystemList", 50031)

    def test_systems_of_a_global_cluster_bear_their_site(self):
        cluster = self.cluster()
        cluster.system("beta")["site"] = "site1"
        cluster.write()
        self.assert_prints(cluster, "hasys -list", "alpha\nsite1:beta\ngamma\n")
        self.assert_prints(cluster, "hasys -state beta", "RUNNING\n")

    def test_a_line_may_stand_between_groups(self):
        result = self.ask(self.cluster(separators=True), "hagrp -display -attribute SystemList")
        self.assertEqual([line.split()[0] for line in result.out.splitlines()],
                         ["#Group", "database", "#", "web", "#", "reports"])

    def test_the_cluster_that_people_are_shown_is_the_one_of_the_tests(self):
        lines = EXAMPLE.read_text(encoding="utf-8").splitlines()
        shown = json.loads("\n".join(line for line in lines if not line.startswith("//")))
        for system in shown["systems"]:
            if system["state"] == "online":
                del system["state"]
        self.assertEqual(shown, THREE_SYSTEMS)


class Conduct(Simulated):
    def conduct(self, **conduct):
        cluster = self.cluster()
        cluster.let("hasys -list", **conduct)
        return self.ask(cluster, "hasys -list")

    LIST = "alpha\nbeta\ngamma\n"

    def test_a_tool_fails_after_it_has_answered(self):
        result = self.conduct(code=7)
        self.assertEqual((result.code, result.out), (7, self.LIST))

    def test_a_tool_prints_something_else(self):
        for conduct, text in (({"print": ""}, ""), ({"print": "a\0b\n"}, "a\0b\n"), ({"printHex": "ff0a"}, "\udcff\n"),
                              ({"print": "ab", "repeat": 3}, "ababab"), ({"repeat": 2}, 2 * self.LIST),
                              ({"print": "x", "repeat": 10000000}, 10000000 * "x")):
            result = self.conduct(**conduct)
            self.assertEqual(result.code, 0)
            self.assertTrue(result.out == text, conduct)

    def test_a_tool_writes_to_its_error_stream(self):
        result = self.conduct(error="trouble\n")
        self.assertEqual((result.code, result.out, result.err), (0, self.LIST, "trouble\n"))

    def test_a_tool_dies_by_a_signal(self):
        for number in (signal.SIGKILL, signal.SIGSEGV, signal.SIGTERM):
            self.assertEqual(self.conduct(signal=number).code, 128 + number)

    def test_a_tool_that_prints_for_ever_ends_with_its_reader(self):
        cluster = self.cluster()
        cluster.let("hasys -list", **{"print": "y\n", "forever": True})
        self.assertEqual(cluster.run("sh", "-c", f"{BIN}hasys -list | head -n 2").out, "y\ny\n")
        self.assertFalse(cluster.was_anybody_left())

    def test_a_tool_that_has_closed_its_output_stays(self):
        cluster = self.cluster()
        cluster.let("hasys -list", close=True, hang=True)
        result = cluster.run("bash", "-c", f"cat <({BIN}hasys -list)")
        self.assertEqual((result.code, result.out), (0, self.LIST), "the end of the output is seen")
        self.assertTrue(cluster.was_anybody_left())

    def test_a_child_that_a_tool_leaves_holds_its_output(self):
        cluster = self.cluster()
        cluster.let("hasys -list", child=True)
        process = cluster.start("sh", "-c", f"{BIN}hasys -list | cat", stdout=subprocess.PIPE)
        self.assertEqual(process.stdout.read(len(self.LIST)).decode(), self.LIST)
        self.assertIsNone(process.poll())
        process.kill()
        self.assertEqual(process.stdout.read(), b"", "it went with the box")

    def test_only_one_of_several_calls_may_be_meant(self):
        cluster = self.cluster()
        cluster.let("hasys -state *", number=2, code=3)
        codes = [self.ask(cluster, f"hasys {words}").code for words in ("-state beta", "-list", "-state alpha",
                                                                        "-state alpha")]
        self.assertEqual(codes, [0, 0, 3, 0])

    def test_a_tool_waits_and_then_answers_by_what_is_so_at_that_time(self):
        cluster = self.cluster()
        gate = cluster.folder / "gate"
        cluster.let("hasys -state beta", waitFor=str(gate))
        process = cluster.start(BIN + "hasys", "-state", "beta", stdout=subprocess.PIPE)
        wait_until(cluster.calls, "the tool is called")
        cluster.system("beta")["state"] = "offline"
        cluster.write()
        gate.touch()
        self.assertEqual(process.communicate()[0], b"EXITED\n")

    def test_a_misspelt_word_of_the_description_is_told(self):
        for changes, word in (({"nodes": []}, "nodes"), ({"conducts": [{"exit": 1}]}, "exit"),
                              ({"systems": [{"nme": "a"}]}, "nme"), ({"product": "vcx"}, "vcx")):
            result = self.cluster(**changes).run("true")
            self.assertEqual(result.code, NO_BOX)
            self.assertIn(word, result.err)


class Box(Simulated):
    def test_every_call_is_written_down_with_its_words(self):
        cluster = self.cluster()
        cluster.run(BIN + "hasys", "-state", "a name\nof two lines")
        self.ask(cluster, "hasys -list")
        self.assertEqual([record["words"] for record in cluster.records()],
                         [["hasys", "-state", "a name\nof two lines"], ["hasys", "-list"]])

    def test_the_daemons_file_is_there_and_nothing_of_the_folder_is_lost(self):
        outside = sorted(os.listdir("/opt"))
        result = self.cluster().run("ls", "/opt", BIN + "had")
        self.assertEqual(result.code, 0, result)
        self.assertEqual(sorted({*result.out.split(), "VRTSvcs"} - {"/opt:", BIN + "had"}),
                         sorted({*outside, "VRTSvcs"}))

    def test_further_files_are_there_and_missing_ones_are_not(self):
        cluster = self.cluster(files=["/usr/cluster/lib/daemon", "/sbin/another"], missing=["had", "hares"])
        self.assertEqual(cluster.run("ls", BIN).out.split(), ["haclus", "hagrp", "hasys"])
        self.assertEqual(cluster.run("ls", "/usr/cluster/lib/daemon", "/sbin/another", "/usr/bin/env").code, 0)

    def test_a_further_file_holds_what_is_told_of_it(self):
        cluster = self.cluster(files=[{"path": "/etc/harbour/web", "text": "one\ntwo\n"}])
        self.assertEqual(cluster.run("cat", "/etc/harbour/web").out, "one\ntwo\n")

    def test_where_no_namespaces_can_be_made_it_says_so_in_one_line(self):
        cluster = self.cluster()
        powerless = ["setpriv", "--bounding-set=-sys_admin", "--inh-caps=-sys_admin"]
        result = subprocess.run([*powerless, *cluster.command("true")], capture_output=True, text=True)
        self.assertEqual((result.returncode, result.stdout), (NO_BOX, ""))
        self.assertRegex(result.stderr, r"^lumclustersim: no namespaces: .+\n$")

    def test_nothing_of_it_is_seen_outside(self):
        cluster = self.cluster()
        before = os.listdir("/opt"), os.uname().nodename
        process = cluster.start("sh", "-c", "uname -n; cat", stdout=subprocess.PIPE)
        self.assertEqual(process.stdout.readline(), b"alpha\n")
        self.assertEqual((os.listdir("/opt"), os.uname().nodename), before)
        with open("/proc/self/mounts", encoding="utf-8") as mounts:
            self.assertNotIn(str(cluster.folder), mounts.read())

    def test_a_box_may_be_another_node_and_has_the_names_of_hosts_that_are_described(self):
        cluster = self.cluster(hosts={"beta": "192.0.2.7"})
        command = [str(SIMULATOR), "--host", "beta", str(cluster.folder), "sh", "-c", "uname -n; cat /etc/hosts"]
        result = subprocess.run(command, capture_output=True, text=True)
        self.assertEqual((result.returncode, result.stdout), (0, "beta\n127.0.0.1 localhost\n192.0.2.7 beta\n"), result)

    def test_a_call_that_waits_says_so_and_goes_on_when_it_may(self):
        cluster = self.cluster()
        release = cluster.folder / "release"
        cluster.let("hasys -list", waitFor=str(release))
        process = cluster.start(BIN + "hasys", "-list", stdout=subprocess.PIPE)
        wait_until(lambda: {"waits": ["hasys", "-list"]} in cluster.records(), "it waits")
        cluster.write(conducts=[])
        release.touch()
        self.assertEqual(process.stdout.read(), b"alpha\nbeta\ngamma\n")

    def test_the_box_ends_with_the_code_of_its_program(self):
        cluster = self.cluster()
        self.assertEqual(cluster.run("sh", "-c", "exit 5").code, 5)
        self.assertEqual(cluster.run("sh", "-c", "kill -9 $$").code, 128 + 9)
        self.assertEqual(cluster.run("/no/such/program").code, NO_BOX)

    def test_a_program_runs_as_another_user_and_so_do_the_tools(self):
        cluster = self.cluster()
        result = cluster.run("sh", "-c", f"id -u; id -G; {BIN}hasys -list", user=STRANGER)
        self.assertEqual(result.out, f"{STRANGER}\n{STRANGER}\nalpha\nbeta\ngamma\n")
        self.assertEqual([record["user"] for record in cluster.records()], [STRANGER])

    def test_a_killed_box_takes_all_that_runs_in_it_along(self):
        cluster = self.cluster()
        cluster.let("hasys -list", child=True, hang=True)
        process = cluster.start("sh", "-c", f"{BIN}hasys -list", stdout=subprocess.PIPE)
        self.assertEqual(process.stdout.read(5), b"alpha")
        process.kill()
        process.wait()
        process.stdout.read()  # ends when the last one that holds it has ended
        with open("/proc/self/mounts", encoding="utf-8") as mounts:
            self.assertNotIn(str(cluster.folder), mounts.read())

    def test_those_who_are_left_behind_are_told_and_ended(self):
        cluster = self.cluster()
        result = cluster.run("sh", "-c", "sleep 1000 & echo done")
        self.assertEqual((result.code, result.out), (0, "done\n"))
        self.assertTrue(cluster.was_anybody_left())


if __name__ == "__main__":
    unittest.main()
