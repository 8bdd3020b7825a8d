#!/usr/bin/python3
"""lumappinstance on a node of a simulated VERITAS cluster: applications and instances, and where they run."""
import copy
import os
import pty
import re
import shutil
import subprocess
import unittest
from xml.sax.saxutils import escape

from cluster import Cluster, THREE_SYSTEMS
from node import BUILD, IS_SANITIZED, PATIENCE_S, ROOT, TOOLS, Result
from terminal import read_until

DONE, FAILED, USAGE, VERSION, DUPLICATES = range(5)
EXAMPLES = ROOT / "examples/cluster"
STRANGER = 54321

USAGE_TEXT = """\

Usage: lumappinstance
  -h | -help
  -version
  -i | -instance <instance> {-st | -state} [-an | -appNamespace <appNamespace>]
  -i | -instance <instance> {-h | -host} [-an | -appNamespace <appNamespace>]
  -is | -instances [-an | -appNamespace <appNamespace>]
  -ai | -activeInstances [-an | -appNamespace <appNamespace>]
  -vc | -verifyConfig
"""

SHOP = """\
#Application shop
start command  /usr/bin/logger shop: $instanceName has come to this node
stop command   /usr/bin/logger shop: $instanceName has left this node
policy         disk-io
"""
TILL_ON = {"alpha": "#Instance till\nvirtual IP   192.0.2.20\nstate          Online\nactive node    alpha\n",
           "beta": "#Instance till\nvirtual IP   192.0.2.20\nstate          Offline\nactive node    beta\n"}
STOCK = "#Instance stock\nvirtual IP   192.0.2.10\nstate          Online\nactive node    alpha\n"


class OnACluster(unittest.TestCase):
    def cluster(self, *arguments, local="alpha", **changes):
        """The example's files lie on it."""
        cluster = Cluster(*arguments, **changes)
        self.addCleanup(cluster.close)
        if local is not None:
            cluster.configure(CLUSTER_LOCAL_NODENAME=local)
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

    def list_applications(self, cluster, *applications):
        """Each a name and pairs of an instance's name and its group; each gets a file."""
        entries = ""
        for name, *instances in applications:
            entries += f"<Application><Name>{escape(name)}</Name>" + "".join(
                f"<Instance><Name>{escape(instance)}</Name><Package>{escape(group)}</Package></Instance>"
                for instance, group in instances) + "</Application>"
            if "/" not in name:
                self.put(cluster, f"bin/instrumentation/conf/{name}.apm.xml",
                         "<APMApplicationConfiguration><Application/></APMApplicationConfiguration>")
        return self.put(cluster, "conf/conf/apminfo.xml",
                        f"<APMClusterConfiguration>{entries}</APMClusterConfiguration>")

    def ask(self, cluster, *arguments, **keywords):
        return cluster.info(*arguments, program=TOOLS / "lumappinstance", **keywords)

    def assert_prints(self, cluster, line, text, code=DONE):
        result = self.ask(cluster, *line.split())
        self.assertEqual((result.code, result.out, result.err), (code, text, ""), line)

    def assert_fails(self, result, *texts):
        """It prints nothing, ends with 1, and its error stream has the texts in this order."""
        self.assertEqual((result.code, result.out), (FAILED, ""), result)
        position = 0
        for text in texts:
            self.assertIn(text, result.err[position:])
            position = result.err.index(text, position) + len(text)


class Questions(OnACluster):
    def test_the_examples_are_what_is_listed(self):
        cluster = self.cluster()
        for line in ("-instances", "-is", "-is -an shop", "-instances -appNamespace SHOP"):
            self.assert_prints(cluster, line, SHOP + TILL_ON["beta"] + STOCK)
        for line in ("-activeInstances", "-ai -an shop"):
            self.assert_prints(cluster, line, SHOP + STOCK)

    def test_what_the_papers_show_is_what_it_prints(self):
        cluster = self.cluster()
        shown = 0
        for path in sorted((ROOT / "docs").rglob("*.md")):
            for block in re.findall(r"^```\w*\n(\$ lumappinstance .*?)^```", path.read_text(encoding="utf-8"), re.M | re.S):
                for line, output in re.findall(r"^\$ lumappinstance (.*)\n((?:(?!\$ ).*\n)*)", block, re.M):
                    with self.subTest(path=path.name, line=line):
                        self.assert_prints(cluster, line, output)
                        shown += 1
        self.assertGreater(shown, 1)

    def test_each_question_by_both_of_its_names(self):
        cluster = self.cluster()
        for instance in ("-instance", "-i"):
            for namespace in ("", " -an shop", " -appNamespace Shop"):
                for question in ("-state", "-st"):
                    self.assert_prints(cluster, f"{instance} stock {question}{namespace}", "Online\n")
                    self.assert_prints(cluster, f"{instance} till {question}{namespace}", "Offline\n")
                for question in ("-host", "-h"):
                    self.assert_prints(cluster, f"{instance} till {question}{namespace}", "192.0.2.20\n")
        self.list_applications(cluster, ("office", ("printer", "reports")))
        self.assert_prints(cluster, "-i printer -host", "None \n")

    def test_an_instance_follows_its_group(self):
        cluster = self.cluster()
        elsewhere = self.cluster(local="beta", host="beta")
        for node, here, there in (("beta", "Offline\n", "Online\n"), ("alpha", "Online\n", "Offline\n")):
            for one in (cluster, elsewhere):
                one.group("web")["states"] = {node: "online"}
                one.write()
            self.assert_prints(cluster, "-i till -st", here)
            self.assert_prints(elsewhere, "-i till -st", there)
            self.assert_prints(cluster, "-is", SHOP + TILL_ON[node] + STOCK)
        self.assert_prints(elsewhere, "-ai", "")

    def test_a_group_of_unknown_state_makes_its_instance_unknown(self):
        cluster = self.cluster()
        cluster.group("web").update(states={"alpha": "unknown", "beta": "unknown"}, state="unknown")
        cluster.write()
        self.assertIn("state          Unknown\n", self.ask(cluster, "-is").out)
        self.assert_prints(cluster, "-i till -st", "Offline\n")

    def test_without_a_configured_name_addresses_are_compared(self):
        description = copy.deepcopy(THREE_SYSTEMS)
        description["systems"] = [{"name": "127.0.0.1", "id": 0}, {"name": "192.0.2.1", "id": 1}]
        description["groups"] = [{"name": "web", "systems": ["127.0.0.1", "192.0.2.1"], "states": {"127.0.0.1": "online"}}]
        cluster = self.cluster(description, local=None, host="localhost")
        self.list_applications(cluster, ("shop", ("till", "web")))
        self.assert_prints(cluster, "-i till -st", "Online\n")
        cluster.configure(CLUSTER_LOCAL_NODENAME="localhost")
        self.assert_prints(cluster, "-i till -st", "Offline\n")
        cluster.configure(CLUSTER_LOCAL_NODENAME="127.0.0.1")
        self.assert_prints(cluster, "-i till -st", "Online\n")

    def test_names_that_stand_twice_are_found(self):
        cluster = self.cluster()
        self.assert_prints(cluster, "-verifyConfig", "")
        self.list_applications(cluster, ("shop", ("till", "web"), ("till", "database"), ("stock", "web")),
                               ("office", ("desk", "web"), ("desk", "web"), ("stock", "database")))
        for option in ("-verifyConfig", "-vc"):
            self.assert_prints(cluster, option, """
WARNING: Following Application(s) contain more than one instance with the same name.
You will not be able to query information about these instances using the 'lumappinstance' tool. 

 office:: desk ; shop:: till ; 
""", DUPLICATES)
        self.assert_fails(self.ask(cluster, "-i", "till", "-st"),
                          "Instance Name 'till' is ambiguous within the application namespace 'shop'.")
        self.assert_fails(self.ask(cluster, "-i", "stock", "-st"),
                          "Instance Name 'stock' is ambiguous across application namespaces. Use '-an | -appNamespace'")
        self.assert_prints(cluster, "-i stock -st -an office", "Online\n")

    def test_names_in_other_scripts_are_printed_as_they_are(self):
        cluster = self.cluster()
        self.list_applications(cluster, ("Läden 港", ("Kasse & <Zähler> ~@$#%~ %1", "web")))
        result = self.ask(cluster, "-is", environment=cluster.environment(LC_ALL="C.UTF-8"))
        self.assertEqual(result.code, DONE, result.err)
        self.assertIn("#Application Läden 港\n#Instance Kasse&<Zähler> ~@$#%~ %1\n", result.out)


class CommandLine(OnACluster):
    def test_the_usage_to_the_letter(self):
        cluster = self.cluster()
        for line in ("", "-h", "-help", "-i", "-i till", "-i till -x", "-i till -st -an", "-is -an shop more"):
            self.assert_prints(cluster, line, USAGE_TEXT, USAGE)
        self.assertEqual(cluster.calls(), [])

    def test_the_version_ends_with_a_code_of_its_own(self):
        result = self.ask(self.cluster(), "-version")
        self.assertEqual((result.code, result.err), (VERSION, ""))
        self.assertRegex(result.out, r"^lumappinstance \d+\.\d+\.\d+\n$")

    def test_wrong_options_are_refused_before_any_tool_runs(self):
        cluster = self.cluster()
        for line, text in (("-all", "Unknown option '-all'."), ("-VC", "Unknown option '-VC'."),
                           ("-vc extra", "Trailing option(s) with option '-vc'."),
                           ("-is -an", "Application namespace is missing."),
                           ("-ai shop", "Expected option '-an' or '-appNamespace'."),
                           ("-ai -x shop", "Unknown option '-x'."),
                           ("-i till -st -x shop", "Unknown option '-x'.")):
            self.assert_fails(self.ask(cluster, *line.split()), text)
        self.assertEqual(cluster.calls(), [])

    def test_what_is_not_there_is_named(self):
        cluster = self.cluster()
        for line, text in (("-i Till -st", "Instance 'Till' does not exist."),
                           ("-i desk -h -an shop", "Instance 'desk' does not exist for application namespace 'shop'."),
                           ("-i till -h -an bank", "><No such element [bank] in the collection."),
                           ("-is -an bank", "><No such element [bank] in the collection.")):
            self.assert_fails(self.ask(cluster, *line.split()), text)

    def test_under_another_name_it_is_refused(self):
        cluster = self.cluster()
        link = cluster.folder / "appinstance"
        link.symlink_to(TOOLS / "lumappinstance")
        self.assert_fails(cluster.info("-is", program=link), "Unrecognized command line interface tool 'appinstance'.")

    def test_outside_of_a_cluster_none_is_detected(self):
        result = Result(subprocess.run([TOOLS / "lumappinstance", "-is"], capture_output=True, text=True,
                                       stdin=subprocess.DEVNULL, timeout=PATIENCE_S, env=self.cluster().environment()))
        self.assert_fails(result, "Cluster environment is not detected.")

    def test_an_output_that_cannot_be_written_is_a_failure(self):
        cluster = self.cluster()
        result = cluster.run("sh", "-c", '"$0" -is >/dev/full', str(TOOLS / "lumappinstance"))
        self.assertEqual(result.code, FAILED)
        self.assertIn("lumappinstance: standard output cannot be written", result.err)

    def test_on_a_terminal_names_give_no_orders(self):
        cluster = self.cluster()
        self.list_applications(cluster, ("shop", ("till\u009b2J", "web")))
        controller, terminal = pty.openpty()
        self.addCleanup(os.close, controller)
        environment = cluster.environment(LC_ALL="C.UTF-8")
        process = cluster.start(TOOLS / "lumappinstance", "-is", stdout=terminal, stderr=terminal,
                                environment=environment)
        self.assertEqual(process.wait(timeout=PATIENCE_S), DONE)
        self.assertIn("#Instance till?2J\r\n", read_until(controller, b"active node").decode())
        self.list_applications(cluster, ("shop", ("till", "gr\u009b2Joup")))
        process = cluster.start(TOOLS / "lumappinstance", "-is", stdout=terminal, stderr=terminal,
                                environment=environment)
        os.close(terminal)
        self.assertEqual(process.wait(timeout=PATIENCE_S), FAILED)
        shown = read_until(controller, b"in the cluster.").decode()
        self.assertIn("does not exist in the cluster.", shown)
        self.assertNotIn("\u009b", shown)


class Files(OnACluster):
    def test_without_the_list_no_application_is_configured(self):
        cluster = self.cluster()
        path = cluster.root / "conf/conf/apminfo.xml"
        path.unlink()
        for line in ("-is", "-ai", "-vc", "-i till -st"):
            self.assert_fails(self.ask(cluster, *line.split()), "Application configuration file not found.",
                              f"Cannot parse xml file '{path}'. File could not be found.")

    def test_an_application_without_a_file_is_named(self):
        cluster = self.cluster()
        folder = cluster.root / "bin/instrumentation"
        path = folder / "conf/shop.apm.xml"
        path.rename(folder / "shop.apm.xml")
        self.assert_prints(cluster, "-is", SHOP + TILL_ON["beta"] + STOCK)
        (folder / "shop.apm.xml").unlink()
        self.assert_fails(self.ask(cluster, "-is"), "Application configuration file not found.",
                          f"'{folder}/shop.apm.xml'")

    def test_files_that_are_not_as_they_should_be_are_named(self):
        cluster = self.cluster()
        listed = cluster.root / "conf/conf/apminfo.xml"
        for text, message in (
                ("<Other/>", f"First tag in APM common config file '{listed}' should be APMClusterConfiguration."),
                ("<APMClusterConfiguration><App/></APMClusterConfiguration>",
                 f"Unknown tag 'App' in configuration file '{listed}'."),
                ("<APMClusterConfiguration>\n<Application>\n", f"Error while parsing xml file '{listed}'. Parse error "
                                                               "in line '3'"),
                ("<APMClusterConfiguration><Application/></APMClusterConfiguration>",
                 "><No such element [Name] in the collection.")):
            self.put(cluster, "conf/conf/apminfo.xml", text)
            self.assert_fails(self.ask(cluster, "-vc"), message)
        self.list_applications(cluster, ("shop", ("till", "nowhere")))
        path = cluster.root / "bin/instrumentation/conf/shop.apm.xml"
        self.assert_fails(self.ask(cluster, "-vc"), f"Error during parsing of the '{path}' file. Resource group "
                                                    "'nowhere' does not exist in the cluster.")
        for text, message in (
                ("<Other/>", f"First tag in APM application config file '{path}' should be APMApplicationConfiguration."),
                ("<APMApplicationConfiguration><Application><Policy/></Application></APMApplicationConfiguration>",
                 f"Unknown tag 'Policy' in configuration file '{path}'.")):
            path.write_text(text)
            self.assert_fails(self.ask(cluster, "-vc"), message)

    def test_a_file_that_may_not_be_read_or_is_none_says_why(self):
        cluster = self.cluster()
        path = cluster.root / "conf/conf/apminfo.xml"
        path.unlink()
        os.mkfifo(path)
        self.assert_fails(self.ask(cluster, "-is"), "Error during parsing configuration of application.",
                          f"Runtime exception while reading xml file: '{path}'.")

    def test_a_file_that_another_user_may_not_read_is_named(self):
        cluster = self.cluster()
        programs = cluster.folder / "programs"
        programs.mkdir()
        # A copy, since the folder of the build need not be open to everybody.
        for file in (TOOLS / "lumappinstance", *BUILD.glob("*/lib*.so*")):
            shutil.copy(file, programs)
        for path in (programs, *programs.iterdir()):
            path.chmod(0o755)
        path = cluster.root / "conf/conf/apminfo.xml"
        path.chmod(0o600)
        environment = cluster.environment(LD_LIBRARY_PATH=str(programs))
        result = cluster.info("-is", program=programs / "lumappinstance", user=STRANGER, environment=environment)
        self.assert_fails(result, "Error during parsing configuration of application.",
                          f"Runtime exception while reading xml file: '{path}'.")
        path.chmod(0o644)
        result = cluster.info("-is", program=programs / "lumappinstance", user=STRANGER, environment=environment)
        self.assertEqual((result.code, result.out), (DONE, SHOP + TILL_ON["beta"] + STOCK), result.err)

    def test_a_name_that_leads_elsewhere_opens_nothing(self):
        cluster = self.cluster()
        self.put(cluster, "evil.apm.xml", (EXAMPLES / "shop.apm.xml").read_text(encoding="utf-8"))
        for name in ("../../../evil", "..", str(cluster.root / "evil"), "conf/shop", "a\tb"):
            self.list_applications(cluster, (name, ("till", "web")))
            self.assert_fails(self.ask(cluster, "-is"), "Application configuration file not found.",
                              "its name cannot be part of the name of a file.")

    def test_files_that_mean_harm_are_refused_soon_and_with_little_memory(self):
        cluster = self.cluster()
        secret = self.put(cluster, "secret", "hidden")
        billion = "".join(f"<!ENTITY e{i} '{f'&e{i - 1};' * 10}'>" for i in range(1, 10))
        for text, message in (
                (f"<!DOCTYPE a [<!ENTITY e0 'x'>{billion}]><a>&e9;</a>", "Error while parsing xml file"),
                (f"<!DOCTYPE a [<!ENTITY e SYSTEM '{secret}'>]><a>&e;</a>", "Error while parsing xml file"),
                ("<a>" * 1000000, "Error while parsing xml file"),
                ("<a>" + "<b/>" * 1048570 + "</a>", "First tag in APM common config file"),
                ("<a>" + "text\n" * 800000 + "</a>", "First tag in APM common config file"),
                ("<a>" + "<b/>" * 1048577 + "</a>", "It may have at most '4194304' bytes.")):
            self.put(cluster, "conf/conf/apminfo.xml", text)
            limit = "" if IS_SANITIZED else "ulimit -v 1500000; "
            result = cluster.run("sh", "-c", f'{limit}exec "$0" -is', str(TOOLS / "lumappinstance"))
            self.assert_fails(result, message)
            self.assertNotIn("hidden", result.err)

    def test_a_text_that_is_cut_anywhere_is_refused_or_lists_less(self):
        cluster = self.cluster()
        text = (EXAMPLES / "apminfo.xml").read_text(encoding="utf-8")
        for length in range(0, len(text.rstrip()), 37):
            self.put(cluster, "conf/conf/apminfo.xml", text[:length])
            self.assert_fails(self.ask(cluster, "-is"), "Error while parsing xml file")


if __name__ == "__main__":
    unittest.main()
