"""Real nodes for system tests: a root of its own, a daemon, consumers, and the tools against them.

Nothing outlives a test: Node is a context manager that ends the processes it started and removes its root.
"""
import json
import os
import pathlib
import resource
import shutil
import signal
import socket
import subprocess
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
BUILD = pathlib.Path(os.environ.get("LUM_BUILD", ROOT / "build/dev"))
TOOLS = BUILD / "tools"
EXAMPLES = ROOT / "examples/policies"
TRIAL_SECONDS = int(os.environ.get("LUM_TRIAL_SECONDS", "2"))
SLOWNESS = int(os.environ.get("LUM_SLOWNESS", "1"))
PATIENCE_S = 30 * SLOWNESS
# With a sanitizer: some limits of the system cannot be tried, since it needs memory and descriptors itself.
IS_SANITIZED = b"san.so" in subprocess.run(["ldd", TOOLS / "lumconfd"], capture_output=True, check=True).stdout

# Of whoever starts the tests; they would change what is tried.
NOT_INHERITED = ("NOTIFY_SOCKET", "JOURNAL_STREAM", "TERM", "NO_COLOR", "LUM_TRACE", "LUM_SUDO")

DONE, FAILED, WRONG_USAGE, NOTHING_TO_DO, NOT_FOUND, REFUSED, UNREACHABLE, UNTOLD = range(8)


HELD_PORTS = []


def free_port():
    """One that nobody else is given while this process lives: it stays bound, and only who sets SO_REUSEADDR, as the
    daemon does, can listen there. Until then connections to it are refused."""
    held = socket.socket()
    held.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    held.bind(("127.0.0.1", 0))
    HELD_PORTS.append(held)
    return held.getsockname()[1]


def wait_until(condition, what, seconds=PATIENCE_S):
    """Waits until the condition holds; the only place where a test waits for time to pass."""
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"did not happen within {seconds} s: {what}")
        time.sleep(0.01)


class Result:
    """What a tool printed and ended with."""

    def __init__(self, completed):
        self.code, self.out, self.err = completed.returncode, completed.stdout, completed.stderr

    def json(self):
        return json.loads(self.out)

    def __repr__(self):
        return f"code {self.code}\nout: {self.out}\nerr: {self.err}"


class Node:
    """A node with a fresh root. settings: {namespace: {key: value}} over the defaults of a test."""

    def __init__(self, settings=None, start=True):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="lumnode."))
        self.root = self.folder / "root"
        self.port = free_port()
        self.processes = []
        self.daemon = None
        self.settings = {
            "vox.http.ext.conf": {"SERVER_PORT": self.port, "TARGET_PORT": self.port},
            "conf.server": {"AUDIT_LOGGING": "true", "AUDIT_LOG_MODE": "all"},
        }
        for namespace, values in (settings or {}).items():
            self.settings.setdefault(namespace, {}).update(values)
        self.write_settings()
        if start:
            try:
                self.start()
            except BaseException:
                self.close()
                raise

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.close()

    def use_no_secret(self):
        """Makes the tools callers without an id, until the daemon starts anew: they ask whoever holds its port."""
        (self.root / "etc/local.secret").write_text("one that proves nothing")

    # The files of the root.

    @property
    def config(self):
        return self.root / "etc/pal/config"

    @property
    def store(self):
        return self.root / "policies"

    @property
    def incoming(self):
        return self.root / "spool/incoming/files/conf_tmp"

    @property
    def log(self):
        return (self.folder / "lumconfd.err").read_text(encoding="utf-8", errors="replace")

    def audit(self):
        """Lines of the audit log, and behind them those of callers without an id."""
        paths = [self.root / "log" / name for name in ("conf.server.audit.log", "conf.server.audit.strangers.log")]
        return [line for path in paths if path.exists() for line in path.read_text(encoding="utf-8").splitlines()]

    def write_settings(self):
        self.config.mkdir(parents=True, exist_ok=True)
        lines = []
        for namespace, values in self.settings.items():
            lines.append(f"[{namespace}]")
            lines += [f"{key}={value}" for key, value in values.items()]
        aside = self.config / "local_settings.ini.aside"
        aside.write_text("\n".join(lines) + "\n", encoding="utf-8")
        aside.rename(self.config / "local_settings.ini")

    def write_rights(self, rights):
        """rights: {sender: "install list"}"""
        text = "[conf]\n" + "".join(f"{sender}={words}\n" for sender, words in rights.items())
        (self.root / "etc").mkdir(parents=True, exist_ok=True)
        (self.root / "etc/authorization.ini").write_text(text, encoding="utf-8")

    def stored(self):
        """Paths of the store, relative to it, sorted."""
        return sorted(str(path.relative_to(self.store)) for path in self.store.rglob("*") if path.is_file())

    # The daemon.

    def environment(self, **more):
        inherited = {name: value for name, value in os.environ.items() if name not in NOT_INHERITED}
        return {**inherited, "LUM_ROOT": str(self.root), **more}

    def start(self, prefix=(), **environment):
        """prefix: a command that runs the daemon, such as prlimit with its options."""
        log_path = self.folder / "lumconfd.err"
        # Before the start: the daemon may have said all of it when this process runs again.
        offset = len(self.log) if log_path.exists() else 0
        with open(log_path, "ab") as log:
            self.daemon = subprocess.Popen([*prefix, TOOLS / "lumconfd"], env=self.environment(**environment),
                                           stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        self.processes.append(self.daemon)

        def serving_or_dead():
            return "serving the node" in self.log[offset:] or self.daemon.poll() is not None

        wait_until(serving_or_dead, "the daemon serves")
        if self.daemon.poll() is not None:
            raise AssertionError(f"lumconfd ended with {self.daemon.returncode}:\n{self.log}")

    def processor_seconds(self):
        """Of the daemon, and of the tools that have ended: what a slow or busy disk costs is nobody's fault."""
        with open(f"/proc/{self.daemon.pid}/stat", encoding="ascii") as stat:
            fields = stat.read().rpartition(")")[2].split()
        tools = resource.getrusage(resource.RUSAGE_CHILDREN)
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK") + tools.ru_utime + tools.ru_stime

    def stop(self, how=signal.SIGTERM):
        self.daemon.send_signal(how)
        return self.daemon.wait(PATIENCE_S)

    def close(self):
        for process in self.processes:
            if process.poll() is None:
                process.terminate()
                try:
                    process.wait(10)
                except subprocess.TimeoutExpired:
                    process.kill()
                    process.wait()
            for stream in (process.stdout, process.stderr, process.stdin):
                if stream:
                    stream.close()
        shutil.rmtree(self.folder, ignore_errors=True)

    # The tools.

    def command(self, name, *arguments):
        """What runs a tool where the node is."""
        return [TOOLS / name, *map(str, arguments)]

    def tool(self, name, *arguments, environment=None, user=None, timeout=PATIENCE_S):
        return Result(subprocess.run(self.command(name, *arguments), env=environment or self.environment(),
                                     stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=timeout,
                                     user=user, group=user, extra_groups=[] if user else None))

    def policy(self, *arguments, **keywords):
        return self.tool("lumpolicy", *arguments, **keywords)

    def list(self, *selection):
        """The policies of the node; an empty list when none is installed."""
        result = self.policy("list", "--json", *selection)
        if result.code == NOT_FOUND:
            return []
        assert result.code == DONE, result
        return result.json()["policies"]

    def consumer(self, *events, name="consumer", arguments=()):
        return Consumer(self, name, events, arguments)

    def held_consumer(self, *events):
        """One whose command makes the file "seen" in the node's folder, and ends when the file "gate" is there."""
        script = self.folder / "command"
        script.write_text(f'#!/bin/sh\ncd "{self.folder}"\n: > seen\n'
                          'while [ ! -e gate ] && [ -e "$0" ]; do sleep 0.02; done\n')
        script.chmod(0o755)
        return self.consumer(*events, arguments=("--exec", script))


class Consumer:
    """A component registered with the node's control service; its events are read as they come."""

    def __init__(self, node, name, events, arguments=()):
        self.path = node.folder / f"events.{name}"
        with open(self.path, "wb") as out:
            self.process = subprocess.Popen(node.command("lumevents", "--name", name, *arguments, *events),
                                            env=node.environment(), stdin=subprocess.DEVNULL, stdout=out,
                                            stderr=subprocess.PIPE, text=True)
        node.processes.append(self.process)
        line = self.process.stderr.readline()
        assert "registered" in line, line

    def events(self):
        return self.path.read_text(encoding="utf-8").splitlines()

    def await_count(self, count):
        wait_until(lambda: len(self.events()) >= count, f"{count} events, so far {self.events()}")
        return self.events()


def header(policy_id, name="name", type_name="type", version="1", owner="owner", status="enabled", files=(),
           categories=(), attributes=(), description="description", extra=""):
    """The text of a policy header."""
    def element(tag, text):
        return f"<{tag}>{escape(text)}</{tag}>"

    data = "".join(element("file_name", f) + element("encoding", "text/plain") + "<checksum/><signature/>"
                   for f in files)
    return (
        '<?xml version="1.0" encoding="UTF-8"?>\n<header xmlns="http://lum.tessel.com/xmlns/conf/2003/04"><policy>'
        f"<ids>{element('container_id', policy_id)}</ids>{element('name', name)}{element('version', version)}"
        f"{element('description', description)}{element('status', status)}{element('owner', owner)}"
        + (f"<files><data>{data}</data></files>" if files else "")
        + "<categories>" + "".join(element("category", c) for c in categories) + "</categories>"
        + "<attributes>" + "".join(f"<attribute>{element('name', n)}{element('value', v)}</attribute>"
                                   for n, v in attributes) + "</attributes>"
        + f"{extra}</policy><policytype>{element('name', type_name)}</policytype><certificate/></header>\n")


def escape(text):
    return text.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;")


def write_policy(folder, policy_id, files=None, **fields):
    """Writes a header and its data files ({name: bytes}); returns the header's path."""
    files = files or {}
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    path = folder / f"{policy_id.lower()}_header.xml"
    path.write_text(header(policy_id, files=list(files), **fields), encoding="utf-8")
    for name, content in files.items():
        (folder / name).write_bytes(content)
    return path
