"""The nodes of one simulated cluster, each with a daemon, a network and mounts of its own, and who watches what is
enabled where, from moment to moment.

Nothing outlives a test, nor a test that is killed: a network goes with its only process, which ends when its input
does, and a node's processes end with whoever started them.

Run as a program it makes such nodes, tells their folders and waits: for the test that kills it.
"""
import contextlib
import copy
import json
import os
import pathlib
import signal
import subprocess
import sys
import threading
import time

import strangers
from cluster import Cluster, SIMULATOR
from node import DONE, PATIENCE_S, UNTOLD, Node, wait_until, write_policy

PRODUCT = "VERITAS Cluster Server (VCS)"
NAMES = ("alpha", "beta", "gamma")
INTERVAL_MS = 200
# Every look at the cluster begins with it, and nothing else asks for it unless a policy of a group is installed.
FIRST_OF_A_CYCLE = ["haclus", "-value", "ClusterName"]
# What follows which group: by its application, and by its attribute.
FOLLOWERS = {"web": ("till-checks", "web-checks"), "database": ("stock-checks", "database-checks")}
FOLLOWER_NAMES = [name for names in FOLLOWERS.values() for name in names]
APPLICATIONS = {"shop": ("till", "web", "till-checks"), "store": ("stock", "database", "stock-checks")}
CALM = {"web": "alpha", "database": "beta"}

NOTE = """/bin/sh -c "echo {word} '$instanceName' &gt;&gt; {notes}\""""


def address_of(name):
    return f"10.99.{NAMES.index(name) + 1}.2"


def description(systems=NAMES):
    """systems: the names that the cluster has for its nodes."""
    groups = [{"name": group, "systems": list(systems), "states": {}} for group in CALM]
    return {"product": "vcs", "name": "harbour", "hosts": {name: address_of(name) for name in NAMES},
            "systems": [{"name": name} for name in systems], "groups": groups}


class FollowingNode(Node):
    """One with applications and policies that follow the groups."""

    def write_applications(self):
        note = {word: NOTE.format(word=word, notes=self.folder / "notes") for word in ("start", "stop")}
        entries = ""
        for application, (instance, group, policy) in APPLICATIONS.items():
            entries += (f"<Application><Name>{application}</Name><Instance><Name>{instance}</Name>"
                        f"<Package>{group}</Package></Instance></Application>")
            self.put(f"bin/instrumentation/conf/{application}.apm.xml",
                     "<APMApplicationConfiguration><Application>"
                     f"<Template>{policy}</Template><Template>late-{group}</Template>"
                     f"<StartCommand>{note['start']}</StartCommand><StopCommand>{note['stop']}</StopCommand>"
                     "</Application></APMApplicationConfiguration>")
        self.put("conf/conf/apminfo.xml", f"<APMClusterConfiguration>{entries}</APMClusterConfiguration>")

    def put(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def notes(self):
        """What the commands of the applications have noted, in order."""
        path = self.folder / "notes"
        return path.read_text().splitlines() if path.exists() else []

    def write_follower(self, name, group=None, status="enabled"):
        return write_policy(self.folder / "policies", name, name=name, type_name="checks", status=status,
                            attributes=[(f"HARG:{group}", "")] if group else ())

    def install(self, name, group=None, **fields):
        result = self.policy("install", self.write_follower(name, group, **fields))
        assert result.code in (DONE, UNTOLD), result

    def install_followers(self):
        paths = [self.write_follower(name, group if by == 1 else None)
                 for group, names in FOLLOWERS.items() for by, name in enumerate(names)]
        result = self.policy("install", "--package", *paths)
        assert result.code in (DONE, UNTOLD), result

    def status(self, name):
        """On the disk; None where the policy is not installed."""
        try:
            text = (self.store / "checks" / f"{name}_header.xml").read_bytes()
        except FileNotFoundError:
            return None
        return "enabled" if b"<status>enabled<" in text else "disabled"


class ClusterNode(FollowingNode):
    """One of them. It does not run before start()."""

    def __init__(self, cluster, name, settings=None):
        self.cluster, self.name = cluster, name
        self.network = strangers.Host(NAMES.index(name) + 1)
        strangers.ip("link", "set", "lo", "up", inside=self.network.holder.pid)
        keys = {"CLUSTER_LOCAL_NODENAME": name, "CLUSTER_TYPE": PRODUCT, "POLLING_INTERVAL": INTERVAL_MS,
                "MONITOR_MODE": "TRUE"}
        super().__init__({"conf.cluster": keys | (settings or {})}, start=False)
        self.read, self.begun = 0, []
        self.see_the_cluster()
        self.write_applications()

    # What it sees.

    def see_the_cluster(self):
        aside = self.folder / "cluster.json.aside"
        aside.symlink_to(self.cluster.folder / "cluster.json")
        aside.rename(self.folder / "cluster.json")

    def see(self, **changes):
        """Something of its own, on the ground of what the cluster is like now."""
        aside = self.folder / "cluster.json.aside"
        aside.write_text(json.dumps(copy.deepcopy(self.cluster.description) | changes), encoding="utf-8")
        aside.rename(self.folder / "cluster.json")

    def cycles_since(self, moment):
        """The moments at which it has begun to look at the cluster since then."""
        path = self.folder / "calls"
        if path.exists():
            with open(path, "rb") as calls:
                calls.seek(self.read)
                for line in calls:
                    if not line.endswith(b"\n"):
                        break
                    self.read += len(line)
                    record = json.loads(line)
                    if record.get("words") == FIRST_OF_A_CYCLE:
                        self.begun.append(record["at"])
        return [begun for begun in self.begun if begun > moment]

    def longest_cycle_since(self, moment):
        """Its interval included."""
        begun = self.cycles_since(moment)
        return max((later - earlier for earlier, later in zip(begun, begun[1:])), default=0)

    def waits(self):
        """How often one of its tools has begun to wait."""
        return (self.folder / "calls").read_text().count('{"waits":')

    # Its processes.

    def command(self, name, *arguments):
        return [*self.inside(), *super().command(name, *arguments)]

    def inside(self):
        return ["nsenter", "--target", str(self.network.holder.pid), "--net", "--", "setpriv", "--pdeathsig", "KILL"]

    def start(self, prefix=(), **environment):
        """Returns when its monitor looks at the cluster for the first time, which is no cycle yet."""
        begin = time.monotonic()
        super().start([*self.inside(), *prefix, SIMULATOR, "--host", self.name, self.folder], **environment)
        wait_until(lambda: self.cycles_since(begin), f"{self.name} looks at the cluster")

    def runs(self):
        return self.daemon is not None and self.daemon.poll() is None

    def daemon_id(self):
        """The daemon itself, in its box."""
        first = children(self.daemon.pid)[0]
        return next(child for child in children(first)
                    if pathlib.Path(f"/proc/{child}/comm").read_text().strip() == "lumconfd")

    def stop(self, how=signal.SIGTERM):
        subprocess.run(["kill", "-s", str(int(how)), str(self.daemon_id())], check=True)
        return self.daemon.wait(PATIENCE_S)

    def die(self):
        """As when the power goes: all of its processes at once. They are gone then: the box waits for its first one,
        which ends behind all others."""
        os.kill(int(children(self.daemon.pid)[0]), signal.SIGKILL)
        self.daemon.wait()

    def cut(self):
        strangers.ip("link", "set", "out", "down", inside=self.network.holder.pid)

    def join(self):
        strangers.ip("link", "set", "out", "up", inside=self.network.holder.pid)

    def close(self):
        super().close()
        self.network.close()


def children(process):
    return pathlib.Path(f"/proc/{process}/task/{process}/children").read_text().split()


class Watcher(threading.Thread):
    """Looks at the disks all the time, and keeps what changes: who is enabled on which nodes that run."""

    def __init__(self, nodes, names):
        super().__init__(daemon=True)
        self.nodes, self.names = nodes, names
        self.over, self.looking = threading.Event(), threading.Lock()
        self.seen = {name: [(0.0, ())] for name in names}

    def run(self):
        while not self.over.wait(0.003):
            self.look()

    def look(self):
        """Returns the moment at which everything before it was seen."""
        with self.looking:
            for name in self.names:
                where = tuple(node.name for node in self.nodes if node.runs() and node.status(name) == "enabled")
                if where != self.seen[name][-1][1]:
                    self.seen[name].append((time.monotonic(), where))
            return time.monotonic()

    def spans(self, name, since):
        """(begin, end, nodes) of each span of time since that moment."""
        seen = [*self.seen[name], (time.monotonic(), None)]
        return [(max(begin, since), end, where) for (begin, where), (end, _) in zip(seen, seen[1:]) if end > since]

    def length(self, name, since, is_meant):
        return sum(end - begin for begin, end, where in self.spans(name, since) if is_meant(where))

    def end(self):
        self.over.set()
        self.join()


class Nodes:
    """All of them, serving, their policies where the cluster says they belong."""

    def __init__(self, settings=None):
        self.cluster = Cluster(description())
        self.place(**CALM)
        self.nodes, self.watcher = [], None
        try:
            for name in NAMES:
                self.nodes.append(ClusterNode(self.cluster, name, settings))
                setattr(self, name, self.nodes[-1])
        except BaseException:
            self.close()
            raise

    def __iter__(self):
        return iter(self.nodes)

    def start(self):
        for node in self.nodes:
            node.start()
            node.install_followers()
        self.watcher = Watcher(self.nodes, FOLLOWER_NAMES)
        self.watcher.start()

    def place(self, **groups):
        """Groups go to systems, all at the same moment, or nowhere (None). Returns the moment."""
        for group, system in groups.items():
            self.cluster.group(group)["states"] = {system: "online"} if system else {}
        self.cluster.write()
        return time.monotonic()

    def calm(self):
        """Everything as it was at the beginning; returns when the policies are too."""
        self.cluster.description = description()
        self.place(**CALM)
        for node in self.nodes:
            node.see_the_cluster()
            node.join()
            if not node.runs():
                node.start()
        self.await_cycles(time.monotonic(), 2)

    def running(self):
        return [node for node in self.nodes if node.runs()]

    def await_cycles(self, moment, count, nodes=None):
        """Until each has begun so many cycles since then, so that all but the last of them are over; returns when that
        was so."""
        nodes = self.running() if nodes is None else nodes
        wait_until(lambda: all(len(node.cycles_since(moment)) >= count for node in nodes),
                   f"{count} cycles of {[node.name for node in nodes]}")
        return max(node.cycles_since(moment)[count - 1] for node in nodes)

    def where(self, name):
        return [node.name for node in self.running() if node.status(name) == "enabled"]

    def close(self):
        if self.watcher:
            self.watcher.end()
        for node in self.nodes:
            with contextlib.suppress(ProcessLookupError):
                node.close()
        self.cluster.close()


def main():
    strangers.own_network()
    nodes = Nodes()
    print(*[nodes.cluster.folder, *(node.folder for node in nodes)], flush=True)
    nodes.start()
    print("ready", flush=True)
    sys.stdin.read()


if __name__ == "__main__":
    main()
