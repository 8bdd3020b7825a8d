"""The nodes of one real cluster, Pacemaker and Corosync, on this machine: each has namespaces of its own in which the
daemons of the cluster run, and one of ours if wanted. Their networks meet at a bridge.

Nothing outlives a test, nor a test that is killed: a node ends with its first process (pacemaker_host.py), which ends
when its input does, and the networks and mounts go with it.

Run as a program (pacemaker_nodes.py NAME...) it makes such nodes, tells of each its name, the id of its first process and
its folder, then "online" when they are, and lasts until its input ends.
"""
import contextlib
import itertools
import os
import pathlib
import signal
import subprocess
import sys
import time
import xml.etree.ElementTree

import strangers
from cluster_nodes import FOLLOWERS, FOLLOWER_NAMES, FollowingNode, Watcher, children
from node import PATIENCE_S, ROOT, Result, wait_until
from pacemaker_files import ADDRESSES, NAMES, address_of, files

PACKAGES = ROOT / "build/cluster-root"
PRODUCT = "Pacemaker (PCMK)"
INTERVAL_MS = 300
CALM = {"web": "alpha", "database": "beta"}
HOST = pathlib.Path(__file__).with_name("pacemaker_host.py")
numbers = itertools.count(1)


def since_boot():
    return time.clock_gettime(time.CLOCK_BOOTTIME)


class PacemakerNode(FollowingNode):
    """One of them. Neither its cluster nor our daemon run before start_cluster() and start()."""

    def __init__(self, name, names, two_node, settings=None):
        self.name, self.holder, self.first, self.is_cut = name, None, None, False
        self.looks_read, self.looks = 0, []
        keys = {"CLUSTER_TYPE": PRODUCT, "POLLING_INTERVAL": INTERVAL_MS, "MONITOR_MODE": "TRUE"}
        super().__init__({"conf.cluster": keys | (settings or {})}, start=False)
        self.folder.chmod(0o711)
        self.write_cluster(names, two_node)
        self.write_applications()

    def write_cluster(self, names, two_node):
        for path, text in files(names, two_node, self.folder).items():
            (self.folder / path).parent.mkdir(parents=True, exist_ok=True)
            (self.folder / path).write_text(text, encoding="utf-8")

    # Its cluster.

    def start_cluster(self):
        """Returns when its daemons have been started; the cluster takes some seconds more."""
        with open(self.folder / "daemons.log", "ab") as log:
            self.holder = subprocess.Popen(
                ["unshare", "--net", "--mount", "--propagation", "unchanged", "--pid", "--uts", "--ipc", "--fork",
                 "--kill-child", sys.executable, "-B", HOST, self.name, self.folder, PACKAGES],
                stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=log, text=True)
        assert self.holder.stdout.readline() == "mounted\n", f"{self.name}: {self.last_lines()}"
        self.first = children(self.holder.pid)[0]
        self.connect()
        self.holder.stdin.write("\n")
        self.holder.stdin.flush()

    def await_daemons(self):
        assert self.holder.stdout.readline() == "started\n", f"{self.name}: {self.last_lines()}"

    def connect(self):
        here = f"node{next(numbers)}"
        strangers.ip("link", "add", here, "type", "veth", "peer", "name", "out", "netns", self.first)
        strangers.ip("link", "set", here, "master", "bridge0", "up")
        self.ip("link", "set", "lo", "up")
        self.ip("addr", "add", f"{address_of(self.name)}/24", "dev", "out")
        self.join()

    def ip(self, *arguments):
        strangers.ip(*arguments, inside=self.first)

    def cut(self):
        self.is_cut = True
        self.ip("link", "set", "out", "down")

    def join(self):
        self.is_cut = False
        self.ip("link", "set", "out", "up")

    def is_there(self):
        return self.holder is not None

    def die(self):
        """As when the power goes: all of its processes at once. They are gone then: whoever waits for the first one waits
        for all of its namespace."""
        if self.first:
            os.kill(int(self.first), signal.SIGKILL)
        else:
            self.holder.kill()
        self.holder.wait()
        self.holder.stdin.close()
        self.holder.stdout.close()
        self.holder = self.first = None
        if self.daemon:
            self.daemon.wait()

    def inside(self):
        # The root too: that of the mounts is another one where this process's own was changed.
        return ["nsenter", "--target", self.first, "--net", "--mount", "--root", "--pid", "--uts", "--ipc", "--",
                "setpriv", "--pdeathsig", "KILL", "env", "PATH=/usr/sbin:/usr/bin:/sbin:/bin"]

    def run(self, *command, timeout=PATIENCE_S):
        """One of the cluster's tools."""
        return Result(subprocess.run([*self.inside(), *command], stdin=subprocess.DEVNULL, capture_output=True,
                                     text=True, timeout=timeout))

    def do(self, *command):
        result = self.run(*command)
        assert result.code == 0, (command, result)
        return result.out

    def see(self):
        """What crm_mon tells here, as a tree; None where it cannot tell."""
        result = self.run("crm_mon", "-1", "--output-as=xml")
        return xml.etree.ElementTree.fromstring(result.out) if result.code == 0 else None

    def last_lines(self):
        """What its daemons have said last, for who looks at a failure."""
        logs = (self.folder / name for name in ("daemons.log", "corosync.log", "pacemaker.log", "lumconfd.err"))
        return "\n".join(line for log in logs if log.exists()
                         for line in log.read_text(encoding="utf-8", errors="replace").splitlines()[-15:])

    def fail(self, group):
        """Its dummy is not where the cluster has started it, which the cluster finds within a second."""
        self.do("rm", f"/run/Dummy-{group}-job.state")

    def has_address(self, group):
        return f" {ADDRESSES[group]}/" in self.do("ip", "addr", "show", "dev", "out")

    # Our daemon on it.

    def command(self, name, *arguments):
        return [*self.inside(), *super().command(name, *arguments)]

    def start(self, prefix=(), **environment):
        super().start([*self.inside(), *prefix], **environment)

    def runs(self):
        return self.daemon is not None and self.daemon.poll() is None

    def stop(self, how=signal.SIGTERM):
        os.kill(int(children(self.daemon.pid)[0]), how)
        return self.daemon.wait(PATIENCE_S)

    def looks_since(self, moment):
        """The moments since then at which the daemon has begun to look at the cluster, in seconds since the boot."""
        path = self.folder / "looks"
        if path.exists():
            with open(path, encoding="utf-8") as looks:
                looks.seek(self.looks_read)
                for line in iter(looks.readline, ""):
                    if not line.endswith("\n"):
                        break
                    self.looks_read += len(line)
                    self.looks.append(float(line))
        return [begun for begun in self.looks if begun > moment]

    def close(self):
        if self.is_there():
            self.die()
        super().close()


def running_on(tree, group):
    """The only node on which all of a group runs, else None."""
    members = tree.findall(f".//group[@id='{group}']/resource")
    where = {tuple(node.get("name") for node in member.findall("node")) if member.get("role") == "Started" else ()
             for member in members}
    return where.pop()[0] if len(where) == 1 and all(len(nodes) == 1 for nodes in where) else None


def online(tree):
    """The nodes that the one asked sees online and ready."""
    return {node.get("name") for node in tree.findall("nodes/node")
            if node.get("online") == "true" and node.get("pending") == "false"}


class Nodes:
    """All of them; online, and with our daemons, after start()."""

    def __init__(self, names=NAMES, two_node=False, settings=None):
        strangers.ip("link", "add", "bridge0", "type", "bridge")
        strangers.ip("link", "set", "bridge0", "up")
        self.nodes, self.watcher = [], None
        try:
            for name in names:
                self.nodes.append(PacemakerNode(name, names, two_node, settings))
                setattr(self, name, self.nodes[-1])
        except BaseException:
            self.close()
            raise

    def __iter__(self):
        return iter(self.nodes)

    def start_cluster(self):
        """Waits until each sees all of them online, and returns for how long."""
        begin = time.monotonic()
        try:
            self.start_daemons(self.nodes)
            self.await_online()
        except AssertionError:
            self.tell_logs()
            raise
        return time.monotonic() - begin

    def tell_logs(self):
        for node in self.nodes:
            print(f"{node.name}:\n{node.last_lines()}", flush=True)

    @staticmethod
    def start_daemons(nodes):
        for node in nodes:
            node.start_cluster()
        for node in nodes:
            node.await_daemons()

    def await_online(self, nodes=None):
        nodes = self.nodes if nodes is None else nodes
        names = {node.name for node in nodes}
        for node in nodes:
            wait_until(lambda node=node: (tree := node.see()) is not None and online(tree) == names,
                       f"{node.name} sees {names} online", 3 * PATIENCE_S)

    def start(self):
        for node in self.nodes:
            node.start()
            node.install_followers()
        self.watcher = Watcher(self.nodes, FOLLOWER_NAMES)
        self.watcher.start()

    # What the cluster does.

    def any(self):
        """One that can be asked."""
        return next(node for node in self.nodes if node.is_there())

    def move(self, **groups):
        """All at the same moment, to nodes on which they run from now on whenever those can have them."""
        wishes = "".join(f'<rsc_location id="place-{group}" rsc="{group}" node="{name}" score="INFINITY"/>'
                         for group, name in groups.items())
        self.any().do("cibadmin", "--modify", "--allow-create", "--xml-text", f"<constraints>{wishes}</constraints>")

    def stop_group(self, group, stopped=True):
        """Or let it run again."""
        value = ["--set-parameter", "target-role", "--parameter-value", "Stopped"] if stopped else \
            ["--delete-parameter", "target-role"]
        self.any().do("crm_resource", "--resource", group, "--meta", *value)

    def set_option(self, name, value):
        self.any().do("crm_attribute", "--type", "crm_config", "--name", name, "--update", value)

    def maintain(self, name, maintained=True):
        """One node alone."""
        self.any().do("crm_attribute", "--node", name, "--name", "maintenance", "--update", str(maintained).lower())

    def stand_by(self, name, standby=True):
        self.any().do("crm_standby", "--node", name, "--update", "on" if standby else "off")

    def forget_failures(self):
        self.any().do("crm_resource", "--cleanup")

    def await_places(self, asking=None, **groups):
        """Until crm_mon tells on each of the nodes (which are all that are there, unless named) that each group runs on
        one of its nodes, or nowhere where these are none. Returns by group where it runs, and the moment at which
        crm_mon was asked that told it for the first time."""
        asked, found, waiting = None, None, list(asking or (node for node in self.nodes if node.is_there()))

        def are_there():
            nonlocal asked, found
            now, tree = since_boot(), waiting[0].see()
            if tree is None:
                return False
            found = {group: running_on(tree, group) for group in groups}
            if any(found[group] not in (names or (None,)) for group, names in groups.items()):
                return False
            asked = asked or now
            waiting.pop(0)
            return not waiting

        wait_until(are_there, f"groups are as {groups}")
        return found, asked

    def await_place(self, group, *names, asking=None):
        """The same of one group: returns where it runs, and the moment."""
        found, asked = self.await_places(asking, **{group: names})
        return found[group], asked

    def place(self, **groups):
        """Groups go to nodes; returns the moment at which the last one was there, as a node has told that they went to."""
        self.move(**groups)
        there = [node for node in self.nodes if node.name in groups.values()]
        others = [node for node in self.nodes if node not in there]
        return self.await_places(there + others, **{group: (name,) for group, name in groups.items()})[1]

    def revive(self):
        """All nodes are online again, and our daemons on them; what was lost on the way is started anew."""
        lost = [node for node in self.nodes if not node.is_there()]
        cut = [node for node in self.nodes if node.is_there() and node.is_cut]
        self.start_daemons(lost)
        for node in cut:
            node.join()
        if lost or cut:
            self.await_online()
        for node in self.nodes:
            if not node.runs():
                node.start()

    def calm(self):
        """Everything as it was at the beginning; returns when the policies are too."""
        self.revive()
        self.place(**CALM)
        self.await_looks(since_boot(), 2)

    def await_looks(self, moment, count, nodes=None):
        """Until each daemon has begun so many looks at the cluster since then, so that all but the last are over."""
        nodes = [node for node in self.nodes if node.is_there() and node.runs()] if nodes is None else nodes
        wait_until(lambda: all(len(node.looks_since(moment)) >= count for node in nodes),
                   f"{count} looks of {[node.name for node in nodes]}")

    def where(self, name):
        return [node.name for node in self.nodes if node.runs() and node.status(name) == "enabled"]

    def close(self):
        if self.watcher:
            self.watcher.end()
        for node in self.nodes:
            with contextlib.suppress(ProcessLookupError):
                node.close()
        strangers.ip("link", "delete", "bridge0")


def main(*names):
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(0))
    strangers.own_network()
    nodes = Nodes(names or NAMES[:2], two_node=len(names) < 3)
    try:
        nodes.start_daemons(nodes)
        for node in nodes:
            print(node.name, node.first, node.folder, flush=True)
        nodes.await_online()
        print("online", flush=True)
        sys.stdin.read()
    finally:
        nodes.close()


if __name__ == "__main__":
    main(*sys.argv[1:])
