#!/usr/bin/python3
"""What Pacemaker has yet to look for, by its own scheduler, is what lumcluster calls unprobed, and nothing else.

Histories with gaps are drawn by the dozen. No cluster runs: crm_simulate tells the probes that it would schedule, and
lumcluster is told by crm_mon and cibadmin, all of them from a file.
"""
import json
import os
import pathlib
import random
import re
import subprocess
import sys
import tempfile
import unittest

from node import SLOWNESS, TOOLS
from test_pacemaker_shapes import UNPACK

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "cluster"))

from cibs import operation, pair  # noqa: E402 (its folder is known from here on)

COUNT = 300 if os.environ.get("LUM_LONG") else 60 // SLOWNESS
NODES = ("a", "b")
# The primitives of each group, as their histories name them.
GROUPS = {"one": ["one-ip-192.0.2.5", "one-podman-0", "one-0"], "alone": ["alone-podman-0"], "p": ["p"],
          "g": ["g1", "g2"], "vm": ["vm"], "own": ["own"], "bygroup": ["bygroup1"], "fence": ["fence"], "cl": ["cr"],
          "uq": [f"ur:{number}" for number in range(len(NODES))]}
WALK = """
mount -t tmpfs tmpfs /var/lib && mkdir -p /var/lib/pacemaker/cib && touch /var/lib/pacemaker/cib/cib.xml || exit 125
for folder in "$@"; do
    export LUM_ROOT=$folder/root CIB_file=$folder/cib.xml CIB_shadow_dir=$folder
    $TOOLS/lumcluster status --json >$folder/status || exit 1
    unset CIB_file
    crm_simulate -R -x $folder/cib.xml -G $folder/graph.xml >$folder/simulated 2>&1 || exit 1
done
"""


def meta(where, **values):
    pairs = "".join(pair(where, name.replace("_", "-"), value) for name, value in values.items())
    return f'<meta_attributes id="{where}-meta">{pairs}</meta_attributes>' if values else ""


def primitive(name, agent="Dummy", **values):
    return f'<primitive id="{name}" class="ocf" provider="pacemaker" type="{agent}">{meta(name, **values)}</primitive>'


class Gaps:
    def __init__(self, number):
        self.random = random.Random(number)
        self.disabled = {name for name in GROUPS if self.random.random() < 0.1}
        self.runs = self.random.random() < 0.3  # the bundle, on the first node
        self.is_inside_known = self.random.random() < 0.5
        self.gap = self.random.choice([0, 0.05, 0.3])

    def cib(self):
        options = pair("o", "stonith-enabled", "false") + pair("o", "cluster-name", "gaps")
        nodes = "".join(f'<node id="{number}" uname="{name}"/>' for number, name in enumerate(NODES, 1))
        states = "".join(self.node(*each) for each in enumerate(NODES, 1)) + self.inside()
        return (f'<cib crm_feature_set="3.16.2" validate-with="pacemaker-3.9" admin_epoch="0" epoch="1" num_updates="1" '
                f'have-quorum="1" dc-uuid="1"><configuration><crm_config><cluster_property_set id="o">{options}'
                f'</cluster_property_set></crm_config><nodes>{nodes}</nodes><resources>{self.resources()}</resources>'
                f'<constraints/></configuration><status>{states}</status></cib>\n')

    def off(self, name):
        return {"target_role": "Stopped"} if name in self.disabled else {}

    def resources(self):
        container = '<podman image="i" replicas="1"/>'
        return (f'<bundle id="one">{meta("one", **self.off("one"))}{container}<network ip-range-start="192.0.2.5"/>'
                f'{primitive("onein")}</bundle><bundle id="alone">{meta("alone", **self.off("alone"))}{container}</bundle>'
                f'{primitive("p", **self.off("p"))}'
                f'<group id="g">{meta("g", **self.off("g"))}{primitive("g1")}{primitive("g2")}</group>'
                f'{primitive("vm", **self.off("vm"))}{primitive("own", container="vm", **self.off("own"))}'
                f'<group id="bygroup">{meta("bygroup", container="vm", **self.off("bygroup"))}{primitive("bygroup1")}</group>'
                f'<primitive id="fence" class="stonith" type="fence_dummy">{meta("fence", **self.off("fence"))}</primitive>'
                f'<clone id="cl">{meta("cl", promotable="true", clone_max="1", **self.off("cl"))}'
                f'{primitive("cr", "Stateful")}</clone>'
                f'<clone id="uq">{meta("uq", promotable="true", globally_unique="true", **self.off("uq"))}'
                f'{primitive("ur", "Stateful")}</clone>')

    def history(self, name, number, runs):
        told = operation(name, number, *(("start", 0, 0) if runs else ("monitor", 0, 7)))
        return f'<lrm_resource id="{name}" class="ocf" provider="pacemaker" type="Dummy">{told}</lrm_resource>'

    def node(self, number, node):
        texts = [self.history(name, at, self.is_of_bundle(name) and node == NODES[0])
                 for at, name in enumerate((name for names in GROUPS.values() for name in names), 3)
                 if self.is_of_bundle(name) or self.random.random() >= self.gap]
        return (f'<node_state id="{number}" uname="{node}" in_ccm="true" crmd="online" join="member" expected="member">'
                f'<lrm id="{number}"><lrm_resources>{"".join(texts)}</lrm_resources></lrm></node_state>')

    def is_of_bundle(self, name):
        return self.runs and name in GROUPS["one"]

    def inside(self):
        if not self.runs:
            return ""
        told = self.history("onein", 3, False) if self.is_inside_known else ""
        return (f'<node_state remote_node="true" id="one-0" uname="one-0" in_ccm="true"><lrm id="one-0"><lrm_resources>'
                f'{told}</lrm_resources></lrm></node_state>')


class Probes(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.held = tempfile.TemporaryDirectory(prefix="lumprobes.")
        cls.gaps = {number: (Gaps(number), pathlib.Path(cls.held.name) / str(number)) for number in range(COUNT)}
        for gaps, folder in cls.gaps.values():
            config = folder / "root/etc/pal/config"
            config.mkdir(parents=True)
            (config / "local_settings.ini").write_text("[conf.cluster]\nCLUSTER_LOCAL_NODENAME=a\n")
            (folder / "cib.xml").write_text(gaps.cib())
        for line in ([UNPACK], [UNPACK, "/bin/sh", "-c", WALK, "walk", *(str(folder) for _, folder in cls.gaps.values())]):
            result = subprocess.run(line, env={"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "TOOLS": str(TOOLS)},
                                    stdin=subprocess.DEVNULL, capture_output=True, text=True)
            if result.returncode != 0:
                raise AssertionError(result.stdout + result.stderr)

    @classmethod
    def tearDownClass(cls):
        cls.held.cleanup()

    def probed(self, folder):
        """The primitives that the scheduler looks for, without the numbers of copies."""
        graph = (folder / "graph.xml").read_text()
        return {re.sub(":[0-9]+$", "", name) for name in re.findall(r'operation_key="([^"]*)_monitor_0"', graph)}

    def expected(self, gaps, folder, name):
        members = {re.sub(":[0-9]+$", "", each) for each in GROUPS[name]} | ({"onein"} if name == "one" else set())
        return name not in gaps.disabled and bool(members & self.probed(folder))

    def test_what_is_to_be_probed_is_unprobed_and_nothing_else(self):
        unprobed = {name: set() for name in GROUPS}
        for number, (gaps, folder) in self.gaps.items():
            told = json.loads((folder / "status").read_text())
            self.assertEqual((told["problems"], [group["name"] for group in told["groups"]]), ([], list(GROUPS)), number)
            for group in told["groups"]:
                expected = self.expected(gaps, folder, group["name"])
                unprobed[group["name"]].add(expected)
                self.assertEqual(group["detail"] == "Unprobed", expected, f"{number}: {group}")
        if COUNT >= 60:
            self.assertEqual({name for name, seen in unprobed.items() if seen == {False}}, {"own", "bygroup"},
                             "these are never looked for, all others at times")


if __name__ == "__main__":
    unittest.main()
