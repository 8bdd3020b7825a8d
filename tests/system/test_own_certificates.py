#!/usr/bin/python3
"""What a node tells of its own certificates: those that are revoked, those that end, those that count after a restart."""
import re
import signal
import unittest

import test_trust_tool
from node import DONE, FAILED, wait_until
from test_trust_tool import AUTHORITY

OWN_REVOKED = "The node's certificate of 'node-1' in "
ALONE = "is revoked on this node, and nothing else that is trusted vouches for the node's own"


class TrustTest(test_trust_tool.TrustTest):
    def setUp(self):
        super().setUp()
        self.equip()
        self.own = self.keystore("own/node-1.pem")
        self.voucher = self.keystore(f"trusted/{AUTHORITY}.pem")


class Revoked(TrustTest):
    def check(self, code, *words):
        checked = self.node.tool("lumconfd", "--check-config")
        self.assertEqual(checked.code, code, checked)
        for word in words:
            self.assertIn(word, checked.out)
        return checked.out

    def test_a_node_whose_own_certificate_is_revoked_is_not_in_order(self):
        self.check(DONE, "the configuration is in order")
        self.trust("revoke", self.own, "--force")
        self.check(FAILED, OWN_REVOKED, str(self.own), "is revoked on this node", "lumtrust request", "1 problem")
        self.trust("reinstate", self.own)
        self.check(DONE, "the configuration is in order")

    def test_nor_is_one_whose_only_voucher_is_revoked(self):
        self.trust("revoke", self.voucher, "--force")
        self.check(FAILED, f"The trusted certificate of '{AUTHORITY}' in ", ALONE, "1 problem")
        self.trust("reinstate", self.voucher)
        self.trust("trust", self.own)
        self.trust("revoke", self.voucher, "--force")
        said = self.check(DONE, f"Warning: The trusted certificate of '{AUTHORITY}' in ", "it vouches for nobody")
        self.assertNotIn("nothing else", said)

    def test_a_revoked_one_that_vouches_for_others_is_warned_of(self):
        folder = self.authority("other")
        renamed = self.keystore("trusted/other.pem")
        renamed.write_bytes((folder / f"{AUTHORITY}.pem").read_bytes())
        self.trust("revoke", renamed)
        said = self.check(DONE, f"Warning: The trusted certificate of '{AUTHORITY}' in '{renamed}' is revoked on this node")
        self.assertEqual(said.count("revoked"), 1, said)

    def test_a_list_that_is_broken_hides_nothing_else(self):
        self.keystore("revoked.list").write_text("end 1\n")
        self.keystore("own/node-1.key").chmod(0o644)
        said = self.check(FAILED, "is open to others", "2 problems")
        self.assertEqual(said.count("revoked.list"), 1, said)

    def test_the_log_says_so_at_the_start_and_when_it_happens_and_once(self):
        self.trust("revoke", self.own, "--force")
        self.node.start()
        said = f"ERROR {OWN_REVOKED}"
        wait_until(lambda: said in self.node.log, "it is said at the start")
        self.trust("grant", "somebody", "list")
        self.trust("reinstate", self.own)
        self.trust("revoke", self.voucher, "--force")
        wait_until(lambda: ALONE in self.node.log, "it is said of the voucher")
        self.trust("grant", "somebody", "install")
        self.trust("reinstate", self.voucher)
        self.trust("revoke", self.own, "--force")
        wait_until(lambda: self.node.log.count(said) == 2, "it is said again when it is revoked again")
        self.assertEqual(self.node.stop(), 0)
        self.assertEqual((self.node.log.count(said), self.node.log.count(ALONE)), (2, 1), self.node.log)


class Told(TrustTest):
    def own_days(self):
        entries = self.trust("list", "--json").json()["certificates"]
        return next(entry["days_left"] for entry in entries if entry["kind"] == "own")

    def test_every_tool_tells_the_same_time_left(self):
        self.node.start()
        wait_until(lambda: self.own_days() == 6, "a second of the week has passed")
        self.assertRegex(self.trust("status").out, r"identity: +node-1, .*, ends in 6 days, issued by")
        told = self.node.policy("status")
        self.assertRegex(told.out, r"(?m)^certificate +own 'node-1' ends in 6 days$")
        self.assertAlmostEqual(self.trust("status", "--json").json()["certificate"]["seconds_left"], 7 * 86400, delta=3600)

    def line(self, client, *host):
        """What the status says of the port, and whether a restart is awaited."""
        text = client.policy("status", *host).out
        told = client.policy("status", *host, "--json").json()
        return re.search(r"(?m)^ *port +(.*)$", text).group(1), (told["tls"], told["on_loopback_alone"], told["awaits_restart"])

    def test_the_status_says_what_the_port_is_until_a_restart(self):
        bare = self.make_node()
        bare.start()
        port = bare.port
        self.assertEqual(self.line(bare), (f"{port}, plain, on loopback alone", (False, True, False)))
        self.equip("node-2", node=bare)
        self.assertEqual(self.line(bare), (f"{port}, TLS, on loopback alone until a restart", (True, True, True)))
        self.assertEqual(bare.stop(), 0)
        bare.start()
        port = bare.port
        self.assertEqual(self.line(bare), (f"{port}, TLS", (True, False, False)))
        self.trust("grant", "node-1", "list", node=bare)
        self.assertEqual(bare.tool("lumsettings", "set", "--force", "sec.cm.certificates", "CERT_INSTALLED=false").code, DONE)
        bare.daemon.send_signal(signal.SIGHUP)
        wait_until(lambda: "keeps its identity until it is restarted" in bare.log, "it is taken up")
        self.assertEqual(self.line(self.node, "--host", f"localhost:{port}"),
                         (f"{port}, TLS until a restart, then plain on loopback alone", (True, False, True)))


if __name__ == "__main__":
    unittest.main()
