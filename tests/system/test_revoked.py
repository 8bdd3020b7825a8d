#!/usr/bin/python3
"""Certificates that a node accepts no longer, on each road, and requests that wait."""
import os
import pathlib
import re
import ssl
import subprocess
import unittest

import pki
import test_trust_tool
import wire
from node import (DONE, EXAMPLES, FAILED, NOT_FOUND, NOTHING_TO_DO, PATIENCE_S, TOOLS, WRONG_USAGE, wait_until,
                  write_policy)
from test_trust_tool import AUTHORITY

REVOKED = "certificate revoked"


def fingerprint(path):
    done = subprocess.run(["openssl", "x509", "-in", path, "-noout", "-fingerprint", "-sha256"], capture_output=True,
                          text=True, check=True)
    return done.stdout.strip().split("=")[1]


def serial(path):
    done = subprocess.run(["openssl", "x509", "-in", path, "-noout", "-serial"], capture_output=True, text=True, check=True)
    return done.stdout.strip().split("=")[1]


class TrustTest(test_trust_tool.TrustTest):
    def revoked(self, node=None):
        return self.trust("revoked", "--json", node=node).json()["revoked"]

    def own(self, node, core_id):
        return node.root / f"etc/keystore/own/{core_id}.pem"


class Requests(TrustTest):
    def test_a_second_request_leaves_the_key_that_waits(self):
        self.trust("request", "--core-id", "node-1")
        key = self.keystore("requested/node-1.key").read_bytes()
        refused = self.trust("request", "--core-id", "node-1", "-o", self.node.folder / "csr", code=FAILED,
                             words=["A request for 'node-1' waits for its certificate already, since 2", "lumtrust install FILE",
                                    "lumtrust withdraw --core-id node-1", "--force"])
        self.assertEqual(refused.out, "")
        self.assertFalse((self.node.folder / "csr").exists())
        self.assertEqual(self.keystore("requested/node-1.key").read_bytes(), key)
        self.trust("request", "--core-id", "node-2")
        self.trust("request", "--core-id", "node-1", "--force")
        self.assertNotEqual(self.keystore("requested/node-1.key").read_bytes(), key)

    def test_a_request_that_is_withdrawn_makes_room(self):
        self.trust("withdraw", "--core-id", "node-1", code=NOT_FOUND, words=["no request for 'node-1' waits"])
        self.trust("request", "--core-id", "node-1")
        self.trust("withdraw", "--core-id", "node-1", words=["withdrawn: node-1"])
        self.assertFalse(self.keystore("requested/node-1.key").exists())
        self.trust("request", "--core-id", "node-1")
        self.trust("withdraw", "--core-id", "../own/x", code=FAILED)

    def test_the_certificate_of_a_request_makes_room_too(self):
        self.equip()
        self.trust("install", self.issue("node-1"))

    def test_a_request_that_cannot_be_written_leaves_no_key_waiting(self):
        self.trust("request", "--core-id", "node-1", "-o", "/proc/request", code=FAILED, words=["/proc/request"])
        self.assertFalse(self.keystore("requested/node-1.key").exists())


class Naming(TrustTest):
    def setUp(self):
        super().setUp()
        self.certificate = self.issue("operator")
        self.trust("trust", self.authority() / f"{AUTHORITY}.pem")

    def test_a_certificate_is_named_by_file_fingerprint_or_serial_number_and_issuer(self):
        self.keystore("own").mkdir()
        self.keystore("own/operator.pem").write_bytes(self.certificate.read_bytes())
        number, authority = serial(self.certificate), self.authority() / f"{AUTHORITY}.pem"
        ways = [(self.certificate,), ("--certificate", self.certificate), (fingerprint(self.certificate),),
                (fingerprint(self.certificate).replace(":", "").lower(),),
                ("--certificate", fingerprint(self.certificate)), ("--serial", number, "--issuer", AUTHORITY),
                ("--serial", "0x" + number.lower(), "--issuer", authority),
                ("--serial", number, "--issuer", f"CN={AUTHORITY.upper()}")]
        for way in ways:
            with self.subTest(way=way):
                self.trust("revoke", *way, words=["revoked: ", f"serial number {number.lower().lstrip('0')} of CN="])
                again = self.trust("revoke", self.certificate, code=NOTHING_TO_DO, words=["revoked before"])
                self.assertEqual(again.err, "")
                self.assertEqual(len(self.revoked()), 1)
                one = way[-1:] if way[0] == "--certificate" else way
                self.assertEqual(self.trust("revoked", "--json", *one).json()["revoked"], self.revoked())
                back = [word for word in way]
                self.trust("reinstate", *(back if len(back) > 1 and back[0] != "--certificate" else back[-1:]),
                           words=["no longer revoked: "])
                self.assertEqual(self.revoked(), [])
        self.trust("reinstate", self.certificate, code=NOT_FOUND, words=["not revoked: operator"])
        self.trust("revoke", authority, "--force")
        asked = self.trust("revoked", "--json", self.certificate, code=NOT_FOUND, words=["not revoked: operator"])
        self.assertEqual(asked.json()["revoked"], [])

    def test_what_is_told_of_one_names_it_on_another_node(self):
        self.trust("revoke", self.certificate)
        told, = self.revoked()
        self.assertEqual((told["subject"], told["issuer"]), ("operator", f"CN={AUTHORITY}"))
        self.assertRegex(told["since"], r"^2\d{3}-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
        other = self.make_node()
        self.trust("revoke", "--serial", told["serial"], "--issuer", told["issuer"], node=other)
        self.assertEqual(self.revoked(other)[0]["serial"], told["serial"])
        self.trust("revoked", words=["SERIAL", told["serial"], "operator"])

    def test_a_certificate_that_nobody_can_find_is_not_revoked(self):
        bundle = self.node.folder / "bundle.pem"
        bundle.write_text(self.certificate.read_text() * 2)
        for words, code, says in (((fingerprint(self.certificate),), FAILED, "no certificate of this node's key store"),
                                  (("./nowhere.pem",), FAILED, "nowhere.pem"), ((bundle,), FAILED, "more than one"),
                                  (("--serial", "xyz", "--issuer", AUTHORITY), WRONG_USAGE, "no hexadecimal number"),
                                  (("--serial", "1", "--issuer", "nobody"), FAILED, "no alias of a trusted"),
                                  (("--serial", "1"), WRONG_USAGE, "--issuer"), (("--issuer", AUTHORITY), WRONG_USAGE, "--serial"),
                                  ((), WRONG_USAGE, "sender"), ((self.certificate, "--serial", "1"), WRONG_USAGE, "sender")):
            with self.subTest(words=words):
                refused = self.trust("revoke", *words, code=code)
                self.assertIn(says, " ".join(refused.err.split()).replace("No cert", "no cert"))
        self.assertFalse(self.keystore("revoked.list").exists())

    def test_a_sender_is_never_taken_for_a_certificate(self):
        sender = str(self.certificate)
        self.trust("grant", sender, "list")
        self.trust("grant", "operator", "list")
        here = os.getcwd()
        os.chdir(self.certificate.parent)
        self.addCleanup(os.chdir, here)
        pathlib.Path("operator").write_bytes(self.certificate.read_bytes())
        for _ in range(2):
            self.assertIn(self.node.tool("lumtrust", "revoke", "operator").code, (DONE, NOTHING_TO_DO))
        self.trust("revoke", sender, words=["no right"])
        self.trust("revoke", sender, "list", code=NOTHING_TO_DO)
        self.assertEqual(self.revoked(), [])
        self.trust("revoke", sender, words=["revoked: operator"])

    def test_what_the_node_itself_lives_by_is_revoked_only_when_forced(self):
        self.equip()
        authority = self.authority() / f"{AUTHORITY}.pem"
        for one in (self.own(self.node, "node-1"), authority):
            self.trust("revoke", one, code=FAILED, words=["is what this node shows, or what vouches for it", "--force"])
        self.assertFalse(self.keystore("revoked.list").exists())
        self.trust("revoke", authority, "--force")
        self.trust("trust", authority, code=FAILED, words=["is revoked on this node", "lumtrust reinstate"])
        self.trust("reinstate", authority)
        self.trust("revoke", self.own(self.node, "node-1"), "--force")
        self.trust("install", self.own(self.node, "node-1"), code=FAILED, words=["is revoked on this node"])
        entries = {one["kind"]: one for one in self.trust("list", "--json").json()["certificates"]}
        self.assertEqual((entries["own"]["revoked"], entries["trusted"]["revoked"]), (True, False))
        self.trust("list", words=["nobody: revoked"])

    def test_a_list_that_is_broken_is_told_with_its_line_and_not_replaced(self):
        self.trust("revoke", self.certificate)
        path = self.keystore("revoked.list")
        self.assertEqual(path.stat().st_mode & 0o777, 0o644)
        path.write_text(path.read_text().replace("end 1", "end 2"))
        before = path.read_text()
        for command in (("revoke", self.certificate), ("reinstate", self.certificate), ("revoked",), ("list",), ("status",),
                        ("trust", self.certificate)):
            with self.subTest(command=command):
                self.trust(*command, code=FAILED, words=["revoked.list' is broken in line 2: the number of lines is another"])
        self.assertEqual(path.read_text(), before)
        checked = self.node.tool("lumconfd", "--check-config")
        self.assertEqual(checked.code, FAILED, checked)
        self.assertIn("revoked.list", checked.out)

    def test_several_at_once_lose_none(self):
        tools = [subprocess.Popen([TOOLS / "lumtrust", "revoke", "--serial", f"{i + 1:x}", "--issuer", AUTHORITY],
                                  env=self.node.environment(), stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
                 for i in range(8)]
        said = [tool.communicate(timeout=PATIENCE_S)[0] for tool in tools]
        self.assertEqual([tool.returncode for tool in tools], [DONE] * len(tools), said)
        self.assertEqual(sorted(one["serial"] for one in self.revoked()), [f"{i + 1:x}" for i in range(8)])

    def test_ten_thousand_are_listed_and_one_more_is_added(self):
        lines = "".join(f"{i + 1:x}\tCN=x\t2026-11-21T10:00:00Z\toperator\n" for i in range(10000))
        self.keystore("revoked.list").write_text(f"{lines}end 10000\n")
        self.trust("revoke", self.certificate)
        self.assertEqual(len(self.revoked()), 10001)


class Roads(TrustTest):
    def setUp(self):
        super().setUp()
        self.equip()
        self.node.start()
        self.operator = self.client()
        self.trust("grant", "operator", "list")
        self.certificate = self.own(self.operator, "operator")

    def context(self):
        context = ssl.create_default_context(cafile=str(self.keystore(f"trusted/{AUTHORITY}.pem")))
        context.load_cert_chain(self.certificate, self.certificate.with_suffix(".key"))
        return context

    def test_a_caller_is_refused_by_the_running_daemon_also_on_a_connection_that_is_kept(self):
        self.assertEqual(self.operator.policy("list").code, DONE)
        with wire.Connection(self.node.port, self.context()) as kept:
            self.assertEqual(kept.exchange(wire.post(wire.list_call())).value(), wire.NO_POLICIES)
            self.trust("revoke", self.certificate, words=["revoked: operator", "The running daemon has taken it up."])
            self.assertEqual(kept.exchange(wire.post(wire.list_call())).status, 403)
        refused = self.operator.policy("list")
        self.assertNotEqual(refused.code, DONE, refused)
        wait_until(lambda: REVOKED in self.node.log, "the log says why")
        self.assertEqual(self.node.list(), [])
        self.trust("reinstate", self.certificate, words=["The running daemon has taken it up."])
        self.assertEqual(self.operator.policy("list").code, DONE)

    def test_a_certificate_that_takes_its_place_is_let_in(self):
        self.trust("revoke", self.certificate)
        self.trust("install", self.issue("operator", self.operator), node=self.operator)
        self.assertEqual(self.operator.policy("list").code, DONE)

    def test_a_node_whose_certificate_is_revoked_at_the_caller_is_not_called(self):
        self.trust("revoke", self.own(self.node, "node-1"), node=self.operator)
        refused = self.operator.policy("list")
        self.assertNotEqual(refused.code, DONE, refused)
        self.assertIn(f"the certificate of the host was refused: it was revoked ({REVOKED})", " ".join(refused.err.split()))
        self.trust("reinstate", self.own(self.node, "node-1"), node=self.operator)
        self.assertEqual(self.operator.policy("list").code, DONE)

    def test_a_node_that_starts_knows_whom_it_refuses_and_does_not_start_without_knowing(self):
        self.trust("revoke", self.certificate)
        self.assertEqual(self.node.stop(), 0)
        self.node.start()
        self.assertNotEqual(self.operator.policy("list").code, DONE)
        self.assertEqual(self.node.stop(), 0)
        self.keystore("revoked.list").write_text("1\tbroken\nend 1\n")
        failed = self.node.tool("lumconfd")
        self.assertEqual(failed.code, FAILED, failed)
        self.assertIn("revoked.list' is broken in line 1", " ".join((failed.out + failed.err).split()))

    def test_a_list_that_breaks_while_the_daemon_serves_lets_nobody_in_again(self):
        self.trust("revoke", self.certificate)
        self.keystore("revoked.list").write_text("end 1\n")
        self.trust("grant", "somebody", "list")
        self.assertIn("revoked.list", self.node.log)
        self.assertNotEqual(self.operator.policy("list").code, DONE)


class Signers(TrustTest):
    def test_what_a_revoked_signer_signed_is_proven_no_longer(self):
        self.trust("trust", self.authority() / f"{AUTHORITY}.pem")
        certificate = self.issue("operator")
        self.trust("install", certificate)
        self.trust("grant", "operator", "sign")
        policy = write_policy(self.node.folder / "source", "p1", {"one": b"content\n"})
        self.assertEqual(self.node.policy("sign", "--alias", "operator", policy).code, DONE)
        self.assertEqual(self.node.policy("verify", policy).code, DONE)
        for one, says in ((certificate, "The certificate of 'operator' (serial number"),
                          (self.authority() / f"{AUTHORITY}.pem", f"of 'CN={AUTHORITY}') is revoked on this node")):
            self.trust("revoke", one, "--force")
            verified = self.node.policy("verify", policy)
            self.assertEqual(verified.code, FAILED, verified)
            self.assertIn(says, " ".join((verified.out + verified.err).split()))
            self.trust("reinstate", one)
        self.assertEqual(self.node.policy("verify", policy).code, DONE)


class Status(TrustTest):
    def test_the_status_tells_who_the_node_is_what_waits_and_whom_it_trusts(self):
        self.trust("status", words=["identity: no core id, no certificate: loopback alone is served", "waiting: none",
                                    "trusted: none", "revoked: 0 certificates", "rights: 0 senders"])
        self.equip()
        self.trust("request", "--core-id", "node-1")
        self.trust("grant", "operator", "list")
        self.trust("revoke", "--serial", "1", "--issuer", AUTHORITY)
        said = self.trust("status", words=["waiting: node-1, requested 2", "vouches for callers, signers",
                                           "revoked: 1 certificate", "rights: 1 sender"])
        self.assertRegex(said.out, rf"identity: +node-1, valid until 2\S+, ends in [67] days, issued by {AUTHORITY}\n")
        told = self.trust("status", "--json").json()
        self.assertEqual((told["core_id"], told["certificate"]["subject"], told["revoked"], told["senders"], told["problems"]),
                         ("node-1", "node-1", 1, 1, []))
        self.assertEqual(([row["core_id"] for row in told["waiting"]], [row["alias"] for row in told["trusted"]]),
                         (["node-1"], [AUTHORITY]))

    def test_what_is_wrong_is_told_and_fails(self):
        self.equip()
        self.trust("revoke", self.own(self.node, "node-1"), "--force")
        self.trust("status", code=FAILED, words=["The node's certificate of 'node-1' in", "is revoked on this node",
                                                      "in an operator's folder 'lumtrust operator' does"])
        self.keystore("own/node-1.key").write_text("broken")
        self.assertEqual(len(self.trust("status", "--json", code=FAILED).json()["problems"]), 2)
        self.keystore("own/node-1.pem").write_text("broken")
        self.trust("status", code=FAILED, words=["its certificate cannot be read"])


class Enrolment(TrustTest):
    def commands(self):
        readme = (pathlib.Path(__file__).parents[2] / "README.md").read_text(encoding="utf-8")
        return re.search(r"<!-- demonstration -->\n```sh\n(.*?)```", readme, re.S).group(1)

    def test_the_commands_of_the_readme_lead_from_nothing_to_a_call_over_the_network(self):
        self.node.start()
        commands = self.commands().replace("localhost", f"localhost:{self.node.port}")
        done = subprocess.run(["bash", "-ec", commands], cwd=self.node.folder, capture_output=True, text=True,
                              env=self.node.environment(PATH=f"{TOOLS}:{os.environ['PATH']}", HOME=str(self.node.folder)),
                              timeout=PATIENCE_S)
        self.assertEqual(done.returncode, DONE, done)
        self.assertIn("installed: node-1", done.stdout)
        self.assertIn("LUM_ROOT=", done.stdout)

    def test_an_operator_has_a_folder_of_his_own_and_the_node_of_the_machine_stays_as_it_is(self):
        self.equip()
        before = {path: path.read_bytes() for path in self.node.root.rglob("*") if path.is_file()}
        person = self.node.folder / "deep/person"
        self.trust("operator", person, "--authority", self.authority(), "--core-id", "alice",
                   words=["installed: alice", f"LUM_ROOT={person}"])
        self.assertEqual(person.stat().st_mode & 0o777, 0o700)
        after = {path: path.read_bytes() for path in self.node.root.rglob("*") if path.is_file()}
        self.assertEqual(after, before)
        self.trust("operator", person, "--authority", self.authority(), "--core-id", "alice")

    def test_an_operator_takes_certificates_of_an_authority_that_is_there(self):
        authority = pki.Authority()
        self.addCleanup(authority.close)
        certificate, key = authority.issue("alice")
        person = self.node.folder / "person"
        self.trust("operator", person, "--trust", authority.certificate, "--certificate", certificate, "--key", key,
                   words=["installed: alice"])
        self.trust("operator", person, "--authority", self.authority(), "--core-id", "alice", code=FAILED,
                   words=["has a certificate of 'authority' already", "--force"])
        for words in ((), ("--authority", "x"), ("--core-id", "alice"), ("--trust", authority.certificate),
                      ("--authority", "x", "--core-id", "alice", "--trust", "y", "--certificate", "z")):
            self.trust("operator", self.node.folder / "another", *words, code=WRONG_USAGE)
        self.assertFalse((self.node.folder / "another").exists())

    def test_the_root_of_a_node_is_no_operators_folder(self):
        self.node.start()
        self.trust("operator", self.node.root, "--authority", self.authority(), "--core-id", "alice", code=FAILED,
                   words=["is the root of a node"])
        self.assertFalse((self.node.root / "etc/keystore").exists())

    def test_nor_is_one_that_was_made_and_never_started(self):
        enrolled, ruled, filled = (self.make_node() for _ in range(3))
        self.trust("enroll", self.authority(), "--core-id", "node-2", node=enrolled)
        self.trust("grant", "operator", "list", node=ruled)
        write_policy(filled.store / "type", "a")
        for node, words in ((enrolled, ["is the folder of 'node-2'", "a folder of his own"]),
                            (ruled, ["is the root of a node"]), (filled, ["is the root of a node"])):
            before = {path: path.read_bytes() for path in node.root.rglob("*") if path.is_file()}
            for force in ((), ("--force",)):
                self.trust("operator", node.root, "--authority", self.authority(), "--core-id", "alice", *force,
                           code=FAILED, words=words)
            self.assertEqual({path: path.read_bytes() for path in node.root.rglob("*") if path.is_file()}, before)

    def test_a_folder_that_an_operator_has_used_is_renewed(self):
        self.equip()
        self.node.start()
        self.trust("grant", "alice", "list")
        person = self.node.folder / "person"
        for _ in range(2):
            self.trust("operator", person, "--authority", self.authority(), "--core-id", "alice")
            for arguments in (("list", "--host", f"localhost:{self.node.port}"), ("validate", EXAMPLES), ("verify", "--installed")):
                self.node.policy(*arguments, environment=self.node.environment(LUM_ROOT=str(person)))
        self.trust("operator", person, "--authority", self.authority(), "--core-id", "bob", code=FAILED,
                   words=["is the folder of 'alice'"])

    def test_enrolling_again_renews_and_replaces_nobody_elses_certificate_unless_forced(self):
        folder = self.node.folder / "ca"
        self.trust("enroll", folder, "--core-id", "node-1", words=["made 'demonstration-authority'", "installed: node-1"])
        first = self.own(self.node, "node-1").read_bytes()
        self.trust("enroll", folder)
        self.assertNotEqual(self.own(self.node, "node-1").read_bytes(), first)
        other = self.node.folder / "other"
        self.trust("enroll", other, code=FAILED, words=["--force"])
        authority = pki.Authority()
        self.addCleanup(authority.close)
        certificate, key = authority.issue("node-1")
        self.trust("install", certificate, "--key", key)
        self.trust("enroll", folder, code=FAILED, words=["has a certificate of 'authority' already", "--force"])
        self.trust("enroll", folder, "--force")


if __name__ == "__main__":
    unittest.main()
