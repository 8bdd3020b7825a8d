#!/usr/bin/python3
"""Clusters of Pacemaker that are drawn by the hundred, looked at by its true tools: what comes of them is what was drawn.

No cluster runs: the tools read a configuration from a file. They stand in build/cluster-root, and are laid over the
system's for these tests alone.
"""
import concurrent.futures
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

from node import SLOWNESS, TOOLS

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "cluster"))

from cibs import Shape  # noqa: E402 (its folder is known from here on)
from locations import Scores  # noqa: E402

UNPACK = HERE.parent.parent / "scripts/cluster-packages"
COUNT = 1000 if os.environ.get("LUM_LONG") else 200 // SLOWNESS
AT_ONCE = 2
# In mounts of its own. A node of a cluster has a configuration.
WALK = """
mount -t tmpfs tmpfs /var/lib && mkdir -p /var/lib/pacemaker/cib && touch /var/lib/pacemaker/cib/cib.xml || exit 125
for shape in "$@"; do
    crm_simulate --show-scores --xml-file $shape/quiet.xml >$shape/scores 2>$shape/invalid
    export LUM_ROOT=$shape/root CIB_file=$shape/cib.xml
    $TOOLS/lumcluster status --json >$shape/status 2>$shape/error
    for group in $(cat $shape/groups); do
        $TOOLS/lumclusterinfo -group $group -nodes >$shape/nodes.$group 2>>$shape/error
    done
done
"""


def asked(shape):
    """The groups whose nodes are asked for: of each shape one, each in its turn."""
    groups = list(shape.groups)
    return [groups[shape.number // 2 % len(groups)]] if groups else []


def lay_out(shape, folder):
    """What the walk needs of a shape."""
    config = folder / "root/etc/pal/config"
    config.mkdir(parents=True)
    (config / "local_settings.ini").write_text(f"[conf.cluster]\nCLUSTER_LOCAL_NODENAME={shape.local}\n")
    (folder / "cib.xml").write_text(shape.cib())
    (folder / "quiet.xml").write_text(shape.quiet().cib())
    (folder / "groups").write_text("\n".join(asked(shape)))


def walk(folders):
    environment = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "TOOLS": str(TOOLS)}
    return subprocess.run([UNPACK, "/bin/sh", "-c", WALK, "walk", *map(str, folders)], env=environment,
                          stdin=subprocess.DEVNULL, capture_output=True, text=True)


class Shapes(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        unpacked = subprocess.run([UNPACK], stdin=subprocess.DEVNULL, capture_output=True, text=True)
        if unpacked.returncode != 0:
            raise AssertionError("the packages of Pacemaker cannot be had: " + unpacked.stdout + unpacked.stderr)
        cls.held = tempfile.TemporaryDirectory(prefix="lumshapes.")
        cls.shapes = {number: (Shape(number), pathlib.Path(cls.held.name) / str(number)) for number in range(COUNT)}
        for shape, folder in cls.shapes.values():
            lay_out(shape, folder)
        folders = [folder for _, folder in cls.shapes.values()]
        with concurrent.futures.ThreadPoolExecutor(AT_ONCE) as pool:
            for result in pool.map(walk, [folders[i::AT_ONCE] for i in range(AT_ONCE)]):
                if result.returncode != 0:
                    raise AssertionError(result.stdout + result.stderr)

    @classmethod
    def tearDownClass(cls):
        cls.held.cleanup()

    def each(self, check):
        """Checks each shape; the number draws it again."""
        for number, (shape, folder) in self.shapes.items():
            with self.subTest(number):
                told = json.loads((folder / "status").read_text())
                self.assertEqual((told["problems"], (folder / "error").read_text()), ([], ""))
                check(shape, folder, told)

    def test_the_cluster_has_its_name_and_state(self):
        self.each(lambda shape, _, told: self.assertEqual(
            told["cluster"], {"product": "Pacemaker (PCMK)", "name": f"shape{shape.number}", "state": shape.state()}))

    def test_nodes_are_told_apart_as_they_were_drawn(self):
        self.each(lambda shape, _, told: self.assertEqual(
            {node["name"]: (node["state"], node["detail"]) for node in told["nodes"]}, shape.node_states()))

    def test_groups_are_where_they_were_drawn(self):
        def check(shape, _, told):
            for group in told["groups"]:
                seen = shape.seen(group["name"])
                self.assertEqual({key: group[key] for key in ("state", "detail", "active_node", "address", "local_state", "everywhere")},
                                 {"state": seen.state, "detail": seen.detail, "active_node": seen.node,
                                  "address": seen.address, "local_state": seen.local, "everywhere": seen.everywhere},
                                 group["name"])
            self.assertEqual([group["name"] for group in told["groups"]], list(shape.groups))
        self.each(check)

    def test_the_nodes_of_a_group_are_those_for_which_pacemaker_has_a_score(self):
        def check(shape, folder, _):
            self.assertEqual((folder / "invalid").read_text(), "")
            scores = Scores((folder / "scores").read_text())
            for name in asked(shape):
                nodes, told, untold = ((folder / f"nodes.{name}").read_text().split(), shape.group_nodes(name, scores),
                                       shape.untold(name, scores))
                self.assertEqual([node for node in nodes if node not in untold],
                                 [node for node in told if node not in untold], f"{name}: {shape.locations.text}")
        self.each(check)

    def test_enough_was_drawn_to_tell(self):
        seen = [shape.seen(name) for shape, _ in self.shapes.values() for name in shape.groups]
        for state in ("Online", "Offline", "Unknown"):
            self.assertGreater(sum(each.state == state for each in seen), COUNT // 4, state)
        for word in ("Failed", "Blocked", "Unmanaged", "Partial", "Unpromoted", "Unprobed"):
            self.assertTrue(COUNT < 200 or any(each.detail == word for each in seen), word)
        for what in (lambda each: each.everywhere, lambda each: each.address, lambda each: each.local == "Online",
                     lambda each: each.local == "Unknown"):
            self.assertGreater(sum(bool(what(each)) for each in seen), COUNT // 20)


if __name__ == "__main__":
    unittest.main()
