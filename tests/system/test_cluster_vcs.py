#!/usr/bin/python3
"""lumclusterinfo on VERITAS clusters that are odd, whose tools fail, or that mean harm."""
import os
import re
import resource
import subprocess
import unittest

from node import PATIENCE_S, SLOWNESS, TOOLS, wait_until
from terminal import read_until
from test_cluster_info import ALL, DONE, FAILED, NAME_ONLY, OnACluster

MEMORY_KIB = 512 * 1024 * SLOWNESS
NODE_LIST_FAILED = "Can not get node list for VERITAS Cluster Server."
GROUP_LIST_FAILED = "Can not get group list for VERITAS Cluster Server."
TOOL_FAILED = "Exception during execution:"


def returned(code):
    return f"Execute command failed. Child returned '{code}'."


def printed_nothing(code):
    return f"The command printed nothing and returned '{code}'"


def labels_of(listing):
    return re.sub(r"(?m)^(.{13}|#\w+ ).*$", r"\1", listing)


class States(OnACluster):
    def test_each_word_for_the_state_of_a_system(self):
        cluster = self.cluster()
        for word, node, whole in (("RUNNING", "Online", "Up"), ("NOT_RUNNING", "Offline", "Down"),
                                  ("EXITED", "Offline", "Unknown"), ("UNKNOWN", "Unknown", "Unknown"),
                                  ("", "Offline", "Unknown"), ("LEAVING", "Unknown", "Unknown"),
                                  ("running", "Unknown", "Unknown"), ("RUNNING ", "Unknown", "Unknown")):
            with self.subTest(word):
                cluster.system("alpha")["state"] = word
                cluster.write()
                self.assert_prints(cluster, "-node alpha -state", node + "\n")
                self.assert_prints(cluster, "-cluster -state", whole + "\n")

    def test_each_word_for_the_state_of_a_group(self):
        cluster = self.cluster()
        for word, state in (("|ONLINE|", "Online"), ("ONLINE", "Online"), ("|OFFLINE|", "Offline"), ("OFFLINE", "Offline"),
                            ("|PARTIAL|", "Unknown"), ("|UNKNOWN|", "Unknown"), ("", "Unknown"),
                            ("|OFFLINE|FAULTED|", "Unknown"), ("|online|", "Unknown"), ("PARTIAL", "Unknown")):
            with self.subTest(word):
                cluster.group("database")["states"] = {"alpha": word}
                cluster.write()
                self.assert_prints(cluster, "-group database -localState", state + "\n")

    def test_configured_words_take_the_place_of_all_that_are_known(self):
        cluster = self.cluster()
        cluster.group("database")["states"] = {"alpha": "partial"}
        cluster.write()
        self.assert_prints(cluster, "-group database -localState", "Unknown\n")
        for word, configured, state in (("partial", "online", "Online"), ("partial", "Unknown", "Unknown"),
                                        ("partial", "PARTIAL", "Offline"), ("partial", "", "Offline"),
                                        ("online", "ONLINE", "Offline"), ("unknown", "ONLINE", "Offline")):
            with self.subTest(word=word, configured=configured):
                cluster.settings({"conf.cluster.RGState.VCS": {"_PARTIAL_": configured}})
                cluster.group("database")["states"] = {"alpha": word}
                cluster.write()
                self.assert_prints(cluster, "-group database -localState", state + "\n")

    def test_a_group_is_as_on_the_first_system_where_it_is_online(self):
        cluster = self.cluster()
        cluster.group("database")["states"] = {"alpha": "offline", "beta": "online", "gamma": "offline"}
        cluster.write()
        self.assert_prints(cluster, "-group database -activeNode", "beta\n")
        self.assert_prints(cluster, "-group database -state", "Online\n")
        self.assertEqual(cluster.calls("hagrp -state database -sys gamma"), [], "nobody behind it is asked")

    def test_a_group_is_as_on_the_last_system_that_answered(self):
        cluster = self.cluster()
        cluster.group("database")["states"] = {"alpha": "offline", "beta": "offline"}
        cluster.let("hagrp -state database -sys gamma", code=1)
        self.assert_prints(cluster, "-group database -state", "Offline\n")
        cluster.group("database")["states"] = {"alpha": "offline", "beta": "unknown"}
        cluster.write()
        self.assert_prints(cluster, "-group database -state", "Unknown\n")

    def test_a_group_without_a_local_state_is_as_its_systems_are_and_else_as_the_whole(self):
        cluster = self.cluster()
        cluster.group("reports")["state"] = "online"
        cluster.write()
        self.assert_prints(cluster, "-group reports -localState", "Unknown\n")
        self.assert_prints(cluster, "-group reports -state", "Offline\n")
        cluster.let("hagrp -state reports *", code=1)
        self.assert_prints(cluster, "-group reports -state", "Online\n")
        self.assert_prints(cluster, "-group reports -activeNode", "")
        cluster.write(conducts=[{"call": "hagrp -state reports *", "code": 1}, {"call": "hagrp -value reports State", "code": 1}])
        self.assert_prints(cluster, "-cluster -groups", "database\nweb\nreports\n")
        self.assert_prints(cluster, "-group reports -state", "Unknown\n")
        self.assert_prints(cluster, "-group reports -localState", "Unknown\n")

    def test_a_group_without_a_local_state_is_told_to_the_log_of_a_monitored_node_alone(self):
        cluster = self.cluster()
        warning = "Local state of group 'reports' is unknown."
        for mode, is_told in (("true", True), ("false", False), ("", False)):
            cluster.configure(MONITOR_MODE=mode)
            result = self.info(cluster, "-cluster -groups")
            self.assertEqual((result.code, result.out), (DONE, "database\nweb\nreports\n"))
            self.assertEqual(warning in result.err, is_told, result.err)
            self.assertNotIn("'web'", result.err)

    def test_changes_are_seen_by_the_next_question(self):
        cluster = self.cluster()
        self.assert_prints(cluster, "-group web -activeNode", "beta\n")
        cluster.group("web")["states"] = {"alpha": "online"}
        cluster.system("beta")["state"] = "offline"
        cluster.write()
        self.assert_prints(cluster, "-group web -activeNode", "alpha\n")
        self.assert_prints(cluster, "-node beta -state", "Offline\n")


class Lists(OnACluster):
    def test_a_system_of_a_global_cluster_is_named_by_what_stands_behind_its_site(self):
        cluster = self.cluster()
        cluster.let("hasys -list", print="alpha\nsite1:beta\nsite2: gamma \n")
        self.assert_prints(cluster, "-cluster -nodes", "alpha\nbeta\ngamma\n")
        self.assert_prints(cluster, "-node beta -id", "1\n")

    def test_a_name_is_the_whole_line_and_one_word_of_a_call(self):
        cluster = self.cluster()
        cluster.description["systems"][2] = {"name": "a third system", "id": 7}
        cluster.write()
        result = cluster.info("-node", "A Third System", "-id")
        self.assertEqual((result.code, result.out), (DONE, "7\n"))
        self.assertIn(["hasys", "-value", "a third system", "NodeId"], [record["words"] for record in cluster.records()])

    def test_a_name_that_could_be_taken_for_something_else_runs_no_tool_and_stays(self):
        for name in ("-force", 'a"b', 'a" -force "b', "a\tb", "a\x1bb", "a\rb"):
            with self.subTest(name):
                cluster = self.cluster()
                cluster.let("hasys -list", print=f"alpha\n{name}\n")
                self.assertEqual(cluster.info("-node", name, "-id").out, "65535\n")
                self.assertEqual(cluster.info("-node", name, "-state").out, "Unknown\n")
                self.assertEqual({word for record in cluster.records() for word in record["words"]},
                                 {"haclus", "-value", "ClusterName", "hasys", "-list", "-state", "alpha", "NodeId"})

    def test_a_group_with_such_a_name_stays_and_runs_no_tool(self):
        cluster = self.cluster()
        cluster.let("hagrp -display *", print='#Group Attribute System Value\n-modify SystemList global alpha 0\n'
                                              'a"b SystemList global alpha 0\nweb SystemList global beta 0 alpha 1\n')
        self.assert_prints(cluster, "-cluster -groups", '-modify\na"b\nweb\n')
        self.assertEqual([call for call in cluster.calls("hagrp") if "modify" in call or '"' in call], [])

    def test_an_id_that_cannot_be_asked_for_is_65535(self):
        cluster = self.cluster()
        for conduct in ({"code": 1}, {"print": ""}, {"signal": 9}, {"print": "\n"}, {"print": "none\n"},
                        {"print": "-1\n"}, {"print": "65536\n"}, {"print": "99999999999999999999\n"}):
            with self.subTest(conduct):
                cluster.let("hasys -value beta NodeId", **conduct)
                self.assert_prints(cluster, "-node beta -id", "65535\n")
        self.assert_prints(cluster, "-cluster -nodes", "alpha\nbeta\ngamma\n")

    def test_a_system_whose_state_cannot_be_asked_for_stays(self):
        cluster = self.cluster()
        cluster.let("hasys -state beta", code=1)
        self.assert_prints(cluster, "-node beta -state", "Unknown\n")
        self.assert_prints(cluster, "-node beta -id", "1\n")

    def test_systems_of_a_group_are_every_other_word_that_has_another_behind_it(self):
        cluster = self.cluster()
        for text, nodes in (("alpha 0\tbeta 1", "alpha\nbeta\n"), ("alpha\t0\tbeta\t1", "alpha\nbeta\n"),
                            ("alpha 0 beta 1", "alpha\nbeta\n"), ("beta  5 \t alpha   5", "beta\nalpha\n"),
                            ("alpha 0\tbeta", "alpha\n"), ("alpha", ""), ("", ""), (" alpha 0", ""),
                            ("alpha 0\tdelta 1\tbeta 2", "alpha\nbeta\n"), ("gamma 2\talpha 0", "gamma\nalpha\n")):
            with self.subTest(text):
                cluster.group("web")["attributes"] = {"SystemList": text}
                cluster.write()
                self.assert_prints(cluster, "-group web -nodes", nodes)

    def test_a_system_of_a_group_that_cannot_be_asked_is_dropped(self):
        cluster = self.cluster()
        # The first one belongs to the list of all systems.
        cluster.let("hasys -value beta NodeId", code=1)
        self.assert_prints(cluster, "-group database -nodes", "alpha\ngamma\n")

    def test_a_group_whose_systems_cannot_be_asked_for_stays_without_an_active_one(self):
        cluster = self.cluster()
        cluster.let("hagrp -value web SystemList", code=1)
        self.assert_prints(cluster, "-group web -activeNode", "")
        self.assert_prints(cluster, "-group web -localState", "Offline\n")
        self.assert_fails(self.info(cluster, "-group web -nodes"), TOOL_FAILED, returned(1))


    def test_what_stands_between_groups_is_no_group_and_takes_no_id(self):
        cluster = self.cluster(separators=True)
        self.assert_prints(cluster, "-all", ALL)
        self.assert_prints(cluster, "-group reports -id", "3\n")
        cluster.let("hagrp -display *", print="#Group Attribute System Value\n\nweb SystemList global beta 0\n#\n\n"
                                              "database SystemList global alpha 0\n")
        self.assert_prints(cluster, "-cluster -groups", "web\ndatabase\n")
        self.assert_prints(cluster, "-group database -id", "2\n")


class Addresses(OnACluster):
    def test_the_resources_are_asked_for_twice_and_each_for_its_address_until_one_has_it(self):
        cluster = self.cluster()
        group = cluster.group("database")
        group["resources"].append({"name": "second_ip", "type": "IP", "address": "192.0.2.99"})
        cluster.write()
        self.assert_prints(cluster, "-group database -vip", "192.0.2.10\n")
        display = "hares -display {} -attribute Address -type IP"
        self.assertEqual([call for call in cluster.calls() if "-resources" in call or call.startswith("hares")],
                         2 * ["hagrp -resources database"]
                         + [display.format("database_disk"), display.format("database_ip"), "hares -value database_ip Address"])

    def test_a_group_without_resources_or_without_an_address_has_none(self):
        cluster = self.cluster()
        for resources in ([], [{"name": "a", "type": "NIC"}], [{"name": "a", "type": "IP", "address": ""}]):
            cluster.group("web")["resources"] = resources
            cluster.write()
            self.assert_prints(cluster, "-group web -vip", "None \n")
        self.assertIn("virtual IP   None  \nactive node  beta\n", self.info(cluster, "-all").out)

    def test_an_address_that_cannot_be_asked_for_is_told(self):
        cluster = self.cluster()
        for call in ("hagrp -resources web", "hares -value web_ip Address"):
            cluster.let(call, code=4)
            for line in ("-group web -vip", "-all"):
                self.assert_fails(self.info(cluster, line), TOOL_FAILED, returned(4))


class FailingTools(OnACluster):
    def test_each_failure_is_told_with_what_is_behind_it(self):
        cluster = self.cluster()
        for call, line, text, behind in (
            ("haclus *", "-cluster -type", "Can not instantiate VERITAS Cluster Server object.", printed_nothing),
            ("hasys -state alpha", "-cluster -state", "Can not get the state of the local node.", printed_nothing),
            ("hasys -list", "-cluster -nodes", NODE_LIST_FAILED, returned),
            ("hagrp -display *", "-cluster -groups", GROUP_LIST_FAILED, returned),
        ):
            for conduct, detail in (({"code": 1}, returned(1)), ({"code": 255, "print": ""}, behind(255)),
                                    ({"signal": 9}, returned(137)), ({"signal": 11, "print": ""}, behind(139))):
                with self.subTest(call=call, conduct=conduct):
                    cluster.let(call, **conduct)
                    self.assert_fails(self.info(cluster, line), text, TOOL_FAILED, detail)
                    self.assert_fails(self.info(cluster, "-all"), text, TOOL_FAILED, detail)

    def test_a_tool_of_one_line_that_prints_none_has_failed(self):
        cluster = self.cluster()
        for call, line in (("haclus *", "-cluster -name"), ("hasys -state alpha", "-cluster -state"),
                           ("hagrp -value web SystemList", "-group web -nodes")):
            cluster.let(call, print="")
            self.assert_fails(self.info(cluster, line), TOOL_FAILED, printed_nothing(0))

    def test_only_the_first_line_counts_and_a_missing_line_end_is_none_the_worse(self):
        cluster = self.cluster()
        for text in ("first\nsecond\nthird\n", "first", "first\n", "first\n" + 100000 * "more\n"):
            cluster.let("haclus *", print=text)
            self.assert_prints(cluster, "-cluster -name", "first\n")

    def test_what_tools_write_to_their_error_stream_is_not_seen(self):
        cluster = self.cluster()
        cluster.let("*", error=1000 * "VCS WARNING V-16-1-1 noise\n")
        self.assert_prints(cluster, "-all", ALL)

    def test_every_tool_failing_in_turn_leaves_a_whole_listing_or_none(self):
        cluster = self.cluster()
        cluster.description["systems"].pop()
        cluster.description["groups"] = [{"name": "web", "systems": ["beta", "alpha"], "states": {"beta": "online"},
                                          "resources": [{"name": "web_disk", "type": "Mount"},
                                                        {"name": "web_ip", "type": "IP", "address": "192.0.2.20"}]},
                                         {"name": "far", "systems": ["beta"]}]
        cluster.write(conducts=[])
        whole = self.info(cluster, "-all").out
        count = len(cluster.calls())
        self.assertGreater(count, 40)
        needed = set()
        for number in range(1, count + 1):
            cluster.forget_calls()
            cluster.let("*", number=number, code=1)
            result = self.info(cluster, "-all")
            failed = cluster.calls()[number - 1]
            with self.subTest(failed=failed, number=number):
                self.assertGreaterEqual(len(cluster.calls()), number)
                if result.code == DONE:
                    self.assertEqual(labels_of(result.out), labels_of(whole))
                    # Of all that is left out only the loss of a list is written to the log.
                    self.assertEqual(NODE_LIST_FAILED in result.err, failed == "hasys -list", result.err)
                else:
                    self.assert_fails(result, returned(1))
                    needed.add(failed)
        self.assertEqual(needed, {*NAME_ONLY, "hasys -state alpha", "hasys -list", "hagrp -display -attribute SystemList",
                                  "hagrp -value web SystemList", "hagrp -value far SystemList", "hagrp -resources web",
                                  "hagrp -resources far", "hares -value web_ip Address"})


class HostileTools(OnACluster):
    def tearDown(self):
        self.assertLess(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss, MEMORY_KIB)
        super().tearDown()

    def test_a_line_of_ten_megabytes_is_a_long_name(self):
        cluster = self.cluster()
        cluster.let("haclus *", print="x", repeat=10000000)
        result = self.info(cluster, "-cluster -name")
        self.assertEqual((result.code, len(result.out)), (DONE, 10000001))
        cluster.let("hasys -list", print="x", repeat=10000000)
        result = self.info(cluster, "-cluster -nodes")
        self.assertEqual((result.code, len(result.out)), (DONE, 10000001), "its id and state cannot be asked for")

    def test_a_list_without_measure_is_refused_before_anything_is_asked_of_it(self):
        cluster = self.cluster()
        for conduct in ({"print": "n\n", "repeat": 1000001}, {"print": "x", "repeat": 70 << 20},
                        {"print": 1000 * "x" + "\n", "repeat": 70000}, {"print": "n\n", "forever": True},
                        {"print": "x", "forever": True}):
            with self.subTest(conduct):
                cluster.forget_calls()
                cluster.let("hasys -list", **conduct)
                self.assert_fails(self.info(cluster, "-cluster -nodes"), NODE_LIST_FAILED, TOOL_FAILED)
                self.assertEqual(cluster.calls(), [*NAME_ONLY, "hasys -list"])
                self.assertFalse(cluster.was_anybody_left())

    def test_bytes_that_are_no_text_do_no_harm(self):
        cluster = self.cluster()
        for conduct in ({"printHex": "610062" + "0a"}, {"printHex": "fffe80c0af" + "0a"}, {"printHex": "eda080" + "0a"},
                        {"printHex": "00" + "0a"}, {"printHex": "1b5b324a" + "0a"}, {"printHex": "00", "repeat": 100000}):
            for call, line in (("haclus *", "-cluster -name"), ("hasys -list", "-cluster -nodes"),
                               ("hasys -state alpha", "-cluster -state"), ("hasys -state alpha", "-node alpha -state"),
                               ("hasys -value alpha NodeId", "-node alpha -id"), ("hagrp -display *", "-cluster -groups"),
                               ("hagrp -state web *", "-group web -state"), ("hagrp -value web *", "-group web -nodes"),
                               ("hares -value *", "-group web -vip")):
                with self.subTest(conduct=conduct, line=line):
                    cluster.let(call, **conduct)
                    result = self.info(cluster, line)
                    self.assertIn(result.code, (DONE, FAILED), result)
                    self.assertEqual(result.code == FAILED, result.err != "", result)

    def test_a_terminal_is_shown_no_control_characters_and_a_file_the_bytes(self):
        cluster = self.cluster()
        cluster.let("haclus *", print="a\x1b[2Jb\x07\n")
        self.assert_prints(cluster, "-cluster -name", "a\x1b[2Jb\x07\n")
        leader, follower = os.openpty()
        process = cluster.start(TOOLS / "lumclusterinfo", "-cluster", "-name", stdout=follower)
        self.assertEqual(process.wait(PATIENCE_S), DONE)
        shown = read_until(leader, b"\n")
        os.close(leader)
        os.close(follower)
        self.assertEqual(shown, b"a?[2Jb?\r\n")

    def test_a_tool_that_does_not_end_is_ended_with_its_children_when_there_is_a_limit(self):
        cluster = self.cluster()
        cluster.configure(TOOL_TIMEOUT=1)
        for conduct in ({"hang": True}, {"hang": True, "print": ""}, {"close": True, "hang": True},
                        {"print": "", "close": True, "hang": True}, {"child": True, "hang": True},
                        {"print": "y\n", "forever": True}, {"print": "y", "forever": True}):
            with self.subTest(conduct):
                cluster.forget_calls()
                cluster.let("haclus *", **conduct)
                result = self.info(cluster, "-cluster -name")
                self.assert_fails(result, "Can not instantiate VERITAS Cluster Server object.", TOOL_FAILED)
                detail = result.err.split(TOOL_FAILED)[1]
                self.assertIn("haclus", detail)
                # One line without an end may be too long before the time is over.
                late = "took longer than '1' seconds, the limit TOOL_TIMEOUT"
                self.assertRegex(detail, f"{late}|more than '67108864' bytes" if conduct.get("print") == "y" else late)
                self.assertFalse(cluster.was_anybody_left())

    def test_the_limit_of_a_call_goes_before_that_of_the_node(self):
        cluster = self.cluster()
        cluster.configure(TOOL_TIMEOUT=60 * SLOWNESS)
        cluster.let("haclus *", hang=True)
        self.assert_fails(self.info(cluster, "-timeout 1 -cluster -name"), TOOL_FAILED,
                          "took longer than '1' seconds, the limit -timeout")
        result = cluster.run(str(TOOLS / "lumcluster"), "status", "--timeout", "1")
        self.assertIn("took longer than '1' seconds, the limit --timeout", " ".join(result.err.split()))
        self.assertFalse(cluster.was_anybody_left())

    def test_a_limit_does_no_harm_to_tools_that_end(self):
        cluster = self.cluster()
        cluster.configure(TOOL_TIMEOUT=60 * SLOWNESS)
        self.assert_prints(cluster, "-all", ALL)

    def test_a_limit_that_makes_no_sense_is_none(self):
        cluster = self.cluster()
        for limit in ("0", "-5", "", "soon", "99999999999999"):
            cluster.configure(TOOL_TIMEOUT=limit)
            self.assert_prints(cluster, "-all", ALL)

    def test_without_a_limit_only_the_caller_waits(self):
        cluster = self.cluster()
        gate = cluster.folder / "gate"
        cluster.write(conducts=[{"call": "hasys -state alpha", "number": 1, "waitFor": str(gate)}])
        waiting = cluster.start(TOOLS / "lumclusterinfo", "-cluster", "-state", stdout=subprocess.PIPE)
        wait_until(lambda: cluster.calls("-state"), "the tool is called")
        self.assert_prints(cluster, "-cluster -state", "Up\n")
        self.assertIsNone(waiting.poll())
        gate.touch()
        self.assertEqual(waiting.stdout.read(), b"Up\n")
        self.assertEqual(waiting.wait(), DONE)


if __name__ == "__main__":
    unittest.main()
