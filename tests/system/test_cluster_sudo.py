#!/usr/bin/python3
"""The lines of sudoers in docs/clusters.md: sudo itself reads them, and lets a node ask its cluster by them."""
import pathlib
import re
import subprocess
import unittest

from cluster import red_hat_files
from node import PATIENCE_S, ROOT
from test_cluster_info import DONE, STRANGER, OnACluster
from test_cluster_products import PRODUCTS

USER = "lum"
# Nobody has a password in the box.
NO_PASSWORDS = "".join(f"{kind} sufficient pam_permit.so\n" for kind in ("auth", "account", "session"))


def documented():
    """{name of a list of commands: [its lines, for each kind of release]}"""
    found = {}
    page = (ROOT / "docs/clusters.md").read_text(encoding="utf-8")
    for block in re.findall(r"^```\n(Cmnd_Alias .*?)^```$", page, re.M | re.S):
        found.setdefault(block.split()[1], []).append(block)
    return found


def visudo(lines):
    """Of sudo's own reader, for which a name that is not used is an error too."""
    return subprocess.run(["/usr/sbin/visudo", "--check", "--strict", "--file=-"], input=lines, capture_output=True,
                          text=True, timeout=PATIENCE_S)


class Lines(unittest.TestCase):
    def test_every_product_that_has_tools_has_lines_of_one_form(self):
        lines = documented()
        self.assertEqual(lines.keys(), {"LUM_" + product.key.upper() for product in PRODUCTS})
        for name, blocks in lines.items():
            for block in blocks:
                self.assertTrue(block.endswith(f"\n{USER} ALL=(root) NOPASSWD: {name}\n"), block)

    def test_sudo_reads_them_alone_and_together(self):
        lines = documented()
        together = "".join(blocks[0] for blocks in lines.values())
        for block in (*sum(lines.values(), []), together):
            result = visudo(block)
            self.assertEqual(result.returncode, 0, result.stderr + block)

    def test_sudo_refuses_what_is_wrong(self):
        for wrong in ("Cmnd_Alias LUM_X = relative/path\n", f"{USER} ALL=(root) NOPASSWD: LUM_X\n", "words\n"):
            self.assertNotEqual(visudo(wrong).returncode, 0, wrong)


class Asking(OnACluster):
    """As a user who is nobody but for these lines."""

    def ask(self, product, lines, files):
        users = pathlib.Path("/etc/passwd").read_text(encoding="utf-8") + f"{USER}:x:{STRANGER}:{STRANGER}::/:/bin/sh\n"
        own = {"/etc/sudoers": lines, "/etc/pam.d/sudo": NO_PASSWORDS, "/etc/passwd": users,
               "/etc/hosts": "127.0.0.1 localhost alpha\n"}  # sudo looks up its host's name
        cluster = self.cluster(product=product, files=[*files, *({"path": path, "text": own[path]} for path in own)])
        result = self.info_as_stranger(cluster, "-all", LUM_SUDO="/usr/bin/sudo -n")
        return cluster, result

    def test_the_lines_of_a_product_let_it_be_asked_everything(self):
        for product in PRODUCTS:
            with self.subTest(product.key):
                lines = documented()["LUM_" + product.key.upper()][0]
                cluster, result = self.ask(product.key, lines, product.changes.get("files", []))
                self.assertEqual((result.code, result.out, result.err), (DONE, product.listing, ""))
                self.assertTrue(any(record["user"] == 0 for record in cluster.records()), "sudo ran the tools")

    def test_red_hat_has_lines_for_each_kind_of_release(self):
        for release, number in ((4, 0), (3, 1), (2.1, 1)):
            with self.subTest(release):
                lines = documented()["LUM_RHAS"][number]
                _, result = self.ask("rhas", lines, red_hat_files(release))
                self.assertEqual(result.code, DONE, result.err)
                self.assertEqual(result.err, "")

    def test_the_lines_of_another_product_let_nothing_run(self):
        for product, other in zip(PRODUCTS, PRODUCTS[1:] + PRODUCTS[:1]):
            with self.subTest(product.key):
                lines = documented()["LUM_" + other.key.upper()][0]
                cluster, result = self.ask(product.key, lines, product.changes.get("files", []))
                self.assert_fails(result, product.not_made)
                self.assertEqual(cluster.records(), [])


if __name__ == "__main__":
    unittest.main()
