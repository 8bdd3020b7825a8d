#!/usr/bin/python3
"""./run --cluster: what it shows of a real cluster to who reads along."""
import os
import pathlib
import subprocess
import tempfile
import unittest

from node import BUILD, PATIENCE_S, ROOT


class Shown(unittest.TestCase):
    def test_a_cluster_is_set_up_an_application_moves_and_all_is_taken_down(self):
        subprocess.run([ROOT / "scripts/cluster-packages"], check=True)
        with tempfile.TemporaryDirectory(prefix="lumshown.") as folder:
            pathlib.Path(folder).chmod(0o755)
            shown = subprocess.run([ROOT / "run", "--cluster"], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                                   env=dict(os.environ, LUM_BUILD=str(BUILD), TMPDIR=folder), timeout=10 * PATIENCE_S)
            self.assertEqual(shown.returncode, 0, shown)
            self.assertEqual(os.listdir(folder), [])
        self.assertRegex(shown.stdout.splitlines()[-1], "^done: two nodes formed a cluster, .* nothing is left of them$")
        before, behind = shown.stdout.split("\nThe group moves to beta, and they follow\n")
        for part, here, there in ((before, "alpha", "beta"), (behind, "beta", "alpha")):
            for line in (f"this node {here} (told by the cluster)\n", f"'{here}' is '{here}' (told by the cluster)",
                         f"'{here}' is not '{there}' (told by the cluster)"):
                self.assertIn(line, part)
        self.assertRegex(behind, "(?m)^the group was on beta after [0-9]+ ms, and followed [0-9]+ ms later$")


if __name__ == "__main__":
    unittest.main()
