#!/usr/bin/python3
"""What lumtrust tells whoever is on a wrong way, and the ways that the README tells."""
import os
import pathlib
import re
import subprocess
import unittest

import pki
from node import DONE, FAILED, NOT_FOUND, NOTHING_TO_DO, PATIENCE_S, TOOLS
from test_trust_tool import AUTHORITY, TrustTest


class Told(TrustTest):
    def test_a_certificate_out_of_its_time_is_named_with_its_end_or_start(self):
        authority = pki.Authority()
        self.addCleanup(authority.close)
        for start, end, says in (("20200101000000Z", "20210101000000Z", "is not valid any more: it has ended on 2021-01-01T00:00:00Z"),
                                 ("20900101000000Z", "20910101000000Z", "is not valid before 2090-01-01T00:00:00Z")):
            certificate, key = authority.issue_for("alice", start, end)
            trusted = authority.folder / "then.pem"
            authority.renew(trusted, start, end)
            folder = self.node.folder / "alice"
            for path, arguments in ((certificate, ("install", certificate, "--key", key)), (trusted, ("trust", trusted)),
                                    (certificate, ("operator", folder, "--trust", authority.certificate, "--certificate",
                                                   certificate, "--key", key))):
                with self.subTest(says=says, arguments=arguments):
                    self.trust(*arguments, code=FAILED, words=[f"The certificate '{path}' {says}."])
        self.assertFalse((self.node.root / "etc/keystore").exists())
        self.assertFalse((folder / "etc/keystore").exists())

    def test_a_node_that_is_known_to_others_by_a_name_is_reached_by_its_own_tools_too(self):
        """Both ways to a certificate, as they are told."""
        authority = self.authority()
        self.trust("trust", authority / f"{AUTHORITY}.pem")
        request, certificate = self.node.folder / "request", self.node.folder / "certificate"
        self.trust("request", "--core-id", "node-1", "--host", "node-1.lan", "-o", request)
        self.trust("issue", authority, request, "-o", certificate)
        said = self.trust("install", certificate)
        self.assertNotIn("Note", said.out)
        self.node.start()
        self.assertEqual(self.node.list(), [])
        for host in ("node-1.lan", "10.0.0.1"):
            self.trust("enroll", authority, "--host", host)
            self.assertEqual(self.node.list(), [])
            pki.openssl("verify", "-CAfile", authority / f"{AUTHORITY}.pem", "-verify_ip" if host[0] == "1" else
                        "-verify_hostname", host, self.keystore("own/node-1.pem"))
        self.trust("status")

    def test_a_certificate_that_is_not_for_the_nodes_own_tools_is_told_wherever_one_looks(self):
        authority = pki.Authority()
        self.addCleanup(authority.close)
        self.trust("trust", authority.certificate)
        certificate, key = authority.issue("node-1", "DNS:node-1.lan")
        says = ["is not for 'localhost', as the tools of this node call it", "--host NAME", "lumtrust request --host NAME"]
        self.trust("install", certificate, "--key", key, words=["Note: The node's own certificate", *says])
        checked = self.node.tool("lumconfd", "--check-config")
        self.assertEqual(checked.code, DONE, checked)
        for word in ("Warning: The node's own certificate", *says):
            self.assertIn(word, checked.out)
        self.node.start()
        said = self.trust("status", code=FAILED, words=says)
        self.assertIn(says[0], said.err)

    def test_the_folder_of_an_operator_need_not_be_for_any_host(self):
        folder = self.node.folder / "alice"
        self.trust("operator", folder, "--authority", self.authority(), "--core-id", "alice")
        told = self.node.tool("lumtrust", "status", environment=self.node.environment(LUM_ROOT=str(folder)))
        self.assertEqual((told.code, told.err), (DONE, ""), told)

    def test_who_revokes_an_alias_of_a_certificate_learns_how_that_is_done(self):
        self.equip()
        for alias, file in (("node-1", "own/node-1.pem"), (AUTHORITY, f"trusted/{AUTHORITY}.pem")):
            said = self.trust("revoke", alias, code=NOTHING_TO_DO, words=["holds no right"])
            self.assertIn(f"'lumtrust revoke --certificate {self.keystore(file)}'", said.err)
        self.trust("grant", "node-1", "list")
        self.assertNotIn("--certificate", self.trust("revoke", "node-1").err)
        self.trust("revoke", "--certificate", self.keystore("own/node-1.pem"), "--force", words=["revoked: node-1"])

    def test_a_change_where_no_daemon_ever_was_is_told_to_count_for_tools(self):
        folder = self.node.folder / "alice"
        self.trust("operator", folder, "--authority", self.authority(), "--core-id", "alice")

        def at(*arguments):
            return self.node.tool("lumtrust", *arguments, environment=self.node.environment(LUM_ROOT=str(folder)))

        counts = "No daemon serves this root: tools go by it now, a daemon from its start on."
        self.assertIn(counts, at("untrust", "--force", AUTHORITY).out)
        found = at("reinstate", folder / "etc/keystore/own/alice.pem")
        self.assertEqual((found.code, found.out), (NOT_FOUND, ""), found)

    def test_no_second_authority_is_made_where_another_one_is_trusted(self):
        self.trust("enroll", self.authority(), "--core-id", "node-1")
        other, person = self.node.folder / "other", self.node.folder / "person"
        self.trust("operator", person, "--authority", self.authority(), "--core-id", "alice")
        for command in (("enroll", other), ("operator", person, "--authority", other, "--core-id", "alice")):
            said = self.trust(*command, code=FAILED, words=[f"trusted under the alias '{AUTHORITY}'", "--force takes its place"])
            self.assertNotIn("--replace", said.err)
            self.assertFalse(other.exists())
        self.authority("other")
        self.trust("enroll", other, code=FAILED, words=["--force takes its place"])
        self.trust("enroll", other, "--force")
        self.trust("enroll", other)

    def test_what_a_check_of_the_configuration_finds_the_status_tells_too(self):
        self.equip()
        self.node.start()
        self.trust("status")
        key = self.keystore("own/node-1.key")
        key.chmod(0o644)
        said = self.trust("status", code=FAILED, words=[f"The key file '{key}' is open to others (mode 0644)"])
        self.assertIn("chmod 600", said.err)
        self.assertEqual(len(self.trust("status", "--json", code=FAILED).json()["problems"]), 1)
        key.chmod(0o600)
        self.keystore(f"trusted/{AUTHORITY}.pem").rename(self.node.folder / "aside")
        self.assertIn("No certificate is trusted", self.trust("status", code=FAILED).err)
        (self.node.folder / "aside").rename(self.keystore(f"trusted/{AUTHORITY}.pem"))
        authority = pki.Authority()
        self.addCleanup(authority.close)
        authority.renew(self.keystore("trusted/old.pem"), "20200101000000Z", "20210101000000Z")
        said = self.trust("status", words=["lumtrust: warning: The trusted certificate", "is not valid any more"])
        for times, says in ((("20900101000000Z", "20910101000000Z"), "is not valid yet"),
                            (("20200101000000Z", "20210101000000Z"), "is not valid any more")):
            certificate, key = authority.issue_for("node-1", *times)
            self.keystore("own/node-1.pem").write_bytes(certificate.read_bytes())
            self.keystore("own/node-1.key").write_bytes(key.read_bytes())
            said = self.trust("status", code=FAILED, words=["The node's own certificate", says])
            self.assertIn(says, said.err)


class Readme(TrustTest):
    def readme_steps(self, mark, name):
        """With what the authority does between them."""
        readme = (pathlib.Path(__file__).parents[2] / "README.md").read_text(encoding="utf-8")
        steps = re.search(rf"<!-- {mark} -->\n```sh\n(.*?)```", readme, re.S).group(1)
        issue = f"lumtrust issue ca {name}.csr -o {name}.pem\n"
        done, count = re.subn(r"(?m)^#.* goes to the authority.*\n", issue, steps)
        self.assertEqual(count, 1)
        return done

    def test_the_steps_of_the_readme_for_a_fleet_and_its_operator_work_as_they_are_written(self):
        (self.node.folder / "ca.pem").write_bytes((self.authority() / f"{AUTHORITY}.pem").read_bytes())
        other = self.make_node()
        hosts = "--host node-1.example --host node-2.example"
        called = f"--host localhost:{self.node.port} --host localhost:{other.port}"
        operator = self.readme_steps("operator", "operator")
        self.assertIn(hosts, operator)
        for steps, node in ((self.readme_steps("fleet", "node-1"), self.node),
                            (self.readme_steps("fleet", "node-1").replace("node-1", "node-2"), other),
                            (operator.replace(hosts, called), None)):
            if node is None:
                self.node.start()
                other.start()
            root = {"LUM_ROOT": str(node.root)} if node else {}
            done = subprocess.run(["bash", "-ec", steps], cwd=self.node.folder, capture_output=True, text=True,
                                  env={"PATH": f"{TOOLS}:{os.environ['PATH']}", "HOME": str(self.node.folder), **root},
                                  timeout=PATIENCE_S)
            self.assertEqual(done.returncode, DONE, done)
        self.assertIn("2 nodes: 2 done", done.stdout)


if __name__ == "__main__":
    unittest.main()
