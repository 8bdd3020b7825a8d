#!/usr/bin/python3
"""What a node tells of how it fares: the page for balancers, the metrics, and the status that people read."""
import contextlib
import http.client
import os
import pathlib
import re
import signal
import subprocess
import tempfile
import threading
import time
import unittest

import requests
from requests.auth import HTTPDigestAuth

import pki
import wire
from node import (DONE, EXAMPLES, FAILED, PATIENCE_S, REFUSED, UNREACHABLE, WRONG_USAGE, Node, free_port, wait_until,
                  write_policy)

LONG = bool(os.environ.get("LUM_LONG"))
BACKUP = EXAMPLES / "7c1f6a52-2d0e-4b39-9d77-0b6f8a1e4c11_header.xml"


def settings_policy(folder, text, policy_id="broken"):
    return write_policy(folder, policy_id, {f"{policy_id}.ini": text.encode()}, name=policy_id, type_name="configsettings", owner="")


class HealthTest(unittest.TestCase):
    def node(self, settings=None, **keywords):
        node = Node(settings, **keywords)
        self.addCleanup(node.close)
        return node

    def tls_node(self, rights=None):
        """A node with a certificate, and what makes a client's context: of a caller with this name, or of nobody."""
        authority = self.authority = pki.Authority()
        self.addCleanup(authority.close)
        node = self.node(start=False)
        pki.enroll(node, authority, "localhost")
        node.write_rights(rights or {})
        node.start()

        def context(name=None):
            made = pki.client_context(authority, authority.issue(name) if name else None)
            made.check_hostname = False
            return made
        return node, context

    def get(self, node, path, method="GET", headers=None, context=None):
        """(status, headers, text)"""
        if context:
            connection = http.client.HTTPSConnection("127.0.0.1", node.port, timeout=10, context=context)
        else:
            connection = http.client.HTTPConnection("127.0.0.1", node.port, timeout=10)
        self.addCleanup(connection.close)
        connection.request(method, path, headers=headers or {})
        answer = connection.getresponse()
        return answer.status, answer.headers, answer.read().decode()

    def metrics(self, node, **keywords):
        """{name with labels: value}"""
        status, headers, text = self.get(node, "/metrics", headers={"Authorization": wire.secret_of(node)}, **keywords)
        self.assertEqual(status, 200, text)
        self.assertTrue(headers["Content-Type"].startswith("text/plain; version=0.0.4"))
        lines = [line.rsplit(" ", 1) for line in text.splitlines() if not line.startswith("#")]
        return {name: float(value) for name, value in lines}


class Page(HealthTest):
    def test_anybody_learns_that_the_node_serves_and_nothing_else(self):
        node = self.node()
        status, _, text = self.get(node, "/healthz")
        self.assertEqual((status, text), (200, "ok\n"))
        status, headers, text = self.get(node, "/healthz", method="HEAD")
        self.assertEqual((status, text), (200, ""))

    def test_a_page_is_read_alone(self):
        node = self.node()
        for method in ("POST", "PUT", "DELETE"):
            for path in ("/healthz", "/metrics"):
                status, headers, _ = self.get(node, path, method=method)
                self.assertEqual((status, headers["Allow"]), (405, "GET, HEAD"), (method, path))
        self.assertEqual(self.get(node, "/healthz/")[0], 404)
        self.assertEqual(self.get(node, wire.PATH)[0], 405)

    def test_a_page_of_a_name_that_is_not_the_nodes_is_refused(self):
        node = self.node()
        for path in ("/healthz", "/metrics"):
            self.assertEqual(self.get(node, path, headers={"Host": "elsewhere.example"})[0], 421)

    def test_over_tls_a_client_without_a_certificate_learns_that_it_serves(self):
        node, context = self.tls_node()
        self.assertEqual(self.get(node, "/healthz", context=context())[0], 200)
        self.assertEqual(self.get(node, "/metrics", context=context())[0], 403)

    def test_ten_thousand_readers_hold_up_no_administrator(self):
        node = self.node()
        answers = []

        def read_often():
            with contextlib.closing(http.client.HTTPConnection("127.0.0.1", node.port, timeout=PATIENCE_S)) as reader:
                for _ in range(2500):
                    reader.request("GET", "/healthz")
                    answers.append(reader.getresponse().read())

        readers = [threading.Thread(target=read_often) for _ in range(4)]
        for reader in readers:
            reader.start()
        asked = 0
        while any(reader.is_alive() for reader in readers):
            self.assertEqual(node.policy("status", "--timeout", "10").code, DONE)
            asked += 1
        for reader in readers:
            reader.join()
        self.assertGreater(asked, 0)
        self.assertEqual((len(answers), set(answers)), (10000, {b"ok\n"}))


class Metrics(HealthTest):
    def test_they_are_for_who_proves_the_secret_or_may_list(self):
        node = self.node()
        status, headers, _ = self.get(node, "/metrics")
        self.assertEqual(status, 401)
        self.assertTrue(headers["WWW-Authenticate"].startswith("Digest "))
        secret = (node.root / "etc/local.secret").read_text()
        for word, expected in ((secret, 200), ("0" * len(secret), 401)):
            answer = requests.get(f"http://127.0.0.1:{node.port}/metrics", timeout=PATIENCE_S,
                                  auth=HTTPDigestAuth(f"local-{node.port}", word))
            self.assertEqual(answer.status_code, expected)
        self.assertIn('lumconf_policies{status="enabled"}', self.metrics(node))

    def test_over_tls_the_right_to_list_opens_them(self):
        node, context = self.tls_node({"watcher": "list", "other": "install"})
        for name, expected in (("watcher", 200), ("other", 403), ("localhost", 403)):
            self.assertEqual(self.get(node, "/metrics", context=context(name))[0], expected, name)

    def test_a_key_opens_them_to_this_host_while_it_is_set(self):
        node = self.node()
        self.assertEqual(self.get(node, "/metrics")[0], 401)
        node.settings["conf.server"]["METRICS_ON_LOOPBACK"] = "true"
        node.write_settings()
        wait_until(lambda: self.get(node, "/metrics")[0] == 200, "the key counts")
        node.settings["conf.server"]["METRICS_ON_LOOPBACK"] = "false"
        node.write_settings()
        wait_until(lambda: self.get(node, "/metrics")[0] == 401, "the key counts no longer")

    def test_each_request_is_counted_by_method_and_value(self):
        node = self.node()
        node.consumer("CHECK_POLICY:*")
        node.policy("list")
        self.assertEqual(node.policy("install", BACKUP).code, DONE)
        node.policy("list")
        wire.ask(node, wire.list_call(), secret="LumLocal wrong")
        wire.ask(node, wire.call("unknown"))
        wire.ask(node, wire.call("checkpolicy"), path=wire.CHECK_PATH)
        metrics = self.metrics(node)
        for labels, count in (('method="list",value="2"', 1), ('method="list",value="1"', 1),
                              ('method="install",value="1"', 1), ('method="list",value="8"', 1),
                              ('method="checkpolicy",value="1"', 1)):
            self.assertGreaterEqual(metrics[f"lumconf_requests_total{{{labels}}}"], count, labels)
        self.assertEqual(metrics['lumconf_refused_total{operation="list"}'], 1)
        self.assertGreaterEqual(metrics['lumconf_request_duration_seconds_count{method="install"}'], 1)
        self.assertGreater(metrics['lumconf_request_duration_seconds_sum{method="install"}'], 0)
        self.assertGreaterEqual(metrics['lumconf_http_responses_total{code="200"}'], 4)
        self.assertFalse(any("unknown" in name for name in metrics), "a word of a stranger is no label")

    def test_a_call_that_makes_no_value_is_counted_as_a_fault(self):
        node = self.node()
        wire.ask(node, wire.call("checkpolicy", "<a/>" * 1001), path=wire.CHECK_PATH)
        self.assertEqual(self.metrics(node)['lumconf_requests_total{method="checkpolicy",value="fault"}'], 1)

    def test_policies_consumers_and_failed_notifications_are_told(self):
        node = self.node()
        for policy_id, status in (("a", "enabled"), ("b", "disabled"), ("c", "perhaps")):
            node.policy("install", write_policy(node.folder / "source", policy_id, name=policy_id, status=status, owner=""))
        metrics = self.metrics(node)
        for status in ("enabled", "disabled", "other"):
            self.assertEqual(metrics[f'lumconf_policies{{status="{status}"}}'], 1)
        self.assertGreaterEqual(metrics["lumconf_notifications_failed_total"], 3)
        self.assertEqual(metrics["lumconf_consumers"], 0)
        node.policy("disable", "--no-notify", "--id", "a")
        node.consumer("CHECK_POLICY:*")
        metrics = self.metrics(node)
        self.assertEqual(metrics["lumconf_notifications_queued"], 1)
        self.assertEqual(metrics["lumconf_consumers"], 1)

    def test_a_broken_merge_shows_until_it_is_mended(self):
        node = self.node()
        self.assertEqual(self.metrics(node)["lumconf_settings_broken"], 0)
        node.policy("install", "--no-notify", settings_policy(node.folder / "source", "no line of settings\n"))
        node.policy("notify")
        wait_until(lambda: self.metrics(node)["lumconf_settings_broken"] == 1, "the merge is broken")
        self.assertGreaterEqual(self.metrics(node)["lumconf_settings_merge_failures_total"], 1)
        node.policy("remove", "--id", "broken")
        wait_until(lambda: self.metrics(node)["lumconf_settings_broken"] == 0, "the merge is mended")

    def test_counters_without_labels_are_told_before_their_first_event(self):
        metrics = self.metrics(self.node())
        for name in ("notifications_failed", "settings_merge_failures", "tls_handshakes_failed"):
            self.assertEqual(metrics[f"lumconf_{name}_total"], 0, name)

    def test_the_end_of_each_certificate_is_told_in_seconds(self):
        node, context = self.tls_node({"watcher": "list"})
        text = self.get(node, "/metrics", context=context("watcher"))[2]
        for kind in ("own", "trusted"):
            left = float(re.search(rf'lumconf_certificate_seconds_left{{kind="{kind}",name="[^"]*"}} (\S+)', text).group(1))
            self.assertTrue(3600 < left < 40 * 365 * 86400, left)

    def test_a_handshake_that_fails_is_counted(self):
        node, context = self.tls_node({"watcher": "list"})
        connection = http.client.HTTPConnection("127.0.0.1", node.port, timeout=10)
        self.addCleanup(connection.close)
        with self.assertRaises((OSError, http.client.HTTPException)):
            connection.request("GET", "/healthz")
            connection.getresponse()
        self.assertIn("lumconf_tls_handshakes_failed_total 1", self.get(node, "/metrics", context=context("watcher"))[2])


class Status(HealthTest):
    def test_it_tells_people_what_they_ask_first(self):
        node = self.node()
        node.policy("install", "--no-notify", BACKUP)
        told = node.policy("status")
        self.assertEqual(told.code, DONE, told)
        for line in (rf"serving +version \d", rf"port +{node.port}, plain, on loopback alone", r"policies +1: 1 enabled, 0 disabled",
                     r"settings +merged", r"notifications +1 queued, for 0 consumers", r"cluster +none is followed"):
            self.assertRegex(told.out, rf"(?m)^{line}")
        daemon = node.tool("lumconfd", "--status")
        self.assertEqual(daemon.code, DONE, daemon)
        self.assertRegex(daemon.out, r"(?m)^policies +1: 1 enabled")

    def test_it_tells_scripts_the_same(self):
        node = self.node()
        told = node.policy("status", "--json").json()
        self.assertEqual((told["schema"], told["result"], told["port"], told["tls"], told["policies"]),
                         (1, "done", node.port, False, 0))
        self.assertAlmostEqual(told["started"], time.time(), delta=120)
        self.assertEqual((told["certificates"], told["errors"], told["settings_broken"]), ([], [], ""))
        daemon = node.tool("lumconfd", "--status", "--json").json()
        self.assertEqual(daemon.keys(), told.keys())
        self.assertEqual((daemon["host"], daemon["result"], daemon["code"], daemon["port"]),
                         ("localhost", "done", DONE, node.port))
        self.assertEqual(node.tool("lumconfd", "--status", "--quiet").out, "")
        self.assertEqual(node.tool("lumconfd", "--json").code, WRONG_USAGE)

    def test_what_has_to_be_mended_ends_it_with_a_failure(self):
        node = self.node()
        node.policy("install", "--no-notify", settings_policy(node.folder / "source", "no line of settings\n"))
        node.policy("notify")
        wait_until(lambda: node.policy("status").code == FAILED, "the merge is broken")
        told = node.policy("status")
        self.assertRegex(told.out, r"(?m)^settings +BROKEN: ")
        self.assertIn("broken.ini", told.out)
        self.assertIn("settings policies cannot be merged", told.err)
        self.assertRegex(told.out, r"(?m)^error +\d{4}-\d\d-\d\d .*Line 1 of 'broken\.ini")
        self.assertEqual(node.tool("lumconfd", "--status").code, FAILED)

    def test_it_tells_how_the_port_is_served_and_not_what_the_settings_say_by_now(self):
        node, context = self.tls_node({"watcher": "list"})
        issued = self.authority.issue("watcher")
        home = self.node(start=False)
        pki.enroll(home, self.authority, "watcher", issued)
        def told(*arguments):
            return home.policy("status", "--host", f"localhost:{node.port}", *arguments)
        def certificates():
            return [(one["kind"], one["name"], one["end"]) for one in told("--json").json()["certificates"]]
        before = certificates()
        self.assertEqual([kind for kind, *_ in before], ["own", "trusted"])
        node.settings["sec.cm.certificates"]["CERT_INSTALLED"] = "false"
        node.write_settings()
        for how in ("at once", "after a reload"):
            with self.subTest(how):
                self.assertRegex(told().out, rf"(?m)^port +{node.port}, TLS")
                self.assertEqual(certificates(), before)
                metrics = self.get(node, "/metrics", context=context("watcher"))[2]
                self.assertIn('lumconf_certificate_seconds_left{kind="own",name="localhost"}', metrics)
                node.daemon.send_signal(signal.SIGHUP)
                wait_until(lambda: "keeps its identity" in node.log, "the settings are looked at")
        node.settings["sec.cm.certificates"]["CERT_INSTALLED"] = "true"
        node.write_settings()
        (node.root / "etc/keystore/own/localhost.pem").unlink()
        self.assertEqual(certificates(), before)

    def test_it_is_told_while_the_node_waits_for_a_consumer(self):
        node = self.node({"conf.core": {"CONTROL_ACK_TIMEOUT": "20"}})
        waits = node.folder / "waits"
        node.consumer("CHECK_POLICY:*", arguments=("--exec", f"/bin/sh -c \"touch {waits}; sleep 20\""))
        install = subprocess.Popen(node.command("lumpolicy", "install", BACKUP), env=node.environment(),
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(install.wait)
        self.addCleanup(install.kill)
        wait_until(waits.exists, "the consumer has its event")
        told = node.policy("status", "--json").json()
        self.assertEqual((told["result"], told["policies"]), ("done", 1))
        self.assertIsNone(install.poll(), "the install still waits")

    def test_who_may_not_list_is_refused_and_named_in_the_audit_log(self):
        node = self.node()
        node.use_no_secret()
        told = node.policy("status")
        self.assertEqual(told.code, REFUSED, told)
        self.assertTrue(any("nodeStatus" in line for line in node.audit()), node.audit())

    def test_of_many_nodes_each_is_told_and_one_that_is_down_holds_up_none(self):
        node = self.node()
        told = node.policy("status", "--host", "localhost", "--host", f"127.0.0.1:{free_port()}")
        self.assertRegex(told.out, r"(?m)^localhost +ok ")
        self.assertRegex(told.out, r"(?m)^127\.0\.0\.1:\d+ +unreachable *$", "why is told on standard error")
        self.assertIn("2 nodes: 1 done, 1 unreachable", told.out)

    def test_a_daemon_that_does_not_run_is_said_so(self):
        node = self.node(start=False)
        told = node.tool("lumconfd", "--status")
        self.assertEqual(told.code, FAILED, told)
        self.assertIn("does not serve", told.err)
        answer = node.tool("lumconfd", "--status", "--json")
        self.assertEqual((answer.code, answer.json()["result"], answer.json()["code"]), (FAILED, "failed", FAILED))
        self.assertEqual(node.policy("status").code, UNREACHABLE)
        self.assertEqual(node.tool("lumconfd", "--status", "--check-config").code, WRONG_USAGE)


class Linted(HealthTest):
    """What its makers' own tool says of the metrics. It is unpacked alone: no daemon of its package starts."""

    def test_promtool_finds_nothing_wrong_with_the_metrics(self):
        with tempfile.TemporaryDirectory(prefix="lumprom.") as folder:
            subprocess.run(["apt-get", "-o", "APT::Sandbox::User=", "download", "-qq", "prometheus"], cwd=folder, check=True)
            package, = pathlib.Path(folder).glob("*.deb")
            subprocess.run(["dpkg", "-x", package, folder], check=True)
            node = self.node({"conf.server": {"METRICS_ON_LOOPBACK": "true"}})
            node.policy("install", BACKUP)
            node.list()
            _, _, text = self.get(node, "/metrics")
            told = subprocess.run([f"{folder}/usr/bin/promtool", "check", "metrics"], input=text, text=True,
                                  capture_output=True)
            self.assertEqual((told.returncode, told.stdout, told.stderr), (0, "", ""))


def load_tests(loader, suite, _):
    return suite if LONG else unittest.TestSuite(each for each in suite if not any(isinstance(one, Linted) for one in each))


if __name__ == "__main__":
    unittest.main()
