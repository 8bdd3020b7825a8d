#!/usr/bin/python3
"""The policies of a node, written into a folder from which another node is made alike."""
import os
import subprocess
import unittest

import pki
from machines import ALONE
from node import (DONE, EXAMPLES, FAILED, NOT_FOUND, NOTHING_TO_DO, PATIENCE_S, REFUSED, SLOWNESS, WRONG_USAGE, Node,
                  write_policy)

MANY = 1000


class ExportTest(unittest.TestCase):
    def setUp(self):
        self.node = Node()
        self.addCleanup(self.node.close)
        self.place = self.node.folder / "place"
        self.place.mkdir()
        self.folder = self.place / "exported"

    def install(self, policy_id, files=None, **fields):
        fields.setdefault("name", f"name of {policy_id}")
        path = write_policy(self.node.folder / f"source.{policy_id}", policy_id, files, **fields)
        self.assertEqual(self.node.policy("install", "--no-notify", path).code, DONE)
        return path

    def export(self, *options, code=DONE, folder=None, timeout=PATIENCE_S):
        result = self.node.policy("export", folder or self.folder, *options, timeout=timeout)
        self.assertEqual(result.code, code, result)
        return result

    def imported(self, node, *options, code=DONE):
        result = node.policy("import", "--no-notify", self.folder, *options)
        self.assertEqual(result.code, code, result)
        return result

    def left(self):
        """What stands where the folder was to come."""
        return sorted(os.listdir(self.place))

    def files(self, folder=None):
        folder = folder or self.folder
        return {str(path.relative_to(folder)): path.read_bytes() for path in folder.rglob("*") if path.is_file()}


class Export(ExportTest):
    def test_an_export_holds_what_the_node_keeps_byte_by_byte_and_its_user_alone_may_read_it(self):
        self.install("a", {"same.conf": b"one\n", "bytes": bytes(range(256)) * 99}, type_name="first")
        self.install("b", {"same.conf": b"two\n", "empty": b""}, type_name="second", status="disabled")
        self.install("c", {"same.conf": b"two\n"}, type_name="second")
        before = os.umask(0)
        try:
            result = self.export()
        finally:
            os.umask(before)
        self.assertEqual((result.out, result.err), (f"3 policies exported to {self.folder}\n", ""))
        self.assertEqual(self.files(), self.files(self.node.store))
        modes = {path.stat().st_mode & 0o7777 for path in [self.folder, *self.folder.rglob("*")] if path.is_dir()}
        self.assertEqual(modes, {0o700})
        self.assertEqual({path.stat().st_mode & 0o7777 for path in self.folder.rglob("*") if path.is_file()}, {0o600})
        self.assertEqual(self.left(), ["exported"])

    def test_only_what_is_selected_is_exported(self):
        self.install("a", type_name="one")
        self.install("b", type_name="two", categories=["c"])
        self.install("c", type_name="two")
        self.export("--type", "two", "--category", "c")
        self.assertEqual(list(self.files()), ["two/b_header.xml"])

    def test_where_nothing_is_selected_nothing_is_written(self):
        self.assertIn("There is no policy on 'localhost'", self.export(code=NOTHING_TO_DO).err)
        self.install("a")
        for selection in (("--type", "three"), ("--id", "b"), ("--type", "type", "--category", "c")):
            self.export(*selection, code=NOT_FOUND)
        self.assertEqual(self.left(), [])

    def test_in_json_each_policy_has_a_row(self):
        self.install("a")
        answer = self.export("--json").json()
        self.assertEqual((answer["host"], answer["result"], answer["folder"]), ("localhost", "done", str(self.folder)))
        self.assertEqual(answer["policies"],
                         [{"id": "a", "name": "name of a", "type": "type", "file": "type/a_header.xml"}])

    def test_a_name_that_is_taken_is_not_given_to_an_export(self):
        self.install("a")
        (self.place / "file").write_text("mine")
        (self.place / "folder").mkdir()
        (self.place / "link").symlink_to("nowhere")
        for name in ("file", "folder", "folder/", "link"):
            result = self.export(folder=f"{self.place}/{name}", code=FAILED)
            self.assertIn("is there already", result.err)
        self.assertEqual(self.left(), ["file", "folder", "link"])
        self.assertEqual((self.place / "file").read_text(), "mine")

    def test_by_force_what_was_there_is_kept_beside(self):
        self.folder.mkdir()
        (self.folder / "mine").write_text("mine")
        (self.place / "exported.1").symlink_to("nowhere")
        self.install("a")
        result = self.export("--force")
        self.assertIn(f"what was there is now {self.folder}.2\n", result.out)
        self.assertEqual((self.place / "exported.2/mine").read_text(), "mine")
        self.assertEqual(list(self.files()), ["type/a_header.xml"])
        self.assertEqual(self.export("--force", "--json").json()["kept"], f"{self.folder}.3")
        self.assertEqual(self.left(), ["exported", "exported.1", "exported.2", "exported.3"])

    def test_an_export_that_fails_leaves_what_is_there_in_spite_of_force(self):
        self.folder.mkdir()
        (self.folder / "mine").write_text("mine")
        self.install("a", {"a.conf": b"data\n"})
        (self.node.store / "type/a.conf").unlink()
        self.export("--force", code=FAILED)
        self.assertEqual((self.left(), list(self.files())), (["exported"], ["mine"]))

    def test_a_name_that_no_new_folder_can_have_is_wrong_usage(self):
        for folder in ("/", ".", "..", f"{self.place}/..", f"{self.place}/.", f"{self.place}/not/there"):
            with self.subTest(folder):
                self.export(folder=folder, code=WRONG_USAGE)
        self.assertEqual(self.left(), [])

    def test_every_policy_of_which_the_node_misses_data_is_named_and_nothing_is_written(self):
        for policy_id in ("a", "b", "c"):
            self.install(policy_id, {f"{policy_id}.conf": b"data\n"})
        for name in ("a.conf", "c.conf"):
            (self.node.store / "type" / name).unlink()
        result = self.export(code=FAILED)
        for policy_id in ("a", "c"):
            self.assertIn(f"name of {policy_id} (type type, id {policy_id}): {policy_id}.conf", result.err)
        self.assertNotIn("name of b", result.err)
        self.assertEqual(self.left(), [])
        self.export("--id", "b")

    def test_two_nodes_into_one_folder_are_wrong_usage(self):
        self.export("--host", "localhost", "--host", "other", code=WRONG_USAGE)
        self.assertEqual(self.left(), [])

    def test_it_needs_the_right_to_install(self):
        authority = pki.Authority()
        self.addCleanup(authority.close)
        pki.enroll(self.node, authority, "operator")
        for rights, code in (("list", REFUSED), ("install", REFUSED), ("install list", DONE)):
            with self.subTest(rights), Node(start=False) as served:
                pki.enroll(served, authority, "node")
                served.write_rights({"operator": rights})
                write_policy(served.store / "type", "a", name="a")
                served.start()
                self.export("--host", f"127.0.0.1:{served.port}", code=code)
                self.assertEqual(self.left(), [] if code == REFUSED else ["exported"])

    def test_a_folder_that_may_not_be_written_to_is_named(self):
        self.install("a")
        self.assertIn("/proc", self.export(folder="/proc/exported", code=FAILED).err)

    def test_a_full_disk_leaves_nothing(self):
        self.install("a", {"a.conf": b"small"})
        self.install("b", {"b.conf": bytes(1 << 20)})
        script = ('mount -t tmpfs -o size=256k tmpfs "$1" && cd "$1" && shift && "$@" exported; code=$?\n'
                  'echo "left: $(ls -A)"; exit $code')
        user = ["--map-root-user"] if os.getuid() else []
        result = subprocess.run(["unshare", *user, *ALONE, "sh", "-c", script, "sh", self.place,
                                 *self.node.command("lumpolicy", "export")], env=self.node.environment(),
                                stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=PATIENCE_S)
        self.assertEqual((result.returncode, result.stdout), (FAILED, "left: \n"), result.stderr)
        self.assertIn("No space left on device", result.stderr)
        self.assertIn("name of b", result.stderr)

    def test_a_thousand_policies_take_seconds(self):
        source = self.node.folder / "source"
        for i in range(MANY):
            write_policy(source, f"p{i:04}", {f"p{i:04}.conf": b"data\n"}, name=f"p{i:04}", type_name=f"type{i % 7}")
        applied = self.node.policy("apply", "--no-notify", source, timeout=10 * PATIENCE_S)
        self.assertEqual(applied.code, DONE, applied.err)
        begin = self.node.processor_seconds()
        self.export(timeout=10 * PATIENCE_S)
        self.assertLess(self.node.processor_seconds() - begin, 15 * SLOWNESS)
        self.assertEqual(self.files(), self.files(self.node.store))


class Import(ExportTest):
    def test_what_is_exported_makes_another_node_alike(self):
        self.install("a", {"same.conf": b"one\n", "bytes": bytes(range(256))}, type_name="first", status="disabled",
                     categories=["c"], attributes=[("os", "linux")])
        self.install("b", {"same.conf": b"two\n", "empty": b""}, type_name="second")
        self.install("c", {"same.conf": b"two\n"}, type_name="second", owner="")
        self.install("d", type_name="odd_header.xml")
        self.node.policy("install", "--no-notify", *EXAMPLES.glob("*_header.xml"))
        self.export()
        self.imported(self.node, code=NOTHING_TO_DO)
        with Node() as other:
            self.assertIn("created name of a (type first, id a)\n", self.imported(other).out)
            self.assertEqual(other.list(), self.node.list())
            self.assertEqual(self.files(other.store), self.files())
            again = other.policy("apply", "--diff", "--dry-run", self.folder)
            self.assertEqual(again.code, NOTHING_TO_DO, again)
            self.imported(other, code=NOTHING_TO_DO)
        with Node() as third:
            result = third.policy("install", "--no-notify", *self.folder.glob("*/*_header.xml"))
            self.assertEqual(result.code, DONE, result)
            self.assertEqual(third.list(), self.node.list())

    def test_signatures_are_kept(self):
        authority = pki.Authority()
        self.addCleanup(authority.close)
        pki.enroll(self.node, authority, "node")
        source = write_policy(self.node.folder / "source", "a", {"a.conf": b"data\n"}, name="a")
        self.assertEqual(self.node.policy("sign", source).code, DONE)
        self.node.stop()
        self.node.start()
        self.assertEqual(self.node.policy("install", "--no-notify", source).code, DONE)
        self.export()
        with Node() as other:
            pki.trust(other, authority)
            self.imported(other)
            self.assertEqual(self.files(other.store), self.files())
            self.assertIn(b"<signature>", self.files()["type/a_header.xml"])
            self.assertIn("signed by 'node', issued by 'authority'",
                          other.policy("verify", *self.folder.glob("*/*_header.xml")).out)

    def test_what_differs_is_changed_and_what_is_there_besides_stays(self):
        self.install("a", {"a.conf": b"old\n"})
        self.export()
        self.install("a", {"a.conf": b"new\n"}, version="2")
        self.install("b")
        self.assertIn("would change name of a", self.imported(self.node, "--dry-run").out)
        self.assertEqual((self.node.store / "type/a.conf").read_bytes(), b"new\n")
        self.assertIn("changed name of a (type type, id a): version, data file a.conf\n", self.imported(self.node).out)
        self.assertEqual((self.node.store / "type/a.conf").read_bytes(), b"old\n")
        self.assertEqual([policy["id"] for policy in self.node.list()], ["a", "b"])

    def test_another_owners_policy_is_left_alone_unless_forced(self):
        self.install("a", owner="me")
        self.export()
        self.assertEqual(self.node.policy("set-owner", "you", "--id", "a", "--no-notify").code, DONE)
        self.assertIn("--force-owner", self.imported(self.node, code=REFUSED).err)
        self.imported(self.node, "--force-owner")
        self.assertEqual(self.node.list()[0]["owner"], "me")

    def test_what_is_no_folder_of_policies_changes_nothing(self):
        (self.place / "empty").mkdir()
        for given in (self.place / "empty", self.place / "not there", self.install("a")):
            self.assertEqual(self.node.policy("import", given).code, WRONG_USAGE, given)

    def test_a_folder_whose_data_are_gone_changes_nothing(self):
        self.install("a", {"a.conf": b"data\n"})
        self.export()
        (self.folder / "type/a.conf").unlink()
        with Node() as other:
            self.imported(other, code=FAILED)
            self.assertEqual(other.list(), [])


if __name__ == "__main__":
    unittest.main()
