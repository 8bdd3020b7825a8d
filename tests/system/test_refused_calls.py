#!/usr/bin/python3
"""What the tools say of calls that come to nothing: the cause in plain words, and what to do about it."""
import os
import re
import unittest

import pki
from node import EXAMPLES, FAILED, REFUSED, UNREACHABLE, Node, write_policy

EXAMPLE = sorted(EXAMPLES.glob("*_header.xml"))[0]
THEN = "20200101000000Z", "20210101000000Z"
TO_COME = "20900101000000Z", "20910101000000Z"
# What the TLS and HTTP libraries say of themselves.
RAW = re.compile(r"error:0|routines::|SSL_read|SSL routines|OpenSSL/|alert |errno|libcurl|curl")


class Told(unittest.TestCase):
    def told(self, result, code, *texts):
        """The text, and the same in JSON, hold what is expected, and no raw text of a library."""
        self.assertEqual(result.code, code, result)
        said = " ".join(result.err.replace("*", " ").split())
        for text in texts:
            self.assertIn(text, said)
        self.assertNotRegex(said, RAW)
        return said

    def told_alike(self, ask, code, *texts):
        said = self.told(ask(), code, *texts)
        messages = ask("--json").json()["messages"]
        self.assertEqual(said.split(": ", 1)[1], " ".join(line["text"] for line in messages))


class OverTls(Told):
    @classmethod
    def setUpClass(cls):
        cls.authority, cls.foreign = pki.Authority("authority"), pki.Authority("foreign")
        cls.addClassCleanup(cls.authority.close)
        cls.addClassCleanup(cls.foreign.close)
        cls.operator = cls.authority.issue("operator", "DNS:operator")
        cls.node = cls.serving(cls, cls.authority.issue("node-1"))

    def serving(self, issued, core_id="node-1"):
        node = Node(start=False)
        (self.addClassCleanup if isinstance(self, type) else self.addCleanup)(node.close)
        pki.enroll(node, self.authority, core_id, issued)
        node.write_rights({"operator": "enable"})
        node.start()
        return node

    def client(self, issued=None, trusted=None):
        client = Node(start=False)
        self.addCleanup(client.close)
        client.settings["vox.http.ext.conf"] = {"TARGET_PORT": self.node.port}
        client.write_settings()
        if trusted:
            pki.trust(client, trusted)
        if issued:
            pki.install_identity(client, "operator", issued)
        return client

    def listing(self, client, host=None):
        host = host or f"localhost:{self.node.port}"
        return lambda *more: client.policy("list", "--host", host, *more)

    def test_an_own_certificate_that_has_ended_is_told_with_its_end(self):
        client = self.client(self.authority.issue_for("operator", *THEN), self.authority)
        self.told_alike(self.listing(client), UNREACHABLE, "the certificate of this node has ended on 2021-01-01T00:00:00Z.",
                        "'lumtrust request', then 'lumtrust install'.", "for an operator's folder by 'lumtrust operator'")

    def test_an_own_certificate_that_is_not_valid_yet_is_told_with_its_start(self):
        client = self.client(self.authority.issue_for("operator", *TO_COME), self.authority)
        self.told_alike(self.listing(client), UNREACHABLE,
                        "the certificate of this node is not valid before 2090-01-01T00:00:00Z.", "clock")

    def test_a_host_that_does_not_know_the_own_authority_is_told_with_the_authority(self):
        client = self.client(self.foreign.issue("operator"), self.authority)
        self.told_alike(self.listing(client), UNREACHABLE,
                        "the host refused the certificate of this node: its issuer 'foreign' is not trusted there",
                        "'lumtrust trust FILE' there")

    def test_an_authority_that_is_not_trusted_here_is_named(self):
        client = self.client(self.operator, self.foreign)
        self.told_alike(self.listing(client), UNREACHABLE,
                        "the certificate of the host was refused: its issuer 'authority' is not trusted here",
                        "'lumtrust trust FILE'")

    def test_an_authority_of_the_same_name_as_a_trusted_one_is_called_another_one(self):
        namesake = pki.Authority("authority")
        self.addCleanup(namesake.close)
        advice = "'lumtrust trust FILE --alias ALIAS'"
        told = ("the certificate of the host was refused: its issuer 'authority' is another authority than the trusted one of "
                "the same name", advice)
        self.told_alike(self.listing(self.client(self.operator, namesake)), UNREACHABLE, *told)
        # Those of our own make name the key of their issuer, and the host shows its authority too.
        folders = [self.node.folder / "first", self.node.folder / "second"]
        for folder in folders:
            self.assertEqual(self.node.tool("lumtrust", "init", folder).code, 0)
        with Node(start=False) as node:
            self.assertEqual(node.tool("lumtrust", "enroll", folders[0], "--core-id", "node-5").code, 0)
            node.start()
            client = self.client()
            self.assertEqual(client.tool("lumtrust", "enroll", folders[1], "--core-id", "operator").code, 0)
            said = self.told(client.policy("list", "--host", f"localhost:{node.port}"), UNREACHABLE,
                             told[0].replace("'authority'", "'demonstration-authority'"), advice)
            self.assertNotIn("it is no authority", said)
            # The advice helps.
            other = folders[0] / "demonstration-authority.pem"
            self.assertEqual(client.tool("lumtrust", "trust", other, "--alias", "first").code, 0)
            self.told(client.policy("list", "--host", f"localhost:{node.port}"), UNREACHABLE,
                      "the host refused the certificate of this node: its issuer 'demonstration-authority' is not trusted there")

    def test_without_any_trusted_certificate_the_command_is_told(self):
        self.told_alike(self.listing(self.client(self.operator)), UNREACHABLE,
                        "no trusted certificate is installed on this node.", "'lumtrust trust FILE'")

    def test_a_certificate_of_the_host_that_has_ended_or_not_begun_is_told(self):
        client = self.client(self.operator, self.authority)
        for times, said in ((THEN, "its time is over since 2021-01-01T00:00:00Z"),
                            (TO_COME, "its time has not come yet")):
            with self.subTest(times=times):
                node = self.serving(self.authority.issue_for("node-2", *times), "node-2")
                self.told_alike(self.listing(client, f"localhost:{node.port}"), UNREACHABLE,
                                "the certificate of the host was refused: " + said, "clock")

    def test_a_name_that_the_certificate_does_not_bear_is_told_with_those_that_it_bears(self):
        client = self.client(self.operator, self.authority)
        names = "DNS:node.example,IP:127.0.0.9,IP:fe80::1,DNS:" + "x" * 60
        node = self.serving(self.authority.issue("node-3", names), "node-3")
        for host in ("localhost", "127.0.0.1"):
            with self.subTest(host=host):
                self.told_alike(self.listing(client, f"{host}:{node.port}"), UNREACHABLE,
                                f"it is not for '{host}' but for 'node.example', '127.0.0.9', 'fe80:0:0:0:0:0:0:1', ",
                                f"'lumtrust request --host {host}' there")

    def test_tls_to_a_port_that_speaks_none_is_told(self):
        client = self.client(self.operator, self.authority)
        with Node() as plain:
            self.told_alike(self.listing(client, f"127.0.0.1:{plain.port}"), UNREACHABLE,
                            "what serves there speaks no TLS.", "'localhost'", "'lumtrust install'")

    def test_plain_http_to_a_port_that_speaks_tls_is_told(self):
        with Node() as plain:
            plain.settings["vox.http.ext.conf"]["TARGET_PORT"] = self.node.port
            plain.write_settings()
            self.told_alike(lambda *more: plain.policy("list", *more), UNREACHABLE, "what serves there speaks TLS",
                            "TARGET_PORT", "--host NAME:PORT")

    def test_a_right_that_lacks_is_named_with_its_number_and_the_command_that_grants_it(self):
        client = self.client(self.operator, self.authority)
        for tool, arguments, name, number in (
                ("lumpolicy", ("install", EXAMPLE), "install", 1), ("lumpolicy", ("remove", "--all"), "remove", 2),
                ("lumpolicy", ("disable", "--all"), "disable", 8), ("lumpolicy", ("list",), "list", 16),
                ("lumpolicy", ("add-category", "c", "--all"), "modify", 32), ("lumpolicy", ("notify",), "install", 1),
                ("lumpolicy", ("reinit",), "modify", 32), ("lumpolicy", ("status",), "list", 16),
                ("lumpolicy", ("install", "-n", EXAMPLE), "list", 16),
                ("lumsettings", ("get", "conf.server"), "configget", 64),
                ("lumsettings", ("set", "conf.server", "WAIT_TIME=9"), "configset", 128),
                ("lumsettings", ("set", "-n", "conf.server", "WAIT_TIME=9"), "configget", 64),
                ("lumsettings", ("clear", "conf.server"), "configset", 128)):
            with self.subTest(tool=tool, arguments=arguments):
                ask = lambda *more: client.tool(tool, *arguments, "--host", f"localhost:{self.node.port}", *more)
                said = self.told(ask(), REFUSED, f"The right '{name}' ({number}) lacks.",
                                 f"'lumtrust grant operator {name}' gives it.")
                self.assertEqual(said.count(" lacks."), 1, said)
                self.assertIn(f"The right '{name}' ({number}) lacks.", str(ask("--json").json()["messages"]))

    def test_apply_names_the_right_that_lacks_at_each_of_its_steps(self):
        client = self.client(self.operator, self.authority)
        node = self.serving(self.authority.issue("node-4"), "node-4")
        held = write_policy(client.folder / "held", "held", files={"data": b"old"})
        more = write_policy(client.folder / "more", "more", name="more", files={"more": b""})
        changed = write_policy(client.folder / "changed", "held", files={"data": b"new"})
        for path in held, more:
            self.assertEqual(node.policy("install", "--no-notify", path).code, 0)
        for rights, options, name, number in (
                ("enable", (changed,), "list", 16), ("list", (changed,), "install", 1),
                ("list", (changed, "--diff"), "install", 1),
                ("list install", (held, "--prune", "--type", "type"), "remove", 2)):
            with self.subTest(rights=rights, options=options):
                node.write_rights({"operator": rights})
                node.stop()
                node.start()
                ask = lambda *form: client.policy("apply", "--no-notify", *options, "--host", f"localhost:{node.port}",
                                                  *form)
                said = self.told(ask(), REFUSED, f"The right '{name}' ({number}) lacks.",
                                 f"'lumtrust grant operator {name}' gives it.")
                self.assertEqual(said.count(" lacks."), 1, said)

    def test_a_caller_without_a_certificate_learns_that_he_is_nobody(self):
        client = self.client(trusted=self.authority)
        self.told_alike(self.listing(client), REFUSED, "This caller is nobody there", "'lumtrust request'")


class Unserved(Told):
    def test_a_node_that_no_daemon_serves_is_told_by_its_root_and_how_it_is_started(self):
        with Node(start=False) as node:
            advice = (f"If the node in '{node.root}/' is meant, no daemon serves it: start it ('lumconfd', or 'systemctl start "
                      "lumconfd').")

            def ask(says):
                for arguments in (("list",), ("status",), ("list", "--host", "localhost")):
                    self.told_alike(lambda *more: node.policy(*arguments, *more), UNREACHABLE, says, advice)
                self.told(node.tool("lumconfd", "--status"), FAILED, says, advice)

            ask("this node does not serve")
            (node.root / "etc/local.secret").write_text("0" * 64)  # as a daemon that was killed leaves it
            ask("Connection refused.")
            (node.root / "etc/local.secret").unlink()
            self.assertEqual(node.tool("lumtrust", "enroll", node.folder / "ca", "--core-id", "node-1").code, 0)
            ask("Connection refused.")
            said = self.told(node.policy("list", "--host", f"127.0.0.1:{node.port}"), UNREACHABLE, "Connection refused.")
            self.assertNotIn("start it", said)


class TooLarge(Told):
    def test_a_body_beyond_the_limit_is_told_with_its_size_the_limit_and_the_key(self):
        with Node(settings={"vox.http.ext.conf": {"BODY_LIMIT": 20000}}) as node:
            for size in (40_000, 8_000_000):
                with self.subTest(size=size):
                    file = write_policy(node.folder / str(size), "large", files={"data": os.urandom(size)})
                    said = self.told(node.policy("install", file), FAILED, "this node takes 20000 bytes",
                                     "BODY_LIMIT in 'vox.http.ext.conf'", str(file))
                    sent = int(re.search(r"body of (\d+) bytes is too large", said)[1])
                    self.assertGreater(sent, size)


class Keys(Told):
    """Without any daemon."""

    def setUp(self):
        self.node = Node(start=False)
        self.addCleanup(self.node.close)
        self.file = write_policy(self.node.folder / "policy", "p", files={"a": b"a", "b": b"b"})

    def test_a_policy_that_is_not_signed_is_called_so_once(self):
        said = self.told(self.node.policy("verify", self.file), FAILED, f"{self.file}: The policy is not signed",
                         "'lumpolicy sign'")
        self.assertEqual(said.count("not signed"), 1, said)
        answer = self.node.policy("verify", "--json", self.file).json()
        self.assertIn("The policy is not signed", answer["messages"][0]["text"])
        for one in answer["data_files"]:
            self.assertIn("not signed", one["messages"][-1]["text"])
        self.assertNotRegex(str(answer), RAW)

    def test_a_node_without_an_id_is_told_how_to_get_one(self):
        self.told(self.node.policy("sign", self.file), FAILED, "CORE_ID", "'lumtrust request --core-id ID'", "--alias")
        self.node.settings["sec.cm.certificates"] = {"CERT_INSTALLED": "true"}
        self.node.write_settings()
        self.told(self.node.policy("list"), FAILED, "the node has no id: CORE_ID", "'lumtrust install'")

    def test_a_node_without_any_key_is_told_how_to_get_one(self):
        self.node.settings["sec.core"] = {"CORE_ID": "me"}
        self.node.write_settings()
        for made in (False, True):
            if made:
                (self.node.root / "etc/keystore/own").mkdir(parents=True)
            with self.subTest(made=made):
                self.told(self.node.policy("sign", self.file), FAILED, "'lumtrust request' makes a key", "P-384")

    def test_a_key_that_does_not_sign_is_refused_with_the_kinds_that_do(self):
        self.node.settings["sec.core"] = {"CORE_ID": "me"}
        self.node.write_settings()
        own = self.node.root / "etc/keystore/own"
        own.mkdir(parents=True)
        for kind in (("ED448",), ("RSA", "-pkeyopt", "rsa_keygen_bits:1024"),
                     ("EC", "-pkeyopt", "ec_paramgen_curve:secp521r1")):
            with self.subTest(kind=kind):
                pki.openssl("genpkey", "-algorithm", *kind, "-out", own / "me.key")
                pki.openssl("req", "-x509", "-key", own / "me.key", "-subj", "/CN=me", "-days", "1", "-out", own / "me.pem")
                self.told(self.node.policy("sign", self.file), FAILED,
                          "Keys that sign are RSA (2048 to 16384 bits), EC (P-256, P-384) and Ed25519.")


if __name__ == "__main__":
    unittest.main()
