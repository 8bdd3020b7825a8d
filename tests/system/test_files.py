#!/usr/bin/python3
"""What lies on a node's disk is what docs/files.md says, with the modes that it says."""
import os
import re
import stat
import unittest

from node import EXAMPLES, ROOT, Node

PAGE = ROOT / "docs/files.md"


def rows():
    """[(pattern of a path, fixed mode or None)] of the page's first table, one for each path of a row."""
    found = []
    table = re.search(r"^\| Path .*\n\|[-|]+\n((?:\|.*\n)+)", PAGE.read_text(encoding="utf-8"), re.M).group(1)
    for line in table.splitlines():
        cells = [cell.strip() for cell in line[1:-1].split("|")]
        mode = re.fullmatch(r"\*\*(0\d+)\*\*", cells[-1])
        paths = re.findall(r"`([^`]+)`", cells[0])
        if " to " in cells[0]:  # a file and its older ones
            stem, suffix = os.path.splitext(paths[0])
            older = f"{stem}.[1-5]{suffix}" if paths[1].endswith(suffix) else f"{paths[0]}.[1-5]"
            paths = [paths[0], older]
        for path in paths:
            pattern = re.escape(path).replace(r"\[1\-5\]", "[1-5]")
            found.append((re.sub(r"<\w+>", "[^/]+", pattern), int(mode.group(1), 8) if mode else None))
    return found


class Disk(unittest.TestCase):
    def setUp(self):
        self.node = Node({"conf.server": {"AUDIT_LOGGING": "true"}})
        self.addCleanup(self.node.close)

    def entries(self):
        return sorted(self.node.root.rglob("*"))

    def check(self, table):
        for path in self.entries():
            name = str(path.relative_to(self.node.root)) + ("/" if path.is_dir() else "")
            modes = [mode for pattern, mode in table if re.fullmatch(pattern, name)]
            on_the_way = any(pattern.startswith(re.escape(name)) for pattern, _ in table)
            of_a_type = re.fullmatch("policies/[^/]+/", name)
            self.assertTrue(modes or on_the_way or of_a_type, f"the page does not know {name}")
            if modes and modes[0] is not None:
                self.assertEqual(oct(stat.S_IMODE(path.stat().st_mode)), oct(modes[0]), name)

    def test_every_file_of_a_working_node_has_a_row_and_the_mode_that_it_says(self):
        table = rows()
        self.assertGreater(len(table), 15)
        for header in sorted(EXAMPLES.glob("*_header.xml")):
            self.assertEqual(self.node.policy("install", "--no-notify", header).code, 0)
        self.node.list()
        self.check(table)
        names = {str(path.relative_to(self.node.root)) for path in self.entries()}
        for name in ("lumconfd.lock", "etc/local.secret", "spool/control.sock", "spool/control.lock",
                     "log/lumconfd.log", "log/conf.server.audit.log", "tmp/conf_tmp"):
            self.assertIn(name, names)

    def test_what_the_page_says_of_a_stop_holds(self):
        foreign = self.node.incoming / "folder/file"
        foreign.parent.mkdir()
        foreign.write_text("x")
        (self.node.incoming / "file").write_text("x")
        self.assertEqual(self.node.stop(), 0)
        for name in ("etc/local.secret", "spool/control.sock", "tmp/conf_tmp", "spool/incoming/files/conf_tmp/file"):
            self.assertFalse((self.node.root / name).exists(), name)
        self.assertTrue(foreign.exists())

    def test_a_backup_of_what_the_page_names_is_a_whole_node(self):
        header = EXAMPLES / "7c1f6a52-2d0e-4b39-9d77-0b6f8a1e4c11_header.xml"
        self.assertEqual(self.node.policy("install", "--no-notify", header).code, 0)
        self.node.stop()
        stored = self.node.stored()
        for path in list(self.node.root.iterdir()):
            if path.name not in ("policies", "etc"):
                path.rename(self.node.folder / f"gone.{path.name}")
        (self.node.folder / "lumconfd.err").unlink()
        self.node.start()
        self.assertEqual(self.node.stored(), stored)
        self.assertEqual([policy["name"] for policy in self.node.list()], ["nightly-backup"])

    def test_a_policy_put_into_the_store_by_hand_is_seen_after_reinit(self):
        header = EXAMPLES / "7c1f6a52-2d0e-4b39-9d77-0b6f8a1e4c11_header.xml"
        folder = self.node.store / "backup"
        folder.mkdir()
        for path in (header, EXAMPLES / "nightly-backup.conf", EXAMPLES / "nightly-backup.exclude"):
            (folder / path.name).write_bytes(path.read_bytes())
        self.assertEqual(self.node.list(), [])
        self.assertEqual(self.node.policy("reinit").code, 0)
        self.assertEqual([policy["name"] for policy in self.node.list()], ["nightly-backup"])


if __name__ == "__main__":
    unittest.main()
