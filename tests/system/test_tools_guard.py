#!/usr/bin/python3
"""Settings policies after which a node's own tools could not reach it: the tools refuse them, unless they are forced."""
import unittest

import pki
from node import DONE, NOTHING_TO_DO, REFUSED, Node, wait_until, write_policy


class SettingsPolicies(unittest.TestCase):
    """They change the settings of the node as well, and are held to the same."""

    def setUp(self):
        self.node = Node()
        self.addCleanup(self.node.close)
        self.source = self.node.folder / "source"

    def policy(self, policy_id, text, **fields):
        return write_policy(self.source, policy_id, {f"{policy_id}.ini": text.encode()}, name=policy_id, owner="",
                            type_name="configsettings", **fields)

    def by_policies(self):
        """Without local ports: those of policies count."""
        port = self.node.port
        self.node.policy("install", self.policy("base", f"[vox.http.ext.conf]\nSERVER_PORT={port}\nTARGET_PORT={port}\n"))
        path = self.node.config / "policy_settings.ini"
        wait_until(lambda: path.exists() and "TARGET_PORT" in path.read_text(), "the policy is merged")
        self.node.settings.pop("vox.http.ext.conf")
        self.node.write_settings()

    def refused(self, *arguments):
        before = self.node.stored()
        result = self.node.policy(*arguments)
        self.assertEqual(result.code, REFUSED, result)
        self.assertIn("the tools of 'localhost' could not reach it any more", " ".join(result.err.split()))
        self.assertIn("--force", result.err)
        self.assertEqual(self.node.stored(), before)
        self.assertEqual(self.node.policy("status").code, DONE)

    def test_what_a_policy_sets_counts_when_the_local_setting_is_cleared(self):
        port, namespace = self.node.port, "vox.http.ext.conf"
        self.node.policy("install", self.policy("same", f"[{namespace}]\nSERVER_PORT={port}\nTARGET_PORT={port}\n"))
        path = self.node.config / "policy_settings.ini"
        wait_until(lambda: path.exists() and "TARGET_PORT" in path.read_text(), "the policy is merged")
        self.assertEqual(self.node.tool("lumsettings", "clear", namespace, "TARGET_PORT").code, DONE)
        self.assertEqual(self.node.tool("lumsettings", "set", namespace, f"TARGET_PORT={port}").code, DONE)
        other = self.policy("same", f"[{namespace}]\nSERVER_PORT={port}\nTARGET_PORT=1\n", version="2")
        self.assertEqual(self.node.policy("install", other).code, DONE, "the local setting is above it")
        wait_until(lambda: "TARGET_PORT=1\n" in path.read_text(), "the policy is merged")
        refused = self.node.tool("lumsettings", "clear", namespace, "TARGET_PORT")
        self.assertEqual(refused.code, REFUSED, refused)
        self.assertEqual(self.node.policy("status").code, DONE)

    def test_one_that_would_lock_the_tools_out_is_not_installed(self):
        self.by_policies()
        wrong = self.policy("wrong", "[vox.http.ext.conf]\nTARGET_PORT=1\n")
        for arguments in (("install", wrong), ("install", "--package", wrong), ("install", "--dry-run", wrong),
                          ("install", "--enable", wrong), ("apply", wrong), ("apply", "--dry-run", wrong)):
            with self.subTest(arguments=arguments):
                self.refused(*arguments)
        broken = self.policy("broken", "[ab")
        missing = self.policy("missing", "[a]\nb=c\n")
        (self.source / "missing.ini").unlink()
        for other in (broken, missing):
            with self.subTest("others are wrong", other=other):
                self.refused("install", "--enable", other, wrong)
                self.refused("install", "--enable", wrong, other)
        disabled = self.node.policy("install", "--disable", "--no-notify", wrong)
        self.assertEqual(disabled.code, DONE, disabled)
        for arguments in (("enable", "--id", "wrong"), ("enable", "--type", "configsettings"),
                          ("enable", "--all"),
                          ("install", "--enable", "--force-state", wrong), ("apply", wrong)):
            with self.subTest(arguments=arguments):
                self.refused(*arguments)

    def test_one_by_which_the_tools_reach_the_node_is_neither_removed_nor_disabled(self):
        self.by_policies()
        empty = self.policy("other", "[n]\na=1\n")
        for arguments in (("remove", "--id", "base"), ("disable", "--id", "base"), ("disable", "--all"),
                          ("remove", "--type", "configsettings"),
                          ("apply", "--prune", "--type", "configsettings", empty)):
            with self.subTest(arguments=arguments):
                self.refused(*arguments)
        forced = self.node.policy("remove", "--force", "--no-notify", "--id", "base")
        self.assertEqual(forced.code, DONE, forced)

    def test_one_that_binds_a_node_with_a_certificate_elsewhere_is_not_installed(self):
        authority = pki.Authority()
        self.addCleanup(authority.close)
        self.node.stop()
        pki.enroll(self.node, authority, "localhost")
        self.node.start()
        elsewhere = self.policy("elsewhere", "[vox.http.ext.conf]\nBIND_ADDRESS=192.0.2.9\n")
        for arguments in (("install", elsewhere), ("install", "--dry-run", elsewhere), ("apply", elsewhere)):
            with self.subTest(arguments=arguments):
                self.refused(*arguments)
        loopback = self.policy("loopback", "[vox.http.ext.conf]\nBIND_ADDRESS=127.0.0.1\n")
        self.assertEqual(self.node.policy("install", loopback).code, DONE)

    def test_what_does_not_concern_the_tools_and_what_local_settings_hide_is_done(self):
        for policy_id, text in (("other", "[n]\na=1\n"), ("hidden", "[vox.http.ext.conf]\nTARGET_PORT=1\n")):
            path = self.policy(policy_id, text)
            for arguments in (("install", path), ("disable", "--id", policy_id), ("enable", "--id", policy_id),
                              ("apply", path), ("remove", "--id", policy_id)):
                with self.subTest(policy=policy_id, arguments=arguments):
                    self.assertIn(self.node.policy(*arguments).code, (DONE, NOTHING_TO_DO))
        self.assertEqual(self.node.stored(), [])


if __name__ == "__main__":
    unittest.main()
