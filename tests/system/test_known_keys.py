#!/usr/bin/python3
"""The keys of a node's configuration: the tools know each of them, say what is wrong with a value before it counts, and
do not let their user lock himself out."""
import pathlib
import re
import unittest

import pki
from node import DONE, FAILED, NOT_FOUND, REFUSED, UNREACHABLE, WRONG_USAGE, Node, free_port, write_policy

PAPER = pathlib.Path(__file__).resolve().parents[2] / "docs/configuration.md"


def told_keys():
    """{(namespace, key): (kind, default, taken up)} as the paper has them, without its marks."""
    told = {}
    for namespace, section in re.findall(r"^## ([a-z.]+\.[a-z.]+)$(.*?)(?=^## )", PAPER.read_text(encoding="utf-8"),
                                         re.M | re.S):
        for row in re.findall(r"^\| `[A-Z0-9_]+` \| .*$", section, re.M):
            name, kind, default, *_, counts = [cell.replace("`", "").strip() for cell in row.strip("| ").split(" | ")]
            told[namespace, name] = kind, default, counts
    return told


class Keys(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.node = Node()
        cls.addClassCleanup(cls.node.close)

    def settings(self, *arguments):
        return self.node.tool("lumsettings", *arguments)

    def refused(self, code, words, *arguments):
        before = (self.node.config / "local_settings.ini").read_text(encoding="utf-8")
        result = self.settings(*arguments)
        self.assertEqual(result.code, code, result)
        for word in words:
            self.assertIn(word, " ".join(result.err.split()))
        self.assertEqual((self.node.config / "local_settings.ini").read_text(encoding="utf-8"), before)

    def test_the_paper_and_the_tool_say_the_same_of_each_key(self):
        told = told_keys()
        known = {(key["namespace"], key["name"]): (key["kind"], key["default"], key["taken_up"])
                 for key in self.settings("keys", "--json").json()["keys"]}
        self.assertGreater(len(known), 40)
        self.assertEqual(known, told)

    def test_keys_are_listed_and_described_without_a_node(self):
        listed = self.settings("keys", "conf.server")
        self.assertEqual(listed.code, DONE, listed)
        self.assertIn("WAIT_TIME", listed.out)
        self.assertNotIn("SERVER_PORT", listed.out)
        names = self.settings("keys", "conf.server", "-o", "name", "--sort-by", "key").out.splitlines()
        self.assertEqual((len(names), names), (len(listed.out.splitlines()) - 1, sorted(names)))
        self.assertIn("conf.server WAIT_TIME", names)
        described = self.settings("describe", "SERVER_PORT")
        self.assertEqual(described.code, DONE, described)
        for word in ("[vox.http.ext.conf] SERVER_PORT", "0 to 65535", "7443", "after a restart",
                     f"on this node: {self.node.port}"):
            self.assertIn(word, described.out)
        self.refused(NOT_FOUND, ["did you mean 'SERVER_PORT'?", "lumsettings keys"], "describe", "server_prot")
        self.refused(NOT_FOUND, ["nothing"], "keys", "nothing")

    def test_what_a_key_does_reads_alone(self):
        described = {key["name"]: key for key in self.settings("keys", "--json").json()["keys"]}
        for name, words in (("MERGED_POLICY_LIST_FILENAME", "the file in conf/conf that holds the merged policy list"),
                            ("WAIT_TIME", "the servers of PING_SERVER"), ("LOCATE_SERVER", "the hosts of PING_SERVER"),
                            ("AUDIT_LOG_MODE", "what the audit log holds"),
                            ("CONTROL_ACK_TIMEOUT", "how long a CHECK_POLICY event waits")):
            self.assertIn(words, described[name]["effect"])
        for key in described.values():
            self.assertNotRegex(key["effect"], r"\b(it|its|such|these)\b (holds|name|an? event|rounds|hosts)")
        self.assertEqual(described["SHARED_DATA_FILES"]["kind"], "allow, keep or refuse, in any case")
        for product in ("Palisade (PLSD)", "Pacemaker (PCMK)", "Microsoft Cluster Server (MSCS)"):
            self.assertIn(product, described["CLUSTER_TYPE"]["effect"])
        self.assertNotIn("Unknown", described["CLUSTER_TYPE"]["effect"])

    def test_a_value_that_a_key_cannot_hold_is_refused_unless_it_is_forced(self):
        for namespace, name, value, wanted in (
                ("conf.server", "AUDIT_LOGGING", "perhaps", "true or false"),
                ("conf.server", "WAIT_TIME", "0", "seconds from 1 to 86400"),
                ("vox.http.ext.conf", "IO_THREADS", "65", "1 to 64"),
                ("vox.http.ext.conf", "BODY_LIMIT", "64 MB", "bytes, 1024 to 2147483647"),
                ("vox.http.ext.conf", "IDLE_TIMEOUT", "99", "ms, 100 to 3600000"),
                ("conf.core", "CONTROL_ACK_TIMEOUT", "3601", "seconds, 1 to 3600"),
                ("sec.core", "CORE_ID", "../x", "a plain file name"),
                ("sec.core", "CORE_ID", "a/b", "a plain file name"),
                ("sec.core", "CORE_ID", "x" * 201, "at most 200 bytes"),
                ("vox.http.ext.conf", "BIND_ADDRESS", "nonsense", "an IP address, or empty"),
                ("vox.http.ext.conf", "BIND_ADDRESS", "10.0.0.256", "an IP address, or empty"),
                ("vox.http.ext.conf", "CONNECT_TIMEOUT", "2147484", "seconds, at least 0, at most 2147483;"),
                ("vox.http.ext.conf", "REQUEST_TIMEOUT", "999999999999999999", "seconds, at least 0, at most 2147483647"),
                ("vox.http.ext.conf", "REQUEST_TIMEOUT", "5s", "must be a number"),
                ("vox.http.ext.conf", "CALL_TIMEOUT", "2147483648", "seconds, at least 0, at most 2147483647"),
                ("vox.http.ext.conf", "RESPONSE_LIMIT", "9" * 30, "bytes, 0 or at least 65536, at most 2147483647"),
                ("vox.http.ext.conf", "RESPONSE_LIMIT", "65535", "bytes, 0 or at least 65536"),
                ("conf.cluster", "TOOL_TIMEOUT", "4294968", "seconds, at least 0, at most 4294967"),
                ("conf.cluster", "TOOL_TIMEOUT", "-3", "seconds, at least 0, at most 4294967"),
                ("conf.cluster", "TOOL_TIMEOUT", "-", "must be a number"),
                ("conf.cluster", "COMMAND_TIMEOUT", "4294968", "seconds, at least 0, at most 4294967"),
                ("conf.core", "CONTROL_ACK_TIMEOUT", "-1", "seconds, 1 to 3600"),
                ("conf.cluster", "CLUSTER_TYPE", "Foo", "empty, or one of VERITAS Cluster Server (VCS), "),
                ("conf.cluster", "CLUSTER_TYPE", "Unknown", "Pacemaker (PCMK); a monitor"),
                ("conf.server", "SHARED_DATA_FILES", "some", "allow, keep or refuse"),
                ("conf.server", "AUDIT_LOG_MODE", "failures",
                 "all, failure (counts at the start) or FAILURE (counts on a change)"),
                ("conf.cluster", "POLLING_INTERVAL", "ten", "milliseconds from 1 to 2147483647")):
            with self.subTest(name=name):
                self.refused(WRONG_USAGE, [f"[{namespace}] {name}={value}: must be ", wanted, "--force"],
                             "set", namespace, f"{name}={value}")
        path = self.node.folder / "settings.ini"
        path.write_text("[conf.server]\nWAIT_TIME=9\nLOCATE_SERVER=dance\n")
        self.refused(WRONG_USAGE, ["LOCATE_SERVER=dance"], "set", "--from", path)
        self.assertEqual(self.settings("set", "--force", "conf.server", "WAIT_TIME=0").code, DONE)
        self.assertEqual(self.settings("clear", "conf.server", "WAIT_TIME").code, DONE)

    def test_a_value_at_its_bound_is_taken(self):
        for namespace, name, values in (
                ("vox.http.ext.conf", "BIND_ADDRESS", ("127.0.0.1", "::1", "")),
                ("vox.http.ext.conf", "CONNECT_TIMEOUT", ("2147483",)),
                ("vox.http.ext.conf", "CALL_TIMEOUT", ("2147483647", "0")),
                ("vox.http.ext.conf", "RESPONSE_LIMIT", ("65536", "2147483647", "0")),
                ("conf.core", "CONTROL_ACK_TIMEOUT", ("3600", "0")),
                ("sec.core", "CORE_ID", ("node-1", "x" * 200, "a b", ""))):
            for value in values:
                with self.subTest(name=name, value=value):
                    result = self.settings("set", namespace, f"{name}={value}")
                    self.assertEqual((result.code, result.err), (DONE, ""), result)
                    self.assertEqual(self.settings("get", namespace).code, DONE, "the tools still reach the node")
            self.assertEqual(self.settings("clear", namespace, name).code, DONE)

    def test_the_bounds_are_those_of_the_server(self):
        for key in self.settings("keys", "vox.http.ext.conf", "--json").json()["keys"]:
            bounds = re.search(r"(\d+) to (\d+)", key["kind"])
            if not bounds:
                continue
            least, most = map(int, bounds.groups())
            for value, is_good in ((least, True), (most, True), (least - 1, False), (most + 1, False)):
                with self.subTest(key=key["name"], value=value), \
                        Node({"vox.http.ext.conf": {key["name"]: value}}, start=False) as node:
                    if key["name"] == "SERVER_PORT":
                        node.settings["vox.http.ext.conf"]["TARGET_PORT"] = value
                        node.write_settings()
                    said = node.tool("lumconfd", "--check-config").out
                    self.assertEqual(f"is no value for '{key['name']}'" in said, not is_good, said)

    def test_a_key_or_namespace_that_nobody_reads_is_warned_of_with_the_nearest(self):
        for namespace, name, said in (
                ("conf.server", "AUDIT_LOGING", "Nobody reads a key 'AUDIT_LOGING' of [conf.server]; did you mean 'AUDIT_LOGGING'?"),
                ("conf.server", "audit_logging", "did you mean 'AUDIT_LOGGING'?"),
                ("conf.server", "ODD", "Nobody reads a key 'ODD' of [conf.server]."),
                ("conf.sever", "AUDIT_LOGGING", "Nobody reads a namespace [conf.sever]; did you mean 'conf.server'?"),
                ("conf.server", "server_port", "of [conf.server]; 'SERVER_PORT' is a key of [vox.http.ext.conf]."),
                ("conf.core", "WAIT_TIM", "of [conf.core]; 'WAIT_TIME' is a key of [conf.server]."),
                ("CONF.SERVER", "ODD", "Nobody reads a namespace [CONF.SERVER]; did you mean 'conf.server'?"),
                ("Sec.Core", "CORE_ID", "Nobody reads a namespace [Sec.Core]; did you mean 'sec.core'?"),
                ("vox.http.transport", "SERVER_PORT",
                 "Nobody reads a namespace [vox.http.transport]; 'SERVER_PORT' is a key of [vox.http.ext.conf]."),
                ("vox.http.ext", "SERVER_PORT", "Nobody reads a namespace [vox.http.ext]")):
            with self.subTest(namespace=namespace, name=name):
                result = self.settings("set", namespace, f"{name}=1")
                self.assertEqual(result.code, DONE, result)
                self.assertIn(f"lumsettings: warning: ", result.err)
                self.assertIn(said, result.err)
                checked = self.node.tool("lumconfd", "--check-config")
                self.assertEqual(checked.code, DONE, checked)
                self.assertIn("Warning: Nobody reads", checked.out)
                answer = self.settings("set", "--json", namespace, f"{name}=1")
                self.assertEqual(answer.err, "")
                self.assertIn(said.split(";")[0].rstrip("."), answer.json()["warnings"][0]["text"])
                self.assertEqual(self.settings("clear", namespace, name).code, DONE)
        for namespace in ("backup", "com.example.agent", "conf.cluster.RGState.VCS"):
            self.assertEqual(self.settings("set", namespace, "ODD=1").err, "")
            self.settings("clear", namespace)
            self.assertNotIn(namespace, self.node.tool("lumconfd", "--check-config").out)

    def test_a_change_that_would_lock_the_tools_out_is_refused_unless_it_is_forced(self):
        free = free_port()
        for arguments, words in (
                (("set", "vox.http.ext.conf", "TARGET_PORT=1"),
                 [f"The node serves port {self.node.port} (SERVER_PORT), but its own tools call 1 (TARGET_PORT)", "--force"]),
                (("set", "vox.http.ext.conf", "SERVER_PORT=1"), ["The node serves port 1 (SERVER_PORT)"]),
                (("set", "vox.http.ext.conf", f"SERVER_PORT={free}", f"TARGET_PORT={free}"),
                 [f"It serves port {self.node.port} until it is started again", f"would call port {free} (TARGET_PORT) at once",
                  "Start the daemon again", "--force"]),
                (("clear", "vox.http.ext.conf", "TARGET_PORT"), ["call 7443 (TARGET_PORT)"]),
                (("clear", "vox.http.ext.conf"), ["call port 7443 (TARGET_PORT) at once"]),
                (("set", "sec.cm.certificates", "CERT_INSTALLED=true"), ["CORE_ID is empty"]),
                (("set", "-n", "sec.cm.certificates", "CERT_INSTALLED=yes"), ["CORE_ID is empty"])):
            with self.subTest(arguments=arguments):
                self.refused(REFUSED, ["could not reach it any more", *words], *arguments)
        self.assertEqual(self.settings("set", "sec.core", "CORE_ID=node-1").code, DONE)
        self.refused(REFUSED, ["node-1.pem"], "set", "sec.cm.certificates", "CERT_INSTALLED=true")
        both = (f"SERVER_PORT={self.node.port}", f"TARGET_PORT={self.node.port}")
        self.assertEqual(self.settings("set", "vox.http.ext.conf", *both).code, DONE)
        self.assertEqual(self.settings("clear", "sec.core", "CORE_ID").code, DONE)
        with Node() as other:
            forced = other.tool("lumsettings", "set", "--force", "sec.cm.certificates", "CERT_INSTALLED=true")
            self.assertEqual(forced.code, DONE, forced)
            self.assertEqual(other.tool("lumsettings", "get").code, FAILED, "as it was said")

    def test_a_node_moves_to_another_port_by_force_and_a_restart(self):
        with Node() as node:
            port = free_port()
            moved = node.tool("lumsettings", "set", "--force", "vox.http.ext.conf", f"SERVER_PORT={port}", f"TARGET_PORT={port}")
            self.assertEqual(moved.code, DONE, moved)
            self.assertEqual(node.policy("status").code, UNREACHABLE, "as it was said")
            node.stop()
            node.start()
            self.assertIn(f" {port}, plain", node.policy("status").out)

    def test_tools_speak_tls_as_long_as_the_daemon_does_and_no_longer(self):
        authority = pki.Authority()
        self.addCleanup(authority.close)
        with Node(start=False) as node:
            pki.enroll(node, authority, "localhost")
            node.start()
            for arguments in (("set", "sec.cm.certificates", "CERT_INSTALLED=false"),
                              ("set", "sec.cm.certificates", "CERT_INSTALLED=no"),
                              ("clear", "sec.cm.certificates"), ("clear", "sec.cm.certificates", "CERT_INSTALLED")):
                with self.subTest(arguments=arguments):
                    result = node.tool("lumsettings", *arguments)
                    self.assertEqual(result.code, REFUSED, result)
                    self.assertIn("It is served with TLS until it is started again", " ".join(result.err.split()))
                    self.assertEqual(node.tool("lumsettings", "get").code, DONE)
            self.assertEqual(node.tool("lumsettings", "set", "sec.cm.certificates", "CERT_INSTALLED=yes").code, DONE)
        with Node() as node:
            pki.enroll(node, authority, "localhost")
            for key in ("CORE_ID", "CERT_INSTALLED"):
                node.settings["sec.core" if key == "CORE_ID" else "sec.cm.certificates"].pop(key)
            node.write_settings()
            self.assertEqual(node.tool("lumsettings", "set", "sec.core", "CORE_ID=localhost").code, DONE)
            result = node.tool("lumsettings", "set", "sec.cm.certificates", "CERT_INSTALLED=true")
            self.assertEqual(result.code, REFUSED, result)
            self.assertIn("It is served without TLS until it is started again", " ".join(result.err.split()))


    def test_with_a_certificate_an_address_where_localhost_is_not_is_refused_unless_it_is_forced(self):
        authority = pki.Authority()
        self.addCleanup(authority.close)
        with Node(start=False) as node:
            pki.enroll(node, authority, "localhost")
            node.start()
            for address in ("192.0.2.9", "2001:db8::9", "::ffff:192.0.2.9", " 192.0.2.9 ", "fe80::9%none", "127.0.0.2",
                            "::ffff:127.0.0.2"):
                with self.subTest(address=address):
                    result = node.tool("lumsettings", "set", "vox.http.ext.conf", f"BIND_ADDRESS={address}")
                    self.assertEqual(result.code, REFUSED, result)
                    for words in (f"served on {address.strip()} alone (BIND_ADDRESS), and they call 'localhost'",
                                  f"by --host {address.strip()}", "--force"):
                        self.assertIn(words, " ".join(result.err.split()))
            for address in ("", "0.0.0.0", "::", "0:0:0:0:0:0:0:0", "127.0.0.1", "::1", "::ffff:127.0.0.1"):
                with self.subTest(address=address):
                    result = node.tool("lumsettings", "set", "vox.http.ext.conf", f"BIND_ADDRESS={address}")
                    self.assertEqual((result.code, result.err), (DONE, ""))
            self.assertEqual(node.tool("lumsettings", "clear", "vox.http.ext.conf", "BIND_ADDRESS").code, DONE)
            forced = node.tool("lumsettings", "set", "--force", "vox.http.ext.conf", "BIND_ADDRESS=192.0.2.9")
            self.assertEqual(forced.code, DONE, forced)
        with Node({"vox.http.ext.conf": {"BIND_ADDRESS": "192.0.2.9"}}) as node:
            other = node.tool("lumsettings", "set", "vox.http.ext.conf", "BIND_ADDRESS=192.0.2.10")
            self.assertEqual(other.code, DONE, "without a certificate it does not count")
            pki.enroll(node, authority, "localhost")
            node.settings["sec.cm.certificates"].pop("CERT_INSTALLED")
            node.write_settings()
            result = node.tool("lumsettings", "set", "sec.cm.certificates", "CERT_INSTALLED=true")
            self.assertEqual(result.code, REFUSED, result)
            self.assertIn("by --host 192.0.2.9", " ".join(result.err.split()))


class Check(unittest.TestCase):
    """What --check-config sees before a daemon does."""

    @classmethod
    def setUpClass(cls):
        cls.authority = pki.Authority()
        cls.addClassCleanup(cls.authority.close)
        cls.issued = cls.authority.issue("node-1")

    def node(self, issued=None, settings=None):
        node = Node(settings, start=False)
        self.addCleanup(node.close)
        if issued:
            pki.enroll(node, self.authority, "node-1", issued)
        return node

    def checked(self, node, code, *words):
        result = node.tool("lumconfd", "--check-config")
        self.assertEqual(result.code, code, result)
        self.assertEqual(result.out.splitlines()[0], f"root: {node.root}/")
        for word in words:
            self.assertIn(word, result.out)
        return result.out

    def test_a_node_in_order_is_not_warned(self):
        self.assertNotIn("Warning", self.checked(self.node(self.issued), DONE, "the configuration is in order"))

    def test_a_key_or_namespace_that_nobody_reads_is_warned_of_with_the_nearest(self):
        for namespace, name, said in (
                ("conf.server", "AUDIT_LOGING", "a key 'AUDIT_LOGING' of [conf.server]; did you mean 'AUDIT_LOGGING'?"),
                ("conf.server", "audit_logging", "did you mean 'AUDIT_LOGGING'?"),
                ("conf.server", "ODD", "Nobody reads a key 'ODD' of [conf.server].\n"),
                ("conf.sever", "WAIT_TIME", "Nobody reads a namespace [conf.sever]; did you mean 'conf.server'?")):
            with self.subTest(namespace=namespace, name=name):
                self.checked(self.node(settings={namespace: {name: "1"}}), DONE, "Warning: Nobody reads", said)
        for namespace in ("backup", "com.example.agent", "conf.cluster.RGState.VCS"):
            self.assertNotIn("Warning", self.checked(self.node(settings={namespace: {"ODD": "1"}}), DONE))

    def test_ports_that_part_are_told(self):
        node = self.node(settings={"vox.http.ext.conf": {"TARGET_PORT": "1"}})
        self.checked(node, FAILED, f"The node serves port {node.port} (SERVER_PORT)", "call 1 (TARGET_PORT).",
                     "1 problem")

    def test_an_address_that_the_host_does_not_have_is_warned_of_where_it_counts(self):
        said = "Warning: This host has no address 192.0.2.9 (BIND_ADDRESS) at the moment: the daemon would not start."
        self.checked(self.node(self.issued, {"vox.http.ext.conf": {"BIND_ADDRESS": "192.0.2.9"}}), DONE, said)
        for issued, address in ((None, "192.0.2.9"), (self.issued, "127.0.0.1"), (self.issued, "0.0.0.0"),
                                (self.issued, "::"), (self.issued, "")):
            with self.subTest(address=address):
                node = self.node(issued, {"vox.http.ext.conf": {"BIND_ADDRESS": address}})
                self.assertNotIn("Warning", self.checked(node, DONE))

    def test_an_own_certificate_out_of_its_time_is_told(self):
        for times, said in ((("20200101000000Z", "20210101000000Z"), "is not valid any more"),
                            (("20900101000000Z", "20910101000000Z"), "is not valid yet")):
            with self.subTest(said=said):
                node = self.node(self.authority.issue_for("node-1", *times))
                self.checked(node, FAILED, "The node's own certificate", "own/node-1.pem", said, "'lumtrust request'",
                             "1 problem")

    def test_a_foreign_key_and_a_weak_one_are_told(self):
        node = self.node((self.issued[0], self.authority.key))
        self.checked(node, FAILED, "it does not belong to the certificate", "1 problem")
        node = self.node()
        own = node.root / "etc/keystore/own"
        own.mkdir(parents=True)
        pki.openssl("req", "-x509", "-newkey", "rsa:1024", "-nodes", "-subj", "/CN=node-1", "-days", "1", "-keyout",
                    own / "node-1.key", "-out", own / "node-1.pem")
        pki.enroll(node, self.authority, "node-1", (own / "node-1.pem", own / "node-1.key"))
        self.checked(node, FAILED, "its key is too short", "1 problem")

    def test_a_weak_trusted_certificate_is_warned_of(self):
        for made, said in ((("rsa:1024", "-sha1"), "its key is too short"), (("rsa:2048", "-sha256"), None)):
            with self.subTest(made=made):
                node = self.node(self.issued)
                trusted = node.root / "etc/keystore/trusted/old.pem"
                pki.openssl("req", "-x509", "-newkey", *made, "-nodes", "-subj", "/CN=old", "-days", "1", "-keyout",
                            node.folder / "old.key", "-out", trusted)
                # One behind a good one counts too.
                trusted.write_bytes(self.authority.certificate.read_bytes() + trusted.read_bytes())
                said_of_it = self.checked(node, DONE)
                if said:
                    self.assertIn(f"Warning: The trusted certificate '{trusted}': {said}", said_of_it)
                else:
                    self.assertNotIn("Warning", said_of_it)

    def test_key_files_that_others_may_read_are_told(self):
        node = self.node(self.issued)
        key = node.root / "etc/keystore/own/node-1.key"
        key.chmod(0o640)
        self.checked(node, FAILED, f"The key file '{key}' is open to others (mode 0640)", "chmod 600", "1 problem")

    def test_trust_that_is_gone_or_lacks_is_warned_of(self):
        node = self.node(self.issued)
        trusted = node.root / "etc/keystore/trusted/ca.pem"
        self.authority.renew(trusted, "20200101000000Z", "20210101000000Z")
        self.checked(node, DONE, f"Warning: The trusted certificate '{trusted}'", "is not valid any more")
        trusted.unlink()
        self.checked(node, DONE, "Warning: No certificate is trusted", "'lumtrust trust FILE'")

    def test_a_settings_policy_that_breaks_the_merge_is_named(self):
        with Node() as node:
            folder = node.folder / "p"
            folder.mkdir()
            path = write_policy(folder, "broken", files={"s.ini": b"[a]\nx=1\nnonsense\n"}, type_name="configsettings")
            node.policy("install", "--no-notify", path)
            node.stop()
            self.checked(node, FAILED, "s.ini", "Line 3")


if __name__ == "__main__":
    unittest.main()
