#!/usr/bin/python3
"""A day of an operator of several nodes at a terminal, from their first certificates to the last policy that goes."""
import re
import shutil
import unittest

from node import DONE, FAILED, NOTHING_TO_DO, REFUSED, UNREACHABLE, Node, write_policy
from terminal import COLOUR, Screens

SOME_FAILED = 8
HOSTS = 3
GREEN, YELLOW = "\x1b[32m", "\x1b[33m"


class FleetDay(Screens):
    """The nodes are made ready at the terminal too, by what the tools themselves say is to be done."""

    def setUp(self):
        self.nodes = [Node(start=False) for _ in range(HOSTS)]
        for node in self.nodes:
            self.addCleanup(node.close)
        self.node = Node(start=False)
        self.addCleanup(self.node.close)
        self.authority = self.node.folder / "authority"
        for number, node in enumerate(self.nodes):
            self.of_node(node, "lumtrust", "enroll", self.authority, "--core-id", f"node-{number}", fits=False)
            self.of_node(node, "lumtrust", "grant", "operator", "install", "remove", "enable", "disable", "list")
            node.start()
        self.of_node(self.node, "lumtrust", "operator", self.node.root, "--authority", self.authority, "--core-id", "operator",
                     "--force", fits=False)
        self.hosts = [f"localhost:{node.port}" for node in self.nodes]
        self.source = self.node.folder / "policies"
        for name in ("cpu", "disk"):
            write_policy(self.source, name, {f"{name}.conf": b"every=60\n"}, name=f"{name} load", type_name="collect")

    def of_node(self, node, *words, **keywords):
        self.node, own = node, self.node
        try:
            return self.on_screen(*words, **keywords)
        finally:
            self.node = own

    def everywhere(self):
        return [word for host in self.hosts for word in ("--host", host)]

    def test_before_noon_the_nodes_get_their_policies_and_a_second_run_has_nothing_to_do(self):
        for file in sorted(self.source.glob("*_header.xml")):
            self.assertIn("complete: ", self.plain("lumpolicy", "validate", file, fits=False))
        shown = self.plain("lumpolicy", "apply", self.source, "--dry-run", "--diff", *self.everywhere(), fits=False)
        self.assertEqual(len(re.findall(r"(?m)^  would create (cpu|disk) load ", shown)), 2 * HOSTS, shown)
        self.assertEqual(shown.count("\n  +every=60\n"), 2 * HOSTS, shown)
        self.assertEqual([node.stored() for node in self.nodes], [[]] * HOSTS)
        shown = self.plain("lumpolicy", "apply", self.source, "--no-notify", *self.everywhere())
        self.assertTrue(shown.endswith(f"{HOSTS} nodes: {HOSTS} done\n"), shown)
        shown = self.plain("lumpolicy", "apply", self.source, *self.everywhere(), code=NOTHING_TO_DO)
        self.assertEqual(shown.count("  2 unchanged\n"), HOSTS, shown)

    def test_a_changed_file_is_seen_as_a_difference_and_goes_to_one_node_after_another(self):
        self.on_screen("lumpolicy", "apply", self.source, "--no-notify", *self.everywhere())
        (self.source / "cpu.conf").write_bytes(b"every=10\n")
        shown = self.plain("lumpolicy", "apply", self.source, "--no-notify", "--diff", "--serial", "1", *self.everywhere(),
                           columns=100)
        self.assertEqual(shown.count("\n  -every=60\n  +every=10\n"), HOSTS, shown)
        self.assertEqual([host for host in re.findall(r"(?m)^(localhost:\d+):$", shown)], self.hosts, "in their order")
        self.assertEqual(shown.count("1 changed, 1 unchanged"), HOSTS, shown)

    def test_tables_of_all_nodes_fit_at_any_width_and_say_which_node_a_row_is_of(self):
        self.on_screen("lumpolicy", "apply", self.source, "--no-notify", *self.everywhere())
        self.on_screen("lumpolicy", "disable", "--name", "disk load", "--no-notify", "--host", self.hosts[1])
        for columns in (60, 80, 120):
            shown = self.on_screen("lumpolicy", "list", *self.everywhere(), columns=columns)
            rows = [line for line in COLOUR.sub("", shown).splitlines() if line.startswith("local")]
            self.assertEqual(len(rows), 2 * HOSTS, shown)
            self.assertEqual((shown.count(GREEN + "ena"), shown.count(YELLOW + "dis")), (2 * HOSTS - 1, 1), shown)
            self.assertTrue(COLOUR.sub("", shown).startswith("HOST "), shown)
            if columns >= 80:
                self.assertEqual({row.split()[0] for row in rows}, set(self.hosts))

    def test_one_node_is_down_and_the_others_are_served(self):
        self.nodes[1].stop()
        shown = self.plain("lumpolicy", "apply", self.source, "--no-notify", *self.everywhere(), code=SOME_FAILED)
        self.assertIn(f"lumpolicy: {self.hosts[1]}: unreachable: ", shown)
        self.assertTrue(shown.endswith("3 nodes: 2 done, 1 unreachable\n"), shown)
        for columns in (80, 120):
            shown = self.plain("lumpolicy", "status", *self.everywhere(), code=SOME_FAILED, columns=columns)
            for host in (self.hosts[0], self.hosts[2]):
                self.assertRegex(shown, rf"(?m)^{host} +ok ")

    def test_who_lost_his_certificate_is_let_in_no_more_and_the_screen_says_why(self):
        certificate = self.node.root / "etc/keystore/own/operator.pem"
        self.assertEqual(self.plain("lumpolicy", "list", "--host", self.hosts[0]).count("\n"), 1)
        shown = COLOUR.sub("", self.of_node(self.nodes[0], "lumtrust", "revoke", certificate, fits=False))
        self.assertIn("The running daemon has taken it up.", shown)
        shown = " ".join(self.plain("lumpolicy", "list", "--host", self.hosts[0], code=UNREACHABLE).split())
        self.assertIn("the host refused the certificate of this node: it was revoked", shown)
        refused = " ".join(self.plain("lumpolicy", "remove", "--all", "--host", self.hosts[0], code=UNREACHABLE).split())
        self.assertNotIn("may be done", refused, "nobody has read it")
        self.assertIn("1 certificate", self.of_node(self.nodes[0], "lumtrust", "status", fits=False))
        self.on_screen("lumpolicy", "list", "--host", self.hosts[1])
        self.of_node(self.nodes[0], "lumtrust", "reinstate", certificate, fits=False)
        self.on_screen("lumpolicy", "list", "--host", self.hosts[0])

    def test_a_certificate_is_asked_for_issued_and_installed_and_the_screen_says_each_step(self):
        node, wanted, issued = self.nodes[0], self.authority / "renewed.csr", self.authority / "renewed.pem"
        self.of_node(node, "lumtrust", "request", "--core-id", "node-0", "--host", "localhost", "-o", wanted, fits=False)
        shown = self.of_node(node, "lumtrust", "request", "--core-id", "node-0", code=FAILED)
        self.assertIn("lumtrust withdraw --core-id node-0", " ".join(COLOUR.sub("", shown).split()))
        self.assertRegex(self.of_node(node, "lumtrust", "status", fits=False), r"(?m)^waiting: +node-0, requested ")
        self.on_screen("lumtrust", "issue", self.authority, wanted, "-o", issued, fits=False)
        shown = self.of_node(node, "lumtrust", "install", issued, fits=False)
        self.assertIn("installed: node-0", shown)
        self.assertIn("The running daemon has taken it up.", shown)
        self.assertEqual(self.plain("lumpolicy", "list", "--host", self.hosts[0]).count("\n"), 1, "it shows the new one")
        self.of_node(node, "lumtrust", "request", "--core-id", "node-0", fits=False)
        self.assertIn("withdrawn: node-0", self.of_node(node, "lumtrust", "withdraw", "--core-id", "node-0"))
        for columns in (60, 80):
            for table in ("list", "rights", "revoked"):
                self.of_node(node, "lumtrust", table, columns=columns)

    def test_who_lacks_a_right_is_told_which_and_how_it_is_granted(self):
        shown = " ".join(self.plain("lumsettings", "get", "--host", self.hosts[0], code=REFUSED).split())
        self.assertIn("lumtrust grant operator configget", shown)
        self.of_node(self.nodes[0], "lumtrust", "grant", "operator", "configget")
        self.on_screen("lumsettings", "get", "--host", self.hosts[0])

    def test_a_wrong_document_is_told_with_its_place_and_goes_to_no_node(self):
        shutil.copy(self.source / "cpu_header.xml", self.source / "wrong_header.xml")
        with open(self.source / "wrong_header.xml", "a", encoding="utf-8") as file:
            file.write("<more/>\n")
        shown = self.plain("lumpolicy", "validate", self.source / "wrong_header.xml", code=FAILED, fits=False)
        self.assertRegex(shown, r"(?i)line \d+")
        self.plain("lumpolicy", "apply", self.source, "--no-notify", *self.everywhere(), code=FAILED, fits=False)
        self.assertEqual([node.stored() for node in self.nodes], [[]] * HOSTS)

    def test_at_the_end_all_goes_from_all_nodes(self):
        self.on_screen("lumpolicy", "apply", self.source, "--no-notify", *self.everywhere())
        shown = self.plain("lumpolicy", "remove", "--type", "collect", "--no-notify", *self.everywhere())
        self.assertTrue(shown.endswith(f"{HOSTS} nodes: {HOSTS} done\n"), shown)
        self.assertEqual([node.stored() for node in self.nodes], [[]] * HOSTS)


if __name__ == "__main__":
    unittest.main()
