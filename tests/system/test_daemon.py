#!/usr/bin/python3
"""The daemon as its administrator meets it: starting, being refused, reloading, stopping, and what it says."""
import hashlib
import os
import pathlib
import resource
import signal
import socket
import subprocess
import unittest

import wire
from node import DONE, PATIENCE_S, TOOLS, Node, wait_until, write_policy

STOPPED, FAILED, WRONG_USAGE, ALREADY_RUNNING = range(4)


def tree(root):
    """Everything below a root: kind, mode, owner, time of change, content."""
    found = {}
    for folder, folders, files in os.walk(root):
        for name in ["."] + folders + files:
            path = os.path.join(folder, name)
            status = os.lstat(path)
            content = ""
            if name in files and os.path.isfile(path) and not os.path.islink(path):
                with open(path, "rb") as file:
                    content = hashlib.sha256(file.read()).hexdigest()
            found[path] = (status.st_mode, status.st_uid, status.st_gid, status.st_ino, status.st_mtime_ns, content)
    return found


class ServiceManager:
    """What systemd is to a daemon of the type notify."""

    def __init__(self, name):
        self.address = str(name)
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.bind("\0" + self.address[1:] if self.address.startswith("@") else self.address)
        self.socket.settimeout(PATIENCE_S)

    def state(self):
        return self.socket.recv(4096).decode()

    def has_heard(self):
        self.socket.setblocking(False)
        try:
            return self.socket.recv(4096).decode()
        except BlockingIOError:
            return None
        finally:
            self.socket.settimeout(PATIENCE_S)

    def close(self):
        self.socket.close()


class DaemonTest(unittest.TestCase):
    def node(self, *arguments, **keywords):
        node = Node(*arguments, **keywords)
        self.addCleanup(node.close)
        return node

    def manager(self, name):
        manager = ServiceManager(name)
        self.addCleanup(manager.close)
        return manager

    def run_daemon(self, node, *arguments, **environment):
        """A daemon that is expected to end by itself."""
        return node.tool("lumconfd", *arguments, environment=node.environment(**environment))

    def start_daemon(self, node, *arguments, environment=None):
        """A daemon that says itself when it serves; its log is a pipe."""
        process = subprocess.Popen([TOOLS / "lumconfd", *map(str, arguments)], text=True, stdin=subprocess.DEVNULL,
                                   env=environment or node.environment(), stdout=subprocess.DEVNULL,
                                   stderr=subprocess.PIPE)
        node.processes.append(process)
        return process

    def install(self, node, policy_id, *options):
        path = write_policy(node.folder / "source", policy_id, {f"{policy_id}.data": b"content"})
        return node.policy("install", "--no-notify", *options, path)


class CommandLine(DaemonTest):
    def test_a_pipe_or_a_link_in_the_place_of_its_log_holds_it_up_in_nothing(self):
        node = self.node(start=False)
        log = node.root / "log/lumconfd.log"
        log.parent.mkdir(parents=True, exist_ok=True)
        foreign = node.root / "foreign"
        foreign.write_text("kept", encoding="utf-8")
        for put in (lambda: os.mkfifo(log), lambda: log.symlink_to(foreign)):
            put()
            node.start()
            self.assertIn("The application log's file could not be opened.", node.log)
            self.assertEqual(node.stop(), STOPPED)
            log.unlink()
        self.assertEqual(foreign.read_text(encoding="utf-8"), "kept")

    def test_its_memory_is_left_out_of_core_images(self):
        node = self.node()
        filtered = pathlib.Path(f"/proc/{node.daemon.pid}/coredump_filter").read_text(encoding="ascii")
        self.assertEqual(int(filtered, 16), 0)

    def test_version_and_help_go_to_standard_output_and_touch_nothing(self):
        node = self.node(start=False)
        before = tree(node.folder)
        for arguments, words in ((("--version",), ["lumconfd "]),
                                 (("--help",), ["--root", "--check-config", "SIGHUP", "Exit codes"])):
            with self.subTest(arguments=arguments):
                result = self.run_daemon(node, *arguments)
                self.assertEqual((result.code, result.err), (STOPPED, ""))
                for word in words:
                    self.assertIn(word, result.out)
        self.assertEqual(tree(node.folder), before)

    def test_wrong_usage_names_the_argument_and_touches_nothing(self):
        node = self.node(start=False)
        before = tree(node.folder)
        for arguments, word in ((("--daemonize",), "--daemonize"), (("serve",), "serve"), (("--root",), "--root"),
                                (("--root", ""), "--root"), (("-x",), "-x"), (("--root", "/tmp", "again"), "again")):
            with self.subTest(arguments=arguments):
                result = self.run_daemon(node, *arguments)
                self.assertEqual(result.code, WRONG_USAGE, result)
                self.assertIn(word, result.err)
                self.assertEqual(result.out, "")
        self.assertEqual(tree(node.folder), before)

    def test_the_root_of_the_command_line_wins_over_the_environment(self):
        node = self.node(start=False)
        elsewhere = node.folder / "elsewhere"
        process = self.start_daemon(node, "--root", node.root, environment=node.environment(LUM_ROOT=str(elsewhere)))
        self.assertIn(f"serving the node in {node.root}", process.stderr.readline())
        self.assertFalse(elsewhere.exists())

    def test_a_relative_root_is_taken_from_where_the_daemon_was_started(self):
        node = self.node(start=False)
        process = subprocess.Popen([TOOLS / "lumconfd", "--root", "root"], cwd=node.folder, text=True,
                                   stdin=subprocess.DEVNULL, env=node.environment(LUM_ROOT="/nowhere"),
                                   stderr=subprocess.PIPE)
        node.processes.append(process)
        self.assertIn(f"serving the node in {node.root}", process.stderr.readline())
        self.assertEqual(node.policy("list").code, 0)


class OneDaemonForEachRoot(DaemonTest):
    def test_a_second_daemon_is_refused_before_anything_of_the_root_is_touched(self):
        node = self.node()
        self.install(node, "a")
        (node.folder / "link").symlink_to(node.root)
        leftover = node.incoming / "arriving"
        leftover.write_bytes(b"half a file")
        before = tree(node.root)
        for root in (node.root, f"{node.root}/", f"{node.root}/../root", node.folder / "link"):
            with self.subTest(root=root):
                result = self.run_daemon(node, "--root", root)
                self.assertEqual(result.code, ALREADY_RUNNING, result)
                self.assertIn("lumconfd.lock", result.err)
                self.assertIn("another process serves", result.err)
        self.assertEqual(tree(node.root), before)
        self.assertEqual([policy["id"] for policy in node.list()], ["a"])

    def test_many_daemons_started_at_once_leave_one_that_serves(self):
        node = self.node(start=False)
        started = [self.start_daemon(node) for _ in range(5)]
        wait_until(lambda: sum(process.poll() is not None for process in started) == 4, "all but one ended")
        self.assertEqual([process.returncode for process in started if process.poll() is not None],
                         [ALREADY_RUNNING] * 4)
        serving = next(process for process in started if process.poll() is None)
        self.assertIn("serving the node", serving.stderr.readline())
        self.assertEqual(node.policy("list").code, 0)

    def test_a_daemon_that_was_killed_leaves_nothing_that_keeps_the_next_one_out(self):
        node = self.node()
        self.install(node, "a")
        first_secret = wire.secret_of(node)
        self.assertEqual(node.stop(signal.SIGKILL), -signal.SIGKILL)
        node.start()
        self.assertEqual([policy["id"] for policy in node.list()], ["a"])
        self.assertNotEqual(wire.secret_of(node), first_secret)


class Readiness(DaemonTest):
    def test_it_says_ready_when_it_serves_and_stopping_when_it_stops(self):
        for where in ("path", "abstract"):
            with self.subTest(where=where):
                node = self.node(start=False)
                name = node.folder / "notify" if where == "path" else f"@lum-test-{os.getpid()}-{node.port}"
                manager = self.manager(name)
                node.start(NOTIFY_SOCKET=str(name))
                self.assertEqual(manager.state(), "READY=1")
                self.assertEqual(node.policy("list").code, 0)
                node.daemon.send_signal(signal.SIGHUP)
                self.assertEqual([manager.state(), manager.state()], ["RELOADING=1", "READY=1"])
                self.assertEqual(node.stop(), STOPPED)
                self.assertEqual(manager.state(), "STOPPING=1")
                self.assertIsNone(manager.has_heard())

    def test_a_call_sent_right_behind_ready_is_served(self):
        node = self.node(start=False)
        manager = self.manager(node.folder / "notify")
        self.start_daemon(node, environment=node.environment(NOTIFY_SOCKET=str(node.folder / "notify")))
        self.assertEqual(manager.state(), "READY=1")
        self.assertEqual(wire.ask(node, wire.list_call()).value(), wire.NO_POLICIES)

    def test_a_taken_port_is_a_failure_that_names_the_port_and_is_never_called_ready(self):
        node = self.node(start=False)
        manager = self.manager(node.folder / "notify")
        with socket.socket() as other:
            other.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
            other.bind(("127.0.0.1", node.port))
            other.listen()
            result = self.run_daemon(node, NOTIFY_SOCKET=str(node.folder / "notify"))
        self.assertEqual(result.code, FAILED, result)
        self.assertIn(f"port {node.port}", result.err)
        self.assertIn("Address already in use", result.err)
        self.assertNotIn("serving the node", result.err)
        self.assertIsNone(manager.has_heard())
        self.assertFalse((node.root / "etc/local.secret").exists())

    def test_the_port_of_another_node_is_a_failure_and_that_node_serves_on(self):
        first = self.node()
        second = self.node({"vox.http.ext.conf": {"SERVER_PORT": first.port}}, start=False)
        self.assertEqual(self.run_daemon(second).code, FAILED)
        self.assertEqual(first.policy("list").code, 0)
        second.settings["vox.http.ext.conf"]["SERVER_PORT"] = second.port
        second.write_settings()
        second.start()
        self.assertEqual(second.policy("list").code, 0)

    def test_a_manager_that_is_not_there_keeps_nothing_from_serving(self):
        node = self.node(start=False)
        node.start(NOTIFY_SOCKET=str(node.folder / "nobody"))
        self.assertEqual(node.policy("list").code, 0)
        self.assertEqual(node.stop(), STOPPED)

    def test_a_port_of_0_is_a_free_one_that_the_log_tells(self):
        node = self.node({"vox.http.ext.conf": {"SERVER_PORT": 0}}, start=False)
        line = self.start_daemon(node).stderr.readline()
        node.port = int(line.rsplit("port ", 1)[1])
        self.assertGreater(node.port, 0)
        self.assertEqual(wire.ask(node, wire.list_call()).value(), wire.NO_POLICIES)


class Roots(DaemonTest):
    def test_a_root_that_is_not_there_is_made(self):
        node = self.node(start=False)
        root = node.folder / "new/deep root/ünïcode"
        environment = node.environment(LUM_ROOT=str(root))
        (root / "etc/pal/config").mkdir(parents=True)
        (root / "etc/pal/config/local_settings.ini").write_text(f"[vox.http.ext.conf]\nSERVER_PORT={node.port}\n",
                                                                encoding="utf-8")
        process = self.start_daemon(node, environment=environment)
        self.assertIn(f"serving the node in {root}", process.stderr.readline())
        self.assertTrue((root / "policies").is_dir())

    def test_a_root_that_cannot_be_made_is_named(self):
        node = self.node(start=False)
        (node.folder / "file").write_text("")
        for root in ("/proc/nowhere/root", node.folder / "file", node.folder / "file/root"):
            with self.subTest(root=root):
                result = self.run_daemon(node, "--root", root)
                self.assertEqual(result.code, FAILED, result)
                self.assertIn(str(root), result.err)
                self.assertNotIn("serving", result.err)

    def test_a_store_that_cannot_be_made_is_named_and_nothing_is_served(self):
        node = self.node(start=False)
        manager = self.manager(node.folder / "notify")
        (node.root / "policies").write_text("a file where a folder must be")
        result = self.run_daemon(node, NOTIFY_SOCKET=str(node.folder / "notify"))
        self.assertEqual(result.code, FAILED, result)
        self.assertIn("policies", result.err)
        self.assertIsNone(manager.has_heard())

    def test_a_restart_removes_what_is_in_the_incoming_folder_and_no_more(self):
        node = self.node()
        self.install(node, "a")
        node.stop()
        outside = node.folder / "outside"
        outside.mkdir()
        (outside / "kept").write_text("kept")
        node.incoming.mkdir()
        (node.incoming / "left_header.xml").write_text("<header/>")
        (node.incoming / "locked").write_text("x")
        (node.incoming / "locked").chmod(0o400)
        (node.incoming / "link").symlink_to(outside)
        (node.incoming / "file link").symlink_to(outside / "kept")
        beside = [node.incoming.parent / "beside", node.root / "spool/other", node.root / "tmp/mine",
                  node.root / "etc/mine", node.root / "log/mine", node.root / "mine"]
        for path in beside:
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text("mine")
        stored = tree(node.store)
        node.start()
        self.assertEqual(list(node.incoming.iterdir()), [])
        self.assertEqual((outside / "kept").read_text(), "kept")
        self.assertEqual([path.read_text() for path in beside], ["mine"] * len(beside))
        self.assertEqual(tree(node.store), stored)
        self.assertEqual([policy["id"] for policy in node.list()], ["a"])

    def test_a_restart_removes_what_killed_programs_left_aside_and_no_more(self):
        node = self.node()
        self.install(node, "a")
        self.assertEqual(node.stop(signal.SIGKILL), -signal.SIGKILL)
        left = ["etc/local.secret.aB3dE6", "etc/pal/config/local_settings.ini.tmp",
                "etc/pal/config/package/local_settings.ini.tmp", "conf/conf/lum_policies.txt.tmp"]
        mine = ["etc/local.secret.aB3dE", "etc/local.secret.aB3-E6", "etc/local.secret~",
                "etc/pal/config/policy_settings.ini.tmp", "etc/pal/config/mine.ini.tmp", "conf/conf/mine.tmp",
                "etc/mine.tmp"]
        for name in left + mine:
            (node.root / name).parent.mkdir(parents=True, exist_ok=True)
            (node.root / name).write_text("mine")
        node.start()
        self.assertEqual([name for name in left if (node.root / name).exists()], [])
        self.assertEqual([(node.root / name).read_text() for name in mine], ["mine"] * len(mine))
        self.assertEqual([policy["id"] for policy in node.list()], ["a"])

    def test_an_audit_log_without_room_holds_nothing_up_and_tells_later_what_it_lost(self):
        node = self.node()
        self.install(node, "a")
        with open(node.root / "log/conf.server.audit.log", "ab") as log:
            log.write(b"x" * (1 << 20) + b"\n")
            full = log.tell() + 10
        unlimited = resource.prlimit(node.daemon.pid, resource.RLIMIT_FSIZE)
        resource.prlimit(node.daemon.pid, resource.RLIMIT_FSIZE, (full, unlimited[1]))
        self.assertEqual(self.install(node, "b").code, DONE)
        self.assertEqual([policy["id"] for policy in node.list()], ["b"])
        resource.prlimit(node.daemon.pid, resource.RLIMIT_FSIZE, unlimited)
        self.assertEqual([policy["id"] for policy in node.list()], ["b"])
        *_, cut, notice, last = node.audit()
        self.assertEqual(len(cut), 10)
        self.assertRegex(notice, r" ERROR [2-9] line\(s\) of this log were lost since .* \| Cannot write log file")
        self.assertIn("Success Audit: LIST", last)
        self.assertIn("A line of the log of 'lumconfd' was lost.", node.log)

    def test_an_incoming_folder_that_is_a_link_is_not_followed(self):
        node = self.node(start=False)
        outside = node.folder / "outside"
        outside.mkdir()
        (outside / "kept").write_text("kept")
        node.incoming.parent.mkdir(parents=True)
        node.incoming.symlink_to(outside)
        node.start()
        self.assertEqual(self.install(node, "a").code, DONE)
        self.assertEqual([path.name for path in outside.iterdir()], ["kept"])


if __name__ == "__main__":
    unittest.main()
