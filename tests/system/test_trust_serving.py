#!/usr/bin/python3
"""Keys, certificates and rights that change while the daemon serves."""
import ssl
import subprocess
import threading
import unittest

import wire
from node import DONE, FAILED, NOT_FOUND, REFUSED, TOOLS, wait_until, write_policy
from test_trust_tool import AUTHORITY, TrustTest


class Serving(TrustTest):
    def test_rights_count_at_once(self):
        self.equip()
        self.node.start()
        client = self.client()
        policy = write_policy(client.folder / "source", "p1")
        self.assertEqual(client.policy("install", "--no-notify", policy).code, REFUSED)
        self.trust("grant", "operator", "install", "list", words=["The running daemon has taken it up."])
        self.assertEqual(client.policy("install", "--no-notify", policy).code, DONE)
        self.trust("revoke", "operator", "install")
        self.assertEqual(client.policy("install", "--no-notify", policy).code, REFUSED)
        self.assertEqual(client.policy("list").code, DONE)

    def context_of(self, client, core_id):
        """What a client of another make, with this client's certificate, would use."""
        own = client.root / "etc/keystore/own"
        context = ssl.create_default_context(cafile=str(self.keystore(f"trusted/{AUTHORITY}.pem")))
        context.load_cert_chain(own / f"{core_id}.pem", own / f"{core_id}.key")
        return context

    def serial(self, context):
        with wire.socket.create_connection(("127.0.0.1", self.node.port)) as plain:
            with context.wrap_socket(plain, server_hostname="localhost") as secure:
                return secure.getpeercert()["serialNumber"]

    def test_a_new_certificate_counts_for_new_connections_and_open_ones_go_on(self):
        self.equip()
        self.node.start()
        context = ssl.create_default_context(cafile=str(self.keystore(f"trusted/{AUTHORITY}.pem")))
        first = self.serial(context)
        with wire.Connection(self.node.port, context) as kept:
            self.assertEqual(kept.exchange(wire.post(wire.call("mgrconf"))).status, 200)
            self.trust("install", self.issue("node-1"), words=["The running daemon has taken it up."])
            self.assertEqual(kept.exchange(wire.post(wire.call("mgrconf"))).status, 200)
        self.assertNotEqual(self.serial(context), first)
        self.assertEqual(self.node.list(), [])

    def test_no_request_fails_while_certificates_are_renewed_and_rights_are_changed(self):
        self.equip()
        self.node.start()
        self.trust("grant", "operator", "list")
        client = self.client()
        context = self.context_of(client, "operator")
        stop, failures, calls = threading.Event(), [], {"kept": 0, "new": 0, "tool": 0, "operator": 0}

        def repeat(name, call):
            try:
                while not stop.is_set():
                    call()
                    calls[name] += 1
            except BaseException as e:
                failures.append(f"{name}: {e!r}")

        def new_connection():
            answer = wire.exchange(self.node, wire.post(wire.list_call()), context)
            self.assertEqual(answer.value(), wire.NO_POLICIES)

        def tool(node):
            result = node.policy("list")
            self.assertEqual(result.code, DONE, result)

        with wire.Connection(self.node.port, context) as kept:
            def kept_connection():
                self.assertEqual(kept.exchange(wire.post(wire.list_call())).value(), wire.NO_POLICIES)

            callers = [threading.Thread(target=repeat, args=work) for work in
                       (("kept", kept_connection), ("new", new_connection), ("tool", lambda: tool(self.node)),
                        ("operator", lambda: tool(client)))]
            for caller in callers:
                caller.start()
            try:
                for i in range(6):
                    self.trust("install", self.issue("node-1"), words=["The running daemon has taken it up."])
                    self.trust("install", self.issue("operator", client), node=client)
                    self.trust("grant", f"other{i}", "install", "list")
                    self.trust("revoke", f"other{i}")
                before = dict(calls)
                wait_until(lambda: failures or all(calls[name] > before[name] for name in calls), "each goes on")
            finally:
                stop.set()
                for caller in callers:
                    caller.join()
        self.assertEqual(failures, [])
        self.assertNotIn("ERROR", self.node.log)

    def test_a_request_that_is_under_way_is_answered_although_everything_changes(self):
        self.equip()
        self.node.start()
        self.trust("grant", "operator", "list")
        client = self.client()
        request = wire.post(wire.list_call())
        with wire.Connection(self.node.port, self.context_of(client, "operator")) as connection:
            connection.send(request[:-10])
            self.trust("install", self.issue("node-1"))
            self.trust("untrust", "--force", AUTHORITY)
            connection.send(request[-10:])
            self.assertEqual(connection.answer().value(), wire.NO_POLICIES)

    def test_changes_of_rights_at_once_lose_none(self):
        for serving in (False, True):
            if serving:
                self.node.start()
            senders = [f"sender-{serving}-{i}" for i in range(12)]
            tools = [subprocess.Popen([TOOLS / "lumtrust", "grant", sender, "list"], env=self.node.environment(),
                                      stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True) for sender in senders]
            said = [tool.communicate()[0] for tool in tools]
            self.assertEqual([tool.returncode for tool in tools], [DONE] * len(tools), said)
            held = {row["sender"] for row in self.trust("rights", "--json").json()["rights"]}
            self.assertLessEqual(set(senders), held)
        self.assertEqual((self.node.root / "etc/lumtrust.lock").stat().st_mode & 0o777, 0o600)

    def test_the_log_says_once_that_a_certificate_ends_soon_and_anew_of_a_renewed_one(self):
        self.equip()
        self.node.start()
        own, trusted = "WARNING The node's certificate of 'node-1'", f"WARNING The trusted certificate of '{AUTHORITY}'"
        wait_until(lambda: own in self.node.log and trusted in self.node.log, "it is said at the start")
        self.assertIn("in less than 7 day(s)", self.node.log)
        self.assertIn("in less than 30 day(s)", self.node.log)
        self.trust("grant", "operator", "list")
        self.trust("install", self.issue("node-1"))
        wait_until(lambda: self.node.log.count(own) == 2, "the renewed one is another one")
        self.trust("grant", "somebody", "list")
        self.assertEqual(self.node.stop(), 0)
        self.assertEqual((self.node.log.count(own), self.node.log.count(trusted)), (2, 1))

    def test_what_a_node_with_a_certificate_counts_is_read_on_its_host_over_tls(self):
        self.node.settings["conf.server"]["METRICS_ON_LOOPBACK"] = "true"
        self.node.write_settings()
        self.equip()
        self.node.start()
        client = self.client()
        own, authority = client.root / "etc/keystore/own", self.keystore(f"trusted/{AUTHORITY}.pem")
        certificate = ("--cert", own / "operator.pem", "--key", own / "operator.key")

        def status(*options):
            done = subprocess.run(["curl", "-s", "-o", "/dev/null", "-w", "%{http_code}", "--cacert", authority, *options,
                                   f"https://localhost:{self.node.port}/metrics"], capture_output=True, text=True)
            return done.stdout

        self.assertEqual(status(), "200")
        self.assertEqual(self.node.tool("lumsettings", "set", "conf.server", "METRICS_ON_LOOPBACK=false").code, DONE)
        self.assertEqual((status(), status(*certificate)), ("403", "403"))
        self.trust("grant", "operator", "list")
        self.assertEqual((status(), status(*certificate)), ("403", "200"))

    def test_a_node_without_a_certificate_gets_one_while_it_serves(self):
        self.node.start()
        self.assertEqual(self.node.list(), [])
        self.equip()
        self.assertEqual(self.node.list(), [])
        self.assertEqual(self.client().policy("list").code, REFUSED)

    def test_who_is_no_longer_trusted_is_no_longer_let_in(self):
        self.equip()
        self.node.start()
        client = self.client()
        self.trust("grant", "operator", "list")
        self.assertEqual(client.policy("list").code, DONE)
        self.trust("untrust", "--force", AUTHORITY)
        self.assertNotIn(client.policy("list").code, (DONE, NOT_FOUND))

    def test_whoever_alone_vouches_for_the_node_is_not_given_up_unless_forced(self):
        self.trust("trust", self.authority() / f"{AUTHORITY}.pem")
        self.trust("untrust", AUTHORITY)
        self.equip()
        self.trust("trust", self.authority("other") / f"{AUTHORITY}.pem", "--alias", "other")
        self.node.start()
        self.trust("untrust", AUTHORITY, code=FAILED, words=["alone vouches for the certificate of this node", "--force"])
        self.assertTrue(self.keystore(f"trusted/{AUTHORITY}.pem").exists())
        self.assertEqual(self.node.list(), [])
        self.trust("trust", self.authority() / f"{AUTHORITY}.pem", "--alias", "the same")
        self.trust("untrust", AUTHORITY)
        self.trust("untrust", "the same", code=FAILED, words=["alone vouches"])
        self.trust("install", self.issue("node-1", folder=self.authority("other")))
        self.trust("untrust", "the same")
        self.assertEqual(self.node.list(), [])
        self.trust("untrust", "other", "--force", words=["no longer trusted: other"])
        self.assertEqual(self.files(), ["own/node-1.key", "own/node-1.pem"])

    def test_authorities_of_one_name_are_told_apart(self):
        self.equip()
        self.node.start()
        for alias in ("a", "z"):
            self.trust("trust", self.authority(alias) / f"{AUTHORITY}.pem", "--alias", alias)
            self.assertEqual(self.node.list(), [])
        self.trust("install", self.issue("node-1", folder=self.authority("z")))
        self.assertEqual(self.node.list(), [])

    def test_a_node_whose_own_certificate_is_trusted_for_itself_keeps_it_unless_forced(self):
        self.equip()
        self.trust("trust", self.keystore("own/node-1.pem"), "--alias", "itself")
        self.trust("untrust", AUTHORITY)
        self.trust("untrust", "itself", code=FAILED, words=["alone vouches"])
        self.trust("untrust", "itself", "--force")

    def test_trust_that_the_daemon_cannot_take_up_is_not_called_taken_up(self):
        self.equip()
        self.node.start()
        good = self.keystore("own/node-1.key").read_text()
        self.keystore("own/node-1.key").write_text("broken")
        said = self.trust("untrust", "--force", AUTHORITY, code=FAILED, words=["does not count yet", "node-1.key"])
        self.assertNotIn("has taken it up", said.out)
        self.keystore("own/node-1.key").write_text(good)
        self.trust("trust", self.authority() / f"{AUTHORITY}.pem", words=["The running daemon has taken it up."])

    def test_a_key_that_is_broken_leaves_the_last_good_one_and_the_daemon_serving(self):
        self.equip()
        self.node.start()
        self.keystore("own/node-1.key").write_text("broken")
        self.trust("grant", "operator", "list")
        self.assertIn("the last good ones stay", self.node.log)
        context = ssl.create_default_context(cafile=str(self.keystore(f"trusted/{AUTHORITY}.pem")))
        self.assertTrue(self.serial(context))
        self.assertEqual(self.node.stop(), 0)


if __name__ == "__main__":
    unittest.main()
