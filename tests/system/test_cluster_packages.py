#!/usr/bin/python3
"""scripts/cluster-packages where packages cannot be had, and where nothing is missing."""
import pathlib
import shutil
import subprocess
import tempfile
import unittest

from node import PATIENCE_S, ROOT

SCRIPT = ROOT / "scripts/cluster-packages"


class ClusterPackages(unittest.TestCase):
    def setUp(self):
        held = tempfile.TemporaryDirectory(prefix="lumpackages.")
        self.addCleanup(held.cleanup)
        self.folder = pathlib.Path(held.name)
        for name in ("scripts", "bin"):
            (self.folder / name).mkdir()
        self.script = shutil.copy(SCRIPT, self.folder / "scripts")

    def let(self, program, body):
        path = self.folder / "bin" / program
        path.write_text(f"#!/bin/sh\n{body}\n")
        path.chmod(0o755)

    def run_script(self, *before):
        return subprocess.run([*before, "env", f"PATH={self.folder}/bin:/usr/sbin:/usr/bin:/sbin:/bin", self.script],
                              stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=PATIENCE_S)

    def assert_told(self, result, *texts):
        self.assertEqual(result.returncode, 1, result)
        for text in texts:
            self.assertIn(text, result.stderr)
        self.assertNotIn("etc/passwd", result.stderr)
        self.assertFalse((self.folder / "build/cluster-root").exists())

    def test_packages_that_cannot_be_had_are_told_with_the_reason(self):
        self.let("apt-get", "echo 'E: no network here' >&2; exit 100")
        self.assert_told(self.run_script(), "cluster-packages: cannot be had; the last lines:\nE: no network here\n")

    def test_packages_that_cannot_be_downloaded_are_told_with_the_reason(self):
        self.let("apt-get", 'case "$*" in *download*) echo "E: lost on the way" >&2; exit 100;; '
                            '*install*) echo "Inst pacemaker (2.1.5 Debian:12)";; esac')
        self.assert_told(self.run_script(), "cluster-packages: cannot be had", "E: lost on the way")

    def test_a_package_that_cannot_be_unpacked_is_told_with_the_reason(self):
        self.let("apt-get", 'case "$*" in *download*) touch one.deb two.deb;; '
                            '*install*) echo "Inst pacemaker (2.1.5 Debian:12)";; esac')
        self.let("dpkg", 'case $2 in */one.deb) echo "dpkg: one is damaged" >&2; exit 2;; esac')
        self.assert_told(self.run_script(), "cluster-packages: cannot be had", "dpkg: one is damaged")

    def test_what_is_installed_is_taken_where_nothing_is_missing(self):
        """They are, where the unpacked ones lie over the system's."""
        subprocess.run([SCRIPT], check=True)
        self.let("apt-get", "exit 0")
        result = self.run_script(SCRIPT)
        self.assertEqual(result.returncode, 0, result)
        self.assertEqual(list((self.folder / "build/cluster-root/usr").iterdir()), [])
        self.assertIn("hacluster:", (self.folder / "build/cluster-root/etc/passwd").read_text())

    def test_nothing_that_is_missing_and_nothing_that_runs_is_told(self):
        self.let("apt-get", "exit 0")
        self.assert_told(self.run_script(), "what was unpacked does not run", "nothing is missing")


if __name__ == "__main__":
    unittest.main()
