#!/usr/bin/python3
"""The plain road is for the node's own user alone: what another user of the host can do, and what the secret is.

Taking another user id needs the rights of root; without them these tests fail and say so.
"""
import os
import pathlib
import shutil
import socket
import stat
import subprocess
import tempfile
import unittest

import wire
from node import BUILD, DONE, EXAMPLES, PATIENCE_S, REFUSED, TOOLS, UNREACHABLE, Node, Result, wait_until

STRANGER = 54321
EXAMPLE = sorted(EXAMPLES.glob("*_header.xml"))[0]


class TestOfUsers(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        if os.geteuid() != 0:
            raise AssertionError("only root can take another user id: run these tests as root")
        # A copy, since the folder of the build need not be open to everybody.
        scratch = tempfile.TemporaryDirectory(prefix="lumtools.")
        cls.addClassCleanup(scratch.cleanup)
        cls.programs = pathlib.Path(scratch.name)
        cls.programs.chmod(0o755)
        for file in [*(TOOLS / name for name in ("lumpolicy", "lumsettings", "lumevents", "lumconfd", "lumtrust")),
                     *EXAMPLE.parent.iterdir(),
                     *BUILD.glob("*/lib*.so*")]:
            if file.is_file():
                shutil.copy(file, cls.programs)
                (cls.programs / file.name).chmod(0o755)

    def setUp(self):
        self.node = Node()
        self.addCleanup(self.node.close)
        self.node.folder.chmod(0o755)
        # Whoever cannot even read the settings is stopped by that; here the node itself has to refuse.
        settings = self.node.config / "policy_settings.ini"
        wait_until(settings.exists, "the settings of policies are there")
        settings.chmod(0o644)

    def as_stranger(self, name, *arguments, root=None):
        environment = self.node.environment(LD_LIBRARY_PATH=str(self.programs), LUM_ROOT=str(root or self.node.root),
                                            HOME="/")
        return Result(subprocess.run([self.programs / name, *map(str, arguments)], env=environment, cwd="/",
                                     stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=PATIENCE_S,
                                     user=STRANGER, group=STRANGER, extra_groups=[]))

    def run_as_stranger(self, function):
        """Calls a function in a child of another user; whether it came back without an exception."""
        child = os.fork()
        if child == 0:
            code = 1
            try:
                os.setgroups([])
                os.setgid(STRANGER)
                os.setuid(STRANGER)
                function()
                code = 0
            finally:
                os._exit(code)
        return os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 0

    def secret_file(self):
        return self.node.root / "etc/local.secret"


class AnotherUser(TestOfUsers):
    def owner_in_proc(self, command, is_up):
        """Who owns what the kernel shows of a program of the other user: root where nobody may look into it."""
        environment = self.node.environment(LD_LIBRARY_PATH=str(self.programs), HOME="/")
        with subprocess.Popen(command, env=environment, cwd="/", stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, user=STRANGER, group=STRANGER, extra_groups=[]) as program:
            try:
                is_up(program)
                return os.stat(f"/proc/{program.pid}/environ").st_uid
            finally:
                program.kill()

    def test_the_memory_of_a_tool_is_closed_to_other_programs_of_its_user(self):
        with socket.create_server(("127.0.0.1", 0)) as silent:
            silent.settimeout(PATIENCE_S)
            self.node.settings["vox.http.ext.conf"]["TARGET_PORT"] = silent.getsockname()[1]
            self.node.write_settings()
            accepted = []
            self.addCleanup(lambda: [connection.close() for connection, _ in accepted])
            owner = self.owner_in_proc([self.programs / "lumpolicy", "list"], lambda _: accepted.append(silent.accept()))
            self.assertEqual(owner, 0)
        self.assertEqual(self.owner_in_proc(["sleep", "60"], lambda _: None), STRANGER, "that of any other program")

    def test_the_same_call_is_served_to_the_own_user_and_to_nobody_else(self):
        self.assertEqual(self.node.policy("install", "--no-notify", EXAMPLE).code, DONE)
        before = self.node.stored()
        example = self.programs / EXAMPLE.name
        for arguments in (("list",), ("list", "--all"), ("install", "--no-notify", example),
                          ("install", "--force", "--package", example), ("remove", "--all"), ("notify",),
                          ("reinit",)):
            with self.subTest(arguments=arguments):
                result = self.as_stranger("lumpolicy", *arguments)
                self.assertEqual(result.code, REFUSED, result)
                self.assertIn("not authorized", result.err)
                self.assert_hint(result, self.node.root)
                self.assertEqual(result.out, "")
        self.assertEqual(self.node.stored(), before)
        self.assertEqual(list(self.node.incoming.iterdir()), [])
        self.assertEqual(len(self.node.list()), 1)

    def assert_hint(self, result, root):
        text = " ".join(result.err.split())
        self.assertIn(f"since '{root}/etc/local.secret' cannot be read", text)
        self.assertIn(f"run it as the user to whom the node's root '{root}/' belongs, or as root", text)

    def test_the_hint_is_part_of_the_json_and_comes_only_where_the_secret_is_missing(self):
        refused = self.as_stranger("lumpolicy", "remove", "--all", "--json").json()
        self.assertIn("local.secret", refused["messages"][-1]["text"])
        self.assertEqual(self.node.policy("install", "--no-notify", EXAMPLE).code, DONE)
        refused = self.node.policy("install", "--no-notify", EXAMPLE, "--owner", "nobody")
        self.assertNotEqual(refused.code, DONE)
        self.assertNotIn("local.secret", refused.err)

    def test_settings_that_a_stranger_may_not_read_are_told_to_him(self):
        for name in ("local_settings.ini", "policy_settings.ini"):
            (self.node.config / name).chmod(0o600)
            for arguments in (("list",), ("remove", "--all")):
                with self.subTest(name=name, arguments=arguments):
                    result = self.as_stranger("lumpolicy", *arguments)
                    self.assertEqual(result.code, 1, result)
                    self.assertIn("Permission denied", result.err)
            (self.node.config / name).chmod(0o644)

    def test_whom_the_keys_are_closed_to_is_sent_to_the_nodes_user(self):
        self.assertEqual(self.node.tool("lumtrust", "enroll", self.node.folder / "authority", "--core-id", "node-1").code, DONE)
        for name, *arguments in (("lumpolicy", "list"), ("lumpolicy", "status"), ("lumconfd", "--status"),
                                 ("lumconfd", "--check-config"), ("lumtrust", "status"), ("lumtrust", "list")):
            with self.subTest(name=name, arguments=arguments):
                result = self.as_stranger(name, *arguments)
                self.assertEqual(result.code, REFUSED, result)
                self.assertIn("run it as the node's user", " ".join(result.err.split()))
        result = self.as_stranger("lumtrust", "grant", "somebody", "list")
        self.assertEqual(result.code, REFUSED, result)
        self.assertIn("belongs to another user", result.err)

    def test_what_needs_no_keys_is_told_to_whom_only_they_are_closed_to(self):
        self.assertEqual(self.node.tool("lumtrust", "enroll", self.node.folder / "authority", "--core-id", "node-1").code, DONE)
        (self.node.config / "local_settings.ini").chmod(0o644)
        self.assertEqual(self.as_stranger("lumtrust", "rights").code, DONE)
        described = self.as_stranger("lumsettings", "describe", "SERVER_PORT")
        self.assertIn(f"on this node: {self.node.port}", described.out)
        bad = self.programs / "bad_header.xml"
        bad.write_text("no document")
        wrong = self.as_stranger("lumpolicy", "validate", bad)
        self.assertEqual(wrong.code, 1, wrong)
        self.assertNotIn("node's user", wrong.err)

    def test_a_refusal_leaves_its_audit_line(self):
        self.as_stranger("lumpolicy", "remove", "--all")
        self.assertTrue(any("AUTH" in line and "remove" in line for line in self.node.audit()), self.node.audit())

    def test_a_root_of_ones_own_or_none_helps_nobody(self):
        with tempfile.TemporaryDirectory(prefix="lumroot.") as own:
            os.chown(own, STRANGER, STRANGER)
            config = pathlib.Path(own) / "etc/pal/config"
            config.mkdir(parents=True)
            (config / "local_settings.ini").write_text(f"[vox.http.ext.conf]\nTARGET_PORT={self.node.port}\n")
            (pathlib.Path(own) / "etc/local.secret").write_text("0" * 64)
            wrong = self.as_stranger("lumpolicy", "list", root=own)
            self.assertEqual(wrong.code, UNREACHABLE, wrong)
            self.assertIn("does not know this node's local secret", wrong.err)
            (pathlib.Path(own) / "etc/local.secret").unlink()
            # The node's own user neither, when the root of the caller is another one.
            result = self.node.tool("lumpolicy", "list", environment=self.node.environment(LUM_ROOT=own))
            self.assertEqual(result.code, UNREACHABLE, result)
            self.assertIn(f"'{own}/etc/local.secret' is not there; nothing was sent", result.err)
        self.assertEqual(self.node.policy("list").code, DONE)

    def test_what_asks_for_no_right_is_served_to_everybody(self):
        port = self.node.port

        def ask():
            for body, path, expected in ((wire.call("mgrconf"), wire.PATH, b">0<"),
                                         (wire.call("checkpolicy"), wire.CHECK_PATH, b">0<")):
                with wire.Connection(port) as connection:
                    answer = connection.exchange(wire.post(body, path))
                    assert answer.status == 200 and expected in answer.body, answer

        self.assertTrue(self.run_as_stranger(ask))

    def test_the_control_service_is_closed_to_others(self):
        sockets = [path for path in self.node.root.rglob("*.sock") if path.is_socket()]
        self.assertTrue(sockets)

        def connect_everywhere():
            for path in sockets:
                with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as client:
                    try:
                        client.connect(str(path))
                    except PermissionError:
                        continue
                    raise AssertionError(path)

        self.assertTrue(self.run_as_stranger(connect_everywhere))
        result = self.as_stranger("lumevents", "--count", "1", "*")
        self.assertEqual(result.code, 1, result)
        self.assertIn("control.sock", result.err)

    def test_a_daemon_of_another_user_cannot_take_the_root(self):
        self.node.stop()
        result = self.as_stranger("lumconfd")
        self.assertEqual(result.code, 1, result)
        self.assertIn("lumconfd.lock", result.err)
        self.assertNotIn("serving", result.err)

    def test_what_belongs_to_another_user_is_not_changed_in_the_name_of_root(self):
        self.node.stop()
        before = sorted(str(path) for path in self.node.root.rglob("*"))
        os.chown(self.node.root, STRANGER, STRANGER)
        for arguments in (["request", "--core-id", "node-1"], ["untrust", "somebody"], ["grant", "somebody", "list"]):
            result = self.node.tool("lumtrust", *arguments)
            self.assertEqual(result.code, REFUSED, result)
            self.assertIn("belongs to another user", result.err)
        self.assertEqual(sorted(str(path) for path in self.node.root.rglob("*")), before)

    def test_nothing_below_the_root_can_be_changed_by_others_and_no_secret_be_read(self):
        self.node.policy("install", "--no-notify", EXAMPLE)
        for path in [self.node.root, *self.node.root.rglob("*")]:
            mode = path.lstat().st_mode
            if not path.is_socket():
                self.assertEqual(mode & (stat.S_IWGRP | stat.S_IWOTH), 0, f"{path}: {oct(mode)}")
            self.assertEqual(path.lstat().st_uid, 0)
        for name in ("log/lumconfd.log", "log/conf.server.audit.log", "lumconfd.lock", "etc/local.secret"):
            mode = (self.node.root / name).stat().st_mode
            self.assertEqual(mode & stat.S_IRWXO, 0, f"{name}: {oct(mode)}")


class Secret(TestOfUsers):
    def test_its_file_is_for_the_own_user_alone(self):
        status = self.secret_file().stat()
        self.assertEqual((stat.S_IMODE(status.st_mode), status.st_uid), (0o600, os.geteuid()))
        self.assertFalse(self.run_as_stranger(self.secret_file().read_text))

    def test_each_start_draws_a_new_one_and_the_old_one_opens_nothing(self):
        secrets = [wire.secret_of(self.node)]
        for _ in range(2):
            self.node.stop()
            self.assertFalse(self.secret_file().exists())
            self.node.start()
            secrets.append(wire.secret_of(self.node))
        self.assertEqual(len(set(secrets)), 3)
        for secret in secrets[:-1]:
            self.assertEqual(wire.ask(self.node, wire.list_call(), secret=secret).value(), wire.NOT_AUTHORIZED)
        self.assertEqual(wire.ask(self.node, wire.list_call()).value(), wire.NO_POLICIES)

    def test_a_secret_that_was_laid_down_before_the_start_opens_nothing(self):
        self.node.stop()
        outside = self.node.folder / "outside"
        outside.write_text("f" * 64)
        self.secret_file().symlink_to(outside)
        self.node.start()
        self.assertFalse(self.secret_file().is_symlink())
        self.assertEqual(outside.read_text(), "f" * 64)
        self.assertEqual(wire.ask(self.node, wire.list_call(), secret="LumLocal " + "f" * 64).value(),
                         wire.NOT_AUTHORIZED)

    def test_nothing_but_the_whole_secret_is_one(self):
        right = wire.secret_of(self.node)
        digits = right.split()[1]
        for wrong in ("LumLocal", "LumLocal ", f"LumLocal {digits[:-1]}", f"LumLocal {digits}0", f"LumLocal  {digits}",
                      f"lumlocal {digits}", f"Bearer {digits}", digits, f"LumLocal {digits.upper()}x",
                      "LumLocal " + "0" * 64, f"{right}, {right}", f"LumLocal {digits[:-1]}g", "Basic cm9vdDo="):
            with self.subTest(wrong=wrong.replace(digits, "DIGITS")):
                self.assertEqual(wire.ask(self.node, wire.list_call(), secret=wrong).value(), wire.NOT_AUTHORIZED)
        twice = wire.post(wire.list_call(), fields=[f"Authorization: {right}"], secret=right)
        self.assertEqual(wire.exchange(self.node, twice).value(), wire.NOT_AUTHORIZED, "a header that stands twice")
        self.assertEqual(wire.exchange(self.node, wire.post(wire.list_call())).value(), wire.NOT_AUTHORIZED)
        self.assertEqual(wire.ask(self.node, wire.list_call(), secret=right).value(), wire.NO_POLICIES)

    def test_the_proof_of_one_request_is_none_for_the_next_on_the_same_connection(self):
        with wire.Connection(self.node.port) as connection:
            proven = connection.exchange(wire.post(wire.list_call(), secret=wire.secret_of(self.node)))
            self.assertEqual(proven.value(), wire.NO_POLICIES)
            self.assertEqual(connection.exchange(wire.post(wire.list_call())).value(), wire.NOT_AUTHORIZED)

    def test_it_reaches_no_log_no_trace_no_answer_and_no_other_file(self):
        node = self.node
        node.stop()
        node.start(LUM_TRACE="*")
        secret = wire.secret_of(node)
        digits = secret.split()[1]
        node.policy("install", EXAMPLE)
        node.policy("remove", "--all")
        answers = [wire.ask(node, body, path, secret=given).body for given in (secret, secret[:-1] + "x")
                   for body, path in ((wire.list_call(), wire.PATH), (b"<broken", wire.PATH),
                                      (wire.call("mgrconf", wire.element("x", "y")), wire.PATH),
                                      (wire.call("nothing"), wire.PATH), (wire.list_call(), "/nothing"))]
        answers.append(wire.exchange(node, wire.post(b"", fields=["X: " + "y" * 70000], secret=secret)).body)
        self.secret_file().rename(self.secret_file().with_name("aside"))
        failure = node.policy("list", environment=node.environment(LUM_TRACE="*"))
        self.secret_file().with_name("aside").rename(self.secret_file())
        self.assertEqual(failure.code, UNREACHABLE)
        traced = node.policy("list", "--all", environment=node.environment(LUM_TRACE="*"))
        self.assertIn("conf.message", traced.err)
        self.assertIn("conf.policy", node.log)
        texts = {"the daemon's errors": node.log, "a tool": failure.out + failure.err, "another": traced.out + traced.err}
        texts.update((str(path), path.read_text(errors="replace")) for path in node.root.rglob("*")
                     if path.is_file() and path != self.secret_file())
        texts.update((f"answer {i}", body.decode(errors="replace")) for i, body in enumerate(answers))
        for where, text in texts.items():
            self.assertNotIn(digits[:32], text, where)
            self.assertNotIn(digits[32:], text, where)


if __name__ == "__main__":
    unittest.main()
