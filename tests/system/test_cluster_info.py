#!/usr/bin/python3
"""lumclusterinfo on a node of a simulated VERITAS cluster: what it prints, and what it asks the product's tools for."""
import re
import shutil
import subprocess
import unittest

from cluster import Cluster
from node import BUILD, PATIENCE_S, ROOT, TOOLS, Result

DONE, FAILED, USAGE, VERSION = range(4)
STRANGER = 54321


def listing(title, elsewhere, has_addresses=True):
    """What -all prints of the three systems.

    elsewhere: the local state of a group that this node does not have."""
    database_address, web_address = ("192.0.2.10", "192.0.2.20") if has_addresses else ("None  ", "None  ")
    return f"""\
#Cluster
type         {title}
name         harbour
status       Up
nodes        alpha beta gamma
groups       database web reports
#Node alpha
state        Online
id           0
#Node beta
state        Online
id           1
#Node gamma
state        Offline
id           2
#Group database
state        Online
nodes        alpha beta gamma
local state  Online
virtual IP   {database_address}
active node  alpha
#Group web
state        Online
nodes        beta alpha
local state  Offline
virtual IP   {web_address}
active node  beta
#Group reports
state        Offline
nodes        gamma beta
local state  {elsewhere}
virtual IP   None  
active node  
"""


ALL = listing("VERITAS Cluster Server (VCS)", "Unknown")

USAGE_TEXT = """\

Usage: lumclusterinfo
  -h | -help
  -version
  -a | -all
  -c | -cluster {-tp | -type} | {-nm | -name} | {-st | -state} | {-nds | -nodes} | {-rgs | -groups}
  -n |-node <node> {-id} | {-st | -state}
  -g | -group <group> {-id} | {-st | -state} | {-ls | -localState} | {-nds | -nodes} | {-vip | -virtualIPAddress} \
| {-an | -activeNode}
"""

NAME_ONLY = ["haclus -value ClusterName"]


class OnACluster(unittest.TestCase):
    def cluster(self, *arguments, **changes):
        cluster = Cluster(*arguments, **changes)
        self.addCleanup(cluster.close)
        return cluster

    def info(self, cluster, line, **keywords):
        return cluster.info(*line.split(), **keywords)

    def info_as_stranger(self, cluster, line, **environment):
        programs = cluster.folder / "programs"
        programs.mkdir()
        # A copy, since the folder of the build need not be open to everybody.
        for file in (TOOLS / "lumclusterinfo", *BUILD.glob("*/lib*.so*")):
            shutil.copy(file, programs)
        for path in (programs, *programs.iterdir()):
            path.chmod(0o755)
        return self.info(cluster, line, program=programs / "lumclusterinfo", user=STRANGER,
                         environment=cluster.environment(LD_LIBRARY_PATH=str(programs), **environment))

    def assert_prints(self, cluster, line, text):
        result = self.info(cluster, line)
        self.assertEqual((result.code, result.out, result.err), (DONE, text, ""), line)

    def assert_fails(self, result, *texts):
        """It prints nothing, ends with 1, and its error stream has the texts in this order."""
        self.assertEqual((result.code, result.out), (FAILED, ""), result)
        position = 0
        for text in texts:
            self.assertIn(text, result.err[position:])
            position = result.err.index(text, position) + len(text)

    def assert_no_tool_ran(self, cluster):
        self.assertEqual(cluster.calls(), [])


class Questions(OnACluster):
    def test_everything_of_three_systems(self):
        cluster = self.cluster()
        for option in ("-all", "-a"):
            self.assert_prints(cluster, option, ALL)

    def test_each_question_by_both_of_its_names(self):
        cluster = self.cluster()
        for first, options in {
            ("-cluster", "-c"): {("-type", "-tp"): "VERITAS Cluster Server (VCS)\n", ("-name", "-nm"): "harbour\n",
                                 ("-state", "-st"): "Up\n", ("-nodes", "-nds"): "alpha\nbeta\ngamma\n",
                                 ("-groups", "-rgs"): "database\nweb\nreports\n"},
            ("-node gamma", "-n gamma", "-n GAMMA"): {("-id",): "2\n", ("-state", "-st"): "Offline\n"},
            ("-group web", "-g web", "-g Web"): {("-id",): "2\n", ("-state", "-st"): "Online\n",
                                                 ("-localState", "-ls"): "Offline\n",
                                                 ("-nodes", "-nds"): "beta\nalpha\n",
                                                 ("-virtualIPAddress", "-vip"): "192.0.2.20\n",
                                                 ("-activeNode", "-an"): "beta\n"},
            ("-group reports",): {("-virtualIPAddress", "-vip"): "None \n", ("-localState",): "Unknown\n",
                                  ("-state",): "Offline\n", ("-activeNode",): ""},
        }.items():
            for words, text in options.items():
                for question in [f"{one} {other}" for one in first for other in words]:
                    with self.subTest(question):
                        self.assert_prints(cluster, question, text)

    def test_what_the_papers_show_is_what_it_prints(self):
        cluster = self.cluster()
        shown = 0
        for path in sorted((ROOT / "docs").rglob("*.md")):
            for block in re.findall(r"^```\w*\n(\$ lumclusterinfo .*?)^```", path.read_text(encoding="utf-8"), re.M | re.S):
                for line, output in re.findall(r"^\$ lumclusterinfo (.*)\n((?:(?!\$ ).*\n)*)", block, re.M):
                    with self.subTest(path=path.name, line=line):
                        self.assertEqual(self.info(cluster, line).out, output)
                        shown += 1
        self.assertGreater(shown, 0)

    def test_an_empty_list_prints_nothing(self):
        cluster = self.cluster(conducts=[{"call": "hasys -list", "print": ""},
                                         {"call": "hagrp -display *", "print": "#Group Attribute System Value\n"}])
        for option in ("-nodes", "-groups"):
            self.assert_prints(cluster, "-cluster " + option, "")
        self.assert_prints(cluster, "-all", "#Cluster\ntype         VERITAS Cluster Server (VCS)\nname         harbour\n"
                                            "status       Up\nnodes        \ngroups       \n")

    def test_a_question_runs_no_more_tools_than_it_needs(self):
        cluster = self.cluster()
        for question, calls in {"-cluster -type": NAME_ONLY, "-cluster -name": NAME_ONLY,
                                "-cluster -state": [*NAME_ONLY, "hasys -state alpha"]}.items():
            cluster.forget_calls()
            self.assertEqual(self.info(cluster, question).code, DONE)
            self.assertEqual(cluster.calls(), calls)

    def test_the_tools_speak_the_language_of_programs_whatever_the_caller_speaks(self):
        cluster = self.cluster()
        for language in ("C", "C.UTF-8", "de_DE.UTF-8", "tr_TR.UTF-8", "ja_JP.eucJP"):
            with self.subTest(language):
                cluster.forget_calls()
                result = self.info(cluster, "-all", environment=cluster.environment(LANG=language, LC_ALL=language))
                self.assertEqual((result.code, result.out, result.err), (DONE, ALL, ""))
                self.assertEqual({(record["LANG"], record["LC_ALL"]) for record in cluster.records()}, {("C", "C")})

    def test_names_in_other_scripts_are_printed_as_they_are(self):
        cluster = self.cluster(name="Hafen Lübeck 港")
        result = self.info(cluster, "-cluster -name", environment=cluster.environment(LC_ALL="C.UTF-8"))
        self.assertEqual((result.code, result.out), (DONE, "Hafen Lübeck 港\n"))


class CommandLine(OnACluster):
    def test_the_usage_to_the_letter_for_help_and_for_a_wrong_number_of_arguments(self):
        cluster = self.cluster()
        for line in ("", "-h", "-help", "-cluster", "-c -name -type", "-node", "-node alpha", "-n alpha -id -id", "-group",
                     "-group web", "-g web -id -state"):
            with self.subTest(line):
                result = self.info(cluster, line)
                self.assertEqual((result.code, result.out, result.err), (USAGE, USAGE_TEXT, ""))
        self.assert_no_tool_ran(cluster)

    def test_the_version_ends_with_a_code_of_its_own(self):
        cluster = self.cluster()
        result = self.info(cluster, "-version")
        self.assertEqual((result.code, result.err), (VERSION, ""))
        self.assertRegex(result.out, r"^lumclusterinfo \d+\.\d+\.\d+\n$")
        self.assert_no_tool_ran(cluster)

    def test_what_stands_behind_an_option_that_takes_nothing_is_refused(self):
        cluster = self.cluster()
        for option in ("-version", "-h", "-help", "-all", "-a"):
            self.assert_fails(self.info(cluster, option + " extra"), f"Trailing option(s) with option '{option}'.")
        self.assert_no_tool_ran(cluster)

    def test_unknown_options_are_refused_and_case_matters(self):
        cluster = self.cluster()
        for line in ("-foo", "-ALL", "-Help", "all", "--all", "-cluster=x", "-instance x", "-vc"):
            self.assert_fails(self.info(cluster, line), f"Unknown option '{line.split()[0]}'.")
        self.assert_fails(cluster.info(""), "Unknown option ''.")
        self.assert_no_tool_ran(cluster)
        for line in ("-cluster -foo", "-cluster -NAME", "-node alpha -name", "-node alpha -sT", "-group web -tp",
                     "-group web -LS"):
            self.assert_fails(self.info(cluster, line), f"Unknown option '{line.split()[-1]}'.")

    def test_the_cluster_is_looked_for_before_the_next_option_is_looked_at(self):
        for line in ("-cluster -foo", "-cluster -name", "-node alpha -foo", "-group web -id", "-all"):
            result = Result(subprocess.run([TOOLS / "lumclusterinfo", *line.split()], capture_output=True, text=True,
                                           stdin=subprocess.DEVNULL, timeout=PATIENCE_S,
                                           env=self.cluster().environment()))
            self.assert_fails(result, "Cluster environment is not detected.")

    def test_what_the_cluster_does_not_have_is_named_as_it_was_asked_for(self):
        cluster = self.cluster()
        for line, name in (("-node Delta -id", "Delta"), ("-group None -id", "None"), ("-node web -state", "web")):
            self.assert_fails(self.info(cluster, line), f"><No such element [{name}] in the collection.")

    def test_under_another_name_it_is_refused(self):
        cluster = self.cluster()
        for name in ("clusterinfo", "lumclusterinfo.exe", "LUMCLUSTERINFO", "lumclusterinfo-1"):
            link = cluster.folder / name
            link.symlink_to(TOOLS / "lumclusterinfo")
            for line in ("-all", "-h", ""):
                self.assert_fails(self.info(cluster, line, program=link),
                                  f"Unrecognized command line interface tool '{name}'.")
        self.assert_no_tool_ran(cluster)


class Detection(OnACluster):
    def test_a_configured_product_that_is_not_the_one_that_is_there_means_that_none_is(self):
        cluster = self.cluster()
        for name in ("Sun Cluster (SC)", "Palisade (PLSD)", "AIX Cluster (HACMP)", "Kestrel Cluster (KCR)",
                     "Red Hat Advanced Server (RHAS)", "Microsoft Cluster Server (MSCS)"):
            cluster.configure(CLUSTER_TYPE=name)
            self.assert_fails(self.info(cluster, "-cluster -type"), "Cluster environment is not detected.")
        self.assert_no_tool_ran(cluster)

    def test_that_the_configured_ones_own_file_is_there_too_makes_no_difference(self):
        cluster = self.cluster(files=["/usr/cluster/lib/sc/clexecd", "/usr/lbin/plsd"])
        for name, is_detected in (("Sun Cluster (SC)", False), ("Palisade (PLSD)", False), ("", True),
                                  ("VERITAS Cluster Server (VCS)", True)):
            cluster.configure(CLUSTER_TYPE=name)
            if is_detected:
                self.assert_prints(cluster, "-all", ALL)
            else:
                self.assert_fails(self.info(cluster, "-all"), "Cluster environment is not detected.")

    def test_without_the_daemons_file_there_is_no_cluster_whatever_is_configured(self):
        cluster = self.cluster(missing=["had"])
        for name in ("", "VERITAS Cluster Server (VCS)"):
            cluster.configure(CLUSTER_TYPE=name)
            self.assert_fails(self.info(cluster, "-cluster -name"), "Cluster environment is not detected.")
        self.assert_no_tool_ran(cluster)

    def test_a_tool_that_is_not_there_is_one_that_fails(self):
        for tool, line, text in (("haclus", "-cluster -name", "Can not instantiate VERITAS Cluster Server object."),
                                 ("hasys", "-cluster -nodes", "Can not get node list for VERITAS Cluster Server."),
                                 ("hagrp", "-cluster -groups", "Can not get group list for VERITAS Cluster Server.")):
            self.assert_fails(self.info(self.cluster(missing=[tool]), line), text, "Exception during execution:",
                              f"/opt/VRTSvcs/bin/{tool}")
        self.assert_prints(self.cluster(missing=["hares"]), "-group web -vip", "None \n")

    def test_any_other_text_leaves_it_to_what_is_there(self):
        cluster = self.cluster()
        for name in ("VERITAS Cluster Server (VCS)", "", "Unknown", "VCS", "sun cluster (sc)", "Sun Cluster (SC)x"):
            cluster.configure(CLUSTER_TYPE=name)
            self.assert_prints(cluster, "-cluster -type", "VERITAS Cluster Server (VCS)\n")

    def test_the_local_system_is_the_one_that_is_configured(self):
        cluster = self.cluster(host="elsewhere")
        self.assert_fails(self.info(cluster, "-cluster -state"), "Can not get the state of the local node.")
        cluster.configure(CLUSTER_LOCAL_NODENAME="beta")
        self.assert_prints(cluster, "-cluster -state", "Up\n")
        self.assert_prints(cluster, "-group web -localState", "Online\n")


class Surroundings(OnACluster):
    def in_shell(self, cluster, line):
        return cluster.run("sh", "-c", line, str(TOOLS / "lumclusterinfo"))

    def test_an_output_that_cannot_be_written_is_a_failure(self):
        cluster = self.cluster()
        result = self.in_shell(cluster, '"$0" -all >/dev/full')
        self.assertEqual(result.code, FAILED)
        self.assertIn("standard output cannot be written", result.err)

    def test_many_ask_at_the_same_time(self):
        cluster = self.cluster()
        callers = [cluster.start(TOOLS / "lumclusterinfo", "-all", stdout=subprocess.PIPE) for _ in range(8)]
        for caller in callers:
            self.assertEqual(caller.communicate()[0].decode(), ALL)

    def test_too_few_descriptors_are_a_clear_failure(self):
        cluster = self.cluster()
        for limit in range(3, 12):
            result = self.in_shell(cluster, f'ulimit -n {limit}; "$0" -cluster -name')
            if result.code == DONE:
                self.assertEqual(result.out, "harbour\n")
            else:
                self.assertEqual(result.out, "")
                self.assertNotEqual(result.err, "", limit)
                self.assertLess(result.code, 128, "no signal ended it")

    def test_ten_times_the_groups_cost_ten_times_the_tools(self):
        def count(groups):
            cluster = self.cluster()
            cluster.write(groups=[{"name": f"g{i}", "systems": ["alpha", "beta"]} for i in range(groups)])
            self.assertEqual(self.info(cluster, "-cluster -groups").code, DONE)
            return len(cluster.calls())

        two, four, twenty = count(2), count(4), count(20)
        self.assertEqual(twenty - two, 9 * (four - two))


class Privileges(OnACluster):
    def test_another_user_sees_the_same_by_tools_that_run_as_that_user(self):
        cluster = self.cluster()
        result = self.info_as_stranger(cluster, "-all")
        self.assertEqual((result.code, result.out, result.err), (DONE, ALL, ""))
        self.assertEqual({record["user"] for record in cluster.records()}, {STRANGER})

    def test_the_configured_words_stand_before_each_tool(self):
        cluster = self.cluster()
        prefix = cluster.folder / "become"
        prefix.write_text(f'#!/bin/sh\n[ "$1" = -n ] || exit 1\nshift\necho "$@" >>{cluster.folder}/became\nexec "$@"\n')
        prefix.chmod(0o755)
        result = self.info(cluster, "-all", environment=cluster.environment(LUM_SUDO=f"{prefix} -n"))
        self.assertEqual((result.code, result.out, result.err), (DONE, ALL, ""))
        became = [re.sub(r"^/opt/VRTSvcs/bin/", "", line) for line in
                  (cluster.folder / "became").read_text().splitlines()]
        tools = [line for line in became if line.startswith("ha")]
        self.assertEqual(tools, cluster.calls())

    def test_a_node_without_a_root_has_no_settings_and_can_be_asked(self):
        cluster = self.cluster()
        shutil.rmtree(cluster.root, ignore_errors=True)
        environment = cluster.environment()
        cluster.root.rmdir()
        self.assertEqual(self.info(cluster, "-all", environment=environment).out, ALL)
        self.assertFalse(cluster.root.exists())


if __name__ == "__main__":
    unittest.main()
