#!/usr/bin/python3
"""lumcluster on a node of a simulated Pacemaker cluster: what it tells of nodes and groups that no other product has."""
import unittest

import test_cluster_tool
from node import DONE, FAILED, TOOLS
from test_cluster_products import CIB

LUMCONFD = TOOLS / "lumconfd"


def node(name, number, **flags):
    told = "".join(f' {flag}="true"' for flag in flags)
    return f'<node name="{name}" id="{number}"{told}/>'


def resource(role, at="", **flags):
    told = "".join(f' {flag}="{value}"' for flag, value in flags.items())
    place = f'<node name="{at}"/>' if at else ""
    return f'<resource id="r" role="{role}"{told}>{place}</resource>'


NODES = (node("alpha", 1, online=1, maintenance=1) + node("beta", 2, online=1, standby=1) + node("gamma", 3, unclean=1) +
         node("delta", 4, online=1, pending=1) + node("far", "far", online=1).replace("/>", ' type="remote"/>'))
CLONE = '<clone id="everywhere">' + resource("Started", "alpha") + resource("Started", "beta") + "</clone>"
TWO_PROMOTED = ('<cib><configuration><resources><clone id="everywhere"><meta_attributes id="m">'
                '<nvpair id="n" name="promoted-max" value="2"/></meta_attributes><primitive id="r"/></clone></resources>'
                '</configuration></cib>\n')
MONITOR = ('<pacemaker-result><summary><current_dc present="true" with_quorum="true"/></summary>'
           f'<nodes>{NODES}</nodes><resources>{CLONE}<group id="kept">' + resource("Started", "alpha", managed="false") +
           '</group></resources><status code="0" message="OK"/></pacemaker-result>\n')


class Pacemaker(test_cluster_tool.OnACluster):
    def pacemaker(self, **changes):
        return self.cluster(**({"product": "pcmk", "files": [CIB], "applications": False} | changes))

    def seen(self):
        cluster = self.pacemaker()
        cluster.let("crm_mon *", print=MONITOR)
        return cluster

    def test_nodes_in_standby_or_maintenance_and_unclean_ones_are_told_apart(self):
        cluster = self.seen()
        text = self.told(cluster, "status")
        for line in ("alpha  1   Online (maintenance)  this node\n", "beta   2   Online (standby)\n",
                     "gamma  3   Unknown (unclean)\n", "delta  4   Unknown (pending)\n", "far    ?   Online (remote)\n"):
            self.assertIn(line, text)
        told = self.json_of(cluster, "status")["nodes"]
        self.assertEqual([(each["state"], each["detail"]) for each in told],
                         [("Online", "maintenance"), ("Online", "standby"), ("Unknown", "unclean"), ("Unknown", "pending"),
                          ("Online", "remote")])

    def test_a_group_tells_why_its_state_is_unknown(self):
        cluster = self.seen()
        self.assertRegex(self.told(cluster, "status"), r"(?m)^kept +Unknown \(Unmanaged\) +Unknown$")
        self.assertEqual([(each["name"], each["state"], each["detail"], each["everywhere"])
                          for each in self.json_of(cluster, "status")["groups"]],
                         [("everywhere", "Online", "", True), ("kept", "Unknown", "Unmanaged", False)])
        self.assertIn("the state of the group 'kept' is unknown (Unmanaged)", self.told(cluster, "check", code=FAILED))

    def test_no_policy_can_follow_a_clone_and_check_says_so(self):
        cluster = self.seen()
        said = "the group 'everywhere' runs as copies on several nodes: it has no active node, so that no policy can follow it"
        self.assertIn(said, self.told(cluster, "check", code=FAILED))
        self.assertNotIn("names the group", self.told(cluster, "check", code=FAILED))
        self.put_policy(cluster, "misled", "HARG:everywhere")
        self.assertIn("'misled' names the group 'everywhere', which runs as copies on several nodes: it does not enable it",
                      self.told(cluster, "check", code=FAILED))

    def told_of(self, nodes, resources, *words, cib=""):
        cluster = self.pacemaker()
        conducts = [{"call": "crm_mon *", "print": MONITOR.replace(NODES, nodes).replace(CLONE, resources)}]
        cluster.write(conducts=conducts + ([{"call": "cibadmin *", "print": cib}] if cib else []))
        return self.told(cluster, *words, code=FAILED)

    def test_ids_that_a_remote_node_lacks_are_no_warning(self):
        self.assertNotIn("the id of the node", self.told(self.seen(), "check", code=FAILED))

    def test_ids_that_corosync_has_made_are_no_warning(self):
        self.assertNotIn("the id of the node", self.told_of(node("alpha", 1084783375, online=1), CLONE, "check"))

    def test_groups_whose_names_differ_in_case_only_are_told(self):
        alike = '<group id="Web"/><group id="other"/><group id="web"/>'
        text = self.told_of(NODES, alike, "check")
        self.assertIn("the groups 'Web' and 'web' differ in case only: whoever names one of them means the first", text)
        self.assertEqual(text.count("differ in case only"), 1)

    def test_what_is_promoted_on_several_nodes_nothing_can_follow(self):
        both = CLONE.replace("<clone", '<clone multi_state="true"').replace("Started", "Promoted")
        said = "the group 'everywhere' runs as copies on several nodes"
        self.assertNotIn(said, self.told_of(NODES, both, "check"), "one alone may be")
        self.assertIn(said, self.told_of(NODES, both, "check", cib=TWO_PROMOTED))

    def test_all_addresses_come_with_the_groups(self):
        cluster = self.pacemaker()
        self.assertEqual(self.told(cluster, "status").count("192.0.2."), 2)
        self.assertEqual(len(cluster.calls("cibadmin")), 2, "the name, and the addresses of all groups")
        self.assertEqual(len(cluster.calls("crm_mon")), 3, "the state, the nodes and the groups")

    def test_the_cluster_tells_what_it_calls_this_node_where_nobody_has_configured_it(self):
        cluster = self.pacemaker(local=None, applications=True)
        cluster.let("crm_node *", print="beta\n")  # the host is alpha
        self.put_policy(cluster, "follows", "HARG:web")
        self.put_policy(cluster, "stays", "HARG:database")
        status = self.told(cluster, "status")
        self.assertIn("this node beta (told by the cluster)\n", status)
        self.assertRegex(status, "(?m)^beta +[0-9]+ +Online +this node$")
        self.assertRegex(status, "(?m)^shop +till +web +Online +beta +here$")
        told = self.json_of(cluster, "status")
        self.assertEqual((told["local_name"], told["local_name_configured"]), ("beta", False))
        self.assertIn("'beta' is 'beta' (told by the cluster)", self.told(cluster, "explain", "follows"))
        self.assertIn("'alpha' is not 'beta' (told by the cluster)", self.told(cluster, "explain", "stays"))
        self.assertIn("'beta' (told by the cluster) is a node of the cluster", self.told(cluster, "check", code=FAILED))

    def test_a_machine_that_has_the_package_alone_is_told_to_be_no_node(self):
        cluster = self.pacemaker(files=[])
        text = self.told(cluster, "check", code=FAILED)
        self.assertIn("'Pacemaker (PCMK)': '/usr/sbin/pacemakerd' is there, but '/var/lib/pacemaker/cib/cib.xml' is not: "
                      "no node of a cluster", text)
        self.assertIn("Cluster environment is not detected.", self.told(cluster, "status", code=FAILED))
        self.assertEqual(cluster.calls(), [], "no tool is asked")

    def test_a_configured_product_is_known_by_its_name(self):
        cluster = self.pacemaker(settings={"CLUSTER_TYPE": "Pacemaker (PCMK)"})
        self.assertIn("cluster   harbour (Pacemaker (PCMK)), Up\n", self.told(cluster, "status"))
        checked = cluster.run(LUMCONFD, "--check-config")
        self.assertEqual((checked.code, "CLUSTER_TYPE" in checked.out + checked.err), (DONE, False), checked)
        other = self.pacemaker(settings={"CLUSTER_TYPE": "Sun Cluster (SC)"})
        self.assertIn("but CLUSTER_TYPE is 'Sun Cluster (SC)'", self.told(other, "check", code=FAILED))



if __name__ == "__main__":
    unittest.main()
