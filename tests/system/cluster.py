"""Simulated clusters: a file that describes one, its product's tools at their true places, and what was asked of them.

The description (see tests/cluster/README.md) may be changed while things run; nothing of a cluster is seen outside of
the programs that run in it, and nothing outlives a test.
"""
import copy
import json
import pathlib
import shutil
import subprocess
import tempfile

from node import BUILD, PATIENCE_S, ROOT, TOOLS, Result

SIMULATOR = BUILD / "tests/lumclustersim"
NO_BOX = 125

THREE_SYSTEMS = {
    "product": "vcs",
    "name": "harbour",
    "host": "alpha",
    "systems": [{"name": "alpha", "id": 0}, {"name": "beta", "id": 1}, {"name": "gamma", "id": 2, "state": "offline"}],
    "groups": [
        {"name": "database", "systems": ["alpha", "beta", "gamma"], "states": {"alpha": "online"},
         "resources": [{"name": "database_disk", "type": "Mount"},
                       {"name": "database_ip", "type": "IP", "address": "192.0.2.10"}]},
        {"name": "web", "systems": ["beta", "alpha"], "states": {"beta": "online"},
         "resources": [{"name": "web_ip", "type": "IP", "address": "192.0.2.20"}]},
        {"name": "reports", "systems": ["gamma", "beta"], "resources": [{"name": "reports_job", "type": "Process"}]},
    ],
}


def red_hat_files(release, description=THREE_SYSTEMS):
    """What a Red Hat node of the cluster has beside its tools; each group may run on its systems alone."""
    domains = services = ""
    for group in description["groups"]:
        name = group["name"]
        nodes = "".join(f'<failoverdomainnode name="{system}" priority="1"/>' for system in group["systems"])
        addresses = "".join(f'<ip ref="{resource["address"]}"/>' for resource in group["resources"] if resource["type"] == "IP")
        domains += f'<failoverdomain name="{name}_domain">{nodes}</failoverdomain>\n'
        services += f'<service name="{name}" domain="{name}_domain">{addresses}</service>\n'
    text = (f'<?xml version="1.0"?>\n<cluster name="{description["name"]}" config_version="1"><rm>\n'
            f"<failoverdomains>{domains}</failoverdomains>\n{services}</rm></cluster>\n")
    paths = {3: "/etc/cluster.xml", 4: "/etc/cluster/cluster.conf", 5: "/etc/cluster/cluster.conf"}
    return [{"path": "/etc/redhat-release", "text": f"Red Hat Enterprise Linux release {release} (of a test)\n"},
            {"path": paths.get(release, "/etc/cluster.conf"), "text": text}]


class Cluster:
    """A cluster, of three systems unless described otherwise. description holds what the file says; write() after a
    change of it. Keywords take the place of what stands at the top of it."""

    def __init__(self, description=None, **changes):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="lumcluster."))
        self.folder.chmod(0o755)
        self.root = self.folder / "root"
        self.description = copy.deepcopy(description or THREE_SYSTEMS) | changes
        self.processes = []
        self.write()

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.close()

    def close(self):
        for process in self.processes:
            if process.poll() is None:
                process.kill()
            process.wait()
            for stream in (process.stdout, process.stderr):
                if stream:
                    stream.close()
        shutil.rmtree(self.folder, ignore_errors=True)

    # What the cluster is like.

    def write(self, **changes):
        """The new description counts from the next call of a tool on."""
        self.description.update(changes)
        aside = self.folder / "cluster.json.aside"
        aside.write_text(json.dumps(self.description), encoding="utf-8")
        aside.chmod(0o644)
        aside.rename(self.folder / "cluster.json")

    def system(self, name):
        return next(system for system in self.description["systems"] if system["name"] == name)

    def group(self, name):
        return next(group for group in self.description["groups"] if group["name"] == name)

    def let(self, call, **conduct):
        """From now on calls that match do something else; alone of what was said so."""
        self.write(conducts=[{"call": call, **conduct}])

    def configure(self, **values):
        """Settings of the namespace conf.cluster; those of before go."""
        self.settings({"conf.cluster": values})

    def settings(self, namespaces):
        config = self.root / "etc/pal/config"
        config.mkdir(parents=True, exist_ok=True)
        lines = []
        for namespace, values in namespaces.items():
            lines += [f"[{namespace}]", *(f"{key}={value}" for key, value in values.items())]
        (config / "local_settings.ini").write_text("\n".join(lines) + "\n", encoding="utf-8")

    # What was asked.

    def records(self):
        path = self.folder / "calls"
        return [json.loads(line) for line in path.read_text().splitlines()] if path.exists() else []

    def calls(self, pattern=""):
        """The calls that hold a text, each as one text, in order."""
        lines = (" ".join(record["words"]) for record in self.records() if "words" in record)
        return [line for line in lines if pattern in line]

    def was_anybody_left(self):
        return any("left" in record for record in self.records())

    def forget_calls(self):
        path = self.folder / "calls"
        if path.exists():
            path.write_text("")

    # Programs in it.

    def environment(self, **more):
        self.root.mkdir(exist_ok=True)
        return {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LUM_ROOT": str(self.root), **more}

    def command(self, program, *arguments, user=None):
        box = [SIMULATOR] if user is None else [SIMULATOR, "--user", str(user)]
        return [*map(str, box), str(self.folder), str(program), *map(str, arguments)]

    def start(self, program, *arguments, user=None, environment=None, **keywords):
        process = subprocess.Popen(self.command(program, *arguments, user=user), stdin=subprocess.DEVNULL,
                                   env=environment or self.environment(), **keywords)
        self.processes.append(process)
        return process

    def run(self, program, *arguments, user=None, environment=None, timeout=PATIENCE_S):
        """Bytes that are no UTF-8 come as surrogates."""
        return Result(subprocess.run(self.command(program, *arguments, user=user), stdin=subprocess.DEVNULL,
                                     capture_output=True, encoding="utf-8", errors="surrogateescape", timeout=timeout,
                                     env=environment or self.environment()))

    def info(self, *arguments, program=TOOLS / "lumclusterinfo", **keywords):
        return self.run(program, *arguments, **keywords)


EXAMPLE = ROOT / "examples/cluster/cluster.json"
